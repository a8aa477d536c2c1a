// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueFile.h"

#include "ZKFerrowickDocument.h"
#include "ZKLogging.h"
#include "ZKMainQueue.h"
#include "ZKPropertyListParser.h"
#include "ZKPropertyListSerialization.h"
#include "ZKQueueFileErrors.h"
#include "ZKQueueState.h"
#include "ZKSchedulePanel.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskRegistry.h"
#include "ZKTaskState.h"
#include "ZKTransferMode.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>

#include <cmath>
#include <limits>
#include <utility>

const QString ZKQueueFile::documentType = QStringLiteral("FerrowickDocument");
const QString ZKQueueFile::stateKey = QStringLiteral("State");
const QString ZKQueueFile::isVerifyEnabledKey = QStringLiteral("IsVerifyEnabled");
const QString ZKQueueFile::autoClearItemsKey = QStringLiteral("AutoClearItems");
const QString ZKQueueFile::autoRetryItemsKey = QStringLiteral("AutoRetryItems");
const QString ZKQueueFile::dataRateKey = QStringLiteral("DataRate");
const QString ZKQueueFile::defaultTransferModeKey = QStringLiteral("DefaultTransferMode");
const QString ZKQueueFile::defaultDestinationKey = QStringLiteral("DefaultDestination");
const QString ZKQueueFile::speedLimitKey = QStringLiteral("SpeedLimit");
const QString ZKQueueFile::scheduleKey = QStringLiteral("Schedule");
const QString ZKQueueFile::tasksKey = QStringLiteral("Tasks");

namespace {
const QString &kDocumentType = ZKQueueFile::documentType;
const QString &kState = ZKQueueFile::stateKey;
const QString &kIsVerifyEnabled = ZKQueueFile::isVerifyEnabledKey;
const QString &kAutoClearItems = ZKQueueFile::autoClearItemsKey;
const QString &kAutoRetryItems = ZKQueueFile::autoRetryItemsKey;
const QString &kDataRate = ZKQueueFile::dataRateKey;
const QString &kDefaultTransferMode = ZKQueueFile::defaultTransferModeKey;
const QString &kDefaultDestination = ZKQueueFile::defaultDestinationKey;
const QString &kSpeedLimit = ZKQueueFile::speedLimitKey;
const QString &kSchedule = ZKQueueFile::scheduleKey;
const QString &kTasks = ZKQueueFile::tasksKey;

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
        return ZKQueueFileErrors::text(ZKQueueFileErrors::HasWrongType);
    }
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    switch (value.typeId()) {
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (!std::isfinite(number)) {
            return ZKQueueFileErrors::text(ZKQueueFileErrors::NotFiniteNumber);
        }
        if (number < 0) {
            return ZKQueueFileErrors::text(ZKQueueFileErrors::IsNegative);
        }
        if (whole && number != std::floor(number)) {
            return ZKQueueFileErrors::text(ZKQueueFileErrors::NotWholeNumber);
        }
        return whole && number >= double(largest)
                   ? ZKQueueFileErrors::text(ZKQueueFileErrors::IsOutOfRange)
                   : QString();
    }
    case QMetaType::UInt:
        return {};
    case QMetaType::ULongLong:
        return value.toULongLong() > quint64(largest)
                   ? ZKQueueFileErrors::text(ZKQueueFileErrors::IsOutOfRange)
                   : QString();
    default:
        return value.toLongLong() < 0 ? ZKQueueFileErrors::text(ZKQueueFileErrors::IsNegative)
                                      : QString();
    }
}

