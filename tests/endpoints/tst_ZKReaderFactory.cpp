// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKReaderFactory.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>

class tst_ZKReaderFactory : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void pathKinds_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("file");
        QTest::addColumn<bool>("ftp");
        QTest::addColumn<bool>("http");
        QTest::newRow("empty") << QString() << false << false << false;
        QTest::newRow("absolute") << QStringLiteral("/tmp/x") << true << false << false;
        QTest::newRow("home") << QStringLiteral("~/x") << true << false << false;
        QTest::newRow("file url") << QStringLiteral("file:///tmp") << true << false << false;
        QTest::newRow("ftp") << QStringLiteral("ftp://host/dir") << false << true << false;
        QTest::newRow("FTP capitals")
            << QStringLiteral("FTP://host/dir") << false << false << false;
        QTest::newRow("http") << QStringLiteral("http://host/f") << false << false << true;
        QTest::newRow("https") << QStringLiteral("https://host/f") << false << false << true;
        QTest::newRow("not anchored") << QStringLiteral(" /tmp") << false << false << false;
        QTest::newRow("bare host") << QStringLiteral("host/dir") << false << false << false;
        QTest::newRow("mail") << QStringLiteral("mailto:a@b") << false << false << false;
    }

    void pathKinds() {
        QFETCH(QString, path);
        QFETCH(bool, file);
        QFETCH(bool, ftp);
        QFETCH(bool, http);
        QCOMPARE(ZKReaderFactory::isFilePath(path), file);
        QCOMPARE(ZKReaderFactory::isFtpPath(path), ftp);
        QCOMPARE(ZKReaderFactory::isHttpPath(path), http);
        QCOMPARE(ZKReaderFactory::isValidPath(path), file || ftp || http);
        // A typed address and the URL made from it are judged alike.
        if (!path.startsWith(QLatin1Char('/')) && !path.startsWith(QLatin1Char('~')) &&
            !path.startsWith(QLatin1Char(' ')) && !path.startsWith(QLatin1String("FTP"))) {
            const QUrl url(path);
            QCOMPARE(ZKReaderFactory::isFileUrl(url), file);
            QCOMPARE(ZKReaderFactory::isFtpUrl(url), ftp);
            QCOMPARE(ZKReaderFactory::isHttpUrl(url), http);
            QCOMPARE(ZKReaderFactory::isValidUrl(url), file || ftp || http);
        }
    }

    void localPathsAreStandardized_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("tilde") << QStringLiteral("~/Documents/a")
                               << QDir::homePath() + QStringLiteral("/Documents/a");
        QTest::newRow("tilde alone") << QStringLiteral("~") << QDir::homePath();
        QTest::newRow("root's home") << QStringLiteral("~root/x") << QStringLiteral("/root/x");
        QTest::newRow("dots") << QStringLiteral("/a//b/./c/../d/") << QStringLiteral("/a/b/d");
        QTest::newRow("file url") << QStringLiteral("file:///tmp/x/../y%20z")
                                  << QStringLiteral("/tmp/y z");
    }

    void localPathsAreStandardized() {
        QFETCH(QString, path);
        QFETCH(QString, expected);
        const ZKReaderPtr reader = ZKReaderFactory::readerWithPath(path);
        QVERIFY(reader);
        QVERIFY(std::dynamic_pointer_cast<ZKFileSystemReader>(reader));
        QCOMPARE(reader->url().toLocalFile(), expected);
        QCOMPARE(
            ZKReaderFactory::readerWithPath(path, QStringLiteral("user"), QStringLiteral("secret"))
                ->url(),
            reader->url());
    }

    void noReaderForOtherAddresses() {
        QVERIFY(!ZKReaderFactory::readerWithPath(QStringLiteral("host/dir")));
        QVERIFY(!ZKReaderFactory::readerWithPath(QString()));
        QVERIFY(!ZKReaderFactory::readerWithUrl(QUrl()));
        QVERIFY(!ZKReaderFactory::readerWithUrl(QUrl(QStringLiteral("mailto:a@b"))));
    }

    void listsKeepOrderAndDropUnknown() {
        const QList<QUrl> urls{QUrl::fromLocalFile(QStringLiteral("/one")),
                               QUrl(QStringLiteral("mailto:a@b")),
                               QUrl::fromLocalFile(QStringLiteral("/two"))};
        const QList<ZKReaderPtr> readers = ZKReaderFactory::readersWithUrls(urls);
        QCOMPARE(readers.size(), 2);
        QCOMPARE(readers[0]->url(), urls[0]);
        QCOMPARE(readers[1]->url(), urls[2]);

        const QList<ZKReaderPtr> fromPaths = ZKReaderFactory::readersWithPaths(
            {QStringLiteral("/b"), QStringLiteral("nothing"), QStringLiteral("/a")});
        QCOMPARE(fromPaths.size(), 2);
        QCOMPARE(fromPaths[0]->filename(), QStringLiteral("b"));
        QCOMPARE(fromPaths[1]->filename(), QStringLiteral("a"));
    }
};

QTEST_GUILESS_MAIN(tst_ZKReaderFactory)
#include "tst_ZKReaderFactory.moc"
