// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMimeDataPasteboard.h"

#include <QStringList>

ZKMimeDataPasteboard::ZKMimeDataPasteboard()
    : m_mimeData(std::make_unique<QMimeData>()) {}

void ZKMimeDataPasteboard::writeUrls(const QList<QUrl> &urls) {
    m_mimeData->setUrls(urls);
    // A text editor pasting the copy gets readable paths and addresses.
    QStringList lines;
    for (const QUrl &url : urls) {
        lines << (url.isLocalFile() ? url.toLocalFile() : url.toString());
    }
    m_mimeData->setText(lines.join(QLatin1Char('\n')));
}

void ZKMimeDataPasteboard::addItems(const QList<ZKPasteboardItem> &items) {
    for (const ZKPasteboardItem &item : items) {
        m_mimeData->setData(item.type, item.data);
    }
}

QMimeData *ZKMimeDataPasteboard::takeMimeData() {
    QMimeData *taken = m_mimeData.release();
    m_mimeData = std::make_unique<QMimeData>();
    return taken;
}
