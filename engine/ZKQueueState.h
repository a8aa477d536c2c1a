// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

// Whether a queue copies (Running) or only analyses (Paused).
class ZKQueueState {
    Q_GADGET

public:
    enum Value : qint32 {
        Running = 0,
        Paused = 1,
    };
    Q_ENUM(Value)

    static QString convertToString(qint32 value);
    static qint32 parse(const QString &text);
};
