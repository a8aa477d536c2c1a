// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class ZKTask;

// Hears of every change of a task's state, byte counts and verify switch, on
// the main thread, before the task's own change signals go out. The task
// queue is one: a Qt connection per task and signal would cost a queue of
// 100,000 tasks hundreds of megabytes and a walk over them at each change.
class ZKTaskObserver {
public:
    virtual void taskDidChange(ZKTask &task) = 0;

protected:
    ~ZKTaskObserver() = default;
};
