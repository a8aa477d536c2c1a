// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

// Loads the translations of the user's language (LANGUAGE, LC_MESSAGES, LANG,
// as QLocale reads them) into the running application: Qt's own texts and
// Ferrowick's. Both programs call it once, after the application object is
// made and named, before any text is shown.
class ZKTranslations {
public:
    static void install();

    // Where Ferrowick's .qm files are looked for, first match wins: the
    // application's data folders, beside an installed program, and the build
    // tree it was built in.
    static QStringList folders();
};
