// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAutomaticMenuDelegate.h"

#include <QAction>
#include <QMenu>

ZKAutomaticMenuDelegate::ZKAutomaticMenuDelegate(QObject *parent)
    : QObject(parent) {}

void ZKAutomaticMenuDelegate::attachToMenu(QMenu *menu) {
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { menuWillOpen(menu); });
}

void ZKAutomaticMenuDelegate::menuWillOpen(QMenu *menu) {
    for (QAction *action : menu->actions()) {
        if (action->data().toInt() == 1001) {
            action->setCheckable(true);
            action->setChecked(m_document && isAutomatic(*m_document));
        }
    }
}
