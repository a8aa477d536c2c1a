// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

// Every error of reading and saving queue files, with its code and its
// text, in one table, so that the texts can be translated; and the reasons
// a file is no queue, which those errors tell.
class ZKQueueFileErrors {
public:
    enum Message {
        CannotBeOpened,
        CannotBeSaved,
        NeverSaved,
        // Why a file cannot be opened as a queue: text() only.
        TooLargeForQueue,
        NotAQueue,
        EntryOfWrongType,
        EntryProblem,
        EntryOfSpeedLimitProblem,
        EntryOfTaskProblem,
        // What is wrong with an entry's value: parts of the three above.
        HasWrongType,
        NotFiniteNumber,
        IsNegative,
        NotWholeNumber,
        IsOutOfRange,
        MessageCount
    };

    // The arguments fill %1, %2 ... of the message's text.
    static ZKError error(Message message, const QStringList &arguments = {});
    static QString text(Message message, const QStringList &arguments = {});

private:
    ZKQueueFileErrors() = delete;
};
