// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKRemoveSourceOperation.h"

#include "ZKFileSystemReader.h"
#include "ZKLogging.h"

#include <QDir>
#include <QFileInfo>

namespace {

// Where an item really lies: its folder with every link resolved, and its own
// name (a link itself is an item, whatever it points to).
QString realLocation(const QUrl &url) {
    const QFileInfo info(url.toLocalFile());
    const QString folder = info.dir().canonicalPath();
    return folder.isEmpty() ? QString() : folder + QLatin1Char('/') + info.fileName();
}

// Two different paths may still name one item (a link on the way, "." or
// ".." segments); removing it would then remove the only copy.
bool isSameItem(const ZKReader &source, const ZKReader &copy) {
    if (ZKFileOperation::standardizedUrl(source.url()) ==
        ZKFileOperation::standardizedUrl(copy.url())) {
        return true;
    }
    if (!source.isLocal() || !source.url().isLocalFile() || !copy.url().isLocalFile()) {
        return false;
    }
    const QString sourceLocation = realLocation(source.url());
    return !sourceLocation.isEmpty() && sourceLocation == realLocation(copy.url());
}

// Only a local source can be told to be gone rather than out of reach, and
// only a copy that is there makes its absence a finished move.
bool isAlreadyRemoved(const ZKReader &source, const ZKReaderPtr &copy) {
    if (!source.isLocal() || !source.url().isLocalFile() || !copy) {
        return false;
    }
    const QFileInfo info(source.url().toLocalFile());
    return !info.exists() && !info.isSymLink() && copy->exists();
}

// A named pipe, a socket, a device or a name that is not valid UTF-8: no copy
// could take it, so it was left out, and it stays where it is.
bool cannotBeCopied(const ZKReader &item) {
    const auto *local = dynamic_cast<const ZKFileSystemReader *>(&item);
    return local && !local->skipReason().isEmpty();
}

QString pathOf(const QUrl &url) {
    return ZKFileOperation::standardizedUrl(url).path();
}

} // namespace

void ZKRemoveSourceOperation::refuse(ZKOperationErrors::Message message,
                                     const QStringList &arguments) {
    setError(ZKOperationErrors::error(message, arguments));
}

void ZKRemoveSourceOperation::main() {
    const bool sourceOpened = m_source->open();
    m_destination->open();
    const ZKReaderPtr folder = m_destination->asReader();
    m_destinationReader = folder ? folder->childWithName(m_source->filename()) : nullptr;
    if (m_destinationReader) {
        m_destinationReader->open();
    }
    const ZKWriterPtr sourceWriter = sourceOpened ? m_source->asWriter() : nullptr;

    if (!sourceOpened && isAlreadyRemoved(*m_source, m_destinationReader)) {
        // A removal cut short after the source went, before that was
        // recorded: nothing is left to do.
        qCInfo(lcOperations) << "Source" << m_source->url().path() << "is already removed";
    } else if (!sourceOpened) {
        // What cannot be looked at cannot be shown to have been copied.
        takeError(m_source->error(), ZKOperationErrors::error(ZKOperationErrors::UnableToOpen,
                                                              {m_source->filename()}));
    } else if (!m_destinationReader) {
        refuse(ZKOperationErrors::RemovalNotCopied, {m_source->url().path()});
    } else {
        compareSource(*m_source, *m_destinationReader);
    }

    if (m_destinationReader) {
        m_destinationReader->close();
    }
    m_destination->close();
    m_source->close();

    if (!hasError() && !isCancelled() && sourceWriter) {
        if (m_keptFolders.isEmpty()) {
            removeItem(*sourceWriter);
        } else if (m_source->open()) {
            removeAllBut(*m_source);
            m_source->close();
        } else {
            takeError(m_source->error(), ZKOperationErrors::error(ZKOperationErrors::UnableToOpen,
                                                                  {m_source->filename()}));
        }
    }
}

