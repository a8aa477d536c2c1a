// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"

#include "ZKAnalyseCopyOperation.h"
#include "ZKBlockOperation.h"
#include "ZKByteCountFormatter.h"
#include "ZKCopyOperation.h"
#include "ZKFileBrowser.h"
#include "ZKLogging.h"
#include "ZKMadeOnFirstNeed.h"
#include "ZKMainQueue.h"
#include "ZKPartialFile.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKRemoveSourceOperation.h"
#include "ZKTaskQuestions.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"
#include "ZKTransferMode.h"
#include "ZKTransferThrottle.h"
#include "ZKUserDefaults.h"
#include "ZKVerifyFileOperation.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

using S = ZKTaskState;

namespace {

// A copy of a field that another thread may be writing.
template <class Lock, class T> T locked(Lock &lock, const T &field) {
    std::lock_guard locker(lock);
    return field;
}

// Keys of the saved form.
const QString kSource = QStringLiteral("Source");
const QString kDestination = QStringLiteral("Destination");
const QString kIsVerifyEnabled = QStringLiteral("IsVerifyEnabled");
const QString kIsVerifiedOk = QStringLiteral("IsVerifiedOk");
const QString kTransferMode = QStringLiteral("TransferMode");
const QString kSkippedUrls = QStringLiteral("SkippedUrls");
const QString kReplacedUrls = QStringLiteral("ReplacedUrls");
const QString kState = QStringLiteral("State");
const QString kProgressBytes = QStringLiteral("ProgressBytes");
const QString kTotalBytes = QStringLiteral("TotalBytes");
const QString kDataRate = QStringLiteral("DataRate");
const QString kMaximumTransferRate = QStringLiteral("MaximumTransferRate");
const QString kErrorMessage = QStringLiteral("ErrorMessage");
const QString kPreExistingUrls = QStringLiteral("PreExistingUrls");
const QString kNotes = QStringLiteral("Notes");

void deleteOnMainThread(ZKCopyTask *task) {
    if (ZKMainQueue::isMainThread() || !QCoreApplication::instance()) {
        delete task;
    } else {
        task->deleteLater();
    }
}

// Equal entries hash alike; unequal ones rarely do.
size_t hashOfEntry(const QVariant &value, size_t seed = 0) {
    switch (value.typeId()) {
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            seed = hashOfEntry(it.value(), qHash(it.key(), seed));
        }
        return seed;
    }
    case QMetaType::QVariantList:
        for (const QVariant &item : value.toList()) {
            seed = hashOfEntry(item, seed);
        }
        return seed;
    case QMetaType::QByteArray:
        return qHash(value.toByteArray(), seed);
    default:
        return qHash(value.toString(), seed ^ size_t(value.typeId()));
    }
}

// Stores a value and announces it, when it changed.
template <class T, class V> bool store(std::atomic<T> &field, V value) {
    return field.exchange(T(value)) != T(value);
}

} // namespace

std::shared_ptr<ZKCopyTask> ZKCopyTask::create(ZKReaderPtr source, ZKWriterPtr destination) {
    return std::shared_ptr<ZKCopyTask>(new ZKCopyTask(std::move(source), std::move(destination)),
                                       deleteOnMainThread);
}

std::shared_ptr<ZKCopyTask> ZKCopyTask::create(const QVariantMap &plist) {
    return create(plist, ZKPropertyListParser::parseObjectOfType<ZKWriter>(
                             plist.value(kDestination).toMap()));
}

std::shared_ptr<ZKCopyTask> ZKCopyTask::create(const QVariantMap &plist,
                                               Destinations &destinations) {
    return create(plist, destinations.writerFor(plist.value(kDestination).toMap()));
}

ZKWriterPtr ZKCopyTask::Destinations::writerFor(const QVariantMap &entry) {
    QList<std::pair<QVariantMap, ZKWriterPtr>> &alike = m_made[hashOfEntry(entry)];
    for (const auto &[made, writer] : std::as_const(alike)) {
        if (made == entry) {
            return writer;
        }
    }
    ZKWriterPtr writer = ZKPropertyListParser::parseObjectOfType<ZKWriter>(entry);
    if (writer) {
        alike.append({entry, writer});
    }
    return writer;
}

std::shared_ptr<ZKCopyTask> ZKCopyTask::create(const QVariantMap &plist, ZKWriterPtr destination) {
    auto source = ZKPropertyListParser::parseObjectOfType<ZKReader>(plist.value(kSource).toMap());
    if (!source || !destination) {
        return nullptr;
    }
    auto task = create(std::move(source), std::move(destination));
    task->m_isVerifyEnabled = plist.value(kIsVerifyEnabled).toBool();
    task->m_isVerifiedOk = plist.value(kIsVerifiedOk).toBool();
    task->m_transferMode = ZKTransferMode::parse(plist.value(kTransferMode).toString());
    // Only a task that has run, or been told what to skip, pays for the sets.
    QSet<QUrl> skipped = ZKPropertyListParser::parseUrls(plist.value(kSkippedUrls).toList());
    QSet<QUrl> replaced = ZKPropertyListParser::parseUrls(plist.value(kReplacedUrls).toList());
    QSet<QUrl> preExisting;
    if (plist.contains(kPreExistingUrls)) {
        task->m_hasPreExistingUrls = true;
        preExisting = ZKPropertyListParser::parseUrls(plist.value(kPreExistingUrls).toList());
    }
    QStringList notes = plist.value(kNotes).toStringList();
    if (!skipped.isEmpty() || !replaced.isEmpty() || !preExisting.isEmpty() || !notes.isEmpty()) {
        Rare &kept = task->rare();
        kept.skippedUrls = std::move(skipped);
        kept.replacedUrls = std::move(replaced);
        kept.preExistingUrls = std::move(preExisting);
        kept.notes = std::move(notes);
    }
    const ZKTaskState state = ZKTaskStates::parse(plist.value(kState).toString());
    const quint64 progress = plist.value(kProgressBytes).toULongLong();
    const quint64 total = plist.value(kTotalBytes).toULongLong();
    task->m_state = state;
    task->m_progressBytes = progress;
    task->m_totalBytes = total;
    task->m_dataRate = plist.value(kDataRate).toDouble();
    task->m_maximumTransferRate = plist.value(kMaximumTransferRate).toULongLong();
    const QString message = plist.value(kErrorMessage).toString();
    if (state == S::Failed && !message.isEmpty()) {
        task->rare().error =
            std::make_unique<const ZKError>(ZKError::applicationDomain, 0, message);
    }

    // Work interrupted by quitting continues by itself, once the task is in
    // a queue (see resumeInterruptedStep()). A removal is not run again: it
    // stays Removing until the user acts. An analysis starts over when the
    // queue starts it, once its questions have somebody to ask: resumed
    // here, it would take every conflict as cancelled.
    quint64 copied = 0;
    quint64 verified = 0;
    switch (state) {
    case S::Preparing:
        task->m_state = S::PendingPreparation;
        break;
    case S::PendingProcessing:
        copied = progress;
        break;
    case S::Processing:
        copied = progress;
        task->m_resumesWhenQueued = true;
        break;
    case S::PendingVerification:
        copied = total;
        verified = progress;
        break;
    case S::Verifying:
        copied = total;
        verified = progress;
        task->m_resumesWhenQueued = true;
        break;
    case S::Cancelling:
        task->m_resumesWhenQueued = true;
        break;
    case S::Suspended:
    case S::Failed:
    case S::Cancelled:
        // Only for the bar, which would otherwise say nothing was done: the
        // next run analyses anew.
        copied = std::min(progress, total);
        break;
    default:
        break;
    }
    task->storeRare(&Rare::bytesCopied, copied, quint64(0));
    task->storeRare(&Rare::bytesVerified, verified, quint64(0));
    task->settleFigures();
    return task;
}

