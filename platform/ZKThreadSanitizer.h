// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt is not built with ThreadSanitizer, so the locks inside its event queue
// and QThread are invisible to it: a hand-over through them looks like a race.
// These mark such a hand-over explicitly; in other builds they are nothing.
#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void *address);
extern "C" void __tsan_release(void *address);
#endif

namespace ZKThreadSanitizer {

// What this thread did before release(token) is seen by a thread that calls
// acquire(token) afterwards.
inline void release([[maybe_unused]] const void *token) {
#if defined(__SANITIZE_THREAD__)
    __tsan_release(const_cast<void *>(token));
#endif
}

inline void acquire([[maybe_unused]] const void *token) {
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(const_cast<void *>(token));
#endif
}

} // namespace ZKThreadSanitizer
