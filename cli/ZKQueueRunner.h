// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

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

    // Runs the event loop until every task has ended; answers the exit
    // status: 0 when every task completed, 1 otherwise.
    int exec();

    bool isFinished() const;
    int exitStatus() const;

private:
    void save();
    void check();
    void interrupt();

    ZKFerrowickDocument &m_document;
    QString m_queueFile;
    QTimer m_timer;
    QSocketNotifier *m_signalNotifier = nullptr;
    // Removals interrupted by an earlier run are not run again; they count
    // as ended, not completed.
    QSet<const ZKTask *> m_interruptedRemovals;
    bool m_interrupted = false;
};
