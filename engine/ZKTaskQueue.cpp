// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskQueue.h"

#include "ZKByteCountFormatter.h"
#include "ZKLogging.h"
#include "ZKPasteboard.h"
#include "ZKPropertyListSerialization.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"

#include <QLocale>

#include <algorithm>
#include <bit>
#include <numeric>
#include <vector>

const QString ZKTaskQueue::pasteboardType = QStringLiteral("com.velmarind.ferrowick.task");

namespace {

using S = ZKTaskState;

bool isIn(ZKTaskState state, std::initializer_list<ZKTaskState> states) {
    return std::find(states.begin(), states.end(), state) != states.end();
}

// A task with a step running: the one that needs the rate and the limit now.
bool isActive(ZKTaskState state) {
    return isIn(state, {S::Preparing, S::Processing, S::Verifying, S::Removing});
}

constexpr size_t wordBits = 64;

// Room for more at once, still growing by half at least: a queue that gets
// one task at a time must not be copied each time.
template <class T> void reserveFor(std::vector<T> &items, size_t more) {
    if (items.size() + more > items.capacity()) {
        items.reserve(std::max(items.size() + more, items.capacity() * 3 / 2));
    }
}

} // namespace

ZKTaskQueue::~ZKTaskQueue() {
    for (const ZKTaskPtr &task : std::as_const(m_tasks)) {
        stopFollowing(task.get());
    }
}

// ---- what the queue knows of its tasks (all with m_lock held)

quint32 ZKTaskQueue::adopt(const ZKTaskPtr &task) {
    quint32 slot = 0;
    if (m_freeSlots.empty()) {
        slot = quint32(m_entries.size());
        m_entries.emplace_back();
    } else {
        slot = m_freeSlots.back();
        m_freeSlots.pop_back();
    }
    Entry &entry = m_entries[slot];
    entry = Entry();
    entry.state = task->state();
    entry.take(task->progress());
    account(entry, +1);
    ++m_countIn[size_t(entry.state)];
    m_slotOf.insert(task.get(), slot);
    return slot;
}

void ZKTaskQueue::forget(ZKTask *task) {
    const auto found = m_slotOf.constFind(task);
    if (found == m_slotOf.cend()) {
        return;
    }
    const Entry &entry = m_entries[*found];
    account(entry, -1);
    --m_countIn[size_t(entry.state)];
    m_freeSlots.push_back(*found);
    m_slotOf.erase(found);
}

const ZKTaskQueue::Entry *ZKTaskQueue::entryOf(const ZKTask *task) const {
    const auto found = m_slotOf.constFind(task);
    return found == m_slotOf.cend() ? nullptr : &m_entries[*found];
}

ZKTaskQueue::Entry *ZKTaskQueue::entryOf(const ZKTask *task) {
    const auto found = m_slotOf.constFind(task);
    return found == m_slotOf.cend() ? nullptr : &m_entries[*found];
}

// Adds (+1) or takes away (-1) the entry's figures from the sums.
void ZKTaskQueue::account(const Entry &entry, int sign) {
    const quint64 files = std::max<quint64>(entry.filesTotal, 1);
    Sums counted;
    switch (entry.state) {
    case S::PendingPreparation:
    case S::Preparing:
    case S::PendingProcessing:
    case S::Processing:
    case S::PendingVerification:
    case S::Verifying:
        counted = {std::min(entry.progressBytes, entry.totalBytes), entry.totalBytes,
                   entry.remainingWorkBytes,
                   entry.filesTotal > 1 ? std::min(entry.filesDone, files) : 0, files};
        break;
    case S::Completed:
    case S::Failed:
        counted = {entry.totalBytes, entry.totalBytes, 0, files, files};
        break;
    case S::PendingRemoval:
        counted = {0, 0, entry.remainingWorkBytes, 0, 0};
        break;
    default:
        break;
    }
    if (sign > 0) {
        m_sums += counted;
    } else {
        m_sums -= counted;
    }
}

void ZKTaskQueue::placeAll() {
    const size_t words = (size_t(m_tasks.size()) + wordBits - 1) / wordBits;
    for (PlaceBits &bits : m_placed) {
        bits.assign(words, 0);
    }
    for (size_t position = 0; position < m_slotAt.size(); ++position) {
        Entry &entry = m_entries[m_slotAt[position]];
        entry.position = quint32(position);
        m_placed[size_t(entry.state)][position / wordBits] |= quint64(1) << (position % wordBits);
    }
}

