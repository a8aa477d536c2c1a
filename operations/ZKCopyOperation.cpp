// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyOperation.h"

#include "ZKAnalyseCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKLogging.h"
#include "ZKOperationErrors.h"
#include "ZKPartialFile.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

ZKError openError(const QString &filename) {
    return ZKOperationErrors::error(ZKOperationErrors::UnableToOpen, {filename});
}

} // namespace

// A tree of small files costs its copy far more in system calls than in
// bytes, and half of those calls can be made on a second thread while the
// operation's own thread walks and copies the rest. Only an opened, small,
// regular file that nothing stands in the way of at the destination goes
// there, to be copied by the same steps on a copier of its own; its bytes
// and its error reach the operation when it ends. A large file stays on the
// operation's thread, whose notifications follow it block by block.
class ZKCopyOperation::SmallFiles {
public:
    struct File {
        ZKReaderPtr reader; // opened by the operation's thread
        ZKWriterPtr folder;
    };
    struct Results {
        quint64 bytes = 0;
        quint64 files = 0;
        ZKOptionalError failure;
    };

    explicit SmallFiles(const ZKCopyOperation &owner)
        : m_owner(owner)
        , m_copier(nullptr, nullptr, owner.m_offset) {
        m_copier.m_copyCreationTime = owner.m_copyCreationTime;
        m_copier.m_copyModificationTime = owner.m_copyModificationTime;
        m_copier.m_copyPermissions = owner.m_copyPermissions;
        m_copier.m_copyOwnership = owner.m_copyOwnership;
        m_copier.m_symbolicLinkHandling = owner.m_symbolicLinkHandling;
        m_copier.m_givesRealNames = owner.m_givesRealNames;
        m_copier.m_topLevel = false;
        m_copier.m_startTime = Clock::now();
        m_copier.m_pacing = Pacing{m_copier.m_startTime};
        m_copier.setReplacedUrls(owner.replacedUrls());
        // It reports nothing itself: its files are counted as they end.
        m_copier.setMinimumTimeBetweenNotifications(owner.minimumTimeBetweenNotifications());
        m_thread = std::thread([this] { run(); });
    }

