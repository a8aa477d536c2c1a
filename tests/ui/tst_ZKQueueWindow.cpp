// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKRemoteServerPanel.h"
#include "ZKFtpServers.h"
#include "ZKKeyChain.h"
#include "ZKListView.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKOpenPanel.h"
#include "ZKPreferences.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKSecretService.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskState.h"
#include "ZKTaskView.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

using S = ZKTaskState;
using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

class TestZKQueueWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void droppedFolderRunsToCompletion();
    void conflictIsAskedOverItsWindow_data();
    void conflictIsAskedOverItsWindow();
    void sourcesWithoutDestinationAskForAFolder_data();
    void sourcesWithoutDestinationAskForAFolder();
    void droppedFilesLandWhereDropped();
    void rowsFollowTheQueue_data();
    void rowsFollowTheQueue();
    void spaceStartsAndPauses();
    void taskDraggedToAnotherWindowMovesThere();
    void closingAnEditedQueueAsks_data();
    void closingAnEditedQueueAsks();
    void closingNeitherHangsNorCrashes_data();
    void closingNeitherHangsNorCrashes();
    void closingARunningQueueAsks_data();
    void closingARunningQueueAsks();
    void storedPasswordServesAnEmptyField();

private:
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }
    ZKWriterPtr outFolder() const {
        return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out")));
    }
    ZKQueueWindow *openWindow(bool paused = false);
    static void drop(ZKQueueWindow *window, const QList<QUrl> &urls, const QPoint &at);
    template <typename T> static T *waitForChild(QWidget *window);
    // Calls act with the box when one shows whose text begins with the
    // given words, for questions that come up in the middle of a step.
    static void whenAsked(QWidget *window, std::function<void(QMessageBox *)> act,
                          const QString &beginning = {});

    // Bytes below the destination folder, whatever the files' names.
    qint64 bytesWritten() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QPointer<ZKQueueWindow> m_window;
    ZKSecretService m_secrets;
    bool m_secretsStarted = false;
};

void TestZKQueueWindow::initTestCase() {
    // Before anything talks to the session bus: the private one is it then.
    m_secretsStarted = m_secrets.start();
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());
}

void TestZKQueueWindow::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkdir(QStringLiteral("out"));
    ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Running);
}

void TestZKQueueWindow::cleanup() {
    if (m_window) {
        m_window->setDiscardChanges(true);
        m_window->close();
        QTRY_VERIFY(!m_window);
    }
}

ZKQueueWindow *TestZKQueueWindow::openWindow(bool paused) {
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setDefaultDestination(outFolder());
    if (paused) {
        document->setState(ZKQueueState::Paused);
    }
    m_window = new ZKQueueWindow(std::move(document));
    m_window->show();
    return m_window;
}

void TestZKQueueWindow::drop(ZKQueueWindow *window, const QList<QUrl> &urls, const QPoint &at) {
    QMimeData data;
    data.setUrls(urls);
    QWidget *target = window->listView()->viewport();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent dropEvent(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &dropEvent);
}

template <typename T> T *TestZKQueueWindow::waitForChild(QWidget *window) {
    T *found = nullptr;
    (void)QTest::qWaitFor(
        [&] {
            for (T *child : window->findChildren<T *>()) {
                if (child->isVisible()) {
                    found = child;
                    return true;
                }
            }
            return false;
        },
        10000);
    return found;
}

qint64 TestZKQueueWindow::bytesWritten() const {
    qint64 total = 0;
    QDirIterator files(path("out"), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        total += files.fileInfo().size();
    }
    return total;
}

void TestZKQueueWindow::whenAsked(QWidget *window, std::function<void(QMessageBox *)> act,
                                  const QString &beginning) {
    auto *timer = new QTimer(window);
    QObject::connect(timer, &QTimer::timeout, window, [window, timer, act, beginning] {
        for (QMessageBox *box : window->findChildren<QMessageBox *>()) {
            if (box->isVisible() && box->text().startsWith(beginning)) {
                timer->stop();
                timer->deleteLater();
                act(box);
                return;
            }
        }
    });
    timer->start(50);
}

