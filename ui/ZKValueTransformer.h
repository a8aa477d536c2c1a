// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>

// Turns a model value into what a control shows (a state into a colour, a
// rate into a slider position), and back where that makes sense. Views find
// a transformer by its class name, so one instance of each serves them all.
class ZKValueTransformer {
public:
    virtual ~ZKValueTransformer() = default;

    // The type of what transformedValue() gives.
    virtual QMetaType transformedValueClass() const = 0;
    virtual bool allowsReverseTransformation() const { return false; }

    virtual QVariant transformedValue(const QVariant &value) const = 0;
    // An invalid QVariant where the transformer cannot be reversed.
    virtual QVariant reverseTransformedValue(const QVariant &value) const;

    // The shared transformer of that class name ("ZKTaskActionIconTransformer"); nullptr
    // for a name none has.
    static const ZKValueTransformer *valueTransformerForName(const QString &name);
    static QStringList valueTransformerNames();
};
