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
    void names_data();
    void names();
    void unknownTextsParseAsTheFirstValue_data();
    void unknownTextsParseAsTheFirstValue();
};

enum Holder { Task, Queue, Mode };

static QString convert(int holder, qint32 value) {
    if (holder == Task)
        return ZKTaskStates::convertToString(ZKTaskState(value));
    return holder == Queue ? ZKQueueState::convertToString(value)
                           : ZKTransferMode::convertToString(value);
}

static qint32 parseWith(int holder, const QString &text) {
    if (holder == Task)
        return qint32(ZKTaskStates::parse(text));
    return holder == Queue ? ZKQueueState::parse(text) : ZKTransferMode::parse(text);
}

void TestZKTaskState::names_data() {
    QTest::addColumn<int>("holder");
    QTest::addColumn<qint32>("value");
    QTest::addColumn<QString>("expected"); // null: no name, but within the bound

    QTest::newRow("task 7") << int(Task) << 7 << "Removing";
    QTest::newRow("task 12") << int(Task) << 12 << "Suspended";
    QTest::newRow("queue 1") << int(Queue) << 1 << "Paused";
    QTest::newRow("mode 1") << int(Mode) << 1 << "Move";
    // One past the last name is inside the bound and has no name.
    QTest::newRow("task 13") << int(Task) << 13 << QString();
    QTest::newRow("mode 2") << int(Mode) << 2 << QString();
    QTest::newRow("task 14") << int(Task) << 14 << "Unknown (14)";
    QTest::newRow("task -1") << int(Task) << -1 << "Unknown (-1)";
    QTest::newRow("queue 3") << int(Queue) << 3 << "Unknown (3)";
}

void TestZKTaskState::names() {
    QFETCH(int, holder);
    QFETCH(qint32, value);
    QFETCH(QString, expected);

    const QString text = convert(holder, value);
    QCOMPARE(text, expected);
    QCOMPARE(text.isNull(), expected.isNull());
    if (!text.isNull() && !text.startsWith(QStringLiteral("Unknown")))
        QCOMPARE(parseWith(holder, text), value);
}

void TestZKTaskState::unknownTextsParseAsTheFirstValue_data() {
    QTest::addColumn<int>("holder");
    QTest::addColumn<QString>("text");

    QTest::newRow("lower case") << int(Task) << "cancelled";
    QTest::newRow("empty") << int(Task) << "";
    QTest::newRow("missing") << int(Task) << QString();
    QTest::newRow("unknown queue state") << int(Queue) << "Stopped";
    QTest::newRow("unknown mode") << int(Mode) << "Download";
    // Only the bare name is a saved name.
    QTest::newRow("qualified") << int(Task) << "ZKTaskState::Cancelled";
    QTest::newRow("cut by NUL") << int(Task) << QStringLiteral("Cancelled\u0000x");
}

void TestZKTaskState::unknownTextsParseAsTheFirstValue() {
    QFETCH(int, holder);
    QFETCH(QString, text);
    QCOMPARE(parseWith(holder, text), 0);
}

QTEST_GUILESS_MAIN(TestZKTaskState)
#include "tst_ZKTaskState.moc"
