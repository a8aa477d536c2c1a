// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileOperation.h"

#include "ZKLogging.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"

#include <QFileInfo>
#include <QHash>
#include <QVariantMap>

#include <algorithm>
#include <mutex>
#include <thread>

void ZKFileOperation::setMinimumTimeBetweenNotifications(double seconds) {
    m_minimumTimeBetweenNotifications = seconds;
}

void ZKFileOperation::setSkippedFileRegexes(const QList<QRegularExpression> &regexes) {
    m_skippedFileRegexes = regexes;
}

void ZKFileOperation::setTemporaryFileRegexes(const QList<QRegularExpression> &regexes) {
    m_temporaryFileRegexes = regexes;
}

void ZKFileOperation::setSkippedFilePatterns(const QStringList &patterns) {
    m_skippedFileRegexes = convertPatterns(patterns);
}

void ZKFileOperation::setTemporaryFilePatterns(const QStringList &patterns) {
    m_temporaryFileRegexes = convertPatterns(patterns);
}

QList<QRegularExpression> ZKFileOperation::convertPatterns(const QStringList &patterns) {
    // Every step of every task sets the same few dozen patterns; compiled
    // once, they are shared (a QRegularExpression copy shares its compiled
    // form, and Qt guards it across threads).
    static std::mutex lock;
    static QHash<QString, QRegularExpression> compiled;
    QList<QRegularExpression> regexes;
    regexes.reserve(patterns.size());
    std::lock_guard locker(lock);
    for (const QString &pattern : patterns) {
        auto found = compiled.constFind(pattern);
        if (found == compiled.constEnd()) {
            QRegularExpression regex(pattern);
            if (!regex.isValid()) {
                qCWarning(lcOperations).noquote()
                    << QStringLiteral("Error generating regular expression from pattern '%1': %2")
                           .arg(pattern, regex.errorString());
            }
            found = compiled.insert(pattern, regex);
        }
        regexes.append(found.value());
    }
    return regexes;
}

QUrl ZKFileOperation::standardizedUrl(const QUrl &url) {
    QUrl standardized = url.adjusted(QUrl::NormalizePathSegments | QUrl::StripTrailingSlash);
    // Stripping the slash of the root leaves an empty path, which is not the
    // same place.
    if (standardized.path().isEmpty() && url.path().startsWith(QLatin1Char('/'))) {
        standardized.setPath(QStringLiteral("/"));
    }
    return standardized;
}

bool ZKFileOperation::matchesSkipPattern(const QUrl &url) const {
    const QString name = url.fileName();
    return std::any_of(m_skippedFileRegexes.cbegin(), m_skippedFileRegexes.cend(),
                       [&name](const QRegularExpression &regex) {
                           return regex.isValid() && regex.match(name).hasMatch();
                       });
}

bool ZKFileOperation::isSkippedUrl(const QUrl &url) const {
    return m_skippedUrls.contains(url) || m_skippedUrls.contains(standardizedUrl(url));
}

bool ZKFileOperation::isReplacedUrl(const QUrl &url) const {
    return m_replacedUrls.contains(url) || m_replacedUrls.contains(standardizedUrl(url));
}

void ZKFileOperation::failOnEmptyRead(const ZKReader &reader) {
    takeError(reader.error(),
              ZKError::application(ZKErrorCode::readFailed,
                                   QStringLiteral("Unable to read from '%1': %2.")
                                       .arg(reader.url().path(), QStringLiteral("no data"))));
}

bool ZKFileOperation::shouldCopyFile(const QUrl &url) const {
    return !matchesSkipPattern(url) && !isSkippedUrl(url);
}

bool ZKFileOperation::shouldRemoveFile(const QUrl &url) const {
    return !matchesSkipPattern(url);
}

bool ZKFileOperation::isTemporaryFile(const QString &name) const {
    return std::any_of(m_temporaryFileRegexes.cbegin(), m_temporaryFileRegexes.cend(),
                       [&name](const QRegularExpression &regex) {
                           return regex.isValid() && regex.match(name).hasMatch();
                       });
}

double ZKFileOperation::secondsSince(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

double ZKFileOperation::sleepSlice(double seconds) {
    const auto before = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    return secondsSince(before);
}

double ZKFileOperation::sleepForTransferOf(quint64 length, Clock::time_point since,
                                           double residual) {
    // Read once: the task may lift the limit while this block is paced.
    const quint64 rate = maximumTransferRate();
    if (rate == 0) {
        return residual;
    }
    const double owed = double(length) / double(rate) - secondsSince(since) + residual;
    double wait = owed;
    double slept = 0;
    while (wait > 0.1 && !isCancelled()) {
        const double slice = std::min(wait, 1.0);
        slept += sleepSlice(slice);
        wait -= slice;
    }
    return owed - slept;
}

void ZKFileOperation::paceTransferOf(quint64 length, quint64 rate) {
    if (rate == 0) {
        m_throttle->passUnlimited();
        return;
    }
    m_throttle->pace([this, length](Clock::time_point since, double residual) {
        return sleepForTransferOf(length, since, residual);
    });
}

void ZKFileOperation::takeError(const ZKOptionalError &error, const ZKError &fallback) {
    m_error = error ? *error : fallback;
}

void ZKFileOperation::postActivity(quint64 bytes, quint64 totalBytes, double timePassed,
                                   double totalTimePassed) {
    const QVariantMap userInfo{
        {ZKNotificationNames::bytesKey, QVariant::fromValue(bytes)},
        {ZKNotificationNames::totalBytesKey, QVariant::fromValue(totalBytes)},
        {ZKNotificationNames::timePassedKey, timePassed},
        {ZKNotificationNames::totalTimePassedKey, totalTimePassed},
    };
    ZKNotificationCenter::defaultCenter().post(ZKNotificationNames::operationActivity,
                                               static_cast<const ZKOperation *>(this), userInfo);
}

bool ZKFileOperation::isChildOf(const QUrl &child, const QUrl &folder) {
    return standardizedUrl(child.adjusted(QUrl::RemoveFilename)) == standardizedUrl(folder);
}

bool ZKFileOperation::holdsPath(const QString &ancestor, const QString &path) {
    if (ancestor == QLatin1String("/") || ancestor == path) {
        return true;
    }
    return path.size() > ancestor.size() && path.startsWith(ancestor) &&
           path.at(ancestor.size()) == QLatin1Char('/');
}

void ZKFileOperation::excludeFolder(const QUrl &url) {
    m_excludedFolder =
        url.isLocalFile() ? QFileInfo(url.toLocalFile()).canonicalFilePath() : QString();
}

ZKFileOperation::FolderScope::FolderScope(ZKFileOperation &operation, const ZKReader &folder)
    : m_operation(operation) {
    QString real;
    if (folder.isLocal()) {
        real = QFileInfo(folder.url().toLocalFile()).canonicalFilePath();
    }
    if (!real.isEmpty() && real == operation.m_excludedFolder) {
        qCInfo(lcOperations) << "Not entering" << folder.url().toLocalFile()
                             << "which is the copy being made";
        return;
    }
    if (!real.isEmpty()) {
        for (const QString &walked : std::as_const(operation.m_folderChain)) {
            if (!walked.isEmpty() && holdsPath(real, walked)) {
                qCInfo(lcOperations) << "Not entering" << folder.url().toLocalFile()
                                     << "which leads back into" << walked;
                return;
            }
        }
    }
    operation.m_folderChain.append(real);
    m_entered = true;
}

ZKFileOperation::FolderScope::~FolderScope() {
    if (m_entered) {
        m_operation.m_folderChain.removeLast();
    }
}
