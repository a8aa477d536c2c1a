// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKCopyTask.h"
#include "ZKError.h"
#include "ZKPropertyListSerialization.h"
#include "ZKTask.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <functional>
#include <memory>

class ZKFerrowickDocument;
using ZKTaskPtr = std::shared_ptr<ZKTask>;

// A queue's ".queue" file: the checks a saved queue passes before any of it
// is loaded, writing it whole, and the progress kept while the queue runs,
// in its file or, for an untitled queue, in a recovery file. Main thread.
class ZKQueueFile : public QObject {
    Q_OBJECT

public:
    // The entries of a saved queue.
    static const QString documentType; // under the "Type" key
    static const QString stateKey;
    static const QString isVerifyEnabledKey;
    static const QString autoClearItemsKey;
    static const QString autoRetryItemsKey;
    static const QString dataRateKey;
    static const QString defaultTransferModeKey;
    static const QString defaultDestinationKey;
    static const QString speedLimitKey;
    static const QString scheduleKey;
    static const QString tasksKey;

    explicit ZKQueueFile(ZKFerrowickDocument &document);
    ~ZKQueueFile() override;

    // Checks the types and ranges of a saved queue's entries, the numbers of
    // its tasks included, before anything of it is loaded. Task entries that
    // cannot be re-created are left to the loader, which keeps them unread.
    static bool validatePropertyList(const QVariantMap &plist, QString *reason);
    // Why a task entry cannot be re-created, found without re-creating it
    // (which would resume its step); empty when it can be.
    static QString unreadableTaskEntryReason(const QVariant &entry);
    // The task made from a saved entry, or null and why it cannot be. The
    // entries of one queue share the destinations made for each other.
    static ZKTaskPtr taskFromEntry(const QVariant &entry, QString *reason,
                                   ZKCopyTask::Destinations *destinations = nullptr);
    // Reads and checks a queue file without loading it. A damaged or foreign
    // file is refused with a clear error. With entry, the task entries go to
    // it one at a time instead of into *plist, so a long queue is never held
    // whole; entry must not act on them before the answer is true.
    using EntryBlock = std::function<void(qsizetype, const QVariant &)>;
    static bool readPropertyListFromFile(const QString &path, QVariantMap *plist,
                                         ZKError *error = nullptr, const EntryBlock &entry = {});
    // Written as a whole to a temporary file and renamed over the old one.
    static bool writePropertyListToFile(const QVariantMap &plist, const QString &path,
                                        ZKError *error);

    // The queue's saved form, and the queue made from one (see
    // ZKFerrowickDocument).
    QVariantMap asPropertyList() const;
    bool readFromPropertyList(const QVariantMap &plist);
    bool readFromFile(const QString &path, ZKError *error);
    bool writeToFile(const QString &path, ZKError *error) const;
    bool saveToFile(const QString &path, ZKError *error);
    bool revertToSaved(ZKError *error);

    // What the queue's file now holds, and which task wrote each entry, so
    // that progress can be written into it without the unsaved edits.
    void rememberSavedPropertyList(const QVariantMap &plist, const QList<ZKTaskPtr> &tasks);
    // See ZKFerrowickDocument.
    bool setRecoveryFileName(const QString &path);
    QString recoveryFileName() const { return m_recoveryFileName; }
    void removeRecoveryFile();
    void setSavesProgress(bool on);
    bool savesProgress() const { return m_savesProgress; }
    bool saveProgress(ZKError *error = nullptr);
    // Something worth keeping happened; a task's end is saved without the
    // usual wait. Any thread.
    void noteProgress(bool taskEnded);

private:
    // Opens and reads a queue file with every check, in the order opening a
    // queue makes them. The task entries of an XML file are streamed to
    // entry, which is called only while none has failed its check, and come
    // back as an empty "Tasks" with places->isStreamed; a file of another
    // shape comes back whole.
    static bool readCheckedFile(QFile &file, QVariantMap *plist,
                                ZKPropertyListSerialization::ElementPlaces *places,
                                const EntryBlock &entry, ZKError *error);
    QVariantMap settingsAsPropertyList() const; // without the tasks
    QVariantList tasksAsPropertyList() const;
    // Where each saved "Tasks" entry comes from: the index of its task, or
    // -1 - k for the k-th entry kept unread.
    QList<qsizetype> entrySources(qsizetype taskCount) const;
    // readFromPropertyList() once the dictionary passed its checks, with the
    // task entries asked for one at a time.
    struct SavedEntry;
    // keep: what is remembered of an entry that was read (see SavedEntry);
    // madeAhead: the task already made from an entry, if any.
    bool loadPropertyList(const QVariantMap &plist, qsizetype entryCount,
                          const std::function<QVariant(qsizetype)> &entryAt,
                          const std::function<SavedEntry(qsizetype, const QVariant &)> &keep,
                          ZKCopyTask::Destinations &destinations,
                          const std::function<ZKTaskPtr(qsizetype)> &madeAhead = {});
    // Writes the queue one task at a time; with written, also tells where
    // each entry went.
    bool writeQueueToFile(const QString &path, ZKError *error, QList<SavedEntry> *written) const;
    static bool writeEntriesToFile(const QVariantMap &settings, qsizetype count,
                                   const std::function<QVariant(qsizetype)> &entryAt,
                                   const QString &path, ZKError *error,
                                   QList<SavedEntry> *written = nullptr);
    bool writeProgressIntoFile(ZKError *error);

    ZKFerrowickDocument &m_document;
    bool m_savesProgress = false;
    bool m_progressPending = false;
    QTimer m_progressTimer;
    QElapsedTimer m_sinceProgressSave;
    qint64 m_progressSaveCost = 0; // milliseconds the last save took
    // A "Tasks" entry as the queue's file now holds it. A long queue's
    // entries are not held: each is where its text lies in the file.
    struct SavedEntry {
        std::weak_ptr<ZKTask> task; // that wrote it; none for one kept unread
        QVariant entry;             // held when it has no place in the file
        qint64 offset = -1;
        qint64 length = 0;
        size_t checksum = 0; // of the text, so that a changed file is not misread
    };
    void rememberSavedEntries(const QVariantMap &settings, QList<SavedEntry> entries,
                              const QList<ZKTaskPtr> &tasks);
    // Writes the entries of the queue's file with their present values; the
    // entries of tasks gone since come from the file itself.
    QVariant savedEntryNow(qsizetype index, QFile *file, QString *failure) const;

    QVariantMap m_savedPropertyList; // the settings, without the tasks
    QList<SavedEntry> m_savedEntries;
    QString m_recoveryFileName;
    std::unique_ptr<QLockFile> m_recoveryLock;
};
