// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpReader.h"
#include "ZKPropertyListParser.h"
#include "ZKReaderFactory.h"

#include "ZKFtpUrl.h"
#include "ZKFtpWriter.h"
#include "ZKLogging.h"
#include "ZKPartialFile.h"

#include <QMimeDatabase>

#include <algorithm>

namespace {

// A server that answers every CWD and lists one more folder in each would
// otherwise lead a walk down for ever.
constexpr int maximumDepth = 256;

// Why a folder of host could not be listed: the folder is named by its path,
// the top one by its server.
ZKError listingFailure(const QStringList &folder, const QString &host, const QString &reason) {
    if (folder.isEmpty()) {
        return ZKFtpErrors::error(ZKFtpErrors::TopFolderNotListed, {host, reason});
    }
    return ZKFtpErrors::error(ZKFtpErrors::FolderNotListed,
                              {folder.join(QLatin1Char('/')), host, reason});
}

} // namespace

std::shared_ptr<ZKFtpReader> ZKFtpReader::readerWithUrl(const QUrl &url) {
    return std::make_shared<ZKFtpReader>(url);
}

std::shared_ptr<ZKFtpReader> ZKFtpReader::readerWithUrl(const QUrl &url, const QString &username,
                                                        const std::optional<QString> &password) {
    return std::make_shared<ZKFtpReader>(url, username, password);
}

ZKFtpReader::ZKFtpReader(const QUrl &url) {
    setUrl(url);
    m_url = takeCredentialsFromUrl(m_url);
    m_isDirectory = ZKFtpUrl::isDirectoryUrl(m_url) || ZKFtpUrl::isRoot(m_url);
}

ZKFtpReader::ZKFtpReader(const QUrl &url, const QString &username,
                         const std::optional<QString> &password)
    : ZKFtpReader(url) {
    replaceAccount(username, password);
}

ZKFtpReader::ZKFtpReader(const QUrl &url, const QString &username,
                         const std::optional<QString> &password, std::shared_ptr<ZKFtpClient> ftp,
                         const std::optional<ZKFtpItem> &item)
    : ZKFtpSession(username, password, std::move(ftp))
    , m_initialisedProperties(true) {
    setUrl(url);
    m_isDirectory = ZKFtpUrl::isDirectoryUrl(m_url) || ZKFtpUrl::isRoot(m_url);
    if (item) {
        applyItem(*item);
    }
    if (ZKFtpUrl::isRoot(m_url)) {
        m_exists = true; // no listing shows the root, yet it is always there
    }
}

ZKFtpReader::ZKFtpReader(const QVariantMap &propertyList)
    : ZKFtpReader(savedUrl(propertyList)) {
    readAccount(propertyList);
    m_version.read(propertyList);
}

ZKFtpReader::~ZKFtpReader() {
    close();
}

void ZKFtpReader::setUrl(const QUrl &url) {
    m_url = url;
    // The root has no name of its own: copied, it becomes a folder named
    // after the server.
    m_filename = ZKFtpUrl::isRoot(url) ? url.host() : ZKFtpUrl::filename(url);
}

void ZKFtpReader::applyItem(const ZKFtpItem &item) {
    m_exists = true;
    m_isDirectory = item.type() == ZKFtpItem::Directory;
    m_size = m_isDirectory ? 0 : item.size();
    m_modificationDate = item.modificationDate();
    m_permissions = item.permissions();
}

QVariantMap ZKFtpReader::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("FtpReader"));
    writeAccount(propertyList, m_url);
    m_version.write(propertyList);
    return propertyList;
}

qint32 ZKFtpReader::controlPort() const {
    return ZKFtpUrl::controlPort(m_url);
}

QStringList ZKFtpReader::parentPathComponents() const {
    return ZKFtpUrl::parentPathComponents(m_url);
}

size_t ZKFtpReader::hash() const {
    return qHash(m_url);
}

