// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKHoverButton.h"
#include "ZKHoverImageView.h"
#include "ZKHttpReader.h"
#include "ZKImages.h"
#include "ZKListView.h"
#include "ZKOpenPanel.h"
#include "ZKPreferences.h"
#include "ZKProgressBarHueTransformer.h"
#include "ZKQueueState.h"
#include "ZKStoppableProgressIndicator.h"
#include "ZKTaskListModel.h"
#include "ZKTaskState.h"
#include "ZKTaskView.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QEnterEvent>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>

using S = ZKTaskState;
using R = ZKTaskListModel;

namespace {

// What a row reads of a task, one role each, as the task list holds it: a
// waiting copy of "a", a quarter done.
QMap<int, QVariant> rowData(ZKTaskState state = S::PendingProcessing) {
    return {
        {R::TitleRole, QStringLiteral("Copy \"a\" to \"out\"")},
        {R::DetailRole, QStringLiteral("1 KB of 4 KB")},
        {R::StateRole, qint32(state)},
        {R::FractionRole, 0.25},
        {R::IndeterminateRole, false},
        {R::FilenameRole, QStringLiteral("a")},
        {R::TransferModeRole, ZKTransferMode::Copy},
        {R::IsResumableRole, true},
        {R::IsVerifiedOkRole, false},
        {R::SkippedUrlsRole, QVariant::fromValue(QList<QUrl>())},
        {R::ReplacedUrlsRole, QVariant::fromValue(QList<QUrl>())},
    };
}

void setRowData(QStandardItemModel &model, int row, const QMap<int, QVariant> &data) {
    model.setItemData(model.index(row, 0), data);
}

// Counts the paints of the widgets it watches.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return QObject::eventFilter(watched, event);
    }
};

// All a user sees and a reader hears of a row.
QString shownBy(ZKTaskView *row) {
    QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(row);
    return QStringList{row->taskLabel()->text(),
                       row->detailLabel()->text(),
                       row->actionButton()->accessibleName(),
                       row->cancelButton()->accessibleName(),
                       QString::number(row->isProgressBarShown()),
                       QString::number(row->progressIndicator()->value()),
                       row->badgeToolTips().join(QLatin1Char(',')),
                       row->taskLabel()->palette().color(QPalette::Text).name(),
                       iface->text(QAccessible::Name),
                       iface->text(QAccessible::Description)}
        .join(QLatin1Char('|'));
}

} // namespace

class TestZKTaskView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void everyStateShowsItself_data();
    void everyStateShowsItself();
    void badgesComeInTheirOrder();
    void urlListsAndPaths_data();
    void urlListsAndPaths();
    void hoveringExplainsABadge();
    void recycledRowShowsItsIndex_data();
    void recycledRowShowsItsIndex();
    void anotherRowsChangeLeavesTheTextsAlone();
    void taskChangesReachTheRow();
    void menuFollowsTheTask_data();
    void menuFollowsTheTask();
    void menuOpensFromTheKeyboard_data();
    void menuOpensFromTheKeyboard();
    void keysActOnTheFocusedRow_data();
    void keysActOnTheFocusedRow();
    void barReadsItsValue();
    void changesGoThroughTheirPanels_data();
    void changesGoThroughTheirPanels();
    void movesGiveTheExpectedOrder_data();
    void movesGiveTheExpectedOrder();

private:
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKReaderPtr reader(const QString &name) const {
        return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(name)));
    }
    ZKWriterPtr outFolder() const {
        return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out")));
    }
    // A paused queue of four waiting tasks, a to d.
    void makeQueue();
    // A list four rows high over the model, shown.
    void showList(QAbstractItemModel *model, QObject *owner = nullptr);
    // The list of the document's tasks, shown, and the row of the task.
    ZKTaskView *rowFor(const ZKTaskPtr &task);
    // A list of count rows, each of rowData() or what dataOf gives, shown.
    void showRows(int count, const std::function<QMap<int, QVariant>(int)> &dataOf = {});
    ZKTaskView *shownRow(int index) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ZKFerrowickDocument> m_document;
    std::unique_ptr<QStandardItemModel> m_rows;
    std::unique_ptr<QWidget> m_host;
    ZKListView *m_list = nullptr;
};

