// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QPointer>
#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

class QNetworkAccessManager;
class QNetworkReply;
class QObject;
class QThread;
class QTimer;

// Answers whose head was read and whose body nobody has begun, kept for a
// few seconds for the next step of the same download. The copy that follows
// the look at a file's head then reads the body of the very request that
// brought the head, instead of asking again while the first answer's
// connection is torn down with megabytes of the file already on the way.
//
// A kept answer waits on a thread of its own. The thread that read its head
// may be busy with other work or gone by the time the answer is wanted, and
// a network manager's signals are delivered only where an event loop runs;
// this one runs one all the time and closes every answer that is not taken
// in time, without reading its body. Taking an answer moves its manager to
// the calling thread, where its signals arrive from then on.
class ZKHttpResponseKeeper {
public:
    struct Response {
        QNetworkAccessManager *manager = nullptr;
        QPointer<QNetworkReply> reply;
    };

    static ZKHttpResponseKeeper &shared();

    ZKHttpResponseKeeper(const ZKHttpResponseKeeper &) = delete;
    ZKHttpResponseKeeper &operator=(const ZKHttpResponseKeeper &) = delete;

    // Takes the manager, which must belong to the calling thread, with the
    // reply it made, and closes them once lifetime has passed unless they
    // were taken before. Answers the ticket to take them with; 0 when the
    // application is ending, and they were closed at once.
    quint64 keep(const Response &response, std::chrono::milliseconds lifetime);
    // Moves the manager to the calling thread and hands it back; nothing
    // when it was closed meanwhile.
    std::optional<Response> take(quint64 ticket);
    // Closes a kept answer now.
    void discard(quint64 ticket);
    // How many answers wait.
    int count() const;

private:
    ZKHttpResponseKeeper();
    // Closes every kept answer and ends the thread.
    void stop();
    // Runs on the keeper's thread, where the managers then belong.
    static void close(const Response &response);
    void expire(quint64 ticket);
    // Runs work on the keeper's thread; with wait, returns once it ran.
    // The work goes through m_lock and the thread is woken by a slot called
    // by name: a hand-over through a functor queued in Qt's event loop
    // would look like a race to ThreadSanitizer, which cannot see Qt's
    // locks.
    void runThere(std::function<void()> work, bool wait);
    // On the keeper's thread: runs what was handed over.
    void runWork();

    mutable std::mutex m_lock;
    QHash<quint64, Response> m_responses;
    quint64 m_lastTicket = 0;
    bool m_stopped = false;
    std::vector<std::function<void()>> m_work;
    quint64 m_workHandedOver = 0;
    quint64 m_workDone = 0;
    std::condition_variable m_workRan;
    QThread *m_thread = nullptr;
    // Lives on m_thread, where its time-outs run the work handed over.
    QTimer *m_wake = nullptr;
};
