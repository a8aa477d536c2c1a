// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemWriter.h"
#include "ZKPropertyListParser.h"

#include "ZKBookmark.h"
#include "ZKEndpointErrors.h"
#include "ZKFileSystemReader.h"
#include "ZKLogging.h"
#include "ZKPartialFile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <limits>
#include <optional>
#include <typeinfo>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QFile>
#include <QMimeDatabase>

const QString ZKFileSystemWriter::posixErrorDomain = QStringLiteral("POSIX");

namespace {

const QString pathKey = QStringLiteral("Path");
const QString isDirectoryKey = QStringLiteral("IsDirectory");
const QString bookmarkKey = QStringLiteral("Bookmark");

QString errnoText(int number) {
    return qt_error_string(number);
}

void logSetFailure(const char *attribute, const QString &value, int number) {
    qCWarning(lcEndpoints).noquote()
        << QStringLiteral("Unable to set %1 = '%2': %3")
               .arg(QLatin1String(attribute), value, errnoText(number));
}

bool isLinkAt(const ZKFolderHandle::Place &item) {
    struct stat status {};
    return ::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISLNK(status.st_mode);
}

// Creates every missing folder of path. Returns 0 or the errno of the first
// folder that could not be made, whose path is then in failedPath. The folders
// on the way may be links (the destination the user chose may lie behind
// one); the last one must be a folder itself.
int makePath(const QByteArray &path, QByteArray *failedPath) {
    qsizetype from = 1;
    while (from <= path.size()) {
        qsizetype slash = path.indexOf('/', from);
        if (slash < 0) {
            slash = path.size();
        }
        const QByteArray prefix = path.left(slash);
        from = slash + 1;
        if (prefix.endsWith('/') || prefix.isEmpty()) {
            continue; // doubled separator
        }
        if (::mkdir(prefix.constData(), 0777) == 0) {
            continue;
        }
        const int number = errno;
        struct stat status {};
        const bool isLast = from > path.size();
        const int found =
            isLast ? ::lstat(prefix.constData(), &status) : ::stat(prefix.constData(), &status);
        if (number == EEXIST && found == 0 && S_ISDIR(status.st_mode)) {
            continue;
        }
        *failedPath = prefix;
        return number;
    }
    return 0;
}

// Removes name (relative to parentFd, or an absolute path) with all its
// contents, never following a link. Stops at the first failure and returns its
// errno, with the path that failed in failedPath.
int removeItem(int parentFd, const QByteArray &name, const QByteArray &shownPath,
               QByteArray *failedPath) {
    struct stat status {};
    if (::fstatat(parentFd, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        *failedPath = shownPath;
        return errno;
    }
    if (!S_ISDIR(status.st_mode)) {
        if (::unlinkat(parentFd, name.constData(), 0) != 0) {
            *failedPath = shownPath;
            return errno;
        }
        return 0;
    }
    const int fd =
        ::openat(parentFd, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        *failedPath = shownPath;
        return errno;
    }
    DIR *directory = ::fdopendir(fd);
    if (!directory) {
        const int number = errno;
        ::close(fd);
        *failedPath = shownPath;
        return number;
    }
    int result = 0;
    while (true) {
        errno = 0;
        const dirent *item = ::readdir(directory);
        if (!item) {
            result = errno;
            if (result != 0) {
                *failedPath = shownPath;
            }
            break;
        }
        const QByteArray child(item->d_name);
        if (child == "." || child == "..") {
            continue;
        }
        result = removeItem(::dirfd(directory), child, shownPath + '/' + child, failedPath);
        if (result != 0) {
            break;
        }
    }
    ::closedir(directory);
    if (result != 0) {
        return result;
    }
    if (::unlinkat(parentFd, name.constData(), AT_REMOVEDIR) != 0) {
        *failedPath = shownPath;
        return errno;
    }
    return 0;
}

// The mode bits the kernel takes away from every file this process makes.
// Read once: umask() itself can only be read by setting it, which would race
// with the files other threads make meanwhile. Nothing when it cannot be
// known (a kernel older than 4.7).
std::optional<mode_t> processUmask() {
    static const std::optional<mode_t> mask = []() -> std::optional<mode_t> {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly)) {
            return std::nullopt;
        }
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("Umask:")) {
                bool ok = false;
                const uint value = line.mid(6).trimmed().toUInt(&ok, 8);
                return ok ? std::optional<mode_t>(mode_t(value & 0777)) : std::nullopt;
            }
        }
        return std::nullopt;
    }();
    return mask;
}

