// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKProgressBarHueTransformer.h"

#include <QProgressBar>

// The bar of a task row. Its colour follows the task's state (a tint of the
// style's own bar colour), and it can be stopped: while stopped it shows
// the last value in a plain bar drawn over it and keeps the values it is
// given for when it runs again.
class ZKStoppableProgressIndicator : public QProgressBar {
    Q_OBJECT

public:
    static constexpr int tag = 1000;

    explicit ZKStoppableProgressIndicator(QWidget *parent = nullptr);

    double doubleValue() const;
    // 0 to 1.
    void setDoubleValue(double value);
    bool isActive() const { return m_isActive; }
    void setIsActive(bool active);
    // Active exactly when the delay is above 0.
    void setAnimationDelay(double delay) { setIsActive(delay > 0); }
    double stoppedValue() const { return m_stoppedValue; }
    // What the bar shows, in its own range: the stopped value while stopped.
    int shownValue() const;

    ZKBarTint color() const { return m_color; }
    void setColor(const ZKBarTint &tint);
    // The colour a tint gives with the style's highlight colour, worked out
    // once for each tint and highlight.
    static QColor barColor(const ZKBarTint &tint, const QColor &highlight);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void refreshStoppedIndicator();
    // Tells a screen reader of a shown value that setValue() did not set.
    void announceValue(int before);
    void applyColor();

    bool m_isActive = true;
    double m_stoppedValue = 0;
    ZKBarTint m_color;
    QProgressBar *m_stoppedProgressIndicator = nullptr;
    bool m_applying = false;
};
