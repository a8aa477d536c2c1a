// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKPreferences.h"
#include "ZKQuestionPresenter.h"
#include "ZKScriptedPresenter.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using S = ZKTaskState;
using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

bool isResting(ZKTaskState state) {
    return state == S::PendingPreparation || state == S::PendingProcessing ||
           state == S::PendingVerification || state == S::PendingRemoval || state >= S::Completed;
}

} // namespace

class TestZKCopyTask : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void stepsThroughTheStates_data();
    void stepsThroughTheStates();
    void replacedFileIsCountedOnce();
    void pauseDuringVerifyResumesAtOffset();
    void moveSurvivesChangesBehindItsBack_data();
    void moveSurvivesChangesBehindItsBack();
    void moveLeavesWhatCannotBeCopiedInItsFolder();
    void cancelAsksAboutPartialFile_data();
    void cancelAsksAboutPartialFile();
    void moveFinishedAfterItsLastSave_data();
    void moveFinishedAfterItsLastSave();
    void savedRemovingTaskStaysRemoving();
    void savedTaskShowsItsProgress_data();
    void savedTaskShowsItsProgress();
    void texts_data();
    void texts();
    void runningFolderTellsItsFilesAndRate();

private:
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    std::shared_ptr<ZKCopyTask> makeTask(const QString &source);
    // Starts the task and waits until it rests again; answers the states it
    // went through.
    QList<ZKTaskState> step(ZKCopyTask &task);
    QList<ZKTaskState> runToEnd(ZKCopyTask &task);

    std::unique_ptr<QTemporaryDir> m_dir;
    ZKScriptedPresenter m_presenter;
};

void TestZKCopyTask::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    ZKQuestionPresenter::setShared(&m_presenter);
}

void TestZKCopyTask::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkdir(QStringLiteral("out"));
    m_presenter.reset();
}

std::shared_ptr<ZKCopyTask> TestZKCopyTask::makeTask(const QString &source) {
    return ZKCopyTask::create(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(source))),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out"))));
}

QList<ZKTaskState> TestZKCopyTask::step(ZKCopyTask &task) {
    QList<ZKTaskState> states;
    auto connection = connect(&task, &ZKTask::stateChanged, this, [&] { states << task.state(); });
    task.start();
    const bool rested =
        QTest::qWaitFor([&] { return isResting(task.state()) && !states.isEmpty(); }, 20000);
    disconnect(connection);
    if (!rested) {
        states << ZKTaskState(-1); // shows up in the comparison of the caller
    }
    return states;
}

QList<ZKTaskState> TestZKCopyTask::runToEnd(ZKCopyTask &task) {
    QList<ZKTaskState> states;
    for (int i = 0; i < 6 && task.state() < S::Completed; ++i) {
        states += step(task);
    }
    return states;
}

void TestZKCopyTask::stepsThroughTheStates_data() {
    QTest::addColumn<QString>("before"); // "copy": already copied; "missing": no source;
                                         // "disguised": another file of its size and date
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("verify");
    QTest::addColumn<qint32>("mode");
    QTest::addColumn<QList<ZKTaskState>>("expected");

    const QList<ZKTaskState> copied{S::Preparing, S::PendingProcessing, S::Processing,
                                    S::Completed};
    QTest::newRow("copy") << "" << qsizetype(300000) << false << qint32(ZKTransferMode::Copy)
                          << copied;
    // A zero-byte source still passes through a copy step.
    QTest::newRow("empty file") << "" << qsizetype(0) << false << qint32(ZKTransferMode::Copy)
                                << copied;
    QTest::newRow("move with verify")
        << "" << qsizetype(300000) << true << qint32(ZKTransferMode::Move)
        << QList<ZKTaskState>{
               S::Preparing, S::PendingProcessing, S::Processing, S::PendingVerification,
               S::Verifying, S::PendingRemoval,    S::Removing,   S::Completed};
    // A whole copy that says it came from this source.
    QTest::newRow("already copied")
        << "copy" << qsizetype(100000) << false << qint32(ZKTransferMode::Copy)
        << QList<ZKTaskState>{S::Preparing, S::Completed};
    // Stopped after its last byte, before it took its name: the copy step
    // has nothing left to write but still names it.
    QTest::newRow("whole copy under its unfinished name")
        << "unnamed" << qsizetype(100000) << false << qint32(ZKTransferMode::Copy) << copied;
    // Another file of the same size and date is not taken for a copy: it
    // is the user's, and nobody said to replace it.
    QTest::newRow("move onto another file of the same size and date")
        << "disguised" << qsizetype(100000) << false << qint32(ZKTransferMode::Move)
        << QList<ZKTaskState>{S::Preparing, S::Failed};
    // A failed analysis still shows "0 bytes of 1 bytes", never a 0 total.
    QTest::newRow("failed analysis")
        << "missing" << qsizetype(0) << false << qint32(ZKTransferMode::Copy)
        << QList<ZKTaskState>{S::Preparing, S::Failed};
}