void TestZKQueueWindow::droppedFolderRunsToCompletion() {
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("folder/inner")));
    QVERIFY(writeFile(path("folder/a"), randomBytes(300000, 1)));
    QVERIFY(writeFile(path("folder/inner/b"), randomBytes(1000, 2)));
    ZKQueueWindow *window = openWindow();

    drop(window, {QUrl::fromLocalFile(path("folder"))}, QPoint(20, 20));
    QCOMPARE(window->document()->countOfTasks(), 1);
    const ZKTaskPtr task = window->document()->objectInTasksAtIndex(0);
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), S::Completed, 20000);
    QCOMPARE(readFile(path("out/folder/a")), readFile(path("folder/a")));
    QCOMPARE(readFile(path("out/folder/inner/b")), readFile(path("folder/inner/b")));

    // What the row and the summary show of it.
    QTRY_VERIFY(task->detail().endsWith(QStringLiteral(" - done")));
    const auto rows = window->listView()->visibleItems();
    QCOMPARE(rows.size(), 1);
    const auto shows = [](QWidget *widget, const auto &wanted) {
        const QList<QLabel *> labels = widget->findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(),
                           [&](QLabel *label) { return wanted(label->text()); });
    };
    QTRY_VERIFY_WITH_TIMEOUT(
        shows(rows.first(), [&](const QString &text) { return text == task->detail(); }), 5000);
    QTRY_VERIFY_WITH_TIMEOUT(shows(window->statusBar(),
                                   [](const QString &text) {
                                       return text.startsWith(QStringLiteral("1 of 1 complete"));
                                   }),
                             5000);
}

void TestZKQueueWindow::conflictIsAskedOverItsWindow_data() {
    QTest::addColumn<QString>("button"); // none: Escape
    QTest::addColumn<bool>("applyToAll");
    QTest::addColumn<bool>("replaced");

    QTest::newRow("replace") << "Replace" << false << true;
    QTest::newRow("skip") << "Skip" << false << false;
    QTest::newRow("replace, apply to all") << "Replace" << true << true;
    QTest::newRow("escape") << QString() << false << false;
}

// The box is opened over its window and answered through its signal: the
// test gets on while it is up, and answers it with the keys and the mouse.
void TestZKQueueWindow::conflictIsAskedOverItsWindow() {
    QFETCH(QString, button);
    QFETCH(bool, applyToAll);
    QFETCH(bool, replaced);

    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("folder")));
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("out/folder")));
    const QByteArray fresh = randomBytes(4000, 3);
    const QByteArray old = randomBytes(3000, 4);
    for (const char *name : {"a", "b"}) {
        QVERIFY(writeFile(path("folder/") + QLatin1String(name), fresh));
        QVERIFY(writeFile(path("out/folder/") + QLatin1String(name), old));
    }
    ZKQueueWindow *window = openWindow();
    ZKQueueWindow *other = new ZKQueueWindow(std::make_unique<ZKFerrowickDocument>());
    other->show();
    drop(window, {QUrl::fromLocalFile(path("folder"))}, QPoint(20, 20));
    const ZKTaskPtr task = window->document()->objectInTasksAtIndex(0);

    const int expected = button.isEmpty() || applyToAll ? 1 : 2;
    for (int asked = 0; asked < expected; ++asked) {
        QMessageBox *box = waitForChild<QMessageBox>(window);
        QVERIFY2(box, "no question was shown over the queue's window");
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(QThread::currentThread()->loopLevel(), 0); // no loop of its own
        QVERIFY2(other->findChildren<QMessageBox *>().isEmpty(),
                 "the question showed over another queue's window");
        QCOMPARE(box->escapeButton()->accessibleName(), QStringLiteral("Cancel"));
        QVERIFY(box->checkBox());
        if (button.isEmpty()) {
            QTest::keyClick(box, Qt::Key_Escape);
        } else {
            if (applyToAll) {
                QTest::keyClick(box->checkBox(), Qt::Key_Space);
            }
            QAbstractButton *chosen = nullptr;
            for (QAbstractButton *b : box->buttons()) {
                chosen = b->accessibleName() == button ? b : chosen;
            }
            QVERIFY(chosen);
            QTest::mouseClick(chosen, Qt::LeftButton);
        }
        QTRY_VERIFY(!box->isVisible());
    }
    // A question more would hold the task where it is.
    QTRY_COMPARE_WITH_TIMEOUT(task->state(), button.isEmpty() ? S::Failed : S::Completed, 20000);
    for (const char *name : {"a", "b"}) {
        QCOMPARE(readFile(path("out/folder/") + QLatin1String(name)), replaced ? fresh : old);
    }
    other->setDiscardChanges(true);
    other->close();
}

