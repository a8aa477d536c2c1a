// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

// Shows an item selected in the user's file browser.
class ZKFileBrowser {
public:
    static void reveal(const QUrl &url);
};
