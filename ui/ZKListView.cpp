// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListView.h"

#include "ZKListViewDelegate.h"
#include "ZKMimeDataPasteboard.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QMouseEvent>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace {
const QString kTaskType = QStringLiteral("com.velmarind.ferrowick.task");
} // namespace

ZKListView::ZKListView(QWidget *parent)
    : QAbstractScrollArea(parent) {
    setAccessibleName(QStringLiteral("Task list"));
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    m_pressTimer.setSingleShot(true);
    connect(&m_pressTimer, &QTimer::timeout, this, [this] {
        if (m_pressedItem) {
            startDraggingItem(indexOfItem(m_pressedItem));
        }
    });
    m_animations = new QParallelAnimationGroup(this);
}

ZKListView::~ZKListView() {
    m_animations->stop();
    for (ZKListViewItem *item : std::as_const(m_items)) {
        item->removeEventFilter(this);
        if (item->representedObject()) {
            item->viewDidDisappear();
        }
    }
    delete m_prototype;
}

// ---- content

void ZKListView::setContent(const QList<Object> &content) {
    m_content = content;
    refresh();
}

void ZKListView::insertObject(const Object &object, qsizetype index) {
    insertContent({object}, {index});
}

void ZKListView::removeObjectFromContentAtIndex(qsizetype index) {
    removeContentAtIndexes({index});
}

void ZKListView::insertContent(const QList<Object> &objects, const QList<qsizetype> &indexes) {
    for (qsizetype i = 0; i < objects.size() && i < indexes.size(); ++i) {
        m_content.insert(std::clamp<qsizetype>(indexes[i], 0, m_content.size()), objects[i]);
    }
    updateDocument();
    updateViews(true);
}

void ZKListView::removeContentAtIndexes(const QList<qsizetype> &indexes) {
    for (auto it = indexes.crbegin(); it != indexes.crend(); ++it) {
        if (*it >= 0 && *it < m_content.size()) {
            m_content.removeAt(*it);
        }
    }
    updateDocument();
    updateViews(true);
}

void ZKListView::moveItemFromIndex(qsizetype from, qsizetype to) {
    if (from < 0 || from >= m_content.size() || to < 0) {
        return;
    }
    to = std::min(to, m_content.size());
    const qsizetype landed = from < to ? to - 1 : to;
    if (landed != from) {
        m_content.move(from, landed);
    }
    updateViews(true);
}

void ZKListView::sortItemsWithDescriptor(
    const std::function<bool(const Object &, const Object &)> &less) {
    std::stable_sort(m_content.begin(), m_content.end(), less);
    refresh();
}

void ZKListView::refresh() {
    updateDocument();
    updateViews(false);
}

QList<ZKListViewItem *> ZKListView::visibleItems() const {
    return m_items.mid(0, m_visibleCount);
}

void ZKListView::setItemPrototype(ZKListViewItem *prototype) {
    for (ZKListViewItem *item : std::as_const(m_items)) {
        releaseItem(item);
        delete item;
    }
    m_items.clear();
    m_visibleCount = 0;
    delete m_prototype;
    m_prototype = prototype;
    if (m_prototype) {
        m_prototype->setParent(this);
        m_prototype->hide();
        m_prototype->setOwner(m_owner);
        const int height = m_prototype->testAttribute(Qt::WA_Resized)
                               ? m_prototype->height()
                               : m_prototype->sizeHint().height();
        m_itemHeight = std::max(1.0, double(height));
    }
    refresh();
}

void ZKListView::setOwner(QObject *owner) {
    m_owner = owner;
    if (m_prototype) {
        m_prototype->setOwner(owner);
    }
    for (ZKListViewItem *item : std::as_const(m_items)) {
        item->setOwner(owner);
    }
}

// ---- geometry

ZKListView::Range ZKListView::calculateVisibleRows() const {
    const double top = verticalScrollBar()->value();
    const double height = viewport()->height();
    const qsizetype first = std::min(rowForPosition(top), m_content.size());
    const qsizetype last = std::min(rowForPosition(top + height - 1) + 1, m_content.size());
    return {first, std::max<qsizetype>(0, last - first)};
}

qsizetype ZKListView::calculateDropIndex(double position) const {
    for (qsizetype i = 0; i < m_visibleCount; ++i) {
        const double middle = positionForRow(m_firstVisible + i) + m_itemHeight / 2;
        if (middle > position) {
            return m_firstVisible + i;
        }
    }
    return m_firstVisible + m_visibleCount;
}

int ZKListView::rowY(qsizetype row) const {
    const double gap = m_gapIndex >= 0 && row >= m_gapIndex ? m_itemHeight : 0;
    return int(std::lround(positionForRow(row) + gap - verticalScrollBar()->value()));
}

// ---- laying out

