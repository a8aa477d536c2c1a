// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHelpLinks.h"

#include <QDesktopServices>

namespace {

const QString kHome = QStringLiteral("https://velmarind.example/ferrowick/");

} // namespace

QUrl ZKHelpLinks::homePage() {
    return QUrl(kHome);
}

QUrl ZKHelpLinks::helpPage() {
    return QUrl(kHome + QStringLiteral("help/"));
}

QUrl ZKHelpLinks::feedbackPage() {
    return QUrl(kHome + QStringLiteral("feedback/"));
}

bool ZKHelpLinks::showHelp() {
    return QDesktopServices::openUrl(helpPage());
}

bool ZKHelpLinks::sendFeedback() {
    return QDesktopServices::openUrl(feedbackPage());
}

bool ZKHelpLinks::showWebsite() {
    return QDesktopServices::openUrl(homePage());
}
