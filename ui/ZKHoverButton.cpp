// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHoverButton.h"

#include "ZKHoverDelegate.h"

ZKHoverButton::ZKHoverButton(QWidget *parent)
    : QToolButton(parent) {
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
}

void ZKHoverButton::enterEvent(QEnterEvent *event) {
    QToolButton::enterEvent(event);
    if (delegate()) {
        delegate()->mouseEntered(this);
    }
}

void ZKHoverButton::leaveEvent(QEvent *event) {
    QToolButton::leaveEvent(event);
    if (delegate()) {
        delegate()->mouseExited(this);
    }
}

void ZKHoverButton::focusInEvent(QFocusEvent *event) {
    QToolButton::focusInEvent(event);
    if (delegate()) {
        delegate()->mouseEntered(this);
    }
}

void ZKHoverButton::focusOutEvent(QFocusEvent *event) {
    QToolButton::focusOutEvent(event);
    if (delegate()) {
        delegate()->mouseExited(this);
    }
}
