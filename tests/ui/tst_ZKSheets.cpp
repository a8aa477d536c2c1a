// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKQueueWindow.h"
#include "ZKSchedulePanel.h"
#include "ZKScheduleSheet.h"
#include "ZKScheduleTimer.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKSpeedLimitSheet.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeEdit>
#include <QToolButton>

class TestZKSheets : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void scheduleSwitchFollowsTimers_data();
    void scheduleSwitchFollowsTimers();
    void typedTimeArmsForNextOccurrence_data();
    void typedTimeArmsForNextOccurrence();
    void limitSwitchAppliesAtOnce_data();
    void limitSwitchAppliesAtOnce();
    void sliderReachesQueueWhenSheetEnds_data();
    void sliderReachesQueueWhenSheetEnds();
    void sheetsFollowQueueLoadedFromFile();
    void windowClosesWithSheetOpen_data();
    void windowClosesWithSheetOpen();

private:
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKQueueWindow *openWindow();
    // Opens a sheet through its toolbar button, as a user would.
    static QDialog *openSheet(ZKQueueWindow *window, const QString &action);
    template <typename T> static T *child(QWidget *sheet, const QString &name) {
        return sheet->findChild<T *>(name);
    }
    static void typeTime(QTimeEdit *edit, QTime time);
    // On the box itself: a wide check box's middle may lie past its text.
    static void click(QAbstractButton *button) {
        QTest::mouseClick(button, Qt::LeftButton, {},
                          QPoint(button->height() / 2, button->height() / 2));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<QPointer<ZKQueueWindow>> m_windows;
};

void TestZKSheets::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
}

