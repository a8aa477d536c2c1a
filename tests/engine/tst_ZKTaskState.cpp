// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueState.h"
#include "ZKTaskState.h"
#include "ZKTransferMode.h"

#include <QTest>

// The saved names of states and modes are part of the saved-queue format.
class TestZKTaskState : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void convertToString_data();
    void convertToString();
    void parse_data();
    void parse();
};

enum Holder { Task, Queue, Mode };

static QString convert(int holder, qint32 value) {
    switch (holder) {
    case Task:
        return ZKTaskState::convertToString(value);
    case Queue:
        return ZKQueueState::convertToString(value);
    default:
        return ZKTransferMode::convertToString(value);
    }
}

static qint32 parseWith(int holder, const QString &text) {
    switch (holder) {
    case Task:
        return ZKTaskState::parse(text);
    case Queue:
        return ZKQueueState::parse(text);
    default:
        return ZKTransferMode::parse(text);
    }
}

void TestZKTaskState::convertToString_data() {
    QTest::addColumn<int>("holder");
    QTest::addColumn<qint32>("value");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isNull");

    QTest::newRow("task 0") << int(Task) << 0 << "PendingPreparation" << false;
    QTest::newRow("task 7") << int(Task) << 7 << "Removing" << false;
    QTest::newRow("task 12") << int(Task) << 12 << "Suspended" << false;
    // One past the last name is inside the bound and has no name.
    QTest::newRow("task 13") << int(Task) << 13 << QString() << true;
    QTest::newRow("task 14") << int(Task) << 14 << "Unknown (14)" << false;
    QTest::newRow("task -1") << int(Task) << -1 << "Unknown (-1)" << false;
    QTest::newRow("queue 1") << int(Queue) << 1 << "Paused" << false;
    QTest::newRow("queue 2") << int(Queue) << 2 << QString() << true;
    QTest::newRow("queue 3") << int(Queue) << 3 << "Unknown (3)" << false;
    QTest::newRow("mode 0") << int(Mode) << 0 << "Copy" << false;
    QTest::newRow("mode 1") << int(Mode) << 1 << "Move" << false;
    QTest::newRow("mode 2") << int(Mode) << 2 << QString() << true;
    QTest::newRow("mode 3") << int(Mode) << 3 << "Unknown (3)" << false;
}

void TestZKTaskState::convertToString() {
    QFETCH(int, holder);
    QFETCH(qint32, value);
    QFETCH(QString, expected);
    QFETCH(bool, isNull);

    const QString text = convert(holder, value);
    QCOMPARE(text, expected);
    QCOMPARE(text.isNull(), isNull);
}

void TestZKTaskState::parse_data() {
    QTest::addColumn<int>("holder");
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint32>("expected");

    QTest::newRow("Cancelled") << int(Task) << "Cancelled" << 11;
    QTest::newRow("Suspended") << int(Task) << "Suspended" << 12;
    QTest::newRow("lower case") << int(Task) << "cancelled" << 0;
    QTest::newRow("empty") << int(Task) << "" << 0;
    QTest::newRow("missing") << int(Task) << QString() << 0;
    QTest::newRow("Paused") << int(Queue) << "Paused" << 1;
    QTest::newRow("unknown queue state") << int(Queue) << "Stopped" << 0;
    QTest::newRow("Move") << int(Mode) << "Move" << 1;
    QTest::newRow("unknown mode") << int(Mode) << "Download" << 0;
}

void TestZKTaskState::parse() {
    QFETCH(int, holder);
    QFETCH(QString, text);
    QFETCH(qint32, expected);

    QCOMPARE(parseWith(holder, text), expected);
}

QTEST_GUILESS_MAIN(TestZKTaskState)
#include "tst_ZKTaskState.moc"