void TestZKCopyTask::stepsThroughTheStates() {
    QFETCH(QString, before);
    QFETCH(qsizetype, size);
    QFETCH(bool, verify);
    QFETCH(qint32, mode);
    QFETCH(QList<ZKTaskState>, expected);

    const QByteArray content = randomBytes(size, 7);
    const bool failing = before == "missing";
    QVERIFY(failing || writeFile(path("src"), content));
    if (before == "copy" || before == "disguised") {
        QVERIFY(writeFile(path("out/src"), before == "copy" ? content : randomBytes(size, 8)));
        QFile copy(path("out/src"));
        QVERIFY(copy.open(QIODevice::ReadWrite) &&
                copy.setFileTime(QFileInfo(path("src")).lastModified(),
                                 QFileDevice::FileModificationTime));
        copy.close();
        QVERIFY(before == "disguised" ||
                ZKTestSupport::markBegunFrom(path("out/src"), path("src")));
    }
    const QString unfinished = ZKTestSupport::partialPath(path("out"), "src");
    if (before == "unnamed") {
        QVERIFY(writeFile(unfinished, content) &&
                ZKTestSupport::markBegunFrom(unfinished, path("src")));
    }
    auto task = makeTask("src");
    task->setIsVerifyEnabled(verify);
    task->setTransferMode(mode);

    QCOMPARE(runToEnd(*task), expected);
    if (before == "disguised") {
        QTRY_VERIFY(task->detail().startsWith(QStringLiteral("Failed: A file named")));
        QCOMPARE(readFile(path("src")), content);
        return;
    }
    QCOMPARE(task->progressBytes(), quint64(size));
    QCOMPARE(task->totalBytes(), failing ? quint64(1) : quint64(size));
    if (failing) {
        QTRY_VERIFY(task->detail().startsWith(QStringLiteral("Failed: ")));
        return;
    }
    QVERIFY2(!task->error(), qUtf8Printable(task->detail()));
    QCOMPARE(readFile(path("out/src")), content);
    QVERIFY(!QFile::exists(unfinished));
    QCOMPARE(QFile::exists(path("src")), mode == ZKTransferMode::Copy);
    QCOMPARE(task->isVerifiedOk(), verify);
}

// A file chosen for replacement is counted once, not once for what stood
// there and once more for what replaced it.
void TestZKCopyTask::replacedFileIsCountedOnce() {
    QVERIFY(QDir().mkpath(path("d")) && QDir().mkpath(path("out/d")));
    QVERIFY(writeFile(path("d/a"), randomBytes(18, 3)) &&
            writeFile(path("out/d/a"), "stale stale 16 b"));
    auto task = makeTask("d");
    // Answered by the remembered response, as after "Apply to all".
    const ZKTaskQuestions questions(nullptr);
    task->setQuestions(questions);
    task->setPreExistingFileResponse(ZKFileResponseReplace);
    runToEnd(*task);
    QCOMPARE(task->state(), S::Completed);
    QCOMPARE(readFile(path("out/d/a")), randomBytes(18, 3));
    QCOMPARE(task->totalBytes(), quint64(18));
    QCOMPARE(task->progressBytes(), quint64(18));
    QTRY_COMPARE(task->detail(), QStringLiteral("18 bytes of 18 bytes - done"));
}

void TestZKCopyTask::pauseDuringVerifyResumesAtOffset() {
    const qsizetype size = 600000;
    const QByteArray content = randomBytes(size, 11);
    QVERIFY(writeFile(path("src"), content));
    auto task = makeTask("src");
    task->setIsVerifyEnabled(true);
    step(*task); // analyse
    step(*task); // copy
    QCOMPARE(task->state(), S::PendingVerification);

    // Slow enough that the verification is caught in the middle.
    task->setMaximumTransferRate(200000);
    task->start();
    QTRY_VERIFY_WITH_TIMEOUT(task->bytesVerified() > 0, 10000);
    task->pause();
    QCOMPARE(task->state(), S::PendingVerification);
    const quint64 verified = task->bytesVerified();
    QVERIFY(verified > 0 && verified < quint64(size));
    task->refresh();
    QTRY_COMPARE(task->percentCompleted(), (double(size) + double(verified)) / (2.0 * size));

    task->setMaximumTransferRate(0);
    QCOMPARE(step(*task), (QList<ZKTaskState>{S::Verifying, S::Completed}));
    QVERIFY(task->isVerifiedOk());
}

