// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKEndpointErrors.h"

#include "ZKFileSystemWriter.h"
#include "ZKHttpReader.h"

#include <QNetworkReply>

namespace {

using M = ZKEndpointErrors;

enum class Domain { Application, System, Network };

struct Entry {
    ZKEndpointErrors::Message message;
    Domain domain;
    qint64 code; // none for the system's domain: the errno is
    const char *text;
};

constexpr const char *context = "ZKEndpointErrors";
constexpr Domain app = Domain::Application;

constexpr Entry entries[] = {
    {M::InvalidPath, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Invalid path: '%1'")},
    {M::LinkInPlaceOfFolder, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors",
                       "Unable to create the folder '%1': a symbolic link stands in its place.")},
    {M::LinkInPlaceOfFile, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors",
                       "Unable to create '%1': a symbolic link stands in its place.")},
    {M::FolderInPlaceOfFile, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to open '%1' as a file.")},
    {M::UnableToCreate, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to create '%1': %2.")},
    {M::UnableToOpenForWriting, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to open '%1': %2.")},
    {M::NotRegularFileForWriting, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to open '%1': it is not a regular file.")},
    {M::UnableToSeekToEnd, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to seek to end of file '%1': %2")},
    {M::AnotherProcessWriting, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors",
                       "Unable to access '%1': another process is writing to the file.")},
    {M::WriteToUnopenedFile, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to write data to unopened file '%1'.")},
    {M::UnableToWriteData, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to write data to '%1': %2.")},
    {M::CannotCreateDirectoryIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Cannot create a directory in '%1'.")},
    {M::CannotCreateFileIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Cannot create a file in '%1'.")},
    {M::CannotCreateLinkIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Cannot create a symbolic link in '%1'.")},
    {M::UnableToCreateFolder, Domain::System, 0,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to create the folder '%1': %2.")},
    {M::UnableToCreateLink, Domain::System, 0,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to create the symbolic link '%1': %2.")},
    {M::UnableToRemove, Domain::System, 0,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to remove '%1': %2.")},
    {M::NameTaken, Domain::System, 0,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "A file named '%1' already exists.")},
    {M::UnableToRename, Domain::System, 0,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to rename '%1': %2.")},
    {M::InvalidFilePath, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Invalid file path: '%1'")},
    {M::UnableToDetermineSize, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to determine the size of '%1': %2")},
    {M::UnableToResolveLink, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to resolve symbolic link '%1': %2")},
    {M::UnableToOpen, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to open '%1': %2.")},
    {M::NotRegularFile, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to open '%1': it is not a regular file.")},
    {M::UnableToReadFrom, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to read from '%1': %2.")},
    {M::BlockTooLarge, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Unable to read from '%1': the block is too large.")},
    {M::FileBecameShorter, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors",
                       "Unable to read from '%1': the file became shorter while it was read (%2 "
                       "bytes expected, it ends at %3).")},
    {M::InvalidName, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "The name of '%1' is not valid UTF-8.")},
    {M::NotCopyable, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "'%1' is not a regular file, folder or link.")},
    {M::InvalidLinkTarget, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "The target of the link '%1' is not valid UTF-8.")},
    {M::InvalidUrl, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Invalid url: '%1'")},
    {M::InvalidRange, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "The server at %1 sent bytes of an invalid range.")},
    {M::WrongRange, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors",
                       "The server at %1 sent bytes from %2 on when asked for bytes from %3 on.")},
    // %1: the status code, and its reason phrase when the server gave one.
    {M::ErrorStatus, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "The server answered %1 for '%2'.")},
    {M::ConnectionClosedEarly, Domain::Network, QNetworkReply::RemoteHostClosedError,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "The connection to %1 closed after %2 of %3 bytes.")},
    {M::ResponseTimedOut, app, ZKErrorCode::httpTimeout,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Timed out waiting for response from %1.")},
    {M::DataTimedOut, app, ZKErrorCode::httpTimeout,
     QT_TRANSLATE_NOOP("ZKEndpointErrors", "Timed out waiting for data from %1.")},
};

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKEndpointErrors::MessageCount),
              "the entries follow the order of ZKEndpointErrors::Message");

const Entry &entryOf(ZKEndpointErrors::Message message) {
    Q_ASSERT(message >= 0 && message < ZKEndpointErrors::MessageCount);
    return entries[message];
}

} // namespace

ZKError ZKEndpointErrors::error(Message message, const QStringList &arguments) {
    const Entry &entry = entryOf(message);
    Q_ASSERT(entry.domain != Domain::System);
    const QString &domain = entry.domain == Domain::Network ? ZKHttpReader::networkErrorDomain
                                                            : ZKError::applicationDomain;
    return ZKError(domain, entry.code, text(message, arguments));
}

ZKError ZKEndpointErrors::systemError(Message message, int number, const QStringList &arguments) {
    Q_ASSERT(entryOf(message).domain == Domain::System);
    return ZKError(ZKFileSystemWriter::posixErrorDomain, number, text(message, arguments));
}

QString ZKEndpointErrors::text(Message message, const QStringList &arguments) {
    return ZKError::translatedText(context, entryOf(message).text, arguments);
}
