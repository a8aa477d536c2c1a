// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileBrowser.h"

#include "ZKLogging.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QProcess>

void ZKFileBrowser::reveal(const QUrl &url) {
    if (url.isEmpty()) {
        return;
    }
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("/org/freedesktop/FileManager1"),
                                                  QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("ShowItems"));
    message << QStringList{url.toString(QUrl::FullyEncoded)} << QString();
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.send(message)) {
        return;
    }
    // No file manager service: open the folder that holds the item instead.
    const QUrl folder =
        url.isLocalFile() ? QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath()) : url;
    if (!QProcess::startDetached(QStringLiteral("xdg-open"), {folder.toString()})) {
        qCInfo(lcEngine) << "Unable to reveal" << url;
    }
}
