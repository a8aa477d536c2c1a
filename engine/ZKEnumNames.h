// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>
#include <QMetaEnum>
#include <QString>

// Value <-> saved name conversion shared by the task state, queue state and
// transfer mode holders: the names are the keys of the holder's Q_ENUM, whose
// values run from 0 without gaps.
namespace ZKEnumNames {

// The bound is one past the end of the names on purpose: saved queues written
// by earlier versions rely on the value just past the last name converting to
// a null string rather than to "Unknown (n)".
template <class Enum> QString convertToString(qint32 value) {
    const QMetaEnum names = QMetaEnum::fromType<Enum>();
    const qint32 count = names.keyCount();
    if (value >= 0 && value <= count) {
        return value < count ? QString::fromLatin1(names.valueToKey(value)) : QString();
    }
    return QStringLiteral("Unknown (%1)").arg(value);
}

// Unknown or missing names parse as 0, the first value. Only the bare name
// counts, as written: QMetaEnum::keyToValue would also take a qualified one
// and stop at a NUL.
template <class Enum> qint32 parse(const QString &text) {
    const QMetaEnum names = QMetaEnum::fromType<Enum>();
    for (int index = 0; index < names.keyCount(); ++index) {
        if (text == QLatin1StringView(names.key(index))) {
            return names.value(index);
        }
    }
    return 0;
}

} // namespace ZKEnumNames
