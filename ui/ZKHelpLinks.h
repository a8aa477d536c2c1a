// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

// The project's pages on the web, in one place, opened in the user's
// browser.
class ZKHelpLinks {
public:
    static QUrl helpPage();
    static QUrl feedbackPage();
    static QUrl homePage();

    static bool showHelp();
    static bool sendFeedback();
    static bool showWebsite();
};