// Every new file is asked for with this mode; the umask or the folder's
// default ACL then takes bits away.
constexpr mode_t newFileMode = 0666;

} // namespace

// What a file made inside a folder is given by the kernel: the effective
// group, or the folder's when the folder has the set-group-ID bit, and the
// mode asked for less the umask, unless a default ACL of the folder decides
// instead. Looked up once per folder, and only as far as asked.
struct ZKFileSystemWriter::MadeInside {
    explicit MadeInside(QByteArray folderPath)
        : path(std::move(folderPath)) {}

    void take(const struct stat &status) {
        std::lock_guard locker(lock);
        takeLocked(status);
    }

    void takeLocked(const struct stat &status) {
        looked = true;
        known = true;
        group = status.st_gid;
        setsGroup = (status.st_mode & S_ISGID) != 0;
    }

    std::optional<gid_t> groupOfNewFile() {
        std::lock_guard locker(lock);
        if (!looked) {
            looked = true;
            struct stat status {};
            if (::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode)) {
                takeLocked(status);
            }
        }
        if (!known) {
            return std::nullopt;
        }
        if (setsGroup) {
            return group;
        }
        // Some mounts give every new file its folder's group; where the
        // folder's group is the effective one, both ways agree.
        static const gid_t effective = ::getegid();
        return group == effective ? std::optional<gid_t>(effective) : std::nullopt;
    }

    std::optional<mode_t> modeOfNewFile() {
        const std::optional<mode_t> mask = processUmask();
        if (!mask) {
            return std::nullopt;
        }
        std::lock_guard locker(lock);
        if (!aclAsked) {
            aclAsked = true;
            if (::getxattr(path.constData(), "system.posix_acl_default", nullptr, 0) >= 0) {
                hasDefaultAcl = true;
            } else {
                hasDefaultAcl = errno != ENODATA && errno != EOPNOTSUPP; // unknown counts as one
            }
        }
        return hasDefaultAcl ? std::nullopt : std::optional<mode_t>(newFileMode & ~*mask);
    }

    const QByteArray path;
    std::mutex lock; // the files of a folder may be made on several threads
    bool looked = false;
    bool known = false;
    gid_t group = 0;
    bool setsGroup = false;
    bool aclAsked = false;
    bool hasDefaultAcl = false;
};

std::shared_ptr<ZKFileSystemWriter> ZKFileSystemWriter::writerWithDirectory(const QUrl &url) {
    return std::make_shared<ZKFileSystemWriter>(url, true);
}

std::shared_ptr<ZKFileSystemWriter> ZKFileSystemWriter::writerWithFile(const QUrl &url) {
    return std::make_shared<ZKFileSystemWriter>(url, false);
}

std::shared_ptr<ZKFileSystemWriter> ZKFileSystemWriter::childWriter(const QString &name,
                                                                    bool isDirectory) {
    auto child = std::make_shared<ZKFileSystemWriter>(ChildKey());
    const QByteArray encodedName = QFile::encodeName(name);
    if (ZKFolderHandle::isPlainName(encodedName) && !m_path.isEmpty()) {
        // Made for every file of a copy: what a plain name and this
        // folder's path already say is not worked out of the url again.
        child->m_encodedPath = childPathOf(encodedName);
        if (name.isValidUtf16() && m_path.isValidUtf16()) {
            // Texts that encode without loss decode to themselves.
            child->m_path = m_path.endsWith(QLatin1Char('/')) ? m_path + name
                                                              : m_path + QLatin1Char('/') + name;
            child->m_filename = name;
        } else {
            child->m_path = QFile::decodeName(child->m_encodedPath);
            child->m_filename = QFile::decodeName(encodedName);
        }
        child->m_url = ZKFileSystemReader::urlOfPath(child->m_path);
        child->m_folder = folderHandle();
        child->m_nameInFolder = encodedName;
    } else {
        child->setUrlAndFilename(QUrl::fromLocalFile(QFile::decodeName(childPathOf(encodedName))));
    }
    child->m_isDirectory = isDirectory;
    child->m_refusesLinks = true;
    child->m_bookmarkDeferred = true;
    if (!isDirectory) {
        std::lock_guard locker(m_madeInsideLock);
        if (!m_madeInside) {
            m_madeInside = std::make_shared<MadeInside>(m_encodedPath);
        }
        child->m_madeInside = m_madeInside;
    }
    return child;
}

