// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKClearMenuDelegate.h"

#include <QAction>
#include <QMenu>

ZKClearMenuDelegate::ZKClearMenuDelegate(QObject *parent)
    : QObject(parent) {}

void ZKClearMenuDelegate::attachToMenu(QMenu *menu) {
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { menuWillOpen(menu); });
}

void ZKClearMenuDelegate::menuWillOpen(QMenu *menu) {
    for (QAction *action : menu->actions()) {
        if (action->data().toInt() == 1001) {
            action->setCheckable(true);
            action->setChecked(m_document && m_document->autoClearItems());
        }
    }
}
