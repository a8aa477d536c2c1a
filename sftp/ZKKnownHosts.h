// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <memory>

struct _LIBSSH2_SESSION;

// The server host keys the user has accepted, in the known_hosts files ssh
// keeps, so that a server accepted by one is accepted by the other and a
// changed key is refused by both. Hashed names, name lists, "[host]:port",
// patterns with "*", "?" and "!", and @revoked lines are understood;
// @cert-authority lines and keys of types without a number here are skipped.
// Safe to use from several threads.
class ZKKnownHosts {
public:
    enum class Result { Known, Unknown, Changed };
    struct Check {
        Result result = Result::Unknown;
        // Where the entry holding another key of this type for the host is
        // (the first such entry), or the @revoked entry naming this key:
        // the place to tell the user to look at.
        QString file;
        int line = 0;
    };

    // QDir::homePath() + "/.ssh/known_hosts".
    static QString defaultUserFile();

    // The user's file is read first, then the system's (never written).
    explicit ZKKnownHosts(const QString &userFile = defaultUserFile(),
                          const QStringList &systemFiles = {
                              QStringLiteral("/etc/ssh/ssh_known_hosts")});
    ~ZKKnownHosts();
    ZKKnownHosts(const ZKKnownHosts &) = delete;
    ZKKnownHosts &operator=(const ZKKnownHosts &) = delete;

    // key: the raw host key blob the server presented; type: its
    // LIBSSH2_HOSTKEY_TYPE_*. A missing or unreadable file knows nothing.
    Check check(const QString &host, quint16 port, const QByteArray &key, int type) const;

    // Appends the entry as ssh writes it ("host" on port 22, "[host]:port"
    // otherwise), creating the file's folder (0700) and the file (0600) when
    // missing. Existing lines are never rewritten. False with *error set on
    // failure.
    bool add(const QString &host, quint16 port, const QByteArray &key, int type,
             QString *error) const;

    // "SHA256:" and the unpadded base64 of the key's SHA-256, as ssh shows it.
    static QString fingerprint(const QByteArray &key);
    // "ED25519", "ECDSA", "RSA" or "DSA", as ssh names keys in its messages.
    static QString keyTypeName(int type);

private:
    struct SessionDeleter {
        void operator()(_LIBSSH2_SESSION *session) const;
    };

    QString m_userFile;
    QStringList m_systemFiles;
    // The knownhost functions want a session only for their memory and error
    // text; the lock keeps two threads from sharing that text.
    mutable QMutex m_mutex;
    std::unique_ptr<_LIBSSH2_SESSION, SessionDeleter> m_session;
};
