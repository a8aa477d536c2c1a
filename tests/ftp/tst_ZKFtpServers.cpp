// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyOperation.h"
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKFtpReader.h"
#include "ZKFtpServers.h"
#include "ZKFtpWriter.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"
#include "ZKPreferences.h"
#include "ZKQuestionPresenter.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"
#include "ZKVerifyFileOperation.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>

using S = ZKTaskState;

// The reason of a failure for a QVERIFY2 message, which is built even when
// the check passes.
static QString describe(const ZKOptionalError &error) {
    return error ? error->localizedDescription() : QString();
}

namespace {

// No question is expected in these transfers; one that comes is a failure.
class RecordingPresenter : public ZKQuestionPresenter {
public:
    ZKAnswer ask(const ZKQuestion &question) override {
        m_questions << question.message;
        return ZKAnswer{1, false};
    }
    QStringList m_questions;
};

// Relative path -> content digest ("<folder>" for folders).
QMap<QString, QByteArray> snapshot(const QString &root) {
    QMap<QString, QByteArray> entries;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(root).relativeFilePath(path);
        if (it.fileInfo().isDir()) {
            entries.insert(relative, "<folder>");
            continue;
        }
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(&file);
        entries.insert(relative, hash.result().toHex());
    }
    return entries;
}

bool isResting(qint32 state) {
    return state == S::PendingPreparation || state == S::PendingProcessing ||
           state == S::PendingVerification || state == S::PendingRemoval || state >= S::Completed;
}

} // namespace

class TestZKFtpServers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void transfersFilesAndTrees_data();
    void transfersFilesAndTrees();
    void resumesCutTransfers_data();
    void resumesCutTransfers();
    void moveRemovesTheSourceOnlyAfterTheCheck_data();
    void moveRemovesTheSourceOnlyAfterTheCheck();

private:
    void serverKinds();
    bool startServer();
    QString local(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKReaderPtr ftpReader(const QString &path) const;
    ZKWriterPtr ftpFolder(const QString &path) const;
    qint32 runTask(const ZKReaderPtr &source, const ZKWriterPtr &destination, qint32 mode,
                   bool verify, qint32 stopAt = S::Completed);
    qint32 step(ZKCopyTask &task);
    void makeTree(const QString &root);

    RecordingPresenter m_presenter;
    std::unique_ptr<ZKFtpServers> m_server;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::shared_ptr<ZKCopyTask> m_task;
    QString m_skipReason;
};

void TestZKFtpServers::initTestCase() {
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    ZKTestSupport::isolateSettings();
    ZKPreferences::initialiseUserDefaults();
    // Every folder writer that closes after a transfer waits this long for
    // one more reply: short keeps the suite quick, two seconds leave room
    // for a loaded machine's stalls.
    ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 2);
    ZKQuestionPresenter::setShared(&m_presenter);
}

void TestZKFtpServers::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    m_presenter.m_questions.clear();
}

void TestZKFtpServers::cleanup() {
    m_task.reset();
    m_server.reset();
    m_dir.reset();
    QVERIFY2(m_presenter.m_questions.isEmpty(), qPrintable(m_presenter.m_questions.join('\n')));
}

