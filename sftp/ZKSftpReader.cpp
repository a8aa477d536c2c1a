// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpReader.h"

#include "ZKFtpItem.h"
#include "ZKFtpUrl.h"
#include "ZKLogging.h"
#include "ZKPartialFile.h"
#include "ZKPropertyListParser.h"
#include "ZKReaderFactory.h"
#include "ZKSftpWriter.h"

#include <QMimeDatabase>

#include <algorithm>

namespace {

// Large requests keep several of the library's read requests in flight,
// which is what carries a transfer over a link with a long round trip.
constexpr qsizetype readAheadSize = 1024 * 1024;

// A server that lists one more folder in each would otherwise lead a walk
// down for ever.
constexpr int maximumDepth = 256;

} // namespace

ZKSftpReader::ZKSftpReader(const QUrl &url, const QString &username,
                           const std::optional<QString> &password)
    : ZKSftpEndpoint(url, username, password)
    , m_filename(ZKSftpEndpoint::nameOf(url)) {
    m_attributes.directory = ZKFtpUrl::isDirectoryUrl(url);
}

ZKSftpReader::ZKSftpReader(const QUrl &url, const ZKSftpEndpoint &parent,
                           const std::optional<ZKSftpAttributes> &attributes)
    : ZKSftpEndpoint(url)
    , m_filename(ZKSftpEndpoint::nameOf(url)) {
    useAccountOf(parent);
    if (attributes) {
        m_attributes = *attributes;
        m_isLink = attributes->link;
        m_listed = true;
    } else {
        m_attributes.directory = ZKFtpUrl::isDirectoryUrl(url);
    }
}

ZKSftpReader::ZKSftpReader(const QVariantMap &propertyList)
    : ZKSftpReader(savedUrl(propertyList)) {
    m_version.read(propertyList);
}

ZKSftpReader::~ZKSftpReader() {
    close();
}

QVariantMap ZKSftpReader::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("SftpReader"));
    writeAccount(propertyList);
    m_version.write(propertyList);
    return propertyList;
}

QString ZKSftpReader::icon() const {
    if (m_attributes.directory) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase().mimeTypeForFile(m_filename, QMimeDatabase::MatchExtension).iconName();
}

void ZKSftpReader::fail(ZKSftpErrors::Message message, const QStringList &arguments) {
    setError(ZKSftpErrors::error(message, ZKErrorCode::readFailed, arguments));
}

bool ZKSftpReader::open() {
    close();
    clearError();
    const QUrl &url = endpointUrl();
    if (!url.isValid() || url.host().isEmpty() || url.scheme() != QLatin1String(scheme)) {
        fail(ZKSftpErrors::InvalidAddress, {url.toString()});
        return false;
    }
    if (const ZKOptionalError failure = connect(ZKErrorCode::readFailed)) {
        setError(*failure);
        return false;
    }
    const QString shown = url.path();
    ZKSftpFailure failure;
    // A listing told what a child is; anything else, or a second open,
    // asks the server.
    if (!m_listed) {
        const std::optional<ZKSftpAttributes> found =
            connection()->attributes(path(), false, &failure);
        if (!found || !found->exists) {
            m_attributes = {};
            m_isLink = false;
            fail(ZKSftpErrors::UnableToOpen, {shown, shownHost(), failure.text});
            return false;
        }
        m_attributes = *found;
        m_isLink = found->link;
    }
    m_listed = false;
    m_linkTarget.clear();
    if (m_isLink) {
        const std::optional<QByteArray> target = connection()->linkTarget(path(), &failure);
        if (!target) {
            fail(ZKSftpErrors::UnableToOpen, {shown, shownHost(), failure.text});
            return false;
        }
        m_linkTarget = QString::fromUtf8(*target);
        // A followed link carries its target's attributes; a dangling one
        // keeps its own.
        const std::optional<ZKSftpAttributes> followed =
            connection()->attributes(path(), true, &failure);
        if (followed && followed->exists) {
            m_attributes = *followed;
            m_attributes.link = true;
        } else {
            return true;
        }
    }
    if (m_attributes.directory) {
        m_attributes.size = 0;
        return true;
    }
    if (!m_attributes.regular) {
        fail(ZKSftpErrors::NotRegularFile, {shown, shownHost()});
        return false;
    }
    m_file = connection()->openFile(path(), ZKSftpConnection::Access::Read, &failure);
    if (!m_file) {
        fail(ZKSftpErrors::UnableToOpen, {shown, shownHost(), failure.text});
        return false;
    }
    m_position = 0;
    m_hasMoreData = true;
    m_version.note(endpointUrl(), m_attributes.size, m_attributes.modificationDate);
    return true;
}

