// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Every error the file operations make, with its code and its text, in one
// table, so that the texts can be translated. A code with more than one text
// has one message for each.
class ZKOperationErrors {
public:
    enum Message {
        AlreadyExists,
        CopyIntoItself,
        UnableToOpen,
        InvalidPath,
        FolderAlreadyExists,
        UnableToRead,
        UnableToWrite,
        CannotCreateLink,
        CannotCreateDirectory,
        CannotCreateFile,
        ChangedWhileCopied,
        UnableToRename,
        AnotherProcessWriting,
        UnableToWriteData,
        UnableToReadData,
        UnableToRemove,
        // Verification, by what it found.
        VerificationFailed,
        VerifiedCopyMissing,
        VerifiedSourceUnopened,
        VerifiedFileAndDirectory,
        VerifiedLinkAndFile,
        VerifiedLinkTarget,
        VerifiedSizesDiffer,
        VerifiedResumeFailed,
        VerifiedSourceEndedEarly,
        VerifiedContentsDiffer,
        // Removing the source, by why it was refused.
        RemovalNotCopied,
        RemovalSameItem,
        RemovalSizeDiffers,
        RemovalContentsDiffer,
        MessageCount
    };

    // The arguments fill %1, %2 ... of the message's text.
    static ZKError error(Message message, const QStringList &arguments = {});

private:
    ZKOperationErrors() = delete;
};
