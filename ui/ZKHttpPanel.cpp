// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHttpPanel.h"

#include "ZKReaderFactory.h"

#include <QComboBox>
#include <QLineEdit>

ZKHttpPanel::ZKHttpPanel(QWidget *parent, ZKUserDefaults *defaults)
    : ZKAddressPanel(QStringLiteral("recentUrls"), tr("Web Address"), defaults, parent) {
    addressBox()->lineEdit()->setPlaceholderText(tr("https://server/file"));
}

bool ZKHttpPanel::isAcceptable(const QUrl &url) const {
    return ZKReaderFactory::isHttpUrl(url) && !url.host().isEmpty();
}

QUrl ZKHttpPanel::urlFromText(const QString &text) const {
    if (text.isEmpty()) {
        return {};
    }
    return text.contains(QStringLiteral("://")) ? QUrl(text)
                                                : QUrl(QStringLiteral("https://") + text);
}