    ~SmallFiles() {
        {
            std::lock_guard locker(m_lock);
            m_stopping = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    // Few wait, so that a speed limit set meanwhile finds little to pace
    // after the fact and few descriptors are held.
    bool offer(File file) {
        std::unique_lock locker(m_lock);
        if (m_waiting.size() >= maximumWaiting || m_results.failure) {
            return false;
        }
        m_waiting.push_back(std::move(file));
        const bool idle = !m_busy;
        locker.unlock();
        if (idle) {
            m_changed.notify_one();
        }
        return true;
    }

    // A waiting file, for the operation's thread to copy or close itself.
    std::optional<File> take() {
        std::lock_guard locker(m_lock);
        if (m_waiting.empty()) {
            return std::nullopt;
        }
        File file = std::move(m_waiting.front());
        m_waiting.pop_front();
        return file;
    }

    void waitUntilIdle() {
        std::unique_lock locker(m_lock);
        m_changed.wait(locker, [this] { return !m_busy && m_waiting.empty(); });
    }

    bool hasResults() const { return m_hasResults.load(std::memory_order_acquire); }
    Results takeResults() {
        std::lock_guard locker(m_lock);
        Results results = std::move(m_results);
        m_results = {};
        m_hasResults.store(false, std::memory_order_relaxed);
        return results;
    }

private:
    static constexpr size_t maximumWaiting = 4;

    void run() {
        ::pthread_setname_np(::pthread_self(), "ZKSmallFiles");
        std::unique_lock locker(m_lock);
        for (;;) {
            m_changed.wait(locker, [this] { return m_stopping || !m_waiting.empty(); });
            if (m_waiting.empty()) {
                return;
            }
            File file = std::move(m_waiting.front());
            m_waiting.pop_front();
            m_busy = true;
            // Whatever still waits at the stop only closes: its folder may
            // have its attributes already.
            const bool goOn = !m_stopping && !m_results.failure && !m_owner.isCancelled();
            locker.unlock();

            quint64 bytes = 0;
            bool copied = false;
            ZKOptionalError failure;
            if (goOn) {
                const quint64 before = m_copier.m_bytesCopied.load();
                m_copier.copyFileFrom(*file.reader, *file.folder);
                m_copier.countCopied();
                // Counted as the difference: a file begun anew counts down first.
                bytes = m_copier.m_bytesCopied.load() - before;
                failure = m_copier.error();
                copied = !failure;
            }
            file.reader->close();
            file = {};

            locker.lock();
            m_results.bytes += bytes;
            m_results.files += copied ? 1 : 0;
            if (failure && !m_results.failure) {
                m_results.failure = std::move(failure);
            }
            m_busy = false;
            m_hasResults.store(true, std::memory_order_release);
            if (m_waiting.empty()) {
                m_changed.notify_all(); // someone may wait for the last one
            }
        }
    }

    const ZKCopyOperation &m_owner;
    ZKCopyOperation m_copier; // used by this thread only
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<File> m_waiting;
    Results m_results;
    std::atomic<bool> m_hasResults{false};
    bool m_busy = false;
    bool m_stopping = false;
    std::thread m_thread; // last: started once the rest is made
};

ZKCopyOperation::ZKCopyOperation(ZKReaderPtr source, ZKWriterPtr destination, quint64 offset)
    : ZKFileOperation(std::move(source), std::move(destination))
    , m_offset(offset)
    , m_bytesCopied(offset) {}

ZKCopyOperation::~ZKCopyOperation() = default;

bool ZKCopyOperation::handOver(const ZKReaderPtr &file, const ZKWriterPtr &folder) {
    if (!file->isLocal() || !folder->isLocal() || file->isDirectory() || file->isLink() ||
        file->size() > smallFileMaximum || maximumTransferRate() != 0) {
        return false;
    }
    if (!m_smallFiles && !m_oneThreadOnly) {
        try {
            m_smallFiles = std::make_unique<SmallFiles>(*this);
        } catch (const std::system_error &failure) {
            // No thread to spare: this thread copies every file, as it can.
            qCInfo(lcOperations) << "Copying on one thread:" << failure.what();
            m_oneThreadOnly = true;
        }
    }
    return m_smallFiles && m_smallFiles->offer({file, folder});
}

// What the second thread finished: its bytes go into the next
// notification and through the speed limit as if copied here.
void ZKCopyOperation::takeSmallFileResults() {
    if (!m_smallFiles || !m_smallFiles->hasResults()) {
        return;
    }
    SmallFiles::Results results = m_smallFiles->takeResults();
    m_bytesCopied += results.bytes;
    m_pacing.unreported += results.bytes;
    m_bytesWritten += results.bytes;
    for (quint64 i = 0; i < results.files; ++i) {
        endFile();
        m_pacing.filesUnreported = true;
    }
    if (results.failure && !hasError()) {
        setError(*results.failure);
    }
    const quint64 rate = maximumTransferRate();
    if (rate != 0 && results.bytes != 0 && !isCancelled()) {
        paceTransferOf(results.bytes, rate);
    }
    if (secondsSince(m_pacing.lastNotification) > minimumTimeBetweenNotifications()) {
        report();
    }
}

// Before a folder's own attributes, which its files must not change again:
// the files still waiting are copied here, and the one on its way awaited.
void ZKCopyOperation::finishSmallFiles() {
    if (!m_smallFiles) {
        return;
    }
    while (std::optional<SmallFiles::File> file = m_smallFiles->take()) {
        takeSmallFileResults();
        if (inProgress()) {
            copyFileFrom(*file->reader, *file->folder);
        }
        file->reader->close();
    }
    m_smallFiles->waitUntilIdle();
    takeSmallFileResults();
}

void ZKCopyOperation::main() {
    m_startTime = Clock::now();
    m_pacing = Pacing{m_startTime};
    m_bytesWritten = 0;
    m_topLevel = true;
    throttle().beginTransfer();
    ZKAnalyseCopyOperation::expectContinuation(*m_source, *m_destination, replacedUrls());
    if (!m_source->open()) {
        // Delivered before the queue could note it: the copy is whole.
        const std::optional<quint64> delivered =
            ZKAnalyseCopyOperation::deliveredSize(*m_source, *m_destination);
        m_destination->close();
        if (delivered) {
            m_bytesCopied = std::max(m_bytesCopied.load(), *delivered);
        } else {
            takeError(m_source->error(), openError(m_source->filename()));
        }
        m_source->close();
        return;
    }
    if (!m_destination->open()) {
        m_source->close();
        takeError(m_destination->error(), ZKOperationErrors::error(ZKOperationErrors::InvalidPath,
                                                                   {m_destination->url().path()}));
        m_destination->close();
        return;
    }
    removeReplacedLink(*m_destination, m_source->filename());
    if (inProgress()) {
        copyFrom(*m_source, *m_destination);
    }
    m_smallFiles.reset();
    m_destination->close();
    m_source->close();
    countCopied();
    if (m_pacing.unreported != 0 || m_pacing.filesUnreported) {
        report();
    }
}

// A link that stands where the item goes and that the user chose to replace
// goes first, so that nothing is written through it.
void ZKCopyOperation::removeReplacedLink(ZKWriter &folder, const QString &name) {
    if (replacedUrls().isEmpty()) {
        return; // spares a look at the destination for every task
    }
    const ZKReaderPtr folderReader = folder.asReader();
    if (!folderReader || !folderReader->open()) {
        return;
    }
    const std::optional<ZKFileInfo> there = folderReader->fileInfoForChild(name);
    folderReader->close();
    if (there && there->symbolicLink && isReplacedUrl(there->url) && !folder.removeFile(name)) {
        takeError(folder.error(), openError(name));
    }
}

bool ZKCopyOperation::followsLink(const ZKWriter &folder) const {
    return m_symbolicLinkHandling != ZKSymbolicLinkHandlingSkip &&
           (m_symbolicLinkHandling != ZKSymbolicLinkHandlingCopyLink || !folder.canCreateLinks());
}

void ZKCopyOperation::copyFrom(ZKReader &reader, ZKWriter &folder) {
    if (!reader.exists()) {
        setError(openError(reader.filename()));
        return;
    }
    if (reader.isLink()) {
        if (m_symbolicLinkHandling == ZKSymbolicLinkHandlingSkip) {
            return;
        }
        if (m_symbolicLinkHandling == ZKSymbolicLinkHandlingCopyLink && folder.canCreateLinks()) {
            copyLinkFrom(reader, folder);
            return;
        }
    }
    // A followed link carries its target's attributes.
    if (reader.isDirectory()) {
        copyDirectoryFrom(reader, folder);
    } else {
        copyFileFrom(reader, folder);
    }
}

void ZKCopyOperation::copyLinkFrom(ZKReader &reader, ZKWriter &folder) {
    m_topLevel = false;
    if (!folder.createLink(reader.filename(), reader.linkTarget())) {
        takeError(folder.error(), ZKOperationErrors::error(ZKOperationErrors::CannotCreateLink,
                                                           {folder.url().path()}));
    }
}

void ZKCopyOperation::copyDirectoryFrom(ZKReader &reader, ZKWriter &folder) {
    const ZKWriterPtr newFolder = folder.createDirectory(reader.filename());
    if (!newFolder) {
        takeError(folder.error(), ZKOperationErrors::error(ZKOperationErrors::CannotCreateDirectory,
                                                           {folder.url().path()}));
        return;
    }
    if (!newFolder->open()) {
        takeError(newFolder->error(), ZKOperationErrors::error(ZKOperationErrors::InvalidPath,
                                                               {newFolder->url().path()}));
        newFolder->close();
        return;
    }
    if (m_topLevel) {
        // Copying a folder into itself must not copy the copy again.
        excludeFolder(newFolder->url());
        m_topLevel = false;
    }
    FolderScope scope(*this, reader);
    if (!scope.entered()) {
        newFolder->close();
        return;
    }

    const ZKReaderPtr existing = newFolder->asReader();
    if (!existing || !existing->open()) {
        takeError(existing ? existing->error() : ZKOptionalError(),
                  openError(newFolder->filename()));
        if (existing) {
            existing->close();
        }
        newFolder->close();
        return;
    }
    // What is already there, one level deep.
    QHash<QString, ZKFileInfo> index;
    const QUrl newFolderUrl = existing->url();
    existing->setWalkAccessChecks(ZKReader::NoAccessCheck);
    existing->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
        if (isChildOf(info.url, newFolderUrl)) {
            index.insert(info.url.fileName(), info);
        }
        return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
    });
    if (existing->error() && !hasError()) {
        setError(*existing->error());
    }
    existing->close();

