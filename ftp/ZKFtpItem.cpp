// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpItem.h"

#include "ZKFtpReply.h"
#include "ZKIcuDate.h"

#include <QDate>
#include <QRegularExpression>

namespace {

// The three styles' expressions, exactly as listing lines are told apart
// everywhere else ("[A-z.]" spans "[", "\", "]", "^", "_" and "`" too).
const QString machineReadablePattern = QStringLiteral("^ *[A-z.]+=[A-z0-9]+;.*");
const QString unixStylePattern = QStringLiteral("^ *[-dls][rwx-]+ .*");
const QString windowsStylePattern = QStringLiteral("^ *[0-9-]+ +[0-9:APM]+ .*");

const char *const machineReadableDatePattern = "YYYYMMddHHmmss";
const char *const unixStyleDatePattern = "YYYY MMM dd HH':'mm";
const char *const windowsStyleDatePattern = "MM'-'dd'-'yy hh':'mma";

// A line matches when the expression finds exactly one match in it.
bool matchesExactlyOnce(const QString &pattern, const QString &line) {
    if (line.isEmpty()) {
        return false;
    }
    // Compiled once per thread: listing lines may be read on several
    // operation threads at a time.
    thread_local const QRegularExpression machineReadable(machineReadablePattern);
    thread_local const QRegularExpression unixStyle(unixStylePattern);
    thread_local const QRegularExpression windowsStyle(windowsStylePattern);
    const QRegularExpression &expression = pattern == machineReadablePattern ? machineReadable
                                           : pattern == unixStylePattern     ? unixStyle
                                                                             : windowsStyle;
    QRegularExpressionMatchIterator matches = expression.globalMatch(line);
    int count = 0;
    while (matches.hasNext() && count < 2) {
        matches.next();
        ++count;
    }
    return count == 1;
}

// Reads the decimal number at the front, as sizes in listings are read:
// leading blanks and a sign allowed, stops at the first other character. A
// negative or missing number is 0; an overlong one is clamped.
quint64 leadingUnsigned(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && (text.at(i) == QLatin1Char(' ') || text.at(i) == QLatin1Char('\t'))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('-') || text.at(i) == QLatin1Char('+'))) {
        negative = text.at(i) == QLatin1Char('-');
        ++i;
    }
    constexpr quint64 limit = std::numeric_limits<qint64>::max();
    quint64 value = 0;
    for (; i < text.size() && text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9');
         ++i) {
        const quint64 digit = quint64(text.at(i).unicode() - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return negative ? 0 : value;
}

// Octal digits at the front; nullopt when there are none.
std::optional<qint16> leadingOctal(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace()) {
        ++i;
    }
    quint16 value = 0;
    bool any = false;
    for (; i < text.size() && text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('7');
         ++i) {
        value = quint16((value << 3) | quint16(text.at(i).unicode() - '0'));
        any = true;
    }
    return any ? std::optional<qint16>(qint16(value)) : std::nullopt;
}

const QString nameSeparators = QStringLiteral(" \r\n");

} // namespace

std::optional<ZKFtpItem> ZKFtpItem::itemWithString(const QString &line) {
    ZKFtpItem item;
    if (isMachineReadableListing(line)) {
        item.parseMachineReadableListing(line);
        return item;
    }
    if (isUnixStyleListing(line)) {
        item.parseUnixStyleListing(line);
        // A link whose line lacks " -> " has no name that could be told from
        // its target: the line is refused.
        if (item.type() == SymbolicLink && item.name().isNull()) {
            return std::nullopt;
        }
        return item;
    }
    if (isWindowsStyleListing(line)) {
        item.parseWindowsStyleListing(line);
        return item;
    }
    return std::nullopt;
}

std::optional<ZKFtpItem> ZKFtpItem::fileOrFolderOfLongListing(const QString &line) {
    // Mode, links, owner, group, size, month, day, time or year, name.
    thread_local const QRegularExpression longListing(QStringLiteral(
        "^([-d])[-rwxsStT]{9}[+.@]? +[0-9]+ +[^ ]+ +[^ ]+ +([0-9]{1,19}) +[A-Za-z]{3} +[0-9]{1,2} "
        "+(?:[0-9]{1,2}:[0-9]{2}|[0-9]{4}) (.+)$"));
    const QRegularExpressionMatch match = longListing.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    bool sized = false;
    const quint64 size = match.captured(2).toULongLong(&sized);
    if (!sized) {
        return std::nullopt;
    }
    ZKFtpItem item;
    item.m_type = match.captured(1) == QLatin1String("d") ? Directory : File;
    item.m_size = item.m_type == Directory ? 0 : size;
    item.m_permissions = parsePosixPermissions(line.left(10));
    item.m_name = match.captured(3);
    return item;
}

bool ZKFtpItem::isMachineReadableListing(const QString &line) {
    return matchesExactlyOnce(machineReadablePattern, line);
}

bool ZKFtpItem::isUnixStyleListing(const QString &line) {
    return matchesExactlyOnce(unixStylePattern, line);
}

bool ZKFtpItem::isWindowsStyleListing(const QString &line) {
    return matchesExactlyOnce(windowsStylePattern, line);
}

