// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKImages.h"

#include <QFile>
#include <QHash>

QIcon ZKImages::named(const QString &name) {
    static QHash<QString, QIcon> cache;
    auto found = cache.constFind(name);
    if (found != cache.constEnd()) {
        return *found;
    }
    const QString path = QStringLiteral(":/images/%1.svg").arg(name);
    QIcon icon = QFile::exists(path) ? QIcon(path) : QIcon();
    cache.insert(name, icon);
    return icon;
}

QIcon ZKImages::endpointIcon(const QString &iconName) {
    QIcon fallback = named(QStringLiteral("fallback-") + iconName);
    if (fallback.isNull()) {
        fallback = named(QStringLiteral("fallback-text-x-generic"));
    }
    return QIcon::fromTheme(iconName, fallback);
}
