// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListErrors.h"

#include "ZKPropertyListSerialization.h"

namespace {

using M = ZKPropertyListErrors;

struct Entry {
    ZKPropertyListErrors::Message message;
    qint64 code;
    const char *text;
};

constexpr const char *context = "ZKPropertyListErrors";
// A refusal of the data read, and one of the values asked to be written.
constexpr qint64 unreadable = ZKPropertyListSerialization::unreadableDataCode;
constexpr qint64 unsupported = ZKPropertyListSerialization::unsupportedValueCode;

constexpr Entry entries[] = {
    {M::TypeNotFound, ZKErrorCode::unknownClass,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property 'Type' was not found in the property list.")},
    {M::UnknownClass, ZKErrorCode::unknownClass,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "'%1' is not recognised as a valid class name.")},
    {M::NoPropertyListSupport, ZKErrorCode::noPropertyListSupport,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The '%1' class does not support initialisation from a property list.")},
    {M::NullInText, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "A text contains a null character, which a property list cannot hold.")},
    {M::InvalidDate, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list contains an invalid date.")},
    {M::DateOutOfRange, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The date %1 lies outside the range a property list can hold.")},
    {M::NullInKey, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "A dictionary key contains a null character, "
                                               "which a property list cannot hold.")},
    {M::UnsavableType, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list contains a value of type '%1', which cannot be saved.")},
    {M::UnsavableUnnamedType, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list contains a value of type "
                                               "'none', which cannot be saved.")},
    {M::TooDeepToWrite, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list nests containers more than %1 levels deep.")},
    {M::NotWrittenAsXml, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list could not be written as XML.")},
    {M::NotWrittenAsBinary, unsupported,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list could not be written in binary form.")},
    {M::DataEmpty, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list data is empty.")},
    {M::DataTooLarge, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list data is %1 bytes long, more "
                                               "than the %2 bytes that can be read.")},
    {M::TooDeepToRead, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list nests containers more than %1 levels deep.")},
    {M::NotWellFormedXml, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list data is not well-formed XML.")},
    {M::NotPropertyList, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The data is not a readable property list.")},
    {M::Truncated, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list data ends before its elements "
                                               "are closed; it may be truncated.")},
    {M::BinaryDamaged, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The binary property list is damaged.")},
    {M::ContainerIncludesItself, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The binary property list contains a container that includes itself.")},
    {M::TooManyReferences, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The binary property list refers to the same "
                                               "containers too often to be read safely.")},
    {M::DateUnreadable, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list contains a date outside the readable range.")},
    {M::NotRead, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors", "The property list could not be read.")},
    {M::UnreadableKind, unreadable,
     QT_TRANSLATE_NOOP("ZKPropertyListErrors",
                       "The property list contains a value of a kind that cannot be read.")},
};

// %1: the message, %2: the keys and indexes that lead to the value.
const char *const atPath = QT_TRANSLATE_NOOP("ZKPropertyListErrors", "%1 (at '%2')");

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKPropertyListErrors::MessageCount),
              "the entries follow the order of ZKPropertyListErrors::Message");

} // namespace

ZKError ZKPropertyListErrors::error(Message message, const QStringList &arguments) {
    return error(message, arguments, {});
}

ZKError ZKPropertyListErrors::error(Message message, const QStringList &arguments,
                                    const QStringList &path) {
    Q_ASSERT(message >= 0 && message < MessageCount);
    const Entry &entry = entries[message];
    QString text = ZKError::translatedText(context, entry.text, arguments);
    if (!path.isEmpty()) {
        text = ZKError::translatedText(context, atPath, {text, path.join(QLatin1Char('/'))});
    }
    return ZKError::application(entry.code, text);
}