ZKCopyTask::ZKCopyTask(ZKReaderPtr source, ZKWriterPtr destination) {
    // The texts follow whatever they are made of: the setters of those parts
    // refresh them (a connection per task would cost memory in big queues).
    // A new task's texts are made when first read, not posted for now: a
    // long queue shows a few rows, and its tasks are made in one go.
    m_refreshPending = true;
    setSource(std::move(source));
    setDestination(std::move(destination));
    settleFigures();
    m_refreshPending = false;
}

ZKCopyTask::~ZKCopyTask() {
    // A step waiting for an answer would keep the waits below from ending.
    const ZKTaskQuestions::Refusal refusal(this);
    pause();
    // Nothing queued may outlive the members it uses.
    if (Rare *kept = rareIfAny()) {
        kept->operationQueue.cancelAllOperations();
        kept->operationQueue.waitUntilAllOperationsAreFinished();
        delete kept;
    }
}

ZKCopyTask::Rare &ZKCopyTask::rare() const {
    return madeOnFirstNeed(m_rare);
}

template <class T> bool ZKCopyTask::storeRare(std::atomic<T> Rare::*field, T value, T resting) {
    Rare *kept = rareIfAny();
    if (!kept) {
        if (value == resting) {
            return false;
        }
        kept = &rare();
    }
    return (kept->*field).exchange(value) != value;
}

template <class T> T ZKCopyTask::rareValue(std::atomic<T> Rare::*field, T resting) const {
    const Rare *kept = rareIfAny();
    return kept ? (kept->*field).load() : resting;
}

quint64 ZKCopyTask::bytesCopied() const {
    return rareValue(&Rare::bytesCopied, quint64(0));
}

quint64 ZKCopyTask::bytesVerified() const {
    return rareValue(&Rare::bytesVerified, quint64(0));
}

double ZKCopyTask::percentCompleted() const {
    return rareValue(&Rare::percentCompleted, 0.0);
}

double ZKCopyTask::percentRemaining() const {
    return rareValue(&Rare::percentRemaining, 1.0);
}

double ZKCopyTask::timeRemaining() const {
    return rareValue(&Rare::timeRemaining, 0.0);
}

void ZKCopyTask::forgetStepReport() {
    if (Rare *kept = rareIfAny()) {
        kept->filesDoneThisRun = 0;
        kept->currentFile.clear();
    }
}

void ZKCopyTask::stopSteps() {
    if (Rare *kept = rareIfAny()) {
        kept->operationQueue.cancelAllOperations();
    }
}

QVariantMap ZKCopyTask::asPropertyList() const {
    const Rare *kept = rareIfAny();
    const auto urls = [kept](QSet<QUrl> Rare::*set) {
        return ZKPropertyListParser::formatUrls(kept ? kept->*set : QSet<QUrl>());
    };
    std::lock_guard locker(m_lock);
    QVariantMap plist{
        {typeKey, QStringLiteral("CopyTask")},
        {kSource, m_source ? m_source->asPropertyList() : QVariantMap()},
        {kDestination, m_destination ? m_destination->asPropertyList() : QVariantMap()},
        {kIsVerifyEnabled, m_isVerifyEnabled.load()},
        {kIsVerifiedOk, m_isVerifiedOk.load()},
        {kTransferMode, ZKTransferMode::convertToString(m_transferMode.load())},
        {kSkippedUrls, urls(&Rare::skippedUrls)},
        {kReplacedUrls, urls(&Rare::replacedUrls)},
        {kState, ZKTaskStates::convertToString(m_state.load())},
        {kProgressBytes, m_progressBytes.load()},
        {kTotalBytes, m_totalBytes.load()},
        {kDataRate, m_dataRate.load()},
        {kMaximumTransferRate, m_maximumTransferRate.load()},
        {kErrorMessage, kept && kept->error ? kept->error->localizedDescription() : QString()},
    };
    if (m_hasPreExistingUrls) {
        plist.insert(kPreExistingUrls, urls(&Rare::preExistingUrls));
    }
    if (kept && !kept->notes.isEmpty()) {
        plist.insert(kNotes, kept->notes);
    }
    return plist;
}

bool ZKCopyTask::isEqual(const ZKCopyTask &other) const {
    const auto a = source();
    const auto b = other.source();
    const auto c = destination();
    const auto d = other.destination();
    return a && b && c && d && a->isEqual(*b) && c->isEqual(*d);
}

// ---- steps

void ZKCopyTask::start() {
    // On the main thread, where its state changes: started from a worker,
    // the step's setters would each wait for the main thread in turn.
    onMain([this] { startStep(); });
}

void ZKCopyTask::startStep() {
    switch (state()) {
    case S::PendingPreparation:
        prepare();
        break;
    case S::PendingProcessing:
        process();
        break;
    case S::PendingVerification:
        verify();
        break;
    case S::PendingRemoval:
        remove();
        break;
    default:
        qCInfo(lcEngine, "Tried to start in the wrong state (%u).", unsigned(state()));
        break;
    }
    refresh();
}

void ZKCopyTask::configure(ZKFileOperation &operation) const {
    operation.setMaximumTransferRate(m_maximumTransferRate.load());
    operation.setMinimumTimeBetweenNotifications(minimumTimeBetweenNotifications());
    operation.setSkippedFilePatterns(ZKPreferences::skippedFilePatterns());
    operation.setTemporaryFilePatterns(ZKPreferences::temporaryFilePatterns());
    std::lock_guard locker(m_lock);
    if (const Rare *kept = rareIfAny()) {
        operation.setSkippedUrls(kept->skippedUrls);
        operation.setReplacedUrls(kept->replacedUrls);
    }
    // A task of a queue paces with the queue's other tasks; one on its own
    // makes its pace when it first runs.
    if (!m_shared || !m_shared->throttle) {
        share([](Shared &shared) { shared.throttle = std::make_shared<ZKTransferThrottle>(); });
    }
    operation.setThrottle(m_shared->throttle);
}

