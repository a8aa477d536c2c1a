// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKPropertyListParser.h"
#include "ZKReaderFactory.h"

#include "ZKBookmark.h"
#include "ZKEndpointErrors.h"
#include "ZKFileSystemWriter.h"
#include "ZKInodeGeneration.h"
#include "ZKLogging.h"
#include "ZKMadeOnFirstNeed.h"
#include "ZKPartialFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QMimeDatabase>

namespace {

const QString pathKey = QStringLiteral("Path");
const QString bookmarkKey = QStringLiteral("Bookmark");

QString errnoText(int number) {
    return qt_error_string(number);
}

QByteArray joinPath(const QByteArray &parent, const QByteArray &name) {
    return parent.endsWith('/') ? parent + name : parent + '/' + name;
}

// Names that are not valid UTF-8 cannot travel through a QString or a QUrl and
// back; such an item would be silently lost on the way.
bool isRepresentable(const QByteArray &raw) {
    // Most names are plain ASCII, which always makes the trip: asked for
    // every item of every walk, they are spared the two conversions.
    const bool ascii =
        std::all_of(raw.cbegin(), raw.cend(), [](char c) { return uchar(c) < 0x80; });
    return ascii || QFile::encodeName(QFile::decodeName(raw)) == raw;
}

QUrl urlForPath(const QByteArray &path) {
    return ZKFileSystemReader::urlOfPath(QFile::decodeName(path));
}

// What QUrl::toEncoded writes for the address urlForPath makes of path,
// spelt out for an absolute path of ASCII that names no host: an identity
// is made of it for every file a copy begins. Empty for any other path,
// which is left to QUrl.
QByteArray encodedUrlOfPath(const QByteArray &path) {
    if (!path.startsWith('/') || path.startsWith("//")) {
        return {};
    }
    // Letters, digits and -._~/!$&'()*+,;=:@[] stand for themselves; every
    // other ASCII character is escaped, in capitals.
    static constexpr auto kept = [] {
        std::array<bool, 128> table{};
        for (const char c : std::string_view("-._~/!$&'()*+,;=:@[]0123456789"
                                             "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                             "abcdefghijklmnopqrstuvwxyz")) {
            table[size_t(c)] = true;
        }
        return table;
    }();
    static constexpr char hex[] = "0123456789ABCDEF";
    constexpr std::string_view scheme = "file://";
    // Written in place, with room for the lines an identity adds.
    QByteArray encoded(qsizetype(scheme.size()) + 3 * path.size() + 128, Qt::Uninitialized);
    char *out = std::copy(scheme.begin(), scheme.end(), encoded.data());
    for (const char c : path) {
        const uchar u = uchar(c);
        if (u >= 0x80) {
            return {};
        }
        if (kept[u]) {
            *out++ = c;
        } else {
            *out++ = '%';
            *out++ = hex[u >> 4];
            *out++ = hex[u & 0xF];
        }
    }
    encoded.truncate(out - encoded.data());
    return encoded;
}

// Length of the UTF-8 sequence the byte at index begins, by its lead bits;
// 0 for a byte that begins none. Whether the sequence really decodes is the
// caller's round trip to tell.
qsizetype sequenceLength(const QByteArray &raw, qsizetype index) {
    const uchar lead = uchar(raw.at(index));
    const qsizetype length = lead < 0x80             ? 1
                             : (lead & 0xE0) == 0xC0 ? 2
                             : (lead & 0xF0) == 0xE0 ? 3
                             : (lead & 0xF8) == 0xF0 ? 4
                                                     : 0;
    return index + length <= raw.size() ? length : 0;
}

// A name that is not valid UTF-8, as text: what decodes stays as it is, every
// other byte becomes \xHH, and a backslash becomes \x5C, so that two different
// names never come out alike.
QString escapedName(const QByteArray &raw) {
    QString text;
    qsizetype index = 0;
    while (index < raw.size()) {
        const qsizetype length = sequenceLength(raw, index);
        const QByteArray sequence = raw.mid(index, length);
        const QString decoded = QString::fromUtf8(sequence);
        if (length == 0 || raw.at(index) == '\\' || decoded.toUtf8() != sequence) {
            text +=
                QLatin1String("\\x") +
                QString::number(uint(uchar(raw.at(index))), 16).rightJustified(2, u'0').toUpper();
            ++index;
        } else {
            text += decoded;
            index += length;
        }
    }
    return text;
}

QString joinText(const QByteArray &parent, const QString &name) {
    const QString folder = QFile::decodeName(parent);
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

// The item's identity in the walk, for a name that cannot be represented: its
// escaped text, made different from any name that really is in the folder, so
// that it can neither be mistaken for one nor open one. Every walk of the same
// folder makes the same choice.
QUrl standInUrl(int folderFd, const QByteArray &parent, const QByteArray &raw) {
    const QString escaped = escapedName(raw);
    QString name = escaped;
    struct stat status {};
    // "\~" never occurs in an escaped name: a suffix cannot make it equal another.
    for (int number = 1; number < 1000 && ::fstatat(folderFd, QFile::encodeName(name).constData(),
                                                    &status, AT_SYMLINK_NOFOLLOW) == 0;
         ++number) {
        name = escaped + QStringLiteral("\\~%1").arg(number);
    }
    return QUrl::fromLocalFile(joinText(parent, name));
}

QString invalidNameReason(const QByteArray &parent, const QByteArray &raw) {
    return ZKEndpointErrors::text(ZKEndpointErrors::InvalidName,
                                  {joinText(parent, escapedName(raw))});
}

QString notCopyableReason(const QByteArray &path) {
    return ZKEndpointErrors::text(ZKEndpointErrors::NotCopyable, {QFile::decodeName(path)});
}

QString invalidTargetReason(const QByteArray &path) {
    return ZKEndpointErrors::text(ZKEndpointErrors::InvalidLinkTarget, {QFile::decodeName(path)});
}

// FIFOs, sockets and devices: reading one would block or give no data.
bool isCopyableType(mode_t mode) {
    return S_ISREG(mode) || S_ISDIR(mode) || S_ISLNK(mode);
}

// Component-wise: "/a/b" contains "/a/b/c" but not "/a/bc".
bool containsPath(const QByteArray &ancestor, const QByteArray &path) {
    if (ancestor == "/" || ancestor == path) {
        return true;
    }
    return path.size() > ancestor.size() && path.startsWith(ancestor) &&
           path.at(ancestor.size()) == '/';
}

// A link whose target holds any folder being walked would bring the walk back
// into itself, directly or through another link.
bool wouldLoop(const QByteArray &target, const QByteArrayList &chain) {
    for (const QByteArray &walked : chain) {
        if (containsPath(target, walked)) {
            return true;
        }
    }
    return false;
}

std::optional<QByteArray> realPath(const QByteArray &path) {
    char *resolved = ::realpath(path.constData(), nullptr);
    if (!resolved) {
        return std::nullopt;
    }
    QByteArray result(resolved);
    ::free(resolved);
    return result;
}

// Where an open folder really is, in one call where realpath() takes one for
// every folder on the way. The kernel's name of a folder removed meanwhile
// is no path, so that one is asked for by path.
QByteArray realPathOfOpenFolder(int fd, const QByteArray &path) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    QByteArray resolved(PATH_MAX, Qt::Uninitialized);
    const ssize_t length = ::readlink(link, resolved.data(), size_t(resolved.size()));
    if (length > 0 && length < resolved.size() && resolved.at(0) == '/') {
        resolved.truncate(length);
        if (!resolved.endsWith(" (deleted)")) {
            return resolved;
        }
    }
    return realPath(path).value_or(path);
}

QByteArray parentOf(const QByteArray &path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

// In UTC: a date in local time consults the time zone files at every use,
// twice for every file of a copy.
QDateTime dateFrom(const statx_timestamp &time) {
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000,
                                          Qt::UTC);
}

QDateTime dateFrom(const timespec &time) {
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000,
                                          Qt::UTC);
}

std::shared_ptr<ZKFileSystemReader> childReader(const QUrl &url) {
    return std::make_shared<ZKFileSystemReader>(url, ZKFileSystemReader::DeferredBookmark);
}

std::shared_ptr<ZKFileSystemReader> uncopyableReader(const QUrl &url, const QString &reason) {
    return std::make_shared<ZKFileSystemReader>(url, reason, ZKFileSystemReader::Uncopyable);
}

// A folder the walk is in.
struct Level {
    DIR *directory = nullptr;
    QByteArray path;
    // Whether the mode of an item here tells its owner all there is to know
    // about access, and who that owner would be; asked once, when first
    // needed (-1 until then).
    int modeDecidesForOwner = -1;
    uid_t self = 0;
};

// A walk that keeps only the folders on the way down open, so that its memory
// does not grow with the size of the tree.
struct WalkEntry {
    Level *level = nullptr; // the folder it is in
    QByteArray parent;
    QByteArray path;
    QByteArray name;
    int parentFd = -1;
    int statError = 0; // errno of a failed lstat; status is then undefined
    // False for a plain file known from the folder's listing alone: status
    // then holds its type and nothing else.
    bool statusKnown = true;
    struct stat status {};
};

enum class WalkStep { Descend, Prune, Stop, Fail };
enum class WalkEnd { Finished, Stopped, Failed };

// Where the owner's bits of the mode are the kernel's whole answer (a local
// file system keeps any other rules in an ACL, which never narrows the
// owner's), an owner who may read an item by its mode may read it: asking
// the kernel again would cost a call for nearly every item of a walk. Any
// other answer, and any other file system (whose server or daemon may
// decide otherwise), is left to the kernel.
bool ownerMayRead(const WalkEntry &entry) {
    const mode_t mode = entry.status.st_mode;
    if (!entry.statusKnown || !(mode & S_IRUSR) || !(S_ISREG(mode) || S_ISDIR(mode))) {
        return false;
    }
    Level &level = *entry.level;
    if (level.modeDecidesForOwner < 0) {
        struct statfs system {};
        level.modeDecidesForOwner =
            ::fstatfs(::dirfd(level.directory), &system) == 0 &&
            (system.f_type == TMPFS_MAGIC || system.f_type == EXT4_SUPER_MAGIC ||
             system.f_type == XFS_SUPER_MAGIC || system.f_type == BTRFS_SUPER_MAGIC);
        // The effective user the kernel would ask for; not kept beyond the
        // folder, as a process may change it.
        level.self = ::geteuid();
    }
    return level.modeDecidesForOwner == 1 && entry.status.st_uid == level.self;
}

// Failures to open a folder that only mean "this folder cannot be read" or "it
// went away"; the walk passes over them. Anything else (no descriptors left,
// an I/O error) would leave part of the tree unseen and ends the walk.
bool isUnreadableFolder(int number) {
    return number == EACCES || number == EPERM || number == ENOENT || number == ENOTDIR ||
           number == ELOOP;
}

// rootFolder: a handle of the root, which is then listed without its path
// being looked up again; -1 to open the root by its path.
template <typename Visit>
WalkEnd walkTree(const QByteArray &root, int rootFolder, QByteArrayList &chain, Visit visit,
                 QByteArray *failedPath, int *failedErrno, bool typeOfFilesSuffices = false) {
    const qsizetype chainBase = chain.size();
    std::vector<Level> levels;
    auto finish = [&](WalkEnd end) {
        for (Level &level : levels) {
            ::closedir(level.directory);
        }
        chain.resize(chainBase);
        return end;
    };
    auto fail = [&](const QByteArray &path, int number) {
        *failedPath = path;
        *failedErrno = number;
        return finish(WalkEnd::Failed);
    };

    // Its own descriptor: a listing has a position of its own.
    const int rootFd = rootFolder >= 0
                           ? ::openat(rootFolder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                           : ::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (rootFd < 0) {
        const int number = errno;
        if (isUnreadableFolder(number)) {
            qCInfo(lcEndpoints) << "Skipping unreadable folder" << root << errnoText(number);
            return WalkEnd::Finished;
        }
        return fail(root, number);
    }
    DIR *rootDirectory = ::fdopendir(rootFd);
    if (!rootDirectory) {
        const int number = errno;
        ::close(rootFd);
        return fail(root, number);
    }
    levels.push_back({rootDirectory, root});
    chain.append(realPathOfOpenFolder(rootFd, root));

    WalkEntry entry;
    while (!levels.empty()) {
        DIR *directory = levels.back().directory;
        errno = 0;
        const dirent *item = ::readdir(directory);
        if (!item) {
            if (errno != 0) {
                return fail(levels.back().path, errno);
            }
            ::closedir(directory);
            levels.pop_back();
            chain.removeLast();
            continue;
        }
        const char *name = item->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) {
            continue;
        }
        entry.name = QByteArray(name);
        entry.parent = levels.back().path;
        entry.path = joinPath(entry.parent, entry.name);
        entry.level = &levels.back();
        entry.parentFd = ::dirfd(directory);
        entry.statError = 0;
        entry.statusKnown = !typeOfFilesSuffices || item->d_type != DT_REG;
        if (!entry.statusKnown) {
            entry.status = {};
            entry.status.st_mode = S_IFREG;
        } else if (::fstatat(entry.parentFd, name, &entry.status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno == ENOENT) {
                continue; // removed while we walk: nothing left to miss
            }
            entry.statError = errno;
        }

        switch (visit(entry)) {
        case WalkStep::Stop:
            return finish(WalkEnd::Stopped);
        case WalkStep::Fail:
            return finish(WalkEnd::Failed);
        case WalkStep::Prune:
            continue;
        case WalkStep::Descend:
            break;
        }
        if (entry.statError != 0 || !S_ISDIR(entry.status.st_mode)) {
            continue;
        }
        // O_NOFOLLOW: a folder replaced by a link meanwhile is not entered.
        const int fd =
            ::openat(entry.parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            const int number = errno;
            if (isUnreadableFolder(number)) {
                qCInfo(lcEndpoints)
                    << "Skipping unreadable folder" << entry.path << errnoText(number);
                continue;
            }
            return fail(entry.path, number);
        }
        DIR *child = ::fdopendir(fd);
        if (!child) {
            const int number = errno;
            ::close(fd);
            return fail(entry.path, number);
        }
        const QByteArray realChild = joinPath(chain.last(), entry.name);
        levels.push_back({child, entry.path});
        chain.append(realChild);
    }
    return finish(WalkEnd::Finished);
}

} // namespace

