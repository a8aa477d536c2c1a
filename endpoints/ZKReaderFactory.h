// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKReader.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

// Turns URLs and typed addresses into the reader of the right family. All
// prefix tests are case-sensitive and anchored at the first character.
class ZKReaderFactory {
public:
    ZKReaderFactory() = delete;

    static bool isFileUrl(const QUrl &url);
    static bool isFtpUrl(const QUrl &url);
    static bool isHttpUrl(const QUrl &url);
    static bool isFilePath(const QString &path);
    static bool isFtpPath(const QString &path);
    static bool isHttpPath(const QString &path);
    static bool isValidUrl(const QUrl &url);
    static bool isValidPath(const QString &path);

    // nullptr for a scheme no reader family handles.
    static ZKReaderPtr readerWithUrl(const QUrl &url);
    // A local path ("/", "~" or "file://") is standardized first: "~" expanded,
    // doubled separators, "." and ".." removed.
    static ZKReaderPtr readerWithPath(const QString &path);
    // The credentials are used for an FTP address only.
    static ZKReaderPtr readerWithPath(const QString &path, const QString &username,
                                      const QString &password);
    // In input order; inputs that give no reader are left out.
    static QList<ZKReaderPtr> readersWithUrls(const QList<QUrl> &urls);
    static QList<ZKReaderPtr> readersWithPaths(const QStringList &paths);

    // "~" and "~user" expanded, then cleaned; exposed for the source panels.
    static QString standardizedPath(const QString &path);

private:
    static ZKReaderPtr ftpReader(const QUrl &url, const QString &username, const QString &password);
    static ZKReaderPtr httpReader(const QUrl &url);
};
