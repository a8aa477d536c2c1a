// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFerrowickDocument.h"

#include "ZKBlockOperation.h"
#include "ZKByteCountFormatter.h"
#include "ZKCopyTask.h"
#include "ZKLogging.h"
#include "ZKMainQueue.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKNotificationManager.h"
#include "ZKPasteboard.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKSchedulePanel.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskRegistry.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"
#include "ZKTransferMode.h"
#include "ZKTransferThrottle.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>

#include <cmath>
#include <limits>

using S = ZKTaskState;

const QString ZKFerrowickDocument::fileExtension = QStringLiteral("queue");
const QString ZKFerrowickDocument::taskOriginType =
    QStringLiteral("application/x-ferrowick-task-origin");

namespace {
const QString kDocumentType = QStringLiteral("FerrowickDocument");
const QString kState = QStringLiteral("State");
const QString kIsVerifyEnabled = QStringLiteral("IsVerifyEnabled");
const QString kAutoClearItems = QStringLiteral("AutoClearItems");
const QString kAutoRetryItems = QStringLiteral("AutoRetryItems");
const QString kDataRate = QStringLiteral("DataRate");
const QString kDefaultTransferMode = QStringLiteral("DefaultTransferMode");
const QString kDefaultDestination = QStringLiteral("DefaultDestination");
const QString kSpeedLimit = QStringLiteral("SpeedLimit");
const QString kSchedule = QStringLiteral("Schedule");
const QString kTasks = QStringLiteral("Tasks");

bool isNumber(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

// Why a saved value cannot be a byte count (whole) or a rate; empty when it
// can. A negative rate would read as "no limit", and a count beyond the
// largest file offset is no count of bytes at all.
QString numberProblem(const QVariant &value, bool whole) {
    if (!isNumber(value)) {
        return QStringLiteral("has the wrong type");
    }
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    switch (value.typeId()) {
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (!std::isfinite(number)) {
            return QStringLiteral("is not a finite number");
        }
        if (number < 0) {
            return QStringLiteral("is negative");
        }
        if (whole && number != std::floor(number)) {
            return QStringLiteral("is not a whole number");
        }
        return whole && number >= double(largest) ? QStringLiteral("is out of range") : QString();
    }
    case QMetaType::UInt:
        return {};
    case QMetaType::ULongLong:
        return value.toULongLong() > quint64(largest) ? QStringLiteral("is out of range")
                                                      : QString();
    default:
        return value.toLongLong() < 0 ? QStringLiteral("is negative") : QString();
    }
}

// States and modes are saved by name; a value outside the known ones is
// written as "Unknown (n)" and has no meaning to load.
QString nameProblem(const QVariant &value) {
    if (value.typeId() != QMetaType::QString) {
        return QStringLiteral("has the wrong type");
    }
    return value.toString().startsWith(QStringLiteral("Unknown ("))
               ? QStringLiteral("is out of range")
               : QString();
}

// The keys of a saved task that the document checks before loading it.
const QString kTaskProgressBytes = QStringLiteral("ProgressBytes");
const QString kTaskTotalBytes = QStringLiteral("TotalBytes");
const QString kTaskMaximumTransferRate = QStringLiteral("MaximumTransferRate");
const QString kTaskDataRate = QStringLiteral("DataRate");
const QString kTaskState = QStringLiteral("State");
const QString kTaskTransferMode = QStringLiteral("TransferMode");
const QString kTaskSource = QStringLiteral("Source");
const QString kTaskDestination = QStringLiteral("Destination");
const QString kCopyTaskType = QStringLiteral("CopyTask");
const QString kSpeedLimitRate = QStringLiteral("MaximumTransferRate");

// The open queues of this process, so that a task dragged between two of
// them can be found in the one it comes from, and no transfer is queued in
// two. Main thread only.
QSet<ZKFerrowickDocument *> &liveDocuments() {
    return ZKTaskRegistry::openQueues();
}

// "process document task", each a number.
QByteArray taskOrigin(const ZKFerrowickDocument *document, const ZKTask *task) {
    return QByteArray::number(QCoreApplication::applicationPid()) + ' ' +
           QByteArray::number(quintptr(document)) + ' ' + QByteArray::number(quintptr(task));
}
} // namespace

ZKFerrowickDocument::ZKFerrowickDocument(QObject *parent)
    : QObject(parent) {
    liveDocuments().insert(this);
    auto &defaults = ZKUserDefaults::standard();
    m_state = defaults.integerForKey(ZKPreferences::queueState) == ZKQueueState::Paused
                  ? ZKQueueState::Paused
                  : ZKQueueState::Running;
    m_isVerifyEnabled = defaults.boolForKey(ZKPreferences::verifyEnabled);
    m_autoClearItems = defaults.boolForKey(ZKPreferences::automaticClearEnabled);
    m_autoRetryItems = defaults.boolForKey(ZKPreferences::automaticRetryEnabled);
    m_showDataRate = defaults.boolForKey(ZKPreferences::showDataRate);
    m_showDataSize = defaults.boolForKey(ZKPreferences::showDataSize);
    // The default destination is kept in the settings in its saved form.
    const QVariant saved = defaults.objectForKey(ZKPreferences::defaultDestination);
    if (saved.canConvert<QVariantMap>() && !saved.toMap().isEmpty()) {
        m_defaultDestination = ZKPropertyListParser::parseObjectOfType<ZKWriter>(saved.toMap());
    } else if (const QString path = saved.toString(); !path.isEmpty()) {
        if (const auto reader = ZKReaderFactory::readerWithPath(path)) {
            m_defaultDestination = reader->asWriter();
        }
    }

    m_dataRateCalculator.setNumberOfSamples(10);
    connect(&m_dataRateCalculator, &ZKDataRateCalculator::bytesPerSecondChanged, this, [this] {
        ZKMainQueue::async([guard = Guard(this)] {
            if (guard) {
                guard->m_taskQueue.setDataRate(guard->m_dataRateCalculator.bytesPerSecond());
                guard->announceTexts();
            }
        });
    });
    connect(&defaults, &ZKUserDefaults::valueChanged, this, [this](const QString &key) {
        if (key == ZKPreferences::showDataRate || key == ZKPreferences::showDataSize) {
            auto &d = ZKUserDefaults::standard();
            m_showDataRate = d.boolForKey(ZKPreferences::showDataRate);
            m_showDataSize = d.boolForKey(ZKPreferences::showDataSize);
            Q_EMIT dataDescriptionChanged();
        }
    });
    // One connection and one observer serve every task of the queue.
    connect(&m_taskQueue, &ZKTaskQueue::taskStateChanged, this,
            [this](const ZKTaskPtr &task) { onTaskStateChanged(task.get(), task); });
    connect(&m_taskQueue, &ZKTaskQueue::taskActivity, this,
            [this](const ZKTaskPtr &, quint64 bytes, double seconds) {
                m_dataRateCalculator.addSampleOfBytes(bytes, seconds);
                noteProgress(false);
            });
    // Sums change on a worker too (letting go of removed tasks).
    connect(&m_taskQueue, &ZKTaskQueue::figuresChanged, this,
            &ZKFerrowickDocument::announceFigures);
    connect(&m_taskQueue, &ZKTaskQueue::tasksChanged, this, &ZKFerrowickDocument::announceFigures);
    m_progressTimer.setSingleShot(true);
    connect(&m_progressTimer, &QTimer::timeout, this, [this] {
        if (m_progressPending) {
            saveProgress();
        }
    });
    m_retryTimer.setUpdateHandler([this] { Q_EMIT descriptionChanged(); });
    m_retryTimer.setCompletionHandler([this] { retry(); });
    m_speedLimit = std::make_unique<ZKSpeedLimitPanel>(this);
    m_schedule = std::make_unique<ZKSchedulePanel>(this);
    connectSettings();
    refreshRetryTooltip();
    refreshClearTooltip();
}

