// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskState.h"

#include "ZKEnumNames.h"

namespace ZKTaskStates {

QString convertToString(ZKTaskState state) {
    return ZKEnumNames::convertToString<ZKTaskState>(qint32(state));
}

ZKTaskState parse(const QString &text) {
    return ZKTaskState(ZKEnumNames::parse<ZKTaskState>(text));
}

} // namespace ZKTaskStates
