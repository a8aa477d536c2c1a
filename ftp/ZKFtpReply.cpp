// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpReply.h"

#include "ZKFtpErrors.h"

#include <algorithm>
#include <limits>

namespace {

bool isAsciiDigit(QChar c) {
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

} // namespace

QStringList ZKFtpReply::splitAtAny(const QString &text, QStringView separators) {
    QStringList pieces;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (separators.contains(text.at(i))) {
            pieces.append(text.mid(start, i - start));
            start = i + 1;
        }
    }
    pieces.append(text.mid(start));
    return pieces;
}

QStringList ZKFtpReply::finalLines(const QString &text) {
    QStringList lines;
    for (const QString &line : splitAtAny(text, u"\r\n")) {
        if (line.size() >= 4 && line.at(3) == QLatin1Char(' ') && isAsciiDigit(line.at(0))) {
            lines.append(line);
        }
    }
    return lines;
}

ZKOptionalError ZKFtpReply::errorOf(const QString &line) {
    if (line.size() < 4) {
        return ZKFtpErrors::error(ZKFtpErrors::InvalidResponse, {line});
    }
    const QChar first = line.at(0);
    if (first != QLatin1Char('4') && first != QLatin1Char('5')) {
        return std::nullopt;
    }
    const QString digits = line.left(3);
    // Read digit by digit: a general number parser would take "5\0e" for 5.
    qint64 code = 0;
    for (const QChar c : digits) {
        if (!isAsciiDigit(c)) {
            // "4x9 ..." still fails; it just has no better number than its class.
            code = (first.unicode() - '0') * 100;
            break;
        }
        code = code * 10 + (c.unicode() - '0');
    }
    if (line.size() == 4) {
        return ZKFtpErrors::error(ZKFtpErrors::RefusalWithoutText, code, {digits});
    }
    return ZKFtpErrors::serverRefusal(code, line.mid(4));
}

qint64 ZKFtpReply::leadingInteger(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && (text.at(i) == QLatin1Char(' ') || text.at(i) == QLatin1Char('\t'))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text.at(i) == QLatin1Char('-') || text.at(i) == QLatin1Char('+'))) {
        negative = text.at(i) == QLatin1Char('-');
        ++i;
    }
    constexpr qint64 limit = std::numeric_limits<qint32>::max();
    qint64 value = 0;
    for (; i < text.size() && isAsciiDigit(text.at(i)); ++i) {
        value = std::min(value * 10 + (text.at(i).unicode() - '0'), limit);
    }
    return negative ? -value : value;
}

bool ZKFtpReply::parsePassiveReply(const QString &reply, QString *host, qint32 *port) {
    const qsizetype open = reply.lastIndexOf(QLatin1Char('('));
    const qsizetype close = open < 0 ? -1 : reply.indexOf(QLatin1Char(')'), open + 1);
    if (close < 0) {
        return false;
    }
    const QStringList pieces = reply.mid(open + 1, close - open - 1).split(QLatin1Char(','));
    if (pieces.size() != 6) {
        return false;
    }
    // Read strictly: a lenient reader would make some address or port of
    // "999", "-1" or "abc", and a name to look up of what is no number.
    int numbers[6] = {};
    for (int i = 0; i < 6; ++i) {
        const QString digits = pieces.at(i).trimmed();
        if (digits.isEmpty() || digits.size() > 3) {
            return false;
        }
        for (const QChar c : digits) {
            if (!isAsciiDigit(c)) {
                return false;
            }
            numbers[i] = numbers[i] * 10 + (c.unicode() - '0');
        }
        if (numbers[i] > 255) {
            return false;
        }
    }
    *host = QStringLiteral("%1.%2.%3.%4")
                .arg(numbers[0])
                .arg(numbers[1])
                .arg(numbers[2])
                .arg(numbers[3]);
    *port = numbers[4] * 256 + numbers[5];
    return true;
}

bool ZKFtpReply::parseExtendedPassiveReply(const QString &reply, qint32 *port) {
    const qsizetype open = reply.indexOf(QLatin1Char('('));
    const qsizetype close = reply.indexOf(QLatin1Char(')'), open + 1);
    if (open < 0 || close < 0) {
        return false;
    }
    const QStringView group = QStringView(reply).mid(open + 1, close - open - 1);
    // Delimiter, delimiter, delimiter, at least one digit, delimiter. The
    // network protocol and address fields must be empty: the data connection
    // goes to the address the control connection reached, never elsewhere.
    if (group.size() < 5) {
        return false;
    }
    const QChar delimiter = group.front();
    if (delimiter.unicode() < 33 || delimiter.unicode() > 126 || delimiter.isDigit() ||
        group.at(1) != delimiter || group.at(2) != delimiter || group.back() != delimiter) {
        return false;
    }
    const QStringView digits = group.mid(3, group.size() - 4);
    qint32 value = 0;
    for (const QChar c : digits) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9')) {
            return false;
        }
        value = value * 10 + (c.unicode() - '0');
        if (value > 65535) {
            return false;
        }
    }
    if (value == 0) {
        return false;
    }
    *port = value;
    return true;
}

bool ZKFtpReply::announcesMachineListings(const QString &reply) {
    for (const QString &line : splitAtAny(reply, u"\r\n")) {
        if (!line.startsWith(QLatin1Char(' '))) {
            continue;
        }
        const QString feature = line.trimmed().section(QLatin1Char(' '), 0, 0);
        if (feature.compare(QLatin1String("MLST"), Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

QString ZKFtpReply::machineListingType(const QString &line) {
    // The facts end at the first space; the name after it may hold anything.
    const qsizetype space = line.indexOf(QLatin1Char(' '));
    const QStringView facts = QStringView(line).left(space < 0 ? line.size() : space);
    for (const QStringView fact : facts.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        if (fact.startsWith(QLatin1String("type="), Qt::CaseInsensitive)) {
            return fact.mid(5).toString().toLower();
        }
    }
    return {};
}
