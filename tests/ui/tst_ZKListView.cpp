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
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTest>
#include <QVBoxLayout>

namespace {

constexpr int rowHeight = 30;

// Shows its row's name; counts whether the list has it in view, how often
// it was handed a row and how often told that its row changed.
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
    void setRow(QAbstractItemModel *model, int row) override {
        ZKListViewItem::setRow(model, row);
        label->setText(data(Qt::DisplayRole).toString());
        ++bindings;
    }
    void rowDataChanged(const QList<int> &roles) override {
        Q_UNUSED(roles);
        label->setText(data(Qt::DisplayRole).toString());
        ++changes;
    }
    void viewWillAppear() override { ++observing; }
    void viewDidDisappear() override { --observing; }

    QLabel *label = nullptr;
    QPushButton *button = nullptr;
    int observing = 0;
    int bindings = 0;
    int changes = 0;
};

class RecordingDelegate : public ZKListViewDelegate {
public:
    bool canDragItemFromIndex(qsizetype index) override {
        Q_UNUSED(index);
        return true;
    }
    void dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) override {
        dragged << index;
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

    QList<qsizetype> dragged;
    QList<qsizetype> drops;
    QList<QStringList> dropFormats;
    QList<QByteArray> dropTasks;
    QList<qsizetype> taken;
};

QStringList numbers(int count) {
    QStringList list;
    for (int i = 0; i < count; ++i) {
        list << QString::number(i);
    }
    return list;
}

// A list shown over a model of the names 0 to count - 1, exactly 600
// pixels of rows high; the list goes first.
struct Shown {
    std::unique_ptr<QStringListModel> model;
    std::unique_ptr<ZKListView> list;
    ZKListView *operator->() const { return list.get(); }
    ZKListView &operator*() const { return *list; }
    ZKListView *get() const { return list.get(); }
};

Shown makeList(int count, ZKListViewDelegate *delegate) {
    Shown shown{std::make_unique<QStringListModel>(numbers(count)), std::make_unique<ZKListView>()};
    ZKListView &list = *shown.list;
    list.setFrameShape(QFrame::NoFrame);
    list.setItemPrototype(new TestRow);
    list.setDelegate(delegate);
    list.setIdentityRole(Qt::DisplayRole);
    list.setModel(shown.model.get());
    list.resize(300, 600);
    list.show();
    return shown;
}

