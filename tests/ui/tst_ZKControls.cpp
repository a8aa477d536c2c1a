// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKClearMenuDelegate.h"
#include "ZKDelayPopupButton.h"
#include "ZKFerrowickDocument.h"
#include "ZKKeyPressHandlerWindow.h"
#include "ZKLongPressButton.h"
#include "ZKPreferences.h"
#include "ZKRetryMenuDelegate.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QVBoxLayout>

class TestZKControls : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void longPressOrClick_data();
    void longPressOrClick();
    void delayButtonClicksOrOpensItsMenu_data();
    void delayButtonClicksOrOpensItsMenu();
    void delayButtonMenuFromTheKeyboard();
    void spaceRunsTheMenuCommand_data();
    void spaceRunsTheMenuCommand();
    void altIsTracked();
    void menuDelegatesCheckTheAutomaticItem_data();
    void menuDelegatesCheckTheAutomaticItem();
};

void TestZKControls::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
}

void TestZKControls::longPressOrClick_data() {
    QTest::addColumn<bool>("hold");
    QTest::newRow("short press clicks") << false;
    QTest::newRow("long press only long-presses") << true;
}

void TestZKControls::longPressOrClick() {
    QFETCH(bool, hold);
    ZKLongPressButton button;
    button.setAccessibleName(QStringLiteral("Start"));
    button.show();
    QSignalSpy clicks(&button, &QAbstractButton::clicked);
    QSignalSpy longPresses(&button, &ZKLongPressButton::longPressed);

    QTest::mousePress(&button, Qt::LeftButton);
    QVERIFY(button.isDown());
    if (hold) {
        QTRY_VERIFY_WITH_TIMEOUT(button.longPressTriggered(), 5000);
    }
    QTest::mouseRelease(&button, Qt::LeftButton);
    QTest::qWait(400); // a timer left running would fire by now
    QCOMPARE(clicks.size(), hold ? 0 : 1);
    QCOMPARE(longPresses.size(), hold ? 1 : 0);
    QCOMPARE(button.longPressTriggered(), hold);
    QVERIFY(!button.isDown());
}

void TestZKControls::delayButtonClicksOrOpensItsMenu_data() {
    QTest::addColumn<bool>("hold");
    QTest::newRow("quick click") << false;
    QTest::newRow("held press") << true;
}

