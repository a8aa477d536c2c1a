// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

namespace ZKTaskStates {
Q_NAMESPACE

// The state of a task. Even states are resting points from which start()
// continues, odd ones are running; 8 and above are final or set aside. The
// names and numbers are saved in queue files.
enum class ZKTaskState : qint32 {
    PendingPreparation = 0,
    Preparing = 1,
    PendingProcessing = 2,
    Processing = 3,
    PendingVerification = 4,
    Verifying = 5,
    PendingRemoval = 6,
    Removing = 7,
    Completed = 8,
    Failed = 9,
    Cancelling = 10,
    Cancelled = 11,
    Suspended = 12,
};
Q_ENUM_NS(ZKTaskState)

// The saved name; "Unknown (n)" for a number without one.
QString convertToString(ZKTaskState state);
// Unknown names read as PendingPreparation.
ZKTaskState parse(const QString &text);

} // namespace ZKTaskStates

using ZKTaskState = ZKTaskStates::ZKTaskState;
