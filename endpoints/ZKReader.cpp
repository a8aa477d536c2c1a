// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKReader.h"

#include <typeinfo>

bool ZKReader::isEqual(const ZKReader &other) const {
    return typeid(*this) == typeid(other) && url() == other.url();
}
