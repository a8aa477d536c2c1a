// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>
#include <optional>

// One real FTP daemon started for a test: vsftpd (anonymous, writable),
// pure-ftpd (a virtual account in a PureDB file) or proftpd (an account in
// its own password file), listening on 127.0.0.1 or ::1 on a free port, with a
// temporary folder as the account's root. Stopped when destroyed.
//
// pure-ftpd and proftpd are run from the folder scripts/install-deps.sh
// unpacks them into (FERROWICK_FTPD_DIR, by default /var/cache/ferrowick/ftpd).
// They, and the files they write, run as the "ftp" account; handOver()
// gives that account what a test put into the root. Starting needs root.
class ZKFtpServers {
public:
    enum Kind { Vsftpd, PureFtpd, Proftpd };

    // host: 127.0.0.1 or ::1.
    explicit ZKFtpServers(Kind kind, const QString &host = QStringLiteral("127.0.0.1"));
    ~ZKFtpServers();

    ZKFtpServers(const ZKFtpServers &) = delete;
    ZKFtpServers &operator=(const ZKFtpServers &) = delete;

    static QString name(Kind kind);
    // The daemon's program, or empty when it is not on this machine.
    static QString program(Kind kind);

    // Before start(): explicit TLS (AUTH TLS) with a certificate made for
    // localhost, 127.0.0.1 and ::1, required for logins and data alike, and
    // "ftps" URLs. No one trusts the certificate until a test does.
    void setSecure(bool secure) { m_secure = secure; }
    // "AB:CD:..." of the certificate, once started secure.
    QString certificateFingerprint() const { return m_fingerprint; }

    // False with a reason in errorString() when the daemon cannot be run.
    bool start();
    void stop();
    // Stopped and started again on the same port and root, as after a crash
    // and a restart; its sessions end with it.
    bool restart();
    QString errorString() const { return m_errorString; }

    quint16 port() const { return m_port; }
    QString username() const { return m_username; }
    QString password() const { return m_password; }
    // The local folder the account sees as "/".
    QString root() const { return m_root; }
    // ftp://USER@HOST:PORT/path, without the password.
    QUrl url(const QString &path) const;
    // The command words the daemon logged, in order ("USER", "SIZE", ...);
    // nullopt where it keeps no such log (pure-ftpd logs to syslog only).
    std::optional<QStringList> loggedCommands() const;
    // Gives path and everything below it to the account the daemon writes
    // as, so that it may append to, rename and remove what the test made.
    void handOver(const QString &path) const;

private:
    bool startVsftpd();
    bool startPureFtpd();
    bool startProftpd();
    std::optional<QByteArray> testerAccount(const QString &password);
    bool launch(const QString &program, const QStringList &arguments);
    bool makeCertificate();
    QString commandLogPath() const;
    bool fail(const QString &reason);

    bool isIpv6() const { return m_host.contains(QLatin1Char(':')); }

    Kind m_kind;
    QString m_host;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_root;
    QProcess m_process;
    quint16 m_port = 0;
    quint16 m_passivePort = 0;
    QString m_username;
    QString m_password;
    int m_uid = -1;
    int m_gid = -1;
    QString m_errorString;
    bool m_secure = false;
    QString m_certificate;
    QString m_key;
    QString m_fingerprint;
};
