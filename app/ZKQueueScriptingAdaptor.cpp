// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueScriptingAdaptor.h"

#include "ZKAppDelegate.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"
#include "ZKTaskRegistry.h"

#include <QDBusContext>
#include <QDBusMetaType>
#include <QFileInfo>

const QString ZKQueueScriptingAdaptor::noSuchQueueError =
    QStringLiteral("com.velmarind.Ferrowick.Error.NoSuchQueue");
const QString ZKQueueScriptingAdaptor::invalidArgumentError =
    QStringLiteral("com.velmarind.Ferrowick.Error.InvalidArgument");
const QString ZKQueueScriptingAdaptor::alreadyQueuedError =
    QStringLiteral("com.velmarind.Ferrowick.Error.AlreadyQueued");

ZKQueueScriptingAdaptor::ZKQueueScriptingAdaptor(ZKAppDelegate &delegate, QObject *parent)
    : QDBusAbstractAdaptor(parent)
    , m_delegate(delegate) {
    qDBusRegisterMetaType<QList<QVariantMap>>();
    ZKDocumentController &controller = m_delegate.documentController();
    for (ZKFerrowickDocument *document : controller.documents()) {
        watch(document);
    }
    connect(&controller, &ZKDocumentController::documentOpened, this,
            &ZKQueueScriptingAdaptor::watch);
}

void ZKQueueScriptingAdaptor::watch(ZKFerrowickDocument *document) {
    connect(document, &ZKFerrowickDocument::queueCompleted, this, [this, document] {
        Q_EMIT QueueCompleted(m_delegate.documentController().identifierOfDocument(document),
                              document->displayName(), uint(document->failedTaskCount()));
    });
}

ZKFerrowickDocument *ZKQueueScriptingAdaptor::documentOrError(uint queue) {
    ZKFerrowickDocument *document = m_delegate.documentController().documentWithIdentifier(queue);
    if (!document) {
        sendErrorReply(noSuchQueueError,
                       QStringLiteral("No queue numbered %1 is open; ListQueues gives the "
                                      "numbers of the open ones.")
                           .arg(queue));
    }
    return document;
}

QList<uint> ZKQueueScriptingAdaptor::ListQueues(QStringList &names) {
    QList<uint> identifiers;
    names.clear();
    const ZKDocumentController &controller = m_delegate.documentController();
    for (ZKFerrowickDocument *document : controller.documents()) {
        identifiers << controller.identifierOfDocument(document);
        names << document->displayName();
    }
    return identifiers;
}

uint ZKQueueScriptingAdaptor::NewQueue() {
    ZKDocumentController &controller = m_delegate.documentController();
    return controller.identifierOfDocument(controller.newDocument()->document());
}

uint ZKQueueScriptingAdaptor::AddSources(uint queue, const QStringList &sources,
                                         const QString &destination) {
    ZKFerrowickDocument *document = documentOrError(queue);
    if (!document) {
        return 0;
    }
    if (sources.isEmpty()) {
        sendErrorReply(invalidArgumentError, QStringLiteral("No sources were given."));
        return 0;
    }
    // Every source is checked before any task is made, so that a mistake
    // leaves the queue as it was.
    QList<ZKReaderPtr> readers;
    for (const QString &source : sources) {
        const bool local = ZKReaderFactory::isFilePath(source);
        const ZKReaderPtr reader = ZKReaderFactory::readerWithPath(source);
        if (!reader) {
            sendErrorReply(invalidArgumentError,
                           QStringLiteral("\u201c%1\u201d is not a file, folder, FTP, SFTP or "
                                          "web address.")
                               .arg(source));
            return 0;
        }
        if (local && !QFileInfo::exists(ZKReaderFactory::standardizedPath(source))) {
            sendErrorReply(
                invalidArgumentError,
                QStringLiteral("There is no file or folder \u201c%1\u201d.").arg(source));
            return 0;
        }
        readers << reader;
    }
    if (destination.isEmpty()) {
        sendErrorReply(invalidArgumentError, QStringLiteral("No destination folder was given."));
        return 0;
    }
    ZKError error;
    const ZKWriterPtr writer = ZKReaderFactory::writerWithPath(destination, &error);
    if (!writer) {
        const QString reason = error.localizedDescription();
        sendErrorReply(invalidArgumentError,
                       QStringLiteral("\u201c%1\u201d cannot be a destination folder%2")
                           .arg(destination, reason.isEmpty() ? QStringLiteral(".")
                                                              : QStringLiteral(": ") + reason));
        return 0;
    }
    // Refused before any task is made, as a mistake is, and for the same
    // reason: a script that adds the same sources again learns it at once.
    QStringList refused = ZKTaskRegistry::refusalsForSources(readers, writer);
    refused.removeAll(QString());
    if (!refused.isEmpty()) {
        sendErrorReply(alreadyQueuedError, refused.join(QLatin1Char(' ')));
        return 0;
    }
    return uint(document->addTasks(readers, writer, document->countOfTasks()).size());
}

