// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHttpResponseKeeper.h"

#include "ZKLogging.h"
#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThread>
#include <QTimer>

ZKHttpResponseKeeper &ZKHttpResponseKeeper::shared() {
    // Never destroyed: its thread may still hold answers while the program
    // exits, and ends with the process.
    static auto *keeper = new ZKHttpResponseKeeper;
    return *keeper;
}

ZKHttpResponseKeeper::ZKHttpResponseKeeper()
    : m_thread(new QThread)
    , m_home(new QObject) {
    m_thread->setObjectName(QStringLiteral("ZKHttpResponseKeeper"));
    m_home->moveToThread(m_thread);
    m_thread->start();
    // Ended with the application, while what its event loop uses is there.
    qAddPostRoutine([] { shared().stop(); });
}

void ZKHttpResponseKeeper::stop() {
    QHash<quint64, Response> left;
    {
        std::lock_guard locker(m_lock);
        if (m_stopped) {
            return;
        }
        m_stopped = true;
        left.swap(m_responses);
    }
    ZKThreadSanitizer::release(this);
    QMetaObject::invokeMethod(
        m_home,
        [this, &left] {
            ZKThreadSanitizer::acquire(this);
            for (const Response &response : std::as_const(left)) {
                close(response);
            }
            ZKThreadSanitizer::release(this);
        },
        Qt::BlockingQueuedConnection);
    ZKThreadSanitizer::acquire(this);
    m_thread->quit();
    m_thread->wait();
}

quint64 ZKHttpResponseKeeper::keep(const Response &response, std::chrono::milliseconds lifetime) {
    quint64 ticket = 0;
    {
        std::lock_guard locker(m_lock);
        if (m_stopped) {
            // The application is ending: nothing will take it.
            close(response);
            return 0;
        }
        if (response.manager) {
            response.manager->moveToThread(m_thread);
        }
        ticket = ++m_lastTicket;
        m_responses.insert(ticket, response);
    }
    ZKThreadSanitizer::release(this);
    QMetaObject::invokeMethod(
        m_home,
        [this, ticket, lifetime] {
            ZKThreadSanitizer::acquire(this);
            QTimer::singleShot(lifetime, m_home, [this, ticket] { expire(ticket); });
        },
        Qt::QueuedConnection);
    return ticket;
}

std::optional<ZKHttpResponseKeeper::Response> ZKHttpResponseKeeper::take(quint64 ticket) {
    Response response;
    {
        std::lock_guard locker(m_lock);
        const auto found = m_responses.find(ticket);
        if (found == m_responses.end()) {
            return std::nullopt;
        }
        response = found.value();
        m_responses.erase(found);
    }
    QThread *here = QThread::currentThread();
    if (response.manager && here != m_thread) {
        // Only the thread an object belongs to may give it away.
        ZKThreadSanitizer::release(this);
        QMetaObject::invokeMethod(
            m_home,
            [this, &response, here] {
                ZKThreadSanitizer::acquire(this);
                response.manager->moveToThread(here);
                ZKThreadSanitizer::release(this);
            },
            Qt::BlockingQueuedConnection);
        ZKThreadSanitizer::acquire(this);
    }
    return response;
}

void ZKHttpResponseKeeper::discard(quint64 ticket) {
    Response response;
    {
        std::lock_guard locker(m_lock);
        const auto found = m_responses.find(ticket);
        if (found == m_responses.end()) {
            return;
        }
        response = found.value();
        m_responses.erase(found);
    }
    ZKThreadSanitizer::release(this);
    QMetaObject::invokeMethod(
        m_home,
        [this, response] {
            ZKThreadSanitizer::acquire(this);
            close(response);
        },
        Qt::QueuedConnection);
}

int ZKHttpResponseKeeper::count() const {
    std::lock_guard locker(m_lock);
    return int(m_responses.size());
}

void ZKHttpResponseKeeper::expire(quint64 ticket) {
    Response response;
    {
        std::lock_guard locker(m_lock);
        const auto found = m_responses.find(ticket);
        if (found == m_responses.end()) {
            return; // taken or discarded
        }
        response = found.value();
        m_responses.erase(found);
    }
    qCInfo(lcEndpoints) << "Closing an answer nobody took:"
                        << (response.reply ? response.reply->url().toDisplayString() : QString());
    close(response);
}

void ZKHttpResponseKeeper::close(const Response &response) {
    // Aborted, not read: the rest of the body is what keeping it must not
    // cost.
    if (response.reply) {
        response.reply->abort();
    }
    delete response.manager;
}