void TestZKFtpServers::serverKinds() {
    QTest::addColumn<int>("kind");
    for (const ZKFtpServers::Kind kind :
         {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
        QTest::newRow(qPrintable(ZKFtpServers::name(kind))) << int(kind);
    }
}

bool TestZKFtpServers::startServer() {
    QFETCH(int, kind);
    m_server = std::make_unique<ZKFtpServers>(ZKFtpServers::Kind(kind));
    if (m_server->start()) {
        return true;
    }
    m_skipReason = m_server->errorString();
    return false;
}

// A task's state, with the task's failure when it is not the one expected.
#define COMPARE_STATE(expression, expected)                                                        \
    do {                                                                                           \
        const qint32 state = (expression);                                                         \
        QVERIFY2(state == (expected),                                                              \
                 qPrintable(QStringLiteral("state %1 instead of %2: %3")                           \
                                .arg(state)                                                        \
                                .arg(expected)                                                     \
                                .arg(describe(m_task ? m_task->error() : ZKOptionalError()))));    \
    } while (false)

// Missing daemons fail under CI and are skipped with the reason elsewhere.
#define START_SERVER()                                                                             \
    do {                                                                                           \
        if (!startServer()) {                                                                      \
            if (ZKFtpServers::mustRun()) {                                                         \
                QFAIL(qPrintable(m_skipReason));                                                   \
            }                                                                                      \
            QSKIP(qPrintable(m_skipReason));                                                       \
        }                                                                                          \
    } while (false)

ZKReaderPtr TestZKFtpServers::ftpReader(const QString &path) const {
    return ZKFtpReader::readerWithUrl(m_server->url(path), m_server->username(),
                                      m_server->password());
}

ZKWriterPtr TestZKFtpServers::ftpFolder(const QString &path) const {
    return ZKFtpWriter::writerWithDirectoryUrl(m_server->url(path), m_server->username(),
                                               m_server->password());
}

qint32 TestZKFtpServers::step(ZKCopyTask &task) {
    bool moved = false;
    auto connection = connect(&task, &ZKTask::stateChanged, this, [&] { moved = true; });
    task.start();
    const bool rested = QTest::qWaitFor([&] { return moved && isResting(task.state()); }, 120000);
    disconnect(connection);
    return rested ? task.state() : -1;
}

qint32 TestZKFtpServers::runTask(const ZKReaderPtr &source, const ZKWriterPtr &destination,
                                 qint32 mode, bool verify, qint32 stopAt) {
    m_task = ZKCopyTask::create(source, destination);
    m_task->setTransferMode(mode);
    m_task->setIsVerifyEnabled(verify);
    qint32 state = m_task->state();
    for (int i = 0; i < 6 && state != stopAt && state < S::Completed && state >= 0; ++i) {
        state = step(*m_task);
    }
    return state;
}

void TestZKFtpServers::makeTree(const QString &root) {
    QDir top(root);
    top.mkpath(QStringLiteral("nested/deeper"));
    top.mkpath(QStringLiteral("empty folder"));
    ZKTestSupport::writeFile(top.filePath("big.bin"),
                             ZKTestSupport::randomBytes(50 * 1000 * 1000, 11));
    ZKTestSupport::writeFile(top.filePath("empty.txt"), QByteArray());
    ZKTestSupport::writeFile(top.filePath("with space.txt"), ZKTestSupport::randomBytes(1000, 12));
    ZKTestSupport::writeFile(top.filePath(QStringLiteral("nested/deeper/ünïcødé ✓.txt")),
                             ZKTestSupport::randomBytes(5000, 13));
    ZKTestSupport::writeFile(top.filePath("nested/empty.dat"), QByteArray());
}

void TestZKFtpServers::transfersFilesAndTrees_data() {
    serverKinds();
}

void TestZKFtpServers::transfersFilesAndTrees() {
    START_SERVER();
    const QString tree = local(QStringLiteral("tree"));
    makeTree(tree);
    const QByteArray solo = ZKTestSupport::randomBytes(3 * 1000 * 1000 + 7, 14);
    QVERIFY(ZKTestSupport::writeFile(local("solo.bin"), solo));

    // Up: a tree and a single file, each verified by the task.
    const auto fromLocal = [this](const QString &name) {
        return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(local(name)));
    };
    COMPARE_STATE(runTask(fromLocal("tree"), ftpFolder("/incoming/"), ZKTransferMode::Copy, true),
                  S::Completed);
    QVERIFY2(!m_task->error(), qPrintable(describe(m_task->error())));
    COMPARE_STATE(
        runTask(fromLocal("solo.bin"), ftpFolder("/incoming/"), ZKTransferMode::Copy, true),
        S::Completed);
    const QString incoming = QDir(m_server->root()).filePath(QStringLiteral("incoming"));
    QCOMPARE(snapshot(QDir(incoming).filePath("tree")), snapshot(tree));
    QCOMPARE(ZKTestSupport::readFile(QDir(incoming).filePath("solo.bin")), solo);

    // Down: the same back into a folder of their own, verified as well.
    const QString down = local(QStringLiteral("down"));
    QDir().mkpath(down);
    const auto toDown = [&down] {
        return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(down));
    };
    COMPARE_STATE(runTask(ftpReader("/incoming/tree/"), toDown(), ZKTransferMode::Copy, true),
                  S::Completed);
    QVERIFY2(!m_task->error(), qPrintable(describe(m_task->error())));
    COMPARE_STATE(runTask(ftpReader("/incoming/solo.bin"), toDown(), ZKTransferMode::Copy, true),
                  S::Completed);
    QCOMPARE(snapshot(QDir(down).filePath("tree")), snapshot(tree));
    QCOMPARE(ZKTestSupport::readFile(QDir(down).filePath("solo.bin")), solo);
}

void TestZKFtpServers::resumesCutTransfers_data() {
    serverKinds();
}

