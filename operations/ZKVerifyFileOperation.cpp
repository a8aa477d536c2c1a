// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKVerifyFileOperation.h"

#include "ZKPartialFile.h"

#include <algorithm>
#include <cstring>

ZKVerifyFileOperation::ZKVerifyFileOperation(ZKReaderPtr source, ZKWriterPtr destination,
                                             quint64 offset)
    : ZKFileOperation(std::move(source), std::move(destination))
    , m_offset(offset)
    , m_bytesVerified(offset) {}

void ZKVerifyFileOperation::fail(ZKOperationErrors::Message message, const QStringList &arguments,
                                 const ZKOptionalError &cause) {
    setError(cause ? ZKOperationErrors::error(ZKOperationErrors::VerificationFailed,
                                              {cause->localizedDescription()})
                   : ZKOperationErrors::error(message, arguments));
}

void ZKVerifyFileOperation::main() {
    m_startTime = Clock::now();
    m_lastNotification = m_startTime;
    m_unreported = 0;
    m_bytesCompared = 0;
    m_offsetLeft = m_offset;

    const bool sourceOpened = m_source->open();
    m_destination->open();
    const ZKReaderPtr folder = m_destination->asReader();
    if (!folder) {
        fail(ZKOperationErrors::VerifiedCopyMissing, {m_destination->url().path()});
    } else {
        verifyItem(*m_source, sourceOpened, *folder, *m_destination);
    }
    m_destination->close();
    m_source->close();
    if (m_unreported != 0) {
        report();
    }
}

void ZKVerifyFileOperation::verify(ZKReader &source, bool sourceOpened, ZKReader &copy,
                                   bool copyOpened) {
    if (source.isLink()) {
        if (m_symbolicLinkHandling == ZKSymbolicLinkHandlingSkip) {
            return;
        }
        if (m_symbolicLinkHandling == ZKSymbolicLinkHandlingCopyLink &&
            m_destination->canCreateLinks()) {
            verifyLink(source, copy);
            return;
        }
    }
    if (!sourceOpened) {
        fail(ZKOperationErrors::VerifiedSourceUnopened, {source.filename()}, source.error());
        return;
    }
    if (!copyOpened) {
        fail(ZKOperationErrors::VerifiedCopyMissing, {copy.url().path()}, copy.error());
        return;
    }
    if (source.isDirectory() != copy.isDirectory()) {
        fail(ZKOperationErrors::VerifiedFileAndDirectory);
        return;
    }
    if (source.isDirectory()) {
        verifyDirectory(source, copy);
    } else {
        verifyFile(source, copy);
    }
}

void ZKVerifyFileOperation::verifyLink(ZKReader &source, ZKReader &copy) {
    if (!copy.exists()) {
        fail(ZKOperationErrors::VerifiedCopyMissing, {copy.url().path()});
    } else if (source.isLink() != copy.isLink()) {
        fail(ZKOperationErrors::VerifiedLinkAndFile);
    } else if (source.linkTarget() != copy.linkTarget()) {
        fail(ZKOperationErrors::VerifiedLinkTarget,
             {copy.url().path(), source.linkTarget(), copy.linkTarget()});
    }
}

void ZKVerifyFileOperation::verifyDirectory(ZKReader &source, ZKReader &copy) {
    FolderScope scope(*this, source);
    if (!scope.entered()) {
        return;
    }
    // Where the files verified here take their real names.
    ZKWriterPtr folder;
    source.enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &child) {
        // Skipped items need not exist at the destination.
        if (shouldVerifyFile(child->url())) {
            const bool childOpened = child->open();
            if (!folder) {
                folder = copy.asWriter();
                if (folder) {
                    folder->open();
                }
            }
            if (folder) {
                verifyItem(*child, childOpened, copy, *folder);
            } else {
                fail(ZKOperationErrors::VerifiedCopyMissing, {copy.url().path()});
            }
            child->close();
        }
        return inProgress() ? ZKEnumerationResultContinue : ZKEnumerationResultStop;
    });
    if (folder) {
        folder->close();
    }
}

