// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

struct ZKPasteboardItem {
    QString type;
    QByteArray data;
};

// What the engine needs of a clipboard or a drag: the desktop implements it
// over the system clipboard, tests keep it in memory.
class ZKPasteboard {
public:
    virtual ~ZKPasteboard() = default;
    virtual void writeUrls(const QList<QUrl> &urls) = 0;
    virtual void addItems(const QList<ZKPasteboardItem> &items) = 0;
};
