// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKScriptedPresenter.h"

ZKAnswer ZKScriptedPresenter::ask(const ZKQuestion &question) {
    m_questions << question;
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
    m_questions.clear();
    setAnswers({});
}
