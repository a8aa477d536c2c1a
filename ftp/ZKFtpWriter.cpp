// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpWriter.h"

#include "ZKFtpReader.h"
#include "ZKFtpUrl.h"
#include "ZKLogging.h"
#include "ZKPartialFile.h"

#include <QMimeDatabase>
#include <QScopeGuard>

#include <typeinfo>

namespace {

const QString isDirectoryKey = QStringLiteral("IsDirectory");

// Removal descends by recursion; a server that claims folders without end
// must not exhaust the stack.
constexpr int maximumRemovalDepth = 256;
thread_local int removalDepth = 0;

} // namespace

std::shared_ptr<ZKFtpWriter> ZKFtpWriter::writerWithUrl(const QUrl &url) {
    return std::make_shared<ZKFtpWriter>(url, false);
}

std::shared_ptr<ZKFtpWriter> ZKFtpWriter::writerWithUrl(const QUrl &url, const QString &username,
                                                        const std::optional<QString> &password) {
    return std::make_shared<ZKFtpWriter>(url, false, username, password);
}

std::shared_ptr<ZKFtpWriter> ZKFtpWriter::writerWithDirectoryUrl(const QUrl &url) {
    return std::make_shared<ZKFtpWriter>(url, true);
}

std::shared_ptr<ZKFtpWriter>
ZKFtpWriter::writerWithDirectoryUrl(const QUrl &url, const QString &username,
                                    const std::optional<QString> &password) {
    return std::make_shared<ZKFtpWriter>(url, true, username, password);
}

ZKFtpWriter::ZKFtpWriter(const QUrl &url, bool isDirectory)
    : m_isDirectory(isDirectory) {
    setUrl(isDirectory ? makeDirectoryUrl(url) : url);
    m_url = takeCredentialsFromUrl(m_url);
}

ZKFtpWriter::ZKFtpWriter(const QUrl &url, bool isDirectory, const QString &username,
                         const std::optional<QString> &password)
    : ZKFtpWriter(url, isDirectory) {
    replaceAccount(username, password);
}

ZKFtpWriter::ZKFtpWriter(const QUrl &url, bool isDirectory, std::shared_ptr<ZKFtpClient> ftp,
                         const QString &username, const std::optional<QString> &password)
    : ZKFtpSession(username, password, std::move(ftp))
    , m_isDirectory(isDirectory) {
    setUrl(isDirectory ? makeDirectoryUrl(url) : url);
}

ZKFtpWriter::ZKFtpWriter(const QVariantMap &propertyList)
    : ZKFtpWriter(savedUrl(propertyList), propertyList.value(isDirectoryKey).toBool()) {
    readAccount(propertyList);
}

ZKFtpWriter::~ZKFtpWriter() {
    close();
}

void ZKFtpWriter::setUrl(const QUrl &url) {
    m_url = url;
    m_filename = ZKFtpUrl::filename(url);
}

QString ZKFtpWriter::filename() const {
    return m_filename.isEmpty() && ZKFtpUrl::isRoot(m_url) ? m_url.host() : m_filename;
}

bool ZKFtpWriter::isDirectoryUrl(const QUrl &url) {
    return ZKFtpUrl::isDirectoryUrl(url);
}

QUrl ZKFtpWriter::makeDirectoryUrl(const QUrl &url) {
    return ZKFtpUrl::makeDirectoryUrl(url);
}

qint32 ZKFtpWriter::controlPort() const {
    return ZKFtpUrl::controlPort(m_url);
}

QStringList ZKFtpWriter::parentPathComponents() const {
    return ZKFtpUrl::parentPathComponents(m_url);
}

bool ZKFtpWriter::isEqual(const ZKWriter &other) const {
    if (typeid(*this) != typeid(other)) {
        return false;
    }
    const auto &writer = static_cast<const ZKFtpWriter &>(other);
    return m_isDirectory == writer.m_isDirectory && m_url == writer.m_url;
}

