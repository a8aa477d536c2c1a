// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKTask.h"

#include <QList>
#include <QObject>
#include <QVariantList>

#include <memory>
#include <shared_mutex>

class ZKPasteboard;

using ZKTaskPtr = std::shared_ptr<ZKTask>;
using ZKIndexList = QList<qsizetype>; // ascending, without repeats

// The ordered tasks of one queue document. It can be read from any thread;
// it never calls into a task while holding its lock, because a task's pause
// waits for the main thread, which may be waiting for this lock.
class ZKTaskQueue : public QObject {
    Q_OBJECT

public:
    static const QString pasteboardType;

    using QObject::QObject;

    // Exclusive changes.
    void insertTask(const ZKTaskPtr &task, qsizetype index);
    void insertTasks(const QList<ZKTaskPtr> &tasks, ZKIndexList indexes);
    void removeTasksAtIndexes(const ZKIndexList &indexes);
    void removeAll();
    // Sorts by a task property (such as "filename" or "state").
    void sortWithDescriptor(const QString &key, bool ascending,
                            Qt::CaseSensitivity caseSensitivity = Qt::CaseSensitive);
    void removeTask(const ZKTaskPtr &task);

    QList<ZKTaskPtr> tasks() const;
    ZKTaskPtr taskAtIndex(qsizetype index) const;
    qsizetype indexOfTask(const ZKTaskPtr &task) const; // -1 when not there
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

    void pauseAll();
    void pauseAllResumableTasks();
    void resetAll();
    void flushRemovedTasks();
    void setVerifyEnabled(bool enabled);
    void setDataRate(double bytesPerSecond);
    void setMaximumTransferRate(quint64 bytesPerSecond);
    void removeTaskObserver(QObject *observer);
    void removeTaskObserver(QObject *observer, const ZKIndexList &indexes);

    QVariantList asPropertyList() const;
    void copyUrlsToPasteboard(ZKPasteboard &pasteboard) const;
    void copyTasks(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const;

    // "n of m complete", the failures and the time left.
    QString description() const;
    void waitForOperationsToComplete();

Q_SIGNALS:
    void tasksAboutToChange();
    void tasksChanged();

private:
    ZKIndexList indexesWhere(const std::function<bool(const ZKTask &)> &predicate) const;
    ZKTaskPtr firstWhere(const std::function<bool(const ZKTask &)> &predicate) const;
    QList<ZKTaskPtr> snapshot(const ZKIndexList &indexes) const;
    static void detach(ZKTask &task, QObject *observer);

    mutable std::shared_mutex m_lock;
    QList<ZKTaskPtr> m_tasks;
    QList<ZKTaskPtr> m_removedTasks;
};
