// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileInfo.h"

#include <QtGlobal>

#include <functional>

// What to do with an item that cannot be read, cannot be written, or already
// exists at the destination. Cancel doubles as "not decided yet": a task keeps
// asking while its remembered response is Cancel.
enum ZKFileResponse : qint32 {
    ZKFileResponseReplace = 0,
    ZKFileResponseSkip = 1,
    ZKFileResponseCancel = 2,
};

// Asked by an operation, on its own thread, about one item; blocks until the
// answer is known.
using ZKFileHandler = std::function<ZKFileResponse(const ZKFileInfo &)>;
