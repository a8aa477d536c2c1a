// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAnalyseCopyOperation.h"

#include "ZKLogging.h"
#include "ZKOperationErrors.h"
#include "ZKPartialFile.h"
#include "ZKReaderFactory.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <cstring>

namespace {

constexpr quint64 comparedBlockLength = 4096;

ZKError alreadyExistsError(const QUrl &copy) {
    return ZKOperationErrors::error(ZKOperationErrors::AlreadyExists, {copy.path()});
}

// What the handlers are shown of an existing item that no walk reported.
ZKFileInfo infoOf(const ZKReader &item) {
    ZKFileInfo info;
    info.url = item.url();
    info.size = item.size();
    info.symbolicLink = item.isLink();
    info.readable = true;
    info.writable = true;
    return info;
}

} // namespace

bool ZKAnalyseCopyOperation::compareBlockFromOriginal(const QByteArray &original,
                                                      const QByteArray &copy) {
    const qsizetype common = std::min(original.size(), copy.size());
    return common > 0 && std::memcmp(original.constData(), copy.constData(), size_t(common)) == 0;
}

bool ZKAnalyseCopyOperation::isFinishedCopy(quint64 sourceSize, const QDateTime &sourceDate,
                                            quint64 copySize, const QDateTime &copyDate) {
    return sourceSize == copySize && sourceDate.isValid() && copyDate.isValid() &&
           sourceDate == copyDate;
}

ZKOptionalError ZKAnalyseCopyOperation::refuseCopyIntoItself(const ZKReader &source,
                                                             const ZKWriter &destination) {
    if (!source.isDirectory()) {
        return std::nullopt;
    }
    const QUrl from = source.url();
    const QUrl to = destination.url();
    bool inside = false;
    if (from.isLocalFile() && to.isLocalFile()) {
        // Where the folders really are, so that a link or a ".." on the way
        // cannot hide that one holds the other.
        const QString a = QFileInfo(from.toLocalFile()).canonicalFilePath();
        const QString b = QFileInfo(to.toLocalFile()).canonicalFilePath();
        inside = !a.isEmpty() && !b.isEmpty() && holdsPath(a, b);
    } else if (!from.isLocalFile() && !to.isLocalFile()) {
        const QUrl a = standardizedUrl(from);
        const QUrl b = standardizedUrl(to);
        inside = a.adjusted(QUrl::RemovePath | QUrl::RemovePassword) ==
                     b.adjusted(QUrl::RemovePath | QUrl::RemovePassword) &&
                 holdsPath(a.path(), b.path());
    }
    if (!inside) {
        return std::nullopt;
    }
    return ZKOperationErrors::error(ZKOperationErrors::CopyIntoItself, {from.path(), to.path()});
}

bool ZKAnalyseCopyOperation::isPartialCopyFrom(ZKReader &source, ZKReader &copy,
                                               const ZKOperation *operation,
                                               ZKOptionalError *error) {
    auto cancelled = [operation] {
        return operation && operation->isCancelled();
    };
    auto refuse = [&] {
        if (error) {
            *error = alreadyExistsError(copy.url());
        }
        return false;
    };

    const QByteArray sourceHead = source.readBlockOfLength(comparedBlockLength);
    if (cancelled()) {
        return false;
    }
    const QByteArray copyHead = copy.readBlockOfLength(comparedBlockLength);
    if (cancelled()) {
        return false;
    }
    if (!compareBlockFromOriginal(sourceHead, copyHead)) {
        return refuse();
    }

    const quint64 copySize = copy.size();
    const quint64 tail = copySize < comparedBlockLength ? 0 : copySize - comparedBlockLength;
    // A source that cannot seek there cannot be continued from there either.
    const bool sourceSeeked = source.seekToPosition(tail);
    if (cancelled()) {
        return false;
    }
    const bool copySeeked = copy.seekToPosition(tail);
    if (cancelled()) {
        return false;
    }
    if (!sourceSeeked || !copySeeked) {
        return refuse();
    }
    const QByteArray sourceTail = source.readBlockOfLength(comparedBlockLength);
    if (cancelled()) {
        return false;
    }
    const QByteArray copyTail = copy.readBlockOfLength(comparedBlockLength);
    if (cancelled()) {
        return false;
    }
    if (copySize <= source.size() && compareBlockFromOriginal(sourceTail, copyTail)) {
        return true;
    }
    return refuse();
}

