// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"
#include "ZKApplicationService.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileBrowser.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKQueueScriptingAdaptor.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKRunningApplication.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTransferMode.h"
#include "ZKUserDefaults.h"

#include <QAction>
#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMenu>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {
const QString queueInterface = QStringLiteral("com.velmarind.Ferrowick.Queue");
const QString fileManagerName = QStringLiteral("org.freedesktop.FileManager1");
const QString notificationsName = QStringLiteral("org.freedesktop.Notifications");
} // namespace

// A file manager as the desktop's would answer: it notes what it was asked
// to show.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QList<QStringList> shown;

public Q_SLOTS:
    void ShowItems(const QStringList &uris, const QString &) { shown << uris; }
};

// A notification server: it keeps each notice and lets the test act on it
// as a user clicking its buttons would.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Notice {
        uint id;
        QString summary;
        QString body;
        QStringList actions;
    };
    QList<Notice> notices;

public Q_SLOTS:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &actions, const QVariantMap &, int) {
        notices << Notice{uint(notices.size() + 1), summary, body, actions};
        return notices.last().id;
    }
    QStringList GetCapabilities() { return {QStringLiteral("actions"), QStringLiteral("body")}; }
    void CloseNotification(uint) {}
};

// The scripting interface, the notices of finished queues and Show in
// Folder, as scripts, a notification server and a file manager on the
// session bus meet them.
class TestZKDesktopServices : public QObject {
    Q_OBJECT

public Q_SLOTS:
    // What a script subscribed to TaskChanged hears.
    void taskChanged(uint queue, uint task, const QVariantMap &properties);

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void scriptsChooseHowSourcesAreAdded_data();
    void scriptsChooseHowSourcesAreAdded();
    void badAdditionsAreRefusedAtTheCall_data();
    void badAdditionsAreRefusedAtTheCall();
    void taskChangesAreToldAFewTimesASecond();
    void introspectionNamesEveryArgument();
    void finishedQueueNoticesCanBeActedOn_data();
    void finishedQueueNoticesCanBeActedOn();
    void showInFolderFallsBackAndSaysWhenNothingWorks_data();
    void showInFolderFallsBackAndSaysWhenNothingWorks();
    void soundsAreThoseThatExist();
    void everyMenuShowsItsKeys();

private:
    QString path(const QString &name) const { return m_app.path(name); }
    bool gdbus(const QStringList &arguments, QString *output, QString *error);
    bool call(const QString &method, const QStringList &arguments, QString *output, QString *error);
    // The new queue's number, as ListQueues gives it.
    QString queueNumber(ZKQueueWindow *window) const;
    // A fake service owned by the test's second bus connection until cleanup.
    bool offer(const QString &name, const QString &objectPath, QObject *service);
    bool runToTheEnd(ZKFerrowickDocument *document);

    ZKRunningApplication m_app;
    QDBusConnection m_fakes{QString()};
    QStringList m_offered;
    QByteArray m_path;
    QList<std::pair<qint64, QVariantMap>> m_taskChanges;
    QElapsedTimer m_clock;
};

void TestZKDesktopServices::initTestCase() {
    QVERIFY2(m_app.startBus(), qUtf8Printable(m_app.busError()));
    m_fakes = QDBusConnection::connectToBus(m_app.busAddress(), QStringLiteral("fakes"));
    QVERIFY(m_fakes.isConnected());
    QVERIFY(m_fakes.connect(ZKApplicationService::serviceName, ZKApplicationService::objectPath,
                            queueInterface, QStringLiteral("TaskChanged"), this,
                            SLOT(taskChanged(uint, uint, QVariantMap))));
    m_path = qgetenv("PATH");
    // Sounds play on ALSA's null device, which takes anything and is on
    // every machine; the test's home is its own.
    QVERIFY(writeFile(QDir::home().filePath(QStringLiteral(".asoundrc")),
                      "pcm.!default { type null }\nctl.!default { type hw card 0 }\n"));
    ZKUserDefaults::standard().setBool(ZKPreferences::automaticRetryEnabled, false);
    m_clock.start();
}

