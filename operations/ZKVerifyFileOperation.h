// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileOperation.h"
#include "ZKOperationErrors.h"
#include "ZKReader.h"
#include "ZKSymbolicLinkHandling.h"
#include "ZKWriter.h"

#include <atomic>

// Compares the copy with its source after the copy: structure, types, sizes,
// link targets and every byte, reading the destination back through its
// writer. The first difference ends it with a "Verification failed: ..."
// error. Progress goes out as activity notifications, after bytesVerified()
// has been brought up to date.
//
// offset is what an earlier, interrupted run already compared. It is counted
// over the files in the order the walk meets them (for a single file: its
// first offset bytes), so that a resumed run neither compares bytes twice nor
// leaves any uncompared.
class ZKVerifyFileOperation : public ZKFileOperation {
public:
    ZKVerifyFileOperation(ZKReaderPtr source, ZKWriterPtr destination, quint64 offset = 0);

    quint64 offset() const { return m_offset; }
    // Starts at offset(). Safe from any thread.
    quint64 bytesVerified() const { return m_bytesVerified.load(); }

    // A ZKSymbolicLinkHandling value; other numbers mean follow.
    qint32 symbolicLinkHandling() const { return m_symbolicLinkHandling; }
    void setSymbolicLinkHandling(qint32 handling) { m_symbolicLinkHandling = handling; }

    // The verify pacing: no residual is carried from block to block.
    void sleepForTransferOf(quint64 length, Clock::time_point since);

protected:
    void main() override;

private:
    void verify(ZKReader &source, bool sourceOpened, ZKReader &copy, bool copyOpened);
    void verifyDirectory(ZKReader &source, ZKReader &copy);
    void verifyFile(ZKReader &source, ZKReader &copy);
    void verifyItem(ZKReader &source, bool sourceOpened, ZKReader &copyFolder, ZKWriter &folder);
    void verifyLink(ZKReader &source, ZKReader &copy);
    QByteArray readNextBlockFromSource(ZKReader &reader);
    // The error that ended the comparison, when one did, is told instead of
    // the message.
    void fail(ZKOperationErrors::Message message, const QStringList &arguments = {},
              const ZKOptionalError &cause = std::nullopt);
    void report();

    quint64 m_offset = 0;
    quint64 m_offsetLeft = 0;
    std::atomic<quint64> m_bytesVerified{0};
    qint32 m_symbolicLinkHandling = ZKSymbolicLinkHandlingCopyLink;
    Clock::time_point m_startTime;
    // Kept across the files of a folder, so that a tree of small files is
    // reported at the same pace as one large file.
    Clock::time_point m_lastNotification;
    quint64 m_unreported = 0;
    quint64 m_bytesCompared = 0;
};