ZKFerrowickDocument::~ZKFerrowickDocument() {
    liveDocuments().remove(this);
    m_closing = true;
    // First: the waits below must not wait for a worker that waits for an
    // answer.
    m_questions.close();
    m_retryTimer.cancel();
    // Before any wait: waiting serves the workers' calls into the main
    // thread, and the state changes among them must not reach a document
    // that is closing.
    disconnect(&m_taskQueue, nullptr, this, nullptr);
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
    // No task step may outlive the document whose questions it may ask.
    for (const auto &task : m_taskQueue.tasks()) {
        task->pause();
    }
    m_sleepManager.permitIdleSleep();
    // Closed as the user meant to: there is nothing to recover.
    removeRecoveryFile();
}

// ---- identity and saving

void ZKFerrowickDocument::setFileName(const QString &path) {
    m_fileName = path;
}

QString ZKFerrowickDocument::displayName() const {
    if (!m_fileName.isEmpty()) {
        return QFileInfo(m_fileName).completeBaseName();
    }
    return m_untitledName.isEmpty() ? QStringLiteral("Untitled") : m_untitledName;
}

void ZKFerrowickDocument::connectSettings() {
    // The limit and the schedule are saved with the queue: changing them is
    // an edit like any other.
    const auto edited = [this] {
        updateChangeCount();
    };
    connect(m_speedLimit.get(), &ZKSpeedLimitPanel::enabledChanged, this, edited);
    connect(m_speedLimit.get(), &ZKSpeedLimitPanel::maximumTransferRateChanged, this, edited);
    connect(m_schedule.get(), &ZKSchedulePanel::scheduleEnabledChanged, this, edited);
    for (ZKScheduleTimer *timer :
         {&m_schedule->startCopyingTimer(), &m_schedule->stopCopyingTimer(),
          &m_schedule->startSpeedLimitTimer(), &m_schedule->stopSpeedLimitTimer()}) {
        connect(timer, &ZKScheduleTimer::enabledChanged, this, edited);
        connect(timer, &ZKScheduleTimer::timeChanged, this, edited);
    }
}

void ZKFerrowickDocument::clearChangeCount() {
    // After the increments already on their way to the main thread.
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard && guard->m_changeCount != 0) {
            guard->m_changeCount = 0;
            Q_EMIT guard->editedChanged();
        }
    });
}

void ZKFerrowickDocument::updateChangeCount() {
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard) {
            ++guard->m_changeCount;
            Q_EMIT guard->editedChanged();
            // An untitled queue has nowhere else to keep its edits.
            if (guard->m_fileName.isEmpty()) {
                guard->noteProgress(false);
            }
        }
    });
}

QVariantMap ZKFerrowickDocument::asPropertyList() const {
    QVariantMap plist{
        {ZKPropertyListObject::typeKey, kDocumentType},
        {kState, ZKQueueState::convertToString(state())},
        {kIsVerifyEnabled, m_isVerifyEnabled},
        {kAutoClearItems, m_autoClearItems},
        {kAutoRetryItems, m_autoRetryItems},
        {kDataRate, m_dataRateCalculator.bytesPerSecond()},
        {kDefaultTransferMode, ZKTransferMode::convertToString(m_defaultTransferMode)},
        {kSpeedLimit, m_speedLimit->asPropertyList()},
        {kSchedule, m_schedule->asPropertyList()},
        {kTasks, tasksAsPropertyList()},
    };
    if (m_defaultDestination) {
        plist.insert(kDefaultDestination, m_defaultDestination->asPropertyList());
    }
    return plist;
}

QVariantList ZKFerrowickDocument::tasksAsPropertyList() const {
    QVariantList tasks = m_taskQueue.asPropertyList();
    // In ascending order of their old places, so an unchanged queue is
    // written back entry for entry.
    for (const UnreadTaskEntry &kept : m_unreadTaskEntries) {
        tasks.insert(std::min(kept.index, tasks.size()), kept.entry);
    }
    return tasks;
}

bool ZKFerrowickDocument::validatePropertyList(const QVariantMap &plist, QString *reason) {
    auto fail = [reason](const QString &text) {
        if (reason) {
            *reason = text;
        }
        return false;
    };
    if (plist.value(ZKPropertyListObject::typeKey).toString() != kDocumentType ||
        plist.value(ZKPropertyListObject::typeKey).typeId() != QMetaType::QString) {
        return fail(QStringLiteral("it is not a Ferrowick queue"));
    }
    const auto check = [&](const QString &key, auto isRightType) {
        return !plist.contains(key) || isRightType(plist.value(key));
    };
    const auto isText = [](const QVariant &v) {
        return v.typeId() == QMetaType::QString;
    };
    const auto isBool = [](const QVariant &v) {
        return v.typeId() == QMetaType::Bool;
    };
    const auto isMap = [](const QVariant &v) {
        return v.typeId() == QMetaType::QVariantMap;
    };
    const auto isList = [](const QVariant &v) {
        return v.typeId() == QMetaType::QVariantList;
    };
    const std::pair<QString, std::function<bool(const QVariant &)>> rules[] = {
        {kState, isText},
        {kIsVerifyEnabled, isBool},
        {kAutoClearItems, isBool},
        {kAutoRetryItems, isBool},
        {kDataRate, isNumber},
        {kDefaultTransferMode, isText},
        {kDefaultDestination, isMap},
        {kSpeedLimit, isMap},
        {kSchedule, isMap},
        {kTasks, isList},
    };
    for (const auto &[key, rule] : rules) {
        if (!check(key, rule)) {
            return fail(QStringLiteral("the entry \"%1\" has the wrong type").arg(key));
        }
    }

    // Every value is checked before any task is made: a loaded task may at
    // once resume its step.
    const auto problem = [&](const QVariantMap &dict, const QString &key, const QString &where,
                             auto rule) {
        if (!dict.contains(key)) {
            return false;
        }
        const QVariant value = dict.value(key);
        const QString text = rule(value);
        if (text.isEmpty()) {
            return false;
        }
        QString shown = value.toString();
        if (shown.size() > 40) {
            shown = shown.left(40) + QStringLiteral("...");
        }
        fail(QStringLiteral("the entry \"%1\"%2 %3%4")
                 .arg(key, where, text,
                      shown.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(shown)));
        return true;
    };
    const auto count = [](const QVariant &v) {
        return numberProblem(v, true);
    };
    const auto rate = [](const QVariant &v) {
        return numberProblem(v, false);
    };
    if (problem(plist, kState, QString(), nameProblem) ||
        problem(plist, kDefaultTransferMode, QString(), nameProblem) ||
        problem(plist, kDataRate, QString(), rate) ||
        problem(plist.value(kSpeedLimit).toMap(), kSpeedLimitRate,
                QStringLiteral(" of the speed limit"), count)) {
        return false;
    }
    const QVariantList tasks = plist.value(kTasks).toList();
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        if (tasks[i].typeId() != QMetaType::QVariantMap) {
            continue; // kept unread by the loader
        }
        const QVariantMap task = tasks[i].toMap();
        const QString where = QStringLiteral(" of task %1").arg(i + 1);
        if (problem(task, kTaskProgressBytes, where, count) ||
            problem(task, kTaskTotalBytes, where, count) ||
            problem(task, kTaskMaximumTransferRate, where, count) ||
            problem(task, kTaskDataRate, where, rate) ||
            problem(task, kTaskState, where, nameProblem) ||
            problem(task, kTaskTransferMode, where, nameProblem)) {
            return false;
        }
    }
    return true;
}

