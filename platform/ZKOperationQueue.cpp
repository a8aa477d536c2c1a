// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOperationQueue.h"

#include "ZKMainQueue.h"
#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <chrono>

namespace {

// Long enough to carry a task from one step to the next on one thread, short
// enough that a finished task soon holds none.
constexpr auto workerLinger = std::chrono::milliseconds(100);

} // namespace

ZKOperationQueue::ZKOperationQueue() = default;

ZKOperationQueue::~ZKOperationQueue() {
    cancelAllOperations();
    QThread *thread = nullptr;
    {
        std::lock_guard locker(m_lock);
        m_stopping = true;
        thread = m_thread;
        m_thread = nullptr;
    }
    m_wakeWorker.notify_all();
    if (!thread) {
        return;
    }
    while (!thread->wait(10)) {
        if (ZKMainQueue::isMainThread()) {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        }
    }
    ZKThreadSanitizer::acquire(this);
    delete thread;
}

void ZKOperationQueue::startWorker() {
    if (m_thread) {
        // The previous worker has said it ends and holds no lock: only its
        // last instructions are left to wait for.
        m_thread->wait();
        ZKThreadSanitizer::acquire(this);
        delete m_thread;
    }
    // A QThread rather than a bare thread: an operation may run a QEventLoop
    // (network replies), which needs the thread's event dispatcher.
    m_thread = QThread::create([this] {
        run();
        ZKThreadSanitizer::release(this);
    });
    m_thread->setObjectName(QStringLiteral("ZKOperationQueue"));
    m_workerRunning = true;
    m_thread->start();
}

void ZKOperationQueue::addOperation(std::shared_ptr<ZKOperation> operation) {
    if (!operation) {
        return;
    }
    {
        std::lock_guard locker(m_lock);
        m_pending.push_back(std::move(operation));
        if (!m_workerRunning && !m_stopping) {
            startWorker();
        }
    }
    m_wakeWorker.notify_one();
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
        if (m_pending.empty() && !m_current) {
            return true;
        }
        if (timeoutMsec >= 0 && Clock::now() >= deadline) {
            return false;
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

void ZKOperationQueue::run() {
    std::unique_lock locker(m_lock);
    for (;;) {
        m_wakeWorker.wait_for(locker, workerLinger,
                              [this] { return m_stopping || !m_pending.empty(); });
        if (m_pending.empty()) {
            // Stopping or idle, with nothing left to finish; the next
            // operation starts a new worker.
            m_workerRunning = false;
            return;
        }
        m_current = std::move(m_pending.front());
        m_pending.pop_front();
        auto operation = m_current;
        locker.unlock();
        operation->start();
        locker.lock();
        m_current.reset();
        if (m_pending.empty()) {
            m_idle.notify_all();
        }
        // The last reference may hold endpoints whose teardown does I/O:
        // let it go outside the lock.
        locker.unlock();
        operation.reset();
        locker.lock();
    }
}