void TestZKDesktopServices::init() {
    QVERIFY(m_app.launch());
    m_taskChanges.clear();
}

void TestZKDesktopServices::cleanup() {
    QVERIFY2(m_app.quit(), "a queue outlived its window");
    for (const QString &name : std::as_const(m_offered)) {
        m_fakes.unregisterService(name);
    }
    m_offered.clear();
    m_fakes.unregisterObject(QStringLiteral("/org/freedesktop/FileManager1"));
    m_fakes.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
    qputenv("PATH", m_path);
}

void TestZKDesktopServices::taskChanged(uint, uint, const QVariantMap &properties) {
    m_taskChanges << std::pair{m_clock.elapsed(), properties};
}

bool TestZKDesktopServices::gdbus(const QStringList &arguments, QString *output, QString *error) {
    // This process answers the call: its event loop keeps turning.
    return ZKTestSupport::runServing(QStringLiteral("gdbus"), arguments, output, error);
}

bool TestZKDesktopServices::call(const QString &method, const QStringList &arguments,
                                 QString *output, QString *error) {
    return gdbus(m_app.gdbusCall(queueInterface + QLatin1Char('.') + method) + arguments, output,
                 error);
}

QString TestZKDesktopServices::queueNumber(ZKQueueWindow *window) const {
    return QString::number(m_app.documents().identifierOfDocument(window->document()));
}

bool TestZKDesktopServices::offer(const QString &name, const QString &objectPath,
                                  QObject *service) {
    if (!m_fakes.registerObject(objectPath, service, QDBusConnection::ExportAllSlots) ||
        !m_fakes.registerService(name)) {
        return false;
    }
    m_offered << name;
    return true;
}

bool TestZKDesktopServices::runToTheEnd(ZKFerrowickDocument *document) {
    document->setState(ZKQueueState::Running);
    const auto ended = [document] {
        for (qsizetype i = 0; i < document->countOfTasks(); ++i) {
            const ZKTaskState state = document->objectInTasksAtIndex(i)->state();
            if (state != ZKTaskState::Completed && state != ZKTaskState::Failed) {
                return false;
            }
        }
        return true;
    };
    QDeadlineTimer deadline(30000);
    while (!ended() && !deadline.hasExpired()) {
        QTest::qWait(20);
    }
    return ended();
}

void TestZKDesktopServices::scriptsChooseHowSourcesAreAdded_data() {
    QTest::addColumn<QString>("options"); // none: AddSources
    QTest::addColumn<qint32>("queueMode");
    QTest::addColumn<bool>("queueVerifies");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("verifies");

    const qint32 copy = ZKTransferMode::Copy;
    const qint32 move = ZKTransferMode::Move;
    QTest::newRow("AddSources on a moving queue copies") << QString() << move << false << "out"
                                                         << "copy" << false;
    QTest::newRow("copy on a moving queue") << "{'mode': <'copy'>}" << move << false << "out"
                                            << "copy" << false;
    QTest::newRow("move on a copying queue") << "{'mode': <'move'>}" << copy << false << "out"
                                             << "move" << false;
    QTest::newRow("verify on a queue that does not")
        << "{'verify': <true>}" << copy << false << "out"
        << "copy" << true;
    QTest::newRow("no verification on a queue that verifies")
        << "{'verify': <false>}" << copy << true << "out"
        << "copy" << false;
    QTest::newRow("verification as the queue does") << "@a{sv} {}" << copy << true << "out"
                                                    << "copy" << true;
    QTest::newRow("a missing destination made")
        << "{'create-destination': <true>, 'mode': <'move'>}" << copy << false << "made/deeper"
        << "move" << false;
}

