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
    bool watch = false;
    {
        std::lock_guard locker(m_lock);
        token = m_nextToken++;
        m_observers.insert(token, Observer{name, sender, context,
                                           std::make_shared<const Callback>(std::move(callback))});
        m_byTarget[{name, sender}].insert(token);
        if (context) {
            m_byContext[context].insert(token);
            if (!m_watched.contains(context)) {
                m_watched.insert(context);
                watch = true;
            }
        }
    }
    if (watch) {
        // One connection per context, which dies with it.
        QObject::connect(context, &QObject::destroyed, [this, context] {
            removeObservers(context);
            std::lock_guard locker(m_lock);
            m_watched.remove(context);
        });
    }
    return token;
}

void ZKNotificationCenter::forget(quint64 token) {
    const auto found = m_observers.constFind(token);
    if (found == m_observers.cend()) {
        return;
    }
    const Target target{found->name, found->sender};
    if (auto tokens = m_byTarget.find(target); tokens != m_byTarget.end()) {
        tokens->remove(token);
        if (tokens->isEmpty()) {
            m_byTarget.erase(tokens);
        }
    }
    if (found->context) {
        if (auto tokens = m_byContext.find(found->context); tokens != m_byContext.end()) {
            tokens->remove(token);
            if (tokens->isEmpty()) {
                m_byContext.erase(tokens);
            }
        }
    }
    m_observers.erase(found);
}

void ZKNotificationCenter::removeObserver(quint64 token) {
    std::lock_guard locker(m_lock);
    forget(token);
}

void ZKNotificationCenter::removeObservers(const QObject *context) {
    std::lock_guard locker(m_lock);
    for (const quint64 token : m_byContext.value(context)) {
        forget(token);
    }
}

void ZKNotificationCenter::removeObservers(const QObject *context, const QString &name,
                                           const void *sender) {
    std::lock_guard locker(m_lock);
    for (const quint64 token : m_byTarget.value({name, sender})) {
        if (m_observers.value(token).context == context) {
            forget(token);
        }
    }
}

void ZKNotificationCenter::post(const QString &name, const void *sender,
                                const QVariantMap &userInfo) {
    // Callbacks run outside the lock: an observer may add observers, post, or
    // wait for the main thread, and none of that may deadlock here.
    std::vector<std::pair<quint64, std::shared_ptr<const Callback>>> targets;
    {
        std::lock_guard locker(m_lock);
        const auto collect = [&](const Target &target) {
            const auto tokens = m_byTarget.constFind(target);
            if (tokens == m_byTarget.cend()) {
                return;
            }
            for (const quint64 token : *tokens) {
                targets.emplace_back(token, m_observers.value(token).callback);
            }
        };
        collect({name, sender});
        if (sender) {
            collect({name, nullptr});
        }
    }
    // In the order the observers were added.
    std::sort(targets.begin(), targets.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    const ZKNotification notification{name, sender, userInfo};
    for (const auto &target : targets) {
        (*target.second)(notification);
    }
}
