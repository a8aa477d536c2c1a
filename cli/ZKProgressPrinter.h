// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <cstdio>
#include <functional>

class QModelIndex;
class ZKFerrowickDocument;
class ZKTask;

// Shows a queue on the terminal: one live line per task (bar, sizes, rate,
// time left) redrawn in place when the output is a terminal, plain lines on
// every change of state otherwise.
class ZKProgressPrinter : public QObject {
    Q_OBJECT

public:
    ZKProgressPrinter(ZKFerrowickDocument &document, FILE *out, bool live);

    // What a task's line says of its attempts, once it is past its first:
    // "(attempt 2 of 4)".
    void setAttempts(std::function<int(const ZKTask &)> attemptOf, int maximum);

    void start();
    // Every task is looked at again on the next print: what a line says of
    // its attempts changed, and no row of the list did.
    void lookAgain();
    // Draws the final lines and the summary.
    void finish();

    static QString bar(double fraction, int width);
    // One task's line, from its row of the queue's task list.
    static QString lineForRow(const QModelIndex &row, int width, const QString &attempts = {});

private:
    void redraw();
    // Lines of the terminal the live drawing goes to.
    int terminalRows() const;
    static bool hasEnded(const ZKTask &task);
    void printChanges();
    void noteRows(int first, int last);
    // The queue's line: tasks done and failed, the time, bytes and rate.
    QString summary() const;
    QString attemptsText(const ZKTask &task) const;

    ZKFerrowickDocument &m_document;
    FILE *m_out;
    bool m_live;
    int m_linesDrawn = 0;
    QTimer m_timer;
    QHash<const ZKTask *, QString> m_lastPrinted;
    // Tasks whose rows changed since the last print: a long queue is not
    // read whole twice a second.
    QSet<const ZKTask *> m_changed;
    std::function<int(const ZKTask &)> m_attemptOf;
    int m_maximumAttempts = 1;
};
