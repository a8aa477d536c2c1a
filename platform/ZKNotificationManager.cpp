// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNotificationManager.h"

#include "ZKFileBrowser.h"
#include "ZKLogging.h"
#include "ZKPreferenceKeys.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

#include <alsa/asoundlib.h>
#include <canberra.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

// ALSA writes its complaints straight to the terminal, a dozen lines of
// them on a machine without a sound card; they belong in our log instead.
void logAlsaMessage(const char *file, int line, const char *function, int error, const char *format,
                    ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const QString reason =
        error != 0 ? QStringLiteral(" (%1)").arg(QString::fromLocal8Bit(snd_strerror(error)))
                   : QString();
    qCDebug(lcEngine).nospace().noquote()
        << "ALSA " << file << ":" << line << " " << function << ": " << text << reason;
}

QStringList soundFileFilters() {
    return {QStringLiteral("*.oga"), QStringLiteral("*.ogg"), QStringLiteral("*.wav"),
            QStringLiteral("*.flac")};
}

// The names of the sounds in these folders, each with its file.
QList<QFileInfo> soundFilesIn(const QStringList &folders) {
    QList<QFileInfo> files;
    for (const QString &folder : folders) {
        files << QDir(folder).entryInfoList(soundFileFilters(), QDir::Files, QDir::Name);
    }
    return files;
}

ZKNotificationManager::AttentionRequest &attentionRequest() {
    static ZKNotificationManager::AttentionRequest request;
    return request;
}

void requestAttention(QObject *origin, const QString &name, const QString &label) {
    qCInfo(lcEngine) << "No notification service: the queue" << name << label;
    if (attentionRequest()) {
        attentionRequest()(origin);
    }
}

const QString notificationsService = QStringLiteral("org.freedesktop.Notifications");
const QString notificationsPath = QStringLiteral("/org/freedesktop/Notifications");

// The number of finished queues' notices kept actionable when the service
// never says they were closed.
constexpr qsizetype keptNotices = 32;

} // namespace

const QString ZKNotificationManager::showInFolderAction = QStringLiteral("show-in-folder");
const QString ZKNotificationManager::retryAction = QStringLiteral("retry");

ZKNotificationManager &ZKNotificationManager::instance() {
    static auto *manager = new ZKNotificationManager;
    return *manager;
}

void ZKNotificationManager::setAttentionRequest(AttentionRequest request) {
    attentionRequest() = std::move(request);
}

void ZKNotificationManager::notifyQueueCompleted(const QueueNotice &notice) {
    auto &defaults = ZKUserDefaults::standard();
    const bool failed = notice.failedTasks != 0;
    const QString label = failed
                              ? QCoreApplication::translate("ZKNotificationManager", "Failed")
                              : QCoreApplication::translate("ZKNotificationManager", "Completed");
    const QString sound = defaults.stringForKey(failed ? ZKPreferenceKeys::failureSound
                                                       : ZKPreferenceKeys::completionSound);
    if (!sound.isEmpty()) {
        playSound(sound);
    }

    Actions actions{notice.destination, failed ? notice.retry : std::function<void()>()};
    QStringList keys;
    if (!actions.destination.isEmpty()) {
        keys << showInFolderAction
             << QCoreApplication::translate("ZKNotificationManager", "Show in Folder");
    }
    if (actions.retry) {
        keys << retryAction << QCoreApplication::translate("ZKNotificationManager", "Retry");
    }
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("com.velmarind.Ferrowick")},
        {QStringLiteral("category"),
         failed ? QStringLiteral("transfer.error") : QStringLiteral("transfer.complete")},
    };
    auto message = QDBusMessage::createMethodCall(notificationsService, notificationsPath,
                                                  notificationsService, QStringLiteral("Notify"));
    message << QStringLiteral("Ferrowick") << quint32(0)
            << QStringLiteral("com.velmarind.Ferrowick")
            << QStringLiteral("%1 %2").arg(notice.name, label) << notice.description << keys
            << hints << qint32(-1);
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        requestAttention(notice.origin, notice.name, label);
        return;
    }
    if (!keys.isEmpty()) {
        instance().listen();
    }
    // Only the answer tells whether a notification service is there: one
    // that is merely activatable is not yet on the bus.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, origin = QPointer<QObject>(notice.origin), name = notice.name, label,
                      actions = std::move(actions)]() mutable {
                         watcher->deleteLater();
                         const QDBusPendingReply<uint> reply = *watcher;
                         if (reply.isError()) {
                             requestAttention(origin, name, label);
                         } else if (actions.retry || !actions.destination.isEmpty()) {
                             instance().keep(reply.value(), std::move(actions));
                         }
                     });
}

