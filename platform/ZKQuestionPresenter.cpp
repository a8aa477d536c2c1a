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

ZKAnswer ZKQuestionPresenter::askShared(const ZKQuestion &question) {
    auto *presenter = shared();
    return presenter ? presenter->ask(question) : ZKAnswer{};
}
