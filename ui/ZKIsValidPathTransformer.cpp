// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKIsValidPathTransformer.h"

#include "ZKReaderFactory.h"

QVariant ZKIsValidPathTransformer::transformedValue(const QVariant &value) const {
    return ZKReaderFactory::isValidPath(value.toString());
}
