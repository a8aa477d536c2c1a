// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKMimeDataPasteboard.h"

#include <QDataStream>
#include <QIODevice>
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

namespace {
// MIME data holds one value a type; several items of a type go, framed,
// under a second type beside the first item, which readers of one item take.
QString listType(const QString &type) {
    return type + QStringLiteral("-list");
}
} // namespace

void ZKMimeDataPasteboard::addItems(const QList<ZKPasteboardItem> &items) {
    for (const ZKPasteboardItem &item : items) {
        QList<QByteArray> &all = m_items[item.type];
        all.append(item.data);
        m_mimeData->setData(item.type, all.first());
        if (all.size() > 1) {
            QByteArray framed;
            QDataStream stream(&framed, QIODevice::WriteOnly);
            stream << all;
            m_mimeData->setData(listType(item.type), framed);
        }
    }
}

QList<QByteArray> ZKMimeDataPasteboard::itemsOfType(const QMimeData &mimeData,
                                                    const QString &type) {
    if (mimeData.hasFormat(listType(type))) {
        QList<QByteArray> all;
        QDataStream stream(mimeData.data(listType(type)));
        stream >> all;
        if (stream.status() == QDataStream::Ok) {
            return all;
        }
    }
    if (mimeData.hasFormat(type)) {
        return {mimeData.data(type)};
    }
    return {};
}

QMimeData *ZKMimeDataPasteboard::takeMimeData() {
    QMimeData *taken = m_mimeData.release();
    m_mimeData = std::make_unique<QMimeData>();
    m_items.clear();
    return taken;
}
