// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <functional>

// One daily timer of a queue's schedule. It fires at its time of day and
// then every 86400 seconds, counted in fixed steps rather than calendar days,
// so across a daylight-saving change the firing moves by an hour.
class ZKScheduleTimer : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)

public:
    using Action = std::function<void()>;

    explicit ZKScheduleTimer(Action action, QObject *parent = nullptr);
    ZKScheduleTimer(const QVariantMap &propertyList, Action action, QObject *parent = nullptr);

    QVariantMap asPropertyList() const;

    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    // The next firing: today at the given time of day, or tomorrow when that
    // has passed.
    QDateTime time() const { return m_time; }
    void setTime(const QDateTime &time);

    // "HH:mm" as saved; an unreadable text reads as midnight.
    static QTime parseTimeOfDay(const QString &text);

Q_SIGNALS:
    void enabledChanged();
    void timeChanged();

private:
    void updateTimer();
    void fire();

    Action m_action;
    bool m_enabled = false;
    QDateTime m_time;
    QTimer m_timer;
};
