// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshConfig.h"

#include <glob.h>
#include <pwd.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <optional>

namespace {

// Includes may nest this deep, as in ssh.
constexpr int maximumDepth = 16;
// A configuration is a few kilobytes; an include that globs onto a device or
// a huge file must not stall the connection.
constexpr qint64 maximumFileSize = 4 * 1024 * 1024;

QString tr(const char *text) {
    return QCoreApplication::translate("ZKSshConfig", text);
}

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

bool isTrailingSpace(QChar c) {
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n' || c == u'\f';
}

// Splits the values of a line the way ssh does: blanks separate, single or
// double quotes group, a backslash escapes a quote, a backslash or (outside
// quotes) a space, and a "#" that starts a value ends the line. Nothing when a
// quote is left open.
std::optional<QStringList> splitArguments(QStringView text) {
    QStringList arguments;
    qsizetype i = 0;
    while (i < text.size()) {
        if (isBlank(text[i])) {
            ++i;
            continue;
        }
        if (text[i] == u'#')
            break;
        QString argument;
        QChar quote;
        for (; i < text.size(); ++i) {
            const QChar c = text[i];
            if (c == u'\\' && i + 1 < text.size()) {
                const QChar next = text[i + 1];
                if (next == u'\'' || next == u'"' || next == u'\\' ||
                    (quote.isNull() && next == u' ')) {
                    argument += next;
                    ++i;
                } else {
                    argument += c;
                }
            } else if (quote.isNull() && isBlank(c)) {
                break;
            } else if (quote.isNull() && (c == u'"' || c == u'\'')) {
                quote = c;
            } else if (!quote.isNull() && c == quote) {
                quote = QChar();
            } else {
                argument += c;
            }
        }
        if (!quote.isNull())
            return std::nullopt;
        arguments += argument;
    }
    return arguments;
}

// A negated pattern that matches excludes the block whatever else matches.
bool hostMatches(const QString &host, const QStringList &patterns) {
    bool matched = false;
    for (const QString &pattern : patterns) {
        const bool negated = pattern.startsWith(u'!');
        if (ZKSshConfig::matchesPattern(
                host, negated ? QStringView(pattern).mid(1) : QStringView(pattern),
                Qt::CaseSensitive)) {
            if (negated)
                return false;
            matched = true;
        }
    }
    return matched;
}

std::optional<QString> homeOfUser(const QString &name) {
    passwd entry{};
    passwd *found = nullptr;
    char buffer[4096];
    if (::getpwnam_r(name.toLocal8Bit().constData(), &entry, buffer, sizeof buffer, &found) != 0 ||
        !found || !found->pw_dir)
        return std::nullopt;
    return QFile::decodeName(found->pw_dir);
}

QString localUserName() {
    passwd entry{};
    passwd *found = nullptr;
    char buffer[4096];
    if (::getpwuid_r(::getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found &&
        found->pw_name)
        return QFile::decodeName(found->pw_name);
    return qEnvironmentVariable("USER");
}

// "~" and "~name" at the start; nothing when the named account is unknown.
std::optional<QString> expandTilde(const QString &path) {
    if (!path.startsWith(u'~'))
        return path;
    const qsizetype slash = path.indexOf(u'/');
    const QString name = path.mid(1, slash < 0 ? -1 : slash - 1);
    const QString rest = slash < 0 ? QString() : path.mid(slash);
    if (name.isEmpty())
        return QDir::homePath() + rest;
    const auto home = homeOfUser(name);
    if (!home)
        return std::nullopt;
    return *home + rest;
}

// The first "%x" whose x is not among allowed; a null character when all are.
QChar unknownToken(const QString &text, const QString &allowed) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'%')
            continue;
        if (i + 1 >= text.size())
            return u'%';
        if (!allowed.contains(text[i + 1]))
            return text[i + 1];
        ++i;
    }
    return QChar();
}

QString expandTokens(const QString &text, const QHash<QChar, QString> &values) {
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'%' && i + 1 < text.size()) {
            const QChar token = text[++i];
            result += token == u'%' ? QStringLiteral("%") : values.value(token);
        } else {
            result += text[i];
        }
    }
    return result;
}

const QString pathTokens = QStringLiteral("%dhinlLpru");
const QString hostNameTokens = QStringLiteral("%h");

const QStringList honouredKeywords = {
    QStringLiteral("hostname"),
    QStringLiteral("user"),
    QStringLiteral("port"),
    QStringLiteral("identityfile"),
    QStringLiteral("identitiesonly"),
    QStringLiteral("proxyjump"),
    QStringLiteral("userknownhostsfile"),
};

std::optional<bool> parseFlag(const QString &value) {
    const QString lower = value.toLower();
    if (lower == u"yes" || lower == u"true")
        return true;
    if (lower == u"no" || lower == u"false")
        return false;
    return std::nullopt;
}

