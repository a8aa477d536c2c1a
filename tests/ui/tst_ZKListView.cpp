// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListView.h"
#include "ZKListViewDelegate.h"
#include "ZKListViewItem.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKTaskQueue.h"

#include <QAccessible>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

namespace {

constexpr int rowHeight = 30;

// Shows its entry's name; counts whether the list has it observing.
class TestRow : public ZKListViewItem {
    Q_OBJECT

public:
    TestRow() {
        setFixedHeight(rowHeight);
        label = new QLabel(this);
        label->setGeometry(0, 0, 150, rowHeight);
        button = new QPushButton(QStringLiteral("Open"), this);
        button->setAccessibleName(QStringLiteral("Open"));
        button->setGeometry(200, 0, 60, rowHeight);
    }
    ZKListViewItem *copy() const override {
        auto *row = new TestRow;
        row->setOwner(owner());
        return row;
    }
    void setRepresentedObject(std::shared_ptr<QObject> object) override {
        label->setText(object ? object->objectName() : QString());
        ZKListViewItem::setRepresentedObject(std::move(object));
    }
    void viewWillAppear() override { ++observing; }
    void viewDidDisappear() override { --observing; }

    QLabel *label = nullptr;
    QPushButton *button = nullptr;
    int observing = 0;
};

class RecordingDelegate : public ZKListViewDelegate {
public:
    bool canDragItemFromIndex(qsizetype index) override {
        Q_UNUSED(index);
        return true;
    }
    void dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) override {
        dragged << index;
        draggedAfter = pressClock.isValid() ? pressClock.elapsed() : -1;
        pasteboard.addItems({{ZKTaskQueue::pasteboardType, QByteArray::number(index)}});
    }
    Qt::DropActions dropOperation() const override { return Qt::CopyAction | Qt::MoveAction; }
    bool dropItemsAtIndex(qsizetype index, const QMimeData &data) override {
        drops << index;
        dropFormats << data.formats();
        dropTasks << data.data(ZKTaskQueue::pasteboardType);
        return true;
    }
    void draggedItemWasTaken(qsizetype index, Qt::DropAction action) override {
        Q_UNUSED(action);
        taken << index;
    }

    QElapsedTimer pressClock;
    qint64 draggedAfter = -1;
    QList<qsizetype> dragged;
    QList<qsizetype> drops;
    QList<QStringList> dropFormats;
    QList<QByteArray> dropTasks;
    QList<qsizetype> taken;
};

QList<std::shared_ptr<QObject>> entries(int count) {
    QList<std::shared_ptr<QObject>> list;
    for (int i = 0; i < count; ++i) {
        auto object = std::make_shared<QObject>();
        object->setObjectName(QString::number(i));
        list << object;
    }
    return list;
}

QString names(const QList<std::shared_ptr<QObject>> &content) {
    QStringList list;
    for (const auto &object : content) {
        list << object->objectName();
    }
    return list.join(QLatin1Char(' '));
}

// A shown list, exactly 600 pixels of rows high.
std::unique_ptr<ZKListView> makeList(int count, ZKListViewDelegate *delegate) {
    auto list = std::make_unique<ZKListView>();
    list->setFrameShape(QFrame::NoFrame);
    list->setItemPrototype(new TestRow);
    list->setDelegate(delegate);
    list->setContent(entries(count));
    list->resize(300, 600);
    list->show();
    return list;
}

TestRow *rowShowing(const ZKListView &list, const QString &name) {
    for (ZKListViewItem *item : list.visibleItems()) {
        auto *row = static_cast<TestRow *>(item);
        if (row->label->text() == name) {
            return row;
        }
    }
    return nullptr;
}

