// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKRetryMenuDelegate.h"

#include <QAction>
#include <QMenu>

ZKRetryMenuDelegate::ZKRetryMenuDelegate(QObject *parent)
    : QObject(parent) {}

void ZKRetryMenuDelegate::attachToMenu(QMenu *menu) {
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { menuWillOpen(menu); });
}

void ZKRetryMenuDelegate::menuWillOpen(QMenu *menu) {
    for (QAction *action : menu->actions()) {
        if (action->data().toInt() == 1001) {
            action->setCheckable(true);
            action->setChecked(m_document && m_document->autoRetryItems());
        }
    }
}
