// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDestinationPopUpButton.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemWriter.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKQueueState.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QSettings>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeEdit>

namespace {

ZKUserDefaults &defaults() {
    return ZKUserDefaults::standard();
}

// Brings the control's page forward, as a user would before using it.
void reveal(ZKPreferencesWindow &window, QWidget *control) {
    auto *tabs = window.findChild<QTabWidget *>();
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->widget(i)->isAncestorOf(control)) {
            tabs->setCurrentIndex(i);
        }
    }
    control->setFocus(Qt::TabFocusReason);
}

// Picks an item of a list through its menu and the keyboard.
bool pick(QComboBox *list, const QString &text, QString *error) {
    const int index = list->findText(text);
    if (index < 0) {
        *error = QStringLiteral("%1 offers no \"%2\"").arg(list->objectName(), text);
        return false;
    }
    QTest::keyClick(list, Qt::Key_Space);
    QAbstractItemView *menu = list->view();
    if (!QTest::qWaitFor([menu] { return menu->isVisible(); })) {
        *error = QStringLiteral("%1 opened no menu").arg(list->objectName());
        return false;
    }
    menu->setCurrentIndex(list->model()->index(index, 0));
    QTest::keyClick(menu, Qt::Key_Return);
    return true;
}

QStringList texts(const QComboBox *list) {
    QStringList result;
    for (int i = 0; i < list->count(); ++i) {
        result << list->itemText(i);
    }
    return result;
}

} // namespace

class TestZKPreferencesWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void everyControlReachesTheStore_data();
    void everyControlReachesTheStore();
    void newQueueStartsWithTheChoices();
    void storedValueOutsideTheListIsShown_data();
    void storedValueOutsideTheListIsShown();
    void changeInTheStoreIsShown();
    void soundListsAreSortedAfterNone_data();
    void soundListsAreSortedAfterNone();
    void choosingASoundPlaysIt_data();
    void choosingASoundPlaysIt();

private:
    QTemporaryDir m_dir;
};

void TestZKPreferencesWindow::initTestCase() {
    QVERIFY2(m_dir.isValid(), qUtf8Printable(m_dir.errorString()));
}

void TestZKPreferencesWindow::init() {
    // Every case starts from a first run.
    const QStringList keys = QSettings(defaults().fileName(), QSettings::IniFormat).allKeys();
    for (const QString &key : keys) {
        defaults().removeObject(key);
    }
    ZKPreferences::initialiseUserDefaults();
}

void TestZKPreferencesWindow::everyControlReachesTheStore_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("expected");

    // Every switch, each named after its key, flips from false.
    const ZKPreferencesWindow window;
    for (const QCheckBox *box : window.findChildren<QCheckBox *>()) {
        QTest::newRow(qPrintable(box->objectName())) << box->objectName() << QVariant(true);
    }
    // Lists move to their last entry.
    QTest::newRow("queueState") << QString(ZKPreferences::queueState)
                                << QVariant::fromValue(qint64(ZKQueueState::Paused));
    QTest::newRow("symbolicLinkAction")
        << QString(ZKPreferences::symbolicLinkAction) << QVariant::fromValue(qint64(2));
    QTest::newRow("automaticRetryDelaySeconds")
        << QString(ZKPreferences::automaticRetryDelaySeconds) << QVariant::fromValue(qint64(3600));
    QTest::newRow("downloadTimeout")
        << QString(ZKPreferences::downloadTimeout) << QVariant::fromValue(qint64(600));
    // Typed in kilobytes per second.
    QTest::newRow("speedLimit") << QString(ZKPreferences::speedLimit)
                                << QVariant::fromValue(qint64(256 * 1024));
    // One hour later.
    QTest::newRow("startCopyTime")
        << QString(ZKPreferences::startCopyTime) << QVariant::fromValue(QTime(11, 0));
    QTest::newRow("stopSpeedLimitTime")
        << QString(ZKPreferences::stopSpeedLimitTime) << QVariant::fromValue(QTime(19, 0));
}

