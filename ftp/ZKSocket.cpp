// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSocket.h"

#include "ZKPreferenceKeys.h"
#include "ZKTrustedCertificates.h"
#include "ZKUserDefaults.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <thread>

#include <csignal>

#include <linux/sockios.h>
#include <netdb.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <QHostAddress>
#include <QStringDecoder>

namespace {

constexpr quint64 standardReceiveLength = 4096;
constexpr size_t peekLength = 100;
// One receive never asks for more than this, whatever the caller wants: the
// buffer is allocated before the call.
constexpr quint64 maximumReceiveLength = 1 << 20;
// A listing is held in memory whole; a server that never stops sending must
// not take all of it.
constexpr qsizetype maximumRemainingLength = 64 * 1024 * 1024;

// One context for every connection of the process: the system's trusted
// certificates are read once.
SSL_CTX *clientContext() {
    static SSL_CTX *const context = [] {
        // OpenSSL writes to the socket itself, without MSG_NOSIGNAL: a peer
        // gone away must end in an error, not in SIGPIPE killing the program.
        struct sigaction current {};
        if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
            ::signal(SIGPIPE, SIG_IGN);
        }
        SSL_CTX *made = SSL_CTX_new(TLS_client_method());
        SSL_CTX_set_min_proto_version(made, TLS1_2_VERSION);
        SSL_CTX_set_default_verify_paths(made);
        // Many servers close data connections without close_notify; how
        // much came is judged by the transfer's size, as without TLS.
        SSL_CTX_set_options(made, SSL_OP_IGNORE_UNEXPECTED_EOF);
        SSL_CTX_set_mode(made, SSL_MODE_AUTO_RETRY);
        return made;
    }();
    return context;
}

QString fingerprintOf(X509 *certificate) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!certificate || X509_digest(certificate, EVP_sha256(), digest, &length) != 1) {
        return {};
    }
    return QByteArray(reinterpret_cast<const char *>(digest), int(length)).toHex(':').toUpper();
}

} // namespace

const QString ZKSocket::errorDomain = QStringLiteral("com.velmarind.socket.ErrorDomain");

ZKSocket::ZKSocket() = default;

ZKSocket::~ZKSocket() {
    disconnect();
}

