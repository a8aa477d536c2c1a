// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKProgressTracker.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <memory>
#include <optional>

class ZKDocumentController;
class ZKFerrowickDocument;
class ZKPreferencesWindow;
class ZKProgressDockTile;
struct ZKQueueFigures;

// The application: it writes the first-run settings before any queue opens,
// hands files and addresses given to the program to the right queue, shows
// the preferences, and draws the progress of every queue on its icon.
class ZKAppDelegate : public QObject {
    Q_OBJECT

public:
    explicit ZKAppDelegate(QObject *parent = nullptr);
    ~ZKAppDelegate() override;

    ZKDocumentController &documentController() { return *m_documentController; }
    ZKProgressDockTile &dockTile() { return *m_dockTile; }
    ZKProgressTracker &progressTracker() { return m_progressTracker; }
    // Made the first time it is asked for: most runs never show it.
    ZKPreferencesWindow &preferencesWindow();

    void applicationWillFinishLaunching();
    void applicationDidFinishLaunching();

    // Queue files open as queues; when anything else is among them, all of
    // them are sources added at the end of the main queue (a new untitled
    // one when none is open). False when nothing could be done with them.
    // A transfer mode (ZKTransferMode) given here is the new tasks' own,
    // whatever the queue's default; a source that cannot be moved is copied.
    bool openFiles(const QStringList &paths, std::optional<qint32> transferMode = std::nullopt);
    // An ftp, http or https address handed to the program: a task at the
    // end of the main queue.
    bool handleGetUrl(const QString &address, std::optional<qint32> transferMode = std::nullopt);
    // Files, folders, file:// URIs and addresses as a desktop hands them
    // over: files go to openFiles, addresses each to handleGetUrl.
    bool openArguments(const QStringList &arguments,
                       std::optional<qint32> transferMode = std::nullopt);

    ZKFerrowickDocument *mainDocument() const;
    void showPreferences();

private:
    void showFigures(ZKFerrowickDocument *document, const ZKQueueFigures &figures);
    void forgetDocument(ZKFerrowickDocument *document);
    void showAggregateProgress();

    std::unique_ptr<ZKDocumentController> m_documentController;
    std::unique_ptr<ZKProgressDockTile> m_dockTile;
    ZKProgressTracker m_progressTracker;
    QPointer<ZKPreferencesWindow> m_preferencesWindow;
};
