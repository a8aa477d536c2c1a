// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyOperation.h"
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKFtpClient.h"
#include "ZKFtpItem.h"
#include "ZKFtpReader.h"
#include "ZKFtpServers.h"
#include "ZKFtpWriter.h"
#include "ZKPartialFile.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKQuestionPresenter.h"
#include "ZKScriptedPresenter.h"
#include "ZKSocket.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKTrustedCertificates.h"
#include "ZKUserDefaults.h"
#include "ZKVerifyFileOperation.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <thread>

using S = ZKTaskState;

using ZKTestSupport::errorText;

// Runs a copy under a limit and cancels it once a megabyte is through, as a
// cut connection or a quit would. Answers what went wrong, or nothing.
static QString cutShort(ZKCopyOperation &cut) {
    cut.setMaximumTransferRate(4 * 1000 * 1000);
    std::thread worker([&cut] { cut.start(); });
    const bool started = QTest::qWaitFor(
        [&cut] { return cut.bytesCopied() > 1000 * 1000 || cut.isFinished(); }, 30000);
    cut.cancel();
    worker.join();
    if (!started) {
        return QStringLiteral("the copy never got going");
    }
    return errorText(cut.error());
}

namespace {

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

} // namespace

// Missing daemons fail under CI and are skipped with the reason elsewhere.
#define START_SERVER_WITH(host, secure)                                                            \
    do {                                                                                           \
        QFETCH(int, kind);                                                                         \
        m_server = std::make_unique<ZKFtpServers>(ZKFtpServers::Kind(kind), host);                 \
        m_server->setSecure(secure);                                                               \
        ZK_REQUIRE_STARTED(m_server->start(), m_server->errorString());                            \
    } while (false)
#define START_SERVER() START_SERVER_WITH(QStringLiteral("127.0.0.1"), false)

// Transfers between local folders and real FTP daemons, through copy tasks.
class TestZKFtpServers : public QObject {
    Q_OBJECT

    // No question is expected in these transfers; one that comes is a failure.
    ZKScriptedPresenter m_presenter;
    std::unique_ptr<ZKFtpServers> m_server;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::shared_ptr<ZKCopyTask> m_task;

    QString local(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKReaderPtr localReader(const QString &name) const {
        return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(local(name)));
    }
    ZKWriterPtr localFolder(const QString &name) const {
        QDir().mkpath(local(name));
        return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(local(name)));
    }
    ZKReaderPtr ftpReader(const QString &path) const {
        return ZKFtpReader::readerWithUrl(m_server->url(path), m_server->username(),
                                          m_server->password());
    }
    ZKWriterPtr ftpFolder(const QString &path) const {
        return ZKFtpWriter::writerWithDirectoryUrl(m_server->url(path), m_server->username(),
                                                   m_server->password());
    }
    QString served(const QString &path) const { return QDir(m_server->root()).filePath(path); }
    // The task's state, and its failure when it is not the one expected.
    QString stateText(ZKTaskState state) const {
        return QStringLiteral("state %1: %2")
            .arg(ZKTaskStates::convertToString(state))
            .arg(errorText(m_task->error()));
    }

    ZKTaskState runTask(const ZKReaderPtr &source, const ZKWriterPtr &destination, qint32 mode,
                        bool verify, ZKTaskState stopAt = S::Completed) {
        m_task = ZKCopyTask::create(source, destination);
        m_task->setTransferMode(mode);
        m_task->setIsVerifyEnabled(verify);
        return ZKTestSupport::runTask(*m_task, 120000, stopAt);
    }

    static void serverKinds() {
        QTest::addColumn<int>("kind");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            QTest::newRow(qPrintable(ZKFtpServers::name(kind))) << int(kind);
        }
    }

