// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

// The state of a task. Even states are resting points from which start()
// continues, odd ones are running; 8 and above are final or set aside.
class ZKTaskState {
    Q_GADGET

public:
    enum Value : qint32 {
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
    Q_ENUM(Value)

    static QString convertToString(qint32 value);
    static qint32 parse(const QString &text);
};
