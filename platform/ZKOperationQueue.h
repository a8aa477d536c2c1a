// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKOperation.h"

#include <QList>

#include <condition_variable>
#include <memory>
#include <mutex>

// A serial background queue: its operations run one at a time, in the order
// they were added, on a worker of a small pool that all queues of the process
// share (at most maximumWorkers threads). A queue holds a worker only while
// it has operations, and an idle worker ends after a tenth of a second, so a
// queue of many waiting tasks holds no threads.
class ZKOperationQueue {
public:
    static constexpr int maximumWorkers = 4;

    ZKOperationQueue();
    ZKOperationQueue(const ZKOperationQueue &) = delete;
    ZKOperationQueue &operator=(const ZKOperationQueue &) = delete;
    // Cancels what is queued and running, and waits until none of it runs.
    ~ZKOperationQueue();

    void addOperation(std::shared_ptr<ZKOperation> operation);
    void cancelAllOperations();
    // Waits until nothing is queued or running. Negative timeout: no limit.
    // Answers false when the time ran out. On the main thread the wait keeps
    // serving calls that the worker makes into the main thread, so an
    // operation that asks the main thread something cannot deadlock it. On
    // a worker, a queue still waiting for a worker is run by the waiting
    // thread itself, so waits between queues cannot use up the pool.
    bool waitUntilAllOperationsAreFinished(int timeoutMsec = -1);
    int operationCount() const;

    // The pool's workers, alive and lingering; for tests and benchmarks.
    static int workerCount();

private:
    friend class ZKOperationQueueWorkers;

    enum class Service { Idle, Waiting, Running };

    // Runs the queued operations on the calling thread until none is left.
    void serve();

    mutable std::mutex m_lock;
    std::condition_variable m_idle;
    // A QList holds nothing while empty, where a deque keeps half a KiB: a
    // queue of 100,000 tasks has as many of these, nearly all empty.
    QList<std::shared_ptr<ZKOperation>> m_pending;
    std::shared_ptr<ZKOperation> m_current;
    // Waiting: in the pool's list; Running: a thread is in serve().
    Service m_service = Service::Idle;
};
