// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileResponse.h"
#include "ZKQuestionPresenter.h"

#include <QCoreApplication>

#include <memory>

class QObject;
class ZKTask;

// The questions a task's worker asks the user: about an item it cannot read
// or write or that already exists, or one of the task's own. The worker hands
// the question to the main thread and waits for the answer on its own
// thread; the main thread goes on and never waits for the user. One question
// of a line is up at a time; the next one waits its turn.
//
// The main thread may wait for a task's worker (to pause it, or as its queue
// closes), so a worker must never wait for the main thread then: a question
// is answered as cancelled, whether it is up, waiting its turn or asked
// meanwhile, once its line is closed or while its task is refused questions.
//
// Copies share one line.
class ZKTaskQuestions {
    Q_DECLARE_TR_FUNCTIONS(ZKTaskQuestions)

public:
    // The questions are shown for the asker (see ZKQuestion::asker).
    explicit ZKTaskQuestions(const QObject *asker);

    // Asks through this line whenever the task's operations meet an item
    // they cannot read or write, or one that already exists.
    void connectTask(const std::shared_ptr<ZKTask> &task) const;

    // Answered by the task's remembered response when it has one; an answer
    // given with "Apply to all" becomes that response, unless it cancels.
    ZKFileResponse showUnreadableAlertForFile(const ZKFileInfo &item, ZKTask &task) const;
    ZKFileResponse showUnwritableAlertForFile(const ZKFileInfo &item, ZKTask &task) const;
    ZKFileResponse showPreExistingAlertForFile(const ZKFileInfo &item, ZKTask &task) const;
    // The item the task itself is to write: asked each time.
    ZKFileResponse showPreExistingDestinationAlertForFile(const ZKFileInfo &item,
                                                          ZKTask &task) const;

    // Asks on behalf of the task and waits for the answer. For a worker: on
    // the main thread, which must not wait, the question counts as cancelled.
    ZKAnswer ask(ZKQuestion question, const ZKTask &task) const;

    // Answers the question up, and every later one, as cancelled. Any thread.
    void close() const;

    // Whether both ask through one line.
    bool operator==(const ZKTaskQuestions &other) const { return m_line == other.m_line; }

    // While one lives, every question on behalf of the task, in any line, is
    // answered as cancelled, so that a thread can wait for the task's
    // operations to end.
    class Refusal {
    public:
        explicit Refusal(const ZKTask *task);
        ~Refusal();
        Refusal(const Refusal &) = delete;
        Refusal &operator=(const Refusal &) = delete;

    private:
        const ZKTask *m_task;
    };

private:
    struct Line;

    ZKFileResponse askAbout(const QString &message, const QString &informativeText,
                            const QStringList &choices, const QList<ZKFileResponse> &answers,
                            bool showsApplyToAll, bool *applyToAll, const ZKTask &task) const;

    std::shared_ptr<Line> m_line;
};
