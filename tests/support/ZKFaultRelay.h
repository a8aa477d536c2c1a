// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

#include <memory>
#include <mutex>

class ZKFaultRelaySession;
class ZKListenerThread;

// A TCP relay on 127.0.0.1 between the program and a real server, which
// passes bytes through or breaks the connections it carries the way networks
// do: cut after so many bytes, stall, trickle, or reset.
//
// For FTP it relays the control connection and rewrites the server's PASV
// and EPSV replies so that every data connection goes through a relay of its
// own too. A fault then hits data connections or control connections, as
// chosen; on a control connection its byte count is that of the data
// connections it opened, so that it strikes in the middle of a transfer.
// For any other protocol every connection counts as a data connection. A fault hits the next
// `times` connections of its kind, then the relay passes everything again.
//
// A delay holds every byte back for a while each way, as a long link does,
// without narrowing it: what the relay reads waits in a queue of its own
// until its time comes, so that many bytes are in flight at once. Faults
// act on the bytes as they come out of that queue.
//
// It runs on a listener thread of its own (ZKListenerThread).
class ZKFaultRelay {
public:
    enum class Protocol { Plain, Ftp };
    enum class Fault {
        None,
        Cut,     // both sides closed after `bytes` bytes (either way)
        Stall,   // after `bytes` bytes nothing more either way, sockets open
        Trickle, // at most `rate` bytes a second each way from the start
        Reset,   // the program's side reset (RST) after `bytes` bytes
    };
    enum class Target { Data, Control };

    ZKFaultRelay(const QString &serverHost, quint16 serverPort, Protocol protocol);
    ~ZKFaultRelay();

    ZKFaultRelay(const ZKFaultRelay &) = delete;
    ZKFaultRelay &operator=(const ZKFaultRelay &) = delete;

    quint16 port() const;
    // url with the relay's address and port in place of the server's.
    QUrl relayed(const QUrl &url) const;

    // The fault strikes the next `times` connections of its kind.
    void setFault(Fault fault, qint64 bytes = 0, int times = 1, Target target = Target::Data);
    void setTrickleRate(qint64 bytesPerSecond);
    // One-way delay for the connections that open from now on (10 ms each
    // way is a 20 ms round trip); 0 passes bytes on at once.
    void setDelay(int milliseconds);
    void passEverything() { setFault(Fault::None, 0, 0); }

    // Connections of each kind relayed so far, and how many a fault hit.
    int connections(Target target) const;
    int faultsApplied() const;

private:
    friend class ZKFaultRelaySession;
    void countConnection(Target target);
    // The fault the next connection of this kind gets, counted as used.
    Fault takeFault(Target target, qint64 *bytes);

    const QString m_serverHost;
    const quint16 m_serverPort;
    const Protocol m_protocol;

    mutable std::mutex m_lock;
    Fault m_fault = Fault::None;
    qint64 m_bytes = 0;
    int m_times = 0;
    Target m_target = Target::Data;
    qint64 m_rate = 16 * 1024;
    int m_delay = 0;
    int m_connections[2] = {0, 0};
    int m_applied = 0;

    std::unique_ptr<ZKListenerThread> m_listener;
};
