// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpConnectionPool.h"

#include "ZKFtpClient.h"
#include "ZKLogging.h"
#include "ZKSocket.h"

#include <QCryptographicHash>

#include <algorithm>

ZKFtpConnectionPool &ZKFtpConnectionPool::shared() {
    static ZKFtpConnectionPool pool;
    return pool;
}

ZKFtpConnectionPool::~ZKFtpConnectionPool() {
    {
        std::lock_guard locker(m_lock);
        m_shuttingDown = true;
    }
    m_changed.notify_all();
    if (m_closer.joinable()) {
        m_closer.join();
    }
    m_parked.clear();
}

QString ZKFtpConnectionPool::key(bool secure, const QString &host, qint32 port,
                                 const QString &username, const QString &password) {
    const QByteArray digest =
        QCryptographicHash::hash(password.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QStringLiteral("%1://%2@[%3]:%4 %5")
        .arg(secure ? QStringLiteral("ftps") : QStringLiteral("ftp"), username, host)
        .arg(port)
        .arg(QString::fromLatin1(digest));
}

void ZKFtpConnectionPool::park(const QString &key, std::unique_ptr<ZKFtpClient> client) {
    ZKFtpConnectionPool &pool = shared();
    std::lock_guard locker(pool.m_lock);
    if (pool.m_shuttingDown) {
        return;
    }
    pool.m_parked.push_back({key, std::move(client), Clock::now()});
    if (!pool.m_closerRunning) {
        // One that ran before has left its loop, or is about to: it gave
        // up the lock only as it returned.
        if (pool.m_closer.joinable()) {
            pool.m_closer.join();
        }
        pool.m_closerRunning = true;
        pool.m_closer = std::thread([&pool] { pool.closeIdleConnections(); });
    }
    pool.m_changed.notify_all();
}

std::unique_ptr<ZKFtpClient> ZKFtpConnectionPool::take(const QString &key) {
    ZKFtpConnectionPool &pool = shared();
    std::vector<Parked> dropped;
    std::unique_ptr<ZKFtpClient> found;
    {
        std::lock_guard locker(pool.m_lock);
        dropped = pool.takeExpired(Clock::now());
        // The most recently used first: it is the likeliest to be alive.
        for (size_t i = pool.m_parked.size(); i-- > 0 && !found;) {
            if (pool.m_parked[i].key != key) {
                continue;
            }
            std::unique_ptr<ZKFtpClient> client = std::move(pool.m_parked[i].client);
            pool.m_parked.erase(pool.m_parked.begin() + qsizetype(i));
            // Closed by the server meanwhile, or talking (a time-out notice).
            if (client->isIdle()) {
                found = std::move(client);
            } else {
                dropped.push_back({key, std::move(client), Clock::now()});
            }
        }
    }
    if (!dropped.empty()) {
        qCInfo(lcFtp) << "Closing" << dropped.size() << "parked connections";
    }
    return found;
}

std::vector<ZKFtpConnectionPool::Parked> ZKFtpConnectionPool::takeExpired(Clock::time_point now) {
    std::vector<Parked> expired;
    const auto stale = [&](const Parked &parked) {
        return now - parked.since >= m_idleLimit;
    };
    for (Parked &parked : m_parked) {
        if (stale(parked)) {
            expired.push_back(std::move(parked));
        }
    }
    m_parked.erase(std::remove_if(m_parked.begin(), m_parked.end(),
                                  [](const Parked &parked) { return !parked.client; }),
                   m_parked.end());
    return expired;
}

void ZKFtpConnectionPool::closeIdleConnections() {
    std::unique_lock locker(m_lock);
    while (!m_shuttingDown && !m_parked.empty()) {
        Clock::time_point earliest = m_parked.front().since;
        for (const Parked &parked : m_parked) {
            earliest = std::min(earliest, parked.since);
        }
        m_changed.wait_until(locker, earliest + m_idleLimit);
        std::vector<Parked> expired = takeExpired(Clock::now());
        if (!expired.empty()) {
            locker.unlock();
            qCInfo(lcFtp) << "Closing" << expired.size() << "idle connections";
            expired.clear();
            ZKSocket::releaseThreadState();
            locker.lock();
        }
    }
    m_closerRunning = false;
}
