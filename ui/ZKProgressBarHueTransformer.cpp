// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressBarHueTransformer.h"

#include "ZKTaskState.h"

#include <algorithm>
#include <cmath>
#include <numbers>

ZKBarTint ZKProgressBarHueTransformer::tintForState(ZKTaskState state) {
    using std::numbers::pi;
    switch (state) {
    case ZKTaskState::Preparing:
    case ZKTaskState::Processing:
    case ZKTaskState::Removing:
    case ZKTaskState::Completed:
        return {0.0, 1.0, 0.0};
    case ZKTaskState::Verifying:
        return {-pi / 3 - 0.25, 1.0, 0.0};
    case ZKTaskState::Failed:
        return {2 * pi / 3 + 0.05, 1.0, 0.0};
    case ZKTaskState::Suspended:
        return {0.0, 0.0, 0.5};
    default:
        return {0.0, 0.0, 0.0};
    }
}

QVariant ZKProgressBarHueTransformer::transformedValue(const QVariant &value) const {
    return QVariant::fromValue(tintForState(ZKTaskState(value.toInt())));
}

QColor ZKBarTint::appliedTo(const QColor &highlight) const {
    // The hue turns around the colour wheel; saturation then moves each
    // component towards or away from the colour's luminance, and brightness
    // is added to all three.
    float h = 0, s = 0, v = 0, a = 1;
    highlight.toHsv().getHsvF(&h, &s, &v, &a);
    const double turns = angle / (2 * std::numbers::pi);
    const double hue = std::fmod(std::max(0.0f, h) + turns + 2.0, 1.0);
    const QColor rotated = QColor::fromHsvF(float(hue), s, v, a).toRgb();
    const double r = rotated.redF(), g = rotated.greenF(), b = rotated.blueF();
    const double luminance = 0.2125 * r + 0.7154 * g + 0.0721 * b;
    const auto adjust = [&](double component) {
        return float(
            std::clamp(luminance + saturation * (component - luminance) + brightness, 0.0, 1.0));
    };
    return QColor::fromRgbF(adjust(r), adjust(g), adjust(b), a);
}
