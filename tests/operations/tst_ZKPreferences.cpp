// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPreferences.h"
#include "ZKUserDefaults.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

using P = ZKPreferences;

class tst_ZKPreferences : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void keysAreNamedAfterThemselves_data();
    void keysAreNamedAfterThemselves();
    void firstRunValues();
    void firstRunDatesAreTodayLocally();
    void defaultPatterns();
    void hiddenSwitchAppendsDotPattern();
    void switchesRemoveTheirPatterns_data();
    void switchesRemoveTheirPatterns();
    void defaultPatternsMatchNames_data();
    void defaultPatternsMatchNames();
    void initialisingTwiceChangesNothing();
    void existingValuesAreKept();
    void soundsAreGuardedByTheMarker();
    void typesSurviveReload();
    void initialiseIsAtomic();
    void initialiseDefaultsFamily();
    void standardStoreLivesInTestHome();

private:
    std::unique_ptr<ZKUserDefaults> freshStore();
    std::unique_ptr<ZKUserDefaults> reloaded(const ZKUserDefaults &store);

    QTemporaryDir m_home;
    int m_stores = 0;
    // Initialised once: every write reaches the disk, which takes a while.
    std::unique_ptr<ZKUserDefaults> m_defaults;
};

const QStringList defaultTemporaryPatterns{R"(^\.DS_Store$)",
                                           R"(^\.Thumbs.db$)",
                                           R"(^\.(_\.)?Trashes$)",
                                           R"(^\.Trash$)",
                                           R"(^\.(_\.)?Spotlight-V[0-9]+$)",
                                           R"(^\.TemporaryItems$)",
                                           R"(^\.fseventsd$)",
                                           R"(^\.metadata$)"};

void tst_ZKPreferences::initTestCase() {
    // Before the first QSettings: its user path is fixed on first use, and
    // in test mode it lies under HOME rather than XDG_CONFIG_HOME.
    QVERIFY(m_home.isValid());
    qputenv("HOME", m_home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (m_home.path() + "/config").toLocal8Bit());
    QStandardPaths::setTestModeEnabled(true);
    m_defaults = freshStore();
    P::initialiseUserDefaults(*m_defaults);
}

std::unique_ptr<ZKUserDefaults> tst_ZKPreferences::freshStore() {
    return std::make_unique<ZKUserDefaults>(
        QStringLiteral("%1/stores/%2.conf").arg(m_home.path()).arg(++m_stores));
}

// The same values as the next start of the application sees them: read from
// the file, not from what this process still holds in memory.
std::unique_ptr<ZKUserDefaults> tst_ZKPreferences::reloaded(const ZKUserDefaults &store) {
    const QString copy = QStringLiteral("%1/stores/%2.conf").arg(m_home.path()).arg(++m_stores);
    if (!QFile::copy(store.fileName(), copy)) {
        return nullptr;
    }
    return std::make_unique<ZKUserDefaults>(copy);
}

void tst_ZKPreferences::keysAreNamedAfterThemselves_data() {
    QTest::addColumn<QString>("key");
#define KEY(name) QTest::newRow(#name) << QString(P::name)
    KEY(copyCreationTime);
    KEY(copyModificationTime);
    KEY(copyPermissions);
    KEY(copyOwnership);
    KEY(symbolicLinkAction);
    KEY(copyHiddenFiles);
    KEY(copyDsStoreFiles);
    KEY(copyThumbsDbFiles);
    KEY(copyTrashes);
    KEY(copySpotlightFolders);
    KEY(copyTemporaryFiles);
    KEY(copyFileSystemInternalFiles);
    KEY(completionSound);
    KEY(failureSound);
    KEY(showDataRate);
    KEY(showDataSize);
    KEY(queueState);
    KEY(verifyEnabled);
    KEY(speedLimitEnabled);
    KEY(speedLimit);
    KEY(scheduleEnabled);
    KEY(startCopyEnabled);
    KEY(startCopyTime);
    KEY(stopCopyEnabled);
    KEY(stopCopyTime);
    KEY(startSpeedLimitEnabled);
    KEY(startSpeedLimitTime);
    KEY(stopSpeedLimitEnabled);
    KEY(stopSpeedLimitTime);
    KEY(automaticClearEnabled);
    KEY(automaticRetryEnabled);
    KEY(automaticRetryDelaySeconds);
    KEY(defaultDestination);
    KEY(downloadTimeout);
    KEY(preferencesInitialised);
#undef KEY
}

