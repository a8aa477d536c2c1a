// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueState.h"

#include "ZKEnumNames.h"

QString ZKQueueState::convertToString(qint32 value) {
    return ZKEnumNames::convertToString<Value>(value);
}

qint32 ZKQueueState::parse(const QString &text) {
    return ZKEnumNames::parse<Value>(text);
}