void ZKCopyTask::prepare() {
    setState(S::Preparing);
    auto operation = std::make_shared<ZKAnalyseCopyOperation>(source(), destination());
    configure(*operation);
    {
        std::lock_guard locker(m_lock);
        if (m_shared && m_shared->questions) {
            // The operation ends before the task does: its destructor waits
            // for it.
            auto handler = [this, questions = *m_shared->questions](auto method) {
                return [this, questions, method](const ZKFileInfo &item) {
                    return (questions.*method)(item, *this);
                };
            };
            operation->setUnreadableFileHandler(
                handler(&ZKTaskQuestions::showUnreadableAlertForFile));
            operation->setUnwritableFileHandler(
                handler(&ZKTaskQuestions::showUnwritableAlertForFile));
            operation->setPreExistingFileHandler(
                handler(&ZKTaskQuestions::showPreExistingAlertForFile));
            operation->setPreExistingDestinationHandler(
                handler(&ZKTaskQuestions::showPreExistingDestinationAlertForFile));
        }
        const Rare *kept = rareIfAny();
        operation->setPreExistingUrls(kept ? kept->preExistingUrls : QSet<QUrl>(),
                                      m_hasPreExistingUrls);
    }
    operation->setSymbolicLinkHandling(
        qint32(ZKUserDefaults::standard().integerForKey(ZKPreferences::symbolicLinkAction)));
    runOperation(operation, S::Preparing, [this](ZKFileOperation &op) { endPrepare(op); });
}

std::shared_ptr<ZKCopyOperation> ZKCopyTask::makeCopyOperation(quint64 offset) const {
    auto operation = std::make_shared<ZKCopyOperation>(source(), destination(), offset);
    configure(*operation);
    auto &defaults = ZKUserDefaults::standard();
    operation->setCopyCreationTime(defaults.boolForKey(ZKPreferences::copyCreationTime));
    operation->setCopyModificationTime(defaults.boolForKey(ZKPreferences::copyModificationTime));
    operation->setCopyPermissions(defaults.boolForKey(ZKPreferences::copyPermissions));
    operation->setCopyOwnership(defaults.boolForKey(ZKPreferences::copyOwnership));
    operation->setSymbolicLinkHandling(
        qint32(defaults.integerForKey(ZKPreferences::symbolicLinkAction)));
    // A verified copy takes its real name once the verification passed.
    operation->setGivesRealNames(!isVerifyEnabled());
    return operation;
}

std::shared_ptr<ZKVerifyFileOperation> ZKCopyTask::makeVerifyOperation() const {
    auto operation =
        std::make_shared<ZKVerifyFileOperation>(source(), destination(), bytesVerified());
    configure(*operation);
    operation->setSymbolicLinkHandling(
        qint32(ZKUserDefaults::standard().integerForKey(ZKPreferences::symbolicLinkAction)));
    return operation;
}

void ZKCopyTask::resumeInterruptedStep() {
    if (!std::exchange(m_resumesWhenQueued, false)) {
        return;
    }
    switch (state()) {
    case S::Processing:
        process();
        break;
    case S::Verifying:
        verify();
        break;
    case S::Cancelling:
        cancel();
        break;
    default:
        break;
    }
}

void ZKCopyTask::process() {
    setState(S::Processing);
    runOperation(makeCopyOperation(bytesCopied()), S::Processing,
                 [this](ZKFileOperation &op) { endProcess(op); });
}

void ZKCopyTask::verify() {
    setState(S::Verifying);
    runOperation(makeVerifyOperation(), S::Verifying,
                 [this](ZKFileOperation &op) { endVerify(op); });
}

void ZKCopyTask::remove() {
    setState(S::Removing);
    auto operation = std::make_shared<ZKRemoveSourceOperation>(source(), destination());
    configure(*operation);
    operation->setPreExistingUrls(preExistingUrls(), isVerifiedOk());
    runOperation(operation, S::Removing, [this](ZKFileOperation &op) { endRemove(op); });
}

void ZKCopyTask::runOperation(const std::shared_ptr<ZKFileOperation> &operation,
                              ZKTaskState runningState,
                              std::function<void(ZKFileOperation &)> endHandler) {
    ZKFileOperation *raw = operation.get();
    Rare &work = rare();
    {
        std::lock_guard locker(m_lock);
        forgetStepReport();
        keepSourceName();
    }
    if (runningState == S::Processing || runningState == S::Verifying) {
        // Progress is taken from the operation's counters at each report,
        // in one visit to the main thread with the report itself.
        operation->setActivityHandler([this, raw, runningState](const ZKOperationActivity &report) {
            const quint64 bytes = runningState == S::Processing
                                      ? static_cast<ZKCopyOperation *>(raw)->bytesCopied()
                                      : static_cast<ZKVerifyFileOperation *>(raw)->bytesVerified();
            ZKMainQueue::async(
                [this, bytes, runningState, report, guard = QPointer<ZKCopyTask>(this)] {
                    if (guard && state() == runningState) {
                        takeActivity(runningState, bytes, report);
                    }
                });
        });
    }
    // The visit holds its operations until its end handlers have run; each
    // operation holds the visit only until its completion has run.
    auto visit = std::make_shared<std::vector<Step>>();
    visit->push_back({operation, runningState, std::move(endHandler), nullptr});
    operation->setCompletionBlock([this, visit] { endStepOnWorker(visit); });
    {
        std::lock_guard locker(work.completionLock);
        work.operationStarted = true;
    }
    {
        std::lock_guard locker(m_lock);
        work.currentOperation = operation;
    }
    work.operationQueue.addOperation(operation);
}

void ZKCopyTask::endStepOnWorker(const Visit &visit) {
    // A small local file's next step costs less than the two hand-overs
    // between the threads that a rest in between takes: when the queue would
    // start it at once anyway, it follows here, and the main thread hears of
    // both steps in one visit.
    if (auto next = followingStep(visit)) {
        const auto previous = visit->back().operation;
        const auto operation = next->operation;
        visit->push_back(std::move(*next));
        operation->setCompletionBlock([this, visit] { endStepOnWorker(visit); });
        Rare &work = rare();
        {
            std::lock_guard locker(m_lock);
            work.currentOperation = operation;
        }
        work.operationQueue.addOperation(operation);
        // A pause that cancelled the step before the next one was queued
        // cancels that one too; one after it finds it queued.
        if (previous->isCancelled()) {
            operation->cancel();
        }
        return;
    }
    {
        std::lock_guard locker(m_lock);
        rare().currentOperation.reset();
    }
    // The worker does not wait for the main thread: the steps count as
    // running until their end handlers have run there, which is what those
    // who wait for them wait for. The figures are brought up to date in the
    // same visit, since each visit costs the main thread a wake-up and the
    // worker two switches, most of a small file's time. A task let go
    // meanwhile (one whose state no longer said it was running waits only
    // for its operation queue, done by now) is left alone.
    auto end = [this, guard = QPointer<ZKCopyTask>(this), visit] {
        if (guard) {
            endVisit(visit);
        }
    };
    if (QCoreApplication::instance()) {
        ZKMainQueue::async(std::move(end));
    } else {
        end(); // no main thread to hand it to
    }
}