void tst_ZKPreferences::keysAreNamedAfterThemselves() {
    QFETCH(QString, key);
    QCOMPARE(key, QString::fromLatin1(QTest::currentDataTag()));
}

void tst_ZKPreferences::firstRunValues() {
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);

    for (auto key : {P::copyCreationTime, P::copyModificationTime, P::copyPermissions,
                     P::copyOwnership, P::copyHiddenFiles, P::preferencesInitialised}) {
        QVERIFY2(store->boolForKey(key), key.data());
    }
    for (auto key :
         {P::copyDsStoreFiles, P::copyThumbsDbFiles, P::copyTrashes, P::copySpotlightFolders,
          P::copyTemporaryFiles, P::copyFileSystemInternalFiles, P::verifyEnabled,
          P::speedLimitEnabled, P::scheduleEnabled, P::startCopyEnabled, P::stopCopyEnabled,
          P::startSpeedLimitEnabled, P::stopSpeedLimitEnabled, P::automaticClearEnabled,
          P::automaticRetryEnabled}) {
        QVERIFY2(store->hasObject(key) && !store->boolForKey(key), key.data());
    }
    QVERIFY(store->hasObject(P::queueState));
    QCOMPARE(store->integerForKey(P::queueState), 0);
    QCOMPARE(store->integerForKey(P::speedLimit), 1024);
    QCOMPARE(store->integerForKey(P::automaticRetryDelaySeconds), 30);
    QCOMPARE(store->integerForKey(P::downloadTimeout), 5);
    QCOMPARE(store->stringForKey(P::completionSound), QStringLiteral("Glass"));
    QCOMPARE(store->stringForKey(P::failureSound), QStringLiteral("Basso"));
    for (auto key :
         {P::symbolicLinkAction, P::showDataRate, P::showDataSize, P::defaultDestination}) {
        QVERIFY2(!store->hasObject(key), key.data());
    }
}

void tst_ZKPreferences::firstRunDatesAreTodayLocally() {
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    const QDate today = QDate::currentDate();
    for (auto [key, hour] :
         {std::pair{P::startCopyTime, 10}, std::pair{P::stopCopyTime, 18},
          std::pair{P::startSpeedLimitTime, 10}, std::pair{P::stopSpeedLimitTime, 18}}) {
        const QDateTime date = store->dateForKey(key).toLocalTime();
        QVERIFY2(date.isValid(), key.data());
        QCOMPARE(date, QDateTime(today, QTime(hour, 0)));
    }
}

void tst_ZKPreferences::defaultPatterns() {
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    QCOMPARE(P::temporaryFilePatterns(*store), defaultTemporaryPatterns);
    // Hidden files are copied by default.
    QCOMPARE(P::skippedFilePatterns(*store), defaultTemporaryPatterns);
}

void tst_ZKPreferences::hiddenSwitchAppendsDotPattern() {
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    store->setBool(P::copyHiddenFiles, false);
    QCOMPARE(P::temporaryFilePatterns(*store), defaultTemporaryPatterns);
    QCOMPARE(P::skippedFilePatterns(*store), defaultTemporaryPatterns + QStringList{R"(^\.)"});
}

