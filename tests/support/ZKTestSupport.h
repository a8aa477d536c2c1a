// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QTest>

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
