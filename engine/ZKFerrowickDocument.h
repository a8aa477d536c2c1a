// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKCountdownTimer.h"
#include "ZKDataRateCalculator.h"
#include "ZKError.h"
#include "ZKListViewDelegate.h"
#include "ZKOperationQueue.h"
#include "ZKQueueFile.h"
#include "ZKQueuePasteboard.h"
#include "ZKSleepManager.h"
#include "ZKTaskListModel.h"
#include "ZKTaskQuestions.h"
#include "ZKTaskQueue.h"
#include "ZKTransferThrottle.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariantMap>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class ZKPasteboard;
class ZKSchedulePanel;
class ZKSpeedLimitPanel;

// One queue: it owns the tasks and runs them one after another, answers their
// conflict questions, measures the overall rate, retries and clears, and is
// saved to and loaded from a ".queue" file. It lives on the main thread;
// starting and pausing work runs on a serial background queue so that the
// main thread never waits for a task's step to end.
class ZKFerrowickDocument : public QObject, public ZKListViewDelegate {
    Q_OBJECT
    Q_PROPERTY(qint32 state READ state WRITE setState NOTIFY stateChanged)
    Q_PROPERTY(QString description READ description NOTIFY descriptionChanged)
    Q_PROPERTY(QString dataDescription READ dataDescription NOTIFY dataDescriptionChanged)
    Q_PROPERTY(bool isVerifyEnabled READ isVerifyEnabled WRITE setIsVerifyEnabled NOTIFY
                   isVerifyEnabledChanged)
    Q_PROPERTY(bool autoClearItems READ autoClearItems NOTIFY autoClearItemsChanged)
    Q_PROPERTY(bool autoRetryItems READ autoRetryItems NOTIFY autoRetryItemsChanged)
    Q_PROPERTY(QString retryTooltip READ retryTooltip NOTIFY retryTooltipChanged)
    Q_PROPERTY(QString clearTooltip READ clearTooltip NOTIFY clearTooltipChanged)

public:
    static const QString fileExtension; // "queue"

    // A new queue, from the user settings.
    explicit ZKFerrowickDocument(QObject *parent = nullptr);
    ~ZKFerrowickDocument() override;

    // ---- identity and saving
    QString fileName() const { return m_fileName; }
    void setFileName(const QString &path);
    // The file's name, or the untitled name given by whoever numbers the
    // untitled queues ("Untitled" when nobody does).
    QString displayName() const;
    void setUntitledName(const QString &name) { m_untitledName = name; }
    bool isEdited() const { return m_changeCount != 0; }
    void updateChangeCount();
    // Once saved: what is on disk is what the queue holds.
    void clearChangeCount();

    QVariantMap asPropertyList() const { return m_file->asPropertyList(); }
    bool readFromPropertyList(const QVariantMap &plist) {
        return m_file->readFromPropertyList(plist);
    }
    // A damaged or foreign file is refused with a clear error and changes
    // nothing.
    bool readFromFile(const QString &path, ZKError *error = nullptr) {
        return m_file->readFromFile(path, error);
    }
    // Reads and checks a queue file without loading it.
    static bool readPropertyListFromFile(const QString &path, QVariantMap *plist,
                                         ZKError *error = nullptr,
                                         const ZKQueueFile::EntryBlock &entry = {}) {
        return ZKQueueFile::readPropertyListFromFile(path, plist, error, entry);
    }
    // Written as a whole to a temporary file and renamed over the old one.
    bool writeToFile(const QString &path, ZKError *error = nullptr) const {
        return m_file->writeToFile(path, error);
    }
    // Writes the queue and makes the file its own: it is no longer edited.
    // An untitled queue's recovery file goes once the queue has a file.
    bool saveToFile(const QString &path, ZKError *error = nullptr) {
        return m_file->saveToFile(path, error);
    }
    // Back to what the queue's file holds. The tasks stop before the saved
    // ones take their place, so no two ever write one file. A file that
    // cannot be read changes nothing.
    bool revertToSaved(ZKError *error = nullptr) { return m_file->revertToSaved(error); }
    static bool validatePropertyList(const QVariantMap &plist, QString *reason) {
        return ZKQueueFile::validatePropertyList(plist, reason);
    }
    static QString unreadableTaskEntryReason(const QVariant &entry) {
        return ZKQueueFile::unreadableTaskEntryReason(entry);
    }

    // A saved task entry this version cannot re-create. It is kept as it was
    // and written back in its place, so that opening and saving a queue
    // never loses a task.
    struct UnreadTaskEntry {
        qsizetype index; // in the saved "Tasks" array
        QVariant entry;
        QString reason;
    };
    const QList<UnreadTaskEntry> &unreadTaskEntries() const { return m_unreadTaskEntries; }

