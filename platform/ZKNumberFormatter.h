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
    // printf-style fixed notation, always with a '.' whatever the user's
    // locale, because the texts are also written to logs and terminals.
    static QString formatFixed(double value, int decimals);
};
