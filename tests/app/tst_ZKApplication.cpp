// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"
#include "ZKApplicationService.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemWriter.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKProgressDockTile.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQuestionPresenter.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"
#include "ZKRunningApplication.h"
#include "ZKSessionBus.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

// The application as a user and a script meet it: queues opened, named and
// routed, the aggregate progress, and the session bus.
class TestZKApplication : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void queueFilesOpenOnceEach();
    void untitledQueuesAreNumbered();
    void dockFollowsRunningQueues();
    void terminalQueueOpensWithItsProgress();
    void finishedQueueAsksForAttentionWithoutNotifications();
    void secondProcessHandsItsItemsOver();
    void handedItemsAreCopiedOrMovedAsAsked_data();
    void handedItemsAreCopiedOrMovedAsAsked();
    void scriptsDriveAQueue();
    void badScriptCallsGetClearErrors_data();
    void badScriptCallsGetClearErrors();
    void sourcesAreQueuedOncePerDestination();
    void killedWindowKeepsItsFinishedMoves();
    void killedUntitledQueueComesBack();
    void quittingAsksEachQueueInTurn_data();
    void quittingAsksEachQueueInTurn();

private:
    QString path(const QString &name) const { return m_app.path(name); }
    // A second ferrowick as a user starts it beside the running one: in the
    // test's folder, on the test's bus, with the test's settings.
    void prepareSecondProcess(QProcess &second) const;
    QString savedQueue(const QString &name, qint32 state = ZKQueueState::Paused);
    // gdbus, as a script would run it, with the event loop kept turning so
    // that this process can answer.
    bool runGdbus(const QStringList &arguments, QString *output, QString *error,
                  const QString &bus = {});
    // The window program on a bus of its own, keeping its state where this
    // process's test mode looks for it.
    QProcessEnvironment programEnvironment();
    qint64 bytesBelow(const QString &folder) const;

    ZKSessionBus m_programBus;

    ZKRunningApplication m_app;
};

void TestZKApplication::initTestCase() {
    QVERIFY2(m_app.startBus(), qUtf8Printable(m_app.busError()));
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());
}

void TestZKApplication::init() {
    QVERIFY(m_app.launch());
}

void TestZKApplication::cleanup() {
    QVERIFY2(m_app.quit(), "a queue outlived its window");
}

QString TestZKApplication::savedQueue(const QString &name, qint32 state) {
    ZKFerrowickDocument document;
    document.setState(state);
    document.setDefaultDestination(
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out"))));
    const QString file = path(name + QStringLiteral(".queue"));
    ZKError error;
    if (!document.saveToFile(file, &error)) {
        qWarning() << error.localizedDescription();
    }
    return file;
}

QProcessEnvironment TestZKApplication::programEnvironment() {
    if (m_programBus.address().isEmpty()) {
        const QByteArray ours = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        if (!m_programBus.start()) {
            qWarning() << m_programBus.errorString();
        }
        qputenv("DBUS_SESSION_BUS_ADDRESS", ours); // the tests' own stays this process's
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_programBus.address());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path("config"));
    environment.insert(QStringLiteral("XDG_STATE_HOME"),
                       QDir::home().filePath(QStringLiteral(".qttest/state")));
    return environment;
}

qint64 TestZKApplication::bytesBelow(const QString &folder) const {
    qint64 total = 0;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        total += files.fileInfo().size();
    }
    return total;
}

void TestZKApplication::prepareSecondProcess(QProcess &second) const {
    second.setWorkingDirectory(m_app.folder());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_app.busAddress());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path("config"));
    second.setProcessEnvironment(environment);
}