void TestZKCopyTask::moveSurvivesChangesBehindItsBack_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("failure"); // how the detail begins; empty: no failure
    const QString differs = QStringLiteral("Failed: Verification failed");
    // Each kind of difference is the verification's own test.
    QTest::newRow("copy changed before its verification") << "flip" << differs;
    QTest::newRow("source item removed before the copy") << "vanish" << QString();
    QTest::newRow("destination folder removed during the copy")
        << "dropOut" << QStringLiteral("Failed: Unable to ");
}

// Whatever changes behind the task's back, a source is removed only once
// its copy is whole, and what is left of the sources is as it was.
void TestZKCopyTask::moveSurvivesChangesBehindItsBack() {
    QFETCH(QString, fault);
    QFETCH(QString, failure);
    const QStringList names{"a", "b", "c"};
    QVERIFY(QDir().mkpath(path("d")));
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY(writeFile(path("d/" + names[i]), randomBytes(300000, quint32(60 + i))));
    }
    auto task = makeTask("d");
    task->setTransferMode(ZKTransferMode::Move);
    task->setIsVerifyEnabled(true);
    step(*task); // analyse
    QCOMPARE(task->state(), S::PendingProcessing);
    if (fault == "vanish") {
        QVERIFY(QFile::remove(path("d/b")));
    }
    if (fault == "dropOut") {
        task->setMaximumTransferRate(300000);
        task->start();
        QTRY_VERIFY_WITH_TIMEOUT(task->bytesCopied() > 0, 10000);
        QVERIFY(QDir(path("out")).removeRecursively());
        QTRY_VERIFY_WITH_TIMEOUT(isResting(task->state()), 20000);
    } else {
        step(*task); // copy
        QCOMPARE(task->state(), S::PendingVerification);
        // Not yet under its name: only a verified copy takes it.
        QVERIFY(!QFile::exists(path("out/d/b")));
        QFile copy(ZKTestSupport::partialPath(path("out/d"), "b"));
        if (fault == "flip") {
            QVERIFY(copy.open(QIODevice::ReadWrite) && copy.seek(150000) && copy.write("!") == 1);
        }
    }
    runToEnd(*task);
    QCOMPARE(task->state(), failure.isEmpty() ? S::Completed : S::Failed);
    // An item removed by the user is not missed: the rest is moved.
    QVERIFY2(failure.isEmpty() ? task->detail().endsWith(QStringLiteral(" - done"))
                               : task->detail().startsWith(failure),
             qUtf8Printable(task->detail()));
    for (int i = 0; i < names.size(); ++i) {
        const QByteArray content = randomBytes(300000, quint32(60 + i));
        if (QFile::exists(path("d/" + names[i]))) {
            QVERIFY2(readFile(path("d/" + names[i])) == content, qUtf8Printable(names[i]));
        } else if (!(fault == "vanish" && names[i] == "b")) {
            QVERIFY2(readFile(path("out/d/" + names[i])) == content, qUtf8Printable(names[i]));
        }
    }
}

// What cannot be copied (every kind is the operations' own test) is left
// where it is by a move, which takes everything else and keeps only the
// folders that still hold such items.
void TestZKCopyTask::moveLeavesWhatCannotBeCopiedInItsFolder() {
    QVERIFY(QDir().mkpath(path("t/deep")) && QDir().mkpath(path("t/plain/inner")));
    const QByteArray content = randomBytes(200000, 70);
    for (const QString name : {"t/f", "t/deep/g", "t/plain/inner/h"}) {
        QVERIFY(writeFile(path(name), content));
    }
    const QByteArray pipe = QFile::encodeName(path("t/deep/pipe"));
    QVERIFY(::mkfifo(pipe.constData(), 0600) == 0);

    auto task = makeTask("t");
    task->setTransferMode(ZKTransferMode::Move);
    runToEnd(*task);
    QVERIFY2(task->state() == S::Completed, qUtf8Printable(task->detail()));
    for (const QString name : {"t/f", "t/deep/g", "t/plain/inner/h"}) {
        QVERIFY2(readFile(path("out/" + name)) == content, qUtf8Printable(name));
        QVERIFY2(!QFileInfo::exists(path(name)), qUtf8Printable(name));
    }
    QVERIFY(!QFileInfo::exists(path("t/plain")));
    struct stat status {};
    QVERIFY(::lstat(pipe.constData(), &status) == 0 && S_ISFIFO(status.st_mode));
    // The task says what it left behind.
    QVERIFY2(task->notes().join(QLatin1Char('\n')).contains(path("t/deep/pipe")),
             qUtf8Printable(task->notes().join(QLatin1Char('\n'))));
}

