// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskListModel.h"

#include "ZKTaskState.h"

#include <QList>
#include <QUrl>

#include <algorithm>

ZKTaskListModel::ZKTaskListModel(ZKTaskQueue &queue, QObject *parent)
    : QAbstractListModel(parent)
    , m_queue(queue)
    , m_rows(queue.tasks()) {
    connect(&queue, &ZKTaskQueue::tasksInserted, this, &ZKTaskListModel::insertRows);
    connect(&queue, &ZKTaskQueue::tasksRemoved, this, &ZKTaskListModel::removeRows);
    connect(&queue, &ZKTaskQueue::taskMoved, this, &ZKTaskListModel::moveRow);
    connect(&queue, &ZKTaskQueue::tasksReordered, this, &ZKTaskListModel::reload);
    connect(&queue, &ZKTaskQueue::taskChanged, this, [this](const ZKTaskPtr &task) {
        const int row = rowOfTask(task.get());
        if (row >= 0) {
            const QModelIndex at = index(row);
            Q_EMIT dataChanged(at, at);
        }
    });
}

int ZKTaskListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

ZKTaskPtr ZKTaskListModel::taskAt(int row) const {
    return row >= 0 && row < m_rows.size() ? m_rows.at(row) : nullptr;
}

int ZKTaskListModel::rowOfTask(const ZKTask *task) const {
    // The address is only compared: the task may be gone by now.
    const qsizetype at = m_queue.indexOfTask(task);
    if (at < 0) {
        return -1; // its row, if the views were not told yet, goes too
    }
    if (at < m_rows.size() && m_rows.at(at).get() == task) {
        return int(at);
    }
    // A change of the list whose signal is still on its way moved it.
    const auto found = std::find_if(m_rows.cbegin(), m_rows.cend(),
                                    [task](const ZKTaskPtr &row) { return row.get() == task; });
    return found == m_rows.cend() ? -1 : int(found - m_rows.cbegin());
}

QVariant ZKTaskListModel::data(const QModelIndex &index, int role) const {
    const ZKTaskPtr task = index.isValid() ? taskAt(index.row()) : nullptr;
    if (!task) {
        return {};
    }
    const auto urls = [](const QSet<QUrl> &set) {
        return QVariant::fromValue(QList<QUrl>(set.cbegin(), set.cend()));
    };
    switch (role) {
    case TitleRole:
        return task->description();
    case TaskRole:
        return QVariant::fromValue(task);
    case DetailRole:
        return task->detail();
    case StateRole:
        return qint32(task->state());
    case StateNameRole:
        return ZKTaskStates::convertToString(task->state());
    case FilenameRole:
        return task->filename();
    case DestinationDirectoryRole:
        return task->destinationDirectory();
    case TransferModeRole:
        return task->transferMode();
    case IsResumableRole:
        return task->isResumable();
    case IsVerifiedOkRole:
        return task->isVerifiedOk();
    case SkippedUrlsRole:
        return urls(task->skippedUrls());
    case ReplacedUrlsRole:
        return urls(task->replacedUrls());
    default:
        break;
    }
    const ZKTaskProgress p = task->progress();
    switch (role) {
    case FractionRole:
        return p.fraction;
    case IndeterminateRole:
        return p.isIndeterminate;
    case ProgressBytesRole:
        return QVariant::fromValue(p.progressBytes);
    case TotalBytesRole:
        return QVariant::fromValue(p.totalBytes);
    case DataRateRole:
        return p.dataRate;
    case TimeRemainingRole:
        return p.timeRemaining;
    case CurrentFileRole:
        return p.currentFile;
    case FilesDoneRole:
        return QVariant::fromValue(p.filesDone);
    case FilesTotalRole:
        return QVariant::fromValue(p.filesTotal);
    default:
        return {};
    }
}

QHash<int, QByteArray> ZKTaskListModel::roleNames() const {
    return {
        {TitleRole, "title"},
        {TaskRole, "task"},
        {DetailRole, "detail"},
        {StateRole, "state"},
        {StateNameRole, "stateName"},
        {FractionRole, "fraction"},
        {IndeterminateRole, "indeterminate"},
        {ProgressBytesRole, "progressBytes"},
        {TotalBytesRole, "totalBytes"},
        {DataRateRole, "dataRate"},
        {TimeRemainingRole, "timeRemaining"},
        {CurrentFileRole, "currentFile"},
        {FilesDoneRole, "filesDone"},
        {FilesTotalRole, "filesTotal"},
        {FilenameRole, "filename"},
        {DestinationDirectoryRole, "destinationDirectory"},
        {TransferModeRole, "transferMode"},
        {IsResumableRole, "isResumable"},
        {IsVerifiedOkRole, "isVerifiedOk"},
        {SkippedUrlsRole, "skippedUrls"},
        {ReplacedUrlsRole, "replacedUrls"},
    };
}

// The queue tells of a change once it is made: each is mirrored here in
// the steps the views expect, reading the new tasks from the queue.

void ZKTaskListModel::insertRows(const ZKIndexList &indexes) {
    const QList<ZKTaskPtr> now = m_queue.tasks();
    // Ascending, so each index is where its task stands once the ones before
    // it are in; runs of neighbours go in together.
    for (qsizetype i = 0; i < indexes.size();) {
        qsizetype j = i + 1;
        while (j < indexes.size() && indexes[j] == indexes[j - 1] + 1) {
            ++j;
        }
        const qsizetype first = indexes[i];
        const qsizetype last = indexes[j - 1];
        if (first > m_rows.size() || last >= now.size()) {
            reload(); // out of step: start from what the queue holds
            return;
        }
        beginInsertRows({}, int(first), int(last));
        // In one move of the rows below: a list of 100,000 is not shifted
        // once per row.
        m_rows.insert(first, last - first + 1, nullptr);
        for (qsizetype k = first; k <= last; ++k) {
            m_rows[k] = now.at(k);
        }
        endInsertRows();
        i = j;
    }
}

void ZKTaskListModel::removeRows(const ZKIndexList &indexes) {
    // From the end, so the earlier indexes still hold.
    for (qsizetype j = indexes.size(); j > 0;) {
        qsizetype i = j - 1;
        while (i > 0 && indexes[i - 1] == indexes[i] - 1) {
            --i;
        }
        const qsizetype first = indexes[i];
        const qsizetype last = indexes[j - 1];
        if (last >= m_rows.size()) {
            reload();
            return;
        }
        beginRemoveRows({}, int(first), int(last));
        m_rows.remove(first, last - first + 1);
        endRemoveRows();
        j = i;
    }
}

void ZKTaskListModel::moveRow(qsizetype from, qsizetype to) {
    if (from == to) {
        return;
    }
    if (from < 0 || from >= m_rows.size() || to < 0 || to >= m_rows.size()) {
        reload();
        return;
    }
    // Qt counts the target before the row is taken out.
    beginMoveRows({}, int(from), int(from), {}, int(to > from ? to + 1 : to));
    m_rows.move(from, to);
    endMoveRows();
}

void ZKTaskListModel::reload() {
    beginResetModel();
    m_rows = m_queue.tasks();
    endResetModel();
}
