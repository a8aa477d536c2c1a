// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCommandLine.h"
#include "ZKCopyTask.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKFtpServers.h"
#include "ZKHttpServers.h"
#include "ZKPreferences.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQueueState.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <csignal>

using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

class TestZKCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void parseRate_data();
    void parseRate();
    void copiesAndMoves();
    void modesSurviveAnyUmask_data();
    void modesSurviveAnyUmask();
    void survivesRepeatedKills();
    void killedInItsFirstSecondLeavesItsQueue();
    void transfersOverFtpAndHttp();
    void savedSourceIsFollowedOnlyWhileItIsTheSameFile();
    void unreadableTaskEntryIsKept();
    void interruptedRemovalIsFinished_data();
    void interruptedRemovalIsFinished();
    void passwordsStayOutOfOutputAndQueues();
    void killedTransferNeverJoinsTwoVersions_data();
    void killedTransferNeverJoinsTwoVersions();
    void conflictAnswersMeanWhatTheySay_data();
    void conflictAnswersMeanWhatTheySay();
    void interruptedCopyWithoutQueueFileSaysWhatIsLeft();
    void missingWebFileSaysOnlyWhy();
    void liveDrawingFitsTheTerminal();

private:
    QString path(const QString &name) const { return QDir(m_dir.path()).filePath(name); }
    // The exit status; what it printed goes to output.
    int runCli(const QStringList &arguments, QByteArray *output = nullptr,
               const QByteArray &input = QByteArray());
    // Starts ferrowick-cli with the test's settings, its output merged.
    void startCli(QProcess &process, const QStringList &arguments);

    // Starts a transfer and interrupts it once something of watched has
    // been written; what it printed goes to output.
    bool interruptTransfer(const QStringList &arguments, const QString &watched,
                           QByteArray *output = nullptr);
    static bool writeQueue(const QString &file, const QVariantMap &plist);

    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
};

void TestZKCommandLine::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert("XDG_CONFIG_HOME", path("config"));
    m_environment.insert("XDG_DATA_HOME", path("data"));
}

void TestZKCommandLine::startCli(QProcess &process, const QStringList &arguments) {
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(FERROWICK_CLI), arguments);
}

int TestZKCommandLine::runCli(const QStringList &arguments, QByteArray *output,
                              const QByteArray &input) {
    QProcess process;
    startCli(process, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000)) {
        process.kill();
        return -1;
    }
    if (output) {
        *output = process.readAll();
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void TestZKCommandLine::parseRate_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<quint64>("rate");

    QTest::newRow("bytes") << "1500" << true << quint64(1500);
    QTest::newRow("500K") << "500K" << true << quint64(500 * 1024);
    QTest::newRow("1G") << "1G" << true << quint64(1024 * 1024 * 1024);
    QTest::newRow("lower case and fraction") << "1.5m" << true << quint64(1.5 * 1024 * 1024);
    QTest::newRow("zero") << "0" << false << quint64(0);
    QTest::newRow("negative") << "-5M" << false << quint64(0);
    QTest::newRow("words") << "fast" << false << quint64(0);
    QTest::newRow("not a number, in megabytes") << "NaNM" << false << quint64(0);
    QTest::newRow("infinite") << "inf" << false << quint64(0);
}

void TestZKCommandLine::parseRate() {
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(quint64, rate);

    quint64 parsed = 0;
    QCOMPARE(ZKCommandLine::parseRate(text, &parsed), ok);
    if (ok) {
        QCOMPARE(parsed, rate);
    }
}

