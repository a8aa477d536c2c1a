// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScriptedFtpServer.h"

#include "ZKListenerThread.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <sys/socket.h>

// One client's conversation; lives on the server's thread.
class ZKScriptedFtpSession : public QObject {
public:
    ZKScriptedFtpSession(ZKScriptedFtpServer &server, QTcpSocket *control)
        : m_server(server)
        , m_control(control) {
        // The urgent byte of ABOR stays in the stream, so the recorded bytes
        // are exactly what was sent.
        const int on = 1;
        ::setsockopt(int(control->socketDescriptor()), SOL_SOCKET, SO_OOBINLINE, &on, sizeof on);
        connect(control, &QTcpSocket::readyRead, this, &ZKScriptedFtpSession::readControl);
        std::lock_guard locker(server.m_lock);
        if (server.m_greetingInterval <= 0) {
            send(server.m_greeting);
            return;
        }
        // One byte at a time; the timer goes with the session.
        auto *trickle = new QTimer(this);
        connect(trickle, &QTimer::timeout, this,
                [this, trickle, greeting = server.m_greeting, sent = qsizetype(0)]() mutable {
                    send(greeting.mid(sent++, 1));
                    if (sent >= greeting.size()) {
                        trickle->stop();
                    }
                });
        trickle->start(server.m_greetingInterval);
    }

private:
    enum class Mode { None, Retrieve, Store, List };

    void send(const QByteArray &bytes) {
        if (!bytes.isEmpty() && m_control->state() == QAbstractSocket::ConnectedState) {
            m_control->write(bytes);
        }
    }

    void readControl() {
        const QByteArray data = m_control->readAll();
        {
            std::lock_guard locker(m_server.m_lock);
            m_server.m_received += data;
        }
        m_buffer += data;
        qsizetype end = 0;
        while ((end = m_buffer.indexOf('\n')) >= 0) {
            QByteArray line = m_buffer.left(end);
            m_buffer.remove(0, end + 1);
            if (line.endsWith('\r')) {
                line.chop(1);
            }
            if (!line.isEmpty()) {
                handle(line);
            }
        }
    }

    void handle(const QByteArray &line) {
        const qsizetype space = line.indexOf(' ');
        const QByteArray command = (space < 0 ? line : line.left(space)).toUpper();
        const QByteArray argument = space < 0 ? QByteArray() : line.mid(space + 1);
        std::lock_guard locker(m_server.m_lock);
        m_server.m_commands.append(QString::fromUtf8(line));
        const QByteArray exact = command + ' ' + argument;
        if (m_server.m_replies.contains(exact) || m_server.m_replies.contains(command)) {
            send(m_server.m_replies.value(exact, m_server.m_replies.value(command)));
            return;
        }
        if (command == "USER") {
            send("331 Password please\r\n");
        } else if (command == "PASS") {
            send("230 Logged in\r\n");
        } else if (command == "TYPE") {
            send("200 Type set\r\n");
        } else if (command == "CWD") {
            if (m_server.m_directories.contains(argument)) {
                m_path.append(argument);
                send("250 Directory changed\r\n");
            } else {
                send("550 " + argument + ": No such directory\r\n");
            }
        } else if (command == "CDUP") {
            if (!m_path.isEmpty()) {
                m_path.removeLast();
            }
            send("250 Directory changed to parent\r\n");
        } else if (command == "SIZE") {
            send(m_server.m_files.contains(argument)
                     ? "213 " + QByteArray::number(m_server.m_files.value(argument).size()) + "\r\n"
                     : "550 " + argument + ": not a plain file\r\n");
        } else if (command == "MDTM" && m_server.m_dates.contains(argument)) {
            send("213 " +
                 m_server.m_dates.value(argument).toUTC().toString("yyyyMMddHHmmss").toLatin1() +
                 "\r\n");
        } else if (command == "MKD") {
            m_server.m_directories.insert(argument);
            send("257 \"" + argument + "\" created\r\n");
        } else if (command == "RMD") {
            m_server.m_directories.remove(argument);
            send("250 Removed " + argument + "\r\n");
        } else if (command == "DELE") {
            m_server.m_files.remove(argument);
            send("250 Deleted " + argument + "\r\n");
        } else if (command == "REST") {
            m_offset = argument.toLongLong();
            send("350 Restarting at " + argument + "\r\n");
        } else if (command == "PASV") {
            openPassive(false);
        } else if (command == "EPSV" && m_server.m_extendedPassive) {
            openPassive(true);
        } else if (command == "RETR") {
            if (!m_server.m_files.contains(argument)) {
                send("550 " + argument + ": No such file\r\n");
                return;
            }
            send("150 Opening data connection for " + argument + "\r\n");
            m_content = m_server.m_files.value(argument).mid(m_offset);
            m_offset = 0;
            if (m_server.m_dropAfter >= 0) {
                m_content.truncate(m_server.m_dropAfter);
                m_drop = true;
            }
            startTransfer(Mode::Retrieve);
        } else if (command == "APPE") {
            m_name = argument;
            m_server.m_files[argument]; // exists from now on, empty or not
            send("150 Ok to send data\r\n");
            startTransfer(Mode::Store);
        } else if (command == "NLST" || command == "MLSD") {
            send("150 Here comes the listing\r\n");
            m_content = m_server.m_listings.value(m_path.join('/'), m_server.m_listing);
            startTransfer(Mode::List);
        } else if (command == "ABOR") {
            if (m_mode != Mode::None && !m_aborted) {
                m_aborted = true;
                if (m_data) {
                    m_data->abort();
                }
                send("426 Transfer aborted\r\n226 Abort successful\r\n");
            } else {
                send("225 No transfer to abort (" + QByteArray::number(++m_idleAborts) + ")\r\n");
            }
        } else {
            send("502 Command not implemented\r\n");
        }
    }

