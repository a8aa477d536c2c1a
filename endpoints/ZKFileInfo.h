// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

// One item seen in a walk of a source tree.
struct ZKFileInfo {
    QUrl url;
    quint64 size = 0;
    bool directory = false;
    bool symbolicLink = false;
    bool readable = false;
    bool writable = false;
    QUrl targetUrl; // a link's resolved target; empty otherwise

    bool operator==(const ZKFileInfo &other) const = default;
};
