// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
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
    // Invalid where the endpoint cannot tell. A destination file counts as a
    // finished copy only when both its size and this date match the source.
    QDateTime modificationDate;
    // Non-empty for an item that cannot be copied at all (not a regular
    // file, folder or link; a name that cannot be represented): why, in
    // words for the user. The walk goes on past it.
    QString skipReason;

    bool operator==(const ZKFileInfo &other) const = default;
};
