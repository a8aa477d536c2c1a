// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHoverButton.h"

#include "ZKHoverDelegate.h"

#include <QKeyEvent>

ZKHoverButton::ZKHoverButton(QWidget *parent)
    : QToolButton(parent) {
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
}

bool ZKHoverButton::event(QEvent *event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Space && !(key->modifiers() & ~Qt::KeypadModifier)) {
            event->accept();
            return true;
        }
    }
    return QToolButton::event(event);
}

void ZKHoverButton::keyPressEvent(QKeyEvent *event) {
    // A plain button would step to its neighbours with the arrows, and off
    // the end of its row out of the list; in a row they belong to the list,
    // Tab steps between the buttons.
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down ||
        event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
        event->ignore();
        return;
    }
    QToolButton::keyPressEvent(event);
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
