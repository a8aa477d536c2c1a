// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKPreferences.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQuestionPresenter.h"
#include "ZKQueueState.h"
#include "ZKScriptedPresenter.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using S = ZKTaskState;
using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

class TestZKFerrowickDocument : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void pausedQueueAnalysesButDoesNotCopy();
    void taskAddedAboveTakesOver();
    void smallFilesGoOnWithoutARest_data();
    void smallFilesGoOnWithoutARest();
    void autoRetryResetsFailedTasks_data();
    void autoRetryResetsFailedTasks();
    void askingWorkerIsLetGo_data();
    void askingWorkerIsLetGo();
    void savedQueueReopensAndResumes();
    void queueKilledWhileSavedStaysWhole();
    void editedMarkFollowsSavesLoadsAndReverts();
    void progressIsSavedWithoutTheUnsavedEdits();
    void untitledQueueIsKeptUntilSavedOrClosed_data();
    void untitledQueueIsKeptUntilSavedOrClosed();
    void malformedFilesAreRefused_data();
    void malformedFilesAreRefused();
    void unreadableTaskEntriesAreKeptInPlace();
    void reopenedQueueIsWrittenBackAsItWas();
    void onlyRealMovesAreChanges_data();
    void onlyRealMovesAreChanges();
    void rowCommandsFollowTheTaskState();
    void newSourceIsCopiedWhole();
    void newDestinationStartsOver();
    void droppedRowsStayOneTask_data();
    void droppedRowsStayOneTask();
    void sourcesWithoutDestinationAskForOne_data();
    void sourcesWithoutDestinationAskForOne();
    void sameTransferIsQueuedOnce_data();
    void sameTransferIsQueuedOnce();
    void queuedTransferIsFollowed_data();
    void queuedTransferIsFollowed();
    void refusalsOfOneArrivalComeTogether();
    void refusedTaskStartsNoWork();

private:
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKReaderPtr reader(const QString &name) const {
        return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(name)));
    }
    ZKWriterPtr outFolder() const {
        return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out")));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    ZKScriptedPresenter m_presenter;
};

void TestZKFerrowickDocument::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    // The desktop must stay silent while the tests run.
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
    ZKQuestionPresenter::setShared(&m_presenter);
}

void TestZKFerrowickDocument::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkdir(QStringLiteral("out"));
    m_presenter.reset();
    ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Running);
}

void TestZKFerrowickDocument::pausedQueueAnalysesButDoesNotCopy() {
    QVERIFY(writeFile(path("a"), randomBytes(5000, 1)));
    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    document.setDefaultTransferMode(ZKTransferMode::Move); // taken by local sources
    const auto task = document.addTasks({reader("a")}, outFolder(), 0).first();
    QCOMPARE(task->transferMode(), qint32(ZKTransferMode::Move));
    QTRY_COMPARE(task->state(), S::PendingProcessing);
    QTest::qWait(300);
    QCOMPARE(task->state(), S::PendingProcessing);
    QVERIFY(!QFile::exists(path("out/a")));

    document.setState(ZKQueueState::Running);
    QTRY_COMPARE(task->state(), S::Completed);
    QVERIFY(QFile::exists(path("out/a")) && !QFile::exists(path("a")));
}

void TestZKFerrowickDocument::taskAddedAboveTakesOver() {
    const QByteArray a = randomBytes(1500000, 2);
    const QByteArray b = randomBytes(200000, 3);
    QVERIFY(writeFile(path("a"), a));
    QVERIFY(writeFile(path("b"), b));
    ZKFerrowickDocument document;
    document.speedLimit().setMaximumTransferRate(500000);
    document.speedLimit().setEnabled(true);
    const auto taskA = document.addTasks({reader("a")}, outFolder(), 0).first();
    QTRY_VERIFY_WITH_TIMEOUT(taskA->state() == S::Processing && taskA->progressBytes() > 0, 10000);

    QList<ZKTaskState> statesOfA;
    connect(taskA.get(), &ZKTask::stateChanged, this, [&] { statesOfA << taskA->state(); });
    const auto taskB = document.addTasks({reader("b")}, outFolder(), 0).first();
    QTRY_COMPARE_WITH_TIMEOUT(taskB->state(), S::Completed, 10000);
    // A made way for B and waited.
    QVERIFY(statesOfA.contains(S::PendingProcessing));
    const quint64 offsetOfA = taskA->progressBytes();
    QVERIFY(offsetOfA > 0);
    QTRY_COMPARE_WITH_TIMEOUT(taskA->state(), S::Completed, 20000);
    QCOMPARE(readFile(path("out/a")), a);
    QCOMPARE(readFile(path("out/b")), b);
}

void TestZKFerrowickDocument::smallFilesGoOnWithoutARest_data() {
    QTest::addColumn<bool>("verify");
    QTest::addColumn<qint32>("mode");
    QTest::addColumn<bool>("pausedDuringAnalysis");
    QTest::addColumn<QList<ZKTaskState>>("expected");

    const QList<ZKTaskState> copied{S::Preparing, S::PendingProcessing, S::Processing,
                                    S::Completed};
    QTest::newRow("copy") << false << qint32(ZKTransferMode::Copy) << false << copied;
    QTest::newRow("move with verify") << true << qint32(ZKTransferMode::Move) << false
                                      << QList<ZKTaskState>{S::Preparing,  S::PendingProcessing,
                                                            S::Processing, S::PendingVerification,
                                                            S::Verifying,  S::PendingRemoval,
                                                            S::Removing,   S::Completed};
    // The pause lands while the first analysis waits for an answer: no copy
    // may follow it until the queue runs again.
    QTest::newRow("queue paused during the analysis")
        << false << qint32(ZKTransferMode::Copy) << true << copied;
}

