// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpPasswordServer.h"

#include "ZKSshServer.h"
#include "ZKTestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

#include <signal.h>
#include <sys/prctl.h>

ZKSftpPasswordServer::ZKSftpPasswordServer(const QString &host)
    : m_host(host) {
    // A test that dies must not leave its server running.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

ZKSftpPasswordServer::~ZKSftpPasswordServer() {
    stop();
}

QString ZKSftpPasswordServer::script() {
    return QStringLiteral(FERROWICK_SFTP_PASSWORD_SERVER);
}

bool ZKSftpPasswordServer::fail(const QString &reason) {
    m_errorString = QStringLiteral("SFTP password server: %1").arg(reason);
    stop();
    return false;
}

QString ZKSftpPasswordServer::hostKeyPath() const {
    return QDir(m_folder->path()).filePath(QStringLiteral("host_ed25519"));
}

QUrl ZKSftpPasswordServer::url(const QString &relative) const {
    return ZKSshServer::sftpUrl(username(), m_host, m_port, m_root, relative);
}

QString ZKSftpPasswordServer::knownHostsLine() const {
    return ZKSshServer::knownHostsLine(m_host, m_port, hostKeyPath() + QStringLiteral(".pub"));
}

bool ZKSftpPasswordServer::writeClientFiles(const QString &home) const {
    return ZKSshServer::writeKnownHosts(home, knownHostsLine());
}

bool ZKSftpPasswordServer::start() {
    stop();
    if (!QFileInfo(interpreter()).isExecutable() || !QFileInfo::exists(script())) {
        return fail(QStringLiteral("%1 or %2 is missing").arg(interpreter(), script()));
    }
    m_folder = std::make_unique<QTemporaryDir>();
    if (!m_folder->isValid()) {
        return fail(QStringLiteral("no temporary folder: %1").arg(m_folder->errorString()));
    }
    m_root = QDir(m_folder->path()).filePath(QStringLiteral("root"));
    if (!QDir().mkpath(m_root)) {
        return fail(QStringLiteral("cannot make %1").arg(m_root));
    }
    QString error;
    if (!ZKSshServer::generateKey(hostKeyPath(), QString(), &error)) {
        return fail(error);
    }
    // The server takes a free port itself and names it, so no other
    // process can take it in between.
    return launch(0);
}

bool ZKSftpPasswordServer::launch(quint16 port) {
    m_errorString.clear();
    // Into a file: a pipe nobody reads while a test blocks would stall it.
    const QString log = QDir(m_folder->path()).filePath(QStringLiteral("server.log"));
    m_process.setStandardErrorFile(log, QIODevice::Append);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SFTP_TEST_AUTH_METHODS"), m_methods);
    m_process.setProcessEnvironment(environment);
    m_process.start(interpreter(), {script(), m_host, QString::number(port), m_root, username(),
                                    password(), hostKeyPath()});
    if (!m_process.waitForStarted(5000)) {
        return fail(QStringLiteral("cannot start: %1").arg(m_process.errorString()));
    }
    const QDeadlineTimer deadline(20000);
    while (!m_process.canReadLine()) {
        if (deadline.hasExpired() || !m_process.waitForReadyRead(int(deadline.remainingTime()))) {
            const QString output = QString::fromLocal8Bit(ZKTestSupport::readFile(log));
            return fail(QStringLiteral("named no port: %1").arg(output));
        }
    }
    bool isNumber = false;
    m_port = quint16(m_process.readLine().trimmed().toUInt(&isNumber));
    if (!isNumber || m_port == 0) {
        return fail(QStringLiteral("named no port"));
    }
    return true;
}

void ZKSftpPasswordServer::stop() {
    ZKTestSupport::stopProcess(m_process);
}

bool ZKSftpPasswordServer::restart() {
    if (!m_folder) {
        return start();
    }
    stop();
    return launch(m_port);
}