std::optional<ZKCopyTask::Step> ZKCopyTask::followingStep(const Visit &visit) {
    // About what a local disk moves in the time of a hand-over to the main
    // thread and back; a larger file shows its progress in its own step.
    constexpr quint64 smallFileLimit = 1024 * 1024;
    const Step &last = visit->back();
    ZKFileOperation &done = *last.operation;
    StepsMayFollow mayFollow;
    {
        std::lock_guard locker(m_lock);
        mayFollow = m_shared ? m_shared->stepsMayFollow : nullptr;
    }
    // A speed limit paces a step that the queue's pause must reach.
    if (!mayFollow || done.isCancelled() || done.error() || m_maximumTransferRate.load() != 0 ||
        !done.source() || !done.source()->isLocal() || !done.destination() ||
        !done.destination()->isLocal()) {
        return std::nullopt;
    }
    Step next;
    switch (last.runningState) {
    case S::Preparing: {
        const auto &analysis = static_cast<const ZKAnalyseCopyOperation &>(done);
        const quint64 total = analysis.totalBytes();
        const quint64 already = analysis.bytesAlreadyCopied();
        // Only where endPrepare() rests in PendingProcessing.
        if (analysis.isDirectory() || total > smallFileLimit ||
            analysis.mutableSkippedUrls().contains(
                ZKFileOperation::standardizedUrl(done.source()->url())) ||
            (total != 0 && total == already && !analysis.hasUnfinishedFiles()) ||
            !(*mayFollow)(*this)) {
            return std::nullopt;
        }
        auto operation = makeCopyOperation(already);
        operation->setSkippedUrls(analysis.mutableSkippedUrls());
        operation->setReplacedUrls(analysis.mutableReplacedUrls());
        next.operation = operation;
        next.runningState = S::Processing;
        next.endHandler = [this](ZKFileOperation &op) {
            endProcess(op);
        };
        break;
    }
    case S::Processing: {
        // Only where endProcess() rests in PendingVerification.
        if (!isVerifyEnabled() || !(*mayFollow)(*this)) {
            return std::nullopt;
        }
        auto operation = makeVerifyOperation();
        operation->setSkippedUrls(done.skippedUrls());
        operation->setReplacedUrls(done.replacedUrls());
        next.operation = operation;
        next.runningState = S::Verifying;
        next.endHandler = [this](ZKFileOperation &op) {
            endVerify(op);
        };
        break;
    }
    default:
        return std::nullopt;
    }
    // Its reports wait for its running state, which the main thread sets
    // when it hears of the step.
    next.heldActivity = std::make_shared<ZKOperationActivity>();
    next.operation->setActivityHandler([held = next.heldActivity](const ZKOperationActivity &r) {
        held->bytes += r.bytes;
        held->totalBytes = r.totalBytes;
        held->timePassed += r.timePassed;
        held->totalTimePassed = r.totalTimePassed;
        held->currentFile = r.currentFile;
        held->filesDone = r.filesDone;
    });
    return next;
}

void ZKCopyTask::endVisit(const Visit &visit) {
    refreshSourceName();
    for (size_t i = 0; i < visit->size(); ++i) {
        const Step &step = (*visit)[i];
        ZKFileOperation &operation = *step.operation;
        if (i > 0) {
            // The step followed without a rest: the task shows the resting
            // state and the running state it passed through, in order. An
            // end handler that did not rest where the step began (a
            // cancellation, a failure) has the last word.
            const ZKTaskState resting =
                step.runningState == S::Processing ? S::PendingProcessing : S::PendingVerification;
            if (state() != resting) {
                break;
            }
            // A step cancelled by a pause leaves the task resting as it is.
            if (!operation.isCancelled()) {
                {
                    std::lock_guard locker(m_lock);
                    forgetStepReport();
                }
                setState(step.runningState);
                if (step.heldActivity && step.heldActivity->bytes != 0) {
                    const quint64 bytes =
                        step.runningState == S::Processing
                            ? static_cast<ZKCopyOperation &>(operation).bytesCopied()
                            : static_cast<ZKVerifyFileOperation &>(operation).bytesVerified();
                    takeActivity(step.runningState, bytes, *step.heldActivity);
                }
            }
        }
        if (step.runningState == S::Processing) {
            // A later run passes over the files this one finished.
            std::lock_guard locker(m_lock);
            Rare &work = rare();
            work.filesAlreadyDone += work.filesDoneThisRun;
            work.filesDoneThisRun = 0;
        }
        step.endHandler(operation);
    }
    refreshNow();
    signalOperationFinished();
}

bool ZKCopyTask::endsByCancellation(ZKFileOperation &operation, ZKTaskState restingState) {
    const auto s = state();
    if (s == S::Cancelling || s == S::Cancelled) {
        return true; // cancellation owns the state now
    }
    if (operation.isCancelled()) {
        setState(restingState);
        return true;
    }
    if (operation.error()) {
        fail(operation.error());
        return true;
    }
    return false;
}

void ZKCopyTask::fail(const ZKOptionalError &error) {
    {
        std::lock_guard locker(m_lock);
        rare().error = error ? std::make_unique<const ZKError>(*error) : nullptr;
    }
    if (totalBytes() == 0) {
        setProgressBytes(0);
        setTotalBytes(1);
    }
    setState(S::Failed);
}

void ZKCopyTask::endPrepare(ZKFileOperation &op) {
    if (endsByCancellation(op, S::PendingPreparation)) {
        return;
    }
    auto &operation = static_cast<ZKAnalyseCopyOperation &>(op);
    const quint64 already = operation.bytesAlreadyCopied();
    const quint64 total = operation.totalBytes();
    Rare &kept = rare();
    kept.bytesCopied = already;
    {
        std::lock_guard locker(m_lock);
        kept.filesTotal = operation.fileCount();
        kept.filesAlreadyDone = operation.filesAlreadyCopied();
    }
    setSkippedUrls(operation.mutableSkippedUrls());
    setReplacedUrls(operation.mutableReplacedUrls());
    {
        std::lock_guard locker(m_lock);
        m_hasPreExistingUrls = true;
        kept.preExistingUrls = operation.preExistingUrls();
        kept.notes = operation.notes();
    }
    Q_EMIT notesChanged();
    if (operation.mutableSkippedUrls().contains(
            ZKFileOperation::standardizedUrl(source()->url()))) {
        // The user chose to leave the item where something of its name
        // stands: nothing is copied, and nothing is removed either.
        setProgressBytes(0);
        setTotalBytes(0);
        setState(S::Completed);
        return;
    }
    if (total != 0 && total == already && !operation.hasUnfinishedFiles()) {
        setTotalBytes(total);
        if (isVerifyEnabled()) {
            setProgressBytes(0);
            setState(S::PendingVerification);
        } else {
            setProgressBytes(already);
            setState(transferMode() == ZKTransferMode::Move ? S::PendingRemoval : S::Completed);
        }
        return;
    }
    setProgressBytes(already);
    setTotalBytes(total);
    setState(S::PendingProcessing);
}