void TestZKTaskView::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Paused);
}

void TestZKTaskView::init() {
    m_host.reset();
    m_list = nullptr;
    m_rows.reset();
    m_document.reset();
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkdir(QStringLiteral("out"));
    makeQueue();
}

void TestZKTaskView::makeQueue() {
    QList<ZKReaderPtr> readers;
    for (const QString name : {"a", "b", "c", "d"}) {
        QVERIFY(ZKTestSupport::writeFile(path(name), name.toUtf8()));
        readers << reader(name);
    }
    m_document = std::make_unique<ZKFerrowickDocument>();
    m_document->setState(ZKQueueState::Paused);
    const auto tasks = m_document->addTasks(readers, outFolder(), 0);
    QTRY_VERIFY(std::all_of(tasks.begin(), tasks.end(),
                            [](const auto &t) { return t->state() == S::PendingProcessing; }));
    m_document->waitForBackgroundWork();
    m_host = std::make_unique<QWidget>();
    m_host->resize(700, 80);
}

void TestZKTaskView::showList(QAbstractItemModel *model, QObject *owner) {
    m_list = new ZKListView(m_host.get());
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setItemPrototype(new ZKTaskView);
    m_list->setOwner(owner);
    m_list->setModel(model);
    m_list->resize(700, qRound(m_list->itemHeight()) * 4);
    m_host->resize(m_list->size());
    m_host->show();
}

ZKTaskView *TestZKTaskView::rowFor(const ZKTaskPtr &task) {
    if (!m_list) {
        showList(&m_document->taskListModel(), m_document.get());
    }
    if (!task) {
        // A row showing nothing, as the spare row of a list does.
        auto *row = new ZKTaskView(m_host.get());
        row->setOwner(m_document.get());
        row->viewWillAppear();
        return row;
    }
    return static_cast<ZKTaskView *>(m_list->itemAtIndex(m_document->indexOfTask(task)));
}

void TestZKTaskView::showRows(int count, const std::function<QMap<int, QVariant>(int)> &dataOf) {
    m_rows = std::make_unique<QStandardItemModel>(count, 1);
    for (int i = 0; i < count; ++i) {
        setRowData(*m_rows, i, dataOf ? dataOf(i) : rowData());
    }
    showList(m_rows.get());
}

ZKTaskView *TestZKTaskView::shownRow(int index) const {
    return static_cast<ZKTaskView *>(m_list->itemAtIndex(index));
}

void TestZKTaskView::everyStateShowsItself_data() {
    QTest::addColumn<ZKTaskState>("state");
    QTest::addColumn<QString>("action");
    QTest::addColumn<bool>("barShown");

    // One state of each kind: its own action, bar and look.
    QTest::newRow("waiting to analyse") << S::PendingPreparation << "Suspend" << true;
    QTest::newRow("copying") << S::Processing << "Suspend" << true;
    QTest::newRow("verifying") << S::Verifying << "Suspend" << true;
    QTest::newRow("completed") << S::Completed << "Show in Folder" << false;
    QTest::newRow("failed") << S::Failed << "Retry" << true;
    QTest::newRow("cancelled") << S::Cancelled << "Suspend" << true;
    QTest::newRow("suspended") << S::Suspended << "Resume" << true;
}