void TestZKDesktopServices::scriptsChooseHowSourcesAreAdded() {
    QFETCH(QString, options);
    QFETCH(qint32, queueMode);
    QFETCH(bool, queueVerifies);
    QFETCH(QString, destination);
    QFETCH(QString, mode);
    QFETCH(bool, verifies);

    const QByteArray content = randomBytes(100000, 7);
    QVERIFY(writeFile(path("a"), content));
    ZKQueueWindow *window = m_app.documents().newDocument();
    ZKFerrowickDocument *document = window->document();
    document->setDefaultTransferMode(queueMode);
    document->setIsVerifyEnabled(queueVerifies);

    QStringList arguments{queueNumber(window), QStringLiteral("['%1']").arg(path("a")),
                          path(destination)};
    if (!options.isNull()) {
        arguments << options;
    }
    QString output, error;
    QVERIFY2(call(options.isNull() ? QStringLiteral("AddSources")
                                   : QStringLiteral("AddSourcesWithOptions"),
                  arguments, &output, &error),
             qUtf8Printable(error));
    QCOMPARE(output, QStringLiteral("(uint32 1,)"));
    QVERIFY2(call(QStringLiteral("GetTasks"), {queueNumber(window)}, &output, &error),
             qUtf8Printable(error));
    for (const QString &entry :
         {QStringLiteral("'mode': <'%1'>").arg(mode),
          QStringLiteral("'verify': <%1>").arg(verifies ? "true" : "false")}) {
        QVERIFY2(output.contains(entry), qUtf8Printable(output));
    }

    QVERIFY(runToTheEnd(document));
    QCOMPARE(document->objectInTasksAtIndex(0)->state(), ZKTaskState::Completed);
    QCOMPARE(readFile(path(destination + QStringLiteral("/a"))), content);
    QCOMPARE(QFile::exists(path("a")), mode == QLatin1String("copy"));
    // The queue's own choices for what the window adds are left alone.
    QCOMPARE(document->defaultTransferMode(), queueMode);
    QCOMPARE(document->isVerifyEnabled(), queueVerifies);
}

void TestZKDesktopServices::badAdditionsAreRefusedAtTheCall_data() {
    QTest::addColumn<QStringList>("sourcesDestinationOptions");
    QTest::addColumn<QString>("message");

    QTest::newRow("relative source")
        << QStringList{"['a']", "@DIR@/out", "{}"} << "\u201ca\u201d must be an absolute path";
    QTest::newRow("relative destination")
        << QStringList{"['@DIR@/a']", "out", "{}"} << "\u201cout\u201d must be an absolute path";
    QTest::newRow("destination is a file")
        << QStringList{"['@DIR@/a']", "@DIR@/b", "{}"} << "\u201c@DIR@/b\u201d is a file";
    QTest::newRow("missing destination")
        << QStringList{"['@DIR@/a']", "@DIR@/missing", "{}"} << "There is no folder";
    QTest::newRow("missing destination, not to be made")
        << QStringList{"['@DIR@/a']", "@DIR@/missing", "{'create-destination': <false>}"}
        << "There is no folder";
    QTest::newRow("destination that cannot be made")
        << QStringList{"['@DIR@/a']", "@DIR@/b/missing", "{'create-destination': <true>}"}
        << "cannot be made";
    QTest::newRow("unknown option") << QStringList{"['@DIR@/a']", "@DIR@/out", "{'speed': <5>}"}
                                    << "There is no option \u201cspeed\u201d";
    QTest::newRow("unknown mode")
        << QStringList{"['@DIR@/a']", "@DIR@/out", "{'mode': <'shred'>}"}
        << "\u201cmode\u201d must be \u201ccopy\u201d or \u201cmove\u201d";
    QTest::newRow("verify as text")
        << QStringList{"['@DIR@/a']", "@DIR@/out", "{'verify': <'yes'>}"}
        << "\u201cverify\u201d must be true or false";
    QTest::newRow("create-destination as a number")
        << QStringList{"['@DIR@/a']", "@DIR@/missing", "{'create-destination': <1>}"}
        << "\u201ccreate-destination\u201d must be true or false";
}

