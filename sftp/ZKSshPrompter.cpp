// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshPrompter.h"

#include <atomic>

namespace {

std::atomic<ZKSshPrompter *> sharedPrompter{nullptr};
std::atomic<bool> acceptNewKeys{false};

} // namespace

ZKSshPrompter *ZKSshPrompter::shared() {
    return sharedPrompter.load();
}

void ZKSshPrompter::setShared(ZKSshPrompter *prompter) {
    sharedPrompter.store(prompter);
}

bool ZKSshPrompter::acceptsNewHostKeys() {
    return acceptNewKeys.load();
}

void ZKSshPrompter::setAcceptsNewHostKeys(bool accepts) {
    acceptNewKeys.store(accepts);
}