QString ZKFerrowickDocument::unreadableTaskEntryReason(const QVariant &entry) {
    if (entry.typeId() != QMetaType::QVariantMap) {
        return QStringLiteral("It is not a dictionary.");
    }
    const QVariantMap dict = entry.toMap();
    ZKError error;
    if (!ZKPropertyListParser::canParseObject(dict, &error)) {
        return error.localizedDescription();
    }
    const QString type = dict.value(ZKPropertyListObject::typeKey).toString();
    if (type != kCopyTaskType) {
        return QStringLiteral("'%1' is not a kind of task.").arg(type);
    }
    // The endpoints are made without touching anything; the task itself is
    // not, since making it resumes its step.
    for (const QString &key : {kTaskSource, kTaskDestination}) {
        const QVariant part = dict.value(key);
        if (part.typeId() != QMetaType::QVariantMap) {
            return QStringLiteral("Its \"%1\" is missing or not a dictionary.").arg(key);
        }
        ZKError partError;
        const auto object = ZKPropertyListParser::parseObject(part.toMap(), &partError);
        const bool fits = key == kTaskSource ? bool(std::dynamic_pointer_cast<ZKReader>(object))
                                             : bool(std::dynamic_pointer_cast<ZKWriter>(object));
        if (!fits) {
            return QStringLiteral("Its \"%1\" cannot be re-created: %2")
                .arg(key, object || partError.localizedDescription().isEmpty()
                              ? QStringLiteral("it is of the wrong kind.")
                              : partError.localizedDescription());
        }
    }
    return {};
}

bool ZKFerrowickDocument::readFromPropertyList(const QVariantMap &plist) {
    if (!validatePropertyList(plist, nullptr)) {
        return false;
    }
    // Tasks taken out while they work would go on writing beside the ones
    // read in their place.
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
    for (const auto &task : m_taskQueue.tasks()) {
        task->pause();
    }
    m_taskQueue.removeAll();
    m_taskQueue.flushRemovedTasks();
    m_lastStates.clear();

    // Stored directly: loading a paused queue must not pause anything.
    m_state = ZKQueueState::parse(plist.value(kState).toString());
    m_isVerifyEnabled = plist.value(kIsVerifyEnabled).toBool();
    m_autoClearItems = plist.value(kAutoClearItems).toBool();
    m_autoRetryItems = plist.value(kAutoRetryItems).toBool();
    refreshRetryTooltip();
    refreshClearTooltip();
    m_dataRateCalculator.setBytesPerSecond(plist.value(kDataRate).toDouble());
    m_defaultTransferMode = ZKTransferMode::parse(plist.value(kDefaultTransferMode).toString());
    m_defaultDestination = plist.contains(kDefaultDestination)
                               ? ZKPropertyListParser::parseObjectOfType<ZKWriter>(
                                     plist.value(kDefaultDestination).toMap())
                               : nullptr;
    m_speedLimit = std::make_unique<ZKSpeedLimitPanel>(plist.value(kSpeedLimit).toMap(), this);
    m_schedule = std::make_unique<ZKSchedulePanel>(plist.value(kSchedule).toMap(), this);
    connectSettings();
    Q_EMIT speedLimitAndScheduleReplaced();

    QList<ZKTaskPtr> tasks;
    QList<qsizetype> taskEntries; // the saved entry of each task
    m_unreadTaskEntries.clear();
    const QVariantList entries = plist.value(kTasks).toList();
    for (qsizetype i = 0; i < entries.size(); ++i) {
        QString reason = unreadableTaskEntryReason(entries[i]);
        if (reason.isEmpty()) {
            if (auto task = ZKPropertyListParser::parseObjectOfType<ZKTask>(entries[i].toMap())) {
                tasks.append(task);
                taskEntries.append(i);
                continue;
            }
            reason = QStringLiteral("It cannot be re-created.");
        }
        qCWarning(lcEngine).noquote()
            << QStringLiteral("Keeping task entry %1 unread: %2").arg(i + 1).arg(reason);
        m_unreadTaskEntries.append({i, entries[i], reason});
    }
    // A transfer that another open queue holds already stays in the file as
    // it was: run beside that one, it would write the same files.
    const QStringList refused = ZKTaskRegistry::refusalsForTasks(tasks);
    for (qsizetype t = tasks.size() - 1; t >= 0; --t) {
        if (!refused[t].isEmpty()) {
            const qsizetype i = taskEntries[t];
            qCWarning(lcEngine).noquote()
                << QStringLiteral("Keeping task entry %1 unread: %2").arg(i + 1).arg(refused[t]);
            m_unreadTaskEntries.append({i, entries[i], refused[t]});
            tasks.removeAt(t);
        }
    }
    std::sort(m_unreadTaskEntries.begin(), m_unreadTaskEntries.end(),
              [](const UnreadTaskEntry &a, const UnreadTaskEntry &b) { return a.index < b.index; });
    ZKIndexList indexes;
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        indexes.append(i);
    }
    insertTasks(tasks, indexes);
    rememberSavedPropertyList(plist, tasks);

    Q_EMIT stateChanged();
    Q_EMIT isVerifyEnabledChanged();
    Q_EMIT autoClearItemsChanged();
    Q_EMIT autoRetryItemsChanged();
    Q_EMIT defaultTransferModeChanged();
    Q_EMIT defaultDestinationChanged();
    if (state() == ZKQueueState::Running && !m_taskQueue.allTasksCompleted()) {
        m_sleepManager.preventIdleSleep();
    }
    startNextTask();
    // What was just read is what the file holds: the edits posted while the
    // tasks went in do not make it an edited queue.
    clearChangeCount();
    return true;
}

