// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractItemModel>
#include <QAbstractScrollArea>
#include <QList>
#include <QPointer>
#include <QTimer>
#include <QVariant>

#include <functional>

class QParallelAnimationGroup;
class QPropertyAnimation;
class ZKListViewDelegate;
class ZKListViewItem;

// The scrolling list of a queue window: one row of fixed height per row of
// its model. Only the rows in view exist as widgets (plus one spare); they
// are copies of a prototype and are handed other rows as the list scrolls,
// so a list of many thousand entries costs no more than a screenful. Rows
// the model inserts, removes or moves slide into place; rows are dragged
// after a short press, and drops go to the delegate. The list reads nothing
// of the model but its row count: the rows read their roles.
//
// The keyboard moves between rows with the arrows, Home, End and the page
// keys; it stays on an index, so when the rows are handed other entries the
// focus goes to the row that then shows that index. Tab enters the list at
// that row, steps through its controls and leaves the list.
class ZKListView : public QAbstractScrollArea {
    Q_OBJECT
    Q_PROPERTY(double nudgeAmount READ nudgeAmount WRITE setNudgeAmount)
    Q_PROPERTY(double animationDuration READ animationDuration WRITE setAnimationDuration)
    Q_PROPERTY(double dragPressDuration READ dragPressDuration WRITE setDragPressDuration)

public:
    // A run of rows: the first and how many.
    struct RowRange {
        qsizetype first = 0;
        qsizetype length = 0;
    };

    explicit ZKListView(QWidget *parent = nullptr);
    ~ZKListView() override;

    QAbstractItemModel *model() const { return m_model; }
    // A flat list model (the rows of its root); the list does not own it.
    // Shown at once, without sliding.
    void setModel(QAbstractItemModel *model);
    qsizetype count() const;
    // The role whose values tell the model's entries apart (equal values,
    // same entry), or -1. With one, the rows slide to their places when the
    // model is reset or reorders itself; without, they are shown anew there.
    int identityRole() const { return m_identityRole; }
    void setIdentityRole(int role) { m_identityRole = role; }
    // Lays the rows out anew.
    void refresh();

    ZKListViewItem *itemPrototype() const { return m_itemPrototype; }
    // The list takes the prototype over; rows are copies of it, as high as it.
    void setItemPrototype(ZKListViewItem *prototype);
    double itemHeight() const { return m_itemHeight; }

    QObject *owner() const { return m_owner; }
    void setOwner(QObject *owner);
    ZKListViewDelegate *delegate() const { return m_delegate; }
    // Without a delegate rows cannot be dragged and nothing can be dropped.
    void setDelegate(ZKListViewDelegate *delegate) { m_delegate = delegate; }

    double nudgeAmount() const { return m_nudgeAmount; }
    void setNudgeAmount(double amount) { m_nudgeAmount = amount; }
    double animationDuration() const { return m_animationDuration; }
    void setAnimationDuration(double seconds) { m_animationDuration = seconds; }
    double dragPressDuration() const { return m_dragPressDuration; }
    void setDragPressDuration(double seconds) { m_dragPressDuration = seconds; }

    // The entry the keyboard is on, or -1.
    qsizetype currentIndex() const { return m_currentIndex; }
    // Scrolls the entry into view and gives its row the focus.
    void setCurrentIndex(qsizetype index);
    // The row showing the entry, or nullptr while it is out of view.
    ZKListViewItem *itemAtIndex(qsizetype index) const;

    // The index the last drag from this list started at, or -1.
    qsizetype originalDragIndex() const { return m_originalDragIndex; }
    // Whether rows are sliding or the list is scrolling on its own.
    bool isAnimating() const;

    // The rows in view, top to bottom.
    QList<ZKListViewItem *> visibleItems() const;
    double positionForRow(qsizetype row) const;
    qsizetype rowForPosition(double position) const;
    RowRange calculateVisibleRows() const;
    // The insertion index for a drop at this vertical position, in document
    // coordinates (the scroll offset included).
    qsizetype calculateDropIndex(double y) const;

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void scrollContentsBy(int dx, int dy) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    // How the rows before a change of the model stand to those after it:
    // where an old row went and where a new one came from (-1: taken out,
    // or new).
    struct RowChange {
        std::function<qsizetype(qsizetype oldRow)> newRowOf;
        std::function<qsizetype(qsizetype newRow)> oldRowOf;
    };

    void connectModel();
    void rowsInserted(int first, int last);
    void rowsRemoved(int first, int last);
    void rowsMoved(int first, int last, int destination);
    void rememberEntries();
    void entriesReordered();
    void rowDataChanged(int first, int last, const QList<int> &roles);
    // A change the model made: the rows slide from where they were shown.
    void followChange(const RowChange &change);
    void updateDocument();
    // Hands the rows in view their entries and places them. Rows showing an
    // entry that stays in view keep it; with a change, the rows slide from
    // where they were shown (at the old scroll offset) to their new places.
    void updateViews(const RowChange *change = nullptr, int oldOffset = 0);
    ZKListViewItem *createReusableItem();
    // The row in view that holds the widget, or nullptr.
    ZKListViewItem *itemContaining(const QWidget *widget) const;
    bool hasFocusWithin() const;
    void scrollToIndex(qsizetype index);
    // After the rows were handed their entries: the focus goes to the row
    // that shows the current index, or to the list while it is out of view.
    void followCurrentIndex();
    // Tab from the last control of a row, Backtab from a row: the next
    // widget of the window outside the list.
    bool leaveList(bool next);
    int rowTop(qsizetype row) const;
    int scrollOffset() const;
    void startDraggingItem(qsizetype index);
    Qt::DropAction acceptableDropAction(const QDropEvent *event) const;
    void setDropGap(qsizetype index);
    // Scrolls by a row while a drag is held at the top or bottom edge.
    bool nudge();
    void dragScrollBy(double distance);

    QPointer<QAbstractItemModel> m_model;
    QList<QMetaObject::Connection> m_modelConnections;
    int m_identityRole = -1;
    // The entries of the rows before a reset or reordering, by identity.
    QList<QVariant> m_entriesBefore;
    ZKListViewItem *m_itemPrototype = nullptr;
    // Rows showing the model's rows first, in order, then at most one spare.
    QList<ZKListViewItem *> m_reusableItems;
    qsizetype m_shownFirst = 0;
    qsizetype m_shownCount = 0;
    qsizetype m_currentIndex = -1;
    QPointer<QObject> m_owner;
    ZKListViewDelegate *m_delegate = nullptr;

    double m_itemHeight = 1.0;
    double m_nudgeAmount = 10.0;
    double m_animationDuration = 0.4;
    double m_dragPressDuration = 0.2;
    bool m_documentUpdating = false;

    QParallelAnimationGroup *m_rowAnimations = nullptr;
    QPropertyAnimation *m_scrollAnimation = nullptr;

    QTimer m_pressTimer;
    QPointer<ZKListViewItem> m_pressedItem;
    QPoint m_pressPosition;
    qsizetype m_originalDragIndex = -1;
    bool m_dragging = false;
    bool m_dropHandledHere = false;
    // The index before which a drag over the list opens a row's gap, or -1.
    qsizetype m_dropGapIndex = -1;
    double m_dragPointerY = 0;
    QTimer m_nudgeTimer;
};
