// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// The terminal front end: ferrowick-cli copy|move|run|show|trust|demo.
class ZKCommandLine {
public:
    // Exit statuses.
    static constexpr int allCompleted = 0;
    static constexpr int someNotCompleted = 1;
    static constexpr int badUsage = 2;

    // Runs the command; needs a QCoreApplication.
    static int run(const QStringList &arguments);

    // "500K", "10M", "1G" or a plain number of bytes per second; binary
    // units, as the sizes shown everywhere else.
    static bool parseRate(const QString &text, quint64 *bytesPerSecond);
    static QString usage();

private:
    static int transfer(const QStringList &arguments, bool move);
    static int runQueue(const QStringList &arguments);
    static int show(const QStringList &arguments);
    // Records a server certificate's fingerprint as trusted, for good.
    static int trust(const QStringList &arguments);
    static int demo(const QStringList &arguments);
};
