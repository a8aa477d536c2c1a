// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskState.h"

#include "ZKEnumNames.h"

QString ZKTaskState::convertToString(qint32 value) {
    return ZKEnumNames::convertToString<Value>(value);
}

qint32 ZKTaskState::parse(const QString &text) {
    return ZKEnumNames::parse<Value>(text);
}