void tst_ZKPreferences::switchesRemoveTheirPatterns_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QStringList>("removed");
    QTest::newRow("DS_Store") << QString(P::copyDsStoreFiles) << QStringList{R"(^\.DS_Store$)"};
    QTest::newRow("Thumbs") << QString(P::copyThumbsDbFiles) << QStringList{R"(^\.Thumbs.db$)"};
    QTest::newRow("trashes") << QString(P::copyTrashes)
                             << QStringList{R"(^\.(_\.)?Trashes$)", R"(^\.Trash$)"};
    QTest::newRow("Spotlight") << QString(P::copySpotlightFolders)
                               << QStringList{R"(^\.(_\.)?Spotlight-V[0-9]+$)"};
    QTest::newRow("temporary") << QString(P::copyTemporaryFiles)
                               << QStringList{R"(^\.TemporaryItems$)"};
    QTest::newRow("internal") << QString(P::copyFileSystemInternalFiles)
                              << QStringList{R"(^\.fseventsd$)", R"(^\.metadata$)"};
}

void tst_ZKPreferences::switchesRemoveTheirPatterns() {
    QFETCH(QString, key);
    QFETCH(QStringList, removed);

    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    store->setBool(key, true);
    QStringList expected = defaultTemporaryPatterns;
    for (const QString &pattern : removed) {
        expected.removeOne(pattern);
    }
    QCOMPARE(P::temporaryFilePatterns(*store), expected);
}

void tst_ZKPreferences::defaultPatternsMatchNames_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("skipped");
    QTest::newRow(".DS_Store") << ".DS_Store" << true;
    QTest::newRow("a.DS_Store") << "a.DS_Store" << false;
    // The thumbnail pattern wants the dot in front and takes any character
    // before "db".
    QTest::newRow("Thumbs.db") << "Thumbs.db" << false;
    QTest::newRow(".Thumbs.db") << ".Thumbs.db" << true;
    QTest::newRow(".Thumbs_db") << ".Thumbs_db" << true;
    QTest::newRow(".Spotlight-V100") << ".Spotlight-V100" << true;
    QTest::newRow("._.Spotlight-V100") << "._.Spotlight-V100" << true;
    QTest::newRow(".Spotlight-V") << ".Spotlight-V" << false;
    QTest::newRow("._.Trashes") << "._.Trashes" << true;
    QTest::newRow(".Trash") << ".Trash" << true;
    QTest::newRow(".Trash-1000") << ".Trash-1000" << false;
    QTest::newRow(".fseventsd") << ".fseventsd" << true;
    QTest::newRow(".bashrc") << ".bashrc" << false;
    QTest::newRow("case") << ".ds_store" << false;
}

void tst_ZKPreferences::defaultPatternsMatchNames() {
    QFETCH(QString, name);
    QFETCH(bool, skipped);

    bool matched = false;
    for (const QString &pattern : P::skippedFilePatterns(*m_defaults)) {
        const QRegularExpression expression(pattern);
        QVERIFY2(expression.isValid(), qPrintable(pattern));
        matched = matched || expression.match(name).hasMatch();
    }
    QCOMPARE(matched, skipped);
}

void tst_ZKPreferences::initialisingTwiceChangesNothing() {
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    QFile file(store->fileName());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();

    QSignalSpy changes(store.get(), &ZKUserDefaults::valueChanged);
    P::initialiseUserDefaults(*store);
    QCOMPARE(changes.count(), 0);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), before);
}

void tst_ZKPreferences::existingValuesAreKept() {
    const auto store = freshStore();
    const QDateTime earlier(QDate(2019, 3, 1), QTime(7, 45));
    store->setDate(P::startCopyTime, earlier);
    store->setBool(P::copyOwnership, false);
    store->setInteger(P::speedLimit, 77);
    QSignalSpy changes(store.get(), &ZKUserDefaults::valueChanged);
    P::initialiseUserDefaults(*store);
    QVERIFY(!changes.contains(QVariantList{QString(P::startCopyTime)}));
    QCOMPARE(store->dateForKey(P::startCopyTime), earlier);
    QCOMPARE(store->boolForKey(P::copyOwnership), false);
    QCOMPARE(store->integerForKey(P::speedLimit), 77);
}

