// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKQuestionPresenter.h"

#include <QHash>
#include <QPointer>
#include <QWidget>

#include <functional>

class QMessageBox;

// Asks the engine's questions in message boxes, each over the window of the
// queue that asks, so that other queue windows go on working meanwhile.
class ZKMessageBoxPresenter : public ZKQuestionPresenter {
public:
    // Finds the window that shows a question's asker (a queue, or one of its
    // tasks); nullptr when no window shows it any more.
    using WindowFinder = std::function<QWidget *(const QObject *asker)>;
    explicit ZKMessageBoxPresenter(WindowFinder finder);

    ZKAnswer ask(const ZKQuestion &question) override;

    // The questions open over this window, so that it is not torn down while
    // one of them is still on the call stack.
    int openQuestionCount(const QWidget *window) const { return m_open.value(window); }
    // Answers every question open over this window as if cancelled.
    void dismissQuestions(const QWidget *window);

private:
    WindowFinder m_finder;
    QHash<const QWidget *, int> m_open;
    QList<QPointer<QMessageBox>> m_boxes;
};
