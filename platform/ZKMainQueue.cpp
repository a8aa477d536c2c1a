// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <future>
#include <memory>
#include <mutex>
#include <vector>

namespace {

// A worker may post while the application ends. The lock keeps the
// application alive for the length of a post, and once it is going no call is
// posted to it any more; the calls still waiting go unrun, so that nobody
// waits for them.
//
// The calls wait in a list of our own rather than in posted events: Qt is
// not built with ThreadSanitizer, which would take the hand-over of a call
// through Qt's event queue for a race. The wake-up names its slot by name, so
// that all of the event is Qt's own. One wake-up serves every call that
// arrives before it runs: a burst of calls wakes the main thread once.
std::mutex applicationLock;
std::vector<std::function<void()>> waitingCalls; // with applicationLock held

class ZKMainQueueWaker : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void runWaitingCalls() {
        std::vector<std::function<void()>> calls;
        {
            std::lock_guard locker(applicationLock);
            calls.swap(waitingCalls);
        }
        for (const auto &call : calls) {
            call();
        }
    }
};

// Made by the main thread with each application and gone with it; with
// applicationLock held.
ZKMainQueueWaker *waker = nullptr;

void makeWaker() {
    auto *made = new ZKMainQueueWaker;
    {
        std::lock_guard locker(applicationLock);
        waker = made;
    }
    QObject::connect(QCoreApplication::instance(), &QObject::destroyed, [] {
        std::vector<std::function<void()>> unrun;
        ZKMainQueueWaker *going = nullptr;
        {
            std::lock_guard locker(applicationLock);
            std::swap(going, waker);
            unrun.swap(waitingCalls);
        }
        // Outside the lock: a call let go may hold what posts again.
        delete going;
    });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(makeWaker)

bool ZKMainQueue::isMainThread() {
    const auto *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

void ZKMainQueue::async(std::function<void()> fn) {
    std::lock_guard locker(applicationLock);
    if (!waker) {
        return;
    }
    waitingCalls.push_back(std::move(fn));
    // The waits that serve the workers' calls while the main thread is held
    // up (sendPostedEvents for MetaCall) serve these too: the wake-up is a
    // MetaCall event.
    if (waitingCalls.size() == 1) {
        // Through its meta-method, found once: a name is looked up anew at
        // each call, and a queue of small files makes a few calls per file.
        // (A member pointer would be wrapped in an object of ours, which the
        // sanitizer then sees cross threads through Qt's queue.)
        static const QMetaMethod wakeUp = ZKMainQueueWaker::staticMetaObject.method(
            ZKMainQueueWaker::staticMetaObject.indexOfSlot("runWaitingCalls()"));
        wakeUp.invoke(waker, Qt::QueuedConnection);
    }
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

#include "ZKMainQueue.moc"
