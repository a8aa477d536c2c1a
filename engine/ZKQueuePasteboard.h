// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKListViewDelegate.h"
#include "ZKReader.h"
#include "ZKTaskQueue.h"
#include "ZKWriter.h"

#include <QList>
#include <QUrl>

#include <functional>
#include <memory>

class ZKFerrowickDocument;
class ZKPasteboard;

// How tasks and sources reach a queue and leave it by hand: copied and
// pasted, dragged within and between windows, dropped from a file manager,
// or handed to the program. Main thread.
class ZKQueuePasteboard : public ZKListViewDelegate {
public:
    // Says which queue of this process a dragged task comes from, so that a
    // drop moves that same task instead of making a second one that could
    // run beside it.
    static const QString taskOriginType;

    explicit ZKQueuePasteboard(ZKFerrowickDocument &document);

    void copyItems(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const;
    void copySources(ZKPasteboard &pasteboard) const;
    // Tasks from the pasteboard's task items, then readers for its URLs.
    // Answers how many of the task items joined the queue.
    qsizetype paste(const QList<QByteArray> &taskItems, const QList<QUrl> &urls, qsizetype index);

    // Asks the user for a folder for sources that arrive while the queue has
    // no default destination, and calls back with it, or with nullptr when
    // the user declines.
    using DestinationChooser =
        std::function<void(const std::function<void(const ZKWriterPtr &)> &answer)>;
    void setDestinationChooser(DestinationChooser chooser) {
        m_destinationChooser = std::move(chooser);
    }
    // Tasks for the sources, to the default destination, from index on (past
    // the end means the end). Without a default destination the chooser is
    // asked first; with none, or when the user declines, no task is made and
    // the handler gets an empty list.
    void
    createTasksWithReaders(const QList<ZKReaderPtr> &readers, qsizetype index,
                           std::function<void(const QList<ZKTaskPtr> &)> completionHandler = {});
    void createTaskWithReader(const ZKReaderPtr &reader,
                              std::function<void(const ZKTaskPtr &)> completionHandler);

    bool canDragItemFromIndex(qsizetype index) override;
    void dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) override;
    Qt::DropActions dropOperation() const override;
    bool dropItemsAtIndex(qsizetype index, const QMimeData &pasteboard) override;
    void draggedItemWasTaken(qsizetype originalIndex, Qt::DropAction action) override;

private:
    ZKFerrowickDocument &m_document;
    DestinationChooser m_destinationChooser;
    std::weak_ptr<ZKTask> m_draggedTask;
};