// Every task still passes through each state, in order, however few of its
// steps rest in between.
void TestZKFerrowickDocument::smallFilesGoOnWithoutARest() {
    QFETCH(bool, verify);
    QFETCH(qint32, mode);
    QFETCH(bool, pausedDuringAnalysis);
    QFETCH(QList<ZKTaskState>, expected);

    const QStringList names{"a", "b", "c"};
    for (const QString &name : names) {
        QVERIFY(writeFile(path(name), name.toUtf8().repeated(3000)));
    }
    const QByteArray old("another file, in the way");
    if (pausedDuringAnalysis) {
        QVERIFY(writeFile(path("out/a"), old));
        m_presenter.setHolding(true);
        m_presenter.setAnswer({0, false}); // Replace
    }
    ZKFerrowickDocument document;
    document.setIsVerifyEnabled(verify);
    document.setDefaultTransferMode(mode);
    QHash<ZKTask *, QList<ZKTaskState>> states;
    connect(&document.taskQueue(), &ZKTaskQueue::taskStateChanged, this,
            [&](const ZKTaskPtr &task) { states[task.get()] << task->state(); });
    QList<ZKReaderPtr> sources;
    for (const QString &name : names) {
        sources << reader(name);
    }
    const auto tasks = document.addTasks(sources, outFolder(), 0);
    if (pausedDuringAnalysis) {
        QTRY_COMPARE_WITH_TIMEOUT(m_presenter.heldCount(), 1, 10000);
        document.setState(ZKQueueState::Paused);
        m_presenter.answerHeld();
        for (const auto &task : tasks) {
            QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::PendingProcessing, 10000);
        }
        QTest::qWait(200);
        QCOMPARE(tasks.first()->state(), S::PendingProcessing);
        QCOMPARE(readFile(path("out/a")), old);
        document.setState(ZKQueueState::Running);
    }
    for (const auto &task : tasks) {
        QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 10000);
        QCOMPARE(states.value(task.get()), expected);
        QCOMPARE(task->progressBytes(), quint64(3000));
        QTRY_VERIFY2(task->detail().endsWith(QStringLiteral(" - done")),
                     qUtf8Printable(task->detail()));
    }
    for (const QString &name : names) {
        QCOMPARE(readFile(path("out/" + name)), name.toUtf8().repeated(3000));
        QCOMPARE(QFile::exists(path(name)), mode == ZKTransferMode::Copy);
    }
}

void TestZKFerrowickDocument::autoRetryResetsFailedTasks_data() {
    QTest::addColumn<bool>("paused");

    QTest::newRow("running") << false;
    QTest::newRow("paused during the countdown") << true;
}

void TestZKFerrowickDocument::autoRetryResetsFailedTasks() {
    QFETCH(bool, paused);

    ZKUserDefaults::standard().setInteger(ZKPreferences::automaticRetryDelaySeconds, 1);
    ZKFerrowickDocument document;
    document.toggleAutoRetryItems();
    const auto task = document.addTasks({reader("late")}, outFolder(), 0).first();
    QTRY_COMPARE(task->state(), S::Failed);
    QTRY_VERIFY(document.retryTimer().isRunning());
    QVERIFY(document.description().contains(QStringLiteral(" - retrying in ")));
    // The source turns up before the countdown ends.
    QVERIFY(writeFile(path("late"), "now here"));
    if (paused) {
        document.setState(ZKQueueState::Paused);
        QVERIFY(!document.retryTimer().isRunning());
        QTest::qWait(1500);
        QCOMPARE(task->state(), S::Failed);
        return;
    }
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 10000);
    QCOMPARE(readFile(path("out/late")), QByteArray("now here"));
}

void TestZKFerrowickDocument::askingWorkerIsLetGo_data() {
    QTest::addColumn<QString>("action");
    QTest::addColumn<ZKTaskState>("state");

    QTest::newRow("answered") << "answer" << ZKTaskState(S::Completed);
    QTest::newRow("task suspended") << "suspend" << ZKTaskState(S::Suspended);
    QTest::newRow("task cancelled") << "cancel" << ZKTaskState(S::Cancelled);
    QTest::newRow("queue closed") << "close" << ZKTaskState(S::PendingPreparation);
}

// The worker waits for its answer while the main thread goes on. Whatever
// stops its task meanwhile takes the question back as cancelled, or the
// main thread, which waits for the worker's step to end, would wait for ever.
void TestZKFerrowickDocument::askingWorkerIsLetGo() {
    QFETCH(QString, action);
    QFETCH(ZKTaskState, state);

    for (const char *folder : {"tree", "out/tree"}) {
        QVERIFY(QDir(m_dir->path()).mkpath(QLatin1String(folder)));
    }
    const QStringList names{"x", "y", "z"};
    for (const QString &name : names) {
        QVERIFY(writeFile(path("tree/" + name), "new"));
        QVERIFY(writeFile(path("out/tree/" + name), "old, and longer"));
    }
    m_presenter.setHolding(true);
    m_presenter.setAnswer({1, true}); // Replace, apply to all
    auto document = std::make_unique<ZKFerrowickDocument>();
    const auto task = document->addTasks({reader("tree")}, outFolder(), 0).first();
    QTRY_COMPARE_WITH_TIMEOUT(m_presenter.heldCount(), 1, 10000);
    QCOMPARE(task->state(), S::Preparing);
    const ZKQuestion question = m_presenter.questions().first();
    QVERIFY(question.showsApplyToAll);
    QCOMPARE(question.asker.data(), document.get()); // shown over its window
    QCOMPARE(question.buttons, (QStringList{QStringLiteral("Skip"), QStringLiteral("Replace"),
                                            QStringLiteral("Cancel")}));
    if (action == QLatin1String("answer")) {
        m_presenter.answerHeld();
    } else if (action == QLatin1String("suspend")) {
        task->suspend();
    } else if (action == QLatin1String("cancel")) {
        document->cancelTask(task);
    } else {
        document.reset();
    }
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), state, 10000);
    const bool answered = state == S::Completed;
    QTRY_COMPARE(m_presenter.cancelledCount(), answered ? 0 : 1);
    QCOMPARE(m_presenter.heldCount(), 0);
    QCOMPARE(m_presenter.questions().size(), 1); // the answer held for all three
    for (const QString &name : names) {
        QCOMPARE(readFile(path("out/tree/" + name)),
                 QByteArray(answered ? "new" : "old, and longer"));
    }
}

void TestZKFerrowickDocument::savedQueueReopensAndResumes() {
    const QByteArray content = randomBytes(2000000, 4);
    QVERIFY(writeFile(path("big"), content));
    const QString queueFile = path("saved.queue");
    {
        ZKFerrowickDocument document;
        document.speedLimit().setMaximumTransferRate(400000);
        document.speedLimit().setEnabled(true);
        document.setIsVerifyEnabled(true);
        const auto task = document.addTasks({reader("big")}, outFolder(), 0).first();
        QTRY_VERIFY_WITH_TIMEOUT(task->state() == S::Processing && task->progressBytes() > 0,
                                 10000);
        ZKError error;
        QVERIFY2(document.writeToFile(queueFile, &error), qPrintable(error.localizedDescription()));
    }
    ZKFerrowickDocument reopened;
    ZKError error;
    QVERIFY2(reopened.readFromFile(queueFile, &error), qPrintable(error.localizedDescription()));
    QCOMPARE(reopened.displayName(), QStringLiteral("saved"));
    QCOMPARE(reopened.countOfTasks(), 1);
    QVERIFY(reopened.isVerifyEnabled());
    QCOMPARE(reopened.speedLimit().value(), quint64(400000));
    const auto task = reopened.objectInTasksAtIndex(0);
    QVERIFY(task->progressBytes() > 0);
    reopened.speedLimit().setEnabled(false);
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 20000);
    QVERIFY(task->isVerifiedOk());
    QCOMPARE(readFile(path("out/big")), content);
}

