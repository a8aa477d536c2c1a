// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// One listing line as a server might send it, in any bytes at all.

#include "ZKFtpItem.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QString line = QString::fromUtf8(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    const std::optional<ZKFtpItem> item = ZKFtpItem::itemWithString(line);
    if (item) {
        // A link is only ever reported with the name cut off its target.
        if (item->type() == ZKFtpItem::SymbolicLink && item->name().isNull()) {
            std::abort();
        }
        if (item->type() < ZKFtpItem::Unknown || item->type() > ZKFtpItem::SymbolicLink) {
            std::abort();
        }
        const bool plain = ZKFtpItem::isPlainName(item->name());
        if (plain &&
            (item->name().contains(QLatin1Char('/')) || item->name() == QLatin1String(".."))) {
            std::abort();
        }
    }
    // The pieces on their own, as other callers use them.
    ZKFtpItem::parseMachineReadableDate(line);
    ZKFtpItem::parseWindowsStyleDate(line);
    ZKFtpItem::parsePosixPermissions(line);
    return 0;
}
