// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

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

private:
    mutable std::mutex m_lock;
    int m_inhibitorFd = -1; // login1
    quint32 m_cookie = 0;   // PowerManagement
    quint32 m_powerManagementId = 0;
};
