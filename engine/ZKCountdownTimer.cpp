// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCountdownTimer.h"

#include "ZKLogging.h"

#include <QPointer>

#include <chrono>
#include <cmath>

namespace {
double monotonicSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}
} // namespace

ZKCountdownTimer::ZKCountdownTimer(QObject *parent)
    : QObject(parent)
    , m_timer(this) {
    m_timer.setSingleShot(true);
    // A coarse timer may be off by 5%, which is 1.5 s on a 30 s tick: enough
    // to skip a step of the announced pace.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &ZKCountdownTimer::update);
}

ZKCountdownTimer::~ZKCountdownTimer() {
    cancel();
}

void ZKCountdownTimer::start() {
    cancel();
    m_target = monotonicSeconds() + m_timeout;
    startUpdateTimer();
}

void ZKCountdownTimer::cancel() {
    m_timer.stop();
    m_target.reset();
    ++m_generation;
}

double ZKCountdownTimer::remainingTime() const {
    if (!m_target)
        return 0.0;
    return std::fmax(*m_target - monotonicSeconds(), 0.0);
}

void ZKCountdownTimer::setTimeout(double seconds) {
    if (std::isnan(seconds) || seconds < 0.0) {
        qCWarning(lcEngine) << "Countdown timeout" << seconds << "taken as 0";
        seconds = 0.0;
    }
    m_timeout = seconds;
}

int ZKCountdownTimer::tickIntervalForRemainingTime(double remainingTime) {
    if (remainingTime > 60.0)
        return 30;
    if (remainingTime > 30.0)
        return 10;
    return 1;
}

void ZKCountdownTimer::startUpdateTimer() {
    m_timer.start(std::chrono::seconds(tickIntervalForRemainingTime(remainingTime())));
}

void ZKCountdownTimer::update() {
    if (!m_target)
        return;
    // The handlers may cancel, restart or even destroy the countdown; in
    // each case this tick has nothing left to do.
    const QPointer<ZKCountdownTimer> self(this);
    const quint64 generation = m_generation;
    if (m_updateHandler) {
        const Handler handler = m_updateHandler;
        handler();
        if (!self || generation != m_generation)
            return;
    }
    if (remainingTime() > 0.0) {
        startUpdateTimer();
        return;
    }
    m_target.reset();
    ++m_generation;
    if (m_completionHandler) {
        const Handler handler = m_completionHandler;
        handler();
    }
}
