// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProcessArguments.h"

#include <cstring>

void ZKProcessArguments::hidePasswords(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        char *scheme = argv[i] ? std::strstr(argv[i], "://") : nullptr;
        if (!scheme) {
            continue;
        }
        char *authority = scheme + 3;
        const size_t length = std::strcspn(authority, "/?#");
        // The user name and password end at the last "@" of the authority:
        // a password may hold an "@" of its own.
        char *at = static_cast<char *>(::memrchr(authority, '@', length));
        char *colon =
            at ? static_cast<char *>(std::memchr(authority, ':', size_t(at - authority))) : nullptr;
        if (colon) {
            std::memset(colon + 1, '*', size_t(at - colon - 1));
        }
    }
}
