// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpUrl.h"

bool ZKFtpUrl::isDirectoryUrl(const QUrl &url) {
    return url.path(QUrl::FullyDecoded).endsWith(QLatin1Char('/'));
}

QUrl ZKFtpUrl::makeDirectoryUrl(const QUrl &url) {
    if (isDirectoryUrl(url)) {
        return url;
    }
    QUrl directory = url;
    directory.setPath(url.path(QUrl::FullyDecoded) + QLatin1Char('/'), QUrl::DecodedMode);
    return directory;
}

bool ZKFtpUrl::isSecure(const QUrl &url) {
    return url.scheme().compare(QLatin1String("ftps"), Qt::CaseInsensitive) == 0;
}

qint32 ZKFtpUrl::controlPort(const QUrl &url) {
    return url.port(defaultPort);
}

QStringList ZKFtpUrl::pathComponents(const QUrl &url) {
    return url.path(QUrl::FullyDecoded).split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

QStringList ZKFtpUrl::parentPathComponents(const QUrl &url) {
    QStringList components = pathComponents(url);
    if (!components.isEmpty()) {
        components.removeLast();
    }
    return components;
}

QString ZKFtpUrl::filename(const QUrl &url) {
    const QStringList components = pathComponents(url);
    return components.isEmpty() ? QString() : components.last();
}

bool ZKFtpUrl::isRoot(const QUrl &url) {
    return pathComponents(url).isEmpty();
}

QUrl ZKFtpUrl::childUrl(const QUrl &url, const QString &name, bool isDirectory) {
    QString path = url.path(QUrl::FullyDecoded);
    if (!path.endsWith(QLatin1Char('/'))) {
        path += QLatin1Char('/');
    }
    path += name;
    if (isDirectory) {
        path += QLatin1Char('/');
    }
    QUrl child = url;
    child.setPath(path, QUrl::DecodedMode);
    return child;
}

QUrl ZKFtpUrl::entryUrl(const QUrl &url, const QStringList &components, const QString &name) {
    QStringList all = components;
    all.append(name);
    QUrl entry = withoutPassword(url);
    entry.setQuery(QString());
    entry.setFragment(QString());
    entry.setPath(QLatin1Char('/') + all.join(QLatin1Char('/')), QUrl::DecodedMode);
    return entry;
}

QUrl ZKFtpUrl::withoutPassword(const QUrl &url) {
    QUrl cleaned = url;
    cleaned.setPassword(QString());
    return cleaned;
}
