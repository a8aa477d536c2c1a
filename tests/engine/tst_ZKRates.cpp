// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCountdownTimer.h"
#include "ZKDataRateCalculator.h"
#include "ZKProgressTracker.h"

#include <cmath>
#include <limits>

#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

class TestZKRates : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sampleFilter_data();
    void sampleFilter();
    void smallChangesStaySilent();
    void spanNeverOverflows();
    void resetAndBadSavedRate();
    void activityReadsAtItsMeanRate_data();
    void activityReadsAtItsMeanRate();

    void sumsFollowItemChanges();
    void signalsSeeConsistentResults();

    void countsDownAndCompletes();
    void cancelledCountdownStaysQuiet();
    void handlerMayRestartOrDestroy();
};

void TestZKRates::sampleFilter_data() {
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<double>("timePassed");
    QTest::addColumn<double>("published"); // 0: ignored

    QTest::newRow("500 B in 1 s") << quint64(500) << 1.0 << 500.0;
    // Times no clock gives must not reach the average.
    QTest::newRow("0.5 ms") << quint64(1000) << 0.0005 << 0.0;
    QTest::newRow("negative time") << quint64(100) << -1.0 << 0.0;
    QTest::newRow("nan time") << quint64(100) << std::numeric_limits<double>::quiet_NaN() << 0.0;
    QTest::newRow("infinite time")
        << quint64(100) << std::numeric_limits<double>::infinity() << 0.0;
}

void TestZKRates::sampleFilter() {
    QFETCH(quint64, bytes);
    QFETCH(double, timePassed);
    QFETCH(double, published);
    ZKDataRateCalculator calculator;
    QSignalSpy spy(&calculator, &ZKDataRateCalculator::bytesPerSecondChanged);
    calculator.addSampleOfBytes(bytes, timePassed);
    QCOMPARE(calculator.bytesPerSecond(), published);
    QCOMPARE(calculator.samples().size(), published == 0.0 ? 0 : 1);
    QCOMPARE(spy.count(), published == 0.0 ? 0 : 1);
}

using Reports = QList<QPair<quint64, double>>; // bytes, seconds

void TestZKRates::activityReadsAtItsMeanRate_data() {
    QTest::addColumn<Reports>("reports");
    QTest::addColumn<int>("repeats");
    QTest::addColumn<double>("published"); // 0: nothing yet

    // A speed limit of 4 MB/s lets bytes through in bursts.
    QTest::newRow("bursts") << Reports{{200000, 0.45}, {1800000, 0.05}} << 10 << 4.0e6;
    // Small files: a report at the end of each.
    QTest::newRow("small files") << Reports{{40000, 0.01}} << 300 << 4.0e6;
    QTest::newRow("under half a second") << Reports{{1000, 0.1}} << 4 << 0.0;
}

void TestZKRates::activityReadsAtItsMeanRate() {
    QFETCH(Reports, reports);
    QFETCH(int, repeats);
    QFETCH(double, published);
    ZKDataRateCalculator calculator;
    for (int i = 0; i < repeats; ++i) {
        for (const auto &[bytes, seconds] : reports) {
            calculator.addActivity(bytes, seconds);
        }
    }
    QVERIFY2(std::abs(calculator.bytesPerSecond() - published) <= published * 0.01,
             qPrintable(QString::number(calculator.bytesPerSecond())));
}

// A steady transfer must not wake every row that shows its rate.
void TestZKRates::smallChangesStaySilent() {
    ZKDataRateCalculator calculator;
    QSignalSpy spy(&calculator, &ZKDataRateCalculator::bytesPerSecondChanged);
    for (int i = 0; i < 20; ++i)
        calculator.addSampleOfBytes(1000, 1.0);
    QCOMPARE(spy.count(), 1);
}

void TestZKRates::spanNeverOverflows() {
    ZKDataRateCalculator calculator;
    for (int i = 1; i <= 25; ++i)
        calculator.addSampleOfBytes(quint64(i) * 100, 1.0);
    QCOMPARE(calculator.samples().size(), 10);
    calculator.setNumberOfSamples(0);
    QCOMPARE(calculator.numberOfSamples(), 1u);
    calculator.addSampleOfBytes(7000, 1.0);
    QCOMPARE(calculator.samples(), QList<double>({7000.0}));
    QCOMPARE(calculator.bytesPerSecond(), 7000.0);
}

void TestZKRates::resetAndBadSavedRate() {
    ZKDataRateCalculator calculator;
    calculator.addSampleOfBytes(5000, 1.0);
    QSignalSpy spy(&calculator, &ZKDataRateCalculator::bytesPerSecondChanged);
    calculator.reset();
    QVERIFY(calculator.samples().isEmpty());
    QCOMPARE(calculator.bytesPerSecond(), 0.0);
    QCOMPARE(spy.count(), 1);

    // A NaN rate from a damaged saved queue would otherwise block every later
    // update, as no average differs from NaN by more than a byte.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Ignored data rate"));
    calculator.setBytesPerSecond(std::numeric_limits<double>::quiet_NaN());
    calculator.addSampleOfBytes(300, 1.0);
    QCOMPARE(calculator.bytesPerSecond(), 300.0);
}