// States and modes are saved by name; a value outside the known ones is
// written as "Unknown (n)" and has no meaning to load.
QString nameProblem(const QVariant &value) {
    if (value.typeId() != QMetaType::QString) {
        return ZKQueueFileErrors::text(ZKQueueFileErrors::HasWrongType);
    }
    return value.toString().startsWith(QStringLiteral("Unknown ("))
               ? ZKQueueFileErrors::text(ZKQueueFileErrors::IsOutOfRange)
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

// Why a saved value is refused, in the words of the entry message `place`
// (task: the number of the task whose entry it is); empty when the value is
// missing or fine.
template <class Rule>
QString valueProblem(const QVariantMap &dict, const QString &key, ZKQueueFileErrors::Message place,
                     const QString &task, Rule rule) {
    const auto found = dict.constFind(key);
    if (found == dict.constEnd()) {
        return {};
    }
    const QVariant &value = found.value();
    const QString text = rule(value);
    if (text.isEmpty()) {
        return {};
    }
    QString shown = value.toString();
    if (shown.size() > 40) {
        shown = shown.left(40) + QStringLiteral("...");
    }
    const QString read = shown.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(shown);
    return ZKQueueFileErrors::text(place, task.isEmpty() ? QStringList{key, text, read}
                                                         : QStringList{key, task, text, read});
}

QString countProblem(const QVariant &value) {
    return numberProblem(value, true);
}

QString rateProblem(const QVariant &value) {
    return numberProblem(value, false);
}

// Why the saved entry of task number index + 1 is refused; empty when it is
// fine. Entries that are no dictionaries are kept unread by the loader.
QString taskEntryProblem(qsizetype index, const QVariant &entry) {
    if (entry.typeId() != QMetaType::QVariantMap) {
        return {};
    }
    const QVariantMap task = entry.toMap();
    // Every entry of a long queue passes here: one at a time, and the task's
    // number is spelt out only for a problem.
    using Rule = QString (*)(const QVariant &);
    static const std::pair<const QString &, Rule> checks[] = {
        {kTaskProgressBytes, countProblem},
        {kTaskTotalBytes, countProblem},
        {kTaskMaximumTransferRate, countProblem},
        {kTaskDataRate, rateProblem},
        {kTaskState, nameProblem},
        {kTaskTransferMode, nameProblem}};
    for (const auto &[key, rule] : checks) {
        const auto found = task.constFind(key);
        if (found != task.constEnd() && !rule(found.value()).isEmpty()) {
            return valueProblem(task, key, ZKQueueFileErrors::EntryOfTaskProblem,
                                QString::number(index + 1), rule);
        }
    }
    return {};
}

} // namespace

ZKQueueFile::ZKQueueFile(ZKFerrowickDocument &document)
    : m_document(document) {
    m_progressTimer.setSingleShot(true);
    connect(&m_progressTimer, &QTimer::timeout, this, [this] {
        if (m_progressPending) {
            saveProgress();
        }
    });
}

ZKQueueFile::~ZKQueueFile() = default;

// ---- checking, reading and writing

bool ZKQueueFile::validatePropertyList(const QVariantMap &plist, QString *reason) {
    auto fail = [reason](const QString &text) {
        if (reason) {
            *reason = text;
        }
        return false;
    };
    if (plist.value(ZKPropertyListObject::typeKey).toString() != kDocumentType ||
        plist.value(ZKPropertyListObject::typeKey).typeId() != QMetaType::QString) {
        return fail(ZKQueueFileErrors::text(ZKQueueFileErrors::NotAQueue));
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
            return fail(ZKQueueFileErrors::text(ZKQueueFileErrors::EntryOfWrongType, {key}));
        }
    }

    // Every value is checked before any task is made: a loaded task may at
    // once resume its step.
    const auto entry = ZKQueueFileErrors::EntryProblem;
    for (const QString &text :
         {valueProblem(plist, kState, entry, QString(), nameProblem),
          valueProblem(plist, kDefaultTransferMode, entry, QString(), nameProblem),
          valueProblem(plist, kDataRate, entry, QString(), rateProblem),
          valueProblem(plist.value(kSpeedLimit).toMap(), kSpeedLimitRate,
                       ZKQueueFileErrors::EntryOfSpeedLimitProblem, QString(), countProblem)}) {
        if (!text.isEmpty()) {
            return fail(text);
        }
    }
    const QVariantList tasks = plist.value(kTasks).toList();
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        const QString text = taskEntryProblem(i, tasks[i]);
        if (!text.isEmpty()) {
            return fail(text);
        }
    }
    return true;
}

