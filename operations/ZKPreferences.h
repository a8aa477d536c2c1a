// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKPreferenceKeys.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

class ZKUserDefaults;

// The first-run values of the user's preferences, and the file-name patterns
// that the copy switches turn into. Each reader reads the store when it needs
// a value, so a change counts from the next read.
class ZKPreferences : public ZKPreferenceKeys {
public:
    // Writes the first-run values that are missing. Called once at start-up,
    // before any queue is opened.
    static void initialiseUserDefaults();
    static void initialiseUserDefaults(ZKUserDefaults &defaults);

    // Patterns of the service files whose copy switch is off.
    static QStringList temporaryFilePatterns();
    static QStringList temporaryFilePatterns(const ZKUserDefaults &defaults);
    // The same, plus every name that begins with a dot when hidden files are
    // not copied.
    static QStringList skippedFilePatterns();
    static QStringList skippedFilePatterns(const ZKUserDefaults &defaults);

    // Write the value only when the store has none for the key.
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key, bool value);
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key, qint64 value);
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key, int value);
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key,
                                   const QString &value);
    // Without this a string literal would take the bool overload.
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key, const char *value);
    static void initialiseDefaults(ZKUserDefaults &defaults, const QString &key,
                                   const QDateTime &value);

private:
    ZKPreferences() = delete;
};
