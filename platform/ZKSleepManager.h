// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <chrono>
#include <mutex>

// Keeps the machine from idle sleep while a queue copies: an "idle" inhibitor
// of login1 on the system bus, held as a file descriptor, or, where login1
// does not answer, the session's PowerManagement inhibition. Without either
// it logs and carries on: copying matters more than the assertion.
class ZKSleepManager {
public:
    ZKSleepManager() = default;
    ZKSleepManager(const ZKSleepManager &) = delete;
    ZKSleepManager &operator=(const ZKSleepManager &) = delete;
    ~ZKSleepManager();

    void preventIdleSleep();
    void permitIdleSleep();
    // Non-zero while idle sleep is held off.
    quint32 powerManagementId() const;
    // Whether preventIdleSleep() would ask a bus and wait for its answer.
    // After no service answered, it asks again only a minute later: a queue
    // starts a step per file, and a machine without the services would
    // otherwise ask at each one.
    bool wouldAskBus() const;

private:
    mutable std::mutex m_lock;
    int m_inhibitorFd = -1; // login1
    quint32 m_cookie = 0;   // PowerManagement
    quint32 m_powerManagementId = 0;
    std::chrono::steady_clock::time_point m_refusedAt;
    bool m_refused = false;

    // With m_lock held.
    bool refusedRecently() const;
};