// A save killed half-way leaves the queue of the save before, whole.
void TestZKFerrowickDocument::queueKilledWhileSavedStaysWhole() {
    const int count = 10000; // enough for a save to take a while
    const QString queueFile = path("q.queue");
    QVERIFY(writeFile(path("a"), "a"));
    QVariantMap task = ZKCopyTask::create(reader("a"), outFolder())->asPropertyList();
    // Finished tasks: nothing runs any more when the saving process is
    // forked off.
    task[QStringLiteral("State")] = QStringLiteral("Completed");
    const QVariantMap plist{{QStringLiteral("Type"), QStringLiteral("FerrowickDocument")},
                            {QStringLiteral("Tasks"), QVariantList(count, task)}};
    QVERIFY(writeFile(queueFile, ZKPropertyListSerialization::dataFromPropertyList(plist)));
    ZKFerrowickDocument document;
    QVERIFY(document.readFromFile(queueFile));
    QVERIFY(document.writeToFile(queueFile));
    QCOMPARE(document.countOfTasks(), count);

    // While it saves, the process holds a file of the queue's folder open.
    const QByteArray inFolder = QFile::encodeName(m_dir->path()) + "/";
    auto saving = [&](pid_t pid) {
        const QString folder = QStringLiteral("/proc/%1/fd").arg(pid);
        for (const QString &fd :
             QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
            char target[4096];
            const QByteArray link = QFile::encodeName(folder + QLatin1Char('/') + fd);
            const ssize_t length = ::readlink(link.constData(), target, sizeof target);
            if (length > 0 && QByteArray(target, length).startsWith(inFolder)) {
                return true;
            }
        }
        return false;
    };
    for (int round = 0; round < 3; ++round) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (;;) {
                document.writeToFile(queueFile);
            }
        }
        QVERIFY(child > 0);
        QDeadlineTimer deadline(20000);
        bool caught = false;
        while (!(caught = saving(child)) && !deadline.hasExpired()) {
            QThread::usleep(100);
        }
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        QVERIFY2(caught, "the save never began");
        ZKFerrowickDocument reopened;
        ZKError error;
        QVERIFY2(reopened.readFromFile(queueFile, &error),
                 qUtf8Printable(error.localizedDescription()));
        QCOMPARE(reopened.countOfTasks(), count);
    }
}

void TestZKFerrowickDocument::editedMarkFollowsSavesLoadsAndReverts() {
    QVERIFY(writeFile(path("a"), randomBytes(1000, 7)));
    QVERIFY(writeFile(path("b"), randomBytes(1000, 8)));
    const QString first = path("first.queue");
    ZKError error;

    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    QTRY_VERIFY(!document.isEdited());
    const auto task = document.addTasks({reader("a")}, outFolder(), 0).first();
    QTRY_VERIFY2(document.isEdited(), "adding a task did not mark the queue edited");
    QTRY_COMPARE(task->state(), S::PendingProcessing); // analysed, waiting for the start
    QVERIFY2(document.saveToFile(first, &error), qUtf8Printable(error.localizedDescription()));
    QTRY_VERIFY2(!document.isEdited(), "saving left the queue edited");
    QCOMPARE(document.fileName(), first);
    QVariantMap firstSaved;
    QVERIFY(ZKFerrowickDocument::readPropertyListFromFile(first, &firstSaved));

    // Its transfer leaves the first queue: one that an open queue holds
    // would be kept unread in the reopened one.
    document.clearAllItems();
    ZKFerrowickDocument reopened;
    QVERIFY2(reopened.readFromFile(first, &error), qUtf8Printable(error.localizedDescription()));
    QTest::qWait(50);
    QVERIFY2(!reopened.isEdited(), "a queue just opened counts as edited");
    QCOMPARE(reopened.asPropertyList().value(QStringLiteral("Tasks")),
             firstSaved.value(QStringLiteral("Tasks")));

    // A change undone by going back to the file.
    const auto added = reopened.addTasks({reader("b")}, outFolder(), 1);
    QTRY_VERIFY(reopened.isEdited());
    // Its analysis ends in a change of its own; on a busy machine that
    // could come after the revert below.
    QTRY_COMPARE(added.first()->state(), S::PendingProcessing);
    reopened.clearChangeCount();
    QTRY_VERIFY(!reopened.isEdited());
    // The limit is saved with the queue, so changing it is an edit too.
    reopened.speedLimit().setEnabled(!reopened.speedLimit().enabled());
    QTRY_VERIFY2(reopened.isEdited(), "changing the speed limit did not mark the queue edited");
    QVERIFY2(reopened.revertToSaved(&error), qUtf8Printable(error.localizedDescription()));
    QTRY_VERIFY2(!reopened.isEdited(), "reverting left the queue edited");
    QCOMPARE(reopened.countOfTasks(), 1);
    QCOMPARE(reopened.isVerifyEnabled(),
             firstSaved.value(QStringLiteral("IsVerifyEnabled")).toBool());

    ZKFerrowickDocument untitled;
    QVERIFY2(!untitled.revertToSaved(&error), "an untitled queue claimed to revert");
    QVERIFY(!error.localizedDescription().isEmpty());
}