void TestZKTaskView::everyStateShowsItself() {
    QFETCH(ZKTaskState, state);
    QFETCH(QString, action);
    QFETCH(bool, barShown);

    showRows(1);
    ZKTaskView *row = shownRow(0);
    ZKStoppableProgressIndicator *bar = row->progressIndicator();
    const int fullHeight = bar->height();
    QVERIFY2(fullHeight > 0, "no bar before the change");
    m_rows->setData(m_rows->index(0, 0), qint32(state), R::StateRole);
    QCOMPARE(row->actionToolTip(), action);
    QCOMPARE(row->actionButton()->toolTip(), action);
    const QString image = action == "Suspend"  ? "ZKActionSuspend"
                          : action == "Resume" ? "ZKActionResume"
                          : action == "Retry"  ? "ZKActionRetry"
                                               : "ZKActionCompleted";
    // The same drawing, not merely one that looks alike.
    QCOMPARE(row->actionButton()->icon().cacheKey(), ZKImages::named(image).cacheKey());
    // Heard apart from the row, a button names the file it acts on.
    QCOMPARE(row->actionButton()->accessibleName(), action + " “a”");
    const QString cancel = state == S::Completed ? "Close" : "Cancel";
    QCOMPARE(row->cancelToolTip(), cancel);
    QCOMPARE(row->cancelButton()->accessibleName(), cancel + " “a”");
    if (!barShown) {
        // The bar folds away instead of vanishing.
        auto *collapse = row->findChild<QPropertyAnimation *>();
        QVERIFY2(collapse && collapse->state() == QAbstractAnimation::Running,
                 "the bar did not start folding away");
        collapse->pause();
        collapse->setCurrentTime(collapse->duration() / 2);
        row->layout()->activate();
        QVERIFY2(bar->isVisible() && bar->height() > 0 && bar->height() < fullHeight,
                 qUtf8Printable(QStringLiteral("halfway the bar is %1 of %2 high")
                                    .arg(bar->height())
                                    .arg(fullHeight)));
        collapse->resume();
    }
    QTRY_COMPARE(row->isProgressBarShown(), barShown);
    QTRY_COMPARE(bar->isVisible(), barShown);

    const QPalette palette = QApplication::palette();
    const QColor expected = palette.color(
        state == S::Suspended ? QPalette::Disabled : QPalette::Active, QPalette::WindowText);
    QCOMPARE(row->taskLabel()->palette().color(QPalette::Text), expected);

    if (barShown) {
        m_rows->setData(m_rows->index(0, 0), 1.0, R::FractionRole);
        // What the bar really paints, full, in the colour of its state.
        const QImage image = bar->grab().toImage();
        const QColor painted = image.pixelColor(image.width() / 2, image.height() / 2);
        const QColor tint = ZKBarTint(ZKProgressBarHueTransformer::tintForState(state))
                                .appliedTo(palette.color(QPalette::Highlight));
        const int distance = std::abs(painted.red() - tint.red()) +
                             std::abs(painted.green() - tint.green()) +
                             std::abs(painted.blue() - tint.blue());
        QVERIFY2(
            distance < 60,
            qUtf8Printable(QStringLiteral("bar %1, tint %2").arg(painted.name(), tint.name())));
    }
}

void TestZKTaskView::badgesComeInTheirOrder() {
    // A failed move from a source that cannot seek, with replaced and
    // skipped files, verified: six badges apply, five show.
    showRows(1);
    ZKTaskView *row = shownRow(0);
    QVERIFY(row->badges().isEmpty());
    QMap<int, QVariant> data = rowData(S::Failed);
    data.insert(R::TransferModeRole, ZKTransferMode::Move);
    data.insert(R::IsResumableRole, false);
    data.insert(R::ReplacedUrlsRole,
                QVariant::fromValue(QList<QUrl>{QUrl::fromLocalFile(path("r"))}));
    data.insert(R::SkippedUrlsRole,
                QVariant::fromValue(QList<QUrl>{QUrl::fromLocalFile(path("s"))}));
    data.insert(R::IsVerifiedOkRole, true);
    setRowData(*m_rows, 0, data);

    const QStringList tips = row->badgeToolTips();
    QCOMPARE(
        tips,
        QStringList({"The transfer has failed.", "The original file will be removed after copying.",
                     "The server does not support resuming.", "Replacing r.", "Skipping s."}));
    const QList<QIcon> images = row->badges();
    const QStringList names{"ZKFailed", "ZKRemoveOriginal", "ZKNoResume", "ZKReplacedFiles",
                            "ZKSkippedFiles"};
    for (qsizetype i = 0; i < names.size(); ++i) {
        QVERIFY2(images[i].cacheKey() == ZKImages::named(names[i]).cacheKey(),
                 qUtf8Printable(names[i]));
    }
    for (ZKHoverImageView *badge : row->badgeViews().first(names.size())) {
        QCOMPARE(badge->toolTip(), badge->hoverText());
        QCOMPARE(badge->accessibleName(), badge->hoverText());
    }
}