void TestZKCommandLine::copiesAndMoves() {
    QDir(m_dir.path()).mkpath("plain/tree/sub");
    const QByteArray a = randomBytes(300000, 1);
    QVERIFY(writeFile(path("plain/a"), a));
    QVERIFY(writeFile(path("plain/tree/sub/b"), "b"));
    const QString pipe = path("plain/tree/pipe");
    QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
    QByteArray output;
    QCOMPARE(runCli({"copy", path("plain/a"), path("plain/tree"), path("plain/out"), "--verify"},
                    &output),
             0);
    QCOMPARE(readFile(path("plain/out/a")), a);
    QCOMPARE(readFile(path("plain/out/tree/sub/b")), QByteArray("b"));
    // What the copy leaves out is said in words.
    QVERIFY2(output.contains(QStringLiteral("Skipped: '%1' is not a regular file, folder or link.")
                                 .arg(pipe)
                                 .toUtf8()),
             output.constData());
    // The plain log tells each task's end once, also of a task it showed
    // on its way.
    QByteArray slow;
    QCOMPARE(runCli({"copy", path("plain/a"), path("plain/slow"), "--limit", "400K"}, &slow), 0);
    QVERIFY2(slow.count("Copied \"a\" to \"slow\":") == 1 && slow.count("\n") > 2,
             slow.constData());
    // Two tasks for one item would write the same files at once.
    QCOMPARE(
        runCli({"copy", path("plain/a"), path("plain/./tree/../a/"), path("plain/twice")}, &output),
        2);
    QVERIFY2(output.contains("\xe2\x80\x9c"
                             "a\xe2\x80\x9d is given more than once for this destination."),
             output.constData());
    QVERIFY(!QFileInfo::exists(path("plain/twice")));

    QCOMPARE(runCli({"move", path("plain/a"), path("plain/moved")}), 0);
    QVERIFY(!QFile::exists(path("plain/a")));
    QCOMPARE(readFile(path("plain/moved/a")), a);

    // A missing source fails its task: status 1.
    QCOMPARE(runCli({"copy", path("plain/nothing"), path("plain/out")}), 1);
    QCOMPARE(runCli({"copy", path("plain/out")}), 2);
    QCOMPARE(runCli({"copy", "x", "y", "--limit", "fast"}), 2);

    // Every way a queue file can be damaged is the document's own test; the
    // front end refuses one and leaves it as it is.
    const QString file = path("plain/bad.queue");
    QVERIFY(writeFile(file, "<plist><dict>"));
    for (const auto *command : {"run", "show"}) {
        QCOMPARE(runCli({QString::fromLatin1(command), file}, &output), 2);
        QVERIFY2(output.contains("cannot be opened"), output.constData());
    }
    QCOMPARE(readFile(file), QByteArray("<plist><dict>"));
}

void TestZKCommandLine::modesSurviveAnyUmask_data() {
    QTest::addColumn<int>("mask");
    QTest::newRow("022") << 022;
    QTest::newRow("077, strips bits") << 077;
    QTest::newRow("000") << 0;
    QTest::newRow("002") << 02;
}

