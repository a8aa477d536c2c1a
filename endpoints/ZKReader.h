// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKEnumerationResult.h"
#include "ZKError.h"
#include "ZKFileInfo.h"
#include "ZKPropertyListObject.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class ZKWriter;

// The source side of a transfer: one file, folder or link, wherever it lives.
// Calls never throw; a failed call returns an empty result and leaves the
// reason in error(). A successful call does not necessarily clear error().
class ZKReader : public ZKPropertyListObject, public std::enable_shared_from_this<ZKReader> {
public:
    using ReaderBlock = std::function<ZKEnumerationResult(const std::shared_ptr<ZKReader> &)>;
    using FileInfoBlock = std::function<ZKEnumerationResult(const ZKFileInfo &)>;
    using DataBlock = std::function<ZKEnumerationResult(const QByteArray &)>;
    using NameBlock = std::function<ZKEnumerationResult(const QString &)>;

    static constexpr quint64 standardBlockSize = 65536;

    virtual bool open() = 0;
    virtual void close() = 0;

    virtual QByteArray readBlock() = 0;
    // Gathers blocks until length bytes or the end of the data; by default
    // through readBlockOfMaximumLength.
    virtual QByteArray readBlockOfLength(quint64 length);
    virtual QByteArray readBlockOfMaximumLength(quint64 length) = 0;
    virtual bool seekToPosition(quint64 position) = 0;
    // Where the first read after the next open() will most likely begin:
    // the end of an unfinished copy that is to be continued. A reader whose
    // open asks a server for the data itself (takesOpenPosition()) asks for
    // the bytes from there, so that the one answer that tells the size and
    // the version also carries the rest. Only a hint: a read from anywhere
    // else still gets its bytes.
    virtual bool takesOpenPosition() const { return false; }
    virtual void setOpenPosition(quint64) {}

    virtual ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) = 0;
    virtual ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &block) = 0;
    // Hands the rest of an opened file to the block, one readBlock() at a
    // time, until the data ends, a read fails (error() says why) or the block
    // answers stop. Opening and closing stay with the caller.
    virtual ZKEnumerationResult enumerateContentsOfFileWithBlock(const DataBlock &block);
    virtual std::optional<ZKFileInfo> fileInfoForChild(const QString &name) = 0;
    virtual std::shared_ptr<ZKReader> childWithName(const QString &name) = 0;
    virtual std::shared_ptr<ZKWriter> asWriter() = 0;
    virtual quint64 calculateDirectorySizeFollowingLinks(bool followLinks,
                                                         const NameBlock &block) = 0;

    virtual QUrl url() const = 0;
    virtual QUrl urlForPasteboard() = 0;
    virtual QString filename() const = 0;
    // A freedesktop icon name; the user interface turns it into an image.
    virtual QString icon() const = 0;
    virtual bool exists() const = 0;
    virtual quint64 size() const = 0;
    virtual QDateTime creationDate() const = 0;
    virtual QDateTime modificationDate() const = 0;
    virtual quint16 permissions() const = 0;
    virtual quint64 owner() const = 0;
    virtual quint64 group() const = 0;
    virtual bool isExtensionHidden() const = 0;
    virtual bool isImmutable() const = 0;
    virtual bool isDirectory() const = 0;
    virtual bool isLink() const = 0;
    virtual QString linkTarget() const = 0;
    virtual bool isLocal() const = 0;
    // Whether a move may take the item away once its copy checked out: a
    // local item, or one on a server that lets its user remove it. A web
    // address is only ever copied.
    virtual bool canBeMoved() const { return isLocal(); }
    virtual bool canSeek() const = 0;
    virtual bool hasMoreData() const = 0;
    // True once the reader knows that the item is no longer the version an
    // earlier run of the same task began to copy (its size, date or the
    // server's validator changed). What that run left at the destination is
    // then a piece of another version and must be started over, never
    // continued.
    virtual bool hasChanged() const { return false; }
    // The copy writes the item anew from its first byte: the version it now
    // reads is the one that later resumes must match.
    virtual void acceptCurrentVersion() {}
    // Who the opened item is: its address and size and whatever tells its
    // versions apart (a local file's inode and date, a server's validator),
    // in the form ZKPartialFile::identity makes. Empty where the endpoint
    // cannot tell one version from another: a file begun from such a source
    // is never continued by another run.
    virtual QByteArray identity() const { return {}; }
    // The identity of the source that the opened destination item was written
    // from, as the item keeps it: empty when it keeps none, nothing at all
    // when its file system cannot keep one.
    virtual std::optional<QByteArray> provenance() const { return std::nullopt; }
    // Whether the opened item is the version a copy of this reader's task
    // began from (acceptCurrentVersion); what tells a file that may be
    // continued where the destination keeps no identity. Remote readers keep
    // the version they noted, also in their saved form; hasChanged() says
    // when it is another.
    virtual bool isBegunVersion() const { return !identity().isEmpty(); }
    // Follows a local item that was moved or renamed while the queue was
    // closed; endpoints with nothing to follow keep their address.
    virtual void acquireBookmark() {}

    const ZKOptionalError &error() const { return m_error ? *m_error : noError; }

    // What enumerateFileInfoWithBlock finds out about access to each item
    // (both unless told otherwise); the other flag is then left false. A
    // walk that never reads one spares the question for every item where
    // asking costs.
    enum AccessCheck { NoAccessCheck = 0, ReadAccessCheck = 1, WriteAccessCheck = 2 };
    int walkAccessChecks() const { return m_walkAccessChecks; }
    void setWalkAccessChecks(int checks) { m_walkAccessChecks = checks; }
    // Whether a walk reports the size and date of each plain file. A walk
    // whose files are all opened anyway can do without: where the listing
    // tells a plain file from the rest, a look at each is spared; its size
    // is then 0 and its date invalid. Every other item is reported in full.
    bool walkReportsFileStatus() const { return m_walkReportsFileStatus; }
    void setWalkReportsFileStatus(bool reports) { m_walkReportsFileStatus = reports; }

    // Readers of the same class are equal when their URLs are.
    virtual bool isEqual(const ZKReader &other) const;
    QString description() const { return url().path(); }

protected:
    void setError(ZKError error);
    void clearError() {
        if (m_error) {
            m_error->reset();
        }
    }

private:
    static const ZKOptionalError noError;
    // Out of line: most readers of a queue never fail. Once made it stays
    // until the reader goes, so that an error() another thread holds stays
    // valid as it does for any other member.
    std::unique_ptr<ZKOptionalError> m_error;
    int m_walkAccessChecks = ReadAccessCheck | WriteAccessCheck;
    bool m_walkReportsFileStatus = true;
};

using ZKReaderPtr = std::shared_ptr<ZKReader>;
