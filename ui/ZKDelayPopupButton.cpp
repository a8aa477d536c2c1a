// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDelayPopupButton.h"

#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>

ZKDelayPopupButton::ZKDelayPopupButton(QWidget *parent)
    : QToolButton(parent) {
    m_pressTimer.setSingleShot(true);
    connect(&m_pressTimer, &QTimer::timeout, this, [this] {
        if (isDown()) {
            showMenu();
        }
    });
}

void ZKDelayPopupButton::setPopupMenu(QMenu *menu) {
    if (m_popupMenu) {
        disconnect(m_popupMenu, nullptr, this, nullptr);
    }
    m_popupMenu = menu;
    if (menu) {
        connect(menu, &QMenu::aboutToHide, this, &ZKDelayPopupButton::menuClosed);
    }
}

void ZKDelayPopupButton::showMenu() {
    if (!m_popupMenu) {
        return;
    }
    m_pressTimer.stop();
    m_menuOpen = true;
    setDown(true);
    m_popupMenu->popup(mapToGlobal(QPoint(0, height() + 3)));
}

void ZKDelayPopupButton::menuClosed() {
    m_menuOpen = false;
    setDown(false);
}

void ZKDelayPopupButton::mousePressEvent(QMouseEvent *event) {
    QToolButton::mousePressEvent(event);
    if (event->button() == Qt::LeftButton && isDown()) {
        m_pressTimer.start(qRound(m_pressDuration * 1000));
    }
}

void ZKDelayPopupButton::mouseReleaseEvent(QMouseEvent *event) {
    m_pressTimer.stop();
    if (m_menuOpen && event->button() == Qt::LeftButton) {
        // The hold opened the menu; the highlight goes when the menu closes.
        event->accept();
        return;
    }
    QToolButton::mouseReleaseEvent(event);
}

void ZKDelayPopupButton::keyPressEvent(QKeyEvent *event) {
    const bool altDown = event->key() == Qt::Key_Down &&
                         (event->modifiers() & ~Qt::KeypadModifier) == Qt::AltModifier;
    if (event->key() == Qt::Key_Menu || altDown) {
        showMenu();
        event->accept();
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        !event->isAutoRepeat()) {
        animateClick();
        event->accept();
        return;
    }
    QToolButton::keyPressEvent(event);
}
