// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSocket.h"

#include "ZKUserDefaults.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <QStringDecoder>

namespace {

const QString downloadTimeoutKey = QStringLiteral("downloadTimeout");
constexpr qint32 registeredDownloadTimeout = 5;

constexpr quint64 standardReceiveLength = 4096;
constexpr size_t peekLength = 100;
// One receive never asks for more than this, whatever the caller wants: the
// buffer is allocated before the call.
constexpr quint64 maximumReceiveLength = 1 << 20;
// A listing is held in memory whole; a server that never stops sending must
// not take all of it.
constexpr qsizetype maximumRemainingLength = 64 * 1024 * 1024;

} // namespace

const QString ZKSocket::errorDomain = QStringLiteral("com.velmarind.socket.ErrorDomain");

ZKSocket::ZKSocket() = default;

ZKSocket::~ZKSocket() {
    disconnect();
}

qint32 ZKSocket::downloadTimeoutSeconds() {
    const qint64 seconds = ZKUserDefaults::standard().integerForKey(downloadTimeoutKey);
    if (seconds <= 0) {
        return registeredDownloadTimeout;
    }
    return qint32(std::min<qint64>(seconds, std::numeric_limits<qint32>::max()));
}

std::optional<QString> ZKSocket::decodeUtf8(const QByteArray &bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

ZKOptionalError ZKSocket::error() const {
    std::lock_guard locker(m_errorLock);
    return m_error;
}

void ZKSocket::setError(ZKError error) {
    std::lock_guard locker(m_errorLock);
    m_error = std::move(error);
}

void ZKSocket::setSystemError(int number) {
    setError(ZKError(errorDomain, number, qt_error_string(number)));
}

void ZKSocket::setNotConnectedError() {
    setError(ZKError(errorDomain, errno, QStringLiteral("socket is not connected")));
}

void ZKSocket::clearError() {
    std::lock_guard locker(m_errorLock);
    m_error.reset();
}

void ZKSocket::connectToHost(const QString &host, qint32 port) {
    clearError();
    disconnect(); // a socket is meant for one connection; never leak an earlier one
    const QByteArray service = QByteArray::number(port);
    const QByteArray name = host.toUtf8();

    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    if (::getaddrinfo(name.constData(), service.constData(), &hints, &addresses) != 0 ||
        !addresses) {
        // The code is errno as it stands, not the resolver's own result.
        setError(
            ZKError(errorDomain, errno, QStringLiteral("Unrecognised host name '%1'").arg(host)));
        if (addresses) {
            ::freeaddrinfo(addresses);
        }
        return;
    }

    // A name with both kinds of address often has one that nothing listens
    // on (a server bound to 127.0.0.1 behind "localhost"): the next is tried.
    for (const addrinfo *address = addresses; address; address = address->ai_next) {
        disconnect();
        m_socketDescriptor =
            ::socket(address->ai_family, address->ai_socktype | SOCK_CLOEXEC, address->ai_protocol);
        if (m_socketDescriptor == -1) {
            setSystemError(errno);
            continue;
        }
        timeval limit{};
        limit.tv_sec = downloadTimeoutSeconds();
        limit.tv_usec = 0;
        ::setsockopt(m_socketDescriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        ::setsockopt(m_socketDescriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);

        int result = 0;
        do {
            result = ::connect(m_socketDescriptor, address->ai_addr, address->ai_addrlen);
        } while (result == -1 && errno == EINTR);
        if (result == 0) {
            clearError();
            break;
        }
        // The last descriptor stays open on purpose: see the header.
        setSystemError(errno);
    }
    ::freeaddrinfo(addresses);
}

QString ZKSocket::peerAddress() const {
    if (m_socketDescriptor == -1) {
        return {};
    }
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    char text[NI_MAXHOST] = {};
    if (::getpeername(m_socketDescriptor, reinterpret_cast<sockaddr *>(&address), &length) != 0 ||
        ::getnameinfo(reinterpret_cast<sockaddr *>(&address), length, text, sizeof text, nullptr, 0,
                      NI_NUMERICHOST) != 0) {
        return {};
    }
    return QString::fromLatin1(text);
}

void ZKSocket::disconnect() {
    if (m_socketDescriptor != -1) {
        ::close(m_socketDescriptor);
    }
    m_socketDescriptor = -1;
}

void ZKSocket::send(const QByteArray &data, int flags) {
    clearError();
    if (m_socketDescriptor == -1) {
        setNotConnectedError();
        return;
    }
    // MSG_NOSIGNAL: a peer that has gone away must give an error, not kill
    // the process with SIGPIPE.
    const char *remaining = data.constData();
    size_t left = size_t(data.size());
    while (left > 0) {
        const ssize_t sent = ::send(m_socketDescriptor, remaining, left, flags | MSG_NOSIGNAL);
        if (sent == -1) {
            if (errno == EINTR) {
                continue;
            }
            setSystemError(errno);
            return;
        }
        remaining += sent;
        left -= size_t(sent);
    }
}

void ZKSocket::sendData(const QByteArray &data) {
    send(data, 0);
}

void ZKSocket::sendString(const QString &string) {
    sendData(string.toUtf8());
}

void ZKSocket::sendOutOfBandData(const QByteArray &data) {
    send(data, MSG_OOB);
}

void ZKSocket::sendOutOfBandString(const QString &string) {
    sendOutOfBandData(string.toUtf8());
}

std::optional<QByteArray> ZKSocket::receiveDataOfMaximumLength(quint64 length) {
    clearError();
    if (m_socketDescriptor == -1) {
        setNotConnectedError();
        return std::nullopt;
    }
    QByteArray buffer(qsizetype(std::min(length, maximumReceiveLength)), Qt::Uninitialized);
    ssize_t received = 0;
    do {
        received = ::recv(m_socketDescriptor, buffer.data(), size_t(buffer.size()), 0);
    } while (received == -1 && errno == EINTR);
    if (received == -1) {
        setSystemError(errno);
        return std::nullopt;
    }
    buffer.truncate(qsizetype(received));
    if (received == 0 && length != 0) {
        disconnect(); // the peer closed the stream
    }
    return buffer;
}

std::optional<QByteArray> ZKSocket::receiveData() {
    return receiveDataOfMaximumLength(standardReceiveLength);
}

std::optional<QString> ZKSocket::receiveString() {
    const std::optional<QByteArray> data = receiveData();
    if (!data) {
        return std::nullopt;
    }
    return decodeUtf8(*data);
}

std::optional<QByteArray> ZKSocket::receiveRemainingData() {
    clearError();
    if (m_socketDescriptor == -1) {
        setNotConnectedError();
        return std::nullopt;
    }
    QByteArray gathered;
    char buffer[standardReceiveLength];
    for (;;) {
        const ssize_t received = ::recv(m_socketDescriptor, buffer, sizeof buffer, MSG_WAITALL);
        if (received > 0) {
            if (gathered.size() + received > maximumRemainingLength) {
                setSystemError(EMSGSIZE);
                return gathered;
            }
            gathered.append(buffer, qsizetype(received));
            continue;
        }
        if (received == 0) {
            disconnect();
            return gathered;
        }
        if (errno == EINTR) {
            continue;
        }
        // The caller decides from error() whether what came is usable.
        setSystemError(errno);
        return gathered;
    }
}

std::optional<QString> ZKSocket::receiveRemainingDataAsString() {
    const std::optional<QByteArray> data = receiveRemainingData();
    if (!data) {
        return std::nullopt;
    }
    return decodeUtf8(*data);
}

bool ZKSocket::hasMoreData() const {
    if (m_socketDescriptor == -1) {
        return false;
    }
    const int saved = errno;
    char scratch[peekLength];
    const ssize_t waiting =
        ::recv(m_socketDescriptor, scratch, sizeof scratch, MSG_PEEK | MSG_DONTWAIT);
    errno = saved;
    return waiting > 0;
}

bool ZKSocket::waitForMoreData() const {
    if (m_socketDescriptor == -1) {
        return false;
    }
    const int saved = errno;
    char scratch = 0;
    ssize_t waiting = 0;
    do {
        waiting = ::recv(m_socketDescriptor, &scratch, 1, MSG_PEEK);
    } while (waiting == -1 && errno == EINTR);
    errno = saved;
    return waiting > 0;
}
