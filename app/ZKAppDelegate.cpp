// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"

#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileBrowser.h"
#include "ZKLogging.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKProgressDockTile.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"
#include "ZKTransferMode.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QUrl>

namespace {

// The tasks join the queue before this runs, but none has copied a byte
// yet: state changes wait for the main thread, which is here.
void applyTransferMode(const QList<ZKTaskPtr> &tasks, std::optional<qint32> transferMode) {
    if (!transferMode) {
        return;
    }
    for (const ZKTaskPtr &task : tasks) {
        const ZKReaderPtr source = task ? task->source() : nullptr;
        if (source && (*transferMode == ZKTransferMode::Copy || source->canBeMoved())) {
            task->setTransferMode(*transferMode);
        }
    }
}

} // namespace

ZKAppDelegate::ZKAppDelegate(QObject *parent)
    : QObject(parent)
    , m_documentController(std::make_unique<ZKDocumentController>())
    , m_dockTile(std::make_unique<ZKProgressDockTile>()) {
    m_progressTracker.setIncludeCompletedItems(false);
}

ZKAppDelegate::~ZKAppDelegate() {
    ZKNotificationManager::setAttentionRequest({});
    ZKFileBrowser::setFailureReport({});
    delete m_preferencesWindow;
}

ZKPreferencesWindow &ZKAppDelegate::preferencesWindow() {
    if (!m_preferencesWindow) {
        m_preferencesWindow = new ZKPreferencesWindow;
    }
    return *m_preferencesWindow;
}

void ZKAppDelegate::applicationWillFinishLaunching() {
    ZKPreferences::initialiseUserDefaults();
}

void ZKAppDelegate::applicationDidFinishLaunching() {
    connect(m_documentController.get(), &ZKDocumentController::documentClosed, this,
            &ZKAppDelegate::forgetDocument);
    connect(m_documentController.get(), &ZKDocumentController::documentOpened, this,
            [this](ZKFerrowickDocument *document) {
                connect(document, &ZKFerrowickDocument::figuresChanged, this,
                        [this, document](const ZKQueueFigures &figures) {
                            showFigures(document, figures);
                        });
                ZKQueueWindow *window = m_documentController->windowForDocument(document);
                if (!QApplication::windowIcon().isNull()) {
                    window->setWindowIcon(QApplication::windowIcon());
                }
                auto *preferences = new QAction(tr("Preferences..."), window);
                preferences->setObjectName(QStringLiteral("showPreferences"));
                // Ctrl+, everywhere, beside whatever the desktop binds.
                QList<QKeySequence> keys = QKeySequence::keyBindings(QKeySequence::Preferences);
                keys.removeAll(QKeySequence(Qt::CTRL | Qt::Key_Comma));
                keys.prepend(QKeySequence(Qt::CTRL | Qt::Key_Comma));
                preferences->setShortcuts(keys);
                preferences->setShortcutVisibleInContextMenu(true);
                preferences->setMenuRole(QAction::PreferencesRole);
                connect(preferences, &QAction::triggered, this, &ZKAppDelegate::showPreferences);
                window->addAction(preferences);
                const QList<QAction *> menus = window->menuBar()->actions();
                if (menus.size() > 1 && menus.at(1)->menu()) {
                    menus.at(1)->menu()->addSeparator();
                    menus.at(1)->menu()->addAction(preferences);
                }
            });
    // Without a notification service a finished queue asks for attention
    // through its window, as the desktop shows it (a flashing task-bar
    // entry, an urgent workspace).
    ZKNotificationManager::setAttentionRequest([this](QObject *origin) {
        auto *document = qobject_cast<ZKFerrowickDocument *>(origin);
        if (ZKQueueWindow *window = m_documentController->windowForDocument(document)) {
            QApplication::alert(window);
        }
    });
    // An item that cannot be shown is told of where the user asked for it.
    ZKFileBrowser::setFailureReport([this](const QString &message) {
        auto *window = qobject_cast<ZKQueueWindow *>(QApplication::activeWindow());
        if (!window) {
            window = m_documentController->windowForDocument(mainDocument());
        }
        if (window) {
            window->showNotice(message);
        } else {
            qCWarning(lcEngine).noquote() << message;
        }
    });
    // The queue windows carry the tile as their icon, which is what task
    // bars and window switchers show.
    connect(m_dockTile.get(), &ZKProgressDockTile::iconChanged, this, [this](const QIcon &icon) {
        for (ZKQueueWindow *window : m_documentController->windows()) {
            window->setWindowIcon(icon);
        }
    });
    m_dockTile->setShowProgress(false);
}