void ZKListView::updateDocument() {
    const double document = double(m_content.size()) * m_itemHeight;
    const int viewportHeight = viewport()->height();
    QScrollBar *bar = verticalScrollBar();
    bar->setRange(0, std::max(0, int(std::ceil(document)) - viewportHeight));
    bar->setSingleStep(std::max(1, int(m_itemHeight)));
    bar->setPageStep(std::max(1, viewportHeight));
}

ZKListViewItem *ZKListView::createReusableItem() {
    ZKListViewItem *item = m_prototype->copy();
    item->setParent(viewport());
    item->setOwner(m_owner);
    item->installEventFilter(this);
    return item;
}

void ZKListView::releaseItem(ZKListViewItem *item) {
    if (item->representedObject()) {
        item->viewDidDisappear();
        item->setRepresentedObject(nullptr);
    }
    item->hide();
}

void ZKListView::updateViews(bool animated) {
    if (!m_prototype) {
        return;
    }
    // Where each entry in view is shown now, for the slide.
    QHash<QObject *, int> shownAt;
    QHash<QObject *, ZKListViewItem *> shownBy;
    for (qsizetype i = 0; i < m_visibleCount; ++i) {
        ZKListViewItem *item = m_items[i];
        if (QObject *object = item->representedObject().get()) {
            shownAt.insert(object, item->y());
            shownBy.insert(object, item);
        }
    }
    stopAnimations();

    const Range range = calculateVisibleRows();
    m_firstVisible = range.first;

    // A row that shows an entry still in view keeps it: a scroll rebinds
    // only the rows that come into view.
    QList<ZKListViewItem *> rows(range.length, nullptr);
    for (qsizetype i = 0; i < range.length; ++i) {
        auto found = shownBy.find(m_content[range.first + i].get());
        if (found != shownBy.end()) {
            rows[i] = found.value();
            shownBy.erase(found);
        }
    }
    QList<ZKListViewItem *> free;
    for (ZKListViewItem *item : std::as_const(m_items)) {
        if (!rows.contains(item)) {
            free << item;
        }
    }
    for (qsizetype i = 0; i < range.length; ++i) {
        if (rows[i]) {
            continue;
        }
        ZKListViewItem *item = free.isEmpty() ? createReusableItem() : free.takeFirst();
        if (item->representedObject()) {
            item->viewDidDisappear();
        }
        item->setRepresentedObject(m_content[range.first + i]);
        item->viewWillAppear();
        rows[i] = item;
    }
    // One spare row is kept; the others go.
    for (ZKListViewItem *item : std::as_const(free)) {
        releaseItem(item);
    }
    while (free.size() > 1) {
        ZKListViewItem *item = free.takeLast();
        delete item;
    }
    m_items = rows + free;
    m_visibleCount = range.length;

    const int width = viewport()->width();
    const int height = int(m_itemHeight);
    const int duration = int(m_animationDuration * 1000);
    for (qsizetype i = 0; i < m_visibleCount; ++i) {
        ZKListViewItem *item = m_items[i];
        const QPoint target(0, rowY(range.first + i));
        item->resize(width, height);
        const auto old = shownAt.constFind(item->representedObject().get());
        if (animated && duration > 0 && old != shownAt.constEnd() && *old != target.y()) {
            auto *slide = new QPropertyAnimation(item, "pos", m_animations);
            slide->setDuration(duration);
            slide->setEasingCurve(QEasingCurve::OutCubic);
            slide->setStartValue(QPoint(0, *old));
            slide->setEndValue(target);
            item->move(0, *old);
        } else {
            item->move(target);
        }
        item->show();
    }
    if (m_animations->animationCount() > 0) {
        m_animations->start();
    }
    Q_EMIT rowsLaidOut();
}

void ZKListView::stopAnimations() {
    // The rows stay where the slide had brought them; the next laying out
    // slides them on from there.
    m_animations->stop();
    m_animations->clear();
}

void ZKListView::resizeEvent(QResizeEvent *event) {
    QAbstractScrollArea::resizeEvent(event);
    refresh();
}

void ZKListView::scrollContentsBy(int, int) {
    updateViews(false);
}

qsizetype ZKListView::indexOfItem(const QWidget *item) const {
    for (qsizetype i = 0; i < m_visibleCount; ++i) {
        if (m_items[i] == item) {
            return m_firstVisible + i;
        }
    }
    return -1;
}

// ---- dragging rows

