// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

// An SFTP server that lets one account in by password alone, asked either
// as a password or as one keyboard-interactive prompt, and no key: the
// counterpart of ZKSshServer for logins with a password. A small Python
// server on 127.0.0.1 or ::1 and a free port, with its host key and the
// tests' data folder in a temporary folder of its own. It serves the local
// file system with absolute paths, as a daemon does. Stopped when destroyed.
class ZKSftpPasswordServer {
public:
    // host: 127.0.0.1 or ::1.
    explicit ZKSftpPasswordServer(const QString &host = QStringLiteral("127.0.0.1"));
    ~ZKSftpPasswordServer();

    ZKSftpPasswordServer(const ZKSftpPasswordServer &) = delete;
    ZKSftpPasswordServer &operator=(const ZKSftpPasswordServer &) = delete;

    // The interpreter that has the SSH library the server is built on.
    static QString interpreter() { return QStringLiteral("/usr/bin/python3"); }
    static QString script();

    // Before start(): the ways of logging in offered, comma-separated
    // ("password", "keyboard-interactive"); both by default.
    void setAuthMethods(const QString &methods) { m_methods = methods; }

    // False with a reason in errorString() when the server cannot be run.
    bool start();
    // Ends the server and every session it serves.
    void stop();
    // Stopped and started again on the same port, key and root.
    bool restart();
    QString errorString() const { return m_errorString; }

    QString host() const { return m_host; }
    quint16 port() const { return m_port; }
    static QString username() { return QStringLiteral("tester"); }
    static QString password() { return QStringLiteral("test password"); }
    // The folder tests keep their remote files in; relative paths start
    // there too.
    QString root() const { return m_root; }
    // sftp://USER@HOST:PORT/ROOT/relative, without the password.
    QUrl url(const QString &relative) const;
    // "[HOST]:PORT ssh-ed25519 AAAA...", a line of a known_hosts file.
    QString knownHostsLine() const;
    // Writes home/.ssh/known_hosts that knows this server's key (0600).
    bool writeClientFiles(const QString &home) const;

private:
    bool launch(quint16 port);
    bool fail(const QString &reason);
    QString hostKeyPath() const;

    QString m_host;
    std::unique_ptr<QTemporaryDir> m_folder;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_root;
    QString m_methods = QStringLiteral("password,keyboard-interactive");
    QString m_errorString;
};
