// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpWriter.h"

#include "ZKFtpUrl.h"
#include "ZKSftpReader.h"

#include <QMimeDatabase>

namespace {

// Bytes kept in flight. Over a long round trip the rate is what is in
// flight per round trip, so as much as the server's channel window lets
// through (OpenSSH's is 2 MiB, and its openings trail what it took). Close
// by, the server is what limits, and a deeper queue only runs into that
// window, where the library stops sending until the server opens it again.
constexpr qsizetype nearWindow = 1024 * 1024;
constexpr qsizetype farWindow = 1792 * 1024;
constexpr std::chrono::milliseconds farRoundTrip{2};
// The library cuts what it is handed into write requests of this size, and
// a remainder into a short request of its own: handed 64 KiB blocks, it
// would send three requests where two and a bit carry the bytes, and every
// request costs the server a wake-up and an answer.
constexpr qsizetype requestSize = 30000;
constexpr int maximumDepth = 256;

QUrl shaped(const QUrl &url, bool isDirectory) {
    return isDirectory ? ZKFtpUrl::makeDirectoryUrl(url) : url;
}

} // namespace

ZKSftpWriter::ZKSftpWriter(const QUrl &url, bool isDirectory, const QString &username,
                           const std::optional<QString> &password)
    : ZKSftpEndpoint(shaped(url, isDirectory), username, password)
    , m_filename(ZKSftpEndpoint::nameOf(url))
    , m_isDirectory(isDirectory) {}

ZKSftpWriter::ZKSftpWriter(const QUrl &url, bool isDirectory, const ZKSftpEndpoint &parent)
    : ZKSftpEndpoint(shaped(url, isDirectory))
    , m_filename(ZKSftpEndpoint::nameOf(url))
    , m_isDirectory(isDirectory) {
    useAccountOf(parent);
}

ZKSftpWriter::ZKSftpWriter(const QVariantMap &propertyList)
    : ZKSftpWriter(savedUrl(propertyList), ZKFtpUrl::isDirectoryUrl(savedUrl(propertyList))) {}

ZKSftpWriter::~ZKSftpWriter() {
    close();
}

QVariantMap ZKSftpWriter::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("SftpWriter"));
    writeAccount(propertyList);
    return propertyList;
}

QString ZKSftpWriter::icon() const {
    if (m_isDirectory) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase().mimeTypeForFile(m_filename, QMimeDatabase::MatchExtension).iconName();
}

void ZKSftpWriter::setUrl(const QUrl &url) {
    setEndpointUrl(shaped(url, m_isDirectory));
    m_filename = ZKSftpEndpoint::nameOf(url);
}

void ZKSftpWriter::fail(ZKSftpErrors::Message message, const QStringList &arguments) {
    setError(ZKSftpErrors::error(message, arguments));
}

bool ZKSftpWriter::connectForWriting() {
    const QUrl &url = endpointUrl();
    if (!url.isValid() || url.host().isEmpty() || url.scheme() != QLatin1String(scheme)) {
        setError(ZKSftpErrors::error(ZKSftpErrors::InvalidAddress, ZKErrorCode::createFailed,
                                     {url.toString()}));
        return false;
    }
    if (const ZKOptionalError failure = connect(ZKErrorCode::createFailed)) {
        setError(*failure);
        return false;
    }
    return true;
}

// The folder and any missing above it, from the top down, as a local
// destination folder is made.
bool ZKSftpWriter::makeFolders() {
    ZKSftpFailure failure;
    const std::optional<ZKSftpAttributes> found = connection()->attributes(path(), true, &failure);
    if (found && found->exists) {
        if (!found->directory) {
            fail(ZKSftpErrors::NotAFolder, {endpointUrl().path(), shownHost()});
            return false;
        }
        return true;
    }
    const QByteArray full = path();
    const bool absolute = full.startsWith('/');
    const QList<QByteArray> parts = full.split('/');
    QByteArray current = absolute ? QByteArrayLiteral("/") : QByteArray();
    for (const QByteArray &part : parts) {
        if (part.isEmpty() || part == ".") {
            continue;
        }
        if (!current.isEmpty() && !current.endsWith('/')) {
            current += '/';
        }
        current += part;
        ZKSftpFailure step;
        const std::optional<ZKSftpAttributes> there =
            connection()->attributes(current, true, &step);
        if (there && there->exists && there->directory) {
            continue;
        }
        if (!connection()->makeDirectory(current, &step)) {
            fail(ZKSftpErrors::UnableToCreateDirectory,
                 {QString::fromUtf8(current), shownHost(), step.text});
            return false;
        }
    }
    return true;
}

