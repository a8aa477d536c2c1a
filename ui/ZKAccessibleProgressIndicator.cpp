// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAccessibleProgressIndicator.h"

#include "ZKStoppableProgressIndicator.h"

#include <mutex>

namespace {

QAccessibleInterface *indicatorFactory(const QString &className, QObject *object) {
    if (className == QLatin1String("ZKStoppableProgressIndicator")) {
        if (auto *indicator = qobject_cast<ZKStoppableProgressIndicator *>(object)) {
            return new ZKAccessibleProgressIndicator(indicator);
        }
    }
    return nullptr;
}

} // namespace

ZKAccessibleProgressIndicator::ZKAccessibleProgressIndicator(
    ZKStoppableProgressIndicator *indicator)
    : QAccessibleWidget(indicator, QAccessible::ProgressBar) {}

void ZKAccessibleProgressIndicator::install() {
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(indicatorFactory); });
}

ZKStoppableProgressIndicator *ZKAccessibleProgressIndicator::indicator() const {
    return static_cast<ZKStoppableProgressIndicator *>(widget());
}

void *ZKAccessibleProgressIndicator::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::ValueInterface) {
        return static_cast<QAccessibleValueInterface *>(this);
    }
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State ZKAccessibleProgressIndicator::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    // A bar without a range is one that cannot tell how far it is yet.
    state.busy = indicator()->minimum() == indicator()->maximum();
    return state;
}

QVariant ZKAccessibleProgressIndicator::currentValue() const {
    return indicator()->shownValue();
}

QVariant ZKAccessibleProgressIndicator::maximumValue() const {
    return indicator()->maximum();
}

QVariant ZKAccessibleProgressIndicator::minimumValue() const {
    return indicator()->minimum();
}
