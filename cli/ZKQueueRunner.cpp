// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueRunner.h"

#include "ZKFerrowickDocument.h"
#include "ZKTaskState.h"
#include "ZKTimeFormatter.h"

#include <QElapsedTimer>

#include <QCoreApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

using S = ZKTaskState;

namespace {
int signalPipe[2] = {-1, -1};

QString shownDestination(const ZKTask &task) {
    const auto destination = task.destination();
    if (!destination) {
        return task.destinationDirectory();
    }
    const QUrl url = destination->url();
    return url.isLocalFile() ? url.toLocalFile() : url.toDisplayString(QUrl::RemovePassword);
}

void onSignal(int) {
    const char byte = 1;
    // Nothing else is safe in a signal handler; the event loop does the rest.
    [[maybe_unused]] auto written = ::write(signalPipe[1], &byte, 1);
}
} // namespace

ZKQueueRunner::ZKQueueRunner(ZKFerrowickDocument &document, QString queueFile)
    : m_document(document)
    , m_queueFile(std::move(queueFile)) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) == 0) {
        m_signalNotifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
        connect(m_signalNotifier, &QSocketNotifier::activated, this, [this] {
            char byte;
            [[maybe_unused]] auto count = ::read(signalPipe[0], &byte, 1);
            interrupt();
        });
        struct sigaction action = {};
        action.sa_handler = onSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
    }
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        QElapsedTimer clock;
        clock.start();
        save();
        // A long queue takes a while to write, and the main thread does
        // nothing else meanwhile: saving may take a tenth of the time at
        // most. What is copied after a save is found whole by the next run.
        m_timer.setInterval(int(std::max<qint64>(1000, 10 * clock.elapsed())));
        check();
    });
}

ZKQueueRunner::~ZKQueueRunner() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (signalPipe[0] >= 0) {
        ::close(signalPipe[0]);
        ::close(signalPipe[1]);
        signalPipe[0] = signalPipe[1] = -1;
    }
}

void ZKQueueRunner::takeUpSavedWork(ZKFerrowickDocument &document) {
    for (const auto &task : document.taskQueue().tasks()) {
        if (task->state() == S::Removing) {
            task->setState(S::PendingRemoval);
        }
    }
    document.retryFailedTasks();
}

void ZKQueueRunner::setRetries(int retries, std::optional<double> delay, bool announce) {
    m_retries = std::max(retries, 0);
    m_announcesRetries = announce;
    m_document.setRetryDelay(delay);
    m_document.setAutoRetryItems(m_retries > 0);
}

int ZKQueueRunner::attemptOf(const ZKTask &task) const {
    const int failures = m_failures.value(&task);
    return task.state() == S::Failed ? std::max(failures, 1) : failures + 1;
}

void ZKQueueRunner::queueCompleted() {
    if (m_retries == 0) {
        return;
    }
    int failed = 0;
    int round = 0;
    for (const auto &task : m_document.taskQueue().tasks()) {
        if (task->state() == S::Failed) {
            ++failed;
            round = std::max(round, ++m_failures[task.get()]);
        }
    }
    if (failed == 0) {
        return;
    }
    Q_EMIT attemptsCounted();
    if (round > m_retries) {
        m_document.setAutoRetryItems(false); // the last attempt is spent
        return;
    }
    if (!m_announcesRetries) {
        return; // the queue's own line counts down
    }
    const QString line =
        failed == 1 ? tr("Retrying 1 failed task in %1 (attempt %2 of %3)")
                    : tr("Retrying %n failed tasks in %1 (attempt %2 of %3)", nullptr, failed);
    std::printf("%s\n", qPrintable(line.arg(ZKTimeFormatter::formatTime(m_document.retryDelay()))
                                       .arg(round + 1)
                                       .arg(maximumAttempts())));
    std::fflush(stdout);
}

bool ZKQueueRunner::isFinished() const {
    if (m_document.retryTimer().isRunning()) {
        return false;
    }
    // Between the countdown's end and the tasks' reset, failed tasks with
    // attempts left are still failed: the queue is not over yet.
    const bool retrying = m_retries > 0 && m_document.autoRetryItems();
    const ZKTaskQueue &queue = m_document.taskQueue();
    const qsizetype count = queue.count();
    // Asked ten times a second: a long queue is not walked whole, nor
    // copied, while one of its tasks is still going.
    for (qsizetype looked = 0; looked < count; ++looked) {
        const qsizetype index = (m_unendedHint + looked) % count;
        const ZKTaskPtr task = queue.taskAtIndex(index);
        const auto state = task ? task->state() : S::Completed;
        const bool ended = state == S::Completed || (state == S::Failed && !retrying) ||
                           state == S::Cancelled || state == S::Suspended;
        if (!ended) {
            m_unendedHint = index;
            return false;
        }
    }
    return true;
}

