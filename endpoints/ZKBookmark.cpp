// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKBookmark.h"
#include "ZKInodeGeneration.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDataStream>
#include <QFile>
#include <QIODevice>

namespace {

constexpr quint32 bookmarkMagic = 0x5a4b424d; // "ZKBM"
// 1: device, inode and path. 2: also size, modification time and generation.
constexpr quint8 firstVersion = 1;
constexpr quint8 bookmarkVersion = 2;

// What tells one file from a later one that got the same inode number.
struct Identity {
    quint64 size = 0;
    qint64 modifiedSeconds = 0;
    qint64 modifiedNanoseconds = 0;
    std::optional<quint32> generation;

    bool operator==(const Identity &other) const = default;
};

struct BookmarkData {
    quint64 device = 0;
    quint64 inode = 0;
    QByteArray path;                  // raw bytes, so that any name the kernel accepts survives
    std::optional<Identity> identity; // absent in handles of the first version
};

// Only files and folders are opened to ask: opening a device or a pipe may
// have effects of its own. A file system known to keep no generations is not
// opened at all.
std::optional<quint32> generationOf(const QByteArray &path, const struct stat &status) {
    if ((!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) ||
        ZKInodeGeneration::isKnownGenerationless(quint64(status.st_dev))) {
        return std::nullopt;
    }
    const int fd =
        ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    std::optional<quint32> generation;
    struct stat opened {};
    if (::fstat(fd, &opened) == 0 && opened.st_dev == status.st_dev &&
        opened.st_ino == status.st_ino) {
        generation = ZKInodeGeneration::ofOpenFile(fd, quint64(opened.st_dev));
    }
    ::close(fd);
    return generation;
}

Identity identityOf(const QByteArray &path, const struct stat &status) {
    Identity identity;
    identity.size = quint64(status.st_size);
    identity.modifiedSeconds = qint64(status.st_mtim.tv_sec);
    identity.modifiedNanoseconds = qint64(status.st_mtim.tv_nsec);
    identity.generation = generationOf(path, status);
    return identity;
}

std::optional<BookmarkData> decode(const QByteArray &bookmark) {
    QDataStream stream(bookmark);
    stream.setVersion(QDataStream::Qt_6_0);
    quint32 magic = 0;
    quint8 version = 0;
    stream >> magic >> version;
    if (stream.status() != QDataStream::Ok || magic != bookmarkMagic ||
        (version != firstVersion && version != bookmarkVersion)) {
        return std::nullopt;
    }
    BookmarkData data;
    stream >> data.device >> data.inode >> data.path;
    if (version == bookmarkVersion) {
        Identity identity;
        bool hasGeneration = false;
        quint32 generation = 0;
        stream >> identity.size >> identity.modifiedSeconds >> identity.modifiedNanoseconds >>
            hasGeneration >> generation;
        if (hasGeneration) {
            identity.generation = generation;
        }
        data.identity = identity;
    }
    if (stream.status() != QDataStream::Ok || !data.path.startsWith('/')) {
        return std::nullopt;
    }
    return data;
}

bool isSameInode(const struct stat &status, const BookmarkData &data) {
    return quint64(status.st_dev) == data.device && quint64(status.st_ino) == data.inode;
}

bool isSameItem(const QByteArray &path, const BookmarkData &data) {
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 && isSameInode(status, data);
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
    const Identity identity = identityOf(encoded, status);
    QByteArray bookmark;
    QDataStream stream(&bookmark, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << bookmarkMagic << bookmarkVersion << quint64(status.st_dev) << quint64(status.st_ino)
           << encoded << identity.size << identity.modifiedSeconds << identity.modifiedNanoseconds
           << identity.generation.has_value() << identity.generation.value_or(0);
    return bookmark;
}

bool ZKBookmark::names(const QByteArray &bookmark, quint64 device, quint64 inode) {
    const std::optional<BookmarkData> data = decode(bookmark);
    return data && data->device == device && data->inode == inode;
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
    const QString gone =
        QStringLiteral("The item '%1' no longer exists.").arg(QFile::decodeName(data->path));
    if (!data->identity) {
        // Nothing but the inode number would vouch for another path.
        return fail(gone);
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
    std::optional<QByteArray> impostor;
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
        struct stat status {};
        if (::lstat(candidate.constData(), &status) != 0 || !isSameInode(status, *data)) {
            continue;
        }
        if (identityOf(candidate, status) == *data->identity) {
            found = candidate;
            break;
        }
        impostor = candidate;
    }
    ::closedir(directory);
    if (found) {
        return QFile::decodeName(*found);
    }
    if (impostor) {
        return fail(QStringLiteral("The item '%1' no longer exists; '%2' has its inode number but "
                                   "is another file.")
                        .arg(QFile::decodeName(data->path), QFile::decodeName(*impostor)));
    }
    return fail(gone);
}
