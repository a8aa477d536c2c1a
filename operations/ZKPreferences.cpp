// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPreferences.h"

#include "ZKLogging.h"
#include "ZKUserDefaults.h"

#include <QDate>
#include <QTime>

#include <mutex>

namespace {

struct SkipRule {
    QLatin1StringView key;
    const char *patterns[2]; // the second one may be nullptr
};

// Matched against a single name, never a path. The thumbnail pattern wants a
// leading dot and leaves the dot before "db" unescaped; existing users' skip
// lists depend on it, so it stays as it is.
const SkipRule temporaryRules[] = {
    {ZKPreferences::copyDsStoreFiles, {R"(^\.DS_Store$)", nullptr}},
    {ZKPreferences::copyThumbsDbFiles, {R"(^\.Thumbs.db$)", nullptr}},
    {ZKPreferences::copyTrashes, {R"(^\.(_\.)?Trashes$)", R"(^\.Trash$)"}},
    {ZKPreferences::copySpotlightFolders, {R"(^\.(_\.)?Spotlight-V[0-9]+$)", nullptr}},
    {ZKPreferences::copyTemporaryFiles, {R"(^\.TemporaryItems$)", nullptr}},
    {ZKPreferences::copyFileSystemInternalFiles, {R"(^\.fseventsd$)", R"(^\.metadata$)"}},
};

const char *const hiddenFilePattern = R"(^\.)";

// The first-run dates carry the day of the first run; only their time of day
// is used.
QDateTime todayAt(int hour) {
    return QDateTime(QDate::currentDate(), QTime(hour, 0));
}

} // namespace

void ZKPreferences::initialiseUserDefaults() {
    initialiseUserDefaults(ZKUserDefaults::standard());
}

void ZKPreferences::initialiseUserDefaults(ZKUserDefaults &defaults) {
    defaults.initialiseBool(true, copyCreationTime);
    defaults.initialiseBool(true, copyModificationTime);
    defaults.initialiseBool(true, copyPermissions);
    defaults.initialiseBool(true, copyOwnership);
    defaults.initialiseBool(true, copyHiddenFiles);
    defaults.initialiseBool(false, copyDsStoreFiles);
    defaults.initialiseBool(false, copyThumbsDbFiles);
    defaults.initialiseBool(false, copyTrashes);
    defaults.initialiseBool(false, copySpotlightFolders);
    defaults.initialiseBool(false, copyTemporaryFiles);
    defaults.initialiseBool(false, copyFileSystemInternalFiles);
    defaults.initialiseInt(0, queueState);
    defaults.initialiseBool(false, verifyEnabled);
    defaults.initialiseBool(false, speedLimitEnabled);
    defaults.initialiseInt(1024, speedLimit);
    defaults.initialiseBool(false, scheduleEnabled);
    defaults.initialiseBool(false, startCopyEnabled);
    defaults.initialiseDate(todayAt(10), startCopyTime);
    defaults.initialiseBool(false, stopCopyEnabled);
    defaults.initialiseDate(todayAt(18), stopCopyTime);
    defaults.initialiseBool(false, startSpeedLimitEnabled);
    defaults.initialiseDate(todayAt(10), startSpeedLimitTime);
    defaults.initialiseBool(false, stopSpeedLimitEnabled);
    defaults.initialiseDate(todayAt(18), stopSpeedLimitTime);
    defaults.initialiseBool(false, automaticClearEnabled);
    defaults.initialiseBool(false, automaticRetryEnabled);
    defaults.initialiseInt(30, automaticRetryDelaySeconds);
    defaults.initialiseInt(defaultDownloadTimeout, downloadTimeout);

    // Guarded by the marker, not by the sounds themselves: a user who clears
    // a sound must not get it back at the next start.
    if (!defaults.hasObject(preferencesInitialised)) {
        defaults.setString(completionSound, QStringLiteral("Glass"));
        defaults.setString(failureSound, QStringLiteral("Basso"));
        defaults.setBool(preferencesInitialised, true);
    }
}

namespace {

// Every step of every task asks for the patterns; they change only with the
// settings they are made of.
QStringList cachedPatterns(bool skipped) {
    static std::mutex lock;
    static quint64 madeAt = 0;
    static bool made = false;
    static QStringList temporary;
    static QStringList all;
    auto &defaults = ZKUserDefaults::standard();
    const quint64 generation = defaults.generation();
    std::lock_guard locker(lock);
    if (!made || madeAt != generation) {
        temporary = ZKPreferences::temporaryFilePatterns(defaults);
        all = ZKPreferences::skippedFilePatterns(defaults);
        madeAt = generation;
        made = true;
    }
    return skipped ? all : temporary;
}

} // namespace

QStringList ZKPreferences::temporaryFilePatterns() {
    return cachedPatterns(false);
}

QStringList ZKPreferences::temporaryFilePatterns(const ZKUserDefaults &defaults) {
    QStringList patterns;
    for (const SkipRule &rule : temporaryRules) {
        if (!defaults.boolForKey(rule.key)) {
            for (const char *pattern : rule.patterns) {
                if (pattern) {
                    patterns.append(QString::fromLatin1(pattern));
                }
            }
        }
    }
    return patterns;
}

QStringList ZKPreferences::skippedFilePatterns() {
    return cachedPatterns(true);
}

QStringList ZKPreferences::skippedFilePatterns(const ZKUserDefaults &defaults) {
    QStringList patterns = temporaryFilePatterns(defaults);
    if (!defaults.boolForKey(copyHiddenFiles)) {
        patterns.append(QString::fromLatin1(hiddenFilePattern));
    }
    return patterns;
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key, bool value) {
    defaults.initialiseBool(value, key);
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key, qint64 value) {
    defaults.initialiseInt(value, key);
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key, int value) {
    defaults.initialiseInt(value, key);
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key,
                                       const QString &value) {
    defaults.initialiseString(value, key);
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key,
                                       const char *value) {
    defaults.initialiseString(QString::fromUtf8(value), key);
}

void ZKPreferences::initialiseDefaults(ZKUserDefaults &defaults, const QString &key,
                                       const QDateTime &value) {
    if (defaults.hasObject(key)) {
        return;
    }
    qCInfo(lcOperations).noquote()
        << QStringLiteral("Initialising date to %1")
               .arg(value.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000")));
    defaults.initialiseDate(value, key);
}
