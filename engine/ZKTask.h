// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileInfo.h"
#include "ZKFileResponse.h"
#include "ZKPropertyListObject.h"
#include "ZKReader.h"
#include "ZKTaskProgress.h"
#include "ZKTaskState.h"
#include "ZKWriter.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>

class ZKTaskQuestions;
class ZKTransferThrottle;

// One queue item: moves one source item into one destination folder. The
// queue and the document speak to tasks only through this interface. Every
// property is observable through its change signal, emitted on the main
// thread.
class ZKTask : public QObject, public ZKPropertyListObject {
    Q_OBJECT
    // What a queue sorts by reads these.
    Q_PROPERTY(ZKTaskState state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString filename READ filename NOTIFY filenameChanged)
    Q_PROPERTY(
        QString destinationDirectory READ destinationDirectory NOTIFY destinationDirectoryChanged)
    Q_PROPERTY(quint64 totalBytes READ totalBytes NOTIFY progressChanged)
    Q_PROPERTY(double percentCompleted READ percentCompleted NOTIFY progressChanged)
    Q_PROPERTY(double percentRemaining READ percentRemaining NOTIFY progressChanged)
    Q_PROPERTY(double timeRemaining READ timeRemaining NOTIFY progressChanged)

public:
    using QObject::QObject;

    // Hears of the task's changes on the main thread before its signals go
    // out: the queue that holds it, which would otherwise pay three
    // connections a task (some 560 bytes) in a queue of 100,000 tasks.
    class Follower {
    public:
        // The state or the figures of progressChanged changed.
        virtual void taskDidChange(ZKTask &task) = 0;
        // As activity().
        virtual void taskDidMove(ZKTask &task, quint64 bytes, double seconds) = 0;

    protected:
        ~Follower() = default;
    };
    // One follower at a time: false, with nothing changed, while another
    // follows the task. Any thread.
    bool follow(Follower *follower);
    // Stops the follower's following, when it is the one that follows.
    void unfollow(Follower *follower);

    virtual void start() = 0;
    virtual void pause() = 0;
    virtual void cancel() = 0;
    virtual void reset() = 0;
    virtual void suspend() = 0;
    virtual void resume() = 0;
    virtual void revealSource() = 0;
    virtual void revealDestination() = 0;
    // After its source or destination changed: what the task learned of them
    // (what stood at the destination before it ran, what it skips and
    // replaces, the answers given for all its items) is forgotten and it
    // starts over. A suspended task stays suspended.
    virtual void forgetAnalysis() = 0;
    // Tells the running step to stop and returns at once; the task comes to
    // rest as after pause() once the step has ended.
    virtual void stopSteps() = 0;
    // A task read back in the middle of a step takes the step up again; its
    // queue asks once the task is in, so that one turned away never starts.
    virtual void resumeInterruptedStep() {}

    virtual ZKTaskState state() const = 0;
    virtual void setState(ZKTaskState state) = 0;
    virtual ZKReaderPtr source() const = 0;
    virtual void setSource(ZKReaderPtr source) = 0;
    virtual ZKWriterPtr destination() const = 0;
    virtual void setDestination(ZKWriterPtr destination) = 0;
    virtual qint32 transferMode() const = 0;
    virtual void setTransferMode(qint32 mode) = 0;
    virtual QString icon() const = 0;
    virtual QString filename() const = 0;
    virtual QString destinationDirectory() const = 0;
    virtual QString description() const = 0;
    virtual QString detail() const = 0;
    // The figures of progressChanged, as they are now.
    virtual ZKTaskProgress progress() const = 0;
    virtual quint64 totalBytes() const = 0;
    virtual quint64 progressBytes() const = 0;
    virtual double percentCompleted() const = 0;
    virtual double percentRemaining() const = 0;
    virtual double timeRemaining() const = 0;
    virtual bool isIndeterminate() const = 0;
    virtual bool isVerifyEnabled() const = 0;
    virtual void setIsVerifyEnabled(bool enabled) = 0;
    virtual bool isVerifiedOk() const = 0;
    // The queue's overall rate, which a waiting task's time left is reckoned
    // at, and its speed limit (0: none).
    virtual void setDataRate(double bytesPerSecond) = 0;
    virtual quint64 maximumTransferRate() const = 0;
    virtual void setMaximumTransferRate(quint64 bytesPerSecond) = 0;
    virtual bool isResumable() const = 0;
    virtual QSet<QUrl> skippedUrls() const = 0;
    virtual QSet<QUrl> replacedUrls() const = 0;
    // What the user should know of the last analysis although nothing failed
    // (items left out, and why).
    virtual QStringList notes() const { return {}; }
    // The pacing state of the queue's speed limit, shared by all its tasks.
    virtual void setThrottle(std::shared_ptr<ZKTransferThrottle> throttle) = 0;
    // Asked on the task's worker when a step has ended: whether its queue
    // would start the task's next step at once anyway, so that the step may
    // follow without the task first coming to rest on the main thread. One
    // answer serves every task of a queue.
    using StepsMayFollow = std::shared_ptr<const std::function<bool(const ZKTask &)>>;
    virtual void setStepsMayFollow(StepsMayFollow mayFollow) { Q_UNUSED(mayFollow); }

    // How the queue answers the task's conflicts (through its line of
    // questions, which every task of the queue shares), and what it
    // remembers of an answer given for all items.
    virtual void setQuestions(const ZKTaskQuestions &questions) = 0;
    virtual qint32 unreadableFileResponse() const = 0;
    virtual void setUnreadableFileResponse(qint32 response) = 0;
    virtual qint32 unwritableFileResponse() const = 0;
    virtual void setUnwritableFileResponse(qint32 response) = 0;
    virtual qint32 preExistingFileResponse() const = 0;
    virtual void setPreExistingFileResponse(qint32 response) = 0;

Q_SIGNALS:
    // Main thread. Whatever the queue sums (the state, the byte counts, the
    // verify switch) changed: the queue's figures follow this signal.
    void progressChanged(const ZKTaskProgress &progress);
    // Main thread: bytes moved in so many seconds, as the step reported them.
    void activity(quint64 bytes, double seconds);
    void stateChanged(ZKTaskState state);
    void sourceChanged();
    void destinationChanged();
    void transferModeChanged();
    void iconChanged();
    void filenameChanged();
    void destinationDirectoryChanged();
    void descriptionChanged();
    void detailChanged();
    void totalBytesChanged();
    void progressBytesChanged();
    void isIndeterminateChanged();
    void percentCompletedChanged();
    void percentRemainingChanged();
    void dataRateChanged();
    void timeRemainingChanged();
    void isVerifyEnabledChanged();
    void isVerifiedOkChanged();
    void maximumTransferRateChanged();
    void isResumableChanged();
    void skippedUrlsChanged();
    void replacedUrlsChanged();
    void responsesChanged();
    void notesChanged();

protected:
    // Main thread: the follower first, then the signal.
    void announceStateChanged(ZKTaskState state);
    void announceProgressChanged(const ZKTaskProgress &progress);
    void announceActivity(quint64 bytes, double seconds);

private:
    std::atomic<Follower *> m_follower{nullptr};
};
