// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFaultRelay.h"

#include "ZKListenerThread.h"

#include <QHostAddress>
#include <QPointer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <deque>
#include <optional>
#include <utility>

#include <sys/socket.h>

namespace {

// Kept small, so that a side that is not read from pushes back on its peer
// through the kernel instead of filling the relay's memory.
constexpr qint64 bufferSize = 64 * 1024;
constexpr int tickMilliseconds = 20;
// What a delayed side may have in flight: enough for a fast link with a long
// delay (32 MiB over 10 ms is 3 GiB/s), and a bound on memory when the
// receiving side stops reading.
constexpr qint64 delayedLimit = 32 * 1024 * 1024;

using Clock = std::chrono::steady_clock;

} // namespace

// One relayed connection, the program's side and the server's; lives on the
// relay's thread and goes with its program-side socket.
class ZKFaultRelaySession : public QObject {
public:
    ZKFaultRelaySession(ZKFaultRelay &relay, QTcpSocket *client, const QString &host, quint16 port,
                        ZKFaultRelay::Target target, ZKFaultRelaySession *control = nullptr)
        : m_relay(relay)
        , m_client(client)
        , m_server(new QTcpSocket(this))
        , m_target(target)
        , m_control(control) {
        setParent(client);
        relay.countConnection(target);
        // An FTP control connection decides on its fault when it opens its
        // first data connection: a login that only looks around is spared.
        if (!isFtpControl()) {
            m_fault = relay.takeFault(target, &m_limit);
        }
        {
            std::lock_guard locker(relay.m_lock);
            m_rate = relay.m_rate;
            m_delay = std::chrono::milliseconds(relay.m_delay);
        }
        client->setReadBufferSize(bufferSize);
        m_server->setReadBufferSize(bufferSize);
        if (delayed()) {
            m_wake = new QTimer(this);
            m_wake->setSingleShot(true);
            m_wake->setTimerType(Qt::PreciseTimer);
            connect(m_wake, &QTimer::timeout, this, &ZKFaultRelaySession::pump);
        }
        for (QTcpSocket *socket : {m_client, m_server}) {
            connect(socket, &QTcpSocket::readyRead, this, &ZKFaultRelaySession::pump);
            // Room again on a side that was full.
            connect(socket, &QTcpSocket::bytesWritten, this, &ZKFaultRelaySession::pump);
            connect(socket, &QTcpSocket::disconnected, this, &ZKFaultRelaySession::pump);
            connect(socket, &QTcpSocket::errorOccurred, this, &ZKFaultRelaySession::pump);
        }
        connect(m_server, &QTcpSocket::connected, this, [this] {
            limitKernelBuffers(m_server);
            pump();
        });
        limitKernelBuffers(client);
        if (m_fault == ZKFaultRelay::Fault::Trickle) {
            auto *timer = new QTimer(this);
            connect(timer, &QTimer::timeout, this, [this] {
                m_allowance = std::min<qint64>(m_allowance + m_rate * tickMilliseconds / 1000,
                                               std::max<qint64>(m_rate, 1));
                pump();
            });
            timer->start(tickMilliseconds);
        }
        m_server->connectToHost(host, port);
    }

private:
    bool delayed() const { return m_delay.count() > 0; }