void TestZKSheets::init() {
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestZKSheets::cleanup() {
    for (const QPointer<ZKQueueWindow> &window : std::as_const(m_windows)) {
        if (window) {
            window->setDiscardChanges(true);
            window->close();
        }
    }
    QTRY_VERIFY(std::none_of(m_windows.cbegin(), m_windows.cend(),
                             [](const QPointer<ZKQueueWindow> &w) { return bool(w); }));
    m_windows.clear();
}

ZKQueueWindow *TestZKSheets::openWindow() {
    auto *window = new ZKQueueWindow(std::make_unique<ZKFerrowickDocument>());
    window->show();
    m_windows << window;
    return window;
}

QDialog *TestZKSheets::openSheet(ZKQueueWindow *window, const QString &action) {
    auto *button = window->findChild<QToolButton *>(action + QStringLiteral("Button"));
    if (!button) {
        return nullptr;
    }
    QTest::mouseClick(button, Qt::LeftButton);
    QDialog *sheet = action == QLatin1String("schedule")
                         ? static_cast<QDialog *>(window->scheduleSheet())
                         : static_cast<QDialog *>(window->speedLimitSheet());
    if (!QTest::qWaitFor([sheet] { return sheet->isVisible(); })) {
        return nullptr;
    }
    // Keys go where the focus is only in the active window.
    sheet->activateWindow();
    return QTest::qWaitForWindowActive(sheet) ? sheet : nullptr;
}

void TestZKSheets::typeTime(QTimeEdit *edit, QTime time) {
    // Reached with Tab, as from the keyboard: the hours are selected.
    edit->setFocus(Qt::TabFocusReason);
    // No Return: that would end the sheet, as its default button.
    QTest::keyClicks(edit, time.toString(QStringLiteral("HH:mm")));
}

void TestZKSheets::scheduleSwitchFollowsTimers_data() {
    QTest::addColumn<QString>("row");
    QTest::addColumn<bool>("switchedOn");
    for (const char *row : {"startCopying", "stopCopying", "startSpeedLimit", "stopSpeedLimit"}) {
        QTest::addRow("%s", row) << QString::fromLatin1(row) << true;
    }
    QTest::newRow("switch off") << QStringLiteral("startCopying") << false;
}

void TestZKSheets::scheduleSwitchFollowsTimers() {
    QFETCH(QString, row);
    QFETCH(bool, switchedOn);
    ZKQueueWindow *window = openWindow();
    QDialog *sheet = openSheet(window, QStringLiteral("schedule"));
    QVERIFY2(sheet, "the schedule sheet did not open");
    auto *scheduleSwitch = child<QCheckBox>(sheet, QStringLiteral("scheduleSwitch"));
    auto *box = child<QCheckBox>(sheet, row + QStringLiteral("Box"));
    auto *button = window->findChild<QToolButton *>(QStringLiteral("scheduleButton"));
    QVERIFY(scheduleSwitch && box && button);
    ZKSchedulePanel &schedule = window->document()->schedule();

    if (switchedOn) {
        // With no time on, the schedule cannot run: the switch stays off.
        click(scheduleSwitch);
        QVERIFY2(!scheduleSwitch->isChecked(), "the switch is on without any time on");
    }
    click(box);
    QVERIFY(schedule.anyEnabled());
    QCOMPARE(scheduleSwitch->isChecked(), switchedOn);
    QCOMPARE(schedule.scheduleEnabled(), switchedOn);
    QCOMPARE(button->isChecked(), switchedOn);
    QCOMPARE(button->toolTip().startsWith(QStringLiteral("Schedule on")), switchedOn);

    click(box);
    QVERIFY(!schedule.anyEnabled());
    QVERIFY2(!scheduleSwitch->isChecked(), "the switch stayed on with every time off");
    QVERIFY(!button->isChecked());
}

void TestZKSheets::typedTimeArmsForNextOccurrence_data() {
    QTest::addColumn<QString>("row");
    QTest::addColumn<int>("offset");
    QTest::addColumn<bool>("today");
    // The minute typed lies 30 to 90 seconds ahead, or 60 to 120 behind.
    QTest::newRow("start copying ahead") << QStringLiteral("startCopying") << 90 << true;
    QTest::newRow("start copying past") << QStringLiteral("startCopying") << -60 << false;
    QTest::newRow("stop limit ahead") << QStringLiteral("stopSpeedLimit") << 90 << true;
    QTest::newRow("stop limit past") << QStringLiteral("stopSpeedLimit") << -60 << false;
}

void TestZKSheets::typedTimeArmsForNextOccurrence() {
    QFETCH(QString, row);
    QFETCH(int, offset);
    QFETCH(bool, today);
    ZKQueueWindow *window = openWindow();
    QDialog *sheet = openSheet(window, QStringLiteral("schedule"));
    QVERIFY2(sheet, "the schedule sheet did not open");
    auto *edit = child<QTimeEdit>(sheet, row + QStringLiteral("Time"));
    QVERIFY(edit);
    ZKSchedulePanel &schedule = window->document()->schedule();
    ZKScheduleTimer &timer = row == QLatin1String("startCopying") ? schedule.startCopyingTimer()
                                                                  : schedule.stopSpeedLimitTimer();

    const QTime typed = QDateTime::currentDateTime().addSecs(offset).time();
    const QTime minute(typed.hour(), typed.minute());
    typeTime(edit, minute);
    QCOMPARE(edit->time(), minute);
    const QDateTime armed = timer.time();
    QCOMPARE(armed.time(), minute);
    const qint64 ahead = QDateTime::currentDateTime().secsTo(armed);
    const QString why =
        QStringLiteral("armed for %1, %2 s ahead").arg(armed.toString(Qt::ISODate)).arg(ahead);
    if (today) {
        QVERIFY2(ahead > 0 && ahead <= 90, qUtf8Printable(why));
    } else {
        QVERIFY2(ahead >= 86400 - 121 && ahead < 86400 - 59, qUtf8Printable(why));
    }
}

void TestZKSheets::limitSwitchAppliesAtOnce_data() {
    QTest::addColumn<bool>("wasOn");
    QTest::addColumn<quint64>("limitAfterClick");
    QTest::newRow("switched off") << true << quint64(0);
    QTest::newRow("switched on") << false << quint64(20480);
}

void TestZKSheets::limitSwitchAppliesAtOnce() {
    QFETCH(bool, wasOn);
    QFETCH(quint64, limitAfterClick);
    ZKQueueWindow *window = openWindow();
    ZKFerrowickDocument *document = window->document();
    document->speedLimit().setMaximumTransferRate(20480);
    document->speedLimit().setEnabled(wasOn);
    QDialog *sheet = openSheet(window, QStringLiteral("speedLimit"));
    QVERIFY2(sheet, "the speed-limit sheet did not open");
    auto *limitSwitch = child<QCheckBox>(sheet, QStringLiteral("speedLimitSwitch"));
    auto *slider = child<QSlider>(sheet, QStringLiteral("speedLimitSlider"));
    auto *button = window->findChild<QToolButton *>(QStringLiteral("speedLimitButton"));
    QVERIFY(limitSwitch && slider && button);
    QCOMPARE(limitSwitch->isChecked(), wasOn);
    QCOMPARE(button->isChecked(), wasOn);

    click(limitSwitch);
    QVERIFY(sheet->isVisible());
    QCOMPARE(document->taskQueue().maximumTransferRate(), limitAfterClick);
    QCOMPARE(document->speedLimit().enabled(), !wasOn);
    QCOMPARE(slider->isEnabled(), !wasOn);
    QCOMPARE(button->isChecked(), !wasOn);
}

void TestZKSheets::sliderReachesQueueWhenSheetEnds_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("presses");
    QTest::addColumn<int>("position");
    QTest::addColumn<qint64>("rate");
    QTest::addColumn<QString>("figure");
    QTest::addColumn<bool>("escape");
    // 1024 B/s sits at one decade, nine steps along; where each position
    // leads is the slider transformer's, tested on its own.
    QTest::newRow("five steps, Done")
        << int(Qt::Key_Right) << 5 << 14 << qint64(6144) << QStringLiteral("6.0 KB/s") << false;
    QTest::newRow("a decade, Escape")
        << int(Qt::Key_PageUp) << 1 << 18 << qint64(10240) << QStringLiteral("10.0 KB/s") << true;
}