std::shared_ptr<ZKFileSystemReader> ZKFileSystemReader::readerWithUrl(const QUrl &url) {
    return std::make_shared<ZKFileSystemReader>(url);
}

QUrl ZKFileSystemReader::urlOfPath(const QString &path) {
    // Only a path that begins with two slashes names a host, and only a '%'
    // reads differently to a decoded and a tolerant path.
    if (path.size() < 2 || path.at(0) != QLatin1Char('/') || path.at(1) == QLatin1Char('/') ||
        path.contains(QLatin1Char('%'))) {
        return QUrl::fromLocalFile(path);
    }
    static const QUrl file = QUrl::fromLocalFile(QStringLiteral("/"));
    QUrl url = file;
    url.setPath(path, QUrl::TolerantMode);
    return url;
}

ZKFileSystemReader::ZKFileSystemReader(const QUrl &url) {
    setUrlAndFilename(url);
    if (m_url.isLocalFile()) {
        m_bookmark = ZKBookmark::create(m_url.toLocalFile());
        // Written in growing steps: kept by every waiting task, the room left
        // over would cost a third of it again.
        m_bookmark.squeeze();
    }
}

ZKFileSystemReader::ZKFileSystemReader(const QUrl &url, Deferred)
    : m_bookmarkDeferred(true) {
    setUrlAndFilename(url);
}