// The copy spares the calls that would give a file the mode it was made
// with; the process's umask decides which those are.
void TestZKCommandLine::modesSurviveAnyUmask() {
    QFETCH(int, mask);
    const QString root = path(QStringLiteral("umask/%1").arg(mask, 3, 8, QLatin1Char('0')));
    QVERIFY(QDir().mkpath(root + "/tree"));
    const QList<mode_t> modes = {0644, 0600, 0666, 0664, 0640, 0444, 04755, 02750, 01644};
    QStringList arguments{QStringLiteral("copy")};
    for (const mode_t mode : modes) {
        const QString name = QString::number(mode, 8);
        for (const QString &file : {root + '/' + name, root + "/tree/" + name}) {
            QVERIFY(writeFile(file, name.toUtf8()));
            QVERIFY(::chmod(QFile::encodeName(file).constData(), mode) == 0);
        }
        arguments << root + '/' + name;
    }
    arguments << root + "/tree" << root + "/out"
              << "--on-conflict"
              << "cancel";

    QProcess process;
    process.setChildProcessModifier([mask] { ::umask(mode_t(mask)); });
    startCli(process, arguments);
    QVERIFY(process.waitForFinished(120000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             process.readAll().constData());
    for (const mode_t mode : modes) {
        const QString name = QString::number(mode, 8);
        for (const QString &copy : {root + "/out/" + name, root + "/out/tree/" + name}) {
            struct stat status {};
            QVERIFY2(::stat(QFile::encodeName(copy).constData(), &status) == 0, qPrintable(copy));
            QVERIFY2((status.st_mode & 07777) == mode,
                     qPrintable(copy + " has " + QString::number(status.st_mode & 07777, 8)));
            QCOMPARE(status.st_gid, ::getegid());
        }
    }
}

void TestZKCommandLine::survivesRepeatedKills() {
    // A queue of a verified copy, a verified move and a plain copy, killed
    // again and again while it runs. Whatever the moment, a moved source may
    // be gone only once its copy is complete, and nothing else is removed.
    QDir(m_dir.path()).mkpath("kill/out");
    const QStringList names{"copied", "moved", "plain"};
    QList<QByteArray> contents;
    for (int i = 0; i < names.size(); ++i) {
        contents << randomBytes(6000000 + i * 1000003, quint32(40 + i));
        QVERIFY(writeFile(path("kill/" + names[i]), contents[i]));
    }
    const QString queue = path("kill/q.queue");
    {
        ZKFerrowickDocument document;
        document.setState(ZKQueueState::Paused);
        document.speedLimit().setMaximumTransferRate(8000000);
        document.speedLimit().setEnabled(true);
        const auto out =
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("kill/out")));
        QList<ZKReaderPtr> sources;
        for (const QString &name : names) {
            sources << ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("kill/" + name)));
        }
        const auto tasks = document.addTasks(sources, out, 0);
        tasks[0]->setIsVerifyEnabled(true);
        tasks[1]->setIsVerifyEnabled(true);
        tasks[1]->setTransferMode(ZKTransferMode::Move);
        QVERIFY(document.writeToFile(queue));
    }

    auto checkInvariants = [&] {
        QVERIFY(QFile::exists(path("kill/copied")));
        QVERIFY(QFile::exists(path("kill/plain")));
        if (!QFile::exists(path("kill/moved"))) {
            QVERIFY(readFile(path("kill/out/moved")) == contents[1]);
        }
        QVERIFY(QFile::exists(queue));
    };

    QRandomGenerator random(20261123);
    int kills = 0;
    for (int round = 0; round < 60 && kills < 24; ++round) {
        QProcess process;
        startCli(process, {"run", queue});
        QVERIFY(process.waitForStarted());
        const bool ended = process.waitForFinished(int(random.bounded(30, 400)));
        if (!ended) {
            ::kill(pid_t(process.processId()), SIGKILL);
            QVERIFY(process.waitForFinished(10000));
            ++kills;
        } else if (process.exitCode() == 0) {
            break; // finished between two kills
        }
        checkInvariants();
    }
    QVERIFY2(kills >= 20, qPrintable(QStringLiteral("only %1 kills").arg(kills)));

    QByteArray errors;
    const int status = runCli({"run", queue}, &errors);
    QVERIFY2(status == 0, errors.constData());
    checkInvariants();
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY2(readFile(path("kill/out/" + names[i])) == contents[i], qPrintable(names[i]));
    }
    QVERIFY(!QFile::exists(path("kill/moved")));
}

// The queue file is written as the run starts, not only at its first tick:
// a copy killed at once is resumed like any other.
void TestZKCommandLine::killedInItsFirstSecondLeavesItsQueue() {
    QDir(m_dir.path()).mkpath("early/out");
    const QByteArray content = QByteArray(256 * 1024, 'e');
    QVERIFY(writeFile(path("early/a.bin"), content));
    const QString queue = path("early/q.queue");
    QProcess process;
    startCli(process,
             {"copy", path("early/a.bin"), path("early/out"), "--save", queue, "--limit", "64K"});
    QVERIFY(process.waitForStarted());
    QDeadlineTimer deadline(10000);
    while (QFileInfo(path("early/out/a.bin.ferrowick.part")).size() == 0 &&
           !deadline.hasExpired()) {
        QTest::qWait(10);
    }
    ::kill(pid_t(process.processId()), SIGKILL);
    QVERIFY(process.waitForFinished(10000));
    QVERIFY2(QFile::exists(queue), "no queue file after a kill in the first second");

    QByteArray output;
    const int status = runCli({"run", queue}, &output);
    QVERIFY2(status == 0, output.constData());
    QVERIFY(readFile(path("early/out/a.bin")) == content);
}

