// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <mutex>

// One piece of background work. Cancellation is cooperative: main() tests
// isCancelled() between blocks and between items and returns early.
class ZKOperation {
public:
    ZKOperation() = default;
    ZKOperation(const ZKOperation &) = delete;
    ZKOperation &operator=(const ZKOperation &) = delete;
    virtual ~ZKOperation() = default;

    void cancel() { m_cancelled.store(true); }
    bool isCancelled() const { return m_cancelled.load(); }
    bool isExecuting() const { return m_executing.load(); }
    bool isFinished() const { return m_finished.load(); }

    // Runs on the worker right after main() returns, cancelled or not.
    void setCompletionBlock(std::function<void()> block);

    // Runs main() and the completion block on the calling thread. The
    // operation queue calls it; tests may call it directly.
    void start();

protected:
    virtual void main() = 0;

private:
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
    std::mutex m_completionLock;
    std::function<void()> m_completionBlock;
};
