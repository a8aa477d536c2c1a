// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

class ZKListView;

// A ZKListView as a screen reader meets it: a list whose children are the
// rows in view, top to bottom, rather than a scroll area holding a viewport
// that holds unnamed panels.
class ZKAccessibleListView : public QAccessibleWidget {
public:
    explicit ZKAccessibleListView(ZKListView *list);

    // Makes every ZKListView a list from now on; called before the first is
    // shown, as often as wanted.
    static void install();

    int childCount() const override;
    QAccessibleInterface *child(int index) const override;
    int indexOfChild(const QAccessibleInterface *child) const override;

private:
    ZKListView *listView() const;
    // The rows in view, then whatever else the list shows in its viewport
    // (the hint of an empty list); never its scroll bars.
    QWidgetList children() const;
};
