// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDisabledTextColorTransformer.h"

#include <QGuiApplication>
#include <QPalette>

QVariant ZKDisabledTextColorTransformer::transformedValue(const QVariant &value) const {
    const QPalette palette = QGuiApplication::palette();
    return palette.color(value.toBool() ? QPalette::Active : QPalette::Disabled,
                         QPalette::WindowText);
}