bool ZKSftpWriter::open() {
    close();
    clearError();
    if (!connectForWriting()) {
        return false;
    }
    if (m_isDirectory) {
        return makeFolders();
    }
    // Mostly the file is new: made in one request, which fails where it
    // exists. Only then is it looked at, to continue after its last byte.
    m_size = 0;
    ZKSftpFailure failure;
    auto asked = std::chrono::steady_clock::now();
    m_file = connection()->openFile(path(), ZKSftpConnection::Access::WriteNew, &failure);
    if (m_file) {
        measureWindow(asked);
        return true;
    }
    const std::optional<ZKSftpAttributes> found = connection()->attributes(path(), true, &failure);
    if (!found) {
        fail(ZKSftpErrors::UnableToOpenForWriting,
             {endpointUrl().path(), shownHost(), failure.text});
        return false;
    }
    m_size = found->exists ? found->size : 0;
    asked = std::chrono::steady_clock::now();
    m_file = connection()->openFile(path(), ZKSftpConnection::Access::Write, &failure);
    if (!m_file) {
        fail(ZKSftpErrors::UnableToOpenForWriting,
             {endpointUrl().path(), shownHost(), failure.text});
        return false;
    }
    measureWindow(asked);
    m_file->seek(m_size);
    return true;
}

void ZKSftpWriter::measureWindow(std::chrono::steady_clock::time_point asked) {
    // The open was one request: its answer took about one round trip.
    m_window = std::chrono::steady_clock::now() - asked >= farRoundTrip ? farWindow : nearWindow;
}

bool ZKSftpWriter::send(bool all) {
    while (m_file) {
        // Whole requests only, as long as the window has room for them; a
        // write that hands over nothing new waits for the next answer.
        const qsizetype room = std::max<qsizetype>(0, m_window - (m_handed - m_acknowledged));
        qsizetype ready = std::min(m_pending.size() - m_handed, room);
        if (!all) {
            ready -= ready % requestSize;
        }
        m_handed += ready;
        const qsizetype inFlight = m_handed - m_acknowledged;
        if (inFlight == 0 || (!all && inFlight + requestSize <= m_window)) {
            break; // done, or room for more than there is yet
        }
        ZKSftpFailure failure;
        const qint64 taken =
            m_file->write(m_pending.constData() + m_acknowledged, quint64(inFlight), &failure);
        if (taken < 0) {
            m_pending.clear();
            m_acknowledged = 0;
            m_handed = 0;
            fail(ZKSftpErrors::UnableToWrite, {endpointUrl().path(), shownHost(), failure.text});
            return false;
        }
        m_acknowledged += qsizetype(taken);
        // Moved down now and then, not at each answer, which would move
        // the whole window each time.
        if (m_acknowledged >= m_window) {
            m_pending.remove(0, m_acknowledged);
            m_handed -= m_acknowledged;
            m_acknowledged = 0;
        }
    }
    return true;
}

bool ZKSftpWriter::appendBlock(const QByteArray &data) {
    if (!m_file) {
        fail(ZKSftpErrors::UnableToWrite,
             {endpointUrl().path(), shownHost(), ZKSftpErrors::text(ZKSftpErrors::ServerFailure)});
        return false;
    }
    m_pending.append(data);
    return send(false);
}

