// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKDataRateCalculator.h"
#include "ZKError.h"
#include "ZKOperationActivity.h"
#include "ZKOperationQueue.h"
#include "ZKTask.h"
#include "ZKTaskQuestions.h"
#include "ZKTaskState.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QVariantMap>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class ZKCopyOperation;
class ZKFileOperation;
class ZKVerifyFileOperation;

// The one concrete task: analyse, copy, verify (when enabled) and remove the
// source (in Move mode), one step per start(). Every state change and every
// observable figure is set on the main thread; operations run on the task's
// own worker.
class ZKCopyTask : public ZKTask {
    Q_OBJECT

public:
    // Tasks are shared between the queue, the document and operations; the
    // last owner may be a worker thread, so destruction is sent to the main
    // thread.
    static std::shared_ptr<ZKCopyTask> create(ZKReaderPtr source, ZKWriterPtr destination);
    static std::shared_ptr<ZKCopyTask> create(const QVariantMap &propertyList);
    // The destinations made from saved entries so far: the tasks of a loaded
    // queue share a writer where their entries name the same one, as tasks
    // added together do, instead of one writer each.
    class Destinations {
    public:
        ZKWriterPtr writerFor(const QVariantMap &entry);

    private:
        QHash<size_t, QList<std::pair<QVariantMap, ZKWriterPtr>>> m_made;
    };
    static std::shared_ptr<ZKCopyTask> create(const QVariantMap &propertyList,
                                              Destinations &destinations);

    ~ZKCopyTask() override;

    QVariantMap asPropertyList() const override;
    bool isEqual(const ZKCopyTask &other) const;

    void start() override;
    void pause() override;
    void cancel() override;
    void reset() override;
    void forgetAnalysis() override;
    void stopSteps() override;
    void suspend() override;
    void resume() override;
    void revealSource() override;
    void revealDestination() override;
    void resumeInterruptedStep() override;

    ZKTaskState state() const override { return m_state.load(); }
    void setState(ZKTaskState state) override;
    ZKReaderPtr source() const override;
    void setSource(ZKReaderPtr source) override;
    ZKWriterPtr destination() const override;
    void setDestination(ZKWriterPtr destination) override;
    qint32 transferMode() const override { return m_transferMode.load(); }
    void setTransferMode(qint32 mode) override;
    QString icon() const override;
    QString filename() const override;
    QString destinationDirectory() const override;
    QString description() const override;
    QString detail() const override;
    void setDetail(const QString &detail);
    quint64 totalBytes() const override { return m_totalBytes.load(); }
    void setTotalBytes(quint64 bytes);
    quint64 progressBytes() const override { return m_progressBytes.load(); }
    void setProgressBytes(quint64 bytes);
    bool isIndeterminate() const override { return m_isIndeterminate.load(); }
    void setIsIndeterminate(bool indeterminate);
    double percentCompleted() const override;
    void setPercentCompleted(double fraction);
    double percentRemaining() const override;
    void setPercentRemaining(double fraction);
    double dataRate() const { return m_dataRate.load(); }
    void setDataRate(double bytesPerSecond) override;
    double timeRemaining() const override;
    void setTimeRemaining(double seconds);
    bool isVerifyEnabled() const override { return m_isVerifyEnabled.load(); }
    void setIsVerifyEnabled(bool enabled) override;
    bool isVerifiedOk() const override { return m_isVerifiedOk.load(); }
    void setIsVerifiedOk(bool ok);
    quint64 maximumTransferRate() const override { return m_maximumTransferRate.load(); }
    void setMaximumTransferRate(quint64 bytesPerSecond) override;
    bool isResumable() const override;
    quint64 remainingWorkBytes() const;
    QSet<QUrl> skippedUrls() const override;
    void setSkippedUrls(const QSet<QUrl> &urls);
    QSet<QUrl> replacedUrls() const override;
    void setReplacedUrls(const QSet<QUrl> &urls);
    QStringList notes() const override;
    ZKTaskProgress progress() const override;
    void setThrottle(std::shared_ptr<ZKTransferThrottle> throttle) override;
    void setStepsMayFollow(StepsMayFollow mayFollow) override;
    // Destination files the first analysis found and took as done without
    // this task writing them; a move compares them in full.
    QSet<QUrl> preExistingUrls() const;

