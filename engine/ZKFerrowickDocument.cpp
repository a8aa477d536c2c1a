// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"

#include "ZKBlockOperation.h"
#include "ZKCopyTask.h"
#include "ZKFileBrowser.h"
#include "ZKLogging.h"
#include "ZKMainQueue.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKQueueFile.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKSchedulePanel.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskRegistry.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"
#include "ZKTransferMode.h"
#include "ZKTransferThrottle.h"
#include "ZKUserDefaults.h"

#include <QFileInfo>
#include <QPointer>

using S = ZKTaskState;

const QString ZKFerrowickDocument::fileExtension = QStringLiteral("queue");

namespace {
// The open queues of this process, so that a task dragged between two of
// them can be found in the one it comes from, and no transfer is queued in
// two. Main thread only.
QSet<ZKFerrowickDocument *> &liveDocuments() {
    return ZKTaskRegistry::openQueues();
}
} // namespace

ZKFerrowickDocument::ZKFerrowickDocument(QObject *parent)
    : QObject(parent) {
    liveDocuments().insert(this);
    m_workerGate->document = this;
    m_stepsMayFollow = std::make_shared<const std::function<bool(const ZKTask &)>>(
        [gate = m_workerGate](const ZKTask &task) {
            std::lock_guard locker(gate->lock);
            return gate->document && gate->document->stepsMayFollow(task);
        });
    auto &defaults = ZKUserDefaults::standard();
    m_state = defaults.integerForKey(ZKPreferences::queueState) == ZKQueueState::Paused
                  ? ZKQueueState::Paused
                  : ZKQueueState::Running;
    m_isVerifyEnabled = defaults.boolForKey(ZKPreferences::verifyEnabled);
    m_autoClearItems = defaults.boolForKey(ZKPreferences::automaticClearEnabled);
    m_autoRetryItems = defaults.boolForKey(ZKPreferences::automaticRetryEnabled);
    m_showDataRate = defaults.boolForKey(ZKPreferences::showDataRate);
    m_showDataSize = defaults.boolForKey(ZKPreferences::showDataSize);
    // The default destination is kept in the settings in its saved form.
    const QVariant saved = defaults.objectForKey(ZKPreferences::defaultDestination);
    if (saved.canConvert<QVariantMap>() && !saved.toMap().isEmpty()) {
        m_defaultDestination = ZKPropertyListParser::parseObjectOfType<ZKWriter>(saved.toMap());
    } else if (const QString path = saved.toString(); !path.isEmpty()) {
        if (const auto reader = ZKReaderFactory::readerWithPath(path)) {
            m_defaultDestination = reader->asWriter();
        }
    }

    m_dataRateCalculator.setNumberOfSamples(10);
    connect(&m_dataRateCalculator, &ZKDataRateCalculator::bytesPerSecondChanged, this, [this] {
        ZKMainQueue::async([guard = Guard(this)] {
            if (guard) {
                guard->m_taskQueue.setDataRate(guard->m_dataRateCalculator.bytesPerSecond());
                guard->announceTexts();
            }
        });
    });
    connect(&defaults, &ZKUserDefaults::valueChanged, this, [this](const QString &key) {
        if (key == ZKPreferences::showDataRate || key == ZKPreferences::showDataSize) {
            auto &d = ZKUserDefaults::standard();
            m_showDataRate = d.boolForKey(ZKPreferences::showDataRate);
            m_showDataSize = d.boolForKey(ZKPreferences::showDataSize);
            Q_EMIT dataDescriptionChanged();
        }
    });
    // One connection and one observer serve every task of the queue.
    connect(&m_taskQueue, &ZKTaskQueue::taskStateChanged, this,
            [this](const ZKTaskPtr &task) { onTaskStateChanged(task.get(), task); });
    connect(&m_taskQueue, &ZKTaskQueue::taskActivity, this,
            [this](const ZKTaskPtr &, quint64 bytes, double seconds) {
                m_dataRateCalculator.addActivity(bytes, seconds);
                m_file->noteProgress(false);
            });
    // Sums change on a worker too (letting go of removed tasks).
    connect(&m_taskQueue, &ZKTaskQueue::figuresChanged, this,
            &ZKFerrowickDocument::announceFigures);
    connect(&m_taskQueue, &ZKTaskQueue::tasksChanged, this, &ZKFerrowickDocument::announceFigures);
    m_retryTimer.setUpdateHandler([this] { Q_EMIT descriptionChanged(); });
    m_retryTimer.setCompletionHandler([this] { retry(); });
    m_speedLimit = std::make_unique<ZKSpeedLimitPanel>(this);
    m_schedule = std::make_unique<ZKSchedulePanel>(this);
    connectSettings();
    refreshRetryTooltip();
    refreshClearTooltip();
}

