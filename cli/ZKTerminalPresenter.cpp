// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTerminalPresenter.h"

#include <QTextStream>

#include <cstdio>
#include <unistd.h>

ZKTerminalPresenter::ZKTerminalPresenter(Policy policy)
    : m_policy(policy) {}

bool ZKTerminalPresenter::parsePolicy(const QString &text, Policy *policy) {
    static const QStringList names{QStringLiteral("ask"), QStringLiteral("skip"),
                                   QStringLiteral("replace"), QStringLiteral("cancel")};
    const auto index = names.indexOf(text);
    if (index < 0) {
        return false;
    }
    *policy = Policy(index);
    return true;
}

ZKAnswer ZKTerminalPresenter::answerByPolicy(const ZKQuestion &question) const {
    // Picked by meaning, not by title, so that any language answers alike.
    // A question without the policy's choice (the partial-file question, or
    // a destination that can only be replaced or cancelled) gets the safe
    // answer, its last button: keep what is there, or stop.
    QString wanted;
    switch (m_policy) {
    case Skip:
        wanted = QStringLiteral("Skip");
        break;
    case Replace:
        wanted = QStringLiteral("Replace");
        break;
    default:
        break;
    }
    const auto index = wanted.isEmpty() ? -1 : question.choices.indexOf(wanted);
    if (index >= 0 && index < question.buttons.size()) {
        return ZKAnswer{int(index), true};
    }
    return ZKAnswer{int(question.buttons.size()) - 1, true};
}

void ZKTerminalPresenter::ask(const ZKQuestion &question, Answered answered) {
    answered(answerNow(question));
}

ZKAnswer ZKTerminalPresenter::answerNow(const ZKQuestion &question) const {
    if (m_policy != Ask || !::isatty(STDIN_FILENO)) {
        return answerByPolicy(question);
    }
    QTextStream out(stderr);
    QTextStream in(stdin);
    out << '\n' << question.message << '\n';
    if (!question.informativeText.isEmpty()) {
        out << question.informativeText << '\n';
    }
    for (qsizetype i = 0; i < question.buttons.size(); ++i) {
        out << "  " << (i + 1) << ") " << question.buttons[i] << '\n';
    }
    for (;;) {
        out << (question.showsApplyToAll ? tr("Choose 1-%1 (add 'a' to apply to all): ")
                                         : tr("Choose 1-%1: "))
                   .arg(question.buttons.size());
        out.flush();
        QString line = in.readLine();
        if (line.isNull()) {
            return answerByPolicy(question); // end of input
        }
        line = line.trimmed();
        const bool all = question.showsApplyToAll && line.endsWith(QLatin1Char('a'));
        if (all) {
            line.chop(1);
        }
        bool ok = false;
        const int choice = line.toInt(&ok);
        if (ok && choice >= 1 && choice <= question.buttons.size()) {
            return ZKAnswer{choice - 1, all};
        }
    }
}
