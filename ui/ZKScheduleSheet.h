// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QPointer>

#include <array>

class QCheckBox;
class QTimeEdit;
class ZKFerrowickDocument;
class ZKSchedulePanel;
class ZKScheduleTimer;

// The sheet that shows a queue's daily schedule: the switch and the four
// times of day. It holds no schedule of its own: loading a queue gives the
// document new schedule objects, and the sheet follows them.
class ZKScheduleSheet : public QDialog {
    Q_OBJECT

public:
    explicit ZKScheduleSheet(ZKFerrowickDocument *document, QWidget *parent = nullptr);

    // Window-modal over window; Done or Escape ends it.
    void displaySheetForWindow(QWidget *window);

    // The schedule runs: its switch is on and at least one time is.
    bool isOn() const;
    // What the schedule does, for a tooltip.
    QString summary() const;

Q_SIGNALS:
    // isOn() or summary() may read differently.
    void summaryChanged();

private:
    struct Row {
        ZKScheduleTimer &(ZKSchedulePanel::*timer)();
        QString name; // begins the object names of its widgets
        QString text;
        QCheckBox *box = nullptr;
        QTimeEdit *time = nullptr;
    };

    ZKSchedulePanel *panel() const;
    void bind();
    void refreshSwitch();
    void refreshRow(const Row &row);

    QPointer<ZKFerrowickDocument> m_document;
    QCheckBox *m_switch = nullptr;
    std::array<Row, 4> m_rows;
};
