// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMessageBoxPresenter.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

ZKMessageBoxPresenter::ZKMessageBoxPresenter(WindowFinder finder)
    : m_finder(std::move(finder)) {}

ZKMessageBoxPresenter::~ZKMessageBoxPresenter() {
    // As the process ends, maybe after the application has gone: whoever
    // still waits is told, and the boxes are not touched.
    for (const PendingPtr &pending : std::exchange(m_pending, {})) {
        pending->done = true;
        if (const Answered answered = std::exchange(pending->answered, {})) {
            answered(ZKAnswer::cancelled(pending->question));
        }
    }
}

void ZKMessageBoxPresenter::ask(const ZKQuestion &question, Answered answered) {
    QWidget *window = question.asker ? m_finder(question.asker.data()) : nullptr;
    if (question.asker && !window) {
        // The queue's window is gone: nobody is there to answer.
        answered(ZKAnswer::cancelled(question));
        return;
    }
    auto pending = std::make_shared<Pending>();
    pending->question = question;
    pending->answered = std::move(answered);
    pending->asker = question.asker.data();
    pending->window = window;
    const bool windowBusy =
        std::any_of(m_pending.cbegin(), m_pending.cend(),
                    [window](const PendingPtr &other) { return other->window == window; });
    m_pending << pending;
    if (!windowBusy) {
        show(pending, window);
    }
}

void ZKMessageBoxPresenter::show(const PendingPtr &pending, QWidget *window) {
    const ZKQuestion &question = pending->question;
    auto *box = new QMessageBox(QMessageBox::Warning,
                                QCoreApplication::translate("ZKMessageBoxPresenter", "Ferrowick"),
                                question.message, QMessageBox::NoButton, window);
    box->setInformativeText(question.informativeText);
    QList<QAbstractButton *> buttons;
    for (qsizetype i = 0; i < question.buttons.size(); ++i) {
        const QString &title = question.buttons[i];
        // The first button is the default and the last one cancels, in any
        // language the titles read in.
        const auto role = i == 0                             ? QMessageBox::AcceptRole
                          : i == question.buttons.size() - 1 ? QMessageBox::RejectRole
                                                             : QMessageBox::ActionRole;
        QPushButton *button = box->addButton(title, role);
        button->setAccessibleName(title);
        buttons << button;
    }
    if (!buttons.isEmpty()) {
        box->setDefaultButton(qobject_cast<QPushButton *>(buttons.first()));
        box->setEscapeButton(buttons.last());
    }
    if (question.showsApplyToAll) {
        box->setCheckBox(
            new QCheckBox(QCoreApplication::translate("ZKMessageBoxPresenter", "Apply to all")));
    }
    pending->box = box;

    QObject::connect(box, &QMessageBox::finished, &m_receiver, [this, pending, buttons] {
        QMessageBox *answeredBox = pending->box;
        if (pending->done || !answeredBox) {
            return;
        }
        const int chosen = int(buttons.indexOf(answeredBox->clickedButton()));
        const bool applyToAll = answeredBox->checkBox() && answeredBox->checkBox()->isChecked();
        finish(pending, chosen < 0
                            ? ZKAnswer::cancelled(pending->question)
                            : ZKAnswer{chosen, pending->question.showsApplyToAll && applyToAll});
    });
    // Gone unanswered: its window went, and with it the window's other
    // questions.
    QObject::connect(box, &QObject::destroyed, &m_receiver, [this, pending] {
        if (!pending->done) {
            pending->box = nullptr; // half torn down: not to be touched
            const QWidget *window = pending->window;
            cancelWhere([window](const Pending &other) { return other.window == window; });
        }
    });
    if (window) {
        box->open();
    } else {
        box->setWindowModality(Qt::ApplicationModal);
        box->show();
    }
}

void ZKMessageBoxPresenter::showNext(const QWidget *window) {
    for (;;) {
        const auto next =
            std::find_if(m_pending.cbegin(), m_pending.cend(),
                         [window](const PendingPtr &pending) { return pending->window == window; });
        if (next == m_pending.cend()) {
            return;
        }
        const PendingPtr pending = *next;
        if (!pending->asker) {
            show(pending, nullptr);
            return;
        }
        // The asker may have gone, or left this window, while it waited.
        QWidget *found = pending->question.asker ? m_finder(pending->asker) : nullptr;
        if (found && found == window) {
            show(pending, found);
            return;
        }
        finish(pending, ZKAnswer::cancelled(pending->question));
    }
}

bool ZKMessageBoxPresenter::take(const PendingPtr &pending) {
    pending->done = true;
    m_pending.removeAll(pending);
    QMessageBox *box = std::exchange(pending->box, nullptr);
    if (!box) {
        return false;
    }
    box->hide();
    // Later: this may run inside the box's own signal.
    box->deleteLater();
    return true;
}

void ZKMessageBoxPresenter::finish(const PendingPtr &pending, const ZKAnswer &answer) {
    if (pending->done) {
        return;
    }
    const bool shown = take(pending);
    if (const Answered answered = std::exchange(pending->answered, {})) {
        answered(answer);
    }
    if (shown) {
        showNext(pending->window);
    }
}

void ZKMessageBoxPresenter::cancelWhere(const std::function<bool(const Pending &)> &matches) {
    // All taken off before any is answered, so that none of them is shown
    // only to go at once, and an answer that leads to a new question finds
    // the list as it will stay.
    QList<PendingPtr> cancelled;
    QList<const QWidget *> freed;
    for (const PendingPtr &pending : QList<PendingPtr>(m_pending)) {
        if (matches(*pending)) {
            cancelled << pending;
            if (take(pending)) {
                freed << pending->window;
            }
        }
    }
    for (const PendingPtr &pending : std::as_const(cancelled)) {
        if (const Answered answered = std::exchange(pending->answered, {})) {
            answered(ZKAnswer::cancelled(pending->question));
        }
    }
    for (const QWidget *window : std::as_const(freed)) {
        showNext(window);
    }
}

void ZKMessageBoxPresenter::cancelQuestions(const QObject *asker) {
    cancelWhere([asker](const Pending &pending) { return pending.asker == asker; });
}

void ZKMessageBoxPresenter::dismissQuestions(const QWidget *window) {
    cancelWhere([window](const Pending &pending) { return pending.window == window; });
}
