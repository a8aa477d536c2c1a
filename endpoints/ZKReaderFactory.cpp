// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKReaderFactory.h"

#include "ZKFileSystemReader.h"
#include "ZKFtpReader.h"
#include "ZKHttpReader.h"

#include <pwd.h>
#include <sys/types.h>

#include <QDir>
#include <QFile>

namespace {

const QString fileScheme = QStringLiteral("file://");
const QString ftpScheme = QStringLiteral("ftp://");
const QString httpScheme = QStringLiteral("http://");
const QString httpsScheme = QStringLiteral("https://");

QString homeOf(const QString &user) {
    if (user.isEmpty()) {
        return QDir::homePath();
    }
    const QByteArray name = QFile::encodeName(user);
    struct passwd entry {};
    struct passwd *found = nullptr;
    char buffer[4096];
    if (::getpwnam_r(name.constData(), &entry, buffer, sizeof buffer, &found) != 0 || !found) {
        return {};
    }
    return QFile::decodeName(found->pw_dir);
}

} // namespace

bool ZKReaderFactory::isFileUrl(const QUrl &url) {
    return url.isLocalFile();
}

bool ZKReaderFactory::isFtpUrl(const QUrl &url) {
    return url.toString().startsWith(ftpScheme);
}

bool ZKReaderFactory::isHttpUrl(const QUrl &url) {
    const QString string = url.toString();
    return string.startsWith(httpScheme) || string.startsWith(httpsScheme);
}

bool ZKReaderFactory::isFilePath(const QString &path) {
    return path.startsWith(fileScheme) || path.startsWith(QLatin1Char('/')) ||
           path.startsWith(QLatin1Char('~'));
}

bool ZKReaderFactory::isFtpPath(const QString &path) {
    return path.startsWith(ftpScheme);
}

bool ZKReaderFactory::isHttpPath(const QString &path) {
    return path.startsWith(httpScheme) || path.startsWith(httpsScheme);
}

bool ZKReaderFactory::isValidUrl(const QUrl &url) {
    return isFileUrl(url) || isHttpUrl(url) || isFtpUrl(url);
}

bool ZKReaderFactory::isValidPath(const QString &path) {
    return isFilePath(path) || isHttpPath(path) || isFtpPath(path);
}

QString ZKReaderFactory::standardizedPath(const QString &path) {
    QString expanded = path;
    if (expanded.startsWith(QLatin1Char('~'))) {
        const qsizetype slash = expanded.indexOf(QLatin1Char('/'));
        const QString user = expanded.mid(1, slash < 0 ? -1 : slash - 1);
        const QString home = homeOf(user);
        if (!home.isEmpty()) {
            expanded = home + (slash < 0 ? QString() : expanded.mid(slash));
        }
    }
    return QDir::cleanPath(expanded);
}

ZKReaderPtr ZKReaderFactory::readerWithUrl(const QUrl &url) {
    if (isFileUrl(url)) {
        return ZKFileSystemReader::readerWithUrl(url);
    }
    if (isFtpUrl(url)) {
        return ftpReader(url, QString(), QString());
    }
    if (isHttpUrl(url)) {
        return httpReader(url);
    }
    return nullptr;
}

ZKReaderPtr ZKReaderFactory::readerWithPath(const QString &path) {
    if (path.isEmpty()) {
        return nullptr;
    }
    if (!isFilePath(path)) {
        return readerWithUrl(QUrl(path));
    }
    if (path.startsWith(fileScheme)) {
        // Already a URL: only its path needs cleaning.
        const QUrl url(path);
        if (!url.isLocalFile() || url.toLocalFile().isEmpty()) {
            return nullptr;
        }
        return readerWithUrl(QUrl::fromLocalFile(QDir::cleanPath(url.toLocalFile())));
    }
    return readerWithUrl(QUrl::fromLocalFile(standardizedPath(path)));
}

ZKReaderPtr ZKReaderFactory::readerWithPath(const QString &path, const QString &username,
                                            const QString &password) {
    if (isFtpPath(path)) {
        return ftpReader(QUrl(path), username, password);
    }
    return readerWithPath(path);
}

QList<ZKReaderPtr> ZKReaderFactory::readersWithUrls(const QList<QUrl> &urls) {
    QList<ZKReaderPtr> readers;
    for (const QUrl &url : urls) {
        if (ZKReaderPtr reader = readerWithUrl(url)) {
            readers.append(std::move(reader));
        }
    }
    return readers;
}

QList<ZKReaderPtr> ZKReaderFactory::readersWithPaths(const QStringList &paths) {
    QList<ZKReaderPtr> readers;
    for (const QString &path : paths) {
        if (ZKReaderPtr reader = readerWithPath(path)) {
            readers.append(std::move(reader));
        }
    }
    return readers;
}

// ---------------------------------------------------------------------------
// The network reader families plug in here, and only here.
// ---------------------------------------------------------------------------

ZKReaderPtr ZKReaderFactory::ftpReader(const QUrl &url, const QString &username,
                                       const QString &password) {
    if (username.isEmpty()) {
        return ZKFtpReader::readerWithUrl(url);
    }
    return ZKFtpReader::readerWithUrl(url, username, password);
}

ZKReaderPtr ZKReaderFactory::httpReader(const QUrl &url) {
    return ZKHttpReader::readerWithUrl(url);
}