void ZKSftpReader::close() {
    m_file.reset();
    m_buffer.clear();
    m_bufferOffset = 0;
    m_hasMoreData = false;
}

bool ZKSftpReader::hasChanged() const {
    return m_version.hasChanged();
}

void ZKSftpReader::acceptCurrentVersion() {
    m_version.acceptCurrent();
}

QByteArray ZKSftpReader::identity() const {
    if (!m_attributes.modificationDate.isValid()) {
        return {};
    }
    return ZKPartialFile::identity(
        endpointUrl(), m_attributes.size,
        {"modify " + QByteArray::number(m_attributes.modificationDate.toSecsSinceEpoch())});
}

bool ZKSftpReader::hasMoreData() const {
    return m_file && m_hasMoreData && m_position < m_attributes.size;
}

bool ZKSftpReader::seekToPosition(quint64 position) {
    if (!m_file) {
        fail(ZKSftpErrors::UnableToRead,
             {endpointUrl().path(), shownHost(), ZKSftpErrors::text(ZKSftpErrors::ServerFailure)});
        return false;
    }
    m_file->seek(position);
    m_buffer.clear();
    m_bufferOffset = 0;
    m_position = position;
    m_hasMoreData = true;
    return true;
}

QByteArray ZKSftpReader::readBlock() {
    return readBlockOfMaximumLength(standardBlockSize);
}

QByteArray ZKSftpReader::readBlockOfMaximumLength(quint64 length) {
    if (!hasMoreData()) {
        m_hasMoreData = false;
        return {};
    }
    if (m_bufferOffset >= m_buffer.size()) {
        // Never more than the file holds: each request past its end would
        // still cost the server a read and the link an answer.
        m_buffer.resize(
            qsizetype(std::min<quint64>(readAheadSize, m_attributes.size - m_position)));
        m_bufferOffset = 0;
        ZKSftpFailure failure;
        const qint64 count = m_file->read(m_buffer.data(), quint64(m_buffer.size()), &failure);
        if (count <= 0) {
            m_buffer.clear();
            m_hasMoreData = false;
            if (count < 0) {
                fail(ZKSftpErrors::UnableToRead, {endpointUrl().path(), shownHost(), failure.text});
            } else {
                // Never end a file short without saying so.
                fail(ZKSftpErrors::EndedEarly,
                     {endpointUrl().path(), shownHost(), QString::number(m_position),
                      QString::number(m_attributes.size)});
            }
            return {};
        }
        m_buffer.truncate(qsizetype(count));
    }
    const quint64 wanted =
        std::min({length, standardBlockSize, quint64(m_buffer.size() - m_bufferOffset),
                  m_attributes.size - m_position});
    const QByteArray block = m_buffer.mid(m_bufferOffset, qsizetype(wanted));
    m_bufferOffset += qsizetype(wanted);
    m_position += wanted;
    return block;
}

std::optional<QList<ZKSftpEntry>> ZKSftpReader::listFolder(const QByteArray &folder,
                                                           const QString &shown) {
    ZKSftpFailure failure;
    std::optional<QList<ZKSftpEntry>> entries = connection()->list(folder, &failure);
    if (!entries) {
        fail(ZKSftpErrors::UnableToList, {shown, shownHost(), failure.text});
        return std::nullopt;
    }
    // A name that is not one plain entry would put a copy outside the
    // folder it was listed in: such a listing comes from a broken or hostile
    // server, and nothing of it is used.
    for (const ZKSftpEntry &entry : std::as_const(*entries)) {
        const QString name = QString::fromUtf8(entry.name);
        if (!ZKFtpItem::isPlainName(name) || entry.name.contains('\0')) {
            qCWarning(lcFtp) << "Refusing the listing of" << shown << "on" << shownHost()
                             << "for the entry" << name;
            fail(ZKSftpErrors::UnableToList,
                 {shown, shownHost(), ZKSftpErrors::text(ZKSftpErrors::EntryNotPlainName, {name})});
            return std::nullopt;
        }
    }
    return entries;
}

