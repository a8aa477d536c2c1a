// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQueueFigures.h"
#include "ZKTask.h"

#include <QList>
#include <QObject>
#include <QVariantList>

#include <QHash>

#include <array>
#include <memory>
#include <optional>
#include <shared_mutex>
#include <vector>

class ZKPasteboard;

using ZKTaskPtr = std::shared_ptr<ZKTask>;
using ZKIndexList = QList<qsizetype>; // ascending, without repeats

// The ordered tasks of one queue document. It can be read from any thread;
// it never calls into a task while holding its lock, because a task's pause
// waits for the main thread, which may be waiting for this lock.
//
// A queue may hold 100,000 tasks, and it is asked what to run next each time
// one of them changes state: it follows its tasks' states and byte counts as
// they change (on the main thread, where tasks change), so the questions of
// the running queue and its sums take no walk over the tasks.
class ZKTaskQueue : public QObject, private ZKTask::Follower {
    Q_OBJECT

public:
    static const QString pasteboardType;

    using QObject::QObject;
    // Its tasks may outlive it: they stop telling it of their changes.
    ~ZKTaskQueue() override;

    // Exclusive changes.
    void insertTask(const ZKTaskPtr &task, qsizetype index);
    void insertTasks(const QList<ZKTaskPtr> &tasks, ZKIndexList indexes);
    void removeTasksAtIndexes(const ZKIndexList &indexes);
    void removeAll();
    // Sorts by a task property (such as "filename" or "state").
    void sortWithDescriptor(const QString &key, bool ascending,
                            Qt::CaseSensitivity caseSensitivity = Qt::CaseSensitive);
    void removeTask(const ZKTaskPtr &task);
    // The index is counted before the task is taken out; past the end means
    // the end.
    void moveTask(qsizetype from, qsizetype to);

    QList<ZKTaskPtr> tasks() const;
    ZKTaskPtr taskAtIndex(qsizetype index) const;
    qsizetype indexOfTask(const ZKTaskPtr &task) const; // -1 when not there
    // The same for any address, which is never followed.
    qsizetype indexOfTask(const ZKTask *task) const;
    // Whether a comes before b in the queue; false when either is not in it.
    bool isBefore(const ZKTaskPtr &a, const ZKTaskPtr &b) const;
    qsizetype count() const;
    ZKIndexList allItems() const;
    ZKIndexList completedItems() const;
    ZKIndexList failedItems() const;
    qsizetype failedCount() const;
    quint64 progressBytes() const;
    quint64 totalBytes() const;
    quint64 remainingBytes() const;
    bool allTasksCompleted() const;
    ZKTaskPtr currentTask() const;
    ZKTaskPtr nextPreparationTask() const;
    ZKTaskPtr nextTask() const;
    // Whether the task, analysing now, would be the next to run once
    // analysed in a running queue where nothing waits for analysis: no other
    // task has a step running and none analysed before waits above it.
    bool isNextToRun(const ZKTask &task) const;

    void pauseAll();
    void pauseAllResumableTasks();
    // Whether pauseAllResumableTasks() would pause (and wait for) a task.
    bool hasRunningResumableTask() const;
    void resetAll();
    void flushRemovedTasks();
    void setVerifyEnabled(bool enabled);
    // The queue's overall rate and speed limit. Only the running tasks are
    // told at once; a task is told when it starts to run.
    void setDataRate(double bytesPerSecond);
    double dataRate() const;
    void setMaximumTransferRate(quint64 bytesPerSecond);
    quint64 maximumTransferRate() const;
    // Gives a task about to run the rate and limit it missed while waiting.
    void prepareToRun(ZKTask &task) const;
    // The task with that address, when it is in this queue.
    ZKTaskPtr taskWithAddress(const void *address) const;

