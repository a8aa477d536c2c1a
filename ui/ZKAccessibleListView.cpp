// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAccessibleListView.h"

#include "ZKListView.h"
#include "ZKListViewItem.h"

#include <mutex>

namespace {

QAccessibleInterface *listFactory(const QString &className, QObject *object) {
    if (className == QLatin1String("ZKListView")) {
        if (auto *list = qobject_cast<ZKListView *>(object)) {
            return new ZKAccessibleListView(list);
        }
    }
    return nullptr;
}

} // namespace

ZKAccessibleListView::ZKAccessibleListView(ZKListView *list)
    : QAccessibleWidget(list, QAccessible::List) {}

void ZKAccessibleListView::install() {
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(listFactory); });
}

ZKListView *ZKAccessibleListView::listView() const {
    return static_cast<ZKListView *>(widget());
}

QWidgetList ZKAccessibleListView::children() const {
    QWidgetList shown;
    for (ZKListViewItem *item : listView()->visibleItems()) {
        shown << item;
    }
    for (QObject *object : listView()->viewport()->children()) {
        auto *widget = qobject_cast<QWidget *>(object);
        if (widget && !qobject_cast<ZKListViewItem *>(widget) && !widget->isHidden()) {
            shown << widget;
        }
    }
    return shown;
}

int ZKAccessibleListView::childCount() const {
    return int(children().size());
}

QAccessibleInterface *ZKAccessibleListView::child(int index) const {
    const QWidgetList shown = children();
    return index >= 0 && index < shown.size() ? QAccessible::queryAccessibleInterface(shown[index])
                                              : nullptr;
}

int ZKAccessibleListView::indexOfChild(const QAccessibleInterface *child) const {
    if (!child || !child->object() || !child->object()->isWidgetType()) {
        return -1;
    }
    return int(children().indexOf(static_cast<QWidget *>(child->object())));
}