void ZKQueueScriptingAdaptor::Start(uint queue) {
    if (ZKFerrowickDocument *document = documentOrError(queue)) {
        document->setState(ZKQueueState::Running);
    }
}

void ZKQueueScriptingAdaptor::Pause(uint queue) {
    if (ZKFerrowickDocument *document = documentOrError(queue)) {
        document->setState(ZKQueueState::Paused);
    }
}

qulonglong ZKQueueScriptingAdaptor::GetProgress(uint queue, qulonglong &totalBytes, QString &state,
                                                bool &finished) {
    ZKFerrowickDocument *document = documentOrError(queue);
    if (!document) {
        return 0;
    }
    const ZKQueueFigures figures = document->figures();
    totalBytes = figures.totalBytes;
    state = ZKQueueState::convertToString(figures.state);
    finished = figures.isFinished;
    return figures.progressBytes;
}

QList<QVariantMap> ZKQueueScriptingAdaptor::GetTasks(uint queue) {
    ZKFerrowickDocument *document = documentOrError(queue);
    if (!document) {
        return {};
    }
    using M = ZKTaskListModel;
    const ZKTaskListModel &model = document->taskListModel();
    QList<QVariantMap> tasks;
    tasks.reserve(model.rowCount());
    for (int i = 0; i < model.rowCount(); ++i) {
        const QModelIndex row = model.index(i);
        tasks << QVariantMap{
            {QStringLiteral("title"), row.data(M::TitleRole)},
            {QStringLiteral("detail"), row.data(M::DetailRole)},
            {QStringLiteral("state"), row.data(M::StateNameRole)},
            {QStringLiteral("bytes-done"), row.data(M::ProgressBytesRole).toULongLong()},
            {QStringLiteral("bytes-total"), row.data(M::TotalBytesRole).toULongLong()},
            {QStringLiteral("files-done"), row.data(M::FilesDoneRole).toULongLong()},
            {QStringLiteral("files-total"), row.data(M::FilesTotalRole).toULongLong()},
            {QStringLiteral("current-file"), row.data(M::CurrentFileRole)},
            {QStringLiteral("rate"), row.data(M::DataRateRole)},
            {QStringLiteral("time-remaining"), row.data(M::TimeRemainingRole)},
        };
    }
    return tasks;
}

QVariantMap ZKQueueScriptingAdaptor::GetStatus(uint queue) {
    ZKFerrowickDocument *document = documentOrError(queue);
    if (!document) {
        return {};
    }
    const ZKQueueFigures f = document->figures();
    return {
        {QStringLiteral("state"), ZKQueueState::convertToString(f.state)},
        {QStringLiteral("finished"), f.isFinished},
        {QStringLiteral("bytes-done"), qulonglong(f.progressBytes)},
        {QStringLiteral("bytes-total"), qulonglong(f.totalBytes)},
        {QStringLiteral("bytes-remaining"), qulonglong(f.remainingBytes)},
        {QStringLiteral("files-done"), qulonglong(f.filesDone)},
        {QStringLiteral("files-total"), qulonglong(f.filesTotal)},
        {QStringLiteral("tasks"), qlonglong(f.taskCount)},
        {QStringLiteral("tasks-completed"), qlonglong(f.completedCount)},
        {QStringLiteral("tasks-failed"), qlonglong(f.failedCount)},
        {QStringLiteral("current-file"), f.currentFile},
        {QStringLiteral("rate"), f.dataRate},
        {QStringLiteral("time-remaining"), f.timeRemaining},
        {QStringLiteral("summary"), document->description()},
    };
}

void ZKQueueScriptingAdaptor::sendErrorReply(const QString &name, const QString &message) const {
    if (auto *context = dynamic_cast<QDBusContext *>(parent());
        context && context->calledFromDBus()) {
        context->sendErrorReply(name, message);
    }
}
