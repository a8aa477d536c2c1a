// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

// The main thread is the QCoreApplication's thread; it owns every task state
// change. These helpers hand work to it from any thread.
class ZKMainQueue {
public:
    static bool isMainThread();

    // Runs fn on the main thread later, in posting order.
    static void async(std::function<void()> fn);
    // Runs fn on the main thread after the given number of seconds.
    static void asyncAfter(double seconds, std::function<void()> fn);
    // Runs fn on the main thread and returns when it has run: directly when
    // already there. Never call it while holding a lock the main thread may
    // want.
    static void sync(const std::function<void()> &fn);
};