bool ZKAnalyseCopyOperation::isPartialCopyFrom(const ZKReaderPtr &source, const ZKReaderPtr &copy,
                                               const ZKOperation *operation,
                                               ZKOptionalError *error) {
    if (!source || !copy) {
        return false;
    }
    return isPartialCopyFrom(*source, *copy, operation, error);
}

bool ZKAnalyseCopyOperation::holdsSource(const ZKReader &source, const ZKReader &copy) {
    if (copy.size() != source.size()) {
        return false;
    }
    // Only a file that says it came from this very version of this source
    // counts as its copy: equal sizes and dates prove nothing.
    const std::optional<QByteArray> provenance = copy.provenance();
    if (provenance) {
        return !provenance->isEmpty() && *provenance == source.identity();
    }
    // A destination that keeps no identity: its size and date must do.
    return isFinishedCopy(source.size(), source.modificationDate(), copy.size(),
                          copy.modificationDate());
}

bool ZKAnalyseCopyOperation::holdsSource(const ZKFileInfo &item, const ZKFileInfo &existing) {
    const ZKReaderPtr original = ZKReaderFactory::readerWithUrl(item.url);
    const ZKReaderPtr copy = ZKReaderFactory::readerWithUrl(existing.url);
    if (!original || !copy) {
        return false;
    }
    const bool holds = original->open() && copy->open() && holdsSource(*original, *copy);
    copy->close();
    original->close();
    return holds;
}

quint64 ZKAnalyseCopyOperation::continuableBytes(ZKReader &source, ZKReader &part) {
    if (!part.exists() || part.isDirectory() || part.isLink() || part.size() == 0 ||
        part.size() > source.size()) {
        return 0;
    }
    const std::optional<QByteArray> provenance = part.provenance();
    if (provenance) {
        return !provenance->isEmpty() && *provenance == source.identity() ? part.size() : 0;
    }
    // The destination keeps no identity: only this task's own file, from a
    // source its saved validators still recognise, and never on the
    // strength of the sampled blocks alone.
    if (!isOwnWork(part.url()) || source.hasChanged() || !source.isBegunVersion()) {
        return 0;
    }
    const bool partial = isPartialCopyFrom(source, part, this, nullptr);
    source.seekToPosition(0);
    return partial ? part.size() : 0;
}

void ZKAnalyseCopyOperation::analysePartialFile(ZKReader &source, ZKReader &part) {
    const quint64 continuable = continuableBytes(source, part);
    if (continuable != 0) {
        m_bytesAlreadyCopied += continuable;
        m_hasUnfinishedFiles = true;
        adopt(part.url());
    } else if (part.exists()) {
        // Written anew: the copy must not continue it on its own judgement.
        m_mutableReplacedUrls.insert(standardizedUrl(part.url()));
    }
}

void ZKAnalyseCopyOperation::analysePartialFile(const ZKFileInfo &item,
                                                const FileInfoIndex &destinationIndex) {
    const auto part = destinationIndex.constFind(ZKPartialFile::nameFor(item.url.fileName()));
    if (part == destinationIndex.cend()) {
        return;
    }
    const ZKReaderPtr original = ZKReaderFactory::readerWithUrl(item.url);
    const ZKReaderPtr copy = ZKReaderFactory::readerWithUrl(part->url);
    if (original && copy && original->open() && copy->open()) {
        analysePartialFile(*original, *copy);
    } else {
        m_mutableReplacedUrls.insert(standardizedUrl(part->url));
    }
    if (copy) {
        copy->close();
    }
    if (original) {
        original->close();
    }
}

void ZKAnalyseCopyOperation::skipExisting(const QUrl &source, const QUrl &existing) {
    skip(source);
    m_notes.append(QCoreApplication::translate("ZKAnalyseCopyOperation", "'%1' already exists.")
                       .arg(existing.path()));
}

bool ZKAnalyseCopyOperation::linkIsLeftAlone(bool isLink) const {
    if (!isLink) {
        return false;
    }
    return m_symbolicLinkHandling == ZKSymbolicLinkHandlingSkip ||
           (m_symbolicLinkHandling == ZKSymbolicLinkHandlingCopyLink &&
            m_destination->canCreateLinks());
}

