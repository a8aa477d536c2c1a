// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKFtpErrors.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <mutex>
#include <optional>

#include <sys/types.h>

using SSL = struct ssl_st;

// A small blocking TCP socket, IPv6 or IPv4: the FTP client's control connection and
// each of its passive data connections. Every call clears error() when it
// starts and leaves the reason there when it fails; nothing throws.
//
// After startTls() every send and receive goes through TLS (OpenSSL), with
// the server's certificate checked against the system's trusted ones and the
// host name, or found among the certificates the user trusts by fingerprint.
//
// Sends and receives are bounded by the "downloadTimeout" preference, applied
// when the socket connects; one that runs out leaves ETIMEDOUT, saying that
// the server did not answer in time. The connect itself has no time limit of
// its own.
class ZKSocket {
public:
    static const QString errorDomain;

    ZKSocket();
    ~ZKSocket();

    ZKSocket(const ZKSocket &) = delete;
    ZKSocket &operator=(const ZKSocket &) = delete;

    // Resolves host and connects to the first of its addresses, IPv6 or
    // IPv4, that accepts. When none does, the last one's descriptor stays
    // open, so that the socket still counts as connected and the next send
    // or receive reports the system's error.
    void connectToHost(const QString &host, qint32 port);
    // Like connectToHost, for a numeric address only ("127.0.0.1", "::1"):
    // nothing is looked up, and anything else is refused with error() set.
    void connectToAddress(const QString &address, qint32 port);
    // The numeric address of the connected peer ("::1", "127.0.0.1"); empty
    // when there is none.
    QString peerAddress() const;
    // Ends TLS when it was started (close_notify), then closes the
    // descriptor; leaves error() alone.
    void disconnect();

    // The TLS handshake on the connected socket, as a client of host (the
    // name the certificate must carry). With resumeFrom, the session of that
    // socket's TLS is offered for reuse, as FTP servers ask of data
    // connections. False, with error() set, when the handshake fails or the
    // certificate is not trusted; the socket is then disconnected.
    bool startTls(const QString &host, const ZKSocket *resumeFrom = nullptr);
    bool isEncrypted() const { return m_ssl != nullptr; }
    // The end of an upload over TLS: close_notify, the end of our half, then
    // what the peer still sends (session tickets, its own close) is read
    // until it closes, for at most the time limit. Closing with such bytes
    // unread would reset the connection, and a peer may then lose the end
    // of what it had not yet read. Without TLS nothing happens here.
    void finishSending();
    // Waits until the peer has acknowledged every byte sent, for as long as
    // they keep leaving: a slow link is no failure, a silent one is, once
    // the time limit passes without progress (error() then says so).
    bool waitUntilSent();
    // Whether the last handshake reused the offered session.
    bool isSessionReused() const;

    void sendData(const QByteArray &data);
    void sendString(const QString &string);
    // Every send call carries the urgent flag.
    void sendOutOfBandData(const QByteArray &data);
    void sendOutOfBandString(const QString &string);

    // One receive call. An empty result means the peer closed the stream (the
    // socket is then disconnected); nullopt means a failure, see error().
    std::optional<QByteArray> receiveDataOfMaximumLength(quint64 length);
    std::optional<QByteArray> receiveData();
    // nullopt also when the bytes are not valid UTF-8.
    std::optional<QString> receiveString();
    // Everything up to the end of the stream. After a failure (error() set)
    // the bytes gathered until then are still returned.
    std::optional<QByteArray> receiveRemainingData();
    // nullopt when nothing could be received or the bytes are not valid UTF-8.
    std::optional<QString> receiveRemainingDataAsString();

    // Whether at least one byte is waiting; never blocks, never consumes,
    // never touches error().
    bool hasMoreData() const;
    // Whether a byte comes before the end of the stream: waits for one or
    // the other (up to the time limit, which answers false), never consumes,
    // never touches error().
    bool waitForMoreData() const;
    // Whether a receive would return before deadline (a byte, the end of
    // the stream, or a failure, also that of a socket not connected): waits
    // for it, never consumes, never touches error().
    bool waitUntilReadable(std::chrono::steady_clock::time_point deadline) const;
    // Connected, with nothing waiting and the peer's end still open: a
    // connection left unused that the peer has neither closed nor talked on
    // (a time-out notice, a TLS alert). Never blocks, never consumes.
    bool isIdle() const;

    bool isConnected() const { return m_socketDescriptor != -1; }
    int socketDescriptor() const { return m_socketDescriptor; }

    ZKOptionalError error() const;

    // Kept for the callers; the effective limit is the preference.
    double timeout() const { return m_timeout; }
    void setTimeout(double seconds) { m_timeout = seconds; }

    // The "downloadTimeout" preference in whole seconds; 5 when it is unset
    // or not positive, since 0 would mean waiting for ever.
    static qint32 downloadTimeoutSeconds();

    // Strict decoding: nullopt for bytes that are not valid UTF-8.
    static std::optional<QString> decodeUtf8(const QByteArray &bytes);

    // Frees what TLS keeps for the calling thread. A thread that ends after
    // the library's own clean-up at exit would leave it behind, so one that
    // may live that long calls this once it closed its connections.
    static void releaseThreadState();

private:
    void connectWithFlags(const QString &host, qint32 port, int flags);
    void send(const QByteArray &data, int flags);
    // One receive, through TLS when it is on: like recv, -1 with errno set.
    ssize_t receiveInto(char *buffer, size_t length, int flags);
    // The reason the library gives fills the message's last argument.
    void setTlsError(ZKFtpErrors::Message message, const QStringList &arguments, int result);
    void endTls();
    void setError(ZKError error);
    // EAGAIN after a blocking call is the socket's time limit running out.
    void setSystemError(int number, bool receiving = true);
    void setTimeoutError(bool receiving);
    void setNotConnectedError();
    void clearError();

    int m_socketDescriptor = -1;
    SSL *m_ssl = nullptr;
    double m_timeout = 0;
    // The limit applied when the socket connected, for the message.
    qint32 m_limitSeconds = 0;
    mutable std::mutex m_errorLock;
    ZKOptionalError m_error;
};