// What a running queue did reaches its file as it goes, without becoming an
// edit and without the edits the user has not saved.
void TestZKFerrowickDocument::progressIsSavedWithoutTheUnsavedEdits() {
    for (const char *name : {"a", "b", "c"}) {
        QVERIFY(writeFile(path(name), randomBytes(50000, name[0])));
    }
    const QString queueFile = path("q.queue");
    const auto savedStates = [&] {
        QVariantMap plist;
        ZKFerrowickDocument::readPropertyListFromFile(queueFile, &plist);
        QStringList states;
        for (const QVariant &task : plist.value(QStringLiteral("Tasks")).toList()) {
            states << task.toMap().value(QStringLiteral("State")).toString();
        }
        return states.join(QLatin1Char(' '));
    };
    {
        ZKFerrowickDocument first;
        first.setState(ZKQueueState::Paused);
        first.addTasks({reader("a"), reader("b")}, outFolder(), 0);
        QVariantMap plist = first.asPropertyList();
        plist[QStringLiteral("State")] = QStringLiteral("Running");
        QVERIFY(writeFile(queueFile, ZKPropertyListSerialization::dataFromPropertyList(plist)));
    }
    ZKFerrowickDocument document;
    document.setSavesProgress(true);
    ZKError error;
    QVERIFY2(document.readFromFile(queueFile, &error),
             qUtf8Printable(error.localizedDescription()));
    QTRY_COMPARE_WITH_TIMEOUT(savedStates(), QStringLiteral("Completed Completed"), 10000);
    QVERIFY2(!document.isEdited(), "running the queue counted as an edit");

    const auto added = document.addTasks({reader("c")}, outFolder(), 2).first();
    QTRY_COMPARE(added->state(), S::Completed);
    QVERIFY2(document.saveProgress(&error), qUtf8Printable(error.localizedDescription()));
    QCOMPARE(savedStates(), QStringLiteral("Completed Completed"));
    QVERIFY(document.isEdited());

    // A task taken out keeps the entry it wrote last, which is read back
    // from the file; a file changed behind the queue's back is not written
    // over with a guess.
    document.clearItems({0});
    QVERIFY2(document.saveProgress(&error), qUtf8Printable(error.localizedDescription()));
    QCOMPARE(savedStates(), QStringLiteral("Completed Completed"));
    QByteArray changed = readFile(queueFile);
    changed.replace("<string>Completed</string>", "<string>Paused</string>");
    QVERIFY(writeFile(queueFile, changed));
    QVERIFY(!document.saveProgress(&error));
    QVERIFY2(error.localizedDescription().contains(QStringLiteral("was changed")),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(readFile(queueFile), changed);

    // A file the queue never read nor wrote is not written for it.
    ZKFerrowickDocument named;
    named.setSavesProgress(true);
    named.setFileName(path("never.queue"));
    named.setState(ZKQueueState::Paused);
    named.addTasks({reader("c")}, outFolder(), 0);
    QVERIFY(named.saveProgress());
    QVERIFY(!QFile::exists(path("never.queue")));
}

void TestZKFerrowickDocument::untitledQueueIsKeptUntilSavedOrClosed_data() {
    QTest::addColumn<bool>("saved"); // else closed

    QTest::newRow("saved to a file") << true;
    QTest::newRow("closed") << false;
}

void TestZKFerrowickDocument::untitledQueueIsKeptUntilSavedOrClosed() {
    QFETCH(bool, saved);

    QVERIFY(writeFile(path("a"), "a"));
    const QString recovery = path("state/untitled.queue");
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setState(ZKQueueState::Paused);
    QVERIFY(document->setRecoveryFileName(recovery));
    document->setSavesProgress(true);
    QVERIFY2(!QFile::exists(recovery), "an empty queue was kept");
    document->addTasks({reader("a")}, outFolder(), 0);
    QTRY_VERIFY2(QFile::exists(recovery), "the queue's tasks were not kept");
    QVariantMap kept;
    QVERIFY(ZKFerrowickDocument::readPropertyListFromFile(recovery, &kept));
    QCOMPARE(kept.value(QStringLiteral("Tasks")).toList().size(), 1);
    ZKFerrowickDocument other;
    QVERIFY2(!other.setRecoveryFileName(recovery), "two queues took one recovery file");

    if (saved) {
        QVERIFY(document->saveToFile(path("named.queue")));
        QVERIFY(document->recoveryFileName().isEmpty());
    } else {
        document.reset();
    }
    QVERIFY2(!QFile::exists(recovery), "the recovery file outlived the untitled queue");
    QVERIFY2(other.setRecoveryFileName(recovery), "the recovery file stayed locked");
}

void TestZKFerrowickDocument::malformedFilesAreRefused_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");

    const QByteArray header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";
    // Damaged bytes of every kind are the property-list reader's own test;
    // one stands for them here.
    QTest::newRow("truncated xml") << header + "<dict><key>Type</key><string>FerrowickDocu"
                                   << "";
    QTest::newRow("wrong Type")
        << header + "<dict><key>Type</key><string>Spreadsheet</string></dict></plist>"
        << "not a Ferrowick queue";
    QTest::newRow("Tasks is a string")
        << header + "<dict><key>Type</key><string>FerrowickDocument</string>"
                    "<key>Tasks</key><string>x</string></dict></plist>"
        << "\"Tasks\" has the wrong type";

    // Numbers out of range: each would load as something the user never set.
    const QByteArray document = header + "<dict><key>Type</key><string>FerrowickDocument</string>";
    const auto withTask = [&](const QByteArray &entries) {
        return document + "<key>Tasks</key><array><dict><key>Type</key><string>CopyTask</string>" +
               entries + "</dict></array></dict></plist>";
    };
    QTest::newRow("negative speed limit")
        << document + "<key>SpeedLimit</key><dict><key>Enabled</key><true/>"
                      "<key>MaximumTransferRate</key><integer>-5</integer></dict></dict></plist>"
        << "\"MaximumTransferRate\" of the speed limit is negative";
    QTest::newRow("data rate not a number")
        << document + "<key>DataRate</key><real>nan</real></dict></plist>"
        << "\"DataRate\" is not a finite number";
    QTest::newRow("queue state out of range")
        << document + "<key>State</key><string>Unknown (7)</string></dict></plist>"
        << "\"State\" is out of range";
    QTest::newRow("negative task progress")
        << withTask("<key>ProgressBytes</key><integer>-1</integer>")
        << "\"ProgressBytes\" of task 1 is negative";
    QTest::newRow("task total beyond any file")
        << withTask("<key>TotalBytes</key><integer>18446744073709551615</integer>")
        << "\"TotalBytes\" of task 1 is out of range";
    QTest::newRow("task limit a fraction")
        << withTask("<key>MaximumTransferRate</key><real>0.5</real>")
        << "\"MaximumTransferRate\" of task 1 is not a whole number";
    QTest::newRow("task rate infinite") << withTask("<key>DataRate</key><real>-inf</real>")
                                        << "\"DataRate\" of task 1 is not a finite number";
    QTest::newRow("task state out of range")
        << withTask("<key>State</key><string>Unknown (14)</string>")
        << "\"State\" of task 1 is out of range";
    QTest::newRow("task mode a number") << withTask("<key>TransferMode</key><integer>9</integer>")
                                        << "\"TransferMode\" of task 1 has the wrong type";

    // Task entries are read one at a time; the first problem in the file's
    // order is still the one told, and the queue's own before any task's.
    const QByteArray fine = "<dict><key>Type</key><string>CopyTask</string></dict>";
    const auto withTasks = [&](const QByteArray &third, const QByteArray &after = {}) {
        return document + "<key>Tasks</key><array>" + fine + "\n" + fine + "<!-- -->" + third +
               "</array>" + after + "</dict></plist>";
    };
    QTest::newRow("third task negative")
        << withTasks("<dict><key>ProgressBytes</key><integer>-1</integer></dict>")
        << "\"ProgressBytes\" of task 3 is negative";
    QTest::newRow("queue state after a bad task")
        << withTasks("<dict><key>ProgressBytes</key><integer>-1</integer></dict>",
                     "<key>State</key><string>Unknown (7)</string>")
        << "\"State\" is out of range";
    QTest::newRow("unreadable date in a task, bad state after")
        << withTasks("<dict><key>Saved</key><date>2100-01-01T00:00:00Z</date></dict>",
                     "<key>State</key><string>Unknown (7)</string>")
        << "Tasks/2/Saved";
    QTest::newRow("unreadable date after the tasks")
        << withTasks(fine, "<key>Saved</key><date>2100-01-01T00:00:00Z</date>") << "Saved";
    QTest::newRow("task not closed") << withTasks("<dict>") << "well-formed";
    QTest::newRow("cut in a task") << withTasks("<dict><key>State</key>").chopped(25) << "";
}