std::optional<quint16> parsePort(const QString &value) {
    bool ok = false;
    const uint port = value.toUInt(&ok);
    if (!ok || port == 0 || port > 65535)
        return std::nullopt;
    return quint16(port);
}

} // namespace

// Host blocks match case-sensitively against the name as given, known_hosts
// entries without case.
bool ZKSshConfig::matchesPattern(QStringView text, QStringView pattern,
                                 Qt::CaseSensitivity sensitivity) {
    const auto same = [sensitivity](QChar a, QChar b) {
        return sensitivity == Qt::CaseSensitive ? a == b : a.toLower() == b.toLower();
    };
    qsizetype t = 0;
    qsizetype p = 0;
    qsizetype starPattern = -1;
    qsizetype starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            starPattern = p++;
            starText = t;
        } else if (p < pattern.size() && (pattern[p] == u'?' || same(pattern[p], text[t]))) {
            ++t;
            ++p;
        } else if (starPattern >= 0) {
            p = starPattern + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*')
        ++p;
    return p == pattern.size();
}

QString ZKSshConfig::defaultFile() {
    return QDir::homePath() + QStringLiteral("/.ssh/config");
}

ZKSshConfig::ZKSshConfig(const QString &file) {
    if (!QFileInfo::exists(file))
        return;
    const QString failure = readFile(file, 0);
    if (!failure.isEmpty())
        m_warnings += QStringLiteral("%1: %2").arg(file, failure);
}

void ZKSshConfig::warn(const QString &path, int number, const QString &reason) {
    m_warnings += QStringLiteral("%1:%2: %3").arg(path).arg(number).arg(reason);
}

QString ZKSshConfig::readFile(const QString &path, int depth) {
    QFile file(path);
    // Only regular files: opening a pipe a glob happened to match would wait forever.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return tr("\"%1\" cannot be read").arg(path);
    const QByteArray content = file.read(maximumFileSize + 1);
    if (content.size() > maximumFileSize)
        return tr("\"%1\" is too large for a configuration").arg(path);
    const QList<QByteArray> lines = content.split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i)
        readLine(path, int(i + 1), QString::fromUtf8(lines[i]), depth);
    return QString();
}

void ZKSshConfig::readLine(const QString &path, int number, const QString &line, int depth) {
    qsizetype end = line.size();
    while (end > 0 && isTrailingSpace(line[end - 1]))
        --end;
    const QStringView text = QStringView(line).left(end);
    qsizetype i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    if (i == text.size() || text[i] == u'#')
        return;
    // The keyword ends at a blank or at "=", which may stand between blanks.
    const qsizetype keywordStart = i;
    while (i < text.size() && !isBlank(text[i]) && text[i] != u'=')
        ++i;
    const QString keyword = text.mid(keywordStart, i - keywordStart).toString().toLower();
    while (i < text.size() && isBlank(text[i]))
        ++i;
    if (i < text.size() && text[i] == u'=')
        ++i;
    const auto arguments = splitArguments(text.mid(i));
    if (!arguments) {
        warn(path, number, tr("a quote is not closed"));
        return;
    }
    if (arguments->isEmpty() || arguments->contains(QString())) {
        warn(path, number, tr("\"%1\" has no value").arg(keyword));
        if (keyword == u"host")
            m_items += Item{Item::Kind::MatchOther, {}, {}};
        return;
    }

    if (keyword == u"host") {
        m_items += Item{Item::Kind::Host, {}, *arguments};
    } else if (keyword == u"match") {
        if (arguments->size() == 1 && arguments->first().toLower() == u"all") {
            m_items += Item{Item::Kind::MatchAll, {}, {}};
        } else {
            warn(path, number, tr("only \"Match all\" is understood; the block is skipped"));
            m_items += Item{Item::Kind::MatchOther, {}, {}};
        }
    } else if (keyword == u"include") {
        include(path, number, *arguments, depth);
    } else if (honouredKeywords.contains(keyword)) {
        const QString &value = arguments->first();
        if (arguments->size() > 1 && keyword != u"userknownhostsfile") {
            warn(path, number, tr("\"%1\" takes one value").arg(keyword));
            return;
        }
        if (keyword == u"port" && !parsePort(value)) {
            warn(path, number, tr("\"%1\" is not a port number").arg(value));
            return;
        }
        if (keyword == u"identitiesonly" && !parseFlag(value)) {
            warn(path, number, tr("\"%1\" is neither yes nor no").arg(value));
            return;
        }
        const bool isPath =
            keyword == u"identityfile" || (keyword == u"userknownhostsfile" && value != u"none");
        const QString tokens = isPath                   ? pathTokens
                               : keyword == u"hostname" ? hostNameTokens
                                                        : QString();
        if (!tokens.isEmpty()) {
            const QChar bad = unknownToken(value, tokens);
            if (!bad.isNull()) {
                warn(path, number, tr("\"%%1\" is not a known token").arg(bad));
                return;
            }
        }
        if (isPath && !expandTilde(value)) {
            warn(path, number, tr("the account in \"%1\" is unknown").arg(value));
            return;
        }
        m_items += Item{Item::Kind::Option, keyword, *arguments};
    }
    // Other keywords mean something to ssh but nothing to a file transfer.
}