ZKFerrowickDocument::~ZKFerrowickDocument() {
    liveDocuments().remove(this);
    m_closing = true;
    {
        // A removed task may outlive the document.
        std::lock_guard locker(m_workerGate->lock);
        m_workerGate->document = nullptr;
    }
    // First: the waits below must not wait for a worker that waits for an
    // answer. Its step is told to stop before it hears Cancel, so that it
    // rests where it was instead of failing on that answer.
    stopSteps();
    m_questions.close();
    m_retryTimer.cancel();
    // Before any wait: waiting serves the workers' calls into the main
    // thread, and the state changes among them must not reach a document
    // that is closing.
    disconnect(&m_taskQueue, nullptr, this, nullptr);
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
    // No task step may outlive the document whose questions it may ask.
    for (const auto &task : m_taskQueue.tasks()) {
        task->pause();
    }
    m_sleepManager.permitIdleSleep();
    // Closed as the user meant to: there is nothing to recover.
    m_file->removeRecoveryFile();
}

// ---- identity and saving

void ZKFerrowickDocument::setFileName(const QString &path) {
    m_fileName = path;
}

QString ZKFerrowickDocument::displayName() const {
    if (!m_fileName.isEmpty()) {
        return QFileInfo(m_fileName).completeBaseName();
    }
    return m_untitledName.isEmpty() ? tr("Untitled") : m_untitledName;
}

void ZKFerrowickDocument::connectSettings() {
    // The limit and the schedule are saved with the queue: changing them is
    // an edit like any other.
    const auto edited = [this] {
        updateChangeCount();
    };
    connect(m_speedLimit.get(), &ZKSpeedLimitPanel::enabledChanged, this, edited);
    connect(m_speedLimit.get(), &ZKSpeedLimitPanel::maximumTransferRateChanged, this, edited);
    connect(m_schedule.get(), &ZKSchedulePanel::scheduleEnabledChanged, this, edited);
    for (ZKScheduleTimer *timer :
         {&m_schedule->startCopyingTimer(), &m_schedule->stopCopyingTimer(),
          &m_schedule->startSpeedLimitTimer(), &m_schedule->stopSpeedLimitTimer()}) {
        connect(timer, &ZKScheduleTimer::enabledChanged, this, edited);
        connect(timer, &ZKScheduleTimer::timeChanged, this, edited);
    }
}

void ZKFerrowickDocument::clearChangeCount() {
    // After the increments already on their way to the main thread.
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard && guard->m_changeCount != 0) {
            guard->m_changeCount = 0;
            Q_EMIT guard->editedChanged();
        }
    });
}

void ZKFerrowickDocument::updateChangeCount() {
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard) {
            ++guard->m_changeCount;
            Q_EMIT guard->editedChanged();
            // An untitled queue has nowhere else to keep its edits.
            if (guard->m_fileName.isEmpty()) {
                guard->m_file->noteProgress(false);
            }
        }
    });
}

// ---- progress kept while the queue runs

bool ZKFerrowickDocument::hasRunningTask() const {
    const QList<ZKTaskPtr> tasks = m_taskQueue.tasks();
    return std::any_of(tasks.cbegin(), tasks.cend(), [](const ZKTaskPtr &task) {
        const ZKTaskState s = task->state();
        return s == S::Processing || s == S::Verifying || s == S::Removing;
    });
}

void ZKFerrowickDocument::stopSteps() {
    for (const auto &task : m_taskQueue.tasks()) {
        task->stopSteps();
    }
}

