// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>

#include <optional>

class QSocketNotifier;
class ZKFerrowickDocument;
class ZKTask;

// Runs a queue to its end from the terminal. When it has a queue file it
// saves the progress there as it goes (at most once a second, atomically)
// and once more when it is interrupted, so that running the file again
// resumes every task where it stopped.
class ZKQueueRunner : public QObject {
    Q_OBJECT

public:
    ZKQueueRunner(ZKFerrowickDocument &document, QString queueFile);
    ~ZKQueueRunner() override;

    // Readies a queue loaded from a file before it runs: a removal of
    // sources that was cut short goes back to wait for its step, which
    // checks every source against its copy again and removes only what
    // passes, and tasks saved as Failed are tried once more.
    static void takeUpSavedWork(ZKFerrowickDocument &document);

    // Gives the tasks that fail up to `retries` more attempts, through the
    // queue's automatic retry, each after `delay` seconds (by default the
    // window's preference); for this run only, nothing is saved of it. With
    // announce, each retry is told in a line of its own (for output that is
    // not redrawn in place).
    void setRetries(int retries, std::optional<double> delay, bool announce);
    int maximumAttempts() const { return m_retries + 1; }
    // The attempt a task is at, or took last when it failed for good.
    int attemptOf(const ZKTask &task) const;

    // Runs the event loop until every task has ended; answers the exit
    // status: 0 when every task completed, 1 otherwise.
    int exec();

    bool isFinished() const;
    int exitStatus() const;

Q_SIGNALS:
    // The failures of a round were counted: what attemptOf() answers for
    // the failed tasks changed, with no change of theirs to tell it.
    void attemptsCounted();

private:
    void save();
    void check();
    void interrupt();
    void tellWhatIsLeft(const QList<ZKTask *> &removing) const;
    void queueCompleted();

    ZKFerrowickDocument &m_document;
    // Where the last look found a task not yet ended: tasks end in order,
    // so the next look mostly starts at one that is still going.
    mutable qsizetype m_unendedHint = 0;
    QString m_queueFile;
    QTimer m_timer;
    QSocketNotifier *m_signalNotifier = nullptr;
    bool m_interrupted = false;
    int m_retries = 0;
    bool m_announcesRetries = false;
    // Every failed task has failed in each round since the first, since a
    // round retries them all: its attempts are the rounds that failed.
    QHash<const ZKTask *, int> m_failures;
};