    QVariantList asPropertyList() const;
    void copyUrlsToPasteboard(ZKPasteboard &pasteboard) const;
    void copyTasks(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const;

    // The queue's progress, as every front end shows it, for a queue in
    // the given state (a paused one has no time left).
    ZKQueueFigures figures(qint32 queueState) const;
    // "n of m complete", the failures and the time left.
    QString description(qint32 queueState = 0) const;
    static QString describe(const ZKQueueFigures &figures);
    // What is left to move and how fast, each when asked for.
    static QString describeData(const ZKQueueFigures &figures, bool showSize, bool showRate);
    void waitForOperationsToComplete();

Q_SIGNALS:
    void tasksAboutToChange();
    // After every change of the list, beside the signal that says which.
    void tasksChanged();
    // The indexes the new tasks hold, ascending.
    void tasksInserted(const ZKIndexList &indexes);
    // The indexes the tasks held before they were taken out, ascending.
    void tasksRemoved(const ZKIndexList &indexes);
    // to is the index the task holds afterwards.
    void taskMoved(qsizetype from, qsizetype to);
    // Any other order (a sort): every index may have changed.
    void tasksReordered();
    // A task of this queue changed its state (on the main thread); one
    // connection here serves every task.
    void taskStateChanged(const ZKTaskPtr &task);
    // Anything a row shows of the task may have changed (main thread).
    void taskChanged(const ZKTaskPtr &task);
    // A task's step moved bytes in so many seconds (main thread).
    void taskActivity(const ZKTaskPtr &task, quint64 bytes, double seconds);
    // The figures may have changed; ask figures().
    void figuresChanged();

private:
    static constexpr int stateCount = int(ZKTaskState::Suspended) + 1;
    // What the queue knows of one of its tasks. A queue may hold 100,000
    // entries: they lie side by side, each in a slot that stays its own while
    // the task is in the queue, and hold of the task's progress only what the
    // sums need.
    struct Entry {
        quint64 progressBytes = 0;
        quint64 totalBytes = 0;
        quint64 remainingWorkBytes = 0;
        quint64 filesDone = 0;
        quint64 filesTotal = 0;
        quint32 position = 0; // in m_tasks
        ZKTaskState state = ZKTaskState::PendingPreparation;

        void take(const ZKTaskProgress &progress) {
            progressBytes = progress.progressBytes;
            totalBytes = progress.totalBytes;
            remainingWorkBytes = progress.remainingWorkBytes;
            filesDone = progress.filesDone;
            filesTotal = progress.filesTotal;
        }
    };
    // What the tasks add to the queue's figures, by their states.
    struct Sums {
        quint64 progressBytes = 0;
        quint64 totalBytes = 0;
        quint64 remainingBytes = 0;
        quint64 filesDone = 0;
        quint64 filesTotal = 0;
        Sums &operator+=(const Sums &o) {
            progressBytes += o.progressBytes;
            totalBytes += o.totalBytes;
            remainingBytes += o.remainingBytes;
            filesDone += o.filesDone;
            filesTotal += o.filesTotal;
            return *this;
        }
        Sums &operator-=(const Sums &o) {
            progressBytes -= o.progressBytes;
            totalBytes -= o.totalBytes;
            remainingBytes -= o.remainingBytes;
            filesDone -= o.filesDone;
            filesTotal -= o.filesTotal;
            return *this;
        }
    };
    // One bit a place in the list for each state: "the first task in such a
    // state" is a scan of words, and a change of state flips two bits.
    using PlaceBits = std::vector<quint64>;

    // With m_lock held.
    // Makes the task's entry in a free slot; its place is set by placeAll().
    quint32 adopt(const ZKTaskPtr &task);
    void forget(ZKTask *task);
    // Gives every entry its place after the list changed, and files it
    // under its state.
    void placeAll();
    void setPlaced(ZKTaskState state, quint32 position, bool placed);
    // The first place from which a task is in one of the states; -1 when none.
    qsizetype firstPlaceIn(std::initializer_list<ZKTaskState> states) const;
    const Entry *entryOf(const ZKTask *task) const;
    Entry *entryOf(const ZKTask *task);
    void account(const Entry &entry, int sign);
    qsizetype countUnfinished() const;
    ZKTaskPtr firstInStates(std::initializer_list<ZKTaskState> states) const;
    QList<ZKTaskPtr> tasksInStates(std::initializer_list<ZKTaskState> states) const;
    qsizetype countInStates(std::initializer_list<ZKTaskState> states) const;
    // The tasks with a step running, which the rate and the limit reach.
    QList<ZKTaskPtr> runningTasks() const;
    // On the main thread, when a task says it changed.
    void taskDidChange(ZKTask &task) override;
    void taskDidMove(ZKTask &task, quint64 bytes, double seconds) override;
    // Answers the task when its state changed and it starts to run.
    bool refreshEntry(ZKTask *task, ZKTaskPtr *changed, ZKTaskPtr *held);
    void startFollowing(ZKTask *task);
    void stopFollowing(ZKTask *task);

    ZKIndexList indexesWhere(const std::function<bool(const ZKTask &)> &predicate) const;
    QList<ZKTaskPtr> snapshot(const ZKIndexList &indexes) const;

    mutable std::shared_mutex m_lock;
    QList<ZKTaskPtr> m_tasks;
    QList<ZKTaskPtr> m_removedTasks;
    qsizetype m_removedCompleted = 0;
    std::vector<Entry> m_entries;
    std::vector<quint32> m_freeSlots;
    QHash<const ZKTask *, quint32> m_slotOf;
    std::vector<quint32> m_slotAt; // by place in m_tasks
    std::array<PlaceBits, stateCount> m_placed;
    std::array<qsizetype, stateCount> m_countIn{};
    Sums m_sums;
    // Absent until told: tasks keep what they were made or loaded with.
    std::optional<double> m_dataRate;
    std::optional<quint64> m_maximumTransferRate;
};
