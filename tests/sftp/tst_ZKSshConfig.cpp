// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshConfig.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <pwd.h>
#include <unistd.h>

// The user's client configuration read from real files under a home folder
// of the test's own.
class TestZKSshConfig : public QObject {
    Q_OBJECT

    QTemporaryDir m_home;

    QString sshFolder() const { return m_home.path() + QStringLiteral("/.ssh"); }

    // Writes the configuration and the files conf.d/1.conf and conf.d/2.conf
    // it may include; an empty text leaves the file out.
    void writeFiles(const QString &config, const QString &first, const QString &second) {
        QDir(sshFolder()).removeRecursively();
        QVERIFY(QDir().mkpath(sshFolder() + QStringLiteral("/conf.d")));
        const QStringList names = {QStringLiteral("config"), QStringLiteral("conf.d/1.conf"),
                                   QStringLiteral("conf.d/2.conf")};
        const QStringList texts = {config, first, second};
        for (int i = 0; i < 3; ++i) {
            if (!texts[i].isEmpty())
                QVERIFY(ZKTestSupport::writeFile(sshFolder() + u'/' + names[i], texts[i].toUtf8()));
        }
    }

    // One line per value, "~" standing for the home folder.
    QString describe(const ZKSshHostConfig &config) const {
        QString text =
            QStringLiteral("host=%1 user=%2 port=%3 only=%4 jump=%5 known=%6 ids=%7")
                .arg(config.hostName, config.user)
                .arg(config.port)
                .arg(int(config.identitiesOnly))
                .arg(config.proxyJump, config.userKnownHostsFile, config.identityFiles.join(u','));
        return text.replace(m_home.path(), QStringLiteral("~"));
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_home.isValid());
        qputenv("HOME", QFile::encodeName(m_home.path()));
    }

    void resolve_data() {
        QTest::addColumn<QString>("config");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("expected");
        const QString none;
        const QString rest = QStringLiteral(" only=0 jump= known= ids=");

        const QString firstWins = "Host a\n User one\nHost *\n User two\n Port 2200\n";
        QTest::newRow("first value wins, Host * applies") << firstWins << none << none << "a"
                                                          << "host=a user=one port=2200" + rest;
        QTest::newRow("Keyword=value, case, quotes, comment")
            << "HOST a\n  user=ann\n PORT = 2022\n\t# x\n IdentityFile \"~/my keys/id one\"\n"
               " HostName=%h.example.org # trailing\n"
            << none << none << "a"
            << "host=a.example.org user=ann port=2022 only=0 jump= known= ids=~/my keys/id one";

        const QString lan = "Host *.lan !secret.lan\n User lan\nHost *\n User other\n";
        QTest::newRow("pattern") << lan << none << none << "box.lan"
                                 << "host=box.lan user=lan port=0" + rest;
        QTest::newRow("negated pattern excludes the block")
            << lan << none << none << "secret.lan"
            << "host=secret.lan user=other port=0" + rest;
        QTest::newRow("? is one character") << "Host web? db\n Port 2\n"
                                            << none << none << "web12"
                                            << "host=web12 user= port=0" + rest;
        QTest::newRow("case matters as in ssh") << "Host Box\n Port 2\n"
                                                << none << none << "box"
                                                << "host=box user= port=0" + rest;

        QTest::newRow("alias with tokens")
            << "Host work\n HostName srv.%h.corp\n User deploy\n Port 2200\n"
               " IdentityFile ~/.ssh/id_%r@%h:%p\n IdentityFile %d/k/%u-%%-%n\n"
               " IdentityFile rel/key\n IdentitiesOnly yes\n ProxyJump bastion\n"
               " UserKnownHostsFile ~/.ssh/kh_%h /other\n"
            << none << none << "work"
            << "host=srv.work.corp user=deploy port=2200 only=1 jump=bastion "
               "known=~/.ssh/kh_srv.work.corp ids=~/.ssh/id_deploy@srv.work.corp:2200,"
               "~/k/<me>-%-work,~/rel/key";
        QTest::newRow("identities accumulate once each, none settles first")
            << "Host a\n IdentityFile ~/k1\n ProxyJump none\n UserKnownHostsFile none\n"
               "Host *\n IdentityFile ~/k2\n IdentityFile ~/k1\n ProxyJump j\n"
            << none << none << "a"
            << "host=a user= port=0 only=0 jump= known=/dev/null ids=~/k1,~/k2";
        // An include inside a Host block applies under it; a Host line in the
        // included file ends only that file's part, and nothing in it can
        // match when the including block does not.
        const QString nested = "Host a c\n Include conf.d/*.conf\nHost b\n User bee\n";
        const QString first = "User one\nHost c\nPort 3\n";
        const QString second = "Port 4\nHostName %h.inc\n";
        QTest::newRow("include under Host") << nested << first << second << "a"
                                            << "host=a.inc user=one port=4" + rest;
        QTest::newRow("include's own Host") << nested << first << second << "c"
                                            << "host=c.inc user=one port=3" + rest;
        QTest::newRow("include under another Host") << nested << first << second << "b"
                                                    << "host=b user=bee port=0" + rest;
        QTest::newRow("absolute include at top")
            << "Include " + sshFolder() + "/conf.d/2.conf\nPort 9\n"
            << none << second << "x"
            << "host=x.inc user= port=4" + rest;
    }

    void resolve() {
        QFETCH(QString, config);
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, host);
        QFETCH(QString, expected);
        writeFiles(config, first, second);
        const ZKSshConfig ssh;
        QVERIFY2(ssh.warnings().isEmpty(), qUtf8Printable(ssh.warnings().join(u'\n')));
        expected.replace(QStringLiteral("<me>"),
                         QString::fromLocal8Bit(::getpwuid(::getuid())->pw_name));
        QCOMPARE(describe(ssh.resolve(host)), expected);
    }

    void warnings_data() {
        QTest::addColumn<QString>("config");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("expected");
        const QString rest = QStringLiteral(" only=0 jump= known= ids=");
        QTest::newRow("unusable values are skipped, later ones used")
            << "Port http\nPort 0\nUser \"ann\nIdentitiesOnly maybe\nIdentityFile ~/%z\n"
               "IdentityFile ~nosuchaccount9/k\nHostName a b\nUser\nPort 5\n"
            << QStringList{"1", "2", "3", "4", "5", "6", "7", "8"} << "host=h user= port=5" + rest;
        QTest::newRow("Match other than all") << "Match exec true\n Port 1\nMatch all\n Port 2\n"
                                              << QStringList{"1"} << "host=h user= port=2" + rest;
        QTest::newRow("include of itself stops")
            << "Include config\nPort 3\n"
            << QStringList{"1"} << "host=h user= port=3" + rest;
    }

    // A broken line is reported with its place and costs nothing else.
    void warnings() {
        QFETCH(QString, config);
        QFETCH(QStringList, lines);
        QFETCH(QString, expected);
        writeFiles(config, QString(), QString());
        const ZKSshConfig ssh;
        QStringList places;
        for (const QString &warning : ssh.warnings()) {
            QVERIFY2(warning.startsWith(ZKSshConfig::defaultFile() + u':'),
                     qUtf8Printable(warning));
            places += warning.section(u':', 1, 1);
        }
        places.removeDuplicates();
        QCOMPARE(places, lines);
        QCOMPARE(describe(ssh.resolve(QStringLiteral("h"))), expected);
    }
};

QTEST_GUILESS_MAIN(TestZKSshConfig)
#include "tst_ZKSshConfig.moc"