void TestZKSheets::sliderReachesQueueWhenSheetEnds() {
    QFETCH(int, key);
    QFETCH(int, presses);
    QFETCH(int, position);
    QFETCH(qint64, rate);
    QFETCH(QString, figure);
    QFETCH(bool, escape);
    ZKQueueWindow *window = openWindow();
    ZKFerrowickDocument *document = window->document();
    document->speedLimit().setMaximumTransferRate(1024);
    document->speedLimit().setEnabled(true);
    QDialog *sheet = openSheet(window, QStringLiteral("speedLimit"));
    QVERIFY2(sheet, "the speed-limit sheet did not open");
    auto *slider = child<QSlider>(sheet, QStringLiteral("speedLimitSlider"));
    auto *label = child<QLabel>(sheet, QStringLiteral("speedLimitFigure"));
    QVERIFY(slider && label);
    QCOMPARE(slider->value(), 9);
    QCOMPARE(label->text(), QStringLiteral("1024 B/s"));

    slider->setFocus();
    for (int i = 0; i < presses; ++i) {
        QTest::keyClick(slider, Qt::Key(key));
    }
    // The slider stays where it was put, and the figure shows what it means.
    QCOMPARE(slider->value(), position);
    QCOMPARE(document->speedLimit().maximumTransferRate(), rate);
    QCOMPARE(label->text(), figure);
    QVERIFY2(document->taskQueue().maximumTransferRate() == 1024,
             "the slider's limit reached the queue before the sheet ended");

    if (escape) {
        QTest::keyClick(slider, Qt::Key_Escape);
    } else {
        auto *done = child<QPushButton>(sheet, QStringLiteral("doneButton"));
        QVERIFY(done);
        QTest::mouseClick(done, Qt::LeftButton);
    }
    QTRY_VERIFY(!sheet->isVisible());
    QCOMPARE(document->taskQueue().maximumTransferRate(), quint64(rate));
}

