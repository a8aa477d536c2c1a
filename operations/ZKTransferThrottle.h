// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <mutex>

// The pacing state behind a speed limit: when the last paced block ended and
// the residual carried from it. One throttle is shared by every operation of
// a queue, so that a limit holds across files and tasks and not only within
// one large file: a thousand small files each owe too little to be slept on
// their own, yet together they owe the whole limit.
class ZKTransferThrottle {
public:
    using Clock = std::chrono::steady_clock;
    // Given the end of the previous block and the residual, sleeps what the
    // block owes and answers the new residual.
    using Sleeper = std::function<double(Clock::time_point since, double residual)>;

    // A transfer that starts after a pause, an analysis or a question starts
    // afresh: idle time is no credit for a burst.
    void beginTransfer();
    void pace(const Sleeper &sleeper);
    // A block moved without a limit: nothing is owed, nothing is credited.
    void passUnlimited();

private:
    static constexpr double idleGap = 1.0;

    std::mutex m_lock;
    Clock::time_point m_lastEnd = Clock::now();
    double m_residual = 0;
};
