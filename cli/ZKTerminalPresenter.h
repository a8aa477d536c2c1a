// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQuestionPresenter.h"

#include <QCoreApplication>
#include <QString>

// Answers the engine's questions on the terminal: by asking on standard input
// ("ask"), or by the policy chosen with --on-conflict.
class ZKTerminalPresenter : public ZKQuestionPresenter {
    Q_DECLARE_TR_FUNCTIONS(ZKTerminalPresenter)

public:
    enum Policy { Ask, Skip, Replace, Cancel };

    explicit ZKTerminalPresenter(Policy policy);
    static bool parsePolicy(const QString &text, Policy *policy);

    // Answers before returning: the terminal has nothing else to do
    // meanwhile.
    void ask(const ZKQuestion &question, Answered answered) override;

private:
    ZKAnswer answerNow(const ZKQuestion &question) const;
    ZKAnswer answerByPolicy(const ZKQuestion &question) const;

    Policy m_policy;
};