void TestZKDesktopServices::badAdditionsAreRefusedAtTheCall() {
    QFETCH(QStringList, sourcesDestinationOptions);
    QFETCH(QString, message);

    QVERIFY(writeFile(path("a"), "a") && writeFile(path("b"), "b"));
    ZKQueueWindow *window = m_app.documents().newDocument();
    for (QString &argument : sourcesDestinationOptions) {
        argument.replace(QStringLiteral("@DIR@"), m_app.folder());
    }
    message.replace(QStringLiteral("@DIR@"), m_app.folder());
    QString output, error;
    QVERIFY2(!call(QStringLiteral("AddSourcesWithOptions"),
                   QStringList{queueNumber(window)} + sourcesDestinationOptions, &output, &error),
             "a bad call was accepted");
    QVERIFY2(error.contains(QStringLiteral("com.velmarind.Ferrowick.Error.InvalidArgument")) &&
                 error.contains(message),
             qUtf8Printable(error));
    QCOMPARE(window->document()->countOfTasks(), 0);
    QVERIFY2(!QFile::exists(path("missing")), "a refused call made its destination");
    QCOMPARE(readFile(path("b")), QByteArray("b"));
}

void TestZKDesktopServices::taskChangesAreToldAFewTimesASecond() {
    const qint64 size = 2500000;
    QVERIFY(writeFile(path("big"), randomBytes(size, 9)));
    ZKQueueWindow *window = m_app.documents().newDocument();
    ZKFerrowickDocument *document = window->document();
    document->speedLimit().setMaximumTransferRate(1000000);
    document->speedLimit().setEnabled(true);
    // When they leave, apart from how late the bus delivers them.
    QList<qint64> sent;
    const QObject listening;
    connect(m_app.service().findChild<ZKQueueScriptingAdaptor *>(),
            &ZKQueueScriptingAdaptor::TaskChanged, &listening,
            [&sent, this] { sent << m_clock.elapsed(); });
    QString output, error;
    QVERIFY2(call(QStringLiteral("AddSources"),
                  {queueNumber(window), QStringLiteral("['%1']").arg(path("big")), path("out")},
                  &output, &error),
             qUtf8Printable(error));
    const qint64 started = m_clock.elapsed();
    QVERIFY(runToTheEnd(document));
    QTRY_VERIFY2(!m_taskChanges.isEmpty() && m_taskChanges.last().second.value(QStringLiteral(
                                                 "state")) == QStringLiteral("Completed"),
                 "the end of the task was not told");
    const qint64 took = m_clock.elapsed() - started;

    // Told as it goes, with its bytes; never faster than the interval allows.
    quint64 lastBytes = 0;
    int moving = 0;
    for (const auto &[time, entry] : std::as_const(m_taskChanges)) {
        const quint64 bytes = entry.value(QStringLiteral("bytes-done")).toULongLong();
        QVERIFY2(bytes >= lastBytes, "the bytes done went back");
        moving += bytes > lastBytes && bytes < quint64(size);
        lastBytes = bytes;
    }
    QCOMPARE(lastBytes, quint64(size));
    QVERIFY2(moving >= 1, qUtf8Printable(QStringLiteral("%1 changes while copying").arg(moving)));
    QCOMPARE(sent.size(), m_taskChanges.size());
    for (qsizetype i = 1; i < sent.size(); ++i) {
        // Less the 5 % a coarse timer may fire early.
        QVERIFY2(
            sent[i] - sent[i - 1] >= ZKQueueScriptingAdaptor::taskChangeInterval * 95 / 100,
            qUtf8Printable(QStringLiteral("two changes %1 ms apart").arg(sent[i] - sent[i - 1])));
    }
    QVERIFY2(sent.size() <= took / ZKQueueScriptingAdaptor::taskChangeInterval + 2,
             qUtf8Printable(QStringLiteral("%1 changes in %2 ms").arg(sent.size()).arg(took)));
}

