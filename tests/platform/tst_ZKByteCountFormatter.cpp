// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKByteCountFormatter.h"

#include <clocale>
#include <limits>

#include <QLocale>
#include <QTest>

class TestZKByteCountFormatter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void formatByteCount_data();
    void formatByteCount();
    void unitNameForFormat_data();
    void unitNameForFormat();
    void stringForObjectValue_data();
    void stringForObjectValue();
    void followsTheLanguageNotTheCLibrary_data();
    void followsTheLanguageNotTheCLibrary();
};

void TestZKByteCountFormatter::formatByteCount_data() {
    QTest::addColumn<quint64>("count");
    QTest::addColumn<quint32>("format");
    QTest::addColumn<QString>("expected");

    constexpr quint64 k = 1024;
    QTest::newRow("1024 stays in bytes") << k << 0u << "1024 bytes";
    QTest::newRow("1025") << quint64(1025) << 0u << "1.0 KB";
    // 1.0508 KB: the single decimal is rounded, not cut.
    QTest::newRow("rounds up") << quint64(1076) << 0u << "1.1 KB";
    QTest::newRow("1.0 MB/s") << k * k + 1 << 1u << "1.0 MB/s";
    QTest::newRow("2^63 + 1 stays positive") << (quint64(1) << 63) + 1 << 0u << "8.0 EB";
    QTest::newRow("largest count") << std::numeric_limits<quint64>::max() << 1u << "16.0 EB/s";
}

void TestZKByteCountFormatter::formatByteCount() {
    QFETCH(quint64, count);
    QFETCH(quint32, format);
    QFETCH(QString, expected);
    QCOMPARE(ZKByteCountFormatter::formatByteCount(count, format), expected);
}

void TestZKByteCountFormatter::unitNameForFormat_data() {
    QTest::addColumn<quint32>("format");
    QTest::addColumn<quint32>("units");
    QTest::addColumn<QString>("expected");

    QTest::newRow("largest rate") << 1u << 7u << "ZB/s";
    QTest::newRow("size 8") << 0u << 8u << "Unknown";
    QTest::newRow("rate huge") << 1u << std::numeric_limits<quint32>::max() << "Unknown";
}

void TestZKByteCountFormatter::unitNameForFormat() {
    QFETCH(quint32, format);
    QFETCH(quint32, units);
    QFETCH(QString, expected);
    QCOMPARE(ZKByteCountFormatter::unitNameForFormat(format, units), expected);
}

void TestZKByteCountFormatter::stringForObjectValue_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected"); // null: no text at all

    QTest::newRow("text") << QVariant(QStringLiteral("1536")) << QString();
    QTest::newRow("invalid") << QVariant() << QString();
    QTest::newRow("unsigned above 2^63")
        << QVariant(std::numeric_limits<quint64>::max()) << "16.0 EB/s";
    QTest::newRow("negative") << QVariant(qint64(-5)) << "0 B/s";
    QTest::newRow("fraction cut") << QVariant(1024.9) << "1024 B/s";
    QTest::newRow("negative double") << QVariant(-1.0e6) << "0 B/s";
    QTest::newRow("nan") << QVariant(std::numeric_limits<double>::quiet_NaN()) << "0 B/s";
    QTest::newRow("beyond 2^64") << QVariant(1.0e30) << "16.0 EB/s";
}

void TestZKByteCountFormatter::stringForObjectValue() {
    QFETCH(QVariant, value);
    QFETCH(QString, expected);
    const ZKByteCountFormatter formatter(ZKByteCountFormatDataRate);
    const QString text = formatter.stringForObjectValue(value);
    QCOMPARE(text.isNull(), expected.isNull());
    QCOMPARE(text, expected);
}

void TestZKByteCountFormatter::followsTheLanguageNotTheCLibrary_data() {
    QTest::addColumn<QString>("language");   // the default QLocale
    QTest::addColumn<QByteArray>("numbers"); // the C library's LC_NUMERIC
    QTest::addColumn<quint64>("count");
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("rate");

    QTest::newRow("C") << "C" << QByteArray("C") << quint64(1536) << "1.5 KB"
                       << "1.5 KB/s";
    QTest::newRow("English") << "en_US" << QByteArray("C") << quint64(1536) << "1.5 KB"
                             << "1.5 KB/s";
    QTest::newRow("German") << "de_DE" << QByteArray("C") << quint64(1536) << "1,5 KB"
                            << "1,5 KB/s";
    // No digits are grouped, in any language.
    QTest::newRow("English, 1024.0")
        << "en_US" << QByteArray("C") << quint64(1048576) << "1024.0 KB"
        << "1024.0 KB/s";
    QTest::newRow("German, 1024,0") << "de_DE" << QByteArray("C") << quint64(1048576) << "1024,0 KB"
                                    << "1024,0 KB/s";
    QTest::newRow("C library German")
        << "C" << QByteArray("de_DE.UTF-8") << quint64(1536) << "1.5 KB"
        << "1.5 KB/s";
    QTest::newRow("both German") << "de_DE" << QByteArray("de_DE.UTF-8") << quint64(1536)
                                 << "1,5 KB"
                                 << "1,5 KB/s";
}

void TestZKByteCountFormatter::followsTheLanguageNotTheCLibrary() {
    QFETCH(QString, language);
    QFETCH(QByteArray, numbers);
    QFETCH(quint64, count);
    QFETCH(QString, size);
    QFETCH(QString, rate);
    const QLocale previous;
    QLocale::setDefault(QLocale(language));
    const bool haveCLocale = std::setlocale(LC_NUMERIC, numbers.constData()) != nullptr;
    const QString shownSize = ZKByteCountFormatter::formatFileSize(count);
    const QString shownRate = ZKByteCountFormatter::formatDataRate(count);
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(previous);
    QCOMPARE(shownSize, size);
    QCOMPARE(shownRate, rate);
    if (!haveCLocale)
        qInfo("%s is not installed; only the Qt locale was changed", numbers.constData());
}

QTEST_GUILESS_MAIN(TestZKByteCountFormatter)
#include "tst_ZKByteCountFormatter.moc"
