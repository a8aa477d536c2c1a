// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSpeedLimitSheet.h"

#include "ZKByteCountFormatter.h"
#include "ZKFerrowickDocument.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKSpeedLimitSliderTransformer.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>

#include <cmath>

ZKSpeedLimitSheet::ZKSpeedLimitSheet(ZKFerrowickDocument *document, QWidget *parent)
    : ZKQueueSheet(document, parent) {
    setWindowTitle(tr("Speed Limit"));

    auto *layout = new QVBoxLayout(this);
    m_switch = new QCheckBox(tr("&Limit the speed of copying"), this);
    m_switch->setObjectName(QStringLiteral("speedLimitSwitch"));
    m_switch->setAccessibleName(tr("Limit speed"));
    layout->addWidget(m_switch);
    connect(m_switch, &QCheckBox::toggled, this, [this](bool on) {
        if (ZKSpeedLimitPanel *limit = panel()) {
            limit->setEnabled(on);
        }
    });

    auto *grid = new QGridLayout;
    grid->setContentsMargins(0, 6, 0, 0);
    m_slider = new QSlider(Qt::Horizontal, this);
    m_slider->setObjectName(QStringLiteral("speedLimitSlider"));
    m_slider->setAccessibleName(tr("Maximum speed"));
    m_slider->setRange(0, decades * stepsPerDecade);
    m_slider->setSingleStep(1);
    m_slider->setPageStep(stepsPerDecade);
    m_slider->setTickInterval(stepsPerDecade);
    m_slider->setTickPosition(QSlider::TicksBelow);
    m_slider->setMinimumWidth(280);
    connect(m_slider, &QSlider::valueChanged, this, &ZKSpeedLimitSheet::sliderMoved);

    m_figure = new QLabel(this);
    m_figure->setObjectName(QStringLiteral("speedLimitFigure"));
    m_figure->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_figure->setMinimumWidth(m_figure->fontMetrics().horizontalAdvance(
        ZKByteCountFormatter::formatDataRate(1023ull * 1024 * 1024)));
    m_figure->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto smallLabel = [this](quint64 rate, Qt::Alignment alignment) {
        auto *label = new QLabel(ZKByteCountFormatter::formatDataRate(rate), this);
        label->setAlignment(alignment);
        label->setForegroundRole(QPalette::PlaceholderText);
        QFont font = label->font();
        font.setPointSizeF(font.pointSizeF() * 0.85);
        label->setFont(font);
        return label;
    };
    grid->addWidget(m_slider, 0, 0, 1, 2);
    grid->addWidget(m_figure, 0, 2);
    grid->addWidget(
        smallLabel(quint64(ZKSpeedLimitSliderTransformer::rateForPosition(0)), Qt::AlignLeft), 1,
        0);
    grid->addWidget(smallLabel(quint64(ZKSpeedLimitSliderTransformer::rateForPosition(decades)),
                               Qt::AlignRight),
                    1, 1);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(0);
    layout->addLayout(grid);

    setTabOrder(m_switch, m_slider);
    finishLayout(layout, m_slider);

    // The slider's limit reaches the queue only now; the switch did at once.
    connect(this, &QDialog::finished, this, [this] {
        if (ZKSpeedLimitPanel *limit = panel()) {
            limit->applyValue();
        }
    });
    followDocument(m_switch);
}

ZKSpeedLimitPanel *ZKSpeedLimitSheet::panel() const {
    return document() ? &document()->speedLimit() : nullptr;
}

void ZKSpeedLimitSheet::bind() {
    // The old object's connections ended with it; these end with the new.
    if (ZKSpeedLimitPanel *limit = panel()) {
        connect(limit, &ZKSpeedLimitPanel::enabledChanged, this, &ZKSpeedLimitSheet::refreshSwitch);
        connect(limit, &ZKSpeedLimitPanel::maximumTransferRateChanged, this, [this] {
            if (!m_sliding) {
                refreshSlider();
            }
            refreshFigure();
        });
    }
    refreshSwitch();
    refreshSlider();
    refreshFigure();
}

void ZKSpeedLimitSheet::refreshSwitch() {
    const bool on = isOn();
    {
        const QSignalBlocker blocker(m_switch);
        m_switch->setChecked(on);
    }
    m_slider->setEnabled(on);
    m_figure->setEnabled(on);
    Q_EMIT summaryChanged();
}

void ZKSpeedLimitSheet::refreshSlider() {
    const ZKSpeedLimitPanel *limit = panel();
    const qint64 rate = limit ? limit->maximumTransferRate() : 0;
    // A limit of 0 or less has no place on the slider: it sits at the start.
    const double position =
        rate > 0 ? ZKSpeedLimitSliderTransformer::positionForRate(double(rate)) : 0.0;
    const double steps = std::isfinite(position) ? std::round(position * stepsPerDecade) : 0.0;
    const QSignalBlocker blocker(m_slider);
    m_slider->setValue(int(std::clamp<double>(steps, m_slider->minimum(), m_slider->maximum())));
}

void ZKSpeedLimitSheet::refreshFigure() {
    const ZKSpeedLimitPanel *limit = panel();
    const qint64 rate = limit ? limit->maximumTransferRate() : 0;
    const QString text = ZKByteCountFormatter::formatDataRate(quint64(std::max<qint64>(rate, 0)));
    m_figure->setText(text);
    m_slider->setAccessibleDescription(text);
    Q_EMIT summaryChanged();
}

void ZKSpeedLimitSheet::sliderMoved(int value) {
    ZKSpeedLimitPanel *limit = panel();
    if (!limit) {
        return;
    }
    // Position and limit do not map back onto each other exactly, so the
    // slider stays where the user put it.
    m_sliding = true;
    limit->setMaximumTransferRate(
        ZKSpeedLimitSliderTransformer::rateForPosition(double(value) / stepsPerDecade));
    m_sliding = false;
    refreshFigure();
}

bool ZKSpeedLimitSheet::isOn() const {
    const ZKSpeedLimitPanel *limit = panel();
    return limit && limit->enabled();
}

QString ZKSpeedLimitSheet::summary() const {
    const ZKSpeedLimitPanel *limit = panel();
    if (!limit || !limit->enabled()) {
        return tr("Speed limit off");
    }
    return tr("Speed limit on: %1").arg(ZKByteCountFormatter::formatDataRate(limit->value()));
}
