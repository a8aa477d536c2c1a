// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKIsFtpPathTransformer.h"

#include "ZKReaderFactory.h"

QVariant ZKIsFtpPathTransformer::transformedValue(const QVariant &value) const {
    return ZKReaderFactory::isFtpPath(value.toString());
}
