// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTransferThrottle.h"

void ZKTransferThrottle::beginTransfer() {
    std::lock_guard locker(m_lock);
    const auto now = Clock::now();
    if (std::chrono::duration<double>(now - m_lastEnd).count() > idleGap) {
        m_lastEnd = now;
        m_residual = 0;
    }
}

void ZKTransferThrottle::pace(const Sleeper &sleeper) {
    Clock::time_point since;
    double residual = 0;
    {
        std::lock_guard locker(m_lock);
        since = m_lastEnd;
        residual = m_residual;
    }
    // Slept without the lock: a change of limit or a cancellation must not
    // wait behind it.
    const double left = sleeper(since, residual);
    std::lock_guard locker(m_lock);
    m_residual = left;
    m_lastEnd = Clock::now();
}

void ZKTransferThrottle::passUnlimited() {
    std::lock_guard locker(m_lock);
    m_residual = 0;
    m_lastEnd = Clock::now();
}