void ZKAnalyseCopyOperation::adopt(const QUrl &url) {
    if (!m_analysedBefore) {
        m_preExistingUrls.insert(standardizedUrl(url));
    }
}

bool ZKAnalyseCopyOperation::isOwnWork(const QUrl &url) const {
    return m_analysedBefore && !m_preExistingUrls.contains(standardizedUrl(url));
}

void ZKAnalyseCopyOperation::main() {
    m_mutableSkippedUrls = skippedUrls();
    m_mutableReplacedUrls = replacedUrls();

    expectContinuation(*m_source, *m_destination, {});
    if (!m_source->open()) {
        if (!isDelivered()) {
            takeError(m_source->error(), ZKOperationErrors::error(ZKOperationErrors::UnableToOpen,
                                                                  {m_source->filename()}));
        }
    } else if (!m_destination->open()) {
        takeError(m_destination->error(), ZKOperationErrors::error(ZKOperationErrors::InvalidPath,
                                                                   {m_destination->url().path()}));
    } else if (const ZKOptionalError refusal = refuseCopyIntoItself(*m_source, *m_destination)) {
        setError(*refusal);
    } else {
        m_destinationFolderReader = m_destination->asReader();
        // The writer has just found a local folder there; it is looked at
        // again only for what a conflict needs to show.
        if (!m_destinationFolderReader->isLocal()) {
            m_destinationFolderReader->open();
        }
        m_destinationReader = m_destinationFolderReader->childWithName(m_source->filename());
        m_destinationReader->open();
        analyseCopyFrom(*m_source, *m_destinationReader);
    }

    if (m_destinationReader) {
        m_destinationReader->close();
    }
    if (m_destinationFolderReader) {
        m_destinationFolderReader->close();
    }
    m_destination->close();
    m_source->close();
    // What the task will write itself needs no comparison later.
    m_preExistingUrls -= m_mutableReplacedUrls;
    setSkippedUrls(m_mutableSkippedUrls);
    setReplacedUrls(m_mutableReplacedUrls);
}

// A local source that is gone, whose whole copy stands under its name and
// says it came from there: a move that finished after its queue was last
// saved. Nothing is left to copy, and the removal finds the source gone.
std::optional<quint64> ZKAnalyseCopyOperation::deliveredSize(ZKReader &source,
                                                             ZKWriter &destination) {
    if (!source.isLocal() || source.exists() || !destination.open()) {
        return std::nullopt;
    }
    const ZKReaderPtr folder = destination.asReader();
    const ZKReaderPtr copy = folder ? folder->childWithName(source.filename()) : nullptr;
    std::optional<quint64> delivered;
    if (copy && copy->open() && copy->exists() && !copy->isDirectory() && !copy->isLink()) {
        const std::optional<QByteArray> provenance = copy->provenance();
        if (provenance && !provenance->isEmpty() &&
            standardizedUrl(ZKPartialFile::sourceOf(*provenance)) ==
                standardizedUrl(source.url()) &&
            ZKPartialFile::sizeOf(*provenance) == copy->size()) {
            qCInfo(lcOperations) << "The source" << source.url().path()
                                 << "is gone and its whole copy stands at" << copy->url().path();
            delivered = copy->size();
        }
    }
    if (copy) {
        copy->close();
    }
    return delivered;
}

void ZKAnalyseCopyOperation::expectContinuation(ZKReader &source, ZKWriter &destination,
                                                const QSet<QUrl> &writtenAnew) {
    // Only a destination that keeps where its files came from can say so
    // without reading the source, which would ask from the start anyway.
    if (!source.takesOpenPosition() || source.hasChanged() || !destination.url().isLocalFile() ||
        !destination.open()) {
        return;
    }
    const ZKReaderPtr folder = destination.asReader();
    const ZKReaderPtr part =
        folder ? folder->childWithName(ZKPartialFile::nameFor(source.filename())) : nullptr;
    if (part && part->open() && part->exists() && !part->isDirectory() && !part->isLink() &&
        part->size() != 0 && !writtenAnew.contains(standardizedUrl(part->url()))) {
        const std::optional<QByteArray> provenance = part->provenance();
        if (provenance && !provenance->isEmpty() &&
            standardizedUrl(ZKPartialFile::sourceOf(*provenance)) ==
                standardizedUrl(source.url()) &&
            part->size() < ZKPartialFile::sizeOf(*provenance)) {
            source.setOpenPosition(part->size());
        }
    }
    if (part) {
        part->close();
    }
    destination.close();
}

