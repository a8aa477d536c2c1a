// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKSshPrompter.h"

#include <mutex>

// Asks on the controlling terminal (/dev/tty), as ssh does, so that a queue
// whose output goes to a file or a pipe still asks its user. Without a
// terminal nothing is asked: an unknown key is refused, and a secret must
// come from --password-stdin or the password store. Secrets are typed
// without echo and never kept by the terminal.
class ZKTerminalSshPrompter : public ZKSshPrompter {
public:
    bool acceptNewHostKey(const QString &host, const QString &keyType,
                          const QString &fingerprint) override;
    std::optional<QString> askSecret(const QString &prompt, bool *remember) override;

private:
    // Several workers may connect at once; one question at a time.
    std::mutex m_lock;
};
