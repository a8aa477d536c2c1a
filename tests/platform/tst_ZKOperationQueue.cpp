// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"
#include "ZKOperationQueue.h"

#include <QFile>
#include <QTest>
#include <QThread>
#include <chrono>
#include <semaphore>

#include <atomic>
#include <mutex>
#include <vector>

namespace {

class LambdaOperation : public ZKOperation {
public:
    explicit LambdaOperation(std::function<void(LambdaOperation &)> body)
        : m_body(std::move(body)) {}

protected:
    void main() override { m_body(*this); }

private:
    std::function<void(LambdaOperation &)> m_body;
};

std::shared_ptr<ZKOperation> makeOperation(std::function<void(LambdaOperation &)> body) {
    return std::make_shared<LambdaOperation>(std::move(body));
}

} // namespace

class TestZKOperationQueue : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsInOrderOnOneWorker();
    void cancelStopsRunningAndSkipsQueued();
    void waitOnMainThreadServesSyncCalls();
    void asyncAfterRunsLater();
    void idleQueuesHoldNoThreads();
    void busyQueuesShareAtMostEightWorkers();
    void waitsBetweenQueuesCannotUseUpThePool();
};

void TestZKOperationQueue::runsInOrderOnOneWorker() {
    ZKOperationQueue queue;
    std::mutex lock;
    std::vector<int> order;
    std::vector<QThread *> threads;
    std::atomic<int> completions{0};
    for (int i = 0; i < 20; ++i) {
        auto operation = makeOperation([&, i](LambdaOperation &) {
            std::lock_guard locker(lock);
            order.push_back(i);
            threads.push_back(QThread::currentThread());
        });
        operation->setCompletionBlock([&] {
            QVERIFY(!ZKMainQueue::isMainThread());
            ++completions;
        });
        queue.addOperation(operation);
    }
    QVERIFY(queue.waitUntilAllOperationsAreFinished(10000));
    QCOMPARE(completions.load(), 20);
    QCOMPARE(int(order.size()), 20);
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(order[i], i);
        QCOMPARE(threads[i], threads[0]);
        QVERIFY(threads[i] != QThread::currentThread());
    }
    QCOMPARE(queue.operationCount(), 0);
}

void TestZKOperationQueue::cancelStopsRunningAndSkipsQueued() {
    ZKOperationQueue queue;
    std::counting_semaphore<> started{0};
    std::atomic<bool> secondRan{false};
    std::atomic<bool> secondCompleted{false};
    auto first = makeOperation([&](LambdaOperation &self) {
        started.release();
        while (!self.isCancelled()) {
            QThread::msleep(1);
        }
    });
    auto second = makeOperation([&](LambdaOperation &) { secondRan = true; });
    second->setCompletionBlock([&] { secondCompleted = true; });
    queue.addOperation(first);
    queue.addOperation(second);
    QVERIFY(started.try_acquire_for(std::chrono::seconds(10)));
    QVERIFY(!queue.waitUntilAllOperationsAreFinished(50)); // a wait may give up
    QCOMPARE(queue.operationCount(), 2);
    queue.cancelAllOperations();
    QVERIFY(queue.waitUntilAllOperationsAreFinished(10000));
    QVERIFY(first->isFinished());
    QVERIFY(!secondRan.load());
    // A cancelled operation still completes, so its owner hears about it.
    QVERIFY(secondCompleted.load());
}

void TestZKOperationQueue::waitOnMainThreadServesSyncCalls() {
    // An operation that asks the main thread something while the main thread
    // waits for the queue must not deadlock.
    ZKOperationQueue queue;
    std::atomic<bool> ranOnMain{false};
    queue.addOperation(makeOperation([&](LambdaOperation &) {
        QThread::msleep(20);
        ZKMainQueue::sync([&] { ranOnMain = ZKMainQueue::isMainThread(); });
    }));
    QVERIFY(queue.waitUntilAllOperationsAreFinished(10000));
    QVERIFY(ranOnMain.load());
}

void TestZKOperationQueue::asyncAfterRunsLater() {
    bool ran = false;
    std::atomic<bool> posted{false};
    std::thread worker([&] {
        ZKMainQueue::asyncAfter(0.05, [&] { ran = ZKMainQueue::isMainThread(); });
        posted = true;
    });
    worker.join();
    QVERIFY(posted.load());
    QVERIFY(!ran);
    QTRY_VERIFY_WITH_TIMEOUT(ran, 5000);
}

namespace {

int threadsInProcess() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("Threads:")) {
            return line.mid(8).trimmed().toInt();
        }
    }
    return -1;
}

} // namespace

