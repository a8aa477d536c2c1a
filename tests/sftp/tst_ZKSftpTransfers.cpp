// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKKeyChain.h"
#include "ZKSecretService.h"
#include "ZKSftpPasswordServer.h"
#include "ZKSshAgent.h"
#include "ZKSshServer.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>

// ferrowick-cli against OpenSSH's sshd as a user meets it: copies and moves
// both ways, the questions a server's key raises, the ways of logging in.
class TestZKSftpTransfers : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QProcessEnvironment m_environment;
    std::unique_ptr<ZKSshServer> m_servers[2];
    int m_round = 0;

    QString path(const QString &name) const { return QDir(m_dir.path()).filePath(name); }
    QString home() const { return path(QStringLiteral("home")); }
    QString fresh(const QString &stem) { return path(stem + QString::number(++m_round)); }

    ZKSshServer &server(const QString &host) {
        return *m_servers[host == QLatin1String("::1") ? 1 : 0];
    }

    // Runs ferrowick-cli; answers its exit code (-1 when it hung) and what it
    // printed.
    int runCli(const QStringList &arguments, QByteArray *output,
               const QProcessEnvironment &environment = {}, const QByteArray &input = {}) {
        QProcess process;
        process.setProcessEnvironment(environment.isEmpty() ? m_environment : environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral(FERROWICK_CLI), arguments);
        process.write(input);
        process.closeWriteChannel();
        const bool ended = process.waitForFinished(120000);
        if (!ended) {
            ZKTestSupport::stopProcess(process);
        }
        *output = process.readAll();
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    // A home that knows the server's key and holds the user's key, as after
    // the user's first ssh to it.
    bool prepareHome(const ZKSshServer &server, bool withKey = true) {
        QDir(home() + QStringLiteral("/.ssh")).removeRecursively();
        if (!server.writeClientFiles(home())) {
            return false;
        }
        return !withKey ||
               QFile::copy(server.userKeyPath(), home() + QStringLiteral("/.ssh/id_ed25519"));
    }

    // Names with spaces and beyond ASCII, a link, an empty folder.
    static bool makeTree(const QString &root) {
        QDir dir(root);
        return dir.mkpath(QStringLiteral("ünï code/empty")) &&
               ZKTestSupport::writeFile(dir.filePath(QStringLiteral("a b.txt")), "first\n") &&
               ZKTestSupport::writeFile(dir.filePath(QStringLiteral("ünï code/ç.bin")),
                                        ZKTestSupport::randomBytes(700001, 3)) &&
               ZKTestSupport::setModified(dir.filePath(QStringLiteral("a b.txt")),
                                          QDateTime::fromSecsSinceEpoch(1500000000)) &&
               QFile::link(QStringLiteral("a b.txt"), dir.filePath(QStringLiteral("link")));
    }

    // Same names, bytes, link targets and file dates; answers the first
    // difference.
    static QString difference(const QString &expected, const QString &actual) {
        QStringList names;
        QDirIterator walk(expected, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            names << QDir(expected).relativeFilePath(walk.next());
        }
        for (const QString &name : std::as_const(names)) {
            const QFileInfo want(QDir(expected).filePath(name));
            const QFileInfo got(QDir(actual).filePath(name));
            if (!got.exists() && !got.isSymLink()) {
                return name + QStringLiteral(" is missing");
            }
            if (want.isSymLink()) {
                std::error_code ignored;
                if (!got.isSymLink() ||
                    std::filesystem::read_symlink(got.filePath().toStdString(), ignored) !=
                        std::filesystem::read_symlink(want.filePath().toStdString(), ignored)) {
                    return name + QStringLiteral(" is not the same link");
                }
            } else if (want.isFile() && (ZKTestSupport::readFile(want.filePath()) !=
                                             ZKTestSupport::readFile(got.filePath()) ||
                                         want.lastModified().toSecsSinceEpoch() !=
                                             got.lastModified().toSecsSinceEpoch())) {
                return name + QStringLiteral(" differs in its bytes or date");
            }
        }
        const qsizetype count =
            QDir(actual).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System).size();
        const qsizetype wanted =
            QDir(expected).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System).size();
        return count == wanted ? QString() : QStringLiteral("other entries at the top");
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        const QStringList hosts{QStringLiteral("127.0.0.1"), QStringLiteral("::1")};
        for (int i = 0; i < 2; ++i) {
            m_servers[i] = std::make_unique<ZKSshServer>(hosts[i]);
            ZK_REQUIRE_STARTED(m_servers[i]->start(), m_servers[i]->errorString());
        }
        QDir().mkpath(path(QStringLiteral("config/velmarind")));
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("HOME"), home());
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        m_environment.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
        m_environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                             QStringLiteral("ferrowick.*=false"));
        m_environment.remove(QStringLiteral("SSH_AUTH_SOCK"));
        m_environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    }

    void transfers_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("upload");
        QTest::addColumn<bool>("tree");
        QTest::addColumn<bool>("move");
        QTest::newRow("download a file") << "127.0.0.1" << false << false << false;
        QTest::newRow("download a tree over IPv6") << "::1" << false << true << false;
        QTest::newRow("upload a file over IPv6") << "::1" << true << false << false;
        QTest::newRow("upload a tree") << "127.0.0.1" << true << true << false;
        QTest::newRow("move a tree down") << "127.0.0.1" << false << true << true;
        QTest::newRow("move a file up") << "::1" << true << false << true;
    }

    // Verified, with names, links and dates as they were; a move leaves no
    // source behind.
    void transfers() {
        QFETCH(QString, host);
        QFETCH(bool, upload);
        QFETCH(bool, tree);
        QFETCH(bool, move);
        ZKSshServer &ssh = server(host);
        QVERIFY(prepareHome(ssh));
        const QString reference = fresh(QStringLiteral("reference"));
        QVERIFY(makeTree(reference));
        const QString name =
            tree ? QStringLiteral("tree %1").arg(m_round) : QStringLiteral("ç %1.bin").arg(m_round);
        const QString local = fresh(QStringLiteral("local"));
        QVERIFY(QDir().mkpath(local));
        const QString sourceFolder = upload ? local : ssh.root();
        const QString item = tree ? reference : reference + QStringLiteral("/ünï code/ç.bin");
        QVERIFY(QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), item,
                                                         QDir(sourceFolder).filePath(name)}) == 0);
        const QString source = upload ? QDir(local).filePath(name) : ssh.url(name).toString();
        const QString destination =
            upload ? ssh.url(QStringLiteral("up %1/").arg(m_round)).toString() : local + "/in/";
        const QString landed =
            upload ? QDir(ssh.root()).filePath(QStringLiteral("up %1/%2").arg(m_round).arg(name))
                   : QDir(local).filePath(QStringLiteral("in/") + name);
        QByteArray output;
        const int status =
            runCli({move ? "move" : "copy", source, destination, "--verify"}, &output);
        QVERIFY2(status == 0, output.constData());
        if (tree) {
            const QString why = difference(reference, landed);
            QVERIFY2(why.isEmpty(), qPrintable(why));
        } else {
            QCOMPARE(ZKTestSupport::readFile(landed), ZKTestSupport::readFile(item));
        }
        QCOMPARE(QFileInfo::exists(QDir(sourceFolder).filePath(name)), !move);
    }

    void reopenedQueue_data() {
        QTest::addColumn<bool>("upload");
        QTest::newRow("download") << false;
        QTest::newRow("upload") << true;
    }

    // A queue killed mid-transfer and run again from its file: the saved
    // endpoints find their server, and the copy ends whole.
    void reopenedQueue() {
        QFETCH(bool, upload);
        ZKSshServer &ssh = server(QStringLiteral("127.0.0.1"));
        QVERIFY(prepareHome(ssh));
        const QString local = fresh(QStringLiteral("reopened"));
        const QString remote = QDir(ssh.root()).filePath(QFileInfo(local).fileName());
        QVERIFY(QDir().mkpath(local) && QDir().mkpath(remote));
        const QByteArray content = ZKTestSupport::randomBytes(3000000, 11);
        const QString name = QStringLiteral("big.bin");
        QVERIFY(ZKTestSupport::writeFile(QDir(upload ? local : remote).filePath(name), content));
        const QString remoteUrl = ssh.url(QFileInfo(local).fileName() + "/").toString();
        const QStringList copy = upload ? QStringList{QDir(local).filePath(name), remoteUrl}
                                        : QStringList{remoteUrl + name, local + "/"};
        const QString queue = local + QStringLiteral(".queue");
        const QString landed = QDir(upload ? remote : local).filePath(name);
        QProcess first;
        first.setProcessEnvironment(m_environment);
        first.start(QStringLiteral(FERROWICK_CLI),
                    QStringList{"copy"} + copy + QStringList{"--limit", "400K", "--save", queue});
        const QString partial = ZKTestSupport::partialPath(QFileInfo(landed).path(), name);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(partial).size() > 0 && QFileInfo::exists(queue), 20000);
        first.kill();
        first.waitForFinished(10000);
        QVERIFY(!QFileInfo::exists(landed));
        QByteArray output;
        QVERIFY2(runCli({"run", queue}, &output) == 0, output.constData());
        QVERIFY(ZKTestSupport::readFile(landed) == content);
        QVERIFY(!QFileInfo::exists(partial));
    }

    void conflicts_data() {
        QTest::addColumn<bool>("upload");
        QTest::addColumn<QString>("policy");
        QTest::newRow("download, skip") << false << "skip";
        QTest::newRow("download, replace") << false << "replace";
        QTest::newRow("upload, skip") << true << "skip";
        QTest::newRow("upload, replace") << true << "replace";
    }

    void conflicts() {
        QFETCH(bool, upload);
        QFETCH(QString, policy);
        ZKSshServer &ssh = server(QStringLiteral("127.0.0.1"));
        QVERIFY(prepareHome(ssh));
        const QString local = fresh(QStringLiteral("conflict"));
        const QString remote = QDir(ssh.root()).filePath(QFileInfo(local).fileName());
        QVERIFY(QDir().mkpath(local) && QDir().mkpath(remote));
        const QString name = QStringLiteral("same name.txt");
        const QString from = QDir(upload ? local : remote).filePath(name);
        const QString to = QDir(upload ? remote : local).filePath(name);
        QVERIFY(ZKTestSupport::writeFile(from, "the new version, longer\n"));
        QVERIFY(ZKTestSupport::writeFile(to, "the old one\n"));
        const QString source =
            upload ? from : ssh.url(QFileInfo(local).fileName() + "/" + name).toString();
        const QString destination =
            upload ? ssh.url(QFileInfo(local).fileName() + "/").toString() : local + "/";
        QByteArray output;
        QVERIFY2(runCli({"copy", source, destination, "--on-conflict", policy}, &output) == 0,
                 output.constData());
        QCOMPARE(ZKTestSupport::readFile(to), policy == QLatin1String("replace")
                                                  ? QByteArray("the new version, longer\n")
                                                  : QByteArray("the old one\n"));
    }

    // One listing request per folder, however many entries come back.
    void largeFolder() {
        ZKSshServer &ssh = server(QStringLiteral("::1"));
        QVERIFY(prepareHome(ssh));
        const QString remote = QDir(ssh.root()).filePath(QStringLiteral("many"));
        QVERIFY(QDir().mkpath(remote));
        for (int i = 0; i < 2000; ++i) {
            QVERIFY(ZKTestSupport::writeFile(QDir(remote).filePath(QString::number(i)),
                                             QByteArray::number(i)));
        }
        const QString local = fresh(QStringLiteral("many"));
        QByteArray output;
        QVERIFY2(
            runCli({"copy", ssh.url(QStringLiteral("many")).toString(), local + "/"}, &output) == 0,
            output.constData());
        const QString why = difference(remote, local + QStringLiteral("/many"));
        QVERIFY2(why.isEmpty(), qPrintable(why));
    }

    void hostKeys_data() {
        QTest::addColumn<QString>("knownHosts");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QByteArray>("says");
        QTest::newRow("unknown key refused") << "" << false << QByteArray("can't be established");
        QTest::newRow("unknown key accepted with the flag") << "" << true << QByteArray();
        QTest::newRow("changed key refused") << "other" << false << QByteArray("known_hosts:1");
        QTest::newRow("changed key refused despite the flag")
            << "other" << true << QByteArray("has changed");
    }

    // Nothing is read or written from a server that is not the one known.
    void hostKeys() {
        QFETCH(QString, knownHosts);
        QFETCH(bool, accept);
        QFETCH(QByteArray, says);
        ZKSshServer &ssh = server(QStringLiteral("127.0.0.1"));
        QVERIFY(prepareHome(ssh));
        const QString knownHostsFile = home() + QStringLiteral("/.ssh/known_hosts");
        QFile::remove(knownHostsFile);
        if (knownHosts == QLatin1String("other")) {
            QString error;
            const QString otherKey = fresh(QStringLiteral("otherkey"));
            QVERIFY2(ZKSshServer::generateKey(otherKey, QString(), &error), qPrintable(error));
            QVERIFY(ZKSshServer::writeKnownHosts(
                home(), ZKSshServer::knownHostsLine(ssh.host(), ssh.port(), otherKey + ".pub")));
        }
        const QString upload = fresh(QStringLiteral("key"));
        QVERIFY(ZKTestSupport::writeFile(upload, "payload"));
        QStringList arguments{"copy", upload, ssh.url(QStringLiteral("keys/")).toString()};
        if (accept) {
            arguments << "--accept-new-host-key";
        }
        QByteArray output;
        const int status = runCli(arguments, &output);
        const QString landed = QDir(ssh.root()).filePath("keys/" + QFileInfo(upload).fileName());
        if (says.isEmpty()) {
            QVERIFY2(status == 0, output.constData());
            QVERIFY(QFileInfo::exists(landed));
            // Remembered as ssh does: the next run is not asked.
            QVERIFY(ZKTestSupport::readFile(knownHostsFile)
                        .contains(ssh.knownHostsLine().section(QLatin1Char(' '), 2, 2).toUtf8()));
            QVERIFY2(runCli({"copy", upload, ssh.url(QStringLiteral("keys/again/")).toString()},
                            &output) == 0,
                     output.constData());
            return;
        }
        QVERIFY2(status != 0, output.constData());
        QVERIFY2(output.contains(says), output.constData());
        QVERIFY2(output.contains(ssh.hostKeyFingerprint().toUtf8()), output.constData());
        QVERIFY(!QFileInfo::exists(landed));
    }

    void logins_data() {
        QTest::addColumn<QString>("way");
        QTest::newRow("configured alias") << "alias";
        QTest::newRow("agent") << "agent";
        QTest::newRow("passphrase from the Secret Service") << "passphrase";
    }

    // The ways a user is let in without typing anything.
    void logins() {
        QFETCH(QString, way);
        ZKSshServer &ssh = server(QStringLiteral("127.0.0.1"));
        QVERIFY(prepareHome(ssh, false));
        QProcessEnvironment environment = m_environment;
        ZKSshAgent agent;
        ZKSecretService secrets;
        QString address = ssh.url(QStringLiteral("login.txt")).toString();
        if (way == QLatin1String("alias")) {
            QDir().mkpath(home() + QStringLiteral("/keys"));
            QVERIFY(QFile::copy(ssh.userKeyPath(), home() + QStringLiteral("/keys/the key")));
            QVERIFY(ZKTestSupport::writeFile(
                home() + QStringLiteral("/.ssh/config"),
                QStringLiteral("Host box\n  HostName %1\n  Port %2\n  User %3\n"
                               "  IdentityFile \"~/keys/the key\"\n")
                    .arg(ssh.host())
                    .arg(ssh.port())
                    .arg(ssh.username())
                    .toUtf8()));
            address = QStringLiteral("sftp://box") + ssh.root() + QStringLiteral("/login.txt");
        } else if (way == QLatin1String("agent")) {
            ZK_REQUIRE_STARTED(agent.start(), agent.errorString());
            QVERIFY2(agent.add(ssh.passphraseKeyPath(), ZKSshServer::passphrase()),
                     qPrintable(agent.errorString()));
            environment.insert(QStringLiteral("SSH_AUTH_SOCK"), agent.socketPath());
        } else {
            ZK_REQUIRE_STARTED(secrets.start(), secrets.errorString());
            const QString key = home() + QStringLiteral("/.ssh/id_ed25519");
            QVERIFY(QFile::copy(ssh.passphraseKeyPath(), key));
            QVERIFY(ZKKeyChain::storePassword(key, QString(), ZKSshServer::passphrase(),
                                              QStringLiteral("ssh-key")));
            environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                               qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
        }
        QVERIFY(ZKTestSupport::writeFile(QDir(ssh.root()).filePath(QStringLiteral("login.txt")),
                                         way.toUtf8()));
        const QString local = fresh(QStringLiteral("login"));
        QByteArray output;
        QVERIFY2(runCli({"copy", address, local + "/"}, &output, environment) == 0,
                 output.constData());
        QCOMPARE(ZKTestSupport::readFile(local + QStringLiteral("/login.txt")), way.toUtf8());
    }

    void password_data() {
        QTest::addColumn<QString>("methods");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("accepted");
        const QString both = QStringLiteral("password,keyboard-interactive");
        QTest::newRow("right password") << both << ZKSftpPasswordServer::password() << true;
        QTest::newRow("wrong password") << both << "not it" << false;
        QTest::newRow("keyboard-interactive only")
            << "keyboard-interactive" << ZKSftpPasswordServer::password() << true;
        QTest::newRow("password only") << "password" << ZKSftpPasswordServer::password() << true;
    }

    // A server that takes passwords only, with the password on stdin.
    void password() {
        QFETCH(QString, methods);
        QFETCH(QString, typed);
        QFETCH(bool, accepted);
        ZKSftpPasswordServer passwordServer;
        passwordServer.setAuthMethods(methods);
        ZK_REQUIRE_STARTED(passwordServer.start(), passwordServer.errorString());
        QDir(home() + QStringLiteral("/.ssh")).removeRecursively();
        QVERIFY(ZKSshServer::writeKnownHosts(home(), passwordServer.knownHostsLine()));
        QVERIFY(ZKTestSupport::writeFile(
            QDir(passwordServer.root()).filePath(QStringLiteral("secret.txt")), "by password"));
        const QString local = fresh(QStringLiteral("password"));
        QByteArray output;
        const int status =
            runCli({"copy", passwordServer.url(QStringLiteral("secret.txt")).toString(),
                    local + "/", "--password-stdin"},
                   &output, m_environment, typed.toUtf8() + '\n');
        QVERIFY2((status == 0) == accepted, output.constData());
        QVERIFY2(!output.contains(typed.toUtf8()), "the password was shown");
        QCOMPARE(QFileInfo::exists(local + QStringLiteral("/secret.txt")), accepted);
        if (!accepted) {
            QVERIFY2(output.contains("Unable to log in"), output.constData());
        }
    }
};

QTEST_GUILESS_MAIN(TestZKSftpTransfers)
#include "tst_ZKSftpTransfers.moc"
