// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

// A pair of byte counts passed from the task engine to the progress display.
struct ZKProgressData {
    quint64 progressBytes = 0;
    quint64 totalBytes = 0;

    bool operator==(const ZKProgressData &other) const = default;
};
