// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKListViewItem.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>

class QMimeData;
class QParallelAnimationGroup;
class QPropertyAnimation;
class ZKListViewDelegate;

// The scrolling list of a queue window: one row of fixed height per entry,
// made by copying a prototype row. Only the rows in view exist (and one
// spare), so a list of many thousands costs what a screenful costs. Rows
// slide into place when entries come, go or move, and can be dragged to
// another place or another list; files and addresses can be dropped on it.
class ZKListView : public QAbstractScrollArea {
    Q_OBJECT

public:
    using Object = std::shared_ptr<QObject>;

    explicit ZKListView(QWidget *parent = nullptr);
    ~ZKListView() override;

    // ---- content
    const QList<Object> &content() const { return m_content; }
    // Replaces everything at once, without sliding.
    void setContent(const QList<Object> &content);
    void insertObject(const Object &object, qsizetype index);
    void removeObjectFromContentAtIndex(qsizetype index);
    // indexes: ascending, the places the new entries hold afterwards.
    void insertContent(const QList<Object> &objects, const QList<qsizetype> &indexes);
    // indexes: ascending, the places the entries hold before.
    void removeContentAtIndexes(const QList<qsizetype> &indexes);
    // to is an insertion index counted before the entry is taken out; past
    // the end means the end.
    void moveItemFromIndex(qsizetype from, qsizetype to);
    void sortItemsWithDescriptor(const std::function<bool(const Object &, const Object &)> &less);
    void refresh();
    // In the order they are shown.
    QList<ZKListViewItem *> visibleItems() const;

    // ---- rows
    // The list owns the prototype; every row is a copy of it.
    void setItemPrototype(ZKListViewItem *prototype);
    ZKListViewItem *itemPrototype() const { return m_prototype; }
    double itemHeight() const { return m_itemHeight; }
    QObject *owner() const { return m_owner; }
    void setOwner(QObject *owner);
    ZKListViewDelegate *delegate() const { return m_delegate; }
    void setDelegate(ZKListViewDelegate *delegate) { m_delegate = delegate; }

    double nudgeAmount() const { return m_nudgeAmount; }
    void setNudgeAmount(double points) { m_nudgeAmount = points; }
    double animationDuration() const { return m_animationDuration; }
    void setAnimationDuration(double seconds) { m_animationDuration = seconds; }
    double dragPressDuration() const { return m_dragPressDuration; }
    void setDragPressDuration(double seconds) { m_dragPressDuration = seconds; }
    qsizetype originalDragIndex() const { return m_originalDragIndex; }
    // The row a drag would leave open, or -1.
    qsizetype gapIndex() const { return m_gapIndex; }

    // ---- geometry, in document coordinates (0 is the top of the first row)
    double positionForRow(qsizetype row) const { return double(row) * m_itemHeight; }
    qsizetype rowForPosition(double position) const { return qsizetype(position / m_itemHeight); }
    struct Range {
        qsizetype first = 0;
        qsizetype length = 0;
    };
    Range calculateVisibleRows() const;
    qsizetype calculateDropIndex(double position) const;

    // Starts dragging the row at that index at once, as a long press does.
    void startDraggingItem(qsizetype index);

Q_SIGNALS:
    // After every re-laying of the rows.
    void rowsLaidOut();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void updateDocument();
    void updateViews(bool animated);
    ZKListViewItem *createReusableItem();
    void releaseItem(ZKListViewItem *item);
    int rowY(qsizetype row) const;
    void stopAnimations();
    void setGapIndex(qsizetype index);
    void dragScrollBy(int delta);
    bool acceptsDrag(const QMimeData *data) const;
    qsizetype indexOfItem(const QWidget *item) const;

    QList<Object> m_content;
    ZKListViewItem *m_prototype = nullptr;
    // The rows in view, in order, and the spare ones after them.
    QList<ZKListViewItem *> m_items;
    qsizetype m_visibleCount = 0;
    qsizetype m_firstVisible = 0;
    double m_itemHeight = 1.0;
    QPointer<QObject> m_owner;
    ZKListViewDelegate *m_delegate = nullptr;
    double m_nudgeAmount = 10.0;
    double m_animationDuration = 0.4;
    double m_dragPressDuration = 0.2;
    QParallelAnimationGroup *m_animations = nullptr;
    QPropertyAnimation *m_scrollAnimation = nullptr;
    QTimer m_pressTimer;
    QPointer<QWidget> m_pressedItem;
    QPoint m_pressPoint;
    qsizetype m_originalDragIndex = -1;
    qsizetype m_gapIndex = -1;
    bool m_dragging = false;
    bool m_dropHandledHere = false;
};
