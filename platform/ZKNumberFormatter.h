// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>

// Common ground of the formatters that views name in their bindings: they turn
// a number into a text and never parse a text back.
class ZKNumberFormatter {
public:
    virtual ~ZKNumberFormatter();

    // A null QString (not an empty one) when the value is not a number.
    virtual QString stringForObjectValue(const QVariant &value) const = 0;

    // Editing a formatted field is not offered, so parsing always fails with
    // "Not supported"; value is left untouched.
    static bool getObjectValue(QVariant *value, const QString &string, QString *errorDescription);

    // Numbers are the arithmetic types and bool; texts that happen to hold
    // digits are not numbers.
    static bool isNumber(const QVariant &value);

protected:
    // printf-style fixed notation, always with a '.' whatever the C
    // library's locale.
    static QString formatFixed(double value, int decimals);
    // The same with the decimal point of the default QLocale, which the
    // programs set from the user's session: "1,5" in German. The C library's
    // locale never counts, and no digits are grouped, so English reads as
    // formatFixed() does.
    static QString formatDecimal(double value, int decimals);
};
