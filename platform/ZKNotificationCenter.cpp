// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNotificationCenter.h"

#include <algorithm>

ZKNotificationCenter &ZKNotificationCenter::defaultCenter() {
    static ZKNotificationCenter center;
    return center;
}

quint64 ZKNotificationCenter::addObserver(const QString &name, const void *sender, QObject *context,
                                          Callback callback) {
    quint64 token = 0;
    {
        std::lock_guard locker(m_lock);
        token = m_nextToken++;
        m_observers.push_back(Observer{token, name, sender, context,
                                       std::make_shared<const Callback>(std::move(callback))});
    }
    if (context) {
        // The connection dies with the context, so no bookkeeping is needed
        // when it is destroyed.
        QObject::connect(context, &QObject::destroyed,
                         [this, context] { removeObservers(context); });
    }
    return token;
}

void ZKNotificationCenter::removeObserver(quint64 token) {
    std::lock_guard locker(m_lock);
    std::erase_if(m_observers, [token](const Observer &o) { return o.token == token; });
}

void ZKNotificationCenter::removeObservers(const QObject *context) {
    std::lock_guard locker(m_lock);
    std::erase_if(m_observers, [context](const Observer &o) { return o.context == context; });
}

void ZKNotificationCenter::removeObservers(const QObject *context, const QString &name,
                                           const void *sender) {
    std::lock_guard locker(m_lock);
    std::erase_if(m_observers, [&](const Observer &o) {
        return o.context == context && o.name == name && o.sender == sender;
    });
}

void ZKNotificationCenter::post(const QString &name, const void *sender,
                                const QVariantMap &userInfo) {
    // Callbacks run outside the lock: an observer may add observers, post, or
    // wait for the main thread, and none of that may deadlock here.
    std::vector<std::shared_ptr<const Callback>> targets;
    {
        std::lock_guard locker(m_lock);
        for (const auto &o : m_observers) {
            if (o.name == name && (!o.sender || o.sender == sender)) {
                targets.push_back(o.callback);
            }
        }
    }
    const ZKNotification notification{name, sender, userInfo};
    for (const auto &callback : targets) {
        (*callback)(notification);
    }
}
