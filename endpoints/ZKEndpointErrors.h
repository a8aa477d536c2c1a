// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Every error the local and HTTP endpoints make, with its domain, its code
// and its text, in one table, so that the texts can be translated. A code
// with more than one text has one message for each.
class ZKEndpointErrors {
public:
    enum Message {
        // Writing local files.
        InvalidPath,
        LinkInPlaceOfFolder,
        LinkInPlaceOfFile,
        FolderInPlaceOfFile,
        UnableToCreate,
        UnableToOpenForWriting,
        NotRegularFileForWriting,
        UnableToSeekToEnd,
        AnotherProcessWriting,
        WriteToUnopenedFile,
        UnableToWriteData,
        CannotCreateDirectoryIn,
        CannotCreateFileIn,
        CannotCreateLinkIn,
        // Writing local files, in the system's domain with its errno.
        UnableToCreateFolder,
        UnableToCreateLink,
        UnableToRemove,
        NameTaken,
        UnableToRename,
        // Reading local files.
        InvalidFilePath,
        UnableToDetermineSize,
        UnableToResolveLink,
        UnableToOpen,
        NotRegularFile,
        UnableToReadFrom,
        BlockTooLarge,
        FileBecameShorter,
        // Why an item is left out of a copy, and its error when opened.
        InvalidName,
        NotCopyable,
        InvalidLinkTarget,
        // Reading over HTTP.
        InvalidUrl,
        InvalidRange,
        WrongRange,
        ErrorStatus,
        ConnectionClosedEarly,
        ResponseTimedOut,
        DataTimedOut,
        MessageCount
    };

    // The arguments fill %1, %2 ... of the message's text.
    static ZKError error(Message message, const QStringList &arguments = {});
    // A message of the system's domain, whose code is the errno.
    static ZKError systemError(Message message, int number, const QStringList &arguments);
    static QString text(Message message, const QStringList &arguments = {});

private:
    ZKEndpointErrors() = delete;
};