void TestZKPreferencesWindow::everyControlReachesTheStore() {
    QFETCH(QString, key);
    QFETCH(QVariant, expected);

    const bool isSwitch = expected.typeId() == QMetaType::Bool;
    if (isSwitch) {
        // From the opposite of what the click should store.
        defaults().setBool(key, false);
    } else {
        // Controls that depend on a switch are usable.
        for (const auto &on :
             {ZKPreferences::speedLimitEnabled, ZKPreferences::scheduleEnabled,
              ZKPreferences::startCopyEnabled, ZKPreferences::stopSpeedLimitEnabled,
              ZKPreferences::automaticRetryEnabled}) {
            defaults().setBool(on, true);
        }
    }
    // The timers' own switches can be used only under the schedule's.
    if (key != ZKPreferences::scheduleEnabled) {
        defaults().setBool(ZKPreferences::scheduleEnabled, true);
    }
    ZKPreferencesWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *control = window.findChild<QWidget *>(key);
    QVERIFY2(control, qUtf8Printable(QStringLiteral("no control for ") + key));
    reveal(window, control);
    QVERIFY2(control->isEnabled(), qUtf8Printable(key + QStringLiteral(" is disabled")));

    if (isSwitch) {
        QTest::keyClick(control, Qt::Key_Space);
        QCOMPARE(defaults().boolForKey(key), expected.toBool());
    } else if (expected.typeId() == QMetaType::QTime) {
        QTest::keyClick(control, Qt::Key_Up);
        QCOMPARE(defaults().dateForKey(key).toLocalTime().time(), expected.toTime());
    } else if (auto *spin = qobject_cast<QSpinBox *>(control)) {
        QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(spin, QStringLiteral("256"));
        QCOMPARE(defaults().integerForKey(key), expected.toLongLong());
    } else {
        QTest::keyClick(control, Qt::Key_End);
        QCOMPARE(defaults().integerForKey(key), expected.toLongLong());
    }
}

void TestZKPreferencesWindow::newQueueStartsWithTheChoices() {
    QDir(m_dir.path()).mkpath(QStringLiteral("incoming"));
    const ZKWriterPtr folder = ZKFileSystemWriter::writerWithDirectory(
        QUrl::fromLocalFile(QDir(m_dir.path()).filePath(QStringLiteral("incoming"))));
    defaults().setObject(QStringLiteral("RecentDestinations"),
                         QVariantList{folder->asPropertyList()});

    ZKPreferencesWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *verify = window.findChild<QCheckBox *>(ZKPreferences::verifyEnabled);
    reveal(window, verify);
    QTest::keyClick(verify, Qt::Key_Space);
    auto *state = window.findChild<QComboBox *>(ZKPreferences::queueState);
    reveal(window, state);
    QString error;
    QVERIFY2(pick(state, QStringLiteral("Paused"), &error), qUtf8Printable(error));
    auto *destination = window.findChild<ZKDestinationPopUpButton *>();
    reveal(window, destination);
    QVERIFY2(pick(destination, folder->description(), &error), qUtf8Printable(error));
    QCOMPARE(window.defaultDestination()->url(), folder->url());

    {
        ZKFerrowickDocument document;
        QVERIFY(document.isVerifyEnabled());
        QCOMPARE(document.state(), qint32(ZKQueueState::Paused));
        QVERIFY(document.defaultDestination());
        QCOMPARE(document.defaultDestination()->url(), folder->url());
    }

    // Back to any folder: new queues ask again.
    QVERIFY2(pick(destination, QStringLiteral("Any Folder"), &error), qUtf8Printable(error));
    QVERIFY(!defaults().hasObject(ZKPreferences::defaultDestination));
    ZKFerrowickDocument document;
    QVERIFY(!document.defaultDestination());

    // A window opened later shows the stored destination.
    window.setDefaultDestination(folder);
    QCOMPARE(ZKPreferencesWindow().findChild<ZKDestinationPopUpButton *>()->destination()->url(),
             folder->url());
}

void TestZKPreferencesWindow::storedValueOutsideTheListIsShown_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("shown");

    QTest::newRow("retry delay") << QString(ZKPreferences::automaticRetryDelaySeconds)
                                 << QVariant(45) << QStringLiteral("45 seconds");
    QTest::newRow("time-out") << QString(ZKPreferences::downloadTimeout) << QVariant(7200)
                              << QStringLiteral("2 hours");
    QTest::newRow("symbolic links")
        << QString(ZKPreferences::symbolicLinkAction) << QVariant(7) << QStringLiteral("Other (7)");
    QTest::newRow("sound") << QString(ZKPreferences::failureSound)
                           << QVariant(QStringLiteral("Gone"))
                           << QStringLiteral("Gone (not found)");
}

