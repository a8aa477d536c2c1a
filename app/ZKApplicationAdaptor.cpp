// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKApplicationAdaptor.h"

#include "ZKAppDelegate.h"
#include "ZKApplicationService.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKQueueWindow.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QTimer>

namespace {

// What a launcher passes as the activation token, so that the window may
// take the focus the user asked for.
void takeActivationToken(const QVariantMap &platformData) {
    const QString token = platformData.value(QStringLiteral("activation-token")).toString();
    if (!token.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
    const QString startup = platformData.value(QStringLiteral("desktop-startup-id")).toString();
    if (!startup.isEmpty()) {
        qputenv("DESKTOP_STARTUP_ID", startup.toUtf8());
    }
}

void raise(QWidget *window) {
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

ZKApplicationAdaptor::ZKApplicationAdaptor(ZKAppDelegate &delegate, QObject *parent)
    : QDBusAbstractAdaptor(parent)
    , m_delegate(delegate) {}

QStringList ZKApplicationAdaptor::actionNames() {
    return {QStringLiteral("new-queue"), QStringLiteral("open"), QStringLiteral("preferences"),
            QStringLiteral("quit")};
}

void ZKApplicationAdaptor::Activate(const QVariantMap &platformData) {
    takeActivationToken(platformData);
    // The work waits for the reply to be sent: a question shown on the way
    // must not keep the caller waiting.
    QTimer::singleShot(0, this, [this] {
        ZKDocumentController &controller = m_delegate.documentController();
        if (ZKQueueWindow *window = controller.windowForDocument(controller.mainDocument())) {
            raise(window);
        } else {
            controller.newDocument();
        }
    });
}

void ZKApplicationAdaptor::Open(const QStringList &uris, const QVariantMap &platformData) {
    std::optional<qint32> transferMode;
    if (!ZKApplicationService::readTransferMode(platformData, &transferMode)) {
        sendErrorReply(QDBusError::errorString(QDBusError::InvalidArgs),
                       QStringLiteral("The \u201c%1\u201d entry must be \u201ccopy\u201d or "
                                      "\u201cmove\u201d; nothing was added.")
                           .arg(ZKApplicationService::transferModeKey));
        return;
    }
    takeActivationToken(platformData);
    QTimer::singleShot(0, this, [this, uris, transferMode] {
        m_delegate.openArguments(uris, transferMode);
        ZKDocumentController &controller = m_delegate.documentController();
        if (ZKQueueWindow *window = controller.windowForDocument(controller.mainDocument())) {
            raise(window);
        }
    });
}

void ZKApplicationAdaptor::ActivateAction(const QString &actionName, const QVariantList &,
                                          const QVariantMap &platformData) {
    if (!actionNames().contains(actionName)) {
        sendErrorReply(QDBusError::errorString(QDBusError::InvalidArgs),
                       QStringLiteral("There is no action \u201c%1\u201d; the actions are: %2.")
                           .arg(actionName, actionNames().join(QStringLiteral(", "))));
        return;
    }
    takeActivationToken(platformData);
    QTimer::singleShot(0, this, [this, actionName] {
        ZKDocumentController &controller = m_delegate.documentController();
        if (actionName == QLatin1String("new-queue")) {
            controller.newDocument();
        } else if (actionName == QLatin1String("open")) {
            controller.openDocumentsFromPanel();
        } else if (actionName == QLatin1String("preferences")) {
            m_delegate.showPreferences();
        } else {
            controller.closeAllDocuments([](bool closedAll) {
                if (closedAll) {
                    QApplication::closeAllWindows();
                    QApplication::quit();
                }
            });
        }
    });
}

void ZKApplicationAdaptor::sendErrorReply(const QString &name, const QString &message) const {
    if (auto *context = dynamic_cast<QDBusContext *>(parent());
        context && context->calledFromDBus()) {
        context->sendErrorReply(name, message);
    }
}