ZKFileSystemReader::ZKFileSystemReader(const QVariantMap &propertyList) {
    const QString path = propertyList.value(pathKey).toString();
    setUrlAndFilename(path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path));
    m_bookmark = propertyList.value(bookmarkKey).toByteArray();
}

ZKFileSystemReader::ZKFileSystemReader(const QUrl &url, const QString &skipReason, UncopyableTag)
    : m_bookmarkDeferred(true) {
    setUrlAndFilename(url);
    rare().skipReason = skipReason;
    markUncopyable();
}

ZKFileSystemReader::~ZKFileSystemReader() {
    closeHandle();
    delete m_rare.load();
}

void ZKFileSystemReader::setUrlAndFilename(const QUrl &url) {
    // "/a/b/" and "/a/b" are one item; the slash would also hide the name.
    m_url = url.path() == QLatin1String("/") ? url : url.adjusted(QUrl::StripTrailingSlash);
    // Another path: the folder it was found in may no longer hold it.
    if (Rare *kept = rareIfAny()) {
        kept->folder.reset();
        kept->nameInFolder.clear();
        kept->filename.clear();
    }
}

ZKFileSystemReader::Rare &ZKFileSystemReader::rare() {
    return madeOnFirstNeed(m_rare);
}

ZKFileSystemReader::OpenItem &ZKFileSystemReader::openItem() {
    if (!m_open) {
        m_open = std::make_unique<OpenItem>();
    }
    return *m_open;
}

// Not where the url changes: the window's thread may change it (following a
// bookmark) while a step runs, and the step's part is the step's alone.
void ZKFileSystemReader::takePath(OpenItem &step) const {
    if (step.path.isEmpty() || step.pathOf != m_url) {
        step.path = QFile::encodeName(m_url.toLocalFile());
        step.pathOf = m_url;
        step.urlFromPath = false;
    }
}

void ZKFileSystemReader::setFolder(const std::weak_ptr<ZKFolderHandle> &folder,
                                   const QByteArray &name) {
    // Without a name it is looked up by its path: nothing to keep.
    if (name.isEmpty() && !rareIfAny()) {
        return;
    }
    Rare &kept = rare();
    kept.folder = folder;
    kept.nameInFolder = name;
}

QByteArray ZKFileSystemReader::resolvedPath() const {
    const QByteArray path = encodedPath();
    const int folder = folderDescriptor();
    return folder >= 0 ? realPathOfOpenFolder(folder, path) : realPath(path).value_or(QByteArray());
}

QString ZKFileSystemReader::filename() const {
    const Rare *kept = rareIfAny();
    return kept && !kept->filename.isEmpty() ? kept->filename : m_url.fileName();
}

ZKFolderHandle::Place ZKFileSystemReader::place() const {
    static const std::weak_ptr<ZKFolderHandle> none;
    const Rare *kept = rareIfAny();
    return kept ? ZKFolderHandle::Place(kept->folder, kept->nameInFolder, encodedPath())
                : ZKFolderHandle::Place(none, QByteArray(), encodedPath());
}

