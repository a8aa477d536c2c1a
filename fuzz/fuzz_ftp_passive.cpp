// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A server's answer to PASV or EPSV, in any bytes at all: read whole, and
// line by line as the control connection hands out final lines. Whatever
// the server says, the client must come away with a port it can use, or
// with nothing.

#include "ZKFtpReply.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <cstdlib>

namespace {

void passive(const QString &reply) {
    QString host;
    qint32 port = 0;
    if (!ZKFtpReply::parsePassiveReply(reply, &host, &port)) {
        return;
    }
    // Four numbers, whatever text they are: a piece that brings separators
    // of its own would make another host of the address.
    const QStringList pieces = host.split(QLatin1Char('.'));
    if (pieces.size() != 4) {
        std::abort();
    }
    // Written back the usual way, the address reads the same.
    if (port < 0 || port > 65535) {
        return;
    }
    // One arg() for all: the pieces may hold "%1" themselves.
    const QString usual = QStringLiteral("227 Entering Passive Mode (%1,%2,%3).")
                              .arg(pieces.join(QLatin1Char(',')), QString::number(port / 256),
                                   QString::number(port % 256));
    QString again;
    qint32 portAgain = 0;
    if (!ZKFtpReply::parsePassiveReply(usual, &again, &portAgain) || again != host ||
        portAgain != port) {
        std::abort();
    }
}

void extendedPassive(const QString &reply) {
    qint32 port = 0;
    const bool parsed = ZKFtpReply::parseExtendedPassiveReply(reply, &port);
    if (!parsed) {
        // Nothing is written when nothing is read.
        if (port != 0) {
            std::abort();
        }
        return;
    }
    if (port < 1 || port > 65535 || !reply.contains(QString::number(port))) {
        std::abort();
    }
    qint32 again = 0;
    if (!ZKFtpReply::parseExtendedPassiveReply(
            QStringLiteral("229 Entering Extended Passive Mode (|||%1|)").arg(port), &again) ||
        again != port) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QString text = QString::fromUtf8(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    passive(text);
    extendedPassive(text);
    for (const QString &line : ZKFtpReply::finalLines(text)) {
        passive(line);
        extendedPassive(line);
    }
    return 0;
}