    void limitKernelBuffers(QTcpSocket *socket) const {
        if (delayed()) {
            // The delay queue stands for the link; the relay's own writes go
            // out at once, as a router's would, not gathered into fewer.
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            return;
        }
        // Little room in the kernel too, so that a slow relay is slow for
        // the sender as a slow link would be, not a big buffer.
        socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, int(bufferSize));
        socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, int(bufferSize));
    }

    bool isFtpControl() const {
        return m_relay.m_protocol == ZKFaultRelay::Protocol::Ftp &&
               m_target == ZKFaultRelay::Target::Control;
    }

    // A fault on an FTP control connection strikes once its data
    // connections have carried so many bytes: in the middle of a transfer.
    bool countsDataBytes() const { return isFtpControl() && m_fault != ZKFaultRelay::Fault::None; }

    void dataRelayed(qint64 bytes) {
        if (!countsDataBytes() || m_finished) {
            return;
        }
        m_relayed += bytes;
        if (m_relayed >= m_limit) {
            breakConnection();
        }
    }

    // How many bytes may pass now, whichever way.
    qint64 allowance() const {
        if (countsDataBytes()) {
            return bufferSize;
        }
        switch (m_fault) {
        case ZKFaultRelay::Fault::Trickle:
            return m_allowance;
        case ZKFaultRelay::Fault::Cut:
        case ZKFaultRelay::Fault::Stall:
        case ZKFaultRelay::Fault::Reset:
            return std::max<qint64>(m_limit - m_relayed, 0);
        case ZKFaultRelay::Fault::None:
            break;
        }
        return bufferSize;
    }

    void pump() {
        if (m_finished) {
            return;
        }
        // Also after a side has gone: what it sent before is still passed on.
        admit(m_client);
        admit(m_server);
        move(m_client, m_server, false);
        move(m_server, m_client, isFtpControl());
        // Room again in a queue that was full.
        admit(m_client);
        admit(m_server);
        const bool limited = !countsDataBytes() && (m_fault == ZKFaultRelay::Fault::Cut ||
                                                    m_fault == ZKFaultRelay::Fault::Stall ||
                                                    m_fault == ZKFaultRelay::Fault::Reset);
        if (limited && m_relayed >= m_limit) {
            breakConnection();
            return;
        }
        // A side that went away takes the other with it once what it sent
        // has been passed on.
        for (auto [from, to] : {std::pair{m_client, m_server}, std::pair{m_server, m_client}}) {
            const bool gone = from->state() == QAbstractSocket::UnconnectedState &&
                              (from != m_server || m_serverWasConnected);
            if (gone && drained(from)) {
                m_finished = true;
                if (from == m_server) {
                    to->write(std::exchange(m_pendingLine, {})); // a last line without its end
                }
                to->disconnectFromHost();
                return;
            }
        }
        if (m_server->state() == QAbstractSocket::ConnectedState) {
            m_serverWasConnected = true;
        } else if (m_server->state() == QAbstractSocket::UnconnectedState &&
                   !m_serverWasConnected &&
                   m_server->error() != QAbstractSocket::UnknownSocketError) {
            m_finished = true;
            m_client->abort(); // the server is not there: neither is the relay
            return;
        }
        scheduleWake();
    }

    struct Delayed {
        std::deque<std::pair<Clock::time_point, QByteArray>> chunks; // with the time each is due
        qsizetype head = 0; // bytes of the first chunk already passed on
        qint64 size = 0;
        std::optional<Clock::time_point> closedAt;
    };

    Delayed &delayedFrom(const QTcpSocket *from) { return m_delayed[from == m_client ? 0 : 1]; }

    // With a delay, what a side sent waits in its queue until it is due.
    void admit(QTcpSocket *from) {
        if (!delayed()) {
            return;
        }
        Delayed &queue = delayedFrom(from);
        while (from->bytesAvailable() > 0 && queue.size < delayedLimit) {
            QByteArray chunk = from->read(bufferSize);
            if (chunk.isEmpty()) {
                return;
            }
            queue.size += chunk.size();
            queue.chunks.emplace_back(Clock::now() + m_delay, std::move(chunk));
        }
    }

    bool hasData(QTcpSocket *from) {
        if (!delayed()) {
            return from->bytesAvailable() > 0;
        }
        const Delayed &queue = delayedFrom(from);
        return !queue.chunks.empty() && queue.chunks.front().first <= Clock::now();
    }

    QByteArray take(QTcpSocket *from, qint64 most) {
        if (!delayed()) {
            return from->read(most);
        }
        Delayed &queue = delayedFrom(from);
        const Clock::time_point now = Clock::now();
        QByteArray out;
        while (out.size() < most && !queue.chunks.empty() && queue.chunks.front().first <= now) {
            QByteArray &bytes = queue.chunks.front().second;
            const qsizetype count =
                std::min<qsizetype>(most - out.size(), bytes.size() - queue.head);
            if (out.isEmpty() && queue.head == 0 && count == bytes.size()) {
                out = std::move(bytes); // the common case, without a copy
                queue.chunks.pop_front();
                continue;
            }
            out.append(bytes.constData() + queue.head, count);
            queue.head += count;
            if (queue.head == bytes.size()) {
                queue.chunks.pop_front();
                queue.head = 0;
            }
        }
        queue.size -= out.size();
        return out;
    }

    // Whether a side that has gone has nothing more to pass on; with a delay
    // its going arrives as late as its bytes do.
    bool drained(QTcpSocket *from) {
        if (from->bytesAvailable() > 0) {
            return false;
        }
        if (!delayed()) {
            return true;
        }
        Delayed &queue = delayedFrom(from);
        const Clock::time_point now = Clock::now();
        if (!queue.closedAt) {
            queue.closedAt = now;
        }
        return queue.chunks.empty() && now >= *queue.closedAt + m_delay;
    }

    // Wakes the session when the next delayed chunk or close is due; what is
    // due already but waits for room goes on at bytesWritten.
    void scheduleWake() {
        if (!m_wake) {
            return;
        }
        const Clock::time_point now = Clock::now();
        std::optional<Clock::time_point> next;
        const auto consider = [&](Clock::time_point due) {
            if (due > now && (!next || due < *next)) {
                next = due;
            }
        };
        for (const Delayed &queue : m_delayed) {
            if (!queue.chunks.empty()) {
                consider(queue.chunks.front().first);
            }
            if (queue.closedAt) {
                consider(*queue.closedAt + m_delay);
            }
        }
        if (next) {
            m_wake->start(std::chrono::ceil<std::chrono::milliseconds>(*next - now));
        }
    }

    void move(QTcpSocket *from, QTcpSocket *to, bool rewrite) {
        while (to->state() == QAbstractSocket::ConnectedState && hasData(from) &&
               to->bytesToWrite() < bufferSize) {
            const qint64 room = allowance();
            if (room <= 0) {
                return;
            }
            const QByteArray chunk = take(from, std::min(room, bufferSize));
            if (chunk.isEmpty()) {
                return;
            }
            if (!countsDataBytes()) {
                m_relayed += chunk.size();
            }
            if (m_control) {
                m_control->dataRelayed(chunk.size());
            }
            if (m_fault == ZKFaultRelay::Fault::Trickle) {
                m_allowance -= chunk.size();
            }
            to->write(rewrite ? rewritten(chunk) : chunk);
        }
    }

    // Passive replies point at a relay of the relay's own, which passes the
    // data connection on to where the server said.
    QByteArray rewritten(const QByteArray &chunk) {
        m_pendingLine += chunk;
        QByteArray out;
        qsizetype end = 0;
        while ((end = m_pendingLine.indexOf('\n')) >= 0) {
            QByteArray line = m_pendingLine.left(end + 1);
            m_pendingLine.remove(0, end + 1);
            if (line.startsWith("227 ")) {
                static const QRegularExpression numbers(
                    QStringLiteral("(\\d+),(\\d+),(\\d+),(\\d+),(\\d+),(\\d+)"));
                const QRegularExpressionMatch match = numbers.match(QString::fromLatin1(line));
                if (match.hasMatch()) {
                    const QString host = QStringLiteral("%1.%2.%3.%4")
                                             .arg(match.captured(1), match.captured(2),
                                                  match.captured(3), match.captured(4));
                    const quint16 port =
                        quint16(match.captured(5).toInt() * 256 + match.captured(6).toInt());
                    const quint16 relayed = listenForData(host, port);
                    line = "227 Entering Passive Mode (127,0,0,1," +
                           QByteArray::number(relayed / 256) + ',' +
                           QByteArray::number(relayed % 256) + ").\r\n";
                }
            } else if (line.startsWith("229 ")) {
                static const QRegularExpression port(QStringLiteral("\\(\\|\\|\\|(\\d+)\\|\\)"));
                const QRegularExpressionMatch match = port.match(QString::fromLatin1(line));
                if (match.hasMatch()) {
                    const quint16 relayed =
                        listenForData(m_relay.m_serverHost, quint16(match.captured(1).toInt()));
                    line = "229 Entering Extended Passive Mode (|||" + QByteArray::number(relayed) +
                           "|)\r\n";
                }
            }
            out += line;
        }
        return out;
    }

    quint16 listenForData(const QString &host, quint16 port) {
        auto *listener = new QTcpServer(this);
        listener->listen(QHostAddress::LocalHost, 0);
        connect(listener, &QTcpServer::newConnection, this, [this, listener, host, port] {
            if (!m_faultDecided) {
                m_faultDecided = true;
                m_fault = m_relay.takeFault(ZKFaultRelay::Target::Control, &m_limit);
            }
            while (QTcpSocket *socket = listener->nextPendingConnection()) {
                socket->setParent(this);
                new ZKFaultRelaySession(m_relay, socket, host, port, ZKFaultRelay::Target::Data,
                                        this);
            }
            listener->close();
        });
        return listener->serverPort();
    }

    void breakConnection() {
        m_finished = true;
        switch (m_fault) {
        case ZKFaultRelay::Fault::Cut:
            m_client->abort();
            m_server->abort();
            break;
        case ZKFaultRelay::Fault::Reset: {
            // A zero linger turns the close into a reset.
            const linger immediate{1, 0};
            ::setsockopt(int(m_client->socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediate,
                         sizeof immediate);
            m_client->abort();
            m_server->abort();
            break;
        }
        case ZKFaultRelay::Fault::Stall:
            // Nothing more either way. What the program still sends is
            // swallowed, so that its giving up (a close) is seen; the server
            // then loses its side too, as when its own time-out ends a dead
            // connection, and answers the next one afresh.
            disconnect(m_client, nullptr, this, nullptr);
            disconnect(m_server, nullptr, this, nullptr);
            connect(m_client, &QTcpSocket::readyRead, this, [this] { m_client->readAll(); });
            connect(m_client, &QTcpSocket::disconnected, m_server, &QTcpSocket::abort);
            m_client->readAll();
            break;
        case ZKFaultRelay::Fault::None:
        case ZKFaultRelay::Fault::Trickle:
            break;
        }
    }

    ZKFaultRelay &m_relay;
    QTcpSocket *m_client;
    QTcpSocket *m_server;
    const ZKFaultRelay::Target m_target;
    // The control connection a data connection belongs to; it outlives it.
    QPointer<ZKFaultRelaySession> m_control;
    ZKFaultRelay::Fault m_fault = ZKFaultRelay::Fault::None;
    qint64 m_limit = 0;
    qint64 m_relayed = 0;
    qint64 m_rate = 0;
    qint64 m_allowance = 0;
    std::chrono::milliseconds m_delay{0};
    Delayed m_delayed[2]; // from the program, from the server
    QTimer *m_wake = nullptr;
    QByteArray m_pendingLine;
    bool m_serverWasConnected = false;
    bool m_faultDecided = false;
    bool m_finished = false;
};

