// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKKeyPressHandlerWindow.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace {

bool isSpace(const QKeyEvent *event) {
    return event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier;
}

bool isTextEntry(const QWidget *widget) {
    if (const auto *combo = qobject_cast<const QComboBox *>(widget)) {
        return combo->isEditable();
    }
    return qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QTextEdit *>(widget) ||
           qobject_cast<const QPlainTextEdit *>(widget) ||
           qobject_cast<const QAbstractSpinBox *>(widget);
}

} // namespace

ZKKeyPressHandlerWindow::ZKKeyPressHandlerWindow(QWidget *parent)
    : QMainWindow(parent) {
    // Keys go to the focused widget, not the window, so they are watched
    // application-wide and only those meant for this window are acted on.
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) {
        if (now && now->window() == this) {
            setOptionKeyPressed(QGuiApplication::queryKeyboardModifiers() & Qt::AltModifier);
        }
    });
}

QAction *ZKKeyPressHandlerWindow::spaceActionIn(const QMenu *menu) {
    const QKeySequence space(Qt::Key_Space);
    for (QAction *action : menu->actions()) {
        if (QMenu *submenu = action->menu()) {
            if (!action->isEnabled()) {
                continue;
            }
            if (QAction *found = spaceActionIn(submenu)) {
                return found;
            }
        } else if (action->isEnabled() && action->shortcuts().contains(space)) {
            return action;
        }
    }
    return nullptr;
}

QAction *ZKKeyPressHandlerWindow::spaceAction() const {
    if (!menuWidget()) {
        return nullptr;
    }
    const auto *bar = qobject_cast<const QMenuBar *>(menuWidget());
    if (!bar) {
        return nullptr;
    }
    for (QAction *action : bar->actions()) {
        if (action->menu() && action->isEnabled()) {
            if (QAction *found = spaceActionIn(action->menu())) {
                return found;
            }
        }
    }
    return nullptr;
}

bool ZKKeyPressHandlerWindow::takesSpace(const QObject *watched) const {
    const auto *widget = qobject_cast<const QWidget *>(watched);
    if (!widget || widget->window() != this) {
        return false;
    }
    // A text field's inner parts (a spin box's line, an editor's viewport)
    // receive the key too.
    for (const QWidget *w = widget; w && w != this; w = w->parentWidget()) {
        if (isTextEntry(w)) {
            return false;
        }
    }
    return spaceAction() != nullptr;
}

bool ZKKeyPressHandlerWindow::eventFilter(QObject *watched, QEvent *event) {
    // Keys go to widgets only. Looking at nothing else also leaves alone the
    // events that worker threads post to the engine's objects, which reach
    // this filter before the hand-over the thread sanitizer is told of.
    if (!watched->isWidgetType()) {
        return QMainWindow::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        // Claiming the key keeps it from the shortcut map, so the command
        // runs once, from the key press below.
        auto *key = static_cast<QKeyEvent *>(event);
        if (isSpace(key) && takesSpace(watched)) {
            key->accept();
            return true;
        }
        break;
    }
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        auto *key = static_cast<QKeyEvent *>(event);
        const auto *widget = qobject_cast<const QWidget *>(watched);
        if (!widget || widget->window() != this) {
            break;
        }
        // The event of the Alt key itself may not yet (or still) carry its
        // own modifier.
        setOptionKeyPressed(key->key() == Qt::Key_Alt ? event->type() == QEvent::KeyPress
                                                      : bool(key->modifiers() & Qt::AltModifier));
        if (isSpace(key) && takesSpace(watched)) {
            if (event->type() == QEvent::KeyPress && !key->isAutoRepeat()) {
                spaceAction()->trigger();
            }
            return true;
        }
        break;
    }
    default:
        break;
    }
    return QMainWindow::eventFilter(watched, event);
}

void ZKKeyPressHandlerWindow::changeEvent(QEvent *event) {
    if (event->type() == QEvent::ActivationChange) {
        setOptionKeyPressed(isActiveWindow() &&
                            (QGuiApplication::queryKeyboardModifiers() & Qt::AltModifier));
    }
    QMainWindow::changeEvent(event);
}

void ZKKeyPressHandlerWindow::setOptionKeyPressed(bool pressed) {
    if (m_optionKeyPressed == pressed) {
        return;
    }
    m_optionKeyPressed = pressed;
    Q_EMIT optionKeyPressedChanged(pressed);
}