void TestZKQueueWindow::sourcesWithoutDestinationAskForAFolder_data() {
    QTest::addColumn<bool>("chooses");

    QTest::newRow("a folder is chosen") << true;
    QTest::newRow("the user declines") << false;
}

void TestZKQueueWindow::sourcesWithoutDestinationAskForAFolder() {
    QFETCH(bool, chooses);

    QVERIFY(writeFile(path("a"), "a"));
    ZKQueueWindow *window = openWindow(true);
    window->document()->setDefaultDestination(nullptr);

    drop(window, {QUrl::fromLocalFile(path("a"))}, QPoint(20, 20));
    auto *panel = waitForChild<ZKOpenPanel>(window);
    QVERIFY2(panel, "no folder was asked for");
    QCOMPARE(window->document()->countOfTasks(), 0);
    if (chooses) {
        panel->setDirectory(m_dir->path());
        panel->selectFile(path("out"));
        panel->accept();
        QTRY_COMPARE(window->document()->countOfTasks(), 1);
        QCOMPARE(window->document()->objectInTasksAtIndex(0)->destination()->url(),
                 QUrl::fromLocalFile(path("out")));
    } else {
        panel->reject();
        QTest::qWait(100);
        QCOMPARE(window->document()->countOfTasks(), 0);
    }
}

// Where in the list a drop lands is the list's to work out; the queue puts
// the files there: here, dropped on the upper half of row 2, before it.
void TestZKQueueWindow::droppedFilesLandWhereDropped() {
    QList<ZKReaderPtr> readers;
    for (const QString name : {"a", "b", "c", "x"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
        readers << ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(name)));
    }
    ZKQueueWindow *window = openWindow(true);
    window->document()->addTasks(readers.mid(0, 3), outFolder(), 0);
    QTRY_COMPARE(window->listView()->visibleItems().size(), 3);
    drop(window, {QUrl::fromLocalFile(path("x"))},
         QPoint(40, int(2.3 * window->listView()->itemHeight())));
    QString seen;
    for (qsizetype i = 0; i < window->document()->countOfTasks(); ++i) {
        seen += window->document()->objectInTasksAtIndex(i)->filename();
    }
    QCOMPARE(seen, QStringLiteral("abxc"));
}

void TestZKQueueWindow::rowsFollowTheQueue_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("order");

    QTest::newRow("sorted by name") << "sort"
                                    << "abcd";
    QTest::newRow("moved to the top") << "move"
                                      << "cdba";
    QTest::newRow("all taken out") << "clear"
                                   << "";
}

