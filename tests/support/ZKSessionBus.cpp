// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSessionBus.h"

#include "ZKTestSupport.h"

#include <QStandardPaths>

#include <csignal>
#include <sys/prctl.h>

ZKSessionBus::~ZKSessionBus() {
    ZKTestSupport::stopProcess(m_daemon);
}

bool ZKSessionBus::start() {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (program.isEmpty()) {
        m_errorString = QStringLiteral("dbus-daemon is not installed");
        return false;
    }
    // A test that dies must not leave its bus running.
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_daemon.start(program, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                             QStringLiteral("--print-address=1")});
    if (!m_daemon.waitForStarted(5000) || !m_daemon.waitForReadyRead(5000)) {
        m_errorString = QStringLiteral("the session bus did not start: %1")
                            .arg(QString::fromLocal8Bit(m_daemon.readAllStandardError()));
        return false;
    }
    m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    if (m_address.isEmpty()) {
        m_errorString = QStringLiteral("the session bus gave no address");
        return false;
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
    return true;
}
