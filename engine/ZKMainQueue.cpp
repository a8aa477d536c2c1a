// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <cmath>

bool ZKMainQueue::isMainThread() {
    const auto *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

void ZKMainQueue::async(std::function<void()> fn) {
    auto *app = QCoreApplication::instance();
    if (!app) {
        return;
    }
    QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

void ZKMainQueue::asyncAfter(double seconds, std::function<void()> fn) {
    const int msec = std::isfinite(seconds) && seconds > 0 ? int(std::lround(seconds * 1000)) : 0;
    async([msec, fn = std::move(fn)]() mutable {
        QTimer::singleShot(msec, QCoreApplication::instance(), std::move(fn));
    });
}

void ZKMainQueue::sync(const std::function<void()> &fn) {
    auto *app = QCoreApplication::instance();
    if (!app || isMainThread()) {
        fn();
        return;
    }
    QMetaObject::invokeMethod(app, fn, Qt::BlockingQueuedConnection);
}