bool ZKFerrowickDocument::readPropertyListFromFile(const QString &path, QVariantMap *plist,
                                                   ZKError *error) {
    auto fail = [&](QString reason) {
        while (reason.endsWith(QLatin1Char('.'))) {
            reason.chop(1);
        }
        if (error) {
            *error = ZKError::application(
                ZKErrorCode::unknownClass,
                QStringLiteral("The queue \"%1\" cannot be opened: %2.").arg(path, reason));
        }
        qCInfo(lcEngine).noquote() << "Unable to load" << path << reason;
        return false;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(file.errorString());
    }
    if (file.size() > ZKPropertyListSerialization::maximumDataSize) {
        return fail(QStringLiteral("the file is too large to be a queue"));
    }
    const QByteArray data = file.readAll();
    ZKError parseError;
    const QVariant value = ZKPropertyListSerialization::propertyListFromData(data, &parseError);
    if (!value.isValid()) {
        return fail(parseError.localizedDescription());
    }
    if (value.typeId() != QMetaType::QVariantMap) {
        return fail(QStringLiteral("it is not a Ferrowick queue"));
    }
    QString reason;
    if (!validatePropertyList(value.toMap(), &reason)) {
        return fail(reason);
    }
    *plist = value.toMap();
    return true;
}

bool ZKFerrowickDocument::readFromFile(const QString &path, ZKError *error) {
    QVariantMap plist;
    if (!readPropertyListFromFile(path, &plist, error)) {
        return false;
    }
    setFileName(path);
    return readFromPropertyList(plist);
}

bool ZKFerrowickDocument::saveToFile(const QString &path, ZKError *error) {
    // The entries and the tasks that wrote them, taken together.
    const QList<ZKTaskPtr> tasks = m_taskQueue.tasks();
    const QVariantMap plist = asPropertyList();
    if (!writePropertyListToFile(plist, path, error)) {
        return false;
    }
    setFileName(path);
    rememberSavedPropertyList(plist, tasks);
    removeRecoveryFile();
    clearChangeCount();
    return true;
}

bool ZKFerrowickDocument::revertToSaved(ZKError *error) {
    if (m_fileName.isEmpty()) {
        if (error) {
            *error = ZKError::application(ZKErrorCode::readFailed,
                                          QStringLiteral("The queue has never been saved."));
        }
        return false;
    }
    return readFromFile(m_fileName, error);
}

bool ZKFerrowickDocument::writeToFile(const QString &path, ZKError *error) const {
    return writePropertyListToFile(asPropertyList(), path, error);
}

bool ZKFerrowickDocument::writePropertyListToFile(const QVariantMap &plist, const QString &path,
                                                  ZKError *error) {
    ZKError serialisationError;
    const QByteArray data =
        ZKPropertyListSerialization::dataFromPropertyList(plist, &serialisationError);
    if (data.isEmpty()) {
        if (error) {
            *error = serialisationError;
        }
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        if (error) {
            *error = ZKError::application(ZKErrorCode::writeFailed,
                                          QStringLiteral("Unable to save the queue \"%1\": %2.")
                                              .arg(path, file.errorString()));
        }
        return false;
    }
    return true;
}

// ---- progress kept while the queue runs

void ZKFerrowickDocument::rememberSavedPropertyList(const QVariantMap &plist,
                                                    const QList<ZKTaskPtr> &tasks) {
    m_savedPropertyList = plist;
    // The entries kept unread sit among the tasks' entries as they were
    // written (tasksAsPropertyList); no task writes them.
    m_savedTasks.clear();
    for (const ZKTaskPtr &task : tasks) {
        m_savedTasks.append(task);
    }
    for (const UnreadTaskEntry &kept : std::as_const(m_unreadTaskEntries)) {
        m_savedTasks.insert(std::min(kept.index, m_savedTasks.size()), {});
    }
}

bool ZKFerrowickDocument::writeProgressIntoFile(ZKError *error) {
    QVariantList entries = m_savedPropertyList.value(kTasks).toList();
    for (qsizetype i = 0; i < entries.size() && i < m_savedTasks.size(); ++i) {
        // A task gone from the queue keeps the entry it wrote last.
        if (const ZKTaskPtr task = m_savedTasks[i].lock()) {
            entries[i] = task->asPropertyList();
        }
    }
    QVariantMap plist = m_savedPropertyList;
    plist.insert(kTasks, entries);
    if (!writePropertyListToFile(plist, m_fileName, error)) {
        return false;
    }
    m_savedPropertyList = plist;
    return true;
}

bool ZKFerrowickDocument::setRecoveryFileName(const QString &path) {
    if (path == m_recoveryFileName) {
        return true;
    }
    removeRecoveryFile();
    if (path.isEmpty()) {
        return true;
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    auto lock = std::make_unique<QLockFile>(path + QStringLiteral(".lock"));
    // Held as long as the queue is open, however long that is: only a lock
    // whose process is gone is taken over.
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0)) {
        qCInfo(lcEngine).noquote() << "Another process keeps" << path;
        return false;
    }
    m_recoveryLock = std::move(lock);
    m_recoveryFileName = path;
    noteProgress(false);
    return true;
}

void ZKFerrowickDocument::removeRecoveryFile() {
    if (m_recoveryFileName.isEmpty()) {
        return;
    }
    QFile::remove(m_recoveryFileName);
    m_recoveryFileName.clear();
    m_recoveryLock.reset(); // unlocks and removes the lock file
}

void ZKFerrowickDocument::setSavesProgress(bool on) {
    m_savesProgress = on;
    if (!on) {
        m_progressTimer.stop();
    }
}

void ZKFerrowickDocument::noteProgress(bool taskEnded) {
    if (!m_savesProgress) {
        return;
    }
    if (!ZKMainQueue::isMainThread()) {
        ZKMainQueue::async([guard = Guard(this), taskEnded] {
            if (guard) {
                guard->noteProgress(taskEnded);
            }
        });
        return;
    }
    m_progressPending = true;
    // Every few seconds, and at a task's end at once; but saving a long
    // queue takes a while, and it may take a tenth of the time at most.
    constexpr qint64 interval = 2000;
    const qint64 gap = std::max<qint64>(taskEnded ? 0 : interval, 10 * m_progressSaveCost);
    const qint64 wait = m_sinceProgressSave.isValid()
                            ? std::max<qint64>(0, gap - m_sinceProgressSave.elapsed())
                            : 0;
    if (!m_progressTimer.isActive() || m_progressTimer.remainingTime() > wait) {
        m_progressTimer.start(int(std::min<qint64>(wait, interval * 30)));
    }
}

