// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

// What an enumeration callback tells the enumerator. Each enumeration returns
// the last value its callback returned (Continue when never called), so a
// caller sees Stop exactly when the walk was stopped.
enum ZKEnumerationResult : qint32 {
    ZKEnumerationResultContinue = 0,
    ZKEnumerationResultSkip = 1,
    ZKEnumerationResultStop = 2,
};