void TestZKFerrowickDocument::malformedFilesAreRefused() {
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);

    const QString file = path("bad.queue");
    QVERIFY(writeFile(file, content));
    ZKFerrowickDocument document;
    ZKError error;
    QVERIFY(!document.readFromFile(file, &error));
    QVERIFY2(error.localizedDescription().startsWith(QStringLiteral("The queue \"")),
             qPrintable(error.localizedDescription()));
    QVERIFY2(error.localizedDescription().contains(reason),
             qPrintable(error.localizedDescription()));
    QCOMPARE(readFile(file), content);
    QCOMPARE(document.countOfTasks(), 0);
    // The same refusal as when the file is read whole.
    QVariantMap whole;
    ZKError wholeError;
    QVERIFY(!ZKFerrowickDocument::readPropertyListFromFile(file, &whole, &wholeError));
    QCOMPARE(error, wholeError);
}

// A long queue is read and written one task at a time: what is loaded and
// saved again is the file it came from, byte for byte, the entries that
// cannot be read included. Tasks read back share the writer of a
// destination they name alike, and only then.
void TestZKFerrowickDocument::reopenedQueueIsWrittenBackAsItWas() {
    QVERIFY(writeFile(path("a"), "a") && QDir().mkpath(path("other")));
    QVariantMap task = ZKCopyTask::create(reader("a"), outFolder())->asPropertyList();
    task[QStringLiteral("State")] = QStringLiteral("Completed"); // nothing runs
    QVariantMap alien = task;
    alien[QStringLiteral("Type")] = QStringLiteral("TeleportTask");
    QVariantMap elsewhere = task;
    elsewhere[QStringLiteral("Destination")] =
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("other")))
            ->asPropertyList();
    QVariantList tasks(20, task);
    tasks[3] = alien;
    tasks[5] = elsewhere;
    tasks[7] = QStringLiteral("not even a dictionary");
    QVariantMap plist;
    {
        ZKFerrowickDocument empty;
        empty.setState(ZKQueueState::Paused);
        plist = empty.asPropertyList();
    }
    plist[QStringLiteral("Tasks")] = tasks;
    const QByteArray written = ZKPropertyListSerialization::dataFromPropertyList(plist);
    QVERIFY(writeFile(path("q.queue"), written));

    ZKFerrowickDocument document;
    ZKError error;
    QVERIFY2(document.readFromFile(path("q.queue"), &error),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(document.countOfTasks(), 18);
    QCOMPARE(document.unreadTaskEntries().size(), 2);
    QCOMPARE(document.unreadTaskEntries().last().entry, tasks[7]);
    const ZKWriterPtr shared = document.objectInTasksAtIndex(0)->destination();
    QCOMPARE(document.objectInTasksAtIndex(17)->destination(), shared);
    const ZKWriterPtr other = document.objectInTasksAtIndex(4)->destination(); // entry 5
    QVERIFY(other != shared);
    QCOMPARE(other->url(), QUrl::fromLocalFile(path("other")));
    QVERIFY2(document.writeToFile(path("again.queue"), &error),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(readFile(path("again.queue")), written);
    QVERIFY2(document.saveToFile(path("q.queue"), &error),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(readFile(path("q.queue")), written);
}

// A queue written by another version may hold tasks this one cannot read,
// and one may hold a transfer another open queue runs already: opening and
// saving it must lose neither.
void TestZKFerrowickDocument::unreadableTaskEntriesAreKeptInPlace() {
    QVERIFY(writeFile(path("a"), "a") && writeFile(path("b"), "b"));
    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    document.addTasks({reader("a"), reader("b")}, outFolder(), 0);
    QVariantMap plist = document.asPropertyList();
    const QVariantMap readable = plist.value(QStringLiteral("Tasks")).toList().first().toMap();
    const QVariantMap twin = plist.value(QStringLiteral("Tasks")).toList().last().toMap();
    QVariantMap alien = readable;
    alien[QStringLiteral("Type")] = QStringLiteral("TeleportTask");
    QVariantMap sourceless = readable;
    QVariantMap source = sourceless.value(QStringLiteral("Source")).toMap();
    source.remove(QStringLiteral("Type"));
    sourceless[QStringLiteral("Source")] = source;
    const QVariantList tasks{alien, readable, sourceless, QStringLiteral("not even a dictionary"),
                             twin};
    plist[QStringLiteral("Tasks")] = tasks;
    document.clearItems({0}); // "b" stays queued here

    ZKFerrowickDocument reopened;
    QVERIFY(reopened.readFromPropertyList(plist));
    QCOMPARE(reopened.countOfTasks(), 1);
    QCOMPARE(reopened.objectInTasksAtIndex(0)->filename(), QStringLiteral("a"));
    QCOMPARE(reopened.state(), qint32(ZKQueueState::Paused));
    const auto &unread = reopened.unreadTaskEntries();
    QCOMPARE(unread.size(), 4);
    QVERIFY2(unread[0].reason.contains(QStringLiteral("'TeleportTask' is not recognised")),
             qUtf8Printable(unread[0].reason));
    QVERIFY2(unread[1].reason.contains(QStringLiteral("\"Source\"")) &&
                 unread[1].reason.contains(QStringLiteral("'Type' was not found")),
             qUtf8Printable(unread[1].reason));
    QCOMPARE(unread[3].index, 4);
    QVERIFY2(unread[3].reason.contains("already queued"), qUtf8Printable(unread[3].reason));

    const QVariantList saved = reopened.asPropertyList().value(QStringLiteral("Tasks")).toList();
    QCOMPARE(saved.size(), tasks.size());
    QCOMPARE(saved[1].toMap().value(QStringLiteral("Type")), QVariant(QStringLiteral("CopyTask")));
    for (const int kept : {0, 2, 3, 4}) {
        QCOMPARE(saved[kept], tasks[kept]);
    }
}

// Where a task lands is the queue's own test; a row dropped where it was is
// no change of the document.
void TestZKFerrowickDocument::onlyRealMovesAreChanges_data() {
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<QString>("order");

    QTest::newRow("down one") << 1 << 3 << "acbd";
    QTest::newRow("just below itself") << 1 << 2 << "abcd";
    QTest::newRow("from nowhere") << 7 << 0 << "abcd";
}

void TestZKFerrowickDocument::onlyRealMovesAreChanges() {
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(QString, order);

    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    QList<ZKReaderPtr> readers;
    for (const QString name : {"a", "b", "c", "d"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
        readers << reader(name);
    }
    document.addTasks(readers, outFolder(), 0);
    document.waitForBackgroundWork();
    int changes = 0;
    connect(&document, &ZKFerrowickDocument::tasksChanged, this, [&] { ++changes; });

    document.moveTaskFromIndex(from, to);
    QString seen;
    for (qsizetype i = 0; i < document.countOfTasks(); ++i) {
        seen += document.objectInTasksAtIndex(i)->filename();
    }
    QCOMPARE(seen, order);
    QCOMPARE(changes, order == QStringLiteral("abcd") ? 0 : 1);
}

void TestZKFerrowickDocument::rowCommandsFollowTheTaskState() {
    QVERIFY(writeFile(path("a"), randomBytes(3000, 7)));
    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    const auto tasks = document.addTasks({reader("a"), reader("missing")}, outFolder(), 0);
    const auto &task = tasks.first();
    const auto &failing = tasks.last();
    QTRY_COMPARE(task->state(), S::PendingProcessing);

    // A waiting task is suspended and then resumed from the start.
    document.performTaskAction(task);
    QTRY_COMPARE(task->state(), S::Suspended);
    document.setState(ZKQueueState::Running);
    QTest::qWait(200);
    QCOMPARE(task->state(), S::Suspended);
    document.performTaskAction(task);
    QTRY_COMPARE(task->state(), S::Completed);
    QCOMPARE(readFile(path("out/a")), readFile(path("a")));

    // A failed task is tried again: it fails anew until its source is there.
    QTRY_COMPARE(failing->state(), S::Failed);
    QVERIFY(writeFile(path("missing"), "now here"));
    document.performTaskAction(failing);
    QTRY_COMPARE(failing->state(), S::Completed);

    // Stop on a completed row closes it; on any other task it cancels.
    document.cancelTask(task);
    QCOMPARE(document.indexOfTask(task), -1);
    QCOMPARE(document.countOfTasks(), 1);
    const auto waiting = document.addTasks({reader("a")}, outFolder(), 1).first();
    document.setState(ZKQueueState::Paused);
    document.cancelTask(waiting);
    QTRY_COMPARE(waiting->state(), S::Cancelled);
    QCOMPARE(document.indexOfTask(waiting), 1);
}

void TestZKFerrowickDocument::newSourceIsCopiedWhole() {
    // The old source's copy is done and being verified when another file of
    // the same name and size takes its place: that copy is not the new
    // one's, however alike it looks.
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("a")));
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("b")));
    const QByteArray a = randomBytes(600000, 11);
    const QByteArray b = randomBytes(600000, 12);
    QVERIFY(writeFile(path("a/name"), a));
    QVERIFY(writeFile(path("b/name"), b));
    // Another file: same size, but not the same age (a copy whose size and
    // date match its source is taken as finished).
    QVERIFY(
        ZKTestSupport::setModified(path("b/name"), QDateTime::currentDateTime().addSecs(-3600)));
    ZKFerrowickDocument document;
    document.setIsVerifyEnabled(true);
    document.speedLimit().setMaximumTransferRate(600000);
    document.speedLimit().setEnabled(true);
    const auto task = document.addTasks({reader("a/name")}, outFolder(), 0).first();
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Verifying, 20000);

    task->setIsVerifyEnabled(false); // nothing would catch a wrong copy
    document.changeSourceForTask(task, reader("b/name"));
    document.speedLimit().setEnabled(false);
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 20000);
    QCOMPARE(task->source()->url(), QUrl::fromLocalFile(path("b/name")));
    QVERIFY2(readFile(path("out/name")) == b, "the old source's copy was kept");
    QCOMPARE(readFile(path("a/name")), a);
    QCOMPARE(readFile(path("b/name")), b);
}