QString ZKFtpReader::icon() const {
    if (m_isDirectory) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase().mimeTypeForFile(m_filename, QMimeDatabase::MatchExtension).iconName();
}

void ZKFtpReader::fail(ZKFtpErrors::Message message, const QStringList &arguments) {
    setError(ZKFtpErrors::error(message, arguments));
}

bool ZKFtpReader::open() {
    close();
    clearError();
    if (!m_url.isValid() || m_url.isEmpty()) {
        fail(ZKFtpErrors::ReaderInvalidUrl, {m_url.toString()});
        return false;
    }
    // The root's name is its server's.
    if (m_filename.isEmpty()) {
        fail(ZKFtpErrors::NoItemSpecified, {m_url.toString()});
        return false;
    }
    m_hasMoreData = true;
    m_retrieveStarted = false;
    m_position = 0;

    // A child on its parent's connection: the listing told us what it is.
    const bool onSharedConnection = ftp()->isConnected();
    if (const ZKOptionalError failure =
            logIn(m_url, QStringLiteral("'%1'").arg(host()), ZKErrorCode::readFailed)) {
        setError(*failure);
        return false;
    }
    if (ZKFtpUrl::isRoot(m_url)) {
        ftp()->changePath({});
        if (ftp()->error()) {
            fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
            return false;
        }
        m_exists = true;
        m_isDirectory = true;
        m_size = 0;
        return true;
    }
    if (onSharedConnection) {
        return true;
    }
    // A folder's address: one CWD there tells that it is one, where its
    // look-up in its parent costs SIZE, CWD and CDUP, and the walk that
    // follows starts there. Anything else there is looked up below.
    if (m_isDirectory) {
        ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
        if (!ftp()->error()) {
            ZKFtpItem folder;
            folder.setName(m_filename);
            folder.setType(ZKFtpItem::Directory);
            applyItem(folder);
            return true;
        }
    }
    const std::optional<ZKFtpItem> item = findItem(parentPathComponents(), m_filename);
    if (!item) {
        return false;
    }
    applyItem(*item);
    if (!m_isDirectory) {
        if (!m_modificationDate.isValid() && supportsRfc3659()) {
            const std::optional<QDateTime> date = remoteModificationDate(m_filename);
            if (!date) {
                fail(ZKFtpErrors::ReaderUnableToOpenFile, {m_url.path(), clientDescription()});
                return false;
            }
            m_modificationDate = *date;
        }
        m_version.note(m_url, m_size, m_modificationDate);
    }
    return true;
}

std::optional<QDateTime> ZKFtpReader::remoteModificationDate(const QString &name) {
    ftp()->sendControlRequest(QStringLiteral("MDTM"), name);
    const std::optional<QString> reply =
        ftp()->error() ? std::nullopt : ftp()->readControlResponse();
    if (!reply) {
        return std::nullopt;
    }
    // "213 YYYYMMDDHHMMSS", in UTC, perhaps with a fraction of a second.
    if (ftp()->error() || !reply->startsWith(QLatin1String("213 "))) {
        return QDateTime();
    }
    return ZKFtpItem::parseMachineReadableDate(reply->mid(4).trimmed().left(14));
}

bool ZKFtpReader::hasChanged() const {
    return m_version.hasChanged();
}

void ZKFtpReader::acceptCurrentVersion() {
    m_version.acceptCurrent();
}

QByteArray ZKFtpReader::identity() const {
    if (!m_modificationDate.isValid()) {
        return {};
    }
    return ZKPartialFile::identity(
        m_url, m_size, {"modify " + QByteArray::number(m_modificationDate.toSecsSinceEpoch())});
}

void ZKFtpReader::close() {
    if (holdsConnection()) {
        if (m_retrieveStarted) {
            ftp()->endRetrieve();
        }
        releaseConnection();
    }
    m_retrieveStarted = false;
    m_existingData.clear();
}