ZKFileSystemWriter::ZKFileSystemWriter(const QUrl &url, bool isDirectory)
    : m_isDirectory(isDirectory) {
    setUrlAndFilename(url);
    if (m_url.isLocalFile()) {
        m_bookmark = ZKBookmark::create(m_url.toLocalFile());
    }
}

ZKFileSystemWriter::ZKFileSystemWriter(const QUrl &url, bool isDirectory, Deferred)
    : m_isDirectory(isDirectory)
    , m_bookmarkDeferred(true) {
    setUrlAndFilename(url);
}

ZKFileSystemWriter::ZKFileSystemWriter(const QVariantMap &propertyList)
    : m_isDirectory(propertyList.value(isDirectoryKey).toBool()) {
    const QString path = propertyList.value(pathKey).toString();
    setUrlAndFilename(path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path));
    m_bookmark = propertyList.value(bookmarkKey).toByteArray();
}

ZKFileSystemWriter::~ZKFileSystemWriter() {
    closeHandle();
}

void ZKFileSystemWriter::setUrlAndFilename(const QUrl &url) {
    m_url = url.path() == QLatin1String("/") ? url : url.adjusted(QUrl::StripTrailingSlash);
    m_filename = m_url.fileName();
    // Asked for by every call that takes a path, and for every item made inside.
    m_path = m_url.toLocalFile();
    m_encodedPath = QFile::encodeName(m_path);
    // Another path: the folder it was made in may not hold it.
    m_folder.reset();
    m_nameInFolder.clear();
}

ZKFolderHandle::Place ZKFileSystemWriter::place() const {
    return ZKFolderHandle::Place(m_folder, m_nameInFolder, m_encodedPath);
}

ZKFolderHandle::Place ZKFileSystemWriter::placeOfChild(const QByteArray &encodedName) const {
    // Held while the place is made, so that the place finds it held too.
    const std::shared_ptr<ZKFolderHandle> held = folderHandle().lock();
    const bool inFolder = held && ZKFolderHandle::isPlainName(encodedName);
    return ZKFolderHandle::Place(held, encodedName,
                                 inFolder ? QByteArray() : childPathOf(encodedName));
}

void ZKFileSystemWriter::setFolder(const std::weak_ptr<ZKFolderHandle> &folder,
                                   const QByteArray &name) {
    m_folder = folder;
    m_nameInFolder = name;
}

std::weak_ptr<ZKFolderHandle> ZKFileSystemWriter::folderHandle() const {
    std::lock_guard locker(m_folderHandleLock);
    return m_folderHandle;
}

void ZKFileSystemWriter::setUrl(const QUrl &url) {
    setUrlAndFilename(url);
}

QString ZKFileSystemWriter::path() const {
    return m_path;
}

QByteArray ZKFileSystemWriter::childPathOf(const QByteArray &encodedName) const {
    const QByteArray &parent = m_encodedPath;
    return (parent.endsWith('/') ? parent : parent + '/') + encodedName;
}

QVariantMap ZKFileSystemWriter::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("FileSystemWriter"));
    propertyList.insert(pathKey, path());
    propertyList.insert(isDirectoryKey, m_isDirectory);
    const QByteArray bookmark = m_bookmarkDeferred ? ZKBookmark::create(path()) : m_bookmark;
    if (!bookmark.isEmpty()) {
        propertyList.insert(bookmarkKey, bookmark);
    }
    return propertyList;
}

bool ZKFileSystemWriter::isEqual(const ZKWriter &other) const {
    return ZKWriter::isEqual(other) && m_isDirectory == other.isDirectory();
}

size_t ZKFileSystemWriter::hash() const {
    return qHash(m_url) + (m_isDirectory ? 1 : 0);
}

QString ZKFileSystemWriter::icon() const {
    const QByteArray &encoded = m_encodedPath;
    struct stat status {};
    if (encoded.isEmpty() || ::stat(encoded.constData(), &status) != 0) {
        return QStringLiteral("ZKMissingFolder");
    }
    if (S_ISDIR(status.st_mode)) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase().mimeTypeForFile(path(), QMimeDatabase::MatchExtension).iconName();
}