    const QUrl folderUrl = reader.url();
    if (inProgress()) {
        // The analysis asked about access already; the copy meets any
        // change since when it opens the item.
        reader.setWalkAccessChecks(ZKReader::NoAccessCheck);
        // Where nothing stands yet, every file is written whatever its size,
        // and opening it to copy it finds out the rest.
        reader.setWalkReportsFileStatus(!index.isEmpty());
        reader.enumerateFileInfoWithBlock([&](const ZKFileInfo &item) {
            // A followed link's contents come under the target's path before
            // the link; they are copied when the link itself is.
            if (!isChildOf(item.url, folderUrl)) {
                return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
            }
            const QString name = item.url.fileName();
            const auto there = index.constFind(name);
            const bool replaced = there != index.cend() && isReplacedUrl(there->url);
            // Finished by an earlier run: the analysis has ruled on every
            // file of the source's size already. One it chose to replace is
            // written again, whatever it looks like: its size and date may
            // be the source's while its bytes are not.
            const bool complete = there != index.cend() && !there->directory &&
                                  !there->symbolicLink && !item.directory &&
                                  there->size == item.size && !replaced;
            if (there != index.cend() && there->symbolicLink && replaced &&
                !newFolder->removeFile(name)) {
                takeError(newFolder->error(), openError(name));
                return ZKEnumerationResultStop;
            }
            if (!complete && item.skipReason.isEmpty() && shouldCopyFile(item.url)) {
                const ZKReaderPtr child = reader.childWithName(name);
                // A dangling link cannot be opened, yet it can be recreated.
                if (child->open() || (child->isLink() && !followsLink(*newFolder))) {
                    // Nothing of its name there: no resume to weigh up.
                    const bool fresh =
                        index.isEmpty() ||
                        (there == index.cend() && !index.contains(ZKPartialFile::nameFor(name)));
                    if (fresh && handOver(child, newFolder)) {
                        return ZKEnumerationResultSkip; // it closes the file
                    }
                    copyFrom(*child, *newFolder);
                } else if (!child->exists()) {
                    setError(openError(name));
                } else {
                    takeError(child->error(), openError(name));
                }
                child->close();
            }
            takeSmallFileResults();
            return inProgress() ? ZKEnumerationResultSkip : ZKEnumerationResultStop;
        });
        reader.setWalkReportsFileStatus(true);
        if (reader.error() && !hasError()) {
            setError(*reader.error());
        }
    }
    finishSmallFiles();
    newFolder->close();
    // After the contents, so that copying them does not change the date again.
    copyAttributesFrom(reader, *newFolder, inProgress());
}

