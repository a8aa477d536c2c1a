// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshPrompter.h"

#include "ZKMainQueue.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace {

std::atomic<ZKSshPrompter *> sharedPrompter{nullptr};
std::atomic<bool> acceptNewKeys{false};

// Lives as long as the process: a worker may leave its wait as the
// application ends.
struct Prompts {
    std::mutex lock;
    std::condition_variable changed;
    quint64 refusals = 0;
};

Prompts &prompts() {
    static auto *const shared = new Prompts;
    return *shared;
}

struct Pending {
    std::optional<QVariant> answer;
    bool settled = false;
    std::function<void()> takeAway;
};

void settle(Pending &pending, const std::optional<QVariant> &answer) {
    Prompts &shared = prompts();
    std::lock_guard locker(shared.lock);
    if (!pending.settled) {
        pending.answer = answer;
        pending.settled = true;
        shared.changed.notify_all();
    }
}

// Held by the call that shows the question and by the reply: once neither
// is left (a call dropped unrun as the application ends, a question closed
// unanswered) the question is settled unanswered.
struct Guard {
    std::shared_ptr<Pending> pending;
    ~Guard() { settle(*pending, std::nullopt); }
};

} // namespace

ZKSshPrompter *ZKSshPrompter::shared() {
    return sharedPrompter.load();
}

void ZKSshPrompter::setShared(ZKSshPrompter *prompter) {
    sharedPrompter.store(prompter);
}

bool ZKSshPrompter::acceptsNewHostKeys() {
    return acceptNewKeys.load();
}

void ZKSshPrompter::setAcceptsNewHostKeys(bool accepts) {
    acceptNewKeys.store(accepts);
}

void ZKSshPrompter::refusePendingPrompts() {
    Prompts &shared = prompts();
    std::lock_guard locker(shared.lock);
    ++shared.refusals;
    shared.changed.notify_all();
}

std::optional<QVariant>
ZKSshPrompter::askOnMainThread(std::function<std::function<void()>(Reply)> show) {
    if (ZKMainQueue::isMainThread()) {
        return std::nullopt;
    }
    Prompts &shared = prompts();
    auto pending = std::make_shared<Pending>();
    std::unique_lock locker(shared.lock);
    const quint64 refusals = shared.refusals;
    locker.unlock();
    auto guard = std::make_shared<Guard>();
    guard->pending = pending;
    ZKMainQueue::async([guard = std::move(guard), show = std::move(show)]() mutable {
        std::function<void()> takeAway =
            show([guard](const QVariant &answer) { settle(*guard->pending, answer); });
        std::lock_guard stored(prompts().lock);
        guard->pending->takeAway = std::move(takeAway);
    });
    locker.lock();
    shared.changed.wait(locker, [&] { return pending->settled || shared.refusals != refusals; });
    if (pending->settled) {
        return pending->answer;
    }
    pending->settled = true;
    locker.unlock();
    ZKMainQueue::async([pending] {
        std::function<void()> takeAway;
        {
            std::lock_guard taken(prompts().lock);
            takeAway = std::move(pending->takeAway);
            pending->takeAway = nullptr;
        }
        if (takeAway) {
            takeAway();
        }
    });
    return std::nullopt;
}
