// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKPasteboard.h"

#include <QHash>
#include <QMimeData>

#include <memory>

// A pasteboard whose content is a MIME data object, the form in which both
// the clipboard and a drag carry it: URLs as "text/uri-list" (and as plain
// text, one per line), items under their own types.
class ZKMimeDataPasteboard : public ZKPasteboard {
public:
    ZKMimeDataPasteboard();

    void writeUrls(const QList<QUrl> &urls) override;
    void addItems(const QList<ZKPasteboardItem> &items) override;

    // Every item of that type; several of one type travel together.
    static QList<QByteArray> itemsOfType(const QMimeData &mimeData, const QString &type);

    QMimeData *mimeData() const { return m_mimeData.get(); }
    // Hands the content over, to the clipboard or a drag; the pasteboard is
    // empty afterwards.
    QMimeData *takeMimeData();

private:
    std::unique_ptr<QMimeData> m_mimeData;
    QHash<QString, QList<QByteArray>> m_items;
};
