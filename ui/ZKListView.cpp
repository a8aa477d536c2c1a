// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListView.h"

#include "ZKAccessibleListView.h"
#include "ZKListViewDelegate.h"
#include "ZKListViewItem.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKTaskQueue.h"

#include <QAbstractItemModel>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QtMath>

#include <algorithm>
#include <utility>

namespace {
int milliseconds(double seconds) {
    return qMax(0, qRound(seconds * 1000));
}

bool isNavigationKey(const QKeyEvent *event) {
    if (event->modifiers() & ~Qt::KeypadModifier) {
        return false;
    }
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    default:
        return false;
    }
}
} // namespace

ZKListView::ZKListView(QWidget *parent)
    : QAbstractScrollArea(parent)
    , m_rowAnimations(new QParallelAnimationGroup(this))
    , m_scrollAnimation(new QPropertyAnimation(verticalScrollBar(), "value", this)) {
    ZKAccessibleListView::install();
    setAccessibleName(tr("Task list"));
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    viewport()->setAcceptDrops(true);

    m_pressTimer.setSingleShot(true);
    connect(&m_pressTimer, &QTimer::timeout, this, [this] {
        const qsizetype place = m_reusableItems.indexOf(m_pressedItem.data());
        if (m_pressedItem && place >= 0 && place < m_shownCount) {
            startDraggingItem(m_shownFirst + place);
        }
    });
    connect(&m_nudgeTimer, &QTimer::timeout, this, [this] {
        if (!nudge()) {
            m_nudgeTimer.stop();
        }
    });
}

ZKListView::~ZKListView() {
    m_rowAnimations->stop();
    for (qsizetype i = 0; i < m_shownCount; ++i) {
        m_reusableItems.at(i)->viewDidDisappear();
    }
}

void ZKListView::setModel(QAbstractItemModel *model) {
    // A model going away has already cleared the pointer to it.
    if (model && model == m_model) {
        return;
    }
    for (const auto &connection : std::as_const(m_modelConnections)) {
        disconnect(connection);
    }
    m_modelConnections.clear();
    m_entriesBefore.clear();
    m_model = model;
    connectModel();
    // Every row shows its entry anew.
    m_rowAnimations->stop();
    for (qsizetype i = 0; i < m_shownCount; ++i) {
        m_reusableItems.at(i)->viewDidDisappear();
        m_reusableItems.at(i)->setRow(nullptr, -1);
    }
    m_shownCount = 0;
    refresh();
}

qsizetype ZKListView::count() const {
    return m_model ? m_model->rowCount() : 0;
}

void ZKListView::connectModel() {
    QAbstractItemModel *model = m_model;
    if (!model) {
        return;
    }
    // Only the rows of the root are shown.
    m_modelConnections = {
        connect(model, &QAbstractItemModel::rowsInserted, this,
                [this](const QModelIndex &parent, int first, int last) {
                    if (!parent.isValid()) {
                        rowsInserted(first, last);
                    }
                }),
        connect(model, &QAbstractItemModel::rowsRemoved, this,
                [this](const QModelIndex &parent, int first, int last) {
                    if (!parent.isValid()) {
                        rowsRemoved(first, last);
                    }
                }),
        connect(model, &QAbstractItemModel::rowsMoved, this,
                [this](const QModelIndex &parent, int first, int last,
                       const QModelIndex &destination, int row) {
                    if (!parent.isValid() && !destination.isValid()) {
                        rowsMoved(first, last, row);
                    }
                }),
        connect(model, &QAbstractItemModel::modelAboutToBeReset, this,
                &ZKListView::rememberEntries),
        connect(model, &QAbstractItemModel::modelReset, this, &ZKListView::entriesReordered),
        connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this,
                &ZKListView::rememberEntries),
        connect(model, &QAbstractItemModel::layoutChanged, this, &ZKListView::entriesReordered),
        connect(model, &QAbstractItemModel::dataChanged, this,
                [this](const QModelIndex &topLeft, const QModelIndex &bottomRight,
                       const QList<int> &roles) {
                    if (topLeft.isValid() && !topLeft.parent().isValid()) {
                        rowDataChanged(topLeft.row(), bottomRight.row(), roles);
                    }
                }),
        connect(model, &QObject::destroyed, this, [this] { setModel(nullptr); }),
    };
}