// A queue saved with an FTP account keeps no password: without one the login
// fails and the tasks are saved Failed; run is given it and tries them again.
void TestZKCommandLine::transfersOverFtpAndHttp() {
    ZKFtpServers ftp(ZKFtpServers::PureFtpd);
    ZKHttpServers http;
    const QString web = path("web");
    QDir().mkpath(web);
    const QByteArray page = randomBytes(200000, 7);
    QVERIFY(writeFile(web + "/page.bin", page));
    ZK_REQUIRE_STARTED(ftp.start() && http.startNginx(web), ftp.errorString() + http.errorString());
    const QByteArray a = randomBytes(150000, 8);
    QDir().mkpath(path("net"));
    QVERIFY(writeFile(path("net/a"), a));
    const QString folder = ftp.url("/up/").toString();
    const QByteArray password = ftp.password().toUtf8() + "\n";
    const QString queue = path("net/q.queue");

    QByteArray errors;
    QCOMPARE(runCli({"copy", path("net/a"), http.nginxUrl("/page.bin").toString(), folder,
                     "--verify", "--save", queue},
                    &errors),
             1);
    int status = runCli({"run", queue, "--password-stdin"}, &errors, password);
    QVERIFY2(status == 0, errors.constData());
    QCOMPARE(readFile(ftp.root() + "/up/a"), a);
    QCOMPARE(readFile(ftp.root() + "/up/page.bin"), page);

    // A download stays a copy even when asked to move.
    status =
        runCli({"move", folder + "a", path("net/back"), "--password-stdin"}, &errors, password);
    QVERIFY2(status == 0, errors.constData());
    QCOMPARE(readFile(path("net/back/a")), a);
    QVERIFY(QFile::exists(ftp.root() + "/up/a"));
}

bool TestZKCommandLine::interruptTransfer(const QStringList &arguments, const QString &watched,
                                          QByteArray *output) {
    QProcess process;
    startCli(process, arguments);
    if (!process.waitForStarted()) {
        return false;
    }
    QDeadlineTimer deadline(10000);
    while (QFileInfo(watched).size() == 0 && !deadline.hasExpired()) {
        QTest::qWait(20);
    }
    ::kill(pid_t(process.processId()), SIGINT);
    const bool ended = process.waitForFinished(10000);
    if (output) {
        *output = process.readAll();
    }
    return ended && process.exitCode() == 1 && QFileInfo(watched).size() > 0;
}

bool TestZKCommandLine::writeQueue(const QString &file, const QVariantMap &plist) {
    return writeFile(file, ZKPropertyListSerialization::dataFromPropertyList(plist));
}

// A saved source's inode number passes to whatever file the file system
// makes next; a queue must act on the file that was queued or on none.
void TestZKCommandLine::savedSourceIsFollowedOnlyWhileItIsTheSameFile() {
    QDir(m_dir.path()).mkpath("inode/S");
    const QString source = path("inode/S/a.bin");
    const QString renamed = path("inode/S/renamed.bin");
    const QString out = path("inode/D");
    const QString queue = path("inode/q.queue");
    QVERIFY(writeFile(source, randomBytes(3000000, 21)));
    QVERIFY(interruptTransfer({"move", source, out, "--save", queue, "--limit", "1M"},
                              ZKTestSupport::partialPath(out, "a.bin")));

    // Renamed, it is still the queued file, and show says where run will go.
    QVERIFY(QFile::rename(source, renamed));
    QByteArray shown;
    QCOMPARE(runCli({"show", queue}, &shown), 0);
    QVERIFY2(shown.contains((renamed + " -> " + out).toUtf8()), shown.constData());

    // The same inode with other content: what a reused inode number is.
    QVERIFY(writeFile(renamed, "notes\n"));
    QCOMPARE(runCli({"show", queue}, &shown), 0);
    QVERIFY2(shown.contains((source + " -> " + out).toUtf8()), shown.constData());
    QByteArray output;
    QCOMPARE(runCli({"run", queue}, &output), 1);
    QVERIFY2(output.contains("a.bin"), output.constData());
    QCOMPARE(readFile(renamed), QByteArray("notes\n"));
    QVERIFY(!QFile::exists(out + "/renamed.bin"));
}

