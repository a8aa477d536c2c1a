// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

// Counts down a delay (the automatic retry) and ticks at a pace that slows
// with the time left: every 30 s while more than a minute remains, every 10 s
// while more than half a minute remains, then every second. Ticks run on the
// thread the object lives on, which is meant to be the main thread; create,
// start and cancel it there.
class ZKCountdownTimer : public QObject {
    Q_OBJECT
    Q_PROPERTY(double timeout READ timeout WRITE setTimeout)

public:
    using Handler = std::function<void()>;

    explicit ZKCountdownTimer(QObject *parent = nullptr);
    ~ZKCountdownTimer() override;

    // Restarts a running countdown from the full timeout.
    void start();
    void cancel();
    bool isRunning() const { return m_target.has_value(); }

    // Seconds to the end, never below 0; 0 when not running.
    double remainingTime() const;

    // Seconds. A negative or NaN timeout counts as 0; an infinite one ticks
    // every 30 s and never completes.
    double timeout() const { return m_timeout; }
    void setTimeout(double seconds);

    // Called on every tick, the last one included.
    void setUpdateHandler(Handler handler) { m_updateHandler = std::move(handler); }
    // Called after the last tick, once no time remains; the countdown is no
    // longer running by then, so the handler may start it again.
    void setCompletionHandler(Handler handler) { m_completionHandler = std::move(handler); }

    // Seconds from one tick to the next for the given time left.
    static int tickIntervalForRemainingTime(double remainingTime);

private:
    void startUpdateTimer();
    void update();

    double m_timeout = 0.0;
    // On the monotonic clock, in seconds, so that an infinite timeout needs
    // no special case.
    std::optional<double> m_target;
    QTimer m_timer;
    // Tells a tick whether its handler cancelled or restarted the countdown.
    quint64 m_generation = 0;
    Handler m_updateHandler;
    Handler m_completionHandler;
};
