// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The control connection as a server might fill it: the bytes arrive in
// receives of up to 4096, each decoded strictly as the client decodes it,
// and every final line kept is judged and read as a PASV and an EPSV reply.
// The whole input is also read as a FEAT reply and as MLSD lines.

#include "ZKFtpReply.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

void judge(const QString &text) {
    for (const QString &line : ZKFtpReply::finalLines(text)) {
        if (line.size() < 4 || line.at(3) != QLatin1Char(' ') || line.at(0) < QLatin1Char('0') ||
            line.at(0) > QLatin1Char('9')) {
            std::abort();
        }
        const ZKOptionalError error = ZKFtpReply::errorOf(line);
        const bool refusal = line.at(0) == QLatin1Char('4') || line.at(0) == QLatin1Char('5');
        if (error.has_value() != refusal) {
            std::abort();
        }
        if (error && (error->code() < 400 || error->code() > 599)) {
            std::abort();
        }
        QString host;
        qint32 port = 0;
        ZKFtpReply::parsePassiveReply(line, &host, &port);
        // An extended reply names a usable port or nothing at all.
        qint32 extended = 0;
        const bool parsed = ZKFtpReply::parseExtendedPassiveReply(line, &extended);
        if (parsed != (extended != 0) || extended < 0 || extended > 65535) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    for (qsizetype start = 0; start < bytes.size(); start += 4096) {
        const QByteArray chunk = bytes.mid(start, 4096);
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder.decode(chunk);
        if (!decoder.hasError()) {
            judge(text);
        }
        // Also what a lenient decoder would have made of it.
        judge(QString::fromUtf8(chunk));
    }
    const QString whole = QString::fromUtf8(bytes);
    QString host;
    qint32 port = 0;
    ZKFtpReply::parsePassiveReply(whole, &host, &port);
    ZKFtpReply::announcesMachineListings(whole);
    for (const QString &line : whole.split(QLatin1Char('\n'))) {
        // A type is lower case and never runs into the name.
        const QString type = ZKFtpReply::machineListingType(line);
        if (type != type.toLower() || type.contains(QLatin1Char(' ')) ||
            type.contains(QLatin1Char(';'))) {
            std::abort();
        }
    }
    return 0;
}