bool ZKFerrowickDocument::saveProgress(ZKError *error) {
    m_progressPending = false;
    m_progressTimer.stop();
    QElapsedTimer clock;
    clock.start();
    ZKError failure;
    bool saved = true;
    if (!m_fileName.isEmpty()) {
        // A file this queue never read nor wrote is not its file yet.
        if (!m_savedPropertyList.isEmpty()) {
            saved = writeProgressIntoFile(&failure);
        }
    } else if (!m_recoveryFileName.isEmpty()) {
        if (countOfTasks() == 0 && m_unreadTaskEntries.isEmpty()) {
            QFile::remove(m_recoveryFileName); // nothing to recover
        } else {
            saved = writePropertyListToFile(asPropertyList(), m_recoveryFileName, &failure);
        }
    }
    m_progressSaveCost = clock.elapsed();
    m_sinceProgressSave.start();
    if (!saved) {
        qCWarning(lcEngine).noquote() << "Unable to keep the progress of" << displayName() << ":"
                                      << failure.localizedDescription();
        if (error) {
            *error = failure;
        }
    }
    return saved;
}

bool ZKFerrowickDocument::hasRunningTask() const {
    const QList<ZKTaskPtr> tasks = m_taskQueue.tasks();
    return std::any_of(tasks.cbegin(), tasks.cend(), [](const ZKTaskPtr &task) {
        const qint32 s = task->state();
        return s == S::Processing || s == S::Verifying || s == S::Removing;
    });
}

void ZKFerrowickDocument::stopAllTasks() {
    // As when the document goes: nothing deferred reaches it any more, and
    // a start already on its way starts nothing.
    m_closing = true;
    m_questions.close();
    m_retryTimer.cancel();
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
    for (const auto &task : m_taskQueue.tasks()) {
        task->pause();
    }
    m_sleepManager.permitIdleSleep();
    if (m_savesProgress) {
        saveProgress();
    }
}

// ---- running

void ZKFerrowickDocument::runInBackground(std::function<void()> work) {
    m_dispatchQueue.addOperation(std::make_shared<ZKBlockOperation>(std::move(work)));
}

void ZKFerrowickDocument::waitForBackgroundWork() {
    m_dispatchQueue.waitUntilAllOperationsAreFinished();
}

void ZKFerrowickDocument::setState(qint32 state) {
    m_state = state;
    if (state == ZKQueueState::Paused) {
        runInBackground([this] {
            m_taskQueue.pauseAll();
            m_taskQueue.flushRemovedTasks();
            m_sleepManager.permitIdleSleep();
        });
        ZKMainQueue::sync([this] { cancelRetryTimer(); });
    } else {
        startNextTask();
    }
    announceFigures();
    updateChangeCount();
    ZKMainQueue::async([guard = Guard(this)] {
        if (guard) {
            Q_EMIT guard->stateChanged();
        }
    });
}

void ZKFerrowickDocument::toggleStartStop() {
    setState(state() == ZKQueueState::Running ? ZKQueueState::Paused : ZKQueueState::Running);
}

void ZKFerrowickDocument::startNextTask() {
    // All starting decisions are made one at a time, so a task can never be
    // started twice from one state. They go to the background queue, since
    // starting a task pauses the one running, which waits for its step.
    // Between two steps nothing runs: then, with the background queue idle
    // (only this thread fills it), the decision is made here and now, and a
    // queue of many small files saves two thread hand-overs per step.
    const bool mayDecideHere =
        ZKMainQueue::isMainThread() && m_dispatchQueue.operationCount() == 0 &&
        !m_taskQueue.hasRunningResumableTask() && !m_sleepManager.wouldAskBus();
    if (mayDecideHere) {
        startNextTaskNow();
    } else {
        runInBackground([this] { startNextTaskNow(); });
    }
}

void ZKFerrowickDocument::startNextTaskNow() {
    const auto current = m_taskQueue.currentTask();
    if (current && current->state() == S::Preparing) {
        return; // one analysis at a time
    }
    if (const auto preparation = m_taskQueue.nextPreparationTask()) {
        startTask(preparation); // analysis runs in a paused queue too
    } else if (state() == ZKQueueState::Running) {
        const auto next = m_taskQueue.nextTask();
        if (next && (!current || m_taskQueue.isBefore(next, current))) {
            startTask(next);
        }
    }
    if (!m_taskQueue.currentTask()) {
        m_sleepManager.permitIdleSleep();
    }
}

void ZKFerrowickDocument::startTask(const ZKTaskPtr &task) {
    m_taskQueue.pauseAllResumableTasks();
    m_sleepManager.preventIdleSleep();
    ZKMainQueue::sync([this, &task] {
        // Served while the document closes, which starts nothing new.
        if (m_closing) {
            return;
        }
        cancelRetryTimer();
        // A waiting task is not told each change of the rate and the limit.
        m_taskQueue.prepareToRun(*task);
        task->start();
    });
    // Not an edit: a queue that merely runs has nothing unsaved, since its
    // progress is kept by itself (saveProgress).
}

bool ZKFerrowickDocument::shouldStartNextTaskWithStateChange(qint32 from, qint32 to) {
    if (to == S::Completed || to == S::Failed || to == S::Cancelled) {
        return true;
    }
    if (from == S::Preparing) {
        return to == S::PendingProcessing || to == S::PendingVerification ||
               to == S::PendingRemoval;
    }
    if (from == S::Processing) {
        return to == S::PendingVerification || to == S::PendingRemoval;
    }
    return from == S::Verifying && to == S::PendingRemoval;
}

void ZKFerrowickDocument::onTaskStateChanged(ZKTask *task, const std::weak_ptr<ZKTask> &weak) {
    const qint32 from = m_lastStates.value(task, S::PendingPreparation);
    const qint32 to = task->state();
    m_lastStates.insert(task, to);
    noteProgress(to == S::Completed || to == S::Failed || to == S::Cancelled);
    if (shouldStartNextTaskWithStateChange(from, to)) {
        ZKMainQueue::async([guard = Guard(this), weak, to] {
            if (guard) {
                guard->followUp(weak, to);
            }
        });
    }
    Q_EMIT descriptionChanged();
}

void ZKFerrowickDocument::followUp(const std::weak_ptr<ZKTask> &weak, qint32 newState) {
    if (m_autoClearItems && newState == S::Completed) {
        ZKMainQueue::asyncAfter(1, [guard = Guard(this), weak] {
            const auto task = weak.lock();
            if (!guard || !task) {
                return;
            }
            const qsizetype index = guard->m_taskQueue.indexOfTask(task);
            if (index >= 0) {
                guard->clearItems({index});
            }
        });
    }
    startNextTask();
    if (state() == ZKQueueState::Running && m_taskQueue.allTasksCompleted() &&
        (newState == S::Completed || newState == S::Failed)) {
        ZKNotificationManager::notifyQueueCompleted(displayName(), description(),
                                                    failedTaskCount() != 0, this);
        if (m_autoRetryItems && m_taskQueue.failedCount() != 0) {
            startRetryTimer();
        }
        Q_EMIT queueCompleted();
    }
    announceTexts();
}

ZKQueueFigures ZKFerrowickDocument::figures() const {
    return m_taskQueue.figures(state());
}

