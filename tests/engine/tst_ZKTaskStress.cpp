// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKPreferences.h"
#include "ZKQuestionPresenter.h"
#include "ZKScriptedPresenter.h"
#include "ZKTaskQueue.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <atomic>
#include <thread>

using S = ZKTaskState;

// Commands from several threads while tasks copy real files must neither
// deadlock nor race, and once the dust settles every copy must be exact.
class TestZKTaskStress : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void commandsFromManyThreadsWhileCopying();
};

void TestZKTaskStress::commandsFromManyThreadsWhileCopying() {
    ZKPreferences::initialiseUserDefaults();
    // Answers the partial-file question one way or the other, so both paths run.
    ZKScriptedPresenter presenter;
    presenter.setAnswers({ZKAnswer{0, false}, ZKAnswer{1, false}});
    ZKQuestionPresenter::setShared(&presenter);

    QTemporaryDir dir;
    QDir(dir.path()).mkdir(QStringLiteral("out"));
    const auto out = ZKFileSystemWriter::writerWithDirectory(
        QUrl::fromLocalFile(QDir(dir.path()).filePath(QStringLiteral("out"))));
    ZKTaskQueue queue;
    QList<QByteArray> contents;
    const int taskCount = 6;
    for (int i = 0; i < taskCount; ++i) {
        const QString path = QDir(dir.path()).filePath(QStringLiteral("src%1").arg(i));
        contents << ZKTestSupport::randomBytes(1500000 + i * 70001, quint32(i));
        QVERIFY(ZKTestSupport::writeFile(path, contents.last()));
        auto task = ZKCopyTask::create(ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path)),
                                       ZKFileSystemWriter::writerWithDirectory(out->url()));
        task->setIsVerifyEnabled(i % 2 == 0);
        task->setMaximumTransferRate(3000000);
        queue.insertTask(task, i);
    }

    // The main thread plays the document: whatever rests is started again.
    QTimer driver;
    connect(&driver, &QTimer::timeout, this, [&] {
        for (const auto &task : queue.tasks()) {
            const auto s = task->state();
            if (s == S::PendingPreparation || s == S::PendingProcessing ||
                s == S::PendingVerification || s == S::PendingRemoval) {
                task->start();
            }
        }
    });
    driver.start(15);

    std::atomic<bool> stop{false};
    std::atomic<int> commands{0};
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            QRandomGenerator random(quint32(100 + t));
            while (!stop.load()) {
                const auto task = queue.taskAtIndex(random.bounded(taskCount));
                switch (random.bounded(8)) {
                case 0:
                    task->pause();
                    break;
                case 1:
                    task->resume();
                    break;
                case 2:
                    task->reset();
                    break;
                case 3:
                    task->suspend();
                    break;
                case 4:
                    task->cancel();
                    break;
                case 5:
                    queue.pauseAll();
                    break;
                case 6:
                    queue.setMaximumTransferRate(2000000 + random.bounded(2000000));
                    break;
                default:
                    (void)queue.description();
                    (void)queue.remainingBytes();
                    (void)queue.currentTask();
                    break;
                }
                ++commands;
                std::this_thread::sleep_for(std::chrono::milliseconds(random.bounded(5, 60)));
            }
            ++finished;
        });
    }
    QTest::qWait(4000);
    stop = true;
    // The threads may be waiting for the main thread: keep serving it until
    // they are done, and only then join.
    QVERIFY(QTest::qWaitFor([&] { return finished.load() == int(threads.size()); }, 60000));
    for (auto &thread : threads) {
        thread.join();
    }
    QVERIFY(commands.load() > 30);

    // Settle: bring every task back into the running and let it finish.
    queue.setMaximumTransferRate(0);
    const bool settled = QTest::qWaitFor(
        [&] {
            for (const auto &task : queue.tasks()) {
                const auto s = task->state();
                if (s == S::Suspended) {
                    task->resume();
                } else if (s == S::Failed || s == S::Cancelled) {
                    task->reset();
                }
            }
            for (const auto &task : queue.tasks()) {
                if (task->state() != S::Completed) {
                    return false;
                }
            }
            return true;
        },
        60000);
    driver.stop();
    for (const auto &task : queue.tasks()) {
        QVERIFY2(settled, qUtf8Printable(task->filename() + QStringLiteral(": ") + task->detail()));
    }
    for (int i = 0; i < taskCount; ++i) {
        const QString copy = QDir(dir.path()).filePath(QStringLiteral("out/src%1").arg(i));
        QVERIFY2(ZKTestSupport::readFile(copy) == contents[i], qPrintable(copy));
    }
    ZKQuestionPresenter::setShared(nullptr);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKTaskStress test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskStress.moc"
