// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSleepManager.h"

#include "ZKLogging.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>

#include <unistd.h>

namespace {
const QString what = QStringLiteral("idle");
const QString who = QStringLiteral("Ferrowick");
const QString mode = QStringLiteral("block");
const QString powerService = QStringLiteral("org.freedesktop.PowerManagement");
const QString powerPath = QStringLiteral("/org/freedesktop/PowerManagement/Inhibit");
const QString powerInterface = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");

// Plain method calls: an interface object would first introspect the
// service, one more round trip that a busy service can stall.
QDBusMessage call(const QString &service, const QString &path, const QString &interface,
                  const QString &method, const QVariantList &arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}
} // namespace

ZKSleepManager::~ZKSleepManager() {
    permitIdleSleep();
}

bool ZKSleepManager::refusedRecently() const {
    return m_refused && std::chrono::steady_clock::now() - m_refusedAt < std::chrono::minutes(1);
}

bool ZKSleepManager::wouldAskBus() const {
    std::lock_guard locker(m_lock);
    return m_powerManagementId == 0 && !refusedRecently();
}

void ZKSleepManager::preventIdleSleep() {
    std::lock_guard locker(m_lock);
    if (m_powerManagementId != 0 || refusedRecently()) {
        return;
    }
    // Shown by the desktop where it lists what holds off sleep.
    const QString why =
        QCoreApplication::translate("ZKSleepManager", "Ferrowick copying in progress");
    auto system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        const QDBusReply<QDBusUnixFileDescriptor> reply =
            system.call(call(QStringLiteral("org.freedesktop.login1"),
                             QStringLiteral("/org/freedesktop/login1"),
                             QStringLiteral("org.freedesktop.login1.Manager"),
                             QStringLiteral("Inhibit"), {what, who, why, mode}),
                        QDBus::Block, 5000);
        if (reply.isValid() && reply.value().isValid()) {
            // The inhibitor lasts as long as this descriptor is open.
            m_inhibitorFd = ::dup(reply.value().fileDescriptor());
            m_powerManagementId = quint32(m_inhibitorFd) + 1;
            m_refused = false;
            return;
        }
        qCInfo(lcEngine) << "login1 did not inhibit idle sleep:" << reply.error().message();
    }
    auto session = QDBusConnection::sessionBus();
    if (session.isConnected()) {
        const QDBusReply<quint32> reply = session.call(
            call(powerService, powerPath, powerInterface, QStringLiteral("Inhibit"), {who, why}),
            QDBus::Block, 5000);
        if (reply.isValid()) {
            m_cookie = reply.value();
            m_powerManagementId = m_cookie + 1;
            m_refused = false;
            return;
        }
        qCInfo(lcEngine) << "PowerManagement did not inhibit idle sleep:"
                         << reply.error().message();
    }
    qCInfo(lcEngine) << "Idle sleep cannot be prevented: no service answers.";
    m_refused = true;
    m_refusedAt = std::chrono::steady_clock::now();
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
        QDBusConnection::sessionBus().send(
            call(powerService, powerPath, powerInterface, QStringLiteral("UnInhibit"), {m_cookie}));
        m_cookie = 0;
    }
    m_powerManagementId = 0;
}

quint32 ZKSleepManager::powerManagementId() const {
    std::lock_guard locker(m_lock);
    return m_powerManagementId;
}
