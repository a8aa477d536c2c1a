// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"

#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <future>
#include <memory>
#include <mutex>

namespace {

// Marks the hand-over of each call for ThreadSanitizer (see ZKThreadSanitizer.h).
const char posted = 0;

// A worker may post while the application ends. The lock keeps the
// application alive for the length of a post, and once it is going no call is
// posted to it any more; the calls it still holds go with its posted events,
// unrun, so that nobody waits for them.
std::mutex applicationLock;
QCoreApplication *liveApplication = nullptr;

// The application to post to, or nullptr; with applicationLock held.
QCoreApplication *postingTarget() {
    QCoreApplication *application = QCoreApplication::instance();
    if (application && application != liveApplication) {
        liveApplication = application;
        QObject::connect(application, &QObject::destroyed, [] {
            std::lock_guard locker(applicationLock);
            liveApplication = nullptr;
        });
    }
    return application ? liveApplication : nullptr;
}

} // namespace

bool ZKMainQueue::isMainThread() {
    const auto *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

void ZKMainQueue::async(std::function<void()> fn) {
    std::lock_guard locker(applicationLock);
    QCoreApplication *app = postingTarget();
    if (!app) {
        return;
    }
    // The waits that serve the workers' calls while the main thread is held
    // up (sendPostedEvents for MetaCall) serve these too: a queued call is a
    // MetaCall event.
    ZKThreadSanitizer::release(&posted);
    QMetaObject::invokeMethod(
        app,
        [fn = std::move(fn)] {
            ZKThreadSanitizer::acquire(&posted);
            fn();
        },
        Qt::QueuedConnection);
}

void ZKMainQueue::asyncAfter(double seconds, std::function<void()> fn) {
    const int msec = std::isfinite(seconds) && seconds > 0 ? int(std::lround(seconds * 1000)) : 0;
    // The timer is started on the main thread: the caller's may have no
    // event loop.
    async([msec, fn = std::move(fn)]() mutable {
        QTimer::singleShot(msec, QCoreApplication::instance(), std::move(fn));
    });
}

void ZKMainQueue::sync(const std::function<void()> &fn) {
    if (!QCoreApplication::instance() || isMainThread()) {
        fn();
        return;
    }
    // Not a blocking queued call: that would wait inside the post, with the
    // application's lock held. The promise is let go with the call, after it
    // ran or unrun when the application ends; either way the future becomes
    // ready.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    async([&fn, done] {
        fn();
        done->set_value();
    });
    finished.wait();
}
