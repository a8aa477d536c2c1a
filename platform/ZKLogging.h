// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLoggingCategory>

// Diagnostic lines go here, never to the user; `QT_LOGGING_RULES` or the
// terminal front end's --verbose turn them on.
Q_DECLARE_LOGGING_CATEGORY(lcEngine)
Q_DECLARE_LOGGING_CATEGORY(lcOperations)
Q_DECLARE_LOGGING_CATEGORY(lcEndpoints)
Q_DECLARE_LOGGING_CATEGORY(lcFtp)
