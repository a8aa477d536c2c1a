// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QSslCertificate>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

// Real web servers for the download tests, on 127.0.0.1 and free ports, with
// their configuration, certificate and logs in a private temporary folder:
// nginx over HTTP and HTTPS (answers a Range with 206) and Python's
// http.server (ignores Range, answers 200). Stopped when destroyed.
class ZKHttpServers {
public:
    ZKHttpServers();
    ~ZKHttpServers();

    ZKHttpServers(const ZKHttpServers &) = delete;
    ZKHttpServers &operator=(const ZKHttpServers &) = delete;

    // Serve the files below root. False with the reason in errorString().
    bool startNginx(const QString &root);
    bool startPythonServer(const QString &root);
    void stop();
    // nginx stopped and started again with the same ports, root and files,
    // as after a crash and a restart.
    bool restartNginx();

    QUrl nginxUrl(const QString &path) const;
    QUrl nginxHttpsUrl(const QString &path) const;
    QUrl pythonUrl(const QString &path) const;
    // nginx asks for a user name and password below /private/: these.
    static QString privateUser() { return QStringLiteral("reader"); }
    static QString privatePassword() { return QStringLiteral("Pw-private-9173"); }

    // One line per request nginx answered: method, path, status, the Range
    // header asked for, the body bytes sent, the If-Range header and all
    // bytes sent, head included.
    QByteArray nginxAccessLog() const;
    // The self-signed certificate nginx presents; trusted by nobody until a
    // test says so.
    QSslCertificate certificate() const;
    QString errorString() const { return m_errorString; }

private:
    bool makeCertificate();
    bool waitUntilListening(QProcess &process, const QList<quint16> &ports);

    std::unique_ptr<QTemporaryDir> m_dir;
    QProcess m_nginx;
    QProcess m_python;
    quint16 m_nginxPort = 0;
    quint16 m_nginxHttpsPort = 0;
    quint16 m_pythonPort = 0;
    QString m_errorString;
};