// Empty when every row in view shows its entry at its place and observes it,
// and no other row observes anything.
QString rowsOutOfPlace(const ZKListView &list) {
    const ZKListView::RowRange range = list.calculateVisibleRows();
    const QList<ZKListViewItem *> rows = list.visibleItems();
    if (rows.size() != range.length) {
        return QStringLiteral("%1 rows for %2 in view").arg(rows.size()).arg(range.length);
    }
    const int offset = list.verticalScrollBar()->value();
    for (qsizetype i = 0; i < rows.size(); ++i) {
        auto *row = static_cast<TestRow *>(rows.at(i));
        const qsizetype index = range.first + i;
        const QString name = list.content().at(index)->objectName();
        const int top = qRound(list.positionForRow(index)) - offset;
        if (row->label->text() != name || row->y() != top || row->observing != 1 ||
            !row->isVisible() || row->width() != list.viewport()->width()) {
            return QStringLiteral("row %1 shows %2 at %3 (observing %4), wanted %5 at %6")
                .arg(index)
                .arg(row->label->text())
                .arg(row->y())
                .arg(row->observing)
                .arg(name)
                .arg(top);
        }
    }
    for (auto *row : list.viewport()->findChildren<TestRow *>()) {
        if (!rows.contains(row) && row->observing != 0) {
            return QStringLiteral("a row out of view observes");
        }
    }
    return {};
}

void sendDrag(ZKListView &list, QEvent::Type type, const QPoint &position, QMimeData *data,
              bool *accepted = nullptr) {
    const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction;
    std::unique_ptr<QDropEvent> event;
    if (type == QEvent::DragEnter) {
        event = std::make_unique<QDragEnterEvent>(position, actions, data, Qt::LeftButton,
                                                  Qt::NoModifier);
    } else if (type == QEvent::DragMove) {
        event = std::make_unique<QDragMoveEvent>(position, actions, data, Qt::LeftButton,
                                                 Qt::NoModifier);
    } else {
        event =
            std::make_unique<QDropEvent>(position, actions, data, Qt::LeftButton, Qt::NoModifier);
    }
    QCoreApplication::sendEvent(list.viewport(), event.get());
    if (accepted) {
        *accepted = event->isAccepted();
    }
}

std::unique_ptr<QMimeData> fileData() {
    auto data = std::make_unique<QMimeData>();
    data->setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/report.pdf"))});
    return data;
}

} // namespace

class TestZKListView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itemHeightFromPrototype_data();
    void itemHeightFromPrototype();
    void manyEntriesKeepFewRows();
    void visibleRowsAndDropIndex_data();
    void visibleRowsAndDropIndex();
    void onlyAHeldPressDrags_data();
    void onlyAHeldPressDrags();
    void buttonInRowStillClicks();
    void moveItemFromIndex_data();
    void moveItemFromIndex();
    void changesSlideIntoPlace_data();
    void changesSlideIntoPlace();
    void dropsGoToTheDelegate_data();
    void dropsGoToTheDelegate();
    void refusedDrags_data();
    void refusedDrags();
    void dragNearEdgesScrolls_data();
    void dragNearEdgesScrolls();
    void keysMoveTheFocus_data();
    void keysMoveTheFocus();
    void focusStaysOnItsIndex_data();
    void focusStaysOnItsIndex();
    void tabEntersAndLeavesTheList();
    void rowsAreItemsOfAList();
};

void TestZKListView::itemHeightFromPrototype_data() {
    QTest::addColumn<QString>("sizing");
    QTest::addColumn<double>("height");
    QTest::newRow("fixed height") << "fixed" << 30.0;
    QTest::newRow("resized") << "resized" << 44.0;
    QTest::newRow("its layout's height") << "layout" << -1.0;
    QTest::newRow("never below one") << "zero" << 1.0;
}

void TestZKListView::itemHeightFromPrototype() {
    QFETCH(QString, sizing);
    QFETCH(double, height);

    auto *prototype = new ZKListViewItem;
    if (sizing == "fixed") {
        prototype->setFixedHeight(30);
    } else if (sizing == "resized") {
        prototype->resize(200, 44);
    } else if (sizing == "layout") {
        auto *layout = new QVBoxLayout(prototype);
        layout->addWidget(new QLabel(QStringLiteral("Title")));
        layout->addWidget(new QLabel(QStringLiteral("Detail")));
        height = prototype->sizeHint().height();
    } else {
        prototype->setFixedHeight(0);
    }
    ZKListView list;
    list.setItemPrototype(prototype);
    QCOMPARE(list.itemHeight(), height);
}

