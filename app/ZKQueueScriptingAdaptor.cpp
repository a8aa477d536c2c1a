// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueScriptingAdaptor.h"

#include "ZKAppDelegate.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"
#include "ZKTaskListModel.h"
#include "ZKTaskRegistry.h"
#include "ZKTransferMode.h"

#include <QDBusContext>
#include <QDBusMetaType>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

#include <utility>

const QString ZKQueueScriptingAdaptor::noSuchQueueError =
    QStringLiteral("com.velmarind.Ferrowick.Error.NoSuchQueue");
const QString ZKQueueScriptingAdaptor::invalidArgumentError =
    QStringLiteral("com.velmarind.Ferrowick.Error.InvalidArgument");
const QString ZKQueueScriptingAdaptor::alreadyQueuedError =
    QStringLiteral("com.velmarind.Ferrowick.Error.AlreadyQueued");

namespace {
const QString modeOption = QStringLiteral("mode");
const QString verifyOption = QStringLiteral("verify");
const QString createDestinationOption = QStringLiteral("create-destination");
} // namespace

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
    connect(&controller, &ZKDocumentController::documentClosed, this,
            [this](ZKFerrowickDocument *document) { m_changedTasks.remove(document); });
    m_taskChangeTimer.setSingleShot(true);
    m_taskChangeTimer.setInterval(taskChangeInterval);
    connect(&m_taskChangeTimer, &QTimer::timeout, this,
            &ZKQueueScriptingAdaptor::announceChangedTasks);
}

void ZKQueueScriptingAdaptor::watch(ZKFerrowickDocument *document) {
    connect(document, &ZKFerrowickDocument::queueCompleted, this, [this, document] {
        Q_EMIT QueueCompleted(m_delegate.documentController().identifierOfDocument(document),
                              document->displayName(), uint(document->failedTaskCount()));
    });
    // A task's row changes with every block it copies: the changes are
    // gathered, and each task is told of once per interval at most.
    const ZKTaskListModel &model = document->taskListModel();
    connect(&model, &QAbstractItemModel::dataChanged, this,
            [this, document, &model](const QModelIndex &from, const QModelIndex &to) {
                QSet<const ZKTask *> &changed = m_changedTasks[document];
                for (int row = from.row(); row <= to.row(); ++row) {
                    if (const ZKTaskPtr task = model.taskAt(row)) {
                        changed.insert(task.get());
                    }
                }
                if (!m_taskChangeTimer.isActive()) {
                    m_taskChangeTimer.start();
                }
            });
}

void ZKQueueScriptingAdaptor::announceChangedTasks() {
    const auto changed = std::exchange(m_changedTasks, {});
    const ZKDocumentController &controller = m_delegate.documentController();
    for (auto it = changed.cbegin(); it != changed.cend(); ++it) {
        const uint queue = controller.identifierOfDocument(it.key());
        if (queue == 0) {
            continue; // closed since
        }
        const ZKTaskListModel &model = it.key()->taskListModel();
        for (const ZKTask *task : it.value()) {
            // A task cleared since has nothing more to tell.
            if (const int row = model.rowOfTask(task); row >= 0) {
                Q_EMIT TaskChanged(queue, uint(row), taskEntry(model, row));
            }
        }
    }
}