QString ZKQueueFile::unreadableTaskEntryReason(const QVariant &entry) {
    if (entry.typeId() != QMetaType::QVariantMap) {
        return QCoreApplication::translate("ZKQueueFile", "It is not a dictionary.");
    }
    const QVariantMap dict = entry.toMap();
    ZKError error;
    if (!ZKPropertyListParser::canParseObject(dict, &error)) {
        return error.localizedDescription();
    }
    const QString type = dict.value(ZKPropertyListObject::typeKey).toString();
    if (type != kCopyTaskType) {
        return QCoreApplication::translate("ZKQueueFile", "'%1' is not a kind of task.").arg(type);
    }
    // The endpoints are made without touching anything; the task itself is
    // not, since making it resumes its step.
    for (const QString &key : {kTaskSource, kTaskDestination}) {
        const QVariant part = dict.value(key);
        if (part.typeId() != QMetaType::QVariantMap) {
            return QCoreApplication::translate("ZKQueueFile",
                                               "Its \"%1\" is missing or not a dictionary.")
                .arg(key);
        }
        ZKError partError;
        const auto object = ZKPropertyListParser::parseObject(part.toMap(), &partError);
        const bool fits = key == kTaskSource ? bool(std::dynamic_pointer_cast<ZKReader>(object))
                                             : bool(std::dynamic_pointer_cast<ZKWriter>(object));
        if (!fits) {
            return QCoreApplication::translate("ZKQueueFile", "Its \"%1\" cannot be re-created: %2")
                .arg(key,
                     object || partError.localizedDescription().isEmpty()
                         ? QCoreApplication::translate("ZKQueueFile", "it is of the wrong kind.")
                         : partError.localizedDescription());
        }
    }
    return {};
}

ZKTaskPtr ZKQueueFile::taskFromEntry(const QVariant &entry, QString *reason,
                                     ZKCopyTask::Destinations *destinations) {
    // Made at once where it can be, so that its endpoints are not made twice;
    // only a failure asks why.
    if (entry.typeId() == QMetaType::QVariantMap) {
        const QVariantMap dict = entry.toMap();
        if (dict.value(ZKPropertyListObject::typeKey).toString() == kCopyTaskType) {
            if (ZKTaskPtr task = destinations
                                     ? ZKCopyTask::create(dict, *destinations)
                                     : ZKPropertyListParser::parseObjectOfType<ZKTask>(dict)) {
                reason->clear();
                return task;
            }
        }
    }
    *reason = unreadableTaskEntryReason(entry);
    if (reason->isEmpty()) {
        *reason = QCoreApplication::translate("ZKQueueFile", "It cannot be re-created.");
    }
    return nullptr;
}

namespace {
// A queue file that cannot be loaded, and why.
bool refuseFile(const QString &path, QString reason, ZKError *error) {
    while (reason.endsWith(QLatin1Char('.'))) {
        reason.chop(1);
    }
    if (error) {
        *error = ZKQueueFileErrors::error(ZKQueueFileErrors::CannotBeOpened, {path, reason});
    }
    qCInfo(lcEngine).noquote() << "Unable to load" << path << reason;
    return false;
}
} // namespace

bool ZKQueueFile::readCheckedFile(QFile &file, QVariantMap *plist,
                                  ZKPropertyListSerialization::ElementPlaces *places,
                                  const EntryBlock &entry, ZKError *error) {
    const QString path = file.fileName();
    if (!file.open(QIODevice::ReadOnly)) {
        return refuseFile(path, file.errorString(), error);
    }
    if (file.size() > ZKPropertyListSerialization::maximumDataSize) {
        return refuseFile(path, ZKQueueFileErrors::text(ZKQueueFileErrors::TooLargeForQueue),
                          error);
    }
    // A streamed entry is checked as it passes: the checks below see none.
    QString taskProblem;
    ZKError parseError;
    const QVariant value = ZKPropertyListSerialization::propertyListFromFile(
        &file, kTasks,
        [&](qsizetype i, const QVariant &element) {
            if (!taskProblem.isEmpty()) {
                return;
            }
            taskProblem = taskEntryProblem(i, element);
            if (taskProblem.isEmpty()) {
                entry(i, element);
            }
        },
        places, &parseError);
    if (!value.isValid()) {
        return refuseFile(path, parseError.localizedDescription(), error);
    }
    if (value.typeId() != QMetaType::QVariantMap) {
        return refuseFile(path, ZKQueueFileErrors::text(ZKQueueFileErrors::NotAQueue), error);
    }
    *plist = value.toMap();
    QString reason;
    if (!validatePropertyList(*plist, &reason)) {
        return refuseFile(path, reason, error);
    }
    if (!taskProblem.isEmpty()) {
        return refuseFile(path, taskProblem, error);
    }
    return true;
}

