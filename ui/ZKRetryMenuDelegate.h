// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKAutomaticMenuDelegate.h"

// The retry menu's automatic item is checked when the queue retries failed rows by itself.
class ZKRetryMenuDelegate : public ZKAutomaticMenuDelegate {
    Q_OBJECT

public:
    explicit ZKRetryMenuDelegate(QObject *parent = nullptr)
        : ZKAutomaticMenuDelegate(parent) {}

protected:
    bool isAutomatic(const ZKFerrowickDocument &document) const override {
        return document.autoRetryItems();
    }
};