// Found inside this folder, and while it is open looked up in it, by name.
// Made by the thousand in a walk: what a plain name and its path already say
// is not worked out of the url again.
std::shared_ptr<ZKFileSystemReader> ZKFileSystemReader::child(const QByteArray &name) const {
    const QByteArray path = joinPath(encodedPath(), name);
    if (!ZKFolderHandle::isPlainName(name)) {
        return childReader(urlForPath(path));
    }
    std::shared_ptr<ZKFileSystemReader> item = childReader(QUrl());
    const bool walked = m_open && m_open->walkedPath == path;
    item->m_url = walked ? m_open->walkedUrl : urlForPath(path);
    // Opened next, most likely: its step finds the path worked out already.
    OpenItem &step = item->openItem();
    step.path = path;
    step.pathOf = item->m_url;
    step.urlFromPath = true;
    if (m_open && m_open->folderHandle) {
        item->setFolder(m_open->folderHandle, name);
    }
    return item;
}

QVariantMap ZKFileSystemReader::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("FileSystemReader"));
    propertyList.insert(pathKey, m_url.toLocalFile());
    const QByteArray bookmark =
        m_bookmarkDeferred ? ZKBookmark::create(m_url.toLocalFile()) : m_bookmark;
    if (!bookmark.isEmpty()) {
        propertyList.insert(bookmarkKey, bookmark);
    }
    return propertyList;
}

QByteArray ZKFileSystemReader::encodedPath() const {
    if (m_open && !m_open->path.isEmpty()) {
        return m_open->path;
    }
    return QFile::encodeName(m_url.toLocalFile());
}

void ZKFileSystemReader::acquireBookmark() {
    if (m_startedAccessing) {
        return;
    }
    if (m_bookmark.isEmpty()) {
        return;
    }
    QString failure;
    const std::optional<QString> resolved = ZKBookmark::resolve(m_bookmark, &failure);
    if (!resolved) {
        qCWarning(lcEndpoints).noquote()
            << QStringLiteral("Error while acquiring bookmark for %1: %2")
                   .arg(m_url.toLocalFile(), failure);
        return;
    }
    const QUrl bookmarkUrl = QUrl::fromLocalFile(*resolved);
    m_startedAccessing = true;

    if (resolved->isEmpty() || bookmarkUrl == m_url) {
        return;
    }
    // A link keeps its own path: the bookmark names the link, and following a
    // renamed link would not be what the user queued either.
    struct stat status {};
    const QByteArray path = encodedPath();
    const bool isLinkHere = ::lstat(path.constData(), &status) == 0 && S_ISLNK(status.st_mode);
    if (isLinkHere) {
        rare().bookmarkUrl = bookmarkUrl;
    } else {
        qCInfo(lcEndpoints) << "Following" << m_url.toLocalFile() << "to" << *resolved;
        setUrlAndFilename(bookmarkUrl);
    }
}

void ZKFileSystemReader::releaseBookmark() {
    m_startedAccessing = false;
    if (Rare *kept = rareIfAny()) {
        kept->bookmarkUrl.clear();
    }
}

QUrl ZKFileSystemReader::urlForPasteboard() {
    acquireBookmark();
    // Without a bookmark there is nothing to resolve: the path is the best we
    // know. A bookmark that led elsewhere was followed, but for a link.
    const Rare *kept = rareIfAny();
    return kept && !kept->bookmarkUrl.isEmpty() ? kept->bookmarkUrl : m_url;
}

QString ZKFileSystemReader::icon() const {
    // Not from a step's cache: the window asks while a step may end.
    const QByteArray path = QFile::encodeName(m_url.toLocalFile());
    struct stat status {};
    if (!path.isEmpty() && ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode)) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase()
        .mimeTypeForFile(m_url.toLocalFile(), QMimeDatabase::MatchExtension)
        .iconName();
}

void ZKFileSystemReader::resetAttributes() {
    m_exists = false;
    m_size = 0;
    m_creationDate = QDateTime();
    m_modificationDate = QDateTime();
    m_permissions = 0;
    m_owner = 0;
    m_group = 0;
    m_isImmutable = false;
    m_isDirectory = false;
    m_isLink = false;
    if (Rare *kept = rareIfAny()) {
        kept->linkTarget.clear();
    }
}

// What the walk saw is all there is: the url may not even be a path. It exists,
// and no file can have its size, so that nothing found at a destination under
// the same name passes for its copy.
void ZKFileSystemReader::markUncopyable() {
    resetAttributes();
    m_exists = true;
    m_size = uncopyableSize;
}

// Ends what the open item held; the path worked out for the step stays
// until close().
void ZKFileSystemReader::closeHandle() {
    if (!m_open) {
        return;
    }
    if (m_open->fd >= 0) {
        ::close(m_open->fd);
        m_open->fd = -1;
    }
    m_open->folderHandle.reset();
    m_open->offset = 0;
    m_open->generation.reset();
    m_open->identity.clear();
}

bool ZKFileSystemReader::open() {
    const bool opened = openItemNow();
    if (!opened) {
        // Nothing of a failed open is needed any more.
        closeHandle();
        m_open.reset();
    }
    return opened;
}