    void setQuestions(const ZKTaskQuestions &questions) override;

    qint32 unreadableFileResponse() const override { return m_unreadableFileResponse.load(); }
    void setUnreadableFileResponse(qint32 response) override;
    qint32 unwritableFileResponse() const override { return m_unwritableFileResponse.load(); }
    void setUnwritableFileResponse(qint32 response) override;
    qint32 preExistingFileResponse() const override { return m_preExistingFileResponse.load(); }
    void setPreExistingFileResponse(qint32 response) override;

    ZKOptionalError error() const;
    quint64 bytesCopied() const;
    quint64 bytesVerified() const;
    double minimumTimeBetweenNotifications() const;
    void setMinimumTimeBetweenNotifications(double seconds);

    // Recomputes the derived figures and texts on the main thread, later.
    void refresh();

    // The completion handshake: returns once the last queued step's end
    // handler has run, or after ten seconds.
    void waitUntilAllOperationsAreFinished();

private:
    ZKCopyTask(ZKReaderPtr source, ZKWriterPtr destination);
    static std::shared_ptr<ZKCopyTask> create(const QVariantMap &propertyList,
                                              ZKWriterPtr destination);

    void prepare();
    void process();
    void verify();
    void remove();
    // One step of a visit to the worker: its operation, the state it runs
    // in, its end handler and, for a step that followed another there, the
    // progress it reported meanwhile (worker, then main thread).
    struct Step {
        std::shared_ptr<ZKFileOperation> operation;
        ZKTaskState runningState = ZKTaskState::PendingPreparation;
        std::function<void(ZKFileOperation &)> endHandler;
        std::shared_ptr<ZKOperationActivity> heldActivity;
    };
    using Visit = std::shared_ptr<std::vector<Step>>;
    std::shared_ptr<ZKCopyOperation> makeCopyOperation(quint64 offset) const;
    std::shared_ptr<ZKVerifyFileOperation> makeVerifyOperation() const;
    void runOperation(const std::shared_ptr<ZKFileOperation> &operation, ZKTaskState runningState,
                      std::function<void(ZKFileOperation &)> endHandler);
    // Worker: what the visit ran last has ended.
    void endStepOnWorker(const Visit &visit);
    // Worker: the step that follows the visit's last one without a rest, or
    // nothing.
    std::optional<Step> followingStep(const Visit &visit);
    // Main thread: the end handlers of the visit's steps, in order, and the
    // running states of the steps that followed without a rest.
    void endVisit(const Visit &visit);
    void endPrepare(ZKFileOperation &operation);
    void endProcess(ZKFileOperation &operation);
    void endVerify(ZKFileOperation &operation);
    void endRemove(ZKFileOperation &operation);
    bool endsByCancellation(ZKFileOperation &operation, ZKTaskState restingState);
    void fail(const ZKOptionalError &error);
    void signalOperationFinished();
    bool isPartialCopy(ZKTaskState previousState);
    void cancelAndWait();
    // Back to the start, with no progress kept, resting in the given state.
    void startOver(ZKTaskState restingState = ZKTaskState::PendingPreparation);
    void configure(ZKFileOperation &operation) const;

    // The derived figures at once; main thread.
    void refreshNow();
    void settleFigures();
    void makePendingTexts() const;
    QString describedText() const;
    QString detailText() const;
    void refreshSourceName();
    void refreshIsIndeterminate();
    void refreshTimeRemaining();
    void refreshPercentCompleted();
    void refreshDescription();
    void refreshDetail();

    // Runs fn on the main thread, now when already there.
    static void onMain(const std::function<void()> &fn);
    void startStep();
    // Main thread: a report of the running step.
    void takeActivity(ZKTaskState runningState, quint64 bytes, const ZKOperationActivity &report);

