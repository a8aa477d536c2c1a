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
#include "ZKQueueState.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

class TestZKCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void parseRate_data();
    void parseRate();
    void copiesAndMoves();
    void malformedQueueFileIsRefused_data();
    void malformedQueueFileIsRefused();
    void interruptedRunResumes();
    void survivesRepeatedKills();
    void transfersOverFtpAndHttp();

private:
    QString path(const QString &name) const { return QDir(m_dir.path()).filePath(name); }
    // The exit status; what it printed goes to output.
    int runCli(const QStringList &arguments, QByteArray *output = nullptr,
               const QByteArray &input = QByteArray());

    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
};

void TestZKCommandLine::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    m_environment.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
}

int TestZKCommandLine::runCli(const QStringList &arguments, QByteArray *output,
                              const QByteArray &input) {
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(FERROWICK_CLI), arguments);
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
    QTest::newRow("10M") << "10M" << true << quint64(10 * 1024 * 1024);
    QTest::newRow("1G") << "1G" << true << quint64(1024 * 1024 * 1024);
    QTest::newRow("lower case and fraction") << "1.5m" << true << quint64(1.5 * 1024 * 1024);
    QTest::newRow("zero") << "0" << false << quint64(0);
    QTest::newRow("negative") << "-5M" << false << quint64(0);
    QTest::newRow("unit only") << "M" << false << quint64(0);
    QTest::newRow("words") << "fast" << false << quint64(0);
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
    QDir(m_dir.path()).mkpath(QStringLiteral("plain/tree/sub"));
    const QByteArray a = ZKTestSupport::randomBytes(300000, 1);
    QVERIFY(ZKTestSupport::writeFile(path(QStringLiteral("plain/a")), a));
    QVERIFY(ZKTestSupport::writeFile(path(QStringLiteral("plain/tree/sub/b")), "b"));
    QCOMPARE(runCli({QStringLiteral("copy"), path(QStringLiteral("plain/a")),
                     path(QStringLiteral("plain/tree")), path(QStringLiteral("plain/out")),
                     QStringLiteral("--verify")}),
             0);
    QCOMPARE(ZKTestSupport::readFile(path(QStringLiteral("plain/out/a"))), a);
    QCOMPARE(ZKTestSupport::readFile(path(QStringLiteral("plain/out/tree/sub/b"))),
             QByteArray("b"));

    QCOMPARE(runCli({QStringLiteral("move"), path(QStringLiteral("plain/a")),
                     path(QStringLiteral("plain/moved"))}),
             0);
    QVERIFY(!QFile::exists(path(QStringLiteral("plain/a"))));
    QCOMPARE(ZKTestSupport::readFile(path(QStringLiteral("plain/moved/a"))), a);

    // A missing source fails its task: status 1.
    QCOMPARE(runCli({QStringLiteral("copy"), path(QStringLiteral("plain/nothing")),
                     path(QStringLiteral("plain/out"))}),
             1);
    QCOMPARE(runCli({QStringLiteral("copy"), path(QStringLiteral("plain/out"))}), 2);
    QCOMPARE(runCli({QStringLiteral("copy"), QStringLiteral("x"), QStringLiteral("y"),
                     QStringLiteral("--limit"), QStringLiteral("fast")}),
             2);
}

void TestZKCommandLine::malformedQueueFileIsRefused_data() {
    QTest::addColumn<QByteArray>("content");

    const QByteArray header = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    QTest::newRow("truncated xml") << header + "<dict><key>Type</key><str";
    QTest::newRow("binary garbage") << ZKTestSupport::randomBytes(10000, 7);
    QTest::newRow("wrong types")
        << header + "<dict><key>Type</key><string>FerrowickDocument</string>"
                    "<key>IsVerifyEnabled</key><string>yes</string></dict></plist>";
    QTest::newRow("huge string") << header + "<string>" + QByteArray(300 * 1024 * 1024, 'x') +
                                        "</string></plist>";
    QTest::newRow("deep nesting") << header +
                                         QByteArray(200000, 'x').replace("x", "<dict><key>a</key>");
}

void TestZKCommandLine::malformedQueueFileIsRefused() {
    QFETCH(QByteArray, content);

    const QString file = path(QStringLiteral("bad.queue"));
    QVERIFY(ZKTestSupport::writeFile(file, content));
    for (const auto *command : {"run", "show"}) {
        QByteArray errors;
        QCOMPARE(runCli({QString::fromLatin1(command), file}, &errors), 2);
        QVERIFY2(errors.contains("cannot be opened"), errors.constData());
    }
    QVERIFY(ZKTestSupport::readFile(file) == content);
}

void TestZKCommandLine::interruptedRunResumes() {
    QDir(m_dir.path()).mkpath(QStringLiteral("interrupt"));
    const QByteArray content = ZKTestSupport::randomBytes(3000000, 3);
    QVERIFY(ZKTestSupport::writeFile(path(QStringLiteral("interrupt/src")), content));
    const QString queue = path(QStringLiteral("interrupt/q.queue"));
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(FERROWICK_CLI),
                  {QStringLiteral("copy"), path(QStringLiteral("interrupt/src")),
                   path(QStringLiteral("interrupt/out")), QStringLiteral("--limit"),
                   QStringLiteral("1M"), QStringLiteral("--save"), queue});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path(QStringLiteral("interrupt/out/src"))).size() > 0,
                             10000);
    ::kill(pid_t(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 1);
    const qint64 partial = QFileInfo(path(QStringLiteral("interrupt/out/src"))).size();
    QVERIFY(partial > 0 && partial < content.size());

    QCOMPARE(runCli({QStringLiteral("run"), queue}), 0);
    QCOMPARE(ZKTestSupport::readFile(path(QStringLiteral("interrupt/out/src"))), content);
}