int ZKQueueRunner::exitStatus() const {
    if (m_interrupted) {
        return 1;
    }
    for (const auto &task : m_document.taskQueue().tasks()) {
        if (task->state() != S::Completed) {
            return 1;
        }
    }
    return 0;
}

void ZKQueueRunner::save() {
    if (m_queueFile.isEmpty()) {
        return;
    }
    ZKError error;
    if (!m_document.writeToFile(m_queueFile, &error)) {
        std::fprintf(stderr, "ferrowick-cli: %s\n", qPrintable(error.localizedDescription()));
    }
}

void ZKQueueRunner::check() {
    if (isFinished()) {
        QCoreApplication::exit(exitStatus());
    }
}

void ZKQueueRunner::interrupt() {
    if (m_interrupted) {
        return;
    }
    m_interrupted = true;
    if (!m_queueFile.isEmpty()) {
        std::fprintf(stderr, "\nferrowick-cli: %s\n",
                     qPrintable(tr("interrupted; saving the queue.")));
    }
    // Paused tasks rest at a point from which the next run continues.
    QList<ZKTask *> removing;
    for (const auto &task : m_document.taskQueue().tasks()) {
        if (task->state() == S::Removing) {
            removing.append(task.get());
        }
        task->pause();
    }
    if (m_queueFile.isEmpty()) {
        tellWhatIsLeft(removing);
    }
    save();
    QCoreApplication::exit(exitStatus());
}

// Without a queue file nothing of the run is kept but what it wrote: say
// where that is, and that the sources are still there.
void ZKQueueRunner::tellWhatIsLeft(const QList<ZKTask *> &removing) const {
    QStringList destinations;
    int unfinished = 0;
    for (const auto &task : m_document.taskQueue().tasks()) {
        if (task->state() == S::Completed) {
            continue;
        }
        ++unfinished;
        if (const QString folder = shownDestination(*task); !destinations.contains(folder)) {
            destinations.append(folder);
        }
    }
    std::fprintf(stderr, "\nferrowick-cli: %s\n", qPrintable(tr("interrupted.")));
    if (unfinished == 0) {
        return;
    }
    const QString where = destinations.join(QStringLiteral(", "));
    std::fprintf(stderr, "ferrowick-cli: %s\n",
                 qPrintable(unfinished == 1
                                ? tr("1 task did not finish, and no queue file keeps it (see "
                                     "--save). What it copied so far stays in %1; its source "
                                     "stays where it is.")
                                      .arg(where)
                                : tr("%1 tasks did not finish, and no queue file keeps them "
                                     "(see --save). What they copied so far stays in %2; their "
                                     "sources stay where they are.")
                                      .arg(QString::number(unfinished), where)));
    for (const ZKTask *task : removing) {
        std::fprintf(stderr, "ferrowick-cli: %s\n",
                     qPrintable(tr("The source of \u201c%1\u201d was being removed: what is "
                                   "left of it stays, and all of it is in %2.")
                                    .arg(task->filename(), shownDestination(*task))));
    }
}

int ZKQueueRunner::exec() {
    // At once, not at the first tick: a run killed within its first second
    // would otherwise leave no queue file to resume from.
    save();
    m_timer.start();
    // The usual end is taken at once, after the document has dealt with it;
    // the tick catches the others (cancelled or suspended tasks).
    connect(&m_document, &ZKFerrowickDocument::queueCompleted, this,
            &ZKQueueRunner::queueCompleted);
    connect(&m_document, &ZKFerrowickDocument::queueCompleted, this, &ZKQueueRunner::check,
            Qt::QueuedConnection);
    QTimer poll;
    poll.setInterval(100);
    connect(&poll, &QTimer::timeout, this, [this] {
        if (isFinished()) {
            check();
        }
    });
    poll.start();
    const int status = QCoreApplication::exec();
    m_timer.stop();
    save();
    return status;
}
