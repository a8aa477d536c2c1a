// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQueueSheet.h"

class QCheckBox;
class QLabel;
class QSlider;
class ZKFerrowickDocument;
class ZKSpeedLimitPanel;

// The sheet that shows a queue's speed limit: a switch that applies at once,
// and a slider whose limit reaches the queue when the sheet ends. It holds no
// limit of its own: loading a queue gives the document a new speed-limit
// object, and the sheet follows it.
class ZKSpeedLimitSheet : public ZKQueueSheet {
    Q_OBJECT

public:
    // Slider steps in one decade of the limit: the multiples 1 to 9 of its
    // unit. Seven decades run from 102 B/s to about 1 GB/s.
    static constexpr int stepsPerDecade = 9;
    static constexpr int decades = 7;

    explicit ZKSpeedLimitSheet(ZKFerrowickDocument *document, QWidget *parent = nullptr);

    bool isOn() const override;
    // The limit in force, for a tooltip.
    QString summary() const override;

private:
    ZKSpeedLimitPanel *panel() const;
    void bind() override;
    void refreshSwitch();
    void refreshSlider();
    void refreshFigure();
    void sliderMoved(int value);

    QCheckBox *m_switch = nullptr;
    QSlider *m_slider = nullptr;
    QLabel *m_figure = nullptr;
    bool m_sliding = false;
};