bool ZKFtpReader::hasMoreData() const {
    if (!ftp() || !ftp()->isConnected() || !m_hasMoreData) {
        return false;
    }
    return !sizeIsKnown() || m_position < m_size;
}

bool ZKFtpReader::seekToPosition(quint64 position) {
    if (m_retrieveStarted) {
        ftp()->endRetrieve();
        m_retrieveStarted = false;
    }
    ftp()->changePath(parentPathComponents());
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
        m_hasMoreData = false;
        return false;
    }
    ftp()->beginRetrieve(m_filename, position);
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderUnableToOpenFile, {host(), clientDescription()});
        m_hasMoreData = false;
        return false;
    }
    m_hasMoreData = true;
    m_retrieveStarted = true;
    m_position = position;
    return true;
}

QByteArray ZKFtpReader::readBlock() {
    return readBlockOfMaximumLength(standardBlockSize);
}

QByteArray ZKFtpReader::readBlockOfMaximumLength(quint64 length) {
    if (!ftp()) {
        return {};
    }
    if (!m_retrieveStarted && !seekToPosition(0)) {
        return {};
    }
    quint64 wanted = std::min(length, standardBlockSize);
    if (sizeIsKnown()) {
        wanted = std::min(wanted, m_size > m_position ? m_size - m_position : 0);
    }
    if (wanted == 0) {
        m_hasMoreData = false;
        return {};
    }
    const QByteArray data = ftp()->retrieveBlockOfMaximumLength(wanted);
    if (ftp()->error()) {
        fail(ZKFtpErrors::UnableToReadFile, {host(), clientDescription()});
    }
    if (data.isEmpty()) {
        m_hasMoreData = false;
        if (!ftp()->error() && sizeIsKnown() && m_position < m_size) {
            // Never end a file short without saying so: the data connection
            // closed before the size the server gave.
            fail(ZKFtpErrors::DataConnectionClosedEarly,
                 {m_url.path(), QString::number(m_position), QString::number(m_size)});
            // The listing that gave the size is out of date: a retry
            // must not take it again.
            ftp()->forgetListings();
        }
        return data;
    }
    m_position += quint64(data.size());
    // The size is the listing's, and a listing may be some seconds old: a
    // file that has grown since would be copied short without a word. The
    // server ends the data connection right after the last byte, so looking
    // for more costs no round trip.
    if (sizeIsKnown() && m_position == m_size && ftp()->retrieveGoesOn()) {
        fail(ZKFtpErrors::DataLongerThanListed, {m_url.path(), QString::number(m_size)});
        ftp()->forgetListings();
        m_hasMoreData = false;
        return {};
    }
    return data;
}

std::optional<QList<ZKFtpItem>> ZKFtpReader::listWorkingDirectory(bool reuseRecent) {
    std::optional<QList<ZKFtpItem>> items =
        reuseRecent ? ftp()->listItemsReusingRecent() : ftp()->listItems();
    if (!items) {
        setError(listingFailure(ftp()->currentPath(), host(), clientDescription()));
        return std::nullopt;
    }
    // A name that is not one plain entry ("../x", "a/b", "/etc/x") would put
    // a copy outside the folder it was listed in. Such a listing comes from
    // a broken or hostile server; nothing of it is used.
    for (const ZKFtpItem &item : std::as_const(*items)) {
        if (!ZKFtpItem::isPlainName(item.name())) {
            qCWarning(lcFtp) << "Refusing the listing of" << ftp()->currentPath() << "on" << host()
                             << "for the entry" << item.name();
            setError(
                listingFailure(ftp()->currentPath(), host(),
                               ZKFtpErrors::text(ZKFtpErrors::EntryNotPlainName, {item.name()})));
            return std::nullopt;
        }
    }
    return items;
}

ZKEnumerationResult ZKFtpReader::enumerateFileInfoWithBlock(const FileInfoBlock &block) {
    if (!m_isDirectory) {
        return ZKEnumerationResultContinue;
    }
    clearError();
    ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
        return ZKEnumerationResultStop;
    }
    return walkFileInfo(block, 0);
}

