// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractItemModel>
#include <QPointer>
#include <QVariant>
#include <QWidget>

// One row of a ZKListView. The list makes its rows by copying a prototype and
// hands each a row of its model to show as it scrolls; a row holds no state
// of its own beyond what it shows of that entry, which it reads from the
// model's roles. Rows take the keyboard focus and draw a frame while they
// have it; screen readers meet them as list items, named by their accessible
// name and described by their accessible description.
class ZKListViewItem : public QWidget {
    Q_OBJECT

public:
    explicit ZKListViewItem(QWidget *parent = nullptr);

    // A new row of the same kind with the same owner.
    virtual ZKListViewItem *copy() const;

    QAbstractItemModel *model() const { return m_model; }
    // The model row shown, or -1.
    int row() const { return m_row; }
    // What the model holds for the row shown in this role; nothing without one.
    QVariant data(int role) const;
    // Called when the row is given another entry to show (-1: none).
    virtual void setRow(QAbstractItemModel *model, int row);
    // The entry shown now stands at another index, as others came or went
    // before it: what the row shows of it still holds.
    void renumber(int row) { m_row = row; }
    // The model changed what it holds for the row shown; roles empty means
    // any of them.
    virtual void rowDataChanged(const QList<int> &roles) { Q_UNUSED(roles); }

    QObject *owner() const { return m_owner; }
    void setOwner(QObject *owner) { m_owner = owner; }

    // The list tells a row when it comes into view and when it leaves; it
    // passes on changes of the model only to rows in view.
    virtual void viewWillAppear() {}
    virtual void viewDidDisappear() {}

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPointer<QAbstractItemModel> m_model;
    int m_row = -1;
    QPointer<QObject> m_owner;
};
