// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The persistent access handle of a local item: its device and inode number
// together with the path it had, kept as plain data so that it survives a
// restart of the application. Resolving it finds the item again when it was
// given another name inside the same folder.
//
// An inode number alone does not name a file for long: once a file is
// removed, the file system hands its number to the next file it creates. So
// the handle also keeps the item's size, modification time and, where the
// file system keeps one, its inode generation; an entry of another name is
// taken for the item only when all of them still match.
class ZKBookmark {
public:
    ZKBookmark() = delete;

    // Empty when the item cannot be examined (links are not followed).
    static QByteArray create(const QString &path);

    // The current path of the item: the recorded path when the same item is
    // still there, else the entry of the recorded parent folder that carries
    // the same inode and still has the recorded size, time and generation.
    // Handles made before those facts were kept never lead to another path.
    // Nothing when the item is gone; failure then says why.
    static std::optional<QString> resolve(const QByteArray &bookmark, QString *failure);

    // Whether the handle was made of the item with this device and inode:
    // what resolving asks of the recorded path first, asked of an item that
    // is open already, so that its path need not be looked up again.
    static bool names(const QByteArray &bookmark, quint64 device, quint64 inode);
};