// A file is compared where the copy left it: under its unfinished name
// until it is verified, which is when it takes its real name.
void ZKVerifyFileOperation::verifyItem(ZKReader &source, bool sourceOpened, ZKReader &copyFolder,
                                       ZKWriter &folder) {
    const QString name = source.filename();
    const QString partName = ZKPartialFile::nameFor(name);
    ZKReaderPtr copy;
    bool isPart = false;
    if (!source.isDirectory() && !source.isLink()) {
        copy = copyFolder.childWithName(partName);
        isPart = copy && copy->open() && copy->exists() && !copy->isDirectory() && !copy->isLink();
        if (!isPart && copy) {
            copy->close();
        }
    }
    bool copyOpened = isPart;
    if (!isPart) {
        copy = copyFolder.childWithName(name);
        copyOpened = copy->open();
    }
    verify(source, sourceOpened, *copy, copyOpened);
    copy->close();
    if (isPart && !isCancelled() && !hasError()) {
        QUrl realUrl = copy->url().adjusted(QUrl::RemoveFilename);
        realUrl.setPath(realUrl.path() + name);
        if (!folder.renameItem(partName, name, isReplacedUrl(realUrl))) {
            takeError(folder.error(), ZKOperationErrors::error(ZKOperationErrors::UnableToRename,
                                                               {partName, name}));
        }
    }
}

QByteArray ZKVerifyFileOperation::readNextBlockFromSource(ZKReader &reader) {
    const quint64 rate = maximumTransferRate();
    return rate != 0 ? reader.readBlockOfMaximumLength(rate) : reader.readBlock();
}

void ZKVerifyFileOperation::sleepForTransferOf(quint64 length, Clock::time_point since) {
    const quint64 rate = maximumTransferRate();
    if (rate == 0) {
        return;
    }
    double wait = double(length) / double(rate) - secondsSince(since);
    while (wait > 0.00001 && !isCancelled()) {
        const double slice = std::min(wait, 1.0);
        sleepSlice(slice);
        wait -= slice;
    }
}

void ZKVerifyFileOperation::report() {
    const Clock::time_point now = Clock::now();
    m_bytesVerified += m_unreported;
    postActivity(m_unreported, m_bytesCompared,
                 std::chrono::duration<double>(now - m_lastNotification).count(),
                 std::chrono::duration<double>(now - m_startTime).count());
    m_lastNotification = now;
    m_unreported = 0;
}

void ZKVerifyFileOperation::verifyFile(ZKReader &source, ZKReader &copy) {
    clearError();
    beginFile(source.filename());
    const quint64 size = source.size();
    const quint64 skipped = std::min(m_offsetLeft, size);
    m_offsetLeft -= skipped;
    if (size != 0 && skipped == size) {
        endFile();
        return; // compared in full by an earlier run
    }
    // A source of zero bytes is not size-checked.
    if (size != 0 && size != copy.size()) {
        fail(ZKOperationErrors::VerifiedSizesDiffer);
        return;
    }
    if (skipped != 0 && (!source.seekToPosition(skipped) || !copy.seekToPosition(skipped))) {
        fail(ZKOperationErrors::VerifiedResumeFailed, {QString::number(skipped)},
             source.error() ? source.error() : copy.error());
        return;
    }

    Clock::time_point since = Clock::now();
    while (source.hasMoreData() && !isCancelled()) {
        quint64 length = 0;
        {
            const QByteArray block = readNextBlockFromSource(source);
            if (block.isEmpty()) {
                fail(ZKOperationErrors::VerifiedSourceEndedEarly, {source.url().path()},
                     source.error());
                break;
            }
            length = quint64(block.size());
            const QByteArray copied = copy.readBlockOfLength(length);
            if (copied.size() != block.size()) {
                fail(ZKOperationErrors::VerifiedContentsDiffer, {}, copy.error());
                break;
            }
            if (std::memcmp(block.constData(), copied.constData(), size_t(length)) != 0) {
                fail(ZKOperationErrors::VerifiedContentsDiffer);
                break;
            }
        }
        m_bytesCompared += length;
        m_unreported += length;
        if (maximumTransferRate() != 0) {
            sleepForTransferOf(length, since);
        }
        if (secondsSince(m_lastNotification) > minimumTimeBetweenNotifications()) {
            report();
        }
        since = Clock::now();
    }
    if (!isCancelled() && !hasError()) {
        endFile();
    }
}
