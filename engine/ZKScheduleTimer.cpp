// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScheduleTimer.h"

namespace {
const QString kEnabled = QStringLiteral("Enabled");
const QString kTime = QStringLiteral("Time");
const QString kPattern = QStringLiteral("HH:mm");
constexpr qint64 day = 86400;
} // namespace

ZKScheduleTimer::ZKScheduleTimer(Action action, QObject *parent)
    : QObject(parent)
    , m_action(std::move(action)) {
    m_timer.setTimerType(Qt::VeryCoarseTimer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &ZKScheduleTimer::fire);
}

ZKScheduleTimer::ZKScheduleTimer(const QVariantMap &plist, Action action, QObject *parent)
    : ZKScheduleTimer(std::move(action), parent) {
    const bool hasTime = plist.contains(kTime);
    m_enabled = hasTime && plist.value(kEnabled).toBool();
    setTime(QDateTime(QDate::currentDate(),
                      hasTime ? parseTimeOfDay(plist.value(kTime).toString()) : QTime(0, 0)));
}

QVariantMap ZKScheduleTimer::asPropertyList() const {
    return {{kEnabled, m_enabled}, {kTime, m_time.toLocalTime().toString(kPattern)}};
}

QTime ZKScheduleTimer::parseTimeOfDay(const QString &text) {
    const QTime time = QTime::fromString(text.trimmed(), kPattern);
    return time.isValid() ? time : QTime(0, 0);
}

void ZKScheduleTimer::setEnabled(bool enabled) {
    const bool changed = m_enabled != enabled;
    m_enabled = enabled;
    updateTimer();
    if (changed) {
        Q_EMIT enabledChanged();
    }
}

void ZKScheduleTimer::setTime(const QDateTime &time) {
    const QDateTime now = QDateTime::currentDateTime();
    QDateTime next(now.date(), time.toLocalTime().time());
    if (now.secsTo(next) < 0) {
        next = next.addSecs(day);
    }
    m_time = next;
    updateTimer();
    Q_EMIT timeChanged();
}

void ZKScheduleTimer::updateTimer() {
    m_timer.stop();
    if (!m_enabled || !m_time.isValid()) {
        return;
    }
    const qint64 msec = std::max<qint64>(0, QDateTime::currentDateTime().msecsTo(m_time));
    // QTimer takes an int of milliseconds; a day fits.
    m_timer.start(int(std::min<qint64>(msec, day * 1000)));
}

void ZKScheduleTimer::fire() {
    if (QDateTime::currentDateTime() < m_time.addSecs(-1)) {
        updateTimer(); // woke early (suspend, clock change): wait for the real time
        return;
    }
    m_time = m_time.addSecs(day);
    updateTimer();
    if (m_action) {
        m_action();
    }
}
