// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKIsValidUrlTransformer.h"

#include "ZKReaderFactory.h"

QVariant ZKIsValidUrlTransformer::transformedValue(const QVariant &value) const {
    return ZKReaderFactory::isValidUrl(value.toUrl());
}
