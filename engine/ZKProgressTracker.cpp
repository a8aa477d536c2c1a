// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressTracker.h"


ZKProgressTracker::ZKProgressTracker(QObject *parent)
    : QObject(parent) {}

void ZKProgressTracker::setItem(const QObject *item, quint64 progressBytes, quint64 totalBytes) {
    if (progressBytes == totalBytes && !m_includeCompletedItems) {
        clearItem(item);
        return;
    }
    const quint64 oldProgressBytes = m_progressBytes;
    const quint64 oldTotalBytes = m_totalBytes;
    const double oldProgress = m_progress;

    // Adjusting by the differences keeps an update cheap however many items
    // there are; unsigned wrap-around makes a shrinking count come out right.
    ZKProgressData &record = m_items[item];
    m_progressBytes = m_progressBytes - record.progressBytes + progressBytes;
    m_totalBytes = m_totalBytes - record.totalBytes + totalBytes;
    record.progressBytes = progressBytes;
    record.totalBytes = totalBytes;

    recalculateProgress();
    publish(oldProgressBytes, oldTotalBytes, oldProgress);
}

void ZKProgressTracker::clearItem(const QObject *item) {
    const auto found = m_items.constFind(item);
    if (found == m_items.cend())
        return;
    const quint64 oldProgressBytes = m_progressBytes;
    const quint64 oldTotalBytes = m_totalBytes;
    const double oldProgress = m_progress;

    m_progressBytes -= found->progressBytes;
    m_totalBytes -= found->totalBytes;
    m_items.erase(found);

    recalculateProgress();
    publish(oldProgressBytes, oldTotalBytes, oldProgress);
}

void ZKProgressTracker::recalculateProgress() {
    m_progress = m_totalBytes == 0
                     ? 0.0
                     : static_cast<double>(m_progressBytes) / static_cast<double>(m_totalBytes);
}

void ZKProgressTracker::publish(quint64 oldProgressBytes, quint64 oldTotalBytes,
                                double oldProgress) {
    if (m_progressBytes != oldProgressBytes)
        Q_EMIT progressBytesChanged();
    if (m_totalBytes != oldTotalBytes)
        Q_EMIT totalBytesChanged();
    if (m_progress != oldProgress)
        Q_EMIT progressChanged();
}