void TestZKFerrowickDocument::newDestinationStartsOver() {
    const QByteArray content = randomBytes(1500000, 13);
    QVERIFY(writeFile(path("big"), content));
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("elsewhere")));
    ZKFerrowickDocument document;
    document.speedLimit().setMaximumTransferRate(500000);
    document.speedLimit().setEnabled(true);
    const auto task = document.addTasks({reader("big")}, outFolder(), 0).first();
    QTRY_VERIFY_WITH_TIMEOUT(task->state() == S::Processing && task->progressBytes() > 0, 10000);

    document.changeDestinationForTask(
        task, ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("elsewhere"))));
    document.speedLimit().setEnabled(false);
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 20000);
    QCOMPARE(readFile(path("elsewhere/big")), content);
    // What the first destination received is left there, and is a true start.
    const QByteArray partial = readFile(path("out/big"));
    QVERIFY(content.startsWith(partial));

    // An ended task keeps its endpoints.
    document.changeDestinationForTask(task, outFolder());
    document.waitForBackgroundWork();
    QCOMPARE(task->destination()->url().toLocalFile(), path("elsewhere"));
}

void TestZKFerrowickDocument::droppedRowsStayOneTask_data() {
    QTest::addColumn<QString>("where");
    QTest::addColumn<int>("dropIndex");
    QTest::addColumn<QString>("sourceOrder");
    QTest::addColumn<QString>("targetOrder");

    const auto row = [](const char *name, const char *where, int dropIndex, const char *source,
                        const char *target) {
        QTest::newRow(name) << QString(where) << dropIndex << QString(source) << QString(target);
    };
    // Task "b" (row 1 of "abc") is dragged; the other queue holds "xy".
    row("down in its own queue", "same", 3, "acb", "xy");
    row("put back where it was", "same", 1, "abc", "xy");
    row("to another queue", "other", 1, "ac", "xby");
    // Its saved form, taken as from another program: within this one, the
    // task it was made from still runs, and the copy is refused.
    row("from another program", "foreign", 2, "abc", "xy");
    row("its queue closed", "closed", 0, "", "xy");
}

