// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScriptedPresenter.h"

void ZKScriptedPresenter::ask(const ZKQuestion &question, Answered answered) {
    m_questions << question;
    if (m_holding) {
        m_held << Held{question, std::move(answered), question.asker.data()};
        return;
    }
    answered(nextAnswer());
}

void ZKScriptedPresenter::cancelQuestions(const QObject *asker) {
    // Taken out before any is answered: an answer may lead to a new question.
    QList<Held> cancelled;
    for (qsizetype i = 0; i < m_held.size();) {
        if (m_held[i].asker == asker) {
            cancelled << m_held.takeAt(i);
        } else {
            ++i;
        }
    }
    m_cancelled += cancelled.size();
    for (const Held &held : std::as_const(cancelled)) {
        held.answered(ZKAnswer::cancelled(held.question));
    }
}

void ZKScriptedPresenter::answerHeld() {
    if (!m_held.isEmpty()) {
        const Held held = m_held.takeFirst();
        held.answered(nextAnswer());
    }
}

ZKAnswer ZKScriptedPresenter::nextAnswer() {
    if (m_answers.isEmpty()) {
        return ZKAnswer{};
    }
    const ZKAnswer answer = m_answers[m_next % m_answers.size()];
    ++m_next;
    return answer;
}

void ZKScriptedPresenter::setAnswers(const QList<ZKAnswer> &answers) {
    m_answers = answers;
    m_next = 0;
}

QStringList ZKScriptedPresenter::messages() const {
    QStringList messages;
    for (const ZKQuestion &question : m_questions) {
        messages << question.message;
    }
    return messages;
}

void ZKScriptedPresenter::reset() {
    // A question left open by the last test is let go, so nobody waits on.
    for (const Held &held : std::exchange(m_held, {})) {
        held.answered(ZKAnswer::cancelled(held.question));
    }
    m_questions.clear();
    m_holding = false;
    m_cancelled = 0;
    setAnswers({});
}
