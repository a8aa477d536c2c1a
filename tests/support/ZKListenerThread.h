// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHostAddress>

#include <atomic>
#include <functional>
#include <thread>

class QTcpServer;
class QTcpSocket;

// A TCP listener with an event loop on a thread of its own, for the test
// servers and relays: blocking clients can then be driven from the test's
// thread. A plain thread rather than a QThread, so that its start, the
// hand-over of the port and the join are seen by thread checkers.
//
// Each accepted connection is handed to accepted() on that thread, already
// owned by the listener; whatever it makes should hang below the socket.
class ZKListenerThread {
public:
    using Accepted = std::function<void(QTcpSocket *socket)>;

    // Returns once the listener listens (port 0 when it could not).
    ZKListenerThread(const QHostAddress &address, Accepted accepted);
    // Stops the loop and joins; every connection goes with it.
    ~ZKListenerThread();

    ZKListenerThread(const ZKListenerThread &) = delete;
    ZKListenerThread &operator=(const ZKListenerThread &) = delete;

    quint16 port() const { return m_port; }

private:
    quint16 m_port = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
