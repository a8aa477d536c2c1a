// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariantMap>

// Anything that can be written into a saved queue. Its dictionary names the
// class (without the prefix) under typeKey; ZKPropertyListParser re-creates it.
class ZKPropertyListObject {
public:
    // "Type", in every saved dictionary.
    static inline const QString typeKey = QStringLiteral("Type");

    virtual ~ZKPropertyListObject() = default;
    virtual QVariantMap asPropertyList() const = 0;
};
