// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOperationErrors.h"

#include <QtGlobal>

namespace {

using M = ZKOperationErrors;

struct Entry {
    ZKOperationErrors::Message message;
    qint64 code;
    const char *text;
};

constexpr const char *context = "ZKOperationErrors";

constexpr Entry entries[] = {
    {M::AlreadyExists, ZKErrorCode::conflict,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "A file named '%1' already exists.")},
    {M::CopyIntoItself, ZKErrorCode::analysisRefused,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Cannot copy the folder '%1' into '%2', which is inside it.")},
    {M::UnableToOpen, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to open '%1'.")},
    {M::InvalidPath, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Invalid path: '%1'")},
    {M::FolderAlreadyExists, ZKErrorCode::conflict,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "A folder already exists with the name '%1'.")},
    {M::UnableToRead, ZKErrorCode::analysisRefused,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to read '%1'.")},
    {M::UnableToWrite, ZKErrorCode::analysisRefused,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to write '%1'.")},
    {M::CannotCreateLink, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Cannot create a symbolic link in '%1'.")},
    {M::CannotCreateDirectory, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Cannot create a directory in '%1'.")},
    {M::CannotCreateFile, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Cannot create a file in '%1'.")},
    {M::ChangedWhileCopied, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Unable to copy '%1': it changed while it was copied. The copy was "
                       "removed, to be made anew.")},
    {M::UnableToRename, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to rename '%1' to '%2'.")},
    {M::AnotherProcessWriting, ZKErrorCode::createFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Unable to access '%1': another process is writing to the file.")},
    {M::UnableToWriteData, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to write data to '%1': unknown error.")},
    {M::UnableToReadData, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to read from '%1': no data.")},
    {M::UnableToRemove, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Unable to remove '%1'.")},
    // %1: the description of the error that ended the comparison.
    {M::VerificationFailed, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: %1")},
    {M::VerifiedCopyMissing, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: '%1' could not be found.")},
    {M::VerifiedSourceUnopened, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: Unable to open '%1'.")},
    {M::VerifiedFileAndDirectory, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Verification failed: cannot compare a file to a directory.")},
    {M::VerifiedLinkAndFile, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Verification failed: cannot compare a link with a file.")},
    {M::VerifiedLinkTarget, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Verification failed: Symbolic link '%1' is expected to point to '%2' but "
                       "points to '%3'.")},
    {M::VerifiedSizesDiffer, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: files are different sizes.")},
    {M::VerifiedResumeFailed, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: Unable to resume at byte %1.")},
    {M::VerifiedSourceEndedEarly, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: '%1' ended early.")},
    {M::VerifiedContentsDiffer, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Verification failed: file contents differ.")},
    {M::RemovalNotCopied, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors", "Cannot remove files because %1 was not copied.")},
    {M::RemovalSameItem, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Cannot remove files because %1 is both the source and destination.")},
    {M::RemovalSizeDiffers, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Cannot remove files because %1 is not the same size as %2.")},
    {M::RemovalContentsDiffer, ZKErrorCode::verificationFailed,
     QT_TRANSLATE_NOOP("ZKOperationErrors",
                       "Cannot remove files because %1 is not the same as %2.")},
};

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKOperationErrors::MessageCount),
              "the entries follow the order of ZKOperationErrors::Message");

} // namespace

ZKError ZKOperationErrors::error(Message message, const QStringList &arguments) {
    Q_ASSERT(message >= 0 && message < MessageCount);
    const Entry &entry = entries[message];
    return ZKError::application(entry.code,
                                ZKError::translatedText(context, entry.text, arguments));
}
