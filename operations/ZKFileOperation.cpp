// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileOperation.h"

#include "ZKFileSystemReader.h"
#include "ZKLogging.h"
#include "ZKOperationErrors.h"
#include "ZKPartialFile.h"

#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>
#include <thread>

ZKFileOperation::ZKFileOperation(ZKReaderPtr source, ZKWriterPtr destination)
    : m_source(std::move(source))
    , m_destination(std::move(destination)) {}

void ZKFileOperation::setMinimumTimeBetweenNotifications(double seconds) {
    m_minimumTimeBetweenNotifications = seconds;
}

namespace {

// The one character every match of the expression begins with: a pattern
// anchored at the start of the name whose first element is a character
// that cannot be left out. Nothing for any other pattern, or where an
// option could make the anchor or the character mean something else.
std::optional<QChar> leadOf(const QRegularExpression &regex) {
    constexpr QRegularExpression::PatternOptions changesMeaning =
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption |
        QRegularExpression::ExtendedPatternSyntaxOption;
    const QString pattern = regex.pattern();
    if ((regex.patternOptions() & changesMeaning) || pattern.size() < 2 ||
        pattern.front() != QLatin1Char('^') || pattern.contains(QLatin1Char('|'))) {
        return std::nullopt;
    }
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}#");
    const bool escaped = pattern.at(1) == QLatin1Char('\\');
    const qsizetype after = escaped ? 3 : 2;
    if (pattern.size() < after) {
        return std::nullopt;
    }
    const QChar lead = pattern.at(after - 1);
    const bool printable = lead.unicode() > 0x20 && lead.unicode() < 0x7f;
    // Escaped, only punctuation stands for itself; a letter or digit is a
    // class, an anchor or a reference.
    if (!printable || (escaped ? lead.isLetterOrNumber() : special.contains(lead))) {
        return std::nullopt;
    }
    if (after < pattern.size() && QStringView(u"?*{").contains(pattern.at(after))) {
        return std::nullopt; // a quantifier that may leave it out
    }
    return lead;
}

QString leadsOf(const QList<QRegularExpression> &regexes) {
    QString leads;
    for (const QRegularExpression &regex : regexes) {
        if (!regex.isValid()) {
            continue; // matches nothing
        }
        const std::optional<QChar> lead = leadOf(regex);
        if (!lead) {
            return {};
        }
        if (!leads.contains(*lead)) {
            leads.append(*lead);
        }
    }
    return leads;
}

bool mayMatch(const QString &leads, QStringView name) {
    return leads.isEmpty() || (!name.isEmpty() && leads.contains(name.front()));
}

} // namespace

void ZKFileOperation::setSkippedFileRegexes(const QList<QRegularExpression> &regexes) {
    m_skippedFileRegexes = regexes;
    m_skippedFileMatcher = joined(regexes);
    m_skippedFileLeads = leadsOf(regexes);
}

void ZKFileOperation::setTemporaryFileRegexes(const QList<QRegularExpression> &regexes) {
    m_temporaryFileRegexes = regexes;
    m_temporaryFileMatcher = joined(regexes);
    m_temporaryFileLeads = leadsOf(regexes);
}

namespace {

// The lists of a preference: each step of each task is given one of the
// same two, and a queue of small files would otherwise spend a good part of
// its time turning them into expressions again. Kept whole, they are shared
// compiled (a QRegularExpression copy shares its compiled form, and Qt
// guards it across threads).
struct ZKCompiledPatterns {
    QStringList patterns;
    QList<QRegularExpression> regexes;
    QRegularExpression matcher;
    QString leads;
};

ZKCompiledPatterns compiledPatterns(const QStringList &patterns) {
    static std::mutex lock;
    static std::array<ZKCompiledPatterns, 2> recent;
    static std::size_t next = 0;
    {
        std::lock_guard locker(lock);
        for (const ZKCompiledPatterns &entry : recent) {
            if (entry.patterns == patterns) {
                return entry;
            }
        }
    }
    ZKCompiledPatterns made;
    made.patterns = patterns;
    made.regexes = ZKFileOperation::convertPatterns(patterns);
    made.matcher = ZKFileOperation::joined(made.regexes);
    made.leads = leadsOf(made.regexes);
    std::lock_guard locker(lock);
    recent[next] = made;
    next = (next + 1) % recent.size();
    return made;
}

} // namespace

void ZKFileOperation::setSkippedFilePatterns(const QStringList &patterns) {
    const ZKCompiledPatterns compiled = compiledPatterns(patterns);
    m_skippedFileRegexes = compiled.regexes;
    m_skippedFileMatcher = compiled.matcher;
    m_skippedFileLeads = compiled.leads;
}

void ZKFileOperation::setTemporaryFilePatterns(const QStringList &patterns) {
    const ZKCompiledPatterns compiled = compiledPatterns(patterns);
    m_temporaryFileRegexes = compiled.regexes;
    m_temporaryFileMatcher = compiled.matcher;
    m_temporaryFileLeads = compiled.leads;
}

