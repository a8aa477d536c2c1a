// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKOperation.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

class QThread;

// A serial background queue: one worker thread runs the operations one at a
// time, in the order they were added. Each task owns one. The worker exists
// only while there is work: it starts with the first operation and ends once
// the queue has been idle for a tenth of a second, so a queue of many waiting tasks
// holds no threads.
class ZKOperationQueue {
public:
    ZKOperationQueue();
    ZKOperationQueue(const ZKOperationQueue &) = delete;
    ZKOperationQueue &operator=(const ZKOperationQueue &) = delete;
    // Cancels what is queued and running, and waits for the worker to end.
    ~ZKOperationQueue();

    void addOperation(std::shared_ptr<ZKOperation> operation);
    void cancelAllOperations();
    // Waits until nothing is queued or running. Negative timeout: no limit.
    // Answers false when the time ran out. On the main thread the wait keeps
    // serving calls that the worker makes into the main thread, so an
    // operation that asks the main thread something cannot deadlock it.
    bool waitUntilAllOperationsAreFinished(int timeoutMsec = -1);
    int operationCount() const;

private:
    void run();
    // With m_lock held: a worker for what was just queued.
    void startWorker();

    mutable std::mutex m_lock;
    std::condition_variable m_wakeWorker;
    std::condition_variable m_idle;
    std::deque<std::shared_ptr<ZKOperation>> m_pending;
    std::shared_ptr<ZKOperation> m_current;
    bool m_stopping = false;
    bool m_workerRunning = false;
    // The last worker started; it may have ended already.
    QThread *m_thread = nullptr;
};
