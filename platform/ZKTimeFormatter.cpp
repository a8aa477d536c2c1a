// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTimeFormatter.h"

#include <cmath>

#include <QCoreApplication>

namespace {
QString text(const char *source, int n = -1) {
    return QCoreApplication::translate("ZKTimeFormatter", source, nullptr, n);
}
} // namespace

QString ZKTimeFormatter::formatTime(double seconds) {
    const double t = seconds;
    // A rate of zero gives an infinite estimate; there is nothing to promise.
    if (std::isnan(t) || std::isinf(t))
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "indeterminate"));
    // Negative values come from clocks or totals that moved under us; they
    // still mean "done any moment now".
    if (t < 1.0)
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "less than a second"));
    if (t < 3.5)
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "a few seconds"));
    if (t > 86400.0) {
        const double days = t / 86400.0;
        if (days < 1.1)
            return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "about a day"));
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "about %1 days"))
            .arg(formatDecimal(days, 1));
    }
    // 86400 itself stays here and reads "about 24.0 hours".
    if (t > 3600.0) {
        const double hours = t / 3600.0;
        if (hours < 1.1)
            return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "about an hour"));
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "about %1 hours"))
            .arg(formatDecimal(hours, 1));
    }
    if (t <= 55.0) {
        // Whole seconds to a multiple of five, rounding up from two past one:
        // 7 reads as 10, 51 as 50 and 55 stays 55.
        const qint64 whole = static_cast<qint64>(t);
        return text(QT_TRANSLATE_N_NOOP("ZKTimeFormatter", "about %n seconds"),
                    int((whole + 3) / 5 * 5));
    }
    const qint64 minutes = static_cast<qint64>((t + 30.0) / 60.0);
    if (minutes == 1)
        return text(QT_TRANSLATE_NOOP("ZKTimeFormatter", "about a minute"));
    return text(QT_TRANSLATE_N_NOOP("ZKTimeFormatter", "about %n minutes"), int(minutes));
}

QString ZKTimeFormatter::stringForObjectValue(const QVariant &value) const {
    if (!isNumber(value))
        return QString();
    return formatTime(value.toDouble());
}