bool ZKFileSystemReader::openItemNow() {
    if (const QString reason = skipReason(); !reason.isEmpty()) {
        closeHandle();
        markUncopyable();
        setError(ZKError::application(ZKErrorCode::readFailed, reason));
        return false;
    }
    closeHandle();
    resetAttributes();
    const unsigned int wanted = STATX_BASIC_STATS | STATX_BTIME;
    OpenItem &step = openItem();
    takePath(step);
    // A path that ends in "/" after the url lost its last slash has no name.
    const auto named = [this] {
        const QByteArray path = encodedPath();
        return m_url.isLocalFile() && !path.isEmpty() && !path.endsWith('/');
    };
    if (named() && openAsBookmarked(wanted)) {
        return true;
    }
    acquireBookmark();
    takePath(step);

    if (!named()) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::InvalidFilePath, {m_url.toString()}));
        return false;
    }
    int openErrno = 0;
    if (openDirectly(wanted, &openErrno)) {
        return true;
    }
    // For the messages of the rarer cases only.
    const QString path = m_url.toLocalFile();
    if (openErrno == ENOENT) {
        // Nothing under that name, which a look by path would only confirm:
        // the usual answer for a copy that is not there yet.
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToDetermineSize,
                                         {path, errnoText(openErrno)}));
        return false;
    }

    const ZKFolderHandle::Place item = place();
    struct statx attributes {};
    if (::statx(item.folder(), item.name(), AT_SYMLINK_NOFOLLOW, wanted, &attributes) != 0) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToDetermineSize,
                                         {path, errnoText(errno)}));
        return false;
    }
    m_exists = true;

    if (S_ISLNK(attributes.stx_mode)) {
        m_isLink = true;
        QByteArray target(PATH_MAX, Qt::Uninitialized);
        const ssize_t length =
            ::readlinkat(item.folder(), item.name(), target.data(), size_t(target.size()));
        if (length < 0) {
            setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToResolveLink,
                                             {path, errnoText(errno)}));
            return false;
        }
        target.truncate(length);
        rare().linkTarget = QFile::decodeName(target);
        // The kernel resolves the target relative to the link's folder, link by
        // link; a dangling link keeps its own attributes.
        struct statx targetAttributes {};
        if (::statx(item.folder(), item.name(), 0, wanted, &targetAttributes) == 0) {
            attributes = targetAttributes;
        }
    }

    takeAttributes(attributes);
    if (m_isDirectory) {
        m_size = 0;
        return true;
    }

    // O_NONBLOCK: a FIFO put here meanwhile must not hang the open.
    const int fd = ::openat(item.folder(), item.name(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToOpen, {path, errnoText(errno)}));
        return false;
    }
    struct stat opened {};
    if (::fstat(fd, &opened) != 0) {
        const int number = errno;
        ::close(fd);
        setError(
            ZKEndpointErrors::error(ZKEndpointErrors::UnableToOpen, {path, errnoText(number)}));
        return false;
    }
    if (!S_ISREG(opened.st_mode)) {
        // A FIFO, socket or device has no size to copy; reading it would
        // either block or produce an empty copy without saying so.
        ::close(fd);
        setError(ZKEndpointErrors::error(ZKEndpointErrors::NotRegularFile, {path}));
        return false;
    }
    // O_NONBLOCK stays: it changes nothing for a regular file.
    step.fd = fd;
    step.offset = 0;
    // The size of the file actually opened: what hasMoreData measures against.
    m_size = quint64(opened.st_size);
    step.openedSize = m_size;
    step.openedModification = opened.st_mtim;
    step.openedDevice = quint64(opened.st_dev);
    step.openedInode = quint64(opened.st_ino);
    return true;
}

// The item still where its bookmark says, opened and checked as one: the
// descriptor's own device and inode answer what resolving the bookmark by path
// would. Anything else (no bookmark, a link, another file in its place, a
// source given another name) is left to the bookmark to sort out.
bool ZKFileSystemReader::openAsBookmarked(unsigned int wanted) {
    if (m_startedAccessing || m_bookmark.isEmpty()) {
        return false;
    }
    int openErrno = 0;
    if (openDirectly(wanted, &openErrno) &&
        ZKBookmark::names(m_bookmark, m_open->openedDevice, m_open->openedInode)) {
        m_startedAccessing = true;
        return true;
    }
    closeHandle();
    resetAttributes();
    return false;
}

void ZKFileSystemReader::takeAttributes(const struct statx &attributes) {
    m_isDirectory = S_ISDIR(attributes.stx_mode);
    m_size = attributes.stx_size;
    if (attributes.stx_mask & STATX_BTIME) {
        m_creationDate = dateFrom(attributes.stx_btime);
    }
    m_modificationDate = dateFrom(attributes.stx_mtime);
    m_permissions = quint16(attributes.stx_mode & 07777);
    m_owner = attributes.stx_uid;
    m_group = attributes.stx_gid;
    m_isImmutable = (attributes.stx_attributes_mask & STATX_ATTR_IMMUTABLE) &&
                    (attributes.stx_attributes & STATX_ATTR_IMMUTABLE);
}

