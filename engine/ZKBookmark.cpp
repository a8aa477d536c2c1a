// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKBookmark.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <QDataStream>
#include <QFile>
#include <QIODevice>

namespace {

constexpr quint32 bookmarkMagic = 0x5a4b424d; // "ZKBM"
constexpr quint8 bookmarkVersion = 1;

struct BookmarkData {
    quint64 device = 0;
    quint64 inode = 0;
    QByteArray path; // raw bytes, so that any name the kernel accepts survives
};

std::optional<BookmarkData> decode(const QByteArray &bookmark) {
    QDataStream stream(bookmark);
    stream.setVersion(QDataStream::Qt_6_0);
    quint32 magic = 0;
    quint8 version = 0;
    stream >> magic >> version;
    if (stream.status() != QDataStream::Ok || magic != bookmarkMagic ||
        version != bookmarkVersion) {
        return std::nullopt;
    }
    BookmarkData data;
    stream >> data.device >> data.inode >> data.path;
    if (stream.status() != QDataStream::Ok || !data.path.startsWith('/')) {
        return std::nullopt;
    }
    return data;
}

bool isSameItem(const QByteArray &path, const BookmarkData &data) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && quint64(status.st_dev) == data.device &&
           quint64(status.st_ino) == data.inode;
}

} // namespace

QByteArray ZKBookmark::create(const QString &path) {
    if (path.isEmpty()) {
        return {};
    }
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status {};
    if (::lstat(encoded.constData(), &status) != 0) {
        return {};
    }
    QByteArray bookmark;
    QDataStream stream(&bookmark, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << bookmarkMagic << bookmarkVersion << quint64(status.st_dev) << quint64(status.st_ino)
           << encoded;
    return bookmark;
}

std::optional<QString> ZKBookmark::resolve(const QByteArray &bookmark, QString *failure) {
    auto fail = [failure](const QString &text) -> std::optional<QString> {
        if (failure) {
            *failure = text;
        }
        return std::nullopt;
    };

    const std::optional<BookmarkData> data = decode(bookmark);
    if (!data) {
        return fail(QStringLiteral("The bookmark data is not valid."));
    }
    if (isSameItem(data->path, *data)) {
        return QFile::decodeName(data->path);
    }

    // A rename keeps the inode and the folder; look for it among the siblings.
    const qsizetype slash = data->path.lastIndexOf('/');
    const QByteArray parent = slash == 0 ? QByteArray("/") : data->path.left(slash);
    DIR *directory = ::opendir(parent.constData());
    if (!directory) {
        return fail(QStringLiteral("The item '%1' no longer exists and its folder cannot be read.")
                        .arg(QFile::decodeName(data->path)));
    }
    std::optional<QByteArray> found;
    while (const dirent *entry = ::readdir(directory)) {
        if (quint64(entry->d_ino) != data->inode) {
            continue;
        }
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..") {
            continue;
        }
        // d_ino is not reliable across mount points; confirm with the device.
        const QByteArray candidate = (parent == "/" ? QByteArray() : parent) + '/' + name;
        if (isSameItem(candidate, *data)) {
            found = candidate;
            break;
        }
    }
    ::closedir(directory);
    if (!found) {
        return fail(
            QStringLiteral("The item '%1' no longer exists.").arg(QFile::decodeName(data->path)));
    }
    return QFile::decodeName(*found);
}