ZKFaultRelay::ZKFaultRelay(const QString &serverHost, quint16 serverPort, Protocol protocol)
    : m_serverHost(serverHost)
    , m_serverPort(serverPort)
    , m_protocol(protocol) {
    const Target first = m_protocol == Protocol::Ftp ? Target::Control : Target::Data;
    m_listener = std::make_unique<ZKListenerThread>(
        QHostAddress::LocalHost, [this, first](QTcpSocket *socket) {
            new ZKFaultRelaySession(*this, socket, m_serverHost, m_serverPort, first);
        });
}

ZKFaultRelay::~ZKFaultRelay() {
    m_listener.reset(); // no session may outlive the settings it reads
}

quint16 ZKFaultRelay::port() const {
    return m_listener->port();
}

QUrl ZKFaultRelay::relayed(const QUrl &url) const {
    QUrl through = url;
    through.setHost(QStringLiteral("127.0.0.1"));
    through.setPort(port());
    return through;
}

void ZKFaultRelay::setFault(Fault fault, qint64 bytes, int times, Target target) {
    std::lock_guard locker(m_lock);
    m_fault = fault;
    m_bytes = bytes;
    m_times = times;
    m_target = target;
}

void ZKFaultRelay::setTrickleRate(qint64 bytesPerSecond) {
    std::lock_guard locker(m_lock);
    m_rate = bytesPerSecond;
}

void ZKFaultRelay::setDelay(int milliseconds) {
    std::lock_guard locker(m_lock);
    m_delay = std::max(milliseconds, 0);
}

int ZKFaultRelay::connections(Target target) const {
    std::lock_guard locker(m_lock);
    return m_connections[int(target)];
}

int ZKFaultRelay::faultsApplied() const {
    std::lock_guard locker(m_lock);
    return m_applied;
}

void ZKFaultRelay::countConnection(Target target) {
    std::lock_guard locker(m_lock);
    ++m_connections[int(target)];
}

ZKFaultRelay::Fault ZKFaultRelay::takeFault(Target target, qint64 *bytes) {
    std::lock_guard locker(m_lock);
    if (m_fault == Fault::None || m_times <= 0 || target != m_target) {
        return Fault::None;
    }
    --m_times;
    ++m_applied;
    *bytes = m_bytes;
    return m_fault;
}
