// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

// Where one task stands, as its row shows it and its queue sums it.
struct ZKTaskProgress {
    quint64 progressBytes = 0;
    quint64 totalBytes = 0;
    // The bytes still to move, and to read again when verifying; 0 once
    // nothing is left to transfer.
    quint64 remainingWorkBytes = 0;
    double fraction = 0; // copying and verifying count half each
    bool isIndeterminate = true;
    // The task's own rate, bytes per second, and the time its remaining work
    // takes at it; both 0 while no step of it moves bytes.
    double dataRate = 0;
    double timeRemaining = 0;
    // For a folder: the file on its way, and whole files of how many.
    QString currentFile;
    quint64 filesDone = 0;
    quint64 filesTotal = 0;

    bool operator==(const ZKTaskProgress &other) const = default;
};

Q_DECLARE_METATYPE(ZKTaskProgress)