void TestZKFtpServers::resumesCutTransfers() {
    START_SERVER();
    const QByteArray content = ZKTestSupport::randomBytes(8 * 1000 * 1000, 15);
    const QString served = QDir(m_server->root()).filePath(QStringLiteral("served.bin"));
    QVERIFY(ZKTestSupport::writeFile(served, content));
    QVERIFY(ZKTestSupport::writeFile(local("upload.bin"), content));
    QDir(m_server->root()).mkdir(QStringLiteral("up"));
    m_server->handOver(m_server->root());
    const QString down = local(QStringLiteral("down"));
    QDir().mkpath(down);

    // Each transfer is cut after its first megabyte, then continued by a new
    // operation, which must move only what is missing.
    const auto cutThenResume = [&](const std::function<ZKReaderPtr()> &source,
                                   const std::function<ZKWriterPtr()> &destination,
                                   const QString &partial) {
        {
            ZKCopyOperation cut(source(), destination());
            cut.setMaximumTransferRate(4 * 1000 * 1000);
            std::thread worker([&cut] { cut.start(); });
            const bool started = QTest::qWaitFor(
                [&cut] { return cut.bytesCopied() > 1000 * 1000 || cut.isFinished(); }, 30000);
            cut.cancel();
            worker.join();
            QVERIFY(started);
            QVERIFY2(!cut.error(), qPrintable(describe(cut.error())));
        }
        const qint64 kept = QFileInfo(partial).size();
        QVERIFY2(kept > 0 && kept < content.size(), qPrintable(QString::number(kept)));

        ZKCopyOperation resume(source(), destination());
        QObject context;
        std::atomic<quint64> written{0};
        ZKNotificationCenter::defaultCenter().addObserver(
            ZKNotificationNames::operationActivity, nullptr, &context,
            [&written](const ZKNotification &note) {
                written = note.userInfo.value(ZKNotificationNames::totalBytesKey).toULongLong();
            });
        resume.start();
        QVERIFY2(!resume.error(), qPrintable(describe(resume.error())));
        QCOMPARE(written.load(), quint64(content.size() - kept));

        ZKVerifyFileOperation verify(source(), destination());
        verify.start();
        QVERIFY2(!verify.error(), qPrintable(describe(verify.error())));
    };

    cutThenResume(
        [this] { return ftpReader("/served.bin"); },
        [&down] { return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(down)); },
        QDir(down).filePath("served.bin"));
    if (QTest::currentTestFailed()) {
        return;
    }
    QCOMPARE(ZKTestSupport::readFile(QDir(down).filePath("served.bin")), content);

    cutThenResume(
        [this] {
            return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(local("upload.bin")));
        },
        [this] { return ftpFolder("/up/"); }, QDir(m_server->root()).filePath("up/upload.bin"));
    if (QTest::currentTestFailed()) {
        return;
    }
    QCOMPARE(ZKTestSupport::readFile(QDir(m_server->root()).filePath("up/upload.bin")), content);
}

void TestZKFtpServers::moveRemovesTheSourceOnlyAfterTheCheck_data() {
    serverKinds();
}

void TestZKFtpServers::moveRemovesTheSourceOnlyAfterTheCheck() {
    START_SERVER();
    const QString moving = local(QStringLiteral("moving"));
    QDir().mkpath(moving + QStringLiteral("/inner"));
    ZKTestSupport::writeFile(moving + QStringLiteral("/a.bin"),
                             ZKTestSupport::randomBytes(70000, 16));
    ZKTestSupport::writeFile(moving + QStringLiteral("/inner/b.txt"), "b");
    const QMap<QString, QByteArray> before = snapshot(moving);
    const auto source = [this] {
        return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(local("moving")));
    };

    // A copy that no longer matches when the source is to be removed: the
    // removal is refused and the source stays whole.
    QCOMPARE(
        runTask(source(), ftpFolder("/moved/"), ZKTransferMode::Move, false, S::PendingRemoval),
        S::PendingRemoval);
    const QString copied = QDir(m_server->root()).filePath(QStringLiteral("moved/moving"));
    QVERIFY(QFile::resize(copied + QStringLiteral("/a.bin"), 100));
    COMPARE_STATE(step(*m_task), S::Failed);
    QVERIFY(m_task->error());
    QVERIFY2(m_task->error()->localizedDescription().startsWith(
                 QStringLiteral("Cannot remove files because")),
             qPrintable(describe(m_task->error())));
    QCOMPARE(snapshot(moving), before);

    // The same move onto a good copy removes the source after checking it.
    QVERIFY(QDir(copied).removeRecursively());
    COMPARE_STATE(runTask(source(), ftpFolder("/moved/"), ZKTransferMode::Move, true),
                  S::Completed);
    QVERIFY2(!m_task->error(), qPrintable(describe(m_task->error())));
    QVERIFY(!QFileInfo::exists(moving));
    QCOMPARE(snapshot(copied), before);
}

QTEST_GUILESS_MAIN(TestZKFtpServers)
#include "tst_ZKFtpServers.moc"
