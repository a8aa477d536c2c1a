// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSleepManager.h"

#include "ZKLogging.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include <unistd.h>

namespace {
const QString what = QStringLiteral("idle");
const QString who = QStringLiteral("Ferrowick");
const QString why = QStringLiteral("Ferrowick copying in progress");
const QString mode = QStringLiteral("block");
} // namespace

ZKSleepManager::~ZKSleepManager() {
    permitIdleSleep();
}

void ZKSleepManager::preventIdleSleep() {
    std::lock_guard locker(m_lock);
    if (m_powerManagementId != 0) {
        return;
    }
    auto system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        QDBusInterface login1(QStringLiteral("org.freedesktop.login1"),
                              QStringLiteral("/org/freedesktop/login1"),
                              QStringLiteral("org.freedesktop.login1.Manager"), system);
        const QDBusReply<QDBusUnixFileDescriptor> reply =
            login1.call(QStringLiteral("Inhibit"), what, who, why, mode);
        if (reply.isValid() && reply.value().isValid()) {
            // The inhibitor lasts as long as this descriptor is open.
            m_inhibitorFd = ::dup(reply.value().fileDescriptor());
            m_powerManagementId = quint32(m_inhibitorFd) + 1;
            return;
        }
        qCInfo(lcEngine) << "login1 did not inhibit idle sleep:" << reply.error().message();
    }
    auto session = QDBusConnection::sessionBus();
    if (session.isConnected()) {
        QDBusInterface power(QStringLiteral("org.freedesktop.PowerManagement"),
                             QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
                             QStringLiteral("org.freedesktop.PowerManagement.Inhibit"), session);
        const QDBusReply<quint32> reply = power.call(QStringLiteral("Inhibit"), who, why);
        if (reply.isValid()) {
            m_cookie = reply.value();
            m_powerManagementId = m_cookie + 1;
            return;
        }
        qCInfo(lcEngine) << "PowerManagement did not inhibit idle sleep:"
                         << reply.error().message();
    }
    qCInfo(lcEngine) << "Idle sleep cannot be prevented: no service answers.";
}

void ZKSleepManager::permitIdleSleep() {
    std::lock_guard locker(m_lock);
    if (m_powerManagementId == 0) {
        return;
    }
    if (m_inhibitorFd >= 0) {
        ::close(m_inhibitorFd);
        m_inhibitorFd = -1;
    } else {
        QDBusInterface power(QStringLiteral("org.freedesktop.PowerManagement"),
                             QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
                             QStringLiteral("org.freedesktop.PowerManagement.Inhibit"),
                             QDBusConnection::sessionBus());
        power.call(QDBus::NoBlock, QStringLiteral("UnInhibit"), m_cookie);
        m_cookie = 0;
    }
    m_powerManagementId = 0;
}

quint32 ZKSleepManager::powerManagementId() const {
    std::lock_guard locker(m_lock);
    return m_powerManagementId;
}