void ZKListView::rowsInserted(int first, int last) {
    const qsizetype added = last - first + 1;
    followChange({
        [first, added](qsizetype row) { return row < first ? row : row + added; },
        [first, last, added](qsizetype row) {
            return row < first ? row : row <= last ? qsizetype(-1) : row - added;
        },
    });
}

void ZKListView::rowsRemoved(int first, int last) {
    const qsizetype taken = last - first + 1;
    followChange({
        [first, last, taken](qsizetype row) {
            return row < first ? row : row <= last ? qsizetype(-1) : row - taken;
        },
        [first, taken](qsizetype row) { return row < first ? row : row + taken; },
    });
}

void ZKListView::rowsMoved(int first, int last, int destination) {
    // Qt counts the destination before the rows are taken out.
    const qsizetype length = last - first + 1;
    const qsizetype to = destination > last ? destination - length : destination;
    if (to == first) {
        return;
    }
    // The moved run lands at to; what lay between its old and new places
    // closes up behind it.
    followChange({
        [first, last, to, length](qsizetype row) {
            if (row >= first && row <= last) {
                return to + row - first;
            }
            const qsizetype after = row > last ? row - length : row;
            return after >= to ? after + length : after;
        },
        [first, to, length](qsizetype row) {
            if (row >= to && row < to + length) {
                return first + row - to;
            }
            const qsizetype without = row >= to + length ? row - length : row;
            return without >= first ? without + length : without;
        },
    });
}

void ZKListView::rememberEntries() {
    m_entriesBefore.clear();
    if (m_identityRole < 0 || !m_model) {
        return;
    }
    const int rows = m_model->rowCount();
    m_entriesBefore.reserve(rows);
    for (int row = 0; row < rows; ++row) {
        m_entriesBefore << m_model->index(row, 0).data(m_identityRole);
    }
}

void ZKListView::entriesReordered() {
    const QList<QVariant> before = std::exchange(m_entriesBefore, {});
    if (before.isEmpty() || !m_model) {
        // Nothing tells the entries apart: every row is shown anew.
        followChange({[](qsizetype) { return qsizetype(-1); },
                      [](qsizetype) {
                          return qsizetype(-1);
                      }});
        return;
    }
    // Only the rows in view are asked where they came from and went to: a
    // walk over the old entries for each, instead of an index of them all.
    const int role = m_identityRole;
    QAbstractItemModel *model = m_model;
    const auto entryAt = [model, role](qsizetype row) {
        return model->index(int(row), 0).data(role);
    };
    followChange({
        [this, before, entryAt](qsizetype row) {
            if (row >= before.size()) {
                return qsizetype(-1);
            }
            const RowRange range = calculateVisibleRows();
            const QVariant &entry = before.at(row);
            for (qsizetype i = range.first; i < range.first + range.length; ++i) {
                if (entryAt(i) == entry) {
                    return i;
                }
            }
            return qsizetype(-1); // elsewhere, or gone: out of view either way
        },
        [before, entryAt](qsizetype row) { return before.indexOf(entryAt(row)); },
    });
}

void ZKListView::rowDataChanged(int first, int last, const QList<int> &roles) {
    const qsizetype from = qMax<qsizetype>(first, m_shownFirst);
    const qsizetype to = qMin<qsizetype>(last, m_shownFirst + m_shownCount - 1);
    for (qsizetype row = from; row <= to; ++row) {
        m_reusableItems.at(row - m_shownFirst)->rowDataChanged(roles);
    }
}

void ZKListView::followChange(const RowChange &change) {
    const int oldOffset = scrollOffset();
    updateDocument();
    updateViews(&change, oldOffset);
}

void ZKListView::refresh() {
    updateDocument();
    updateViews();
}

