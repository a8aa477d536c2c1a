// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueSheet.h"

#include "ZKFerrowickDocument.h"

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
