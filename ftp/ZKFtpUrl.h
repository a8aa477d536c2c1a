// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

// What the FTP reader and writer read out of their "ftp" and "ftps" URLs, in one place so
// both read them alike.
class ZKFtpUrl {
public:
    ZKFtpUrl() = delete;

    static constexpr qint32 defaultPort = 21;

    // The path ends with "/"; a query or fragment after it does not count.
    static bool isDirectoryUrl(const QUrl &url);
    // "/" appended to the path when it does not end in one.
    static QUrl makeDirectoryUrl(const QUrl &url);
    // "ftps": explicit TLS on the usual port (AUTH TLS), not TLS from the
    // first byte.
    static bool isSecure(const QUrl &url);
    // The URL's port, or 21.
    static qint32 controlPort(const QUrl &url);
    // The decoded path split at "/", without empty components.
    static QStringList pathComponents(const QUrl &url);
    static QStringList parentPathComponents(const QUrl &url);
    // The last path component; empty for the root.
    static QString filename(const QUrl &url);
    // The server's root as the account sees it (on most servers, its home
    // folder): a path of "/" or none.
    static bool isRoot(const QUrl &url);
    // The URL extended by one name, which may hold any character but "/": it
    // is encoded, never read as a path. A directory URL ends with "/".
    static QUrl childUrl(const QUrl &url, const QString &name, bool isDirectory);
    // The URL of an entry found at the given components in a walk: the
    // parent's scheme, user, host and port with that path, so that it
    // compares as a child of the URL it was listed under. Never a password.
    static QUrl entryUrl(const QUrl &url, const QStringList &components, const QString &name);
    // The same URL without a password: passwords live in the password store,
    // never in a URL that may be saved.
    static QUrl withoutPassword(const QUrl &url);
};
