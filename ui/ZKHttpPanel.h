// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKAddressPanel.h"

// Asks for a web address (http or https) to download.
class ZKHttpPanel : public ZKAddressPanel {
    Q_OBJECT

public:
    explicit ZKHttpPanel(QWidget *parent = nullptr, ZKUserDefaults *defaults = nullptr);

protected:
    bool isAcceptable(const QUrl &url) const override;
    QUrl urlFromText(const QString &text) const override;
};
