// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Every error of reading, writing and re-creating property lists, with its
// code and its text, in one table, so that the texts can be translated. A
// code with more than one text has one message for each.
class ZKPropertyListErrors {
public:
    enum Message {
        // Re-creating objects.
        TypeNotFound,
        UnknownClass,
        NoPropertyListSupport,
        // Writing.
        NullInText,
        InvalidDate,
        DateOutOfRange,
        NullInKey,
        UnsavableType,
        UnsavableUnnamedType,
        TooDeepToWrite,
        NotWrittenAsXml,
        NotWrittenAsBinary,
        // Reading.
        DataEmpty,
        DataTooLarge,
        TooDeepToRead,
        NotWellFormedXml,
        NotPropertyList,
        Truncated,
        BinaryDamaged,
        ContainerIncludesItself,
        TooManyReferences,
        DateUnreadable,
        NotRead,
        UnreadableKind,
        MessageCount
    };

    // The arguments fill %1, %2 ... of the message's text.
    static ZKError error(Message message, const QStringList &arguments = {});
    // The same, for a value inside the tree: path holds the keys and indexes
    // that lead to it from the top.
    static ZKError error(Message message, const QStringList &arguments, const QStringList &path);

private:
    ZKPropertyListErrors() = delete;
};