void ZKFerrowickDocument::stopAllTasks() {
    // As when the document goes: nothing deferred reaches it any more, and
    // a start already on its way starts nothing.
    m_closing = true;
    stopSteps();
    m_questions.close();
    m_retryTimer.cancel();
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
    for (const auto &task : m_taskQueue.tasks()) {
        task->pause();
    }
    m_sleepManager.permitIdleSleep();
    if (m_file->savesProgress()) {
        m_file->saveProgress();
    }
}

// ---- running

void ZKFerrowickDocument::runInBackground(std::function<void()> work) {
    m_dispatchQueue.addOperation(std::make_shared<ZKBlockOperation>(std::move(work)));
}

void ZKFerrowickDocument::waitForBackgroundWork() {
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
}

void ZKFerrowickDocument::setState(qint32 state) {
    m_state = state;
    if (state == ZKQueueState::Paused) {
        runInBackground([this] {
            m_taskQueue.pauseAll();
            m_taskQueue.flushRemovedTasks();
            m_sleepManager.permitIdleSleep();
        });
        ZKMainQueue::sync([this] { cancelRetryTimer(); });
    } else {
        startNextTask();
    }
    announceFigures();
    updateChangeCount();
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard) {
            Q_EMIT guard->stateChanged();
        }
    });
}

void ZKFerrowickDocument::toggleStartStop() {
    setState(state() == ZKQueueState::Running ? ZKQueueState::Paused : ZKQueueState::Running);
}

void ZKFerrowickDocument::startNextTask() {
    // All starting decisions are made one at a time, so a task can never be
    // started twice from one state. They go to the background queue, since
    // starting a task pauses the one running, which waits for its step.
    // Between two steps nothing runs: then, with the background queue idle
    // (only this thread fills it), the decision is made here and now, and a
    // queue of many small files saves two thread hand-overs per step.
    const bool mayDecideHere =
        ZKMainQueue::isMainThread() && m_dispatchQueue.operationCount() == 0 &&
        !m_taskQueue.hasRunningResumableTask() && !m_sleepManager.wouldAskBus();
    if (mayDecideHere) {
        startNextTaskNow();
    } else {
        runInBackground([this] { startNextTaskNow(); });
    }
}

void ZKFerrowickDocument::startNextTaskNow() {
    const auto current = m_taskQueue.currentTask();
    if (current && current->state() == S::Preparing) {
        return; // one analysis at a time
    }
    if (const auto preparation = m_taskQueue.nextPreparationTask()) {
        startTask(preparation); // analysis runs in a paused queue too
    } else if (state() == ZKQueueState::Running) {
        const auto next = m_taskQueue.nextTask();
        if (next && (!current || m_taskQueue.isBefore(next, current))) {
            startTask(next);
        }
    }
    if (!m_taskQueue.currentTask()) {
        m_sleepManager.permitIdleSleep();
    }
}

void ZKFerrowickDocument::startTask(const ZKTaskPtr &task) {
    m_taskQueue.pauseAllResumableTasks();
    m_sleepManager.preventIdleSleep();
    ZKMainQueue::sync([this, &task] {
        // Served while the document closes, which starts nothing new.
        if (m_closing) {
            return;
        }
        cancelRetryTimer();
        // A waiting task is not told each change of the rate and the limit.
        m_taskQueue.prepareToRun(*task);
        task->start();
    });
    // Not an edit: a queue that merely runs has nothing unsaved, since its
    // progress is kept by itself (saveProgress).
}

bool ZKFerrowickDocument::stepsMayFollow(const ZKTask &task) const {
    // Rather than analyse the tasks after it first, a running queue lets a
    // small file go on to its copy: it is done sooner than the next analysis
    // could start, and what the user sees of it is the same.
    return !m_closing && state() == ZKQueueState::Running && m_taskQueue.isNextToRun(task);
}

bool ZKFerrowickDocument::shouldStartNextTaskWithStateChange(ZKTaskState from, ZKTaskState to) {
    if (to == S::Completed || to == S::Failed || to == S::Cancelled) {
        return true;
    }
    if (from == S::Preparing) {
        return to == S::PendingProcessing || to == S::PendingVerification ||
               to == S::PendingRemoval;
    }
    if (from == S::Processing) {
        return to == S::PendingVerification || to == S::PendingRemoval;
    }
    return from == S::Verifying && to == S::PendingRemoval;
}

