// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileBrowser.h"

#include "ZKLogging.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>

#include <memory>

namespace {

ZKFileBrowser::FailureReport &failureReport() {
    static ZKFileBrowser::FailureReport report;
    return report;
}

void reportFailure(const QUrl &url, const QUrl &folder) {
    const QString shown = url.isLocalFile() ? url.toLocalFile() : url.toDisplayString();
    const QString message =
        QCoreApplication::translate("ZKFileBrowser",
                                    "\u201c%1\u201d cannot be shown: no file manager answered, and "
                                    "no program opened the folder \u201c%2\u201d.")
            .arg(QFileInfo(shown).fileName().isEmpty() ? shown : QFileInfo(shown).fileName(),
                 folder.isLocalFile() ? folder.toLocalFile() : folder.toDisplayString());
    if (failureReport()) {
        failureReport()(message);
    } else {
        qCWarning(lcEngine).noquote() << message;
    }
}

// The desktop's opener, as a desktop session without a file manager service
// offers it. It ends at once when it has handed the folder on or found no
// program for it; some openers run the file manager itself and stay.
void openFolder(const QUrl &url) {
    const QUrl folder =
        url.isLocalFile() ? QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath()) : url;
    auto *opener = new QProcess(QCoreApplication::instance());
    opener->setProgram(QStringLiteral("xdg-open"));
    opener->setArguments({folder.isLocalFile() ? folder.toLocalFile() : folder.toString()});
    opener->setStandardOutputFile(QProcess::nullDevice());
    opener->setStandardErrorFile(QProcess::nullDevice());
    const auto started = std::make_shared<QElapsedTimer>();
    started->start();
    QObject::connect(opener, &QProcess::errorOccurred, opener,
                     [opener, url, folder](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             qCInfo(lcEngine) << "Cannot start xdg-open:" << opener->errorString();
                             opener->deleteLater();
                             reportFailure(url, folder);
                         }
                     });
    QObject::connect(opener, &QProcess::finished, opener,
                     [opener, url, folder, started](int code, QProcess::ExitStatus status) {
                         opener->deleteLater();
                         // A file manager it ran and that the user closed
                         // much later has nothing more to say about this.
                         if ((status != QProcess::NormalExit || code != 0) &&
                             !started->hasExpired(10000)) {
                             qCInfo(lcEngine) << "xdg-open could not open" << folder << code;
                             reportFailure(url, folder);
                         }
                     });
    opener->start();
}

} // namespace

void ZKFileBrowser::setFailureReport(FailureReport report) {
    failureReport() = std::move(report);
}

QUrl ZKFileBrowser::itemInFolder(const QUrl &folder, const QString &name) {
    if (folder.isLocalFile() && !name.isEmpty()) {
        const QString child = QDir(folder.toLocalFile()).filePath(name);
        if (QFileInfo::exists(child)) {
            return QUrl::fromLocalFile(child);
        }
    }
    return folder;
}

void ZKFileBrowser::reveal(const QUrl &url) {
    if (url.isEmpty()) {
        return;
    }
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolder(url);
        return;
    }
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("/org/freedesktop/FileManager1"),
                                                  QStringLiteral("org.freedesktop.FileManager1"),
                                                  QStringLiteral("ShowItems"));
    message << QStringList{url.toString(QUrl::FullyEncoded)} << QString();
    // Only the answer tells whether a file manager is there; the bus may
    // first have to start one.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, url] {
        watcher->deleteLater();
        if (watcher->isError()) {
            qCInfo(lcEngine) << "No file manager showed" << url << watcher->error().message();
            openFolder(url);
        }
    });
}