void TestZKFerrowickDocument::droppedRowsStayOneTask() {
    QFETCH(QString, where);
    QFETCH(int, dropIndex);
    QFETCH(QString, sourceOrder);
    QFETCH(QString, targetOrder);

    auto source = std::make_unique<ZKFerrowickDocument>();
    ZKFerrowickDocument target;
    QList<ZKReaderPtr> readers;
    for (const QString name : {"a", "b", "c", "x", "y"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
        readers << reader(name);
    }
    for (auto *document : {source.get(), &target}) {
        document->setState(ZKQueueState::Paused);
    }
    source->addTasks(readers.mid(0, 3), outFolder(), 0);
    target.addTasks(readers.mid(3), outFolder(), 0);
    const ZKTaskPtr dragged = source->objectInTasksAtIndex(1);

    QVERIFY(source->canDragItemFromIndex(1) && !source->canDragItemFromIndex(3));
    ZKMimeDataPasteboard pasteboard;
    source->dragItemFromIndex(1, pasteboard);
    QMimeData &data = *pasteboard.mimeData();
    if (where == QStringLiteral("foreign")) {
        data.removeFormat(ZKFerrowickDocument::taskOriginType);
    } else if (where == QStringLiteral("closed")) {
        source.reset();
    }
    ZKFerrowickDocument &into = where == QStringLiteral("same") ? *source : target;
    const bool taken = into.dropItemsAtIndex(dropIndex, data);
    QCOMPARE(taken, where != QStringLiteral("closed") && where != QStringLiteral("foreign"));
    if (source && taken && where != QStringLiteral("same")) {
        // Only once the other side took it does the row leave.
        QCOMPARE(source->countOfTasks(), where == QStringLiteral("foreign") ? 3 : 2);
        source->draggedItemWasTaken(1, Qt::CopyAction);
    }

    auto order = [](const ZKFerrowickDocument *document) {
        QString names;
        for (qsizetype i = 0; document && i < document->countOfTasks(); ++i) {
            names += document->objectInTasksAtIndex(i)->filename();
        }
        return names;
    };
    QCOMPARE(order(source.get()), sourceOrder);
    QCOMPARE(order(&target), targetOrder);
    // Within this program the dragged task itself moves, never a copy of it.
    const ZKFerrowickDocument *holder = where == QStringLiteral("same") ? source.get() : &target;
    if (where == QStringLiteral("same") || where == QStringLiteral("other")) {
        QVERIFY2(holder->indexOfTask(dragged) >= 0, "a copy of the task was made");
    } else if (where == QStringLiteral("foreign")) {
        QCOMPARE(target.indexOfTask(dragged), -1);
    }
}

void TestZKFerrowickDocument::sourcesWithoutDestinationAskForOne_data() {
    QTest::addColumn<QString>("chooser");
    QTest::addColumn<int>("added");

    QTest::newRow("nobody to ask") << "none" << 0;
    QTest::newRow("user declines") << "declines" << 0;
    QTest::newRow("user picks a folder") << "picks" << 2;
}

void TestZKFerrowickDocument::sourcesWithoutDestinationAskForOne() {
    QFETCH(QString, chooser);
    QFETCH(int, added);

    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    document.setDefaultDestination(nullptr);
    int asked = 0;
    if (chooser != QStringLiteral("none")) {
        document.setDestinationChooser([&](const std::function<void(const ZKWriterPtr &)> &answer) {
            ++asked;
            answer(chooser == QStringLiteral("picks") ? outFolder() : nullptr);
        });
    }
    QVERIFY(writeFile(path("a"), "a") && writeFile(path("b"), "b"));
    QList<ZKTaskPtr> made;
    bool called = false;
    document.createTasksWithReaders({reader("a"), reader("b")}, 99, [&](const QList<ZKTaskPtr> &t) {
        made = t;
        called = true;
    });
    QVERIFY2(called, "the caller never heard back");
    QCOMPARE(asked, chooser == QStringLiteral("none") ? 0 : 1);
    QCOMPARE(made.size(), added);
    QCOMPARE(document.countOfTasks(), added);
    for (const auto &task : made) {
        QCOMPARE(task->destination()->url(), outFolder()->url());
    }
    // Pasted addresses take the same way, and several tasks travel together
    // (into an emptied queue: the same transfers are not queued twice).
    if (added) {
        ZKMimeDataPasteboard pasteboard;
        document.copyItems({0, 1}, pasteboard);
        const auto items =
            ZKMimeDataPasteboard::itemsOfType(*pasteboard.mimeData(), ZKTaskQueue::pasteboardType);
        QCOMPARE(items.size(), 2);
        document.clearAllItems();
        QVERIFY(writeFile(path("c"), "c"));
        document.paste(items, {QUrl::fromLocalFile(path("c"))}, 0);
        QCOMPARE(document.countOfTasks(), 3);
        QCOMPARE(asked, 2);
        qsizetype row = 0;
        for (const QString name : {"a", "b", "c"}) {
            QCOMPARE(document.objectInTasksAtIndex(row++)->source()->url(),
                     QUrl::fromLocalFile(path(name)));
        }
        ZKMimeDataPasteboard sources;
        document.copySources(sources);
        QCOMPARE(sources.mimeData()->urls().size(), 3);
        QCOMPARE(sources.mimeData()->urls()[1], QUrl::fromLocalFile(path("b")));
    }
}

void TestZKFerrowickDocument::sameTransferIsQueuedOnce_data() {
    QTest::addColumn<QString>("first"); // where the queued task stands
    QTest::addColumn<bool>("sameQueue");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<bool>("refused");

    const auto row = [](const char *name, const char *first, bool sameQueue, bool refused,
                        const char *source = "a", const char *destination = "out") {
        QTest::newRow(name) << QString(first) << sameQueue << QString(source)
                            << QString(destination) << refused;
    };
    row("dropped twice", "waiting", true, true);
    row("in another queue", "waiting", false, true);
    row("spelt another way", "waiting", false, true, "sub/../a/.", "out/./");
    row("suspended", "suspended", false, true);
    row("completed", "completed", true, false);
    row("failed", "failed", true, false);
    row("cancelled", "cancelled", false, false);
    row("to another folder", "waiting", true, false, "a", "elsewhere");
}

void TestZKFerrowickDocument::sameTransferIsQueuedOnce() {
    QFETCH(QString, first);
    QFETCH(bool, sameQueue);
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(bool, refused);

    if (first != "failed") {
        QVERIFY(writeFile(path("a"), randomBytes(3000, 9)));
    }
    ZKFerrowickDocument queued;
    ZKFerrowickDocument other;
    queued.setUntitledName("First");
    for (auto *document : {&queued, &other}) {
        document->setState(first == "completed" ? ZKQueueState::Running : ZKQueueState::Paused);
    }
    const auto task = queued.addTasks({reader("a")}, outFolder(), 0).first();
    QTRY_VERIFY(task->state() != S::PendingPreparation && task->state() != S::Preparing);
    if (first == "suspended") {
        queued.suspendAll();
    } else if (first == "cancelled") {
        queued.cancelTask(task);
    }
    queued.waitForBackgroundWork();
    const QMap<QString, ZKTaskState> expected{{"waiting", S::PendingProcessing},
                                              {"suspended", S::Suspended},
                                              {"completed", S::Completed},
                                              {"failed", S::Failed},
                                              {"cancelled", S::Cancelled}};
    QTRY_COMPARE(task->state(), expected.value(first));
    QVERIFY(writeFile(path("a"), randomBytes(3000, 9)));

    ZKFerrowickDocument &into = sameQueue ? queued : other;
    const qsizetype before = into.countOfTasks();
    QSignalSpy told(&into, &ZKFerrowickDocument::tasksRefused);
    QStringList reasons;
    const auto added = into.addTasks(
        {ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(source)))},
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path(destination))), 0,
        &reasons);
    QCOMPARE(added.size(), refused ? 0 : 1);
    QCOMPARE(into.countOfTasks(), before + added.size());
    const QStringList message{QStringLiteral(
        "\u201ca\u201d is already queued for this destination in \u201cFirst\u201d.")};
    QCOMPARE(reasons, refused ? message : QStringList());
    QCOMPARE(told.size(), refused ? 1 : 0);
    if (refused) {
        QCOMPARE(told.first().first().toStringList(), message);
    }
}

