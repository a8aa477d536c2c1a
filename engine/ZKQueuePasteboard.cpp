// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueuePasteboard.h"

#include "ZKFerrowickDocument.h"
#include "ZKLogging.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKPropertyListParser.h"
#include "ZKPropertyListSerialization.h"
#include "ZKReaderFactory.h"
#include "ZKTaskRegistry.h"

#include <QCoreApplication>
#include <QMimeData>
#include <QPointer>

const QString ZKQueuePasteboard::taskOriginType =
    QStringLiteral("application/x-ferrowick-task-origin");

namespace {
// "process document task", each a number.
QByteArray taskOrigin(const ZKFerrowickDocument *document, const ZKTask *task) {
    return QByteArray::number(QCoreApplication::applicationPid()) + ' ' +
           QByteArray::number(quintptr(document)) + ' ' + QByteArray::number(quintptr(task));
}

} // namespace

ZKQueuePasteboard::ZKQueuePasteboard(ZKFerrowickDocument &document)
    : m_document(document) {}

// ---- copied and pasted

void ZKQueuePasteboard::copyItems(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const {
    m_document.taskQueue().copyTasks(indexes, pasteboard);
}

void ZKQueuePasteboard::copySources(ZKPasteboard &pasteboard) const {
    m_document.taskQueue().copyUrlsToPasteboard(pasteboard);
}

qsizetype ZKQueuePasteboard::paste(const QList<QByteArray> &taskItems, const QList<QUrl> &urls,
                                   qsizetype index) {
    QList<ZKTaskPtr> tasks;
    ZKIndexList indexes;
    for (const QByteArray &data : taskItems) {
        const QVariant plist = ZKPropertyListSerialization::propertyListFromData(data);
        if (auto task = ZKPropertyListParser::parseObjectOfType<ZKTask>(plist.toMap())) {
            indexes.append(index + tasks.size());
            tasks.append(task);
        }
    }
    const qsizetype joined = tasks.isEmpty() ? 0 : m_document.insertTasks(tasks, indexes).size();
    if (!urls.isEmpty()) {
        createTasksWithReaders(ZKReaderFactory::readersWithUrls(urls), index + joined);
    } else {
        m_document.startNextTask();
    }
    return joined;
}

// ---- sources arriving

void ZKQueuePasteboard::createTasksWithReaders(
    const QList<ZKReaderPtr> &readers, qsizetype index,
    std::function<void(const QList<ZKTaskPtr> &)> completionHandler) {
    auto done = [completionHandler](const QList<ZKTaskPtr> &tasks) {
        if (completionHandler) {
            completionHandler(tasks);
        }
    };
    if (readers.isEmpty()) {
        done({});
        return;
    }
    if (const ZKWriterPtr destination = m_document.defaultDestination()) {
        done(m_document.addTasks(readers, destination,
                                 std::clamp<qsizetype>(index, 0, m_document.countOfTasks())));
        return;
    }
    if (!m_destinationChooser) {
        qCWarning(lcEngine) << "No destination for" << readers.size()
                            << "sources: none is set and there is nobody to ask";
        done({});
        return;
    }
    m_destinationChooser([guard = QPointer<ZKFerrowickDocument>(&m_document), readers, index,
                          done](const ZKWriterPtr &chosen) {
        if (!guard || !chosen) {
            done({});
            return;
        }
        // The queue may have changed while the user chose.
        done(guard->addTasks(readers, chosen,
                             std::clamp<qsizetype>(index, 0, guard->countOfTasks())));
    });
}

void ZKQueuePasteboard::createTaskWithReader(
    const ZKReaderPtr &reader, std::function<void(const ZKTaskPtr &)> completionHandler) {
    createTasksWithReaders({reader}, m_document.countOfTasks(),
                           [completionHandler](const QList<ZKTaskPtr> &tasks) {
                               if (completionHandler) {
                                   completionHandler(tasks.value(0));
                               }
                           });
}

// ---- rows dragged and dropped

bool ZKQueuePasteboard::canDragItemFromIndex(qsizetype index) {
    return index >= 0 && index < m_document.countOfTasks();
}

void ZKQueuePasteboard::dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) {
    const ZKTaskPtr task = m_document.objectInTasksAtIndex(index);
    if (!task) {
        return;
    }
    m_draggedTask = task;
    // The saved form lets another instance of the program take the task; the
    // origin lets a queue of this one move the task itself.
    copyItems({index}, pasteboard);
    pasteboard.addItems({{taskOriginType, taskOrigin(&m_document, task.get())}});
}

Qt::DropActions ZKQueuePasteboard::dropOperation() const {
    // Never a move: a file manager that gave us its files must not delete
    // them once we took them.
    return Qt::CopyAction;
}

bool ZKQueuePasteboard::dropItemsAtIndex(qsizetype index, const QMimeData &pasteboard) {
    index = std::clamp<qsizetype>(index, 0, m_document.countOfTasks());
    const QList<QByteArray> origin = pasteboard.data(taskOriginType).split(' ');
    if (origin.size() == 3 && origin[0].toLongLong() == QCoreApplication::applicationPid()) {
        auto *from = reinterpret_cast<ZKFerrowickDocument *>(origin[1].toULongLong());
        const auto *address = reinterpret_cast<const void *>(origin[2].toULongLong());
        if (!ZKTaskRegistry::openQueues().contains(from)) {
            return false; // its queue closed while it was dragged
        }
        const ZKTaskPtr task = from->taskQueue().taskWithAddress(address);
        if (!task) {
            return false; // it left its queue while it was dragged
        }
        if (from == &m_document) {
            m_document.moveTaskFromIndex(m_document.indexOfTask(task), index);
            return true;
        }
        // Asked before it leaves its queue, so that a refusal keeps it there.
        if (const QStringList refused = ZKTaskRegistry::refusalsForTasks({task});
            !refused.first().isEmpty()) {
            Q_EMIT m_document.tasksRefused(refused);
            return false;
        }
        // The same task changes queues and goes on where it was: a copy made
        // from its saved form could run beside it.
        from->removeTasksAtIndexes({from->indexOfTask(task)});
        if (!from->taskQueue().currentTask()) {
            from->sleepManager().permitIdleSleep();
        }
        m_document.insertTasks({task}, {index});
        if (m_document.taskQueue().currentTask()) {
            m_document.sleepManager().preventIdleSleep();
        }
        m_document.updateChangeCount();
        m_document.startNextTask();
        return true;
    }
    const QList<QByteArray> taskItems =
        ZKMimeDataPasteboard::itemsOfType(pasteboard, ZKTaskQueue::pasteboardType);
    const QList<QUrl> urls = pasteboard.hasUrls() ? pasteboard.urls() : QList<QUrl>{};
    if (taskItems.isEmpty() && urls.isEmpty()) {
        return false;
    }
    // Tasks that were turned away stay in the queue they came from.
    return paste(taskItems, urls, index) > 0 || !urls.isEmpty();
}

void ZKQueuePasteboard::draggedItemWasTaken(qsizetype originalIndex, Qt::DropAction action) {
    Q_UNUSED(originalIndex);
    Q_UNUSED(action);
    // Another instance made its own task from the saved form: this one goes,
    // or both would copy the same item. A queue of this process took the
    // task itself and it is no longer here.
    const ZKTaskPtr task = m_draggedTask.lock();
    m_draggedTask.reset();
    if (const qsizetype index = task ? m_document.indexOfTask(task) : -1; index >= 0) {
        m_document.removeTasksAtIndexes({index});
    }
}