void ZKFileSystemWriter::acquireBookmark() {
    if (m_startedAccessing || m_bookmark.isEmpty()) {
        return;
    }
    QString failure;
    const std::optional<QString> resolved = ZKBookmark::resolve(m_bookmark, &failure);
    if (!resolved) {
        qCWarning(lcEndpoints).noquote()
            << QStringLiteral("Error while acquiring bookmark for %1: %2").arg(path(), failure);
        return;
    }
    m_bookmarkUrl = QUrl::fromLocalFile(*resolved);
    m_startedAccessing = true;
}

void ZKFileSystemWriter::releaseBookmark() {
    m_startedAccessing = false;
    m_bookmarkUrl.clear();
}

void ZKFileSystemWriter::closeHandle() {
    if (m_fd >= 0) {
        // The lock belongs to this descriptor alone (never duplicated), so
        // closing it is what releases the lock.
        ::close(m_fd);
        m_fd = -1;
    }
    m_createdHere = false;
    std::lock_guard locker(m_folderHandleLock);
    m_folderHandle.reset();
}

bool ZKFileSystemWriter::open() {
    closeHandle();

    if (m_url.isEmpty() || !m_url.isLocalFile() || path().isEmpty() || m_filename.isEmpty()) {
        const QString shown = m_url.isLocalFile() ? path() : m_url.toString();
        setError(ZKEndpointErrors::error(ZKEndpointErrors::InvalidPath, {shown}));
        return false;
    }
    const QString &shownPath = m_path;
    const QByteArray &encoded = m_encodedPath;
    const ZKFolderHandle::Place item = place();

    if (!m_isDirectory) {
        acquireBookmark();
        // The usual case in a copy: nothing stands there yet, and the file
        // this makes is a new, empty, regular one. O_EXCL never follows a
        // link. Anything else is sorted out below.
        const int fd = ::openat(item.folder(), item.name(),
                                O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NONBLOCK, 0666);
        if (fd >= 0) {
            m_fd = fd;
            m_createdHere = true;
            m_size = 0;
            return lockHandle(shownPath);
        }
    }

    // An item made inside the destination never goes through a link that
    // stands in its place: what it points to is not the destination's to fill.
    struct stat status {};
    const bool exists = ::fstatat(item.folder(), item.name(), &status,
                                  m_refusesLinks ? AT_SYMLINK_NOFOLLOW : 0) == 0;
    const bool isFolder = exists && S_ISDIR(status.st_mode);
    if (m_isDirectory) {
        // Looked at again on every open: the folder may have been replaced.
        auto madeInside = std::make_shared<MadeInside>(encoded);
        if (isFolder) {
            madeInside->take(status);
        }
        std::lock_guard locker(m_madeInsideLock);
        m_madeInside = std::move(madeInside);
        // The folder found is the one the bookmark names, which is all that
        // resolving it by path would find out.
        if (isFolder && !m_startedAccessing && !m_bookmark.isEmpty() &&
            ZKBookmark::names(m_bookmark, quint64(status.st_dev), quint64(status.st_ino))) {
            m_bookmarkUrl = m_url;
            m_startedAccessing = true;
        } else {
            acquireBookmark();
        }
    }
    if (exists && S_ISLNK(status.st_mode)) {
        setError(ZKEndpointErrors::error(m_isDirectory ? ZKEndpointErrors::LinkInPlaceOfFolder
                                                       : ZKEndpointErrors::LinkInPlaceOfFile,
                                         {shownPath}));
        return false;
    }

    if (m_isDirectory) {
        if (!isFolder) {
            QByteArray failedPath = encoded;
            int number = 0;
            if (item.isRelative()) {
                // Its folder is open, so that is all there is to make.
                number = ::mkdirat(item.folder(), item.name(), 0777) == 0 ? 0 : errno;
                if (number == EEXIST &&
                    ::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISDIR(status.st_mode)) {
                    number = 0; // made meanwhile by someone else
                }
            } else {
                number = makePath(encoded, &failedPath);
            }
            if (number == EEXIST && failedPath == encoded && m_refusesLinks && isLinkAt(item)) {
                setError(
                    ZKEndpointErrors::error(ZKEndpointErrors::LinkInPlaceOfFolder, {shownPath}));
                return false;
            }
            if (number != 0) {
                setError(ZKEndpointErrors::systemError(
                    ZKEndpointErrors::UnableToCreateFolder, number,
                    {QFile::decodeName(failedPath), errnoText(number)}));
                return false;
            }
        }
        return openFolderHandle(item, shownPath, !isFolder);
    }

    if (isFolder) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::FolderInPlaceOfFile, {shownPath}));
        return false;
    }
    m_size = exists ? quint64(status.st_size) : 0;

    int fd = -1;
    if (!exists) {
        // O_EXCL: a dangling link here must not make us create its target.
        fd = ::openat(item.folder(), item.name(),
                      O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NONBLOCK, 0666);
        if (fd < 0) {
            const int number = errno;
            if (number == EEXIST && m_refusesLinks && isLinkAt(item)) {
                setError(ZKEndpointErrors::error(ZKEndpointErrors::LinkInPlaceOfFile, {shownPath}));
                return false;
            }
            setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToCreate,
                                             {shownPath, errnoText(number)}));
            return false;
        }
    } else {
        // O_NONBLOCK: a FIFO here must not hang the open. O_NOFOLLOW: a link
        // put here since the look above is refused too.
        const int noFollow = m_refusesLinks ? O_NOFOLLOW : 0;
        fd = ::openat(item.folder(), item.name(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | noFollow);
        if (fd < 0) {
            const int number = errno;
            if (number == ELOOP && m_refusesLinks && isLinkAt(item)) {
                setError(ZKEndpointErrors::error(ZKEndpointErrors::LinkInPlaceOfFile, {shownPath}));
                return false;
            }
            setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToOpenForWriting,
                                             {shownPath, errnoText(number)}));
            return false;
        }
    }
    struct stat opened {};
    const bool statted = ::fstat(fd, &opened) == 0;
    if (!statted || !S_ISREG(opened.st_mode)) {
        // A FIFO or device would swallow the data without keeping it.
        const ZKError refusal =
            !statted
                ? ZKEndpointErrors::error(ZKEndpointErrors::UnableToOpenForWriting,
                                          {shownPath, errnoText(errno)})
                : ZKEndpointErrors::error(ZKEndpointErrors::NotRegularFileForWriting, {shownPath});
        ::close(fd);
        setError(refusal);
        return false;
    }
    // O_NONBLOCK stays: it changes nothing for a regular file, and clearing
    // it costs two calls for every file of a copy.
    m_fd = fd;
    m_createdHere = !exists;
    if (!lockHandle(shownPath)) {
        return false; // the caller closes
    }

    // A file this call made is empty; one that existed is continued at its end.
    const off_t end = exists ? ::lseek(fd, 0, SEEK_END) : 0;
    if (end < 0) {
        const int number = errno;
        closeHandle();
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToSeekToEnd,
                                         {shownPath, errnoText(number)}));
        return false;
    }
    // Measured under the lock: the bytes a resumed copy continues from.
    m_size = quint64(end);
    return true;
}

