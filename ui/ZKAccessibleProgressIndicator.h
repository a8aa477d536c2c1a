// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

class ZKStoppableProgressIndicator;

// A task's bar as a screen reader meets it: one progress bar whose value is
// what the bar shows, stopped or not. The plain bar drawn over a stopped one
// is a picture of the same value and is left out.
class ZKAccessibleProgressIndicator : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit ZKAccessibleProgressIndicator(ZKStoppableProgressIndicator *indicator);

    // Makes every ZKStoppableProgressIndicator such a bar from now on.
    static void install();

    void *interface_cast(QAccessible::InterfaceType type) override;
    int childCount() const override { return 0; }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessible::State state() const override;

    QVariant currentValue() const override;
    // Progress is the task's to change, not the reader's.
    void setCurrentValue(const QVariant &) override {}
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override { return 0; }

private:
    ZKStoppableProgressIndicator *indicator() const;
};