void tst_ZKPreferences::soundsAreGuardedByTheMarker() {
    const auto store = freshStore();
    store->setString(P::completionSound, QStringLiteral("Ping"));
    P::initialiseUserDefaults(*store);
    // Before the marker the sounds are written whatever the store holds.
    QCOMPARE(store->stringForKey(P::completionSound), QStringLiteral("Glass"));

    // A sound the user removed stays removed.
    store->removeObject(P::completionSound);
    store->setString(P::failureSound, QString());
    P::initialiseUserDefaults(*store);
    QVERIFY(!store->hasObject(P::completionSound));
    QCOMPARE(store->stringForKey(P::failureSound), QString());
}

void tst_ZKPreferences::typesSurviveReload() {
    const auto written = freshStore();
    const QDateTime date(QDate(2031, 1, 2), QTime(3, 4, 5));
    written->setBool("no", false);
    written->setBool("yes", true);
    written->setInteger("big", qint64(1) << 40);
    written->setInteger("negative", -3);
    written->setString("text", QStringLiteral("false"));
    written->setDate("date", date);
    const auto store = reloaded(*written);
    QVERIFY(store);

    // The INI backend hands booleans back as texts; "false" is still false.
    QCOMPARE(store->objectForKey("no").typeId(), QMetaType::QString);
    QCOMPARE(store->boolForKey("no"), false);
    QCOMPARE(store->boolForKey("yes"), true);
    QCOMPARE(store->integerForKey("big"), qint64(1) << 40);
    QCOMPARE(store->integerForKey("negative"), -3);
    QCOMPARE(store->stringForKey("text"), QStringLiteral("false"));
    QCOMPARE(store->dateForKey("date"), date);
    QCOMPARE(store->stringForKey("absent"), QString());
    QCOMPARE(store->integerForKey("text"), 0);
}

void tst_ZKPreferences::initialiseIsAtomic() {
    const auto store = freshStore();
    std::atomic<int> changes = 0;
    connect(
        store.get(), &ZKUserDefaults::valueChanged, this, [&changes] { ++changes; },
        Qt::DirectConnection);
    constexpr int rounds = 100;
    constexpr int threadCount = 8;
    for (int round = 0; round < rounds; ++round) {
        const QString key = QStringLiteral("race%1").arg(round);
        std::latch start(threadCount);
        std::vector<std::thread> threads;
        for (int i = 1; i <= threadCount; ++i) {
            threads.emplace_back([&store, &start, &key, i] {
                start.arrive_and_wait();
                store->initialiseInt(i, key);
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
    // One write per key, however the threads met.
    QCOMPARE(changes.load(), rounds);
}

void tst_ZKPreferences::initialiseDefaultsFamily() {
    const auto store = freshStore();
    const QDateTime date(QDate(2026, 6, 1), QTime(10, 0), QTimeZone::utc());
    QTest::ignoreMessage(QtInfoMsg, "Initialising date to 2026-06-01 10:00:00 +0000");
    P::initialiseDefaults(*store, "date", date);
    P::initialiseDefaults(*store, "date", date.addDays(1)); // present: no second line
    P::initialiseDefaults(*store, "sound", "Glass");
    P::initialiseDefaults(*store, "limit", 12);
    P::initialiseDefaults(*store, "limit", 13);
    P::initialiseDefaults(*store, "flag", false);
    QCOMPARE(store->dateForKey("date"), date);
    QCOMPARE(store->objectForKey("sound"), QVariant(QStringLiteral("Glass")));
    QCOMPARE(store->integerForKey("limit"), 12);
    QVERIFY(store->hasObject("flag"));
}

void tst_ZKPreferences::standardStoreLivesInTestHome() {
    ZKUserDefaults &standard = ZKUserDefaults::standard();
    QVERIFY2(standard.fileName().startsWith(m_home.path()), qPrintable(standard.fileName()));
    QVERIFY(standard.fileName().endsWith("velmarind/Ferrowick.conf"));
    P::initialiseUserDefaults();
    QVERIFY(standard.boolForKey(P::preferencesInitialised));
    QCOMPARE(P::skippedFilePatterns(), defaultTemporaryPatterns);
}

QTEST_GUILESS_MAIN(tst_ZKPreferences)
#include "tst_ZKPreferences.moc"
