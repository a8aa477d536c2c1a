// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileOperation.h"
#include "ZKReader.h"
#include "ZKSymbolicLinkHandling.h"
#include "ZKTask.h"
#include "ZKWriter.h"

#include <QHash>

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
    static std::shared_ptr<ZKAnalyseCopyOperation> operationWithSource(ZKReaderPtr source,
                                                                       ZKWriterPtr destination);
    ZKAnalyseCopyOperation(ZKReaderPtr source, ZKWriterPtr destination);

    const ZKReaderPtr &source() const { return m_source; }
    const ZKWriterPtr &destination() const { return m_destination; }
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

    // Results, valid once the operation has finished.
    bool isDirectory() const { return m_isDirectory; }
    // Bytes the copy will move: the sizes of everything not skipped.
    quint64 totalBytes() const { return m_totalBytes; }
    // Bytes already at the destination and counted as done.
    quint64 bytesAlreadyCopied() const { return m_bytesAlreadyCopied; }
    bool isPartialCopy() const { return m_isPartialCopy; }
    const QSet<QUrl> &mutableSkippedUrls() const { return m_mutableSkippedUrls; }
    const QSet<QUrl> &mutableReplacedUrls() const { return m_mutableReplacedUrls; }

    // Whether copy, an existing file, is an unfinished copy of source: its
    // first and its last 4 KiB match the source at the same positions and it
    // is not longer. Both readers must be open at position 0; they are moved.
    // When the answer is no, error receives "A file named '%@' already
    // exists.", except when the test was ended by the operation's
    // cancellation.
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

    void analyseCopyFrom(ZKReader &source, ZKReader &copy);
    void analyseFileCopyFrom(ZKReader &source, ZKReader &copy);
    void analyseDirectoryCopyFrom(ZKReader &source, ZKReader &copy);
    ZKEnumerationResult analyseItem(const ZKFileInfo &item, const FileInfoIndex &destinationIndex);
    ZKEnumerationResult analyseExistingItem(const ZKFileInfo &item, const ZKFileInfo &existing);
    bool linkIsLeftAlone(bool isLink) const;
    void skip(const QUrl &url) { m_mutableSkippedUrls.insert(standardizedUrl(url)); }
    void takeOffTotal(quint64 size) { m_totalBytes -= std::min(m_totalBytes, size); }

    ZKReaderPtr m_source;
    ZKWriterPtr m_destination;
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
    bool m_isPartialCopy = false;
    QSet<QUrl> m_mutableSkippedUrls;
    QSet<QUrl> m_mutableReplacedUrls;
};
