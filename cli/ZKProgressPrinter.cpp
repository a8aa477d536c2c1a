// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressPrinter.h"

#include "ZKByteCountFormatter.h"
#include "ZKFerrowickDocument.h"
#include "ZKTaskState.h"

#include <cmath>

ZKProgressPrinter::ZKProgressPrinter(ZKFerrowickDocument &document, FILE *out, bool live)
    : m_document(document)
    , m_out(out)
    , m_live(live) {
    m_timer.setInterval(live ? 200 : 500);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_live ? redraw() : printChanges(); });
}

void ZKProgressPrinter::setAttempts(std::function<int(const ZKTask &)> attemptOf, int maximum) {
    m_attemptOf = std::move(attemptOf);
    m_maximumAttempts = maximum;
}

QString ZKProgressPrinter::attemptsText(const ZKTask &task) const {
    const int attempt = m_attemptOf ? m_attemptOf(task) : 1;
    return attempt > 1 ? QStringLiteral("(attempt %1 of %2)").arg(attempt).arg(m_maximumAttempts)
                       : QString();
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

QString ZKProgressPrinter::lineForTask(const ZKTask &task, int width, const QString &attempts) {
    QString line = QStringLiteral("%1 %2  %3")
                       .arg(bar(task.percentCompleted(), 20), task.filename(), task.detail());
    if (!attempts.isEmpty()) {
        line += QStringLiteral("  ") + attempts;
    }
    const auto state = task.state();
    if ((state == ZKTaskState::Processing || state == ZKTaskState::Verifying) &&
        task.dataRate() > 0) {
        line += QStringLiteral("  (%1)").arg(
            ZKByteCountFormatter::formatDataRate(quint64(task.dataRate())));
    }
    if (width > 0 && line.size() > width) {
        line = line.left(width - 1) + QChar(0x2026);
    }
    return line;
}

void ZKProgressPrinter::redraw() {
    const QList<ZKTaskPtr> tasks = m_document.taskQueue().tasks();
    QString text;
    // Back to the first line of the previous drawing, then over it.
    if (m_linesDrawn > 0) {
        text += QStringLiteral("\x1b[%1F").arg(m_linesDrawn);
    }
    for (const auto &task : tasks) {
        text += QStringLiteral("\x1b[2K") + lineForTask(*task, 120, attemptsText(*task)) +
                QLatin1Char('\n');
    }
    text += QStringLiteral("\x1b[2K") + m_document.description() + QLatin1Char('\n');
    m_linesDrawn = int(tasks.size()) + 1;
    std::fputs(text.toLocal8Bit().constData(), m_out);
    std::fflush(m_out);
}

void ZKProgressPrinter::printChanges() {
    for (const auto &task : m_document.taskQueue().tasks()) {
        QString line = QStringLiteral("%1: %2").arg(task->description(), task->detail());
        const QString attempts = attemptsText(*task);
        if (!attempts.isEmpty()) {
            line += QLatin1Char(' ') + attempts;
        }
        const auto state = task->state();
        // Running states change their detail constantly; a plain log shows
        // each step once.
        const QString key = ZKTaskState::convertToString(state) + task->description() + attempts;
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
        std::fprintf(m_out, "%s\n", m_document.description().toLocal8Bit().constData());
    }
    std::fflush(m_out);
    // What was left out is said once, after the progress lines, where it is
    // not drawn over.
    for (const auto &task : m_document.taskQueue().tasks()) {
        for (const QString &note : task->notes()) {
            std::fprintf(stderr, "Skipped: %s\n", note.toLocal8Bit().constData());
        }
    }
}
