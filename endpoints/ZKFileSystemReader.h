// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFolderHandle.h"
#include "ZKReader.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <atomic>
#include <ctime>
#include <limits>
#include <memory>

struct statx;

// The reader of a local file, folder or symbolic link. The item is remembered
// by path and by a bookmark (device and inode), so that a source given another
// name after it was queued is still found.
class ZKFileSystemReader : public ZKReader {
public:
    static std::shared_ptr<ZKFileSystemReader> readerWithUrl(const QUrl &url);
    // The address QUrl::fromLocalFile gives a path, made for every item of
    // a walk or a copy: an absolute path, as most are, is spared the steps
    // only other paths need.
    static QUrl urlOfPath(const QString &path);

    // Construct through std::make_shared: enumerations hand out shared_from_this.
    explicit ZKFileSystemReader(const QUrl &url);
    // The items of a walk are made by the thousand, opened at once and
    // almost never saved: their bookmark is made only if one is saved.
    enum Deferred { DeferredBookmark };
    ZKFileSystemReader(const QUrl &url, Deferred);
    // An item a walk found but that cannot be copied at all (see
    // ZKFileInfo::skipReason). It never touches the file system: it exists,
    // open() fails with the reason, it is no folder, and its size is one no
    // file can have, so that no item of the same name at a destination
    // passes for its copy. asWriter() gives nothing.
    enum UncopyableTag { Uncopyable };
    ZKFileSystemReader(const QUrl &url, const QString &skipReason, UncopyableTag);
    // Restores the saved form; makes no new bookmark.
    explicit ZKFileSystemReader(const QVariantMap &propertyList);
    ~ZKFileSystemReader() override;

    ZKFileSystemReader(const ZKFileSystemReader &) = delete;
    ZKFileSystemReader &operator=(const ZKFileSystemReader &) = delete;

    QVariantMap asPropertyList() const override;

    bool open() override;
    void close() override;

    QByteArray readBlock() override;
    QByteArray readBlockOfLength(quint64 length) override;
    QByteArray readBlockOfMaximumLength(quint64 length) override;
    bool seekToPosition(quint64 position) override;

    ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) override;
    ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &block) override;
    std::optional<ZKFileInfo> fileInfoForChild(const QString &name) override;
    std::shared_ptr<ZKReader> childWithName(const QString &name) override;
    std::shared_ptr<ZKWriter> asWriter() override;
    quint64 calculateDirectorySizeFollowingLinks(bool followLinks, const NameBlock &block) override;

    QUrl url() const override { return m_url; }
    QUrl urlForPasteboard() override;
    QString filename() const override;
    QString icon() const override;
    bool exists() const override { return m_exists; }
    quint64 size() const override { return m_size; }
    QDateTime creationDate() const override { return m_creationDate; }
    QDateTime modificationDate() const override { return m_modificationDate; }
    quint16 permissions() const override { return m_permissions; }
    quint64 owner() const override { return m_owner; }
    quint64 group() const override { return m_group; }
    // Linux file systems keep no such flag.
    bool isExtensionHidden() const override { return false; }
    bool isImmutable() const override { return m_isImmutable; }
    bool isDirectory() const override { return m_isDirectory; }
    bool isLink() const override { return m_isLink; }
    QString linkTarget() const override {
        const Rare *kept = rareIfAny();
        return kept ? kept->linkTarget : QString();
    }
    bool isLocal() const override { return true; }
    bool canSeek() const override { return true; }
    bool hasMoreData() const override;
    // True when the open file was written to since it was opened: what was
    // read of it may then mix two versions.
    bool hasChanged() const override;
    QByteArray identity() const override;
    // The version as it was when a copy began from this reader; kept for
    // the life of the reader only, not in its saved form.
    void acceptCurrentVersion() override;
    bool isBegunVersion() const override;
    std::optional<QByteArray> provenance() const override;
    // The open file itself (-1 when none), for copies the kernel makes: a
    // path looked up again might meanwhile name another file.
    int descriptor() const { return m_open ? m_open->fd : -1; }
    // The item's path with every link on the way resolved, empty where it
    // cannot be found. An open folder is asked where it is, in one call.
    QByteArray resolvedPath() const;

    static constexpr quint64 uncopyableSize = std::numeric_limits<quint64>::max();
    // Empty unless this reader stands for an item that cannot be copied.
    QString skipReason() const {
        const Rare *kept = rareIfAny();
        return kept ? kept->skipReason : QString();
    }

    QByteArray bookmark() const { return m_bookmark; }
    void setBookmark(const QByteArray &bookmark) {
        m_bookmark = bookmark;
        m_bookmarkDeferred = false;
    }
    // Resolves the bookmark and follows a renamed source to its new path.
    void acquireBookmark() override;
    void releaseBookmark();
    bool startedAccessingSecurityScopedResource() const { return m_startedAccessing; }

    // The item is name in the folder whose handle this is: while the handle
    // is held, the item is looked up there rather than by its path.
    void setFolder(const std::weak_ptr<ZKFolderHandle> &folder, const QByteArray &name);

    size_t hash() const;

