// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>

// A private session bus of the test's own, so that nothing reaches the
// desktop the tests run on. Started, it is the session bus of this process
// and of every program the test starts.
class ZKSessionBus {
public:
    ZKSessionBus() = default;
    ~ZKSessionBus();

    ZKSessionBus(const ZKSessionBus &) = delete;
    ZKSessionBus &operator=(const ZKSessionBus &) = delete;

    // False with a reason in errorString() when the daemon does not come up.
    bool start();
    QString address() const { return m_address; }
    QString errorString() const { return m_errorString; }

private:
    QProcess m_daemon;
    QString m_address;
    QString m_errorString;
};
