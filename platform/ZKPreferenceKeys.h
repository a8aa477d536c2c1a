// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>

// The keys of the user's preferences. Every floor reads some of them (the
// endpoints their time-out, the queue its state), so they live at the bottom,
// with the first-run value that the network code also falls back on.
struct ZKPreferenceKeys {
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
    // Seconds; also used while the store holds no positive value.
    static constexpr qint32 defaultDownloadTimeout = 5;
    static constexpr QLatin1StringView preferencesInitialised{"preferencesInitialised"};
};