void ZKTaskQueue::setPlaced(ZKTaskState state, quint32 position, bool placed) {
    PlaceBits &bits = m_placed[size_t(state)];
    const quint64 bit = quint64(1) << (position % wordBits);
    if (placed) {
        bits[position / wordBits] |= bit;
    } else {
        bits[position / wordBits] &= ~bit;
    }
}

qsizetype ZKTaskQueue::firstPlaceIn(std::initializer_list<ZKTaskState> states) const {
    size_t words = 0;
    bool any = false;
    for (const ZKTaskState state : states) {
        words = std::max(words, m_placed[size_t(state)].size());
        any = any || m_countIn[size_t(state)] != 0;
    }
    for (size_t word = 0; any && word < words; ++word) {
        quint64 bits = 0;
        for (const ZKTaskState state : states) {
            const PlaceBits &placed = m_placed[size_t(state)];
            bits |= word < placed.size() ? placed[word] : 0;
        }
        if (bits != 0) {
            return qsizetype(word * wordBits + size_t(std::countr_zero(bits)));
        }
    }
    return -1;
}

ZKTaskPtr ZKTaskQueue::firstInStates(std::initializer_list<ZKTaskState> states) const {
    std::shared_lock locker(m_lock);
    const qsizetype first = firstPlaceIn(states);
    return first < 0 ? nullptr : m_tasks[first];
}

QList<ZKTaskPtr> ZKTaskQueue::tasksInStates(std::initializer_list<ZKTaskState> states) const {
    std::shared_lock locker(m_lock);
    QList<ZKTaskPtr> found;
    for (const ZKTaskState state : states) {
        if (m_countIn[size_t(state)] == 0) {
            continue;
        }
        const PlaceBits &placed = m_placed[size_t(state)];
        for (size_t word = 0; word < placed.size(); ++word) {
            for (quint64 bits = placed[word]; bits != 0; bits &= bits - 1) {
                found.append(m_tasks[qsizetype(word * wordBits + size_t(std::countr_zero(bits)))]);
            }
        }
    }
    return found;
}

qsizetype ZKTaskQueue::countInStates(std::initializer_list<ZKTaskState> states) const {
    std::shared_lock locker(m_lock);
    qsizetype count = 0;
    for (const ZKTaskState state : states) {
        count += m_countIn[size_t(state)];
    }
    return count;
}

void ZKTaskQueue::startFollowing(ZKTask *task) {
    // The queue hears of a change before anyone else who follows the task.
    if (task->follow(this)) {
        return;
    }
    // Followed by another queue as well: by connections, which cost more.
    connect(task, &ZKTask::stateChanged, this, [this, task] { taskDidChange(*task); });
    connect(task, &ZKTask::progressChanged, this, [this, task] { taskDidChange(*task); });
    connect(task, &ZKTask::activity, this,
            [this, task](quint64 bytes, double seconds) { taskDidMove(*task, bytes, seconds); });
}

void ZKTaskQueue::stopFollowing(ZKTask *task) {
    task->unfollow(this);
    disconnect(task, nullptr, this, nullptr);
}

void ZKTaskQueue::taskDidMove(ZKTask &task, quint64 bytes, double seconds) {
    if (const ZKTaskPtr held = taskWithAddress(&task)) {
        Q_EMIT taskActivity(held, bytes, seconds);
    }
}

void ZKTaskQueue::taskDidChange(ZKTask &task) {
    ZKTaskPtr changed;
    ZKTaskPtr held;
    if (refreshEntry(&task, &changed, &held)) {
        prepareToRun(task);
    }
    if (changed) {
        Q_EMIT taskStateChanged(changed);
    }
    if (held) {
        Q_EMIT taskChanged(held);
        Q_EMIT figuresChanged();
    }
}

bool ZKTaskQueue::refreshEntry(ZKTask *task, ZKTaskPtr *changed, ZKTaskPtr *held) {
    // Read before the lock: the task's getters take locks of their own.
    const ZKTaskProgress progress = task->progress();
    std::lock_guard locker(m_lock);
    Entry *entry = entryOf(task);
    if (!entry) {
        return false; // taken out while the change was on its way
    }
    *held = m_tasks[entry->position];
    // The task is held by the queue, and its getters only read.
    const ZKTaskState state = task->state();
    bool started = false;
    account(*entry, -1);
    if (state != entry->state) {
        setPlaced(entry->state, entry->position, false);
        setPlaced(state, entry->position, true);
        --m_countIn[size_t(entry->state)];
        ++m_countIn[size_t(state)];
        started = isActive(state) && !isActive(entry->state);
        entry->state = state;
        *changed = *held;
    }
    entry->take(progress);
    account(*entry, +1);
    return started;
}