ZKEnumerationResult ZKFtpReader::walkFileInfo(const FileInfoBlock &block, int depth) {
    if (depth >= maximumDepth) {
        setError(listingFailure(
            ftp()->currentPath(), host(),
            ZKFtpErrors::text(ZKFtpErrors::FoldersNestTooDeep, {QString::number(maximumDepth)})));
        return ZKEnumerationResultStop;
    }
    // A file changed since the listing is met where it is read (one that
    // got shorter ends early) or verified (the check lists anew).
    const std::optional<QList<ZKFtpItem>> items = listWorkingDirectory(true);
    if (!items) {
        return ZKEnumerationResultStop;
    }
    // The callback may use the shared client itself (a copy reads each
    // child through it), so the folder listed is remembered rather than
    // read back from the client, and returned to before going deeper.
    const QStringList here = ftp()->currentPath();
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    for (const ZKFtpItem &item : *items) {
        ZKFileInfo info;
        info.url = ZKFtpUrl::entryUrl(m_url, here, item.name());
        info.directory = item.type() == ZKFtpItem::Directory;
        info.symbolicLink = item.type() == ZKFtpItem::SymbolicLink;
        info.size = info.directory ? 0 : item.size();
        // Only what the listing tells: asking each entry's date would cost
        // one more round trip per file of the walk.
        info.modificationDate = item.modificationDate();
        info.readable = true;
        info.writable = true;
        result = block(info);
        if (result == ZKEnumerationResultStop) {
            return ZKEnumerationResultStop;
        }
        if (result != ZKEnumerationResultContinue || !info.directory) {
            continue;
        }
        ftp()->changePath(here + QStringList{item.name()});
        if (ftp()->error()) {
            fail(ZKFtpErrors::ReaderPathNotFound, {info.url.path(), clientDescription()});
            return ZKEnumerationResultStop;
        }
        // A stop inside a subfolder ends only that subfolder; an error
        // ends everything.
        walkFileInfo(block, depth + 1);
        if (error()) {
            return ZKEnumerationResultStop;
        }
    }
    return result;
}

quint64 ZKFtpReader::calculateDirectorySizeFollowingLinks(bool followLinks,
                                                          const NameBlock &block) {
    Q_UNUSED(followLinks); // the listing tells no links apart
    if (!m_isDirectory) {
        return 0;
    }
    ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
        return 0;
    }
    bool stopped = false;
    return sizeOfWorkingDirectory(block, 0, &stopped);
}

quint64 ZKFtpReader::sizeOfWorkingDirectory(const NameBlock &block, int depth, bool *stopped) {
    if (depth >= maximumDepth) {
        return 0;
    }
    const std::optional<QList<ZKFtpItem>> items = listWorkingDirectory(true);
    if (!items) {
        *stopped = true;
        return 0;
    }
    const QStringList here = ftp()->currentPath();
    quint64 total = 0;
    for (const ZKFtpItem &item : *items) {
        if (block) {
            const ZKEnumerationResult result = block(item.name());
            if (result == ZKEnumerationResultStop) {
                *stopped = true;
                return total;
            }
            if (result == ZKEnumerationResultSkip) {
                continue;
            }
        }
        if (item.type() == ZKFtpItem::File) {
            total += item.size();
        } else if (item.type() == ZKFtpItem::Directory) {
            ftp()->changePath(here + QStringList{item.name()});
            if (ftp()->error()) {
                continue; // a count is an estimate
            }
            total += sizeOfWorkingDirectory(block, depth + 1, stopped);
            if (*stopped) {
                return total;
            }
        }
    }
    return total;
}

std::shared_ptr<ZKFtpReader> ZKFtpReader::makeChild(const QUrl &url,
                                                    const std::optional<ZKFtpItem> &item) {
    auto child = std::make_shared<ZKFtpReader>(url, username(), password(), ftp(), item);
    child->useAccountOf(*this);
    return child;
}