bool ZKListView::eventFilter(QObject *watched, QEvent *event) {
    auto *item = qobject_cast<ZKListViewItem *>(watched);
    if (item && item->parentWidget() == viewport()) {
        if (event->type() == QEvent::MouseButtonPress) {
            auto *mouse = static_cast<QMouseEvent *>(event);
            if (mouse->button() == Qt::LeftButton && m_delegate) {
                m_pressedItem = item;
                m_pressPoint = mouse->position().toPoint();
                m_pressTimer.start(int(m_dragPressDuration * 1000));
                return true; // the row takes the mouse until it is let go
            }
        } else if (event->type() == QEvent::MouseButtonRelease) {
            m_pressTimer.stop();
            m_pressedItem = nullptr;
        }
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

void ZKListView::startDraggingItem(qsizetype index) {
    m_pressTimer.stop();
    if (!m_delegate || index < 0 || index >= m_content.size() ||
        !m_delegate->canDragItemFromIndex(index)) {
        return;
    }
    ZKListViewItem *item = nullptr;
    for (qsizetype i = 0; i < m_visibleCount; ++i) {
        item = m_firstVisible + i == index ? m_items[i] : item;
    }
    m_originalDragIndex = index;
    ZKMimeDataPasteboard pasteboard;
    m_delegate->dragItemFromIndex(index, pasteboard);

    auto *drag = new QDrag(this);
    drag->setMimeData(pasteboard.takeMimeData());
    if (item) {
        drag->setPixmap(item->grab());
        drag->setHotSpot(m_pressedItem == item ? m_pressPoint : QPoint(20, 20));
    }
    m_pressedItem = nullptr;
    m_dragging = true;
    m_dropHandledHere = false;
    const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
    m_dragging = false;
    setGapIndex(-1);
    if (m_delegate) {
        if (action == Qt::IgnoreAction) {
            // Released where nothing took it: it goes back where it was.
            m_delegate->dropItemsAtIndex(m_originalDragIndex, *drag->mimeData());
        } else if (!m_dropHandledHere) {
            m_delegate->draggedItemWasTaken(m_originalDragIndex, action);
        }
    }
    drag->deleteLater();
}

// ---- dropping

bool ZKListView::acceptsDrag(const QMimeData *data) const {
    return m_delegate && data && (data->hasUrls() || data->hasFormat(kTaskType));
}

void ZKListView::dragEnterEvent(QDragEnterEvent *event) {
    if (!acceptsDrag(event->mimeData())) {
        event->ignore();
        return;
    }
    const Qt::DropActions offered = m_delegate->dropOperation() & event->possibleActions();
    event->setDropAction(offered & Qt::CopyAction ? Qt::CopyAction : Qt::MoveAction);
    event->accept();
}

void ZKListView::dragMoveEvent(QDragMoveEvent *event) {
    if (!acceptsDrag(event->mimeData())) {
        event->ignore();
        return;
    }
    const Qt::DropActions offered = m_delegate->dropOperation() & event->possibleActions();
    event->setDropAction(offered & Qt::CopyAction ? Qt::CopyAction : Qt::MoveAction);
    event->accept();
    const double y = event->position().y();
    QScrollBar *bar = verticalScrollBar();
    if (y < m_nudgeAmount && bar->value() > 0) {
        dragScrollBy(-int(m_itemHeight));
    } else if (y > viewport()->height() - m_nudgeAmount && bar->value() < bar->maximum()) {
        dragScrollBy(int(m_itemHeight));
    } else {
        setGapIndex(calculateDropIndex(y + bar->value()));
    }
}

void ZKListView::dragLeaveEvent(QDragLeaveEvent *event) {
    setGapIndex(-1);
    event->accept();
}

void ZKListView::dropEvent(QDropEvent *event) {
    const qsizetype index =
        calculateDropIndex(event->position().y() + verticalScrollBar()->value());
    setGapIndex(-1);
    if (!m_delegate) {
        event->ignore();
        return;
    }
    m_dropHandledHere = event->source() == this;
    m_delegate->dropItemsAtIndex(index, *event->mimeData());
    const Qt::DropActions offered = m_delegate->dropOperation() & event->possibleActions();
    event->setDropAction(offered & Qt::CopyAction ? Qt::CopyAction : Qt::MoveAction);
    event->accept();
}

void ZKListView::setGapIndex(qsizetype index) {
    if (index == m_gapIndex) {
        return;
    }
    m_gapIndex = index;
    updateViews(true);
}

void ZKListView::dragScrollBy(int delta) {
    if (m_scrollAnimation && m_scrollAnimation->state() == QAbstractAnimation::Running) {
        return; // one row at a time
    }
    QScrollBar *bar = verticalScrollBar();
    if (!m_scrollAnimation) {
        m_scrollAnimation = new QPropertyAnimation(bar, "value", this);
    }
    m_scrollAnimation->setDuration(int(m_animationDuration * 1000));
    m_scrollAnimation->setStartValue(bar->value());
    m_scrollAnimation->setEndValue(std::clamp(bar->value() + delta, 0, bar->maximum()));
    m_scrollAnimation->start();
}
