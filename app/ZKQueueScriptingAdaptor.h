// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusAbstractAdaptor>
#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

class ZKAppDelegate;
class ZKFerrowickDocument;
class ZKTask;
class ZKTaskListModel;

// Lets scripts drive the open queues: list them, add sources with a
// destination, start and pause them, read their progress and their tasks,
// and hear when a task changes and when a queue has finished. A queue is
// named by the number ListQueues gives.
class ZKQueueScriptingAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmarind.Ferrowick.Queue")
    // Written out so that every argument has its name; what Qt would make of
    // the slots leaves the answers unnamed.
    Q_CLASSINFO("D-Bus Introspection",
                ""
                "  <interface name=\"com.velmarind.Ferrowick.Queue\">\n"
                "    <method name=\"ListQueues\">\n"
                "      <arg name=\"queues\" type=\"au\" direction=\"out\"/>\n"
                "      <arg name=\"names\" type=\"as\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"NewQueue\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AddSources\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "      <arg name=\"sources\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"destination\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"added\" type=\"u\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"AddSourcesWithOptions\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "      <arg name=\"sources\" type=\"as\" direction=\"in\"/>\n"
                "      <arg name=\"destination\" type=\"s\" direction=\"in\"/>\n"
                "      <arg name=\"options\" type=\"a{sv}\" direction=\"in\"/>\n"
                "      <annotation name=\"org.qtproject.QtDBus.QtTypeName.In3\" "
                "value=\"QVariantMap\"/>\n"
                "      <arg name=\"added\" type=\"u\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"Start\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"Pause\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "    </method>\n"
                "    <method name=\"GetProgress\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "      <arg name=\"bytesDone\" type=\"t\" direction=\"out\"/>\n"
                "      <arg name=\"bytesTotal\" type=\"t\" direction=\"out\"/>\n"
                "      <arg name=\"state\" type=\"s\" direction=\"out\"/>\n"
                "      <arg name=\"finished\" type=\"b\" direction=\"out\"/>\n"
                "    </method>\n"
                "    <method name=\"GetStatus\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "      <arg name=\"status\" type=\"a{sv}\" direction=\"out\"/>\n"
                "      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" "
                "value=\"QVariantMap\"/>\n"
                "    </method>\n"
                "    <method name=\"GetTasks\">\n"
                "      <arg name=\"queue\" type=\"u\" direction=\"in\"/>\n"
                "      <arg name=\"tasks\" type=\"aa{sv}\" direction=\"out\"/>\n"
                "      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" "
                "value=\"QList&lt;QVariantMap&gt;\"/>\n"
                "    </method>\n"
                "    <signal name=\"TaskChanged\">\n"
                "      <arg name=\"queue\" type=\"u\"/>\n"
                "      <arg name=\"task\" type=\"u\"/>\n"
                "      <arg name=\"properties\" type=\"a{sv}\"/>\n"
                "      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out2\" "
                "value=\"QVariantMap\"/>\n"
                "    </signal>\n"
                "    <signal name=\"QueueCompleted\">\n"
                "      <arg name=\"queue\" type=\"u\"/>\n"
                "      <arg name=\"name\" type=\"s\"/>\n"
                "      <arg name=\"failedTasks\" type=\"u\"/>\n"
                "    </signal>\n"
                "  </interface>\n"
                "")

public:
    ZKQueueScriptingAdaptor(ZKAppDelegate &delegate, QObject *parent);

    static const QString noSuchQueueError;
    static const QString invalidArgumentError;
    // The source is queued already for that destination, here or in
    // another queue: the message names the queue.
    static const QString alreadyQueuedError;

    // The longest a task's changes wait to go out as one TaskChanged.
    static constexpr int taskChangeInterval = 250; // milliseconds

public Q_SLOTS:
    // The numbers of the open queues, with their names in the same order.
    QList<uint> ListQueues(QStringList &names);
    // A new, empty, untitled queue in its own window.
    uint NewQueue();
    // AddSourcesWithOptions without options: the sources are copied.
    uint AddSources(uint queue, const QStringList &sources, const QString &destination);
    // Tasks at the end of the queue, one per source (an absolute path or an
    // ftp, ftps, sftp, http or https address), to the destination folder (an
    // absolute path or an ftp, ftps or sftp address); answers how many were
    // added. The options: "mode" ("copy", the default, or "move"; whatever
    // the queue does with new items), "verify" (by default as the queue
    // does) and "create-destination" (a missing local folder is made rather
    // than refused). Nothing is added when any of it is wrong or a source
    // is queued for that destination already.
    uint AddSourcesWithOptions(uint queue, const QStringList &sources, const QString &destination,
                               const QVariantMap &options);
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
    // "detail", "state", "mode", "verify", "bytes-done", "bytes-total",
    // "files-done", "files-total", "current-file", "rate", "time-remaining".
    QList<QVariantMap> GetTasks(uint queue);

Q_SIGNALS:
    // The task at that place of the queue changed: its entry as GetTasks
    // gives it. At most once per taskChangeInterval for each task.
    void TaskChanged(uint queue, uint task, const QVariantMap &properties);
    // Every task of the queue has ended; failedTasks of them failed.
    void QueueCompleted(uint queue, const QString &name, uint failedTasks);

private:
    // The call being answered lives with the object the adaptor serves.
    void sendErrorReply(const QString &name, const QString &message) const;

    ZKFerrowickDocument *documentOrError(uint queue);
    void watch(ZKFerrowickDocument *document);
    void announceChangedTasks();
    static QVariantMap taskEntry(const ZKTaskListModel &model, int row);

    ZKAppDelegate &m_delegate;
    // The tasks whose rows changed since the last TaskChanged went out.
    QHash<ZKFerrowickDocument *, QSet<const ZKTask *>> m_changedTasks;
    QTimer m_taskChangeTimer;
};