void ZKListView::setItemPrototype(ZKListViewItem *prototype) {
    if (prototype == m_itemPrototype) {
        return;
    }
    m_rowAnimations->stop();
    m_rowAnimations->clear();
    if (hasFocusWithin()) {
        // Hiding the focused row would send the focus out of the list.
        setFocus(Qt::OtherFocusReason);
    }
    for (qsizetype i = 0; i < m_reusableItems.size(); ++i) {
        ZKListViewItem *item = m_reusableItems.at(i);
        if (i < m_shownCount) {
            item->viewDidDisappear();
        }
        item->hide();
        // A row may be the one whose button asked for this.
        item->deleteLater();
    }
    m_reusableItems.clear();
    m_shownCount = 0;
    delete m_itemPrototype;
    m_itemPrototype = prototype;
    if (prototype) {
        double height = prototype->sizeHint().height();
        if (prototype->minimumHeight() == prototype->maximumHeight()) {
            height = prototype->minimumHeight();
        } else if (prototype->testAttribute(Qt::WA_Resized)) {
            height = prototype->height();
        }
        m_itemHeight = qMax(1.0, height);
        prototype->setParent(this);
        prototype->hide();
    }
    refresh();
}

void ZKListView::setOwner(QObject *owner) {
    m_owner = owner;
    for (ZKListViewItem *item : std::as_const(m_reusableItems)) {
        item->setOwner(owner);
    }
}

bool ZKListView::isAnimating() const {
    return m_rowAnimations->state() == QAbstractAnimation::Running ||
           m_scrollAnimation->state() == QAbstractAnimation::Running || m_nudgeTimer.isActive();
}

QList<ZKListViewItem *> ZKListView::visibleItems() const {
    return m_reusableItems.first(m_shownCount);
}

ZKListViewItem *ZKListView::itemAtIndex(qsizetype index) const {
    const qsizetype place = index - m_shownFirst;
    return index >= 0 && place >= 0 && place < m_shownCount ? m_reusableItems.at(place) : nullptr;
}

void ZKListView::setCurrentIndex(qsizetype index) {
    const qsizetype rows = count();
    if (rows == 0) {
        m_currentIndex = -1;
        return;
    }
    m_currentIndex = qBound<qsizetype>(0, index, rows - 1);
    scrollToIndex(m_currentIndex);
    if (ZKListViewItem *item = itemAtIndex(m_currentIndex)) {
        item->setFocus(Qt::OtherFocusReason);
    }
}

void ZKListView::scrollToIndex(qsizetype index) {
    QScrollBar *bar = verticalScrollBar();
    const int top = qFloor(positionForRow(index));
    const int bottom = qCeil(positionForRow(index + 1));
    if (top < bar->value()) {
        bar->setValue(top);
    } else if (bottom > bar->value() + viewport()->height()) {
        bar->setValue(bottom - viewport()->height());
    }
}

ZKListViewItem *ZKListView::itemContaining(const QWidget *widget) const {
    for (const QWidget *w = widget; w && !w->isWindow(); w = w->parentWidget()) {
        if (w->parentWidget() == viewport()) {
            auto *item = qobject_cast<ZKListViewItem *>(const_cast<QWidget *>(w));
            const qsizetype place = m_reusableItems.indexOf(item);
            return place >= 0 && place < m_shownCount ? item : nullptr;
        }
    }
    return nullptr;
}

bool ZKListView::hasFocusWithin() const {
    // The window's focus, so that a window in the background keeps its row.
    const QWidget *focused = window()->focusWidget();
    return focused && (focused == this || isAncestorOf(focused));
}

void ZKListView::followCurrentIndex() {
    if (!hasFocusWithin()) {
        return;
    }
    if (m_currentIndex >= count()) {
        m_currentIndex = count() - 1;
    }
    ZKListViewItem *item = itemAtIndex(m_currentIndex);
    const QWidget *focused = window()->focusWidget();
    if (item && focused != item && !item->isAncestorOf(focused)) {
        item->setFocus(Qt::OtherFocusReason);
    } else if (!item && focused != this) {
        setFocus(Qt::OtherFocusReason);
    }
}

