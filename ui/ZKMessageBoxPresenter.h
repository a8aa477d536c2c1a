// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQuestionPresenter.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class QMessageBox;

// Asks the engine's questions in message boxes, each over the window of the
// queue that asks and modal to that window only, so that other queue windows
// go on working meanwhile. A window shows one question at a time; the others
// wait their turn. The box is opened, never run in a loop of its own: its
// answer arrives through its signal.
class ZKMessageBoxPresenter : public ZKQuestionPresenter {
public:
    // Finds the window that shows a question's asker (a queue, or one of its
    // tasks); nullptr when no window shows it any more.
    using WindowFinder = std::function<QWidget *(const QObject *asker)>;
    explicit ZKMessageBoxPresenter(WindowFinder finder);
    ~ZKMessageBoxPresenter() override;

    void ask(const ZKQuestion &question, Answered answered) override;
    void cancelQuestions(const QObject *asker) override;

    // Answers every question over this window as if cancelled, and takes
    // its box away.
    void dismissQuestions(const QWidget *window);

private:
    struct Pending {
        ZKQuestion question;
        Answered answered;
        // Compared, never followed: the asker and the window may be gone.
        const QObject *asker = nullptr;
        const QWidget *window = nullptr;
        QPointer<QMessageBox> box; // while shown
        bool done = false;
    };
    using PendingPtr = std::shared_ptr<Pending>;

    void show(const PendingPtr &pending, QWidget *window);
    void showNext(const QWidget *window);
    // Takes the question off the list and the screen; answers whether its
    // box was up.
    bool take(const PendingPtr &pending);
    // Takes the question off, answers it, and shows the window's next one.
    void finish(const PendingPtr &pending, const ZKAnswer &answer);
    void cancelWhere(const std::function<bool(const Pending &)> &matches);

    WindowFinder m_finder;
    QList<PendingPtr> m_pending; // in the order asked
    // The boxes' signals reach the presenter through it, and no longer once
    // it has gone.
    QObject m_receiver;
};