// The usual cases in two calls: a regular file that can be read, or a folder,
// with the attributes of the item actually opened. Anything else (a link, a
// file that cannot be opened) is left to the slower look, which says what is
// wrong in the user's words.
bool ZKFileSystemReader::openDirectly(unsigned int wanted, int *openErrno) {
    // O_NONBLOCK: a FIFO put here must not hang the open.
    const ZKFolderHandle::Place item = place();
    const int fd =
        ::openat(item.folder(), item.name(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (fd < 0) {
        *openErrno = errno;
        return false;
    }
    OpenItem &step = openItem();
    struct statx attributes {};
    const bool known = ::statx(fd, "", AT_EMPTY_PATH, wanted, &attributes) == 0;
    if (known) {
        step.openedDevice = quint64(makedev(attributes.stx_dev_major, attributes.stx_dev_minor));
        step.openedInode = attributes.stx_ino;
    }
    if (known && S_ISREG(attributes.stx_mode)) {
        m_exists = true;
        takeAttributes(attributes);
        step.fd = fd;
        step.offset = 0;
        step.openedSize = attributes.stx_size;
        step.openedModification = {attributes.stx_mtime.tv_sec, attributes.stx_mtime.tv_nsec};
        return true;
    }
    if (known && S_ISDIR(attributes.stx_mode)) {
        m_exists = true;
        takeAttributes(attributes);
        m_size = 0;
        // Kept while the folder is open: what is inside is looked up in it.
        step.folderHandle = ZKFolderHandle::adopt(fd);
        return true;
    }
    ::close(fd);
    return false;
}

// The end of a step: nothing of it stays with a reader that waits.
void ZKFileSystemReader::close() {
    closeHandle();
    m_open.reset();
    releaseBookmark();
}

bool ZKFileSystemReader::hasMoreData() const {
    return m_open && m_open->fd >= 0 && m_open->offset < m_size;
}

bool ZKFileSystemReader::hasChanged() const {
    struct stat now {};
    if (!m_open || m_open->fd < 0 || ::fstat(m_open->fd, &now) != 0) {
        return false;
    }
    return quint64(now.st_size) != m_open->openedSize ||
           now.st_mtim.tv_sec != m_open->openedModification.tv_sec ||
           now.st_mtim.tv_nsec != m_open->openedModification.tv_nsec;
}

// What the file was when opened: the same for as long as it stays open.
std::optional<ZKFileSystemReader::Version> ZKFileSystemReader::currentVersion() const {
    if (!m_open || m_open->fd < 0) {
        return std::nullopt;
    }
    if (!m_open->generation) {
        m_open->generation = ZKInodeGeneration::ofOpenFile(m_open->fd, m_open->openedDevice);
    }
    const std::optional<quint32> generation = *m_open->generation;
    return Version{m_url,
                   m_open->openedSize,
                   m_open->openedDevice,
                   m_open->openedInode,
                   qint64(m_open->openedModification.tv_sec),
                   qint32(m_open->openedModification.tv_nsec),
                   generation.value_or(0),
                   generation.has_value()};
}

void ZKFileSystemReader::acceptCurrentVersion() {
    const std::optional<Version> version = currentVersion();
    if (!version) {
        m_begunVersion.reset();
    } else if (m_begunVersion) {
        *m_begunVersion = *version;
    } else {
        m_begunVersion = std::make_unique<Version>(*version);
    }
}

bool ZKFileSystemReader::isBegunVersion() const {
    return m_begunVersion && *m_begunVersion == currentVersion();
}

QByteArray ZKFileSystemReader::identity() const {
    if (!m_open || !m_open->identity.isEmpty()) {
        return m_open ? m_open->identity : QByteArray();
    }
    const std::optional<Version> version = currentVersion();
    if (!version) {
        return {};
    }
    // The date in nanoseconds and the inode's generation tell a file
    // rewritten in place, or a new one on a reused inode, from the old.
    // One text of all of them, which the identity takes as it would the
    // lines one by one.
    QByteArray lines;
    lines.reserve(128);
    const auto number = [&lines](auto value) {
        char digits[24];
        lines.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr - digits);
    };
    lines.append("dev ");
    number(version->device);
    lines.append("\nino ");
    number(version->inode);
    lines.append("\nmtime ");
    number(version->modifiedSeconds);
    lines.append('.');
    number(version->modifiedNanoseconds);
    if (version->hasGeneration) {
        // As a signed number, as identities kept by earlier versions say it.
        lines.append("\ngen ");
        number(qint32(version->generation));
    }
    const QByteArrayList validators{lines};
    QByteArray encoded;
    if (m_open->urlFromPath && m_open->pathOf == version->url) {
        encoded = encodedUrlOfPath(m_open->path);
    }
    m_open->identity = encoded.isEmpty()
                           ? ZKPartialFile::identity(version->url, version->size, validators)
                           : ZKPartialFile::identity(std::move(encoded), version->size, validators);
    return m_open->identity;
}

std::optional<QByteArray> ZKFileSystemReader::provenance() const {
    QByteArray value(4096, Qt::Uninitialized);
    const int fd = descriptor();
    const ssize_t length =
        fd >= 0 ? ::fgetxattr(fd, ZKPartialFile::provenanceAttribute, value.data(),
                              size_t(value.size()))
                : ::lgetxattr(encodedPath().constData(), ZKPartialFile::provenanceAttribute,
                              value.data(), size_t(value.size()));
    if (length >= 0) {
        value.truncate(length);
        return value;
    }
    if (errno == ENOTSUP) {
        return std::nullopt;
    }
    return QByteArray(); // none kept (ENODATA), or too large to be ours
}

QByteArray ZKFileSystemReader::readBlock() {
    return readBlockOfLength(standardBlockSize);
}

QByteArray ZKFileSystemReader::readBlockOfMaximumLength(quint64 length) {
    return length < standardBlockSize ? readBlockOfLength(length) : readBlock();
}

QByteArray ZKFileSystemReader::readBlockOfLength(quint64 length) {
    if (!m_open || m_open->fd < 0) {
        return {};
    }
    const int fd = m_open->fd;
    quint64 &offset = m_open->offset;
    // Never past the size seen by open: a file that grows meanwhile would
    // otherwise keep the copy going for ever.
    const quint64 wanted = offset < m_size ? qMin(length, m_size - offset) : 0;
    if (wanted == 0) {
        return {};
    }
    // Named only in an error: a block read is no place to make a text.
    if (wanted > quint64(std::numeric_limits<qsizetype>::max())) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::BlockTooLarge, {m_url.toLocalFile()}));
        return {};
    }
    QByteArray data(qsizetype(wanted), Qt::Uninitialized);
    quint64 done = 0;
    while (done < wanted) {
        const ssize_t count = ::read(fd, data.data() + done, size_t(wanted - done));
        if (count < 0) {
            const int number = errno;
            if (number == EINTR) {
                continue;
            }
            setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToReadFrom,
                                             {m_url.toLocalFile(), errnoText(number)}));
            return {};
        }
        if (count == 0) {
            setError(ZKEndpointErrors::error(
                ZKEndpointErrors::FileBecameShorter,
                {m_url.toLocalFile(), QString::number(m_size), QString::number(offset + done)}));
            return {};
        }
        done += quint64(count);
    }
    offset += done;
    return data;
}

bool ZKFileSystemReader::seekToPosition(quint64 position) {
    if (!m_open || m_open->fd < 0 || position > quint64(std::numeric_limits<off_t>::max())) {
        return false;
    }
    if (::lseek(m_open->fd, off_t(position), SEEK_SET) < 0) {
        const int number = errno;
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToReadFrom,
                                         {m_url.toLocalFile(), errnoText(number)}));
        return false;
    }
    m_open->offset = position;
    return true;
}