void ZKCopyTask::endProcess(ZKFileOperation &op) {
    // Unfinished files it wrote anew are its own from now on, to be
    // continued after a pause.
    setReplacedUrls(op.replacedUrls());
    if (endsByCancellation(op, S::PendingProcessing)) {
        return;
    }
    const quint64 copied = static_cast<ZKCopyOperation &>(op).bytesCopied();
    rare().bytesCopied = copied;
    setProgressBytes(copied);
    if (isVerifyEnabled()) {
        setProgressBytes(0);
        setState(S::PendingVerification);
    } else {
        setState(transferMode() == ZKTransferMode::Move ? S::PendingRemoval : S::Completed);
    }
}

void ZKCopyTask::endVerify(ZKFileOperation &op) {
    if (endsByCancellation(op, S::PendingVerification)) {
        return;
    }
    const quint64 verified = static_cast<ZKVerifyFileOperation &>(op).bytesVerified();
    rare().bytesVerified = verified;
    setProgressBytes(verified);
    setIsVerifiedOk(true);
    setState(transferMode() == ZKTransferMode::Move ? S::PendingRemoval : S::Completed);
}

void ZKCopyTask::endRemove(ZKFileOperation &op) {
    if (endsByCancellation(op, S::PendingRemoval)) {
        return;
    }
    setState(S::Completed);
}

// ---- commands

void ZKCopyTask::cancelAndWait() {
    // The wait may be the main thread's, which shows the questions: a step
    // waiting for an answer gets Cancel instead, once it is cancelled, so
    // that it rests instead of failing on that answer.
    stopSteps();
    const ZKTaskQuestions::Refusal refusal(this);
    waitUntilAllOperationsAreFinished();
}

void ZKCopyTask::pause() {
    const auto s = state();
    if (s == S::Preparing || s == S::Processing || s == S::Verifying || s == S::Removing) {
        cancelAndWait();
        refresh();
    }
}

void ZKCopyTask::cancel() {
    const ZKTaskState previous = state();
    setState(S::Cancelling);
    cancelAndWait();
    // The look at the partial file, the question and the removal run on the
    // task's worker, in line with its other operations, so no endpoint is
    // ever used by two threads. The state is settled by the completion,
    // which runs even when something cancels this operation too.
    auto operation = std::make_shared<ZKBlockOperation>([this, previous] {
        if (!isPartialCopy(previous)) {
            return;
        }
        const auto dest = destination();
        const QString partName = ZKPartialFile::nameFor(filename());
        const QString path = QDir(dest->description()).filePath(partName);
        ZKQuestion question;
        question.message = tr("Do you want to delete the partially copied file '%1'?").arg(path);
        question.buttons = {tr("Delete"), tr("Keep")};
        // Over the task's own window; unanswered, the file is kept.
        const bool deletePartial = ZKTaskQuestions(this).ask(question, *this).button == 0;
        if (deletePartial && dest->open()) {
            dest->removeFile(partName);
            dest->close();
        }
    });
    operation->setCompletionBlock([this] {
        onMain([this] { setState(S::Cancelled); });
        refresh();
    });
    {
        std::lock_guard locker(m_lock);
        keepSourceName();
    }
    rare().operationQueue.addOperation(operation);
    refresh();
}

bool ZKCopyTask::isPartialCopy(ZKTaskState previousState) {
    if (previousState == S::PendingPreparation || previousState == S::Completed ||
        bytesCopied() == 0) {
        return false;
    }
    const auto src = source();
    const auto dest = destination();
    if (!src || !dest || src->error() || dest->error()) {
        return false;
    }
    const auto destReader = dest->asReader();
    if (!destReader) {
        return false;
    }
    // Only the unfinished file of a single file: a folder's unfinished
    // files are continued or written anew by its next copy.
    const auto child = destReader->childWithName(ZKPartialFile::nameFor(filename()));
    const bool opened = child->open() && src->open();
    const bool partial = opened && !child->error() && !src->error() && child->exists() &&
                         !child->isDirectory() && !child->isLink() && !src->isDirectory();
    child->close();
    src->close();
    return partial;
}

void ZKCopyTask::reset() {
    const auto s = state();
    if (s == S::Completed || s == S::Suspended) {
        return;
    }
    startOver();
}

void ZKCopyTask::suspend() {
    if (state() >= S::Completed) {
        return;
    }
    pause();
    onMain([this] { setState(S::Suspended); });
}

void ZKCopyTask::resume() {
    if (state() != S::Suspended) {
        return;
    }
    startOver();
}

void ZKCopyTask::forgetAnalysis() {
    // The old source's partial copy may stand where the new one goes, with
    // the same name and size: taken for this task's own work, it would be
    // kept as a finished copy of something else. Forgotten, it is asked about.
    cancelAndWait();
    {
        std::lock_guard locker(m_lock);
        m_hasPreExistingUrls = false;
        if (Rare *kept = rareIfAny()) {
            kept->preExistingUrls.clear();
        }
    }
    setSkippedUrls({});
    setReplacedUrls({});
    setUnreadableFileResponse(ZKFileResponseCancel);
    setUnwritableFileResponse(ZKFileResponseCancel);
    setPreExistingFileResponse(ZKFileResponseCancel);
    startOver(state() == S::Suspended ? S::Suspended : S::PendingPreparation);
}

void ZKCopyTask::startOver(ZKTaskState restingState) {
    cancelAndWait();
    storeRare(&Rare::bytesCopied, quint64(0), quint64(0));
    storeRare(&Rare::bytesVerified, quint64(0), quint64(0));
    onMain([this, restingState] {
        setProgressBytes(0);
        setTotalBytes(0);
        setState(restingState);
    });
}

void ZKCopyTask::revealSource() {
    if (const auto src = source()) {
        ZKFileBrowser::reveal(src->url());
    }
}

void ZKCopyTask::revealDestination() {
    const auto dest = destination();
    if (!dest) {
        return;
    }
    const QUrl folder = dest->url();
    const QString child = QDir(folder.toLocalFile()).filePath(filename());
    ZKFileBrowser::reveal(
        folder.isLocalFile() && QFileInfo::exists(child) ? QUrl::fromLocalFile(child) : folder);
}

// ---- completion handshake

void ZKCopyTask::waitUntilAllOperationsAreFinished() {
    Rare *work = rareIfAny();
    if (!work) {
        return; // nothing ever ran
    }
    work->operationQueue.waitUntilAllOperationsAreFinished();
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + seconds(10);
    const bool onMainThread = ZKMainQueue::isMainThread();
    std::unique_lock locker(work->completionLock);
    while (work->operationStarted && steady_clock::now() < deadline) {
        if (onMainThread) {
            // The completion callback sets the state through the main
            // thread; serve it while waiting.
            work->completionCondition.wait_for(locker, milliseconds(5));
            locker.unlock();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
            locker.lock();
        } else {
            work->completionCondition.wait_until(locker, deadline);
        }
    }
}