bool ZKQueueFile::readPropertyListFromFile(const QString &path, QVariantMap *plist, ZKError *error,
                                           const EntryBlock &entry) {
    // Streamed, as a queue is opened: neither the file's text nor a tree of
    // it is held beside the values.
    QFile file(path);
    QVariantList entries;
    ZKPropertyListSerialization::ElementPlaces places;
    QVariantMap read;
    const EntryBlock collect = [&](qsizetype, const QVariant &element) {
        entries.append(element);
    };
    if (!readCheckedFile(file, &read, &places, entry ? entry : collect, error)) {
        return false;
    }
    if (!entry) {
        if (places.isStreamed) {
            read.insert(kTasks, entries);
        }
    } else {
        if (!places.isStreamed) {
            // A file of another shape came back whole: its entries go the
            // same way.
            const QVariantList whole = read.value(kTasks).toList();
            for (qsizetype i = 0; i < whole.size(); ++i) {
                entry(i, whole[i]);
            }
        }
        read.insert(kTasks, QVariantList());
    }
    *plist = std::move(read);
    return true;
}

bool ZKQueueFile::writePropertyListToFile(const QVariantMap &plist, const QString &path,
                                          ZKError *error) {
    const QVariant tasks = plist.value(kTasks);
    if (tasks.typeId() == QMetaType::QVariantList) {
        const QVariantList entries = tasks.toList();
        return writeEntriesToFile(
            plist, entries.size(), [&](qsizetype i) { return entries[i]; }, path, error);
    }
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
            *error = ZKQueueFileErrors::error(ZKQueueFileErrors::CannotBeSaved,
                                              {path, file.errorString()});
        }
        return false;
    }
    return true;
}

bool ZKQueueFile::writeEntriesToFile(const QVariantMap &settings, qsizetype count,
                                     const std::function<QVariant(qsizetype)> &entryAt,
                                     const QString &path, ZKError *error,
                                     QList<SavedEntry> *written) {
    // Written into a temporary file that replaces the old one only when
    // whole, and one entry at a time: a long queue's text is never held.
    QSaveFile file(path);
    ZKError serialisationError;
    QList<SavedEntry> places;
    if (written) {
        places.reserve(count);
    }
    const auto placed = [&](qsizetype, qint64 offset, QByteArrayView text) {
        places.append({{}, {}, offset, text.size(), qHash(text)});
    };
    if (file.open(QIODevice::WriteOnly) &&
        ZKPropertyListSerialization::writeDictionaryWithArray(
            &file, settings, kTasks, count, entryAt, &serialisationError,
            written ? ZKPropertyListSerialization::ElementWritten(placed)
                    : ZKPropertyListSerialization::ElementWritten()) &&
        file.commit()) {
        if (written) {
            if (places.size() != count) {
                // Written as a whole tree: no entry has a place of its own.
                places.clear();
                for (qsizetype i = 0; i < count; ++i) {
                    places.append({{}, entryAt(i)});
                }
            }
            *written = std::move(places);
        }
        return true;
    }
    file.cancelWriting();
    if (error) {
        *error = serialisationError != ZKError()
                     ? serialisationError
                     : ZKQueueFileErrors::error(ZKQueueFileErrors::CannotBeSaved,
                                                {path, file.errorString()});
    }
    return false;
}

// ---- the queue as it is saved

QVariantMap ZKQueueFile::asPropertyList() const {
    QVariantMap plist = settingsAsPropertyList();
    plist.insert(kTasks, tasksAsPropertyList());
    return plist;
}

