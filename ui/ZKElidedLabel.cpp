// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKElidedLabel.h"

#include <QPainter>
#include <QStyle>

ZKElidedLabel::ZKElidedLabel(QWidget *parent)
    : QLabel(parent) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setTextFormat(Qt::PlainText);
}

QSize ZKElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

void ZKElidedLabel::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRect area = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width());
    style()->drawItemText(&painter, area, int(alignment()) | Qt::TextSingleLine, palette(),
                          isEnabled(), shown, foregroundRole());
}
