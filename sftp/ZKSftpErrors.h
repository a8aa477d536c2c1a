// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Every error of the SSH connection and the SFTP endpoints, with its code
// and its text, in one table so that the texts can be translated. Errors are
// in the application domain; the endpoints give the code of the side that
// failed (reading or writing) where one text serves both.
class ZKSftpErrors {
public:
    enum Message {
        // Reaching and trusting the server.
        InvalidAddress,
        UnableToConnect,
        HandshakeFailed,
        HostKeyUnknown,
        HostKeyChanged,
        HostKeyNotRecorded,
        ProxyJumpUnsupported,
        AuthenticationFailed,
        SftpUnavailable,
        ConnectionLost,
        // Why a request failed: parts of other texts.
        NoSuchItem,
        PermissionDenied,
        ServerFailure,
        Unsupported,
        OtherStatus,
        TimedOut,
        // Reading.
        NoItemSpecified,
        UnableToOpen,
        UnableToRead,
        EndedEarly,
        UnableToList,
        EntryNotPlainName,
        NameNotUtf8,
        NotRegularFile,
        FoldersNestTooDeep,
        // Writing.
        NotAFolder,
        UnableToCreateDirectory,
        UnableToOpenForWriting,
        UnableToWrite,
        UnableToRemove,
        UnableToRename,
        NameTaken,
        UnableToCreateLink,
        Cancelled,
        MessageCount
    };

    // For a message with a code of its own.
    static ZKError error(Message message, const QStringList &arguments = {});
    // For a message whose code is the side of the transfer that failed.
    static ZKError error(Message message, qint64 code, const QStringList &arguments);
    static QString text(Message message, const QStringList &arguments = {});

private:
    ZKSftpErrors() = delete;
};
