// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOperation.h"

void ZKOperation::setCompletionBlock(std::function<void()> block) {
    std::lock_guard locker(m_completionLock);
    m_completionBlock = std::move(block);
}

void ZKOperation::start() {
    if (m_finished.load() || m_executing.exchange(true)) {
        return;
    }
    if (!isCancelled()) {
        main();
    }
    std::function<void()> completion;
    {
        std::lock_guard locker(m_completionLock);
        completion = std::move(m_completionBlock);
    }
    if (completion) {
        completion();
    }
    m_executing.store(false);
    m_finished.store(true);
}
