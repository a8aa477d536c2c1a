// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileOperation.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"
#include "ZKTestSupport.h"

#include <QTest>

#include <thread>

namespace {

// Exposes the protected pacing and posting to the test.
class ProbeOperation : public ZKFileOperation {
public:
    using ZKFileOperation::postActivity;

protected:
    void main() override {}
};

} // namespace

class TestZKFileOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void invalidPatternMatchesNothing();
    void shouldCopyFile_data();
    void shouldCopyFile();
    void removeIgnoresSkippedSet();
    void temporaryFileTakesTheBareName();
    void noLimitNeverSleeps();
    void shortWaitIsCarried();
    void longWaitIsSlept();
    void slowStretchIsCredited();
    void cancelEndsLongWaitWithinASecond();
    void activityCarriesFourEntries();
};

void TestZKFileOperation::invalidPatternMatchesNothing() {
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Error generating regular expression "
                                                          "from pattern '\\(unclosed'"));
    const auto regexes = ZKFileOperation::convertPatterns({"^a$", "(unclosed", "^b$"});
    QCOMPARE(regexes.size(), 3);
    QCOMPARE(regexes.at(2).pattern(), QStringLiteral("^b$"));
    ProbeOperation operation;
    operation.setSkippedFileRegexes(regexes);
    QVERIFY(!operation.shouldCopyFile(QUrl::fromLocalFile("/x/b")));
    QVERIFY(operation.shouldCopyFile(QUrl::fromLocalFile("/x/(unclosed")));
}

void TestZKFileOperation::shouldCopyFile_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("expected");
    QTest::newRow("store file at top") << "/a/.DS_Store" << false;
    QTest::newRow("store file deep") << "/a/b/c/d/.DS_Store" << false;
    QTest::newRow("longer name") << "/a/.DS_Store2" << true;
    QTest::newRow("pattern is case-sensitive") << "/a/.ds_store" << true;
    QTest::newRow("folder named like a pattern") << "/a/.Trashes" << false;
    QTest::newRow("skipped by the user") << "/a/chosen" << false;
    QTest::newRow("skipped by the user, other spelling") << "/a/./chosen/" << false;
    QTest::newRow("plain file") << "/a/report.txt" << true;
}

void TestZKFileOperation::shouldCopyFile() {
    QFETCH(QString, path);
    QFETCH(bool, expected);
    ProbeOperation operation;
    operation.setSkippedFilePatterns({"^\\.DS_Store$", "^\\.(_\\.)?Trashes$"});
    operation.setSkippedUrls({QUrl::fromLocalFile("/a/chosen")});
    QCOMPARE(operation.shouldCopyFile(QUrl::fromLocalFile(path)), expected);
    QCOMPARE(operation.shouldVerifyFile(QUrl::fromLocalFile(path)), expected);
}

void TestZKFileOperation::removeIgnoresSkippedSet() {
    ProbeOperation operation;
    operation.setSkippedFilePatterns({"^\\.DS_Store$"});
    operation.setSkippedUrls({QUrl::fromLocalFile("/a/chosen")});
    QVERIFY(operation.shouldRemoveFile(QUrl::fromLocalFile("/a/chosen")));
    QVERIFY(!operation.shouldRemoveFile(QUrl::fromLocalFile("/a/.DS_Store")));
}

void TestZKFileOperation::temporaryFileTakesTheBareName() {
    ProbeOperation operation;
    operation.setTemporaryFilePatterns({"^\\.TemporaryItems$"});
    QVERIFY(operation.isTemporaryFile(".TemporaryItems"));
    QVERIFY(!operation.isTemporaryFile("/a/.TemporaryItems"));
}

void TestZKFileOperation::noLimitNeverSleeps() {
    ProbeOperation operation;
    const auto before = ZKFileOperation::Clock::now();
    QCOMPARE(operation.sleepForTransferOf(1 << 30, before, 0.25), 0.25);
    QVERIFY(ZKFileOperation::secondsSince(before) < 0.5);
}

void TestZKFileOperation::shortWaitIsCarried() {
    ProbeOperation operation;
    operation.setMaximumTransferRate(1000);
    const auto before = ZKFileOperation::Clock::now();
    // 90 bytes at 1000 B/s owe 0.09 s: not slept (a sleep would have paid
    // the debt) but carried.
    const double residual = operation.sleepForTransferOf(90, before, 0);
    QVERIFY2(residual > 0.05 && residual <= 0.09, qPrintable(QString::number(residual)));
    // Together with the next block the debt is worth a sleep, and is paid.
    const double next = operation.sleepForTransferOf(100, ZKFileOperation::Clock::now(), residual);
    QVERIFY(ZKFileOperation::secondsSince(before) >= 0.15);
    QVERIFY2(next < 0.05 && next > -0.5, qPrintable(QString::number(next)));
}

void TestZKFileOperation::longWaitIsSlept() {
    ProbeOperation operation;
    operation.setMaximumTransferRate(10000);
    const auto before = ZKFileOperation::Clock::now();
    const double residual = operation.sleepForTransferOf(3000, before, 0);
    const double elapsed = ZKFileOperation::secondsSince(before);
    QVERIFY2(elapsed >= 0.29 && elapsed < 2.0, qPrintable(QString::number(elapsed)));
    // What was overslept is paid back by the next block.
    QVERIFY2(residual <= 0.0 && residual > -0.5, qPrintable(QString::number(residual)));
}

void TestZKFileOperation::slowStretchIsCredited() {
    ProbeOperation operation;
    operation.setMaximumTransferRate(10000);
    // The block took 0.5 s although 0.3 s were owed: nothing to sleep, and
    // 0.2 s of credit for a later burst.
    const auto started = ZKFileOperation::Clock::now() - std::chrono::milliseconds(500);
    const double residual = operation.sleepForTransferOf(3000, started, 0);
    QVERIFY2(residual < -0.15 && residual > -0.5, qPrintable(QString::number(residual)));
}

void TestZKFileOperation::cancelEndsLongWaitWithinASecond() {
    ProbeOperation operation;
    operation.setMaximumTransferRate(1000);
    std::thread canceller([&operation] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        operation.cancel();
    });
    const auto before = ZKFileOperation::Clock::now();
    operation.sleepForTransferOf(5000, before, 0);
    const double elapsed = ZKFileOperation::secondsSince(before);
    canceller.join();
    QVERIFY2(elapsed < 2.0, qPrintable(QString::number(elapsed)));
}

void TestZKFileOperation::activityCarriesFourEntries() {
    ProbeOperation operation;
    QObject context;
    QList<ZKNotification> received;
    ZKNotificationCenter::defaultCenter().addObserver(
        ZKNotificationNames::operationActivity, &operation, &context,
        [&received](const ZKNotification &notification) { received.append(notification); });
    operation.postActivity(Q_UINT64_C(5000000000), Q_UINT64_C(6000000000), 1.5, 2.5);
    QCOMPARE(received.size(), 1);
    const QVariantMap info = received.first().userInfo;
    QCOMPARE(info.size(), 4);
    QCOMPARE(info.value("bytes").userType(), QMetaType::ULongLong);
    QCOMPARE(info.value("bytes").toULongLong(), Q_UINT64_C(5000000000));
    QCOMPARE(info.value("totalBytes").toULongLong(), Q_UINT64_C(6000000000));
    QCOMPARE(info.value("timePassed").toDouble(), 1.5);
    QCOMPARE(info.value("totalTimePassed").toDouble(), 2.5);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKFileOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKFileOperation.moc"