std::shared_ptr<ZKSftpReader>
ZKSftpReader::makeChild(const QString &name, const std::optional<ZKSftpAttributes> &attributes) {
    const bool isDirectory = attributes && attributes->directory;
    return std::make_shared<ZKSftpReader>(ZKFtpUrl::childUrl(endpointUrl(), name, isDirectory),
                                          *this, attributes);
}

ZKEnumerationResult ZKSftpReader::enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) {
    if (!m_attributes.directory) {
        return ZKEnumerationResultContinue;
    }
    clearError();
    const std::optional<QList<ZKSftpEntry>> entries = listFolder(path(), endpointUrl().path());
    if (!entries) {
        return ZKEnumerationResultStop;
    }
    m_listedChildren.clear();
    for (const ZKSftpEntry &entry : *entries) {
        m_listedChildren.insert(QString::fromUtf8(entry.name), entry.attributes);
    }
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    for (const ZKSftpEntry &entry : *entries) {
        result = block(makeChild(QString::fromUtf8(entry.name), entry.attributes));
        if (result == ZKEnumerationResultStop) {
            return ZKEnumerationResultStop;
        }
    }
    return result;
}

ZKEnumerationResult ZKSftpReader::enumerateFileInfoWithBlock(const FileInfoBlock &block) {
    if (!m_attributes.directory) {
        return ZKEnumerationResultContinue;
    }
    clearError();
    return walk(endpointUrl(), path(), block, 0);
}

ZKEnumerationResult ZKSftpReader::walk(const QUrl &folder, const QByteArray &folderPath,
                                       const FileInfoBlock &block, int depth) {
    const QString shown = folder.path();
    if (depth >= maximumDepth) {
        fail(ZKSftpErrors::UnableToList, {shown, shownHost(),
                                          ZKSftpErrors::text(ZKSftpErrors::FoldersNestTooDeep,
                                                             {QString::number(maximumDepth)})});
        return ZKEnumerationResultStop;
    }
    const std::optional<QList<ZKSftpEntry>> entries = listFolder(folderPath, shown);
    if (!entries) {
        return ZKEnumerationResultStop;
    }
    const QStringList components = ZKFtpUrl::pathComponents(folder);
    if (depth == 0) {
        m_listedChildren.clear();
        for (const ZKSftpEntry &entry : *entries) {
            m_listedChildren.insert(QString::fromUtf8(entry.name), entry.attributes);
        }
    }
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    for (const ZKSftpEntry &entry : *entries) {
        const QString name = QString::fromUtf8(entry.name);
        ZKFileInfo info;
        info.url = ZKFtpUrl::entryUrl(folder, components, name);
        info.directory = entry.attributes.directory;
        info.symbolicLink = entry.attributes.link;
        info.size = info.directory ? 0 : entry.attributes.size;
        info.modificationDate = entry.attributes.modificationDate;
        info.readable = true;
        info.writable = true;
        if (name.toUtf8() != entry.name) {
            info.skipReason = ZKSftpErrors::text(ZKSftpErrors::NameNotUtf8);
        } else if (!info.directory && !info.symbolicLink && !entry.attributes.regular) {
            info.skipReason =
                ZKSftpErrors::text(ZKSftpErrors::NotRegularFile, {info.url.path(), shownHost()});
        }
        result = block(info);
        if (result == ZKEnumerationResultStop) {
            return ZKEnumerationResultStop;
        }
        if (result != ZKEnumerationResultContinue || !info.directory) {
            continue;
        }
        QByteArray childPath = folderPath;
        if (!childPath.endsWith('/')) {
            childPath += '/';
        }
        // A stop inside a subfolder ends only that subfolder; an error ends
        // everything.
        walk(info.url, childPath + entry.name, block, depth + 1);
        if (error()) {
            return ZKEnumerationResultStop;
        }
    }
    return result;
}

