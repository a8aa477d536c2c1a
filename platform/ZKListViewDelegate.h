// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMimeData>
#include <QtGlobal>

class ZKPasteboard;

// What a list of rows asks its owner before a row is dragged and when
// something is dropped on it. The list itself knows nothing of what its rows
// show; the queue document answers for its tasks.
class ZKListViewDelegate {
public:
    virtual ~ZKListViewDelegate() = default;
    virtual bool canDragItemFromIndex(qsizetype index) = 0;
    // Writes the dragged row's data.
    virtual void dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) = 0;
    // What a drop over the list would do, shown while dragging.
    virtual Qt::DropActions dropOperation() const = 0;
    // Carries out a drop before the given row (the count of rows means the
    // end). Returns whether anything of the data was taken.
    virtual bool dropItemsAtIndex(qsizetype index, const QMimeData &pasteboard) = 0;
    // The drag that started at this row was accepted by another list, which
    // now holds the item; the row it came from can go.
    virtual void draggedItemWasTaken(qsizetype originalIndex, Qt::DropAction action) {
        Q_UNUSED(originalIndex);
        Q_UNUSED(action);
    }
};
