// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScriptedHttpServer.h"

#include "ZKListenerThread.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

struct Connection {
    QByteArray buffer;
    bool answering = false;
};

QByteArray headerValue(const QByteArray &head, const QByteArray &name) {
    const QByteArrayList lines = head.split('\n');
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name.toLower()) {
            return line.mid(colon + 1).trimmed();
        }
    }
    return {};
}

QByteArray pathOf(const QByteArray &head) {
    const QByteArrayList words = head.left(head.indexOf('\r')).split(' ');
    if (words.size() < 2) {
        return {};
    }
    const QByteArray target = words.at(1);
    const qsizetype query = target.indexOf('?');
    return query < 0 ? target : target.left(query);
}

// The head and body of a file server's answer to the request.
void answerAsFile(const QByteArray &request, ZKScriptedHttpServer::Response &response) {
    const QByteArray range = headerValue(request, "Range");
    qint64 first = 0;
    bool partial = false;
    if (range.startsWith("bytes=") && range.endsWith('-')) {
        first = range.mid(6, range.size() - 7).toLongLong(&partial);
    }
    // A range is served only of the version the client names, as a file
    // server does: the ETag among the scripted headers, else Last-Modified.
    const QByteArray ifRange = headerValue(request, "If-Range");
    if (partial && !ifRange.isEmpty()) {
        const QByteArray tag = headerValue(response.head, "ETag");
        partial = ifRange == (ifRange.startsWith('"') || ifRange.startsWith("W/")
                                  ? tag
                                  : headerValue(response.head, "Last-Modified"));
    }
    const qint64 total = response.body.size();
    QByteArray head;
    if (partial && first < total) {
        head = "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + QByteArray::number(first) +
               '-' + QByteArray::number(total - 1) + '/' + QByteArray::number(total) + "\r\n";
        response.body = response.body.mid(first);
    } else if (partial) {
        head = "HTTP/1.1 416 Range Not Satisfiable\r\nContent-Range: bytes */" +
               QByteArray::number(total) + "\r\n";
        response.body.clear();
    } else {
        head = "HTTP/1.1 200 OK\r\n";
    }
    head += "Content-Length: " + QByteArray::number(response.body.size());
    if (!response.head.isEmpty()) {
        head += "\r\n" + response.head;
    }
    response.head = head;
}

} // namespace

ZKScriptedHttpServer::ZKScriptedHttpServer() = default;

ZKScriptedHttpServer::~ZKScriptedHttpServer() {
    m_listener.reset(); // no connection may outlive the scripts it reads
}

// The connections and their timers all live and die on the listener's
// thread; the test thread only meets them under m_lock.
bool ZKScriptedHttpServer::start() {
    m_listener = std::make_unique<ZKListenerThread>(QHostAddress::LocalHost,
                                                    [this](QTcpSocket *socket) { accept(socket); });
    return m_listener->port() != 0;
}

void ZKScriptedHttpServer::setResponse(const QString &path, const Response &response) {
    std::lock_guard locker(m_lock);
    m_responses.insert(path.toUtf8(), response);
}

QUrl ZKScriptedHttpServer::url(const QString &path) const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_listener->port()).arg(path));
}

QByteArrayList ZKScriptedHttpServer::requests() const {
    std::lock_guard locker(m_lock);
    return m_requests;
}

QByteArrayList ZKScriptedHttpServer::rangesRequestedFor(const QString &path) const {
    return headersRequestedFor(path, "Range");
}

QByteArrayList ZKScriptedHttpServer::headersRequestedFor(const QString &path,
                                                         const QByteArray &name) const {
    QByteArrayList values;
    const QByteArray wanted = path.toUtf8();
    for (const QByteArray &request : requests()) {
        if (pathOf(request) == wanted) {
            values.append(headerValue(request, name));
        }
    }
    return values;
}

void ZKScriptedHttpServer::clearRequests() {
    std::lock_guard locker(m_lock);
    m_requests.clear();
}

void ZKScriptedHttpServer::recordRequest(const QByteArray &head) {
    std::lock_guard locker(m_lock);
    m_requests.append(head);
}

ZKScriptedHttpServer::Response ZKScriptedHttpServer::responseFor(const QByteArray &path) const {
    std::lock_guard locker(m_lock);
    const auto found = m_responses.constFind(path);
    if (found != m_responses.cend()) {
        return found.value();
    }
    Response missing;
    missing.head = "HTTP/1.1 404 Not Found\r\nContent-Length: 9";
    missing.body = "not found";
    return missing;
}

// Runs on the listener's thread.
void ZKScriptedHttpServer::accept(QTcpSocket *socket) {
    auto connection = std::make_shared<Connection>();
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);

    // Answers the requests in the buffer one after the other.
    auto serve = std::make_shared<std::function<void()>>();
    *serve = [this, socket, connection, weakServe = std::weak_ptr(serve)] {
        while (!connection->answering) {
            const qsizetype end = connection->buffer.indexOf("\r\n\r\n");
            if (end < 0) {
                return;
            }
            const QByteArray request = connection->buffer.left(end + 4);
            connection->buffer.remove(0, end + 4);
            recordRequest(request);
            Response response = responseFor(pathOf(request));
            if (response.servesRanges) {
                answerAsFile(request, response);
            }
            connection->answering = true;

            const QByteArray head = response.head + "\r\n\r\n";
            const qint64 size = response.body.size();
            auto finish = [socket, connection, response, weakServe] {
                if (response.closeAfterBody) {
                    socket->disconnectFromHost();
                    return;
                }
                connection->answering = false;
                if (auto next = weakServe.lock()) {
                    (*next)();
                }
            };
            if (response.trickleMilliseconds > 0) {
                socket->write("HTTP/1.1 200 OK\r\nX-Endless: ");
                auto *trickle = new QTimer(socket);
                const int limit = 60000 / response.trickleMilliseconds;
                QObject::connect(trickle, &QTimer::timeout, socket,
                                 [socket, trickle, limit, sent = 0]() mutable {
                                     socket->write("a");
                                     if (++sent >= limit) {
                                         trickle->stop();
                                     }
                                 });
                trickle->start(response.trickleMilliseconds);
                return;
            }
            if (response.dropAfter >= 0) {
                socket->write(head);
                socket->write(response.body.left(response.dropAfter));
                socket->disconnectFromHost();
                return;
            }
            if (response.pauseAfter == pauseBeforeHead) {
                QTimer::singleShot(response.pauseMilliseconds, socket,
                                   [socket, head, response, finish] {
                                       socket->write(head);
                                       socket->write(response.body);
                                       finish();
                                   });
                return;
            }
            socket->write(head);
            if (response.pauseAfter >= 0 && response.pauseAfter < size) {
                socket->write(response.body.left(response.pauseAfter));
                QTimer::singleShot(response.pauseMilliseconds, socket, [socket, response, finish] {
                    socket->write(response.body.mid(response.pauseAfter));
                    finish();
                });
                return;
            }
            socket->write(response.body);
            finish();
        }
    };
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket, connection, serve] {
        connection->buffer += socket->readAll();
        (*serve)();
    });
}