QRegularExpression ZKFileOperation::joined(const QList<QRegularExpression> &regexes) {
    QStringList alternatives;
    for (const QRegularExpression &regex : regexes) {
        if (!regex.isValid()) {
            continue;
        }
        // Only whether a name matches counts, so groups do no harm; what
        // refers to a group by number would refer to another one, and a
        // quoted tail (\Q without \E) would swallow the alternatives after it.
        static const QRegularExpression unjoinable(QStringLiteral(R"(\\[1-9gkQ]|\(\?[-+0-9R&P])"));
        if (regex.pattern().contains(unjoinable) ||
            regex.patternOptions() != regexes.front().patternOptions()) {
            return {};
        }
        alternatives.append(QStringLiteral("(?:%1)").arg(regex.pattern()));
    }
    if (alternatives.isEmpty()) {
        return {};
    }
    const QRegularExpression matcher(alternatives.join(QLatin1Char('|')),
                                     regexes.front().patternOptions());
    return matcher.isValid() ? matcher : QRegularExpression();
}

bool ZKFileOperation::matchesAny(const QList<QRegularExpression> &regexes,
                                 const QRegularExpression &matcher, const QString &name) {
    if (regexes.isEmpty()) {
        return false;
    }
    if (matcher.isValid() && !matcher.pattern().isEmpty()) {
        return matcher.match(name).hasMatch();
    }
    return std::any_of(regexes.cbegin(), regexes.cend(), [&name](const QRegularExpression &regex) {
        return regex.isValid() && regex.match(name).hasMatch();
    });
}

QList<QRegularExpression> ZKFileOperation::convertPatterns(const QStringList &patterns) {
    QList<QRegularExpression> regexes;
    regexes.reserve(patterns.size());
    for (const QString &pattern : patterns) {
        QRegularExpression regex(pattern);
        if (!regex.isValid()) {
            qCWarning(lcOperations).noquote()
                << QStringLiteral("Error generating regular expression from pattern '%1': %2")
                       .arg(pattern, regex.errorString());
        }
        regexes.append(regex);
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
    // An unfinished file of another copy is never copied, moved or removed
    // as if it were the user's: it is not whole.
    // The name as fileName() has it, without a copy of its own.
    const QString path = url.path();
    const QStringView name = QStringView(path).mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    return ZKPartialFile::isPartialName(name) ||
           (mayMatch(m_skippedFileLeads, name) &&
            matchesAny(m_skippedFileRegexes, m_skippedFileMatcher, name.toString()));
}

bool ZKFileOperation::isSkippedUrl(const QUrl &url) const {
    return !m_skippedUrls.isEmpty() &&
           (m_skippedUrls.contains(url) || m_skippedUrls.contains(standardizedUrl(url)));
}

bool ZKFileOperation::isReplacedUrl(const QUrl &url) const {
    return !m_replacedUrls.isEmpty() &&
           (m_replacedUrls.contains(url) || m_replacedUrls.contains(standardizedUrl(url)));
}

void ZKFileOperation::failOnEmptyRead(const ZKReader &reader) {
    takeError(reader.error(),
              ZKOperationErrors::error(ZKOperationErrors::UnableToReadData, {reader.url().path()}));
}

bool ZKFileOperation::shouldCopyFile(const QUrl &url) const {
    return !matchesSkipPattern(url) && !isSkippedUrl(url);
}

bool ZKFileOperation::shouldRemoveFile(const QUrl &url) const {
    return !matchesSkipPattern(url);
}

bool ZKFileOperation::isTemporaryFile(const QString &name) const {
    return ZKPartialFile::isPartialName(name) ||
           (mayMatch(m_temporaryFileLeads, name) &&
            matchesAny(m_temporaryFileRegexes, m_temporaryFileMatcher, name));
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
    if (m_activityHandler) {
        m_activityHandler(
            {bytes, totalBytes, timePassed, totalTimePassed, m_currentFile, m_filesDone});
    }
}

bool ZKFileOperation::isChildOf(const QUrl &child, const QUrl &folder) {
    // The walks name each item by its folder's own path and its name: that
    // much is told without making two new addresses for every item.
    if (child.isLocalFile() && folder.isLocalFile() && child.host() == folder.host()) {
        const QString childPath = child.path();
        QString folderPath = folder.path();
        if (folderPath.size() > 1 && folderPath.endsWith(QLatin1Char('/'))) {
            folderPath.chop(1);
        }
        const qsizetype slash = childPath.lastIndexOf(QLatin1Char('/'));
        if (slash >= 0 && slash + 1 < childPath.size() &&
            QStringView(childPath).left(slash == 0 ? 1 : slash) == folderPath) {
            return true;
        }
    }
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
    if (const auto *local = dynamic_cast<const ZKFileSystemReader *>(&folder)) {
        // Asked of the open folder itself: one call where a lookup by path
        // takes one for every folder on the way.
        real = QFile::decodeName(local->resolvedPath());
    } else if (folder.isLocal()) {
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
