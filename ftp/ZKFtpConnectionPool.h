// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class ZKFtpClient;

// Logged-in control connections that their last endpoint gave back, kept
// for the next endpoint to the same server and account: on a link far away
// a new connection costs several round trips (and a TLS handshake) before
// the first byte moves. A connection is given to one client at a time, so
// transfers that run at once each have their own; one idle for a minute is
// closed, on a thread of the pool's own, well before servers give up on it.
class ZKFtpConnectionPool {
public:
    using Clock = std::chrono::steady_clock;

    // The key of a server and an account: scheme, host, port, user name
    // and a digest of the password, so that a connection is never lent to
    // a login it did not make.
    static QString key(bool secure, const QString &host, qint32 port, const QString &username,
                       const QString &password);

    // client holds a connection; the pool takes it over.
    static void park(const QString &key, std::unique_ptr<ZKFtpClient> client);
    // A parked connection of key that is still open and idle, or null.
    static std::unique_ptr<ZKFtpClient> take(const QString &key);

private:
    struct Parked {
        QString key;
        std::unique_ptr<ZKFtpClient> client;
        Clock::time_point since;
    };

    ZKFtpConnectionPool() = default;
    ~ZKFtpConnectionPool();
    static ZKFtpConnectionPool &shared();
    // On the pool's thread: closes what stayed idle too long, until the
    // pool is empty or shut.
    void closeIdleConnections();
    // Taken out under the lock, closed after it: a close may wait for TLS.
    std::vector<Parked> takeExpired(Clock::time_point now);

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Parked> m_parked;
    std::chrono::seconds m_idleLimit{60};
    std::thread m_closer;
    bool m_closerRunning = false;
    bool m_shuttingDown = false;
};