QVariantMap ZKQueueFile::settingsAsPropertyList() const {
    QVariantMap plist{
        {ZKPropertyListObject::typeKey, kDocumentType},
        {kState, ZKQueueState::convertToString(m_document.state())},
        {kIsVerifyEnabled, m_document.m_isVerifyEnabled},
        {kAutoClearItems, m_document.m_autoClearItems},
        {kAutoRetryItems, m_document.m_autoRetryItems},
        {kDataRate, m_document.m_dataRateCalculator.bytesPerSecond()},
        {kDefaultTransferMode, ZKTransferMode::convertToString(m_document.m_defaultTransferMode)},
        {kSpeedLimit, m_document.m_speedLimit->asPropertyList()},
        {kSchedule, m_document.m_schedule->asPropertyList()},
    };
    if (m_document.m_defaultDestination) {
        plist.insert(kDefaultDestination, m_document.m_defaultDestination->asPropertyList());
    }
    return plist;
}

QList<qsizetype> ZKQueueFile::entrySources(qsizetype taskCount) const {
    QList<qsizetype> sources;
    sources.reserve(taskCount + m_document.m_unreadTaskEntries.size());
    for (qsizetype i = 0; i < taskCount; ++i) {
        sources.append(i);
    }
    // As tasksAsPropertyList() places them.
    for (qsizetype k = 0; k < m_document.m_unreadTaskEntries.size(); ++k) {
        const qsizetype index = m_document.m_unreadTaskEntries[k].index;
        sources.insert(std::min(index, sources.size()), -1 - k);
    }
    return sources;
}

bool ZKQueueFile::writeQueueToFile(const QString &path, ZKError *error,
                                   QList<SavedEntry> *written) const {
    const QList<ZKTaskPtr> tasks = m_document.m_taskQueue.tasks();
    const QList<qsizetype> sources = entrySources(tasks.size());
    return writeEntriesToFile(
        settingsAsPropertyList(), sources.size(),
        [&](qsizetype i) {
            const qsizetype source = sources[i];
            return source >= 0 ? QVariant(tasks[source]->asPropertyList())
                               : m_document.m_unreadTaskEntries[-1 - source].entry;
        },
        path, error, written);
}

QVariantList ZKQueueFile::tasksAsPropertyList() const {
    QVariantList tasks = m_document.m_taskQueue.asPropertyList();
    // In ascending order of their old places, so an unchanged queue is
    // written back entry for entry.
    for (const ZKFerrowickDocument::UnreadTaskEntry &kept : m_document.m_unreadTaskEntries) {
        tasks.insert(std::min(kept.index, tasks.size()), kept.entry);
    }
    return tasks;
}

bool ZKQueueFile::readFromPropertyList(const QVariantMap &plist) {
    if (!validatePropertyList(plist, nullptr)) {
        return false;
    }
    const QVariantList entries = plist.value(kTasks).toList();
    ZKCopyTask::Destinations destinations;
    return loadPropertyList(
        plist, entries.size(), [&](qsizetype i) { return entries[i]; },
        [](qsizetype, const QVariant &entry) {
            return SavedEntry{{}, entry};
        },
        destinations);
}

