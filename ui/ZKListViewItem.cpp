// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListViewItem.h"

ZKListViewItem::ZKListViewItem(QWidget *parent)
    : QWidget(parent) {}

ZKListViewItem *ZKListViewItem::copy() const {
    auto *item = new ZKListViewItem;
    item->setOwner(m_owner);
    item->resize(size());
    return item;
}

void ZKListViewItem::setRepresentedObject(std::shared_ptr<QObject> object) {
    m_representedObject = std::move(object);
}
