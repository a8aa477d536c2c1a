// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Codes of the FTP client's own errors; a refusal by the server has the
// server's reply code instead.
namespace ZKFtpErrorCode {
// No connection, or one that broke or answered what is no reply.
inline constexpr qint64 connection = 1;
// A request that cannot be sent, or a reply that cannot be used.
inline constexpr qint64 request = 2;
// The client's own limits: time, and connections given back.
inline constexpr qint64 client = 3;
} // namespace ZKFtpErrorCode

// Every error of the FTP client, its sockets and its endpoints, with its
// domain, its code and its text, in one table, so that the texts can be
// translated. A code with more than one text has one message for each.
class ZKFtpErrors {
public:
    enum Message {
        // The client, in its own domain.
        NoHost,
        ReleasedTooOften,
        SendWithoutConnection,
        UnsafeParameter,
        NoAnswerFromServer,
        ReadWithoutConnection,
        ServerClosedConnection,
        UnparsableResponse,
        UnparsablePassiveAddress,
        RenameNotAccepted,
        RenameNotFinished,
        ListingNotUtf8,
        InvalidResponse,
        // A refusal whose reply has no text, with the reply code as its code.
        RefusalWithoutText,
        // The sockets, in their domain; some with the errno as code.
        SocketNotConnected,
        ReceiveTimedOut,
        SendTimedOut,
        NotNetworkAddress,
        UnknownHostName,
        SendingOverTlsFailed,
        ReceivingOverTlsFailed,
        TlsHandshakeFailed,
        DataNeverTaken,
        // Parts of other texts: text() only; and errors that the endpoints
        // report with their own code.
        ConnectionCut,
        NoCertificate,
        UnableToConnect,
        UnableToLogIn,
        UnknownError,
        // Reading.
        ReaderInvalidUrl,
        NoItemSpecified,
        ReaderPathNotFound,
        ReaderUnableToOpenFile,
        NoSuchFile,
        UnableToReadFile,
        DataConnectionClosedEarly,
        DataLongerThanListed,
        TopFolderNotListed,
        FolderNotListed,
        // Why a folder could not be listed: parts of the texts above.
        EntryNotPlainName,
        FoldersNestTooDeep,
        // Writing.
        WriterInvalidUrl,
        WriterPathNotFound,
        NoFolderSpecified,
        UnableToCreateDirectory,
        WriterUnableToOpenFile,
        UnableToWriteFile,
        StoredSizeDiffers,
        NotOpenForWriting,
        CannotCreateDirectoryIn,
        CannotCreateFileIn,
        CannotCreateLink,
        CannotRemoveFileFrom,
        CannotRenameIn,
        UnableToRemoveFile,
        NameTaken,
        UnableToRename,
        Cancelled,
        UnableToRemoveContents,
        FoldersNestTooDeeply,
        UnableToRemoveDirectory,
        MessageCount
    };

    // The arguments fill %1, %2 ... of the message's text.
    static ZKError error(Message message, const QStringList &arguments = {});
    // For a message whose code is known only where it happens: the errno,
    // the server's reply code, or the side of the transfer that failed.
    static ZKError error(Message message, qint64 code, const QStringList &arguments);
    static QString text(Message message, const QStringList &arguments = {});
    // A refusal in the server's own words, in the client's domain.
    static ZKError serverRefusal(qint64 code, const QString &replyText);

private:
    ZKFtpErrors() = delete;
};