void TestZKDesktopServices::introspectionNamesEveryArgument() {
    QString output, error;
    QVERIFY2(gdbus({QStringLiteral("introspect"), QStringLiteral("--address"), m_app.busAddress(),
                    QStringLiteral("--dest"), ZKApplicationService::serviceName,
                    QStringLiteral("--object-path"), ZKApplicationService::objectPath},
                   &output, &error),
             qUtf8Printable(error));
    QVERIFY2(!output.contains(QStringLiteral("arg_")), qUtf8Printable(output));
    for (const char *entry : {"in  a{sv} options", "out u added", "out t bytesTotal",
                              "out aa{sv} tasks", "TaskChanged(u queue,"}) {
        QVERIFY2(output.contains(QLatin1String(entry)), qUtf8Printable(output));
    }
}

void TestZKDesktopServices::finishedQueueNoticesCanBeActedOn_data() {
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("shown"); // none: the queue runs again

    QTest::newRow("completed, shown") << "@DIR@/a"
                                      << "show-in-folder"
                                      << "out/a";
    // Nothing listens there: the task fails at once.
    QTest::newRow("failed, shown") << "ftp://127.0.0.1:1/a"
                                   << "show-in-folder"
                                   << "out";
    QTest::newRow("failed, retried") << "ftp://127.0.0.1:1/a"
                                     << "retry" << QString();
}

void TestZKDesktopServices::finishedQueueNoticesCanBeActedOn() {
    QFETCH(QString, source);
    QFETCH(QString, action);
    QFETCH(QString, shown);

    FakeNotificationServer notifications;
    FakeFileManager fileManager;
    QVERIFY(
        offer(notificationsName, QStringLiteral("/org/freedesktop/Notifications"), &notifications));
    QVERIFY(offer(fileManagerName, QStringLiteral("/org/freedesktop/FileManager1"), &fileManager));
    QVERIFY(writeFile(path("a"), "a"));
    ZKQueueWindow *window = m_app.documents().newDocument();
    ZKFerrowickDocument *document = window->document();
    // Running already: a task that fails while the queue is paused ends
    // nothing the user waits for.
    document->setState(ZKQueueState::Running);
    QString output, error;
    QVERIFY2(
        call(QStringLiteral("AddSources"),
             {queueNumber(window),
              QStringLiteral("['%1']").arg(source.replace(QStringLiteral("@DIR@"), m_app.folder())),
              path("out")},
             &output, &error),
        qUtf8Printable(error));
    QVERIFY(runToTheEnd(document));
    QTRY_COMPARE(notifications.notices.size(), 1);

    const FakeNotificationServer::Notice notice = notifications.notices.first();
    const bool failed = document->failedTaskCount() != 0;
    QCOMPARE(notice.summary, document->displayName() + (failed ? QStringLiteral(" Failed")
                                                               : QStringLiteral(" Completed")));
    QStringList actions{QStringLiteral("show-in-folder"), QStringLiteral("Show in Folder")};
    if (failed) {
        actions << QStringLiteral("retry") << QStringLiteral("Retry");
        QVERIFY2(notice.body.endsWith(QStringLiteral(", 1 failed")), qUtf8Printable(notice.body));
    }
    QCOMPARE(notice.actions, actions);

    // Clicked on the notice's button, as the server tells it.
    QVERIFY(
        m_fakes.send(QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                                notificationsName, QStringLiteral("ActionInvoked"))
                     << notice.id << action));
    if (shown.isEmpty()) {
        QTRY_COMPARE(notifications.notices.size(), 2); // ran, and failed again
        QVERIFY(fileManager.shown.isEmpty());
    } else {
        QTRY_COMPARE(fileManager.shown.size(), 1);
        QCOMPARE(fileManager.shown.first(),
                 QStringList{QUrl::fromLocalFile(path(shown)).toString(QUrl::FullyEncoded)});
    }
}

