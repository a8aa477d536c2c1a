// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>
#include <QString>
#include <QUrl>

#include <memory>
#include <mutex>

class QTcpSocket;
class ZKListenerThread;

// A web server on 127.0.0.1 that answers each path exactly as a test
// scripts it, including the ways real servers misbehave: going silent,
// dropping the connection in the middle of a body, sending more than they
// announced. It runs on a listener thread of its own (ZKListenerThread), so
// a reader waiting on the test's thread sees it as it would see a remote host.
class ZKScriptedHttpServer {
public:
    struct Response {
        // Status line and header lines, separated by CRLF, without the empty
        // line that ends the head. With servesRanges: extra header lines only.
        QByteArray head;
        QByteArray body;
        // Answer like a file server: 206 with Content-Range for a request
        // with "Range: bytes=N-", 200 for one without or for one whose
        // "If-Range" names another version than the head's ETag or
        // Last-Modified.
        bool servesRanges = false;
        // Silence of pauseMilliseconds before the head (pauseAfter -2) or
        // after that many body bytes; -1: no silence.
        qint64 pauseAfter = -1;
        int pauseMilliseconds = 0;
        // The connection is closed after that many body bytes; -1: never.
        qint64 dropAfter = -1;
        // The connection is closed after the body (an answer whose length
        // is not announced ends this way).
        bool closeAfterBody = false;
        // When above 0: the status line and the start of a header line that
        // never ends, one more byte of it every that many milliseconds, for
        // at most a minute; nothing of head or body is sent.
        int trickleMilliseconds = 0;
    };
    static constexpr qint64 pauseBeforeHead = -2;

    ZKScriptedHttpServer();
    ~ZKScriptedHttpServer();

    ZKScriptedHttpServer(const ZKScriptedHttpServer &) = delete;
    ZKScriptedHttpServer &operator=(const ZKScriptedHttpServer &) = delete;

    bool start();
    // Paths without a script are answered 404.
    void setResponse(const QString &path, const Response &response);
    QUrl url(const QString &path) const;

    // The heads of the requests received so far, in arrival order.
    QByteArrayList requests() const;
    // The Range header of each request for the path, in arrival order
    // (empty for a request without one).
    QByteArrayList rangesRequestedFor(const QString &path) const;
    // The same for any header.
    QByteArrayList headersRequestedFor(const QString &path, const QByteArray &name) const;
    void clearRequests();

private:
    void accept(QTcpSocket *socket);
    Response responseFor(const QByteArray &path) const;
    void recordRequest(const QByteArray &head);

    mutable std::mutex m_lock;
    QHash<QByteArray, Response> m_responses;
    QByteArrayList m_requests;
    std::unique_ptr<ZKListenerThread> m_listener;
};