void TestZKCommandLine::unreadableTaskEntryIsKept() {
    QDir(m_dir.path()).mkpath("unread");
    const QString queue = path("unread/q.queue");
    QVariantList tasks;
    for (const auto *name : {"a", "b"}) {
        const QString file = path("unread/" + QLatin1String(name));
        QVERIFY(writeFile(file, name));
        tasks << ZKCopyTask::create(ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(file)),
                                    ZKFileSystemWriter::writerWithDirectory(
                                        QUrl::fromLocalFile(path("unread/out"))))
                     ->asPropertyList();
    }
    QVariantMap damaged = tasks[1].toMap();
    QVariantMap source = damaged.value("Source").toMap();
    source.remove("Type");
    damaged.insert("Source", source);
    tasks[1] = damaged;
    QVERIFY(writeQueue(queue, {{"Type", "FerrowickDocument"}, {"Tasks", tasks}}));
    QVariantMap written;
    ZKError error;
    QVERIFY2(ZKFerrowickDocument::readPropertyListFromFile(queue, &written, &error),
             qUtf8Printable(error.localizedDescription()));

    for (const auto *command : {"show", "run"}) {
        QByteArray output;
        const int status = runCli({QString::fromLatin1(command), queue}, &output);
        QCOMPARE(status, command == QByteArray("run") ? 1 : 0);
        QVERIFY2(output.contains("1 task entry") && output.contains("entry 2:") &&
                     output.contains("'Type' was not found"),
                 output.constData());
    }
    QCOMPARE(readFile(path("unread/out/a")), QByteArray("a"));
    QVariantMap saved;
    QVERIFY2(ZKFerrowickDocument::readPropertyListFromFile(queue, &saved, &error),
             qUtf8Printable(error.localizedDescription()));
    const QVariantList savedTasks = saved.value("Tasks").toList();
    QCOMPARE(savedTasks.size(), 2);
    QCOMPARE(savedTasks[0].toMap().value("State").toString(), QStringLiteral("Completed"));
    QCOMPARE(savedTasks[1], written.value("Tasks").toList().at(1));
}

void TestZKCommandLine::interruptedRemovalIsFinished_data() {
    QTest::addColumn<bool>("sourceGone");

    // A short copy keeping its source is the removal step's own test.
    QTest::newRow("source still there") << false;
    // Killed after the source went, before the queue was saved again.
    QTest::newRow("source already removed") << true;
}

// A move killed while it removed its source was saved as Removing.
void TestZKCommandLine::interruptedRemovalIsFinished() {
    QFETCH(bool, sourceGone);

    const QString folder = path(QStringLiteral("removal/") + QTest::currentDataTag());
    QDir().mkpath(folder + "/out");
    const QByteArray content = randomBytes(200000, 31);
    const QString source = folder + "/src";
    QVERIFY(writeFile(source, content));
    QVERIFY(writeFile(folder + "/out/src", content));
    QVariantMap task =
        ZKCopyTask::create(
            ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source)),
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder + "/out")))
            ->asPropertyList();
    task.insert("TransferMode", "Move");
    task.insert("State", "Removing");
    task.insert("ProgressBytes", qint64(content.size()));
    task.insert("TotalBytes", qint64(content.size()));
    const QString queue = folder + "/q.queue";
    QVERIFY(writeQueue(queue, {{"Type", "FerrowickDocument"}, {"Tasks", QVariantList{task}}}));

    QVERIFY(!sourceGone || QFile::remove(source));
    QByteArray output;
    QCOMPARE(runCli({"run", queue}, &output), 0);
    QVERIFY2(!QFile::exists(source), output.constData());
    QCOMPARE(readFile(folder + "/out/src"), content);
}

