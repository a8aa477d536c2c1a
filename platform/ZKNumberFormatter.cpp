// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNumberFormatter.h"

#include <charconv>
#include <cmath>

#include <QLocale>
#include <QMetaType>

ZKNumberFormatter::~ZKNumberFormatter() = default;

bool ZKNumberFormatter::getObjectValue(QVariant *value, const QString &string,
                                       QString *errorDescription) {
    Q_UNUSED(value)
    Q_UNUSED(string)
    if (errorDescription)
        *errorDescription = QStringLiteral("Not supported");
    return false;
}

bool ZKNumberFormatter::isNumber(const QVariant &value) {
    switch (value.metaType().id()) {
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

QString ZKNumberFormatter::formatFixed(double value, int decimals) {
    if (std::isnan(value))
        return QStringLiteral("nan");
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");

    // std::to_chars ignores the C locale that QCoreApplication installs from
    // the environment, and rounds the exact binary value half to even like
    // printf. The largest double needs 309 digits before the point.
    char buffer[400];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    if (result.ec != std::errc())
        return QStringLiteral("?");
    return QString::fromLatin1(buffer, result.ptr - buffer);
}

QString ZKNumberFormatter::formatDecimal(double value, int decimals) {
    QString text = formatFixed(value, decimals);
    const QString point = QLocale().decimalPoint();
    if (point != QLatin1String(".") && std::isfinite(value)) {
        text.replace(QLatin1Char('.'), point);
    }
    return text;
}
