// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDocumentController.h"

#include "ZKFerrowickDocument.h"
#include "ZKQueueWindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>

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
    return m_untitledCount == 1 ? QStringLiteral("Untitled")
                                : QStringLiteral("Untitled %1").arg(m_untitledCount);
}

ZKQueueWindow *ZKDocumentController::newDocument() {
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setUntitledName(nextUntitledName());
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
    QMessageBox box(QMessageBox::Critical, QStringLiteral("Ferrowick"),
                    QStringLiteral("The queue \u201c%1\u201d could not be opened.")
                        .arg(QFileInfo(path).fileName()),
                    QMessageBox::Ok, parent);
    box.setInformativeText(error.localizedDescription());
    box.exec();
    return nullptr;
}

void ZKDocumentController::openDocumentsFromPanel() {
    QWidget *parent = windowForDocument(mainDocument());
    QFileDialog dialog(parent, QStringLiteral("Open Queue"), m_lastFolder,
                       QStringLiteral("Ferrowick queues (*.queue)"));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    for (const QString &path : dialog.selectedFiles()) {
        openDocumentWithDisplay(path);
    }
}

bool ZKDocumentController::closeAllDocuments() {
    for (ZKQueueWindow *window : windows()) {
        if (!window->close()) {
            return false;
        }
    }
    return true;
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
    auto *newQueue = new QAction(QStringLiteral("New Queue"), window);
    newQueue->setObjectName(QStringLiteral("newDocument"));
    newQueue->setShortcut(QKeySequence::New);
    connect(newQueue, &QAction::triggered, this, [this] { newDocument(); });
    auto *open = new QAction(QStringLiteral("Open..."), window);
    open->setObjectName(QStringLiteral("openDocument"));
    open->setShortcut(QKeySequence::Open);
    connect(open, &QAction::triggered, this, [this] { openDocumentsFromPanel(); });
    auto *revert = new QAction(QStringLiteral("Revert to Saved"), window);
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
            if (closeAllDocuments()) {
                QApplication::closeAllWindows();
            }
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
