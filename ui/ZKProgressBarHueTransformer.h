// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKTaskState.h"
#include "ZKValueTransformer.h"

#include <QColor>

// How a progress bar of a given task state departs from the style's own bar
// colour: a turn of its hue (radians), then its saturation (0 grey, 1 as it
// is) and a brightness added to each component. Kept as doubles: a QColor
// would round them.
struct ZKBarTint {
    double angle = 0;
    double saturation = 1;
    double brightness = 0;

    // The bar colour of this tint, made from the style's highlight colour;
    // a view computes it once a state, not once a row.
    QColor appliedTo(const QColor &highlight) const;
    bool operator==(const ZKBarTint &) const = default;
};
Q_DECLARE_METATYPE(ZKBarTint)

// A task state to its bar's tint: the bar's own colour while working or
// done, one turned towards a distinct colour while verifying and another
// when failed, grey while waiting, light grey when suspended.
class ZKProgressBarHueTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<ZKBarTint>(); }
    QVariant transformedValue(const QVariant &value) const override;

    static ZKBarTint tintForState(ZKTaskState state);
};
