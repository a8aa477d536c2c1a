// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOperationQueue.h"

#include "ZKMainQueue.h"
#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <deque>
#include <vector>

// The process-wide pool. Never destroyed: workers may still be lingering
// while the program exits.
class ZKOperationQueueWorkers {
public:
    static ZKOperationQueueWorkers &shared() {
        static auto *pool = new ZKOperationQueueWorkers;
        return *pool;
    }

    void submit(ZKOperationQueue *queue) {
        std::lock_guard locker(m_lock);
        m_waiting.push_back(queue);
        // An idle worker already woken for an earlier queue does not count:
        // a burst of queues must not all wait for that one.
        if (qsizetype(m_waiting.size()) <= m_idleWorkers) {
            m_wake.notify_one();
        } else if (m_workers < ZKOperationQueue::maximumWorkers) {
            startWorker();
        }
    }

    // Takes the queue out of the list when no worker has picked it yet.
    bool withdraw(ZKOperationQueue *queue) {
        std::lock_guard locker(m_lock);
        const auto found = std::find(m_waiting.begin(), m_waiting.end(), queue);
        if (found == m_waiting.end()) {
            return false;
        }
        m_waiting.erase(found);
        return true;
    }

    int workerCount() {
        std::lock_guard locker(m_lock);
        return m_workers;
    }

private:
    // Long enough to carry a task from one step to the next on one thread,
    // short enough that a finished queue soon holds none.
    static constexpr auto linger = std::chrono::milliseconds(100);

    // With m_lock held.
    void startWorker() {
        // Threads that have said they end hold no lock: only their last
        // instructions are left to wait for.
        for (QThread *ended : std::exchange(m_ended, {})) {
            ended->wait();
            ZKThreadSanitizer::acquire(ended);
            delete ended;
        }
        ++m_workers;
        // A QThread rather than a bare thread: an operation may run a
        // QEventLoop (network replies), which needs the thread's dispatcher.
        QThread *thread = QThread::create([this] { work(); });
        thread->setObjectName(QStringLiteral("ZKOperationQueue"));
        thread->start();
    }

    void work() {
        std::unique_lock locker(m_lock);
        for (;;) {
            ++m_idleWorkers;
            const bool woken =
                m_wake.wait_for(locker, linger, [this] { return !m_waiting.empty(); });
            --m_idleWorkers;
            if (!woken) {
                --m_workers;
                m_ended.push_back(QThread::currentThread());
                ZKThreadSanitizer::release(QThread::currentThread());
                return;
            }
            ZKOperationQueue *queue = m_waiting.front();
            m_waiting.pop_front();
            // Marked running before the pool lets go, so a waiter that finds
            // it gone from the list knows a worker has it.
            {
                std::lock_guard queueLocker(queue->m_lock);
                queue->m_service = ZKOperationQueue::Service::Running;
            }
            locker.unlock();
            queue->serve();
            locker.lock();
        }
    }

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<ZKOperationQueue *> m_waiting;
    std::vector<QThread *> m_ended;
    int m_workers = 0;
    int m_idleWorkers = 0;
};

ZKOperationQueue::ZKOperationQueue() = default;

ZKOperationQueue::~ZKOperationQueue() {
    cancelAllOperations();
    waitUntilAllOperationsAreFinished();
}

int ZKOperationQueue::workerCount() {
    return ZKOperationQueueWorkers::shared().workerCount();
}

void ZKOperationQueue::addOperation(std::shared_ptr<ZKOperation> operation) {
    if (!operation) {
        return;
    }
    bool submit = false;
    {
        std::lock_guard locker(m_lock);
        m_pending.push_back(std::move(operation));
        if (m_service == Service::Idle) {
            m_service = Service::Waiting;
            submit = true;
        }
    }
    if (submit) {
        ZKOperationQueueWorkers::shared().submit(this);
    }
}

void ZKOperationQueue::cancelAllOperations() {
    std::lock_guard locker(m_lock);
    for (const auto &operation : m_pending) {
        operation->cancel();
    }
    if (m_current) {
        m_current->cancel();
    }
}

bool ZKOperationQueue::waitUntilAllOperationsAreFinished(int timeoutMsec) {
    using Clock = std::chrono::steady_clock;
    const bool onMainThread = ZKMainQueue::isMainThread();
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMsec);
    std::unique_lock locker(m_lock);
    for (;;) {
        if (m_service == Service::Idle) {
            return true;
        }
        if (timeoutMsec >= 0 && Clock::now() >= deadline) {
            return false;
        }
        if (!onMainThread && m_service == Service::Waiting) {
            // The pool's lock comes before a queue's.
            locker.unlock();
            if (ZKOperationQueueWorkers::shared().withdraw(this)) {
                {
                    std::lock_guard running(m_lock);
                    m_service = Service::Running;
                }
                serve();
            }
            locker.lock();
            continue;
        }
        if (onMainThread) {
            m_idle.wait_for(locker, std::chrono::milliseconds(5));
            locker.unlock();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
            locker.lock();
        } else if (timeoutMsec >= 0) {
            m_idle.wait_until(locker, deadline);
        } else {
            m_idle.wait(locker);
        }
    }
}

int ZKOperationQueue::operationCount() const {
    std::lock_guard locker(m_lock);
    return int(m_pending.size()) + (m_current ? 1 : 0);
}

void ZKOperationQueue::serve() {
    std::unique_lock locker(m_lock);
    while (!m_pending.empty()) {
        m_current = m_pending.takeFirst();
        auto operation = m_current;
        locker.unlock();
        operation->start();
        locker.lock();
        m_current.reset();
        // The last reference may hold endpoints whose teardown does I/O:
        // let it go outside the lock.
        locker.unlock();
        operation.reset();
        locker.lock();
    }
    m_service = Service::Idle;
    // Notified under the lock: a waiter may destroy the queue as soon as it
    // can take the lock again.
    m_idle.notify_all();
}