bool TestZKApplication::runGdbus(const QStringList &arguments, QString *output, QString *error,
                                 const QString &bus) {
    return ZKTestSupport::runServing(QStringLiteral("gdbus"),
                                     m_app.gdbusCall(arguments.first(), bus) + arguments.mid(1),
                                     output, error);
}
void TestZKApplication::queueFilesOpenOnceEach() {
    ZKDocumentController &controller = m_app.documents();
    const QString first = savedQueue(QStringLiteral("first"));
    const QString second = savedQueue(QStringLiteral("second"));
    QVERIFY(m_app.delegate().openFiles({first, second}));
    QCOMPARE(controller.windows().size(), 2);
    const QList<ZKFerrowickDocument *> opened = controller.documents();
    for (ZKFerrowickDocument *document : opened) {
        QTRY_VERIFY2(!document->isEdited(), "a queue just opened shows as edited");
    }

    // Opened again, through another spelling of its path: the same window.
    ZKQueueWindow *again = controller.openDocument(path("out/../first.queue"));
    QVERIFY(again);
    QCOMPARE(again->document()->displayName(), QStringLiteral("first"));
    QCOMPARE(controller.windows().size(), 2);

    QVERIFY(writeFile(path("broken.queue"), "<?xml version=\"1.0\"?><plist><dict>"));
    ZKError error;
    QVERIFY2(!controller.openDocument(path("broken.queue"), &error), "a broken file opened");
    QVERIFY2(error.localizedDescription().contains(QStringLiteral("broken.queue")),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(controller.windows().size(), 2);
}

void TestZKApplication::untitledQueuesAreNumbered() {
    ZKDocumentController &controller = m_app.documents();
    ZKQueueWindow *first = controller.newDocument();
    ZKQueueWindow *second = controller.newDocument();
    QCOMPARE(first->document()->displayName(), QStringLiteral("Untitled"));
    QCOMPARE(second->document()->displayName(), QStringLiteral("Untitled 2"));
    QCOMPARE(second->windowTitle(), QStringLiteral("Untitled 2[*]"));
    QVERIFY(!second->isWindowModified());

    QVERIFY(writeFile(path("a"), randomBytes(100, 1)));
    const ZKTaskPtr task =
        second->document()
            ->addTasks({ZKReaderFactory::readerWithPath(path("a"))},
                       ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out"))), 0)
            .first();
    QTRY_VERIFY2(second->isWindowModified(), "adding a task did not mark the window edited");
    QTRY_COMPARE(task->state(), ZKTaskState::PendingProcessing); // analysed; the queue is paused
    QVERIFY(second->saveToFile(path("named.queue")));
    QTRY_VERIFY2(!second->isWindowModified(), "saving left the window edited");
    QCOMPARE(second->windowTitle(), QStringLiteral("named[*]"));
}

void TestZKApplication::dockFollowsRunningQueues() {
    ZKDocumentController &controller = m_app.documents();
    ZKFerrowickDocument *a = controller.newDocument()->document();
    ZKFerrowickDocument *b = controller.newDocument()->document();
    ZKProgressTracker &tracker = m_app.delegate().progressTracker();
    ZKProgressDockTile &tile = m_app.delegate().dockTile();
    auto report = [](ZKFerrowickDocument *document, qint32 state, quint64 bytes, quint64 total) {
        ZKQueueFigures figures;
        figures.state = state;
        figures.progressBytes = bytes;
        figures.totalBytes = total;
        Q_EMIT document->figuresChanged(figures);
    };

    report(a, ZKQueueState::Running, 100, 400);
    report(b, ZKQueueState::Running, 300, 400);
    QCOMPARE(tracker.progress(), 0.5);
    QVERIFY(tile.showProgress());
    QCOMPARE(tile.progress(), 0.5);

    // A paused queue leaves the aggregate.
    report(b, ZKQueueState::Paused, 300, 400);
    QCOMPARE(tracker.progress(), 0.25);
    QVERIFY(!tracker.items().contains(b));

    // A finished queue shows no bar.
    report(a, ZKQueueState::Running, 400, 400);
    QVERIFY(!tile.showProgress());

    // A closed queue drops out.
    report(a, ZKQueueState::Running, 200, 400);
    QVERIFY(tile.showProgress());
    controller.windowForDocument(a)->setDiscardChanges(true);
    controller.windowForDocument(a)->close();
    QTRY_VERIFY(!tracker.items().contains(a));
    QVERIFY(!tile.showProgress());
}

// The way back, a window's queue run to its end in the terminal, is
// killedWindowKeepsItsFinishedMoves.
void TestZKApplication::terminalQueueOpensWithItsProgress() {
    const QByteArray first = randomBytes(300000, 5);
    QVERIFY(writeFile(path("first"), first));
    QProcess cli;
    cli.start(QStringLiteral(FERROWICK_CLI), {QStringLiteral("copy"), path("first"), path("out"),
                                              QStringLiteral("--save"), path("terminal.queue")});
    QVERIFY(cli.waitForFinished(30000));
    QVERIFY2(cli.exitCode() == 0, cli.readAllStandardError().constData());
    ZKQueueWindow *window = m_app.documents().openDocument(path("terminal.queue"));
    QVERIFY(window);
    QCOMPARE(window->document()->countOfTasks(), 1);
    const ZKTaskPtr copied = window->document()->objectInTasksAtIndex(0);
    QCOMPARE(copied->state(), ZKTaskState::Completed);
    QCOMPARE(copied->progressBytes(), quint64(first.size()));
    QCOMPARE(readFile(path("out/first")), first);
}

void TestZKApplication::finishedQueueAsksForAttentionWithoutNotifications() {
    // The private bus has no notification service: the window is alerted.
    QObject *alerted = nullptr;
    ZKNotificationManager::setAttentionRequest([&](QObject *origin) { alerted = origin; });
    ZKQueueWindow *window = m_app.documents().newDocument();
    ZKNotificationManager::QueueNotice notice;
    notice.name = window->document()->displayName();
    notice.origin = window->document();
    ZKNotificationManager::notifyQueueCompleted(notice);
    QTRY_COMPARE(alerted, window->document());
}

void TestZKApplication::secondProcessHandsItsItemsOver() {
    ZKDocumentController &controller = m_app.documents();
    ZKQueueWindow *main = controller.openDocument(savedQueue(QStringLiteral("main")));
    QVERIFY(main);
    QVERIFY(writeFile(path("plain.iso"), randomBytes(1000, 3)));
    savedQueue(QStringLiteral("other"));
    const QString ftp = QStringLiteral("ftp://user@127.0.0.1:2121/dir/");

    QProcess second;
    prepareSecondProcess(second);
    // Paths relative to the second process's folder, and an address. Given
    // among other files, a queue file is a source like them, not opened.
    second.start(QStringLiteral(FERROWICK_APP),
                 {QStringLiteral("other.queue"), QStringLiteral("plain.iso"), ftp});
    QTRY_VERIFY_WITH_TIMEOUT(second.state() == QProcess::NotRunning, 10000);
    QVERIFY2(second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0,
             qUtf8Printable(QString::fromLocal8Bit(second.readAllStandardError())));

    QTRY_COMPARE(main->document()->countOfTasks(), 3);
    QCOMPARE(main->document()->objectInTasksAtIndex(0)->source()->url(),
             QUrl::fromLocalFile(path("other.queue")));
    QCOMPARE(main->document()->objectInTasksAtIndex(1)->source()->url(),
             QUrl::fromLocalFile(path("plain.iso")));
    QCOMPARE(main->document()->objectInTasksAtIndex(2)->source()->url().scheme(),
             QStringLiteral("ftp"));
    QCOMPARE(controller.windows().size(), 1);
}

void TestZKApplication::handedItemsAreCopiedOrMovedAsAsked_data() {
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<qint32>("queueMode");
    QTest::addColumn<qint32>("expectedMode"); // of the local file; -1: refused

    QTest::newRow("as the queue says")
        << QStringList{} << qint32(ZKTransferMode::Move) << qint32(ZKTransferMode::Move);
    QTest::newRow("--copy into a moving queue")
        << QStringList{QStringLiteral("--copy")} << qint32(ZKTransferMode::Move)
        << qint32(ZKTransferMode::Copy);
    QTest::newRow("--move into a copying queue")
        << QStringList{QStringLiteral("--move")} << qint32(ZKTransferMode::Copy)
        << qint32(ZKTransferMode::Move);
    QTest::newRow("--copy and --move")
        << QStringList{QStringLiteral("--copy"), QStringLiteral("--move")}
        << qint32(ZKTransferMode::Copy) << qint32(-1);
}

// What a file manager's "Copy with Ferrowick" and "Move with Ferrowick" run:
// the mode travels with the items to the running Ferrowick, and a download
// stays a copy.
void TestZKApplication::handedItemsAreCopiedOrMovedAsAsked() {
    QFETCH(QStringList, options);
    QFETCH(qint32, queueMode);
    QFETCH(qint32, expectedMode);

    ZKQueueWindow *main = m_app.documents().openDocument(savedQueue(QStringLiteral("main")));
    QVERIFY(main);
    main->document()->setDefaultTransferMode(queueMode);
    const QString file = QStringLiteral("\u00e9t\u00e9 photos.iso");
    QVERIFY(writeFile(path(file), randomBytes(1000, 5)));
    const QString web = QStringLiteral("http://127.0.0.1:9/image.iso");

    QProcess second;
    prepareSecondProcess(second);
    second.start(QStringLiteral(FERROWICK_APP), options + QStringList{path(file), web});
    QTRY_VERIFY_WITH_TIMEOUT(second.state() == QProcess::NotRunning, 10000);
    const QString errors = QString::fromLocal8Bit(second.readAllStandardError());

    if (expectedMode < 0) {
        QCOMPARE(second.exitCode(), 1);
        QVERIFY2(errors.contains(QStringLiteral("exclude each other")), qUtf8Printable(errors));
        QCOMPARE(main->document()->countOfTasks(), 0);
        return;
    }
    QVERIFY2(second.exitStatus() == QProcess::NormalExit && second.exitCode() == 0,
             qUtf8Printable(errors));
    QTRY_COMPARE(main->document()->countOfTasks(), 2);
    const ZKTaskPtr local = main->document()->objectInTasksAtIndex(0);
    QCOMPARE(local->source()->url(), QUrl::fromLocalFile(path(file)));
    QCOMPARE(local->transferMode(), expectedMode);
    QCOMPARE(main->document()->objectInTasksAtIndex(1)->transferMode(),
             qint32(ZKTransferMode::Copy));
    // The queue's own choice for what comes later is left alone.
    QCOMPARE(main->document()->defaultTransferMode(), queueMode);
}

void TestZKApplication::scriptsDriveAQueue() {
    QVERIFY(QDir(m_app.folder()).mkpath(QStringLiteral("folder/inner")));
    const QByteArray content = randomBytes(200000, 4);
    QVERIFY(writeFile(path("folder/inner/data"), content));
    ZKQueueWindow *window = m_app.documents().newDocument();
    const quint32 id = m_app.documents().identifierOfDocument(window->document());

    QProcess monitor;
    monitor.start(QStringLiteral("gdbus"),
                  {QStringLiteral("monitor"), QStringLiteral("--address"), m_app.busAddress(),
                   QStringLiteral("--dest"), ZKApplicationService::serviceName});
    QVERIFY(monitor.waitForStarted(5000));
    QTest::qWait(300); // its subscription is in place

    QString output, error;
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.ListQueues")}, &output, &error),
        qUtf8Printable(error));
    QVERIFY2(output.contains(QStringLiteral("'Untitled'")), qUtf8Printable(output));
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.AddSources"), QString::number(id),
                  QStringLiteral("['%1']").arg(path("folder")), path("out")},
                 &output, &error),
        qUtf8Printable(error));
    QCOMPARE(output, QStringLiteral("(uint32 1,)"));
    QVERIFY2(runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.Start"), QString::number(id)},
                      &output, &error),
             qUtf8Printable(error));

    QByteArray heard;
    QTRY_VERIFY2_WITH_TIMEOUT((heard += monitor.readAllStandardOutput()).contains("QueueCompleted"),
                              heard.constData(), 20000);
    QCOMPARE(readFile(path("out/folder/inner/data")), content);
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.GetProgress"), QString::number(id)},
                 &output, &error),
        qUtf8Printable(error));
    QCOMPARE(output, QStringLiteral("(uint64 200000, uint64 200000, 'Running', true)"));
    // The figures and the row the window shows, as a script reads them.
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.GetStatus"), QString::number(id)},
                 &output, &error),
        qUtf8Printable(error));
    for (const char *entry : {"'files-done': <uint64 1>", "'tasks-completed': <int64 1>",
                              "'rate': <0.0>", "'summary': <'1 of 1 complete'>"}) {
        QVERIFY2(output.contains(QLatin1String(entry)), qUtf8Printable(output));
    }
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.GetTasks"), QString::number(id)},
                 &output, &error),
        qUtf8Printable(error));
    for (const char *entry : {"'title': <'Copied \"folder\" to \"out\"'>", "'state': <'Completed'>",
                              "'detail': <'195.3 KB of 195.3 KB - done'>"}) {
        QVERIFY2(output.contains(QLatin1String(entry)), qUtf8Printable(output));
    }
    monitor.kill();
    monitor.waitForFinished(3000);
}

