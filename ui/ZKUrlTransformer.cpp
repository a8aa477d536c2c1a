// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKUrlTransformer.h"

#include <QUrl>

QVariant ZKUrlTransformer::transformedValue(const QVariant &value) const {
    const QUrl url = value.toUrl();
    if (!url.isValid() || url.isEmpty()) {
        return {};
    }
    return url.toString(QUrl::FullyEncoded);
}

QVariant ZKUrlTransformer::reverseTransformedValue(const QVariant &value) const {
    const QUrl url(value.toString(), QUrl::StrictMode);
    if (!url.isValid() || url.isEmpty()) {
        return {};
    }
    return url;
}
