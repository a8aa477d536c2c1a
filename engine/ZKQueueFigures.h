// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

// A queue's progress as every front end shows it: the window's status bar,
// the dock tile, the scripting interface and the terminal all read these, so
// they cannot disagree.
struct ZKQueueFigures {
    // Waiting and running tasks count with their bytes, completed and failed
    // ones as whole, the others (removing, cancelled, suspended) not at all.
    quint64 progressBytes = 0;
    quint64 totalBytes = 0;
    // What the tasks that have not ended have yet to move, verification
    // included; a failed, cancelled or suspended task has nothing left.
    quint64 remainingBytes = 0;
    // Counted as the bytes are; a single file is one.
    quint64 filesDone = 0;
    quint64 filesTotal = 0;
    qsizetype taskCount = 0; // completed tasks taken out count until let go
    qsizetype completedCount = 0;
    qsizetype failedCount = 0;
    // The file the running task moves (folders only).
    QString currentFile;
    // Both 0 when no task moves bytes; the time also while the queue is
    // paused.
    double dataRate = 0;
    double timeRemaining = 0;
    qint32 state = 0; // the queue's
    // Every task ended (completed, failed, cancelled, suspended or past its
    // copy), and there is at least one.
    bool isFinished = false;

    bool operator==(const ZKQueueFigures &other) const = default;
};

Q_DECLARE_METATYPE(ZKQueueFigures)
