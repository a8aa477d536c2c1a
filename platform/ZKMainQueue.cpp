// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMainQueue.h"

#include "ZKThreadSanitizer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <future>
#include <memory>

namespace {

// Marks the hand-over of each call for ThreadSanitizer (see ZKThreadSanitizer.h).
const char posted = 0;

// A call travels as an event that owns it, so that everything the posting
// thread built is handed over together with it. The event is a MetaCall: the
// waits that keep serving the worker's calls to the main thread
// (sendPostedEvents for MetaCall) serve these too.
class CallEvent : public QEvent {
public:
    explicit CallEvent(std::function<void()> fn)
        : QEvent(QEvent::MetaCall)
        , m_fn(std::move(fn)) {
        ZKThreadSanitizer::release(&posted);
    }

    void run() { std::exchange(m_fn, nullptr)(); }

private:
    std::function<void()> m_fn;
};

class CallReceiver : public QObject {
public:
    bool event(QEvent *event) override {
        ZKThreadSanitizer::acquire(&posted);
        if (event->type() != QEvent::MetaCall) {
            return QObject::event(event);
        }
        static_cast<CallEvent *>(event)->run();
        return true;
    }
};

// Made on first use and moved to the main thread; it lives as long as the
// process, since a late call may still be on its way when the application ends.
QObject *receiver(QCoreApplication *app) {
    static QObject *const object = [app] {
        auto *made = new CallReceiver;
        made->moveToThread(app->thread());
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
    QCoreApplication::postEvent(receiver(app), new CallEvent(std::move(fn)));
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
    // application drops the event. Either way the future becomes ready.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    async([&fn, done] {
        fn();
        done->set_value();
    });
    finished.wait();
}
