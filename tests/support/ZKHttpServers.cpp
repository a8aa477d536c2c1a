// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHttpServers.h"

#include "ZKTestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

using ZKTestSupport::stopProcess;

namespace {

const QString loopback = QStringLiteral("127.0.0.1");

// A port nobody listens on right now. Another process may take it before
// the server does; the start is then tried again with new ports.
quint16 freePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) {
        return 0;
    }
    return probe.serverPort();
}

bool accepts(quint16 port) {
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    const bool connected = socket.waitForConnected(200);
    socket.abort();
    return connected;
}

QUrl urlFor(const QString &scheme, quint16 port, const QString &path) {
    QUrl url;
    url.setScheme(scheme);
    url.setHost(loopback);
    url.setPort(port);
    url.setPath(path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path);
    return url;
}

constexpr int startAttempts = 3;

} // namespace

ZKHttpServers::ZKHttpServers()
    : m_dir(std::make_unique<QTemporaryDir>()) {}

ZKHttpServers::~ZKHttpServers() {
    stop();
}

void ZKHttpServers::stop() {
    stopProcess(m_nginx);
    stopProcess(m_python);
}

bool ZKHttpServers::restartNginx() {
    const QString program = m_nginx.program();
    const QStringList arguments = m_nginx.arguments();
    stopProcess(m_nginx);
    m_nginx.start(program, arguments);
    return waitUntilListening(m_nginx, {m_nginxPort, m_nginxHttpsPort});
}

bool ZKHttpServers::waitUntilListening(QProcess &process, const QList<quint16> &ports) {
    const QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        if (process.state() == QProcess::NotRunning) {
            m_errorString =
                QStringLiteral("%1 ended at once: %2")
                    .arg(process.program(), QString::fromLocal8Bit(process.readAllStandardError()));
            return false;
        }
        bool all = true;
        for (const quint16 port : ports) {
            all = all && accepts(port);
        }
        if (all) {
            return true;
        }
        process.waitForFinished(50);
    }
    m_errorString = QStringLiteral("%1 did not start listening").arg(process.program());
    stopProcess(process);
    return false;
}

bool ZKHttpServers::makeCertificate() {
    const QDir dir(m_dir->path());
    if (QFile::exists(dir.filePath(QStringLiteral("cert.pem")))) {
        return true;
    }
    QProcess openssl;
    openssl.setWorkingDirectory(dir.path());
    openssl.start(QStringLiteral("openssl"),
                  {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                   "-nodes", "-keyout", "key.pem", "-out", "cert.pem", "-days", "2", "-subj",
                   "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1"});
    if (!openssl.waitForFinished(30000) || openssl.exitStatus() != QProcess::NormalExit ||
        openssl.exitCode() != 0) {
        m_errorString =
            QStringLiteral("openssl could not make a certificate: %1%2")
                .arg(openssl.errorString(), QString::fromLocal8Bit(openssl.readAllStandardError()));
        return false;
    }
    return true;
}

QSslCertificate ZKHttpServers::certificate() const {
    const QList<QSslCertificate> certificates =
        QSslCertificate::fromPath(QDir(m_dir->path()).filePath(QStringLiteral("cert.pem")));
    return certificates.isEmpty() ? QSslCertificate() : certificates.first();
}

