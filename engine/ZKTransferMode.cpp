// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTransferMode.h"

#include "ZKEnumNames.h"

QString ZKTransferMode::convertToString(qint32 value) {
    return ZKEnumNames::convertToString<Value>(value);
}

qint32 ZKTransferMode::parse(const QString &text) {
    return ZKEnumNames::parse<Value>(text);
}
