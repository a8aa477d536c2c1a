// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKReader.h"
#include "ZKWriter.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

// Turns URLs and typed addresses into the endpoint of the right family: a
// reader for a source, a folder writer for a destination. Each family
// registers itself (ZKEndpointRegistration), so nothing above the endpoints
// names one to make it. All prefix tests are case-sensitive and anchored at
// the first character.
class ZKReaderFactory {
public:
    ZKReaderFactory() = delete;

    // A family's makers. The user name replaces the URL's only when it is not
    // empty, and the password is then taken as given.
    struct Family {
        QStringList schemes;
        std::function<ZKReaderPtr(const QUrl &, const QString &username,
                                  const std::optional<QString> &password)>
            reader;
        // The destination folder the URL names, made without asking the
        // server; nullptr where only a look at the item can tell (a folder
        // address without its closing "/"). Empty for a read-only family.
        std::function<ZKWriterPtr(const QUrl &, const QString &username,
                                  const std::optional<QString> &password)>
            folderWriter;
    };
    static void registerFamily(Family family);

    static bool isFileUrl(const QUrl &url);
    static bool isFtpUrl(const QUrl &url);
    static bool isHttpUrl(const QUrl &url);
    static bool isFilePath(const QString &path);
    static bool isFtpPath(const QString &path);
    static bool isSftpPath(const QString &path);
    // A server one logs in to, as a user with a password: FTP, FTPS, SFTP.
    static bool isLoginPath(const QString &path);
    static bool isHttpPath(const QString &path);
    static bool isValidUrl(const QUrl &url);
    static bool isValidPath(const QString &path);

    // nullptr for a scheme no reader family handles.
    static ZKReaderPtr readerWithUrl(const QUrl &url);
    // A local path ("/", "~" or "file://") is standardized first: "~" expanded,
    // doubled separators, "." and ".." removed.
    static ZKReaderPtr readerWithPath(const QString &path);
    // The credentials are used for a login address (isLoginPath) only. A null password is
    // none, so that the password store is asked; an empty one is empty.
    static ZKReaderPtr readerWithPath(const QString &path, const QString &username,
                                      const QString &password);
    // The folder a typed path or address names, as a destination: a local
    // folder or an FTP address ending in "/" is taken as a folder (and made
    // when missing); anything else is opened to see what it is. nullptr when
    // it is not a folder that can be written, with the reason in *error when
    // opening it gave one.
    static ZKWriterPtr writerWithPath(const QString &path, ZKError *error = nullptr);
    static ZKWriterPtr writerWithPath(const QString &path, const QString &username,
                                      const std::optional<QString> &password,
                                      ZKError *error = nullptr);

    // A password given for this run (typed on a terminal): every endpoint of
    // a named login re-created from its saved form uses it instead of asking
    // the password store, and stores nothing. Absent: the store is asked.
    static void setRunPassword(const std::optional<QString> &password);
    static std::optional<QString> runPassword();

    // In input order; inputs that give no reader are left out.
    static QList<ZKReaderPtr> readersWithUrls(const QList<QUrl> &urls);
    static QList<ZKReaderPtr> readersWithPaths(const QStringList &paths);

    // "~" and "~user" expanded, then cleaned; exposed for the source panels.
    static QString standardizedPath(const QString &path);
};

// Registers an endpoint family while the program starts:
// static const ZKEndpointRegistration registration{{{"ftp"}, reader, writer}};
struct ZKEndpointRegistration {
    explicit ZKEndpointRegistration(ZKReaderFactory::Family family) {
        ZKReaderFactory::registerFamily(std::move(family));
    }
};
