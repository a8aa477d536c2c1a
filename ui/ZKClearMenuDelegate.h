// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKAutomaticMenuDelegate.h"

// The clear menu's automatic item is checked when the queue clears finished rows by itself.
class ZKClearMenuDelegate : public ZKAutomaticMenuDelegate {
    Q_OBJECT

public:
    explicit ZKClearMenuDelegate(QObject *parent = nullptr)
        : ZKAutomaticMenuDelegate(parent) {}

protected:
    bool isAutomatic(const ZKFerrowickDocument &document) const override {
        return document.autoClearItems();
    }
};
