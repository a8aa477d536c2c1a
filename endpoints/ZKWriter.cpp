// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKWriter.h"

#include <typeinfo>

bool ZKWriter::isEqual(const ZKWriter &other) const {
    return typeid(*this) == typeid(other) && url() == other.url();
}