    // ---- progress kept while the queue runs
    // Where an untitled queue keeps its tasks until it is saved or closed, so
    // that they come back when the program stopped unexpectedly. The file is
    // locked for this process (a lock a dead process left is taken over);
    // false, and no recovery file, when a running process holds it. It is
    // removed when the queue gets a file of its own, has no task left, and
    // when the document closes. An empty path means none.
    bool setRecoveryFileName(const QString &path) { return m_file->setRecoveryFileName(path); }
    QString recoveryFileName() const { return m_file->recoveryFileName(); }
    // While on, the queue writes what it did as it runs, at most every few
    // seconds and whenever a task ends, so that finished tasks stay finished
    // whatever happens to the program. A queue with a file writes into it
    // what the file held, with its tasks' progress: edits the user has not
    // saved stay unsaved. An untitled queue writes itself whole into its
    // recovery file, edits and all. None of this counts as an edit.
    void setSavesProgress(bool on) { m_file->setSavesProgress(on); }
    bool savesProgress() const { return m_file->savesProgress(); }
    // Writes the progress now; true when there was nothing to write to.
    bool saveProgress(ZKError *error = nullptr) { return m_file->saveProgress(error); }
    // A task is copying, verifying or removing its source.
    bool hasRunningTask() const;
    // Stops every task for good as the queue closes: on return no step runs
    // and none will start, so nothing is written any more; the progress is
    // saved where the queue keeps it.
    void stopAllTasks();

    // ---- running
    qint32 state() const { return m_state.load(); }
    void setState(qint32 state);
    void toggleStartStop();
    void startNextTask();
    static bool shouldStartNextTaskWithStateChange(ZKTaskState from, ZKTaskState to);
    void startRetryTimer();
    void cancelRetryTimer();
    void retry();
    void restart(bool fromButton = false);
    // Starts every Failed task over, and no other: unlike restart(), tasks
    // that rest with their progress keep it, and cancelled ones stay so.
    // Main thread; the failed tasks are back in the queue on return.
    void retryFailedTasks();
    void setMaximumTransferRate(quint64 bytesPerSecond);
    void setDataRate(double bytesPerSecond);
    // Returns once every start and pause submitted so far has run.
    void waitForBackgroundWork();

    // ---- settings
    bool isVerifyEnabled() const { return m_isVerifyEnabled; }
    void setIsVerifyEnabled(bool enabled);
    void toggleVerifyEnabled() { setIsVerifyEnabled(!m_isVerifyEnabled); }
    qint32 defaultTransferMode() const { return m_defaultTransferMode; }
    void setDefaultTransferMode(qint32 mode);
    ZKWriterPtr defaultDestination() const { return m_defaultDestination; }
    void setDefaultDestination(ZKWriterPtr destination);
    bool autoClearItems() const { return m_autoClearItems; }
    void toggleAutoClearItems();
    bool autoRetryItems() const { return m_autoRetryItems; }
    void toggleAutoRetryItems();
    void setAutoRetryItems(bool on);
    // The wait before an automatic retry, for this queue only; without one
    // the "automaticRetryDelaySeconds" preference decides. Not saved.
    void setRetryDelay(std::optional<double> seconds);
    double retryDelay() const;
    QString retryTooltip() const { return m_retryTooltip; }
    QString clearTooltip() const { return m_clearTooltip; }

    ZKTaskQueue &taskQueue() { return m_taskQueue; }
    const ZKTaskQueue &taskQueue() const { return m_taskQueue; }
    ZKDataRateCalculator &dataRateCalculator() { return m_dataRateCalculator; }
    // The queue's progress, as every front end shows it.
    ZKQueueFigures figures() const;
    // Its tasks, as every front end lists them.
    ZKTaskListModel &taskListModel() { return m_taskListModel; }
    ZKCountdownTimer &retryTimer() { return m_retryTimer; }
    ZKSleepManager &sleepManager() { return m_sleepManager; }
    ZKSpeedLimitPanel &speedLimit() { return *m_speedLimit; }
    ZKSchedulePanel &schedule() { return *m_schedule; }

