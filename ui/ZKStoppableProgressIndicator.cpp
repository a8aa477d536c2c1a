// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKStoppableProgressIndicator.h"

#include "ZKAccessibleProgressIndicator.h"

#include <QAccessible>
#include <QApplication>
#include <QEvent>
#include <QHash>

#include <cmath>

namespace {
constexpr int kSteps = 10000;

struct TintKey {
    ZKBarTint tint;
    QRgb highlight;
    bool operator==(const TintKey &) const = default;
};

size_t qHash(const TintKey &key, size_t seed = 0) {
    return qHashMulti(seed, key.tint.angle, key.tint.saturation, key.tint.brightness,
                      key.highlight);
}
} // namespace

ZKStoppableProgressIndicator::ZKStoppableProgressIndicator(QWidget *parent)
    : QProgressBar(parent) {
    ZKAccessibleProgressIndicator::install();
    setRange(0, kSteps);
    setTextVisible(false);
    m_stoppedProgressIndicator = new QProgressBar(this);
    m_stoppedProgressIndicator->setRange(0, 1);
    m_stoppedProgressIndicator->setValue(1);
    m_stoppedProgressIndicator->setTextVisible(false);
    m_stoppedProgressIndicator->hide();
    applyColor();
}

double ZKStoppableProgressIndicator::doubleValue() const {
    return double(value() - minimum()) / double(std::max(1, maximum() - minimum()));
}

void ZKStoppableProgressIndicator::setDoubleValue(double value) {
    value = std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0;
    if (m_isActive) {
        setValue(int(std::lround(value * kSteps)));
    } else {
        const int before = shownValue();
        m_stoppedValue = value;
        announceValue(before);
    }
    refreshStoppedIndicator();
}

int ZKStoppableProgressIndicator::shownValue() const {
    if (m_isActive) {
        return value();
    }
    return minimum() + int(std::lround(m_stoppedValue * (maximum() - minimum())));
}

void ZKStoppableProgressIndicator::announceValue(int before) {
    const int now = shownValue();
    if (now != before) {
        QAccessibleValueChangeEvent event(this, now);
        QAccessible::updateAccessibility(&event);
    }
}

void ZKStoppableProgressIndicator::setIsActive(bool active) {
    if (active == m_isActive) {
        return;
    }
    const int before = shownValue();
    m_isActive = active;
    if (active) {
        setValue(int(std::lround(m_stoppedValue * kSteps)));
    } else {
        m_stoppedValue = doubleValue();
        setValue(0);
    }
    announceValue(before);
    refreshStoppedIndicator();
}

void ZKStoppableProgressIndicator::refreshStoppedIndicator() {
    if (m_isActive) {
        m_stoppedProgressIndicator->hide();
        return;
    }
    m_stoppedProgressIndicator->setGeometry(0, 0, int(std::lround(m_stoppedValue * width())),
                                            height());
    m_stoppedProgressIndicator->setVisible(m_stoppedValue > 0);
}

QColor ZKStoppableProgressIndicator::barColor(const ZKBarTint &tint, const QColor &highlight) {
    static QHash<TintKey, QColor> cache;
    const TintKey key{tint, highlight.rgba()};
    auto found = cache.constFind(key);
    if (found == cache.constEnd()) {
        found = cache.insert(key, tint.appliedTo(highlight));
    }
    return *found;
}

void ZKStoppableProgressIndicator::setColor(const ZKBarTint &tint) {
    if (tint == m_color) {
        return;
    }
    m_color = tint;
    applyColor();
}

void ZKStoppableProgressIndicator::applyColor() {
    // From the application's highlight, not from this bar's palette, which
    // carries the last tint.
    const QColor color = barColor(m_color, QApplication::palette(this).color(QPalette::Highlight));
    m_applying = true;
    QPalette tinted = palette();
    tinted.setColor(QPalette::Highlight, color);
    setPalette(tinted);
    m_stoppedProgressIndicator->setPalette(tinted);
    m_applying = false;
}

void ZKStoppableProgressIndicator::resizeEvent(QResizeEvent *event) {
    QProgressBar::resizeEvent(event);
    refreshStoppedIndicator();
}

void ZKStoppableProgressIndicator::changeEvent(QEvent *event) {
    QProgressBar::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_applying) {
        applyColor(); // the desktop switched between light and dark
    }
}
