// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpPasswordServer.h"
#include "ZKSshAgent.h"
#include "ZKSshServer.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

// The SSH fixtures as OpenSSH's own client meets them, so that the SFTP
// tests can trust what they start: a file put and got back through url().
class TestZKSshServers : public QObject {
    Q_OBJECT

    QTemporaryDir m_client;
    QByteArray m_content = ZKTestSupport::randomBytes(300000, 12);

    QString clientPath(const QString &name) const { return QDir(m_client.path()).filePath(name); }

    // Puts a file to remote and gets it back; false with the reason in error.
    bool roundTrip(const QString &knownHostsLine, const QString &user, const QString &host,
                   quint16 port, const QString &remote, QStringList options,
                   const QProcessEnvironment &environment, QString *error) {
        const QString batch = clientPath(QStringLiteral("batch"));
        const QString back = clientPath(QStringLiteral("back"));
        QFile::remove(back);
        ZKTestSupport::writeFile(clientPath(QStringLiteral("known_hosts")),
                                 (knownHostsLine + QLatin1Char('\n')).toUtf8());
        ZKTestSupport::writeFile(batch, QStringLiteral("put \"%1\" \"%2\"\nget \"%2\" \"%3\"\n")
                                            .arg(clientPath(QStringLiteral("source")), remote, back)
                                            .toUtf8());
        // First come, first kept: ahead of -b, which asks for BatchMode=yes.
        options << "-F"
                << "/dev/null"
                << "-o"
                << "StrictHostKeyChecking=yes"
                << "-o"
                << "UserKnownHostsFile=" + clientPath(QStringLiteral("known_hosts")) << "-o"
                << "GlobalKnownHostsFile=/dev/null"
                << "-P" << QString::number(port) << "-b" << batch
                << QStringLiteral("%1@[%2]").arg(user, host);
        QProcess sftp;
        sftp.setProcessEnvironment(environment);
        sftp.setProcessChannelMode(QProcess::MergedChannels);
        sftp.setStandardInputFile(QProcess::nullDevice());
        sftp.start(QStringLiteral("sftp"), options);
        const bool finished = sftp.waitForFinished(60000) && sftp.exitCode() == 0;
        *error = QString::fromLocal8Bit(sftp.readAll());
        return finished && ZKTestSupport::readFile(back) == m_content &&
               ZKTestSupport::readFile(remote) == m_content;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(ZKTestSupport::writeFile(clientPath(QStringLiteral("source")), m_content));
        const QString askpass = clientPath(QStringLiteral("askpass"));
        QVERIFY(ZKTestSupport::writeFile(askpass, "#!/bin/sh\necho \"$TEST_PASSWORD\"\n"));
        QVERIFY(QFile::setPermissions(askpass, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }

    void keyLogin_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("viaAgent");
        QTest::addColumn<QString>("change");
        QTest::newRow("key over IPv4") << "127.0.0.1" << false << "";
        QTest::newRow("key over IPv6") << "::1" << false << "";
        QTest::newRow("passphrase key in an agent") << "127.0.0.1" << true << "";
        QTest::newRow("restarted") << "::1" << false << "restart";
        QTest::newRow("new host key") << "127.0.0.1" << false << "host key";
    }

    void keyLogin() {
        QFETCH(QString, host);
        QFETCH(bool, viaAgent);
        QFETCH(QString, change);
        ZKSshServer server(host);
        ZK_REQUIRE_STARTED(server.start(), server.errorString());
        const QString remote = server.url(QStringLiteral("up.bin")).path();
        QStringList options{"-o", "IdentitiesOnly=yes"};
        ZKSshAgent agent;
        if (viaAgent) {
            ZK_REQUIRE_STARTED(agent.start(), agent.errorString());
            const QString key = server.passphraseKeyPath();
            QVERIFY2(agent.add(key, ZKSshServer::passphrase()),
                     qUtf8Printable(agent.errorString()));
            QProcess list;
            list.setProcessEnvironment(agent.environment());
            list.start(QStringLiteral("ssh-add"), {"-L"});
            QVERIFY(list.waitForFinished(10000));
            const QByteArray publicKey = ZKTestSupport::readFile(key + ".pub").split(' ').value(1);
            QVERIFY(list.readAllStandardOutput().contains(publicKey));
            options << "-o"
                    << "IdentityAgent=" + agent.socketPath() << "-o"
                    << "IdentityFile=" + key + ".pub";
        } else {
            options << "-o"
                    << "IdentityAgent=none"
                    << "-i" << server.userKeyPath();
        }
        const QString knownKey = server.knownHostsLine();
        const QString fingerprint = server.hostKeyFingerprint();
        QVERIFY2(fingerprint.startsWith(QStringLiteral("SHA256:")), qUtf8Printable(fingerprint));
        QString error;
        if (change == QStringLiteral("restart")) {
            // A session open across the restart must end with the old server.
            QProcess session;
            session.setProcessChannelMode(QProcess::MergedChannels);
            session.start(QStringLiteral("sftp"),
                          options + QStringList{"-F", "/dev/null", "-o", "BatchMode=yes", "-o",
                                                "StrictHostKeyChecking=no", "-o",
                                                "UserKnownHostsFile=/dev/null", "-P",
                                                QString::number(server.port()),
                                                server.username() + "@[" + host + ']'});
            session.write("pwd\n");
            QByteArray seen;
            while (!seen.contains("Remote working directory") && session.waitForReadyRead(20000)) {
                seen += session.readAll();
            }
            QVERIFY2(seen.contains("Remote working directory"), seen.constData());
            QVERIFY2(server.restart(), qUtf8Printable(server.errorString()));
            // The client notices at its next request ("pwd" asks nothing).
            session.write("ls\n");
            QVERIFY2(session.waitForFinished(10000), "a session outlived its server");
        } else if (change == QStringLiteral("host key")) {
            QVERIFY2(server.replaceHostKey(), qUtf8Printable(server.errorString()));
            QVERIFY(server.hostKeyFingerprint() != fingerprint);
            const bool ok = roundTrip(knownKey, server.username(), host, server.port(), remote,
                                      options, agent.environment(), &error);
            QVERIFY2(!ok && error.contains(QLatin1String("Host key verification failed")),
                     qUtf8Printable(error));
        }
        QVERIFY2(roundTrip(server.knownHostsLine(), server.username(), host, server.port(), remote,
                           options, agent.environment(), &error),
                 qUtf8Printable(error + QString::fromLocal8Bit(server.log().right(2000))));
    }

    void passwordLogin_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("restart");
        const QString right = ZKSftpPasswordServer::password();
        QTest::newRow("password") << "127.0.0.1"
                                  << "password" << right << false;
        QTest::newRow("keyboard-interactive over IPv6") << "::1"
                                                        << "keyboard-interactive" << right << false;
        QTest::newRow("restarted") << "127.0.0.1"
                                   << "keyboard-interactive" << right << true;
        QTest::newRow("wrong password") << "127.0.0.1"
                                        << "password"
                                        << "test passwort" << false;
    }

