// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNotificationManager.h"

#include "ZKLogging.h"
#include "ZKPreferenceKeys.h"
#include "ZKUserDefaults.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
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

} // namespace

void ZKNotificationManager::setAttentionRequest(AttentionRequest request) {
    attentionRequest() = std::move(request);
}

void ZKNotificationManager::notifyQueueCompleted(const QString &name, const QString &description,
                                                 bool someFailed, QObject *origin) {
    auto &defaults = ZKUserDefaults::standard();
    QString label = QStringLiteral("Completed");
    QString sound = defaults.stringForKey(ZKPreferenceKeys::completionSound);
    if (someFailed) {
        label = QStringLiteral("Failed");
        sound = defaults.stringForKey(ZKPreferenceKeys::failureSound);
    }
    if (!sound.isEmpty()) {
        playSound(sound);
    }

    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                                  QStringLiteral("/org/freedesktop/Notifications"),
                                                  QStringLiteral("org.freedesktop.Notifications"),
                                                  QStringLiteral("Notify"));
    message << QStringLiteral("Ferrowick") << quint32(0) << QStringLiteral("ferrowick")
            << QStringLiteral("%1 %2").arg(name, label) << description << QStringList()
            << QVariantMap() << qint32(-1);
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        requestAttention(origin, name, label);
        return;
    }
    // Only the answer tells whether a notification service is there: one
    // that is merely activatable is not yet on the bus.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, origin = QPointer<QObject>(origin), name, label] {
                         watcher->deleteLater();
                         if (watcher->isError()) {
                             requestAttention(origin, name, label);
                         }
                     });
}

QStringList ZKNotificationManager::soundNames() {
    QStringList names;
    for (const QString &folder : soundFolders()) {
        QStringList dirs{folder};
        for (const QString &theme : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            dirs << QDir(folder).filePath(theme + QStringLiteral("/stereo"));
        }
        for (const QString &dir : dirs) {
            const QFileInfoList files = QDir(dir).entryInfoList(soundFileFilters(), QDir::Files);
            for (const QFileInfo &file : files) {
                names << file.completeBaseName();
            }
        }
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
    folders << QStandardPaths::locateAll(QStandardPaths::GenericDataLocation,
                                         QStringLiteral("sounds"), QStandardPaths::LocateDirectory);
#ifdef FERROWICK_SOUND_DIR
    folders << QStringLiteral(FERROWICK_SOUND_DIR);
#endif
    return folders;
}

QString ZKNotificationManager::soundPath(const QString &name) {
    if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
        return QString();
    }
    static const QStringList extensions = [] {
        QStringList list;
        for (const QString &filter : soundFileFilters()) {
            list << filter.mid(2);
        }
        return list;
    }();
    for (const QString &folder : soundFolders()) {
        // A folder of its own sounds, or a sound theme's stereo folder.
        QStringList candidates{folder};
        for (const QString &theme : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            candidates << QDir(folder).filePath(theme + QStringLiteral("/stereo"));
        }
        for (const QString &dir : candidates) {
            for (const QString &extension : extensions) {
                const QString path = QDir(dir).filePath(name + QLatin1Char('.') + extension);
                if (QFileInfo(path).isFile()) {
                    return path;
                }
            }
        }
    }
    return QString();
}

void ZKNotificationManager::playSound(const QString &name) {
    const QString path = soundPath(name);
    if (path.isEmpty()) {
        qCInfo(lcEngine) << "No sound named" << name;
        return;
    }
    static std::mutex lock;
    static ca_context *context = nullptr;
    std::lock_guard locker(lock);
    if (!context) {
        snd_lib_error_set_handler(logAlsaMessage);
        if (ca_context_create(&context) != CA_SUCCESS) {
            context = nullptr;
            qCInfo(lcEngine) << "No sound device: cannot play" << name;
            return;
        }
        ca_context_change_props(context, CA_PROP_APPLICATION_NAME, "Ferrowick", nullptr);
    }
    const int result = ca_context_play(context, 0, CA_PROP_MEDIA_FILENAME,
                                       QFile::encodeName(path).constData(), nullptr);
    if (result != CA_SUCCESS) {
        qCInfo(lcEngine) << "Unable to play" << path << ca_strerror(result);
    }
}