void ZKFerrowickDocument::announceFigures() {
    // The figures are read when the announcement goes out, so one already on
    // its way covers this change too.
    if (m_figuresPending.exchange(true)) {
        return;
    }
    ZKMainQueue::async([guard = Guard(this)] {
        if (!guard) {
            return;
        }
        guard->m_figuresPending = false;
        Q_EMIT guard->figuresChanged(guard->figures());
        guard->announceTexts();
    });
}

// ---- retry

double ZKFerrowickDocument::retryDelay() const {
    return m_retryDelay ? *m_retryDelay
                        : double(ZKUserDefaults::standard().integerForKey(
                              ZKPreferences::automaticRetryDelaySeconds));
}

void ZKFerrowickDocument::setRetryDelay(std::optional<double> seconds) {
    m_retryDelay = seconds;
    refreshRetryTooltip();
}

void ZKFerrowickDocument::startRetryTimer() {
    m_retryTimer.setTimeout(retryDelay());
    m_retryTimer.start();
    Q_EMIT descriptionChanged();
}

void ZKFerrowickDocument::cancelRetryTimer() {
    if (m_retryTimer.isRunning()) {
        m_retryTimer.cancel();
        Q_EMIT descriptionChanged();
    }
}

void ZKFerrowickDocument::retry() {
    if (state() == ZKQueueState::Running && m_taskQueue.allTasksCompleted() &&
        m_taskQueue.failedCount() != 0 && m_autoRetryItems) {
        restart();
    }
}

void ZKFerrowickDocument::restart(bool fromButton) {
    if (fromButton) {
        toggleAutoRetryItems();
    }
    runInBackground([this] {
        m_taskQueue.resetAll();
        startNextTaskNow();
        updateChangeCount();
    });
}

void ZKFerrowickDocument::retryFailedTasks() {
    // A failed task runs no step, so resetting it waits for nothing. Done at
    // once, so that nobody finds the queue ended before the retry begins.
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() == S::Failed) {
            task->reset();
        }
    }
    startNextTask();
    updateChangeCount();
}

void ZKFerrowickDocument::refreshRetryTooltip() {
    m_retryTooltip = m_autoRetryItems ? QStringLiteral("Retry (Auto retry after %1)")
                                            .arg(ZKTimeFormatter::formatTime(retryDelay()))
                                      : QStringLiteral("Retry");
    Q_EMIT retryTooltipChanged();
}

void ZKFerrowickDocument::refreshClearTooltip() {
    // The button both clears and switches automatic clearing, like Retry.
    m_clearTooltip =
        m_autoClearItems ? QStringLiteral("Clear (Auto clear on)") : QStringLiteral("Clear");
    Q_EMIT clearTooltipChanged();
}

void ZKFerrowickDocument::setMaximumTransferRate(quint64 bytesPerSecond) {
    m_taskQueue.setMaximumTransferRate(bytesPerSecond);
}

void ZKFerrowickDocument::setDataRate(double bytesPerSecond) {
    m_dataRateCalculator.setBytesPerSecond(bytesPerSecond);
}

// ---- settings

void ZKFerrowickDocument::setIsVerifyEnabled(bool enabled) {
    m_isVerifyEnabled = enabled;
    m_taskQueue.setVerifyEnabled(enabled);
    updateChangeCount();
    Q_EMIT isVerifyEnabledChanged();
}

void ZKFerrowickDocument::setDefaultTransferMode(qint32 mode) {
    m_defaultTransferMode = mode;
    updateChangeCount();
    Q_EMIT defaultTransferModeChanged();
}

void ZKFerrowickDocument::setDefaultDestination(ZKWriterPtr destination) {
    m_defaultDestination = std::move(destination);
    updateChangeCount();
    Q_EMIT defaultDestinationChanged();
}

void ZKFerrowickDocument::toggleAutoClearItems() {
    m_autoClearItems = !m_autoClearItems;
    refreshClearTooltip();
    updateChangeCount();
    Q_EMIT autoClearItemsChanged();
    if (m_autoClearItems) {
        clearItems(m_taskQueue.completedItems());
    }
}

void ZKFerrowickDocument::toggleAutoRetryItems() {
    m_autoRetryItems = !m_autoRetryItems;
    refreshRetryTooltip();
    updateChangeCount();
    Q_EMIT autoRetryItemsChanged();
    if (m_autoRetryItems && m_taskQueue.failedCount() != 0) {
        startRetryTimer();
    } else if (!m_autoRetryItems) {
        cancelRetryTimer();
    }
}

void ZKFerrowickDocument::setAutoRetryItems(bool on) {
    if (on != m_autoRetryItems) {
        toggleAutoRetryItems();
    }
}

// ---- the task list

QList<ZKTaskPtr> ZKFerrowickDocument::addTasks(const QList<ZKReaderPtr> &sources,
                                               const ZKWriterPtr &destination, qsizetype index,
                                               QStringList *refusals) {
    QList<ZKTaskPtr> tasks;
    ZKIndexList indexes;
    for (const auto &source : sources) {
        if (!source || !destination) {
            continue;
        }
        auto task = ZKCopyTask::create(source, destination);
        task->setIsVerifyEnabled(m_isVerifyEnabled);
        task->setDataRate(m_dataRateCalculator.bytesPerSecond());
        task->setMaximumTransferRate(m_speedLimit->value());
        // A download is always a copy, whatever the default.
        if (source->isLocal()) {
            task->setTransferMode(m_defaultTransferMode);
        }
        indexes.append(index + tasks.size());
        tasks.append(task);
    }
    ZKMainQueue::sync([&] { tasks = insertTasks(tasks, indexes, refusals); });
    startNextTask();
    return tasks;
}

void ZKFerrowickDocument::connectTask(const ZKTaskPtr &task) {
    m_questions.connectTask(task);
    // One pace for the whole queue: a limit holds across its tasks.
    task->setThrottle(m_throttle);
    ZKTask *raw = task.get();
    m_lastStates.insert(raw, raw->state());
}

QList<ZKTaskPtr> ZKFerrowickDocument::insertTasks(const QList<ZKTaskPtr> &tasks,
                                                  const ZKIndexList &indexes,
                                                  QStringList *refusals) {
    // The one door into a queue, and so the one place where a transfer that
    // an open queue holds already is turned away.
    const QStringList reasons = ZKTaskRegistry::refusalsForTasks(tasks);
    QList<ZKTaskPtr> taken;
    ZKIndexList takenIndexes;
    QStringList refused;
    for (qsizetype i = 0; i < std::min(tasks.size(), indexes.size()); ++i) {
        if (!reasons[i].isEmpty()) {
            refused.append(reasons[i]);
            continue;
        }
        // The indexes are ascending: the tasks after a refused one close up.
        taken.append(tasks[i]);
        takenIndexes.append(indexes[i] - refused.size());
    }
    if (refusals) {
        *refusals = refused;
    }
    if (!refused.isEmpty()) {
        qCInfo(lcEngine).noquote() << "Refused:" << refused.join(QLatin1Char(' '));
        Q_EMIT tasksRefused(refused);
        if (taken.isEmpty()) {
            return {};
        }
    }
    for (const auto &task : taken) {
        connectTask(task);
    }
    m_taskQueue.insertTasks(taken, takenIndexes);
    Q_EMIT tasksChanged();
    announceFigures();
    updateChangeCount();
    return taken;
}

