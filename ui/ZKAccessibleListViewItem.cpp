// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAccessibleListViewItem.h"

#include "ZKListView.h"
#include "ZKListViewItem.h"

#include <mutex>

namespace {

// Asked with each class name of an object, most derived first: a row of any
// kind is met under the name of this base class.
QAccessibleInterface *itemFactory(const QString &className, QObject *object) {
    if (className == QLatin1String("ZKListViewItem")) {
        if (auto *item = qobject_cast<ZKListViewItem *>(object)) {
            return new ZKAccessibleListViewItem(item);
        }
    }
    return nullptr;
}

} // namespace

ZKAccessibleListViewItem::ZKAccessibleListViewItem(ZKListViewItem *item)
    : QAccessibleWidget(item, QAccessible::ListItem) {}

void ZKAccessibleListViewItem::install() {
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(itemFactory); });
}

QAccessibleInterface *ZKAccessibleListViewItem::parent() const {
    QWidget *viewport = widget()->parentWidget();
    auto *list = viewport ? qobject_cast<ZKListView *>(viewport->parentWidget()) : nullptr;
    if (list && list->viewport() == viewport) {
        return QAccessible::queryAccessibleInterface(list);
    }
    return QAccessibleWidget::parent();
}