    // ---- the task list
    // Downloads (sources that are not local) are always created in Copy mode.
    // Answers the tasks that joined the queue; see insertTasks. prepare, when
    // given, settles each new task before it joins (a script's own transfer
    // mode and verification, say), so that no step runs with the defaults.
    QList<ZKTaskPtr> addTasks(const QList<ZKReaderPtr> &sources, const ZKWriterPtr &destination,
                              qsizetype index, QStringList *refusals = nullptr,
                              const std::function<void(ZKTask &)> &prepare = {});
    // A task whose source and destination equal those of a task that has not
    // ended in any open queue of the process is refused: both would write the
    // same files at once. Answers the tasks that joined; the refused ones are
    // told, one reason each, in refusals and by tasksRefused.
    QList<ZKTaskPtr> insertTasks(const QList<ZKTaskPtr> &tasks, const ZKIndexList &indexes,
                                 QStringList *refusals = nullptr);
    void removeTasksAtIndexes(const ZKIndexList &indexes);
    qsizetype countOfTasks() const { return m_taskQueue.count(); }
    ZKTaskPtr objectInTasksAtIndex(qsizetype index) const { return m_taskQueue.taskAtIndex(index); }
    qsizetype indexOfTask(const ZKTaskPtr &task) const { return m_taskQueue.indexOfTask(task); }
    qsizetype failedTaskCount() const { return m_taskQueue.failedCount(); }

    // ---- sources arriving (added, pasted, dropped, handed to the program)
    // See ZKQueuePasteboard.
    using DestinationChooser = ZKQueuePasteboard::DestinationChooser;
    void setDestinationChooser(DestinationChooser chooser) {
        m_pasteboard.setDestinationChooser(std::move(chooser));
    }
    void
    createTasksWithReaders(const QList<ZKReaderPtr> &readers, qsizetype index,
                           std::function<void(const QList<ZKTaskPtr> &)> completionHandler = {}) {
        m_pasteboard.createTasksWithReaders(readers, index, std::move(completionHandler));
    }
    void createTaskWithReader(const ZKReaderPtr &reader,
                              std::function<void(const ZKTaskPtr &)> completionHandler = {}) {
        m_pasteboard.createTaskWithReader(reader, std::move(completionHandler));
    }

