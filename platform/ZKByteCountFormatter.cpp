// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKByteCountFormatter.h"

#include <array>
#include <cmath>
#include <limits>

#include <QCoreApplication>
#include <QMetaType>

namespace {
constexpr quint32 unknownUnits = 8;

const std::array<QLatin1StringView, unknownUnits> fileSizeUnits = {
    QLatin1StringView("bytes"), QLatin1StringView("KB"), QLatin1StringView("MB"),
    QLatin1StringView("GB"),    QLatin1StringView("TB"), QLatin1StringView("PB"),
    QLatin1StringView("EB"),    QLatin1StringView("ZB"),
};

const std::array<QLatin1StringView, unknownUnits> dataRateUnits = {
    QLatin1StringView("B/s"),  QLatin1StringView("KB/s"), QLatin1StringView("MB/s"),
    QLatin1StringView("GB/s"), QLatin1StringView("TB/s"), QLatin1StringView("PB/s"),
    QLatin1StringView("EB/s"), QLatin1StringView("ZB/s"),
};
} // namespace

ZKByteCountFormatter::ZKByteCountFormatter(quint32 format)
    : m_format(format) {}

QString ZKByteCountFormatter::formatFileSize(quint64 bytes) {
    return formatByteCount(bytes, ZKByteCountFormatFileSize);
}

QString ZKByteCountFormatter::formatDataRate(quint64 bytesPerSecond) {
    return formatByteCount(bytesPerSecond, ZKByteCountFormatDataRate);
}

QString ZKByteCountFormatter::formatByteCount(quint64 count, quint32 format) {
    // An unsigned conversion, so counts above 2^63 stay positive.
    double value = static_cast<double>(count);
    quint32 units = 0;
    // Exactly 1024 is not divided: 1048576 reads "1024.0 KB", not "1.0 MB".
    while (value > 1024.0) {
        value *= 0.0009765625;
        ++units;
    }
    if (units == 0 && format != ZKByteCountFormatDataRate) {
        // At most 1024 here.
        return QCoreApplication::translate("ZKByteCountFormatter", "%n bytes", nullptr, int(count));
    }
    return QStringLiteral("%1 %2").arg(formatDecimal(value, units == 0 ? 0 : 1),
                                       unitNameForFormat(format, units));
}

QString ZKByteCountFormatter::unitNameForFormat(quint32 format, quint32 units) {
    if (units >= unknownUnits)
        return QCoreApplication::translate("ZKByteCountFormatter", "Unknown");
    const auto &table = format == ZKByteCountFormatDataRate ? dataRateUnits : fileSizeUnits;
    return QString(table[units]);
}

QString ZKByteCountFormatter::stringForObjectValue(const QVariant &value) const {
    if (!isNumber(value))
        return QString();
    return formatByteCount(byteCountFromNumber(value), m_format);
}

quint64 ZKByteCountFormatter::byteCountFromNumber(const QVariant &value) {
    switch (value.metaType().id()) {
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        // 2^64 exactly; casting anything at or above it (or NaN) is undefined.
        constexpr double limit = 18446744073709551616.0;
        if (!(number > 0.0))
            return 0;
        if (number >= limit)
            return std::numeric_limits<quint64>::max();
        return static_cast<quint64>(number);
    }
    case QMetaType::ULongLong:
    case QMetaType::ULong:
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
    case QMetaType::Bool:
        return value.toULongLong();
    default: {
        const qint64 number = value.toLongLong();
        return number < 0 ? 0 : static_cast<quint64>(number);
    }
    }
}
