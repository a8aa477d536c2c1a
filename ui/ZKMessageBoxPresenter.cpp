// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMessageBoxPresenter.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

ZKMessageBoxPresenter::ZKMessageBoxPresenter(WindowFinder finder)
    : m_finder(std::move(finder)) {}

ZKAnswer ZKMessageBoxPresenter::ask(const ZKQuestion &question) {
    const int cancel = int(question.buttons.size()) - 1;
    QPointer<QWidget> window = question.asker ? m_finder(question.asker.data()) : nullptr;
    if (question.asker && !window) {
        // The queue's window is gone: nobody is there to answer.
        return {cancel, false};
    }
    // On the heap: closing the window takes its message box with it, even
    // while the box is still being asked.
    QPointer<QMessageBox> box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Ferrowick"),
                                                question.message, QMessageBox::NoButton, window);
    box->setInformativeText(question.informativeText);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    QList<QAbstractButton *> buttons;
    for (qsizetype i = 0; i < question.buttons.size(); ++i) {
        const QString &title = question.buttons[i];
        const auto role = title == QStringLiteral("Cancel") ? QMessageBox::RejectRole
                          : i == 0                          ? QMessageBox::AcceptRole
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
        box->setCheckBox(new QCheckBox(QStringLiteral("Apply to all")));
    }

    const QWidget *key = window.data();
    m_open[key] += 1;
    m_boxes << box;
    box->exec();
    m_boxes.removeAll(box);
    if (--m_open[key] == 0) {
        m_open.remove(key);
    }
    if (!box) {
        return {cancel, false};
    }
    const int chosen = int(buttons.indexOf(box->clickedButton()));
    const bool applyToAll = box->checkBox() && box->checkBox()->isChecked();
    delete box.data();
    if (chosen < 0) {
        return {cancel, false};
    }
    return {chosen, question.showsApplyToAll && applyToAll};
}

void ZKMessageBoxPresenter::dismissQuestions(const QWidget *window) {
    for (const QPointer<QMessageBox> &box : std::as_const(m_boxes)) {
        if (box && box->parentWidget() == window) {
            box->reject();
        }
    }
}