void ZKSftpWriter::close() {
    if (!m_file) {
        return;
    }
    // The date and mode a copy was given go with the close: the server
    // sets them after the last byte, and nobody waits for them on their own.
    const std::optional<QDateTime> date = std::exchange(m_newModificationDate, std::nullopt);
    const std::optional<quint32> permissions = std::exchange(m_newPermissions, std::nullopt);
    // Only a last piece that fits one request goes with the date: anything
    // longer, or already in flight, is seen through first.
    const bool sent =
        (m_handed == m_acknowledged && m_pending.size() - m_acknowledged <= requestSize) ||
        send(true);
    ZKSftpFailure failure;
    if (!sent) {
        m_file->close(&failure);
        m_file.reset();
        return;
    }
    const bool finished =
        m_file->finish(m_pending.constData() + m_acknowledged,
                       quint64(m_pending.size() - m_acknowledged), date, permissions, &failure);
    m_pending.clear();
    m_acknowledged = 0;
    m_handed = 0;
    if (!finished && !error()) {
        fail(ZKSftpErrors::UnableToWrite, {endpointUrl().path(), shownHost(), failure.text});
    }
    m_file.reset();
}

std::shared_ptr<ZKSftpWriter> ZKSftpWriter::makeChild(const QString &name, bool isDirectory) {
    return std::make_shared<ZKSftpWriter>(ZKFtpUrl::childUrl(endpointUrl(), name, isDirectory),
                                          isDirectory, *this);
}

std::shared_ptr<ZKWriter> ZKSftpWriter::createDirectory(const QString &name) {
    if (!m_isDirectory || !connectForWriting()) {
        if (!error()) {
            fail(ZKSftpErrors::NotAFolder, {endpointUrl().path(), shownHost()});
        }
        return nullptr;
    }
    ZKSftpFailure failure;
    const QByteArray child = childPath(name);
    if (!connection()->makeDirectory(child, &failure)) {
        // One that is there already is taken as it is.
        ZKSftpFailure ignored;
        const std::optional<ZKSftpAttributes> there =
            connection()->attributes(child, true, &ignored);
        if (!there || !there->exists || !there->directory) {
            fail(ZKSftpErrors::UnableToCreateDirectory,
                 {QString::fromUtf8(child), shownHost(), failure.text});
            return nullptr;
        }
    }
    return makeChild(name, true);
}

std::shared_ptr<ZKWriter> ZKSftpWriter::createFile(const QString &name) {
    if (!m_isDirectory) {
        fail(ZKSftpErrors::NotAFolder, {endpointUrl().path(), shownHost()});
        return nullptr;
    }
    return makeChild(name, false);
}

std::shared_ptr<ZKWriter> ZKSftpWriter::createLink(const QString &name, const QString &target) {
    if (!m_isDirectory || !connectForWriting()) {
        return nullptr;
    }
    ZKSftpFailure failure;
    if (!connection()->makeLink(childPath(name), target.toUtf8(), &failure)) {
        fail(ZKSftpErrors::UnableToCreateLink,
             {QString::fromUtf8(childPath(name)), shownHost(), failure.text});
        return nullptr;
    }
    return makeChild(name, false);
}

bool ZKSftpWriter::removeFile(const QString &name) {
    if (!connectForWriting()) {
        return false;
    }
    ZKSftpFailure failure;
    if (!connection()->removeFile(childPath(name), &failure) && !failure.missing) {
        fail(ZKSftpErrors::UnableToRemove,
             {QString::fromUtf8(childPath(name)), shownHost(), failure.text});
        return false;
    }
    return true;
}

bool ZKSftpWriter::renameItem(const QString &from, const QString &to, bool replace) {
    if (!connectForWriting()) {
        return false;
    }
    const QByteArray source = childPath(from);
    const QByteArray target = childPath(to);
    // Tried first, as it mostly works: SFTP's rename never replaces, so a
    // failure is looked at only when it comes.
    ZKSftpFailure failure;
    if (connection()->rename(source, target, &failure)) {
        return true;
    }
    ZKSftpFailure look;
    const std::optional<ZKSftpAttributes> there = connection()->attributes(target, false, &look);
    if (!there || !there->exists) {
        fail(ZKSftpErrors::UnableToRename, {from, to, shownHost(), failure.text});
        return false;
    }
    if (!replace) {
        fail(ZKSftpErrors::NameTaken, {to});
        return false;
    }
    const bool removed = there->directory && !there->link
                             ? removeTree(
                                   target, [] { return false; }, 0)
                             : connection()->removeFile(target, &failure);
    if (!removed) {
        if (!error()) {
            fail(ZKSftpErrors::UnableToRemove,
                 {QString::fromUtf8(target), shownHost(), failure.text});
        }
        return false;
    }
    if (!connection()->rename(source, target, &failure)) {
        fail(ZKSftpErrors::UnableToRename, {from, to, shownHost(), failure.text});
        return false;
    }
    return true;
}