void TestZKTaskView::urlListsAndPaths_data() {
    QTest::addColumn<int>("files");
    QTest::addColumn<QString>("text");

    QTest::newRow("none") << 0 << QString();
    QTest::newRow("one") << 1 << "Skipping f0.";
    QTest::newRow("three") << 3 << "Skipping f0, f1, f2.";
    QTest::newRow("four") << 4 << "Skipping f0, f1, f2 and 1 other files.";
    QTest::newRow("six") << 6 << "Skipping f0, f1, f2 and 3 other files.";
}

void TestZKTaskView::urlListsAndPaths() {
    QFETCH(int, files);
    QFETCH(QString, text);

    QList<QUrl> urls;
    for (int i = 0; i < files; ++i) {
        urls << QUrl::fromLocalFile(QStringLiteral("/data/f%1/").arg(i));
    }
    const QString description = ZKTaskView::descriptionOfUrls(urls, QStringLiteral("Skipping"));
    QCOMPARE(description, text);
    QCOMPARE(description.isNull(), files == 0);

    // Paths: 99 characters stay whole, 100 are cut to 48 + ... + 48.
    const QString path99(99, QLatin1Char('x'));
    QCOMPARE(ZKTaskView::truncatePath(path99), path99);
    const QString path100 = QString(50, QLatin1Char('a')) + QString(50, QLatin1Char('b'));
    QCOMPARE(ZKTaskView::truncatePath(path100),
             QString(48, QLatin1Char('a')) + "..." + QString(48, QLatin1Char('b')));
}

void TestZKTaskView::hoveringExplainsABadge() {
    showRows(1);
    ZKTaskView *row = shownRow(0);
    m_rows->setData(m_rows->index(0, 0), ZKTransferMode::Move, R::TransferModeRole);
    const QString own = m_rows->index(0, 0).data(R::DetailRole).toString();
    QCOMPARE(row->detail(), own);

    ZKHoverImageView *badge = row->badgeViews().first();
    QEnterEvent enter(QPointF(2, 2), QPointF(2, 2), QPointF(2, 2));
    QApplication::sendEvent(badge, &enter);
    QCOMPARE(row->detail(), "The original file will be removed after copying.");
    QCOMPARE(row->detailLabel()->text(), row->detail());
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(badge, &leave);
    QCOMPARE(row->detail(), own);

    // An empty badge slot has nothing to say; a button says what it does.
    QApplication::sendEvent(row->badgeViews().last(), &enter);
    QCOMPARE(row->detail(), own);
    QApplication::sendEvent(row->badgeViews().last(), &leave);
    QApplication::sendEvent(row->actionButton(), &enter);
    QCOMPARE(row->detailLabel()->text(), "Suspend");
    // The task's own detail changing underneath does not take the hover's place.
    m_rows->setData(m_rows->index(0, 0), QStringLiteral("2 KB of 4 KB"), R::DetailRole);
    QCOMPARE(row->detailLabel()->text(), "Suspend");
    QApplication::sendEvent(row->actionButton(), &leave);
    QCOMPARE(row->detailLabel()->text(), "2 KB of 4 KB");
}

void TestZKTaskView::recycledRowShowsItsIndex_data() {
    QTest::addColumn<int>("offset"); // in rows

    QTest::newRow("at the top") << 0;
    QTest::newRow("a row down") << 1;
    QTest::newRow("half a screen down") << 2;
    QTest::newRow("a screen down") << 4;
    QTest::newRow("at the end") << 8;
}

