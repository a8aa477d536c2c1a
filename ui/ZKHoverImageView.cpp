// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHoverImageView.h"

#include "ZKHoverDelegate.h"

#include <QEvent>

namespace {
constexpr int kSize = 16;
} // namespace

ZKHoverImageView::ZKHoverImageView(QWidget *parent)
    : QLabel(parent) {
    setFixedSize(kSize, kSize);
    setAlignment(Qt::AlignCenter);
}

void ZKHoverImageView::setImage(const QIcon &image) {
    m_image = image;
    refreshPixmap();
}

void ZKHoverImageView::refreshPixmap() {
    // Drawn for the screen's pixel ratio, so it stays crisp when scaled.
    setPixmap(m_image.isNull() ? QPixmap()
                               : m_image.pixmap(QSize(kSize, kSize), devicePixelRatioF()));
}

void ZKHoverImageView::enterEvent(QEnterEvent *event) {
    QLabel::enterEvent(event);
    if (delegate()) {
        delegate()->mouseEntered(this);
    }
}

void ZKHoverImageView::leaveEvent(QEvent *event) {
    QLabel::leaveEvent(event);
    if (delegate()) {
        delegate()->mouseExited(this);
    }
}

void ZKHoverImageView::changeEvent(QEvent *event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) {
        refreshPixmap();
    }
}