void TestZKFerrowickDocument::queuedTransferIsFollowed_data() {
    QTest::addColumn<QString>("change"); // of the queued task, from "b"
    QTest::addColumn<QString>("source"); // of the task added afterwards
    QTest::addColumn<bool>("refused");

    const auto row = [](const char *name, const char *change, const char *source, bool refused) {
        QTest::newRow(name) << QString(change) << QString(source) << refused;
    };
    row("source changed to it", "new source", "a", true);
    row("source changed from it", "new source", "b", false);
    row("taken out", "taken out", "b", false);
    row("taken out and put back", "put back", "b", true);
    row("dragged to another queue", "dragged", "b", true);
}

// The queued task is found as it stands now, not as it joined.
void TestZKFerrowickDocument::queuedTransferIsFollowed() {
    QFETCH(QString, change);
    QFETCH(QString, source);
    QFETCH(bool, refused);

    for (const QString name : {"a", "b"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
    }
    ZKFerrowickDocument queued;
    ZKFerrowickDocument other;
    for (auto *document : {&queued, &other}) {
        document->setState(ZKQueueState::Paused);
    }
    const auto task = queued.addTasks({reader("b")}, outFolder(), 0).first();
    if (change == "new source") {
        // Once the queue has told of the change, as the row shows it.
        bool told = false;
        // Gone with told: the queue tells of later changes too.
        const QObject watcher;
        connect(&queued.taskQueue(), &ZKTaskQueue::taskChanged, &watcher,
                [&] { told = task->filename() == QStringLiteral("a"); });
        queued.changeSourceForTask(task, reader("a"));
        QTRY_VERIFY(told);
    } else if (change == "taken out" || change == "put back") {
        queued.removeTasksAtIndexes({0});
        if (change == "put back") {
            QCOMPARE(queued.insertTasks({task}, {0}).size(), 1);
        }
    } else {
        ZKMimeDataPasteboard pasteboard;
        queued.dragItemFromIndex(0, pasteboard);
        QVERIFY(other.dropItemsAtIndex(0, *pasteboard.mimeData()));
        queued.draggedItemWasTaken(0, Qt::CopyAction);
        QCOMPARE(other.indexOfTask(task), 0);
    }
    QStringList reasons;
    const auto added = queued.addTasks({reader(source)}, outFolder(), 0, &reasons);
    QVERIFY2(added.size() == (refused ? 0 : 1), qUtf8Printable(reasons.join(' ')));
}

// A drop of several items tells of all it could not add at once, and adds
// the rest.
void TestZKFerrowickDocument::refusalsOfOneArrivalComeTogether() {
    for (const QString name : {"a", "b", "c"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
    }
    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    document.setDefaultDestination(outFolder());
    document.addTasks({reader("a"), reader("b")}, outFolder(), 0);
    QSignalSpy told(&document, &ZKFerrowickDocument::tasksRefused);
    QMimeData drop;
    drop.setUrls({QUrl::fromLocalFile(path("c")), QUrl::fromLocalFile(path("a")),
                  QUrl::fromLocalFile(path("c")), QUrl::fromLocalFile(path("b"))});
    QVERIFY(document.dropItemsAtIndex(0, drop));
    QCOMPARE(document.countOfTasks(), 3);
    QCOMPARE(document.objectInTasksAtIndex(0)->filename(), QStringLiteral("c"));
    QCOMPARE(told.size(), 1);
    const QStringList reasons = told.first().first().toStringList();
    QCOMPARE(reasons.size(), 3);
    QVERIFY2(reasons[1].contains("given more than once"), qUtf8Printable(reasons[1]));
}

// A pasted task saved mid-copy resumes only once it is in a queue: one the
// queue turns away must not write beside the task it repeats.
void TestZKFerrowickDocument::refusedTaskStartsNoWork() {
    QVERIFY(writeFile(path("a"), randomBytes(1 << 20, 7)));
    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Paused);
    const auto task = document.addTasks({reader("a")}, outFolder(), 0).first();
    QTRY_COMPARE(task->state(), ZKTaskState::PendingProcessing);
    ZKMimeDataPasteboard pasteboard;
    document.copyItems({0}, pasteboard);
    const auto items =
        ZKMimeDataPasteboard::itemsOfType(*pasteboard.mimeData(), ZKTaskQueue::pasteboardType);
    QCOMPARE(items.size(), 1);
    QVariantMap entry = ZKPropertyListSerialization::propertyListFromData(items[0]).toMap();
    entry.insert(QStringLiteral("State"), ZKTaskStates::convertToString(ZKTaskState::Processing));
    const QByteArray working = ZKPropertyListSerialization::binaryDataFromPropertyList(entry);
    QSignalSpy refused(&document, &ZKFerrowickDocument::tasksRefused);
    QCOMPARE(document.paste({working}, {}, 1), 0);
    QCOMPARE(refused.size(), 1);
    QTest::qWait(300);
    const QStringList written = QDir(path("out")).entryList(QDir::Files | QDir::Hidden);
    QVERIFY2(written.isEmpty(), qUtf8Printable(written.join(' ')));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKFerrowickDocument test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKFerrowickDocument.moc"
