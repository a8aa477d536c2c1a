// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListViewItem.h"

#include "ZKAccessibleListViewItem.h"

#include <QAbstractItemModel>
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

QVariant ZKListViewItem::data(int role) const {
    return m_model && m_row >= 0 ? m_model->data(m_model->index(m_row, 0), role) : QVariant();
}

void ZKListViewItem::setRow(QAbstractItemModel *model, int row) {
    m_model = model;
    m_row = model ? row : -1;
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