void ZKFerrowickDocument::onTaskStateChanged(ZKTask *task, const std::weak_ptr<ZKTask> &weak) {
    const ZKTaskState from = m_lastStates.value(task, S::PendingPreparation);
    const ZKTaskState to = task->state();
    m_lastStates.insert(task, to);
    m_file->noteProgress(to == S::Completed || to == S::Failed || to == S::Cancelled);
    if (shouldStartNextTaskWithStateChange(from, to)) {
        ZKMainQueue::async([guard = Guard(this), weak, to] {
            if (guard) {
                guard->followUp(weak, to);
            }
        });
    }
    Q_EMIT descriptionChanged();
}

void ZKFerrowickDocument::followUp(const std::weak_ptr<ZKTask> &weak, ZKTaskState newState) {
    if (m_autoClearItems && newState == S::Completed) {
        ZKMainQueue::asyncAfter(1, [guard = Guard(this), weak] {
            const auto task = weak.lock();
            if (!guard || !task) {
                return;
            }
            const qsizetype index = guard->m_taskQueue.indexOfTask(task);
            if (index >= 0) {
                guard->clearItems({index});
            }
        });
    }
    startNextTask();
    if (state() == ZKQueueState::Running && m_taskQueue.allTasksCompleted() &&
        (newState == S::Completed || newState == S::Failed)) {
        ZKNotificationManager::QueueNotice notice;
        notice.name = displayName();
        notice.description = description();
        notice.failedTasks = failedTaskCount();
        // The task that ended the queue shows where its work went.
        if (const auto task = weak.lock(); task && task->destination()) {
            notice.destination =
                ZKFileBrowser::itemInFolder(task->destination()->url(), task->filename());
        }
        notice.retry = [guard = Guard(this)] {
            if (guard) {
                guard->retryFailedTasks();
            }
        };
        notice.origin = this;
        ZKNotificationManager::notifyQueueCompleted(notice);
        if (m_autoRetryItems && m_taskQueue.failedCount() != 0) {
            startRetryTimer();
        }
        Q_EMIT queueCompleted();
    }
    announceTexts();
}

ZKQueueFigures ZKFerrowickDocument::figures() const {
    return m_taskQueue.figures(state());
}

void ZKFerrowickDocument::announceFigures() {
    // The figures are read when the announcement goes out, so one already on
    // its way covers this change too.
    if (m_figuresPending.exchange(true)) {
        return;
    }
    ZKMainQueue::async([guard = Guard(this)] {
        if (!guard) {
            return;
        }
        guard->m_figuresPending = false;
        Q_EMIT guard->figuresChanged(guard->figures());
        guard->announceTexts();
    });
}

// ---- retry

double ZKFerrowickDocument::retryDelay() const {
    return m_retryDelay ? *m_retryDelay
                        : double(ZKUserDefaults::standard().integerForKey(
                              ZKPreferences::automaticRetryDelaySeconds));
}

void ZKFerrowickDocument::setRetryDelay(std::optional<double> seconds) {
    m_retryDelay = seconds;
    refreshRetryTooltip();
}

void ZKFerrowickDocument::startRetryTimer() {
    m_retryTimer.setTimeout(retryDelay());
    m_retryTimer.start();
    Q_EMIT descriptionChanged();
}

void ZKFerrowickDocument::cancelRetryTimer() {
    if (m_retryTimer.isRunning()) {
        m_retryTimer.cancel();
        Q_EMIT descriptionChanged();
    }
}

void ZKFerrowickDocument::retry() {
    if (state() == ZKQueueState::Running && m_taskQueue.allTasksCompleted() &&
        m_taskQueue.failedCount() != 0 && m_autoRetryItems) {
        restart();
    }
}

void ZKFerrowickDocument::restart(bool fromButton) {
    if (fromButton) {
        toggleAutoRetryItems();
    }
    runInBackground([this] {
        m_taskQueue.resetAll();
        startNextTaskNow();
        updateChangeCount();
    });
}

void ZKFerrowickDocument::retryFailedTasks() {
    // A failed task runs no step, so resetting it waits for nothing. Done at
    // once, so that nobody finds the queue ended before the retry begins.
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() == S::Failed) {
            task->reset();
        }
    }
    startNextTask();
    updateChangeCount();
}

