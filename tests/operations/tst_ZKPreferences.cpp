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
    void patternLists();
    void patternsMatchNames_data();
    void patternsMatchNames();
    void existingValuesAreKept();
    void typesSurviveReload();
    void initialiseIsAtomic();
    void initialiseDefaultsFamily();

private:
    std::unique_ptr<ZKUserDefaults> freshStore();
    std::unique_ptr<ZKUserDefaults> reloaded(const ZKUserDefaults &store);

    QTemporaryDir m_home;
    int m_stores = 0;
    // Initialised once: every write reaches the disk, which takes a while.
    std::unique_ptr<ZKUserDefaults> m_defaults;
};

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

void tst_ZKPreferences::patternLists() {
    // Hidden files are copied by default, as the next start reads it back;
    // skipping them adds a pattern that is not a temporary one.
    const auto store = reloaded(*m_defaults);
    QVERIFY(store);
    const QStringList temporary = P::temporaryFilePatterns(*store);
    QCOMPARE(P::skippedFilePatterns(*store), temporary);
    store->setBool(P::copyHiddenFiles, false);
    QCOMPARE(P::temporaryFilePatterns(*store), temporary);
    QCOMPARE(P::skippedFilePatterns(*store), temporary + QStringList{R"(^\.)"});
}

void tst_ZKPreferences::patternsMatchNames_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("skipped");
    QTest::addColumn<QString>("letThrough"); // the switch that copies it

    auto row = [](const char *name, bool skipped, QLatin1StringView letThrough = {}) {
        QTest::newRow(name) << QString(name) << skipped << QString(letThrough);
    };
    row(".DS_Store", true, P::copyDsStoreFiles);
    row("a.DS_Store", false);
    // The thumbnail pattern wants the dot in front and takes any character
    // before "db".
    row("Thumbs.db", false);
    row(".Thumbs.db", true, P::copyThumbsDbFiles);
    row(".Thumbs_db", true, P::copyThumbsDbFiles);
    row(".Spotlight-V100", true, P::copySpotlightFolders);
    row(".Spotlight-V", false);
    row("._.Trashes", true, P::copyTrashes);
    row(".Trash", true, P::copyTrashes);
    row(".Trash-1000", false);
    row(".TemporaryItems", true, P::copyTemporaryFiles);
    row(".fseventsd", true, P::copyFileSystemInternalFiles);
    row(".bashrc", false);
}

void tst_ZKPreferences::patternsMatchNames() {
    QFETCH(QString, name);
    QFETCH(bool, skipped);
    QFETCH(QString, letThrough);

    auto isSkipped = [&name](const ZKUserDefaults &store) {
        const QStringList patterns = P::skippedFilePatterns(store);
        return std::any_of(patterns.begin(), patterns.end(), [&name](const QString &pattern) {
            return QRegularExpression(pattern).match(name).hasMatch();
        });
    };
    QCOMPARE(isSkipped(*m_defaults), skipped);
    if (!letThrough.isEmpty()) {
        const auto store = reloaded(*m_defaults);
        QVERIFY(store);
        store->setBool(letThrough, true);
        QVERIFY(!isSkipped(*store));
    }
}

void tst_ZKPreferences::existingValuesAreKept() {
    const auto store = freshStore();
    const QDateTime earlier(QDate(2019, 3, 1), QTime(7, 45));
    store->setDate(P::startCopyTime, earlier);
    store->setInteger(P::speedLimit, 77);
    P::initialiseUserDefaults(*store);
    QCOMPARE(store->dateForKey(P::startCopyTime), earlier);
    QCOMPARE(store->integerForKey(P::speedLimit), 77);

    // A second start writes nothing at all.
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
    // A text literal must not land in the bool overload.
    const auto store = freshStore();
    P::initialiseDefaults(*store, "sound", "Glass");
    P::initialiseDefaults(*store, "limit", 12);
    P::initialiseDefaults(*store, "limit", 13);
    QCOMPARE(store->objectForKey("sound"), QVariant(QStringLiteral("Glass")));
    QCOMPARE(store->integerForKey("limit"), 12);
}

QTEST_GUILESS_MAIN(tst_ZKPreferences)
#include "tst_ZKPreferences.moc"
