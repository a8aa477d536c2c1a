// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

// Tells the user that a queue has finished: a sound and a desktop
// notification. Without a sound device or a notification service it logs
// and carries on.
class ZKNotificationManager {
public:
    // On the main thread. The queue is named by its display name; the
    // description is its summary line.
    // The origin is the queue, handed to the attention request.
    static void notifyQueueCompleted(const QString &name, const QString &description,
                                     bool someFailed, QObject *origin = nullptr);

    // The sound file of that name in the sound folders, or an empty text.
    static QString soundPath(const QString &name);
    // Where sounds are looked for: "sounds" below the XDG data folders and
    // the application's own sound folder.
    static QStringList soundFolders();
    static void playSound(const QString &name);
    // The names of every sound that can be played, sorted, without
    // duplicates: what a user picks the completion and failure sounds from.
    static QStringList soundNames();

    // How the user's attention is drawn to a finished queue when no
    // notification service answers; the application points it at the
    // queue's window. Main thread.
    using AttentionRequest = std::function<void(QObject *origin)>;
    static void setAttentionRequest(AttentionRequest request);
};
