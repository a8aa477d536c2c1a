// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKNumberFormatter.h"

// The unit column a byte count is shown in. Every value other than DataRate
// shows a file size.
enum ZKByteCountFormat : quint32 {
    ZKByteCountFormatFileSize = 0,
    ZKByteCountFormatDataRate = 1,
};

// Sizes and data rates in binary units: "1.5 KB", "1024 bytes", "3.2 MB/s",
// with the decimal point of the user's language ("1,5 KB" in German).
class ZKByteCountFormatter : public ZKNumberFormatter {
public:
    explicit ZKByteCountFormatter(quint32 format = ZKByteCountFormatFileSize);

    static QString formatFileSize(quint64 bytes);
    static QString formatDataRate(quint64 bytesPerSecond);
    static QString formatByteCount(quint64 count, quint32 format);

    // units counts the divisions by 1024; 8 and more is "Unknown".
    static QString unitNameForFormat(quint32 format, quint32 units);

    quint32 format() const { return m_format; }
    void setFormat(quint32 format) { m_format = format; }

    // Negative numbers show as 0 and fractions are cut off; a count cannot be
    // below zero and a negative rate is a measuring fault, not a direction.
    QString stringForObjectValue(const QVariant &value) const override;

    // The count that stringForObjectValue() shows for a number.
    static quint64 byteCountFromNumber(const QVariant &value);

private:
    quint32 m_format = ZKByteCountFormatFileSize;
};
