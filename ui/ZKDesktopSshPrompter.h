// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKSshPrompter.h"

#include <QCoreApplication>

// Asks in the window what an SSH connection needs to know: whether to trust a
// server's new key (its fingerprint shown, as the terminal shows it), and a
// password or a key's passphrase, with the choice to keep it in the password
// store. The dialog is modal to the active window and opened, never run in a
// loop of its own; the worker that connects waits for the answer.
class ZKDesktopSshPrompter : public ZKSshPrompter {
    Q_DECLARE_TR_FUNCTIONS(ZKDesktopSshPrompter)

public:
    bool acceptNewHostKey(const QString &host, const QString &keyType,
                          const QString &fingerprint) override;
    std::optional<QString> askSecret(const QString &prompt, bool *remember) override;
};
