// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMenu>
#include <QPointer>
#include <QTimer>
#include <QToolButton>

// A button with a menu behind it: a click performs the button's command, and
// holding the button down for a moment opens the menu below it instead.
class ZKDelayPopupButton : public QToolButton {
    Q_OBJECT
    Q_PROPERTY(double pressDuration READ pressDuration WRITE setPressDuration)

public:
    explicit ZKDelayPopupButton(QWidget *parent = nullptr);

    // Seconds the button is held before the menu opens.
    double pressDuration() const { return m_pressDuration; }
    void setPressDuration(double seconds) { m_pressDuration = seconds; }

    // The menu is not owned; nullptr for none.
    QMenu *popupMenu() const { return m_popupMenu; }
    void setPopupMenu(QMenu *menu);

    // Opens the menu at once, below the button's lower-left corner.
    void showMenu();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void menuClosed();

    double m_pressDuration = 0.3;
    QTimer m_pressTimer;
    QPointer<QMenu> m_popupMenu;
    // Set while the menu opened by holding the button is showing, so that
    // the release which ends that hold is not taken for a click.
    bool m_menuOpen = false;
};
