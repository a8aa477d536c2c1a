// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSpeedLimitSliderTransformer.h"

#include <cmath>

double ZKSpeedLimitSliderTransformer::positionForRate(double bytesPerSecond) {
    // Thousands of kilobytes below a megabyte a second, millions of bytes
    // of megabytes from there on.
    const double x = bytesPerSecond >= 1048576 ? bytesPerSecond / 1.048576 : bytesPerSecond / 1.024;
    const double e = std::trunc(std::log10(x) - 2);
    const double p = std::pow(10.0, e + 2);
    return e + (x - p) / (9 * p);
}

qint64 ZKSpeedLimitSliderTransformer::rateForPosition(double position) {
    const double i = std::trunc(position);
    const double m = std::round((position - i) * 9 + 1);
    const double unit = i < 4 ? 1024 * std::pow(10.0, i - 1) : 1048576 * std::pow(10.0, i - 4);
    return qint64(m * unit);
}

QVariant ZKSpeedLimitSliderTransformer::transformedValue(const QVariant &value) const {
    return positionForRate(value.toDouble());
}

QVariant ZKSpeedLimitSliderTransformer::reverseTransformedValue(const QVariant &value) const {
    return rateForPosition(value.toDouble());
}
