// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKLongPressButton.h"

#include <QKeyEvent>
#include <QMouseEvent>

ZKLongPressButton::ZKLongPressButton(QWidget *parent)
    : QToolButton(parent) {
    m_pressTimer.setSingleShot(true);
    connect(&m_pressTimer, &QTimer::timeout, this, [this] {
        m_longPressTriggered = true;
        Q_EMIT longPressed();
    });
}

void ZKLongPressButton::mousePressEvent(QMouseEvent *event) {
    QToolButton::mousePressEvent(event);
    if (event->button() == Qt::LeftButton && isDown()) {
        m_longPressTriggered = false;
        m_pressTimer.start(qRound(m_pressDuration * 1000));
    }
}

void ZKLongPressButton::mouseReleaseEvent(QMouseEvent *event) {
    m_pressTimer.stop();
    if (event->button() == Qt::LeftButton && m_longPressTriggered) {
        // A button that is no longer down ends the press without a click.
        setDown(false);
    }
    QToolButton::mouseReleaseEvent(event);
}

void ZKLongPressButton::keyPressEvent(QKeyEvent *event) {
    if (event->key() == Qt::Key_Menu && !event->isAutoRepeat()) {
        Q_EMIT longPressed();
        event->accept();
        return;
    }
    QToolButton::keyPressEvent(event);
}
