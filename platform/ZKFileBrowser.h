// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

#include <functional>

// Shows an item selected in the user's file browser.
class ZKFileBrowser {
public:
    // Asks the desktop's file manager to show the item selected; where none
    // answers, opens the folder that holds it. When neither works, the
    // failure report hears why, in a sentence for the user. Main thread;
    // the answer comes later, so it never waits on the bus.
    static void reveal(const QUrl &url);

    // The item called name in folder when it is there, else the folder:
    // what revealing a copy shows.
    static QUrl itemInFolder(const QUrl &folder, const QString &name);

    // Where a reveal that came to nothing is told; the application shows it
    // in the window. Without one it is logged. Main thread.
    using FailureReport = std::function<void(const QString &message)>;
    static void setFailureReport(FailureReport report);
};