void TestZKQueueWindow::rowsFollowTheQueue() {
    QFETCH(QString, change);
    QFETCH(QString, order);

    QList<ZKReaderPtr> readers;
    for (const QString name : {"d", "b", "a", "c"}) {
        QVERIFY(writeFile(path(name), name.toUtf8()));
        readers << ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path(name)));
    }
    ZKQueueWindow *window = openWindow(true);
    ZKFerrowickDocument *document = window->document();
    document->addTasks(readers, outFolder(), 0);
    ZKListView *list = window->listView();
    QTRY_COMPARE(list->visibleItems().size(), 4);
    // Each task's row goes with it, and slides.
    QHash<ZKTask *, ZKListViewItem *> rowOfTask;
    for (qsizetype i = 0; i < 4; ++i) {
        rowOfTask.insert(document->objectInTasksAtIndex(i).get(), list->itemAtIndex(i));
    }
    if (change == "sort") {
        window->action(QStringLiteral("sortByFilename"))->trigger();
    } else if (change == "move") {
        document->moveTaskFromIndex(3, 0);
    } else {
        document->removeTasksAtIndexes({0, 1, 2, 3});
    }
    QTRY_VERIFY_WITH_TIMEOUT(!list->isAnimating(), 5000);

    QString queue;
    QString rows;
    for (qsizetype i = 0; i < document->countOfTasks(); ++i) {
        const ZKTaskPtr task = document->objectInTasksAtIndex(i);
        queue += task->filename();
        auto *row = static_cast<ZKTaskView *>(list->itemAtIndex(i));
        QVERIFY2(row, qUtf8Printable(QStringLiteral("no row shows task %1").arg(i)));
        if (row == rowOfTask.value(task.get()) && row->taskLabel()->text() == task->description() &&
            row->y() == qRound(list->positionForRow(i))) {
            rows += task->filename();
        }
    }
    QCOMPARE(queue, order);
    QCOMPARE(rows, order);
    QCOMPARE(list->visibleItems().size(), order.size());
    bool hinted = false;
    for (QLabel *label : list->viewport()->findChildren<QLabel *>(Qt::FindDirectChildrenOnly)) {
        hinted = hinted || (label->isVisible() && label->text().contains("Drop files"));
    }
    QCOMPARE(hinted, order.isEmpty());
}

void TestZKQueueWindow::spaceStartsAndPauses() {
    ZKQueueWindow *window = openWindow(true);
    QApplication::setActiveWindow(window);
    QVERIFY(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_Space);
    QTRY_COMPARE(window->document()->state(), qint32(ZKQueueState::Running));
    QTest::keyClick(window, Qt::Key_Space);
    QTRY_COMPARE(window->document()->state(), qint32(ZKQueueState::Paused));
}

void TestZKQueueWindow::taskDraggedToAnotherWindowMovesThere() {
    QVERIFY(writeFile(path("a"), "a") && writeFile(path("b"), "b"));
    ZKQueueWindow *from = openWindow(true);
    from->document()->addTasks({ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("a"))),
                                ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("b")))},
                               outFolder(), 0);
    auto to = std::make_unique<ZKFerrowickDocument>();
    to->setState(ZKQueueState::Paused);
    QPointer<ZKQueueWindow> into = new ZKQueueWindow(std::move(to));
    into->show();
    const ZKTaskPtr dragged = from->document()->objectInTasksAtIndex(1);

    // What the first window's row puts on the drag, dropped on the other list.
    ZKMimeDataPasteboard pasteboard;
    from->document()->dragItemFromIndex(1, pasteboard);
    QWidget *target = into->listView()->viewport();
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction | Qt::MoveAction, pasteboard.mimeData(),
                          Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QVERIFY2(enter.isAccepted(), "the other list refused the task");
    QDropEvent dropped(QPointF(10, 10), Qt::CopyAction | Qt::MoveAction, pasteboard.mimeData(),
                       Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &dropped);
    from->document()->draggedItemWasTaken(1, dropped.dropAction());

    QCOMPARE(from->document()->countOfTasks(), 1);
    QCOMPARE(into->document()->countOfTasks(), 1);
    QVERIFY2(into->document()->objectInTasksAtIndex(0) == dragged, "a copy was made of the task");
    QTRY_COMPARE(into->listView()->visibleItems().size(), 1);
    QTRY_COMPARE(from->listView()->visibleItems().size(), 1);
    into->setDiscardChanges(true);
    into->close();
    QTRY_VERIFY(!into);
}