ZKEnumerationResult ZKFtpReader::enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) {
    if (!m_isDirectory) {
        return ZKEnumerationResultContinue;
    }
    ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
        return ZKEnumerationResultStop;
    }
    // What a verification or a removal goes through: told as it is now.
    const std::optional<QList<ZKFtpItem>> items = listWorkingDirectory(false);
    if (!items) {
        return ZKEnumerationResultStop;
    }
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    for (const ZKFtpItem &item : *items) {
        const bool isDirectory = item.type() == ZKFtpItem::Directory;
        result = block(makeChild(ZKFtpUrl::childUrl(m_url, item.name(), isDirectory), item));
        if (result == ZKEnumerationResultStop) {
            return ZKEnumerationResultStop;
        }
    }
    return result;
}

std::optional<ZKFtpItem> ZKFtpReader::findItem(const QStringList &folder, const QString &name) {
    ftp()->changePath(folder);
    if (ftp()->error()) {
        fail(ZKFtpErrors::ReaderPathNotFound, {m_url.path(), clientDescription()});
        return std::nullopt;
    }
    std::optional<ZKFtpItem> item = ftp()->itemWithName(name);
    if (!item) {
        const ZKOptionalError clientError = ftp()->error();
        if (clientError && clientError->code() == 550) {
            fail(ZKFtpErrors::NoSuchFile, {m_url.path()});
        } else {
            fail(ZKFtpErrors::ReaderUnableToOpenFile, {m_url.path(), clientDescription()});
        }
    }
    return item;
}

std::optional<ZKFileInfo> ZKFtpReader::fileInfoForChild(const QString &name) {
    QStringList components = ZKFtpUrl::pathComponents(m_url);
    const QStringList childComponents = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (childComponents.isEmpty()) {
        return std::nullopt;
    }
    components.append(childComponents.mid(0, childComponents.size() - 1));
    const QString last = childComponents.last();
    const std::optional<ZKFtpItem> item = findItem(components, last);
    if (!item) {
        return std::nullopt;
    }
    ZKFileInfo info;
    info.url = ZKFtpUrl::entryUrl(m_url, components, last);
    info.size = item->type() == ZKFtpItem::Directory ? 0 : item->size();
    info.directory = item->type() == ZKFtpItem::Directory;
    info.symbolicLink = item->type() == ZKFtpItem::SymbolicLink;
    info.modificationDate = item->modificationDate();
    if (!info.modificationDate.isValid() && item->type() == ZKFtpItem::File && supportsRfc3659()) {
        const std::optional<QDateTime> date = remoteModificationDate(last);
        if (!date) {
            fail(ZKFtpErrors::ReaderUnableToOpenFile, {m_url.path(), clientDescription()});
            return std::nullopt;
        }
        info.modificationDate = *date;
    }
    info.readable = true;
    info.writable = true;
    return info;
}

std::shared_ptr<ZKReader> ZKFtpReader::childWithName(const QString &name) {
    if (name.isEmpty()) {
        return shared_from_this();
    }
    if (!ftp()->isConnected()) {
        auto child = std::make_shared<ZKFtpReader>(ZKFtpUrl::childUrl(m_url, name, false));
        child->useAccountOf(*this);
        return child;
    }
    // Below a folder found missing nothing stands either: the analysis of
    // a copy into a new folder would ask in vain about every entry.
    if (m_initialisedProperties && !m_exists) {
        return makeChild(ZKFtpUrl::childUrl(m_url, name, false), std::nullopt);
    }
    // A walk of this folder has just listed it (copies go through their
    // folder's entries that way): asking again, or even going there first,
    // would cost a round trip for every entry.
    const QStringList folder = ZKFtpUrl::pathComponents(m_url);
    bool listed = false;
    std::optional<ZKFtpItem> item = ftp()->listedItemIn(folder, name, &listed);
    if (!item) {
        ftp()->changePath(folder);
        if (!ftp()->error()) {
            item = ftp()->itemWithName(name);
        }
    }
    const bool isDirectory = item && item->type() == ZKFtpItem::Directory;
    return makeChild(ZKFtpUrl::childUrl(m_url, name, isDirectory), item);
}

