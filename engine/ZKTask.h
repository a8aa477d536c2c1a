// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileInfo.h"
#include "ZKFileResponse.h"
#include "ZKPropertyListObject.h"
#include "ZKReader.h"
#include "ZKTaskProgress.h"
#include "ZKWriter.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>

class ZKTransferThrottle;

// One queue item: moves one source item into one destination folder. The
// queue and the document speak to tasks only through this interface. Every
// property is observable through its change signal, emitted on the main
// thread.
class ZKTask : public QObject, public ZKPropertyListObject {
    Q_OBJECT
    Q_PROPERTY(qint32 state READ state WRITE setState NOTIFY stateChanged)
    Q_PROPERTY(
        qint32 transferMode READ transferMode WRITE setTransferMode NOTIFY transferModeChanged)
    Q_PROPERTY(QString icon READ icon NOTIFY iconChanged)
    Q_PROPERTY(QString filename READ filename NOTIFY filenameChanged)
    Q_PROPERTY(
        QString destinationDirectory READ destinationDirectory NOTIFY destinationDirectoryChanged)
    Q_PROPERTY(QString description READ description NOTIFY descriptionChanged)
    Q_PROPERTY(QString detail READ detail WRITE setDetail NOTIFY detailChanged)
    Q_PROPERTY(quint64 totalBytes READ totalBytes WRITE setTotalBytes NOTIFY totalBytesChanged)
    Q_PROPERTY(
        quint64 progressBytes READ progressBytes WRITE setProgressBytes NOTIFY progressBytesChanged)
    Q_PROPERTY(bool isIndeterminate READ isIndeterminate WRITE setIsIndeterminate NOTIFY
                   isIndeterminateChanged)
    Q_PROPERTY(double percentCompleted READ percentCompleted WRITE setPercentCompleted NOTIFY
                   percentCompletedChanged)
    Q_PROPERTY(double percentRemaining READ percentRemaining WRITE setPercentRemaining NOTIFY
                   percentRemainingChanged)
    Q_PROPERTY(double dataRate READ dataRate WRITE setDataRate NOTIFY dataRateChanged)
    Q_PROPERTY(
        double timeRemaining READ timeRemaining WRITE setTimeRemaining NOTIFY timeRemainingChanged)
    Q_PROPERTY(bool isVerifyEnabled READ isVerifyEnabled WRITE setIsVerifyEnabled NOTIFY
                   isVerifyEnabledChanged)
    Q_PROPERTY(bool isVerifiedOk READ isVerifiedOk WRITE setIsVerifiedOk NOTIFY isVerifiedOkChanged)
    Q_PROPERTY(quint64 maximumTransferRate READ maximumTransferRate WRITE setMaximumTransferRate
                   NOTIFY maximumTransferRateChanged)
    Q_PROPERTY(bool isResumable READ isResumable NOTIFY isResumableChanged)
    Q_PROPERTY(QStringList notes READ notes NOTIFY notesChanged)

public:
    using QObject::QObject;

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

    virtual qint32 state() const = 0;
    virtual void setState(qint32 state) = 0;
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
    virtual void setDetail(const QString &detail) = 0;
    virtual quint64 totalBytes() const = 0;
    virtual void setTotalBytes(quint64 bytes) = 0;
    virtual quint64 progressBytes() const = 0;
    virtual void setProgressBytes(quint64 bytes) = 0;
    virtual bool isIndeterminate() const = 0;
    virtual void setIsIndeterminate(bool indeterminate) = 0;
    virtual double percentCompleted() const = 0;
    virtual void setPercentCompleted(double fraction) = 0;
    virtual double percentRemaining() const = 0;
    virtual void setPercentRemaining(double fraction) = 0;
    virtual double dataRate() const = 0;
    virtual void setDataRate(double bytesPerSecond) = 0;
    virtual double timeRemaining() const = 0;
    virtual void setTimeRemaining(double seconds) = 0;
    virtual bool isVerifyEnabled() const = 0;
    virtual void setIsVerifyEnabled(bool enabled) = 0;
    virtual bool isVerifiedOk() const = 0;
    virtual void setIsVerifiedOk(bool ok) = 0;
    virtual quint64 maximumTransferRate() const = 0;
    virtual void setMaximumTransferRate(quint64 bytesPerSecond) = 0;
    virtual bool isResumable() const = 0;
    // The bytes still to move (and to read again when verifying): the time
    // remaining is this at the data rate. 0 once nothing is left to transfer.
    virtual quint64 remainingWorkBytes() const = 0;
    virtual QSet<QUrl> skippedUrls() const = 0;
    virtual void setSkippedUrls(const QSet<QUrl> &urls) = 0;
    virtual QSet<QUrl> replacedUrls() const = 0;
    virtual void setReplacedUrls(const QSet<QUrl> &urls) = 0;
    // What the user should know of the last analysis although nothing failed
    // (items left out, and why).
    virtual QStringList notes() const { return {}; }
    // The pacing state of the queue's speed limit, shared by all its tasks.
    virtual void setThrottle(std::shared_ptr<ZKTransferThrottle> throttle) = 0;

    virtual ZKFileHandler unreadableFileHandler() const = 0;
    virtual void setUnreadableFileHandler(ZKFileHandler handler) = 0;
    virtual ZKFileHandler unwritableFileHandler() const = 0;
    virtual void setUnwritableFileHandler(ZKFileHandler handler) = 0;
    virtual ZKFileHandler preExistingFileHandler() const = 0;
    virtual void setPreExistingFileHandler(ZKFileHandler handler) = 0;
    virtual ZKFileHandler preExistingDestinationHandler() const = 0;
    virtual void setPreExistingDestinationHandler(ZKFileHandler handler) = 0;

    virtual qint32 unreadableFileResponse() const = 0;
    virtual void setUnreadableFileResponse(qint32 response) = 0;
    virtual qint32 unwritableFileResponse() const = 0;
    virtual void setUnwritableFileResponse(qint32 response) = 0;
    virtual qint32 preExistingFileResponse() const = 0;
    virtual void setPreExistingFileResponse(qint32 response) = 0;

    // The figures of progressChanged, as they are now.
    virtual ZKTaskProgress progress() const = 0;

Q_SIGNALS:
    // Main thread. Whatever the queue sums (the state, the byte counts, the
    // verify switch) changed: the queue's figures follow this signal.
    void progressChanged(const ZKTaskProgress &progress);
    // Main thread: bytes moved in so many seconds, as the step reported them.
    void activity(quint64 bytes, double seconds);
    void stateChanged();
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
};