// A queue of thousands of waiting tasks must not hold thousands of threads:
// a worker lives only while its queue has work.
void TestZKOperationQueue::idleQueuesHoldNoThreads() {
    const int before = threadsInProcess();
    QVERIFY(before > 0);
    std::vector<std::unique_ptr<ZKOperationQueue>> queues;
    for (int i = 0; i < 200; ++i) {
        queues.push_back(std::make_unique<ZKOperationQueue>());
    }
    QVERIFY2(threadsInProcess() < before + 5, qPrintable(QString::number(threadsInProcess())));
    std::atomic<int> ran{0};
    for (auto &queue : queues) {
        queue->addOperation(makeOperation([&](LambdaOperation &) { ++ran; }));
    }
    for (auto &queue : queues) {
        QVERIFY(queue->waitUntilAllOperationsAreFinished(10000));
    }
    QCOMPARE(ran.load(), 200);
    QTRY_VERIFY2_WITH_TIMEOUT(threadsInProcess() < before + 5,
                              qPrintable(QString::number(threadsInProcess())), 10000);
    // And work after a rest starts a worker again.
    queues.front()->addOperation(makeOperation([&](LambdaOperation &) { ++ran; }));
    QVERIFY(queues.front()->waitUntilAllOperationsAreFinished(10000));
    QCOMPARE(ran.load(), 201);
}

// Twenty queues at work at once still get no more than the pool's workers,
// and each still runs its own operations one at a time.
void TestZKOperationQueue::busyQueuesShareAtMostEightWorkers() {
    std::vector<std::unique_ptr<ZKOperationQueue>> queues;
    std::atomic<int> ran{0};
    std::atomic<int> overlapping{0};
    std::atomic<int> mostWorkers{0};
    for (int i = 0; i < 20; ++i) {
        queues.push_back(std::make_unique<ZKOperationQueue>());
        auto running = std::make_shared<std::atomic<int>>(0);
        for (int step = 0; step < 3; ++step) {
            queues.back()->addOperation(makeOperation([&, running](LambdaOperation &) {
                if (running->fetch_add(1) != 0) {
                    ++overlapping;
                }
                const int workers = ZKOperationQueue::workerCount();
                int seen = mostWorkers.load();
                while (workers > seen && !mostWorkers.compare_exchange_weak(seen, workers)) {
                }
                QThread::msleep(10);
                running->fetch_sub(1);
                ++ran;
            }));
        }
    }
    for (auto &queue : queues) {
        QVERIFY(queue->waitUntilAllOperationsAreFinished(20000));
    }
    QCOMPARE(ran.load(), 60);
    QCOMPARE(overlapping.load(), 0);
    QVERIFY2(mostWorkers.load() <= ZKOperationQueue::maximumWorkers,
             qPrintable(QString::number(mostWorkers.load())));
    QVERIFY2(mostWorkers.load() > 1, "the queues never ran side by side");
}

// Every worker busy waiting for another queue that has none yet: the
// waiting threads run that queue themselves instead of waiting forever.
void TestZKOperationQueue::waitsBetweenQueuesCannotUseUpThePool() {
    ZKOperationQueue awaited;
    std::vector<std::unique_ptr<ZKOperationQueue>> waiters;
    std::counting_semaphore<> allBusy(0);
    std::counting_semaphore<> awaitedQueued(0);
    std::atomic<bool> released{false};
    std::atomic<int> finished{0};
    for (int i = 0; i < ZKOperationQueue::maximumWorkers; ++i) {
        waiters.push_back(std::make_unique<ZKOperationQueue>());
        waiters.back()->addOperation(makeOperation([&](LambdaOperation &) {
            allBusy.release();
            QVERIFY(awaitedQueued.try_acquire_for(std::chrono::seconds(10)));
            QVERIFY(awaited.waitUntilAllOperationsAreFinished(20000));
            ++finished;
        }));
    }
    for (int i = 0; i < ZKOperationQueue::maximumWorkers; ++i) {
        QVERIFY(allBusy.try_acquire_for(std::chrono::seconds(10)));
    }
    // No worker is free for it now.
    awaited.addOperation(makeOperation([&](LambdaOperation &) { released = true; }));
    awaitedQueued.release(ZKOperationQueue::maximumWorkers);
    for (auto &queue : waiters) {
        QVERIFY(queue->waitUntilAllOperationsAreFinished(20000));
    }
    QVERIFY(released.load());
    QCOMPARE(finished.load(), ZKOperationQueue::maximumWorkers);
}

QTEST_GUILESS_MAIN(TestZKOperationQueue)
#include "tst_ZKOperationQueue.moc"
