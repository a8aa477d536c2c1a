// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKLogging.h"

Q_LOGGING_CATEGORY(lcEngine, "ferrowick.engine", QtInfoMsg)
Q_LOGGING_CATEGORY(lcOperations, "ferrowick.operations", QtInfoMsg)
Q_LOGGING_CATEGORY(lcEndpoints, "ferrowick.endpoints", QtInfoMsg)
Q_LOGGING_CATEGORY(lcFtp, "ferrowick.ftp", QtInfoMsg)
