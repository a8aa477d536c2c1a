// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

class ZKHoverDelegate;

// A control that says what it is about while the pointer is over it.
class ZKHoverView {
public:
    virtual ~ZKHoverView() = default;
    ZKHoverDelegate *delegate() const { return m_delegate; }
    void setDelegate(ZKHoverDelegate *delegate) { m_delegate = delegate; }
    QString hoverText() const { return m_hoverText; }
    void setHoverText(const QString &text) { m_hoverText = text; }

private:
    ZKHoverDelegate *m_delegate = nullptr;
    QString m_hoverText;
};