ZKEnumerationResult
ZKFileSystemReader::enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) {
    if (!m_isDirectory) {
        return ZKEnumerationResultContinue;
    }
    const QByteArray path = encodedPath();
    const int folder = folderDescriptor();
    const int listed = folder >= 0 ? ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                                   : ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *directory = listed >= 0 ? ::fdopendir(listed) : nullptr;
    if (!directory) {
        const int number = errno;
        if (listed >= 0) {
            ::close(listed);
        }
        qCInfo(lcEndpoints) << "Skipping unreadable folder" << path << errnoText(number);
        return ZKEnumerationResultContinue;
    }
    const int folderFd = ::dirfd(directory);
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    while (const dirent *item = ::readdir(directory)) {
        const QByteArray name(item->d_name);
        if (name == "." || name == "..") {
            continue;
        }
        // An item that cannot be copied is still handed over, as one that
        // exists and cannot be opened: whoever compares this folder with its
        // copy must see that it is missing there.
        unsigned char type = item->d_type;
        struct stat status {};
        if (type == DT_UNKNOWN &&
            ::fstatat(folderFd, name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            type = IFTODT(status.st_mode);
        }
        const bool special = type == DT_FIFO || type == DT_SOCK || type == DT_CHR || type == DT_BLK;
        std::shared_ptr<ZKFileSystemReader> child;
        if (!isRepresentable(name)) {
            child =
                uncopyableReader(standInUrl(folderFd, path, name), invalidNameReason(path, name));
        } else if (special) {
            const QByteArray childPath = joinPath(path, name);
            child = uncopyableReader(urlForPath(childPath), notCopyableReason(childPath));
        } else {
            child = this->child(name);
        }
        result = block(child);
        if (result == ZKEnumerationResultStop) {
            break;
        }
    }
    ::closedir(directory);
    return result;
}

ZKEnumerationResult ZKFileSystemReader::enumerateFileInfoWithBlock(const FileInfoBlock &block) {
    if (!m_isDirectory) {
        return ZKEnumerationResultContinue;
    }
    clearError();
    QByteArrayList chain;
    return walkFileInfo(encodedPath(), folderDescriptor(), chain, block);
}

ZKEnumerationResult ZKFileSystemReader::walkFileInfo(const QByteArray &root, int rootFolder,
                                                     QByteArrayList &chain,
                                                     const FileInfoBlock &block) {
    ZKEnumerationResult last = ZKEnumerationResultContinue;
    auto attributesError = [this](const QByteArray &path, const QString &reason) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::UnableToDetermineSize,
                                         {QFile::decodeName(path), reason}));
        return WalkStep::Fail;
    };
    auto visit = [&](const WalkEntry &entry) -> WalkStep {
        if (entry.statError != 0) {
            return attributesError(entry.path, errnoText(entry.statError));
        }
        const mode_t mode = entry.status.st_mode;
        const int accessFlags = AT_EACCESS | (S_ISLNK(mode) ? AT_SYMLINK_NOFOLLOW : 0);
        const char *name = entry.name.constData();

        ZKFileInfo info;
        info.directory = S_ISDIR(mode);
        info.symbolicLink = S_ISLNK(mode);
        info.size = S_ISREG(mode) ? quint64(entry.status.st_size) : 0;
        if (entry.statusKnown) {
            info.modificationDate = dateFrom(entry.status.st_mtim);
        }
        // Reported, never copied, and the walk goes on: one such item must
        // not keep the rest of the folder from being copied.
        if (!isRepresentable(entry.name)) {
            info.url = standInUrl(entry.parentFd, entry.parent, entry.name);
            info.skipReason = invalidNameReason(entry.parent, entry.name);
        } else {
            info.url = urlForPath(entry.path);
            if (!isCopyableType(mode)) {
                info.skipReason = notCopyableReason(entry.path);
            } else if (m_open) {
                m_open->walkedPath = entry.path;
                m_open->walkedUrl = info.url;
            }
        }
        if (info.skipReason.isEmpty()) {
            const int checks = walkAccessChecks();
            info.readable =
                (checks & ReadAccessCheck) &&
                (ownerMayRead(entry) || ::faccessat(entry.parentFd, name, R_OK, accessFlags) == 0);
            info.writable = (checks & WriteAccessCheck) &&
                            ::faccessat(entry.parentFd, name, W_OK, accessFlags) == 0;
        }

        QByteArray stored;
        if (info.symbolicLink && info.skipReason.isEmpty()) {
            stored.resize(PATH_MAX);
            const ssize_t length = ::readlinkat(entry.parentFd, name, stored.data(), stored.size());
            stored.truncate(qMax<ssize_t>(length, 0));
            // Recreated from a lossy text, the link would point elsewhere.
            if (!isRepresentable(stored)) {
                info.skipReason = invalidTargetReason(entry.path);
                info.readable = false;
                info.writable = false;
            }
        }
        if (info.symbolicLink && info.skipReason.isEmpty()) {
            const std::optional<QByteArray> target = realPath(entry.path);
            struct stat targetStatus {};
            if (!target) {
                // Dangling: say where it points, as far as that can be told.
                if (!stored.isEmpty()) {
                    const QByteArray base =
                        realPath(parentOf(entry.path)).value_or(parentOf(entry.path));
                    const QByteArray joined =
                        stored.startsWith('/') ? stored : joinPath(base, stored);
                    info.targetUrl =
                        QUrl::fromLocalFile(QDir::cleanPath(QFile::decodeName(joined)));
                }
            } else if (!isRepresentable(*target)) {
                info.skipReason = invalidTargetReason(entry.path);
                info.readable = false;
                info.writable = false;
            } else if (::stat(target->constData(), &targetStatus) == 0) {
                info.targetUrl = urlForPath(*target);
                info.directory = S_ISDIR(targetStatus.st_mode);
                // Like open(): a link that leads somewhere has its target's date.
                info.modificationDate = dateFrom(targetStatus.st_mtim);
                if (!info.directory) {
                    info.size = quint64(targetStatus.st_size);
                } else if (!wouldLoop(*target, chain)) {
                    // The target's contents come before the link itself.
                    const ZKEnumerationResult nested = walkFileInfo(*target, -1, chain, block);
                    if (error()) {
                        return WalkStep::Fail;
                    }
                    last = nested;
                    if (nested == ZKEnumerationResultStop) {
                        return WalkStep::Stop;
                    }
                } else {
                    qCInfo(lcEndpoints)
                        << "Not following" << entry.path << "into" << *target << "which holds it";
                }
            } else {
                info.targetUrl = urlForPath(*target);
            }
        }

        last = block(info);
        if (last == ZKEnumerationResultStop) {
            return WalkStep::Stop;
        }
        // Below a name that cannot be represented, no path can be either.
        if (!info.skipReason.isEmpty() || (last == ZKEnumerationResultSkip && info.directory)) {
            return WalkStep::Prune;
        }
        return WalkStep::Descend;
    };

    QByteArray failedPath;
    int failedErrno = 0;
    const WalkEnd end = walkTree(root, rootFolder, chain, visit, &failedPath, &failedErrno,
                                 !walkReportsFileStatus());
    if (end == WalkEnd::Failed && !error()) {
        attributesError(failedPath, errnoText(failedErrno));
    }
    return last;
}

