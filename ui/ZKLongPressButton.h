// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QToolButton>

// A button with two commands: a short press performs the ordinary click, a
// press held for pressDuration performs only the long-press command. From the
// keyboard, Space clicks and the menu key performs the long press.
class ZKLongPressButton : public QToolButton {
    Q_OBJECT
    Q_PROPERTY(double pressDuration READ pressDuration WRITE setPressDuration)

public:
    explicit ZKLongPressButton(QWidget *parent = nullptr);

    double pressDuration() const { return m_pressDuration; }
    void setPressDuration(double seconds) { m_pressDuration = seconds; }

    // Whether the current (or last) press lasted long enough.
    bool longPressTriggered() const { return m_longPressTriggered; }

Q_SIGNALS:
    void longPressed();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    double m_pressDuration = 0.3;
    QTimer m_pressTimer;
    bool m_longPressTriggered = false;
};
