// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKOperation.h"
#include "ZKOperationActivity.h"
#include "ZKReader.h"
#include "ZKTransferThrottle.h"
#include "ZKWriter.h"

#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <memory>

// What the analyse, copy, verify and remove-source operations share: the
// source item and the destination folder, the last error, the skip rules,
// the items the user chose to skip or replace, the speed limit and the pacing
// of progress notifications.
//
// Everything is set by the owning task before the operation is queued, with
// one exception: the speed limit may change while the operation runs and is
// read afresh for every block.
class ZKFileOperation : public ZKOperation {
public:
    using Clock = std::chrono::steady_clock;

    ZKFileOperation() = default;
    ZKFileOperation(ZKReaderPtr source, ZKWriterPtr destination);

    const ZKReaderPtr &source() const { return m_source; }
    const ZKWriterPtr &destination() const { return m_destination; }

    double minimumTimeBetweenNotifications() const { return m_minimumTimeBetweenNotifications; }
    void setMinimumTimeBetweenNotifications(double seconds);
    // Set before the operation is queued.
    void setActivityHandler(ZKActivityHandler handler) { m_activityHandler = std::move(handler); }

    // Bytes per second; 0 means unlimited. Safe to call from any thread.
    quint64 maximumTransferRate() const { return m_maximumTransferRate.load(); }
    void setMaximumTransferRate(quint64 bytesPerSecond) {
        m_maximumTransferRate.store(bytesPerSecond);
    }

    // The failure that ended the operation; absent on success and after a
    // cancellation. Read it once the operation has finished.
    const ZKOptionalError &error() const { return m_error; }

    const QList<QRegularExpression> &skippedFileRegexes() const { return m_skippedFileRegexes; }
    void setSkippedFileRegexes(const QList<QRegularExpression> &regexes);
    const QList<QRegularExpression> &temporaryFileRegexes() const { return m_temporaryFileRegexes; }
    void setTemporaryFileRegexes(const QList<QRegularExpression> &regexes);
    void setSkippedFilePatterns(const QStringList &patterns);
    void setTemporaryFilePatterns(const QStringList &patterns);

    // Source items the user chose to leave out.
    const QSet<QUrl> &skippedUrls() const { return m_skippedUrls; }
    void setSkippedUrls(const QSet<QUrl> &urls) { m_skippedUrls = urls; }
    // Destination items the user chose to overwrite.
    const QSet<QUrl> &replacedUrls() const { return m_replacedUrls; }
    void setReplacedUrls(const QSet<QUrl> &urls) { m_replacedUrls = urls; }

    // One case-sensitive expression per pattern, in order. A pattern that does
    // not compile is logged and kept; it then matches no name.
    static QList<QRegularExpression> convertPatterns(const QStringList &patterns);
    static QRegularExpression joined(const QList<QRegularExpression> &regexes);
    static bool matchesAny(const QList<QRegularExpression> &regexes,
                           const QRegularExpression &matcher, const QString &name);

    // The form under which items are remembered in the skipped and replaced
    // sets, so that "a/./b" and "a/b/" find the same entry.
    static QUrl standardizedUrl(const QUrl &url);

    bool shouldCopyFile(const QUrl &url) const;
    bool shouldVerifyFile(const QUrl &url) const { return shouldCopyFile(url); }
    // Consults only the skip patterns: the remove-source operation checks
    // itself that each item was copied.
    bool shouldRemoveFile(const QUrl &url) const;
    // name is a bare file name, not a path.
    bool isTemporaryFile(const QString &name) const;

    // Holds the average rate at maximumTransferRate: sleeps for what the
    // block of length bytes is owed since the given time plus the residual,
    // in slices of at most a second so that a cancellation is seen within a
    // second. A wait of a tenth of a second or less is not slept but carried,
    // as is any oversleep or slow stretch. Returns the new residual.
    double sleepForTransferOf(quint64 length, Clock::time_point since, double residual);