    // ---- rows dragged and dropped
    static inline const QString &taskOriginType = ZKQueuePasteboard::taskOriginType;
    bool canDragItemFromIndex(qsizetype index) override {
        return m_pasteboard.canDragItemFromIndex(index);
    }
    void dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) override {
        m_pasteboard.dragItemFromIndex(index, pasteboard);
    }
    Qt::DropActions dropOperation() const override { return m_pasteboard.dropOperation(); }
    bool dropItemsAtIndex(qsizetype index, const QMimeData &pasteboard) override {
        return m_pasteboard.dropItemsAtIndex(index, pasteboard);
    }
    void draggedItemWasTaken(qsizetype originalIndex, Qt::DropAction action) override {
        m_pasteboard.draggedItemWasTaken(originalIndex, action);
    }

    // ---- a row's commands
    // The target is an insertion index counted before the task is taken out
    // (one place down is from + 2); past the end means the end. A waiting
    // task moved above the running one takes over, as one added there does.
    void moveTaskFromIndex(qsizetype from, qsizetype to);
    // The row's action button: a suspended task resumes, a failed one is
    // tried again, a completed one shows its copy, any other is suspended.
    void performTaskAction(const ZKTaskPtr &task);
    // The row's stop button: a completed task's row is closed, any other task
    // is cancelled.
    void cancelTask(const ZKTaskPtr &task);
    // A task that has not ended takes a new source or destination and starts
    // over; a download is always a copy.
    void changeSourceForTask(const ZKTaskPtr &task, const ZKReaderPtr &source);
    void changeDestinationForTask(const ZKTaskPtr &task, const ZKWriterPtr &destination);

    // ---- commands
    void clearItems(const ZKIndexList &indexes);
    void clearAllItems();
    void clearCompletedItems(bool fromButton = false);
    void clearFailedItems();
    void suspendAll();
    void resumeAll();
    void setAllTransferModeCopy();
    void setAllTransferModeMove();
    void changeAllDestination(const ZKWriterPtr &destination);
    void sortByFilename();
    void sortByDestination();
    void sortByFileSize();
    void sortByPercentCompleted();
    void sortByPercentRemaining();
    void sortByTimeRemaining();
    void copyItems(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const {
        m_pasteboard.copyItems(indexes, pasteboard);
    }
    void copySources(ZKPasteboard &pasteboard) const { m_pasteboard.copySources(pasteboard); }
    qsizetype paste(const QList<QByteArray> &taskItems, const QList<QUrl> &urls, qsizetype index) {
        return m_pasteboard.paste(taskItems, urls, index);
    }

    // ---- texts
    QString description() const;
    QString dataDescription() const;

Q_SIGNALS:
    void stateChanged();
    void descriptionChanged();
    void dataDescriptionChanged();
    void isVerifyEnabledChanged();
    void autoClearItemsChanged();
    void autoRetryItemsChanged();
    void retryTooltipChanged();
    void clearTooltipChanged();
    void defaultTransferModeChanged();
    void defaultDestinationChanged();
    void tasksChanged();
    void editedChanged();
    // Loading made new speed-limit and schedule objects; the old ones are
    // gone, and whatever showed them must take the new ones.
    void speedLimitAndScheduleReplaced();
    // The queue's progress, a moment after it changed; many changes close
    // together are told once.
    void figuresChanged(const ZKQueueFigures &figures);
    // The queue finished (the completion notice has been given).
    void queueCompleted();
    // Tasks that arrived together were turned away, each for the reason
    // given (see insertTasks).
    void tasksRefused(const QStringList &reasons);

private:
    // Saving and loading read and set the queue's settings directly.
    friend class ZKQueueFile;

    // How a deferred call reaches back to the document. It goes dead as soon
    // as the document starts closing, not only when its QObject part ends:
    // tearing down the tasks still serves queued calls, and the members those
    // calls would use are gone by then.
    class Guard {
    public:
        explicit Guard(ZKFerrowickDocument *document)
            : m_document(document) {}
        explicit operator bool() const { return m_document && !m_document->m_closing; }
        ZKFerrowickDocument *operator->() const { return m_document.data(); }
        ZKFerrowickDocument *data() const { return m_document.data(); }

    private:
        QPointer<ZKFerrowickDocument> m_document;
    };

    void connectSettings();
    // Tells every running step to stop, without waiting for it.
    void stopSteps();
    void runInBackground(std::function<void()> work);
    void startNextTaskNow();
    void startTask(const ZKTaskPtr &task);
    // Pauses a task that has not ended, applies the change of source or
    // destination, and starts it over.
    void changeEndpointOfTask(const ZKTaskPtr &task, std::function<void()> change);
    void connectTask(const ZKTaskPtr &task);
    // insertTasks() with the refusals already found for the tasks, on the
    // main thread since then: a loaded queue of 100,000 tasks is not checked
    // twice.
    QList<ZKTaskPtr> insertCheckedTasks(const QList<ZKTaskPtr> &tasks, const ZKIndexList &indexes,
                                        const QStringList &reasons, QStringList *refusals);
    // Asked on a task's worker: whether the task's next step would start at
    // once, so that it may follow there without a rest.
    bool stepsMayFollow(const ZKTask &task) const;
    void onTaskStateChanged(ZKTask *task, const std::weak_ptr<ZKTask> &weak);
    void followUp(const std::weak_ptr<ZKTask> &task, ZKTaskState newState);
    // Tells of the figures once the changes on their way are in.
    void announceFigures();
    void refreshRetryTooltip();
    void refreshClearTooltip();
    void announceTexts();
    void sortTasksWithDescriptor(const QString &key, bool caseInsensitive = false);

    std::atomic<bool> m_closing{false};
    // How the tasks' workers reach the document; cut when it closes.
    struct WorkerGate {
        std::mutex lock;
        const ZKFerrowickDocument *document = nullptr;
    };
    std::shared_ptr<WorkerGate> m_workerGate = std::make_shared<WorkerGate>();
    // Through the gate; one for all the tasks.
    ZKTask::StepsMayFollow m_stepsMayFollow;
    // The tasks' conflict questions, shown for this queue.
    ZKTaskQuestions m_questions{this};
    ZKTaskQueue m_taskQueue;
    ZKTaskListModel m_taskListModel{m_taskQueue};
    std::atomic<bool> m_figuresPending{false};
    ZKOperationQueue m_dispatchQueue;
    ZKDataRateCalculator m_dataRateCalculator;
    std::atomic<qint32> m_state{0};
    bool m_isVerifyEnabled = false;
    qint32 m_defaultTransferMode = 0;
    ZKWriterPtr m_defaultDestination;
    ZKCountdownTimer m_retryTimer;
    ZKSleepManager m_sleepManager;
    bool m_autoClearItems = false;
    bool m_autoRetryItems = false;
    std::optional<double> m_retryDelay;
    std::unique_ptr<ZKSpeedLimitPanel> m_speedLimit;
    std::shared_ptr<ZKTransferThrottle> m_throttle = std::make_shared<ZKTransferThrottle>();
    std::unique_ptr<ZKSchedulePanel> m_schedule;
    QString m_retryTooltip;
    QString m_clearTooltip;
    QString m_fileName;
    QString m_untitledName;
    int m_changeCount = 0;
    bool m_showDataRate = false;
    bool m_showDataSize = false;
    ZKQueuePasteboard m_pasteboard{*this};
    QHash<ZKTask *, ZKTaskState> m_lastStates; // old values for state changes
    QList<UnreadTaskEntry> m_unreadTaskEntries;
    std::unique_ptr<ZKQueueFile> m_file = std::make_unique<ZKQueueFile>(*this);
};