// The folder, held open while it is: the items made in it are made there,
// by name, and a link put in its place meanwhile is not gone through.
bool ZKFileSystemWriter::openFolderHandle(const ZKFolderHandle::Place &item,
                                          const QString &shownPath, bool made) {
    const int fd = ::openat(item.folder(), item.name(),
                            O_PATH | O_DIRECTORY | O_CLOEXEC | (m_refusesLinks ? O_NOFOLLOW : 0));
    if (fd < 0 && (errno == ENOTDIR || errno == ELOOP)) {
        const int number = errno;
        setError(m_refusesLinks && isLinkAt(item)
                     ? ZKEndpointErrors::error(ZKEndpointErrors::LinkInPlaceOfFolder, {shownPath})
                     : ZKEndpointErrors::systemError(ZKEndpointErrors::UnableToCreateFolder, number,
                                                     {shownPath, errnoText(number)}));
        return false;
    }
    struct stat status {};
    if (fd >= 0 && made && ::fstat(fd, &status) == 0) {
        // What its files are given comes from the folder made, not from
        // whatever its path may lead to later; and it saves a look later.
        madeInside()->take(status);
    }
    // Without one (no descriptor to spare), its items are found by path.
    std::shared_ptr<ZKFolderHandle> handle = ZKFolderHandle::adopt(fd);
    std::lock_guard locker(m_folderHandleLock);
    m_folderHandle = std::move(handle);
    return true;
}

