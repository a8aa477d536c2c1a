// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// Value <-> saved name conversion shared by the task state, queue state and
// transfer mode holders.
namespace ZKEnumNames {

// The bound is one past the end of the names on purpose: saved queues written
// by earlier versions rely on the value just past the last name converting to
// a null string rather than to "Unknown (n)".
inline QString convertToString(const QStringList &names, qint32 value) {
    const qint32 bound = qint32(names.size()) + 1;
    if (value >= 0 && value < bound) {
        return value < names.size() ? names.at(value) : QString();
    }
    return QStringLiteral("Unknown (%1)").arg(value);
}

// Unknown or missing names parse as 0, the first value.
inline qint32 parse(const QStringList &names, const QString &text) {
    const auto index = names.indexOf(text);
    return index < 0 ? 0 : qint32(index);
}

} // namespace ZKEnumNames