ZKFerrowickDocument *ZKAppDelegate::mainDocument() const {
    return m_documentController->mainDocument();
}

void ZKAppDelegate::showPreferences() {
    ZKPreferencesWindow &window = preferencesWindow();
    window.show();
    window.raise();
    window.activateWindow();
}

bool ZKAppDelegate::openFiles(const QStringList &paths, std::optional<qint32> transferMode) {
    if (ZKDocumentController::allFilesAreQueueDocuments(paths)) {
        bool opened = !paths.isEmpty();
        for (const QString &path : paths) {
            opened = m_documentController->openDocumentWithDisplay(path) && opened;
        }
        return opened;
    }
    ZKFerrowickDocument *document = mainDocument();
    if (!document) {
        document = m_documentController->newDocument()->document();
    }
    const QList<ZKReaderPtr> readers = ZKReaderFactory::readersWithPaths(paths);
    if (readers.isEmpty()) {
        qCWarning(lcEngine) << "None of these can be copied:" << paths;
        return false;
    }
    document->createTasksWithReaders(
        readers, document->countOfTasks(),
        [transferMode](const QList<ZKTaskPtr> &tasks) { applyTransferMode(tasks, transferMode); });
    return true;
}

bool ZKAppDelegate::handleGetUrl(const QString &address, std::optional<qint32> transferMode) {
    ZKFerrowickDocument *document = mainDocument();
    if (!document) {
        document = m_documentController->newDocument()->document();
    }
    const ZKReaderPtr reader = ZKReaderFactory::readerWithPath(address);
    if (!reader) {
        qCWarning(lcEngine) << "Cannot copy from" << address;
        return false;
    }
    document->createTaskWithReader(
        reader, [transferMode](const ZKTaskPtr &task) { applyTransferMode({task}, transferMode); });
    return true;
}

bool ZKAppDelegate::openArguments(const QStringList &arguments,
                                  std::optional<qint32> transferMode) {
    QStringList files;
    QStringList addresses;
    for (const QString &argument : arguments) {
        const QUrl url(argument);
        if (url.isLocalFile()) {
            files << url.toLocalFile();
        } else if (ZKReaderFactory::isLoginPath(argument) ||
                   ZKReaderFactory::isHttpPath(argument)) {
            addresses << argument;
        } else {
            files << argument;
        }
    }
    bool handled = true;
    if (!files.isEmpty()) {
        handled = openFiles(files, transferMode);
    }
    for (const QString &address : std::as_const(addresses)) {
        handled = handleGetUrl(address, transferMode) && handled;
    }
    return handled;
}

void ZKAppDelegate::showFigures(ZKFerrowickDocument *document, const ZKQueueFigures &figures) {
    // A paused queue is not on its way anywhere: it leaves the dock's bar.
    if (figures.state == ZKQueueState::Paused) {
        m_progressTracker.clearItem(document);
    } else {
        m_progressTracker.setItem(document, figures.progressBytes, figures.totalBytes);
    }
    showAggregateProgress();
}

void ZKAppDelegate::forgetDocument(ZKFerrowickDocument *document) {
    m_progressTracker.clearItem(document);
    showAggregateProgress();
}

void ZKAppDelegate::showAggregateProgress() {
    const double progress = m_progressTracker.progress();
    m_dockTile->setProgress(progress);
    m_dockTile->setShowProgress(progress > 0.0 && progress < 1.0);
}
