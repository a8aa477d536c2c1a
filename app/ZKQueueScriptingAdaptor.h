// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusAbstractAdaptor>
#include <QList>
#include <QStringList>
#include <QVariantMap>

class ZKAppDelegate;
class ZKFerrowickDocument;

// Lets scripts drive the open queues: list them, add sources with a
// destination, start and pause them, read their progress, and hear when
// one has finished. A queue is named by the number ListQueues gives.
class ZKQueueScriptingAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmarind.Ferrowick.Queue")

public:
    ZKQueueScriptingAdaptor(ZKAppDelegate &delegate, QObject *parent);

    static const QString noSuchQueueError;
    static const QString invalidArgumentError;
    // The source is queued already for that destination, here or in
    // another queue: the message names the queue.
    static const QString alreadyQueuedError;

public Q_SLOTS:
    // The numbers of the open queues, with their names in the same order.
    QList<uint> ListQueues(QStringList &names);
    // A new, empty, untitled queue in its own window.
    uint NewQueue();
    // Tasks at the end of the queue, one per source, to the destination
    // folder (a path or an ftp:// address); answers how many were added.
    // Nothing is added when a source is queued for that destination already.
    uint AddSources(uint queue, const QStringList &sources, const QString &destination);
    void Start(uint queue);
    void Pause(uint queue);
    // Bytes done and to do over the queue's tasks, its state ("Running" or
    // "Paused") and whether the queue has no work left.
    qulonglong GetProgress(uint queue, qulonglong &totalBytes, QString &state, bool &finished);
    // Everything the window's status bar says of the queue, by name: the
    // bytes and files done, the tasks that completed and failed, the file
    // on its way, the rate and the time left.
    QVariantMap GetStatus(uint queue);
    // One entry per task, in queue order, as its row shows it: "title",
    // "detail", "state", "bytes-done", "bytes-total", "files-done",
    // "files-total", "current-file", "rate", "time-remaining".
    QList<QVariantMap> GetTasks(uint queue);

Q_SIGNALS:
    // Every task of the queue has ended; failedTasks of them failed.
    void QueueCompleted(uint queue, const QString &name, uint failedTasks);

private:
    // The call being answered lives with the object the adaptor serves.
    void sendErrorReply(const QString &name, const QString &message) const;

    ZKFerrowickDocument *documentOrError(uint queue);
    void watch(ZKFerrowickDocument *document);

    ZKAppDelegate &m_delegate;
};