    // The pacing state the operation continues from; the task hands every
    // operation of its queue the same one. Set before the operation runs.
    void setThrottle(std::shared_ptr<ZKTransferThrottle> throttle) {
        m_throttle = std::move(throttle);
    }

    static double secondsSince(Clock::time_point since);

protected:
    void setError(ZKError error) { m_error = std::move(error); }
    void takeError(const ZKOptionalError &error, const ZKError &fallback);
    void clearError() { m_error.reset(); }
    bool hasError() const { return m_error.has_value(); }
    // Not cancelled and no error yet.
    bool inProgress() const { return !isCancelled() && !hasError(); }

    bool isSkippedUrl(const QUrl &url) const;
    bool isReplacedUrl(const QUrl &url) const;
    // Component-wise: "/a/b" holds "/a/b" and "/a/b/c" but not "/a/bc".
    static bool holdsPath(const QString &ancestor, const QString &path);
    // A source that ran dry before its announced end: never end a file short
    // without saying so.
    void failOnEmptyRead(const ZKReader &reader);
    static bool isChildOf(const QUrl &child, const QUrl &folder);

    ZKTransferThrottle &throttle() { return *m_throttle; }

    // Folders are walked one level at a time and entered by recursion, and a
    // followed link may lead back into a folder being walked. A scope answers
    // entered() false for such a folder (a local one whose real path holds a
    // folder on the way down): it must not be entered, or the walk would
    // never end.
    // A folder that is never entered: the copy being made, when it is made
    // inside the source.
    void excludeFolder(const QUrl &url);

    class FolderScope {
    public:
        FolderScope(ZKFileOperation &operation, const ZKReader &folder);
        ~FolderScope();
        FolderScope(const FolderScope &) = delete;
        FolderScope &operator=(const FolderScope &) = delete;
        bool entered() const { return m_entered; }

    private:
        ZKFileOperation &m_operation;
        bool m_entered = false;
    };
    bool matchesSkipPattern(const QUrl &url) const;

    // Tells the task what moved, with the file on its way and the files done.
    void postActivity(quint64 bytes, quint64 totalBytes, double timePassed, double totalTimePassed);
    // The file whose bytes the next reports count; a finished one is counted.
    void beginFile(const QString &name) { m_currentFile = name; }
    void endFile() { ++m_filesDone; }

    // Paces a block of length bytes just moved at rate (0: unlimited)
    // through the shared throttle.
    void paceTransferOf(quint64 length, quint64 rate);

    // Sleeps for one slice of at most a second; answers the time it took.
    static double sleepSlice(double seconds);

    ZKReaderPtr m_source;
    ZKWriterPtr m_destination;

private:
    double m_minimumTimeBetweenNotifications = 0;
    ZKActivityHandler m_activityHandler;
    QString m_currentFile;
    quint64 m_filesDone = 0;
    std::atomic<quint64> m_maximumTransferRate{0};
    std::shared_ptr<ZKTransferThrottle> m_throttle = std::make_shared<ZKTransferThrottle>();
    ZKOptionalError m_error;
    QList<QRegularExpression> m_skippedFileRegexes;
    QList<QRegularExpression> m_temporaryFileRegexes;
    // The valid ones of each list as one expression, so that a name is
    // matched once instead of once per pattern; invalid when they cannot be
    // joined (a pattern with groups, whose numbers would shift).
    QRegularExpression m_skippedFileMatcher;
    QRegularExpression m_temporaryFileMatcher;
    // The characters a name must begin with to match one of each list;
    // empty where the patterns do not tell (a name is then matched in full).
    // Most names are thus told apart without running an expression.
    QString m_skippedFileLeads;
    QString m_temporaryFileLeads;
    QSet<QUrl> m_skippedUrls;
    QSet<QUrl> m_replacedUrls;
    QStringList m_folderChain;
    QString m_excludedFolder;
};
