// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Only the application's own tests include this: they link the application
// library, which the shared support library does not.
#include "ZKAppDelegate.h"
#include "ZKApplicationService.h"
#include "ZKDocumentController.h"
#include "ZKPreferences.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKSessionBus.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QDBusConnection>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// The application as its main() brings it up, on a private session bus:
// launched, owning the service name, with a fresh folder (holding an empty
// "out") for each test function.
class ZKRunningApplication {
public:
    // In initTestCase, before anything asks for the session bus: it is the
    // test's own from then on. Sounds are off.
    bool startBus() {
        if (!m_bus.start()) {
            return false;
        }
        ZKPreferences::initialiseUserDefaults();
        ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
        ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
        return true;
    }
    QString busAddress() const { return m_bus.address(); }
    QString busError() const { return m_bus.errorString(); }

    // In init: new queues start paused.
    bool launch() {
        m_dir = std::make_unique<QTemporaryDir>();
        QDir(m_dir->path()).mkdir(QStringLiteral("out"));
        ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Paused);
        m_delegate = std::make_unique<ZKAppDelegate>();
        m_delegate->applicationWillFinishLaunching();
        m_service =
            std::make_unique<ZKApplicationService>(*m_delegate, QDBusConnection::sessionBus());
        if (m_service->claim() != ZKApplicationService::Claim::Owned) {
            return false;
        }
        m_delegate->applicationDidFinishLaunching();
        return true;
    }

    // In cleanup: every window closed, its changes discarded. False when a
    // document outlived its window.
    bool quit() {
        for (ZKQueueWindow *window : m_delegate->documentController().windows()) {
            window->setDiscardChanges(true);
            window->close();
        }
        const bool closed = QTest::qWaitFor([this] { return documents().documents().isEmpty(); });
        m_service.reset();
        m_delegate.reset();
        return closed;
    }

    ZKAppDelegate &delegate() const { return *m_delegate; }
    ZKDocumentController &documents() const { return m_delegate->documentController(); }
    ZKApplicationService &service() const { return *m_service; }
    QString folder() const { return m_dir->path(); }
    QString path(const QString &name) const { return QDir(m_dir->path()).filePath(name); }

    // What gdbus, as a script runs it, calls the service's method with;
    // on bus when given, else the test's own.
    QStringList gdbusCall(const QString &method, const QString &bus = {}) const {
        return {QStringLiteral("call"),
                QStringLiteral("--address"),
                bus.isEmpty() ? m_bus.address() : bus,
                QStringLiteral("--dest"),
                ZKApplicationService::serviceName,
                QStringLiteral("--object-path"),
                ZKApplicationService::objectPath,
                QStringLiteral("--method"),
                method};
    }

private:
    ZKSessionBus m_bus;
    std::unique_ptr<ZKAppDelegate> m_delegate;
    std::unique_ptr<ZKApplicationService> m_service;
    std::unique_ptr<QTemporaryDir> m_dir;
};
