// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSecretService.h"

#include "ZKTestSupport.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <signal.h>
#include <sys/prctl.h>

namespace {

const QString probeName = QStringLiteral("ferrowick-secret-probe");

} // namespace

ZKSecretService::~ZKSecretService() {
    stop();
}

bool ZKSecretService::fail(const QString &reason) {
    m_errorString = reason;
    stop();
    return false;
}

void ZKSecretService::stop() {
    QDBusConnection::disconnectFromBus(probeName);
    ZKTestSupport::stopProcess(m_keyring);
    m_bus.reset();
}

bool ZKSecretService::start() {
    const QString keyringProgram =
        QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon"));
    if (keyringProgram.isEmpty()) {
        return fail(QStringLiteral("gnome-keyring-daemon is not installed"));
    }
    if (!m_folder.isValid()) {
        return fail(QStringLiteral("no temporary folder"));
    }

    m_bus = std::make_unique<ZKSessionBus>();
    if (!m_bus->start()) {
        return fail(m_bus->errorString());
    }
    const QByteArray address = m_bus->address().toUtf8();
    // A test that dies must not leave its keyring running.
    m_keyring.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });

    const QDir folder(m_folder.path());
    const QString runtime = folder.filePath(QStringLiteral("run"));
    folder.mkpath(QStringLiteral("run"));
    folder.mkpath(QStringLiteral("data"));
    folder.mkpath(QStringLiteral("config"));
    QFile::setPermissions(runtime,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), folder.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                       folder.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(address));
    m_keyring.setProcessEnvironment(environment);
    m_keyring.start(keyringProgram, {"--unlock", "--components=secrets", "--foreground"});
    if (!m_keyring.waitForStarted(5000)) {
        return fail(QStringLiteral("gnome-keyring-daemon did not start"));
    }
    // The password of the new login keyring, on standard input.
    m_keyring.write("test-keyring-password");
    // Written now: nothing runs this thread's event loop while we wait below.
    m_keyring.waitForBytesWritten(5000);
    m_keyring.closeWriteChannel();

    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromUtf8(address), probeName);
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        if (bus.isConnected() &&
            bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.secrets"))) {
            return true;
        }
        if (m_keyring.state() != QProcess::Running) {
            return fail(QStringLiteral("gnome-keyring-daemon stopped: %1")
                            .arg(QString::fromLocal8Bit(m_keyring.readAllStandardError())));
        }
        QThread::msleep(100);
    }
    return fail(QStringLiteral("no Secret Service appeared on the private bus (%1; %2)")
                    .arg(bus.lastError().message(),
                         QString::fromLocal8Bit(m_keyring.readAllStandardError())));
}
