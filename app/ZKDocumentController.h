// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class ZKFerrowickDocument;
class ZKQueueWindow;

// The open queues of the application, each in its window: new, opened and
// closed ones, their untitled names, the File menu's New, Open and Revert,
// and which of them is the main one.
class ZKDocumentController : public QObject {
    Q_OBJECT

public:
    explicit ZKDocumentController(QObject *parent = nullptr);
    ~ZKDocumentController() override;

    // In the order they were last active in, the most recent first.
    QList<ZKQueueWindow *> windows() const;
    QList<ZKFerrowickDocument *> documents() const;
    ZKQueueWindow *windowForDocument(const ZKFerrowickDocument *document) const;
    // A number that names a queue to scripts for as long as it is open.
    quint32 identifierOfDocument(const ZKFerrowickDocument *document) const;
    ZKFerrowickDocument *documentWithIdentifier(quint32 identifier) const;

    // The queue of the active window, else of the one last active; none
    // when no queue is open.
    ZKFerrowickDocument *mainDocument() const;

    // An untitled queue in a new window: "Untitled", "Untitled 2", ...
    ZKQueueWindow *newDocument();
    // A queue that is open already has its window raised. A file that cannot
    // be read opens nothing and says why in *error.
    ZKQueueWindow *openDocument(const QString &path, ZKError *error = nullptr);
    // The same, telling the user when the file cannot be read.
    ZKQueueWindow *openDocumentWithDisplay(const QString &path);
    // Asks for queue files and opens them.
    void openDocumentsFromPanel();
    // Closes the queues one after another, each asking first about its
    // unsaved edits or its transfers; an answer takes effect (its transfers
    // stop, its window goes) before the next queue asks. done(true) once all
    // are closed, done(false) when the user cancelled and some stay open.
    void closeAllDocuments(std::function<void(bool closedAll)> done = {});

    // Where untitled queues are kept until they are saved or closed: the
    // "ferrowick" folder of the user's state folder (XDG_STATE_HOME), below
    // the home folder in the standard paths' test mode.
    static QString recoveryFolder();
    // Reopens the untitled queues a process that stopped unexpectedly left
    // behind, each with a notice saying so; answers how many. The queues of
    // a Ferrowick still running are left to it.
    int reopenRecoveredDocuments();

    static bool allFilesAreQueueDocuments(const QStringList &paths);

Q_SIGNALS:
    void documentOpened(ZKFerrowickDocument *document);
    // The document is being destroyed: only its address may be used.
    void documentClosed(ZKFerrowickDocument *document);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    ZKQueueWindow *addWindow(std::unique_ptr<ZKFerrowickDocument> document);
    void closeNextDocument(QList<QPointer<ZKQueueWindow>> left, std::function<void(bool)> done);
    static QString newRecoveryFileName();
    void addFileCommands(ZKQueueWindow *window);
    QString nextUntitledName();

    QList<QPointer<ZKQueueWindow>> m_windows; // most recently active first
    QHash<const ZKFerrowickDocument *, quint32> m_identifiers;
    quint32 m_nextIdentifier = 1;
    int m_untitledCount = 0;
    bool m_closingAll = false;
    QString m_lastFolder;
};