bool ZKQueueFile::loadPropertyList(
    const QVariantMap &plist, qsizetype entryCount,
    const std::function<QVariant(qsizetype)> &entryAt,
    const std::function<SavedEntry(qsizetype, const QVariant &)> &keep,
    ZKCopyTask::Destinations &destinations, const std::function<ZKTaskPtr(qsizetype)> &madeAhead) {
    // Tasks taken out while they work would go on writing beside the ones
    // read in their place.
    m_document.m_dispatchQueue.waitUntilAllOperationsAreFinished();
    for (const auto &task : m_document.m_taskQueue.tasks()) {
        task->pause();
    }
    m_document.m_taskQueue.removeAll();
    m_document.m_taskQueue.flushRemovedTasks();
    m_document.m_lastStates.clear();

    // Stored directly: loading a paused queue must not pause anything.
    m_document.m_state = ZKQueueState::parse(plist.value(kState).toString());
    m_document.m_isVerifyEnabled = plist.value(kIsVerifyEnabled).toBool();
    m_document.m_autoClearItems = plist.value(kAutoClearItems).toBool();
    m_document.m_autoRetryItems = plist.value(kAutoRetryItems).toBool();
    m_document.refreshRetryTooltip();
    m_document.refreshClearTooltip();
    m_document.m_dataRateCalculator.setBytesPerSecond(plist.value(kDataRate).toDouble());
    m_document.m_defaultTransferMode =
        ZKTransferMode::parse(plist.value(kDefaultTransferMode).toString());
    m_document.m_defaultDestination = plist.contains(kDefaultDestination)
                                          ? ZKPropertyListParser::parseObjectOfType<ZKWriter>(
                                                plist.value(kDefaultDestination).toMap())
                                          : nullptr;
    m_document.m_speedLimit =
        std::make_unique<ZKSpeedLimitPanel>(plist.value(kSpeedLimit).toMap(), &m_document);
    m_document.m_schedule =
        std::make_unique<ZKSchedulePanel>(plist.value(kSchedule).toMap(), &m_document);
    m_document.connectSettings();
    Q_EMIT m_document.speedLimitAndScheduleReplaced();

    QList<ZKTaskPtr> tasks;
    QList<qsizetype> taskEntries; // the saved entry of each task
    m_document.m_unreadTaskEntries.clear();
    QList<SavedEntry> entries; // as the file holds them, for saving progress into it
    entries.reserve(entryCount);
    for (qsizetype i = 0; i < entryCount; ++i) {
        if (ZKTaskPtr task = madeAhead ? madeAhead(i) : nullptr) {
            entries.append(keep(i, QVariant()));
            tasks.append(std::move(task));
            taskEntries.append(i);
            continue;
        }
        const QVariant entry = entryAt(i);
        entries.append(keep(i, entry));
        QString reason;
        if (auto task = taskFromEntry(entry, &reason, &destinations)) {
            tasks.append(task);
            taskEntries.append(i);
            continue;
        }
        qCWarning(lcEngine).noquote()
            << QStringLiteral("Keeping task entry %1 unread: %2").arg(i + 1).arg(reason);
        m_document.m_unreadTaskEntries.append({i, entry, reason});
    }
    // A transfer that another open queue holds already stays in the file as
    // it was: run beside that one, it would write the same files.
    const QStringList refused = ZKTaskRegistry::refusalsForTasks(tasks);
    for (qsizetype t = tasks.size() - 1; t >= 0; --t) {
        if (!refused[t].isEmpty()) {
            const qsizetype i = taskEntries[t];
            qCWarning(lcEngine).noquote()
                << QStringLiteral("Keeping task entry %1 unread: %2").arg(i + 1).arg(refused[t]);
            m_document.m_unreadTaskEntries.append({i, entryAt(i), refused[t]});
            tasks.removeAt(t);
        }
    }
    std::sort(m_document.m_unreadTaskEntries.begin(), m_document.m_unreadTaskEntries.end(),
              [](const ZKFerrowickDocument::UnreadTaskEntry &a,
                 const ZKFerrowickDocument::UnreadTaskEntry &b) { return a.index < b.index; });
    ZKIndexList indexes;
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        indexes.append(i);
    }
    // Those left were checked just now, on this thread.
    m_document.insertCheckedTasks(tasks, indexes, QStringList(tasks.size()), nullptr);
    QVariantMap settings = plist;
    settings.remove(kTasks);
    rememberSavedEntries(settings, std::move(entries), tasks);

    Q_EMIT m_document.stateChanged();
    Q_EMIT m_document.isVerifyEnabledChanged();
    Q_EMIT m_document.autoClearItemsChanged();
    Q_EMIT m_document.autoRetryItemsChanged();
    Q_EMIT m_document.defaultTransferModeChanged();
    Q_EMIT m_document.defaultDestinationChanged();
    if (m_document.state() == ZKQueueState::Running &&
        !m_document.m_taskQueue.allTasksCompleted()) {
        m_document.m_sleepManager.preventIdleSleep();
    }
    m_document.startNextTask();
    // What was just read is what the file holds: the edits posted while the
    // tasks went in do not make it an edited queue.
    m_document.clearChangeCount();
    return true;
}

