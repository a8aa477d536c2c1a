// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressPrinter.h"

#include "ZKFerrowickDocument.h"
#include "ZKTaskListModel.h"

#include <algorithm>
#include <cmath>

#include <sys/ioctl.h>

ZKProgressPrinter::ZKProgressPrinter(ZKFerrowickDocument &document, FILE *out, bool live)
    : m_document(document)
    , m_out(out)
    , m_live(live) {
    m_timer.setInterval(live ? 200 : 500);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_live ? redraw() : printChanges(); });
    if (live) {
        return;
    }
    const ZKTaskListModel &model = document.taskListModel();
    connect(&model, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex &top, const QModelIndex &bottom) {
                noteRows(top.row(), bottom.row());
            });
    connect(&model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { noteRows(first, last); });
    connect(&model, &QAbstractItemModel::modelReset, this, &ZKProgressPrinter::lookAgain);
    lookAgain();
}

void ZKProgressPrinter::noteRows(int first, int last) {
    const ZKTaskListModel &model = m_document.taskListModel();
    for (int row = first; row <= last; ++row) {
        if (const ZKTaskPtr task = model.taskAt(row)) {
            m_changed.insert(task.get());
        }
    }
}

void ZKProgressPrinter::lookAgain() {
    noteRows(0, m_document.taskListModel().rowCount() - 1);
}

void ZKProgressPrinter::setAttempts(std::function<int(const ZKTask &)> attemptOf, int maximum) {
    m_attemptOf = std::move(attemptOf);
    m_maximumAttempts = maximum;
}

QString ZKProgressPrinter::attemptsText(const ZKTask &task) const {
    const int attempt = m_attemptOf ? m_attemptOf(task) : 1;
    return attempt > 1 ? tr("(attempt %1 of %2)").arg(attempt).arg(m_maximumAttempts) : QString();
}

void ZKProgressPrinter::start() {
    m_timer.start();
}

QString ZKProgressPrinter::bar(double fraction, int width) {
    if (!std::isfinite(fraction)) {
        fraction = 0;
    }
    const int filled = int(std::clamp(fraction, 0.0, 1.0) * width + 0.5);
    return QStringLiteral("[%1%2]").arg(QString(filled, QLatin1Char('#')),
                                        QString(width - filled, QLatin1Char('.')));
}

QString ZKProgressPrinter::lineForRow(const QModelIndex &row, int width, const QString &attempts) {
    using M = ZKTaskListModel;
    QString line =
        QStringLiteral("%1 %2  %3")
            .arg(bar(row.data(M::FractionRole).toDouble(), 20),
                 row.data(M::FilenameRole).toString(), row.data(M::DetailRole).toString());
    if (!attempts.isEmpty()) {
        line += QStringLiteral("  ") + attempts;
    }
    if (width > 0 && line.size() > width) {
        line = line.left(width - 1) + QChar(0x2026);
    }
    return line;
}

int ZKProgressPrinter::terminalRows() const {
    struct winsize size {};
    if (::ioctl(::fileno(m_out), TIOCGWINSZ, &size) == 0 && size.ws_row > 0) {
        return size.ws_row;
    }
    return 24;
}

void ZKProgressPrinter::redraw() {
    const ZKTaskListModel &model = m_document.taskListModel();
    const int count = model.rowCount();
    // A drawing taller than the terminal could not be gone back over: a
    // long queue shows as many tasks as fit, from the first one still going,
    // and says how many it leaves out.
    const int room = std::max(terminalRows() - 2, 2);
    int first = 0;
    int shown = count;
    if (count > room) {
        shown = room - 1;
        while (first < count && hasEnded(*model.taskAt(first))) {
            ++first;
        }
        first = std::min(first, count - shown);
    }
    QString text;
    // Back to the first line of the previous drawing, then over it.
    if (m_linesDrawn > 0) {
        text += QStringLiteral("\x1b[%1F").arg(m_linesDrawn);
    }
    for (int i = first; i < first + shown; ++i) {
        const QModelIndex row = model.index(i);
        text += QStringLiteral("\x1b[2K") + lineForRow(row, 120, attemptsText(*model.taskAt(i))) +
                QLatin1Char('\n');
    }
    if (shown < count) {
        text += QStringLiteral("\x1b[2K") + tr("%n more tasks not shown", nullptr, count - shown) +
                QLatin1Char('\n');
    }
    text += QStringLiteral("\x1b[2K") + summary() + QLatin1Char('\n');
    m_linesDrawn = shown + (shown < count ? 1 : 0) + 1;
    std::fputs(text.toLocal8Bit().constData(), m_out);
    std::fflush(m_out);
}

bool ZKProgressPrinter::hasEnded(const ZKTask &task) {
    using S = ZKTaskState;
    const S state = task.state();
    return state == S::Completed || state == S::Failed || state == S::Cancelled ||
           state == S::Suspended;
}

QString ZKProgressPrinter::summary() const {
    const QString data = m_document.dataDescription();
    return data.isEmpty() ? m_document.description()
                          : QStringLiteral("%1 - %2").arg(m_document.description(), data);
}

void ZKProgressPrinter::printChanges() {
    using M = ZKTaskListModel;
    const ZKTaskListModel &model = m_document.taskListModel();
    // A task taken out since it changed has no row, and no line.
    QList<int> rows;
    rows.reserve(m_changed.size());
    for (const ZKTask *task : std::as_const(m_changed)) {
        if (const int row = model.rowOfTask(task); row >= 0) {
            rows.append(row);
        }
    }
    m_changed.clear();
    std::sort(rows.begin(), rows.end());
    for (const int i : std::as_const(rows)) {
        const QModelIndex row = model.index(i);
        const ZKTaskPtr task = model.taskAt(i);
        const QString title = row.data(M::TitleRole).toString();
        QString line = QStringLiteral("%1: %2").arg(title, row.data(M::DetailRole).toString());
        const QString attempts = attemptsText(*task);
        if (!attempts.isEmpty()) {
            line += QLatin1Char(' ') + attempts;
        }
        // Running states change their detail constantly; a plain log shows
        // each step once.
        const QString key = row.data(M::StateNameRole).toString() + title + attempts;
        if (m_lastPrinted.value(task.get()) != key) {
            m_lastPrinted.insert(task.get(), key);
            std::fprintf(m_out, "%s\n", line.toLocal8Bit().constData());
            std::fflush(m_out);
        }
    }
}

void ZKProgressPrinter::finish() {
    m_timer.stop();
    if (m_live) {
        redraw();
    } else {
        printChanges();
        std::fprintf(m_out, "%s\n", summary().toLocal8Bit().constData());
    }
    std::fflush(m_out);
    // What was left out is said once, after the progress lines, where it is
    // not drawn over.
    for (const auto &task : m_document.taskQueue().tasks()) {
        for (const QString &note : task->notes()) {
            std::fprintf(stderr, "%s\n", tr("Skipped: %1").arg(note).toLocal8Bit().constData());
        }
    }
}
