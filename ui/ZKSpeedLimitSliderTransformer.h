// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

// The speed-limit slider is logarithmic: each whole position is a decade
// (0: 102.4 B/s, 1: 1 KB/s, ... 4: 1 MB/s, ... 6: 100 MB/s), and within one
// the fraction picks a multiple from 1 to 10 of the decade's unit in ninths.
// Kilobytes give way to megabytes at position 4, where 1,024,000 and
// 1,048,576 B/s both sit.
class ZKSpeedLimitSliderTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<double>(); }
    bool allowsReverseTransformation() const override { return true; }
    // Bytes per second to a position; a limit of 0 has none (minus infinity).
    QVariant transformedValue(const QVariant &value) const override;
    // A position to bytes per second (qint64).
    QVariant reverseTransformedValue(const QVariant &value) const override;

    static double positionForRate(double bytesPerSecond);
    static qint64 rateForPosition(double position);
};