void TestZKDesktopServices::showInFolderFallsBackAndSaysWhenNothingWorks_data() {
    QTest::addColumn<bool>("fileManager");
    QTest::addColumn<int>("opener"); // its exit status; -1: none installed
    QTest::addColumn<bool>("told");

    QTest::newRow("file manager") << true << 3 << false;
    QTest::newRow("folder opened instead") << false << 0 << false;
    QTest::newRow("no program for folders") << false << 3 << true;
    QTest::newRow("no opener") << false << -1 << true;
}

void TestZKDesktopServices::showInFolderFallsBackAndSaysWhenNothingWorks() {
    QFETCH(bool, fileManager);
    QFETCH(int, opener);
    QFETCH(bool, told);

    FakeFileManager manager;
    if (fileManager) {
        QVERIFY(offer(fileManagerName, QStringLiteral("/org/freedesktop/FileManager1"), &manager));
    }
    // The desktop's opener, as a script that notes what it opens.
    QVERIFY(QDir(m_app.folder()).mkdir(QStringLiteral("bin")));
    if (opener >= 0) {
        const QString script = path("bin/xdg-open");
        QVERIFY(writeFile(script, QStringLiteral("#!/bin/sh\necho \"$1\" >> '%1'\nexit %2\n")
                                      .arg(path("opened"))
                                      .arg(opener)
                                      .toUtf8()));
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
    }
    qputenv("PATH", path("bin").toLocal8Bit());

    QVERIFY(writeFile(path("out/a"), "a"));
    ZKQueueWindow *window = m_app.documents().newDocument();
    ZKFileBrowser::reveal(QUrl::fromLocalFile(path("out/a")));
    if (fileManager) {
        QTRY_COMPARE(manager.shown.size(), 1);
        QCOMPARE(manager.shown.first(),
                 QStringList{QUrl::fromLocalFile(path("out/a")).toString(QUrl::FullyEncoded)});
    } else if (opener >= 0) {
        QTRY_COMPARE(readFile(path("opened")), path("out").toUtf8() + '\n');
    }
    if (told) {
        QTRY_VERIFY2(window->noticeBar()->isVisibleTo(window), "nothing was said");
        const QString notice = window->noticeBar()->accessibleDescription();
        QVERIFY2(notice.contains(QStringLiteral("\u201ca\u201d cannot be shown")),
                 qUtf8Printable(notice));
    } else {
        QTest::qWait(300);
        QVERIFY2(!window->noticeBar()->isVisibleTo(window),
                 qUtf8Printable(window->noticeBar()->accessibleDescription()));
    }
}

void TestZKDesktopServices::soundsAreThoseThatExist() {
    const QStringList names = ZKNotificationManager::soundNames();
    QStringList expected{QStringLiteral("Basso"), QStringLiteral("Glass")};
    if (QDir(QStringLiteral("/usr/share/sounds/freedesktop/stereo")).exists()) {
        expected << QStringLiteral("complete") << QStringLiteral("dialog-error");
    }
    for (const QString &name : std::as_const(expected)) {
        QVERIFY2(names.contains(name), qUtf8Printable(names.join(u',')));
        QVERIFY2(ZKNotificationManager::playSound(name), qUtf8Printable(name));
    }
    QVERIFY(!ZKNotificationManager::playSound(QStringLiteral("Nonexistent")));
    QVERIFY(!ZKNotificationManager::playSound(QStringLiteral("../stereo/complete")));
}

void TestZKDesktopServices::everyMenuShowsItsKeys() {
    ZKQueueWindow *window = m_app.documents().newDocument();
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY2(m_app.delegate().preferencesWindow().isVisible(), "Ctrl+, opened nothing");

    // The bar's menus and the buttons' pop-ups alike.
    int keys = 0;
    for (const QMenu *menu : window->findChildren<QMenu *>()) {
        for (const QAction *action : menu->actions()) {
            if (!action->shortcut().isEmpty()) {
                ++keys;
                QVERIFY2(action->isShortcutVisibleInContextMenu(), qUtf8Printable(action->text()));
            }
        }
    }
    QVERIFY(keys > 10);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKDesktopServices test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKDesktopServices.moc"
