// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKTaskQueue.h"

#include <QList>
#include <QSet>
#include <QStringList>
#include <QUrl>

class ZKFerrowickDocument;

// The open queues of this process, and the one check that keeps a transfer
// out of them twice: two tasks with the same source and destination would
// write the same files at the same time, each taking the other's half-written
// files for its own partial copies. Main thread only.
class ZKTaskRegistry {
public:
    // A queue enters itself when it is made and leaves as it closes.
    static QSet<ZKFerrowickDocument *> &openQueues();

    // One transfer about to join a queue.
    struct Candidate {
        ZKReaderPtr source;
        ZKWriterPtr destination;
        // The task itself, when it exists already: it never stands in its
        // own way, as when it changes queues.
        const ZKTask *task = nullptr;
    };

    // For each candidate, in order, why it may not join a queue; empty where
    // it may. A candidate is refused while a task with an equal source and an
    // equal destination has not ended in an open queue, or when an earlier
    // candidate of the list is the same transfer. A task that has ended
    // itself takes no room and is never refused.
    // Equal endpoints are of one class at one standardized address.
    static QStringList refusals(const QList<Candidate> &candidates);
    static QStringList refusalsForTasks(const QList<ZKTaskPtr> &tasks);
    static QStringList refusalsForSources(const QList<ZKReaderPtr> &sources,
                                          const ZKWriterPtr &destination);

    // Completed, failed or cancelled: a task that writes nothing any more
    // unless it is started over.
    static bool hasEnded(ZKTaskState state);
    // One spelling per place: a cleaned local path; an address without its
    // password, fragment, default port, "." and ".." segments or trailing
    // slash.
    static QUrl standardizedUrl(const QUrl &url);
};