bool ZKAnalyseCopyOperation::isDelivered() {
    const std::optional<quint64> size = deliveredSize(*m_source, *m_destination);
    if (size) {
        m_totalBytes = *size;
        m_bytesAlreadyCopied = *size;
        m_fileCount = m_filesAlreadyCopied = 1;
        m_isPartialCopy = *size != 0;
    }
    return size.has_value();
}

void ZKAnalyseCopyOperation::analyseCopyFrom(ZKReader &source, ZKReader &copy) {
    // A missing item at the destination is the usual case, not a failure;
    // anything that exists but cannot be read is.
    if (copy.exists() && copy.error()) {
        setError(*copy.error());
    }
    if (inProgress()) {
        m_isDirectory = source.isDirectory();
        if (linkIsLeftAlone(source.isLink())) {
            // Recreated as a link or left out: no bytes to move.
        } else if (m_isDirectory && copy.exists() && copy.isLink()) {
            // A folder is never made through a link: the link itself is
            // the conflict, and replacing it removes the link alone.
            if (m_preExistingDestinationHandler &&
                m_preExistingDestinationHandler(infoOf(copy)) == ZKFileResponseReplace) {
                m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
                analyseDirectoryCopyFrom(source, copy);
            } else {
                setError(alreadyExistsError(copy.url()));
            }
        } else if (m_isDirectory) {
            analyseDirectoryCopyFrom(source, copy);
        } else {
            analyseFileCopyFrom(source, copy);
        }
    }
    m_isPartialCopy = m_bytesAlreadyCopied != 0;
}

void ZKAnalyseCopyOperation::analyseFileCopyFrom(ZKReader &source, ZKReader &copy) {
    m_totalBytes = source.size();
    m_fileCount = 1;
    if (copy.exists() && !analyseExistingFile(source, copy)) {
        return;
    }
    if (!m_destinationFolderReader || !inProgress()) {
        return;
    }
    const ZKReaderPtr part =
        m_destinationFolderReader->childWithName(ZKPartialFile::nameFor(source.filename()));
    if (part && part->open()) {
        analysePartialFile(source, *part);
    }
    if (part) {
        part->close();
    }
}

// What stands under the source's own name. Answers whether the copy goes on
// to write it.
bool ZKAnalyseCopyOperation::analyseExistingFile(ZKReader &source, ZKReader &copy) {
    if (copy.isDirectory() && !copy.isLink()) {
        if (m_preExistingDestinationHandler &&
            m_preExistingDestinationHandler(infoOf(copy)) == ZKFileResponseSkip) {
            takeOffTotal(source.size());
            skipExisting(source.url(), copy.url());
            return false;
        }
        setError(
            ZKOperationErrors::error(ZKOperationErrors::FolderAlreadyExists, {copy.filename()}));
        return false;
    }
    if (!copy.isLink()) {
        // An empty file holds nothing to lose, and one of nothing is the
        // same file already.
        if (copy.size() == 0) {
            if (source.size() == 0) {
                adopt(copy.url());
            } else {
                m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
            }
            return true;
        }
        if (isOwnWork(copy.url()) || holdsSource(source, copy)) {
            if (copy.size() == source.size()) {
                m_bytesAlreadyCopied = copy.size();
                m_filesAlreadyCopied = 1;
                adopt(copy.url());
                return false;
            }
            // This task's own copy of an earlier version: written anew, it
            // loses nothing.
            m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
            return true;
        }
    }
    if (isCancelled()) {
        return false;
    }
    if (m_destinationFolderReader && m_destinationFolderReader->isLocal()) {
        m_destinationFolderReader->open();
    }
    std::optional<ZKFileInfo> existing =
        m_destinationFolderReader ? m_destinationFolderReader->fileInfoForChild(copy.filename())
                                  : std::nullopt;
    if (!existing) {
        existing = infoOf(copy);
    }
    const qint32 response = m_preExistingDestinationHandler
                                ? qint32(m_preExistingDestinationHandler(*existing))
                                : qint32(ZKFileResponseCancel);
    if (response == ZKFileResponseReplace) {
        m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
        return true;
    }
    if (response == ZKFileResponseSkip) {
        takeOffTotal(source.size());
        skipExisting(source.url(), copy.url());
        return false;
    }
    setError(alreadyExistsError(copy.url()));
    return false;
}