// A password given in the address or on stdin reaches the server and nothing
// else: not the output, even with --verbose, not an error message, not the
// saved queue.
void TestZKCommandLine::passwordsStayOutOfOutputAndQueues() {
    ZKFtpServers ftp(ZKFtpServers::PureFtpd);
    ZK_REQUIRE_STARTED(ftp.start(), ftp.errorString());
    QDir(m_dir.path()).mkpath("secret");
    QVERIFY(writeFile(path("secret/a"), randomBytes(300000, 5)));
    const QString queue = path("secret/q.queue");
    QUrl withPassword = ftp.url("/up/");
    withPassword.setPassword(ftp.password());
    // Slow enough to be looked at by others while it runs.
    QProcess process;
    startCli(process, {"copy", path("secret/a"), withPassword.toString(), "--save", queue,
                       "--verbose", "--limit", "150K"});
    QVERIFY(process.waitForReadyRead(20000));
    const QByteArray shown = readFile(QStringLiteral("/proc/%1/cmdline").arg(process.processId()));
    QVERIFY2(shown.contains(withPassword.host().toUtf8()), shown.constData());
    QVERIFY2(!shown.contains(ftp.password().toUtf8()),
             QByteArray(shown).replace('\0', ' ').constData());
    QVERIFY(process.waitForFinished(60000));
    QByteArray output = process.readAll();
    int status = process.exitCode();
    QVERIFY2(status == 0, output.constData());
    QVERIFY2(!output.contains(ftp.password().toUtf8()), output.constData());
    QVERIFY(!readFile(queue).isEmpty());
    QVERIFY2(!readFile(queue).contains(ftp.password().toUtf8()),
             "the saved queue holds the password");

    // A web address with a password: used, never kept.
    ZKHttpServers http;
    QDir(m_dir.path()).mkpath("secret/web/private");
    const QByteArray page = randomBytes(100000, 6);
    QVERIFY(writeFile(path("secret/web/private/p.bin"), page));
    ZK_REQUIRE_STARTED(http.startNginx(path("secret/web")), http.errorString());
    QUrl web = http.nginxUrl("/private/p.bin");
    web.setUserName(ZKHttpServers::privateUser());
    web.setPassword(ZKHttpServers::privatePassword());
    const QString webQueue = path("secret/web.queue");
    status = runCli(
        {"copy", web.toString(), path("secret/got"), "--verify", "--save", webQueue, "--verbose"},
        &output);
    QVERIFY2(status == 0, output.constData());
    QCOMPARE(readFile(path("secret/got/p.bin")), page);
    for (const QByteArray &text : {output, readFile(webQueue)}) {
        QVERIFY2(!text.contains(ZKHttpServers::privatePassword().toUtf8()), text.constData());
    }
    web.setPassword(QStringLiteral("wrong-Secret-4711"));
    status = runCli({"copy", web.toString(), path("secret/got2"), "--verbose"}, &output);
    QVERIFY2(status == 1 && output.contains("401"), output.constData());
    QVERIFY2(!output.contains("wrong-Secret-4711"), output.constData());

    const QByteArray wrong = "wrong-Secret-4711";
    status = runCli(
        {"copy", path("secret/a"), ftp.url("/up2/").toString(), "--verbose", "--password-stdin"},
        &output, wrong + "\n");
    QCOMPARE(status, 1);
    QVERIFY2(output.contains("Unable to log in"), output.constData());
    QVERIFY2(!output.contains(wrong), output.constData());
}

void TestZKCommandLine::killedTransferNeverJoinsTwoVersions_data() {
    QTest::addColumn<QString>("kind");
    QTest::newRow("local copy") << "local";
    QTest::newRow("local copy onto a file system without attributes") << "ramfs";
    QTest::newRow("web download") << "web";
    QTest::newRow("upload to vsftpd") << "vsftpd";
    QTest::newRow("upload to pure-ftpd") << "pure-ftpd";
    QTest::newRow("upload to proftpd") << "proftpd";
}