bool ZKQueueFile::readFromFile(const QString &path, ZKError *error) {
    // As readPropertyListFromFile() and readFromPropertyList(), with the same
    // checks in the same order, but the task entries are read one at a time:
    // once to check them all before anything changes, once to load each.
    QFile file(path);
    QList<ZKTaskPtr> madeAhead; // by entry
    ZKCopyTask::Destinations destinations;
    ZKPropertyListSerialization::ElementPlaces places;
    QVariantMap plist;
    const bool read = readCheckedFile(
        file, &plist, &places,
        [&](qsizetype i, const QVariant &entry) {
            // Made while the entry is at hand, so that a long queue's text is
            // not read twice. One that cannot be made waits for the loader,
            // which gives the reason.
            QString reason;
            madeAhead.resize(i + 1);
            madeAhead[i] = taskFromEntry(entry, &reason, &destinations);
        },
        error);
    if (!read) {
        return false;
    }
    m_document.setFileName(path);
    if (!places.isStreamed) {
        madeAhead.clear();
        return readFromPropertyList(plist);
    }
    // The file stays open, so a file put in its place meanwhile is not
    // read; it is read on in large blocks, not entry by entry.
    QByteArray block;
    qint64 blockStart = 0;
    const auto textAt = [&](qsizetype i) {
        const qint64 offset = places.offsets[i];
        const qint64 length = places.lengths[i];
        if (offset < blockStart || offset + length > blockStart + block.size()) {
            constexpr qint64 blockSize = 1024 * 1024;
            block = file.seek(offset) ? file.read(std::max(length, blockSize)) : QByteArray();
            blockStart = offset;
        }
        return offset + length > blockStart + block.size()
                   ? QByteArrayView()
                   : QByteArrayView(block).sliced(offset - blockStart, length);
    };
    return loadPropertyList(
        plist, places.offsets.size(),
        [&](qsizetype i) { return ZKPropertyListSerialization::elementFromText(textAt(i)); },
        [&](qsizetype i, const QVariant &) {
            return SavedEntry{{}, {}, places.offsets[i], places.lengths[i], places.hashes[i]};
        },
        destinations,
        [&](qsizetype i) { return i < madeAhead.size() ? std::move(madeAhead[i]) : nullptr; });
}

bool ZKQueueFile::saveToFile(const QString &path, ZKError *error) {
    // The entries and the tasks that wrote them, taken together.
    const QList<ZKTaskPtr> tasks = m_document.m_taskQueue.tasks();
    const QVariantMap settings = settingsAsPropertyList();
    QList<SavedEntry> entries;
    if (!writeQueueToFile(path, error, &entries)) {
        return false;
    }
    m_document.setFileName(path);
    rememberSavedEntries(settings, std::move(entries), tasks);
    removeRecoveryFile();
    m_document.clearChangeCount();
    return true;
}

bool ZKQueueFile::revertToSaved(ZKError *error) {
    if (m_document.m_fileName.isEmpty()) {
        if (error) {
            *error = ZKQueueFileErrors::error(ZKQueueFileErrors::NeverSaved);
        }
        return false;
    }
    return readFromFile(m_document.m_fileName, error);
}

bool ZKQueueFile::writeToFile(const QString &path, ZKError *error) const {
    return writeQueueToFile(path, error, nullptr);
}

// ---- progress kept while the queue runs

void ZKQueueFile::rememberSavedPropertyList(const QVariantMap &plist,
                                            const QList<ZKTaskPtr> &tasks) {
    QList<SavedEntry> entries;
    for (const QVariant &entry : plist.value(kTasks).toList()) {
        entries.append({{}, entry});
    }
    QVariantMap settings = plist;
    settings.remove(kTasks);
    rememberSavedEntries(settings, std::move(entries), tasks);
}

void ZKQueueFile::rememberSavedEntries(const QVariantMap &settings, QList<SavedEntry> entries,
                                       const QList<ZKTaskPtr> &tasks) {
    m_savedPropertyList = settings;
    // The entries kept unread sit among the tasks' entries as they were
    // written (tasksAsPropertyList); no task writes them.
    QList<std::weak_ptr<ZKTask>> writers;
    writers.reserve(tasks.size() + m_document.unreadTaskEntries().size());
    for (const ZKTaskPtr &task : tasks) {
        writers.append(task);
    }
    for (const ZKFerrowickDocument::UnreadTaskEntry &kept :
         std::as_const(m_document.unreadTaskEntries())) {
        writers.insert(std::min(kept.index, writers.size()), {});
    }
    for (qsizetype i = 0; i < entries.size() && i < writers.size(); ++i) {
        entries[i].task = writers[i];
    }
    m_savedEntries = std::move(entries);
}

