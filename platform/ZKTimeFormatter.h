// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKNumberFormatter.h"

// Remaining time as a rough phrase ("about 5 seconds", "about 2.5 hours");
// an estimate from a changing rate deserves no more precision than that.
class ZKTimeFormatter : public ZKNumberFormatter {
public:
    static QString formatTime(double seconds);

    QString stringForObjectValue(const QVariant &value) const override;
};