void ZKFerrowickDocument::refreshRetryTooltip() {
    m_retryTooltip =
        m_autoRetryItems
            ? tr("Retry (Auto retry after %1)").arg(ZKTimeFormatter::formatTime(retryDelay()))
            : tr("Retry");
    Q_EMIT retryTooltipChanged();
}

void ZKFerrowickDocument::refreshClearTooltip() {
    // The button both clears and switches automatic clearing, like Retry.
    m_clearTooltip = m_autoClearItems ? tr("Clear (Auto clear on)") : tr("Clear");
    Q_EMIT clearTooltipChanged();
}

void ZKFerrowickDocument::setMaximumTransferRate(quint64 bytesPerSecond) {
    m_taskQueue.setMaximumTransferRate(bytesPerSecond);
}

void ZKFerrowickDocument::setDataRate(double bytesPerSecond) {
    m_dataRateCalculator.setBytesPerSecond(bytesPerSecond);
}

// ---- settings

void ZKFerrowickDocument::setIsVerifyEnabled(bool enabled) {
    m_isVerifyEnabled = enabled;
    m_taskQueue.setVerifyEnabled(enabled);
    updateChangeCount();
    Q_EMIT isVerifyEnabledChanged();
}

void ZKFerrowickDocument::setDefaultTransferMode(qint32 mode) {
    m_defaultTransferMode = mode;
    updateChangeCount();
    Q_EMIT defaultTransferModeChanged();
}

void ZKFerrowickDocument::setDefaultDestination(ZKWriterPtr destination) {
    m_defaultDestination = std::move(destination);
    updateChangeCount();
    Q_EMIT defaultDestinationChanged();
}

void ZKFerrowickDocument::toggleAutoClearItems() {
    m_autoClearItems = !m_autoClearItems;
    refreshClearTooltip();
    updateChangeCount();
    Q_EMIT autoClearItemsChanged();
    if (m_autoClearItems) {
        clearItems(m_taskQueue.completedItems());
    }
}

void ZKFerrowickDocument::toggleAutoRetryItems() {
    m_autoRetryItems = !m_autoRetryItems;
    refreshRetryTooltip();
    updateChangeCount();
    Q_EMIT autoRetryItemsChanged();
    if (m_autoRetryItems && m_taskQueue.failedCount() != 0) {
        startRetryTimer();
    } else if (!m_autoRetryItems) {
        cancelRetryTimer();
    }
}

void ZKFerrowickDocument::setAutoRetryItems(bool on) {
    if (on != m_autoRetryItems) {
        toggleAutoRetryItems();
    }
}

// ---- the task list

QList<ZKTaskPtr> ZKFerrowickDocument::addTasks(const QList<ZKReaderPtr> &sources,
                                               const ZKWriterPtr &destination, qsizetype index,
                                               QStringList *refusals,
                                               const std::function<void(ZKTask &)> &prepare) {
    QList<ZKTaskPtr> tasks;
    ZKIndexList indexes;
    for (const auto &source : sources) {
        if (!source || !destination) {
            continue;
        }
        auto task = ZKCopyTask::create(source, destination);
        task->setIsVerifyEnabled(m_isVerifyEnabled);
        task->setDataRate(m_dataRateCalculator.bytesPerSecond());
        task->setMaximumTransferRate(m_speedLimit->value());
        // A download is a copy, whatever the default, unless its server
        // lets the source be removed.
        if (source->canBeMoved()) {
            task->setTransferMode(m_defaultTransferMode);
        }
        if (prepare) {
            prepare(*task);
        }
        indexes.append(index + tasks.size());
        tasks.append(task);
    }
    ZKMainQueue::sync([&] { tasks = insertTasks(tasks, indexes, refusals); });
    startNextTask();
    return tasks;
}

void ZKFerrowickDocument::connectTask(const ZKTaskPtr &task) {
    m_questions.connectTask(task);
    // One pace for the whole queue: a limit holds across its tasks.
    task->setThrottle(m_throttle);
    task->setStepsMayFollow(m_stepsMayFollow);
    ZKTask *raw = task.get();
    m_lastStates.insert(raw, raw->state());
}