void ZKCopyOperation::copyFileFrom(ZKReader &reader, ZKWriter &folder) {
    const bool single = m_topLevel;
    m_topLevel = false;
    clearError();
    const QString name = reader.filename();
    beginFile(name);
    if (single && holdsWholeCopy(reader, folder, name)) {
        // Named by an earlier run after its queue last noted where it was.
        m_bytesCopied = std::max(m_bytesCopied.load(), reader.size());
        return;
    }
    // Written under a name of its own and given its real name only once
    // whole: what stands under the real name is never half a file.
    const QString partName = folder.canRenameItems() ? ZKPartialFile::nameFor(name) : name;
    ZKWriterPtr file = folder.createFile(partName);
    if (!file) {
        takeError(folder.error(), ZKOperationErrors::error(ZKOperationErrors::CannotCreateFile,
                                                           {folder.url().path()}));
        return;
    }
    if (!file->open()) {
        takeError(file->error(), openError(file->filename()));
        file->close();
        return;
    }
    quint64 resumedAt = 0;
    if (file->size() != 0) {
        file = openForResume(reader, folder, file);
        if (!file) {
            return;
        }
        resumedAt = file->size();
    }
    if (resumedAt == 0) {
        reader.acceptCurrentVersion();
        // Before the first byte: a file that holds any byte of the source
        // says which version of which source it holds.
        file->setProvenance(reader.identity());
    }

    copyContents(reader, *file, resumedAt);
    // A local file written to while it was copied leaves a copy that may
    // join two versions, which no resume could tell apart from a good start.
    if (!isCancelled() && reader.isLocal() && reader.hasChanged()) {
        file->close();
        setError(ZKOperationErrors::error(ZKOperationErrors::ChangedWhileCopied,
                                          {reader.url().toLocalFile()}));
        if (!file->remove([] { return false; })) {
            qCWarning(lcOperations)
                << "Cannot remove the copy of a changed file" << file->url().path();
        }
        file->close();
        return;
    }
    const auto close = [&] {
        file->close();
        // Closing is where a remote file learns whether all of it arrived.
        if (!file->isLocal() && !isCancelled() && !hasError() && file->error()) {
            takeError(file->error(), openError(file->filename()));
        }
    };
    const bool whileOpen = file->takesAttributesWhileOpen();
    if (!whileOpen) {
        close();
    }
    if (!isCancelled() && !hasError()) {
        copyAttributesFrom(reader, *file, true);
    }
    if (whileOpen) {
        close();
    }
    if (!isCancelled() && !hasError() && m_givesRealNames && partName != name) {
        giveRealName(folder, partName, name);
    }
    if (!isCancelled() && !hasError()) {
        endFile();
        m_pacing.filesUnreported = true;
    }
}