void TestZKQueueWindow::closingAnEditedQueueAsks_data() {
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closes");
    QTest::addColumn<bool>("saved");

    QTest::newRow("save") << int(QMessageBox::Save) << true << true;
    QTest::newRow("don't save") << int(QMessageBox::Discard) << true << false;
    QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << false;
}

void TestZKQueueWindow::closingAnEditedQueueAsks() {
    QFETCH(int, answer);
    QFETCH(bool, closes);
    QFETCH(bool, saved);

    ZKQueueWindow *window = openWindow(true);
    window->document()->setFileName(path("asked.queue"));
    QVERIFY(writeFile(path("a"), randomBytes(1000, 9)));
    drop(window, {QUrl::fromLocalFile(path("a"))}, QPoint(20, 20));
    QTRY_VERIFY(window->isWindowModified());
    QString asked;
    whenAsked(window, [&](QMessageBox *box) {
        asked = box->text();
        box->button(QMessageBox::StandardButton(answer))->click();
    });
    window->close();
    QTRY_VERIFY2(asked.contains(QStringLiteral("\u201casked\u201d")), qUtf8Printable(asked));
    QTRY_COMPARE(!m_window, closes);
    QCOMPARE(QFile::exists(path("asked.queue")), saved);
}

void TestZKQueueWindow::closingNeitherHangsNorCrashes_data() {
    QTest::addColumn<bool>("withQuestion");
    QTest::addColumn<bool>("deleted"); // the window goes without closing

    QTest::newRow("mid copy") << false << false;
    QTest::newRow("a question open") << true << false;
    QTest::newRow("a question open, window deleted") << true << true;
}

void TestZKQueueWindow::closingNeitherHangsNorCrashes() {
    QFETCH(bool, withQuestion);
    QFETCH(bool, deleted);

    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("folder")));
    QVERIFY(writeFile(path("folder/big"), randomBytes(4000000, 6)));
    if (withQuestion) {
        QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("out/folder")));
        QVERIFY(writeFile(path("out/folder/big"), "older"));
    }
    ZKQueueWindow *window = openWindow();
    window->document()->setMaximumTransferRate(2000000);

    window->document()->setFileName(path("closed.queue"));
    // Closing an edited queue asks whether to save it.
    whenAsked(
        window, [](QMessageBox *box) { box->button(QMessageBox::Save)->click(); },
        QStringLiteral("Save the changes"));
    drop(window, {QUrl::fromLocalFile(path("folder"))}, QPoint(20, 20));
    const ZKTaskPtr task = window->document()->objectInTasksAtIndex(0);
    if (withQuestion) {
        // Gone while the question waits for its answer: the question goes
        // with it, answered as cancelled.
        const QPointer<QMessageBox> box = waitForChild<QMessageBox>(window);
        QVERIFY2(box, "no question was shown");
        if (deleted) {
            delete window;
        } else {
            window->close();
        }
        QTRY_VERIFY(!box || !box->isVisible());
    } else {
        QTRY_VERIFY_WITH_TIMEOUT(task->progressBytes() > 0, 10000);
        window->close();
    }
    QTRY_VERIFY_WITH_TIMEOUT(!m_window, 10000);
    const auto running = [&task] {
        const ZKTaskState s = task->state();
        return s == S::Preparing || s == S::Processing || s == S::Verifying || s == S::Removing;
    };
    QTRY_VERIFY2(!running(), "the task's step went on after its window went");
    if (withQuestion) {
        QCOMPARE(readFile(path("out/folder/big")), QByteArray("older"));
        // Stopped before its question was taken back: it rests, to go on
        // when the queue is opened again, instead of failing.
        QCOMPARE(task->state(), S::PendingPreparation);
    }
    if (!deleted) {
        QVERIFY2(QFile::exists(path("closed.queue")), "the queue was not saved on closing");
        // Read, not loaded: loading would resume the copy.
        QVariantMap saved;
        ZKError error;
        QVERIFY2(
            ZKFerrowickDocument::readPropertyListFromFile(path("closed.queue"), &saved, &error),
            qUtf8Printable(error.localizedDescription()));
        QCOMPARE(saved.value(QStringLiteral("Tasks")).toList().size(), 1);
    }
    // Its step has ended: nothing writes any more.
    const qint64 written = bytesWritten();
    QTest::qWait(300);
    QCOMPARE(bytesWritten(), written);
}