void ZKCopyTask::signalOperationFinished() {
    Rare &work = rare();
    std::lock_guard locker(work.completionLock);
    work.operationStarted = false;
    work.completionCondition.notify_all();
}

// ---- derived figures

void ZKCopyTask::refresh() {
    // One pass reads every value as it is when it runs, so a pass already on
    // its way covers this call too.
    if (m_refreshPending.exchange(true)) {
        return;
    }
    ZKMainQueue::async([guard = QPointer<ZKCopyTask>(this)] {
        if (guard) {
            guard->refreshNow();
        }
    });
}

void ZKCopyTask::refreshNow() {
    m_refreshPending = false;
    settleFigures();
    bool textsPending = false;
    {
        // Texts nobody has read yet are made when first read; one being
        // made for a reader meanwhile is made again from what is now.
        std::lock_guard locker(m_lock);
        textsPending = m_textsPending.load();
        if (Rare *kept = rareIfAny(); kept && textsPending) {
            ++kept->textsGeneration;
        }
    }
    if (!textsPending) {
        refreshDescription();
        refreshDetail();
    }
    announceProgressChanged(progress());
}

void ZKCopyTask::settleFigures() {
    refreshIsIndeterminate();
    refreshTimeRemaining();
    refreshPercentCompleted();
}

void ZKCopyTask::makePendingTexts() const {
    if (!m_textsPending.load()) {
        return;
    }
    // Made before the generation is read: a refresh meanwhile counts.
    Rare &kept = rare();
    while (m_textsPending.load()) {
        const quint64 generation = locked(m_lock, kept.textsGeneration);
        QString description = describedText();
        QString detail = detailText();
        std::lock_guard locker(m_lock);
        if (m_textsPending.load() && kept.textsGeneration == generation) {
            kept.description = std::move(description);
            kept.detail = std::move(detail);
            m_textsPending = false;
        }
    }
}

void ZKCopyTask::refreshIsIndeterminate() {
    const auto s = state();
    bool indeterminate = false;
    if (s != S::Completed && s != S::Failed) {
        indeterminate = totalBytes() == 0 || s == S::PendingPreparation || s == S::Preparing ||
                        s == S::Removing || s == S::Cancelling;
    }
    setIsIndeterminate(indeterminate);
}

quint64 ZKCopyTask::remainingWorkBytes() const {
    const auto s = state();
    const quint64 total = totalBytes();
    if ((s >= S::Removing && s <= S::Cancelled) || total == 0) {
        return 0;
    }
    const quint64 work = isVerifyEnabled() ? 2 * total : total;
    const quint64 done = isVerifyEnabled() ? bytesCopied() + bytesVerified() : progressBytes();
    return done >= work ? 0 : work - done;
}

void ZKCopyTask::refreshTimeRemaining() {
    const double rate = dataRate();
    setTimeRemaining(rate >= 0.1 ? double(remainingWorkBytes()) / rate : 0);
}

void ZKCopyTask::refreshPercentCompleted() {
    const double total = double(totalBytes());
    double completed = 0;
    if (total != 0) {
        completed = isVerifyEnabled()
                        ? (double(bytesCopied()) + double(bytesVerified())) / (2 * total)
                        : double(bytesCopied()) / total;
    }
    completed = std::clamp(completed, 0.0, 1.0);
    setPercentCompleted(completed);
    setPercentRemaining(1 - completed);
}

void ZKCopyTask::refreshDescription() {
    const QString text = describedText();
    {
        Rare &kept = rare();
        std::lock_guard locker(m_lock);
        if (text == kept.description) {
            return;
        }
        kept.description = text;
    }
    Q_EMIT descriptionChanged();
}

QString ZKCopyTask::describedText() const {
    enum Table { Copy, Move, Download };
    const Table table = transferMode() == ZKTransferMode::Move ? Move
                        : !m_sourceIsLocal                     ? Download
                                                               : Copy;
    static const char *const texts[3][4] = {
        {QT_TR_NOOP("Copy \"%1\" to \"%2\""), QT_TR_NOOP("Copying \"%1\" to \"%2\""),
         QT_TR_NOOP("Copied \"%1\" to \"%2\"")},
        {QT_TR_NOOP("Move \"%1\" to \"%2\""), QT_TR_NOOP("Moving \"%1\" to \"%2\""),
         QT_TR_NOOP("Moved \"%1\" to \"%2\"")},
        {QT_TR_NOOP("Download \"%1\" to \"%2\""), QT_TR_NOOP("Downloading \"%1\" to \"%2\""),
         QT_TR_NOOP("Downloaded \"%1\" to \"%2\"")},
    };
    QString text;
    switch (state()) {
    case S::Processing:
        text = tr(texts[table][1]).arg(filename(), destinationDirectory());
        break;
    case S::PendingVerification:
        text = tr("Verify \"%1\"").arg(filename());
        break;
    case S::Verifying:
        text = tr("Verifying \"%1\"").arg(filename());
        break;
    case S::Completed:
        text = tr(texts[table][2]).arg(filename(), destinationDirectory());
        break;
    default:
        text = tr(texts[table][0]).arg(filename(), destinationDirectory());
        break;
    }
    return text;
}

void ZKCopyTask::refreshDetail() {
    setDetail(detailText());
}

QString ZKCopyTask::detailText() const {
    const ZKTaskProgress now = progress();
    const quint64 total = now.totalBytes;
    const auto s = state();
    // A file that changed while it was copied can make the count run past
    // the total measured before; more done than there is would be nonsense.
    // A finished task did it all, whatever an earlier run had counted.
    const quint64 done = total == 0          ? now.progressBytes
                         : s == S::Completed ? total
                                             : std::min(now.progressBytes, total);
    const QString size = total == 0 ? ZKByteCountFormatter::formatFileSize(done)
                                    : tr("%1 of %2")
                                          .arg(ZKByteCountFormatter::formatFileSize(done),
                                               ZKByteCountFormatter::formatFileSize(total));
    QString detail;
    switch (s) {
    case S::PendingPreparation:
        detail = tr("Waiting");
        break;
    case S::Preparing:
        detail = tr("Analysing...");
        break;
    case S::Removing:
        detail = tr("Removing...");
        break;
    case S::Completed:
        detail = tr("%1 - done").arg(size);
        break;
    case S::Failed: {
        const auto e = error();
        detail = tr("Failed: %1").arg(e ? e->localizedDescription() : QString());
        break;
    }
    case S::Cancelling:
        detail = tr("Cancelling...");
        break;
    case S::Cancelled:
        detail = tr("Cancelled");
        break;
    case S::Processing:
    case S::Verifying: {
        // A running row says what moves, how fast and for how long yet; a
        // resting one only how far it got.
        QStringList parts;
        if (now.filesTotal > 1) {
            const QString files = tr("%1 of %n files", nullptr, int(now.filesTotal))
                                      .arg(QLocale().toString(qint64(now.filesDone)));
            parts << (now.currentFile.isEmpty()
                          ? files
                          : QStringLiteral("%1 (%2)").arg(now.currentFile, files));
        }
        parts << size;
        if (now.dataRate > 0) {
            parts << ZKByteCountFormatter::formatDataRate(quint64(now.dataRate));
        }
        if (now.timeRemaining > 0.01 && std::isfinite(now.timeRemaining)) {
            parts << ZKTimeFormatter::formatTime(now.timeRemaining);
        }
        detail = parts.join(QStringLiteral(" - "));
        break;
    }
    default:
        detail = size;
        break;
    }
    return detail;
}

