// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"
#include "ZKOperationQueue.h"

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

QTEST_GUILESS_MAIN(TestZKOperationQueue)
#include "tst_ZKOperationQueue.moc"
