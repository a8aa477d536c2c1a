// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKFtpReader.h"
#include "ZKHttpReader.h"
#include "ZKReaderFactory.h"

#include <QDir>
#include <QStandardPaths>
#include <QTest>

class tst_ZKReaderFactory : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // Which kind each test says the path is, and which reader it gets.
    void pathKinds_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("reader");
        const auto row = [](const char *tag, const char *path, const char *kind,
                            const char *reader) {
            QTest::newRow(tag) << QString(path) << QString(kind) << QString(reader);
        };
        row("empty", "", "", "");
        row("absolute", "/tmp/x", "file", "file");
        row("home", "~/x", "file", "file");
        row("file url", "file:///tmp", "file", "file");
        row("ftp", "ftp://host/dir", "ftp", "ftp");
        row("ftps", "ftps://host/dir", "ftp", "ftp");
        // As typed no FTP address, but the URL made from it is.
        row("FTP capitals", "FTP://host/dir", "", "ftp");
        row("http", "http://host/f", "http", "http");
        row("https", "https://host/f", "http", "http");
        row("not anchored", " /tmp", "", "");
        row("bare host", "host/dir", "", "");
        row("mail", "mailto:a@b", "", "");
    }

    void pathKinds() {
        QFETCH(QString, path);
        QFETCH(QString, kind);
        QFETCH(QString, reader);
        QCOMPARE(ZKReaderFactory::isFilePath(path), kind == QLatin1String("file"));
        QCOMPARE(ZKReaderFactory::isFtpPath(path), kind == QLatin1String("ftp"));
        QCOMPARE(ZKReaderFactory::isHttpPath(path), kind == QLatin1String("http"));
        QCOMPARE(ZKReaderFactory::isValidPath(path), !kind.isEmpty());
        // A typed address and the URL made from it are judged alike.
        if (!path.startsWith(QLatin1Char('/')) && !path.startsWith(QLatin1Char('~')) &&
            !path.startsWith(QLatin1Char(' ')) && kind == reader) {
            const QUrl url(path);
            QCOMPARE(ZKReaderFactory::isFileUrl(url), kind == QLatin1String("file"));
            QCOMPARE(ZKReaderFactory::isFtpUrl(url), kind == QLatin1String("ftp"));
            QCOMPARE(ZKReaderFactory::isHttpUrl(url), kind == QLatin1String("http"));
            QCOMPARE(ZKReaderFactory::isValidUrl(url), !kind.isEmpty());
            QCOMPARE(bool(ZKReaderFactory::readerWithUrl(url)), !kind.isEmpty());
        }

        const ZKReaderPtr made = ZKReaderFactory::readerWithPath(path, "carol", "pw");
        const auto ftpReader = std::dynamic_pointer_cast<ZKFtpReader>(made);
        QCOMPARE(bool(made), !reader.isEmpty());
        QCOMPARE(bool(std::dynamic_pointer_cast<ZKFileSystemReader>(made)), reader == "file");
        QCOMPARE(bool(std::dynamic_pointer_cast<ZKHttpReader>(made)), reader == "http");
        QCOMPARE(bool(ftpReader), reader == "ftp");
        if (kind == QLatin1String("ftp")) {
            QCOMPARE(ftpReader->username(), QStringLiteral("carol"));
            QCOMPARE(ftpReader->password(), std::optional<QString>("pw"));
            // No password typed: the password store is asked, not skipped.
            const auto asking = std::dynamic_pointer_cast<ZKFtpReader>(
                ZKReaderFactory::readerWithPath(path, QStringLiteral("carol"), QString()));
            QVERIFY2(!asking->password(), "a missing password became an empty one");
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
