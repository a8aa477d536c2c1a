// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

// One row of a ZKListView. The list makes its rows by copying a prototype and
// hands each the entry it shows as it scrolls; a row holds no state of its
// own beyond what it shows of that entry. Rows take the keyboard focus and
// draw a frame while they have it; screen readers meet them as list items,
// named by their accessible name and described by their accessible
// description.
class ZKListViewItem : public QWidget {
    Q_OBJECT

public:
    explicit ZKListViewItem(QWidget *parent = nullptr);

    // A new row of the same kind with the same owner.
    virtual ZKListViewItem *copy() const;

    std::shared_ptr<QObject> representedObject() const { return m_representedObject; }
    // Called when the row is given another entry to show.
    virtual void setRepresentedObject(std::shared_ptr<QObject> object);

    QObject *owner() const { return m_owner; }
    void setOwner(QObject *owner) { m_owner = owner; }

    // The list tells a row when it comes into view and when it leaves, so
    // that a row watches its entry only while it is seen.
    virtual void viewWillAppear() {}
    virtual void viewDidDisappear() {}

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::shared_ptr<QObject> m_representedObject;
    QPointer<QObject> m_owner;
};
