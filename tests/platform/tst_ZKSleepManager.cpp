// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKSessionBus.h"
#include "ZKSleepManager.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusUnixFileDescriptor>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <mutex>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

QString busAddress;

// What the stand-in services received; the test thread reads copies.
struct Received {
    QList<QStringList> inhibits;
    QList<QStringList> notifications;
    QList<quint32> uninhibits;
    int inhibitorReadEnd = -1;
};
struct Calls : Received {
    std::mutex lock;
};
Calls calls;

Received received() {
    std::lock_guard locker(calls.lock);
    return calls;
}

void forgetCalls() {
    std::lock_guard locker(calls.lock);
    static_cast<Received &>(calls) = Received();
}

class FakeLogin1 : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    using QObject::QObject;

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString &what, const QString &who, const QString &why,
                                    const QString &mode) {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) {
            return {};
        }
        std::lock_guard locker(calls.lock);
        calls.inhibits << QStringList{what, who, why, mode};
        calls.inhibitorReadEnd = fds[0];
        QDBusUnixFileDescriptor handed(fds[1]);
        ::close(fds[1]); // the caller's copy is now the only write end
        return handed;
    }
};

class FakePowerManagement : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")

public:
    using QObject::QObject;

public Q_SLOTS:
    quint32 Inhibit(const QString &application, const QString &reason) {
        std::lock_guard locker(calls.lock);
        calls.inhibits << QStringList{application, reason};
        return 41;
    }
    void UnInhibit(quint32 cookie) {
        std::lock_guard locker(calls.lock);
        calls.uninhibits << cookie;
    }
};

class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    using QObject::QObject;

public Q_SLOTS:
    quint32 Notify(const QString &appName, quint32, const QString &, const QString &summary,
                   const QString &body, const QStringList &, const QVariantMap &, int) {
        std::lock_guard locker(calls.lock);
        calls.notifications << QStringList{appName, summary, body};
        return 1;
    }
};

// The stand-ins answer on a thread of their own: the code under test makes
// blocking calls from the main thread.
class Services : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void setUp() {
        m_bus = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(busAddress, QStringLiteral("stand-ins")));
        // Children, so that they answer on this thread.
        m_bus->registerObject(QStringLiteral("/org/freedesktop/login1"), new FakeLogin1(this),
                              QDBusConnection::ExportAllSlots);
        m_bus->registerObject(QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
                              new FakePowerManagement(this), QDBusConnection::ExportAllSlots);
        m_bus->registerObject(QStringLiteral("/org/freedesktop/Notifications"),
                              new FakeNotifications(this), QDBusConnection::ExportAllSlots);
        m_bus->registerService(QStringLiteral("org.freedesktop.Notifications"));
        m_bus->registerService(QStringLiteral("org.freedesktop.PowerManagement"));
    }
    // Two calls without arguments: an argument would be read from the
    // caller's stack through a hand-over the sanitizer cannot see.
    void addLogin1() { setLogin1(true); }
    void removeLogin1() { setLogin1(false); }

private:
    void setLogin1(bool present) {
        if (present) {
            m_bus->registerService(QStringLiteral("org.freedesktop.login1"));
        } else {
            m_bus->unregisterService(QStringLiteral("org.freedesktop.login1"));
        }
    }

    std::unique_ptr<QDBusConnection> m_bus;
};

bool writeEndClosed(int readEnd) {
    pollfd p{readEnd, POLLIN, 0};
    if (::poll(&p, 1, 0) != 1) {
        return false;
    }
    char byte;
    return ::read(readEnd, &byte, 1) == 0;
}

} // namespace

class TestZKSleepManager : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void holdsOneLogin1Inhibitor();
    void fallsBackToPowerManagement();
    void notifiesCompletion_data();
    void notifiesCompletion();

private:
    // Stands in for both the system and the session bus.
    ZKSessionBus m_bus;
    QThread m_thread;
    Services *m_services = nullptr;
};