bool ZKListView::event(QEvent *event) {
    // The keys the list moves with win over shortcuts of the window.
    if (event->type() == QEvent::ShortcutOverride &&
        isNavigationKey(static_cast<QKeyEvent *>(event)) && count() > 0) {
        event->accept();
        return true;
    }
    return QAbstractScrollArea::event(event);
}

bool ZKListView::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::FocusIn || !watched->isWidgetType()) {
        return QAbstractScrollArea::eventFilter(watched, event);
    }
    ZKListViewItem *item = itemContaining(static_cast<QWidget *>(watched));
    if (!item) {
        return QAbstractScrollArea::eventFilter(watched, event);
    }
    const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
    ZKListViewItem *current = itemAtIndex(m_currentIndex);
    if ((reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) && current &&
        current != item) {
        // Tab from outside reaches whichever row comes first in the window's
        // focus chain; the keyboard goes back to the row it was on. The
        // widget that lost the focus again never hears it had it.
        current->setFocus(reason);
        return true;
    }
    m_currentIndex = m_shownFirst + m_reusableItems.indexOf(item);
    return QAbstractScrollArea::eventFilter(watched, event);
}

void ZKListView::focusInEvent(QFocusEvent *event) {
    QAbstractScrollArea::focusInEvent(event);
    if (event->reason() != Qt::TabFocusReason && event->reason() != Qt::BacktabFocusReason) {
        return;
    }
    // Tab comes to the list, the keyboard to its row.
    if (m_currentIndex >= 0 && m_currentIndex < count()) {
        setCurrentIndex(m_currentIndex);
    } else if (m_shownCount > 0) {
        setCurrentIndex(m_shownFirst);
    }
}

