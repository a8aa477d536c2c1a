// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

class ZKListViewItem;

// A row of a ZKListView as a screen reader meets it: an item of its list,
// named and described by what the row sets as its accessible name and
// description.
class ZKAccessibleListViewItem : public QAccessibleWidget {
public:
    explicit ZKAccessibleListViewItem(ZKListViewItem *item);

    // Makes every row of a ZKListView a list item from now on.
    static void install();

    // The list itself, past the viewport the row lies in.
    QAccessibleInterface *parent() const override;
};