void TestZKApplication::badScriptCallsGetClearErrors_data() {
    QTest::addColumn<QStringList>("call");
    QTest::addColumn<QString>("message");

    const QString queue = QStringLiteral("com.velmarind.Ferrowick.Queue.");
    QTest::newRow("no such queue") << QStringList{queue + QStringLiteral("Start"), "999"}
                                   << QStringLiteral("No queue numbered 999 is open");
    QTest::newRow("missing source")
        << QStringList{queue + QStringLiteral("AddSources"), "@ID@", "['/no/such/file']", "@OUT@"}
        << QStringLiteral("There is no file or folder");
    QTest::newRow("no sources") << QStringList{queue + QStringLiteral("AddSources"), "@ID@",
                                               "@as []", "@OUT@"}
                                << QStringLiteral("No sources were given");
    QTest::newRow("no destination")
        << QStringList{queue + QStringLiteral("AddSources"), "@ID@", "['@OUT@']", "''"}
        << QStringLiteral("No destination folder was given");
    QTest::newRow("wrong argument type")
        << QStringList{queue + QStringLiteral("Start"), "'text'"} << QStringLiteral("Error");
    QTest::newRow("unknown action")
        << QStringList{QStringLiteral("org.freedesktop.Application.ActivateAction"), "'explode'",
                       "[]", "{}"}
        << QStringLiteral("There is no action");
    QTest::newRow("unknown transfer mode")
        << QStringList{QStringLiteral("org.freedesktop.Application.Open"), "['@OUT@']",
                       "{'transfer-mode': <'shred'>}"}
        << QStringLiteral("must be \u201ccopy\u201d or \u201cmove\u201d");
}