    void openPassive(bool extended) {
        delete m_listener;
        m_data = nullptr;
        m_dataClosed = false;
        m_listener = new QTcpServer(this);
        m_listener->listen(QHostAddress(QString::fromLatin1(m_server.m_host)), 0);
        connect(m_listener, &QTcpServer::newConnection, this, &ZKScriptedFtpSession::acceptData);
        const quint16 port = m_listener->serverPort();
        if (extended) {
            send("229 Entering Extended Passive Mode (|||" + QByteArray::number(port) + "|)\r\n");
            return;
        }
        const QByteArray high = QByteArray::number(port / 256);
        const QByteArray low = QByteArray::number(port % 256);
        QByteArray numbers = m_server.m_host;
        numbers.replace('.', ',');
        numbers += ',' + high + ',' + low;
        QByteArray reply = m_server.m_passiveFormat;
        send(reply.replace("%1", numbers).replace("%2", high).replace("%3", low));
    }

    void acceptData() {
        m_data = m_listener->nextPendingConnection();
        connect(m_data, &QTcpSocket::readyRead, this, &ZKScriptedFtpSession::readData);
        connect(m_data, &QTcpSocket::disconnected, this, &ZKScriptedFtpSession::dataClosed);
        if (m_mode != Mode::None) {
            beginTransfer();
        }
    }

    void startTransfer(Mode mode) {
        m_mode = mode;
        m_aborted = false;
        if (m_data) {
            beginTransfer();
        }
    }

    void beginTransfer() {
        if (m_mode == Mode::Store) {
            readData();
            if (m_dataClosed) {
                finishTransfer();
            }
            return;
        }
        m_data->write(m_content);
        if (m_drop) {
            // Both connections go once the bytes are out, as when a server
            // dies in the middle of a transfer.
            QTimer::singleShot(300, this, [this] {
                m_data->abort();
                m_control->abort();
            });
            return;
        }
        m_data->disconnectFromHost();
    }

    void readData() {
        if (m_mode != Mode::Store || !m_data) {
            return;
        }
        const QByteArray data = m_data->readAll();
        std::lock_guard locker(m_server.m_lock);
        m_server.m_files[m_name] += data;
    }

    void dataClosed() {
        m_dataClosed = true;
        if (m_mode != Mode::None) {
            readData();
            finishTransfer();
        }
    }

    void finishTransfer() {
        const bool complete = m_data && m_data->bytesToWrite() == 0;
        const Mode mode = m_mode;
        m_mode = Mode::None;
        if (m_aborted || m_drop) {
            return;
        }
        if (mode == Mode::List) {
            send("226 Listing sent\r\n");
        } else if (complete) {
            send("226 Transfer complete\r\n");
        } else {
            send("426 Connection closed; transfer aborted\r\n");
        }
    }

