// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKHoverView.h"

#include <QToolButton>

// A flat button of a task row that tells the row when it is pointed at or
// focused, so that the row can say what it would do. Space presses it even
// where the window binds Space; the arrow keys go to the list, which moves
// between rows with them.
class ZKHoverButton : public QToolButton, public ZKHoverView {
    Q_OBJECT

public:
    explicit ZKHoverButton(QWidget *parent = nullptr);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
};