void ZKSshConfig::include(const QString &path, int number, const QStringList &patterns, int depth) {
    if (depth + 1 > maximumDepth) {
        warn(path, number, tr("includes nest deeper than %1 levels").arg(maximumDepth));
        return;
    }
    for (const QString &pattern : patterns) {
        auto expanded = expandTilde(pattern);
        if (!expanded) {
            warn(path, number, tr("the account in \"%1\" is unknown").arg(pattern));
            continue;
        }
        if (QDir::isRelativePath(*expanded))
            expanded = QDir::homePath() + QStringLiteral("/.ssh/") + *expanded;
        glob_t found{};
        const int status = ::glob(QFile::encodeName(*expanded).constData(), 0, nullptr, &found);
        if (status != 0 && status != GLOB_NOMATCH)
            warn(path, number, tr("\"%1\" cannot be searched").arg(pattern));
        for (size_t i = 0; status == 0 && i < found.gl_pathc; ++i) {
            m_items += Item{Item::Kind::IncludeBegin, {}, {}};
            const QString failure = readFile(QFile::decodeName(found.gl_pathv[i]), depth + 1);
            m_items += Item{Item::Kind::IncludeEnd, {}, {}};
            if (!failure.isEmpty())
                warn(path, number, failure);
        }
        ::globfree(&found);
    }
}

ZKSshHostConfig ZKSshConfig::resolve(const QString &host) const {
    struct BlockState {
        bool active = true;
        // Inside an include met in an inactive block nothing can match.
        bool neverMatch = false;
    };
    BlockState state;
    QVector<BlockState> outer;
    QHash<QString, QStringList> firstValues;
    QStringList identityFiles;
    for (const Item &item : m_items) {
        switch (item.kind) {
        case Item::Kind::IncludeBegin:
            outer += state;
            state.neverMatch = state.neverMatch || !state.active;
            break;
        case Item::Kind::IncludeEnd:
            if (!outer.isEmpty())
                state = outer.takeLast();
            break;
        case Item::Kind::Host:
            state.active = !state.neverMatch && hostMatches(host, item.arguments);
            break;
        case Item::Kind::MatchAll:
            state.active = !state.neverMatch;
            break;
        case Item::Kind::MatchOther:
            state.active = false;
            break;
        case Item::Kind::Option:
            if (!state.active)
                break;
            if (item.keyword == u"identityfile")
                identityFiles += item.arguments.first();
            else if (!firstValues.contains(item.keyword))
                firstValues.insert(item.keyword, item.arguments);
            break;
        }
    }

    const auto first = [&firstValues](const char *keyword) {
        const QStringList values = firstValues.value(QLatin1String(keyword));
        return values.isEmpty() ? QString() : values.first();
    };
    ZKSshHostConfig config;
    const QString hostName = first("hostname");
    config.hostName = hostName.isEmpty() ? host : expandTokens(hostName, {{QChar(u'h'), host}});
    config.user = first("user");
    config.port = parsePort(first("port")).value_or(0);
    config.identitiesOnly = parseFlag(first("identitiesonly")).value_or(false);
    config.proxyJump = first("proxyjump");
    if (config.proxyJump == u"none")
        config.proxyJump.clear();

    const QString localUser = localUserName();
    const QString machine = QSysInfo::machineHostName();
    const QHash<QChar, QString> values = {
        {QChar(u'd'), QDir::homePath()},
        {QChar(u'h'), config.hostName},
        {QChar(u'i'), QString::number(::getuid())},
        {QChar(u'L'), machine.section(u'.', 0, 0)},
        {QChar(u'l'), machine},
        {QChar(u'n'), host},
        {QChar(u'p'), QString::number(config.port ? config.port : 22)},
        {QChar(u'r'), config.user.isEmpty() ? localUser : config.user},
        {QChar(u'u'), localUser},
    };
    // The tilde first, so that a "~" produced by a token stays a name.
    const auto expandPath = [&values](const QString &path) {
        QString expanded = expandTokens(expandTilde(path).value_or(path), values);
        if (QDir::isRelativePath(expanded))
            expanded = QDir::homePath() + u'/' + expanded;
        return QDir::cleanPath(expanded);
    };
    for (const QString &file : std::as_const(identityFiles)) {
        const QString path = expandPath(file);
        if (!config.identityFiles.contains(path))
            config.identityFiles += path;
    }
    const QString knownHosts = first("userknownhostsfile");
    if (knownHosts == u"none")
        config.userKnownHostsFile = QStringLiteral("/dev/null");
    else if (!knownHosts.isEmpty())
        config.userKnownHostsFile = expandPath(knownHosts);
    return config;
}