void ZKFerrowickDocument::removeTasksAtIndexes(const ZKIndexList &indexes) {
    const QList<ZKTaskPtr> all = m_taskQueue.tasks();
    for (const auto index : indexes) {
        if (index >= 0 && index < all.size()) {
            m_lastStates.remove(all[index].get());
        }
    }
    m_taskQueue.removeTasksAtIndexes(indexes);
    // Auto-cleared tasks still count in "n of m complete" until the whole
    // queue is done.
    if (!m_autoClearItems || m_taskQueue.allTasksCompleted()) {
        runInBackground([this] { m_taskQueue.flushRemovedTasks(); });
    }
    Q_EMIT tasksChanged();
    announceFigures();
    updateChangeCount();
}

// ---- commands

void ZKFerrowickDocument::moveTaskFromIndex(qsizetype from, qsizetype to) {
    if (from < 0 || from >= m_taskQueue.count() || to < 0) {
        return;
    }
    const ZKTaskPtr task = m_taskQueue.taskAtIndex(from);
    m_taskQueue.moveTask(from, to);
    if (m_taskQueue.indexOfTask(task) == from) {
        return; // dropped where it was
    }
    Q_EMIT tasksChanged();
    updateChangeCount();
    startNextTask();
}

void ZKFerrowickDocument::performTaskAction(const ZKTaskPtr &task) {
    if (!task || indexOfTask(task) < 0) {
        return;
    }
    if (task->state() == S::Completed) {
        task->revealDestination();
        return;
    }
    // In the background, as for the whole queue: suspending waits for the
    // task's step to end. None of these changes starts the next task by
    // itself, so the decision is made here.
    runInBackground([this, task] {
        switch (task->state()) {
        case S::Suspended:
            task->resume();
            break;
        case S::Failed:
            task->reset();
            break;
        case S::Completed:
            break;
        default:
            task->suspend();
            break;
        }
        startNextTaskNow();
    });
    updateChangeCount();
}

void ZKFerrowickDocument::cancelTask(const ZKTaskPtr &task) {
    const qsizetype index = task ? indexOfTask(task) : -1;
    if (index < 0) {
        return;
    }
    if (task->state() == S::Completed) {
        clearItems({index});
        return;
    }
    runInBackground([task] { task->cancel(); });
    updateChangeCount();
}

void ZKFerrowickDocument::changeSourceForTask(const ZKTaskPtr &task, const ZKReaderPtr &source) {
    if (source) {
        changeEndpointOfTask(task, [task, source] {
            task->setSource(source);
            if (!source->isLocal()) {
                task->setTransferMode(ZKTransferMode::Copy);
            }
        });
    }
}

void ZKFerrowickDocument::changeDestinationForTask(const ZKTaskPtr &task,
                                                   const ZKWriterPtr &destination) {
    if (destination) {
        changeEndpointOfTask(task, [task, destination] { task->setDestination(destination); });
    }
}

void ZKFerrowickDocument::changeEndpointOfTask(const ZKTaskPtr &task,
                                               std::function<void()> change) {
    const qint32 s = task && indexOfTask(task) >= 0 ? task->state() : S::Completed;
    if (s == S::Completed || s == S::Cancelling || s == S::Cancelled) {
        return; // ended, or no task of this queue
    }
    runInBackground([this, task, change = std::move(change)] {
        task->pause();
        change();
        task->forgetAnalysis();
        startNextTaskNow();
    });
    updateChangeCount();
}

void ZKFerrowickDocument::clearItems(const ZKIndexList &indexes) {
    if (!indexes.isEmpty()) {
        removeTasksAtIndexes(indexes);
    }
}

void ZKFerrowickDocument::clearAllItems() {
    clearItems(m_taskQueue.allItems());
}

void ZKFerrowickDocument::clearCompletedItems(bool fromButton) {
    if (fromButton) {
        m_autoClearItems = !m_autoClearItems;
        refreshClearTooltip();
        Q_EMIT autoClearItemsChanged();
    }
    clearItems(m_taskQueue.completedItems());
}

void ZKFerrowickDocument::clearFailedItems() {
    clearItems(m_taskQueue.failedItems());
}

void ZKFerrowickDocument::suspendAll() {
    runInBackground([this] {
        for (const auto &task : m_taskQueue.tasks()) {
            task->suspend();
        }
    });
}

void ZKFerrowickDocument::resumeAll() {
    runInBackground([this] {
        for (const auto &task : m_taskQueue.tasks()) {
            task->resume();
        }
        startNextTaskNow();
    });
}