void TestZKApplication::badScriptCallsGetClearErrors() {
    QFETCH(QStringList, call);
    QFETCH(QString, message);

    ZKQueueWindow *window = m_app.documents().newDocument();
    const QString id = QString::number(m_app.documents().identifierOfDocument(window->document()));
    for (QString &argument : call) {
        argument.replace(QStringLiteral("@ID@"), id).replace(QStringLiteral("@OUT@"), path("out"));
    }
    QString output, error;
    QVERIFY2(!runGdbus(call, &output, &error), "a bad call was accepted");
    QVERIFY2(error.contains(message), qUtf8Printable(error));
    // Still serving, and the queue as it was.
    QVERIFY2(
        runGdbus({QStringLiteral("com.velmarind.Ferrowick.Queue.ListQueues")}, &output, &error),
        qUtf8Printable(error));
    QCOMPARE(window->document()->countOfTasks(), 0);
}

// A script that adds the same source again, a window that gets the same file
// dropped twice: one task, and a refusal that names the queue holding it.
void TestZKApplication::sourcesAreQueuedOncePerDestination() {
    QVERIFY(writeFile(path("a"), "a") && writeFile(path("b"), "b"));
    ZKDocumentController &controller = m_app.documents();
    ZKQueueWindow *first = controller.newDocument();
    ZKQueueWindow *second = controller.newDocument();
    const QString firstId = QString::number(controller.identifierOfDocument(first->document()));
    const QString secondId = QString::number(controller.identifierOfDocument(second->document()));
    const QString queue = QStringLiteral("com.velmarind.Ferrowick.Queue.AddSources");
    const QString sources = QStringLiteral("['%1']").arg(path("a"));
    const QString refusal =
        QStringLiteral("com.velmarind.Ferrowick.Error.AlreadyQueued: \u201ca\u201d is already "
                       "queued for this destination in \u201c%1\u201d.")
            .arg(first->document()->displayName());

    QString output, error;
    for (int call = 0; call < 4; ++call) {
        const bool added =
            runGdbus({queue, call < 3 ? firstId : secondId, sources, path("out")}, &output, &error);
        QVERIFY2(added == (call == 0), qUtf8Printable(output + error));
        QVERIFY2(call == 0 || error.contains(refusal), qUtf8Printable(error));
    }
    QVERIFY(!runGdbus({queue, secondId, QStringLiteral("['%1', '%1']").arg(path("b")), path("out")},
                      &output, &error));
    QVERIFY2(error.contains(QStringLiteral("\u201cb\u201d is given more than once")),
             qUtf8Printable(error));
    QCOMPARE(first->document()->countOfTasks(), 1);
    QCOMPARE(second->document()->countOfTasks(), 0);

    // Dropped on the window: the new file is added, the queued one is told
    // of over the rows.
    second->document()->setDefaultDestination(
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out"))));
    QMimeData drop;
    drop.setUrls({QUrl::fromLocalFile(path("a")), QUrl::fromLocalFile(path("b"))});
    for (int time = 0; time < 2; ++time) {
        QVERIFY(second->addSourcesFromMimeData(drop, 0));
    }
    QCOMPARE(second->document()->countOfTasks(), 1);
    QCOMPARE(first->document()->countOfTasks(), 1);
    QVERIFY(second->noticeBar()->isVisibleTo(second));
    const QString notice = second->noticeBar()->accessibleDescription();
    QVERIFY2(notice.startsWith(QStringLiteral("2 items were not added:")) &&
                 notice.contains(QStringLiteral("\u201cb\u201d is already queued for this "
                                                "destination in \u201c%1\u201d.")
                                     .arg(second->document()->displayName())),
             qUtf8Printable(notice));
}

// Killed in the middle of a queue of moves, the window leaves its file
// saying which moves are done; the terminal finishes the rest, and every
// file is at one place or the other, whole.
void TestZKApplication::killedWindowKeepsItsFinishedMoves() {
    const int count = 6;
    QList<QByteArray> contents;
    QList<ZKReaderPtr> sources;
    for (int i = 0; i < count; ++i) {
        contents << randomBytes(1000000, 20 + i);
        QVERIFY(writeFile(path(QStringLiteral("move%1").arg(i)), contents.last()));
        sources << ZKReaderFactory::readerWithPath(path(QStringLiteral("move%1").arg(i)));
    }
    const QString queueFile = path("moves.queue");
    {
        ZKFerrowickDocument queue; // paused: it moves nothing itself
        queue.setDefaultTransferMode(ZKTransferMode::Move);
        queue.speedLimit().setMaximumTransferRate(1000000);
        queue.speedLimit().setEnabled(true);
        queue.addTasks(
            sources, ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("out"))), 0);
        QVariantMap plist = queue.asPropertyList();
        plist[QStringLiteral("State")] = QStringLiteral("Running");
        QVERIFY(writeFile(queueFile, ZKPropertyListSerialization::dataFromPropertyList(plist)));
    }
    const auto savedStates = [&] {
        QVariantMap plist;
        ZKFerrowickDocument::readPropertyListFromFile(queueFile, &plist);
        QVariantList tasks = plist.value(QStringLiteral("Tasks")).toList();
        QStringList states;
        for (const QVariant &task : std::as_const(tasks)) {
            states << task.toMap().value(QStringLiteral("State")).toString();
        }
        return std::pair{states, plist};
    };

    QProcess window;
    window.setProcessEnvironment(programEnvironment());
    window.start(QStringLiteral(FERROWICK_APP), {queueFile});
    QTRY_VERIFY_WITH_TIMEOUT(savedStates().first.contains(QStringLiteral("Completed")), 20000);
    window.kill();
    QVERIFY(window.waitForFinished(5000));
    const auto [states, plist] = savedStates();
    QVERIFY2(states.count(QStringLiteral("Completed")) < count,
             "the window finished before it was killed");

    // Reopened, the moves that were done are done, not failed for want of
    // their sources.
    QVariantList done;
    for (const QVariant &task : plist.value(QStringLiteral("Tasks")).toList()) {
        if (task.toMap().value(QStringLiteral("State")) == QStringLiteral("Completed")) {
            done << task;
        }
    }
    QVariantMap finished = plist;
    finished[QStringLiteral("Tasks")] = done;
    {
        ZKFerrowickDocument reopened;
        QVERIFY(reopened.readFromPropertyList(finished));
        QTest::qWait(200);
        QCOMPARE(reopened.countOfTasks(), done.size());
        for (qsizetype i = 0; i < done.size(); ++i) {
            QCOMPARE(reopened.objectInTasksAtIndex(i)->state(), ZKTaskState::Completed);
        }
    }

    QProcess cli;
    cli.start(QStringLiteral(FERROWICK_CLI), {QStringLiteral("run"), queueFile});
    QVERIFY(cli.waitForFinished(60000));
    QVERIFY2(cli.exitCode() == 0, cli.readAllStandardError().constData());
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("move%1").arg(i);
        const bool inPlace = QFile::exists(path(name)) && readFile(path(name)) == contents[i];
        const bool moved = readFile(path(QStringLiteral("out/") + name)) == contents[i];
        QVERIFY2(inPlace || moved, qUtf8Printable(name + QStringLiteral(" is lost")));
    }
}