QVariant ZKQueueFile::savedEntryNow(qsizetype index, QFile *file, QString *failure) const {
    const SavedEntry &saved = m_savedEntries[index];
    // A task gone from the queue keeps the entry it wrote last.
    if (const ZKTaskPtr task = saved.task.lock()) {
        return task->asPropertyList();
    }
    if (saved.offset < 0) {
        return saved.entry;
    }
    if (!file->isOpen() && !file->open(QIODevice::ReadOnly)) {
        *failure = file->errorString();
        return {};
    }
    QByteArray text;
    if (file->seek(saved.offset)) {
        text = file->read(saved.length);
    }
    QVariant entry;
    if (text.size() == saved.length && qHash(text) == saved.checksum) {
        entry = ZKPropertyListSerialization::elementFromText(text);
    }
    if (!entry.isValid()) {
        // Written over by something else: what the queue saved there is
        // gone, and a guess would be written as if it were the queue's.
        *failure = QCoreApplication::translate(
            "ZKQueueFile", "The file was changed since the queue last saved into it");
    }
    return entry;
}

bool ZKQueueFile::writeProgressIntoFile(ZKError *error) {
    const QString path = m_document.fileName();
    QFile held(path); // as it was, for the entries of tasks gone since
    QString failure;
    QList<SavedEntry> written;
    const bool saved = writeEntriesToFile(
        m_savedPropertyList, m_savedEntries.size(),
        [&](qsizetype i) { return savedEntryNow(i, &held, &failure); }, path, error, &written);
    if (!failure.isEmpty()) {
        if (error) {
            *error = ZKQueueFileErrors::error(ZKQueueFileErrors::CannotBeSaved, {path, failure});
        }
        return false;
    }
    if (!saved) {
        return false;
    }
    for (qsizetype i = 0; i < written.size(); ++i) {
        written[i].task = m_savedEntries[i].task;
    }
    m_savedEntries = std::move(written);
    return true;
}

bool ZKQueueFile::setRecoveryFileName(const QString &path) {
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

void ZKQueueFile::removeRecoveryFile() {
    if (m_recoveryFileName.isEmpty()) {
        return;
    }
    QFile::remove(m_recoveryFileName);
    m_recoveryFileName.clear();
    m_recoveryLock.reset(); // unlocks and removes the lock file
}

void ZKQueueFile::setSavesProgress(bool on) {
    m_savesProgress = on;
    if (!on) {
        m_progressTimer.stop();
    }
}

void ZKQueueFile::noteProgress(bool taskEnded) {
    if (!m_savesProgress) {
        return;
    }
    if (!ZKMainQueue::isMainThread()) {
        ZKMainQueue::async([guard = QPointer<ZKQueueFile>(this), taskEnded] {
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

bool ZKQueueFile::saveProgress(ZKError *error) {
    m_progressPending = false;
    m_progressTimer.stop();
    QElapsedTimer clock;
    clock.start();
    ZKError failure;
    bool saved = true;
    if (!m_document.fileName().isEmpty()) {
        // A file this queue never read nor wrote is not its file yet.
        if (!m_savedPropertyList.isEmpty()) {
            saved = writeProgressIntoFile(&failure);
        }
    } else if (!m_recoveryFileName.isEmpty()) {
        if (m_document.countOfTasks() == 0 && m_document.unreadTaskEntries().isEmpty()) {
            QFile::remove(m_recoveryFileName); // nothing to recover
        } else {
            saved = writeQueueToFile(m_recoveryFileName, &failure, nullptr);
        }
    }
    m_progressSaveCost = clock.elapsed();
    m_sinceProgressSave.start();
    if (!saved) {
        qCWarning(lcEngine).noquote()
            << "Unable to keep the progress of" << m_document.displayName() << ":"
            << failure.localizedDescription();
        if (error) {
            *error = failure;
        }
    }
    return saved;
}
