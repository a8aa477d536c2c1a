// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKHoverView.h"

#include <QIcon>
#include <QLabel>

// A small image (a badge of a task row) that tells the row when it is
// pointed at, so that the row can explain it.
class ZKHoverImageView : public QLabel, public ZKHoverView {
    Q_OBJECT

public:
    explicit ZKHoverImageView(QWidget *parent = nullptr);

    QIcon image() const { return m_image; }
    void setImage(const QIcon &image);

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void refreshPixmap();
    QIcon m_image;
};