void TestZKTaskView::recycledRowShowsItsIndex() {
    QFETCH(int, offset);

    // Every row different: its own texts, and a state of its own that
    // shows as a bar, a look and badges, so that nothing of one row may
    // stay on a row handed another.
    const ZKTaskState states[] = {S::Completed, S::Processing, S::Suspended, S::Failed};
    showRows(12, [&states](int i) {
        QMap<int, QVariant> data = rowData(states[i % 4]);
        data.insert(R::TitleRole, QStringLiteral("title %1").arg(i));
        data.insert(R::DetailRole, QStringLiteral("detail %1").arg(i));
        data.insert(R::FilenameRole, QStringLiteral("file %1").arg(i));
        data.insert(R::FractionRole, i / 12.0);
        data.insert(R::TransferModeRole, i % 3 == 0 ? ZKTransferMode::Move : ZKTransferMode::Copy);
        return data;
    });
    QVERIFY(QTest::qWaitForWindowExposed(m_host.get()));
    // Scrolled there row by row, so that each row is handed on many times.
    for (int step = 1; step <= offset; ++step) {
        m_list->verticalScrollBar()->setValue(qRound(m_list->itemHeight()) * step);
    }
    QCOMPARE(m_list->visibleItems().size(), 4);
    for (int i = offset; i < offset + 4; ++i) {
        // What a row that never showed anything shows of the same entry.
        ZKTaskView fresh(m_host.get());
        fresh.setRow(m_rows.get(), i);
        fresh.viewWillAppear();
        const QString seen = shownBy(shownRow(i));
        const QString wanted = shownBy(&fresh);
        QVERIFY2(
            seen == wanted && seen.startsWith(QStringLiteral("title %1|detail %1|").arg(i)),
            qUtf8Printable(QStringLiteral("row %1 shows %2, wanted %3").arg(i).arg(seen, wanted)));
    }
}

void TestZKTaskView::anotherRowsChangeLeavesTheTextsAlone() {
    showRows(3);
    QVERIFY(QTest::qWaitForWindowExposed(m_host.get()));
    QTest::qWait(100); // the first paints
    ZKTaskView *row = shownRow(0);
    PaintCounter counter;
    for (QWidget *label :
         {static_cast<QWidget *>(row->taskLabel()), static_cast<QWidget *>(row->detailLabel())}) {
        label->installEventFilter(&counter);
    }
    // The row that did change repaints: paints are seen here.
    PaintCounter changed;
    shownRow(1)->detailLabel()->installEventFilter(&changed);
    const QString description = row->accessibleDescription();
    QMap<int, QVariant> data = rowData(S::Processing);
    data.insert(R::TitleRole, QStringLiteral("Copying \"b\" to \"out\""));
    data.insert(R::DetailRole, QStringLiteral("2 KB of 4 KB"));
    setRowData(*m_rows, 1, data);
    // A change told of the row itself, although nothing it shows changed.
    Q_EMIT m_rows->dataChanged(m_rows->index(0, 0), m_rows->index(0, 0));
    QTest::qWait(50);
    QCOMPARE(shownRow(1)->detailLabel()->text(), "2 KB of 4 KB");
    QVERIFY(changed.paints > 0);
    QCOMPARE(counter.paints, 0);
    QCOMPARE(row->accessibleDescription(), description);
}

void TestZKTaskView::taskChangesReachTheRow() {
    // The task changes, the queue's list tells the row: nothing else does.
    // What a reader hears of each change is checked over AT-SPI, where a
    // bridge listens (test_accessibility.py); here, what it reads.
    const ZKTaskPtr task = m_document->objectInTasksAtIndex(2);
    ZKTaskView *row = rowFor(task);
    ZKTaskView *other = rowFor(m_document->objectInTasksAtIndex(1));
    QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(row);
    QCOMPARE(iface->role(), QAccessible::ListItem);
    const QString otherTitle = other->taskLabel()->text();
    task->setTransferMode(ZKTransferMode::Move);
    QTRY_VERIFY(row->taskLabel()->text().startsWith(QStringLiteral("Move")));
    QCOMPARE(row->taskLabel()->text(), task->description());
    QCOMPARE(iface->text(QAccessible::Name), row->taskLabel()->text());
    QCOMPARE(row->badgeToolTips(), QStringList{"The original file will be removed after copying."});
    task->suspend();
    QTRY_COMPARE(row->actionToolTip(), "Resume");
    QCOMPARE(row->detailLabel()->text(), task->detail());
    QCOMPARE(iface->text(QAccessible::Description), row->detailLabel()->text());
    QEnterEvent enter(QPointF(2, 2), QPointF(2, 2), QPointF(2, 2));
    QApplication::sendEvent(row->actionButton(), &enter);
    QCOMPARE(iface->text(QAccessible::Description), "Resume");
    QCOMPARE(other->taskLabel()->text(), otherTitle);
    QCOMPARE(other->actionToolTip(), "Suspend");
}