void TestZKListView::manyEntriesKeepFewRows() {
    RecordingDelegate delegate;
    auto list = makeList(10000, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    QCOMPARE(list->itemHeight(), double(rowHeight));
    QCOMPARE(list->verticalScrollBar()->maximum(), 10000 * rowHeight - 600);
    const qsizetype inView = list->calculateVisibleRows().length;
    QCOMPARE(inView, 20);
    QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));

    list->setFocus();
    for (Qt::Key key : {Qt::Key_PageDown, Qt::Key_Down, Qt::Key_End}) {
        QTest::keyClick(list.get(), key);
        QTRY_VERIFY(list->viewport()->findChildren<TestRow *>().size() <= inView + 1);
        error = rowsOutOfPlace(*list);
        QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    }
    TestRow *last = rowShowing(*list, QStringLiteral("9999"));
    QVERIFY(last);
    QCOMPARE(last->geometry().bottom(), list->viewport()->height() - 1);

    list->verticalScrollBar()->setValue(4321);
    QTRY_VERIFY(list->viewport()->findChildren<TestRow *>().size() <=
                list->calculateVisibleRows().length + 1);
    error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::visibleRowsAndDropIndex_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("y");
    QTest::addColumn<qsizetype>("first");
    QTest::addColumn<qsizetype>("length");
    QTest::addColumn<qsizetype>("dropIndex");

    QTest::newRow("top half of the first row") << 100 << 0 << 10 << 0LL << 20LL << 0LL;
    QTest::newRow("bottom half of the first row") << 100 << 0 << 20 << 0LL << 20LL << 1LL;
    QTest::newRow("top half of row 3") << 100 << 0 << 95 << 0LL << 20LL << 3LL;
    QTest::newRow("scrolled, bottom half of row 5") << 100 << 45 << 125 << 1LL << 21LL << 6LL;
    QTest::newRow("scrolled, top half of a cut row") << 100 << 40 << 0 << 1LL << 21LL << 1LL;
    QTest::newRow("below the last of few rows") << 5 << 0 << 400 << 0LL << 5LL << 5LL;
    QTest::newRow("below the last row at the bottom")
        << 100 << 2400 << 599 << 80LL << 20LL << 100LL;
}

