// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

// One line of text that ends in "…" where it does not fit, so that a long
// name never widens its row; the whole text is its tooltip.
class ZKElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ZKElidedLabel(QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
