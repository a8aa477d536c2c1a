// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileOperation.h"
#include "ZKFileResponse.h"
#include "ZKReader.h"
#include "ZKSymbolicLinkHandling.h"
#include "ZKWriter.h"

#include <QHash>
#include <QStringList>

#include <memory>

// Walks the source before anything is copied: measures the work, finds what
// an earlier run already put at the destination, applies the skip rules and
// settles every conflict up front through the task's handlers. The answers
// end up in skippedUrls() and replacedUrls(), which the copy obeys without
// asking again.
//
// The handlers are called on the operation's thread and block it until they
// return.
class ZKAnalyseCopyOperation : public ZKFileOperation {
public:
    using ZKFileOperation::ZKFileOperation;

    // The item of the source's name inside the destination folder; set by
    // main(), and it may not exist.
    const ZKReaderPtr &destinationReader() const { return m_destinationReader; }

    // A ZKSymbolicLinkHandling value; other numbers mean follow.
    qint32 symbolicLinkHandling() const { return m_symbolicLinkHandling; }
    void setSymbolicLinkHandling(qint32 handling) { m_symbolicLinkHandling = handling; }

    void setUnreadableFileHandler(ZKFileHandler handler) {
        m_unreadableFileHandler = std::move(handler);
    }
    void setUnwritableFileHandler(ZKFileHandler handler) {
        m_unwritableFileHandler = std::move(handler);
    }
    void setPreExistingFileHandler(ZKFileHandler handler) {
        m_preExistingFileHandler = std::move(handler);
    }
    void setPreExistingDestinationHandler(ZKFileHandler handler) {
        m_preExistingDestinationHandler = std::move(handler);
    }

    // What an earlier analysis of the same task found standing at the
    // destination (see preExistingUrls()). A task analysed before presumes
    // that a finished-looking file it did not find then is its own work.
    void setPreExistingUrls(const QSet<QUrl> &urls, bool analysedBefore) {
        m_preExistingUrls = urls;
        m_analysedBefore = analysedBefore;
    }

    // Results, valid once the operation has finished.
    bool isDirectory() const { return m_isDirectory; }
    // Bytes the copy will move: the sizes of everything not skipped.
    quint64 totalBytes() const { return m_totalBytes; }
    // Bytes already at the destination and counted as done.
    quint64 bytesAlreadyCopied() const { return m_bytesAlreadyCopied; }
    // The files of the tree to be there when the task is done, and those of
    // them that already are.
    quint64 fileCount() const { return m_fileCount; }
    quint64 filesAlreadyCopied() const { return m_filesAlreadyCopied; }
    bool isPartialCopy() const { return m_isPartialCopy; }
    const QSet<QUrl> &mutableSkippedUrls() const { return m_mutableSkippedUrls; }
    const QSet<QUrl> &mutableReplacedUrls() const { return m_mutableReplacedUrls; }
    // Destination files that stood there before the task wrote anything and
    // were taken as finished or partial copies without being compared in
    // full. A move compares them in full before it removes their source.
    const QSet<QUrl> &preExistingUrls() const { return m_preExistingUrls; }
    // Items left out for a reason the user should hear of (not a regular
    // file, a name that cannot be represented).
    const QStringList &notes() const { return m_notes; }
    // Some bytes counted as copied stand in unfinished files: even when
    // they are all there, a copy step must still give the files their names.
    bool hasUnfinishedFiles() const { return m_hasUnfinishedFiles; }

    // The quick check: a destination file of the source's size counts as a
    // finished copy only when it also carries the source's modification
    // time, which the copy sets after the content.
    static bool isFinishedCopy(quint64 sourceSize, const QDateTime &sourceDate, quint64 copySize,
                               const QDateTime &copyDate);
    // A refusal to copy a folder into itself, or nothing. Such a copy would
    // copy the copy again, without end.
    static ZKOptionalError refuseCopyIntoItself(const ZKReader &source,
                                                const ZKWriter &destination);

