// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueSheet.h"

#include "ZKFerrowickDocument.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

ZKQueueSheet::ZKQueueSheet(ZKFerrowickDocument *document, QWidget *parent)
    : QDialog(parent)
    , m_document(document) {
    setWindowModality(Qt::WindowModal);
}

void ZKQueueSheet::followDocument(QWidget *first) {
    m_first = first;
    if (m_document) {
        connect(m_document, &ZKFerrowickDocument::speedLimitAndScheduleReplaced, this,
                &ZKQueueSheet::bind);
    }
    bind();
}

void ZKQueueSheet::displaySheetForWindow(QWidget *window) {
    if (window && parentWidget() != window) {
        setParent(window, windowFlags());
    }
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    if (m_first) {
        m_first->setFocus();
    }
    open();
}

QPushButton *ZKQueueSheet::finishLayout(QVBoxLayout *layout, QWidget *last) {
    auto *buttons = new QDialogButtonBox(this);
    QPushButton *done = buttons->addButton(tr("Done"), QDialogButtonBox::AcceptRole);
    done->setObjectName(QStringLiteral("doneButton"));
    done->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addSpacing(6);
    layout->addWidget(buttons);
    setTabOrder(last, done);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    return done;
}
