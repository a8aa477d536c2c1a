// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <memory>

// An open folder, through which the items inside it are reached by their own
// names: the kernel then looks up one name instead of every folder of a full
// path, and a folder renamed or replaced by a link meanwhile cannot send the
// lookup elsewhere. Whoever works in the folder holds the handle; the items
// made meanwhile only watch it, so that a handle never lives on with a file.
//
// Descriptors are a bounded resource: past a share of the process's limit no
// more handles are kept, and the items fall back to their full paths.
class ZKFolderHandle {
public:
    // Where a call that takes a folder and a name finds an item: in its
    // folder while that folder's handle is still held, otherwise by its full
    // path. Keeps the handle open for as long as the place lives.
    class Place {
    public:
        // name: the item's name in the watched folder (empty, or not a
        // plain name, when it is to be found by its path); path: its full
        // path.
        Place(const std::weak_ptr<ZKFolderHandle> &folder, const QByteArray &name,
              const QByteArray &path);
        Place(const Place &) = delete;
        Place &operator=(const Place &) = delete;

        int folder() const { return m_folder; }
        const char *name() const { return m_name.constData(); }
        bool isRelative() const { return m_held != nullptr; }

    private:
        std::shared_ptr<ZKFolderHandle> m_held;
        int m_folder;
        QByteArray m_name;
    };

    // Takes fd (an open folder) when one more handle may be kept; otherwise
    // closes it and gives nothing.
    static std::shared_ptr<ZKFolderHandle> adopt(int fd);
    // Whether name stands for one item right inside a folder, so that
    // looking it up there is looking up the full path.
    static bool isPlainName(const QByteArray &name);

    ~ZKFolderHandle();
    ZKFolderHandle(const ZKFolderHandle &) = delete;
    ZKFolderHandle &operator=(const ZKFolderHandle &) = delete;

    int descriptor() const { return m_fd; }

private:
    explicit ZKFolderHandle(int fd);

    int m_fd;
};
