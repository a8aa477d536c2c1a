// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOperationQueue.h"

#include "ZKMainQueue.h"
#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <chrono>

ZKOperationQueue::ZKOperationQueue() {
    // A QThread rather than a bare thread: an operation may run a QEventLoop
    // (network replies), which needs the thread's event dispatcher.
    m_thread = QThread::create([this] {
        run();
        ZKThreadSanitizer::release(this);
    });
    m_thread->setObjectName(QStringLiteral("ZKOperationQueue"));
    m_thread->start();
}

ZKOperationQueue::~ZKOperationQueue() {
    cancelAllOperations();
    {
        std::lock_guard locker(m_lock);
        m_stopping = true;
    }
    m_wakeWorker.notify_all();
    while (!m_thread->wait(10)) {
        if (ZKMainQueue::isMainThread()) {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
        }
    }
    ZKThreadSanitizer::acquire(this);
    delete m_thread;
}

void ZKOperationQueue::addOperation(std::shared_ptr<ZKOperation> operation) {
    if (!operation) {
        return;
    }
    {
        std::lock_guard locker(m_lock);
        m_pending.push_back(std::move(operation));
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
        m_wakeWorker.wait(locker, [this] { return m_stopping || !m_pending.empty(); });
        if (m_pending.empty()) {
            return; // stopping, and nothing left to finish
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
