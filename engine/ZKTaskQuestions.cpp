// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskQuestions.h"

#include "ZKLogging.h"
#include "ZKMainQueue.h"
#include "ZKSshPrompter.h"
#include "ZKTask.h"

#include <QCoreApplication>
#include <QHash>

#include <condition_variable>
#include <mutex>
#include <optional>

namespace {

// The presenters' names for the choices (the terminal's --on-conflict picks
// by them); the buttons read them in the user's language.
const QString kSkip = QStringLiteral("Skip");
const QString kCancel = QStringLiteral("Cancel");
const QString kReplace = QStringLiteral("Replace");

QString buttonTitle(const QString &choice) {
    if (choice == kSkip) {
        return ZKTaskQuestions::tr("Skip");
    }
    if (choice == kReplace) {
        return ZKTaskQuestions::tr("Replace");
    }
    return ZKTaskQuestions::tr("Cancel");
}

QString itemName(const ZKFileInfo &item) {
    return item.url.fileName();
}

// One lock for every line: questions are rare, and a refusal must reach
// whichever line its task waits in. It lives as long as the process, since a
// worker may leave its wait as the application ends.
struct Questions {
    std::mutex lock;
    std::condition_variable changed;
    QHash<const ZKTask *, int> refusals;
};

Questions &questions() {
    static auto *const shared = new Questions;
    return *shared;
}

using Slot = std::shared_ptr<std::optional<ZKAnswer>>;

// The first answer counts: the user's, or the cancellation that beat it.
void settle(const Slot &slot, const ZKAnswer &answer) {
    Questions &shared = questions();
    std::lock_guard locker(shared.lock);
    if (!slot->has_value()) {
        *slot = answer;
        shared.changed.notify_all();
    }
}

// Goes with the call that shows the question: a call dropped unrun, as the
// application ends, leaves the question cancelled rather than unanswered.
struct Ticket {
    Slot slot;
    ZKAnswer cancelled;
    bool handedOver = false;

    ~Ticket() {
        if (!handedOver) {
            settle(slot, cancelled);
        }
    }
};

} // namespace

struct ZKTaskQuestions::Line {
    QPointer<const QObject> asker;
    const QObject *askerAddress = nullptr;
    // Guarded by the shared lock.
    bool closed = false;
    bool busy = false;
};

ZKTaskQuestions::ZKTaskQuestions(const QObject *asker)
    : m_line(std::make_shared<Line>()) {
    m_line->asker = asker;
    m_line->askerAddress = asker;
}

void ZKTaskQuestions::close() const {
    Questions &shared = questions();
    std::lock_guard locker(shared.lock);
    m_line->closed = true;
    shared.changed.notify_all();
    // A worker making a connection may be asking too.
    ZKSshPrompter::refusePendingPrompts();
}

ZKTaskQuestions::Refusal::Refusal(const ZKTask *task)
    : m_task(task) {
    Questions &shared = questions();
    std::lock_guard locker(shared.lock);
    ++shared.refusals[task];
    shared.changed.notify_all();
    ZKSshPrompter::refusePendingPrompts();
}

ZKTaskQuestions::Refusal::~Refusal() {
    Questions &shared = questions();
    std::lock_guard locker(shared.lock);
    if (--shared.refusals[m_task] == 0) {
        shared.refusals.remove(m_task);
    }
}

ZKAnswer ZKTaskQuestions::ask(ZKQuestion question, const ZKTask &task) const {
    question.asker = m_line->asker;
    const ZKAnswer cancelled = ZKAnswer::cancelled(question);
    if (ZKMainQueue::isMainThread()) {
        qCWarning(lcEngine).noquote() << "Not asked on the main thread:" << question.message;
        return cancelled;
    }
    Questions &shared = questions();
    std::unique_lock locker(shared.lock);
    const auto stopped = [&] {
        return m_line->closed || shared.refusals.contains(&task);
    };
    shared.changed.wait(locker, [&] { return stopped() || !m_line->busy; });
    if (stopped()) {
        return cancelled;
    }
    m_line->busy = true;
    const Slot slot = std::make_shared<std::optional<ZKAnswer>>();
    // Only the call holds the ticket, so that a call dropped unrun lets it go.
    auto ticket = std::make_shared<Ticket>();
    ticket->slot = slot;
    ticket->cancelled = cancelled;
    locker.unlock();

    ZKMainQueue::async([ticket = std::move(ticket), question] {
        ticket->handedOver = true;
        {
            // Cancelled before it could be shown: it never is.
            std::lock_guard answered(questions().lock);
            if (ticket->slot->has_value()) {
                return;
            }
        }
        ZKQuestionPresenter::askShared(
            question, [slot = ticket->slot](const ZKAnswer &answer) { settle(slot, answer); });
    });

    locker.lock();
    shared.changed.wait(locker, [&] { return slot->has_value() || stopped(); });
    const bool answered = slot->has_value();
    if (!answered) {
        *slot = cancelled; // the user's answer, should it still come, is too late
    }
    const ZKAnswer answer = **slot;
    if (!answered) {
        // Posted before the line is free, so the box is gone before the
        // line's next question can be shown.
        locker.unlock();
        ZKMainQueue::async(
            [asker = m_line->askerAddress] { ZKQuestionPresenter::cancelSharedQuestions(asker); });
        locker.lock();
    }
    m_line->busy = false;
    shared.changed.notify_all();
    return answer;
}

