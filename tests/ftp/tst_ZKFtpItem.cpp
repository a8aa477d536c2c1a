// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpItem.h"

#include <QDate>
#include <QTest>

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::UTC);
}

QDateTime local(int month, int day, int hour, int minute) {
    return QDateTime(QDate(QDate::currentDate().year(), month, day), QTime(hour, minute));
}

} // namespace

class TestZKFtpItem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A line without a name in the table is refused.
    void parsesListingLines_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("name");
        QTest::addColumn<qint32>("type");
        QTest::addColumn<quint64>("size");
        QTest::addColumn<int>("permissions");
        QTest::addColumn<QDateTime>("date");
        const auto row = [](const char *tag, const QString &line, const QString &name = {},
                            qint32 type = 0, quint64 size = 0, int permissions = 0,
                            const QDateTime &date = {}) {
            QTest::newRow(tag) << line << name << type << size << permissions << date;
        };
        row("facts: folder", "type=dir;modify=20240101000000; photos", "photos", 2, 0, 0,
            utc(2024, 1, 1, 0, 0));
        // The listed folder itself is deliberately not taken for a folder.
        row("facts: cdir", "type=cdir;perm=el; .", ".", 1);
        row("facts: name with semicolon",
            "type=file;size=1234;modify=20240131120000;UNIX.mode=0644; report;v2.txt",
            "report;v2.txt", 1, 1234, 0644, utc(2024, 1, 31, 12, 0));
        row("facts: fractional seconds give no date", "Type=File;Size=7;Modify=20240131120000.5; a",
            "a", 1, 7);
        row("facts: a negative size is no size", "type=file;size=-5; x", "x", 1);
        // A date is taken only in its exact form.
        row("facts: month 13", "type=file;modify=20241301000000; x", "x", 1);
        row("facts: 30 February", "type=file;modify=20240230000000; x", "x", 1);
        row("facts: date with trailing text", "type=file;modify=20240101000000Z; x", "x", 1);
        row("facts: short date", "type=file;modify=2024; x", "x", 1);
        row("facts: last second of a year", "type=file;modify=20241231235959; x", "x", 1, 0, 0,
            QDateTime(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC));
        row("unix: link", "lrwxr-xr-x 1 u g 11 Jan 02 10:00 latest -> v1.2/build", "latest", 3, 11,
            0755, local(1, 2, 10, 0));
        row("unix: year instead of time", "drwxr-xr-x 2 u g 512 Dec 24 2019 archive", "archive", 2,
            512, 0755);
        row("unix: spaces in the name collapse",
            "-rw-r--r--   1 owner group   4096 Mar  5 14:07 my   file.txt", "my file.txt", 1, 4096,
            0644, local(3, 5, 14, 7));
        row("unix: socket is unknown", "srwxrwxrwx 1 u g 0 Jan 02 10:00 sock", "sock", 0, 0, 0777,
            local(1, 2, 10, 0));
        row("unix: link without arrow is refused", "lrwxr-xr-x 1 u g 11 Jan 02 10:00 latest");
        row("windows: file", "12-25-23  11:59PM  1048576 big file.bin", "big file.bin", 1, 1048576,
            0, utc(2023, 12, 25, 23, 59));
        row("windows: folder", "01-31-24  09:15AM       <DIR>          Reports", "Reports", 2, 0, 0,
            utc(2024, 1, 31, 9, 15));
        row("total line", "total 48");
        row("empty line", "");
    }

    void parsesListingLines() {
        QFETCH(QString, line);
        QFETCH(QString, name);
        const std::optional<ZKFtpItem> item = ZKFtpItem::itemWithString(line);
        QCOMPARE(item.has_value(), !name.isEmpty());
        if (item) {
            QCOMPARE(item->name(), name);
            QTEST(item->type(), "type");
            QTEST(item->size(), "size");
            QTEST(int(quint16(item->permissions())), "permissions");
            QTEST(item->modificationDate(), "date");
        }
    }

    // Strict LIST reading: what it takes, it takes exactly; anything that
    // could be read two ways is refused and asked about by name instead.
    void readsLongListingLines_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("name"); // empty: refused
        QTest::addColumn<qint32>("type");
        QTest::addColumn<quint64>("size");
        QTest::newRow("file") << "-rw-r--r--    1 0        0            4096 Nov 26 17:19 f1"
                              << "f1" << qint32(ZKFtpItem::File) << quint64(4096);
        QTest::newRow("folder, year") << "drwxr-xr-x    2 ftp ftp 512 Dec 24  2019 old"
                                      << "old" << qint32(ZKFtpItem::Directory) << quint64(0);
        QTest::newRow("spaces kept") << "-rw-r--r-- 1 u g 7 Mar  5 14:07  two  spaces "
                                     << " two  spaces " << qint32(ZKFtpItem::File) << quint64(7);
        QTest::newRow("arrow in a file name") << "-rw-r--r-- 1 u g 7 Mar  5 14:07 a -> b"
                                              << "a -> b" << qint32(ZKFtpItem::File) << quint64(7);
        QTest::newRow("link") << "lrwxrwxrwx 1 u g 7 Mar  5 14:07 a -> b"
                              << "" << 0 << quint64(0);
        QTest::newRow("device") << "crw-rw-rw- 1 u g 1, 3 Mar  5 14:07 null"
                                << "" << 0 << quint64(0);
        QTest::newRow("no group") << "-rw-r--r-- 1 u 7 Mar  5 14:07 a"
                                  << "" << 0 << quint64(0);
        QTest::newRow("overlong size") << "-rw-r--r-- 1 u g 99999999999999999999 Mar  5 14:07 a"
                                       << "" << 0 << quint64(0);
        QTest::newRow("facts") << "type=file;size=5; a"
                               << "" << 0 << quint64(0);
        QTest::newRow("total") << "total 48"
                               << "" << 0 << quint64(0);
    }

    void readsLongListingLines() {
        QFETCH(QString, line);
        QFETCH(QString, name);
        const std::optional<ZKFtpItem> item = ZKFtpItem::fileOrFolderOfLongListing(line);
        QCOMPARE(item.has_value(), !name.isEmpty());
        if (item) {
            QCOMPARE(item->name(), name);
            QTEST(item->type(), "type");
            QTEST(item->size(), "size");
            QVERIFY(!item->modificationDate().isValid());
        }
    }

    void permissionBits_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("bits");
        QTest::newRow("rwxr-xr-x") << "drwxr-xr-x" << 0755;
        QTest::newRow("set-id and sticky count as set") << "-rwsr-xr-t" << 0755;
        QTest::newRow("one character") << "d" << 0;
    }

    void permissionBits() {
        QFETCH(QString, text);
        QTEST(int(quint16(ZKFtpItem::parsePosixPermissions(text))), "bits");
    }

    void plainNames_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("plain");
        QTest::newRow("ordinary") << "a file.txt" << true;
        QTest::newRow("leading dots") << "..hidden" << true;
        QTest::newRow("non-ASCII") << QStringLiteral("Ünïcødé 日本") << true;
        QTest::newRow("parent") << ".." << false;
        QTest::newRow("self") << "." << false;
        QTest::newRow("climbing") << "../../x" << false;
        QTest::newRow("nested") << "a/b" << false;
        QTest::newRow("absolute") << "/etc/passwd" << false;
        QTest::newRow("line break") << "a\nDELE b" << false;
        QTest::newRow("NUL") << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b"))
                             << false;
        QTest::newRow("empty") << "" << false;
    }

    void plainNames() {
        QFETCH(QString, name);
        QTEST(ZKFtpItem::isPlainName(name), "plain");
    }
};

QTEST_GUILESS_MAIN(TestZKFtpItem)
#include "tst_ZKFtpItem.moc"
