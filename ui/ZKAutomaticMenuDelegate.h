// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFerrowickDocument.h"

#include <QObject>
#include <QPointer>

class QMenu;

// Keeps the check mark of a menu's automatic item (the one whose data is
// 1001) true to a switch of the queue, each time the menu opens.
class ZKAutomaticMenuDelegate : public QObject {
    Q_OBJECT

public:
    ZKFerrowickDocument *document() const { return m_document; }
    void setDocument(ZKFerrowickDocument *document) { m_document = document; }
    void attachToMenu(QMenu *menu);
    void menuWillOpen(QMenu *menu);

protected:
    explicit ZKAutomaticMenuDelegate(QObject *parent);
    virtual bool isAutomatic(const ZKFerrowickDocument &document) const = 0;

private:
    QPointer<ZKFerrowickDocument> m_document;
};