// Killed half way, a transfer leaves nothing under the file's name. The
// source then changes inside the part already copied, keeping its size and
// its first and last blocks there: a new command must copy the new version,
// never continue the old one.
void TestZKCommandLine::killedTransferNeverJoinsTwoVersions() {
    QFETCH(QString, kind);
    const QString folder = path("killed-" + kind);
    QDir().mkpath(folder + "/s");
    const QString source = folder + "/s/src.bin";
    QByteArray content = randomBytes(3000000, 31);
    QVERIFY(writeFile(source, content));
    QString from = source;
    QString to = folder + "/out";
    QString landed = to; // the local folder where the copy is written
    QByteArray input;
    ZKHttpServers web;
    std::unique_ptr<ZKFtpServers> ftp;
    bool mounted = false;
    auto unmount = qScopeGuard([&] {
        if (mounted) {
            QProcess::execute(QStringLiteral("umount"), {landed});
        }
    });
    if (kind == QStringLiteral("ramfs")) {
        QDir().mkpath(landed);
        mounted = QProcess::execute(QStringLiteral("mount"), {"-t", "ramfs", "none", landed}) == 0;
        if (!mounted) {
            QSKIP("Cannot mount a ramfs here (needs root): the case without extended "
                  "attributes is not exercised.");
        }
    } else if (kind == QStringLiteral("web")) {
        ZK_REQUIRE_STARTED(web.startNginx(folder + "/s"), web.errorString());
        from = web.nginxUrl("/src.bin").toString();
    } else if (kind != QStringLiteral("local")) {
        const ZKFtpServers::Kind server = kind == QStringLiteral("vsftpd") ? ZKFtpServers::Vsftpd
                                          : kind == QStringLiteral("pure-ftpd")
                                              ? ZKFtpServers::PureFtpd
                                              : ZKFtpServers::Proftpd;
        ftp = std::make_unique<ZKFtpServers>(server);
        ZK_REQUIRE_STARTED(ftp->start(), ftp->errorString());
        QDir(ftp->root()).mkdir("up");
        ftp->handOver(ftp->root());
        to = ftp->url("/up/").toString();
        landed = ftp->root() + "/up";
        input = ftp->password().toUtf8() + "\n";
    }
    QStringList command{"copy", from, to};
    if (!input.isEmpty()) {
        command << QStringLiteral("--password-stdin");
    }

    QProcess process;
    startCli(process, command + QStringList{"--limit", "1M"});
    QVERIFY(process.waitForStarted());
    process.write(input);
    process.closeWriteChannel();
    const QString unfinished = ZKTestSupport::partialPath(landed, "src.bin");
    const QString real = landed + "/src.bin";
    QTRY_VERIFY2_WITH_TIMEOUT(QFileInfo(unfinished).size() > 200000, process.readAll().constData(),
                              20000);
    ::kill(pid_t(process.processId()), SIGKILL);
    QVERIFY(process.waitForFinished(10000));
    QVERIFY(!QFileInfo::exists(real));

    // A later version, its first and last blocks where the cut fell as they
    // were.
    content[100000] = char(content[100000] ^ 0x5a);
    QVERIFY(writeFile(source, content));
    QVERIFY(ZKTestSupport::setModified(source, QDateTime::currentDateTime().addSecs(60)));
    QByteArray output;
    const int status = runCli(command, &output, input);
    QVERIFY2(status == 0, output.constData());
    QVERIFY2(readFile(real) == content, output.constData());
    QVERIFY(!QFileInfo::exists(unfinished));
}

void TestZKCommandLine::conflictAnswersMeanWhatTheySay_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("replaced");
    QTest::addColumn<QString>("language");
    QTest::newRow("replace") << "replace" << 0 << true << "C.UTF-8";
    QTest::newRow("skip") << "skip" << 0 << false << "C.UTF-8";
    QTest::newRow("cancel") << "cancel" << 1 << false << "C.UTF-8";
    // The buttons read German there; the answers must mean the same.
    QTest::newRow("replace in German") << "replace" << 0 << true << "de_DE.UTF-8";
    QTest::newRow("skip in German") << "skip" << 0 << false << "de_DE.UTF-8";
}

// Another file of the same size and date is not a copy of the source.
void TestZKCommandLine::conflictAnswersMeanWhatTheySay() {
    QFETCH(QString, answer);
    QFETCH(int, status);
    QFETCH(bool, replaced);
    QFETCH(QString, language);
    const QString folder = QStringLiteral("conflict-%1-%2").arg(answer, language);
    QDir(m_dir.path()).mkpath(folder + "/s");
    QDir(m_dir.path()).mkpath(folder + "/d");
    const QString source = path(folder + "/s/a.bin");
    const QString existing = path(folder + "/d/a.bin");
    const QByteArray content = randomBytes(100000, 32);
    const QByteArray other = randomBytes(100000, 33);
    QVERIFY(writeFile(source, content) && writeFile(existing, other));
    QVERIFY(ZKTestSupport::setModified(existing, QFileInfo(source).lastModified()));
    QByteArray output;
    const QProcessEnvironment environment = m_environment;
    m_environment.insert("LANG", language);
    m_environment.remove("LANGUAGE");
    m_environment.remove("LC_ALL");
    m_environment.remove("LC_MESSAGES");
    const int exitCode =
        runCli({"copy", source, path(folder + "/d"), "--on-conflict", answer}, &output);
    m_environment = environment;
    QCOMPARE(exitCode, status);
    QVERIFY2(readFile(existing) == (replaced ? content : other), output.constData());
    if (answer == QStringLiteral("skip") && language.startsWith(u'C')) {
        QVERIFY2(output.contains("Skipped: '" + existing.toUtf8() + "' already exists."),
                 output.constData());
    }
}