void ZKFerrowickDocument::setAllTransferModeCopy() {
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() != S::Completed) {
            task->setTransferMode(ZKTransferMode::Copy);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::setAllTransferModeMove() {
    for (const auto &task : m_taskQueue.tasks()) {
        const auto source = task->source();
        if (task->state() != S::Completed && source && source->isLocal()) {
            task->setTransferMode(ZKTransferMode::Move);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::changeAllDestination(const ZKWriterPtr &destination) {
    for (const auto &task : m_taskQueue.tasks()) {
        if (task->state() != S::Completed) {
            task->setDestination(destination);
        }
    }
    updateChangeCount();
}

void ZKFerrowickDocument::sortTasksWithDescriptor(const QString &key, bool caseInsensitive) {
    m_taskQueue.sortWithDescriptor(key, true,
                                   caseInsensitive ? Qt::CaseInsensitive : Qt::CaseSensitive);
    Q_EMIT tasksChanged();
    updateChangeCount();
}

void ZKFerrowickDocument::sortByFilename() {
    sortTasksWithDescriptor(QStringLiteral("filename"), true);
}

void ZKFerrowickDocument::sortByDestination() {
    sortTasksWithDescriptor(QStringLiteral("destinationDirectory"), true);
}

void ZKFerrowickDocument::sortByFileSize() {
    sortTasksWithDescriptor(QStringLiteral("totalBytes"));
}

void ZKFerrowickDocument::sortByPercentCompleted() {
    sortTasksWithDescriptor(QStringLiteral("percentCompleted"));
}

void ZKFerrowickDocument::sortByPercentRemaining() {
    sortTasksWithDescriptor(QStringLiteral("percentRemaining"));
}

void ZKFerrowickDocument::sortByTimeRemaining() {
    sortTasksWithDescriptor(QStringLiteral("timeRemaining"));
}

void ZKFerrowickDocument::copyItems(const ZKIndexList &indexes, ZKPasteboard &pasteboard) const {
    m_taskQueue.copyTasks(indexes, pasteboard);
}

void ZKFerrowickDocument::copySources(ZKPasteboard &pasteboard) const {
    m_taskQueue.copyUrlsToPasteboard(pasteboard);
}

qsizetype ZKFerrowickDocument::paste(const QList<QByteArray> &taskItems, const QList<QUrl> &urls,
                                     qsizetype index) {
    QList<ZKTaskPtr> tasks;
    ZKIndexList indexes;
    for (const QByteArray &data : taskItems) {
        const QVariant plist = ZKPropertyListSerialization::propertyListFromData(data);
        if (auto task = ZKPropertyListParser::parseObjectOfType<ZKTask>(plist.toMap())) {
            indexes.append(index + tasks.size());
            tasks.append(task);
        }
    }
    const qsizetype joined = tasks.isEmpty() ? 0 : insertTasks(tasks, indexes).size();
    if (!urls.isEmpty()) {
        createTasksWithReaders(ZKReaderFactory::readersWithUrls(urls), index + joined);
    } else {
        startNextTask();
    }
    return joined;
}

// ---- sources arriving

void ZKFerrowickDocument::createTasksWithReaders(
    const QList<ZKReaderPtr> &readers, qsizetype index,
    std::function<void(const QList<ZKTaskPtr> &)> completionHandler) {
    auto done = [completionHandler](const QList<ZKTaskPtr> &tasks) {
        if (completionHandler) {
            completionHandler(tasks);
        }
    };
    if (readers.isEmpty()) {
        done({});
        return;
    }
    if (m_defaultDestination) {
        done(addTasks(readers, m_defaultDestination,
                      std::clamp<qsizetype>(index, 0, countOfTasks())));
        return;
    }
    if (!m_destinationChooser) {
        qCWarning(lcEngine) << "No destination for" << readers.size()
                            << "sources: none is set and there is nobody to ask";
        done({});
        return;
    }
    m_destinationChooser([guard = Guard(this), readers, index, done](const ZKWriterPtr &chosen) {
        if (!guard || !chosen) {
            done({});
            return;
        }
        // The queue may have changed while the user chose.
        done(guard->addTasks(readers, chosen,
                             std::clamp<qsizetype>(index, 0, guard->countOfTasks())));
    });
}

void ZKFerrowickDocument::createTaskWithReader(
    const ZKReaderPtr &reader, std::function<void(const ZKTaskPtr &)> completionHandler) {
    createTasksWithReaders({reader}, countOfTasks(),
                           [completionHandler](const QList<ZKTaskPtr> &tasks) {
                               if (completionHandler) {
                                   completionHandler(tasks.value(0));
                               }
                           });
}

// ---- rows dragged and dropped

bool ZKFerrowickDocument::canDragItemFromIndex(qsizetype index) {
    return index >= 0 && index < countOfTasks();
}

void ZKFerrowickDocument::dragItemFromIndex(qsizetype index, ZKPasteboard &pasteboard) {
    const ZKTaskPtr task = objectInTasksAtIndex(index);
    if (!task) {
        return;
    }
    m_draggedTask = task;
    // The saved form lets another instance of the program take the task; the
    // origin lets a queue of this one move the task itself.
    copyItems({index}, pasteboard);
    pasteboard.addItems({{taskOriginType, taskOrigin(this, task.get())}});
}

Qt::DropActions ZKFerrowickDocument::dropOperation() const {
    // Never a move: a file manager that gave us its files must not delete
    // them once we took them.
    return Qt::CopyAction;
}

bool ZKFerrowickDocument::dropItemsAtIndex(qsizetype index, const QMimeData &pasteboard) {
    index = std::clamp<qsizetype>(index, 0, countOfTasks());
    const QList<QByteArray> origin = pasteboard.data(taskOriginType).split(' ');
    if (origin.size() == 3 && origin[0].toLongLong() == QCoreApplication::applicationPid()) {
        auto *from = reinterpret_cast<ZKFerrowickDocument *>(origin[1].toULongLong());
        const auto *address = reinterpret_cast<const void *>(origin[2].toULongLong());
        if (!liveDocuments().contains(from)) {
            return false; // its queue closed while it was dragged
        }
        const ZKTaskPtr task = from->m_taskQueue.taskWithAddress(address);
        if (!task) {
            return false; // it left its queue while it was dragged
        }
        if (from == this) {
            moveTaskFromIndex(indexOfTask(task), index);
            return true;
        }
        // Asked before it leaves its queue, so that a refusal keeps it there.
        if (const QStringList refused = ZKTaskRegistry::refusalsForTasks({task});
            !refused.first().isEmpty()) {
            Q_EMIT tasksRefused(refused);
            return false;
        }
        // The same task changes queues and goes on where it was: a copy made
        // from its saved form could run beside it.
        from->removeTasksAtIndexes({from->indexOfTask(task)});
        if (!from->m_taskQueue.currentTask()) {
            from->m_sleepManager.permitIdleSleep();
        }
        insertTasks({task}, {index});
        if (m_taskQueue.currentTask()) {
            m_sleepManager.preventIdleSleep();
        }
        updateChangeCount();
        startNextTask();
        return true;
    }
    const QList<QByteArray> taskItems =
        ZKMimeDataPasteboard::itemsOfType(pasteboard, ZKTaskQueue::pasteboardType);
    const QList<QUrl> urls = pasteboard.hasUrls() ? pasteboard.urls() : QList<QUrl>{};
    if (taskItems.isEmpty() && urls.isEmpty()) {
        return false;
    }
    // Tasks that were turned away stay in the queue they came from.
    return paste(taskItems, urls, index) > 0 || !urls.isEmpty();
}

void ZKFerrowickDocument::draggedItemWasTaken(qsizetype originalIndex, Qt::DropAction action) {
    Q_UNUSED(originalIndex);
    Q_UNUSED(action);
    // Another instance made its own task from the saved form: this one goes,
    // or both would copy the same item. A queue of this process took the
    // task itself and it is no longer here.
    const ZKTaskPtr task = m_draggedTask.lock();
    m_draggedTask.reset();
    if (const qsizetype index = task ? indexOfTask(task) : -1; index >= 0) {
        removeTasksAtIndexes({index});
    }
}

// ---- texts

void ZKFerrowickDocument::announceTexts() {
    Q_EMIT descriptionChanged();
    Q_EMIT dataDescriptionChanged();
}

QString ZKFerrowickDocument::description() const {
    QString text = ZKTaskQueue::describe(figures());
    const double remaining = m_retryTimer.remainingTime();
    if (remaining > 0) {
        text += QStringLiteral(" - retrying in %1").arg(ZKTimeFormatter::formatTime(remaining));
    }
    return text;
}

QString ZKFerrowickDocument::dataDescription() const {
    QString text;
    const ZKQueueFigures now = figures();
    const quint64 remaining = now.remainingBytes;
    if (m_showDataSize && remaining != 0) {
        text = QStringLiteral("%1 remaining").arg(ZKByteCountFormatter::formatFileSize(remaining));
    }
    const double rate = now.dataRate;
    if (m_showDataRate && rate > 0) {
        const QString rateText = ZKByteCountFormatter::formatDataRate(quint64(rate));
        text = text.isEmpty() ? rateText : QStringLiteral("%1 - %2").arg(text, rateText);
    }
    return text;
}