    // Whether copy, an existing file, is an unfinished copy of source: its
    // first and its last 4 KiB match the source at the same positions and it
    // is not longer. Both readers must be open at position 0; they are moved.
    // When the answer is no, error receives "A file named '%@' already
    // exists.", except when the test was ended by the operation's
    // cancellation.
    // Whether a whole file under the source's name is this source's copy:
    // it says it came from this version of it, or, where the destination
    // keeps no such word, it has the source's size and date. Both open.
    static bool holdsSource(const ZKReader &source, const ZKReader &copy);
    // The size of the whole copy of a local source that is gone, where the
    // copy says it came from it; nothing otherwise.
    static std::optional<quint64> deliveredSize(ZKReader &source, ZKWriter &destination);
    // Tells a source that takes an open position (ZKReader) where its data
    // will most likely be wanted from: the end of its unfinished file in the
    // local destination folder, when that file says it was begun from this
    // very source and is not whole, and is not among writtenAnew. Asked
    // before the source opens; the folder writer is opened and closed.
    static void expectContinuation(ZKReader &source, ZKWriter &destination,
                                   const QSet<QUrl> &writtenAnew);

    static bool isPartialCopyFrom(ZKReader &source, ZKReader &copy, const ZKOperation *operation,
                                  ZKOptionalError *error);
    static bool isPartialCopyFrom(const ZKReaderPtr &source, const ZKReaderPtr &copy,
                                  const ZKOperation *operation, ZKOptionalError *error);
    // Compares the common length of the two blocks; two blocks without a
    // common byte do not match.
    static bool compareBlockFromOriginal(const QByteArray &original, const QByteArray &copy);

protected:
    void main() override;

private:
    using FileInfoIndex = QHash<QString, ZKFileInfo>;

    bool isDelivered();
    void analyseCopyFrom(ZKReader &source, ZKReader &copy);
    void analyseFileCopyFrom(ZKReader &source, ZKReader &copy);
    void analyseDirectoryCopyFrom(ZKReader &source, ZKReader &copy);
    ZKEnumerationResult analyseItem(const ZKFileInfo &item, const FileInfoIndex &destinationIndex);
    ZKEnumerationResult analyseExistingItem(const ZKFileInfo &item, const ZKFileInfo &existing);
    bool analyseExistingFile(ZKReader &source, ZKReader &copy);
    // The unfinished file of an item: how much of it a copy may continue,
    // or, when none, a mark that the copy writes it anew.
    void analysePartialFile(ZKReader &source, ZKReader &part);
    void analysePartialFile(const ZKFileInfo &item, const FileInfoIndex &destinationIndex);
    quint64 continuableBytes(ZKReader &source, ZKReader &part);
    void skipExisting(const QUrl &source, const QUrl &existing);
    ZKEnumerationResult analyseLinkInTheWay(const ZKFileInfo &item, const ZKFileInfo &existing);
    // An existing file taken as done (wholly or in part) without being
    // written by this task.
    void adopt(const QUrl &url);
    bool isOwnWork(const QUrl &url) const;
    bool holdsSource(const ZKFileInfo &item, const ZKFileInfo &existing);
    bool linkIsLeftAlone(bool isLink) const;
    void skip(const QUrl &url) { m_mutableSkippedUrls.insert(standardizedUrl(url)); }
    void takeOffTotal(quint64 size, bool file = true) {
        m_totalBytes -= std::min(m_totalBytes, size);
        m_fileCount -= file && m_fileCount != 0 ? 1 : 0;
    }

    ZKReaderPtr m_destinationFolderReader;
    ZKReaderPtr m_destinationReader;
    qint32 m_symbolicLinkHandling = ZKSymbolicLinkHandlingCopyLink;
    ZKFileHandler m_unreadableFileHandler;
    ZKFileHandler m_unwritableFileHandler;
    ZKFileHandler m_preExistingFileHandler;
    ZKFileHandler m_preExistingDestinationHandler;

    bool m_isDirectory = false;
    quint64 m_totalBytes = 0;
    quint64 m_bytesAlreadyCopied = 0;
    quint64 m_fileCount = 0;
    quint64 m_filesAlreadyCopied = 0;
    bool m_isPartialCopy = false;
    bool m_hasUnfinishedFiles = false;
    QSet<QUrl> m_mutableSkippedUrls;
    QSet<QUrl> m_mutableReplacedUrls;
    QSet<QUrl> m_preExistingUrls;
    bool m_analysedBefore = false;
    int m_linksAbove = 0;
    QStringList m_notes;
};
