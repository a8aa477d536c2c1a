// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKKnownHosts.h"
#include "ZKTestSupport.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <libssh2.h>
#include <sys/stat.h>

using Result = ZKKnownHosts::Result;

// Host keys made by ssh-keygen, checked against known_hosts files written as
// ssh writes them, hashed by ssh-keygen itself.
class TestZKKnownHosts : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    // "a" and "b" are ED25519 keys, "r" an RSA key, "e" an ECDSA key: the
    // "type base64" text of their .pub files.
    QHash<QString, QByteArray> m_public;

    static bool run(const QStringList &arguments, QByteArray *output = nullptr) {
        QProcess process;
        process.start(QStringLiteral("ssh-keygen"), arguments);
        const bool ok = process.waitForFinished(30000) &&
                        process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
        if (output)
            *output = process.readAllStandardOutput();
        return ok;
    }
    static int modeOf(const QString &path) {
        struct stat status {};
        return ::stat(QFile::encodeName(path).constData(), &status) == 0
                   ? int(status.st_mode & 07777)
                   : -1;
    }
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QByteArray blob(const QString &name) const {
        return QByteArray::fromBase64(m_public.value(name).split(' ').value(1));
    }
    static int typeOf(const QString &name) {
        return name == u"r"   ? LIBSSH2_HOSTKEY_TYPE_RSA
               : name == u"e" ? LIBSSH2_HOSTKEY_TYPE_ECDSA_256
                              : LIBSSH2_HOSTKEY_TYPE_ED25519;
    }
    // The text with $a, $b, $r replaced by the keys.
    QByteArray withKeys(QByteArray text) const {
        for (auto it = m_public.cbegin(); it != m_public.cend(); ++it)
            text.replace("$" + it.key().toUtf8(), it.value());
        return text;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        const QStringList kinds = {"ed25519", "ed25519", "rsa", "ecdsa"};
        const QStringList names = {"a", "b", "r", "e"};
        for (int i = 0; i < names.size(); ++i) {
            QVERIFY(run({"-q", "-t", kinds[i], "-N", "", "-C", "", "-f", path(names[i])}));
            m_public.insert(names[i], ZKTestSupport::readFile(path(names[i] + ".pub")).trimmed());
        }
    }

    void check_data() {
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QByteArray>("system");
        QTest::addColumn<bool>("hashed");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("key");
        QTest::addColumn<Result>("result");
        QTest::addColumn<QString>("place");
        const QByteArray none;
        QTest::newRow("plain") << QByteArray("example.org $a\n") << none << false << "example.org"
                               << 22 << "a" << Result::Known << "";
        QTest::newRow("name list, no final newline")
            << QByteArray("# c\n\none.example,10.0.0.1 $a") << none << false << "10.0.0.1" << 22
            << "a" << Result::Known << "";
        QTest::newRow("port entry") << QByteArray("[example.org]:2222 $a\n") << none << false
                                    << "example.org" << 2222 << "a" << Result::Known << "";
        QTest::newRow("port entry is not port 22")
            << QByteArray("[example.org]:2222 $a\n") << none << false << "example.org" << 22 << "a"
            << Result::Unknown << "";
        QTest::newRow("port 22 entry is not another port")
            << QByteArray("example.org $b\n") << none << false << "example.org" << 2222 << "a"
            << Result::Unknown << "";
        QTest::newRow("IPv6 with port") << QByteArray("[::1]:2200 $a\n") << none << false << "::1"
                                        << 2200 << "a" << Result::Known << "";
        QTest::newRow("IPv6 on 22") << QByteArray("::1 $a\n") << none << false << "[::1]" << 22
                                    << "a" << Result::Known << "";
        QTest::newRow("hashed") << QByteArray("other $b\n[localhost]:2222 $a\n") << none << true
                                << "localhost" << 2222 << "a" << Result::Known << "";
        QTest::newRow("hashed other host") << QByteArray("[localhost]:2222 $a\n") << none << true
                                           << "localhost2" << 2222 << "a" << Result::Unknown << "";
        QTest::newRow("changed") << QByteArray("# c\n\nother $a\nexample.org $b\n") << none << false
                                 << "example.org" << 22 << "a" << Result::Changed << "user:4";
        QTest::newRow("changed, hashed")
            << QByteArray("other $a\n[h.example]:22022 $b\n") << none << true << "H.example"
            << 22022 << "a" << Result::Changed << "user:2";
        QTest::newRow("another type is no change")
            << QByteArray("example.org $r\n") << none << false << "example.org" << 22 << "a"
            << Result::Unknown << "";
        QTest::newRow("accepted key wins over an older one")
            << QByteArray("example.org $b\nexample.org $a\n") << none << false << "example.org"
            << 22 << "a" << Result::Known << "";
        QTest::newRow("revoked") << QByteArray("example.org $a\n@revoked * $a\n") << none << false
                                 << "example.org" << 22 << "a" << Result::Changed << "user:2";
        QTest::newRow("junk, unknown types and CA lines skipped")
            << QByteArray("example.org sk-ssh-ed25519@openssh.com AAAAxyz\nexample.org "
                          "ssh-ed25519 !!\ngarbage\n@cert-authority * $b\nexample.org $a\n")
            << none << false << "example.org" << 22 << "a" << Result::Known << "";
        QTest::newRow("wildcard") << QByteArray("*.example.org,!bad.example.org $a\n") << none
                                  << false << "WWW.example.org" << 22 << "a" << Result::Known << "";
        QTest::newRow("negated") << QByteArray("*.example.org,!bad.example.org $b\n") << none
                                 << false << "bad.example.org" << 22 << "a" << Result::Unknown
                                 << "";
        QTest::newRow("system file") << none << QByteArray("x $a\nexample.org $e\n") << false
                                     << "example.org" << 22 << "e" << Result::Known << "";
        QTest::newRow("changed in the system file")
            << QByteArray("example.org $r\n") << QByteArray("x $a\n\nexample.org $a\n") << false
            << "example.org" << 22 << "b" << Result::Changed << "system:3";
        QTest::newRow("RSA") << QByteArray("example.org $a\nexample.org $r\n") << none << false
                             << "example.org" << 22 << "r" << Result::Known << "";
    }

    void check() {
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, system);
        QFETCH(bool, hashed);
        QFETCH(QString, host);
        QFETCH(int, port);
        QFETCH(QString, key);
        QFETCH(Result, result);
        QFETCH(QString, place);
        const QString userFile = path("known_hosts");
        const QString systemFile = path("ssh_known_hosts");
        QFile::remove(userFile);
        QVERIFY(ZKTestSupport::writeFile(systemFile, withKeys(system)));
        if (!user.isEmpty()) {
            QVERIFY(ZKTestSupport::writeFile(userFile, withKeys(user)));
            QVERIFY(!hashed || run({"-q", "-H", "-f", userFile}));
            QVERIFY(!hashed || !ZKTestSupport::readFile(userFile).contains("localhost"));
        }
        const ZKKnownHosts knownHosts(userFile, {path("missing"), systemFile});
        const ZKKnownHosts::Check found =
            knownHosts.check(host, quint16(port), blob(key), typeOf(key));
        QCOMPARE(found.result, result);
        const QString file = place.section(u':', 0, 0);
        QCOMPARE(found.file, file.isEmpty() ? QString() : file == u"user" ? userFile : systemFile);
        QCOMPARE(found.line, place.section(u':', 1).toInt());
    }

    // The entry is written where ssh looks for it, without touching what was
    // there, and ssh finds it.
    void add() {
        const QString userFile = path("new/.ssh/known_hosts");
        const ZKKnownHosts knownHosts(userFile, {});
        QString error;
        QVERIFY(!knownHosts.add("a b", 22, blob("a"), typeOf("a"), &error));
        QVERIFY(!error.isEmpty());
        QVERIFY(!QFileInfo::exists(userFile));
        QVERIFY2(knownHosts.add("::1", 2222, blob("a"), typeOf("a"), &error),
                 qUtf8Printable(error));
        QCOMPARE(modeOf(userFile), 0600);
        QCOMPARE(modeOf(path("new/.ssh")), 0700);
        QVERIFY(ZKTestSupport::writeFile(userFile, ZKTestSupport::readFile(userFile) + "# mine"));
        QVERIFY2(knownHosts.add("Example.org", 22, blob("r"), typeOf("r"), &error),
                 qUtf8Printable(error));
        QCOMPARE(ZKTestSupport::readFile(userFile),
                 withKeys("[::1]:2222 $a\n# mine\nexample.org $r\n"));
        QCOMPARE(knownHosts.check("::1", 2222, blob("a"), typeOf("a")).result, Result::Known);
        QCOMPARE(knownHosts.check("example.org", 22, blob("r"), typeOf("r")).result, Result::Known);
        QByteArray output;
        QVERIFY(run({"-F", "[::1]:2222", "-f", userFile}, &output));
        QVERIFY2(output.contains(m_public.value("a")), output.constData());
    }

    void fingerprint_data() {
        QTest::addColumn<QString>("key");
        QTest::newRow("ED25519") << "a";
        QTest::newRow("RSA") << "r";
        QTest::newRow("ECDSA") << "e";
    }

    // As "ssh-keygen -l" shows it: "256 SHA256:... comment (ED25519)".
    void fingerprint() {
        QFETCH(QString, key);
        QByteArray output;
        QVERIFY(run({"-l", "-E", "sha256", "-f", path(key + ".pub")}, &output));
        const QList<QByteArray> fields = output.trimmed().split(' ');
        QCOMPARE(ZKKnownHosts::fingerprint(blob(key)), QString::fromLatin1(fields.value(1)));
        QCOMPARE("(" + ZKKnownHosts::keyTypeName(typeOf(key)) + ")",
                 QString::fromLatin1(fields.last()));
    }
};

QTEST_GUILESS_MAIN(TestZKKnownHosts)
#include "tst_ZKKnownHosts.moc"