    void passwordLogin() {
        QFETCH(QString, host);
        QFETCH(QString, method);
        QFETCH(QString, password);
        QFETCH(bool, restart);
        ZKSftpPasswordServer server(host);
        ZK_REQUIRE_STARTED(server.start(), server.errorString());
        const quint16 port = server.port();
        QVERIFY2(!restart || (server.restart() && server.port() == port),
                 qUtf8Printable(server.errorString()));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("SSH_ASKPASS", clientPath(QStringLiteral("askpass")));
        environment.insert("SSH_ASKPASS_REQUIRE", "force");
        environment.insert("TEST_PASSWORD", password);
        const QStringList options{"-o", "BatchMode=no",
                                  "-o", "PreferredAuthentications=" + method,
                                  "-o", "NumberOfPasswordPrompts=1",
                                  "-o", "IdentityAgent=none"};
        QString error;
        const bool ok =
            roundTrip(server.knownHostsLine(), server.username(), host, server.port(),
                      server.url(QStringLiteral("up.bin")).path(), options, environment, &error);
        const bool refused = !ok && error.contains(QLatin1String("Permission denied"));
        QVERIFY2(password == ZKSftpPasswordServer::password() ? ok : refused,
                 qUtf8Printable(error));
    }
};

QTEST_GUILESS_MAIN(TestZKSshServers)
#include "tst_ZKSshServers.moc"