// An untitled queue whose program was killed comes back on the next start,
// saying so.
void TestZKApplication::killedUntitledQueueComesBack() {
    QVERIFY(writeFile(path("a"), randomBytes(1000, 30)) && writeFile(path("b"), "b"));
    const QDir recovery(ZKDocumentController::recoveryFolder());
    const auto kept = [&] {
        return recovery.entryList({QStringLiteral("*.queue")}, QDir::Files);
    };
    QVERIFY2(kept().isEmpty(), qUtf8Printable(kept().join(QLatin1Char(' '))));

    QProcess window;
    const QProcessEnvironment environment = programEnvironment();
    window.setProcessEnvironment(environment);
    window.start(QStringLiteral(FERROWICK_APP));
    const QString bus = environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    const QString queue = QStringLiteral("com.velmarind.Ferrowick.Queue.");
    QString output, error;
    QTRY_VERIFY_WITH_TIMEOUT(
        runGdbus({queue + QStringLiteral("Pause"), QStringLiteral("1")}, &output, &error, bus),
        10000);
    QVERIFY2(runGdbus({queue + QStringLiteral("AddSources"), QStringLiteral("1"),
                       QStringLiteral("['%1', '%2']").arg(path("a"), path("b")), path("out")},
                      &output, &error, bus),
             qUtf8Printable(error));
    QTRY_COMPARE(kept().size(), 1);
    window.kill();
    QVERIFY(window.waitForFinished(5000));

    ZKDocumentController &controller = m_app.documents();
    QCOMPARE(controller.reopenRecoveredDocuments(), 1);
    ZKQueueWindow *recovered = controller.windows().value(0);
    QVERIFY(recovered);
    QCOMPARE(recovered->document()->countOfTasks(), 2);
    QVERIFY(recovered->document()->fileName().isEmpty());
    QVERIFY2(recovered->noticeBar()->isVisibleTo(recovered), "no notice says what happened");
    QVERIFY2(recovered->noticeBar()->accessibleDescription().contains(QStringLiteral("recovered")),
             qUtf8Printable(recovered->noticeBar()->accessibleDescription()));
    QTRY_VERIFY2(recovered->isWindowModified(), "a recovered queue shows as saved");
    // Closed as the user chose, it is not recovered again.
    recovered->setDiscardChanges(true);
    recovered->close();
    QTRY_VERIFY(kept().isEmpty());
}

