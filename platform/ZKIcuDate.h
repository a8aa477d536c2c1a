// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QStringView>

// Reads dates written in one fixed ICU pattern, used exactly as written
// (week-based "YYYY" included): FTP listings and HTTP headers. The whole text
// must be used and every field must lie in its range; otherwise the date is
// invalid.
class ZKIcuDate {
public:
    enum Reading {
        // Digits and blanks as ICU takes them by default (a one-digit day
        // passes "dd"), in the locale's own calendar.
        Lenient,
        // Digits and blanks as the pattern writes them, in the Gregorian
        // calendar however far back the date lies, as internet dates count.
        Strict,
    };

    // locale: an ICU locale name, nullptr for the process's default one;
    // zone: an ICU time zone name, nullptr for the system's. The result is in
    // UTC.
    static QDateTime parse(QStringView text, const char *pattern, const char *locale,
                           const char *zone, Reading reading);

private:
    ZKIcuDate() = delete;
};