void ZKRemoveSourceOperation::compareSource(ZKReader &source, ZKReader &copy) {
    if (isSameItem(source, copy)) {
        refuse(ZKOperationErrors::RemovalSameItem, {source.url().path()});
        return;
    }
    // Whatever stands at the destination under its name, an item the user
    // chose to leave out was not copied: it may be another file of the same
    // size.
    if (isSkippedUrl(source.url())) {
        refuse(ZKOperationErrors::RemovalNotCopied, {source.url().path()});
        return;
    }
    // A link is compared as an item, never entered: removing it removes the
    // link alone, and what it points to stays where it is.
    if (source.isDirectory() && !source.isLink()) {
        source.enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &child) {
            if (cannotBeCopied(*child)) {
                // Not at the destination, and not to be lost: it keeps its
                // folder, and the folders above, in the source.
                m_keptFolders.insert(pathOf(source.url()));
            } else if (shouldRemoveFile(child->url())) {
                child->open();
                const ZKReaderPtr childCopy = copy.childWithName(child->filename());
                childCopy->open();
                compareSource(*child, *childCopy);
                childCopy->close();
                child->close();
            }
            return inProgress() ? ZKEnumerationResultContinue : ZKEnumerationResultStop;
        });
        return;
    }
    if (!copy.exists()) {
        refuse(ZKOperationErrors::RemovalNotCopied, {source.url().path()});
        return;
    }
    if (isCancelled()) {
        return;
    }
    if (source.size() != copy.size()) {
        refuse(ZKOperationErrors::RemovalSizeDiffers, {copy.url().path(), source.url().path()});
        return;
    }
    if (!m_comparedInFull && !source.isLink() &&
        m_preExistingUrls.contains(standardizedUrl(copy.url())) && !sameContents(source, copy) &&
        !hasError() && !isCancelled()) {
        refuse(ZKOperationErrors::RemovalContentsDiffer, {copy.url().path(), source.url().path()});
    }
}

// Both readers stand at their first byte. A read that fails is a refusal too:
// what cannot be compared cannot be shown to be a copy.
bool ZKRemoveSourceOperation::sameContents(ZKReader &source, ZKReader &copy) {
    while (source.hasMoreData() && !isCancelled()) {
        const QByteArray original = source.readBlock();
        if (original.isEmpty()) {
            failOnEmptyRead(source);
            return false;
        }
        const QByteArray copied = copy.readBlockOfLength(quint64(original.size()));
        if (copied != original) {
            return false;
        }
    }
    return true;
}

bool ZKRemoveSourceOperation::leadsToKeptFolder(const QUrl &url) const {
    const QString path = pathOf(url);
    return std::any_of(m_keptFolders.cbegin(), m_keptFolders.cend(),
                       [&](const QString &kept) { return holdsPath(path, kept); });
}

void ZKRemoveSourceOperation::removeAllBut(ZKReader &folder) {
    folder.enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &child) {
        // What the skip patterns left out beside a kept item was never copied
        // either; with its folder staying, it stays too.
        if (cannotBeCopied(*child) || !shouldRemoveFile(child->url())) {
            return ZKEnumerationResultContinue;
        }
        if (leadsToKeptFolder(child->url())) {
            // A folder that turned into a link since the check is left
            // alone: what it points to was never compared.
            if (child->open() && child->isDirectory() && !child->isLink()) {
                removeAllBut(*child);
            }
            child->close();
        } else if (const ZKWriterPtr writer = child->asWriter()) {
            removeItem(*writer);
        } else {
            takeError(child->error(), ZKOperationErrors::error(ZKOperationErrors::UnableToRemove,
                                                               {child->url().path()}));
        }
        return inProgress() ? ZKEnumerationResultContinue : ZKEnumerationResultStop;
    });
    if (folder.error() && !hasError()) {
        setError(*folder.error());
    }
}

void ZKRemoveSourceOperation::removeItem(ZKWriter &writer) {
    if (!writer.remove([this] { return isCancelled(); }) && writer.error()) {
        setError(*writer.error());
    }
    writer.close();
}