size_t ZKFtpWriter::hash() const {
    return qHash(m_url) + (m_isDirectory ? 1 : 0);
}

QString ZKFtpWriter::icon() const {
    if (m_isDirectory) {
        return QStringLiteral("folder");
    }
    return QMimeDatabase().mimeTypeForFile(m_filename, QMimeDatabase::MatchExtension).iconName();
}

QVariantMap ZKFtpWriter::asPropertyList() const {
    QVariantMap propertyList;
    propertyList.insert(typeKey, QStringLiteral("FtpWriter"));
    writeAccount(propertyList, m_url);
    propertyList.insert(isDirectoryKey, m_isDirectory);
    return propertyList;
}

void ZKFtpWriter::fail(ZKFtpErrors::Message message, const QStringList &arguments) {
    setError(ZKFtpErrors::error(message, arguments));
}

bool ZKFtpWriter::connect() {
    // The host without quotes, unlike the reader's message.
    if (const ZKOptionalError failure = logIn(m_url, host(), ZKErrorCode::createFailed)) {
        setError(*failure);
        return false;
    }
    return true;
}

bool ZKFtpWriter::open() {
    close();
    clearError();
    if (!m_url.isValid() || m_url.isEmpty()) {
        fail(ZKFtpErrors::WriterInvalidUrl, {m_url.toString()});
        return false;
    }
    const bool root = ZKFtpUrl::isRoot(m_url);
    if (root && m_isDirectory) {
        // Items are made in the root as in any folder; it is always there.
        if (!connect()) {
            return false;
        }
        ftp()->changePath({});
        if (ftp()->error()) {
            fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
            return false;
        }
        return true;
    }
    if (m_url.path().isEmpty() || m_filename.isEmpty()) {
        fail(ZKFtpErrors::NoFolderSpecified, {m_url.toString()});
        return false;
    }
    if (!connect()) {
        return false;
    }
    ftp()->changePath(parentPathComponents());
    if (ftp()->error()) {
        fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
        return false;
    }
    // Absent from the folder's listing moments ago: nothing to ask. Any
    // entry there is asked about, for the size an upload resumes at.
    bool listed = false;
    std::optional<ZKFtpItem> item = ftp()->listedItem(m_filename, &listed);
    if (!listed || item) {
        item = ftp()->itemWithName(m_filename);
    }
    if (m_isDirectory) {
        // An existing entry of that name is taken as it is.
        if (!item) {
            ftp()->createDirectory(m_filename);
            if (ftp()->error()) {
                fail(ZKFtpErrors::UnableToCreateDirectory, {m_url.path(), clientDescription()});
                return false;
            }
        }
        return true;
    }
    m_size = item ? item->size() : 0;
    ftp()->beginStore(m_filename);
    if (ftp()->error()) {
        fail(ZKFtpErrors::WriterUnableToOpenFile, {m_url.path(), clientDescription()});
        return false;
    }
    m_uploading = true;
    m_appended = 0;
    return true;
}

void ZKFtpWriter::close() {
    if (holdsConnection()) {
        // Also for folder writers: it reads the reply of the client's last
        // transfer when that is still due.
        ftp()->endStore();
        if (m_uploading) {
            checkStoredFile();
        }
        releaseConnection();
    }
    m_uploading = false;
}

// An upload cut on its way can leave the server a shorter file while every
// send here succeeded: only the server's own word counts.
void ZKFtpWriter::checkStoredFile() {
    if (ftp()->error()) {
        fail(ZKFtpErrors::UnableToWriteFile, {m_url.path(), clientDescription()});
        return;
    }
    const quint64 expected = m_size + m_appended;
    // The look at the real name that giving it to the file takes goes
    // along, in the same round trip.
    QString realName;
    if (ZKPartialFile::isPartialName(m_filename)) {
        const QString candidate = m_filename.chopped(ZKPartialFile::suffix.size());
        bool listed = false;
        if (ZKPartialFile::nameFor(candidate) == m_filename &&
            !ftp()->listedItem(candidate, &listed) && listed) {
            realName = candidate;
        }
    }
    const std::optional<ZKFtpItem> item = ftp()->itemWithName(m_filename, realName);
    // A server without SIZE has said all it will in its reply.
    if (item && item->type() == ZKFtpItem::File && item->size() != expected) {
        fail(ZKFtpErrors::StoredSizeDiffers,
             {m_url.path(), QString::number(item->size()), QString::number(expected)});
    }
}

