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
    ZKAnswer ask(const ZKQuestion &question) override;

    // The answers are given in turn, starting over after the last, so one
    // answer is given every time and two alternate. With none, every question
    // gets its default button.
    void setAnswers(const QList<ZKAnswer> &answers);
    void setAnswer(const ZKAnswer &answer) { setAnswers({answer}); }

    const QList<ZKQuestion> &questions() const { return m_questions; }
    QStringList messages() const;

    // Forgets the questions and the script, for the next test function.
    void reset();

private:
    QList<ZKAnswer> m_answers;
    qsizetype m_next = 0;
    QList<ZKQuestion> m_questions;
};