// flock locks the open file description, so a second writer in this very
// process is refused as well as one in another process.
bool ZKFileSystemWriter::lockHandle(const QString &shownPath) {
    if (::flock(m_fd, LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    const int number = errno;
    if (number == EWOULDBLOCK) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::AnotherProcessWriting, {shownPath}));
        return false;
    }
    qCWarning(lcEndpoints).noquote() << QStringLiteral("Unable to lock '%1': %2 (%3).")
                                            .arg(shownPath, errnoText(number))
                                            .arg(number);
    return true;
}

void ZKFileSystemWriter::close() {
    closeHandle();
    releaseBookmark();
}

bool ZKFileSystemWriter::appendBlock(const QByteArray &data) {
    if (m_fd < 0) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::WriteToUnopenedFile, {path()}));
        return false;
    }
    const char *bytes = data.constData();
    qsizetype remaining = data.size();
    while (remaining > 0) {
        const ssize_t written = ::write(m_fd, bytes, size_t(remaining));
        if (written < 0) {
            const int number = errno;
            if (number == EINTR) {
                continue;
            }
            setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToWriteData,
                                             {path(), errnoText(number)}));
            return false;
        }
        bytes += written;
        remaining -= written;
    }
    return true;
}

std::shared_ptr<ZKWriter> ZKFileSystemWriter::createDirectory(const QString &name) {
    if (!m_isDirectory) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::CannotCreateDirectoryIn, {path()}));
        return nullptr;
    }
    return childWriter(name, true);
}

std::shared_ptr<ZKWriter> ZKFileSystemWriter::createFile(const QString &name) {
    if (!m_isDirectory) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::CannotCreateFileIn, {path()}));
        return nullptr;
    }
    return childWriter(name, false);
}

std::shared_ptr<ZKWriter> ZKFileSystemWriter::createLink(const QString &name,
                                                         const QString &target) {
    if (!m_isDirectory) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::CannotCreateLinkIn, {path()}));
        return nullptr;
    }
    const QByteArray encodedName = QFile::encodeName(name);
    const ZKFolderHandle::Place item = placeOfChild(encodedName);
    const QByteArray wanted = QFile::encodeName(target);

    struct stat status {};
    if (::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(status.st_mode)) {
        QByteArray stored(PATH_MAX, Qt::Uninitialized);
        const ssize_t length =
            ::readlinkat(item.folder(), item.name(), stored.data(), size_t(stored.size()));
        if (length >= 0 && stored.left(length) == wanted) {
            return childWriter(name, false); // already right: a resumed or repeated copy
        }
    }
    // Stored as given, so that relative links stay relative. An existing item
    // is not removed first: whether to replace it was settled before copying.
    if (::symlinkat(wanted.constData(), item.folder(), item.name()) != 0) {
        const int number = errno;
        setError(ZKEndpointErrors::systemError(
            ZKEndpointErrors::UnableToCreateLink, number,
            {QFile::decodeName(childPathOf(encodedName)), errnoText(number)}));
        return nullptr;
    }
    return childWriter(name, false);
}

bool ZKFileSystemWriter::removeFile(const QString &name) {
    const QByteArray encodedName = QFile::encodeName(name);
    const QByteArray child = childPathOf(encodedName);
    const ZKFolderHandle::Place item = placeOfChild(encodedName);
    QByteArray failedPath;
    const int number = removeItem(item.folder(), item.name(), child, &failedPath);
    if (number != 0) {
        const ZKError failure =
            ZKEndpointErrors::systemError(ZKEndpointErrors::UnableToRemove, number,
                                          {QFile::decodeName(failedPath), errnoText(number)});
        qCWarning(lcEndpoints).noquote()
            << QStringLiteral("Unable to remove file \"%1\": %2")
                   .arg(QFile::decodeName(child), failure.localizedDescription());
        setError(failure);
        return false;
    }
    return true;
}

