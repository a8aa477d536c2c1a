// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

// What the analyse, copy and verify operations do with a source item that is
// a symbolic link. The value comes from the "symbolicLinkAction" setting, so
// any other number may arrive: the operations then follow the link, which
// copies data rather than dropping it.
enum ZKSymbolicLinkHandling : qint32 {
    // Recreate the link when the destination can hold links; follow it
    // otherwise.
    ZKSymbolicLinkHandlingCopyLink = 0,
    // Copy what the link points to under the link's name.
    ZKSymbolicLinkHandlingFollow = 1,
    // Leave the link out, silently.
    ZKSymbolicLinkHandlingSkip = 2,
};
