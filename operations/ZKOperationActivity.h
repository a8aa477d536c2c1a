// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

// What a running copy or verify step tells its task, at most once per
// minimumTimeBetweenNotifications() and once at the end of each file.
struct ZKOperationActivity {
    quint64 bytes = 0;      // moved since the previous report
    quint64 totalBytes = 0; // moved by this run of the operation so far
    double timePassed = 0;  // seconds since the previous report
    double totalTimePassed = 0;
    QString currentFile;   // the name of the file being moved
    quint64 filesDone = 0; // whole files this run finished
};

// Called on the operation's worker thread.
using ZKActivityHandler = std::function<void(const ZKOperationActivity &)>;