quint64 ZKFileSystemReader::calculateDirectorySizeFollowingLinks(bool followLinks,
                                                                 const NameBlock &block) {
    if (!m_isDirectory) {
        return 0;
    }
    QByteArrayList chain;
    bool stopped = false;
    return sizeOfTree(encodedPath(), folderDescriptor(), chain, followLinks, block, &stopped);
}

quint64 ZKFileSystemReader::sizeOfTree(const QByteArray &root, int rootFolder,
                                       QByteArrayList &chain, bool followLinks,
                                       const NameBlock &block, bool *stopped) {
    quint64 total = 0;
    auto visit = [&](const WalkEntry &entry) -> WalkStep {
        if (entry.statError != 0) {
            return WalkStep::Prune; // a count is an estimate; pass over it
        }
        if (block) {
            const ZKEnumerationResult result = block(QFile::decodeName(entry.name));
            if (result == ZKEnumerationResultStop) {
                *stopped = true;
                return WalkStep::Stop;
            }
            if (result == ZKEnumerationResultSkip) {
                return WalkStep::Prune;
            }
        }
        const mode_t mode = entry.status.st_mode;
        if (S_ISLNK(mode)) {
            if (!followLinks) {
                return WalkStep::Descend;
            }
            struct stat target {};
            if (::stat(entry.path.constData(), &target) != 0) {
                return WalkStep::Descend; // dangling
            }
            if (S_ISREG(target.st_mode)) {
                total += quint64(target.st_size);
            } else if (S_ISDIR(target.st_mode)) {
                const std::optional<QByteArray> real = realPath(entry.path);
                if (real && !wouldLoop(*real, chain)) {
                    total += sizeOfTree(*real, -1, chain, followLinks, block, stopped);
                    if (*stopped) {
                        return WalkStep::Stop;
                    }
                }
            }
        } else if (S_ISREG(mode)) {
            total += quint64(entry.status.st_size);
        }
        return WalkStep::Descend;
    };
    QByteArray failedPath;
    int failedErrno = 0;
    if (walkTree(root, rootFolder, chain, visit, &failedPath, &failedErrno) == WalkEnd::Failed) {
        qCWarning(lcEndpoints) << "Size count incomplete at" << failedPath
                               << errnoText(failedErrno);
    }
    return total;
}

std::optional<ZKFileInfo> ZKFileSystemReader::fileInfoForChild(const QString &name) {
    if (!m_isDirectory || error() || name.isEmpty()) {
        return std::nullopt;
    }
    const QByteArray path = encodedPath();
    const QByteArray encodedName = QFile::encodeName(name);
    const QByteArray childPath = joinPath(path, encodedName);
    const ZKFolderHandle::Place item(m_open ? m_open->folderHandle : nullptr, encodedName,
                                     childPath);
    struct stat status {};
    if (::fstatat(item.folder(), item.name(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    ZKFileInfo info;
    info.url = urlForPath(childPath);
    info.directory = S_ISDIR(status.st_mode);
    info.size = S_ISREG(status.st_mode) ? quint64(status.st_size) : 0;
    info.modificationDate = dateFrom(status.st_mtim);
    if (!isCopyableType(status.st_mode)) {
        info.skipReason = notCopyableReason(childPath);
        return info;
    }
    // Deliberately the access rights of this folder, not of the child: the
    // caller asks whether it may replace the child here.
    info.readable = ::access(path.constData(), R_OK) == 0;
    info.writable = ::access(path.constData(), W_OK) == 0;
    if (S_ISLNK(status.st_mode)) {
        info.symbolicLink = true;
        info.size = 0;
        info.targetUrl = urlForPath(realPath(path).value_or(path));
    }
    return info;
}

std::shared_ptr<ZKReader> ZKFileSystemReader::childWithName(const QString &name) {
    if (name.isEmpty() || m_url.isEmpty()) {
        return shared_from_this();
    }
    const QByteArray encodedName = QFile::encodeName(name);
    std::shared_ptr<ZKFileSystemReader> item = child(encodedName);
    // Asked for again and again while it is copied: kept as given, where
    // it is the name the address ends in.
    if (Rare *kept = item->rareIfAny(); kept && name.isValidUtf16()) {
        kept->filename = name;
    }
    return item;
}

std::shared_ptr<ZKWriter> ZKFileSystemReader::asWriter() {
    if (const QString reason = skipReason(); !reason.isEmpty()) {
        // Its url need not be its path: removing through it could remove
        // another item.
        setError(ZKError::application(ZKErrorCode::readFailed, reason));
        return nullptr;
    }
    auto writer = std::make_shared<ZKFileSystemWriter>(m_url, m_isDirectory,
                                                       ZKFileSystemWriter::DeferredBookmark);
    writer->setBookmark(m_bookmark);
    // Removed, say, where it was found: not through a link that took the
    // place of its folder since.
    if (const Rare *kept = rareIfAny()) {
        writer->setFolder(kept->folder, kept->nameInFolder);
    }
    return writer;
}

size_t ZKFileSystemReader::hash() const {
    return qHash(m_url);
}

namespace {

const ZKEndpointRegistration family{{
    {QStringLiteral("file")},
    [](const QUrl &url, const QString &, const std::optional<QString> &) -> ZKReaderPtr {
        return ZKFileSystemReader::readerWithUrl(url);
    },
    [](const QUrl &url, const QString &, const std::optional<QString> &) -> ZKWriterPtr {
        return ZKFileSystemWriter::writerWithDirectory(url);
    },
}};

// Endpoints hand out shared_from_this, so they are made by make_shared.
const ZKPropertyListRegistration savedForm{QStringLiteral("FileSystemReader"),
                                           [](const QVariantMap &dict) {
                                               return std::make_shared<ZKFileSystemReader>(dict);
                                           }};

} // namespace