void TestZKCopyTask::cancelAsksAboutPartialFile_data() {
    QTest::addColumn<int>("button"); // none: the task goes while it asks
    QTest::addColumn<bool>("partialKept");
    QTest::newRow("Delete") << 0 << false;
    QTest::newRow("Keep") << 1 << true;
    QTest::newRow("let go unanswered") << -1 << true;
}

void TestZKCopyTask::cancelAsksAboutPartialFile() {
    QFETCH(int, button);
    QFETCH(bool, partialKept);

    const QByteArray content = randomBytes(2000000, 5);
    QVERIFY(writeFile(path("src"), content));
    auto task = makeTask("src");
    step(*task);
    task->setMaximumTransferRate(300000);
    task->start();
    QTRY_VERIFY_WITH_TIMEOUT(task->bytesCopied() > 0, 10000);
    m_presenter.setAnswer({button, false});
    m_presenter.setHolding(button < 0);
    task->cancel();
    if (button < 0) {
        QTRY_COMPARE_WITH_TIMEOUT(m_presenter.heldCount(), 1, 10000);
        task.reset(); // on the main thread, while its worker waits
        QTRY_COMPARE(m_presenter.cancelledCount(), 1);
    } else {
        QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Cancelled, 10000);
    }
    QCOMPARE(m_presenter.questions().size(), 1);
    const QString partial = ZKTestSupport::partialPath(path("out"), "src");
    QVERIFY(m_presenter.messages()[0].endsWith(partial + "'?"));
    QCOMPARE(QFile::exists(partial), partialKept);
    QVERIFY(!QFile::exists(path("out/src")));
    QVERIFY(QFile::exists(path("src")));
}

void TestZKCopyTask::savedRemovingTaskStaysRemoving() {
    QVERIFY(writeFile(path("src"), "data"));
    auto saved = makeTask("src")->asPropertyList();
    saved[QStringLiteral("State")] = QStringLiteral("Removing");
    auto task = ZKCopyTask::create(saved);
    QTest::qWait(100);
    QCOMPARE(task->state(), S::Removing);
    QVERIFY(QFile::exists(path("src")));
}

void TestZKCopyTask::savedTaskShowsItsProgress_data() {
    QTest::addColumn<QString>("state");
    for (const char *state : {"PendingProcessing", "Suspended", "Failed", "Cancelled"}) {
        QTest::newRow(state) << QString::fromLatin1(state);
    }
}

void TestZKCopyTask::savedTaskShowsItsProgress() {
    // The bar says what the detail line says: 1 of 4 bytes.
    QFETCH(QString, state);
    QVERIFY(writeFile(path("src"), "data"));
    auto saved = makeTask("src")->asPropertyList();
    saved[QStringLiteral("State")] = state;
    saved[QStringLiteral("ProgressBytes")] = 1;
    saved[QStringLiteral("TotalBytes")] = 4;
    auto task = ZKCopyTask::create(saved);
    QTRY_COMPARE(task->progress().fraction, 0.25);
}

void TestZKCopyTask::texts_data() {
    QTest::addColumn<ZKTaskState>("state");
    QTest::addColumn<qint32>("mode");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("detail");

    const qint32 copy = ZKTransferMode::Copy;
    const qint32 move = ZKTransferMode::Move;
    auto row = [](const char *name, ZKTaskState state, qint32 mode, const char *description,
                  const char *detail) {
        QTest::newRow(name) << state << mode << QString(description) << QString(detail);
    };
    row("moving", S::Processing, move, "Moving \"src\" to \"out\"", "512 bytes of 2.0 KB");
    // After a resume the last run counted only its own part: done is whole.
    row("done", S::Completed, copy, "Copied \"src\" to \"out\"", "2.0 KB of 2.0 KB - done");
    // The queue's rate would give it a time; a row that rests has none.
    row("paused", S::PendingProcessing, copy, "Copy \"src\" to \"out\"", "512 bytes of 2.0 KB");
}