void TestZKCommandLine::survivesRepeatedKills() {
    // A queue of a verified copy, a verified move and a plain copy, killed
    // again and again while it runs. Whatever the moment, a moved source may
    // be gone only once its copy is complete, and nothing else is removed.
    QDir(m_dir.path()).mkpath(QStringLiteral("kill/out"));
    const QStringList names{QStringLiteral("copied"), QStringLiteral("moved"),
                            QStringLiteral("plain")};
    QList<QByteArray> contents;
    for (int i = 0; i < names.size(); ++i) {
        contents << ZKTestSupport::randomBytes(6000000 + i * 1000003, quint32(40 + i));
        QVERIFY(ZKTestSupport::writeFile(path(QStringLiteral("kill/") + names[i]), contents[i]));
    }
    const QString queue = path(QStringLiteral("kill/q.queue"));
    {
        ZKFerrowickDocument document;
        document.setState(ZKQueueState::Paused);
        document.speedLimit().setMaximumTransferRate(8000000);
        document.speedLimit().setEnabled(true);
        const auto out = ZKFileSystemWriter::writerWithDirectory(
            QUrl::fromLocalFile(path(QStringLiteral("kill/out"))));
        QList<ZKReaderPtr> sources;
        for (const QString &name : names) {
            sources << ZKFileSystemReader::readerWithUrl(
                QUrl::fromLocalFile(path(QStringLiteral("kill/") + name)));
        }
        const auto tasks = document.addTasks(sources, out, 0);
        tasks[0]->setIsVerifyEnabled(true);
        tasks[1]->setIsVerifyEnabled(true);
        tasks[1]->setTransferMode(ZKTransferMode::Move);
        QVERIFY(document.writeToFile(queue));
    }

    auto checkInvariants = [&] {
        QVERIFY(QFile::exists(path(QStringLiteral("kill/copied"))));
        QVERIFY(QFile::exists(path(QStringLiteral("kill/plain"))));
        if (!QFile::exists(path(QStringLiteral("kill/moved")))) {
            QVERIFY(ZKTestSupport::readFile(path(QStringLiteral("kill/out/moved"))) == contents[1]);
        }
        QVERIFY(QFile::exists(queue));
    };

    QRandomGenerator random(20261123);
    int kills = 0;
    for (int round = 0; round < 60 && kills < 24; ++round) {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.start(QStringLiteral(FERROWICK_CLI), {QStringLiteral("run"), queue});
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
    QCOMPARE(runCli({QStringLiteral("run"), queue}, &errors), 0);
    checkInvariants();
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY2(ZKTestSupport::readFile(path(QStringLiteral("kill/out/") + names[i])) ==
                     contents[i],
                 qPrintable(names[i]));
    }
    QVERIFY(!QFile::exists(path(QStringLiteral("kill/moved"))));
}

void TestZKCommandLine::transfersOverFtpAndHttp() {
    ZKFtpServers ftp(ZKFtpServers::PureFtpd);
    ZKHttpServers http;
    const QString web = path(QStringLiteral("web"));
    QDir().mkpath(web);
    const QByteArray page = ZKTestSupport::randomBytes(200000, 7);
    QVERIFY(ZKTestSupport::writeFile(web + QStringLiteral("/page.bin"), page));
    if (!ftp.start() || !http.startNginx(web)) {
        const QString reason = ftp.errorString() + http.errorString();
        if (ZKFtpServers::mustRun()) {
            QFAIL(qPrintable(reason));
        }
        QSKIP(qPrintable(reason));
    }
    const QByteArray a = ZKTestSupport::randomBytes(150000, 8);
    QDir().mkpath(path(QStringLiteral("net")));
    QVERIFY(ZKTestSupport::writeFile(path(QStringLiteral("net/a")), a));
    const QString folder = ftp.url(QStringLiteral("/up/")).toString();
    const QByteArray password = ftp.password().toUtf8() + "\n";

    QByteArray errors;
    int status = runCli({QStringLiteral("copy"), path(QStringLiteral("net/a")),
                         http.nginxUrl(QStringLiteral("/page.bin")).toString(), folder,
                         QStringLiteral("--verify"), QStringLiteral("--password-stdin")},
                        &errors, password);
    QVERIFY2(status == 0, errors.constData());
    QCOMPARE(ZKTestSupport::readFile(ftp.root() + QStringLiteral("/up/a")), a);
    QCOMPARE(ZKTestSupport::readFile(ftp.root() + QStringLiteral("/up/page.bin")), page);

    // A download stays a copy even when asked to move.
    status = runCli({QStringLiteral("move"), folder + QStringLiteral("a"),
                     path(QStringLiteral("net/back")), QStringLiteral("--password-stdin")},
                    &errors, password);
    QVERIFY2(status == 0, errors.constData());
    QCOMPARE(ZKTestSupport::readFile(path(QStringLiteral("net/back/a"))), a);
    QVERIFY(QFile::exists(ftp.root() + QStringLiteral("/up/a")));

    // A refused login fails the task with the server's reason.
    status = runCli({QStringLiteral("copy"), path(QStringLiteral("net/a")), folder,
                     QStringLiteral("--password-stdin")},
                    &errors, "wrong\n");
    QVERIFY2(status == 1 && errors.contains("Unable to log in"), errors.constData());
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKCommandLine test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKCommandLine.moc"
