// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshAgent.h"

#include "ZKTestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <signal.h>
#include <sys/prctl.h>

namespace {

const QString passphraseVariable = QStringLiteral("FERROWICK_TEST_PASSPHRASE");

} // namespace

ZKSshAgent::ZKSshAgent() {
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // A test that dies must not leave its agent running.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

ZKSshAgent::~ZKSshAgent() {
    stop();
}

bool ZKSshAgent::fail(const QString &reason) {
    m_errorString = QStringLiteral("ssh-agent: %1").arg(reason);
    return false;
}

bool ZKSshAgent::start() {
    stop();
    const QString program = QStandardPaths::findExecutable(QStringLiteral("ssh-agent"));
    if (program.isEmpty()) {
        return fail(QStringLiteral("not installed (openssh-client)"));
    }
    m_folder = std::make_unique<QTemporaryDir>();
    if (!m_folder->isValid()) {
        return fail(QStringLiteral("no temporary folder: %1").arg(m_folder->errorString()));
    }
    m_socket = QDir(m_folder->path()).filePath(QStringLiteral("agent.socket"));
    m_process.start(program, {"-D", "-a", m_socket});
    if (!m_process.waitForStarted(5000)) {
        return fail(QStringLiteral("cannot start: %1").arg(m_process.errorString()));
    }
    const QDeadlineTimer deadline(10000);
    while (!QFileInfo::exists(m_socket)) {
        if (m_process.state() != QProcess::Running || deadline.hasExpired()) {
            const QString output = QString::fromLocal8Bit(m_process.readAll());
            stop();
            return fail(QStringLiteral("no socket: %1").arg(output));
        }
        m_process.waitForFinished(50);
    }
    return true;
}

void ZKSshAgent::stop() {
    ZKTestSupport::stopProcess(m_process);
}

QProcessEnvironment ZKSshAgent::environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SSH_AUTH_SOCK"), m_socket);
    return environment;
}

bool ZKSshAgent::add(const QString &keyPath, const QString &passphrase) {
    if (m_process.state() != QProcess::Running) {
        return fail(QStringLiteral("not running"));
    }
    QProcessEnvironment environment = this->environment();
    if (!passphrase.isEmpty()) {
        // ssh-add asks for a passphrase on a terminal, which tests have not;
        // forced, it asks this helper instead, which answers from its
        // environment so the passphrase is written to no file.
        const QString helper = QDir(m_folder->path()).filePath(QStringLiteral("askpass"));
        const QByteArray script =
            "#!/bin/sh\nprintf '%s\\n' \"$" + passphraseVariable.toLatin1() + "\"\n";
        if (!ZKTestSupport::writeFile(helper, script) ||
            !QFile::setPermissions(helper, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ExeOwner)) {
            return fail(QStringLiteral("cannot write %1").arg(helper));
        }
        environment.insert(QStringLiteral("SSH_ASKPASS"), helper);
        environment.insert(QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("force"));
        environment.insert(passphraseVariable, passphrase);
    } else {
        // A key that does need one fails at once instead of asking.
        environment.insert(QStringLiteral("SSH_ASKPASS_REQUIRE"), QStringLiteral("never"));
    }
    QProcess sshAdd;
    sshAdd.setProcessEnvironment(environment);
    sshAdd.setProcessChannelMode(QProcess::MergedChannels);
    sshAdd.setStandardInputFile(QProcess::nullDevice());
    sshAdd.start(QStringLiteral("ssh-add"), {keyPath});
    if (!sshAdd.waitForFinished(20000) || sshAdd.exitStatus() != QProcess::NormalExit ||
        sshAdd.exitCode() != 0) {
        const QString output = QString::fromLocal8Bit(sshAdd.readAll());
        sshAdd.kill();
        return fail(
            QStringLiteral("ssh-add %1 failed: %2%3").arg(keyPath, sshAdd.errorString(), output));
    }
    return true;
}