// ---- properties

void ZKCopyTask::onMain(const std::function<void()> &fn) {
    ZKMainQueue::sync(fn);
}

void ZKCopyTask::setState(ZKTaskState state) {
    onMain([&] {
        if (store(m_state, state)) {
            Rare *kept = rareIfAny();
            if (kept && state != S::Processing && state != S::Verifying) {
                kept->ownRate.reset(); // a rate is of a step that runs
                kept->ownBytesPerSecond = 0;
            }
            announceStateChanged(state);
            refresh();
        }
    });
}

void ZKCopyTask::takeActivity(ZKTaskState runningState, quint64 bytes,
                              const ZKOperationActivity &report) {
    Rare &work = rare();
    (runningState == S::Processing ? work.bytesCopied : work.bytesVerified) = bytes;
    if (!work.ownRate) {
        work.ownRate = std::make_unique<ZKDataRateCalculator>();
    }
    work.ownRate->addActivity(report.bytes, report.timePassed);
    work.ownBytesPerSecond = work.ownRate->bytesPerSecond();
    {
        std::lock_guard locker(m_lock);
        work.currentFile = report.currentFile;
        work.filesDoneThisRun = report.filesDone;
    }
    announceActivity(report.bytes, report.timePassed);
    setProgressBytes(bytes);
    refresh();
}

ZKTaskProgress ZKCopyTask::progress() const {
    ZKTaskProgress p;
    p.progressBytes = progressBytes();
    p.totalBytes = totalBytes();
    p.remainingWorkBytes = remainingWorkBytes();
    p.fraction = percentCompleted();
    p.isIndeterminate = isIndeterminate();
    const auto s = state();
    if (s == S::Processing || s == S::Verifying) {
        p.dataRate = rareValue(&Rare::ownBytesPerSecond, 0.0);
        const double rate = p.dataRate >= 0.1 ? p.dataRate : dataRate();
        p.timeRemaining = rate >= 0.1 ? double(p.remainingWorkBytes) / rate : 0;
    }
    const Rare *work = rareIfAny();
    if (!work) {
        return p;
    }
    std::lock_guard locker(m_lock);
    if (work->filesTotal > 1) {
        p.filesTotal = work->filesTotal;
        // Verifying walks every file again.
        const quint64 doneThisRun = work->filesDoneThisRun;
        p.filesDone =
            std::min(work->filesTotal,
                     s == S::Verifying ? doneThisRun : work->filesAlreadyDone + doneThisRun);
        if (s == S::Processing || s == S::Verifying) {
            p.currentFile = work->currentFile;
        }
    }
    return p;
}

ZKReaderPtr ZKCopyTask::source() const {
    return locked(m_lock, m_source);
}

void ZKCopyTask::setSource(ZKReaderPtr source) {
    {
        std::lock_guard locker(m_lock);
        m_source = std::move(source);
        // Found when first asked: it takes a look at the file, and a queue of
        // thousands of tasks shows only a few rows. No step has had the new
        // reader yet, so its name is its own.
        if (Rare *kept = rareIfAny()) {
            kept->sourceIcon.reset();
            kept->sourceName.reset();
        }
        m_sourceIsLocal = !m_source || m_source->isLocal();
    }
    onMain([this] {
        Q_EMIT sourceChanged();
        Q_EMIT filenameChanged();
        Q_EMIT iconChanged();
        Q_EMIT isResumableChanged();
    });
    refresh();
}

// A web server names its file only in its answer (Content-Disposition), and
// whether it can resume is known only then; the row and the partial-file
// clean-up must use what the reader learned.
void ZKCopyTask::refreshSourceName() {
    bool changed = false;
    {
        Rare &kept = rare();
        std::lock_guard locker(m_lock);
        const QString name = m_source ? m_source->filename() : QString();
        if (kept.sourceName != name) {
            kept.sourceName = name;
            changed = true;
        }
    }
    onMain([this, changed] {
        if (changed) {
            Q_EMIT filenameChanged();
        }
        Q_EMIT isResumableChanged();
    });
}

ZKWriterPtr ZKCopyTask::destination() const {
    return locked(m_lock, m_destination);
}

void ZKCopyTask::setDestination(ZKWriterPtr destination) {
    {
        std::lock_guard locker(m_lock);
        m_destination = std::move(destination);
        m_destinationFilename = m_destination ? m_destination->filename() : QString();
    }
    onMain([this] {
        Q_EMIT destinationChanged();
        Q_EMIT destinationDirectoryChanged();
    });
    refresh();
}

void ZKCopyTask::setTransferMode(qint32 mode) {
    onMain([&] {
        if (store(m_transferMode, mode)) {
            Q_EMIT transferModeChanged();
            refresh();
        }
    });
}

QString ZKCopyTask::icon() const {
    Rare &kept = rare();
    std::lock_guard locker(m_lock);
    if (!kept.sourceIcon) {
        kept.sourceIcon = m_source ? m_source->icon() : QString();
    }
    return *kept.sourceIcon;
}

QString ZKCopyTask::filename() const {
    std::lock_guard locker(m_lock);
    const Rare *kept = rareIfAny();
    if (kept && kept->sourceName) {
        return *kept->sourceName;
    }
    return m_source ? m_source->filename() : QString();
}

void ZKCopyTask::keepSourceName() {
    Rare &kept = rare();
    if (!kept.sourceName) {
        kept.sourceName = m_source ? m_source->filename() : QString();
    }
}

QString ZKCopyTask::destinationDirectory() const {
    return locked(m_lock, m_destinationFilename);
}

QString ZKCopyTask::description() const {
    makePendingTexts();
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->description) : QString();
}

QString ZKCopyTask::detail() const {
    makePendingTexts();
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->detail) : QString();
}

void ZKCopyTask::setDetail(const QString &detail) {
    onMain([&] {
        {
            Rare &kept = rare();
            std::lock_guard locker(m_lock);
            if (kept.detail == detail) {
                return;
            }
            kept.detail = detail;
        }
        Q_EMIT detailChanged();
    });
}

#define ZK_ATOMIC_SETTER(Setter, Type, field, signal, after)                                       \
    void ZKCopyTask::Setter(Type value) {                                                          \
        onMain([&] {                                                                               \
            if (store(field, value)) {                                                             \
                Q_EMIT signal();                                                                   \
                after;                                                                             \
            }                                                                                      \
        });                                                                                        \
    }

