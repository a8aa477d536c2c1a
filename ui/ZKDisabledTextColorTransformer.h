// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

#include <QColor>

// A label's text colour from whether its control is enabled, read from the
// palette as it is now, so that it follows a change between light and dark.
class ZKDisabledTextColorTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<QColor>(); }
    QVariant transformedValue(const QVariant &value) const override;
};
