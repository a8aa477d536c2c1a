// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListViewItem.h"

#include "ZKAccessibleListViewItem.h"

#include <QPainter>

ZKListViewItem::ZKListViewItem(QWidget *parent)
    : QWidget(parent) {
    ZKAccessibleListViewItem::install();
    setFocusPolicy(Qt::StrongFocus);
}

ZKListViewItem *ZKListViewItem::copy() const {
    auto *item = new ZKListViewItem;
    item->setOwner(m_owner);
    item->resize(size());
    return item;
}

void ZKListViewItem::setRepresentedObject(std::shared_ptr<QObject> object) {
    m_representedObject = std::move(object);
}

void ZKListViewItem::paintEvent(QPaintEvent *event) {
    QWidget::paintEvent(event);
    if (!hasFocus()) {
        return;
    }
    // The selection colour reads on light and dark bases alike; a faint wash
    // of it marks the whole row, a line of it the edge.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor wash = palette().color(QPalette::Highlight);
    wash.setAlphaF(0.12);
    QPen edge(palette().color(QPalette::Highlight), 2);
    painter.setPen(edge);
    painter.setBrush(wash);
    painter.drawRoundedRect(QRectF(rect()).adjusted(2, 2, -2, -2), 4, 4);
}