qint32 ZKSocket::downloadTimeoutSeconds() {
    const qint64 seconds =
        ZKUserDefaults::standard().integerForKey(ZKPreferenceKeys::downloadTimeout);
    if (seconds <= 0) {
        return ZKPreferenceKeys::defaultDownloadTimeout;
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

void ZKSocket::setSystemError(int number, bool receiving) {
    if (number == EAGAIN || number == EWOULDBLOCK) {
        setTimeoutError(receiving);
        return;
    }
    setError(ZKError(errorDomain, number, qt_error_string(number)));
}

// The system's words for it ("Resource temporarily unavailable") would not
// tell the user that the server went silent.
void ZKSocket::setTimeoutError(bool receiving) {
    setError(
        ZKFtpErrors::error(receiving ? ZKFtpErrors::ReceiveTimedOut : ZKFtpErrors::SendTimedOut,
                           {QString::number(m_limitSeconds)}));
}

void ZKSocket::setNotConnectedError() {
    const int number = errno;
    setError(ZKFtpErrors::error(ZKFtpErrors::SocketNotConnected, number, {}));
}

void ZKSocket::clearError() {
    std::lock_guard locker(m_errorLock);
    m_error.reset();
}

void ZKSocket::connectToHost(const QString &host, qint32 port) {
    connectWithFlags(host, port, 0);
}

void ZKSocket::connectToAddress(const QString &address, qint32 port) {
    connectWithFlags(address, port, AI_NUMERICHOST);
}

void ZKSocket::connectWithFlags(const QString &host, qint32 port, int flags) {
    clearError();
    disconnect(); // a socket is meant for one connection; never leak an earlier one
    const QByteArray service = QByteArray::number(port);
    const QByteArray name = host.toUtf8();

    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo *addresses = nullptr;
    if (port < 0 || port > 65535 ||
        ::getaddrinfo(name.constData(), service.constData(), &hints, &addresses) != 0 ||
        !addresses) {
        // The code is errno as it stands, not the resolver's own result.
        const int number = errno;
        setError(ZKFtpErrors::error((flags & AI_NUMERICHOST) ? ZKFtpErrors::NotNetworkAddress
                                                             : ZKFtpErrors::UnknownHostName,
                                    number, {host}));
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
        m_limitSeconds = downloadTimeoutSeconds();
        timeval limit{};
        limit.tv_sec = m_limitSeconds;
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
    endTls();
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
    while (left > 0 && m_ssl) {
        const int sent = SSL_write(m_ssl, remaining, int(std::min<size_t>(left, 1 << 30)));
        if (sent <= 0) {
            setTlsError(ZKFtpErrors::SendingOverTlsFailed, {}, sent);
            return;
        }
        remaining += sent;
        left -= size_t(sent);
    }
    while (left > 0) {
        const ssize_t sent = ::send(m_socketDescriptor, remaining, left, flags | MSG_NOSIGNAL);
        if (sent == -1) {
            if (errno == EINTR) {
                continue;
            }
            setSystemError(errno, false);
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
    received = receiveInto(buffer.data(), size_t(buffer.size()), 0);
    if (received == -1) {
        if (!m_ssl || !error()) {
            setSystemError(errno);
        }
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
        const ssize_t received = receiveInto(buffer, sizeof buffer, MSG_WAITALL);
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
        // The caller decides from error() whether what came is usable.
        if (!m_ssl || !error()) {
            setSystemError(errno);
        }
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
    if (m_ssl && SSL_pending(m_ssl) > 0) {
        return true;
    }
    const int saved = errno;
    char scratch[peekLength];
    const ssize_t waiting =
        ::recv(m_socketDescriptor, scratch, sizeof scratch, MSG_PEEK | MSG_DONTWAIT);
    errno = saved;
    return waiting > 0;
}

bool ZKSocket::isIdle() const {
    if (m_socketDescriptor == -1 || (m_ssl && SSL_pending(m_ssl) > 0)) {
        return false;
    }
    const int saved = errno;
    char scratch = 0;
    const ssize_t waiting = ::recv(m_socketDescriptor, &scratch, 1, MSG_PEEK | MSG_DONTWAIT);
    const bool idle = waiting == -1 && (errno == EAGAIN || errno == EWOULDBLOCK);
    errno = saved;
    return idle;
}

bool ZKSocket::waitForMoreData() const {
    if (m_socketDescriptor == -1) {
        return false;
    }
    const int saved = errno;
    char scratch = 0;
    ssize_t waiting = 0;
    if (m_ssl) {
        // What is on the wire may be only the end of TLS, not data.
        waiting = SSL_pending(m_ssl) > 0 ? 1 : SSL_peek(m_ssl, &scratch, 1);
        ERR_clear_error();
        errno = saved;
        return waiting > 0;
    }
    do {
        waiting = ::recv(m_socketDescriptor, &scratch, 1, MSG_PEEK);
    } while (waiting == -1 && errno == EINTR);
    errno = saved;
    return waiting > 0;
}

bool ZKSocket::waitUntilReadable(std::chrono::steady_clock::time_point deadline) const {
    if (m_socketDescriptor == -1) {
        return true; // the receive that follows says why nothing comes
    }
    if (m_ssl && SSL_pending(m_ssl) > 0) {
        return true;
    }
    const int saved = errno;
    int ready = 0;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd state{m_socketDescriptor, POLLIN, 0};
        ready = ::poll(&state, 1, int(std::clamp<qint64>(left.count(), 0, 1 << 30)));
    } while (ready == -1 && errno == EINTR);
    errno = saved;
    // A failure of poll itself is left to the receive that follows.
    return ready != 0;
}

ssize_t ZKSocket::receiveInto(char *buffer, size_t length, int flags) {
    if (!m_ssl) {
        ssize_t received = 0;
        do {
            received = ::recv(m_socketDescriptor, buffer, length, flags);
        } while (received == -1 && errno == EINTR);
        return received;
    }
    // TLS hands over one record at a time; MSG_WAITALL is kept by reading on.
    size_t filled = 0;
    const size_t wanted = (flags & MSG_WAITALL) ? length : 1;
    while (filled < wanted) {
        const int received =
            SSL_read(m_ssl, buffer + filled, int(std::min<size_t>(length - filled, 1 << 30)));
        if (received > 0) {
            filled += size_t(received);
            continue;
        }
        if (SSL_get_error(m_ssl, received) == SSL_ERROR_ZERO_RETURN) {
            break; // the end of the stream
        }
        if (filled > 0) {
            break; // the failure shows at the next receive
        }
        setTlsError(ZKFtpErrors::ReceivingOverTlsFailed, {}, received);
        return -1;
    }
    return ssize_t(filled);
}

void ZKSocket::setTlsError(ZKFtpErrors::Message message, const QStringList &arguments, int result) {
    const int savedErrno = errno;
    const int kind = SSL_get_error(m_ssl, result);
    const unsigned long queued = ERR_get_error();
    ERR_clear_error();
    if (kind == SSL_ERROR_WANT_READ || kind == SSL_ERROR_WANT_WRITE) {
        // The time limit of the socket ran out.
        setTimeoutError(kind == SSL_ERROR_WANT_READ);
    } else if (kind == SSL_ERROR_SYSCALL && queued == 0 && savedErrno != 0) {
        setSystemError(savedErrno);
    } else {
        char reason[256] = {};
        ERR_error_string_n(queued, reason, sizeof reason);
        setError(ZKFtpErrors::error(
            message,
            arguments + QStringList{queued ? QString::fromLatin1(reason)
                                           : ZKFtpErrors::text(ZKFtpErrors::ConnectionCut)}));
    }
    errno = savedErrno;
}

bool ZKSocket::startTls(const QString &host, const ZKSocket *resumeFrom) {
    clearError();
    if (m_socketDescriptor == -1) {
        setNotConnectedError();
        return false;
    }
    endTls();
    m_ssl = SSL_new(clientContext());
    SSL_set_fd(m_ssl, m_socketDescriptor);
    const QByteArray name = host.toUtf8();
    if (QHostAddress(host).isNull()) {
        SSL_set_tlsext_host_name(m_ssl, name.constData());
        SSL_set1_host(m_ssl, name.constData());
    } else {
        X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(m_ssl), name.constData());
    }
    if (resumeFrom && resumeFrom->m_ssl) {
        if (SSL_SESSION *session = SSL_get1_session(resumeFrom->m_ssl)) {
            SSL_set_session(m_ssl, session);
            SSL_SESSION_free(session);
        }
    }
    // The verdict is read after the handshake, so that a certificate the
    // user trusts by its fingerprint passes too.
    SSL_set_verify(m_ssl, SSL_VERIFY_NONE, nullptr);
    int result = 0;
    do {
        errno = 0;
        result = SSL_connect(m_ssl);
    } while (result != 1 && SSL_get_error(m_ssl, result) == SSL_ERROR_SYSCALL && errno == EINTR);
    if (result != 1) {
        setTlsError(ZKFtpErrors::TlsHandshakeFailed, {host}, result);
        disconnect();
        return false;
    }
    X509 *certificate = SSL_get1_peer_certificate(m_ssl);
    const long verdict = SSL_get_verify_result(m_ssl);
    const QString fingerprint = fingerprintOf(certificate);
    X509_free(certificate);
    if (fingerprint.isEmpty() ||
        (verdict != X509_V_OK && !ZKTrustedCertificates::isTrusted(fingerprint))) {
        const QString reason = fingerprint.isEmpty()
                                   ? ZKFtpErrors::text(ZKFtpErrors::NoCertificate)
                                   : QString::fromLatin1(X509_verify_cert_error_string(verdict));
        setError(ZKError(errorDomain, EPROTO,
                         ZKTrustedCertificates::refusal(host, reason, fingerprint)));
        disconnect();
        return false;
    }
    return true;
}

void ZKSocket::finishSending() {
    if (!m_ssl || m_socketDescriptor == -1) {
        return;
    }
    SSL_shutdown(m_ssl);
    SSL_free(m_ssl);
    m_ssl = nullptr;
    ERR_clear_error();
    ::shutdown(m_socketDescriptor, SHUT_WR);
    const int saved = errno;
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(downloadTimeoutSeconds());
    char scratch[standardReceiveLength];
    while (std::chrono::steady_clock::now() < deadline) {
        const ssize_t received = ::recv(m_socketDescriptor, scratch, sizeof scratch, 0);
        if (received == 0 || (received == -1 && errno != EINTR)) {
            break;
        }
    }
    errno = saved;
}

bool ZKSocket::waitUntilSent() {
    using namespace std::chrono;
    const auto limit = seconds(downloadTimeoutSeconds());
    auto progressed = steady_clock::now();
    int previous = std::numeric_limits<int>::max();
    while (m_socketDescriptor != -1) {
        // A reset connection keeps its queue for ever: no need to wait.
        pollfd state{m_socketDescriptor, 0, 0};
        if (::poll(&state, 1, 0) == 1 && (state.revents & (POLLERR | POLLHUP)) != 0) {
            int failure = 0;
            socklen_t length = sizeof failure;
            ::getsockopt(m_socketDescriptor, SOL_SOCKET, SO_ERROR, &failure, &length);
            setSystemError(failure != 0 ? failure : ECONNRESET);
            return false;
        }
        int pending = 0;
        if (::ioctl(m_socketDescriptor, SIOCOUTQ, &pending) != 0 || pending <= 0) {
            return true;
        }
        const auto now = steady_clock::now();
        if (pending < previous) {
            previous = pending;
            progressed = now;
        } else if (now - progressed >= limit) {
            setError(ZKFtpErrors::error(ZKFtpErrors::DataNeverTaken, {QString::number(pending)}));
            return false;
        }
        std::this_thread::sleep_for(milliseconds(10));
    }
    return true;
}

bool ZKSocket::isSessionReused() const {
    return m_ssl && SSL_session_reused(m_ssl) == 1;
}

void ZKSocket::releaseThreadState() {
    OPENSSL_thread_stop();
}

void ZKSocket::endTls() {
    if (!m_ssl) {
        return;
    }
    // One close_notify, without waiting for the peer's: the descriptor is
    // closed next anyway.
    if (m_socketDescriptor != -1) {
        SSL_shutdown(m_ssl);
    }
    SSL_free(m_ssl);
    m_ssl = nullptr;
    ERR_clear_error();
}