ZKFerrowickDocument *ZKQueueScriptingAdaptor::documentOrError(uint queue) {
    ZKFerrowickDocument *document = m_delegate.documentController().documentWithIdentifier(queue);
    if (!document) {
        sendErrorReply(noSuchQueueError,
                       tr("No queue numbered %1 is open; ListQueues gives the numbers of "
                          "the open ones.")
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
    return AddSourcesWithOptions(queue, sources, destination, {});
}

uint ZKQueueScriptingAdaptor::AddSourcesWithOptions(uint queue, const QStringList &sources,
                                                    const QString &destination,
                                                    const QVariantMap &options) {
    ZKFerrowickDocument *document = documentOrError(queue);
    if (!document) {
        return 0;
    }
    // A script copies unless it asks to move: a queue's default of moving
    // new items is the window user's choice, not the script's.
    qint32 mode = ZKTransferMode::Copy;
    bool verify = document->isVerifyEnabled();
    bool createDestination = false;
    for (auto option = options.cbegin(); option != options.cend(); ++option) {
        const QVariant &value = option.value();
        const bool isBool = value.typeId() == QMetaType::Bool;
        if (option.key() == modeOption) {
            const QString text =
                value.typeId() == QMetaType::QString ? value.toString() : QString();
            if (text != QLatin1String("copy") && text != QLatin1String("move")) {
                // An opening quote mark ends its literal where a letter of
                // a to f follows: the translation tools would read it on as
                // one escape, and the text would never be translated.
                sendErrorReply(invalidArgumentError, tr("The option \u201cmode\u201d must be \u201c"
                                                        "copy\u201d or "
                                                        "\u201cmove\u201d."));
                return 0;
            }
            mode = text == QLatin1String("move") ? ZKTransferMode::Move : ZKTransferMode::Copy;
        } else if (option.key() == verifyOption || option.key() == createDestinationOption) {
            if (!isBool) {
                sendErrorReply(
                    invalidArgumentError,
                    tr("The option \u201c%1\u201d must be true or false.").arg(option.key()));
                return 0;
            }
            (option.key() == verifyOption ? verify : createDestination) = value.toBool();
        } else {
            sendErrorReply(invalidArgumentError,
                           tr("There is no option \u201c%1\u201d; the options are "
                              "\u201cmode\u201d, \u201cverify\u201d and "
                              "\u201c"
                              "create-destination\u201d.")
                               .arg(option.key()));
            return 0;
        }
    }
    if (sources.isEmpty()) {
        sendErrorReply(invalidArgumentError, tr("No sources were given."));
        return 0;
    }
    // The service runs in a folder of its own, not the script's.
    const auto isRelative = [](const QString &path) {
        return !path.isEmpty() && !ZKReaderFactory::isValidPath(path) &&
               !path.contains(QLatin1String("://"));
    };
    const QString relativeMessage = tr(
        "\u201c%1\u201d must be an absolute path: Ferrowick does not run in the script's folder.");
    // Every source is checked before any task is made, so that a mistake
    // leaves the queue as it was.
    QList<ZKReaderPtr> readers;
    for (const QString &source : sources) {
        if (isRelative(source)) {
            sendErrorReply(invalidArgumentError, relativeMessage.arg(source));
            return 0;
        }
        const bool local = ZKReaderFactory::isFilePath(source);
        const ZKReaderPtr reader = ZKReaderFactory::readerWithPath(source);
        if (!reader) {
            sendErrorReply(
                invalidArgumentError,
                tr("\u201c%1\u201d is not a file, folder, FTP, SFTP or web address.").arg(source));
            return 0;
        }
        if (local && !QFileInfo::exists(reader->url().toLocalFile())) {
            sendErrorReply(invalidArgumentError,
                           tr("There is no file or folder \u201c%1\u201d.").arg(source));
            return 0;
        }
        readers << reader;
    }
    if (destination.isEmpty()) {
        sendErrorReply(invalidArgumentError, tr("No destination folder was given."));
        return 0;
    }
    if (isRelative(destination)) {
        sendErrorReply(invalidArgumentError, relativeMessage.arg(destination));
        return 0;
    }
    // A local destination is checked here, where the script hears of it; a
    // remote one when its task connects.
    QString folderToMake;
    if (ZKReaderFactory::isFilePath(destination)) {
        const QString path = destination.startsWith(QLatin1String("file:"))
                                 ? QUrl(destination).toLocalFile()
                                 : ZKReaderFactory::standardizedPath(destination);
        const QFileInfo folder(path);
        if (folder.exists() && !folder.isDir()) {
            sendErrorReply(invalidArgumentError,
                           tr("\u201c%1\u201d is a file, not a folder.").arg(destination));
            return 0;
        }
        if (!folder.exists() && !createDestination) {
            sendErrorReply(invalidArgumentError, tr("There is no folder \u201c%1\u201d; the option "
                                                    "\u201c"
                                                    "create-destination\u201d makes it.")
                                                     .arg(destination));
            return 0;
        }
        if (!folder.exists()) {
            folderToMake = path;
        }
    }
    if (!folderToMake.isEmpty() && !QDir().mkpath(folderToMake)) {
        sendErrorReply(invalidArgumentError,
                       tr("The folder \u201c%1\u201d cannot be made.").arg(destination));
        return 0;
    }
    ZKError error;
    const ZKWriterPtr writer = ZKReaderFactory::writerWithPath(destination, &error);
    if (!writer) {
        const QString reason = error.localizedDescription();
        sendErrorReply(
            invalidArgumentError,
            reason.isEmpty()
                ? tr("\u201c%1\u201d cannot be a destination folder.").arg(destination)
                : tr("\u201c%1\u201d cannot be a destination folder: %2").arg(destination, reason));
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
    // Settled before the tasks join, so that no step sees the queue's own.
    const auto prepare = [mode, verify](ZKTask &task) {
        task.setIsVerifyEnabled(verify);
        // A download is a copy, unless its server lets the source go.
        const ZKReaderPtr source = task.source();
        task.setTransferMode(mode == ZKTransferMode::Move && source && source->canBeMoved()
                                 ? ZKTransferMode::Move
                                 : ZKTransferMode::Copy);
    };
    return uint(
        document->addTasks(readers, writer, document->countOfTasks(), nullptr, prepare).size());
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
    const ZKTaskListModel &model = document->taskListModel();
    QList<QVariantMap> tasks;
    tasks.reserve(model.rowCount());
    for (int i = 0; i < model.rowCount(); ++i) {
        tasks << taskEntry(model, i);
    }
    return tasks;
}

QVariantMap ZKQueueScriptingAdaptor::taskEntry(const ZKTaskListModel &model, int row) {
    using M = ZKTaskListModel;
    const QModelIndex at = model.index(row);
    const ZKTaskPtr task = model.taskAt(row);
    return {
        {QStringLiteral("title"), at.data(M::TitleRole)},
        {QStringLiteral("detail"), at.data(M::DetailRole)},
        {QStringLiteral("state"), at.data(M::StateNameRole)},
        {QStringLiteral("mode"), at.data(M::TransferModeRole).toInt() == ZKTransferMode::Move
                                     ? QStringLiteral("move")
                                     : QStringLiteral("copy")},
        {QStringLiteral("verify"), task && task->isVerifyEnabled()},
        {QStringLiteral("bytes-done"), at.data(M::ProgressBytesRole).toULongLong()},
        {QStringLiteral("bytes-total"), at.data(M::TotalBytesRole).toULongLong()},
        {QStringLiteral("files-done"), at.data(M::FilesDoneRole).toULongLong()},
        {QStringLiteral("files-total"), at.data(M::FilesTotalRole).toULongLong()},
        {QStringLiteral("current-file"), at.data(M::CurrentFileRole)},
        {QStringLiteral("rate"), at.data(M::DataRateRole)},
        {QStringLiteral("time-remaining"), at.data(M::TimeRemainingRole)},
    };
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