void TestZKTaskView::menuFollowsTheTask_data() {
    QTest::addColumn<QString>("which");
    QTest::addColumn<QString>("expected"); // tag:title:enabled:checked, a line each

    QTest::newRow("no task") << "none"
                             << "1001:From: :0:0\n1002::0:0\n1003::0:0\n2001:To: :0:0\n"
                                "2002::0:0\n2003::0:0\n3001:Suspend:0:0\n3002:Cancel:0:0\n"
                                "4001::0:0\n4002::0:0\n4003::0:0\n4004::0:0\n5001::0:0\n"
                                "5002::0:0";
    QTest::newRow("first row") << "first"
                               << "1002::1:0\n1003::1:0\n3001:Suspend:1:0\n3002:Cancel:1:0\n"
                                  "4001::0:0\n4002::0:0\n4003::1:0\n4004::1:0\n5001::1:1\n"
                                  "5002::1:0";
    QTest::newRow("last row") << "last"
                              << "4001::1:0\n4002::1:0\n4003::0:0\n4004::0:0";
    QTest::newRow("remote source") << "remote"
                                   << "1002::0:0\n1003::1:0\n5001::1:1\n5002::0:0";
    QTest::newRow("completed") << "completed"
                               << "1003::0:0\n2003::0:0\n3001:Suspend:0:0\n3002:Close:1:0\n"
                                  "5001::0:1\n5002::0:0";
    QTest::newRow("suspended move") << "suspended"
                                    << "3001:Resume:1:0\n5001::1:0\n5002::1:1";
}

void TestZKTaskView::menuFollowsTheTask() {
    QFETCH(QString, which);
    QFETCH(QString, expected);

    ZKTaskPtr task;
    if (which != QStringLiteral("none")) {
        task = m_document->objectInTasksAtIndex(which == QStringLiteral("last") ? 3 : 0);
    }
    ZKTaskView *row = rowFor(task);
    if (which == QStringLiteral("remote")) {
        task->setSource(ZKHttpReader::readerWithUrl(QUrl(QStringLiteral("http://127.0.0.1:9/a"))));
    } else if (which == QStringLiteral("completed")) {
        task->setState(S::Completed);
    } else if (which == QStringLiteral("suspended")) {
        task->setTransferMode(ZKTransferMode::Move);
        task->setState(S::Suspended);
    }
    row->validateMenu();
    for (const QString &line : expected.split(QLatin1Char('\n'))) {
        const QStringList parts = line.split(QLatin1Char(':'));
        QAction *item = row->menuItem(parts[0].toInt());
        QVERIFY2(item, qUtf8Printable("no item " + parts[0]));
        const QString title = parts.mid(1, parts.size() - 3).join(QLatin1Char(':'));
        if (!title.isEmpty()) {
            QCOMPARE(item->text(), title);
        }
        QVERIFY2(item->isEnabled() == (parts[parts.size() - 2] == "1"),
                 qUtf8Printable(line + " enabled: " + QString::number(item->isEnabled())));
        QVERIFY2(item->isChecked() == (parts.last() == "1"),
                 qUtf8Printable(line + " checked: " + QString::number(item->isChecked())));
    }
    if (task && task->source()->isLocal()) {
        QCOMPARE(row->menuItem(ZKTaskView::SourceTitle)->text(),
                 "From:  " + task->source()->url().toLocalFile());
        QCOMPARE(row->menuItem(ZKTaskView::DestinationTitle)->text(), "To:  " + path("out"));
    }
}

