// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class QSocketNotifier;
class ZKFerrowickDocument;

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
    bool m_interrupted = false;
};
