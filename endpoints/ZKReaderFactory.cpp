// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKReaderFactory.h"

#include <pwd.h>
#include <sys/types.h>

#include <QDir>
#include <QFile>
#include <QHash>

#include <mutex>
#include <shared_mutex>

namespace {

const QString fileScheme = QStringLiteral("file://");
const QString ftpScheme = QStringLiteral("ftp://");
const QString ftpsScheme = QStringLiteral("ftps://");
const QString sftpScheme = QStringLiteral("sftp://");
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

struct Families {
    // A standard lock rather than QReadWriteLock: ThreadSanitizer sees it.
    std::shared_mutex lock;
    QHash<QString, ZKReaderFactory::Family> byScheme;
    std::optional<QString> runPassword;
};

Families &families() {
    // Never destroyed: families register from static initialisers.
    static Families *instance = new Families;
    return *instance;
}

std::optional<ZKReaderFactory::Family> familyOf(const QUrl &url) {
    Families &all = families();
    std::shared_lock locker(all.lock);
    const auto found = all.byScheme.constFind(url.scheme());
    if (found == all.byScheme.constEnd()) {
        return std::nullopt;
    }
    return found.value();
}

// A local path ("/", "~" or "file://") as a file URL, cleaned; an address as
// it stands.
QUrl urlOfPath(const QString &path) {
    if (!ZKReaderFactory::isFilePath(path)) {
        return QUrl(path);
    }
    if (path.startsWith(fileScheme)) {
        const QUrl url(path);
        if (!url.isLocalFile() || url.toLocalFile().isEmpty()) {
            return {};
        }
        return QUrl::fromLocalFile(QDir::cleanPath(url.toLocalFile()));
    }
    return QUrl::fromLocalFile(ZKReaderFactory::standardizedPath(path));
}

} // namespace

void ZKReaderFactory::registerFamily(Family family) {
    Families &all = families();
    std::unique_lock locker(all.lock);
    for (const QString &scheme : std::as_const(family.schemes)) {
        all.byScheme.insert(scheme, family);
    }
}

void ZKReaderFactory::setRunPassword(const std::optional<QString> &password) {
    Families &all = families();
    std::unique_lock locker(all.lock);
    all.runPassword = password;
}

std::optional<QString> ZKReaderFactory::runPassword() {
    Families &all = families();
    std::shared_lock locker(all.lock);
    return all.runPassword;
}

bool ZKReaderFactory::isFileUrl(const QUrl &url) {
    return url.isLocalFile();
}

bool ZKReaderFactory::isFtpUrl(const QUrl &url) {
    return isFtpPath(url.toString());
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
    return path.startsWith(ftpScheme) || path.startsWith(ftpsScheme);
}

bool ZKReaderFactory::isSftpPath(const QString &path) {
    return path.startsWith(sftpScheme);
}

bool ZKReaderFactory::isLoginPath(const QString &path) {
    return isFtpPath(path) || isSftpPath(path);
}

bool ZKReaderFactory::isHttpPath(const QString &path) {
    return path.startsWith(httpScheme) || path.startsWith(httpsScheme);
}

bool ZKReaderFactory::isValidUrl(const QUrl &url) {
    return isFileUrl(url) || isHttpUrl(url) || isLoginPath(url.toString());
}

bool ZKReaderFactory::isValidPath(const QString &path) {
    return isFilePath(path) || isHttpPath(path) || isLoginPath(path);
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
    if (!isValidUrl(url)) {
        return nullptr;
    }
    const auto family = familyOf(url);
    return family && family->reader ? family->reader(url, QString(), std::nullopt) : nullptr;
}

ZKReaderPtr ZKReaderFactory::readerWithPath(const QString &path) {
    return path.isEmpty() ? nullptr : readerWithUrl(urlOfPath(path));
}

ZKReaderPtr ZKReaderFactory::readerWithPath(const QString &path, const QString &username,
                                            const QString &password) {
    if (isLoginPath(path) && !username.isEmpty()) {
        const QUrl url(path);
        const auto family = familyOf(url);
        const auto given = password.isNull() ? std::nullopt : std::optional<QString>(password);
        return family && family->reader ? family->reader(url, username, given) : nullptr;
    }
    return readerWithPath(path);
}

ZKWriterPtr ZKReaderFactory::writerWithPath(const QString &path, ZKError *error) {
    return writerWithPath(path, QString(), std::nullopt, error);
}

ZKWriterPtr ZKReaderFactory::writerWithPath(const QString &path, const QString &username,
                                            const std::optional<QString> &password,
                                            ZKError *error) {
    const QUrl url = path.isEmpty() ? QUrl() : urlOfPath(path);
    const auto family = isValidUrl(url) ? familyOf(url) : std::nullopt;
    if (!family) {
        return nullptr;
    }
    const QString user = isLoginPath(url.toString()) ? username : QString();
    if (family->folderWriter) {
        if (ZKWriterPtr writer = family->folderWriter(url, user, password)) {
            return writer;
        }
    }
    const ZKReaderPtr reader = family->reader ? family->reader(url, user, password) : nullptr;
    if (reader && reader->open()) {
        ZKWriterPtr writer = reader->asWriter();
        reader->close();
        return writer;
    }
    if (reader && reader->error() && error) {
        *error = *reader->error();
    }
    return nullptr;
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
