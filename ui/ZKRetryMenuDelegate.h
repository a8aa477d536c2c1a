// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFerrowickDocument.h"

#include <QObject>
#include <QPointer>

class QMenu;

// Keeps the check mark of the retry menu's automatic item (the one whose
// data is 1001) true to whether the queue retries failed rows by itself.
class ZKRetryMenuDelegate : public QObject {
    Q_OBJECT

public:
    explicit ZKRetryMenuDelegate(QObject *parent = nullptr);

    ZKFerrowickDocument *document() const { return m_document; }
    void setDocument(ZKFerrowickDocument *document) { m_document = document; }

    void attachToMenu(QMenu *menu);
    void menuWillOpen(QMenu *menu);

private:
    QPointer<ZKFerrowickDocument> m_document;
};
