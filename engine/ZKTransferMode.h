// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

// Copy keeps the source; Move removes it after a successful copy.
class ZKTransferMode {
    Q_GADGET

public:
    enum Value : qint32 {
        Copy = 0,
        Move = 1,
    };
    Q_ENUM(Value)

    static QString convertToString(qint32 value);
    static qint32 parse(const QString &text);
};