void ZKFtpItem::parseMachineReadableListing(const QString &line) {
    const QStringList pieces = ZKFtpReply::splitAtAny(line.trimmed(), u";\r\n");
    qsizetype nameStart = 0;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const QString &piece = pieces.at(i);
        if (piece.startsWith(QLatin1Char(' '))) {
            nameStart = i;
            break;
        }
        const QStringList fact = piece.split(QLatin1Char('='));
        if (fact.size() < 2) {
            continue;
        }
        const QString &key = fact.at(0);
        const QString &value = fact.at(1);
        if (key.compare(QLatin1String("size"), Qt::CaseInsensitive) == 0) {
            m_size = leadingUnsigned(value);
        } else if (key.compare(QLatin1String("UNIX.mode"), Qt::CaseInsensitive) == 0) {
            if (const std::optional<qint16> mode = leadingOctal(value)) {
                m_permissions = *mode;
            }
        } else if (key.compare(QLatin1String("modify"), Qt::CaseInsensitive) == 0) {
            m_modificationDate = parseMachineReadableDate(value);
        } else if (key.compare(QLatin1String("type"), Qt::CaseInsensitive) == 0) {
            // "cdir" (the listed folder itself) deliberately stays what it was.
            if (value.compare(QLatin1String("dir"), Qt::CaseInsensitive) == 0 ||
                value.compare(QLatin1String("pdir"), Qt::CaseInsensitive) == 0) {
                m_type = Directory;
            }
        }
    }
    // Joined again with ";", so that a name holding ";" survives; the first
    // character is the space that separates the facts from the name.
    m_name = pieces.mid(nameStart).join(QLatin1Char(';')).mid(1);
}

void ZKFtpItem::parseUnixStyleListing(const QString &line) {
    const QString trimmed = line.trimmed();
    const QStringList pieces =
        filterEmptyStringsFromArray(ZKFtpReply::splitAtAny(trimmed, nameSeparators));
    if (pieces.size() < 9) {
        return;
    }
    m_type = parseTypeCharacter(trimmed.at(0));
    m_size = leadingUnsigned(pieces.at(4));
    m_permissions = parsePosixPermissions(pieces.at(0));
    m_modificationDate = parseUnixStyleDate(pieces.mid(5, 3).join(QLatin1Char(' ')));
    // Runs of spaces inside a name come back as one space.
    QString name = pieces.mid(8).join(QLatin1Char(' '));
    if (m_type == SymbolicLink) {
        const qsizetype arrow = name.indexOf(QLatin1String(" -> "));
        name = arrow < 0 ? QString() : name.left(arrow);
    }
    m_name = name;
}

void ZKFtpItem::parseWindowsStyleListing(const QString &line) {
    const QStringList pieces =
        filterEmptyStringsFromArray(ZKFtpReply::splitAtAny(line.trimmed(), nameSeparators));
    if (pieces.size() < 4) {
        return;
    }
    m_modificationDate = parseWindowsStyleDate(pieces.at(0) + QLatin1Char(' ') + pieces.at(1));
    m_type = File;
    if (pieces.at(2) == QLatin1String("<DIR>")) {
        m_type = Directory;
        m_size = 0;
    } else {
        m_size = leadingUnsigned(pieces.at(2));
    }
    m_name = pieces.mid(3).join(QLatin1Char(' '));
}

QDateTime ZKFtpItem::parseMachineReadableDate(const QString &text) {
    return ZKIcuDate::parse(text, machineReadableDatePattern, "en_US_POSIX", "UTC",
                            ZKIcuDate::Lenient);
}

QDateTime ZKFtpItem::parseUnixStyleDate(const QString &text) {
    // Listings show no year for recent files; the current one is assumed,
    // also for a date later in the year than today.
    const QString dated = QStringLiteral("%1 %2").arg(QDate::currentDate().year()).arg(text);
    return ZKIcuDate::parse(dated, unixStyleDatePattern, nullptr, nullptr, ZKIcuDate::Lenient);
}

QDateTime ZKFtpItem::parseWindowsStyleDate(const QString &text) {
    return ZKIcuDate::parse(text, windowsStyleDatePattern, "en_US_POSIX", "UTC",
                            ZKIcuDate::Lenient);
}

qint32 ZKFtpItem::parseTypeCharacter(QChar character) {
    switch (character.unicode()) {
    case '-':
        return File;
    case 'd':
        return Directory;
    case 'l':
        return SymbolicLink;
    default:
        return Unknown;
    }
}

qint16 ZKFtpItem::parsePosixPermissions(const QString &text) {
    if (text.size() < 2) {
        return 0;
    }
    // The type character comes first; every later one is a bit. Set-id and
    // sticky letters count as set, and a longer text shifts further.
    quint16 bits = 0;
    for (qsizetype i = 1; i < text.size(); ++i) {
        bits = quint16((bits << 1) | (text.at(i) != QLatin1Char('-') ? 1 : 0));
    }
    return qint16(bits);
}

QStringList ZKFtpItem::filterEmptyStringsFromArray(const QStringList &strings) {
    QStringList filtered;
    filtered.reserve(strings.size());
    for (const QString &string : strings) {
        if (!string.isEmpty()) {
            filtered.append(string);
        }
    }
    return filtered;
}

bool ZKFtpItem::isPlainName(const QString &name) {
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")) {
        return false;
    }
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QChar(0) || c == QLatin1Char('\r') ||
            c == QLatin1Char('\n')) {
            return false;
        }
    }
    return true;
}