// A folder walk passes over finished files itself; a single file is
// looked at here, where it is not one the user chose to replace.
bool ZKCopyOperation::holdsWholeCopy(ZKReader &reader, ZKWriter &folder, const QString &name) {
    const ZKReaderPtr folderReader = folder.asReader();
    const ZKReaderPtr copy = folderReader ? folderReader->childWithName(name) : nullptr;
    if (!copy || isReplacedUrl(copy->url())) {
        return false;
    }
    const bool holds = copy->open() && copy->exists() && !copy->isDirectory() && !copy->isLink() &&
                       ZKAnalyseCopyOperation::holdsSource(reader, *copy);
    copy->close();
    return holds;
}

void ZKCopyOperation::giveRealName(ZKWriter &folder, const QString &partName, const QString &name) {
    // What the user chose to replace goes in the same step; anything else
    // that took the name since the analysis is kept. Most tasks replace
    // nothing, and are spared making the url of every file.
    bool replace = false;
    if (!replacedUrls().isEmpty()) {
        QUrl realUrl = folder.url();
        realUrl.setPath(realUrl.path() +
                        (realUrl.path().endsWith(u'/') ? QString() : QStringLiteral("/")) + name);
        replace = isReplacedUrl(realUrl);
    }
    if (!folder.renameItem(partName, name, replace)) {
        takeError(folder.error(),
                  ZKOperationErrors::error(ZKOperationErrors::UnableToRename, {partName, name}));
    }
}

// The writer stands at the end of the unfinished file. Answers the writer
// to append to, or nothing when the copy of this file must stop.
ZKWriterPtr ZKCopyOperation::openForResume(ZKReader &reader, ZKWriter &folder, ZKWriterPtr file) {
    const quint64 existingSize = file->size();
    file->close();
    const ZKReaderPtr copy = file->asReader();
    if (!copy || !copy->open()) {
        takeError(copy ? copy->error() : ZKOptionalError(), openError(file->filename()));
        if (copy) {
            copy->close();
        }
        return nullptr;
    }
    // Continued only from the very version of the very source it was begun
    // from: the identity it keeps says so. Where the destination keeps
    // none, only this task's own earlier run of an unchanged source may be
    // continued, never a file on the strength of sampled blocks alone.
    const std::optional<QByteArray> provenance = copy->provenance();
    const QByteArray identity = reader.identity();
    bool resumable = false;
    if (provenance) {
        resumable = !provenance->isEmpty() && *provenance == identity;
    } else {
        resumable = m_offset != 0 && !isReplacedUrl(file->url()) && !reader.hasChanged() &&
                    reader.isBegunVersion() &&
                    ZKAnalyseCopyOperation::isPartialCopyFrom(reader, *copy, this, nullptr);
    }
    resumable = resumable && existingSize <= reader.size();
    copy->close();
    if (isCancelled()) {
        return nullptr;
    }
    if (resumable) {
        if (!reader.seekToPosition(existingSize)) {
            takeError(reader.error(), openError(reader.filename()));
            return nullptr;
        }
        if (reader.canSeek() && !reader.hasChanged()) {
            return reopenForAppend(std::move(file), existingSize);
        }
        // The source answered from its first byte after all, or as another
        // version, so the file must start from its first byte too.
        qCInfo(lcOperations) << "Source cannot resume; copying" << file->url().path() << "anew";
    }

    // What was counted for the old content is written again.
    if (m_offset != 0) {
        m_bytesCopied -= std::min(m_bytesCopied.load(), existingSize);
    }
    if (!file->remove([] { return false; })) {
        takeError(file->error(), openError(file->filename()));
        file->close();
        return nullptr;
    }
    file->close();
    if (!reader.seekToPosition(0) && reader.canSeek()) {
        takeError(reader.error(), openError(reader.filename()));
        return nullptr;
    }
    ZKWriterPtr fresh = folder.createFile(file->filename());
    if (!fresh) {
        takeError(folder.error(), openError(file->filename()));
        return nullptr;
    }
    if (!fresh->open()) {
        takeError(fresh->error(), openError(fresh->filename()));
        fresh->close();
        return nullptr;
    }
    return fresh;
}