void TestZKRates::sumsFollowItemChanges() {
    ZKProgressTracker tracker;
    QObject a;
    QObject b;
    QCOMPARE(tracker.progress(), 0.0);
    tracker.setItem(&a, 10, 100);
    tracker.setItem(&b, 50, 200);
    QCOMPARE(tracker.progressBytes(), quint64(60));
    QCOMPARE(tracker.totalBytes(), quint64(300));
    QCOMPARE(tracker.progress(), 0.2);

    tracker.setItem(&a, 5, 40); // shrinking counts
    QCOMPARE(tracker.progressBytes(), quint64(55));
    QCOMPARE(tracker.totalBytes(), quint64(240));

    tracker.clearItem(&b);
    tracker.clearItem(&b); // unknown now: no effect
    QCOMPARE(tracker.progressBytes(), quint64(5));
    QCOMPARE(tracker.totalBytes(), quint64(40));
    QCOMPARE(tracker.items().size(), 1);

    tracker.setItem(&a, 0, 0);
    QCOMPARE(tracker.progress(), 0.0);     // no division by zero
    QVERIFY(tracker.items().contains(&a)); // completed items count by default
}

void TestZKRates::signalsSeeConsistentResults() {
    ZKProgressTracker tracker;
    QObject item;
    double seenProgress = -1.0;
    connect(&tracker, &ZKProgressTracker::progressBytesChanged, this,
            [&] { seenProgress = tracker.progress(); });
    QSignalSpy totals(&tracker, &ZKProgressTracker::totalBytesChanged);
    tracker.setItem(&item, 25, 100);
    QCOMPARE(seenProgress, 0.25);
    tracker.setItem(&item, 50, 100);
    QCOMPARE(totals.count(), 1); // the total did not change the second time
}

void TestZKRates::countsDownAndCompletes() {
    ZKCountdownTimer countdown;
    countdown.setTimeout(2.5);
    QList<double> ticks;
    int completions = 0;
    bool runningAtCompletion = true;
    countdown.setUpdateHandler([&] { ticks.append(countdown.remainingTime()); });
    countdown.setCompletionHandler([&] {
        ++completions;
        runningAtCompletion = countdown.isRunning();
    });
    countdown.start();
    QVERIFY(countdown.isRunning());
    QVERIFY(countdown.remainingTime() > 0.0 && countdown.remainingTime() <= 2.5);

    QTRY_COMPARE_WITH_TIMEOUT(completions, 1, 20000);
    // One-second ticks: at most one per whole second of the timeout and the
    // last one when nothing is left (a late machine may skip some).
    QVERIFY2(ticks.size() >= 1 && ticks.size() <= 3, qPrintable(QString::number(ticks.size())));
    QCOMPARE(ticks.last(), 0.0);
    for (qsizetype i = 1; i < ticks.size(); ++i)
        QVERIFY(ticks[i] < ticks[i - 1]);
    QVERIFY(!runningAtCompletion);
    QCOMPARE(countdown.remainingTime(), 0.0);
}

void TestZKRates::cancelledCountdownStaysQuiet() {
    ZKCountdownTimer countdown;
    int calls = 0;
    countdown.setUpdateHandler([&] { ++calls; });
    countdown.setCompletionHandler([&] { calls += 100; });
    countdown.start(); // timeout 0: one tick a second later, then done
    countdown.cancel();
    QVERIFY(!countdown.isRunning());
    QCOMPARE(countdown.remainingTime(), 0.0);

    // Cancelled from its own tick, it must not go on to complete.
    ZKCountdownTimer selfCancelling;
    int completions = 0;
    bool ticked = false;
    selfCancelling.setUpdateHandler([&] {
        ticked = true;
        selfCancelling.cancel();
    });
    selfCancelling.setCompletionHandler([&] { ++completions; });
    selfCancelling.start();
    QTRY_VERIFY_WITH_TIMEOUT(ticked, 20000);
    QTest::qWait(1500);
    QCOMPARE(calls, 0);
    QCOMPARE(completions, 0);
}

void TestZKRates::handlerMayRestartOrDestroy() {
    ZKCountdownTimer countdown;
    int completions = 0;
    countdown.setCompletionHandler([&] {
        if (++completions == 1)
            countdown.start();
    });
    countdown.start();
    QTRY_COMPARE_WITH_TIMEOUT(completions, 2, 20000);

    QPointer<ZKCountdownTimer> doomed = new ZKCountdownTimer;
    doomed->setUpdateHandler([&] { delete doomed.data(); });
    doomed->setCompletionHandler([] { QFAIL("completed after being destroyed"); });
    doomed->start();
    QTRY_VERIFY_WITH_TIMEOUT(doomed.isNull(), 20000);
}

QTEST_GUILESS_MAIN(TestZKRates)
#include "tst_ZKRates.moc"