bool ZKSftpWriter::removeTree(const QByteArray &folder, const std::function<bool()> &isCancelled,
                              int depth) {
    if (depth >= maximumDepth) {
        fail(ZKSftpErrors::UnableToRemove, {QString::fromUtf8(folder), shownHost(),
                                            ZKSftpErrors::text(ZKSftpErrors::FoldersNestTooDeep,
                                                               {QString::number(maximumDepth)})});
        return false;
    }
    ZKSftpFailure failure;
    const std::optional<QList<ZKSftpEntry>> entries = connection()->list(folder, &failure);
    if (!entries) {
        fail(ZKSftpErrors::UnableToRemove, {QString::fromUtf8(folder), shownHost(), failure.text});
        return false;
    }
    for (const ZKSftpEntry &entry : *entries) {
        if (isCancelled()) {
            fail(ZKSftpErrors::Cancelled, {});
            return false;
        }
        if (entry.name.contains('/') || entry.name == "." || entry.name == "..") {
            continue; // never leave the folder being removed
        }
        const QByteArray child = folder + '/' + entry.name;
        if (entry.attributes.directory && !entry.attributes.link) {
            if (!removeTree(child, isCancelled, depth + 1)) {
                return false;
            }
        } else if (!connection()->removeFile(child, &failure)) {
            fail(ZKSftpErrors::UnableToRemove,
                 {QString::fromUtf8(child), shownHost(), failure.text});
            return false;
        }
    }
    if (!connection()->removeDirectory(folder, &failure)) {
        fail(ZKSftpErrors::UnableToRemove, {QString::fromUtf8(folder), shownHost(), failure.text});
        return false;
    }
    return true;
}

bool ZKSftpWriter::remove(const std::function<bool()> &isCancelled) {
    close();
    if (isCancelled()) {
        fail(ZKSftpErrors::Cancelled, {});
        return false;
    }
    if (!connectForWriting()) {
        return false;
    }
    ZKSftpFailure failure;
    const std::optional<ZKSftpAttributes> found = connection()->attributes(path(), false, &failure);
    if (!found) {
        fail(ZKSftpErrors::UnableToRemove, {endpointUrl().path(), shownHost(), failure.text});
        return false;
    }
    if (!found->exists) {
        return true;
    }
    if (found->directory) {
        return removeTree(path(), isCancelled, 0);
    }
    if (!connection()->removeFile(path(), &failure)) {
        fail(ZKSftpErrors::UnableToRemove, {endpointUrl().path(), shownHost(), failure.text});
        return false;
    }
    return true;
}

std::shared_ptr<ZKReader> ZKSftpWriter::asReader() {
    return std::make_shared<ZKSftpReader>(endpointUrl(), *this, std::nullopt);
}

void ZKSftpWriter::setModificationDate(const QDateTime &date) {
    if (date.isValid()) {
        m_newModificationDate = date;
    }
}

void ZKSftpWriter::setPermissions(quint16 permissions) {
    m_newPermissions = permissions;
}

void ZKSftpWriter::applyAttributes() {
    if (m_file || (!m_newModificationDate && !m_newPermissions)) {
        return; // an open file takes them with its close
    }
    const std::optional<QDateTime> date = std::exchange(m_newModificationDate, std::nullopt);
    const std::optional<quint32> permissions = std::exchange(m_newPermissions, std::nullopt);
    if (!connectForWriting()) {
        return;
    }
    ZKSftpFailure ignored;
    connection()->setAttributes(path(), date, permissions, &ignored);
}
