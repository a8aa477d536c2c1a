// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpErrors.h"

#include <cerrno>

namespace {

using M = ZKFtpErrors;
namespace C = ZKFtpErrorCode;

enum class Domain { Ftp, Socket, Application };

struct Entry {
    ZKFtpErrors::Message message;
    Domain domain;
    qint64 code;
    const char *text;
};

constexpr const char *context = "ZKFtpErrors";
constexpr Domain ftp = Domain::Ftp;
constexpr Domain socket = Domain::Socket;
constexpr Domain app = Domain::Application;

constexpr Entry entries[] = {
    {M::NoHost, ftp, C::request, QT_TRANSLATE_NOOP("ZKFtpErrors", "No host specified.")},
    {M::ReleasedTooOften, ftp, C::client,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Released connection too many times.")},
    {M::SendWithoutConnection, ftp, C::connection,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot send request: client is not connected.")},
    {M::UnsafeParameter, ftp, C::connection,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot send request: the parameter of %1 holds a line "
                                      "break or a NUL character.")},
    {M::NoAnswerFromServer, ftp, C::client,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server did not answer within the time limit (%1 s).")},
    {M::ReadWithoutConnection, ftp, C::connection,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot read response: client is not connected.")},
    {M::ServerClosedConnection, ftp, C::connection,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server closed the connection.")},
    {M::UnparsableResponse, ftp, C::request,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to parse response '%1'")},
    {M::UnparsablePassiveAddress, ftp, C::request,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to parse response '%1': a passive address is six "
                                      "numbers from 0 to 255 naming a port")},
    {M::RenameNotAccepted, ftp, C::request,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server did not accept renaming '%1': %2")},
    {M::RenameNotFinished, ftp, C::request,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server did not finish renaming '%1' to '%2': %3")},
    {M::ListingNotUtf8, ftp, C::request,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server sent a listing that is not valid UTF-8.")},
    {M::InvalidResponse, ftp, C::connection,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Invalid response from ftp server: '%1'")},
    {M::RefusalWithoutText, ftp, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "Error code %1")},
    {M::SocketNotConnected, socket, ENOTCONN,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "socket is not connected")},
    {M::ReceiveTimedOut, socket, ETIMEDOUT,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server did not answer within the time limit (%1 s).")},
    {M::SendTimedOut, socket, ETIMEDOUT,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The server took no data within the time limit (%1 s).")},
    {M::NotNetworkAddress, socket, 0,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "'%1' is not a network address")},
    {M::UnknownHostName, socket, 0,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unrecognised host name '%1'")},
    // The last argument: the library's reason, or ConnectionCut.
    {M::SendingOverTlsFailed, socket, EPROTO,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Sending over TLS failed: %1")},
    {M::ReceivingOverTlsFailed, socket, EPROTO,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Receiving over TLS failed: %1")},
    {M::TlsHandshakeFailed, socket, EPROTO,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "The TLS handshake with %1 failed: %2")},
    {M::DataNeverTaken, socket, ETIMEDOUT,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Timed out while sending: %1 bytes were never taken")},
    // Code 0 from here: parts of other texts, or errors whose code the
    // endpoint that reports them gives.
    {M::ConnectionCut, socket, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "the connection was cut")},
    // Why a server's certificate is refused.
    {M::NoCertificate, socket, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "it sent none")},
    {M::UnableToConnect, app, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to connect to %1: %2")},
    {M::UnableToLogIn, app, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to log in to %1: %2")},
    {M::UnknownError, app, 0, QT_TRANSLATE_NOOP("ZKFtpErrors", "unknown error")},
    {M::ReaderInvalidUrl, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Invalid url: '%1'")},
    {M::NoItemSpecified, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "No file or folder specified: '%1'")},
    {M::ReaderPathNotFound, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to find path '%1': %2")},
    {M::ReaderUnableToOpenFile, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to open file '%1': %2")},
    {M::NoSuchFile, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to open file '%1': No such file or directory")},
    {M::UnableToReadFile, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to read file '%1': %2")},
    {M::DataConnectionClosedEarly, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP(
         "ZKFtpErrors",
         "Unable to read file '%1': the data connection closed after %2 of %3 bytes")},
    {M::DataLongerThanListed, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors",
                       "Unable to read file '%1': it is longer than the %2 bytes it was listed "
                       "with, so it changed since it was listed")},
    {M::TopFolderNotListed, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to list files in the top folder of %1: %2")},
    {M::FolderNotListed, app, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to list files in directory '/%1' on %2: %3")},
    {M::EntryNotPlainName, app, 0,
     QT_TRANSLATE_NOOP("ZKFtpErrors",
                       "the server listed the entry '%1', which is not a plain file name")},
    {M::FoldersNestTooDeep, app, 0,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "the folders nest more than %1 levels deep")},
    {M::WriterInvalidUrl, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Invalid url: '%1'")},
    {M::WriterPathNotFound, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to find path '%1': %2")},
    {M::NoFolderSpecified, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "No folder specified: '%1'")},
    {M::UnableToCreateDirectory, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to create directory '%1': %2")},
    {M::WriterUnableToOpenFile, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to open file '%1': %2")},
    {M::UnableToWriteFile, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to write to file '%1': %2")},
    {M::StoredSizeDiffers, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors",
                       "Unable to write to file '%1': the server holds %2 bytes of %3")},
    {M::NotOpenForWriting, app, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors",
                       "Unable to write to file '%1': the file is not open for writing")},
    {M::CannotCreateDirectoryIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot create a directory in '%1'.")},
    {M::CannotCreateFileIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot create a file in '%1'.")},
    {M::CannotCreateLink, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot create a symbolic link at '%1'.")},
    {M::CannotRemoveFileFrom, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot remove a file from '%1'.")},
    {M::CannotRenameIn, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Cannot rename a file in '%1'.")},
    {M::UnableToRemoveFile, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to remove file '%1': %2")},
    {M::NameTaken, app, ZKErrorCode::conflict,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "A file named '%1' already exists.")},
    {M::UnableToRename, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to rename '%1' to '%2': %3")},
    {M::Cancelled, app, ZKErrorCode::createFailed, QT_TRANSLATE_NOOP("ZKFtpErrors", "cancelled")},
    {M::UnableToRemoveContents, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to remove contents of directory '%1': %2")},
    {M::FoldersNestTooDeeply, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors",
                       "Unable to remove directory '%1': the folders nest too deeply")},
    {M::UnableToRemoveDirectory, app, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKFtpErrors", "Unable to remove directory '%1': %2")},
};

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKFtpErrors::MessageCount),
              "the entries follow the order of ZKFtpErrors::Message");

const Entry &entryOf(ZKFtpErrors::Message message) {
    Q_ASSERT(message >= 0 && message < ZKFtpErrors::MessageCount);
    return entries[message];
}

// The same texts as ZKFtpClient::errorDomain and ZKSocket::errorDomain,
// made here so that the replies' parser needs neither class.
QString domainText(Domain domain) {
    switch (domain) {
    case Domain::Ftp:
        return QStringLiteral("com.velmarind.ftp.ErrorDomain");
    case Domain::Socket:
        return QStringLiteral("com.velmarind.socket.ErrorDomain");
    case Domain::Application:
        break;
    }
    return ZKError::applicationDomain;
}

} // namespace

ZKError ZKFtpErrors::error(Message message, const QStringList &arguments) {
    Q_ASSERT(entryOf(message).code != 0);
    return error(message, entryOf(message).code, arguments);
}

ZKError ZKFtpErrors::error(Message message, qint64 code, const QStringList &arguments) {
    return ZKError(domainText(entryOf(message).domain), code, text(message, arguments));
}

ZKError ZKFtpErrors::serverRefusal(qint64 code, const QString &replyText) {
    return ZKError(domainText(Domain::Ftp), code, replyText);
}

QString ZKFtpErrors::text(Message message, const QStringList &arguments) {
    return ZKError::translatedText(context, entryOf(message).text, arguments);
}
