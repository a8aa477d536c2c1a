// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

// What an SSH connection asks the user while it is made: whether to trust a
// server whose key is not known yet, and a secret (a key's passphrase, an
// account's password). A connection is made on a worker thread, which waits
// for the answer; each front end installs the prompter that reaches its user
// (the terminal, the window). Without one nothing is asked: an unknown key is
// refused and only stored secrets are used.
class ZKSshPrompter {
public:
    virtual ~ZKSshPrompter() = default;

    // host is the name the user gave (with its port where not 22); keyType
    // and fingerprint as the terminal tools print them ("ED25519",
    // "SHA256:...").
    virtual bool acceptNewHostKey(const QString &host, const QString &keyType,
                                  const QString &fingerprint) = 0;
    // nullopt when the user gave none. *remember says whether the user
    // wants the secret kept in the password store; it starts false.
    virtual std::optional<QString> askSecret(const QString &prompt, bool *remember) = 0;

    // Any thread. The prompter stays the caller's; clear it before it goes.
    static ZKSshPrompter *shared();
    static void setShared(ZKSshPrompter *prompter);
    // Whether a key that no known_hosts file holds is accepted without
    // asking and recorded, as the terminal's --accept-new-host-key asks. A
    // changed key is refused whatever this says.
    static bool acceptsNewHostKeys();
    static void setAcceptsNewHostKeys(bool accepts);

    // Ends every wait for an answer from the main thread (askOnMainThread)
    // unanswered, and takes those questions away: the main thread calls it
    // before it waits for workers, one of which may be asking. Any thread.
    static void refusePendingPrompts();

protected:
    // Hands an answer back to the worker that asked.
    using Reply = std::function<void(const QVariant &answer)>;
    // For prompters that ask in the window: runs show on the main thread,
    // which puts the question up without waiting for it and answers through
    // the reply, and waits for that answer. show returns what takes the
    // question away should the wait be refused. nullopt when refused, when
    // the application ends first, or on the main thread itself, which must
    // never wait for its own answer.
    static std::optional<QVariant>
    askOnMainThread(std::function<std::function<void()>(Reply)> show);
};
