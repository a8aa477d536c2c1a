// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

struct ZKQuestion {
    QString message;
    QString informativeText;
    QStringList buttons; // the first is the default, the last cancels
    // What the buttons mean, in their order and whatever language their
    // titles read in ("Skip", "Replace", "Cancel"), for a presenter that
    // answers on the user's behalf; may be left empty.
    QStringList choices;
    bool showsApplyToAll = false;
    // Who asks: the queue document, or the task for a question of its own, so
    // that the desktop shows the question over that queue's window only.
    QPointer<const QObject> asker;
};

struct ZKAnswer {
    int button = 0; // index into ZKQuestion::buttons
    bool applyToAll = false;

    // The answer of a question nobody answered: its last button.
    static ZKAnswer cancelled(const ZKQuestion &question) {
        return {int(question.buttons.size()) - 1, false};
    }
};

// Asks the user something. The desktop shows a message box and answers once
// the user has chosen, the terminal front end asks on the terminal or applies
// its --on-conflict choice, tests script the answers. Everything here runs on
// the main thread, and no presenter waits for its answer there: a question is
// answered through its callback, at once or later.
class ZKQuestionPresenter {
public:
    using Answered = std::function<void(const ZKAnswer &answer)>;

    virtual ~ZKQuestionPresenter() = default;
    // Calls answered exactly once, on the main thread, maybe before
    // returning.
    virtual void ask(const ZKQuestion &question, Answered answered) = 0;
    // Answers the asker's open questions as cancelled, and takes them off
    // the screen.
    virtual void cancelQuestions(const QObject *asker) { Q_UNUSED(asker) }

    // The presenter the engine asks through. Without one, every question is
    // answered with its default button.
    static ZKQuestionPresenter *shared();
    static void setShared(ZKQuestionPresenter *presenter);
    static void askShared(const ZKQuestion &question, Answered answered);
    static void cancelSharedQuestions(const QObject *asker);
};