// What the sheets show of a loaded queue is what was saved: the slider sits
// where the saved limit puts it, and the switches and times are as they were.
void TestZKSheets::sheetsFollowQueueLoadedFromFile() {
    // A queue saved with its limit and schedule on.
    {
        ZKFerrowickDocument saved;
        saved.speedLimit().setMaximumTransferRate(5 * 1048576);
        saved.speedLimit().setEnabled(true);
        saved.schedule().stopCopyingTimer().setTime(QDateTime(QDate::currentDate(), QTime(7, 30)));
        saved.schedule().stopCopyingTimer().setEnabled(true);
        saved.schedule().setScheduleEnabled(true);
        ZKError error;
        QVERIFY2(saved.writeToFile(path("on.queue"), &error),
                 qUtf8Printable(error.localizedDescription()));
    }
    ZKQueueWindow *window = openWindow();
    ZKFerrowickDocument *document = window->document();
    QDialog *limitSheet = window->speedLimitSheet();
    QDialog *scheduleSheet = window->scheduleSheet();
    auto *limitSwitch = child<QCheckBox>(limitSheet, QStringLiteral("speedLimitSwitch"));
    auto *slider = child<QSlider>(limitSheet, QStringLiteral("speedLimitSlider"));
    auto *label = child<QLabel>(limitSheet, QStringLiteral("speedLimitFigure"));
    auto *scheduleSwitch = child<QCheckBox>(scheduleSheet, QStringLiteral("scheduleSwitch"));
    auto *stopBox = child<QCheckBox>(scheduleSheet, QStringLiteral("stopCopyingBox"));
    auto *stopTime = child<QTimeEdit>(scheduleSheet, QStringLiteral("stopCopyingTime"));
    auto *startBox = child<QCheckBox>(scheduleSheet, QStringLiteral("startCopyingBox"));
    QVERIFY(limitSwitch && slider && label && scheduleSwitch && stopBox && stopTime && startBox);
    QVERIFY(!limitSwitch->isChecked() && !scheduleSwitch->isChecked());

    // Twice: the second load replaces objects the sheets took from the first.
    for (int load = 0; load < 2; ++load) {
        ZKError error;
        QVERIFY2(document->readFromFile(path("on.queue"), &error),
                 qUtf8Printable(error.localizedDescription()));
        QVERIFY(limitSwitch->isChecked());
        QCOMPARE(slider->value(), 40);
        QCOMPARE(label->text(), QStringLiteral("5.0 MB/s"));
        QVERIFY(scheduleSwitch->isChecked());
        QVERIFY(stopBox->isChecked());
        QCOMPARE(stopTime->time(), QTime(7, 30));
        QVERIFY(window->findChild<QToolButton *>(QStringLiteral("speedLimitButton"))->isChecked());
        QVERIFY(window->findChild<QToolButton *>(QStringLiteral("scheduleButton"))->isChecked());
    }

    // The controls now work on the loaded objects.
    QVERIFY(openSheet(window, QStringLiteral("speedLimit")));
    click(limitSwitch);
    QVERIFY(!document->speedLimit().enabled());
    QCOMPARE(document->taskQueue().maximumTransferRate(), quint64(0));
    QTest::mouseClick(child<QPushButton>(limitSheet, QStringLiteral("doneButton")), Qt::LeftButton);
    QTRY_VERIFY(!limitSheet->isVisible());

    QVERIFY(openSheet(window, QStringLiteral("schedule")));
    click(startBox);
    QVERIFY(document->schedule().startCopyingTimer().enabled());
    click(stopBox);
    QVERIFY(!document->schedule().stopCopyingTimer().enabled());
    QVERIFY(scheduleSwitch->isChecked());
}

void TestZKSheets::windowClosesWithSheetOpen_data() {
    QTest::addColumn<QString>("action");
    QTest::newRow("schedule") << QStringLiteral("schedule");
    QTest::newRow("speed limit") << QStringLiteral("speedLimit");
}

void TestZKSheets::windowClosesWithSheetOpen() {
    QFETCH(QString, action);
    ZKQueueWindow *window = openWindow();
    window->document()->speedLimit().setEnabled(true);
    QDialog *sheet = openSheet(window, action);
    QVERIFY(sheet);
    QTest::keyClick(sheet, Qt::Key_Tab);
    QTest::keyClick(sheet, Qt::Key_Right);
    // The sheet goes with its window and touches neither the queue that is
    // gone nor the objects it held.
    const QPointer<QDialog> guard(sheet);
    window->setDiscardChanges(true);
    window->close();
    QTRY_VERIFY(!m_windows.last());
    QVERIFY(!guard);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKSheets test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKSheets.moc"