void TestZKSleepManager::initTestCase() {
    ZK_REQUIRE_STARTED(m_bus.start(), m_bus.errorString());
    busAddress = m_bus.address();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", busAddress.toLocal8Bit());
    ZKPreferences::initialiseUserDefaults();
    m_services = new Services;
    m_services->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(m_services, "setUp", Qt::BlockingQueuedConnection);
}

void TestZKSleepManager::cleanupTestCase() {
    m_services->deleteLater();
    m_thread.quit();
    m_thread.wait();
}

void TestZKSleepManager::holdsOneLogin1Inhibitor() {
    QMetaObject::invokeMethod(m_services, "addLogin1", Qt::BlockingQueuedConnection);
    forgetCalls();
    {
        ZKSleepManager manager;
        manager.permitIdleSleep(); // nothing held: nothing happens
        QCOMPARE(manager.powerManagementId(), 0u);
        manager.preventIdleSleep();
        manager.preventIdleSleep();
        QVERIFY(manager.powerManagementId() != 0);
        QCOMPARE(received().inhibits.size(), 1);
        QCOMPARE(received().inhibits[0],
                 (QStringList{"idle", "Ferrowick", "Ferrowick copying in progress", "block"}));
        QVERIFY(!writeEndClosed(received().inhibitorReadEnd));
        manager.permitIdleSleep();
        QCOMPARE(manager.powerManagementId(), 0u);
        QTRY_VERIFY(writeEndClosed(received().inhibitorReadEnd));
        ::close(received().inhibitorReadEnd);

        // Destruction gives the assertion back too.
        manager.preventIdleSleep();
    }
    QTRY_VERIFY(writeEndClosed(received().inhibitorReadEnd));
    ::close(received().inhibitorReadEnd);
}

void TestZKSleepManager::fallsBackToPowerManagement() {
    QMetaObject::invokeMethod(m_services, "removeLogin1", Qt::BlockingQueuedConnection);
    forgetCalls();
    ZKSleepManager manager;
    manager.preventIdleSleep();
    QVERIFY(manager.powerManagementId() != 0);
    QCOMPARE(received().inhibits.value(0),
             (QStringList{"Ferrowick", "Ferrowick copying in progress"}));
    manager.permitIdleSleep();
    QTRY_COMPARE(received().uninhibits.value(0), 41u);
}

void TestZKSleepManager::notifiesCompletion_data() {
    QTest::addColumn<bool>("failing");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("summary");

    QTest::newRow("completed") << false << "Completed"
                               << "1 of 1 complete";
    QTest::newRow("failed") << true << "Failed"
                            << "0 of 1 complete, 1 failed";
}

void TestZKSleepManager::notifiesCompletion() {
    QFETCH(bool, failing);
    QFETCH(QString, label);
    QFETCH(QString, summary);

    // No sound files here: the notice carries on without them.
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    QTemporaryDir dir;
    const QString source = QDir(dir.path()).filePath(QStringLiteral("item"));
    if (!failing) {
        QVERIFY(ZKTestSupport::writeFile(source, "x"));
    }
    forgetCalls();
    ZKFerrowickDocument document;
    document.setFileName(QDir(dir.path()).filePath(QStringLiteral("Photos.queue")));
    const auto task =
        document
            .addTasks({ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source))},
                      ZKFileSystemWriter::writerWithDirectory(
                          QUrl::fromLocalFile(QDir(dir.path()).filePath(QStringLiteral("out")))),
                      0)
            .first();
    QTRY_COMPARE(task->state(), failing ? ZKTaskState::Failed : ZKTaskState::Completed);
    QTRY_COMPARE(received().notifications.size(), 1);
    QCOMPARE(
        received().notifications[0],
        (QStringList{QStringLiteral("Ferrowick"), QStringLiteral("Photos ") + label, summary}));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKSleepManager test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKSleepManager.moc"