quint64 ZKSftpReader::calculateDirectorySizeFollowingLinks(bool followLinks,
                                                           const NameBlock &block) {
    Q_UNUSED(followLinks); // a link counts as what the listing says of it
    if (!m_attributes.directory) {
        return 0;
    }
    bool stopped = false;
    return sizeOf(path(), endpointUrl().path(), block, 0, &stopped);
}

quint64 ZKSftpReader::sizeOf(const QByteArray &folderPath, const QString &shown,
                             const NameBlock &block, int depth, bool *stopped) {
    if (depth >= maximumDepth) {
        return 0;
    }
    const std::optional<QList<ZKSftpEntry>> entries = listFolder(folderPath, shown);
    if (!entries) {
        *stopped = true;
        return 0;
    }
    quint64 total = 0;
    for (const ZKSftpEntry &entry : *entries) {
        const QString name = QString::fromUtf8(entry.name);
        if (block) {
            const ZKEnumerationResult result = block(name);
            if (result == ZKEnumerationResultStop) {
                *stopped = true;
                return total;
            }
            if (result == ZKEnumerationResultSkip) {
                continue;
            }
        }
        if (entry.attributes.directory) {
            QByteArray childPath = folderPath;
            if (!childPath.endsWith('/')) {
                childPath += '/';
            }
            total += sizeOf(childPath + entry.name, shown + QLatin1Char('/') + name, block,
                            depth + 1, stopped);
            if (*stopped) {
                return total;
            }
        } else if (entry.attributes.regular) {
            total += entry.attributes.size;
        }
    }
    return total;
}

std::optional<ZKFileInfo> ZKSftpReader::fileInfoForChild(const QString &name) {
    const QStringList parts = name.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (parts.isEmpty()) {
        return std::nullopt;
    }
    ZKSftpFailure failure;
    const QByteArray childPath = this->childPath(parts.join(QLatin1Char('/')));
    const std::optional<ZKSftpAttributes> found =
        connection()->attributes(childPath, false, &failure);
    if (!found || !found->exists) {
        if (!found) {
            fail(ZKSftpErrors::UnableToOpen,
                 {QString::fromUtf8(childPath), shownHost(), failure.text});
        }
        return std::nullopt;
    }
    ZKFileInfo info;
    info.url = ZKFtpUrl::entryUrl(
        endpointUrl(), ZKFtpUrl::pathComponents(endpointUrl()) + parts.mid(0, parts.size() - 1),
        parts.last());
    info.directory = found->directory;
    info.symbolicLink = found->link;
    info.size = found->directory ? 0 : found->size;
    info.modificationDate = found->modificationDate;
    info.readable = true;
    info.writable = true;
    return info;
}

std::shared_ptr<ZKReader> ZKSftpReader::childWithName(const QString &name) {
    if (name.isEmpty()) {
        return shared_from_this();
    }
    const auto listed = m_listedChildren.constFind(name);
    if (listed != m_listedChildren.constEnd()) {
        return makeChild(name, listed.value());
    }
    return makeChild(name, std::nullopt);
}

std::shared_ptr<ZKWriter> ZKSftpReader::asWriter() {
    return std::make_shared<ZKSftpWriter>(endpointUrl(), m_attributes.directory, *this);
}

namespace {

const ZKEndpointRegistration family{{
    {QString::fromLatin1(ZKSftpEndpoint::scheme)},
    [](const QUrl &url, const QString &username, const std::optional<QString> &password)
        -> ZKReaderPtr { return std::make_shared<ZKSftpReader>(url, username, password); },
    // A folder address is taken as one, and made when missing, as a local
    // folder is; anything else must show what it is first.
    [](const QUrl &url, const QString &username,
       const std::optional<QString> &password) -> ZKWriterPtr {
        if (!url.path().endsWith(QLatin1Char('/'))) {
            return nullptr;
        }
        return std::make_shared<ZKSftpWriter>(url, true, username, password);
    },
}};

const ZKPropertyListRegistration readerForm{QStringLiteral("SftpReader"),
                                            [](const QVariantMap &dict) {
                                                return std::make_shared<ZKSftpReader>(dict);
                                            }};
const ZKPropertyListRegistration writerForm{QStringLiteral("SftpWriter"),
                                            [](const QVariantMap &dict) {
                                                return std::make_shared<ZKSftpWriter>(dict);
                                            }};

} // namespace