void TestZKTaskView::menuOpensFromTheKeyboard_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<bool>("onButton");

    QTest::newRow("menu key on the row") << int(Qt::Key_Menu) << int(Qt::NoModifier) << false;
    QTest::newRow("shift F10 on the row") << int(Qt::Key_F10) << int(Qt::ShiftModifier) << false;
    // A button reached with Tab passes the key on to its row.
    QTest::newRow("menu key on a button") << int(Qt::Key_Menu) << int(Qt::NoModifier) << true;
    QTest::newRow("shift F10 on a button") << int(Qt::Key_F10) << int(Qt::ShiftModifier) << true;
}

void TestZKTaskView::menuOpensFromTheKeyboard() {
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(bool, onButton);

    const ZKTaskPtr task = m_document->objectInTasksAtIndex(0);
    ZKTaskView *row = rowFor(task);
    task->setState(S::Suspended);
    QWidget *target = onButton ? static_cast<QWidget *>(row->cancelButton()) : row;
    QTest::keyClick(target, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QTRY_VERIFY2(row->contextMenu()->isVisible(), "no menu");
    QCOMPARE(row->menuItem(ZKTaskView::Action)->text(), "Resume");
    row->contextMenu()->close();

    QTest::keyClick(target, Qt::Key_F10);
    QTest::qWait(50);
    QVERIFY2(!row->contextMenu()->isVisible(), "F10 alone opened the menu");
}

void TestZKTaskView::keysActOnTheFocusedRow_data() {
    QTest::addColumn<ZKTaskState>("state");
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("expected"); // the task's state after, or "cleared"

    QTest::newRow("space suspends") << S::PendingProcessing << int(Qt::Key_Space) << "Suspended";
    QTest::newRow("space resumes") << S::Suspended << int(Qt::Key_Space) << "resumed";
    QTest::newRow("space does not retry") << S::Failed << int(Qt::Key_Space) << "Failed";
    QTest::newRow("space leaves a completed task")
        << S::Completed << int(Qt::Key_Space) << "Completed";
    QTest::newRow("delete clears a completed task")
        << S::Completed << int(Qt::Key_Delete) << "cleared";
    QTest::newRow("delete clears a failed task") << S::Failed << int(Qt::Key_Delete) << "cleared";
    QTest::newRow("delete clears a cancelled task")
        << S::Cancelled << int(Qt::Key_Delete) << "cleared";
    QTest::newRow("delete keeps a waiting task")
        << S::PendingProcessing << int(Qt::Key_Delete) << "PendingProcessing";
    QTest::newRow("delete keeps a suspended task")
        << S::Suspended << int(Qt::Key_Delete) << "Suspended";
}

void TestZKTaskView::keysActOnTheFocusedRow() {
    QFETCH(ZKTaskState, state);
    QFETCH(int, key);
    QFETCH(QString, expected);

    const ZKTaskPtr task = m_document->objectInTasksAtIndex(1);
    ZKTaskView *row = rowFor(task);
    if (task->state() != state) {
        task->setState(state);
    }
    // Space also starts and stops the whole queue, from the window.
    QAction queueShortcut(m_host.get());
    queueShortcut.setShortcut(QKeySequence(Qt::Key_Space));
    m_host->addAction(&queueShortcut);
    QSignalSpy queueToggled(&queueShortcut, &QAction::triggered);
    m_host->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_host.get()));
    row->setFocus();
    QVERIFY(row->hasFocus());

    QTest::keyClick(row, Qt::Key(key));
    m_document->waitForBackgroundWork();
    if (expected == "cleared") {
        QTRY_COMPARE(m_document->indexOfTask(task), -1);
        QCOMPARE(m_document->countOfTasks(), 3);
    } else {
        QCOMPARE(m_document->indexOfTask(task), 1);
        const QString now = ZKTaskStates::convertToString(task->state());
        QVERIFY2(expected == "resumed" ? task->state() != S::Suspended : now == expected,
                 qUtf8Printable("the task is " + now + ", wanted " + expected));
    }
    QCOMPARE(queueToggled.count(), 0);
}