void TestZKListView::visibleRowsAndDropIndex() {
    QFETCH(int, count);
    QFETCH(int, offset);
    QFETCH(int, y);
    QFETCH(qsizetype, first);
    QFETCH(qsizetype, length);
    QFETCH(qsizetype, dropIndex);

    auto list = makeList(count, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    list->verticalScrollBar()->setValue(offset);
    QCOMPARE(list->verticalScrollBar()->value(), offset);
    const ZKListView::RowRange range = list->calculateVisibleRows();
    QCOMPARE(range.first, first);
    QCOMPARE(range.length, length);
    QCOMPARE(list->calculateDropIndex(y + offset), dropIndex);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::onlyAHeldPressDrags_data() {
    QTest::addColumn<bool>("hold");
    QTest::newRow("quick click") << false;
    QTest::newRow("held press") << true;
}

void TestZKListView::onlyAHeldPressDrags() {
    QFETCH(bool, hold);
    RecordingDelegate delegate;
    auto list = makeList(10, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    QCOMPARE(list->dragPressDuration(), 0.2);
    TestRow *row = rowShowing(*list, QStringLiteral("2"));
    QVERIFY(row);

    delegate.pressClock.start();
    QTest::mousePress(row->label, Qt::LeftButton, {}, QPoint(10, 10));
    if (hold) {
        // Nothing stops the drag offscreen, so it ends at once where nothing
        // took it, and the item goes back where it came from.
        QTRY_VERIFY_WITH_TIMEOUT(!delegate.drops.isEmpty(), 5000);
        // Timers may fire a little early, never a twentieth of a second.
        QVERIFY2(delegate.draggedAfter >= 150,
                 qUtf8Printable(QString::number(delegate.draggedAfter)));
    }
    QTest::mouseRelease(row->label, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::qWait(400); // a timer left running would fire by now
    if (hold) {
        QCOMPARE(delegate.dragged, QList<qsizetype>{2});
        QCOMPARE(list->originalDragIndex(), 2);
        QCOMPARE(delegate.drops, QList<qsizetype>{2});
        QCOMPARE(delegate.dropTasks, QList<QByteArray>{"2"});
        QVERIFY(delegate.taken.isEmpty());
    } else {
        QVERIFY(delegate.dragged.isEmpty());
        QVERIFY(delegate.drops.isEmpty());
        QCOMPARE(list->originalDragIndex(), -1);
    }
}

void TestZKListView::buttonInRowStillClicks() {
    RecordingDelegate delegate;
    auto list = makeList(10, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    TestRow *row = rowShowing(*list, QStringLiteral("1"));
    QVERIFY(row);
    QSignalSpy clicks(row->button, &QAbstractButton::clicked);
    QTest::mouseClick(row->button, Qt::LeftButton);
    QCOMPARE(clicks.size(), 1);

    // A press the button takes is the button's, however long.
    QTest::mousePress(row->button, Qt::LeftButton);
    QTest::qWait(500);
    QTest::mouseRelease(row->button, Qt::LeftButton);
    QCOMPARE(clicks.size(), 2);
    QVERIFY(delegate.dragged.isEmpty());
}

void TestZKListView::moveItemFromIndex_data() {
    QTest::addColumn<qsizetype>("from");
    QTest::addColumn<qsizetype>("to");
    QTest::addColumn<QString>("order");

    QTest::newRow("up") << 3LL << 1LL << "0 3 1 2 4";
    QTest::newRow("down past one") << 1LL << 3LL << "0 2 1 3 4";
    QTest::newRow("to the top") << 4LL << 0LL << "4 0 1 2 3";
    QTest::newRow("to the bottom") << 0LL << 5LL << "1 2 3 4 0";
    QTest::newRow("past the end") << 1LL << 99LL << "0 2 3 4 1";
    QTest::newRow("before itself") << 2LL << 2LL << "0 1 2 3 4";
    QTest::newRow("after itself") << 2LL << 3LL << "0 1 2 3 4";
    QTest::newRow("from nowhere") << 7LL << 0LL << "0 1 2 3 4";
}

void TestZKListView::moveItemFromIndex() {
    QFETCH(qsizetype, from);
    QFETCH(qsizetype, to);
    QFETCH(QString, order);

    auto list = makeList(5, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    if (from >= 5) {
        QTest::ignoreMessage(QtWarningMsg, "ZKListView: no entry 7 to move");
    }
    list->moveItemFromIndex(from, to);
    QCOMPARE(names(list->content()), order);
    QTRY_VERIFY(!list->isAnimating());
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::changesSlideIntoPlace_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("order");

    QTest::newRow("insert one") << "insert"
                                << "0 1 a 2 3 4 5";
    QTest::newRow("insert several") << "insertSeveral"
                                    << "a 0 b 1 2 3 4 5 c";
    QTest::newRow("remove one") << "remove"
                                << "0 1 3 4 5";
    QTest::newRow("remove several") << "removeSeveral"
                                    << "1 3 4";
    QTest::newRow("change while sliding") << "twice"
                                          << "1 a 2 3 4 5";
    QTest::newRow("sort") << "sort"
                          << "5 4 3 2 1 0";
}

void TestZKListView::changesSlideIntoPlace() {
    QFETCH(QString, change);
    QFETCH(QString, order);

    auto list = makeList(6, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    const auto added = entries(3);
    added[0]->setObjectName(QStringLiteral("a"));
    added[1]->setObjectName(QStringLiteral("b"));
    added[2]->setObjectName(QStringLiteral("c"));
    TestRow *three = rowShowing(*list, QStringLiteral("3"));

    if (change == "insert" || change == "twice") {
        list->insertObject(added[0], 2);
        // The rows below start where they were and slide down.
        QVERIFY(list->isAnimating());
        QVERIFY(three->y() < 4 * rowHeight);
        if (change == "twice") {
            QTest::qWait(100);
            list->removeObjectFromContentAtIndex(0);
        }
    } else if (change == "insertSeveral") {
        list->insertContent(added, {0, 2, 8});
    } else if (change == "remove") {
        list->removeObjectFromContentAtIndex(2);
        QVERIFY(list->isAnimating());
        QCOMPARE(three->y(), 3 * rowHeight);
    } else if (change == "removeSeveral") {
        list->removeContentAtIndexes({5, 0, 2});
    } else if (change == "sort") {
        list->sortItemsWithDescriptor(
            [](const auto &a, const auto &b) { return a->objectName() > b->objectName(); });
    }
    QCOMPARE(names(list->content()), order);
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::dropsGoToTheDelegate_data() {
    QTest::addColumn<int>("y");
    QTest::addColumn<qsizetype>("index");
    QTest::newRow("on row 2") << 2 * rowHeight + 5 << 2LL;
    QTest::newRow("below the last row") << 400 << 5LL;
}

void TestZKListView::dropsGoToTheDelegate() {
    QFETCH(int, y);
    QFETCH(qsizetype, index);

    RecordingDelegate delegate;
    auto list = makeList(5, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    const auto data = fileData();
    bool accepted = false;
    sendDrag(*list, QEvent::DragEnter, QPoint(50, y), data.get(), &accepted);
    QVERIFY(accepted);
    sendDrag(*list, QEvent::DragMove, QPoint(50, y), data.get(), &accepted);
    QVERIFY(accepted);
    if (index < 5) {
        // The rows from the drop place down move aside by one row.
        TestRow *row = rowShowing(*list, QString::number(index));
        QTRY_COMPARE(row->y(), int(index + 1) * rowHeight);
    }
    sendDrag(*list, QEvent::Drop, QPoint(50, y), data.get(), &accepted);
    QVERIFY(accepted);
    QCOMPARE(delegate.drops, QList<qsizetype>{index});
    QVERIFY(delegate.dropFormats.first().contains(QStringLiteral("text/uri-list")));
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::refusedDrags_data() {
    QTest::addColumn<bool>("withDelegate");
    QTest::newRow("no delegate") << false;
    QTest::newRow("plain text") << true;
}

void TestZKListView::refusedDrags() {
    QFETCH(bool, withDelegate);
    RecordingDelegate delegate;
    auto list = makeList(5, withDelegate ? &delegate : nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    auto data = fileData();
    if (withDelegate) {
        data = std::make_unique<QMimeData>();
        data->setText(QStringLiteral("hello"));
    }
    bool accepted = true;
    sendDrag(*list, QEvent::DragEnter, QPoint(50, 40), data.get(), &accepted);
    QVERIFY(!accepted);

    if (!withDelegate) {
        // Without a delegate the list leaves presses on rows alone.
        QTest::ignoreMessage(QtWarningMsg,
                             "Mouse event \"MousePress\" not accepted by receiving widget");
        QTest::ignoreMessage(QtWarningMsg,
                             "Mouse event \"MouseRelease\" not accepted by receiving widget");
        TestRow *row = rowShowing(*list, QStringLiteral("1"));
        QTest::mousePress(row->label, Qt::LeftButton);
        QTest::qWait(500);
        QTest::mouseRelease(row->label, Qt::LeftButton);
        QCOMPARE(list->originalDragIndex(), -1);
    }
    QVERIFY(delegate.dragged.isEmpty());
    QVERIFY(delegate.drops.isEmpty());
}

void TestZKListView::dragNearEdgesScrolls_data() {
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("y");
    QTest::addColumn<int>("scrolled");
    QTest::addColumn<bool>("keepsGoing");
    QTest::newRow("top of an unscrolled list") << 0 << 5 << 0 << false;
    QTest::newRow("top, a row from the top") << 30 << 5 << 0 << false;
    QTest::newRow("bottom, a row from the end") << 2370 << 595 << 2400 << false;
    QTest::newRow("bottom of a list at its end") << 2400 << 595 << 2400 << false;
    QTest::newRow("bottom, held there") << 0 << 595 << 2 * rowHeight << true;
}

void TestZKListView::dragNearEdgesScrolls() {
    QFETCH(int, offset);
    QFETCH(int, y);
    QFETCH(int, scrolled);
    QFETCH(bool, keepsGoing);

    RecordingDelegate delegate;
    auto list = makeList(100, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    list->verticalScrollBar()->setValue(offset);
    const auto data = fileData();
    bool accepted = false;
    sendDrag(*list, QEvent::DragEnter, QPoint(50, y), data.get(), &accepted);
    QVERIFY(accepted);
    sendDrag(*list, QEvent::DragMove, QPoint(50, y), data.get(), &accepted);
    QVERIFY(accepted);
    if (keepsGoing) {
        QTRY_VERIFY_WITH_TIMEOUT(list->verticalScrollBar()->value() >= scrolled, 5000);
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(list->viewport(), &leave);
    } else {
        QTRY_COMPARE_WITH_TIMEOUT(list->verticalScrollBar()->value(), scrolled, 5000);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    const int stoppedAt = list->verticalScrollBar()->value();
    QCOMPARE(stoppedAt % rowHeight, 0);
    QTest::qWait(600); // scrolling that went on would have moved it by now
    QCOMPARE(list->verticalScrollBar()->value(), stoppedAt);
    QVERIFY(delegate.drops.isEmpty());
}

// Empty when the keyboard is on the row showing the entry, in full view.
QString focusOnRow(const ZKListView &list, qsizetype index) {
    if (list.currentIndex() != index) {
        return QStringLiteral("the keyboard is on %1, wanted %2")
            .arg(list.currentIndex())
            .arg(index);
    }
    auto *row = static_cast<TestRow *>(list.itemAtIndex(index));
    const QString name = list.content().at(index)->objectName();
    if (!row || row->label->text() != name || !row->hasFocus()) {
        QWidget *focused = QApplication::focusWidget();
        return QStringLiteral("entry %1 is not shown by the focused row (focus on %2)")
            .arg(name, focused ? focused->metaObject()->className() : "nothing");
    }
    if (row->y() < 0 || row->geometry().bottom() >= list.viewport()->height()) {
        return QStringLiteral("the focused row lies at %1, out of view").arg(row->y());
    }
    return {};
}

void TestZKListView::keysMoveTheFocus_data() {
    QTest::addColumn<int>("start"); // -1: on row 1, scrolled out of view
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("expected");

    // 100 rows, 20 in view; a page is 19 rows, so that one stays in sight.
    QTest::newRow("down") << 0 << int(Qt::Key_Down) << 1;
    QTest::newRow("up at the top stays") << 0 << int(Qt::Key_Up) << 0;
    QTest::newRow("down at the bottom stays") << 99 << int(Qt::Key_Down) << 99;
    QTest::newRow("down scrolls the next row in") << 19 << int(Qt::Key_Down) << 20;
    QTest::newRow("up scrolls the row above in") << 40 << int(Qt::Key_Up) << 39;
    QTest::newRow("home") << 60 << int(Qt::Key_Home) << 0;
    QTest::newRow("end") << 3 << int(Qt::Key_End) << 99;
    QTest::newRow("page down") << 0 << int(Qt::Key_PageDown) << 19;
    QTest::newRow("page up") << 50 << int(Qt::Key_PageUp) << 31;
    QTest::newRow("from the list itself") << -1 << int(Qt::Key_Down) << 2;
}

void TestZKListView::keysMoveTheFocus() {
    QFETCH(int, start);
    QFETCH(int, key);
    QFETCH(int, expected);

    auto list = makeList(100, nullptr);
    list->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(list.get()));
    const int first = start >= 0 ? start : 1;
    list->setCurrentIndex(first);
    QVERIFY2(focusOnRow(*list, first).isEmpty(), qUtf8Printable(focusOnRow(*list, first)));
    if (start < 0) {
        list->verticalScrollBar()->setValue(50 * rowHeight);
        QVERIFY2(list->hasFocus(), "the list did not take the focus of a row out of view");
    }
    // A shortcut of the window on the same key must not take it.
    QAction shortcut(list.get());
    shortcut.setShortcut(QKeySequence(key));
    list->addAction(&shortcut);
    QSignalSpy stolen(&shortcut, &QAction::triggered);

    QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
    const QString error = focusOnRow(*list, expected);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    QCOMPARE(stolen.count(), 0);
}

void TestZKListView::focusStaysOnItsIndex_data() {
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("change");
    QTest::addColumn<int>("expected"); // -1: the list itself keeps the focus

    QTest::newRow("its entry removed") << 2 << "remove 2" << 2;
    QTest::newRow("the last entry removed") << 99 << "remove 99" << 98;
    QTest::newRow("an entry above inserted") << 5 << "insert 0" << 5;
    QTest::newRow("moved away") << 3 << "move 3 to 50" << 3;
    QTest::newRow("scrolled out of view") << 1 << "scroll 900" << -1;
    QTest::newRow("scrolled back") << 1 << "scroll 900, scroll 0" << 1;
    QTest::newRow("every entry gone") << 4 << "clear" << -1;
}

void TestZKListView::focusStaysOnItsIndex() {
    QFETCH(int, current);
    QFETCH(QString, change);
    QFETCH(int, expected);

    auto list = makeList(100, nullptr);
    list->setAnimationDuration(0);
    list->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(list.get()));
    list->setCurrentIndex(current);
    for (const QString &step : change.split(QStringLiteral(", "))) {
        const QStringList words = step.split(QLatin1Char(' '));
        if (words[0] == "remove") {
            list->removeObjectFromContentAtIndex(words[1].toInt());
        } else if (words[0] == "insert") {
            list->insertObject(std::make_shared<QObject>(), words[1].toInt());
        } else if (words[0] == "move") {
            list->moveItemFromIndex(words[1].toInt(), words[3].toInt());
        } else if (words[0] == "scroll") {
            list->verticalScrollBar()->setValue(words[1].toInt());
        } else {
            list->setContent({});
        }
    }
    if (expected < 0) {
        QVERIFY2(list->hasFocus(), "the focus left the list");
        return;
    }
    const QString error = focusOnRow(*list, expected);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    QVERIFY(rowsOutOfPlace(*list).isEmpty());
}

void TestZKListView::tabEntersAndLeavesTheList() {
    QWidget window;
    auto *before = new QLineEdit(&window);
    auto *list = new ZKListView(&window);
    auto *after = new QLineEdit(&window);
    list->setItemPrototype(new TestRow);
    list->setContent(entries(10));
    auto *column = new QVBoxLayout(&window);
    for (QWidget *widget : {static_cast<QWidget *>(before), static_cast<QWidget *>(list),
                            static_cast<QWidget *>(after)}) {
        column->addWidget(widget);
    }
    window.resize(300, 400);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    list->setCurrentIndex(4);
    before->setFocus();

    // In at the row the keyboard was on, through its button, and out.
    auto *row = static_cast<TestRow *>(list->itemAtIndex(4));
    const QList<std::pair<int, QWidget *>> steps{{Qt::Key_Tab, row},
                                                 {Qt::Key_Tab, row->button},
                                                 {Qt::Key_Tab, after},
                                                 {Qt::Key_Backtab, row},
                                                 {Qt::Key_Backtab, before}};
    for (const auto &[key, expected] : steps) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
        // Back into the list the keyboard may land on the row or its button.
        QWidget *focused = QApplication::focusWidget();
        const bool ok = focused == expected || (expected == row && row->isAncestorOf(focused));
        QVERIFY2(
            ok, qUtf8Printable(QStringLiteral("%1 went to a %2")
                                   .arg(key == Qt::Key_Tab ? "Tab" : "Backtab",
                                        focused ? focused->metaObject()->className() : "nothing")));
        if (key == Qt::Key_Backtab && expected == row) {
            row->setFocus(Qt::BacktabFocusReason);
        }
    }
    QCOMPARE(list->currentIndex(), 4);
}

void TestZKListView::rowsAreItemsOfAList() {
    auto list = makeList(100, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    list->verticalScrollBar()->setValue(10 * rowHeight);
    QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(list.get());
    QVERIFY(iface);
    QCOMPARE(iface->role(), QAccessible::List);
    const QList<ZKListViewItem *> rows = list->visibleItems();
    QCOMPARE(iface->childCount(), int(rows.size()));
    for (int i = 0; i < iface->childCount(); ++i) {
        QAccessibleInterface *child = iface->child(i);
        QVERIFY2(child && child->object() == rows.at(i), qUtf8Printable(QString::number(i)));
        QCOMPARE(child->role(), QAccessible::ListItem);
        QCOMPARE(child->parent(), iface);
        QCOMPARE(iface->indexOfChild(child), i);
        QVERIFY(child->state().focusable);
    }
}

QTEST_MAIN(TestZKListView)
#include "tst_ZKListView.moc"
