// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAnalyseCopyOperation.h"

#include "ZKLogging.h"
#include "ZKReaderFactory.h"

#include <QFileInfo>
#include <QScopeGuard>

#include <algorithm>
#include <cstring>

namespace {

constexpr quint64 comparedBlockLength = 4096;

ZKError alreadyExistsError(const QUrl &copy) {
    return ZKError::application(
        ZKErrorCode::conflict,
        QStringLiteral("A file named '%1' already exists.").arg(copy.path()));
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

std::shared_ptr<ZKAnalyseCopyOperation>
ZKAnalyseCopyOperation::operationWithSource(ZKReaderPtr source, ZKWriterPtr destination) {
    return std::make_shared<ZKAnalyseCopyOperation>(std::move(source), std::move(destination));
}

ZKAnalyseCopyOperation::ZKAnalyseCopyOperation(ZKReaderPtr source, ZKWriterPtr destination)
    : m_source(std::move(source))
    , m_destination(std::move(destination)) {}

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
    return ZKError::application(
        ZKErrorCode::analysisRefused,
        QStringLiteral("Cannot copy the folder '%1' into '%2', which is inside it.")
            .arg(from.path(), to.path()));
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

bool ZKAnalyseCopyOperation::hasSameContents(ZKReader &source, ZKReader &copy) {
    if (!source.seekToPosition(0) || !copy.seekToPosition(0)) {
        return false;
    }
    while (source.hasMoreData()) {
        const QByteArray original = source.readBlock();
        if (isCancelled() || original.isEmpty() ||
            copy.readBlockOfLength(quint64(original.size())) != original) {
            return false;
        }
    }
    return !copy.hasMoreData();
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

    if (!m_source->open()) {
        takeError(
            m_source->error(),
            ZKError::application(ZKErrorCode::readFailed,
                                 QStringLiteral("Unable to open '%1'.").arg(m_source->filename())));
    } else if (!m_destination->open()) {
        takeError(m_destination->error(),
                  ZKError::application(
                      ZKErrorCode::createFailed,
                      QStringLiteral("Invalid path: '%1'").arg(m_destination->url().path())));
    } else if (const ZKOptionalError refusal = refuseCopyIntoItself(*m_source, *m_destination)) {
        setError(*refusal);
    } else {
        m_destinationFolderReader = m_destination->asReader();
        m_destinationFolderReader->open();
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
    if (!copy.exists()) {
        return;
    }
    if (copy.isDirectory() && !copy.isLink()) {
        setError(ZKError::application(
            ZKErrorCode::conflict,
            QStringLiteral("A folder already exists with the name '%1'.").arg(copy.filename())));
        return;
    }
    // An empty file is where an interrupted copy stopped right after
    // creating it: continued as it is, never asked about.
    if (copy.size() == 0 && !copy.isLink()) {
        return;
    }
    ZKOptionalError testError = alreadyExistsError(copy.url());
    if (copy.isLink()) {
        // Never written through: the link is the conflict, not its target.
    } else if (copy.size() == source.size()) {
        // The last case is a copy stopped after its last byte but before its
        // date was set, by a stop that came before the queue could note the
        // file as this task's own: the bytes are the source's already.
        // Compared in full, so only where both are on this machine.
        if (isFinishedCopy(source.size(), source.modificationDate(), copy.size(),
                           copy.modificationDate()) ||
            isOwnWork(copy.url()) ||
            (source.isLocal() && copy.isLocal() && hasSameContents(source, copy))) {
            m_bytesAlreadyCopied = copy.size();
            adopt(copy.url());
            return;
        }
    } else if (isPartialCopyFrom(source, copy, this, &testError)) {
        m_bytesAlreadyCopied = copy.size();
        adopt(copy.url());
        return;
    } else if (!isCancelled() && isOwnWork(copy.url())) {
        // This task's own unfinished file, which cannot be continued: the
        // source cannot start in the middle (a web server without ranges)
        // or is another version now. Written anew, it loses nothing.
        m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
        return;
    }
    if (isCancelled()) {
        return;
    }
    std::optional<ZKFileInfo> existing =
        m_destinationFolderReader ? m_destinationFolderReader->fileInfoForChild(copy.filename())
                                  : std::nullopt;
    if (!existing) {
        existing = infoOf(copy);
    }
    if (m_preExistingDestinationHandler &&
        m_preExistingDestinationHandler(*existing) == ZKFileResponseReplace) {
        m_mutableReplacedUrls.insert(standardizedUrl(copy.url()));
        return;
    }
    if (testError) {
        setError(*testError);
    }
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
                takeError(child->error(),
                          ZKError::application(
                              ZKErrorCode::analysisRefused,
                              QStringLiteral("Unable to read '%1'.").arg(item.url.path())));
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
        setError(ZKError::application(ZKErrorCode::analysisRefused,
                                      QStringLiteral("Unable to read '%1'.").arg(item.url.path())));
        return ZKEnumerationResultStop;
    }
    if (linkIsLeftAlone(item.symbolicLink)) {
        return ZKEnumerationResultContinue;
    }

    m_totalBytes += item.size;
    const auto existing = destinationIndex.constFind(name);
    if (existing == destinationIndex.cend()) {
        return ZKEnumerationResultContinue;
    }
    if (existing->symbolicLink) {
        return analyseLinkInTheWay(item, *existing);
    }
    if (!existing->directory && existing->size != 0) {
        const bool sameSize = !item.directory && existing->size == item.size;
        if (sameSize && (isFinishedCopy(item.size, item.modificationDate, existing->size,
                                        existing->modificationDate) ||
                         isOwnWork(existing->url))) {
            adopt(existing->url);
        } else {
            const ZKEnumerationResult result = analyseExistingItem(item, *existing, sameSize);
            if (result != ZKEnumerationResultContinue) {
                return result;
            }
        }
    }
    // Counted as done: a finished copy (the copy passes over it), empty, a
    // partial copy, or chosen for replacement.
    m_bytesAlreadyCopied += existing->size;
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
        takeOffTotal(item.size);
        skip(item.url);
        return ZKEnumerationResultSkip;
    default:
        setError(alreadyExistsError(existing.url));
        return ZKEnumerationResultStop;
    }
}

ZKEnumerationResult ZKAnalyseCopyOperation::analyseExistingItem(const ZKFileInfo &item,
                                                                const ZKFileInfo &existing,
                                                                bool sameSize) {
    const QUrl existingUrl = standardizedUrl(existing.url);
    bool partial = false;
    ZKOptionalError testError;
    // A file of the source's size is finished or it is another file; only a
    // shorter one can be a copy that stopped half way.
    if (!sameSize) {
        const ZKReaderPtr original = ZKReaderFactory::readerWithUrl(item.url);
        const ZKReaderPtr copy = ZKReaderFactory::readerWithUrl(existing.url);
        if (original && copy) {
            if (original->open() && copy->open()) {
                partial = isPartialCopyFrom(*original, *copy, this, &testError);
            }
            copy->close();
            original->close();
        }
    }
    if (isCancelled()) {
        return ZKEnumerationResultStop;
    }
    if (!testError) {
        testError = alreadyExistsError(existing.url);
    }

    if (partial) {
        adopt(existingUrl);
    } else if (!m_mutableReplacedUrls.contains(existingUrl)) {
        const qint32 response = m_preExistingFileHandler
                                    ? qint32(m_preExistingFileHandler(existing))
                                    : qint32(ZKFileResponseCancel);
        switch (response) {
        case ZKFileResponseReplace:
            m_mutableReplacedUrls.insert(existingUrl);
            break;
        case ZKFileResponseSkip:
            takeOffTotal(item.size);
            skip(item.url);
            return ZKEnumerationResultSkip;
        case ZKFileResponseCancel:
            setError(*testError);
            return ZKEnumerationResultStop;
        default:
            // Goes on as if it were a partial copy; a move compares it in
            // full before it removes anything.
            adopt(existingUrl);
            break;
        }
    }

    if (!existing.writable) {
        if (m_unwritableFileHandler && m_unwritableFileHandler(item) == ZKFileResponseSkip) {
            takeOffTotal(item.size);
            skip(item.url);
            return ZKEnumerationResultSkip;
        }
        setError(
            ZKError::application(ZKErrorCode::analysisRefused,
                                 QStringLiteral("Unable to write '%1'.").arg(existing.url.path())));
        return ZKEnumerationResultStop;
    }
    return ZKEnumerationResultContinue;
}
