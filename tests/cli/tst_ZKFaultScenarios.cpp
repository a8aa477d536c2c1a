// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFaultRelay.h"
#include "ZKFtpServers.h"
#include "ZKHttpServers.h"
#include "ZKSshServer.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using Fault = ZKFaultRelay::Fault;
using Target = ZKFaultRelay::Target;

// ferrowick-cli copies through a relay that breaks its connections as
// networks do, with --retry. Every scenario must end with the copy
// byte-identical to its source, or in a clear failure with the partial file
// kept for a later resume; never in "complete" with other bytes.
//
// FERROWICK_SOAK_TRIALS runs each scenario that many times with
// FERROWICK_SOAK_BYTES bytes and fresh random cut points (make soak).
class TestZKFaultScenarios : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
    int m_trials = 1;
    qsizetype m_size = 3 * 1000 * 1000 + 17;
    QStringList m_tally;
    qint64 m_cut = 0;

    QString path(const QString &name) const { return QDir(m_dir.path()).filePath(name); }
    QString home() const { return path(QStringLiteral("home")); }

    // A home that holds the user's key and knows the server's key under the
    // relay's port, the address the program reaches it by.
    bool prepareHome(const ZKSshServer &server, quint16 relayPort) const {
        QDir(home() + QStringLiteral("/.ssh")).removeRecursively();
        // "[HOST]:PORT type key"
        const QString key = server.knownHostsLine().section(QLatin1Char(' '), 1);
        return !key.isEmpty() &&
               ZKSshServer::writeKnownHosts(
                   home(), QStringLiteral("[127.0.0.1]:%1 %2").arg(relayPort).arg(key)) &&
               QFile::copy(server.userKeyPath(), home() + QStringLiteral("/.ssh/id_ed25519"));
    }

    // Starts ferrowick-cli with the test's settings, its output merged.
    void startCli(QProcess &process, const QStringList &arguments) {
        process.setProcessEnvironment(m_environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(FERROWICK_CLI), arguments);
    }

    // Runs ferrowick-cli; answers its exit code and what it printed, or -1
    // when it did not start, crashed or hung, what happened then following
    // its output.
    int runCli(const QStringList &arguments, QByteArray *output) {
        QProcess process;
        startCli(process, arguments);
        const bool ended = process.waitForFinished(180000);
        if (!ended && process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
            *output = process.readAll() + "\n[hung]";
            return -1;
        }
        *output = process.readAll();
        if (process.error() == QProcess::FailedToStart) {
            *output += "\n[did not start: " + process.errorString().toUtf8() + "]";
            return -1;
        }
        if (process.exitStatus() != QProcess::NormalExit) {
            *output += "\n[crashed: " + process.errorString().toUtf8() + "]";
            return -1;
        }
        return process.exitCode();
    }

    // The rows of one way through the relay, "FTP download" say; without
    // all, a cut and a reset only.
    static void scenarios(const char *way, bool all = true) {
        const int data = int(Target::Data);
        const auto row = [way](const char *name, Fault fault, int times, int target) {
            QTest::addRow("%s, %s", way, name)
                << QString::fromLatin1(way) << int(fault) << times << target;
        };
        row("cut once", Fault::Cut, 1, data);
        row("reset", Fault::Reset, 1, data);
        if (!all) {
            return;
        }
        row("cut three times", Fault::Cut, 3, data);
        row("stall past the time-out", Fault::Stall, 1, data);
        // Every connection, for about three seconds each: slow, but never
        // silent for as long as the time-out.
        row("trickle", Fault::Trickle, 1000, data);
        if (QByteArray(way).startsWith("FTP")) {
            row("control cut during the transfer", Fault::Cut, 1, int(Target::Control));
        }
    }

    struct Scenario {
        Fault fault;
        int times;
        Target target;
    };

    // The current row of scenarios().
    static Scenario fetchScenario() {
        QFETCH(int, fault);
        QFETCH(int, times);
        QFETCH(int, target);
        return {Fault(fault), times, Target(target)};
    }

    // Where a fault strikes: anywhere in the file but its very ends. Where
    // it strikes several transfers in a row, early enough that each resumed
    // transfer still has that much to carry.
    qint64 cutPoint(int times = 1) const {
        const qint64 room = times > 1 && times < 100 ? m_size / (times + 1) : m_size;
        return 1 + qint64(QRandomGenerator::global()->bounded(std::max<qint64>(room - 2, 1)));
    }

    // Where a copy is written until it is whole.
    static QString unfinished(const QString &copied) {
        return ZKTestSupport::partialPath(QFileInfo(copied).path(), QFileInfo(copied).fileName());
    }

    // One trial: the copy through a relay that breaks `times` data
    // connections, then passes. Answers what went wrong, or nothing.
    QString trial(ZKFaultRelay &relay, const Scenario &scenario, const QStringList &copy,
                  const QString &source, const QString &copied, bool retryShown = true) {
        const auto [fault, times, target] = scenario;
        m_cut = cutPoint(times);
        relay.setTrickleRate(std::max<qint64>(m_size / 3, 1024));
        relay.setFault(fault, m_cut, times, target);
        QByteArray output;
        const int status =
            runCli(copy + QStringList{"--retry", "4", "--retry-delay", "0"}, &output);
        const auto why = [&output](const QString &what) {
            return what + QStringLiteral(":\n") + QString::fromUtf8(output);
        };
        if (status == -1) {
            return why(QStringLiteral("ferrowick-cli did not run to its end"));
        }
        if (status != 0) {
            // A failure is allowed only with what came kept whole so far.
            if (QFileInfo::exists(copied)) {
                return why(QStringLiteral("failed, and left a file under its real name"));
            }
            const QByteArray partial = ZKTestSupport::readFile(unfinished(copied));
            if (!ZKTestSupport::readFile(source).startsWith(partial)) {
                return why(
                    QStringLiteral("failed, and the partial file is not the source's start"));
            }
            return why(QStringLiteral("failed (%1) with %2 of %3 bytes there, cut at %4")
                           .arg(status)
                           .arg(partial.size())
                           .arg(QFileInfo(source).size())
                           .arg(m_cut));
        }
        if (ZKTestSupport::readFile(copied) != ZKTestSupport::readFile(source)) {
            return why(QStringLiteral("completed with other bytes"));
        }
        if (QFileInfo::exists(unfinished(copied))) {
            return why(QStringLiteral("completed, and left its unfinished file"));
        }
        if (fault == Fault::Trickle) {
            if (output.contains("Failed")) {
                return why(QStringLiteral("a slow link that never went quiet failed a task"));
            }
        } else if (retryShown && target == Target::Data && !output.contains("Retrying")) {
            // A download whose data all came before its control connection
            // went is complete, and rightly reported so.
            return why(QStringLiteral("the fault never failed a task (%1 of %2 connections struck)")
                           .arg(relay.faultsApplied())
                           .arg(relay.connections(Target::Data)));
        } else if (relay.faultsApplied() < times) {
            return QStringLiteral("only %1 of %2 faults struck")
                .arg(relay.faultsApplied())
                .arg(times);
        }
        return {};
    }

    // Runs the trials of one scenario and keeps the tally of the soak.
    void runTrials(const QString &name, const std::function<QString(int)> &oneTrial) {
        int identical = 0;
        QString firstFailure;
        for (int i = 0; i < m_trials; ++i) {
            const QString failure = oneTrial(i);
            if (failure.isEmpty()) {
                ++identical;
            } else if (firstFailure.isEmpty()) {
                firstFailure = failure;
            }
        }
        m_tally.append(
            QStringLiteral("%1: %2 of %3 byte-identical").arg(name).arg(identical).arg(m_trials));
        QVERIFY2(firstFailure.isEmpty(), qPrintable(firstFailure));
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        m_trials = std::max(1, qEnvironmentVariableIntValue("FERROWICK_SOAK_TRIALS"));
        if (const qint64 bytes = qEnvironmentVariable("FERROWICK_SOAK_BYTES").toLongLong();
            bytes > 16) {
            m_size = bytes;
        }
        // Short time-outs, as a user would set them, so that a stall is over
        // in seconds.
        QDir().mkpath(path("config/velmarind"));
        QVERIFY(ZKTestSupport::writeFile(path("config/velmarind/Ferrowick.conf"),
                                         "[General]\ndownloadTimeout=2\n"));
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path("config"));
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"), path("data"));
        m_environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                             QStringLiteral("ferrowick.*=false"));
        m_environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        // The SSH keys and known hosts are the test's, never the user's.
        m_environment.insert(QStringLiteral("HOME"), home());
        m_environment.remove(QStringLiteral("SSH_AUTH_SOCK"));
        QVERIFY(
            ZKTestSupport::writeFile(path("source.bin"), ZKTestSupport::randomBytes(m_size, 7)));
    }

    void cleanupTestCase() {
        for (const QString &line : std::as_const(m_tally)) {
            std::printf("%s\n", qPrintable(line));
        }
    }

    void transfers_data() {
        QTest::addColumn<QString>("way");
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("times");
        QTest::addColumn<int>("target");
        for (const char *way :
             {"FTP download", "FTP upload", "SFTP download", "SFTP upload", "HTTP download"}) {
            scenarios(way);
        }
        // A server that answers a Range with 200 and the whole body: the
        // retry must start the file over, never append the body to what is
        // there.
        scenarios("HTTP download without ranges", false);
    }

    // Every SFTP connection is one SSH session that carries the transfer:
    // the fault counts its bytes from the handshake on. nginx answers Range
    // requests, Python's http.server does not.
    void transfers() {
        QFETCH(QString, way);
        const Scenario scenario = fetchScenario();
        const bool ftp = way.startsWith(QLatin1String("FTP"));
        const bool sftp = way.startsWith(QLatin1String("SFTP"));
        const bool upload = way.endsWith(QLatin1String("upload"));
        ZKFtpServers ftpServer(ZKFtpServers::Vsftpd);
        ZKSshServer sshServer;
        ZKHttpServers webServers;
        QString root; // what the server serves
        std::function<QUrl(const QString &)> url;
        if (ftp) {
            ZK_REQUIRE_STARTED(ftpServer.start(), ftpServer.errorString());
            root = ftpServer.root();
            url = [&](const QString &name) {
                return ftpServer.url("/" + name);
            };
        } else if (sftp) {
            ZK_REQUIRE_STARTED(sshServer.start(), sshServer.errorString());
            root = sshServer.root();
            url = [&](const QString &name) {
                return sshServer.url(name);
            };
        } else {
            root = path("www");
            QVERIFY(QDir().mkpath(root));
            const bool ranges = !way.contains(QLatin1String("without"));
            ZK_REQUIRE_STARTED(ranges ? webServers.startNginx(root)
                                      : webServers.startPythonServer(root),
                               webServers.errorString());
            url = [&webServers, ranges](const QString &name) {
                return ranges ? webServers.nginxUrl("/" + name) : webServers.pythonUrl("/" + name);
            };
        }
        const QString served = QDir(root).filePath("served.bin");
        if (!upload) {
            QFile::remove(served);
            QVERIFY(QFile::copy(path("source.bin"), served));
        }
        ZKFaultRelay relay(QStringLiteral("127.0.0.1"), quint16(url(QString()).port()),
                           ftp ? ZKFaultRelay::Protocol::Ftp : ZKFaultRelay::Protocol::Plain);
        if (sftp) {
            QVERIFY(prepareHome(sshServer, relay.port()));
        }
        // A download over HTTP asks once for the head and the body, and one
        // whose data all came before its FTP control connection went is
        // complete: there only the bytes and the faults struck are judged.
        runTrials(QTest::currentDataTag(), [&](int i) {
            if (upload) {
                const QString folder = QStringLiteral("up%1").arg(i);
                QDir(root).mkpath(folder);
                return trial(
                    relay, scenario,
                    {"copy", path("source.bin"), relay.relayed(url(folder + "/")).toString()},
                    path("source.bin"), QDir(root).filePath(folder + "/source.bin"));
            }
            const QString folder =
                path(QStringLiteral("%1 %2").arg(QTest::currentDataTag()).arg(i));
            QDir().mkpath(folder);
            return trial(relay, scenario,
                         {"copy", relay.relayed(url("served.bin")).toString(), folder},
                         path("source.bin"), QDir(folder).filePath("served.bin"), false);
        });
    }

    void serverRestarted_data() {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FTP download") << QStringLiteral("ftp-down");
        QTest::newRow("FTP upload") << QStringLiteral("ftp-up");
        QTest::newRow("HTTP download") << QStringLiteral("http");
        QTest::newRow("SFTP download") << QStringLiteral("sftp-down");
        QTest::newRow("SFTP upload") << QStringLiteral("sftp-up");
    }

    // The server dies in the middle of a slow transfer and comes back on the
    // same port and root a moment later; the retry finishes the file.
    void serverRestarted() {
        QFETCH(QString, kind);
        const bool ftp = kind.startsWith(QLatin1String("ftp"));
        const bool sftp = kind.startsWith(QLatin1String("sftp"));
        const bool upload = kind.endsWith(QLatin1String("-up"));
        // Larger than what the sockets on the way hold, so that the server
        // still has much to send when it dies.
        const qsizetype size = std::max<qsizetype>(m_size, 16 * 1024 * 1024);
        const QString source = path("restart-source.bin");
        if (!QFileInfo::exists(source)) {
            QVERIFY(ZKTestSupport::writeFile(source, ZKTestSupport::randomBytes(size, 13)));
        }
        ZKFtpServers ftpServer(ZKFtpServers::Vsftpd);
        ZKHttpServers webServers;
        ZKSshServer sshServer;
        QUrl url;
        QString served;
        if (ftp) {
            ZK_REQUIRE_STARTED(ftpServer.start(), ftpServer.errorString());
            QDir(ftpServer.root()).mkpath("up");
            served =
                QDir(ftpServer.root()).filePath(upload ? "up/restart-source.bin" : "served.bin");
            url = ftpServer.url(upload ? "/up/" : "/served.bin");
        } else if (sftp) {
            ZK_REQUIRE_STARTED(sshServer.start(), sshServer.errorString());
            QDir(sshServer.root()).mkpath("up");
            served =
                QDir(sshServer.root()).filePath(upload ? "up/restart-source.bin" : "served.bin");
            url = sshServer.url(upload ? "up/" : "served.bin");
        } else {
            QDir().mkpath(path("restart-www"));
            served = path("restart-www/served.bin");
            ZK_REQUIRE_STARTED(webServers.startNginx(path("restart-www")),
                               webServers.errorString());
            url = webServers.nginxUrl("/served.bin");
        }
        if (!upload) {
            QFile::remove(served);
            QVERIFY(QFile::copy(source, served));
        }
        ZKFaultRelay relay(QStringLiteral("127.0.0.1"), quint16(url.port()),
                           ftp ? ZKFaultRelay::Protocol::Ftp : ZKFaultRelay::Protocol::Plain);
        if (sftp) {
            QVERIFY(prepareHome(sshServer, relay.port()));
        }
        // About four seconds a transfer: time to stop the server in it.
        relay.setTrickleRate(size / 4);
        relay.setFault(Fault::Trickle, 0, 1000);
        const QString folder = path(QStringLiteral("restart-%1").arg(kind));
        QDir().mkpath(folder);
        const QString copied = upload ? served : QDir(folder).filePath("served.bin");
        const QStringList copy = upload
                                     ? QStringList{"copy", source, relay.relayed(url).toString()}
                                     : QStringList{"copy", relay.relayed(url).toString(), folder};

        QProcess cli;
        startCli(cli, copy + QStringList{"--retry", "5", "--retry-delay", "1"});
        QVERIFY(cli.waitForStarted());
        const bool underway =
            QTest::qWaitFor([&] { return QFileInfo(unfinished(copied)).size() > size / 4; }, 60000);
        QVERIFY2(underway, cli.readAll().constData());
        const auto restarted = [&] {
            if (ftp) {
                ftpServer.stop();
                QTest::qWait(300);
                return ftpServer.restart();
            }
            if (sftp) {
                sshServer.stop();
                QTest::qWait(300);
                return sshServer.restart();
            }
            webServers.stop();
            QTest::qWait(300);
            return webServers.restartNginx();
        };
        QVERIFY(restarted());
        const bool ended = cli.waitForFinished(180000);
        const QByteArray output = cli.readAll();
        QVERIFY2(ended, output.constData());
        QVERIFY2(cli.exitCode() == 0, output.constData());
        QVERIFY2(output.contains("Retrying"), output.constData());
        QVERIFY2(ZKTestSupport::readFile(copied) == ZKTestSupport::readFile(source),
                 output.constData());
    }
};

QTEST_GUILESS_MAIN(TestZKFaultScenarios)
#include "tst_ZKFaultScenarios.moc"