ZKWriterPtr ZKCopyOperation::reopenForAppend(ZKWriterPtr file, quint64 existingSize) {
    if (!file->open()) {
        takeError(file->error(), openError(file->filename()));
        file->close();
        return nullptr;
    }
    if (file->size() != existingSize) {
        // Someone wrote to it between the test and now: what was tested is
        // no longer what would be continued.
        file->close();
        setError(ZKOperationErrors::error(ZKOperationErrors::AnotherProcessWriting,
                                          {file->url().path()}));
        return nullptr;
    }
    // A task that made this operation with an offset counted them.
    if (m_offset == 0) {
        m_bytesCopied += existingSize;
    }
    return file;
}

QByteArray ZKCopyOperation::readNextBlockFromSource(ZKReader &reader) {
    const quint64 rate = maximumTransferRate();
    return rate != 0 ? reader.readBlockOfMaximumLength(rate) : reader.readBlock();
}

void ZKCopyOperation::countCopied() {
    m_bytesCopied += m_pacing.uncounted;
    m_pacing.uncounted = 0;
}

void ZKCopyOperation::report() {
    const Clock::time_point now = Clock::now();
    countCopied();
    postActivity(m_pacing.unreported, m_bytesWritten,
                 std::chrono::duration<double>(now - m_pacing.lastNotification).count(),
                 std::chrono::duration<double>(now - m_startTime).count());
    m_pacing.lastNotification = now;
    m_pacing.unreported = 0;
    m_pacing.filesUnreported = false;
}

bool ZKCopyOperation::afterBlock(quint64 length, quint64 rate) {
    m_pacing.unreported += length;
    m_pacing.uncounted += length;
    m_bytesWritten += length;
    if (isCancelled()) {
        return false;
    }
    paceTransferOf(length, rate);
    if (isCancelled()) {
        return false;
    }
    if (secondsSince(m_pacing.lastNotification) > minimumTimeBetweenNotifications()) {
        report();
    }
    return true;
}

void ZKCopyOperation::copyContents(ZKReader &reader, ZKWriter &file, quint64 position) {
    const bool local = reader.isLocal() && file.isLocal() && reader.size() > position &&
                       reader.size() - position >= localCopyMinimum;
    const bool goOn = !local || copyLocally(reader, file, position);
    while (goOn && reader.hasMoreData()) {
        if (isCancelled()) {
            break;
        }
        const quint64 rate = maximumTransferRate();
        quint64 length = 0;
        {
            const QByteArray block = readNextBlockFromSource(reader);
            if (block.isEmpty()) {
                failOnEmptyRead(reader);
                break;
            }
            if (!file.appendBlock(block)) {
                takeError(file.error(),
                          ZKOperationErrors::error(ZKOperationErrors::UnableToWriteData,
                                                   {file.url().path()}));
                break;
            }
            length = quint64(block.size());
        }
        if (!afterBlock(length, rate)) {
            break;
        }
    }
    countCopied();
}

