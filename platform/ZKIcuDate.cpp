// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKIcuDate.h"

#include <cmath>
#include <memory>

#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

QDateTime ZKIcuDate::parse(QStringView text, const char *pattern, const char *locale,
                           const char *zone, Reading reading) {
    if (text.isEmpty()) {
        return {};
    }
    const icu::Locale where = locale ? icu::Locale(locale) : icu::Locale::getDefault();
    const std::unique_ptr<icu::TimeZone> timeZone(
        zone ? icu::TimeZone::createTimeZone(
                   icu::UnicodeString(zone, -1, icu::UnicodeString::kInvariant))
             : icu::TimeZone::createDefault());
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString(pattern, -1, icu::UnicodeString::kInvariant),
                                 where, status);
    std::unique_ptr<icu::Calendar> calendar;
    if (reading == Strict) {
        // ICU's own calendar turns Julian before October 1582.
        auto gregorian = std::make_unique<icu::GregorianCalendar>(*timeZone, where, status);
        gregorian->setGregorianChange(U_DATE_MIN, status);
        calendar = std::move(gregorian);
        format.setLenient(false);
    } else {
        calendar.reset(icu::Calendar::createInstance(*timeZone, where, status));
    }
    if (U_FAILURE(status) || !calendar) {
        return {};
    }
    // Out-of-range fields (a month 13, 30 February) fail getTime() below.
    calendar->setLenient(false);
    calendar->clear();
    const icu::UnicodeString input(reinterpret_cast<const UChar *>(text.utf16()),
                                   int32_t(text.size()));
    icu::ParsePosition position(0);
    format.parse(input, *calendar, position);
    if (position.getErrorIndex() != -1 || position.getIndex() != input.length()) {
        return {};
    }
    const UDate date = calendar->getTime(status);
    if (U_FAILURE(status)) {
        return {};
    }
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(date)), Qt::UTC);
}