bool ZKFtpWriter::appendBlock(const QByteArray &data) {
    if (!m_uploading) {
        // The shared client's data connection may belong to someone else.
        fail(ZKFtpErrors::NotOpenForWriting, {m_url.path()});
        return false;
    }
    ftp()->storeBlock(data);
    m_appended += quint64(data.size());
    if (ftp()->error()) {
        fail(ZKFtpErrors::UnableToWriteFile, {m_url.path(), clientDescription()});
        return false;
    }
    return true;
}

std::shared_ptr<ZKFtpWriter> ZKFtpWriter::makeChild(const QString &name, bool isDirectory) {
    auto child = std::make_shared<ZKFtpWriter>(ZKFtpUrl::childUrl(m_url, name, isDirectory),
                                               isDirectory, ftp(), username(), password());
    child->useAccountOf(*this);
    return child;
}

std::shared_ptr<ZKWriter> ZKFtpWriter::createDirectory(const QString &name) {
    return createChild(name, true);
}

std::shared_ptr<ZKWriter> ZKFtpWriter::createFile(const QString &name) {
    return createChild(name, false);
}

std::shared_ptr<ZKWriter> ZKFtpWriter::createChild(const QString &name, bool isDirectory) {
    if (!m_isDirectory) {
        fail(isDirectory ? ZKFtpErrors::CannotCreateDirectoryIn : ZKFtpErrors::CannotCreateFileIn,
             {m_url.path()});
        return nullptr;
    }
    ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
    if (ftp()->error()) {
        fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
        return nullptr;
    }
    return makeChild(name, isDirectory);
}

std::shared_ptr<ZKWriter> ZKFtpWriter::createLink(const QString &name, const QString &target) {
    Q_UNUSED(target);
    fail(ZKFtpErrors::CannotCreateLink, {ZKFtpUrl::childUrl(m_url, name, false).path()});
    return nullptr;
}

// Where the commands about this folder's items are sent from; refusal says
// what a file writer cannot do.
bool ZKFtpWriter::enterFolder(ZKFtpErrors::Message refusal) {
    if (!m_isDirectory) {
        fail(refusal, {m_url.path()});
        return false;
    }
    ftp()->changePath(ZKFtpUrl::pathComponents(m_url));
    if (ftp()->error()) {
        fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
        return false;
    }
    return true;
}

bool ZKFtpWriter::removeFile(const QString &name) {
    if (!enterFolder(ZKFtpErrors::CannotRemoveFileFrom)) {
        return false;
    }
    ftp()->removeFile(name);
    if (ftp()->error()) {
        fail(ZKFtpErrors::UnableToRemoveFile, {name, clientDescription()});
        return false;
    }
    return true;
}

bool ZKFtpWriter::canRenameItems() {
    return !m_isDirectory || !ftp() || ftp()->canRenameItems();
}

bool ZKFtpWriter::renameItem(const QString &from, const QString &to, bool replace) {
    if (!enterFolder(ZKFtpErrors::CannotRenameIn)) {
        return false;
    }
    // The servers replace an existing name on RNTO: what the user has there
    // is kept unless told otherwise, at the price of a look first. A name
    // the folder's listing did not hold can since have become a file only
    // by someone else's upload, which SIZE finds; a folder made there
    // meanwhile the servers refuse to rename onto.
    if (!replace) {
        bool listed = false;
        std::optional<bool> taken;
        if (!ftp()->listedItem(to, &listed) && listed) {
            taken = ftp()->isFile(to);
        }
        if (!taken) {
            const std::shared_ptr<ZKReader> folder = asReader();
            const bool opened = folder->open();
            taken = opened && folder->fileInfoForChild(to).has_value();
            folder->close();
        }
        if (*taken) {
            fail(ZKFtpErrors::NameTaken, {m_url.path() + u'/' + to});
            return false;
        }
    }
    if (!ftp()->renameItem(from, to)) {
        fail(ZKFtpErrors::UnableToRename, {from, to, clientDescription()});
        return false;
    }
    return true;
}