// Between two local files the kernel copies each block itself, which spares
// copying every byte out to this process and back. Blocks, pacing,
// notifications and cancellation stay those of the block loop. Whatever goes
// wrong here is left to the block loop, which continues from the same place
// and reports a failure in the endpoints' own words. Answers false when the
// block loop must not continue.
bool ZKCopyOperation::copyLocally(ZKReader &reader, ZKWriter &file, quint64 position) {
    // The reader's own descriptor: the source's path may name another file
    // by now. The kernel's copy reads at the offsets given; the reader is
    // put at the right place again at the end.
    const auto *source = dynamic_cast<const ZKFileSystemReader *>(&reader);
    const int in = source ? source->descriptor() : -1;
    if (in < 0) {
        return true;
    }
    const QByteArray copyPath = QFile::encodeName(file.url().toLocalFile());
    const int out = ::open(copyPath.constData(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    struct stat outStatus {};
    if (out < 0 || ::fstat(out, &outStatus) != 0 || !S_ISREG(outStatus.st_mode) ||
        quint64(outStatus.st_size) != file.size()) {
        if (out >= 0) {
            ::close(out);
        }
        return true;
    }

    const quint64 end = reader.size();
    loff_t inOffset = loff_t(position);
    loff_t outOffset = loff_t(outStatus.st_size);
    loff_t dataEnd = inOffset; // where the data extent being copied ends
    bool goOn = true;
    while (quint64(inOffset) < end) {
        if (isCancelled()) {
            goOn = false;
            break;
        }
        // A hole in the source stays a hole in the copy, as large as it
        // was, and counts as copied. The copy's length follows at once, so
        // that it always says how far the copy has come. The extents are
        // looked up once each: some file systems walk the file to find them.
        if (inOffset >= dataEnd) {
            const loff_t data = ::lseek(in, inOffset, SEEK_DATA);
            const loff_t dataStart = data >= 0 ? std::min<loff_t>(data, loff_t(end))
                                               : (errno == ENXIO ? loff_t(end) : inOffset);
            if (dataStart > inOffset) {
                const loff_t hole = dataStart - inOffset;
                if (::ftruncate(out, outOffset + hole) != 0) {
                    break; // the block loop writes the zeros, or says why it cannot
                }
                inOffset += hole;
                outOffset += hole;
                if (!afterBlock(quint64(hole), 0)) {
                    goOn = false;
                    break;
                }
                continue;
            }
            const loff_t holeAt = ::lseek(in, inOffset, SEEK_HOLE);
            dataEnd = holeAt > inOffset ? std::min<loff_t>(holeAt, loff_t(end)) : loff_t(end);
        }
        const quint64 dataLeft = quint64(dataEnd - inOffset);
        // Under a limit, the block readBlockOfMaximumLength or readBlock would
        // have given. Without one, a call moves several MiB: the kernel's copy
        // is then as cheap as it gets, and a call still ends long before a
        // cancel must take effect.
        const quint64 rate = maximumTransferRate();
        const quint64 block =
            rate == 0 ? unlimitedLocalBlockSize
                      : (rate < ZKReader::standardBlockSize ? rate : ZKReader::standardBlockSize);
        const quint64 wanted = std::min(block, dataLeft);
        const ssize_t copied = ::copy_file_range(in, &inOffset, out, &outOffset, wanted, 0);
        if (copied <= 0) {
            if (copied < 0 && errno == EINTR) {
                continue;
            }
            break;
        }
        if (!afterBlock(quint64(copied), rate)) {
            goOn = false;
            break;
        }
    }
    ::close(out);
    // Looking up the extents moved the shared descriptor's position: the
    // reader goes on from where the kernel stopped, or from where it stood.
    if (!reader.seekToPosition(quint64(inOffset))) {
        takeError(reader.error(), openError(reader.filename()));
        return false;
    }
    if (quint64(inOffset) == position) {
        return goOn; // nothing was written: the writer stands where it stood
    }
    if (!goOn || quint64(inOffset) == end) {
        return goOn;
    }
    // The block loop takes over: the writer must stand at the new end.
    file.close();
    const ZKError moved =
        ZKOperationErrors::error(ZKOperationErrors::AnotherProcessWriting, {file.url().path()});
    if (!file.open()) {
        takeError(file.error(), moved);
        return false;
    }
    if (file.size() != quint64(outOffset)) {
        setError(moved);
        return false;
    }
    return true;
}

void ZKCopyOperation::copyAttributesFrom(ZKReader &reader, ZKWriter &writer, bool complete) {
    // Ownership first: a change of owner or group clears the set-user-ID and
    // set-group-ID bits, which the mode then puts back.
    if (m_copyOwnership) {
        writer.setGroup(reader.group());
        writer.setOwner(reader.owner());
    }
    if (m_copyCreationTime) {
        writer.setCreationDate(reader.creationDate());
    }
    if (m_copyModificationTime) {
        writer.setModificationDate(reader.modificationDate());
    }
    if (m_copyPermissions && complete) {
        writer.setPermissions(reader.permissions());
    }
    writer.setIsExtensionHidden(reader.isExtensionHidden());
    // Last: an immutable item refuses every later change. A file that was
    // just written to cannot carry the flag, so there is nothing to clear.
    if (complete && (reader.isImmutable() || writer.isDirectory())) {
        writer.setIsImmutable(reader.isImmutable());
    }
    writer.applyAttributes();
}
