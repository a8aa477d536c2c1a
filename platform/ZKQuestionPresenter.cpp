// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQuestionPresenter.h"

#include <atomic>

namespace {
std::atomic<ZKQuestionPresenter *> sharedPresenter{nullptr};
}

ZKQuestionPresenter *ZKQuestionPresenter::shared() {
    return sharedPresenter.load();
}

void ZKQuestionPresenter::setShared(ZKQuestionPresenter *presenter) {
    sharedPresenter.store(presenter);
}

void ZKQuestionPresenter::askShared(const ZKQuestion &question, Answered answered) {
    if (auto *presenter = shared()) {
        presenter->ask(question, std::move(answered));
    } else {
        answered(ZKAnswer{});
    }
}

void ZKQuestionPresenter::cancelSharedQuestions(const QObject *asker) {
    if (auto *presenter = shared()) {
        presenter->cancelQuestions(asker);
    }
}
