// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKPreferences.h"
#include "ZKQuestionPresenter.h"
#include "ZKQueueState.h"
#include "ZKScriptedPresenter.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskQueue.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
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
    void closingAtRandomMomentsLosesNothing();
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

// Documents are closed at random moments while their tasks copy, ask about
// files already there and end steps, some after a save taken a moment
// earlier. Each is then reopened from its file and run to the end: whatever
// the moment, every copy must come out whole and no source may be lost.
void TestZKTaskStress::closingAtRandomMomentsLosesNothing() {
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
    ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Running);
    // "Replace" for a file already in the way.
    ZKScriptedPresenter presenter;
    presenter.setAnswer(ZKAnswer{0, false});
    ZKQuestionPresenter::setShared(&presenter);

    struct Queue {
        std::unique_ptr<QTemporaryDir> dir;
        std::unique_ptr<ZKFerrowickDocument> document;
        QList<QByteArray> contents;
        QList<bool> moves;
        bool savedEarlier = false;
        QString file(const QString &name) const { return QDir(dir->path()).filePath(name); }
    };
    const int rounds = 4;
    const int queuesPerRound = 3;
    const int filesPerQueue = 5;
    QRandomGenerator random(20261124);
    int closedWhileWorking = 0;
    for (int round = 0; round < rounds; ++round) {
        std::vector<Queue> queues(queuesPerRound);
        for (int q = 0; q < queuesPerRound; ++q) {
            Queue &queue = queues[size_t(q)];
            queue.dir = std::make_unique<QTemporaryDir>();
            QDir(queue.dir->path()).mkdir(QStringLiteral("out"));
            queue.document = std::make_unique<ZKFerrowickDocument>();
            queue.document->speedLimit().setMaximumTransferRate(1500000);
            queue.document->speedLimit().setEnabled(true);
            queue.document->setIsVerifyEnabled(random.bounded(2) == 0);
            const auto out = ZKFileSystemWriter::writerWithDirectory(
                QUrl::fromLocalFile(queue.file(QStringLiteral("out"))));
            for (int i = 0; i < filesPerQueue; ++i) {
                const QString name = QStringLiteral("f%1").arg(i);
                queue.contents << ZKTestSupport::randomBytes(20000 + random.bounded(400000),
                                                             random.generate());
                queue.moves << (random.bounded(2) == 0);
                QVERIFY(ZKTestSupport::writeFile(queue.file(name), queue.contents.last()));
                if (random.bounded(2) == 0) { // something else already has the name
                    QVERIFY(ZKTestSupport::writeFile(queue.file(QStringLiteral("out/") + name),
                                                     QByteArrayLiteral("older")));
                }
                queue.document->setDefaultTransferMode(queue.moves.last() ? ZKTransferMode::Move
                                                                          : ZKTransferMode::Copy);
                queue.document->addTasks(
                    {ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(queue.file(name)))}, out,
                    i);
            }
        }
        // Each is saved, then closed a little later, at its own moments.
        int open = queuesPerRound;
        for (auto &queue : queues) {
            const int saveAt = random.bounded(400);
            queue.savedEarlier = random.bounded(2) == 0;
            const int closeAt = saveAt + (queue.savedEarlier ? 1 + random.bounded(150) : 0);
            QTimer::singleShot(saveAt, this, [&queue] {
                ZKError error;
                QVERIFY2(
                    queue.document->writeToFile(queue.file(QStringLiteral("saved.queue")), &error),
                    qUtf8Printable(error.localizedDescription()));
            });
            QTimer::singleShot(closeAt, this, [&queue, &open, &closedWhileWorking] {
                closedWhileWorking += queue.document->taskQueue().currentTask() ? 1 : 0;
                queue.document.reset();
                --open;
            });
        }
        QVERIFY(QTest::qWaitFor([&] { return open == 0; }, 10000));

        for (auto &queue : queues) {
            ZKFerrowickDocument reopened;
            ZKError error;
            QVERIFY2(reopened.readFromFile(queue.file(QStringLiteral("saved.queue")), &error),
                     qUtf8Printable(error.localizedDescription()));
            reopened.speedLimit().setEnabled(false);
            reopened.setState(ZKQueueState::Running);
            const bool done = QTest::qWaitFor(
                [&] {
                    for (qsizetype i = 0; i < reopened.countOfTasks(); ++i) {
                        const auto s = reopened.objectInTasksAtIndex(i)->state();
                        // A removal cut short stays so until the user acts.
                        if (s != S::Completed && s != S::Failed && s != S::Cancelled &&
                            s != S::Removing) {
                            return false;
                        }
                    }
                    return true;
                },
                30000);
            QStringList states;
            for (qsizetype i = 0; i < reopened.countOfTasks(); ++i) {
                const auto task = reopened.objectInTasksAtIndex(i);
                states << QStringLiteral("%1 %2: %3")
                              .arg(task->filename(), ZKTaskStates::convertToString(task->state()),
                                   task->detail());
            }
            QVERIFY2(done, qUtf8Printable(QStringLiteral("queue %1 of round %2 (%3) stopped at: %4")
                                              .arg(queue.file(QString()))
                                              .arg(round)
                                              .arg(ZKQueueState::convertToString(reopened.state()))
                                              .arg(states.join(QStringLiteral("; ")))));
            QCOMPARE(reopened.countOfTasks(), filesPerQueue);
            for (int i = 0; i < filesPerQueue; ++i) {
                const auto task = reopened.objectInTasksAtIndex(i);
                const QString name = QStringLiteral("f%1").arg(i);
                const QString why = QStringLiteral("round %1, %2 (%3): %4")
                                        .arg(round)
                                        .arg(queue.file(name), task->filename(), task->detail());
                const QByteArray copy =
                    ZKTestSupport::readFile(queue.file(QStringLiteral("out/") + name));
                const QByteArray source = ZKTestSupport::readFile(queue.file(name));
                if (task->state() == S::Completed) {
                    QVERIFY2(copy == queue.contents[i], qUtf8Printable(why));
                    QVERIFY2(QFile::exists(queue.file(name)) != queue.moves[i],
                             qUtf8Printable(why));
                } else if (task->state() == S::Removing) {
                    QVERIFY2(queue.moves[i] && copy == queue.contents[i], qUtf8Printable(why));
                } else {
                    // Only a move that ended after an earlier save may find
                    // its source gone, and then its copy is whole.
                    QVERIFY2(queue.savedEarlier && queue.moves[i], qUtf8Printable(why));
                    QVERIFY2(copy == queue.contents[i] || source == queue.contents[i],
                             qUtf8Printable(why));
                }
            }
        }
    }
    // The moments must have caught work and questions, or nothing was shown.
    QVERIFY(closedWhileWorking > rounds);
    QVERIFY(presenter.questions().size() > rounds);
    ZKQuestionPresenter::setShared(nullptr);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKTaskStress test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskStress.moc"