void ZKAnalyseCopyOperation::analyseDirectoryCopyFrom(ZKReader &source, ZKReader &copy) {
    FolderScope scope(*this, source);
    if (!scope.entered()) {
        return;
    }

    // What stands in the matching destination folder, by name. Only this
    // level: deeper levels are indexed when the walk gets there.
    FileInfoIndex destinationIndex;
    // Below a link that will be replaced nothing stands yet: what the link
    // leads to is somewhere else.
    const bool throughLink = copy.exists() && copy.isLink();
    m_linksAbove += throughLink ? 1 : 0;
    const auto leaveLink = qScopeGuard([&] { m_linksAbove -= throughLink ? 1 : 0; });
    if (m_linksAbove == 0 && copy.exists() && copy.isDirectory()) {
        const QUrl folderUrl = copy.url();
        copy.enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
            if (isChildOf(info.url, folderUrl)) {
                destinationIndex.insert(info.url.fileName(), info);
            }
            return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
        });
        if (copy.error() && !hasError()) {
            setError(*copy.error());
        }
    }
    if (!inProgress()) {
        return;
    }

    const QUrl folderUrl = source.url();
    // Whether a source item could be written never matters here.
    source.setWalkAccessChecks(ZKReader::ReadAccessCheck);
    source.enumerateFileInfoWithBlock([&](const ZKFileInfo &item) {
        // A followed link's contents are reported under the target's path
        // before the link itself; they are analysed when the link is entered
        // below, under the link's own path.
        if (!isChildOf(item.url, folderUrl)) {
            return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
        }
        const ZKEnumerationResult result = analyseItem(item, destinationIndex);
        if (result == ZKEnumerationResultStop || !inProgress()) {
            return ZKEnumerationResultStop;
        }
        if (result == ZKEnumerationResultContinue && item.directory &&
            !linkIsLeftAlone(item.symbolicLink)) {
            const QString name = item.url.fileName();
            const ZKReaderPtr child = source.childWithName(name);
            if (!child->open()) {
                takeError(child->error(), ZKOperationErrors::error(ZKOperationErrors::UnableToRead,
                                                                   {item.url.path()}));
                return ZKEnumerationResultStop;
            }
            const ZKReaderPtr childCopy = copy.childWithName(name);
            childCopy->open();
            analyseDirectoryCopyFrom(*child, *childCopy);
            childCopy->close();
            child->close();
        }
        // Deeper levels are entered above, never by the walk itself.
        return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
    });
    if (source.error() && !hasError()) {
        setError(*source.error());
    }
}

ZKEnumerationResult ZKAnalyseCopyOperation::analyseItem(const ZKFileInfo &item,
                                                        const FileInfoIndex &destinationIndex) {
    const QString name = item.url.fileName();
    if (!item.skipReason.isEmpty()) {
        // Left out, and since it stays only in the source, a move keeps the
        // folder that holds it.
        qCInfo(lcOperations).noquote() << "Skipping:" << item.skipReason;
        m_notes.append(item.skipReason);
        skip(item.url);
        return ZKEnumerationResultSkip;
    }
    if (!shouldCopyFile(item.url)) {
        // Temporary files are passed over without a trace.
        if (!isTemporaryFile(name)) {
            skip(item.url);
        }
        return ZKEnumerationResultSkip;
    }
    if (!item.readable) {
        if (m_unreadableFileHandler && m_unreadableFileHandler(item) == ZKFileResponseSkip) {
            skip(item.url);
            return ZKEnumerationResultSkip;
        }
        setError(ZKOperationErrors::error(ZKOperationErrors::UnableToRead, {item.url.path()}));
        return ZKEnumerationResultStop;
    }
    if (linkIsLeftAlone(item.symbolicLink)) {
        return ZKEnumerationResultContinue;
    }

    m_totalBytes += item.size;
    m_fileCount += item.directory ? 0 : 1;
    const auto existing = destinationIndex.constFind(name);
    if (existing != destinationIndex.cend()) {
        if (existing->symbolicLink) {
            const ZKEnumerationResult result = analyseLinkInTheWay(item, *existing);
            if (result != ZKEnumerationResultContinue || item.directory) {
                return result;
            }
        } else if (!existing->directory) {
            const ZKEnumerationResult result = analyseExistingItem(item, *existing);
            if (result != ZKEnumerationResultContinue) {
                return result == ZKEnumerationResultStop ? result : ZKEnumerationResultSkip;
            }
        }
    }
    if (!item.directory && !item.symbolicLink) {
        analysePartialFile(item, destinationIndex);
    }
    return ZKEnumerationResultContinue;
}

