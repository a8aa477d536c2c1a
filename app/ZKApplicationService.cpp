// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKApplicationService.h"

#include "ZKAppDelegate.h"
#include "ZKApplicationAdaptor.h"
#include "ZKLogging.h"
#include "ZKQueueScriptingAdaptor.h"
#include "ZKReaderFactory.h"
#include "ZKTransferMode.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

const QString ZKApplicationService::serviceName = QStringLiteral("com.velmarind.Ferrowick");
const QString ZKApplicationService::objectPath = QStringLiteral("/com/velmarind/Ferrowick");
const QString ZKApplicationService::transferModeKey = QStringLiteral("transfer-mode");

namespace {

const QString kApplicationInterface = QStringLiteral("org.freedesktop.Application");
// The other instance may be busy starting; a user should not wait longer.
constexpr int kForwardTimeoutMs = 5000;

const QString kCopy = QStringLiteral("copy");
const QString kMove = QStringLiteral("move");

} // namespace

ZKApplicationService::ZKApplicationService(ZKAppDelegate &delegate, const QDBusConnection &bus,
                                           QObject *parent)
    : QObject(parent)
    , m_bus(bus) {
    new ZKApplicationAdaptor(delegate, this);
    new ZKQueueScriptingAdaptor(delegate, this);
}

ZKApplicationService::~ZKApplicationService() {
    if (m_owned) {
        m_bus.unregisterObject(objectPath);
        m_bus.unregisterService(serviceName);
    }
}

ZKApplicationService::Claim ZKApplicationService::claim() {
    if (!m_bus.isConnected() || !m_bus.interface()) {
        qCInfo(lcEngine) << "No session bus: running on its own";
        return Claim::NoBus;
    }
    // The object first, so that a call arriving the moment the name is ours
    // finds it.
    if (!m_bus.registerObject(objectPath, this, QDBusConnection::ExportAdaptors)) {
        qCWarning(lcEngine) << "Cannot serve" << objectPath << m_bus.lastError().message();
        return Claim::NoBus;
    }
    const auto reply =
        m_bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        m_owned = true;
        return Claim::Owned;
    }
    m_bus.unregisterObject(objectPath);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceNotRegistered) {
        return Claim::Running;
    }
    qCWarning(lcEngine) << "Cannot take the name" << serviceName << reply.error().message();
    return Claim::NoBus;
}

QStringList ZKApplicationService::urisForArguments(const QStringList &arguments) {
    QStringList uris;
    for (const QString &argument : arguments) {
        const QUrl url(argument);
        if (url.isLocalFile() || ZKReaderFactory::isLoginPath(argument) ||
            ZKReaderFactory::isHttpPath(argument)) {
            uris << argument;
        } else {
            uris << QUrl::fromLocalFile(
                        QFileInfo(ZKReaderFactory::standardizedPath(argument)).absoluteFilePath())
                        .toString(QUrl::FullyEncoded);
        }
    }
    return uris;
}

namespace {

QVariantMap platformData() {
    QVariantMap data;
    for (const char *name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        const QByteArray value = qgetenv(name);
        if (!value.isEmpty()) {
            data.insert(QString::fromLatin1(name) == QLatin1String("XDG_ACTIVATION_TOKEN")
                            ? QStringLiteral("activation-token")
                            : QStringLiteral("desktop-startup-id"),
                        QString::fromUtf8(value));
        }
    }
    return data;
}

bool send(const QDBusConnection &bus, const QDBusMessage &message, QString *error) {
    const QDBusMessage reply = bus.call(message, QDBus::Block, kForwardTimeoutMs);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        if (error) {
            *error = reply.errorMessage();
        }
        return false;
    }
    return true;
}

} // namespace

bool ZKApplicationService::activateActionOfRunningInstance(const QDBusConnection &bus,
                                                           const QString &action, QString *error) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        serviceName, objectPath, kApplicationInterface, QStringLiteral("ActivateAction"));
    message << action << QVariantList() << platformData();
    return send(bus, message, error);
}

bool ZKApplicationService::readTransferMode(const QVariantMap &platformData,
                                            std::optional<qint32> *transferMode) {
    transferMode->reset();
    if (!platformData.contains(transferModeKey)) {
        return true;
    }
    const QString mode = platformData.value(transferModeKey).toString();
    if (mode == kCopy) {
        *transferMode = ZKTransferMode::Copy;
    } else if (mode == kMove) {
        *transferMode = ZKTransferMode::Move;
    } else {
        return false;
    }
    return true;
}

bool ZKApplicationService::forwardToRunningInstance(const QDBusConnection &bus,
                                                    const QStringList &arguments, QString *error,
                                                    std::optional<qint32> transferMode) {
    QDBusMessage message;
    if (arguments.isEmpty()) {
        message = QDBusMessage::createMethodCall(serviceName, objectPath, kApplicationInterface,
                                                 QStringLiteral("Activate"));
        message << platformData();
    } else {
        message = QDBusMessage::createMethodCall(serviceName, objectPath, kApplicationInterface,
                                                 QStringLiteral("Open"));
        QVariantMap data = platformData();
        if (transferMode) {
            data.insert(transferModeKey, *transferMode == ZKTransferMode::Move ? kMove : kCopy);
        }
        message << urisForArguments(arguments) << data;
    }
    return send(bus, message, error);
}
