// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTransferMode.h"

#include "ZKEnumNames.h"

namespace {
const QStringList &names() {
    static const QStringList list{
        QStringLiteral("Copy"),
        QStringLiteral("Move"),
    };
    return list;
}
} // namespace

QString ZKTransferMode::convertToString(qint32 value) {
    return ZKEnumNames::convertToString(names(), value);
}

qint32 ZKTransferMode::parse(const QString &text) {
    return ZKEnumNames::parse(names(), text);
}
