// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpReader.h"
#include "ZKKeyChain.h"
#include "ZKPropertyListParser.h"
#include "ZKPropertyListSerialization.h"
#include "ZKScriptedFtpServer.h"
#include "ZKSecretService.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QProcess>
#include <QTest>

using ZKTestSupport::errorText;

// Items for protocol "ftp", counted by the store's own command-line client
// (libsecret's search call leaks inside the library).
static int itemCount(const QString &host, const QString &user) {
    QProcess search;
    search.start(QStringLiteral("secret-tool"),
                 {"search", "--all", "server", host, "user", user, "protocol", "ftp"});
    if (!search.waitForFinished(10000)) {
        return -1;
    }
    const QByteArray output = search.readAllStandardOutput() + search.readAllStandardError();
    return int(output.count("\n[/") + (output.startsWith("[/") ? 1 : 0));
}

// The password store against a real Secret Service: gnome-keyring-daemon on
// a private session bus that the test starts.
class TestZKKeyChain : public QObject {
    Q_OBJECT

    ZKSecretService m_service;

private Q_SLOTS:
    void initTestCase() {
        ZKTestSupport::isolateSettings();
        ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 2);
        ZK_REQUIRE_STARTED(
            m_service.start(),
            QStringLiteral("No Secret Service for the test: %1").arg(m_service.errorString()));
    }

    // One item per host and user: storing again replaces it.
    void storesReplacesRetrievesAndDeletes() {
        const QString host = QStringLiteral("files.example");
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "ann"), std::nullopt);
        QVERIFY(ZKKeyChain::storeFtpPassword(host, "ann", QStringLiteral("first")));
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "ann"), std::optional<QString>("first"));
        QVERIFY(ZKKeyChain::storeFtpPassword(host, "ann", QStringLiteral("sécond ✓")));
        QVERIFY(ZKKeyChain::storeFtpPassword(host, "ann", QStringLiteral("sécond ✓")));
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "ann"), std::optional<QString>("sécond ✓"));
        QCOMPARE(itemCount(host, "ann"), 1);

        QVERIFY(ZKKeyChain::storeFtpPassword(host, "eve", QStringLiteral("2")));
        QVERIFY(ZKKeyChain::storeFtpPassword("b.example", "ann", QStringLiteral("3")));
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "eve"), std::optional<QString>("2"));
        QCOMPARE(ZKKeyChain::retrieveFtpPassword("b.example", "ann"), std::optional<QString>("3"));
        // Another protocol is another item.
        QCOMPARE(ZKKeyChain::retrievePassword(host, "ann", "sftp"), std::nullopt);

        QVERIFY(ZKKeyChain::deleteFtpPassword(host, "ann"));
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "ann"), std::nullopt);
        QCOMPARE(itemCount(host, "ann"), 0);
        QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, "eve"), std::optional<QString>("2"));
        QVERIFY(!ZKKeyChain::deleteFtpPassword(host, "ann"));
        // Nothing to store where nothing is: success without an item.
        QVERIFY(ZKKeyChain::storeFtpPassword(host, "ann", std::nullopt));
        QCOMPARE(itemCount(host, "ann"), 0);
    }

    void savedReaderFetchesItsPasswordBeforeConnecting() {
        ZKScriptedFtpServer server;
        server.setFile("a.txt", "abc");
        QUrl url = server.url("/a.txt");
        url.setUserName(QStringLiteral("dave"));
        const QVariantMap saved =
            ZKFtpReader::readerWithUrl(url, QStringLiteral("dave"), QStringLiteral("pw-dave"))
                ->asPropertyList();
        const QByteArray file = ZKPropertyListSerialization::dataFromPropertyList(saved);
        QVERIFY(!file.isEmpty());
        QVERIFY2(!file.contains("pw-dave"), "the password must not reach the saved queue");
        QCOMPARE(ZKKeyChain::retrieveFtpPassword("127.0.0.1", "dave"),
                 std::optional<QString>("pw-dave"));

        const auto loaded = ZKPropertyListParser::parseObjectOfType<ZKFtpReader>(saved);
        QVERIFY(loaded && !loaded->password());
        QVERIFY2(loaded->open(), qPrintable(errorText(loaded->error())));
        QCOMPARE(loaded->password(), std::optional<QString>("pw-dave"));
        loaded->close();
        QVERIFY(server.received().startsWith("USER dave\r\nPASS pw-dave\r\n"));
    }
};

QTEST_GUILESS_MAIN(TestZKKeyChain)
#include "tst_ZKKeyChain.moc"
