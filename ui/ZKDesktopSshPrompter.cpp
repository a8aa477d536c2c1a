// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDesktopSshPrompter.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// The window the user works in; without one active (a session without a
// window manager), the first window shown.
QWidget *parentWindow() {
    if (QWidget *window = QApplication::activeWindow()) {
        return window->window();
    }
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible() && widget->windowType() == Qt::Window) {
            return widget;
        }
    }
    return nullptr;
}

// What takes a question away once its wait was refused.
std::function<void()> closer(QWidget *dialog) {
    return [guard = QPointer<QWidget>(dialog)] {
        if (guard) {
            guard->close();
            guard->deleteLater();
        }
    };
}

} // namespace

bool ZKDesktopSshPrompter::acceptNewHostKey(const QString &host, const QString &keyType,
                                            const QString &fingerprint) {
    const std::optional<QVariant> answer = askOnMainThread([=](Reply reply) {
        auto *box =
            new QMessageBox(QMessageBox::Warning, tr("Ferrowick"),
                            tr("The authenticity of host '%1' can't be established.").arg(host),
                            QMessageBox::NoButton, parentWindow());
        box->setInformativeText(
            tr("%1 key fingerprint is %2.\n\nConnect only if you know this is the server's key; "
               "it is then remembered in ~/.ssh/known_hosts, as ssh does.")
                .arg(keyType, fingerprint));
        box->setTextInteractionFlags(Qt::TextSelectableByMouse);
        QPushButton *connect = box->addButton(tr("Connect"), QMessageBox::AcceptRole);
        QPushButton *cancel = box->addButton(QMessageBox::Cancel);
        // Trusting a server is never the default.
        box->setDefaultButton(cancel);
        box->setEscapeButton(cancel);
        box->setWindowModality(Qt::WindowModal);
        box->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(box, &QMessageBox::finished, box,
                         [box, connect, reply] { reply(box->clickedButton() == connect); });
        box->open();
        return closer(box);
    });
    return answer && answer->toBool();
}

std::optional<QString> ZKDesktopSshPrompter::askSecret(const QString &prompt, bool *remember) {
    *remember = false;
    const std::optional<QVariant> answer = askOnMainThread([=](Reply reply) {
        auto *dialog = new QDialog(parentWindow());
        dialog->setWindowTitle(tr("Ferrowick"));
        auto *layout = new QVBoxLayout(dialog);
        auto *label = new QLabel(prompt, dialog);
        label->setWordWrap(true);
        auto *field = new QLineEdit(dialog);
        field->setEchoMode(QLineEdit::Password);
        field->setAccessibleName(prompt);
        label->setBuddy(field);
        auto *keep = new QCheckBox(tr("&Remember in the password store"), dialog);
        auto *buttons =
            new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
        layout->addWidget(label);
        layout->addWidget(field);
        layout->addWidget(keep);
        layout->addWidget(buttons);
        QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
        QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
        dialog->setWindowModality(Qt::WindowModal);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(dialog, &QDialog::finished, dialog, [field, keep, reply](int result) {
            if (result == QDialog::Accepted) {
                reply(QVariantList{field->text(), keep->isChecked()});
            } else {
                reply(QVariant());
            }
        });
        dialog->open();
        field->setFocus();
        return closer(dialog);
    });
    if (!answer || !answer->isValid()) {
        return std::nullopt;
    }
    const QVariantList given = answer->toList();
    *remember = given.value(1).toBool();
    return given.value(0).toString();
}
