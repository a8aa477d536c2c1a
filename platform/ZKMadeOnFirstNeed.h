// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

// What few objects of a kind ever need sits in a part of its own, made the
// first time any thread asks for it and kept as long as its owner, which
// deletes it. Two threads that ask at once make one each; the second takes
// the part the first published and drops its own.
template <class Part> Part &madeOnFirstNeed(std::atomic<Part *> &slot) {
    Part *kept = slot.load(std::memory_order_acquire);
    if (!kept) {
        auto made = std::make_unique<Part>();
        if (slot.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel,
                                         std::memory_order_acquire)) {
            kept = made.release();
        }
    }
    return *kept;
}
