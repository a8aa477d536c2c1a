// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

// Whether a task state is one in which work runs. Removing counts as not in
// progress: a move with only its sources left to remove shows no busy bar.
class ZKIsInProgressTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<bool>(); }
    QVariant transformedValue(const QVariant &value) const override;
};