    // What only a started or unusual task has: a queue of 100,000 waiting
    // tasks would hold a worker queue, locks, sets, texts and figures each
    // for nothing. Made by the first thread that needs it and kept until the
    // task goes, since any thread may be using it by then.
    struct Rare {
        ZKOperationQueue operationQueue;
        std::shared_ptr<ZKFileOperation> currentOperation; // guarded by m_lock
        bool operationStarted = false;                     // guarded by completionLock
        std::mutex completionLock;
        std::condition_variable completionCondition;
        // Guarded by m_lock: what the running step reported.
        quint64 filesDoneThisRun = 0;
        QString currentFile;
        std::atomic<quint64> bytesCopied{0};
        std::atomic<quint64> bytesVerified{0};
        std::atomic<double> timeRemaining{0};
        std::atomic<double> percentRemaining{1};
        std::atomic<double> percentCompleted{0};
        // Of the running step only (main thread), made on its first report;
        // progress() reads its figure from any thread.
        std::unique_ptr<ZKDataRateCalculator> ownRate;
        std::atomic<double> ownBytesPerSecond{0};
        // The rest is guarded by m_lock.
        std::unique_ptr<const ZKError> error; // only a failed task has one
        QSet<QUrl> skippedUrls;
        QSet<QUrl> replacedUrls;
        QSet<QUrl> preExistingUrls; // see m_hasPreExistingUrls
        QStringList notes;
        // The files of the tree and those the analysis found done.
        quint64 filesTotal = 0;
        quint64 filesAlreadyDone = 0;
        // The source's name as the rows know it, once a step has had the
        // reader: a step may rename it (a web server's answer) on its
        // worker, so other threads read this copy instead.
        std::optional<QString> sourceName;
        std::optional<QString> sourceIcon; // found when first asked
        QString detail;
        QString description;
        quint64 textsGeneration = 0; // refreshes while pending
        double minimumTimeBetweenNotifications = 1.0;
    };
    Rare &rare() const;
    Rare *rareIfAny() const { return m_rare.load(std::memory_order_acquire); }
    // Clears what the running step reported; with m_lock held.
    void forgetStepReport();
    // Before a worker has the reader; with m_lock held.
    void keepSourceName();
    // Sets a figure that only a started task has away from its resting value.
    template <class T> bool storeRare(std::atomic<T> Rare::*field, T value, T resting);
    template <class T> T rareValue(std::atomic<T> Rare::*field, T resting) const;

    mutable std::atomic<Rare *> m_rare{nullptr};
    // Guards the endpoints, the sets, the handlers, the error and the texts.
    // Small: a queue holds 100,000 tasks.
    mutable QBasicMutex m_lock;
    ZKReaderPtr m_source;
    ZKWriterPtr m_destination;
    QString m_destinationFilename;
    // What a queue gives each of its tasks alike: its pace, its line of
    // questions (which answers the analysis's conflicts) and its answer
    // whether steps may follow. Tasks given the same share one.
    struct Shared {
        std::shared_ptr<ZKTransferThrottle> throttle;
        std::optional<ZKTaskQuestions> questions;
        StepsMayFollow stepsMayFollow;
    };
    // The shared part with one thing changed; with m_lock held.
    void share(const std::function<void(Shared &)> &change) const;
    mutable std::shared_ptr<const Shared> m_shared; // guarded by m_lock
    std::atomic<quint64> m_totalBytes{0};
    std::atomic<quint64> m_progressBytes{0};
    std::atomic<quint64> m_maximumTransferRate{0};
    // Given to every task of a running queue as it joins, so kept here.
    std::atomic<double> m_dataRate{0};
    std::atomic<ZKTaskState> m_state{ZKTaskState::PendingPreparation};
    std::atomic<qint32> m_transferMode{0};
    std::atomic<qint32> m_unreadableFileResponse{2};
    std::atomic<qint32> m_unwritableFileResponse{2};
    std::atomic<qint32> m_preExistingFileResponse{2};
    // The flags side by side.
    bool m_resumesWhenQueued = false; // main thread
    // Guarded by m_lock. Absent until the first analysis succeeded: what
    // stood at the destination then is all the task did not write itself.
    bool m_hasPreExistingUrls = false;
    std::atomic<bool> m_refreshPending{false};
    // Set with the source, which may be changed on a worker; read by the
    // row's texts on the main thread.
    std::atomic<bool> m_sourceIsLocal{true};
    mutable std::atomic<bool> m_textsPending{true}; // made when first read
    std::atomic<bool> m_isIndeterminate{true};
    std::atomic<bool> m_isVerifyEnabled{false};
    std::atomic<bool> m_isVerifiedOk{false};
};
