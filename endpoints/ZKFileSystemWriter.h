// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFolderHandle.h"
#include "ZKWriter.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <mutex>

#include <sys/types.h>

// The writer of a local destination: the destination folder of a task and each
// file, folder or link made inside it. A file is appended to, never rewritten,
// and held under an exclusive advisory lock while it is open so that two
// copies never write the same file.
//
// Failures of the system in creating folders or links and in removing items are
// reported in posixErrorDomain with the errno as code.
class ZKFileSystemWriter : public ZKWriter {
public:
    static const QString posixErrorDomain;

    static std::shared_ptr<ZKFileSystemWriter> writerWithDirectory(const QUrl &url);
    static std::shared_ptr<ZKFileSystemWriter> writerWithFile(const QUrl &url);

    // Construct through std::make_shared: createLink() may hand out shared_from_this.
    ZKFileSystemWriter(const QUrl &url, bool isDirectory);
    // For a writer whose bookmark is set at once: none is made to be replaced.
    enum Deferred { DeferredBookmark };
    ZKFileSystemWriter(const QUrl &url, bool isDirectory, Deferred);
    // Restores the saved form; makes no new bookmark.
    explicit ZKFileSystemWriter(const QVariantMap &propertyList);
    // An item made inside a folder writer, which sets up the rest.
    struct ChildKey {
        explicit ChildKey() = default;
    };
    explicit ZKFileSystemWriter(ChildKey) {}
    ~ZKFileSystemWriter() override;

    ZKFileSystemWriter(const ZKFileSystemWriter &) = delete;
    ZKFileSystemWriter &operator=(const ZKFileSystemWriter &) = delete;

    QVariantMap asPropertyList() const override;

    bool open() override;
    void close() override;
    bool appendBlock(const QByteArray &data) override;

    std::shared_ptr<ZKWriter> createDirectory(const QString &name) override;
    std::shared_ptr<ZKWriter> createFile(const QString &name) override;
    std::shared_ptr<ZKWriter> createLink(const QString &name, const QString &target) override;
    bool removeFile(const QString &name) override;
    bool renameItem(const QString &from, const QString &to, bool replace) override;
    bool setProvenance(const QByteArray &identity) override;
    // Returns false without removing anything when isCancelled answers true.
    bool remove(const std::function<bool()> &isCancelled) override;
    std::shared_ptr<ZKReader> asReader() override;

    // Linux keeps no settable creation date: a quiet no-op.
    void setCreationDate(const QDateTime &date) override;
    // While the file is open, the attributes go through its descriptor:
    // no path is looked up again, and nothing put in its place meanwhile is
    // touched.
    void setModificationDate(const QDateTime &date) override;
    // 0 is ignored: it means the source's mode was unknown.
    void setPermissions(quint16 permissions) override;
    void setOwner(quint64 owner) override;
    void setGroup(quint64 group) override;
    // Linux has no hidden-extension flag: a quiet no-op.
    void setIsExtensionHidden(bool hidden) override;
    void setIsImmutable(bool immutable) override;

    QString filename() const override { return m_filename; }
    QString icon() const override;
    quint64 size() const override { return m_size; }
    QUrl url() const override { return m_url; }
    void setUrl(const QUrl &url) override;
    bool isDirectory() const override { return m_isDirectory; }
    bool isLocal() const override { return true; }
    bool canCreateLinks() const override { return true; }

    // Equal when the URLs are and both are, or both are not, folders.
    bool isEqual(const ZKWriter &other) const override;
    size_t hash() const;

    QByteArray bookmark() const { return m_bookmark; }
    void setBookmark(const QByteArray &bookmark) {
        m_bookmark = bookmark;
        m_bookmarkDeferred = false;
    }
    // Resolves the bookmark; unlike the reader, the writer keeps its own url.
    void acquireBookmark();
    // The item is name in the folder whose handle this is: while the handle
    // is held, the item is reached there rather than by its path.
    void setFolder(const std::weak_ptr<ZKFolderHandle> &folder, const QByteArray &name);
    void releaseBookmark();
    bool startedAccessingSecurityScopedResource() const { return m_startedAccessing; }

private:
    void setUrlAndFilename(const QUrl &url);
    void closeHandle();
    QString path() const;
    QByteArray childPathOf(const QByteArray &encodedName) const;
    // A writer for an item made inside this folder: see m_refusesLinks.
    std::shared_ptr<ZKFileSystemWriter> childWriter(const QString &name, bool isDirectory);
    ZKFolderHandle::Place place() const;
    // Where the item encodedName inside this folder is found. Its full path
    // is joined only where the folder's handle is not held: messages ask
    // childPathOf.
    ZKFolderHandle::Place placeOfChild(const QByteArray &encodedName) const;
    std::weak_ptr<ZKFolderHandle> folderHandle() const;
    struct MadeInside;
    std::shared_ptr<MadeInside> madeInside() const;
    // Whether the file this writer made has these already, as the kernel
    // gave them to it: then setting them would change nothing.
    bool wasMadeWithGroup(quint64 group) const;
    bool wasMadeWithPermissions(quint16 permissions) const;
    bool lockHandle(const QString &shownPath);
    // made: the folder was made by this open.
    bool openFolderHandle(const ZKFolderHandle::Place &item, const QString &shownPath, bool made);
    // 0, or -1 with errno set.
    int changeOwnership(uid_t owner, gid_t group);

    QUrl m_url;
    QString m_filename;
    QString m_path; // of m_url, empty when it is not a local file
    QByteArray m_encodedPath;
    bool m_isDirectory = false;
    // Set for the items made inside the destination: a symbolic link found at
    // their path makes open() fail instead of being followed. The destination
    // folder the user chose may itself be a link, and is followed.
    bool m_refusesLinks = false;
    QByteArray m_bookmark;
    // The items of a copy are made by the thousand and almost never saved:
    // their bookmark is made only if one is saved.
    bool m_bookmarkDeferred = false;
    QUrl m_bookmarkUrl;
    bool m_startedAccessing = false;
    int m_fd = -1;
    // An open folder's own handle, for the items made inside it. Replaced
    // and released by the opens and closes of several threads at once.
    std::shared_ptr<ZKFolderHandle> m_folderHandle; // guarded by m_folderHandleLock
    mutable std::mutex m_folderHandleLock;
    // The folder this item is made in, and its name there.
    std::weak_ptr<ZKFolderHandle> m_folder;
    QByteArray m_nameInFolder;
    // The open file was made by this open, so it belongs to this process's user.
    bool m_createdHere = false;
    // For a folder, what the files made inside it get from the kernel; for
    // a file, that of its folder. Shared so that a folder is looked at once
    // for all its files. A destination folder serves several tasks, whose
    // steps may open it and make files in it on different threads at once.
    std::shared_ptr<MadeInside> m_madeInside; // guarded by m_madeInsideLock
    mutable std::mutex m_madeInsideLock;
    quint64 m_size = 0;
};