void TestZKPreferencesWindow::storedValueOutsideTheListIsShown() {
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(QString, shown);

    defaults().setObject(key, stored);
    ZKPreferencesWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *list = window.findChild<QComboBox *>(key);
    QCOMPARE(list->currentText(), shown);
    QCOMPARE(defaults().stringForKey(key), stored.toString());
}

void TestZKPreferencesWindow::changeInTheStoreIsShown() {
    ZKPreferencesWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *verify = window.findChild<QCheckBox *>(ZKPreferences::verifyEnabled);
    auto *timeout = window.findChild<QComboBox *>(ZKPreferences::downloadTimeout);
    QVERIFY(!verify->isChecked());

    defaults().setBool(ZKPreferences::verifyEnabled, true);
    defaults().setInteger(ZKPreferences::downloadTimeout, 60);
    QVERIFY(verify->isChecked());
    QCOMPARE(timeout->currentText(), QStringLiteral("1 minute"));
    // Showing a change writes nothing back.
    QCOMPARE(defaults().integerForKey(ZKPreferences::downloadTimeout), 60);
}

void TestZKPreferencesWindow::soundListsAreSortedAfterNone_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("shown");
    QTest::newRow("completion") << QString(ZKPreferences::completionSound)
                                << QStringLiteral("Glass");
    QTest::newRow("failure") << QString(ZKPreferences::failureSound) << QStringLiteral("Basso");
}

void TestZKPreferencesWindow::soundListsAreSortedAfterNone() {
    QFETCH(QString, key);
    QFETCH(QString, shown);

    ZKPreferencesWindow window;
    auto *list = window.findChild<QComboBox *>(key);
    QStringList names = texts(list);
    QCOMPARE(names.takeFirst(), QStringLiteral("None"));
    QVERIFY2(names.contains(QStringLiteral("Glass")), qUtf8Printable(names.join(u',')));
    QVERIFY2(names.contains(QStringLiteral("Basso")), qUtf8Printable(names.join(u',')));
    QVERIFY2(names.contains(QStringLiteral("alert")), qUtf8Printable(names.join(u',')));
    QStringList sorted = names;
    sorted.sort();
    QCOMPARE(names, sorted);
    QCOMPARE(list->currentText(), shown);
}

void TestZKPreferencesWindow::choosingASoundPlaysIt_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("played");

    for (const auto &key : {ZKPreferences::completionSound, ZKPreferences::failureSound}) {
        QTest::addRow("%s alert", key.data())
            << QString(key) << QStringLiteral("alert") << QStringLiteral("alert")
            << QStringList{QStringLiteral("alert")};
        QTest::addRow("%s none", key.data())
            << QString(key) << QStringLiteral("None") << QString() << QStringList();
    }
}

void TestZKPreferencesWindow::choosingASoundPlaysIt() {
    QFETCH(QString, key);
    QFETCH(QString, choice);
    QFETCH(QString, stored);
    QFETCH(QStringList, played);

    ZKPreferencesWindow window;
    QStringList heard;
    window.setSoundPlayer([&heard](const QString &name) { heard << name; });
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *list = window.findChild<QComboBox *>(key);
    reveal(window, list);
    QString error;
    QVERIFY2(pick(list, choice, &error), qUtf8Printable(error));
    QVERIFY(defaults().hasObject(key));
    QCOMPARE(defaults().stringForKey(key), stored);
    QCOMPARE(heard, played);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    // The program's own sounds, and one whose name sorts after them only in
    // plain text order.
    static QTemporaryDir sounds;
    for (const char *name : {"Glass.wav", "Basso.wav", "alert.oga"}) {
        ZKTestSupport::writeFile(QDir(sounds.path()).filePath(QLatin1String(name)), "RIFF");
    }
    qputenv("FERROWICK_SOUND_DIR", sounds.path().toLocal8Bit());
    QApplication app(argc, argv);
    TestZKPreferencesWindow test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKPreferencesWindow.moc"
