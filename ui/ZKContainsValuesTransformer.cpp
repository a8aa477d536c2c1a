// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKContainsValuesTransformer.h"

QVariant ZKContainsValuesTransformer::transformedValue(const QVariant &value) const {
    // Text converts to a list of its characters; it is not a collection.
    if (!value.isValid() || value.typeId() == QMetaType::QString) {
        return false;
    }
    if (value.canConvert<QVariantMap>()) {
        return !value.toMap().isEmpty();
    }
    if (value.canConvert<QVariantList>()) {
        return !value.toList().isEmpty();
    }
    return false;
}