void TestZKApplication::quittingAsksEachQueueInTurn_data() {
    QTest::addColumn<QString>("secondAnswer");
    QTest::addColumn<bool>("secondCloses");

    QTest::newRow("don't save both") << "Don't Save" << true;
    QTest::newRow("cancel the second") << "Cancel" << false;
}

// Quitting with two queues at work asks about each in turn; the first one
// stops and goes before the second is asked about.
void TestZKApplication::quittingAsksEachQueueInTurn() {
    QFETCH(QString, secondAnswer);
    QFETCH(bool, secondCloses);

    ZKDocumentController &controller = m_app.documents();
    QList<QPointer<ZKQueueWindow>> windows;
    QHash<ZKQueueWindow *, QString> folders;
    for (const QString name : {"first", "second"}) {
        QVERIFY(writeFile(path(name), randomBytes(4000000, name.size())));
        QVERIFY(QDir(m_app.folder()).mkpath(name + QStringLiteral("-out")));
        ZKQueueWindow *window = controller.newDocument();
        ZKFerrowickDocument *document = window->document();
        document->speedLimit().setMaximumTransferRate(1000000);
        document->speedLimit().setEnabled(true);
        document->addTasks({ZKReaderFactory::readerWithPath(path(name))},
                           ZKFileSystemWriter::writerWithDirectory(
                               QUrl::fromLocalFile(path(name + QStringLiteral("-out")))),
                           0);
        document->setState(ZKQueueState::Running);
        folders.insert(window, path(name + QStringLiteral("-out")));
        windows << window;
    }
    for (ZKQueueWindow *window : std::as_const(windows)) {
        QTRY_VERIFY_WITH_TIMEOUT(bytesBelow(folders[window]) > 0, 10000);
    }
    const auto question = [&]() -> std::pair<QMessageBox *, ZKQueueWindow *> {
        for (ZKQueueWindow *window : std::as_const(windows)) {
            for (QMessageBox *box :
                 window ? window->findChildren<QMessageBox *>() : QList<QMessageBox *>()) {
                if (box->isVisible()) {
                    return {box, window};
                }
            }
        }
        return {nullptr, nullptr};
    };
    const auto answer = [](QMessageBox *box, const QString &text) {
        for (QAbstractButton *button : box->buttons()) {
            if (button->text().remove(QLatin1Char('&')) == text) {
                button->click();
                return;
            }
        }
        QFAIL(qUtf8Printable(QStringLiteral("no button %1").arg(text)));
    };

    windows.first()->action(QStringLiteral("quit"))->trigger();
    QTRY_VERIFY2(question().first, "quitting did not ask");
    const auto [firstBox, firstWindow] = question();
    const QString firstFolder = folders[firstWindow];
    const QPointer<ZKQueueWindow> first = firstWindow;
    answer(firstBox, QStringLiteral("Don't Save"));
    QTRY_VERIFY2(question().first, "the second queue was not asked about");
    const auto [secondBox, secondWindow] = question();
    QVERIFY(secondWindow != firstWindow);
    QVERIFY2(!first, "the first window stayed while the second was asked about");
    // Stopped at once, while the other one goes on until it is answered.
    const qint64 firstWritten = bytesBelow(firstFolder);
    const qint64 secondWritten = bytesBelow(folders[secondWindow]);
    QTRY_VERIFY(bytesBelow(folders[secondWindow]) > secondWritten);
    QCOMPARE(bytesBelow(firstFolder), firstWritten);

    const QPointer<ZKQueueWindow> second = secondWindow;
    answer(secondBox, secondAnswer);
    if (secondCloses) {
        QTRY_VERIFY(!second);
        const qint64 written = bytesBelow(folders[secondWindow]);
        QTest::qWait(500);
        QCOMPARE(bytesBelow(folders[secondWindow]), written);
    } else {
        QTest::qWait(100);
        QVERIFY2(second && second->isVisible(), "a cancelled quit closed the queue");
    }
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKApplication test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKApplication.moc"
