// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskQueue.h"

#include "ZKLogging.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"
#include "ZKPasteboard.h"
#include "ZKPropertyListSerialization.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"

#include <algorithm>

const QString ZKTaskQueue::pasteboardType = QStringLiteral("com.velmarind.ferrowick.task");

namespace {
bool isIn(qint32 state, std::initializer_list<qint32> states) {
    return std::find(states.begin(), states.end(), state) != states.end();
}
} // namespace

void ZKTaskQueue::insertTask(const ZKTaskPtr &task, qsizetype index) {
    if (!task) {
        return;
    }
    {
        std::lock_guard locker(m_lock);
        m_tasks.insert(std::clamp<qsizetype>(index, 0, m_tasks.size()), task);
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::insertTasks(const QList<ZKTaskPtr> &tasks, ZKIndexList indexes) {
    {
        std::lock_guard locker(m_lock);
        if (!indexes.isEmpty() && indexes.first() > m_tasks.size()) {
            const auto size = indexes.size();
            indexes.clear();
            for (qsizetype i = 0; i < size; ++i) {
                indexes.append(m_tasks.size() + i);
            }
        }
        const auto n = std::min(tasks.size(), indexes.size());
        for (qsizetype i = 0; i < n; ++i) {
            if (tasks[i]) {
                m_tasks.insert(std::clamp<qsizetype>(indexes[i], 0, m_tasks.size()), tasks[i]);
            }
        }
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::removeTasksAtIndexes(const ZKIndexList &indexes) {
    {
        std::lock_guard locker(m_lock);
        for (auto index : indexes) {
            if (index >= 0 && index < m_tasks.size()) {
                m_removedTasks.append(m_tasks[index]);
            }
        }
        for (auto it = indexes.crbegin(); it != indexes.crend(); ++it) {
            if (*it >= 0 && *it < m_tasks.size()) {
                m_tasks.removeAt(*it);
            }
        }
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::removeAll() {
    {
        std::lock_guard locker(m_lock);
        m_removedTasks.append(m_tasks);
        m_tasks.clear();
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::sortWithDescriptor(const QString &key, bool ascending,
                                     Qt::CaseSensitivity caseSensitivity) {
    const QByteArray name = key.toLatin1();
    const auto order = [&](const ZKTaskPtr &a, const ZKTaskPtr &b) {
        const QVariant x = a->property(name.constData());
        const QVariant y = b->property(name.constData());
        if (x.typeId() == QMetaType::QString && y.typeId() == QMetaType::QString) {
            return x.toString().compare(y.toString(), caseSensitivity);
        }
        const auto ordering = QVariant::compare(x, y);
        return ordering == QPartialOrdering::Less      ? -1
               : ordering == QPartialOrdering::Greater ? 1
                                                       : 0;
    };
    Q_EMIT tasksAboutToChange();
    {
        // Property values are read under the lock: they are plain getters of
        // values the main thread sets, never a wait.
        std::lock_guard locker(m_lock);
        std::stable_sort(m_tasks.begin(), m_tasks.end(),
                         [&](const ZKTaskPtr &a, const ZKTaskPtr &b) {
                             const int result = order(a, b);
                             return ascending ? result < 0 : result > 0;
                         });
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::removeTask(const ZKTaskPtr &task) {
    bool removed = false;
    {
        std::lock_guard locker(m_lock);
        const auto index = m_tasks.indexOf(task);
        if (index >= 0) {
            m_removedTasks.append(m_tasks.takeAt(index));
            removed = true;
        }
    }
    if (removed) {
        Q_EMIT tasksChanged();
    }
}

QList<ZKTaskPtr> ZKTaskQueue::tasks() const {
    std::shared_lock locker(m_lock);
    return m_tasks;
}

ZKTaskPtr ZKTaskQueue::taskAtIndex(qsizetype index) const {
    std::shared_lock locker(m_lock);
    return index >= 0 && index < m_tasks.size() ? m_tasks[index] : nullptr;
}

qsizetype ZKTaskQueue::indexOfTask(const ZKTaskPtr &task) const {
    std::shared_lock locker(m_lock);
    return m_tasks.indexOf(task);
}

qsizetype ZKTaskQueue::count() const {
    std::shared_lock locker(m_lock);
    return m_tasks.size();
}

ZKIndexList ZKTaskQueue::indexesWhere(const std::function<bool(const ZKTask &)> &predicate) const {
    std::shared_lock locker(m_lock);
    ZKIndexList indexes;
    for (qsizetype i = 0; i < m_tasks.size(); ++i) {
        if (predicate(*m_tasks[i])) {
            indexes.append(i);
        }
    }
    return indexes;
}

ZKTaskPtr ZKTaskQueue::firstWhere(const std::function<bool(const ZKTask &)> &predicate) const {
    std::shared_lock locker(m_lock);
    const auto it = std::find_if(m_tasks.cbegin(), m_tasks.cend(),
                                 [&](const ZKTaskPtr &task) { return predicate(*task); });
    return it == m_tasks.cend() ? nullptr : *it;
}

QList<ZKTaskPtr> ZKTaskQueue::snapshot(const ZKIndexList &indexes) const {
    std::shared_lock locker(m_lock);
    QList<ZKTaskPtr> result;
    for (auto index : indexes) {
        if (index >= 0 && index < m_tasks.size()) {
            result.append(m_tasks[index]);
        }
    }
    return result;
}

ZKIndexList ZKTaskQueue::allItems() const {
    return indexesWhere([](const ZKTask &) { return true; });
}

ZKIndexList ZKTaskQueue::completedItems() const {
    return indexesWhere([](const ZKTask &t) { return t.state() == ZKTaskState::Completed; });
}

ZKIndexList ZKTaskQueue::failedItems() const {
    return indexesWhere([](const ZKTask &t) { return t.state() == ZKTaskState::Failed; });
}

qsizetype ZKTaskQueue::failedCount() const {
    return failedItems().size();
}

quint64 ZKTaskQueue::progressBytes() const {
    std::shared_lock locker(m_lock);
    quint64 sum = 0;
    for (const auto &task : m_tasks) {
        sum += task->progressBytes();
    }
    return sum;
}

quint64 ZKTaskQueue::totalBytes() const {
    std::shared_lock locker(m_lock);
    quint64 sum = 0;
    for (const auto &task : m_tasks) {
        sum += task->totalBytes();
    }
    return sum;
}

quint64 ZKTaskQueue::remainingBytes() const {
    std::shared_lock locker(m_lock);
    quint64 progress = 0;
    quint64 total = 0;
    for (const auto &task : m_tasks) {
        progress += task->progressBytes();
        total += task->totalBytes();
    }
    return progress > total ? 0 : total - progress;
}

bool ZKTaskQueue::allTasksCompleted() const {
    using S = ZKTaskState;
    return !firstWhere([](const ZKTask &t) {
        return isIn(t.state(),
                    {S::PendingPreparation, S::Preparing, S::PendingProcessing, S::Processing,
                     S::PendingVerification, S::Verifying, S::Cancelling});
    });
}

ZKTaskPtr ZKTaskQueue::currentTask() const {
    using S = ZKTaskState;
    return firstWhere([](const ZKTask &t) {
        return isIn(t.state(), {S::Preparing, S::Processing, S::Verifying});
    });
}

ZKTaskPtr ZKTaskQueue::nextPreparationTask() const {
    return firstWhere([](const ZKTask &t) { return t.state() == ZKTaskState::PendingPreparation; });
}

ZKTaskPtr ZKTaskQueue::nextTask() const {
    using S = ZKTaskState;
    return firstWhere([](const ZKTask &t) {
        return isIn(t.state(), {S::PendingProcessing, S::PendingVerification, S::PendingRemoval});
    });
}

// The calls into tasks below work on a snapshot, outside the lock: pausing
// waits for the task's step to end, and that step ends on the main thread.

void ZKTaskQueue::pauseAll() {
    for (const auto &task : tasks()) {
        if (task->state() != ZKTaskState::Preparing) {
            task->pause();
        }
    }
}

void ZKTaskQueue::pauseAllResumableTasks() {
    for (const auto &task : tasks()) {
        if (task->state() != ZKTaskState::Preparing && task->isResumable()) {
            task->pause();
        }
    }
}

void ZKTaskQueue::resetAll() {
    for (const auto &task : tasks()) {
        task->reset();
    }
}

void ZKTaskQueue::flushRemovedTasks() {
    QList<ZKTaskPtr> removed;
    {
        std::lock_guard locker(m_lock);
        removed.swap(m_removedTasks);
    }
    // The tasks are let go here, outside the lock: a task pauses itself when
    // it is destroyed.
}

void ZKTaskQueue::setVerifyEnabled(bool enabled) {
    for (const auto &task : tasks()) {
        task->setIsVerifyEnabled(enabled);
    }
}

void ZKTaskQueue::setDataRate(double bytesPerSecond) {
    for (const auto &task : tasks()) {
        task->setDataRate(bytesPerSecond);
    }
}

void ZKTaskQueue::setMaximumTransferRate(quint64 bytesPerSecond) {
    for (const auto &task : tasks()) {
        task->setMaximumTransferRate(bytesPerSecond);
    }
}

void ZKTaskQueue::detach(ZKTask &task, QObject *observer) {
    QObject::disconnect(&task, &ZKTask::stateChanged, observer, nullptr);
    ZKNotificationCenter::defaultCenter().removeObservers(observer,
                                                          ZKNotificationNames::taskActivity, &task);
}

void ZKTaskQueue::removeTaskObserver(QObject *observer) {
    for (const auto &task : tasks()) {
        detach(*task, observer);
    }
}

void ZKTaskQueue::removeTaskObserver(QObject *observer, const ZKIndexList &indexes) {
    for (const auto &task : snapshot(indexes)) {
        detach(*task, observer);
    }
}

QVariantList ZKTaskQueue::asPropertyList() const {
    QVariantList list;
    for (const auto &task : tasks()) {
        list.append(task->asPropertyList());
    }
    return list;
}

void ZKTaskQueue::copyUrlsToPasteboard(ZKPasteboard &pasteboard) const {
    QList<QUrl> urls;
    for (const auto &task : tasks()) {
        if (const auto source = task->source()) {
            const QUrl url = source->urlForPasteboard();
            if (!url.isEmpty()) {
                urls.append(url);
            }
        }
    }
    pasteboard.writeUrls(urls);
}

void ZKTaskQueue::copyTasks(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const {
    QList<ZKPasteboardItem> items;
    for (const auto &task : snapshot(indexes)) {
        const QByteArray data =
            ZKPropertyListSerialization::binaryDataFromPropertyList(task->asPropertyList());
        if (!data.isEmpty()) {
            items.append({pasteboardType, data});
        }
    }
    pasteboard.addItems(items);
}

QString ZKTaskQueue::description() const {
    qint64 total = 0;
    qint64 completed = 0;
    qint64 failed = 0;
    double time = 0;
    {
        std::shared_lock locker(m_lock);
        for (const auto &task : m_tasks) {
            const auto state = task->state();
            ++total;
            completed += state == ZKTaskState::Completed;
            failed += state == ZKTaskState::Failed;
            if (state != ZKTaskState::Suspended) {
                time += task->timeRemaining();
            }
        }
        for (const auto &task : m_removedTasks) {
            if (task->state() == ZKTaskState::Completed) {
                ++completed;
                ++total;
            }
        }
    }
    QString text = QStringLiteral("%1 of %2 complete").arg(completed).arg(total);
    if (failed != 0) {
        text = QStringLiteral("%1, %2 failed").arg(text).arg(failed);
    }
    if (time > 0) {
        text = QStringLiteral("%1 - %2").arg(text, ZKTimeFormatter::formatTime(time));
    }
    return text;
}

void ZKTaskQueue::waitForOperationsToComplete() {
    // Every change above completes before its call returns, so taking the
    // lock exclusively once is the barrier.
    std::lock_guard locker(m_lock);
    qCInfo(lcEngine) << "TaskQueue operations complete.";
}
