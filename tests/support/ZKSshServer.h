// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

// The system's OpenSSH daemon started for a test, on 127.0.0.1 or ::1 and a
// free port, with its configuration, keys, log and the tests' data folder in
// a temporary folder of its own. It lets in the user running the tests with
// either of two keys (one protected by a passphrase), never a password, and
// serves SFTP in process. Stopped, with every session it serves, when
// destroyed.
class ZKSshServer {
public:
    // host: 127.0.0.1 or ::1.
    explicit ZKSshServer(const QString &host = QStringLiteral("127.0.0.1"));
    ~ZKSshServer();

    ZKSshServer(const ZKSshServer &) = delete;
    ZKSshServer &operator=(const ZKSshServer &) = delete;

    static QString program() { return QStringLiteral("/usr/sbin/sshd"); }

    // Makes the keys and starts the daemon. False with a reason in
    // errorString() when it cannot be run.
    bool start();
    // Ends the daemon and the sessions it serves, as a crash would.
    void stop();
    // Stopped and started again on the same port, keys and root, as after a
    // crash and a restart.
    bool restart();
    // A new host key, then a restart on the same port: what a client that
    // knew the old key must refuse.
    bool replaceHostKey();
    QString errorString() const { return m_errorString; }

    QString host() const { return m_host; }
    quint16 port() const { return m_port; }
    // The account running the tests, the only one let in.
    QString username() const { return m_username; }
    // The folder tests keep their remote files in; SFTP paths are absolute.
    QString root() const { return m_root; }
    // sftp://USER@HOST:PORT/ROOT/relative.
    QUrl url(const QString &relative) const;

    // A private key without a passphrase, and one with passphrase().
    QString userKeyPath() const { return m_userKey; }
    QString passphraseKeyPath() const { return m_passphraseKey; }
    static QString passphrase() { return QStringLiteral("test passphrase ünï"); }

    // "[HOST]:PORT ssh-ed25519 AAAA...", a line of a known_hosts file.
    QString knownHostsLine() const;
    // "SHA256:...", as ssh-keygen -l shows it.
    QString hostKeyFingerprint() const;
    // Writes home/.ssh/known_hosts that knows this server's key (0600).
    bool writeClientFiles(const QString &home) const;
    // What the daemon logged so far.
    QByteArray log() const;

    // Shared with the other SSH fixtures.
    // An ed25519 key pair at path and path.pub, protected by passphrase when
    // one is given. False with the reason in error.
    static bool generateKey(const QString &path, const QString &passphrase, QString *error);
    // The known_hosts line for the public key at publicKeyPath served on
    // host and port; empty when the file cannot be read.
    static QString knownHostsLine(const QString &host, quint16 port, const QString &publicKeyPath);
    // Writes home/.ssh/known_hosts holding line, readable by its owner only.
    static bool writeKnownHosts(const QString &home, const QString &line);
    // sftp://user@host:port/folder/relative.
    static QUrl sftpUrl(const QString &user, const QString &host, quint16 port,
                        const QString &folder, const QString &relative);

private:
    bool makeKeys();
    bool makeHostKey();
    bool writeConfig();
    bool launch();
    bool fail(const QString &reason);
    QString filePath(const QString &name) const;

    QString m_host;
    std::unique_ptr<QTemporaryDir> m_folder;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_username;
    QString m_root;
    QString m_userKey;
    QString m_passphraseKey;
    QString m_errorString;
};
