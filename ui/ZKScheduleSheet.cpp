// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScheduleSheet.h"

#include "ZKFerrowickDocument.h"
#include "ZKSchedulePanel.h"
#include "ZKScheduleTimer.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QTimeEdit>
#include <QVBoxLayout>

namespace {
const QString kTimeFormat = QStringLiteral("HH:mm");
} // namespace

ZKScheduleSheet::ZKScheduleSheet(ZKFerrowickDocument *document, QWidget *parent)
    : ZKQueueSheet(document, parent)
    , m_rows{{
          {&ZKSchedulePanel::startCopyingTimer, QStringLiteral("startCopying"), tr("Start copying"),
           tr("start copying at %1")},
          {&ZKSchedulePanel::stopCopyingTimer, QStringLiteral("stopCopying"), tr("Stop copying"),
           tr("stop copying at %1")},
          {&ZKSchedulePanel::startSpeedLimitTimer, QStringLiteral("startSpeedLimit"),
           tr("Start speed limit"), tr("start speed limit at %1")},
          {&ZKSchedulePanel::stopSpeedLimitTimer, QStringLiteral("stopSpeedLimit"),
           tr("Stop speed limit"), tr("stop speed limit at %1")},
      }} {
    setWindowTitle(tr("Schedule"));

    auto *layout = new QVBoxLayout(this);
    m_switch = new QCheckBox(tr("&Use schedule"), this);
    m_switch->setObjectName(QStringLiteral("scheduleSwitch"));
    m_switch->setAccessibleName(tr("Use schedule"));
    m_switch->setToolTip(tr("Run the times below every day; at least one must be on"));
    layout->addWidget(m_switch);
    connect(m_switch, &QCheckBox::clicked, this, [this](bool on) {
        if (ZKSchedulePanel *schedule = panel()) {
            schedule->setScheduleEnabled(on);
        }
        // With no time on the switch cannot stay on: show what the queue does.
        refreshSwitch();
    });

    auto *heading = new QLabel(tr("Every day at:"), this);
    heading->setContentsMargins(0, 6, 0, 0);
    layout->addWidget(heading);

    auto *grid = new QGridLayout;
    grid->setContentsMargins(12, 0, 0, 0);
    grid->setColumnStretch(2, 1);
    QWidget *previous = m_switch;
    for (int i = 0; i < int(m_rows.size()); ++i) {
        Row &row = m_rows[i];
        row.box = new QCheckBox(row.text, this);
        row.box->setObjectName(row.name + QStringLiteral("Box"));
        row.box->setAccessibleName(row.text);
        row.time = new QTimeEdit(this);
        row.time->setObjectName(row.name + QStringLiteral("Time"));
        row.time->setDisplayFormat(kTimeFormat);
        row.time->setAccessibleName(tr("%1 at").arg(row.text));
        grid->addWidget(row.box, i, 0);
        grid->addWidget(row.time, i, 1);
        setTabOrder(previous, row.box);
        setTabOrder(row.box, row.time);
        previous = row.time;

        const auto timer = row.timer;
        connect(row.box, &QCheckBox::toggled, this, [this, timer](bool on) {
            if (ZKSchedulePanel *schedule = panel()) {
                (schedule->*timer)().setEnabled(on);
            }
        });
        // Today at that time of day; the timer moves a time already past to
        // tomorrow.
        connect(row.time, &QTimeEdit::timeChanged, this, [this, timer](QTime time) {
            if (ZKSchedulePanel *schedule = panel()) {
                (schedule->*timer)().setTime(QDateTime(QDate::currentDate(), time));
            }
        });
    }
    layout->addLayout(grid);

    finishLayout(layout, previous);

    followDocument(m_switch);
}

ZKSchedulePanel *ZKScheduleSheet::panel() const {
    return document() ? &document()->schedule() : nullptr;
}

void ZKScheduleSheet::bind() {
    // The old objects' connections ended with them; these end with the new.
    ZKSchedulePanel *schedule = panel();
    if (schedule) {
        connect(schedule, &ZKSchedulePanel::scheduleEnabledChanged, this,
                &ZKScheduleSheet::refreshSwitch);
        for (const Row &row : m_rows) {
            ZKScheduleTimer *timer = &(schedule->*row.timer)();
            connect(timer, &ZKScheduleTimer::enabledChanged, this,
                    [this, &row] { refreshRow(row); });
            connect(timer, &ZKScheduleTimer::timeChanged, this, [this, &row] { refreshRow(row); });
        }
    }
    for (const Row &row : m_rows) {
        refreshRow(row);
    }
    refreshSwitch();
}

void ZKScheduleSheet::refreshSwitch() {
    const QSignalBlocker blocker(m_switch);
    m_switch->setChecked(isOn());
    Q_EMIT summaryChanged();
}

void ZKScheduleSheet::refreshRow(const Row &row) {
    ZKSchedulePanel *schedule = panel();
    if (!schedule) {
        return;
    }
    const ZKScheduleTimer &timer = (schedule->*row.timer)();
    {
        const QSignalBlocker boxBlocker(row.box);
        const QSignalBlocker timeBlocker(row.time);
        row.box->setChecked(timer.enabled());
        // Set only when it differs, so that a time being typed keeps its cursor.
        const QTime time = timer.time().toLocalTime().time();
        if (row.time->time() != time) {
            row.time->setTime(time);
        }
    }
    Q_EMIT summaryChanged();
}

bool ZKScheduleSheet::isOn() const {
    const ZKSchedulePanel *schedule = panel();
    return schedule && schedule->scheduleEnabled();
}

QString ZKScheduleSheet::summary() const {
    ZKSchedulePanel *schedule = panel();
    if (!schedule || !schedule->scheduleEnabled()) {
        return tr("Schedule off");
    }
    QStringList parts;
    for (const Row &row : m_rows) {
        const ZKScheduleTimer &timer = (schedule->*row.timer)();
        if (timer.enabled()) {
            parts << row.summary.arg(timer.time().toLocalTime().toString(kTimeFormat));
        }
    }
    return tr("Schedule on: %1").arg(parts.join(tr(", ")));
}