bool ZKFileSystemWriter::renameItem(const QString &from, const QString &to, bool replace) {
    const QByteArray fromName = QFile::encodeName(from);
    const QByteArray toName = QFile::encodeName(to);
    const ZKFolderHandle::Place fromItem = placeOfChild(fromName);
    const ZKFolderHandle::Place toItem = placeOfChild(toName);
    // One step that no reader can catch half done, and that keeps what the
    // user has under that name unless told to replace it.
    int result = ::renameat2(fromItem.folder(), fromItem.name(), toItem.folder(), toItem.name(),
                             replace ? 0 : RENAME_NOREPLACE);
    if (result != 0 && !replace && errno == EINVAL) {
        // A file system without the flag: a hard link fails just as well on
        // an existing name, and is as atomic.
        result = ::linkat(fromItem.folder(), fromItem.name(), toItem.folder(), toItem.name(), 0);
        if (result == 0) {
            ::unlinkat(fromItem.folder(), fromItem.name(), 0);
        }
    }
    if (result != 0) {
        const int number = errno;
        setError(number == EEXIST
                     ? ZKEndpointErrors::systemError(ZKEndpointErrors::NameTaken, number,
                                                     {QFile::decodeName(childPathOf(toName))})
                     : ZKEndpointErrors::systemError(
                           ZKEndpointErrors::UnableToRename, number,
                           {QFile::decodeName(childPathOf(fromName)), errnoText(number)}));
        return false;
    }
    return true;
}

bool ZKFileSystemWriter::setProvenance(const QByteArray &identity) {
    if (m_fd < 0 || identity.isEmpty()) {
        return false;
    }
    if (::fsetxattr(m_fd, ZKPartialFile::provenanceAttribute, identity.constData(),
                    size_t(identity.size()), 0) != 0) {
        qCInfo(lcEndpoints).noquote()
            << "Cannot keep the source's identity with" << path() << ":" << errnoText(errno);
        return false;
    }
    return true;
}

bool ZKFileSystemWriter::remove(const std::function<bool()> &isCancelled) {
    acquireBookmark();
    if (isCancelled && isCancelled()) {
        return false; // the grant stays held until close
    }
    const QByteArray &encoded = m_encodedPath;
    const ZKFolderHandle::Place item = place();
    QByteArray failedPath;
    const int number =
        encoded.isEmpty() ? ENOENT : removeItem(item.folder(), item.name(), encoded, &failedPath);
    if (number != 0) {
        setError(ZKEndpointErrors::systemError(ZKEndpointErrors::UnableToRemove, number,
                                               {QFile::decodeName(failedPath), errnoText(number)}));
    }
    releaseBookmark();
    return number == 0;
}

std::shared_ptr<ZKReader> ZKFileSystemWriter::asReader() {
    auto reader = std::make_shared<ZKFileSystemReader>(m_url, ZKFileSystemReader::DeferredBookmark);
    reader->setBookmark(m_bookmark);
    reader->setFolder(m_folder, m_nameInFolder);
    return reader;
}

void ZKFileSystemWriter::setCreationDate(const QDateTime &date) {
    // Linux file systems record a birth time but offer no call to set it.
    Q_UNUSED(date);
}

