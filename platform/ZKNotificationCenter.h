// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

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
        quint64 token;
        QString name;
        const void *sender;
        const QObject *context;
        std::shared_ptr<const Callback> callback;
    };

    std::mutex m_lock;
    std::vector<Observer> m_observers;
    quint64 m_nextToken = 1;
};
