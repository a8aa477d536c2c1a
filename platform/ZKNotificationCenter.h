// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

struct ZKNotification {
    QString name;
    const void *sender = nullptr;
    QVariantMap userInfo;
};

// Process-wide named notifications. Posting is synchronous on the posting
// thread: observers that touch main-thread state forward to the main queue
// themselves.
class ZKNotificationCenter {
public:
    using Callback = std::function<void(const ZKNotification &)>;

    static ZKNotificationCenter &defaultCenter();

    // Registers an observer for a name and, when sender is not null, only for
    // that sender. The observer goes away with its context object; removal
    // takes effect for posts that start after it, so a context must not be
    // destroyed while the sender it observes is still posting.
    quint64 addObserver(const QString &name, const void *sender, QObject *context,
                        Callback callback);
    void removeObserver(quint64 token);
    void removeObservers(const QObject *context);
    void removeObservers(const QObject *context, const QString &name, const void *sender);

    void post(const QString &name, const void *sender, const QVariantMap &userInfo = {});

private:
    struct Observer {
        QString name;
        const void *sender;
        const QObject *context;
        std::shared_ptr<const Callback> callback;
    };
    using Target = std::pair<QString, const void *>;

    // With m_lock held.
    void forget(quint64 token);

    std::mutex m_lock;
    // Indexed by what a post looks for and by context, so that a queue of
    // 100,000 tasks, each observed on its own, costs a post no walk.
    QHash<quint64, Observer> m_observers;
    QHash<Target, QSet<quint64>> m_byTarget;
    QHash<const QObject *, QSet<quint64>> m_byContext;
    // Contexts whose destruction is already watched.
    QSet<const QObject *> m_watched;
    quint64 m_nextToken = 1;
};