private:
    // What tells one version of the open file from another: the parts of
    // its identity, kept as numbers and turned into text only when asked.
    struct Version {
        QUrl url;
        quint64 size = 0;
        quint64 device = 0;
        quint64 inode = 0;
        qint64 modifiedSeconds = 0;
        qint32 modifiedNanoseconds = 0;
        quint32 generation = 0;
        bool hasGeneration = false;

        bool operator==(const Version &other) const = default;
    };
    // What a step needs while the item is open: made as a step opens the
    // item, dropped by close(), so that a reader waiting in a queue holds
    // none of it. Only the thread that runs the step touches it.
    struct OpenItem {
        int fd = -1;
        // An open folder's own handle, for the items inside it.
        std::shared_ptr<ZKFolderHandle> folderHandle;
        quint64 offset = 0;
        // Length and date of the open file as it was opened, and of the item
        // opened, whether file or folder, its device and inode.
        quint64 openedSize = 0;
        struct timespec openedModification {};
        quint64 openedDevice = 0;
        quint64 openedInode = 0;
        // Worked out once an open; the generation costs a call to the kernel.
        std::optional<std::optional<quint32>> generation;
        QByteArray identity;
        // The path as the kernel takes it, asked for at every look, and
        // the url it was made of.
        QByteArray path;
        QUrl pathOf;
        // pathOf was made of path, not path of pathOf: the address then
        // says exactly what the path does.
        bool urlFromPath = false;
        // The last item a walk of this folder reported: the child asked
        // for next is most likely that one, whose address is made already.
        QByteArray walkedPath;
        QUrl walkedUrl;
    };
    // What few readers ever have. Made when first needed and kept until the
    // reader goes, so that what another thread reads of it stays valid.
    struct Rare {
        QString skipReason;
        QString linkTarget;
        // Where the bookmark led, where that is not the url (a link that
        // kept its own path).
        QUrl bookmarkUrl;
        // The folder this item was found in, and its name there, also as
        // text where it was given as such.
        std::weak_ptr<ZKFolderHandle> folder;
        QByteArray nameInFolder;
        QString filename;
    };

    void setUrlAndFilename(const QUrl &url);
    Rare &rare();
    Rare *rareIfAny() const { return m_rare.load(std::memory_order_acquire); }
    OpenItem &openItem();
    // The step's path, made again only when the url has changed.
    void takePath(OpenItem &step) const;
    void resetAttributes();
    void markUncopyable();
    void closeHandle();
    void takeAttributes(const struct statx &attributes);
    ZKFolderHandle::Place place() const;
    std::shared_ptr<ZKFileSystemReader> child(const QByteArray &name) const;
    bool openItemNow();
    bool openDirectly(unsigned int wanted, int *openErrno);
    bool openAsBookmarked(unsigned int wanted);
    // The path of an open item from its step's cache; of any other worked
    // out of the url.
    QByteArray encodedPath() const;
    std::optional<Version> currentVersion() const;
    // rootFolder: the root's handle, or -1 to open it by its path.
    ZKEnumerationResult walkFileInfo(const QByteArray &root, int rootFolder, QByteArrayList &chain,
                                     const FileInfoBlock &block);
    quint64 sizeOfTree(const QByteArray &root, int rootFolder, QByteArrayList &chain,
                       bool followLinks, const NameBlock &block, bool *stopped);
    int folderDescriptor() const {
        return m_open && m_open->folderHandle ? m_open->folderHandle->descriptor() : -1;
    }

    QUrl m_url;
    QByteArray m_bookmark;
    std::unique_ptr<OpenItem> m_open;
    // Atomic: the window's thread may make it (a followed bookmark) while a
    // step does (a link's target).
    std::atomic<Rare *> m_rare = nullptr;
    // Set by a copy that writes its file from the first byte: kept, like
    // the rest, until the reader goes.
    std::unique_ptr<Version> m_begunVersion;

    quint64 m_size = 0;
    QDateTime m_creationDate;
    QDateTime m_modificationDate;
    // A user and group id is 32 bits on Linux.
    quint32 m_owner = 0;
    quint32 m_group = 0;
    quint16 m_permissions = 0;
    // Each of its own byte: another thread may read one while a step sets another.
    bool m_bookmarkDeferred = false;
    bool m_startedAccessing = false;
    bool m_exists = false;
    bool m_isImmutable = false;
    bool m_isDirectory = false;
    bool m_isLink = false;
};
