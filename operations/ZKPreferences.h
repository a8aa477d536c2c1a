// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

class ZKUserDefaults;

// The keys of the user's preferences, their first-run values, and the
// file-name patterns that the copy switches turn into. Each reader reads the
// store when it needs a value, so a change counts from the next read.
class ZKPreferences {
public:
    static constexpr QLatin1StringView copyCreationTime{"copyCreationTime"};
    static constexpr QLatin1StringView copyModificationTime{"copyModificationTime"};
    static constexpr QLatin1StringView copyPermissions{"copyPermissions"};
    static constexpr QLatin1StringView copyOwnership{"copyOwnership"};
    static constexpr QLatin1StringView symbolicLinkAction{"symbolicLinkAction"};
    static constexpr QLatin1StringView copyHiddenFiles{"copyHiddenFiles"};
    static constexpr QLatin1StringView copyDsStoreFiles{"copyDsStoreFiles"};
    static constexpr QLatin1StringView copyThumbsDbFiles{"copyThumbsDbFiles"};
    static constexpr QLatin1StringView copyTrashes{"copyTrashes"};
    static constexpr QLatin1StringView copySpotlightFolders{"copySpotlightFolders"};
    static constexpr QLatin1StringView copyTemporaryFiles{"copyTemporaryFiles"};
    static constexpr QLatin1StringView copyFileSystemInternalFiles{"copyFileSystemInternalFiles"};
    static constexpr QLatin1StringView completionSound{"completionSound"};
    static constexpr QLatin1StringView failureSound{"failureSound"};
    static constexpr QLatin1StringView showDataRate{"showDataRate"};
    static constexpr QLatin1StringView showDataSize{"showDataSize"};
    static constexpr QLatin1StringView queueState{"queueState"};
    static constexpr QLatin1StringView verifyEnabled{"verifyEnabled"};
    static constexpr QLatin1StringView speedLimitEnabled{"speedLimitEnabled"};
    static constexpr QLatin1StringView speedLimit{"speedLimit"};
    static constexpr QLatin1StringView scheduleEnabled{"scheduleEnabled"};
    static constexpr QLatin1StringView startCopyEnabled{"startCopyEnabled"};
    static constexpr QLatin1StringView startCopyTime{"startCopyTime"};
    static constexpr QLatin1StringView stopCopyEnabled{"stopCopyEnabled"};
    static constexpr QLatin1StringView stopCopyTime{"stopCopyTime"};
    static constexpr QLatin1StringView startSpeedLimitEnabled{"startSpeedLimitEnabled"};
    static constexpr QLatin1StringView startSpeedLimitTime{"startSpeedLimitTime"};
    static constexpr QLatin1StringView stopSpeedLimitEnabled{"stopSpeedLimitEnabled"};
    static constexpr QLatin1StringView stopSpeedLimitTime{"stopSpeedLimitTime"};
    static constexpr QLatin1StringView automaticClearEnabled{"automaticClearEnabled"};
    static constexpr QLatin1StringView automaticRetryEnabled{"automaticRetryEnabled"};
    static constexpr QLatin1StringView automaticRetryDelaySeconds{"automaticRetryDelaySeconds"};
    static constexpr QLatin1StringView defaultDestination{"defaultDestination"};
    static constexpr QLatin1StringView downloadTimeout{"downloadTimeout"};
    static constexpr QLatin1StringView preferencesInitialised{"preferencesInitialised"};

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