QList<ZKTaskPtr> ZKFerrowickDocument::insertTasks(const QList<ZKTaskPtr> &tasks,
                                                  const ZKIndexList &indexes,
                                                  QStringList *refusals) {
    // The one door into a queue, and so the one place where a transfer that
    // an open queue holds already is turned away.
    return insertCheckedTasks(tasks, indexes, ZKTaskRegistry::refusalsForTasks(tasks), refusals);
}

QList<ZKTaskPtr> ZKFerrowickDocument::insertCheckedTasks(const QList<ZKTaskPtr> &tasks,
                                                         const ZKIndexList &indexes,
                                                         const QStringList &reasons,
                                                         QStringList *refusals) {
    QList<ZKTaskPtr> taken;
    ZKIndexList takenIndexes;
    QStringList refused;
    for (qsizetype i = 0; i < std::min(tasks.size(), indexes.size()); ++i) {
        if (!reasons[i].isEmpty()) {
            refused.append(reasons[i]);
            continue;
        }
        // The indexes are ascending: the tasks after a refused one close up.
        taken.append(tasks[i]);
        takenIndexes.append(indexes[i] - refused.size());
    }
    if (refusals) {
        *refusals = refused;
    }
    if (!refused.isEmpty()) {
        qCInfo(lcEngine).noquote() << "Refused:" << refused.join(QLatin1Char(' '));
        Q_EMIT tasksRefused(refused);
        if (taken.isEmpty()) {
            return {};
        }
    }
    for (const auto &task : taken) {
        connectTask(task);
    }
    m_taskQueue.insertTasks(taken, takenIndexes);
    for (const auto &task : taken) {
        task->resumeInterruptedStep();
    }
    Q_EMIT tasksChanged();
    announceFigures();
    updateChangeCount();
    return taken;
}

void ZKFerrowickDocument::removeTasksAtIndexes(const ZKIndexList &indexes) {
    const QList<ZKTaskPtr> all = m_taskQueue.tasks();
    for (const auto index : indexes) {
        if (index >= 0 && index < all.size()) {
            m_lastStates.remove(all[index].get());
        }
    }
    m_taskQueue.removeTasksAtIndexes(indexes);
    // Auto-cleared tasks still count in "n of m complete" until the whole
    // queue is done.
    if (!m_autoClearItems || m_taskQueue.allTasksCompleted()) {
        runInBackground([this] { m_taskQueue.flushRemovedTasks(); });
    }
    Q_EMIT tasksChanged();
    announceFigures();
    updateChangeCount();
}

// ---- commands

void ZKFerrowickDocument::moveTaskFromIndex(qsizetype from, qsizetype to) {
    if (from < 0 || from >= m_taskQueue.count() || to < 0) {
        return;
    }
    const ZKTaskPtr task = m_taskQueue.taskAtIndex(from);
    m_taskQueue.moveTask(from, to);
    if (m_taskQueue.indexOfTask(task) == from) {
        return; // dropped where it was
    }
    Q_EMIT tasksChanged();
    updateChangeCount();
    startNextTask();
}

void ZKFerrowickDocument::performTaskAction(const ZKTaskPtr &task) {
    if (!task || indexOfTask(task) < 0) {
        return;
    }
    if (task->state() == S::Completed) {
        task->revealDestination();
        return;
    }
    // In the background, as for the whole queue: suspending waits for the
    // task's step to end. None of these changes starts the next task by
    // itself, so the decision is made here.
    runInBackground([this, task] {
        switch (task->state()) {
        case S::Suspended:
            task->resume();
            break;
        case S::Failed:
            task->reset();
            break;
        case S::Completed:
            break;
        default:
            task->suspend();
            break;
        }
        startNextTaskNow();
    });
    updateChangeCount();
}

void ZKFerrowickDocument::cancelTask(const ZKTaskPtr &task) {
    const qsizetype index = task ? indexOfTask(task) : -1;
    if (index < 0) {
        return;
    }
    if (task->state() == S::Completed) {
        clearItems({index});
        return;
    }
    runInBackground([task] { task->cancel(); });
    updateChangeCount();
}

void ZKFerrowickDocument::changeSourceForTask(const ZKTaskPtr &task, const ZKReaderPtr &source) {
    if (source) {
        changeEndpointOfTask(task, [task, source] {
            task->setSource(source);
            if (!source->canBeMoved()) {
                task->setTransferMode(ZKTransferMode::Copy);
            }
        });
    }
}