    ZKScriptedFtpServer &m_server;
    QTcpSocket *m_control;
    QTcpServer *m_listener = nullptr;
    QTcpSocket *m_data = nullptr;
    QByteArray m_buffer;
    QByteArray m_content;
    QByteArray m_name;
    QByteArrayList m_path;
    qint64 m_offset = 0;
    Mode m_mode = Mode::None;
    bool m_dataClosed = false;
    bool m_aborted = false;
    bool m_drop = false;
    int m_idleAborts = 0;
};

ZKScriptedFtpServer::ZKScriptedFtpServer(const QByteArray &host)
    : m_greeting("220 Scripted server ready\r\n")
    , m_passiveFormat("227 Entering Passive Mode (%1).\r\n")
    , m_host(host) {
    // Started last: its sessions use everything above.
    m_listener = std::make_unique<ZKListenerThread>(
        QHostAddress(QString::fromLatin1(host)), [this](QTcpSocket *socket) {
            // Goes with its connection, which goes with the listener.
            (new ZKScriptedFtpSession(*this, socket))->setParent(socket);
        });
}

ZKScriptedFtpServer::~ZKScriptedFtpServer() {
    m_listener.reset(); // no session may outlive the state it reads
}

quint16 ZKScriptedFtpServer::port() const {
    return m_listener->port();
}

QUrl ZKScriptedFtpServer::url(const QString &path) const {
    QUrl url;
    url.setScheme(QStringLiteral("ftp"));
    url.setHost(QString::fromLatin1(m_host));
    url.setPort(port());
    url.setPath(path);
    return url;
}

void ZKScriptedFtpServer::setGreeting(const QByteArray &bytes) {
    std::lock_guard locker(m_lock);
    m_greeting = bytes;
}

void ZKScriptedFtpServer::setGreetingInterval(int milliseconds) {
    std::lock_guard locker(m_lock);
    m_greetingInterval = milliseconds;
}

void ZKScriptedFtpServer::setReply(const QByteArray &command, const QByteArray &bytes) {
    std::lock_guard locker(m_lock);
    m_replies.insert(command, bytes);
}

void ZKScriptedFtpServer::setReply(const QByteArray &command, const QByteArray &argument,
                                   const QByteArray &bytes) {
    std::lock_guard locker(m_lock);
    m_replies.insert(command + ' ' + argument, bytes);
}

void ZKScriptedFtpServer::setFile(const QByteArray &name, const QByteArray &content) {
    std::lock_guard locker(m_lock);
    m_files.insert(name, content);
}

void ZKScriptedFtpServer::setDirectory(const QByteArray &name) {
    std::lock_guard locker(m_lock);
    m_directories.insert(name);
}

void ZKScriptedFtpServer::setModificationDate(const QByteArray &name, const QDateTime &date) {
    std::lock_guard locker(m_lock);
    m_dates.insert(name, date);
}

void ZKScriptedFtpServer::setListing(const QByteArray &listing) {
    std::lock_guard locker(m_lock);
    m_listing = listing;
}

void ZKScriptedFtpServer::setListing(const QByteArray &folder, const QByteArray &listing) {
    std::lock_guard locker(m_lock);
    m_listings.insert(folder, listing);
}

void ZKScriptedFtpServer::setPassiveFormat(const QByteArray &format) {
    std::lock_guard locker(m_lock);
    m_passiveFormat = format;
}

void ZKScriptedFtpServer::setExtendedPassive(bool on) {
    std::lock_guard locker(m_lock);
    m_extendedPassive = on;
}

void ZKScriptedFtpServer::setDropAfter(qint64 bytes) {
    std::lock_guard locker(m_lock);
    m_dropAfter = bytes;
}

QByteArray ZKScriptedFtpServer::received() const {
    std::lock_guard locker(m_lock);
    return m_received;
}

QStringList ZKScriptedFtpServer::commands() const {
    std::lock_guard locker(m_lock);
    return m_commands;
}

QByteArray ZKScriptedFtpServer::file(const QByteArray &name) const {
    std::lock_guard locker(m_lock);
    return m_files.value(name);
}

bool ZKScriptedFtpServer::hasFile(const QByteArray &name) const {
    std::lock_guard locker(m_lock);
    return m_files.contains(name);
}

bool ZKScriptedFtpServer::hasDirectory(const QByteArray &name) const {
    std::lock_guard locker(m_lock);
    return m_directories.contains(name);
}
