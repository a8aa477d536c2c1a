// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

// Whether a collection holds anything; nothing at all counts as empty.
class ZKContainsValuesTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<bool>(); }
    QVariant transformedValue(const QVariant &value) const override;
};
