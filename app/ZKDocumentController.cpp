// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDocumentController.h"

#include "ZKFerrowickDocument.h"
#include "ZKLogging.h"
#include "ZKQueueWindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLockFile>
#include <QMenu>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTimer>
#include <QUuid>

namespace {

QString canonicalPath(const QString &path) {
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

} // namespace

ZKDocumentController::ZKDocumentController(QObject *parent)
    : QObject(parent)
    , m_lastFolder(QDir::homePath()) {}

ZKDocumentController::~ZKDocumentController() {
    for (const QPointer<ZKQueueWindow> &window : std::as_const(m_windows)) {
        if (window) {
            window->removeEventFilter(this);
        }
    }
}

QList<ZKQueueWindow *> ZKDocumentController::windows() const {
    QList<ZKQueueWindow *> list;
    for (const QPointer<ZKQueueWindow> &window : m_windows) {
        if (window && window->document()) {
            list << window.data();
        }
    }
    return list;
}

QList<ZKFerrowickDocument *> ZKDocumentController::documents() const {
    QList<ZKFerrowickDocument *> list;
    for (ZKQueueWindow *window : windows()) {
        list << window->document();
    }
    return list;
}

ZKQueueWindow *ZKDocumentController::windowForDocument(const ZKFerrowickDocument *document) const {
    for (ZKQueueWindow *window : windows()) {
        if (window->document() == document) {
            return window;
        }
    }
    return nullptr;
}

quint32 ZKDocumentController::identifierOfDocument(const ZKFerrowickDocument *document) const {
    return m_identifiers.value(document, 0);
}

ZKFerrowickDocument *ZKDocumentController::documentWithIdentifier(quint32 identifier) const {
    for (ZKFerrowickDocument *document : documents()) {
        if (identifierOfDocument(document) == identifier) {
            return document;
        }
    }
    return nullptr;
}

ZKFerrowickDocument *ZKDocumentController::mainDocument() const {
    if (auto *active = qobject_cast<ZKQueueWindow *>(QApplication::activeWindow())) {
        if (windowForDocument(active->document())) {
            return active->document();
        }
    }
    const QList<ZKQueueWindow *> open = windows();
    return open.isEmpty() ? nullptr : open.first()->document();
}

QString ZKDocumentController::nextUntitledName() {
    ++m_untitledCount;
    return m_untitledCount == 1 ? tr("Untitled") : tr("Untitled %1").arg(m_untitledCount);
}

ZKQueueWindow *ZKDocumentController::newDocument() {
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setUntitledName(nextUntitledName());
    document->setRecoveryFileName(newRecoveryFileName());
    ZKQueueWindow *window = addWindow(std::move(document));
    window->show();
    return window;
}

ZKQueueWindow *ZKDocumentController::openDocument(const QString &path, ZKError *error) {
    const QString canonical = canonicalPath(path);
    for (ZKQueueWindow *window : windows()) {
        if (!window->document()->fileName().isEmpty() &&
            canonicalPath(window->document()->fileName()) == canonical) {
            window->show();
            window->raise();
            window->activateWindow();
            return window;
        }
    }
    auto document = std::make_unique<ZKFerrowickDocument>();
    if (!document->readFromFile(canonical, error)) {
        return nullptr;
    }
    m_lastFolder = QFileInfo(canonical).absolutePath();
    ZKQueueWindow *window = addWindow(std::move(document));
    window->show();
    return window;
}

ZKQueueWindow *ZKDocumentController::openDocumentWithDisplay(const QString &path) {
    ZKError error;
    if (ZKQueueWindow *window = openDocument(path, &error)) {
        return window;
    }
    ZKQueueWindow *parent = windowForDocument(mainDocument());
    // Told without waiting: the program goes on meanwhile.
    auto *box = new QMessageBox(
        QMessageBox::Critical, tr("Ferrowick"),
        tr("The queue \u201c%1\u201d could not be opened.").arg(QFileInfo(path).fileName()),
        QMessageBox::Ok, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText(error.localizedDescription());
    box->open();
    return nullptr;
}

void ZKDocumentController::openDocumentsFromPanel() {
    QWidget *parent = windowForDocument(mainDocument());
    auto *dialog =
        new QFileDialog(parent, tr("Open Queue"), m_lastFolder, tr("Ferrowick queues (*.queue)"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    connect(dialog, &QDialog::finished, this, [this, dialog](int result) {
        if (result == QDialog::Accepted) {
            for (const QString &path : dialog->selectedFiles()) {
                openDocumentWithDisplay(path);
            }
        }
    });
    dialog->open();
}

void ZKDocumentController::closeAllDocuments(std::function<void(bool closedAll)> done) {
    if (m_closingAll) {
        return; // the questions of the first request are on their way
    }
    m_closingAll = true;
    QList<QPointer<ZKQueueWindow>> left;
    for (ZKQueueWindow *window : windows()) {
        left << window;
    }
    closeNextDocument(left, [this, done](bool closedAll) {
        m_closingAll = false;
        if (done) {
            done(closedAll);
        }
    });
}

void ZKDocumentController::closeNextDocument(QList<QPointer<ZKQueueWindow>> left,
                                             std::function<void(bool)> done) {
    while (!left.isEmpty() && !left.first()) {
        left.removeFirst();
    }
    if (left.isEmpty()) {
        done(true);
        return;
    }
    const QPointer<ZKQueueWindow> window = left.takeFirst();
    window->closeWhenAgreed([this, left, done](bool closed) {
        if (!closed) {
            done(false);
            return;
        }
        // Once this window's close has run its course.
        QTimer::singleShot(0, this, [this, left, done] { closeNextDocument(left, done); });
    });
}

QString ZKDocumentController::recoveryFolder() {
    QString state;
    if (QStandardPaths::isTestModeEnabled()) {
        state = QDir::home().filePath(QStringLiteral(".qttest/state"));
    } else {
        state = qEnvironmentVariable("XDG_STATE_HOME");
        // XDG ignores a relative XDG_STATE_HOME, and so does this.
        if (state.isEmpty() || QDir::isRelativePath(state)) {
            state = QDir::home().filePath(QStringLiteral(".local/state"));
        }
    }
    return QDir(state).filePath(QStringLiteral("ferrowick"));
}

QString ZKDocumentController::newRecoveryFileName() {
    return QDir(recoveryFolder())
        .filePath(QStringLiteral("untitled-%1.queue")
                      .arg(QUuid::createUuid().toString(QUuid::WithoutBraces)));
}

int ZKDocumentController::reopenRecoveredDocuments() {
    int reopened = 0;
    const QFileInfoList files =
        QDir(recoveryFolder())
            .entryInfoList({QStringLiteral("*.queue")}, QDir::Files, QDir::Time | QDir::Reversed);
    for (const QFileInfo &file : files) {
        const QString path = file.absoluteFilePath();
        QVariantMap plist;
        ZKError error;
        if (!ZKFerrowickDocument::readPropertyListFromFile(path, &plist, &error)) {
            // Kept aside for whoever wants to look, never read again nor
            // lost; a file another process keeps is left alone.
            QLockFile lock(path + QStringLiteral(".lock"));
            lock.setStaleLockTime(0);
            if (lock.tryLock(0)) {
                qCWarning(lcEngine).noquote() << "Setting aside the unreadable recovered queue"
                                              << path << ":" << error.localizedDescription();
                QFile::rename(path, path + QStringLiteral(".unreadable"));
            }
            continue;
        }
        auto document = std::make_unique<ZKFerrowickDocument>();
        if (!document->setRecoveryFileName(path)) {
            continue; // a Ferrowick still running keeps it
        }
        document->setUntitledName(nextUntitledName());
        document->readFromPropertyList(plist);
        // Kept nowhere but in the recovery file: unsaved.
        document->updateChangeCount();
        ZKQueueWindow *window = addWindow(std::move(document));
        window->showNotice(
            tr("This queue was recovered after Ferrowick stopped unexpectedly. Save it to keep "
               "it."));
        window->show();
        ++reopened;
    }
    return reopened;
}

bool ZKDocumentController::allFilesAreQueueDocuments(const QStringList &paths) {
    return std::all_of(paths.begin(), paths.end(), [](const QString &path) {
        return QFileInfo(path).suffix() == ZKFerrowickDocument::fileExtension;
    });
}

ZKQueueWindow *ZKDocumentController::addWindow(std::unique_ptr<ZKFerrowickDocument> document) {
    ZKFerrowickDocument *opened = document.get();
    auto *window = new ZKQueueWindow(std::move(document));
    m_identifiers.insert(opened, m_nextIdentifier++);
    m_windows.prepend(window);
    window->installEventFilter(this);
    addFileCommands(window);
    // The document's own end, which comes after the window has let go of
    // its rows: whoever counted it forgets it then.
    connect(opened, &QObject::destroyed, this, [this, opened] {
        m_identifiers.remove(opened);
        m_windows.removeAll(nullptr);
        Q_EMIT documentClosed(opened);
    });
    Q_EMIT documentOpened(opened);
    return window;
}

void ZKDocumentController::addFileCommands(ZKQueueWindow *window) {
    QMenu *file = window->fileMenu();
    auto *newQueue = new QAction(tr("New Queue"), window);
    newQueue->setObjectName(QStringLiteral("newDocument"));
    newQueue->setShortcut(QKeySequence::New);
    connect(newQueue, &QAction::triggered, this, [this] { newDocument(); });
    auto *open = new QAction(tr("Open..."), window);
    open->setObjectName(QStringLiteral("openDocument"));
    open->setShortcut(QKeySequence::Open);
    connect(open, &QAction::triggered, this, [this] { openDocumentsFromPanel(); });
    auto *revert = new QAction(tr("Revert to Saved"), window);
    revert->setObjectName(QStringLiteral("revertDocument"));
    connect(revert, &QAction::triggered, window, [window] { window->revertToSaved(); });
    connect(file, &QMenu::aboutToShow, revert,
            [revert, window] { revert->setEnabled(!window->document()->fileName().isEmpty()); });
    window->addActions({newQueue, open});

    const QList<QAction *> existing = file->actions();
    QAction *first = existing.isEmpty() ? nullptr : existing.first();
    file->insertActions(first, {newQueue, open});
    file->insertSeparator(first);
    // Revert goes with the saving commands, before the separator that
    // follows them.
    QAction *afterSaving = nullptr;
    for (QAction *action : existing) {
        if (action->isSeparator()) {
            afterSaving = action;
            break;
        }
    }
    file->insertAction(afterSaving, revert);

    auto *quit = window->action(QStringLiteral("quit"));
    if (quit) {
        quit->disconnect(window);
        connect(quit, &QAction::triggered, this, [this] {
            closeAllDocuments([](bool closedAll) {
                if (closedAll) {
                    QApplication::closeAllWindows();
                }
            });
        });
    }
}

bool ZKDocumentController::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::WindowActivate) {
        if (auto *window = qobject_cast<ZKQueueWindow *>(watched)) {
            m_windows.removeAll(window);
            m_windows.prepend(window);
        }
    }
    return QObject::eventFilter(watched, event);
}
