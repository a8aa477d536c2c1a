// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKSessionBus.h"

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// A Secret Service of the test's own: a private session bus with
// gnome-keyring-daemon on it, unlocked, keeping its keyrings in a temporary
// folder. start() points this process's session bus at it, so it must run
// before anything talks to the session bus.
class ZKSecretService {
public:
    ZKSecretService() = default;
    ~ZKSecretService();

    ZKSecretService(const ZKSecretService &) = delete;
    ZKSecretService &operator=(const ZKSecretService &) = delete;

    // False with a reason in errorString() when a program is missing or the
    // service does not come up.
    bool start();
    void stop();
    QString errorString() const { return m_errorString; }

private:
    bool fail(const QString &reason);

    QTemporaryDir m_folder;
    std::unique_ptr<ZKSessionBus> m_bus;
    QProcess m_keyring;
    QString m_errorString;
};