private Q_SLOTS:
    void initTestCase() {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        ZKTestSupport::isolateSettings();
        ZKPreferences::initialiseUserDefaults();
        // An abort waits this long for the server's last words: short keeps
        // the suite quick, two seconds leave room for a loaded machine's stalls.
        ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 2);
        ZKQuestionPresenter::setShared(&m_presenter);
    }

    void init() {
        ZKUserDefaults::standard().setObject(QStringLiteral("trustedCertificates"), QVariant());
        m_dir = std::make_unique<QTemporaryDir>();
        m_presenter.reset();
        m_presenter.setAnswer(ZKAnswer{1, false});
    }

    void cleanup() {
        m_task.reset();
        m_server.reset();
        m_dir.reset();
        QVERIFY2(m_presenter.questions().isEmpty(), qPrintable(m_presenter.messages().join('\n')));
    }

    void transfersFilesAndTrees_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("secure");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::newRow(qPrintable(name)) << int(kind) << "127.0.0.1" << false;
            // Control and every data connection (EPSV) over IPv6.
            QTest::addRow("%s over IPv6", qPrintable(name)) << int(kind) << "::1" << false;
            QTest::addRow("%s over TLS", qPrintable(name)) << int(kind) << "127.0.0.1" << true;
        }
    }

    // Up and back down again: a tree and a single file, each verified by the
    // task. Over TLS the servers require it for the login and every data
    // connection, and a certificate no one vouches for is refused, naming
    // the server, until the user trusts it.
    void transfersFilesAndTrees() {
        QFETCH(QString, host);
        QFETCH(bool, secure);
        QTcpServer probe;
        if (host == QLatin1String("::1") && !probe.listen(QHostAddress::LocalHostIPv6, 0)) {
            QSKIP("this machine has no IPv6 loopback address");
        }
        probe.close();
        START_SERVER_WITH(host, secure);
        QCOMPARE(m_server->url("/").host(), host);
        QCOMPARE(m_server->url("/").scheme(), QString(secure ? "ftps" : "ftp"));
        QDir tree(local(QStringLiteral("tree")));
        tree.mkpath(QStringLiteral("nested/deeper"));
        tree.mkpath(QStringLiteral("empty folder"));
        const qsizetype big =
            host == QLatin1String("127.0.0.1") && !secure ? 50 * 1000 * 1000 : 3 * 1000 * 1000;
        QVERIFY(ZKTestSupport::writeFile(tree.filePath("big.bin"),
                                         ZKTestSupport::randomBytes(big, 11)));
        QVERIFY(ZKTestSupport::writeFile(tree.filePath("empty.txt"), QByteArray()));
        QVERIFY(ZKTestSupport::writeFile(tree.filePath("with space.txt"),
                                         ZKTestSupport::randomBytes(1000, 12)));
        QVERIFY(
            ZKTestSupport::writeFile(tree.filePath(QStringLiteral("nested/deeper/ünïcødé ✓.txt")),
                                     ZKTestSupport::randomBytes(5000, 13)));
        QVERIFY(ZKTestSupport::writeFile(tree.filePath("nested/empty.dat"), QByteArray()));
        const QByteArray solo = ZKTestSupport::randomBytes(3 * 1000 * 1000 + 7, 14);
        QVERIFY(ZKTestSupport::writeFile(local("solo.bin"), solo));

        if (secure) {
            const ZKTaskState state =
                runTask(localReader("tree"), ftpFolder("/incoming/"), ZKTransferMode::Copy, true);
            QVERIFY2(state == S::Failed, qPrintable(stateText(state)));
            const QString refusal = errorText(m_task->error());
            QVERIFY2(refusal.contains("The certificate of 127.0.0.1 is not trusted") &&
                         refusal.contains(m_server->certificateFingerprint()),
                     qPrintable(refusal));
            QVERIFY(!QFileInfo::exists(served("incoming/tree")));
            QVERIFY(ZKTrustedCertificates::trust(m_server->certificateFingerprint()));
        }
        for (const QString &name : {QStringLiteral("tree"), QStringLiteral("solo.bin")}) {
            ZKTaskState state =
                runTask(localReader(name), ftpFolder("/incoming/"), ZKTransferMode::Copy, true);
            QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
            // A folder's URL ends in a slash.
            const QString path = "/incoming/" + name + (name == "tree" ? "/" : "");
            state = runTask(ftpReader(path), localFolder("down"), ZKTransferMode::Copy, true);
            QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
        }
        QCOMPARE(snapshot(served("incoming/tree")), snapshot(tree.path()));
        QCOMPARE(snapshot(local("down/tree")), snapshot(tree.path()));
        QCOMPARE(ZKTestSupport::readFile(served("incoming/solo.bin")), solo);
        QCOMPARE(ZKTestSupport::readFile(local("down/solo.bin")), solo);
    }

    void rootFolderIsSourceAndDestination_data() { serverKinds(); }

    // The root an account sees (its home on most servers) takes items like
    // any folder, and comes down whole as a folder named after the server.
    void rootFolderIsSourceAndDestination() {
        START_SERVER();
        QDir tree(local(QStringLiteral("tree")));
        tree.mkpath(QStringLiteral("inner"));
        QVERIFY(ZKTestSupport::writeFile(tree.filePath("inner/a.bin"),
                                         ZKTestSupport::randomBytes(200 * 1000, 21)));
        QVERIFY(ZKTestSupport::writeFile(local("top.txt"), "at the top"));
        // Named after its server wherever a task shows it.
        QCOMPARE(ftpFolder("/")->filename(), m_server->url("/").host());
        for (const QString &name : {QStringLiteral("tree"), QStringLiteral("top.txt")}) {
            const ZKTaskState state =
                runTask(localReader(name), ftpFolder("/"), ZKTransferMode::Copy, true);
            QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
        }
        QCOMPARE(snapshot(served("tree")), snapshot(tree.path()));
        QCOMPARE(ZKTestSupport::readFile(served("top.txt")), QByteArray("at the top"));

        const ZKTaskState state =
            runTask(ftpReader("/"), localFolder("down"), ZKTransferMode::Copy, true);
        QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
        QCOMPARE(snapshot(local("down/" + m_server->url("/").host())), snapshot(m_server->root()));
    }

    void bigFolderIsListedInOneListing_data() { serverKinds(); }

    // Where the server offers MLSD (all but vsftpd), one listing tells every
    // entry's type and size; elsewhere LIST does, read as "ls -l" lines.
    // Either way all 2,000 entries come back as they are.
    void bigFolderIsListedInOneListing() {
        START_SERVER();
        QDir folder(served("many"));
        QVERIFY(folder.mkpath(QStringLiteral("sub")));
        for (int i = 0; i < 2000; ++i) {
            QVERIFY(ZKTestSupport::writeFile(folder.filePath(QStringLiteral("f%1").arg(i)),
                                             QByteArray(i % 7, 'x')));
        }
        ZKFtpClient client;
        const QUrl url = m_server->url("/many/");
        client.connectToHost(url.host(), url.port());
        client.loginWithUsername(m_server->username(), m_server->password());
        client.changePath({QStringLiteral("many")});
        QVERIFY2(!client.error(), qPrintable(errorText(client.error())));
        QFETCH(int, kind);
        QCOMPARE(client.listsWithMlsd(), kind != ZKFtpServers::Vsftpd);
        const std::optional<QList<ZKFtpItem>> items = client.listItems();
        QVERIFY2(items, qPrintable(errorText(client.error())));
        QCOMPARE(items->size(), 2001);
        for (const ZKFtpItem &item : *items) {
            if (item.name() == QLatin1String("sub")) {
                QCOMPARE(item.type(), qint32(ZKFtpItem::Directory));
                continue;
            }
            QCOMPARE(item.type(), qint32(ZKFtpItem::File));
            QCOMPARE(item.size(), quint64(item.name().mid(1).toInt() % 7));
        }
        client.disconnect();
        // As the server saw it: one listing, and no entry asked about.
        if (const std::optional<QStringList> commands = m_server->loggedCommands()) {
            const bool machine = kind != ZKFtpServers::Vsftpd;
            QCOMPARE(commands->count("MLSD"), machine ? 1 : 0);
            QCOMPARE(commands->count("LIST"), machine ? 0 : 1);
            QCOMPARE(commands->count("SIZE"), 0);
        }
    }

    void resumesCutTransfers_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("secure");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::newRow(qPrintable(name)) << int(kind) << false;
            QTest::newRow(qPrintable(name + " over TLS")) << int(kind) << true;
        }
    }

    // Each transfer is cut after its first megabyte, then continued by a new
    // operation, which must move only what is missing (REST down, APPE up).
    void resumesCutTransfers() {
        QFETCH(bool, secure);
        START_SERVER_WITH(QStringLiteral("127.0.0.1"), secure);
        if (secure) {
            QVERIFY(ZKTrustedCertificates::trust(m_server->certificateFingerprint()));
        }
        const QByteArray content = ZKTestSupport::randomBytes(8 * 1000 * 1000, 15);
        QVERIFY(ZKTestSupport::writeFile(served("served.bin"), content));
        QVERIFY(ZKTestSupport::writeFile(local("upload.bin"), content));
        QDir(m_server->root()).mkdir(QStringLiteral("up"));
        m_server->handOver(m_server->root());
        const auto cutThenResume = [&](const std::function<ZKReaderPtr()> &source,
                                       const std::function<ZKWriterPtr()> &destination,
                                       const QString &copied) {
            // One source, as the task that retries keeps it: only the run
            // that began the unfinished file may continue it where the
            // destination cannot say where that file came from.
            const ZKReaderPtr reader = source();
            const QString partial = QFileInfo(copied).dir().filePath(
                ZKPartialFile::nameFor(QFileInfo(copied).fileName()));
            {
                ZKCopyOperation cut(reader, destination());
                const QString failure = cutShort(cut);
                QVERIFY2(failure.isEmpty(), qPrintable(failure));
            }
            const qint64 kept = QFileInfo(partial).size();
            QVERIFY2(kept > 0 && kept < content.size(), qPrintable(QString::number(kept)));

            ZKCopyOperation resume(reader, destination(), quint64(kept));
            std::atomic<quint64> written{0};
            resume.setActivityHandler(
                [&written](const ZKOperationActivity &report) { written = report.totalBytes; });
            resume.start();
            QVERIFY2(!resume.error(), qPrintable(errorText(resume.error())));
            QCOMPARE(written.load(), quint64(content.size() - kept));
            ZKVerifyFileOperation verify(reader, destination());
            verify.start();
            QVERIFY2(!verify.error(), qPrintable(errorText(verify.error())));
            QCOMPARE(ZKTestSupport::readFile(copied), content);
            QVERIFY(!QFileInfo::exists(partial));
        };

        cutThenResume([this] { return ftpReader("/served.bin"); },
                      [this] { return localFolder("down"); }, local("down/served.bin"));
        if (!QTest::currentTestFailed()) {
            cutThenResume([this] { return localReader("upload.bin"); },
                          [this] { return ftpFolder("/up/"); }, served("up/upload.bin"));
        }
    }

    void replacedFileIsCopiedAnew_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<qsizetype>("grown");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::addRow("%s, same size", qPrintable(name)) << int(kind) << qsizetype(0);
            QTest::addRow("%s, longer", qPrintable(name)) << int(kind) << qsizetype(5000);
        }
    }

    // A copy cut, then continued by a reader loaded from its saved form (as
    // a reopened queue does) after the file on the server was replaced. The
    // new version begins with the old one's first bytes and holds its bytes
    // before the cut, so only its date (and size) tell the two apart.
    void replacedFileIsCopiedAnew() {
        START_SERVER();
        QFETCH(qsizetype, grown);
        const qsizetype size = 8 * 1000 * 1000;
        const QByteArray before = ZKTestSupport::randomBytes(size, 31);
        QVERIFY(ZKTestSupport::writeFile(served("served.bin"), before));
        m_server->handOver(m_server->root());
        const ZKReaderPtr source = ftpReader("/served.bin");
        {
            ZKCopyOperation cut(source, localFolder("down"));
            const QString failure = cutShort(cut);
            QVERIFY2(failure.isEmpty(), qPrintable(failure));
        }
        const QString partial = QDir(local("down")).filePath(ZKPartialFile::nameFor("served.bin"));
        const qint64 kept = QFileInfo(partial).size();
        QVERIFY2(kept > 0 && kept < size, qPrintable(QString::number(kept)));
        const QVariantMap saved = source->asPropertyList();

        const QByteArray after = ZKTestSupport::laterVersion(before, kept, grown);
        QVERIFY(ZKTestSupport::writeFile(served("served.bin"), after));
        QVERIFY(ZKTestSupport::setModified(served("served.bin"),
                                           QDateTime::currentDateTimeUtc().addSecs(3600)));
        m_server->handOver(served("served.bin"));

        const auto loaded = ZKPropertyListParser::parseObjectOfType<ZKFtpReader>(saved);
        QVERIFY(loaded);
        ZKCopyOperation resume(loaded, localFolder("down"));
        resume.start();
        QVERIFY2(!resume.error(), qPrintable(errorText(resume.error())));
        const QByteArray copied = ZKTestSupport::readFile(local("down/served.bin"));
        QVERIFY2(copied == after,
                 copied == before.left(kept) + after.mid(kept)
                     ? "the copy joins the old version's start to the new one's end"
                     : "the copy is neither version");
        QVERIFY(!QFileInfo::exists(partial));
    }

    void renamesItems_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("folder"); // the working directory
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::addRow("%s, within the folder", qPrintable(name)) << int(kind) << "in"
                                                                     << "a.part"
                                                                     << "a.bin";
            QTest::addRow("%s, from above", qPrintable(name)) << int(kind) << ""
                                                              << "in/a.part"
                                                              << "in/a.bin";
            QTest::addRow("%s, onto an existing file", qPrintable(name)) << int(kind) << "in"
                                                                         << "a.part"
                                                                         << "old.bin";
        }
    }

    // A finished upload takes its real name in one step. All three servers
    // replace an existing file with the renamed one.
    void renamesItems() {
        START_SERVER();
        QFETCH(QString, folder);
        QFETCH(QString, from);
        QFETCH(QString, to);
        const QByteArray content = ZKTestSupport::randomBytes(100000, 51);
        QVERIFY(QDir(m_server->root()).mkdir(QStringLiteral("in")));
        QVERIFY(ZKTestSupport::writeFile(served("in/a.part"), content));
        QVERIFY(ZKTestSupport::writeFile(served("in/old.bin"), "old"));
        m_server->handOver(m_server->root());

        ZKFtpClient client;
        client.connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
        client.loginWithUsername(m_server->username(), m_server->password());
        client.changePath(folder.split('/', Qt::SkipEmptyParts));
        QVERIFY2(!client.error(), qPrintable(errorText(client.error())));
        QVERIFY2(client.renameItem(from, to), qPrintable(errorText(client.error())));
        QVERIFY(!client.error());
        QVERIFY(!QFileInfo::exists(served("in/a.part")));
        QCOMPARE(ZKTestSupport::readFile(served("in/" + QFileInfo(to).fileName())), content);
        const QStringList left = QDir(served("in")).entryList(QDir::Files);
        QCOMPARE(QSet<QString>(left.begin(), left.end()),
                 QSet<QString>({QFileInfo(to).fileName(), QStringLiteral("old.bin")}));
        // The connection goes on: the next command gets its own reply.
        QVERIFY(client.itemWithName(to));
    }

    void sendsFewCommandsPerFile_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("upload");
        QTest::addColumn<int>("perFile");
        // Down: EPSV and RETR. Up: EPSV and APPE, SIZE of what was stored,
        // SIZE of the real name (kept unless replaced), RNFR and RNTO.
        for (const ZKFtpServers::Kind kind : {ZKFtpServers::Vsftpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::addRow("%s, download", qPrintable(name)) << int(kind) << false << 2;
            QTest::addRow("%s, upload", qPrintable(name)) << int(kind) << true << 6;
        }
    }

    // On a real link every command costs a round trip: a folder's files
    // take no more than their transfers need, over the one login that the
    // next task to the same server goes on using.
    void sendsFewCommandsPerFile() {
        START_SERVER();
        QFETCH(bool, upload);
        QFETCH(int, perFile);
        constexpr int files = 60;
        // Three folders, two of them side by side: the walk goes from one
        // to the other.
        const QStringList folders{QString(), QStringLiteral("a/"), QStringLiteral("b/")};
        const QDir tree(upload ? local("tree") : served("tree"));
        QVERIFY(tree.mkpath(QStringLiteral("a")) && tree.mkpath(QStringLiteral("b")));
        for (int i = 0; i < files; ++i) {
            const QString name = QStringLiteral("%1f%2").arg(folders.at(i % 3)).arg(i);
            QVERIFY(ZKTestSupport::writeFile(tree.filePath(name), QByteArray(i * 10, 'x')));
        }
        QVERIFY(ZKTestSupport::writeFile(local("single.txt"), "single"));
        QDir(m_server->root()).mkdir(QStringLiteral("up"));
        m_server->handOver(m_server->root());
        const auto run = [&](const ZKReaderPtr &source, const ZKWriterPtr &destination) {
            const ZKTaskState state = runTask(source, destination, ZKTransferMode::Copy, false);
            QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
        };
        if (upload) {
            run(localReader("tree"), ftpFolder("/up/"));
        } else {
            run(ftpReader("/tree/"), localFolder("down"));
        }
        if (QTest::currentTestFailed()) {
            return;
        }
        QCOMPARE(snapshot(upload ? served("up/tree") : local("down/tree")), snapshot(tree.path()));
        const std::optional<QStringList> commands = m_server->loggedCommands();
        QVERIFY(commands);
        // Logging in, finding the top folders and listing the two folders
        // (either side of the copy) take some commands, however many files.
        const int allowed = perFile * files + 50;
        QMap<QString, int> counts;
        for (const QString &command : *commands) {
            ++counts[command];
        }
        QString summary;
        for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
            summary += QStringLiteral("%1 %2, ").arg(it.key()).arg(it.value());
        }
        QVERIFY2(commands->size() <= allowed,
                 qPrintable(QStringLiteral("%1 commands for %2 files, at most %3: %4")
                                .arg(commands->size())
                                .arg(files)
                                .arg(allowed)
                                .arg(summary)));
        qInfo().noquote() << commands->size() << "commands for" << files << "files:" << summary;
        // The copy takes the listings its analysis took moments before.
        if (!upload) {
            const int listings = commands->count("MLSD") + commands->count("LIST");
            QVERIFY2(listings == folders.size(),
                     qPrintable(QStringLiteral("%1 listings of %2 folders: %3")
                                    .arg(listings)
                                    .arg(folders.size())
                                    .arg(summary)));
        }

        // The next task finds the connection logged in already; after a
        // restart of the server, a task logs in anew.
        run(localReader("single.txt"), ftpFolder("/up/"));
        QCOMPARE(m_server->loggedCommands().value_or(QStringList()).count("USER"), 1);
        QVERIFY2(m_server->restart(), qPrintable(m_server->errorString()));
        run(localReader("single.txt"), ftpFolder("/"));
        QCOMPARE(m_server->loggedCommands().value_or(QStringList()).count("USER"), 2);
    }

    void changeAfterAnalysisIsCaught_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<qsizetype>("grown");
        QTest::addColumn<bool>("verify");
        for (const ZKFtpServers::Kind kind :
             {ZKFtpServers::Vsftpd, ZKFtpServers::PureFtpd, ZKFtpServers::Proftpd}) {
            const QString name = ZKFtpServers::name(kind);
            QTest::addRow("%s, same size", qPrintable(name)) << int(kind) << qsizetype(0) << true;
            QTest::addRow("%s, longer", qPrintable(name)) << int(kind) << qsizetype(5000) << true;
            QTest::addRow("%s, shorter", qPrintable(name)) << int(kind) << qsizetype(-5000) << true;
            // Nothing compares the copy afterwards: the download itself must
            // notice.
            QTest::addRow("%s, longer, unverified", qPrintable(name))
                << int(kind) << qsizetype(5000) << false;
            QTest::addRow("%s, shorter, unverified", qPrintable(name))
                << int(kind) << qsizetype(-5000) << false;
        }
    }

    // The copy of a tree goes by the listings its analysis took: a file
    // replaced on the server in between must never leave a copy that the
    // task calls good and that is not the file as the server now has it.
    void changeAfterAnalysisIsCaught() {
        START_SERVER();
        QFETCH(qsizetype, grown);
        QFETCH(bool, verify);
        const qsizetype size = 20000;
        const QByteArray before = ZKTestSupport::randomBytes(size, 41);
        QVERIFY(QDir().mkpath(served("tree/in")));
        QVERIFY(ZKTestSupport::writeFile(served("tree/in/changing.bin"), before));
        QVERIFY(ZKTestSupport::writeFile(served("tree/in/steady.txt"), "steady"));
        m_server->handOver(m_server->root());
        ZKTaskState state = runTask(ftpReader("/tree/"), localFolder("down"), ZKTransferMode::Copy,
                                    verify, S::PendingProcessing);
        QVERIFY2(state == S::PendingProcessing, qPrintable(stateText(state)));

        const QByteArray after = ZKTestSupport::randomBytes(size + grown, 42);
        QVERIFY(ZKTestSupport::writeFile(served("tree/in/changing.bin"), after));
        QVERIFY(ZKTestSupport::setModified(served("tree/in/changing.bin"),
                                           QDateTime::currentDateTimeUtc().addSecs(3600)));
        m_server->handOver(served("tree/in/changing.bin"));
        state = ZKTestSupport::runTask(*m_task, 120000);
        const QByteArray copied = ZKTestSupport::readFile(local("down/tree/in/changing.bin"));
        QVERIFY2(state != S::Completed || copied == after, copied == before
                                                               ? "the old version, called good"
                                                               : "neither version, called good");
        QVERIFY2(state == S::Completed || state == S::Failed, qPrintable(stateText(state)));
        qInfo().noquote() << stateText(state);
    }

    void moveRemovesTheSourceOnlyAfterTheCheck_data() { serverKinds(); }

    void moveRemovesTheSourceOnlyAfterTheCheck() {
        START_SERVER();
        QVERIFY(QDir().mkpath(local("moving/inner")));
        QVERIFY(
            ZKTestSupport::writeFile(local("moving/a.bin"), ZKTestSupport::randomBytes(70000, 16)));
        QVERIFY(ZKTestSupport::writeFile(local("moving/inner/b.txt"), "b"));
        const QMap<QString, QByteArray> before = snapshot(local("moving"));

        // A copy that no longer matches when the source is to be removed: the
        // removal is refused and the source stays whole.
        QCOMPARE(runTask(localReader("moving"), ftpFolder("/moved/"), ZKTransferMode::Move, false,
                         S::PendingRemoval),
                 S::PendingRemoval);
        QVERIFY(QFile::resize(served("moved/moving/a.bin"), 100));
        ZKTaskState state = ZKTestSupport::stepTask(*m_task, 120000);
        QVERIFY2(state == S::Failed, qPrintable(stateText(state)));
        QVERIFY2(
            errorText(m_task->error()).startsWith(QStringLiteral("Cannot remove files because")),
            qPrintable(errorText(m_task->error())));
        QCOMPARE(snapshot(local("moving")), before);

        // The same move onto a good copy removes the source after checking it.
        QVERIFY(QDir(served("moved/moving")).removeRecursively());
        state = runTask(localReader("moving"), ftpFolder("/moved/"), ZKTransferMode::Move, true);
        QVERIFY2(state == S::Completed, qPrintable(stateText(state)));
        QVERIFY(!QFileInfo::exists(local("moving")));
        QCOMPARE(snapshot(served("moved/moving")), before);
    }
};

QTEST_GUILESS_MAIN(TestZKFtpServers)
#include "tst_ZKFtpServers.moc"
