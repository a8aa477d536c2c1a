// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

// Whether a URL is one the endpoints can open.
class ZKIsValidUrlTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<bool>(); }
    QVariant transformedValue(const QVariant &value) const override;
};
