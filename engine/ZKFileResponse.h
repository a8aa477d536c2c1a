// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

// What to do with an item that cannot be read, cannot be written, or already
// exists at the destination. Cancel doubles as "not decided yet": a task keeps
// asking while its remembered response is Cancel.
enum ZKFileResponse : qint32 {
    ZKFileResponseReplace = 0,
    ZKFileResponseSkip = 1,
    ZKFileResponseCancel = 2,
};
