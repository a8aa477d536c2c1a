// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>

class QAction;
class QMenu;

// A window where the space bar runs the menu bar's command bound to it from
// anywhere outside a text field, even while a button has the focus, and which
// tells whether Alt is held (rows then offer their alternative commands).
class ZKKeyPressHandlerWindow : public QMainWindow {
    Q_OBJECT
    Q_PROPERTY(bool optionKeyPressed READ optionKeyPressed NOTIFY optionKeyPressedChanged)

public:
    explicit ZKKeyPressHandlerWindow(QWidget *parent = nullptr);

    bool optionKeyPressed() const { return m_optionKeyPressed; }

Q_SIGNALS:
    void optionKeyPressedChanged(bool pressed);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    // The enabled menu bar command whose shortcut is the space bar, or nullptr.
    QAction *spaceAction() const;
    static QAction *spaceActionIn(const QMenu *menu);
    bool takesSpace(const QObject *watched) const;
    void setOptionKeyPressed(bool pressed);

    bool m_optionKeyPressed = false;
};
