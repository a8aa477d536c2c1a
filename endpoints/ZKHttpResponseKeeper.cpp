// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHttpResponseKeeper.h"

#include "ZKLogging.h"

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
    , m_wake(new QTimer) {
    m_thread->setObjectName(QStringLiteral("ZKHttpResponseKeeper"));
    m_wake->setSingleShot(true);
    m_wake->setInterval(0);
    QObject::connect(m_wake, &QTimer::timeout, m_wake, [this] { runWork(); });
    m_wake->moveToThread(m_thread);
    m_thread->start();
    // Ended with the application, while what its event loop uses is there.
    qAddPostRoutine([] { shared().stop(); });
}

void ZKHttpResponseKeeper::runThere(std::function<void()> work, bool wait) {
    quint64 number = 0;
    {
        std::lock_guard locker(m_lock);
        m_work.push_back(std::move(work));
        number = ++m_workHandedOver;
    }
    QMetaObject::invokeMethod(m_wake, "start", Qt::QueuedConnection);
    if (wait) {
        std::unique_lock locker(m_lock);
        m_workRan.wait(locker, [&] { return m_workDone >= number; });
    }
}

void ZKHttpResponseKeeper::runWork() {
    for (;;) {
        std::vector<std::function<void()>> work;
        {
            std::lock_guard locker(m_lock);
            work.swap(m_work);
        }
        if (work.empty()) {
            return;
        }
        for (const std::function<void()> &item : work) {
            item();
        }
        {
            std::lock_guard locker(m_lock);
            m_workDone += work.size();
        }
        m_workRan.notify_all();
    }
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
    runThere(
        [&left] {
            for (const Response &response : std::as_const(left)) {
                close(response);
            }
        },
        true);
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
    runThere(
        [this, ticket, lifetime] {
            QTimer::singleShot(lifetime, m_wake, [this, ticket] { expire(ticket); });
        },
        false);
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
        QNetworkAccessManager *manager = response.manager;
        runThere([manager, here] { manager->moveToThread(here); }, true);
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
    runThere([response] { close(response); }, false);
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