ZKTaskPtr ZKTaskQueue::taskWithAddress(const void *address) const {
    std::shared_lock locker(m_lock);
    const Entry *entry = entryOf(static_cast<const ZKTask *>(address));
    return entry ? m_tasks[entry->position] : nullptr;
}

void ZKTaskQueue::prepareToRun(ZKTask &task) const {
    std::optional<double> rate;
    std::optional<quint64> limit;
    {
        std::shared_lock locker(m_lock);
        rate = m_dataRate;
        limit = m_maximumTransferRate;
    }
    if (rate) {
        task.setDataRate(*rate);
    }
    if (limit) {
        task.setMaximumTransferRate(*limit);
    }
}

// ---- changes of the list

void ZKTaskQueue::insertTask(const ZKTaskPtr &task, qsizetype index) {
    insertTasks({task}, {index});
}

void ZKTaskQueue::insertTasks(const QList<ZKTaskPtr> &tasks, ZKIndexList indexes) {
    ZKIndexList inserted;
    QList<ZKTask *> added;
    {
        std::lock_guard locker(m_lock);
        const qsizetype oldSize = m_tasks.size();
        if (!indexes.isEmpty() && indexes.first() > m_tasks.size()) {
            const auto size = indexes.size();
            indexes.clear();
            for (qsizetype i = 0; i < size; ++i) {
                indexes.append(m_tasks.size() + i);
            }
        }
        const auto n = std::min(tasks.size(), indexes.size());
        bool appended = true;
        ZKIndexList placedAt;
        struct Joining {
            qsizetype at; // each place as it is given
            ZKTaskPtr task;
            quint32 slot;
        };
        std::vector<Joining> joining;
        bool inOrder = true;
        // A reopened queue comes in at once: grown step by step, the tables
        // would be rebuilt again and again.
        placedAt.reserve(n);
        joining.reserve(size_t(n));
        added.reserve(n);
        m_slotOf.reserve(m_slotOf.size() + n);
        reserveFor(m_entries, size_t(n));
        reserveFor(m_slotAt, size_t(n));
        for (qsizetype i = 0; i < n; ++i) {
            const ZKTaskPtr &task = tasks[i];
            // Those taken in this call are known by now too.
            if (!task || m_slotOf.contains(task.get())) {
                continue; // a task is in a queue once
            }
            const qsizetype size = m_tasks.size() + qsizetype(joining.size());
            const qsizetype at = std::clamp<qsizetype>(indexes[i], 0, size);
            appended = appended && at == size;
            joining.push_back({at, task, adopt(task)});
            added.append(task.get());
            // Places are given in order, and a later one leaves the earlier
            // ones where they are; any other order moves those below it.
            if (!placedAt.isEmpty() && at <= placedAt.last()) {
                inOrder = false;
                for (qsizetype &place : placedAt) {
                    place += place >= at ? 1 : 0;
                }
            }
            placedAt.insert(std::lower_bound(placedAt.begin(), placedAt.end(), at), at);
        }
        if (inOrder && joining.size() > 1) {
            // In one pass: one at a time, 100 tasks put near the top of
            // 100,000 would move all the rest 100 times.
            QList<ZKTaskPtr> merged;
            std::vector<quint32> slots;
            merged.reserve(m_tasks.size() + qsizetype(joining.size()));
            slots.reserve(merged.capacity());
            qsizetype old = 0;
            for (Joining &join : joining) {
                while (merged.size() < join.at) {
                    slots.push_back(m_slotAt[size_t(old)]);
                    merged.append(std::move(m_tasks[old++]));
                }
                slots.push_back(join.slot);
                merged.append(std::move(join.task));
            }
            while (old < m_tasks.size()) {
                slots.push_back(m_slotAt[size_t(old)]);
                merged.append(std::move(m_tasks[old++]));
            }
            m_tasks = std::move(merged);
            m_slotAt = std::move(slots);
        } else {
            for (Joining &join : joining) {
                m_tasks.insert(join.at, std::move(join.task));
                m_slotAt.insert(m_slotAt.begin() + join.at, join.slot);
            }
        }
        if (appended) {
            const size_t words = (size_t(m_tasks.size()) + wordBits - 1) / wordBits;
            for (PlaceBits &bits : m_placed) {
                bits.resize(words, 0);
            }
            for (qsizetype i = oldSize; i < m_tasks.size(); ++i) {
                Entry &entry = m_entries[m_slotAt[size_t(i)]];
                entry.position = quint32(i);
                setPlaced(entry.state, entry.position, true);
                inserted.append(i);
            }
        } else {
            placeAll();
            inserted = placedAt;
        }
    }
    for (ZKTask *task : std::as_const(added)) {
        startFollowing(task);
    }
    if (!inserted.isEmpty()) {
        Q_EMIT tasksInserted(inserted);
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::removeTasksAtIndexes(const ZKIndexList &indexes) {
    ZKIndexList removed;
    QList<ZKTaskPtr> taken;
    {
        std::lock_guard locker(m_lock);
        std::vector<bool> leaving(size_t(m_tasks.size()), false);
        for (const auto index : indexes) {
            if (index >= 0 && index < m_tasks.size() && !leaving[size_t(index)]) {
                leaving[size_t(index)] = true;
            }
        }
        // One pass, however many leave: clearing a queue of 100,000 tasks
        // must not move the rest once per task.
        QList<ZKTaskPtr> kept;
        std::vector<quint32> keptSlots;
        kept.reserve(m_tasks.size());
        keptSlots.reserve(m_slotAt.size());
        for (qsizetype i = 0; i < m_tasks.size(); ++i) {
            if (leaving[size_t(i)]) {
                removed.append(i);
                taken.append(m_tasks[i]);
            } else {
                kept.append(std::move(m_tasks[i]));
                keptSlots.push_back(m_slotAt[size_t(i)]);
            }
        }
        m_tasks = std::move(kept);
        m_slotAt = std::move(keptSlots);
        for (const ZKTaskPtr &task : std::as_const(taken)) {
            if (entryOf(task.get())->state == S::Completed) {
                ++m_removedCompleted;
            }
            forget(task.get());
        }
        if (!taken.isEmpty()) {
            placeAll();
        }
        m_removedTasks.append(taken);
    }
    for (const ZKTaskPtr &task : std::as_const(taken)) {
        stopFollowing(task.get());
    }
    if (!removed.isEmpty()) {
        Q_EMIT tasksRemoved(removed);
    }
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::removeAll() {
    removeTasksAtIndexes(allItems());
}

void ZKTaskQueue::removeTask(const ZKTaskPtr &task) {
    const qsizetype index = indexOfTask(task);
    if (index >= 0) {
        removeTasksAtIndexes({index});
    }
}

void ZKTaskQueue::moveTask(qsizetype from, qsizetype to) {
    qsizetype landed = -1;
    {
        std::lock_guard locker(m_lock);
        if (from < 0 || from >= m_tasks.size()) {
            return;
        }
        // The target counts the task in its old place; once it is taken out,
        // everything after that place is one earlier.
        to = std::clamp<qsizetype>(to, 0, m_tasks.size());
        landed = to > from ? to - 1 : to;
        if (landed == from) {
            return;
        }
        m_tasks.move(from, landed);
        const quint32 slot = m_slotAt[size_t(from)];
        m_slotAt.erase(m_slotAt.begin() + from);
        m_slotAt.insert(m_slotAt.begin() + landed, slot);
        placeAll();
    }
    Q_EMIT taskMoved(from, landed);
    Q_EMIT tasksChanged();
}

void ZKTaskQueue::sortWithDescriptor(const QString &key, bool ascending,
                                     Qt::CaseSensitivity caseSensitivity) {
    const QByteArray name = key.toLatin1();
    const auto order = [&](const QVariant &x, const QVariant &y) {
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
        // values the main thread sets, never a wait. Each is read once, not
        // at every comparison: some are made when asked.
        std::lock_guard locker(m_lock);
        std::vector<std::pair<QVariant, quint32>> keyed;
        keyed.reserve(size_t(m_tasks.size()));
        for (qsizetype i = 0; i < m_tasks.size(); ++i) {
            keyed.emplace_back(m_tasks[i]->property(name.constData()), quint32(i));
        }
        std::stable_sort(keyed.begin(), keyed.end(), [&](const auto &a, const auto &b) {
            const int result = order(a.first, b.first);
            return ascending ? result < 0 : result > 0;
        });
        QList<ZKTaskPtr> sorted;
        sorted.reserve(m_tasks.size());
        std::vector<quint32> slots;
        slots.reserve(keyed.size());
        for (const auto &[value, at] : keyed) {
            sorted.append(std::move(m_tasks[at]));
            slots.push_back(m_slotAt[at]);
        }
        m_tasks = std::move(sorted);
        m_slotAt = std::move(slots);
        placeAll();
    }
    Q_EMIT tasksReordered();
    Q_EMIT tasksChanged();
}

// ---- questions

QList<ZKTaskPtr> ZKTaskQueue::tasks() const {
    std::shared_lock locker(m_lock);
    return m_tasks;
}

ZKTaskPtr ZKTaskQueue::taskAtIndex(qsizetype index) const {
    std::shared_lock locker(m_lock);
    return index >= 0 && index < m_tasks.size() ? m_tasks[index] : nullptr;
}

qsizetype ZKTaskQueue::indexOfTask(const ZKTaskPtr &task) const {
    return indexOfTask(task.get());
}

qsizetype ZKTaskQueue::indexOfTask(const ZKTask *task) const {
    std::shared_lock locker(m_lock);
    const Entry *entry = entryOf(task);
    return entry ? qsizetype(entry->position) : -1;
}

bool ZKTaskQueue::isBefore(const ZKTaskPtr &a, const ZKTaskPtr &b) const {
    std::shared_lock locker(m_lock);
    const Entry *x = entryOf(a.get());
    const Entry *y = entryOf(b.get());
    return x && y && x->position < y->position;
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
    std::shared_lock locker(m_lock);
    ZKIndexList indexes(m_tasks.size());
    std::iota(indexes.begin(), indexes.end(), 0);
    return indexes;
}

ZKIndexList ZKTaskQueue::completedItems() const {
    return indexesWhere([](const ZKTask &t) { return t.state() == S::Completed; });
}

ZKIndexList ZKTaskQueue::failedItems() const {
    return indexesWhere([](const ZKTask &t) { return t.state() == S::Failed; });
}

qsizetype ZKTaskQueue::failedCount() const {
    return countInStates({S::Failed});
}

quint64 ZKTaskQueue::progressBytes() const {
    std::shared_lock locker(m_lock);
    return m_sums.progressBytes;
}

quint64 ZKTaskQueue::totalBytes() const {
    std::shared_lock locker(m_lock);
    return m_sums.totalBytes;
}

quint64 ZKTaskQueue::remainingBytes() const {
    std::shared_lock locker(m_lock);
    return m_sums.remainingBytes;
}

ZKQueueFigures ZKTaskQueue::figures(qint32 queueState) const {
    ZKQueueFigures f;
    ZKTaskPtr running;
    {
        std::shared_lock locker(m_lock);
        f.progressBytes = m_sums.progressBytes;
        f.totalBytes = m_sums.totalBytes;
        f.remainingBytes = m_sums.remainingBytes;
        f.filesDone = m_sums.filesDone;
        f.filesTotal = m_sums.filesTotal;
        f.taskCount = m_tasks.size() + m_removedCompleted;
        f.completedCount = m_countIn[size_t(S::Completed)] + m_removedCompleted;
        f.failedCount = m_countIn[size_t(S::Failed)];
        const qsizetype moving = firstPlaceIn({S::Processing, S::Verifying});
        if (moving >= 0) {
            running = m_tasks[moving];
            f.dataRate = m_dataRate.value_or(0);
        }
        f.isFinished = !m_tasks.isEmpty() && countUnfinished() == 0;
    }
    f.state = queueState;
    if (running) {
        f.currentFile = running->progress().currentFile;
    }
    // Time left is of a queue that moves bytes now.
    if (queueState == 0 && f.dataRate >= 0.1) {
        f.timeRemaining = double(f.remainingBytes) / f.dataRate;
    }
    return f;
}

bool ZKTaskQueue::allTasksCompleted() const {
    std::shared_lock locker(m_lock);
    return countUnfinished() == 0;
}

qsizetype ZKTaskQueue::countUnfinished() const {
    qsizetype count = 0;
    for (const ZKTaskState state :
         {S::PendingPreparation, S::Preparing, S::PendingProcessing, S::Processing,
          S::PendingVerification, S::Verifying, S::Cancelling}) {
        count += m_countIn[size_t(state)];
    }
    return count;
}

ZKTaskPtr ZKTaskQueue::currentTask() const {
    return firstInStates({S::Preparing, S::Processing, S::Verifying});
}

ZKTaskPtr ZKTaskQueue::nextPreparationTask() const {
    return firstInStates({S::PendingPreparation});
}

ZKTaskPtr ZKTaskQueue::nextTask() const {
    return firstInStates({S::PendingProcessing, S::PendingVerification, S::PendingRemoval});
}

bool ZKTaskQueue::isNextToRun(const ZKTask &task) const {
    std::shared_lock locker(m_lock);
    const Entry *found = entryOf(&task);
    if (!found || found->state != S::Preparing) {
        return false;
    }
    for (const ZKTaskState running : {S::Processing, S::Verifying, S::Removing}) {
        if (m_countIn[size_t(running)] != 0) {
            return false;
        }
    }
    const qsizetype resting =
        firstPlaceIn({S::PendingProcessing, S::PendingVerification, S::PendingRemoval});
    return resting < 0 || resting > qsizetype(found->position);
}

// The calls into tasks below work on a snapshot, outside the lock: pausing
// waits for the task's step to end, and that step ends on the main thread.

void ZKTaskQueue::pauseAll() {
    // Only a task with a step running has anything to pause.
    for (const auto &task : tasksInStates({S::Processing, S::Verifying, S::Removing})) {
        task->pause();
    }
}

bool ZKTaskQueue::hasRunningResumableTask() const {
    const auto running = tasksInStates({S::Processing, S::Verifying, S::Removing});
    return std::any_of(running.cbegin(), running.cend(),
                       [](const ZKTaskPtr &task) { return task->isResumable(); });
}

void ZKTaskQueue::pauseAllResumableTasks() {
    for (const auto &task : tasksInStates({S::Processing, S::Verifying, S::Removing})) {
        if (task->isResumable()) {
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
        m_removedCompleted = 0;
    }
    Q_EMIT figuresChanged(); // the completed ones let go stop counting
    // The tasks are let go here, outside the lock: a task pauses itself when
    // it is destroyed.
}

void ZKTaskQueue::setVerifyEnabled(bool enabled) {
    for (const auto &task : tasks()) {
        task->setIsVerifyEnabled(enabled);
    }
}

void ZKTaskQueue::setDataRate(double bytesPerSecond) {
    {
        std::lock_guard locker(m_lock);
        m_dataRate = bytesPerSecond;
    }
    Q_EMIT figuresChanged();
    for (const auto &task : runningTasks()) {
        task->setDataRate(bytesPerSecond);
    }
}

QList<ZKTaskPtr> ZKTaskQueue::runningTasks() const {
    return tasksInStates({S::Preparing, S::Processing, S::Verifying, S::Removing});
}

double ZKTaskQueue::dataRate() const {
    std::shared_lock locker(m_lock);
    return m_dataRate.value_or(0);
}

void ZKTaskQueue::setMaximumTransferRate(quint64 bytesPerSecond) {
    {
        std::lock_guard locker(m_lock);
        m_maximumTransferRate = bytesPerSecond;
    }
    for (const auto &task : runningTasks()) {
        task->setMaximumTransferRate(bytesPerSecond);
    }
}

quint64 ZKTaskQueue::maximumTransferRate() const {
    std::shared_lock locker(m_lock);
    return m_maximumTransferRate.value_or(0);
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

QString ZKTaskQueue::description(qint32 queueState) const {
    return describe(figures(queueState));
}

QString ZKTaskQueue::describe(const ZKQueueFigures &figures) {
    const QLocale locale;
    QString text = tr("%1 of %2 complete")
                       .arg(locale.toString(qint64(figures.completedCount)),
                            locale.toString(qint64(figures.taskCount)));
    if (figures.failedCount != 0) {
        text = tr("%1, %2 failed").arg(text, locale.toString(qint64(figures.failedCount)));
    }
    if (figures.timeRemaining > 0) {
        text =
            QStringLiteral("%1 - %2").arg(text, ZKTimeFormatter::formatTime(figures.timeRemaining));
    }
    return text;
}

QString ZKTaskQueue::describeData(const ZKQueueFigures &figures, bool showSize, bool showRate) {
    QString text;
    if (showSize && figures.remainingBytes != 0) {
        text = tr("%1 remaining").arg(ZKByteCountFormatter::formatFileSize(figures.remainingBytes));
    }
    if (showRate && figures.dataRate > 0) {
        const QString rate = ZKByteCountFormatter::formatDataRate(quint64(figures.dataRate));
        text = text.isEmpty() ? rate : QStringLiteral("%1 - %2").arg(text, rate);
    }
    return text;
}

void ZKTaskQueue::waitForOperationsToComplete() {
    // Every change above completes before its call returns, so taking the
    // lock exclusively once is the barrier.
    std::lock_guard locker(m_lock);
    qCInfo(lcEngine) << "TaskQueue operations complete.";
}