void TestZKQueueWindow::closingARunningQueueAsks_data() {
    QTest::addColumn<bool>("edited");
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("closes");

    QTest::newRow("saved queue, stop") << false << "Stop" << true;
    QTest::newRow("saved queue, cancel") << false << "Cancel" << false;
    QTest::newRow("edited queue, don't save") << true << "Don't Save" << true;
}

// A queue that transfers asks before its window goes, also when there is
// nothing to save; once the window has gone, not a byte more is written.
void TestZKQueueWindow::closingARunningQueueAsks() {
    QFETCH(bool, edited);
    QFETCH(QString, button);
    QFETCH(bool, closes);

    QVERIFY(writeFile(path("big"), randomBytes(4000000, 10)));
    const QString queueFile = path("running.queue");
    {
        ZKFerrowickDocument saved;
        saved.setState(ZKQueueState::Paused);
        saved.speedLimit().setMaximumTransferRate(1000000);
        saved.speedLimit().setEnabled(true);
        saved.addTasks({ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("big")))},
                       outFolder(), 0);
        QVariantMap plist = saved.asPropertyList();
        plist[QStringLiteral("State")] = QStringLiteral("Running");
        QVERIFY(writeFile(queueFile, ZKPropertyListSerialization::dataFromPropertyList(plist)));
    }
    auto document = std::make_unique<ZKFerrowickDocument>();
    ZKError error;
    QVERIFY2(document->readFromFile(queueFile, &error),
             qUtf8Printable(error.localizedDescription()));
    ZKQueueWindow *window = m_window = new ZKQueueWindow(std::move(document));
    window->show();
    QApplication::setActiveWindow(window);
    QVERIFY(QTest::qWaitForWindowActive(window));
    const ZKTaskPtr task = window->document()->objectInTasksAtIndex(0);
    QTRY_VERIFY_WITH_TIMEOUT(task->progressBytes() > 0, 10000);
    if (edited) {
        window->document()->setDefaultTransferMode(ZKTransferMode::Move);
    }
    QTRY_COMPARE(window->isWindowModified(), edited);

    QString asked;
    whenAsked(window, [&](QMessageBox *box) {
        asked = box->text();
        for (QAbstractButton *b : box->buttons()) {
            if (b->text().remove(QLatin1Char('&')) == button) {
                b->click();
            }
        }
    });
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
    QTRY_VERIFY2(!asked.isEmpty(), "closing a running queue did not ask");
    QVERIFY2(asked.contains(QStringLiteral("\u201crunning\u201d")), qUtf8Printable(asked));
    if (!closes) {
        const qint64 before = bytesWritten();
        QTRY_VERIFY2(bytesWritten() > before, "cancelling the close stopped the transfer");
        QVERIFY(m_window);
        return;
    }
    QTRY_VERIFY(!m_window);
    const qint64 written = bytesWritten();
    QTest::qWait(500);
    QCOMPARE(bytesWritten(), written);
    // Where it stopped is in the file, so that it goes on from there.
    QVariantMap plist;
    QVERIFY(ZKFerrowickDocument::readPropertyListFromFile(queueFile, &plist));
    const QVariantMap saved = plist.value(QStringLiteral("Tasks")).toList().value(0).toMap();
    QVERIFY2(saved.value(QStringLiteral("ProgressBytes")).toLongLong() > 0,
             qUtf8Printable(saved.value(QStringLiteral("State")).toString()));
    QCOMPARE(plist.value(QStringLiteral("DefaultTransferMode")).toString(), QStringLiteral("Copy"));
}

