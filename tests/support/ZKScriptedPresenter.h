// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQuestionPresenter.h"

#include <QList>
#include <QStringList>

// Answers the engine's questions from a script instead of a person, and keeps
// every question asked so a test can check what was asked and how often.
class ZKScriptedPresenter : public ZKQuestionPresenter {
public:
    void ask(const ZKQuestion &question, Answered answered) override;
    void cancelQuestions(const QObject *asker) override;

    // The answers are given in turn, starting over after the last, so one
    // answer is given every time and two alternate. With none, every question
    // gets its default button.
    void setAnswers(const QList<ZKAnswer> &answers);
    void setAnswer(const ZKAnswer &answer) { setAnswers({answer}); }

    // Holding, questions stay open, as a person who has not chosen yet keeps
    // them, until answered from the script or cancelled by their asker.
    void setHolding(bool holding) { m_holding = holding; }
    qsizetype heldCount() const { return m_held.size(); }
    // Gives the oldest open question the script's next answer.
    void answerHeld();
    // Open questions their asker took back.
    qsizetype cancelledCount() const { return m_cancelled; }

    const QList<ZKQuestion> &questions() const { return m_questions; }
    QStringList messages() const;

    // Forgets the questions and the script, for the next test function.
    void reset();

private:
    struct Held {
        ZKQuestion question;
        Answered answered;
        const QObject *asker; // compared only: the asker may be gone
    };

    ZKAnswer nextAnswer();

    QList<ZKAnswer> m_answers;
    qsizetype m_next = 0;
    QList<ZKQuestion> m_questions;
    bool m_holding = false;
    QList<Held> m_held;
    qsizetype m_cancelled = 0;
};