QString nameAt(const ZKListView &list, qsizetype index) {
    return list.model()->index(int(index), 0).data().toString();
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

// Empty when every row in view shows its model row at its place and is in
// view, and no other row is.
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
        const QString name = nameAt(list, index);
        const int top = qRound(list.positionForRow(index)) - offset;
        if (row->row() != index || row->label->text() != name || row->y() != top ||
            row->observing != 1 || !row->isVisible() || row->width() != list.viewport()->width()) {
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

// Whether the list took the drag event.
template <typename Event> bool sendDrag(ZKListView &list, int y, QMimeData *data) {
    Event event(QPoint(50, y), Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton,
                Qt::NoModifier);
    QCoreApplication::sendEvent(list.viewport(), &event);
    return event.isAccepted();
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
    void modelChangesSlideTheRightRows_data();
    void modelChangesSlideTheRightRows();
    void changeWhileSliding();
    void changedDataReachesItsRowOnly_data();
    void changedDataReachesItsRowOnly();
    void rowsLeaveWithTheirModel();
    void dropsGoToTheDelegate_data();
    void dropsGoToTheDelegate();
    void dragNearEdgesScrolls_data();
    void dragNearEdgesScrolls();
    void focusFollowsKeysAndChanges_data();
    void focusFollowsKeysAndChanges();
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
    QTest::addColumn<bool>("onButton"); // a press the button takes is the button's
    QTest::newRow("quick click") << false << false;
    QTest::newRow("held press") << true << false;
    QTest::newRow("quick click on a button") << false << true;
    QTest::newRow("held press on a button") << true << true;
}

void TestZKListView::onlyAHeldPressDrags() {
    QFETCH(bool, hold);
    QFETCH(bool, onButton);
    RecordingDelegate delegate;
    auto list = makeList(10, &delegate);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    TestRow *row = rowShowing(*list, QStringLiteral("2"));
    QVERIFY(row);
    QWidget *target = onButton ? static_cast<QWidget *>(row->button) : row->label;
    QSignalSpy clicks(row->button, &QAbstractButton::clicked);

    QTest::mousePress(target, Qt::LeftButton, {}, QPoint(10, 10));
    const bool drags = hold && !onButton;
    if (drags) {
        // Nothing stops the drag offscreen, so it ends at once where nothing
        // took it, and the item goes back where it came from.
        QTRY_VERIFY_WITH_TIMEOUT(!delegate.drops.isEmpty(), 5000);
    } else if (hold) {
        QTest::qWait(500);
    }
    QTest::mouseRelease(target, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::qWait(400); // a timer left running would fire by now
    QCOMPARE(clicks.size(), onButton ? 1 : 0);
    if (drags) {
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

// Changes the model as the steps say, separated by ", ": "insert 2 a",
// "remove 2", "move 3 1" (Qt's destination, counted before the move),
// "sort", "reset 2 0 1", "clear", "wait 100", "scroll 900", "key PgDown".
void change(QStringListModel &model, ZKListView &list, const QString &steps) {
    for (const QString &step : steps.split(QStringLiteral(", "))) {
        const QStringList words = step.split(QLatin1Char(' '));
        const auto number = [&](int at) {
            return words.value(at).toInt();
        };
        if (words[0] == "insert") {
            model.insertRows(number(1), 1);
            model.setData(model.index(number(1)), words.value(2, QStringLiteral("new")));
        } else if (words[0] == "remove") {
            model.removeRows(number(1), 1);
        } else if (words[0] == "move") {
            model.moveRows({}, number(1), 1, {}, number(2));
        } else if (words[0] == "sort") {
            model.sort(0, Qt::DescendingOrder);
        } else if (words[0] == "reset") {
            model.setStringList(words.mid(1));
        } else if (words[0] == "clear") {
            model.setStringList({});
        } else if (words[0] == "wait") {
            QTest::qWait(number(1));
        } else if (words[0] == "scroll") {
            list.verticalScrollBar()->setValue(number(1));
        } else if (words[0] == "key") {
            QTest::keyClick(QApplication::focusWidget(),
                            QKeySequence::fromString(words.value(1))[0].key());
        } else {
            QFAIL(qUtf8Printable("no such step: " + step));
        }
    }
}

void TestZKListView::modelChangesSlideTheRightRows_data() {
    QTest::addColumn<bool>("identity");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("order");
    QTest::addColumn<QString>("watched"); // the row of this name slides
    QTest::addColumn<int>("from");        // its top right after the change, in rows
    QTest::addColumn<int>("to");

    QTest::newRow("insert several") << true << "insert 0 a, insert 2 b, insert 8 c"
                                    << "a 0 b 1 2 3 4 5 c"
                                    << "3" << 3 << 5;
    QTest::newRow("remove several") << true << "remove 5, remove 2, remove 0"
                                    << "1 3 4"
                                    << "3" << 3 << 1;
    QTest::newRow("move up") << true << "move 3 1"
                             << "0 3 1 2 4 5"
                             << "3" << 3 << 1;
    QTest::newRow("move down past one") << true << "move 1 3"
                                        << "0 2 1 3 4 5"
                                        << "1" << 1 << 2;
    QTest::newRow("rows between make way") << true << "move 4 1"
                                           << "0 4 1 2 3 5"
                                           << "2" << 2 << 3;
    QTest::newRow("move to the top") << true << "move 4 0"
                                     << "4 0 1 2 3 5"
                                     << "4" << 4 << 0;
    QTest::newRow("move to the bottom") << true << "move 0 6"
                                        << "1 2 3 4 5 0"
                                        << "0" << 0 << 5;
    QTest::newRow("sort") << true << "sort"
                          << "5 4 3 2 1 0"
                          << "5" << 5 << 0;
    QTest::newRow("reset in a new order") << true << "reset 2 0 1 5 4 3"
                                          << "2 0 1 5 4 3"
                                          << "3" << 3 << 5;
    // Without a way to tell entries apart the rows are shown anew.
    QTest::newRow("reset, nothing tells entries apart") << false << "reset 2 0 1 5 4 3"
                                                        << "2 0 1 5 4 3"
                                                        << "3" << 5 << 5;
}

void TestZKListView::modelChangesSlideTheRightRows() {
    QFETCH(bool, identity);
    QFETCH(QString, steps);
    QFETCH(QString, order);
    QFETCH(QString, watched);
    QFETCH(int, from);
    QFETCH(int, to);

    auto list = makeList(6, nullptr);
    if (!identity) {
        list->setIdentityRole(-1);
    }
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    TestRow *row = rowShowing(*list, watched);
    const int bindings = row->bindings;
    change(*list.model, *list, steps);
    QCOMPARE(list.model->stringList().join(QLatin1Char(' ')), order);
    if (identity) {
        // The row that showed the entry still does, read once, and slides.
        QVERIFY2(rowShowing(*list, watched) == row && row->bindings == bindings,
                 "another row shows the entry, or it was read again");
    } else {
        row = rowShowing(*list, watched);
    }
    QCOMPARE(row->y(), from * rowHeight);
    QCOMPARE(list->isAnimating(), from != to);
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    QCOMPARE(row->y(), to * rowHeight);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::changeWhileSliding() {
    auto list = makeList(6, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    change(*list.model, *list, QStringLiteral("insert 2 a, wait 100, remove 0"));
    QVERIFY(list->isAnimating());
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    QCOMPARE(list.model->stringList().join(QLatin1Char(' ')), "1 a 2 3 4 5");
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::changedDataReachesItsRowOnly_data() {
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("changed");
    QTest::addColumn<bool>("told");

    QTest::newRow("a row in view") << 0 << 3 << true;
    QTest::newRow("a row handed over by scrolling") << 50 * rowHeight << 55 << true;
    QTest::newRow("a row out of view") << 0 << 50 << false;
}

void TestZKListView::changedDataReachesItsRowOnly() {
    QFETCH(int, offset);
    QFETCH(int, changed);
    QFETCH(bool, told);

    auto list = makeList(100, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    list->verticalScrollBar()->setValue(offset);
    const auto rows = list->viewport()->findChildren<TestRow *>();
    for (TestRow *row : rows) {
        row->changes = 0;
    }
    list.model->setData(list.model->index(changed), QStringLiteral("changed"));
    for (TestRow *row : rows) {
        const bool isIt = row->isVisible() && row->row() == changed;
        QVERIFY2(row->changes == (isIt ? 1 : 0),
                 qUtf8Printable(QStringLiteral("the row of %1 was told %2 times")
                                    .arg(row->row())
                                    .arg(row->changes)));
    }
    TestRow *shown = rowShowing(*list, QStringLiteral("changed"));
    QCOMPARE(shown != nullptr, told);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
}

void TestZKListView::rowsLeaveWithTheirModel() {
    auto list = makeList(10, nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    list.model.reset();
    QCOMPARE(list->count(), 0);
    QVERIFY(list->visibleItems().isEmpty());
    QCOMPARE(list->verticalScrollBar()->maximum(), 0);
    for (TestRow *row : list->viewport()->findChildren<TestRow *>()) {
        QVERIFY2(row->isHidden() && row->observing == 0 && row->row() == -1,
                 "a row still shows an entry");
    }
}

void TestZKListView::dropsGoToTheDelegate_data() {
    QTest::addColumn<bool>("withDelegate");
    QTest::addColumn<bool>("plainText"); // instead of a file
    QTest::addColumn<int>("y");
    QTest::addColumn<qsizetype>("index"); // -1: refused

    QTest::newRow("on row 2") << true << false << 2 * rowHeight + 5 << 2LL;
    QTest::newRow("below the last row") << true << false << 400 << 5LL;
    QTest::newRow("plain text") << true << true << 40 << -1LL;
    QTest::newRow("no delegate") << false << false << 40 << -1LL;
}

void TestZKListView::dropsGoToTheDelegate() {
    QFETCH(bool, withDelegate);
    QFETCH(bool, plainText);
    QFETCH(int, y);
    QFETCH(qsizetype, index);

    RecordingDelegate delegate;
    auto list = makeList(5, withDelegate ? &delegate : nullptr);
    QVERIFY(QTest::qWaitForWindowExposed(list.get()));
    auto data = fileData();
    if (plainText) {
        data = std::make_unique<QMimeData>();
        data->setText(QStringLiteral("hello"));
    }
    QCOMPARE(sendDrag<QDragEnterEvent>(*list, y, data.get()), index >= 0);
    if (index < 0) {
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
        QVERIFY(delegate.dragged.isEmpty() && delegate.drops.isEmpty());
        return;
    }
    QVERIFY(sendDrag<QDragMoveEvent>(*list, y, data.get()));
    if (index < 5) {
        // The rows from the drop place down move aside by one row.
        TestRow *row = rowShowing(*list, QString::number(index));
        QTRY_COMPARE(row->y(), int(index + 1) * rowHeight);
    }
    QVERIFY(sendDrag<QDropEvent>(*list, y, data.get()));
    QCOMPARE(delegate.drops, QList<qsizetype>{index});
    QVERIFY(delegate.dropFormats.first().contains(QStringLiteral("text/uri-list")));
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);
    const QString error = rowsOutOfPlace(*list);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
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
    QVERIFY(sendDrag<QDragEnterEvent>(*list, y, data.get()));
    QVERIFY(sendDrag<QDragMoveEvent>(*list, y, data.get()));
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
    const QString name = nameAt(list, index);
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

void TestZKListView::focusFollowsKeysAndChanges_data() {
    QTest::addColumn<int>("current");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<int>("expected"); // -1: the list itself keeps the focus

    // 100 rows, 20 in view; a page is 19 rows, so that one stays in sight.
    QTest::newRow("down") << 0 << "key Down" << 1;
    QTest::newRow("up at the top stays") << 0 << "key Up" << 0;
    QTest::newRow("down at the bottom stays") << 99 << "key Down" << 99;
    QTest::newRow("down scrolls the next row in") << 19 << "key Down" << 20;
    QTest::newRow("up scrolls the row above in") << 40 << "key Up" << 39;
    QTest::newRow("home") << 60 << "key Home" << 0;
    QTest::newRow("end") << 3 << "key End" << 99;
    QTest::newRow("page down") << 0 << "key PgDown" << 19;
    QTest::newRow("page up") << 50 << "key PgUp" << 31;
    QTest::newRow("its entry removed") << 2 << "remove 2" << 2;
    QTest::newRow("the last entry removed") << 99 << "remove 99" << 98;
    QTest::newRow("an entry above inserted") << 5 << "insert 0" << 5;
    QTest::newRow("moved away") << 3 << "move 3 50" << 3;
    QTest::newRow("scrolled out of view") << 1 << "scroll 900" << -1;
    QTest::newRow("scrolled back") << 1 << "scroll 900, scroll 0" << 1;
    QTest::newRow("a key from the list itself") << 1 << "scroll 1500, key Down" << 2;
    QTest::newRow("sorted") << 1 << "sort" << 1;
    QTest::newRow("every entry gone") << 4 << "clear" << -1;
}

void TestZKListView::focusFollowsKeysAndChanges() {
    QFETCH(int, current);
    QFETCH(QString, steps);
    QFETCH(int, expected);

    auto list = makeList(100, nullptr);
    list->setAnimationDuration(0);
    list->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(list.get()));
    list->setCurrentIndex(current);
    QVERIFY2(focusOnRow(*list, current).isEmpty(), qUtf8Printable(focusOnRow(*list, current)));
    // A shortcut of the window on the same keys must not take them.
    QAction shortcut(list.get());
    shortcut.setShortcuts(
        QKeySequence::listFromString(QStringLiteral("Up; Down; Home; End; PgUp; PgDown")));
    list->addAction(&shortcut);
    QSignalSpy stolen(&shortcut, &QAction::triggered);

    change(*list.model, *list, steps);
    QCOMPARE(stolen.count(), 0);
    if (expected < 0) {
        QVERIFY2(list->hasFocus(), "the focus left the list");
        return;
    }
    const QString error = focusOnRow(*list, expected);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    QVERIFY(rowsOutOfPlace(*list).isEmpty());
}

void TestZKListView::tabEntersAndLeavesTheList() {
    QStringListModel model(numbers(10));
    QWidget window;
    auto *before = new QLineEdit(&window);
    auto *list = new ZKListView(&window);
    auto *after = new QLineEdit(&window);
    list->setItemPrototype(new TestRow);
    list->setModel(&model);
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