bool ZKHttpServers::startNginx(const QString &root) {
    QString nginx = QStandardPaths::findExecutable(QStringLiteral("nginx"));
    if (nginx.isEmpty()) {
        // Not always on the path of a user who is not root.
        nginx = QStandardPaths::findExecutable(QStringLiteral("nginx"), {"/usr/sbin", "/sbin"});
    }
    if (nginx.isEmpty()) {
        m_errorString = QStringLiteral("nginx is not installed (scripts/install-deps.sh)");
        return false;
    }
    if (!m_dir->isValid() || !makeCertificate()) {
        return false;
    }
    const QDir dir(m_dir->path());
    for (const char *name : {"body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        dir.mkpath(QString::fromLatin1(name));
    }
    if (!ZKTestSupport::writeFile(
            dir.filePath(QStringLiteral("users")),
            (privateUser() + ":{PLAIN}" + privatePassword() + '\n').toUtf8())) {
        m_errorString = QStringLiteral("cannot write the nginx users");
        return false;
    }
    for (int attempt = 0; attempt < startAttempts; ++attempt) {
        m_nginxPort = freePort();
        m_nginxHttpsPort = freePort();
        const QString d = dir.path();
        // One process that serves by itself (no master, no workers changing
        // user), so that stopping it is one signal and it runs as whoever
        // runs the tests.
        const QString config =
            QStringLiteral(
                "daemon off;\n"
                "master_process off;\n"
                "worker_processes 1;\n"
                "pid %1/nginx.pid;\n"
                "error_log %1/error.log warn;\n"
                "events { worker_connections 128; }\n"
                "http {\n"
                "    log_format ranged '$request_method $uri $status range=\"$http_range\" "
                "sent=$body_bytes_sent if_range=\"$http_if_range\" total=$bytes_sent';\n"
                "    access_log %1/access.log ranged;\n"
                "    client_body_temp_path %1/body;\n"
                "    proxy_temp_path %1/proxy;\n"
                "    fastcgi_temp_path %1/fastcgi;\n"
                "    uwsgi_temp_path %1/uwsgi;\n"
                "    scgi_temp_path %1/scgi;\n"
                "    default_type application/octet-stream;\n"
                "    sendfile on;\n"
                "    server {\n"
                "        listen 127.0.0.1:%2;\n"
                "        listen 127.0.0.1:%3 ssl;\n"
                "        ssl_certificate %1/cert.pem;\n"
                "        ssl_certificate_key %1/key.pem;\n"
                "        root %4;\n"
                "        location /private/ {\n"
                "            auth_basic private;\n"
                "            auth_basic_user_file %1/users;\n"
                "        }\n"
                "    }\n"
                "}\n")
                .arg(d)
                .arg(m_nginxPort)
                .arg(m_nginxHttpsPort)
                .arg(root);
        if (!ZKTestSupport::writeFile(dir.filePath(QStringLiteral("nginx.conf")),
                                      config.toUtf8())) {
            m_errorString = QStringLiteral("cannot write the nginx configuration");
            return false;
        }
        m_nginx.setProcessChannelMode(QProcess::SeparateChannels);
        m_nginx.start(nginx, {"-p", d, "-c", dir.filePath(QStringLiteral("nginx.conf")), "-e",
                              dir.filePath(QStringLiteral("error.log"))});
        if (waitUntilListening(m_nginx, {m_nginxPort, m_nginxHttpsPort})) {
            return true;
        }
        stopProcess(m_nginx);
    }
    const QByteArray log = ZKTestSupport::readFile(dir.filePath(QStringLiteral("error.log")));
    m_errorString += QStringLiteral("; ") + QString::fromLocal8Bit(log.right(2000));
    return false;
}

bool ZKHttpServers::startPythonServer(const QString &root) {
    for (int attempt = 0; attempt < startAttempts; ++attempt) {
        m_pythonPort = freePort();
        m_python.setProcessChannelMode(QProcess::SeparateChannels);
        m_python.setStandardOutputFile(QProcess::nullDevice());
        m_python.start(QStringLiteral("python3"),
                       {"-m", "http.server", QString::number(m_pythonPort), "--bind", loopback,
                        "--directory", root});
        if (!m_python.waitForStarted(10000)) {
            m_errorString = QStringLiteral("python3 did not start: %1").arg(m_python.errorString());
            return false;
        }
        if (waitUntilListening(m_python, {m_pythonPort})) {
            return true;
        }
        stopProcess(m_python);
    }
    return false;
}

QUrl ZKHttpServers::nginxUrl(const QString &path) const {
    return urlFor(QStringLiteral("http"), m_nginxPort, path);
}

QUrl ZKHttpServers::nginxHttpsUrl(const QString &path) const {
    return urlFor(QStringLiteral("https"), m_nginxHttpsPort, path);
}

QUrl ZKHttpServers::pythonUrl(const QString &path) const {
    return urlFor(QStringLiteral("http"), m_pythonPort, path);
}

QByteArray ZKHttpServers::nginxAccessLog() const {
    return ZKTestSupport::readFile(QDir(m_dir->path()).filePath(QStringLiteral("access.log")));
}