void ZKNotificationManager::listen() {
    if (m_listening) {
        return;
    }
    // From the service's well-known name only: no other client of the bus
    // can act on our notices.
    auto bus = QDBusConnection::sessionBus();
    m_listening =
        bus.connect(notificationsService, notificationsPath, notificationsService,
                    QStringLiteral("ActionInvoked"), this, SLOT(actionInvoked(uint, QString))) &&
        bus.connect(notificationsService, notificationsPath, notificationsService,
                    QStringLiteral("NotificationClosed"), this,
                    SLOT(notificationClosed(uint, uint)));
}

void ZKNotificationManager::keep(uint id, Actions actions) {
    m_actions.insert(id, std::move(actions));
    m_order.removeAll(id);
    m_order.append(id);
    while (m_order.size() > keptNotices) {
        m_actions.remove(m_order.takeFirst());
    }
}

void ZKNotificationManager::actionInvoked(uint id, const QString &action) {
    const auto found = m_actions.constFind(id);
    if (found == m_actions.constEnd()) {
        return;
    }
    // Copies: acting may close the notice, which forgets it.
    const Actions actions = found.value();
    if (action == showInFolderAction && !actions.destination.isEmpty()) {
        ZKFileBrowser::reveal(actions.destination);
    } else if (action == retryAction && actions.retry) {
        actions.retry();
    }
}

void ZKNotificationManager::notificationClosed(uint id, uint) {
    m_actions.remove(id);
    m_order.removeAll(id);
}

QStringList ZKNotificationManager::themeSoundNames() {
    QStringList names;
    const QStringList folders = QStandardPaths::locateAll(
        QStandardPaths::GenericDataLocation, QStringLiteral("sounds/freedesktop/stereo"),
        QStandardPaths::LocateDirectory);
    for (const QFileInfo &file : soundFilesIn(folders)) {
        names << file.completeBaseName();
    }
    names.removeDuplicates();
    return names;
}

QStringList ZKNotificationManager::soundNames() {
    QStringList names = themeSoundNames();
    for (const QFileInfo &file : soundFilesIn(soundFolders())) {
        names << file.completeBaseName();
    }
    names.sort();
    names.removeDuplicates();
    return names;
}

QStringList ZKNotificationManager::soundFolders() {
    QStringList folders;
    const QByteArray own = qgetenv("FERROWICK_SOUND_DIR");
    if (!own.isEmpty()) {
        folders << QString::fromLocal8Bit(own);
    }
    folders << QStandardPaths::locateAll(QStandardPaths::AppDataLocation, QStringLiteral("sounds"),
                                         QStandardPaths::LocateDirectory);
#ifdef FERROWICK_SOUND_DIR
    folders << QStringLiteral(FERROWICK_SOUND_DIR);
#endif
    return folders;
}

QString ZKNotificationManager::soundPath(const QString &name) {
    if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
        return QString();
    }
    for (const QFileInfo &file : soundFilesIn(soundFolders())) {
        if (file.completeBaseName() == name) {
            return file.filePath();
        }
    }
    return QString();
}

bool ZKNotificationManager::playSound(const QString &name) {
    const QString path = soundPath(name);
    if (path.isEmpty() && !themeSoundNames().contains(name)) {
        qCInfo(lcEngine) << "No sound named" << name;
        return false;
    }
    static std::mutex lock;
    static ca_context *context = nullptr;
    std::lock_guard locker(lock);
    if (!context) {
        snd_lib_error_set_handler(logAlsaMessage);
        if (ca_context_create(&context) != CA_SUCCESS) {
            context = nullptr;
            qCInfo(lcEngine) << "No sound device: cannot play" << name;
            return false;
        }
        ca_context_change_props(context, CA_PROP_APPLICATION_NAME, "Ferrowick",
                                CA_PROP_APPLICATION_ID, "com.velmarind.Ferrowick", nullptr);
    }
    // The theme's events go by id, so that the library finds the user's
    // theme's version of the sound and its language.
    const int result =
        path.isEmpty()
            ? ca_context_play(context, 0, CA_PROP_EVENT_ID, name.toUtf8().constData(), nullptr)
            : ca_context_play(context, 0, CA_PROP_MEDIA_FILENAME,
                              QFile::encodeName(path).constData(), nullptr);
    if (result != CA_SUCCESS) {
        // The sound is there: "not found" is the library's word for a
        // machine with no sound device.
        qCInfo(lcEngine).noquote()
            << "Cannot play the sound" << name << "on this machine:"
            << (result == CA_ERROR_NOTFOUND ? QStringLiteral("no sound device takes it")
                                            : QString::fromUtf8(ca_strerror(result)));
        return false;
    }
    return true;
}
