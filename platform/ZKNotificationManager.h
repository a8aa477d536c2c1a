// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

// Tells the user that a queue has finished: a sound and a desktop
// notification. Without a sound device or a notification service it logs
// and carries on.
class ZKNotificationManager {
public:
    // On the main thread. The queue is named by its display name; the
    // description is its summary line.
    static void notifyQueueCompleted(const QString &name, const QString &description,
                                     bool someFailed);

    // The sound file of that name in the sound folders, or an empty text.
    static QString soundPath(const QString &name);
    // Where sounds are looked for: "sounds" below the XDG data folders and
    // the application's own sound folder.
    static QStringList soundFolders();
    static void playSound(const QString &name);
};
