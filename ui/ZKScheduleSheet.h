// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQueueSheet.h"

#include <array>

class QCheckBox;
class QTimeEdit;
class ZKFerrowickDocument;
class ZKSchedulePanel;
class ZKScheduleTimer;

// The sheet that shows a queue's daily schedule: the switch and the four
// times of day. It holds no schedule of its own: loading a queue gives the
// document new schedule objects, and the sheet follows them.
class ZKScheduleSheet : public ZKQueueSheet {
    Q_OBJECT

public:
    explicit ZKScheduleSheet(ZKFerrowickDocument *document, QWidget *parent = nullptr);

    // The schedule runs: its switch is on and at least one time is.
    bool isOn() const override;
    // What the schedule does, for a tooltip.
    QString summary() const override;

private:
    struct Row {
        ZKScheduleTimer &(ZKSchedulePanel::*timer)();
        QString name; // begins the object names of its widgets
        QString text;
        QString summary; // the row in the summary, "%1" for its time
        QCheckBox *box = nullptr;
        QTimeEdit *time = nullptr;
    };

    ZKSchedulePanel *panel() const;
    void bind() override;
    void refreshSwitch();
    void refreshRow(const Row &row);

    QCheckBox *m_switch = nullptr;
    std::array<Row, 4> m_rows;
};