void ZKFileSystemWriter::setModificationDate(const QDateTime &date) {
    if (!date.isValid()) {
        return;
    }
    const qint64 milliseconds = date.toMSecsSinceEpoch();
    struct timespec times[2]{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(milliseconds / 1000);
    times[1].tv_nsec = long(milliseconds % 1000) * 1000000;
    if (times[1].tv_nsec < 0) {
        times[1].tv_sec -= 1;
        times[1].tv_nsec += 1000000000;
    }
    // AT_SYMLINK_NOFOLLOW: a copied link gets its own date, its target is left alone.
    int result = 0;
    if (m_fd >= 0) {
        result = ::futimens(m_fd, times);
    } else {
        const ZKFolderHandle::Place item = place();
        result = ::utimensat(item.folder(), item.name(), times, AT_SYMLINK_NOFOLLOW);
    }
    if (result != 0) {
        logSetFailure("modificationDate", date.toString(Qt::ISODateWithMs), errno);
    }
}

void ZKFileSystemWriter::setPermissions(quint16 permissions) {
    if (permissions == 0) {
        return;
    }
    if (m_fd >= 0) {
        if (wasMadeWithPermissions(permissions)) {
            return;
        }
        if (::fchmod(m_fd, mode_t(permissions & 07777)) != 0) {
            logSetFailure("permissions", QString::number(permissions, 8), errno);
        }
        return;
    }
    const ZKFolderHandle::Place item = place();
    struct stat status {};
    if (::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(status.st_mode)) {
        return; // a link has no mode of its own on Linux
    }
    if (::fchmodat(item.folder(), item.name(), mode_t(permissions & 07777), 0) != 0) {
        logSetFailure("permissions", QString::number(permissions, 8), errno);
    }
}

void ZKFileSystemWriter::setOwner(quint64 owner) {
    if (owner >= quint64(std::numeric_limits<uid_t>::max())) {
        logSetFailure("owner", QString::number(owner), EINVAL);
        return;
    }
    static const uid_t self = ::geteuid();
    if (m_fd >= 0 && m_createdHere && owner == self) {
        return; // already its owner
    }
    if (changeOwnership(uid_t(owner), gid_t(-1)) != 0) {
        logSetFailure("owner", QString::number(owner), errno);
    }
}

void ZKFileSystemWriter::setGroup(quint64 group) {
    if (group >= quint64(std::numeric_limits<gid_t>::max())) {
        logSetFailure("group", QString::number(group), EINVAL);
        return;
    }
    if (wasMadeWithGroup(group)) {
        return;
    }
    if (changeOwnership(uid_t(-1), gid_t(group)) != 0) {
        logSetFailure("group", QString::number(group), errno);
    }
}

// Of the open file, or else of the item itself, never of a link's target.
int ZKFileSystemWriter::changeOwnership(uid_t owner, gid_t group) {
    if (m_fd >= 0) {
        return ::fchown(m_fd, owner, group);
    }
    const ZKFolderHandle::Place item = place();
    return ::fchownat(item.folder(), item.name(), owner, group, AT_SYMLINK_NOFOLLOW);
}

std::shared_ptr<ZKFileSystemWriter::MadeInside> ZKFileSystemWriter::madeInside() const {
    std::lock_guard locker(m_madeInsideLock);
    return m_madeInside;
}

bool ZKFileSystemWriter::wasMadeWithGroup(quint64 group) const {
    const auto madeInside = this->madeInside();
    if (m_fd < 0 || !m_createdHere || !madeInside) {
        return false;
    }
    const std::optional<gid_t> given = madeInside->groupOfNewFile();
    return given && quint64(*given) == group;
}

bool ZKFileSystemWriter::wasMadeWithPermissions(quint16 permissions) const {
    const auto madeInside = this->madeInside();
    if (m_fd < 0 || !m_createdHere || !madeInside) {
        return false;
    }
    // Set-user-ID, set-group-ID and sticky bits are never given: asked for,
    // they always need the call.
    const std::optional<mode_t> given = madeInside->modeOfNewFile();
    return given && *given == mode_t(permissions & 07777);
}

void ZKFileSystemWriter::setIsExtensionHidden(bool hidden) {
    // Linux has no such flag: the name is always shown whole.
    Q_UNUSED(hidden);
}

void ZKFileSystemWriter::setIsImmutable(bool immutable) {
    const QString value = immutable ? QStringLiteral("true") : QStringLiteral("false");
    const ZKFolderHandle::Place item = place();
    struct stat status {};
    if (::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(status.st_mode)) {
        return; // links carry no flags on Linux
    }
    const int fd =
        ::openat(item.folder(), item.name(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        logSetFailure("isImmutable", value, errno);
        return;
    }
    int flags = 0;
    if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) {
        const int number = errno;
        // A file system without flags holds no immutable file: nothing to clear.
        if (immutable || (number != ENOTTY && number != EOPNOTSUPP)) {
            logSetFailure("isImmutable", value, number);
        }
        ::close(fd);
        return;
    }
    const int wanted = immutable ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    if (wanted != flags && ::ioctl(fd, FS_IOC_SETFLAGS, &wanted) != 0) {
        logSetFailure("isImmutable", value, errno);
    }
    ::close(fd);
}

namespace {

const ZKPropertyListRegistration savedForm{QStringLiteral("FileSystemWriter"),
                                           [](const QVariantMap &dict) {
                                               return std::make_shared<ZKFileSystemWriter>(dict);
                                           }};

} // namespace
