// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class ZKHoverView;

// Told when the pointer (or the keyboard focus) comes to a hover view and
// leaves it: the task row, which then shows the view's hover text.
class ZKHoverDelegate {
public:
    virtual ~ZKHoverDelegate() = default;
    virtual void mouseEntered(ZKHoverView *view) = 0;
    virtual void mouseExited(ZKHoverView *view) = 0;
};
