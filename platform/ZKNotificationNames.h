// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// The three activity notifications that carry progress upward, and the keys
// of their payloads.
namespace ZKNotificationNames {
inline const QString operationActivity = QStringLiteral("ZKOperationActivityNotification");
inline const QString taskActivity = QStringLiteral("ZKTaskActivityNotification");
inline const QString queueActivity = QStringLiteral("ZKQueueActivityNotification");

inline const QString bytesKey = QStringLiteral("bytes");
inline const QString totalBytesKey = QStringLiteral("totalBytes");
inline const QString timePassedKey = QStringLiteral("timePassed");
inline const QString totalTimePassedKey = QStringLiteral("totalTimePassed");
inline const QString stateKey = QStringLiteral("state");
} // namespace ZKNotificationNames
