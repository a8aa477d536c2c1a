// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueState.h"

#include "ZKEnumNames.h"

namespace {
const QStringList &names() {
    static const QStringList list{
        QStringLiteral("Running"),
        QStringLiteral("Paused"),
    };
    return list;
}
} // namespace

QString ZKQueueState::convertToString(qint32 value) {
    return ZKEnumNames::convertToString(names(), value);
}

qint32 ZKQueueState::parse(const QString &text) {
    return ZKEnumNames::parse(names(), text);
}
