// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpItem.h"

#include <QDate>
#include <QTest>

class TestZKFtpItem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parsesListingLines_data();
    void parsesListingLines();
    void datesNeedTheirExactForm_data();
    void datesNeedTheirExactForm();
    void permissionBits_data();
    void permissionBits();
    void plainNames_data();
    void plainNames();
};

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute), Qt::UTC);
}

QDateTime local(int month, int day, int hour, int minute) {
    return QDateTime(QDate(QDate::currentDate().year(), month, day), QTime(hour, minute));
}

} // namespace

void TestZKFtpItem::parsesListingLines_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("parsed");
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint32>("type");
    QTest::addColumn<quint64>("size");
    QTest::addColumn<int>("permissions");
    QTest::addColumn<QDateTime>("date");

    QTest::newRow("facts: folder") << "type=dir;modify=20240101000000; photos" << true << "photos"
                                   << 2 << quint64(0) << 0 << utc(2024, 1, 1, 0, 0);
    // The listed folder itself is deliberately not taken for a folder.
    QTest::newRow("facts: cdir") << "type=cdir;perm=el; ." << true << "." << 1 << quint64(0) << 0
                                 << QDateTime();
    QTest::newRow("facts: name with semicolon")
        << "type=file;size=1234;modify=20240131120000;UNIX.mode=0644; report;v2.txt" << true
        << "report;v2.txt" << 1 << quint64(1234) << 0644 << utc(2024, 1, 31, 12, 0);
    QTest::newRow("facts: fractional seconds give no date")
        << "Type=File;Size=7;Modify=20240131120000.5; a" << true << "a" << 1 << quint64(7) << 0
        << QDateTime();
    QTest::newRow("unix: link") << "lrwxr-xr-x 1 u g 11 Jan 02 10:00 latest -> v1.2/build" << true
                                << "latest" << 3 << quint64(11) << 0755 << local(1, 2, 10, 0);
    QTest::newRow("unix: year instead of time")
        << "drwxr-xr-x 2 u g 512 Dec 24 2019 archive" << true << "archive" << 2 << quint64(512)
        << 0755 << QDateTime();
    QTest::newRow("unix: spaces in the name collapse")
        << "-rw-r--r--   1 owner group   4096 Mar  5 14:07 my   file.txt" << true << "my file.txt"
        << 1 << quint64(4096) << 0644 << local(3, 5, 14, 7);
    QTest::newRow("unix: socket is unknown")
        << "srwxrwxrwx 1 u g 0 Jan 02 10:00 sock" << true << "sock" << 0 << quint64(0) << 0777
        << local(1, 2, 10, 0);
    QTest::newRow("unix: link without arrow is refused")
        << "lrwxr-xr-x 1 u g 11 Jan 02 10:00 latest" << false << QString() << 0 << quint64(0) << 0
        << QDateTime();
    QTest::newRow("windows: file")
        << "12-25-23  11:59PM  1048576 big file.bin" << true << "big file.bin" << 1
        << quint64(1048576) << 0 << utc(2023, 12, 25, 23, 59);
    QTest::newRow("windows: folder")
        << "01-31-24  09:15AM       <DIR>          Reports" << true << "Reports" << 2 << quint64(0)
        << 0 << utc(2024, 1, 31, 9, 15);
    QTest::newRow("total line") << "total 48" << false << QString() << 0 << quint64(0) << 0
                                << QDateTime();
    QTest::newRow("empty line") << "" << false << QString() << 0 << quint64(0) << 0 << QDateTime();
    QTest::newRow("a negative size is no size")
        << "type=file;size=-5; x" << true << "x" << 1 << quint64(0) << 0 << QDateTime();
}

void TestZKFtpItem::parsesListingLines() {
    QFETCH(QString, line);
    QFETCH(bool, parsed);
    const std::optional<ZKFtpItem> item = ZKFtpItem::itemWithString(line);
    QCOMPARE(item.has_value(), parsed);
    if (!parsed) {
        return;
    }
    QTEST(item->name(), "name");
    QTEST(item->type(), "type");
    QTEST(item->size(), "size");
    QTEST(int(quint16(item->permissions())), "permissions");
    QTEST(item->modificationDate(), "date");
}

void TestZKFtpItem::datesNeedTheirExactForm_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("date");
    QTest::newRow("valid") << "20241231235959"
                           << QDateTime(QDate(2024, 12, 31), QTime(23, 59, 59), Qt::UTC);
    QTest::newRow("month 13") << "20241301000000" << QDateTime();
    QTest::newRow("30 February") << "20240230000000" << QDateTime();
    QTest::newRow("trailing text") << "20240101000000Z" << QDateTime();
    QTest::newRow("too short") << "2024" << QDateTime();
}

void TestZKFtpItem::datesNeedTheirExactForm() {
    QFETCH(QString, text);
    QTEST(ZKFtpItem::parseMachineReadableDate(text), "date");
}

void TestZKFtpItem::permissionBits_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bits");
    QTest::newRow("rwxr-xr-x") << "drwxr-xr-x" << 0755;
    QTest::newRow("set-id and sticky count as set") << "-rwsr-xr-t" << 0755;
    QTest::newRow("nothing") << "----------" << 0;
    QTest::newRow("one character") << "d" << 0;
    QTest::newRow("longer shifts further") << "-rwxrwxrwxr" << 01777;
}

void TestZKFtpItem::permissionBits() {
    QFETCH(QString, text);
    QTEST(int(quint16(ZKFtpItem::parsePosixPermissions(text))), "bits");
}

void TestZKFtpItem::plainNames_data() {
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
    QTest::newRow("NUL") << QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b")) << false;
    QTest::newRow("empty") << "" << false;
}

void TestZKFtpItem::plainNames() {
    QFETCH(QString, name);
    QTEST(ZKFtpItem::isPlainName(name), "plain");
}

QTEST_GUILESS_MAIN(TestZKFtpItem)
#include "tst_ZKFtpItem.moc"