bool ZKFtpWriter::removeContents(const std::function<bool()> &isCancelled) {
    const std::shared_ptr<ZKReader> reader = asReader();
    ZKOptionalError childError;
    reader->enumerateContentsOfDirectoryWithBlock([&](const std::shared_ptr<ZKReader> &child) {
        if (isCancelled && isCancelled()) {
            return ZKEnumerationResultStop;
        }
        child->open();
        const std::shared_ptr<ZKWriter> writer = child->asWriter();
        child->close();
        if (!writer->open() || !writer->remove(isCancelled)) {
            childError = writer->error();
            if (!childError) {
                childError = ZKFtpErrors::error(ZKFtpErrors::Cancelled);
            }
        }
        writer->close();
        return childError ? ZKEnumerationResultStop : ZKEnumerationResultContinue;
    });
    if (!childError && reader->error()) {
        childError = reader->error();
    }
    if (childError) {
        fail(ZKFtpErrors::UnableToRemoveContents, {m_filename, childError->localizedDescription()});
        return false;
    }
    return true;
}

bool ZKFtpWriter::remove(const std::function<bool()> &isCancelled) {
    if (isCancelled && isCancelled()) {
        return false;
    }
    if (removalDepth >= maximumRemovalDepth) {
        fail(ZKFtpErrors::FoldersNestTooDeeply, {m_filename});
        return false;
    }
    // A writer made from a source reader is asked to remove without having
    // been opened, after the reader gave back the connection.
    if (!holdsConnection() && !connect()) {
        return false;
    }
    ++removalDepth;
    const auto leave = qScopeGuard([] { --removalDepth; });

    ftp()->changePath(parentPathComponents());
    if (ftp()->error()) {
        fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
        return false;
    }
    if (m_isDirectory) {
        if (!removeContents(isCancelled)) {
            return false;
        }
        if (isCancelled && isCancelled()) {
            return false;
        }
        if (ZKFtpUrl::isRoot(m_url)) {
            return true; // moved away is what it held; the root itself stays
        }
        ftp()->changePath(parentPathComponents());
        if (ftp()->error()) {
            fail(ZKFtpErrors::WriterPathNotFound, {m_url.path(), clientDescription()});
            return false;
        }
        ftp()->removeDirectory(m_filename);
        if (ftp()->error()) {
            fail(ZKFtpErrors::UnableToRemoveDirectory, {m_filename, clientDescription()});
            return false;
        }
        return true;
    }
    // An upload still open on this file is finished before the file goes.
    ftp()->endStore();
    m_uploading = false;
    ftp()->removeFile(m_filename);
    if (ftp()->error()) {
        fail(ZKFtpErrors::UnableToRemoveFile, {m_filename, clientDescription()});
        return false;
    }
    return true;
}

std::shared_ptr<ZKReader> ZKFtpWriter::asReader() {
    std::shared_ptr<ZKFtpReader> reader;
    if (ftp()->isConnected()) {
        ftp()->changePath(parentPathComponents());
        std::optional<ZKFtpItem> item;
        if (!ftp()->error()) {
            bool listed = false;
            item = ftp()->listedItem(m_filename, &listed);
            if (!item) {
                item = ftp()->itemWithName(m_filename);
            }
        }
        reader = std::make_shared<ZKFtpReader>(m_url, username(), password(), ftp(), item);
    } else {
        reader = std::make_shared<ZKFtpReader>(m_url);
    }
    reader->useAccountOf(*this);
    return reader;
}
