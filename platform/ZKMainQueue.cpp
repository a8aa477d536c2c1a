// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"

#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <deque>
#include <future>
#include <memory>
#include <mutex>

namespace {

// Marks the hand-over of each call for ThreadSanitizer (see ZKThreadSanitizer.h).
const char posted = 0;

// Calls wait in one queue of their own, served in posting order by an event
// that is in the application's queue whenever calls wait: a burst of calls
// costs the main thread one wake-up, not one each. The event is a MetaCall,
// so the waits that keep serving the workers' calls to the main thread
// (sendPostedEvents for MetaCall) serve these too.
class CallReceiver : public QObject {
public:
    void post(std::function<void()> fn) {
        bool postEvent = false;
        {
            std::lock_guard locker(m_lock);
            m_calls.push_back(std::move(fn));
            postEvent = claimEvent();
        }
        // Outside the lock: posting takes the application's own lock, and
        // the main thread must not wait for it to take the next call.
        if (postEvent) {
            postServingEvent();
        }
    }

    bool event(QEvent *event) override {
        ZKThreadSanitizer::acquire(&posted);
        if (event->type() != QEvent::MetaCall) {
            return QObject::event(event);
        }
        std::unique_lock locker(m_lock);
        m_eventPosted = false;
        while (!m_calls.empty()) {
            std::function<void()> fn = std::move(m_calls.front());
            m_calls.pop_front();
            // A call that waits and serves posted calls meanwhile must find
            // the ones after it still in line, ahead of any newer ones.
            const bool postEvent = !m_calls.empty() && claimEvent();
            locker.unlock();
            if (postEvent) {
                postServingEvent();
            }
            fn();
            locker.lock();
        }
        return true;
    }

    // The application is ending: its queue of events is let go, and the calls
    // with it, unrun, so that nobody waits for them.
    void dropAll() {
        std::deque<std::function<void()>> dropped;
        {
            std::lock_guard locker(m_lock);
            dropped.swap(m_calls);
            m_eventPosted = false;
        }
    }

private:
    // Qt hands the event over with locks of its own, which ThreadSanitizer
    // does not see; the event is made and handed over as one.
    void postServingEvent() {
        auto *event = new QEvent(QEvent::MetaCall);
        ZKThreadSanitizer::release(&posted);
        QCoreApplication::postEvent(this, event);
    }

    // Whether the caller is the one to post the event that serves the calls;
    // with the lock held.
    bool claimEvent() { return !std::exchange(m_eventPosted, true); }

    std::mutex m_lock;
    std::deque<std::function<void()>> m_calls;
    bool m_eventPosted = false;
};

// Made on first use and moved to the main thread; it lives as long as the
// process, since a late call may still be on its way when the application ends.
CallReceiver *receiver(QCoreApplication *app) {
    static CallReceiver *const object = [app] {
        auto *made = new CallReceiver;
        made->moveToThread(app->thread());
        QObject::connect(
            app, &QObject::destroyed, made, [made] { made->dropAll(); }, Qt::DirectConnection);
        return made;
    }();
    return object;
}

} // namespace

bool ZKMainQueue::isMainThread() {
    const auto *app = QCoreApplication::instance();
    return app && QThread::currentThread() == app->thread();
}

void ZKMainQueue::async(std::function<void()> fn) {
    auto *app = QCoreApplication::instance();
    if (!app) {
        return;
    }
    receiver(app)->post(std::move(fn));
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
    // The promise is let go with the call: after it ran, or unrun when the
    // application ends. Either way the future becomes ready.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    async([&fn, done] {
        fn();
        done->set_value();
    });
    finished.wait();
}
