// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKTaskQueue.h"

#include <QAbstractListModel>
#include <QHash>

// The tasks of one queue, one row each, with one role per thing a row shows.
// The window's list, the scripting interface and the terminal read the same
// roles. Lives on the main thread, where the queue's list changes.
class ZKTaskListModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        TitleRole = Qt::DisplayRole, // the task's description
        TaskRole = Qt::UserRole + 1, // QVariant of ZKTaskPtr
        DetailRole,
        StateRole,     // ZKTaskState, as its saved number
        StateNameRole, // its saved name
        FractionRole,  // 0.0 to 1.0
        IndeterminateRole,
        ProgressBytesRole,
        TotalBytesRole,
        DataRateRole,      // the task's own, bytes per second; 0 when not moving
        TimeRemainingRole, // seconds; 0 when none
        CurrentFileRole,
        FilesDoneRole,
        FilesTotalRole,
        FilenameRole,
        DestinationDirectoryRole,
        TransferModeRole, // ZKTransferMode value
        IsResumableRole,
        IsVerifiedOkRole,
        SkippedUrlsRole,  // QList<QUrl>
        ReplacedUrlsRole, // QList<QUrl>
    };
    Q_ENUM(Role)

    explicit ZKTaskListModel(ZKTaskQueue &queue, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    ZKTaskPtr taskAt(int row) const;
    // -1 when the task is not in the list.
    int rowOfTask(const ZKTask *task) const;

private:
    void insertRows(const ZKIndexList &indexes);
    void removeRows(const ZKIndexList &indexes);
    void moveRow(qsizetype from, qsizetype to);
    void reload();

    ZKTaskQueue &m_queue;
    // What the views were told the list holds: the queue may run ahead of
    // it between a change and its signal. A task's row is found through the
    // queue, which knows its place without a table of its own here.
    QList<ZKTaskPtr> m_rows;
};
