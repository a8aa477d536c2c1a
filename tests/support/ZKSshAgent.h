// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// A private OpenSSH key agent for a test, listening on a socket in a
// temporary folder of its own; it holds only the keys the test adds and is
// stopped when destroyed. Tests point SSH_AUTH_SOCK at socketPath().
class ZKSshAgent {
public:
    ZKSshAgent();
    ~ZKSshAgent();

    ZKSshAgent(const ZKSshAgent &) = delete;
    ZKSshAgent &operator=(const ZKSshAgent &) = delete;

    // False with a reason in errorString() when the agent cannot be run.
    bool start();
    void stop();
    QString errorString() const { return m_errorString; }

    QString socketPath() const { return m_socket; }
    // The system environment with SSH_AUTH_SOCK set to this agent.
    QProcessEnvironment environment() const;
    // Loads the private key at keyPath, unlocked with passphrase when it has
    // one. False with the reason in errorString().
    bool add(const QString &keyPath, const QString &passphrase = QString());

private:
    bool fail(const QString &reason);

    std::unique_ptr<QTemporaryDir> m_folder;
    QProcess m_process;
    QString m_socket;
    QString m_errorString;
};
