// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileOperation.h"
#include "ZKReader.h"
#include "ZKSymbolicLinkHandling.h"
#include "ZKWriter.h"

#include <atomic>
#include <memory>

// Moves the bytes of one source item (a file, a folder with everything below
// it, or a link) into a destination folder, through the endpoint interfaces
// only. A file that an earlier run left incomplete is continued from its
// length; items the analysis marked are skipped or replaced without asking.
// Progress leaves the operation thread only through activity notifications,
// after bytesCopied() has been brought up to date, at most once per
// minimumTimeBetweenNotifications() and once at the end.
class ZKCopyOperation : public ZKFileOperation {
public:
    // offset: bytes the task already counts as done (0 for a fresh copy).
    ZKCopyOperation(ZKReaderPtr source, ZKWriterPtr destination, quint64 offset = 0);
    ~ZKCopyOperation() override;

    quint64 offset() const { return m_offset; }

    // Bytes known to be at the destination, starting at offset(). Grows only
    // when a notification is posted or a file ends. Safe from any thread.
    quint64 bytesCopied() const { return m_bytesCopied.load(); }

    bool copyCreationTime() const { return m_copyCreationTime; }
    void setCopyCreationTime(bool copy) { m_copyCreationTime = copy; }
    bool copyModificationTime() const { return m_copyModificationTime; }
    void setCopyModificationTime(bool copy) { m_copyModificationTime = copy; }
    bool copyPermissions() const { return m_copyPermissions; }
    void setCopyPermissions(bool copy) { m_copyPermissions = copy; }
    bool copyOwnership() const { return m_copyOwnership; }
    void setCopyOwnership(bool copy) { m_copyOwnership = copy; }

    // A ZKSymbolicLinkHandling value; other numbers mean follow.
    qint32 symbolicLinkHandling() const { return m_symbolicLinkHandling; }
    void setSymbolicLinkHandling(qint32 handling) { m_symbolicLinkHandling = handling; }

    // Whether a file takes its real name as soon as it is whole; a task
    // that verifies leaves that to the verification.
    bool givesRealNames() const { return m_givesRealNames; }
    void setGivesRealNames(bool gives) { m_givesRealNames = gives; }

protected:
    void main() override;

private:
    void copyFrom(ZKReader &reader, ZKWriter &folder);
    bool followsLink(const ZKWriter &folder) const;
    void copyFileFrom(ZKReader &reader, ZKWriter &folder);
    void copyDirectoryFrom(ZKReader &reader, ZKWriter &folder);
    void copyLinkFrom(ZKReader &reader, ZKWriter &folder);
    // complete is false for an item whose contents were cut short: it then
    // gets no mode and no immutable flag, either of which could keep a
    // later run from finishing it.
    void copyAttributesFrom(ZKReader &reader, ZKWriter &writer, bool complete);
    bool holdsWholeCopy(ZKReader &reader, ZKWriter &folder, const QString &name);
    void giveRealName(ZKWriter &folder, const QString &partName, const QString &name);
    ZKWriterPtr openForResume(ZKReader &reader, ZKWriter &folder, ZKWriterPtr file);
    ZKWriterPtr reopenForAppend(ZKWriterPtr file, quint64 existingSize);
    void removeReplacedLink(ZKWriter &folder, const QString &name);

    // The small local files of a folder, copied on a second thread.
    class SmallFiles;
    bool handOver(const ZKReaderPtr &file, const ZKWriterPtr &folder);
    void takeSmallFileResults();
    void finishSmallFiles();
    std::unique_ptr<SmallFiles> m_smallFiles;
    bool m_oneThreadOnly = false; // no second thread could be made
    // Files up to this size may go to the second thread: each costs more in
    // system calls than in bytes, and its bytes are counted when it ends.
    static constexpr quint64 smallFileMaximum = 4 * ZKReader::standardBlockSize;
    // Kept across the files of a folder: a notification costs the main
    // thread a wake-up, so a tree of small files is reported at the same
    // pace as one large file, and only bytesCopied() follows every file.
    struct Pacing {
        Clock::time_point lastNotification;
        quint64 unreported = 0;       // in no notification yet
        quint64 uncounted = 0;        // not yet in bytesCopied()
        bool filesUnreported = false; // an empty file ends without a byte
    };
    // Files this large go through the kernel when both ends are local.
    static constexpr quint64 localCopyMinimum = 16 * ZKReader::standardBlockSize;
    static constexpr quint64 unlimitedLocalBlockSize = 8 * 1024 * 1024;

    void copyContents(ZKReader &reader, ZKWriter &file, quint64 position);
    bool copyLocally(ZKReader &reader, ZKWriter &file, quint64 position);
    bool afterBlock(quint64 length, quint64 rate);
    void countCopied();
    QByteArray readNextBlockFromSource(ZKReader &reader);
    void report();

    quint64 m_offset = 0;
    std::atomic<quint64> m_bytesCopied{0};
    bool m_copyCreationTime = true;
    bool m_copyModificationTime = true;
    bool m_copyPermissions = true;
    bool m_copyOwnership = true;
    qint32 m_symbolicLinkHandling = ZKSymbolicLinkHandlingCopyLink;
    Clock::time_point m_startTime;
    Pacing m_pacing;
    quint64 m_bytesWritten = 0;
    bool m_topLevel = true;
    bool m_givesRealNames = true;
};