// An empty password field takes the password the store keeps for the server
// and user: the second task logs in with it, and saving the queue keeps it.
// The first task shows that an address typed into the panel downloads.
void TestZKQueueWindow::storedPasswordServesAnEmptyField() {
    ZK_REQUIRE_STARTED(m_secretsStarted, m_secrets.errorString());
    ZKFtpServers server(ZKFtpServers::PureFtpd);
    ZK_REQUIRE_STARTED(server.start(), server.errorString());
    QHash<QString, QByteArray> contents;
    for (const QString name : {"a.bin", "b.bin", "c.bin"}) {
        contents[name] = randomBytes(100000, quint32(name[0].unicode()));
        QVERIFY(writeFile(QDir(server.root()).filePath(name), contents[name]));
    }
    server.handOver(server.root());
    ZKQueueWindow *window = openWindow();
    const QString host = server.url({}).host();

    const auto addFtp = [&](const QString &name, const QString &password) {
        window->addFtp();
        auto *panel = waitForChild<ZKRemoteServerPanel>(window);
        QVERIFY2(panel, "the FTP panel did not open");
        QUrl address = server.url(QLatin1Char('/') + name);
        address.setUserName({});
        QTest::keyClicks(panel->findChild<QComboBox *>()->lineEdit(), address.toString());
        for (QLineEdit *field : panel->findChildren<QLineEdit *>()) {
            if (field->accessibleName() == QStringLiteral("User name")) {
                QTest::keyClicks(field, server.username());
            } else if (field->accessibleName() == QStringLiteral("Password")) {
                QTest::keyClicks(field, password);
            }
        }
        QTest::keyClick(panel->findChild<QComboBox *>()->lineEdit(), Qt::Key_Return);
        QTRY_VERIFY(!panel->isVisible());
    };
    const auto finished = [&](qsizetype index) {
        const ZKTaskPtr task = window->document()->objectInTasksAtIndex(index);
        return task && task->state() == S::Completed;
    };

    addFtp(QStringLiteral("a.bin"), server.password());
    QTRY_VERIFY_WITH_TIMEOUT(finished(0), 30000);
    const QString queueFile = path("ftp.queue");
    QVERIFY(window->saveToFile(queueFile));
    QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, server.username()), server.password());
    // The address is remembered with its account.
    const QString recent = ZKUserDefaults::standard()
                               .objectForKey(QStringLiteral("recentFtp"))
                               .toStringList()
                               .value(0);
    QVERIFY2(QUrl(recent).userName() == server.username(), qUtf8Printable(recent));

    addFtp(QStringLiteral("b.bin"), QString());
    QTRY_VERIFY_WITH_TIMEOUT(finished(1), 30000);
    QCOMPARE(readFile(path("out/b.bin")), contents["b.bin"]);

    // Left for the terminal to run from the saved queue.
    window->document()->setState(ZKQueueState::Paused);
    addFtp(QStringLiteral("c.bin"), QString());
    QTRY_COMPARE_WITH_TIMEOUT(window->document()->objectInTasksAtIndex(2)->state(),
                              S::PendingProcessing, 30000);
    QVERIFY(window->saveToFile(queueFile));
    QCOMPARE(ZKKeyChain::retrieveFtpPassword(host, server.username()), server.password());
    window->setDiscardChanges(true);
    window->close();
    QTRY_VERIFY(!m_window);

    QProcess cli;
    cli.start(QStringLiteral(FERROWICK_CLI), {QStringLiteral("run"), queueFile});
    QVERIFY(cli.waitForFinished(60000));
    QVERIFY2(cli.exitCode() == 0, cli.readAllStandardError().constData());
    QCOMPARE(readFile(path("out/c.bin")), contents["c.bin"]);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKQueueWindow test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKQueueWindow.moc"