void TestZKCopyTask::texts() {
    QFETCH(ZKTaskState, state);
    QFETCH(qint32, mode);
    QFETCH(QString, description);
    QFETCH(QString, detail);

    QVERIFY(writeFile(path("src"), "x"));
    auto task = makeTask("src");
    task->setTransferMode(mode);
    task->setTotalBytes(2048);
    task->setProgressBytes(512);
    task->setState(state);
    if (state == S::PendingProcessing) {
        task->setDataRate(100);
    }
    task->refresh();
    QTRY_COMPARE(task->description(), description);
    QTRY_COMPARE(task->detail(), detail);
}

void TestZKCopyTask::runningFolderTellsItsFilesAndRate() {
    QVERIFY(QDir().mkpath(path("d")));
    for (const char *name : {"a", "b", "c", "e"}) {
        QVERIFY(writeFile(path("d/") + QLatin1String(name), randomBytes(100000, 7)));
    }
    auto task = makeTask("d");
    task->setMinimumTimeBetweenNotifications(0.05);
    step(*task); // analyse
    QCOMPARE(task->progress().filesTotal, quint64(4));
    task->setMaximumTransferRate(200000);
    task->start();
    QVERIFY2(QTest::qWaitFor(
                 [&] {
                     const ZKTaskProgress p = task->progress();
                     const QString detail = task->detail();
                     return p.filesDone >= 1 && !p.currentFile.isEmpty() && p.dataRate > 0 &&
                            detail.contains(QStringLiteral("of 4 files)")) &&
                            detail.contains(QStringLiteral("/s"));
                 },
                 10000),
             qUtf8Printable(task->detail()));
    task->pause();
    QTRY_COMPARE(task->state(), S::PendingProcessing);
    task->refresh();
    // A resting row says how far it got, not how fast or how long.
    QTRY_VERIFY2(!task->detail().contains(QStringLiteral(" - ")), qUtf8Printable(task->detail()));
    QCOMPARE(task->progress().dataRate, 0.0);
    task->setMaximumTransferRate(0);
    runToEnd(*task);
    QCOMPARE(task->state(), S::Completed);
    QCOMPARE(task->progress().filesTotal, quint64(4));
    QCOMPARE(task->detail(), QStringLiteral("390.6 KB of 390.6 KB - done"));
}

void TestZKCopyTask::moveFinishedAfterItsLastSave_data() {
    QTest::addColumn<QString>("savedState");
    QTest::addColumn<bool>("saysWhence"); // the copy carries its source's identity
    QTest::addColumn<ZKTaskState>("expected");
    QTest::newRow("saved waiting") << "PendingPreparation" << true << ZKTaskState(S::Completed);
    QTest::newRow("saved copying") << "Processing" << true << ZKTaskState(S::Completed);
    // Nothing says that file is the source's copy: the task cannot tell.
    QTest::newRow("saved copying, copy says nothing")
        << "Processing" << false << ZKTaskState(S::Failed);
}

// A move whose copy and removal ended after the queue was last saved, as a
// crash leaves it: the source is gone and its whole copy says where it came
// from. Reopened, the task is done, not failed.
void TestZKCopyTask::moveFinishedAfterItsLastSave() {
    QFETCH(QString, savedState);
    QFETCH(bool, saysWhence);
    QFETCH(ZKTaskState, expected);
    const QByteArray content = randomBytes(300000, 12);
    QVERIFY(writeFile(path("src"), content) && writeFile(path("out/src"), content));
    QVERIFY(!saysWhence || ZKTestSupport::markBegunFrom(path("out/src"), path("src")));
    auto task = makeTask("src");
    task->setTransferMode(ZKTransferMode::Move);
    auto saved = task->asPropertyList();
    task.reset();
    saved[QStringLiteral("State")] = savedState;
    saved[QStringLiteral("ProgressBytes")] = quint64(100000);
    saved[QStringLiteral("TotalBytes")] = quint64(content.size());
    QVERIFY(QFile::remove(path("src")));

    auto reopened = ZKCopyTask::create(saved);
    QVERIFY(reopened);
    reopened->resumeInterruptedStep(); // as its queue does
    runToEnd(*reopened);
    QTRY_VERIFY_WITH_TIMEOUT(isResting(reopened->state()), 20000);
    QVERIFY2(reopened->state() == expected, qUtf8Printable(reopened->detail()));
    QCOMPARE(readFile(path("out/src")), content);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKCopyTask test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKCopyTask.moc"