void TestZKCommandLine::interruptedCopyWithoutQueueFileSaysWhatIsLeft() {
    QDir(m_dir.path()).mkpath("unsaved");
    QVERIFY(writeFile(path("unsaved/src"), randomBytes(3000000, 8)));
    QByteArray output;
    QVERIFY(interruptTransfer({"copy", path("unsaved/src"), path("unsaved/out"), "--limit", "1M"},
                              ZKTestSupport::partialPath(path("unsaved/out"), "src"), &output));
    QVERIFY2(output.contains("ferrowick-cli: interrupted.\n"), output.constData());
    QVERIFY2(!output.contains("saving"), output.constData());
    QVERIFY2(output.contains(QStringLiteral("1 task did not finish, and no queue file keeps it "
                                            "(see --save). What it copied so far stays in %1;")
                                 .arg(path("unsaved/out"))
                                 .toUtf8()),
             output.constData());
    QVERIFY(QFileInfo::exists(path("unsaved/src")));
}

// A 404 fails the task with the server's answer and nothing else: no
// warning of the network library about a reply used after its end, and the
// file already there, which the user said to replace, stays as it was.
void TestZKCommandLine::missingWebFileSaysOnlyWhy() {
    const QString web = path("web404");
    const QString out = path("web404-out");
    QVERIFY(QDir().mkpath(web) && QDir().mkpath(out));
    QVERIFY(writeFile(out + "/gone.bin", "kept"));
    ZKHttpServers http;
    ZK_REQUIRE_STARTED(http.startNginx(web), http.errorString());
    QByteArray output;
    const int status = runCli(
        {"copy", http.nginxUrl("/gone.bin").toString(), out, "--on-conflict", "replace"}, &output);
    QVERIFY2(status == 1 && output.contains("The server answered 404 Not Found for 'gone.bin'."),
             output.constData());
    QVERIFY2(!output.contains("QNetworkReply"), output.constData());
    QCOMPARE(QDir(out).entryList(QDir::Files | QDir::Hidden), QStringList{"gone.bin"});
    QCOMPARE(readFile(out + "/gone.bin"), QByteArray("kept"));
}

void TestZKCommandLine::liveDrawingFitsTheTerminal() {
    // Each drawing goes back over the one before, which it can do only
    // within the screen: a queue longer than the terminal shows what fits.
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty()) {
        QSKIP("script (util-linux) is missing");
    }
    QDir(m_dir.path()).mkpath("live");
    QString command = QStringLiteral("stty rows 10 cols 100; exec '%1' copy").arg(FERROWICK_CLI);
    for (int i = 0; i < 30; ++i) {
        const QString source = path(QStringLiteral("live/f%1").arg(i));
        QVERIFY(writeFile(source, randomBytes(20000, i)));
        command += QStringLiteral(" '%1'").arg(source);
    }
    command += QStringLiteral(" '%1' --limit 1M").arg(path("live-out"));
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(script, {"-qfec", command, "/dev/null"});
    QVERIFY(process.waitForFinished(120000));
    const QByteArray output = process.readAll();
    QVERIFY2(process.exitCode() == 0 && output.contains("more tasks not shown"),
             output.constData());
    const QRegularExpression up(QStringLiteral("\x1b\\[(\\d+)F"));
    int drawings = 0;
    for (const auto &match : up.globalMatch(QString::fromUtf8(output))) {
        ++drawings;
        QVERIFY2(match.captured(1).toInt() < 10, qPrintable(match.captured(0).mid(1)));
    }
    QVERIFY2(drawings > 0, output.constData());
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKCommandLine test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKCommandLine.moc"