std::shared_ptr<ZKWriter> ZKFtpReader::asWriter() {
    std::shared_ptr<ZKFtpWriter> writer;
    if (ftp()->isConnected()) {
        writer = std::make_shared<ZKFtpWriter>(m_url, m_isDirectory, ftp(), username(), password());
    } else {
        writer = std::make_shared<ZKFtpWriter>(m_url, m_isDirectory);
    }
    writer->useAccountOf(*this);
    return writer;
}

bool ZKFtpReader::isUrlValid(const QUrl &url, const QString &username,
                             const std::optional<QString> &password) {
    const QString name = ZKFtpUrl::filename(url);
    if (!url.isValid() || name.isEmpty()) {
        return false;
    }
    ZKFtpClient client;
    client.connectToHost(url.host(), ZKFtpUrl::controlPort(url));
    if (client.error()) {
        return false;
    }
    if (username.isEmpty()) {
        client.loginWithUsername(defaultUsername, defaultPassword);
    } else {
        client.loginWithUsername(username, password.value_or(QString()));
    }
    if (!client.error()) {
        client.changePath(ZKFtpUrl::parentPathComponents(url));
    }
    if (!client.error()) {
        client.beginRetrieve(name, 0);
    }
    bool valid = false;
    if (!client.error()) {
        const QByteArray first = client.retrieveBlock();
        valid = !first.isEmpty() && !client.error();
        client.endRetrieve();
    }
    client.disconnect();
    return valid;
}

namespace {

const ZKEndpointRegistration family{{
    {QStringLiteral("ftp"), QStringLiteral("ftps")},
    [](const QUrl &url, const QString &username,
       const std::optional<QString> &password) -> ZKReaderPtr {
        return username.isEmpty() ? ZKFtpReader::readerWithUrl(url)
                                  : ZKFtpReader::readerWithUrl(url, username, password);
    },
    // A folder address is taken as one, and made when missing, as a local
    // folder is; anything else must show what it is first.
    [](const QUrl &url, const QString &username,
       const std::optional<QString> &password) -> ZKWriterPtr {
        if (!url.path().endsWith(QLatin1Char('/'))) {
            return nullptr;
        }
        return username.isEmpty() ? ZKFtpWriter::writerWithDirectoryUrl(url)
                                  : ZKFtpWriter::writerWithDirectoryUrl(url, username, password);
    },
}};

// A saved queue keeps no password. One given for the run goes to every FTP
// endpoint that logs in as a named user, as the endpoint is re-created: a
// step that resumes while the queue loads connects at once. The password
// store is left as it is (the endpoints count their password as stored), so
// a mistyped password replaces nothing there.
template <class Endpoint>
std::shared_ptr<Endpoint> withRunPassword(std::shared_ptr<Endpoint> endpoint) {
    const QString user = endpoint->username();
    const std::optional<QString> password = ZKReaderFactory::runPassword();
    if (password && !user.isEmpty() && user != ZKFtpReader::defaultUsername) {
        endpoint->setCredentials(user, password);
    }
    return endpoint;
}

const ZKPropertyListRegistration readerForm{
    QStringLiteral("FtpReader"), [](const QVariantMap &dict) {
        return withRunPassword(std::make_shared<ZKFtpReader>(dict));
    }};
const ZKPropertyListRegistration writerForm{
    QStringLiteral("FtpWriter"), [](const QVariantMap &dict) {
        return withRunPassword(std::make_shared<ZKFtpWriter>(dict));
    }};

} // namespace
