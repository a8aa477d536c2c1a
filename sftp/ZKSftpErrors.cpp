// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpErrors.h"

#include <QCoreApplication>

namespace {

using M = ZKSftpErrors;

struct Entry {
    ZKSftpErrors::Message message;
    qint64 code;
    const char *text;
};

constexpr const char *context = "ZKSftpErrors";
constexpr qint64 read = ZKErrorCode::readFailed;
constexpr qint64 create = ZKErrorCode::createFailed;

constexpr Entry entries[] = {
    {M::InvalidAddress, read, QT_TRANSLATE_NOOP("ZKSftpErrors", "'%1' is not an SFTP address.")},
    {M::UnableToConnect, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to connect to %1: %2")},
    {M::HandshakeFailed, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "The SSH handshake with %1 failed: %2")},
    // As the user knows it from the terminal: the host, the key's type and
    // its fingerprint.
    {M::HostKeyUnknown, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "The authenticity of host '%1' can't be established.\n"
                                       "%2 key fingerprint is %3.")},
    {M::HostKeyChanged, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors",
                       "The host key of '%1' has changed: the %2 key it sent (%3) is not the "
                       "one %4:%5 holds. Someone may be intercepting the connection, or the "
                       "server's key was replaced; nothing was sent. If the change is expected, "
                       "remove line %5 of %4.")},
    {M::HostKeyNotRecorded, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "The key of '%1' was accepted but could not be "
                                       "recorded: %2")},
    {M::ProxyJumpUnsupported, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "'%1' is reached through ProxyJump %2 in the SSH "
                                       "configuration, which is not supported yet.")},
    {M::AuthenticationFailed, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to log in to %1 as '%2': no key of the agent or "
                                       "of the key files and no password was accepted.")},
    {M::SftpUnavailable, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "%1 offers no SFTP service: %2")},
    {M::ConnectionLost, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "The connection to %1 was lost: %2")},
    {M::NoSuchItem, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "no such file or folder")},
    {M::PermissionDenied, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "permission denied")},
    {M::ServerFailure, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "the server reported a failure")},
    {M::Unsupported, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "the server does not support this")},
    {M::OtherStatus, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "the server answered with status %1")},
    {M::TimedOut, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "the server did not answer within the time limit (%1 s)")},
    {M::NoItemSpecified, read,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "The address '%1' names no file or folder.")},
    {M::UnableToOpen, 0, QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to open '%1' on %2: %3")},
    {M::UnableToRead, read, QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to read '%1' on %2: %3")},
    {M::EndedEarly, read,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "'%1' on %2 ended after %3 of its %4 bytes.")},
    {M::UnableToList, read,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to list the folder '%1' on %2: %3")},
    {M::EntryNotPlainName, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "the server listed '%1', which is not a plain name")},
    {M::NameNotUtf8, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Its name is not valid UTF-8, so it cannot be named "
                                       "anywhere else.")},
    {M::NotRegularFile, read,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "'%1' on %2 is not a regular file, folder or link.")},
    {M::FoldersNestTooDeep, 0,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "the folders nest more than %1 deep")},
    {M::NotAFolder, create, QT_TRANSLATE_NOOP("ZKSftpErrors", "'%1' on %2 is not a folder.")},
    {M::UnableToCreateDirectory, create,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to create the folder '%1' on %2: %3")},
    {M::UnableToOpenForWriting, create,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to open '%1' on %2 for writing: %3")},
    {M::UnableToWrite, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to write '%1' on %2: %3")},
    {M::UnableToRemove, create,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to remove '%1' on %2: %3")},
    {M::UnableToRename, create,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to rename '%1' to '%2' on %3: %4")},
    {M::NameTaken, ZKErrorCode::conflict,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "A file named '%1' already exists.")},
    {M::UnableToCreateLink, create,
     QT_TRANSLATE_NOOP("ZKSftpErrors", "Unable to create the link '%1' on %2: %3")},
    {M::Cancelled, create, QT_TRANSLATE_NOOP("ZKSftpErrors", "cancelled")},
};

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKSftpErrors::MessageCount),
              "the entries follow the order of ZKSftpErrors::Message");

const Entry &entryOf(ZKSftpErrors::Message message) {
    Q_ASSERT(message >= 0 && message < ZKSftpErrors::MessageCount);
    return entries[message];
}

} // namespace

ZKError ZKSftpErrors::error(Message message, const QStringList &arguments) {
    Q_ASSERT(entryOf(message).code != 0);
    return error(message, entryOf(message).code, arguments);
}

ZKError ZKSftpErrors::error(Message message, qint64 code, const QStringList &arguments) {
    return ZKError(ZKError::applicationDomain, code, text(message, arguments));
}

QString ZKSftpErrors::text(Message message, const QStringList &arguments) {
    return ZKError::translatedText(context, entryOf(message).text, arguments);
}