void TestZKTaskView::barReadsItsValue() {
    // The bar's value is the one it shows, stopped or running, and a reader
    // cannot change it. That a stopped bar is one bar to a reader is walked
    // over AT-SPI.
    showRows(1);
    ZKStoppableProgressIndicator *bar = shownRow(0)->progressIndicator();
    QAccessibleInterface *barIface = QAccessible::queryAccessibleInterface(bar);
    QAccessibleValueInterface *value = barIface->valueInterface();
    QVERIFY(value);
    QCOMPARE(barIface->role(), QAccessible::ProgressBar);
    QCOMPARE(value->currentValue().toInt(), bar->maximum() / 4);
    bar->setIsActive(false);
    bar->setDoubleValue(0.75);
    QCOMPARE(value->currentValue().toInt(), bar->maximum() * 3 / 4);
    value->setCurrentValue(0);
    QCOMPARE(value->currentValue().toInt(), bar->maximum() * 3 / 4);
}

void TestZKTaskView::changesGoThroughTheirPanels_data() {
    QTest::addColumn<int>("tag");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("new destination") << int(ZKTaskView::ChangeDestination) << true;
    QTest::newRow("new source") << int(ZKTaskView::ChangeSource) << true;
    QTest::newRow("cancelled") << int(ZKTaskView::ChangeDestination) << false;
}

void TestZKTaskView::changesGoThroughTheirPanels() {
    QFETCH(int, tag);
    QFETCH(bool, accepted);

    const ZKTaskPtr task = m_document->objectInTasksAtIndex(0);
    ZKTaskView *row = rowFor(task);
    QDir(m_dir->path()).mkpath(QStringLiteral("elsewhere"));
    row->validateMenu();
    row->menuItem(tag)->trigger();
    ZKOpenPanel *panel = m_host->findChild<ZKOpenPanel *>();
    QVERIFY2(panel && panel->isVisible(), "no panel opened");
    panel->setDirectory(m_dir->path());
    panel->selectFile(path(tag == ZKTaskView::ChangeSource ? "b" : "elsewhere"));
    accepted ? panel->accept() : panel->reject();
    m_document->waitForBackgroundWork();

    const QString source = task->source()->url().toLocalFile();
    const QString destination = task->destination()->url().toLocalFile();
    QCOMPARE(source, path(accepted && tag == ZKTaskView::ChangeSource ? "b" : "a"));
    QCOMPARE(destination,
             path(accepted && tag == ZKTaskView::ChangeDestination ? "elsewhere" : "out"));
}

void TestZKTaskView::movesGiveTheExpectedOrder_data() {
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("tag");
    QTest::addColumn<QString>("order");

    QTest::newRow("up") << 2 << int(ZKTaskView::MoveUp) << "acbd";
    QTest::newRow("down") << 1 << int(ZKTaskView::MoveDown) << "acbd";
    QTest::newRow("to top") << 2 << int(ZKTaskView::MoveToTop) << "cabd";
    QTest::newRow("to bottom") << 1 << int(ZKTaskView::MoveToBottom) << "acdb";
    QTest::newRow("last one down") << 3 << int(ZKTaskView::MoveDown) << "abcd";
}

void TestZKTaskView::movesGiveTheExpectedOrder() {
    QFETCH(int, row);
    QFETCH(int, tag);
    QFETCH(QString, order);

    ZKTaskView *view = rowFor(m_document->objectInTasksAtIndex(row));
    view->validateMenu();
    view->menuItem(tag)->trigger();
    QString seen;
    for (qsizetype i = 0; i < m_document->countOfTasks(); ++i) {
        seen += m_document->objectInTasksAtIndex(i)->filename();
    }
    QCOMPARE(seen, order);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKTaskView test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskView.moc"
