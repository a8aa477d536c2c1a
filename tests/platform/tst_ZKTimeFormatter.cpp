// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTimeFormatter.h"

#include <limits>

#include <QTest>

class TestZKTimeFormatter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void formatTime_data();
    void formatTime();
    void hugeValuesKeepTheirForm();
    void stringForObjectValue_data();
    void stringForObjectValue();
};

void TestZKTimeFormatter::formatTime_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("expected");

    // One row for each form of phrase, at the edge where it begins; the
    // values no clock gives must still read as a phrase.
    constexpr double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("nan") << std::numeric_limits<double>::quiet_NaN() << "indeterminate";
    QTest::newRow("+inf") << inf << "indeterminate";
    QTest::newRow("-inf") << -inf << "indeterminate";
    QTest::newRow("negative") << -5.0 << "less than a second";
    QTest::newRow("1.0") << 1.0 << "a few seconds";
    QTest::newRow("3.5") << 3.5 << "about 5 seconds";
    QTest::newRow("55.001") << 55.001 << "about a minute";
    QTest::newRow("90") << 90.0 << "about 2 minutes";
    QTest::newRow("3600.01") << 3600.01 << "about an hour";
    QTest::newRow("3960 (1.1 h)") << 3960.0 << "about 1.1 hours";
    QTest::newRow("86400.5") << 86400.5 << "about a day";
    QTest::newRow("95040 (1.1 d)") << 95040.0 << "about 1.1 days";
}

void TestZKTimeFormatter::formatTime() {
    QFETCH(double, seconds);
    QFETCH(QString, expected);
    QCOMPARE(ZKTimeFormatter::formatTime(seconds), expected);
}

void TestZKTimeFormatter::hugeValuesKeepTheirForm() {
    const QString text = ZKTimeFormatter::formatTime(std::numeric_limits<double>::max());
    QVERIFY2(text.startsWith(QStringLiteral("about 2")) && text.endsWith(QStringLiteral(".0 days")),
             qPrintable(text));
    // Fixed notation, as the phrase promises a count of days, not 2e+303.
    QVERIFY2(!text.contains(u'e') && !text.contains(u'+'), qPrintable(text));
}

void TestZKTimeFormatter::stringForObjectValue_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected"); // null: no text at all

    QTest::newRow("text") << QVariant(QStringLiteral("90")) << QString();
    QTest::newRow("invalid") << QVariant() << QString();
    QTest::newRow("int") << QVariant(90) << "about 2 minutes";
    QTest::newRow("double") << QVariant(55.5) << "about a minute";
    QTest::newRow("nan") << QVariant(std::numeric_limits<double>::quiet_NaN()) << "indeterminate";
}

void TestZKTimeFormatter::stringForObjectValue() {
    QFETCH(QVariant, value);
    QFETCH(QString, expected);
    const QString text = ZKTimeFormatter().stringForObjectValue(value);
    QCOMPARE(text.isNull(), expected.isNull());
    QCOMPARE(text, expected);
}

QTEST_GUILESS_MAIN(TestZKTimeFormatter)
#include "tst_ZKTimeFormatter.moc"
