// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>

// Tells the user that a queue has finished: a sound and a desktop
// notification whose actions reveal the copies or retry the failures.
// Without a sound device or a notification service it logs and carries on.
class ZKNotificationManager : public QObject {
    Q_OBJECT

public:
    // What the notice of a finished queue says and offers.
    struct QueueNotice {
        QString name;        // the queue's display name
        QString description; // its summary line, which counts the failures
        qsizetype failedTasks = 0;
        // Shown by the notice's "Show in Folder"; without one there is no
        // such action.
        QUrl destination;
        // Run by the failure notice's "Retry"; without one there is none.
        std::function<void()> retry;
        // The queue, handed to the attention request.
        QObject *origin = nullptr;
    };
    // On the main thread.
    static void notifyQueueCompleted(const QueueNotice &notice);

    // The program's own sound of that name (a file), or an empty text.
    static QString soundPath(const QString &name);
    // Where the program's own sounds are looked for: its folder below the
    // XDG data folders, and the build's when it runs from there.
    static QStringList soundFolders();
    // The events of the desktop's sound theme (the freedesktop one, which
    // every theme falls back on), played by their ids: "complete",
    // "dialog-error", ...
    static QStringList themeSoundNames();
    // Plays the program's sound of that name, else the theme's event of
    // that id. False, and logged, when there is no such sound or no device
    // takes it.
    static bool playSound(const QString &name);
    // The names of every sound that can be played, sorted, without
    // duplicates: what a user picks the completion and failure sounds from.
    static QStringList soundNames();

    // How the user's attention is drawn to a finished queue when no
    // notification service answers; the application points it at the
    // queue's window. Main thread.
    using AttentionRequest = std::function<void(QObject *origin)>;
    static void setAttentionRequest(AttentionRequest request);

    // The notice's action keys, as the notification service hands them back.
    static const QString showInFolderAction; // "show-in-folder"
    static const QString retryAction;        // "retry"

private Q_SLOTS:
    void actionInvoked(uint id, const QString &action);
    void notificationClosed(uint id, uint reason);

private:
    struct Actions {
        QUrl destination;
        std::function<void()> retry;
    };

    static ZKNotificationManager &instance();
    void listen();
    void keep(uint id, Actions actions);

    bool m_listening = false;
    // The notices still on screen that can be acted on, oldest first.
    QHash<uint, Actions> m_actions;
    QList<uint> m_order;
};