void ZKFerrowickDocument::changeDestinationForTask(const ZKTaskPtr &task,
                                                   const ZKWriterPtr &destination) {
    if (destination) {
        changeEndpointOfTask(task, [task, destination] { task->setDestination(destination); });
    }
}

void ZKFerrowickDocument::changeEndpointOfTask(const ZKTaskPtr &task,
                                               std::function<void()> change) {
    const ZKTaskState s = task && indexOfTask(task) >= 0 ? task->state() : S::Completed;
    if (s == S::Completed || s == S::Cancelling || s == S::Cancelled) {
        return; // ended, or no task of this queue
    }
    runInBackground([this, task, change = std::move(change)] {
        task->pause();
        change();
        task->forgetAnalysis();
        startNextTaskNow();
    });
    updateChangeCount();
}

void ZKFerrowickDocument::clearItems(const ZKIndexList &indexes) {
    if (!indexes.isEmpty()) {
        removeTasksAtIndexes(indexes);
    }
}

void ZKFerrowickDocument::clearAllItems() {
    clearItems(m_taskQueue.allItems());
}

void ZKFerrowickDocument::clearCompletedItems(bool fromButton) {
    if (fromButton) {
        m_autoClearItems = !m_autoClearItems;
        refreshClearTooltip();
        Q_EMIT autoClearItemsChanged();
    }
    clearItems(m_taskQueue.completedItems());
}

void ZKFerrowickDocument::clearFailedItems() {
    clearItems(m_taskQueue.failedItems());
}

void ZKFerrowickDocument::suspendAll() {
    runInBackground([this] {
        for (const auto &task : m_taskQueue.tasks()) {
            task->suspend();
        }
    });
}

void ZKFerrowickDocument::resumeAll() {
    runInBackground([this] {
        for (const auto &task : m_taskQueue.tasks()) {
            task->resume();
        }
        startNextTaskNow();
    });
}

void ZKFerrowickDocument::setAllTransferModeCopy() {
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() != S::Completed) {
            task->setTransferMode(ZKTransferMode::Copy);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::setAllTransferModeMove() {
    for (const auto &task : m_taskQueue.tasks()) {
        const auto source = task->source();
        if (task->state() != S::Completed && source && source->canBeMoved()) {
            task->setTransferMode(ZKTransferMode::Move);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::changeAllDestination(const ZKWriterPtr &destination) {
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() != S::Completed) {
            task->setDestination(destination);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::sortTasksWithDescriptor(const QString &key, bool caseInsensitive) {
    m_taskQueue.sortWithDescriptor(key, true,
                                   caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive);
    Q_EMIT tasksChanged();
    updateChangeCount();
}

void ZKFerrowickDocument::sortByFilename() {
    sortTasksWithDescriptor(QStringLiteral("filename"), true);
}

void ZKFerrowickDocument::sortByDestination() {
    sortTasksWithDescriptor(QStringLiteral("destinationDirectory"), true);
}

void ZKFerrowickDocument::sortByFileSize() {
    sortTasksWithDescriptor(QStringLiteral("totalBytes"));
}

void ZKFerrowickDocument::sortByPercentCompleted() {
    sortTasksWithDescriptor(QStringLiteral("percentCompleted"));
}

void ZKFerrowickDocument::sortByPercentRemaining() {
    sortTasksWithDescriptor(QStringLiteral("percentRemaining"));
}

void ZKFerrowickDocument::sortByTimeRemaining() {
    sortTasksWithDescriptor(QStringLiteral("timeRemaining"));
}

// ---- texts

void ZKFerrowickDocument::announceTexts() {
    Q_EMIT descriptionChanged();
    Q_EMIT dataDescriptionChanged();
}

QString ZKFerrowickDocument::description() const {
    QString text = ZKTaskQueue::describe(figures());
    const double remaining = m_retryTimer.remainingTime();
    if (remaining > 0) {
        text += tr(" - retrying in %1").arg(ZKTimeFormatter::formatTime(remaining));
    }
    return text;
}

QString ZKFerrowickDocument::dataDescription() const {
    return ZKTaskQueue::describeData(figures(), m_showDataSize, m_showDataRate);
}