ZKFileResponse ZKTaskQuestions::askAbout(const QString &message, const QString &informativeText,
                                         const QStringList &choices,
                                         const QList<ZKFileResponse> &answers, bool showsApplyToAll,
                                         bool *applyToAll, const ZKTask &task) const {
    QStringList buttons;
    for (const QString &choice : choices) {
        buttons << buttonTitle(choice);
    }
    const ZKAnswer answer =
        ask(ZKQuestion{message, informativeText, buttons, choices, showsApplyToAll, {}}, task);
    if (applyToAll) {
        *applyToAll = answer.applyToAll;
    }
    return answer.button >= 0 && answer.button < answers.size() ? answers[answer.button]
                                                                : ZKFileResponseCancel;
}

void ZKTaskQuestions::connectTask(const std::shared_ptr<ZKTask> &task) const {
    // A copy shares the line: the task holds no handler of its own.
    task->setQuestions(*this);
}

ZKFileResponse ZKTaskQuestions::showUnreadableAlertForFile(const ZKFileInfo &item,
                                                           ZKTask &task) const {
    if (task.unreadableFileResponse() != ZKFileResponseCancel) {
        return ZKFileResponse(task.unreadableFileResponse());
    }
    bool all = false;
    const auto response =
        askAbout(tr("Ferrowick cannot read an item named '%1'.").arg(itemName(item)),
                 tr("Do you want to skip copying this item?"), {kSkip, kCancel},
                 {ZKFileResponseSkip, ZKFileResponseCancel}, true, &all, task);
    if (all) {
        task.setUnreadableFileResponse(response);
    }
    return response;
}

ZKFileResponse ZKTaskQuestions::showUnwritableAlertForFile(const ZKFileInfo &item,
                                                           ZKTask &task) const {
    if (task.unwritableFileResponse() != ZKFileResponseCancel) {
        return ZKFileResponse(task.unwritableFileResponse());
    }
    bool all = false;
    const auto response =
        askAbout(tr("Ferrowick cannot write to an item named '%1'.").arg(itemName(item)),
                 tr("Do you want to skip copying this item?"), {kSkip, kCancel},
                 {ZKFileResponseSkip, ZKFileResponseCancel}, true, &all, task);
    if (all) {
        task.setUnwritableFileResponse(response);
    }
    return response;
}

ZKFileResponse ZKTaskQuestions::showPreExistingAlertForFile(const ZKFileInfo &item,
                                                            ZKTask &task) const {
    if (task.preExistingFileResponse() != ZKFileResponseCancel) {
        return ZKFileResponse(task.preExistingFileResponse());
    }
    bool all = false;
    const auto response = askAbout(
        tr("A different item with the name '%1' already exists.").arg(itemName(item)),
        tr("Do you want to replace the existing item?"), {kSkip, kReplace, kCancel},
        {ZKFileResponseSkip, ZKFileResponseReplace, ZKFileResponseCancel}, true, &all, task);
    if (all) {
        task.setPreExistingFileResponse(response);
    }
    return response;
}

ZKFileResponse ZKTaskQuestions::showPreExistingDestinationAlertForFile(const ZKFileInfo &item,
                                                                       ZKTask &task) const {
    return askAbout(tr("A different item with the name '%1' already exists.").arg(itemName(item)),
                    tr("Do you want to replace the existing item?"), {kReplace, kSkip, kCancel},
                    {ZKFileResponseReplace, ZKFileResponseSkip, ZKFileResponseCancel}, false,
                    nullptr, task);
}
