// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueFileErrors.h"

namespace {

using M = ZKQueueFileErrors;

struct Entry {
    ZKQueueFileErrors::Message message;
    qint64 code; // 0: a part of other texts, no error of its own
    const char *text;
};

constexpr const char *context = "ZKQueueFileErrors";

constexpr Entry entries[] = {
    // %2: why, without a full stop of its own.
    {M::CannotBeOpened, ZKErrorCode::unknownClass,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "The queue \"%1\" cannot be opened: %2.")},
    {M::CannotBeSaved, ZKErrorCode::writeFailed,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "Unable to save the queue \"%1\": %2.")},
    {M::NeverSaved, ZKErrorCode::readFailed,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "The queue has never been saved.")},
    {M::TooLargeForQueue, 0,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "the file is too large to be a queue")},
    {M::NotAQueue, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "it is not a Ferrowick queue")},
    {M::EntryOfWrongType, 0,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "the entry \"%1\" has the wrong type")},
    // The last two arguments: what is wrong, and the value as it was read
    // (empty, or " (value)").
    {M::EntryProblem, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "the entry \"%1\" %2%3")},
    {M::EntryOfSpeedLimitProblem, 0,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "the entry \"%1\" of the speed limit %2%3")},
    {M::EntryOfTaskProblem, 0,
     QT_TRANSLATE_NOOP("ZKQueueFileErrors", "the entry \"%1\" of task %2 %3%4")},
    {M::HasWrongType, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "has the wrong type")},
    {M::NotFiniteNumber, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "is not a finite number")},
    {M::IsNegative, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "is negative")},
    {M::NotWholeNumber, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "is not a whole number")},
    {M::IsOutOfRange, 0, QT_TRANSLATE_NOOP("ZKQueueFileErrors", "is out of range")},
};

// The table is read by position.
static_assert(ZKError::followsMessageOrder(entries, ZKQueueFileErrors::MessageCount),
              "the entries follow the order of ZKQueueFileErrors::Message");

const Entry &entryOf(ZKQueueFileErrors::Message message) {
    Q_ASSERT(message >= 0 && message < ZKQueueFileErrors::MessageCount);
    return entries[message];
}

} // namespace

ZKError ZKQueueFileErrors::error(Message message, const QStringList &arguments) {
    Q_ASSERT(entryOf(message).code != 0);
    return ZKError::application(entryOf(message).code, text(message, arguments));
}

QString ZKQueueFileErrors::text(Message message, const QStringList &arguments) {
    return ZKError::translatedText(context, entryOf(message).text, arguments);
}