void TestZKControls::delayButtonClicksOrOpensItsMenu() {
    QFETCH(bool, hold);
    QWidget window;
    window.resize(300, 200);
    QMenu menu;
    menu.addAction(QStringLiteral("Clear Automatically"));
    auto *button = new ZKDelayPopupButton(&window);
    button->setText(QStringLiteral("Clear"));
    button->move(20, 20);
    button->setPopupMenu(&menu);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicks(button, &QAbstractButton::clicked);

    QTest::mousePress(button, Qt::LeftButton);
    QVERIFY(button->isDown());
    QVERIFY(!menu.isVisible());
    if (!hold) {
        QTest::mouseRelease(button, Qt::LeftButton);
        QTest::qWait(500); // a timer left running would open the menu by now
        QCOMPARE(clicks.size(), 1);
        QVERIFY(!menu.isVisible());
        QVERIFY(!button->isDown());
        return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(menu.isVisible(), 5000);
    QCOMPARE(menu.pos(), button->mapToGlobal(QPoint(0, button->height() + 3)));
    QVERIFY(button->isDown());

    // Letting go over the open menu is no click; closing the menu ends the
    // highlight.
    QTest::mouseRelease(button, Qt::LeftButton);
    QVERIFY(button->isDown());
    menu.hide();
    QVERIFY(!button->isDown());
    QCOMPARE(clicks.size(), 0);
}

void TestZKControls::delayButtonMenuFromTheKeyboard() {
    QMenu menu;
    menu.addAction(QStringLiteral("Clear Automatically"));
    ZKDelayPopupButton button;
    button.setPopupMenu(&menu);
    button.show();
    QSignalSpy clicks(&button, &QAbstractButton::clicked);

    QTest::keyClick(&button, Qt::Key_Down, Qt::AltModifier);
    QTRY_VERIFY(menu.isVisible());
    menu.hide();
    QCOMPARE(clicks.size(), 0);

    QTest::keyClick(&button, Qt::Key_Return);
    QTRY_COMPARE(clicks.size(), 1);
    QTest::keyClick(&button, Qt::Key_Space);
    QTRY_COMPARE(clicks.size(), 2);
    QVERIFY(!menu.isVisible());
}

void TestZKControls::spaceRunsTheMenuCommand_data() {
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("inSubmenu");
    QTest::addColumn<int>("runs");

    QTest::newRow("focused button") << "button" << true << false << 1;
    QTest::newRow("command in a submenu") << "button" << true << true << 1;
    QTest::newRow("window itself") << "window" << true << false << 1;
    QTest::newRow("disabled command") << "button" << false << false << 0;
    QTest::newRow("list") << "list" << true << false << 1;
    // With the menu bar not in the window (a desktop-wide menu shows it),
    // no shortcut of its menus applies on its own.
    QTest::newRow("menu bar hidden") << "hidden" << true << false << 1;
    QTest::newRow("check box") << "check" << true << false << 1;
    QTest::newRow("choice box") << "combo" << true << false << 1;
    QTest::newRow("text field types it") << "field" << true << false << 0;
    QTest::newRow("spin box types it") << "spin" << true << false << 0;
}

void TestZKControls::spaceRunsTheMenuCommand() {
    QFETCH(QString, target);
    QFETCH(bool, enabled);
    QFETCH(bool, inSubmenu);
    QFETCH(int, runs);

    ZKKeyPressHandlerWindow window;
    QMenu *queue = window.menuBar()->addMenu(QStringLiteral("Queue"));
    queue->addAction(QStringLiteral("Add..."));
    QMenu *holder = inSubmenu ? queue->addMenu(QStringLiteral("Selection")) : queue;
    QAction *command = holder->addAction(QStringLiteral("Suspend"));
    command->setShortcut(QKeySequence(Qt::Key_Space));
    command->setEnabled(enabled);
    QSignalSpy triggered(command, &QAction::triggered);

    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    auto *button = new QPushButton(QStringLiteral("Start"));
    auto *field = new QLineEdit;
    auto *spin = new QSpinBox;
    auto *list = new QListWidget;
    list->addItems({QStringLiteral("a"), QStringLiteral("b")});
    auto *check = new QCheckBox(QStringLiteral("Verify"));
    auto *combo = new QComboBox;
    combo->addItems({QStringLiteral("Copy"), QStringLiteral("Move")});
    for (QWidget *widget :
         std::initializer_list<QWidget *>{button, field, spin, list, check, combo}) {
        layout->addWidget(widget);
    }
    window.setCentralWidget(central);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    if (target == "hidden") {
        window.menuBar()->hide();
        target = QStringLiteral("button");
    }
    QSignalSpy buttonClicks(button, &QAbstractButton::clicked);

    const QHash<QString, QWidget *> widgets{{"button", button}, {"field", field}, {"spin", spin},
                                            {"list", list},     {"check", check}, {"combo", combo}};
    QWidget *receiver = widgets.value(target, &window);
    receiver->setFocus();
    QTest::keyClick(receiver, Qt::Key_Space);
    QCOMPARE(triggered.size(), runs);
    // The key goes to the command or to the widget, never to both.
    QCOMPARE(buttonClicks.size(), target == "button" && runs == 0 ? 1 : 0);
    if (target == "field") {
        QCOMPARE(field->text(), QStringLiteral(" "));
    }
    QVERIFY(!check->isChecked());
    QVERIFY(!combo->view()->isVisible());
    // A space with a modifier is an ordinary key.
    QTest::keyClick(receiver, Qt::Key_Space, Qt::ShiftModifier);
    QCOMPARE(triggered.size(), runs);
}

void TestZKControls::altIsTracked() {
    ZKKeyPressHandlerWindow window;
    auto *button = new QPushButton(QStringLiteral("Start"));
    window.setCentralWidget(button);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QSignalSpy changes(&window, &ZKKeyPressHandlerWindow::optionKeyPressedChanged);

    QTest::keyPress(button, Qt::Key_Alt, Qt::AltModifier);
    QVERIFY(window.optionKeyPressed());
    QCOMPARE(changes.size(), 1);
    QCOMPARE(changes.last().first().toBool(), true);
    // Another key pressed while Alt is held keeps it held.
    QTest::keyPress(button, Qt::Key_A, Qt::AltModifier);
    QVERIFY(window.optionKeyPressed());
    QCOMPARE(changes.size(), 1);
    QTest::keyRelease(button, Qt::Key_Alt, Qt::NoModifier);
    QVERIFY(!window.optionKeyPressed());
    QCOMPARE(changes.size(), 2);
}

void TestZKControls::menuDelegatesCheckTheAutomaticItem_data() {
    QTest::addColumn<bool>("retry");
    QTest::newRow("clear menu") << false;
    QTest::newRow("retry menu") << true;
}

void TestZKControls::menuDelegatesCheckTheAutomaticItem() {
    QFETCH(bool, retry);
    ZKFerrowickDocument document;
    QMenu menu;
    QAction *now = menu.addAction(QStringLiteral("Now"));
    now->setData(1000);
    QAction *automatic = menu.addAction(QStringLiteral("Automatically"));
    automatic->setData(1001);
    ZKClearMenuDelegate clear;
    ZKRetryMenuDelegate retrying;
    if (retry) {
        retrying.setDocument(&document);
        retrying.attachToMenu(&menu);
    } else {
        clear.setDocument(&document);
        clear.attachToMenu(&menu);
    }
    const auto toggle = [&] {
        retry ? document.toggleAutoRetryItems() : document.toggleAutoClearItems();
    };
    const auto open = [&menu] {
        menu.popup(QPoint(10, 10));
        QTRY_VERIFY(menu.isVisible());
        menu.hide();
    };

    open();
    QVERIFY(!automatic->isChecked());
    toggle();
    QVERIFY(!automatic->isChecked()); // settled only as the menu opens
    open();
    QVERIFY(automatic->isChecked());
    QVERIFY(!now->isChecked());
    toggle();
    open();
    QVERIFY(!automatic->isChecked());
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKControls test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKControls.moc"
