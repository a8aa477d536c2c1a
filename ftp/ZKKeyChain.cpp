// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKKeyChain.h"

#include "ZKLogging.h"

#include <QCoreApplication>
#include <QHash>

#include <libsecret/secret.h>

#include <mutex>

namespace {

// The session's stand-in for a password store that did not answer.
struct MemoryStore {
    std::mutex lock;
    QHash<QString, QString> passwords;
};

MemoryStore &memoryStore() {
    static MemoryStore store;
    return store;
}

QString memoryKey(const QString &host, const QString &username, const QString &protocol) {
    // Separated by a character no host or protocol name can hold.
    return protocol + QChar(0) + host + QChar(0) + username;
}

QString describe(GError *error) {
    return error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
}

enum class Lookup { Found, Absent, Failed };

Lookup lookUp(const QByteArray &host, const QByteArray &user, const QByteArray &protocol,
              QString *password) {
    GError *error = nullptr;
    gchar *secret = secret_password_lookup_sync(
        SECRET_SCHEMA_COMPAT_NETWORK, nullptr, &error, "server", host.constData(), "user",
        user.constData(), "protocol", protocol.constData(), nullptr);
    if (error) {
        qCInfo(lcFtp).noquote()
            << QStringLiteral("Password store lookup failed: %1").arg(describe(error));
        g_error_free(error);
        return Lookup::Failed;
    }
    if (!secret) {
        return Lookup::Absent;
    }
    *password = QString::fromUtf8(secret);
    secret_password_free(secret);
    return Lookup::Found;
}

bool clearItem(const QByteArray &host, const QByteArray &user, const QByteArray &protocol,
               bool *failed) {
    GError *error = nullptr;
    const gboolean removed = secret_password_clear_sync(
        SECRET_SCHEMA_COMPAT_NETWORK, nullptr, &error, "server", host.constData(), "user",
        user.constData(), "protocol", protocol.constData(), nullptr);
    *failed = error != nullptr;
    if (error) {
        qCInfo(lcFtp).noquote()
            << QStringLiteral("Password store removal failed: %1").arg(describe(error));
        g_error_free(error);
    }
    return removed;
}

} // namespace

const QString ZKKeyChain::ftpProtocol = QStringLiteral("ftp");

bool ZKKeyChain::storeFtpPassword(const QString &host, const QString &username,
                                  const std::optional<QString> &password) {
    return storePassword(host, username, password, ftpProtocol);
}

std::optional<QString> ZKKeyChain::retrieveFtpPassword(const QString &host,
                                                       const QString &username) {
    return retrievePassword(host, username, ftpProtocol);
}

bool ZKKeyChain::deleteFtpPassword(const QString &host, const QString &username) {
    return deletePassword(host, username, ftpProtocol);
}

bool ZKKeyChain::storePassword(const QString &host, const QString &username,
                               const std::optional<QString> &password, const QString &protocol) {
    const QByteArray hostText = host.toUtf8();
    const QByteArray userText = username.toUtf8();
    const QByteArray protocolText = protocol.toUtf8();

    if (!password) {
        // No password given means "the one the store keeps", never "an
        // empty one": a stored password is not lost to an endpoint that
        // was made without typing it again.
        return true;
    }
    QString current;
    const Lookup existing = lookUp(hostText, userText, protocolText, &current);
    const QString key = memoryKey(host, username, protocol);
    if (existing == Lookup::Failed) {
        // No store answers: this session keeps it, nothing is written.
        qCWarning(lcFtp).noquote()
            << QStringLiteral("No password store answered; keeping the password of %1@%2 in "
                              "memory for this session only")
                   .arg(username, host);
        MemoryStore &store = memoryStore();
        std::lock_guard locker(store.lock);
        store.passwords.insert(key, *password);
        return true;
    }
    if (existing == Lookup::Found) {
        bool failed = false;
        if (!clearItem(hostText, userText, protocolText, &failed) || failed) {
            return false;
        }
    }

    // The name the desktop's password manager shows the entry by.
    const QByteArray label = QCoreApplication::translate("ZKKeyChain", "FTP password for %1@%2")
                                 .arg(username, host)
                                 .toUtf8();
    const QByteArray secret = password->toUtf8();
    GError *error = nullptr;
    const gboolean stored = secret_password_store_sync(
        SECRET_SCHEMA_COMPAT_NETWORK, SECRET_COLLECTION_DEFAULT, label.constData(),
        secret.constData(), nullptr, &error, "server", hostText.constData(), "user",
        userText.constData(), "protocol", protocolText.constData(), nullptr);
    if (error) {
        qCWarning(lcFtp).noquote() << QStringLiteral("Unable to store the password of %1@%2: %3")
                                          .arg(username, host, describe(error));
        g_error_free(error);
        return false;
    }
    return stored;
}

std::optional<QString> ZKKeyChain::retrievePassword(const QString &host, const QString &username,
                                                    const QString &protocol) {
    QString password;
    if (lookUp(host.toUtf8(), username.toUtf8(), protocol.toUtf8(), &password) == Lookup::Found) {
        return password;
    }
    MemoryStore &store = memoryStore();
    std::lock_guard locker(store.lock);
    const auto kept = store.passwords.constFind(memoryKey(host, username, protocol));
    if (kept != store.passwords.constEnd()) {
        return kept.value();
    }
    return std::nullopt;
}

bool ZKKeyChain::deletePassword(const QString &host, const QString &username,
                                const QString &protocol) {
    bool removedFromMemory = false;
    {
        MemoryStore &store = memoryStore();
        std::lock_guard locker(store.lock);
        removedFromMemory = store.passwords.remove(memoryKey(host, username, protocol)) > 0;
    }
    bool failed = false;
    const bool removed = clearItem(host.toUtf8(), username.toUtf8(), protocol.toUtf8(), &failed);
    return removed || removedFromMemory;
}