// What the queue sums goes to it at once.
#define ZK_FOLLOWED_SETTER(Setter, Type, field, signal)                                            \
    void ZKCopyTask::Setter(Type value) {                                                          \
        onMain([&] {                                                                               \
            if (store(field, value)) {                                                             \
                Q_EMIT signal();                                                                   \
                announceProgressChanged(progress());                                               \
            }                                                                                      \
        });                                                                                        \
    }

// Of a started task only; a waiting one answers its resting value.
#define ZK_RARE_SETTER(Setter, Type, field, resting, signal)                                       \
    void ZKCopyTask::Setter(Type value) {                                                          \
        onMain([&] {                                                                               \
            if (storeRare(&Rare::field, value, Type(resting))) {                                   \
                Q_EMIT signal();                                                                   \
            }                                                                                      \
        });                                                                                        \
    }

ZK_FOLLOWED_SETTER(setTotalBytes, quint64, m_totalBytes, totalBytesChanged)
ZK_FOLLOWED_SETTER(setProgressBytes, quint64, m_progressBytes, progressBytesChanged)
ZK_FOLLOWED_SETTER(setIsVerifyEnabled, bool, m_isVerifyEnabled, isVerifyEnabledChanged)
ZK_ATOMIC_SETTER(setIsIndeterminate, bool, m_isIndeterminate, isIndeterminateChanged, )
ZK_RARE_SETTER(setPercentCompleted, double, percentCompleted, 0.0, percentCompletedChanged)
ZK_RARE_SETTER(setPercentRemaining, double, percentRemaining, 1.0, percentRemainingChanged)
ZK_ATOMIC_SETTER(setDataRate, double, m_dataRate, dataRateChanged, refresh())
ZK_RARE_SETTER(setTimeRemaining, double, timeRemaining, 0.0, timeRemainingChanged)
ZK_ATOMIC_SETTER(setIsVerifiedOk, bool, m_isVerifiedOk, isVerifiedOkChanged, )
ZK_ATOMIC_SETTER(setUnreadableFileResponse, qint32, m_unreadableFileResponse, responsesChanged, )
ZK_ATOMIC_SETTER(setUnwritableFileResponse, qint32, m_unwritableFileResponse, responsesChanged, )
ZK_ATOMIC_SETTER(setPreExistingFileResponse, qint32, m_preExistingFileResponse, responsesChanged, )

#undef ZK_RARE_SETTER
#undef ZK_FOLLOWED_SETTER
#undef ZK_ATOMIC_SETTER

void ZKCopyTask::setMaximumTransferRate(quint64 bytesPerSecond) {
    // A limit changed while a step runs takes effect within that step.
    {
        std::lock_guard locker(m_lock);
        const Rare *work = rareIfAny();
        if (work && work->currentOperation) {
            work->currentOperation->setMaximumTransferRate(bytesPerSecond);
        }
    }
    onMain([&] {
        if (store(m_maximumTransferRate, bytesPerSecond)) {
            Q_EMIT maximumTransferRateChanged();
        }
    });
}

bool ZKCopyTask::isResumable() const {
    const auto src = source();
    return src && src->canSeek();
}

QSet<QUrl> ZKCopyTask::skippedUrls() const {
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->skippedUrls) : QSet<QUrl>();
}

void ZKCopyTask::setSkippedUrls(const QSet<QUrl> &urls) {
    {
        Rare *kept = urls.isEmpty() ? rareIfAny() : &rare();
        std::lock_guard locker(m_lock);
        if (kept) {
            kept->skippedUrls = urls;
        }
    }
    onMain([this] { Q_EMIT skippedUrlsChanged(); });
}

QStringList ZKCopyTask::notes() const {
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->notes) : QStringList();
}

void ZKCopyTask::setThrottle(std::shared_ptr<ZKTransferThrottle> throttle) {
    std::lock_guard locker(m_lock);
    share([&throttle](Shared &shared) { shared.throttle = std::move(throttle); });
}

void ZKCopyTask::setStepsMayFollow(StepsMayFollow mayFollow) {
    std::lock_guard locker(m_lock);
    share([&mayFollow](Shared &shared) { shared.stepsMayFollow = std::move(mayFollow); });
}

QSet<QUrl> ZKCopyTask::preExistingUrls() const {
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->preExistingUrls) : QSet<QUrl>();
}

QSet<QUrl> ZKCopyTask::replacedUrls() const {
    const Rare *kept = rareIfAny();
    return kept ? locked(m_lock, kept->replacedUrls) : QSet<QUrl>();
}

void ZKCopyTask::setReplacedUrls(const QSet<QUrl> &urls) {
    {
        Rare *kept = urls.isEmpty() ? rareIfAny() : &rare();
        std::lock_guard locker(m_lock);
        if (kept) {
            kept->replacedUrls = urls;
        }
    }
    onMain([this] { Q_EMIT replacedUrlsChanged(); });
}

void ZKCopyTask::setQuestions(const ZKTaskQuestions &questions) {
    std::lock_guard locker(m_lock);
    share([&questions](Shared &shared) { shared.questions = questions; });
}

void ZKCopyTask::share(const std::function<void(Shared &)> &change) const {
    Shared wanted = m_shared ? *m_shared : Shared();
    change(wanted);
    // The parts in use; a queue's tasks are given the same things one after
    // the other, so there are a few for each open queue.
    static std::mutex lock;
    static std::vector<std::weak_ptr<const Shared>> made;
    std::lock_guard locker(lock);
    std::erase_if(made, [](const std::weak_ptr<const Shared> &part) { return part.expired(); });
    for (const std::weak_ptr<const Shared> &part : made) {
        const auto existing = part.lock();
        if (existing && existing->throttle == wanted.throttle &&
            existing->questions == wanted.questions &&
            existing->stepsMayFollow == wanted.stepsMayFollow) {
            m_shared = existing;
            return;
        }
    }
    auto fresh = std::make_shared<const Shared>(std::move(wanted));
    made.push_back(fresh);
    m_shared = std::move(fresh);
}

ZKOptionalError ZKCopyTask::error() const {
    const Rare *kept = rareIfAny();
    if (!kept) {
        return std::nullopt;
    }
    std::lock_guard locker(m_lock);
    return kept->error ? ZKOptionalError(*kept->error) : std::nullopt;
}

double ZKCopyTask::minimumTimeBetweenNotifications() const {
    const Rare *kept = rareIfAny();
    return kept ? kept->minimumTimeBetweenNotifications : 1.0;
}

void ZKCopyTask::setMinimumTimeBetweenNotifications(double seconds) {
    rare().minimumTimeBetweenNotifications = seconds;
}

namespace {

const ZKPropertyListRegistration savedForm{QStringLiteral("CopyTask"), [](const QVariantMap &dict) {
                                               return ZKCopyTask::create(dict);
                                           }};

} // namespace