// A link where an item is to be made is never written through: what it
// points to may lie anywhere. Replacing removes the link alone.
ZKEnumerationResult ZKAnalyseCopyOperation::analyseLinkInTheWay(const ZKFileInfo &item,
                                                                const ZKFileInfo &existing) {
    const QUrl existingUrl = standardizedUrl(existing.url);
    if (m_mutableReplacedUrls.contains(existingUrl)) {
        return ZKEnumerationResultContinue;
    }
    const qint32 response = m_preExistingFileHandler ? qint32(m_preExistingFileHandler(existing))
                                                     : qint32(ZKFileResponseCancel);
    switch (response) {
    case ZKFileResponseReplace:
        m_mutableReplacedUrls.insert(existingUrl);
        return ZKEnumerationResultContinue;
    case ZKFileResponseSkip:
        takeOffTotal(item.size, !item.directory);
        skip(item.url);
        return ZKEnumerationResultSkip;
    default:
        setError(alreadyExistsError(existing.url));
        return ZKEnumerationResultStop;
    }
}

// A file under the source item's own name. Answers continue when the copy
// writes the item, skip when it passes over it (finished, or skipped by the
// user), stop on a refusal.
ZKEnumerationResult ZKAnalyseCopyOperation::analyseExistingItem(const ZKFileInfo &item,
                                                                const ZKFileInfo &existing) {
    const QUrl existingUrl = standardizedUrl(existing.url);
    if (!item.directory) {
        if (existing.size == 0 && item.size == 0) {
            m_filesAlreadyCopied += item.directory ? 0 : 1;
            adopt(existingUrl);
            return ZKEnumerationResultSkip; // the same nothing
        }
        if (existing.size == 0) {
            // Nothing to lose: written over without a question.
            m_mutableReplacedUrls.insert(existingUrl);
            return ZKEnumerationResultContinue;
        }
        if (isOwnWork(existing.url) ||
            (existing.size == item.size && holdsSource(item, existing))) {
            if (existing.size == item.size) {
                m_bytesAlreadyCopied += existing.size;
                ++m_filesAlreadyCopied;
                adopt(existingUrl);
                return ZKEnumerationResultSkip;
            }
            // This task's own copy of an earlier version.
            m_mutableReplacedUrls.insert(existingUrl);
            return ZKEnumerationResultContinue;
        }
    }
    if (isCancelled()) {
        return ZKEnumerationResultStop;
    }
    if (!m_mutableReplacedUrls.contains(existingUrl)) {
        const qint32 response = m_preExistingFileHandler
                                    ? qint32(m_preExistingFileHandler(existing))
                                    : qint32(ZKFileResponseCancel);
        switch (response) {
        case ZKFileResponseReplace:
            m_mutableReplacedUrls.insert(existingUrl);
            break;
        case ZKFileResponseCancel:
            setError(alreadyExistsError(existing.url));
            return ZKEnumerationResultStop;
        default:
            // Skip, or an answer nobody knows: what is there is left as it
            // is, and so is the source.
            takeOffTotal(item.size, !item.directory);
            skip(item.url);
            return ZKEnumerationResultSkip;
        }
    }

    if (!existing.writable) {
        if (m_unwritableFileHandler && m_unwritableFileHandler(item) == ZKFileResponseSkip) {
            takeOffTotal(item.size, !item.directory);
            skip(item.url);
            return ZKEnumerationResultSkip;
        }
        setError(ZKOperationErrors::error(ZKOperationErrors::UnableToWrite, {existing.url.path()}));
        return ZKEnumerationResultStop;
    }
    return ZKEnumerationResultContinue;
}
