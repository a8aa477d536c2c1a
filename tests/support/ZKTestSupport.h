// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKTaskState.h"

#include <QByteArray>
#include <QDateTime>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTest>

class ZKCopyTask;

// Small helpers shared by the tests.
namespace ZKTestSupport {

// Deterministic pseudo-random content, so a failing case can be replayed.
QByteArray randomBytes(qsizetype length, quint32 seed);

bool writeFile(const QString &path, const QByteArray &content);
QByteArray readFile(const QString &path);
// Where a copy of the file called name in folder is written until whole.
QString partialPath(const QString &folder, const QString &name);
// Marks the unfinished file at partial as begun from the local file at
// source as it is now, as a copy that was cut would have left it.
bool markBegunFrom(const QString &partial, const QString &source);

// Sets the file's modification date, as an editor saving it would.
bool setModified(const QString &path, const QDateTime &date);
// Another version of content: each 4 KiB block flipped except the first
// and those within 64 KiB of cut, then growth bytes more. Only the date
// and the bytes where a cut copy would be joined tell the two apart.
QByteArray laterVersion(const QByteArray &content, qint64 cut, qsizetype growth = 0);

// The error's text for a failure message; empty when there is none.
QString errorText(const ZKOptionalError &error);
template <typename Holder> QString errorText(const Holder &holder) {
    return errorText(holder.error());
}

// Whether a task in this state waits to be started again, or has ended.
bool isResting(ZKTaskState state);
// What stepTask answers for a task that did not come to rest in time.
constexpr ZKTaskState notAtRest = ZKTaskState(-1);
// Starts the task once and waits until it rests again: its state then, or
// notAtRest.
ZKTaskState stepTask(ZKCopyTask &task, int milliseconds = 30000);
// Starts the task step after step until it ends or reaches stopAt.
ZKTaskState runTask(ZKCopyTask &task, int milliseconds = 30000, ZKTaskState stopAt = notAtRest);

// Ends a test's daemon: asked first, then killed.
void stopProcess(QProcess &process);

// Runs a program to its end while this process's event loop keeps turning,
// for a program that calls back into this process (gdbus, as a script would
// run it). True when it ended with status 0; its output and error output,
// trimmed, or why it did not run, go to output and error.
bool runServing(const QString &program, const QStringList &arguments, QString *output,
                QString *error);

// Points the settings store and the standard paths at a private folder, so
// tests never read or write the user's real settings. Call before the
// QCoreApplication is created.
void isolateSettings();

} // namespace ZKTestSupport

// A server or service the test needs did not start: under CI (CI=true) the
// test fails, elsewhere it is skipped; the reason is given either way.
#define ZK_REQUIRE_STARTED(started, reason)                                                        \
    do {                                                                                           \
        if (!(started)) {                                                                          \
            const QString why = (reason);                                                          \
            if (qEnvironmentVariable("CI") == QLatin1String("true")) {                             \
                QFAIL(qPrintable(why));                                                            \
            }                                                                                      \
            QSKIP(qPrintable(why));                                                                \
        }                                                                                          \
    } while (false)