bool ZKListView::focusNextPrevChild(bool next) {
    QWidget *focused = window()->focusWidget();
    if (ZKListViewItem *item = itemContaining(focused)) {
        // The row, then its controls from left to right.
        QWidgetList controls;
        for (QWidget *child : item->findChildren<QWidget *>()) {
            if ((child->focusPolicy() & Qt::TabFocus) && !child->isWindow() &&
                child->isVisibleTo(item) && child->isEnabled()) {
                controls << child;
            }
        }
        std::stable_sort(controls.begin(), controls.end(), [item](QWidget *a, QWidget *b) {
            return a->mapTo(item, QPoint()).x() < b->mapTo(item, QPoint()).x();
        });
        controls.prepend(item);
        const qsizetype to = controls.indexOf(focused) + (next ? 1 : -1);
        if (controls.contains(focused) && to >= 0 && to < controls.size()) {
            controls.at(to)->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    }
    return leaveList(next);
}

bool ZKListView::leaveList(bool next) {
    for (QWidget *w = next ? nextInFocusChain() : previousInFocusChain(); w && w != this;
         w = next ? w->nextInFocusChain() : w->previousInFocusChain()) {
        if (isAncestorOf(w) || w->window() != window() || w->focusProxy()) {
            continue;
        }
        if ((w->focusPolicy() & Qt::TabFocus) && w->isVisible() && w->isEnabled()) {
            w->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    }
    // Nothing else in the window takes the focus: it stays.
    return true;
}

double ZKListView::positionForRow(qsizetype row) const {
    return static_cast<double>(row) * m_itemHeight;
}

qsizetype ZKListView::rowForPosition(double position) const {
    return static_cast<qsizetype>(position / m_itemHeight);
}

ZKListView::RowRange ZKListView::calculateVisibleRows() const {
    const double top = scrollOffset();
    const qsizetype first = rowForPosition(top);
    const qsizetype last = qMin(rowForPosition(top + viewport()->height() - 1) + 1, count());
    return {first, qMax<qsizetype>(0, last - first)};
}

qsizetype ZKListView::calculateDropIndex(double y) const {
    // Row places without any open gap, so that the index does not flip
    // while the rows slide apart under the pointer.
    const RowRange rows = calculateVisibleRows();
    for (qsizetype i = 0; i < rows.length; ++i) {
        if (positionForRow(rows.first + i) + m_itemHeight / 2 > y) {
            return rows.first + i;
        }
    }
    return rows.first + rows.length;
}

void ZKListView::scrollContentsBy(int dx, int dy) {
    Q_UNUSED(dx);
    // A change of content lays the rows out itself, sliding them.
    if (m_documentUpdating) {
        return;
    }
    // The rows that stay in view move with the pixels already painted, so a
    // scroll paints only the rows that come into view, not the whole list.
    if (dy != 0 && m_rowAnimations->state() != QAbstractAnimation::Running) {
        viewport()->scroll(0, dy);
    }
    updateViews();
}

void ZKListView::resizeEvent(QResizeEvent *event) {
    QAbstractScrollArea::resizeEvent(event);
    refresh();
}

void ZKListView::keyPressEvent(QKeyEvent *event) {
    if (!isNavigationKey(event) || count() == 0) {
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    // Without a current entry the keyboard starts at the top of the view.
    const qsizetype current = m_currentIndex;
    const qsizetype page = qMax<qsizetype>(1, rowForPosition(viewport()->height()) - 1);
    const qsizetype start = calculateVisibleRows().first;
    switch (event->key()) {
    case Qt::Key_Up:
        setCurrentIndex(current >= 0 ? current - 1 : start);
        break;
    case Qt::Key_Down:
        setCurrentIndex(current >= 0 ? current + 1 : start);
        break;
    case Qt::Key_PageUp:
        setCurrentIndex(current >= 0 ? current - page : start);
        break;
    case Qt::Key_PageDown:
        setCurrentIndex(current >= 0 ? current + page : start);
        break;
    case Qt::Key_Home:
        setCurrentIndex(0);
        break;
    default:
        setCurrentIndex(count() - 1);
        break;
    }
    event->accept();
}

void ZKListView::mousePressEvent(QMouseEvent *event) {
    m_pressTimer.stop();
    m_pressedItem = nullptr;
    // Presses reach the list only when the row's own controls did not take
    // them, so a button in a row still clicks.
    if (event->button() == Qt::LeftButton && m_delegate) {
        const QPoint position = event->position().toPoint();
        for (ZKListViewItem *item : visibleItems()) {
            if (item->geometry().contains(position)) {
                m_pressedItem = item;
                m_pressPosition = position - item->pos();
                m_pressTimer.start(milliseconds(m_dragPressDuration));
                event->accept();
                return;
            }
        }
    }
    QAbstractScrollArea::mousePressEvent(event);
}

void ZKListView::mouseReleaseEvent(QMouseEvent *event) {
    m_pressTimer.stop();
    if (m_pressedItem && event->button() == Qt::LeftButton) {
        m_pressedItem = nullptr;
        event->accept();
        return;
    }
    QAbstractScrollArea::mouseReleaseEvent(event);
}

Qt::DropAction ZKListView::acceptableDropAction(const QDropEvent *event) const {
    const QMimeData *data = event->mimeData();
    if (!m_delegate || !data ||
        !(data->hasFormat(QStringLiteral("text/uri-list")) ||
          data->hasFormat(ZKTaskQueue::pasteboardType))) {
        return Qt::IgnoreAction;
    }
    const Qt::DropActions allowed = m_delegate->dropOperation() & event->possibleActions();
    if (allowed.testFlag(event->proposedAction())) {
        return event->proposedAction();
    }
    for (Qt::DropAction action : {Qt::MoveAction, Qt::CopyAction, Qt::LinkAction}) {
        if (allowed.testFlag(action)) {
            return action;
        }
    }
    return Qt::IgnoreAction;
}

void ZKListView::dragEnterEvent(QDragEnterEvent *event) {
    const Qt::DropAction action = acceptableDropAction(event);
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
}

void ZKListView::dragMoveEvent(QDragMoveEvent *event) {
    const Qt::DropAction action = acceptableDropAction(event);
    if (action == Qt::IgnoreAction) {
        event->ignore();
        m_nudgeTimer.stop();
        setDropGap(-1);
        return;
    }
    event->setDropAction(action);
    event->accept();

    m_dragPointerY = event->position().y();
    if (nudge()) {
        // A pointer held still gets no more move events; the list goes on
        // scrolling while it stays at the edge.
        if (!m_nudgeTimer.isActive()) {
            m_nudgeTimer.start(qMax(50, milliseconds(m_animationDuration)));
        }
    } else {
        m_nudgeTimer.stop();
        setDropGap(calculateDropIndex(m_dragPointerY + scrollOffset()));
    }
}

bool ZKListView::nudge() {
    const QScrollBar *bar = verticalScrollBar();
    if (m_dragPointerY <= m_nudgeAmount && bar->value() > bar->minimum()) {
        dragScrollBy(-m_itemHeight);
        return true;
    }
    if (m_dragPointerY >= viewport()->height() - m_nudgeAmount && bar->value() < bar->maximum()) {
        dragScrollBy(m_itemHeight);
        return true;
    }
    return false;
}

void ZKListView::dragLeaveEvent(QDragLeaveEvent *event) {
    m_nudgeTimer.stop();
    setDropGap(-1);
    QAbstractScrollArea::dragLeaveEvent(event);
}

void ZKListView::dropEvent(QDropEvent *event) {
    const Qt::DropAction action = acceptableDropAction(event);
    const qsizetype index = calculateDropIndex(event->position().y() + scrollOffset());
    m_nudgeTimer.stop();
    setDropGap(-1);
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
    if (m_dragging) {
        m_dropHandledHere = true;
    }
    m_delegate->dropItemsAtIndex(index, *event->mimeData());
}

void ZKListView::updateDocument() {
    m_documentUpdating = true;
    const int documentHeight = qCeil(positionForRow(count()));
    QScrollBar *bar = verticalScrollBar();
    bar->setRange(0, qMax(0, documentHeight - viewport()->height()));
    bar->setPageStep(viewport()->height());
    bar->setSingleStep(qMax(1, qRound(m_itemHeight)));
    m_documentUpdating = false;
}

void ZKListView::updateViews(const RowChange *change, int oldOffset) {
    // Rows start from wherever a running slide left them.
    m_rowAnimations->stop();
    m_rowAnimations->clear();
    if (!m_itemPrototype) {
        return;
    }
    const RowRange range = calculateVisibleRows();

    // A row showing an entry that stays in view keeps it: it need not read
    // it again, and it can slide from where it is.
    QList<ZKListViewItem *> rows(range.length, nullptr);
    QList<ZKListViewItem *> freeRows;
    for (qsizetype k = 0; k < m_reusableItems.size(); ++k) {
        ZKListViewItem *item = m_reusableItems.at(k);
        if (k < m_shownCount) {
            const qsizetype oldRow = m_shownFirst + k;
            const qsizetype newRow = change ? change->newRowOf(oldRow) : oldRow;
            const qsizetype place = newRow - range.first;
            if (newRow >= 0 && place >= 0 && place < range.length && !rows.at(place)) {
                rows[place] = item;
                item->renumber(int(newRow));
                continue;
            }
            item->viewDidDisappear();
        }
        freeRows.append(item);
    }

    const bool animated = change && isVisible() && m_animationDuration > 0;
    const int width = viewport()->width();
    const int height = qCeil(m_itemHeight);
    for (qsizetype i = 0; i < range.length; ++i) {
        const qsizetype row = range.first + i;
        const QPoint target(0, rowTop(row));
        QPoint start = target;
        ZKListViewItem *item = rows.at(i);
        if (item) {
            if (animated) {
                start = item->pos();
            }
        } else {
            item = freeRows.isEmpty() ? createReusableItem() : freeRows.takeFirst();
            item->setRow(m_model, int(row));
            item->viewWillAppear();
            rows[i] = item;
            // An entry that was out of view slides in from the edge it was
            // beyond; a new entry appears in its place.
            const qsizetype oldRow = animated ? change->oldRowOf(row) : -1;
            if (oldRow >= 0) {
                const int oldTop = qRound(positionForRow(oldRow)) - oldOffset;
                start.setY(qBound(-height, oldTop, viewport()->height()));
            }
        }
        item->setGeometry(QRect(start, QSize(width, height)));
        item->show();
        if (start != target) {
            auto *slide = new QPropertyAnimation(item, "pos", m_rowAnimations);
            slide->setDuration(milliseconds(m_animationDuration));
            slide->setStartValue(start);
            slide->setEndValue(target);
            slide->setEasingCurve(QEasingCurve::InOutQuad);
        }
    }

    m_reusableItems = rows;
    m_shownFirst = range.first;
    m_shownCount = range.length;
    // Before the spare rows hide: hiding the focused row would send the
    // focus out of the list.
    followCurrentIndex();
    for (qsizetype k = 0; k < freeRows.size(); ++k) {
        ZKListViewItem *item = freeRows.at(k);
        item->hide();
        item->setRow(nullptr, -1);
        if (k == 0) {
            m_reusableItems.append(item);
        } else {
            // The row may be handling the event that led here.
            item->deleteLater();
        }
    }
    if (m_rowAnimations->animationCount() > 0) {
        m_rowAnimations->start();
    }
}

ZKListViewItem *ZKListView::createReusableItem() {
    ZKListViewItem *item = m_itemPrototype->copy();
    item->setOwner(m_owner);
    item->setParent(viewport());
    // The list learns which row the keyboard went to, whatever in it took it.
    item->installEventFilter(this);
    for (QWidget *child : item->findChildren<QWidget *>()) {
        child->installEventFilter(this);
    }
    return item;
}

int ZKListView::rowTop(qsizetype row) const {
    const bool belowGap = m_dropGapIndex >= 0 && row >= m_dropGapIndex;
    return qRound(positionForRow(belowGap ? row + 1 : row)) - scrollOffset();
}

int ZKListView::scrollOffset() const {
    return verticalScrollBar()->value();
}

void ZKListView::startDraggingItem(qsizetype index) {
    if (!m_delegate || index < 0 || index >= count() || !m_delegate->canDragItemFromIndex(index)) {
        return;
    }
    // Taken before the delegate may move the entry and the row with it.
    const QPixmap image = m_pressedItem ? m_pressedItem->grab() : QPixmap();
    m_originalDragIndex = index;

    ZKMimeDataPasteboard pasteboard;
    m_delegate->dragItemFromIndex(index, pasteboard);
    // The drag owns its data and may be gone when it ends; a copy stays for
    // putting the item back.
    QMimeData putBack;
    for (const QString &format : pasteboard.mimeData()->formats()) {
        putBack.setData(format, pasteboard.mimeData()->data(format));
    }
    auto *drag = new QDrag(this);
    drag->setMimeData(pasteboard.takeMimeData());
    drag->setPixmap(image);
    drag->setHotSpot(m_pressPosition);

    m_dragging = true;
    m_dropHandledHere = false;
    const QPointer<ZKListView> alive(this);
    const Qt::DropAction action = drag->exec(Qt::MoveAction | Qt::CopyAction, Qt::MoveAction);
    if (!alive) {
        return;
    }
    m_dragging = false;
    m_nudgeTimer.stop();
    setDropGap(-1);
    if (m_dropHandledHere || !m_delegate) {
        return;
    }
    if (action == Qt::IgnoreAction) {
        // The delegate may have taken the item out when the drag began;
        // released where nothing wanted it, it goes back where it was.
        m_delegate->dropItemsAtIndex(m_originalDragIndex, putBack);
    } else {
        m_delegate->draggedItemWasTaken(m_originalDragIndex, action);
    }
}

void ZKListView::setDropGap(qsizetype index) {
    if (index == m_dropGapIndex) {
        return;
    }
    m_dropGapIndex = index;
    // The rows keep their entries and slide apart, or together.
    const auto same = [](qsizetype row) {
        return row;
    };
    const RowChange none{same, same};
    updateViews(&none, scrollOffset());
}

void ZKListView::dragScrollBy(double distance) {
    if (m_scrollAnimation->state() == QAbstractAnimation::Running) {
        return;
    }
    QScrollBar *bar = verticalScrollBar();
    const int target = qBound(bar->minimum(), bar->value() + qRound(distance), bar->maximum());
    m_scrollAnimation->setDuration(milliseconds(m_animationDuration));
    m_scrollAnimation->setStartValue(bar->value());
    m_scrollAnimation->setEndValue(target);
    m_scrollAnimation->start();
}
