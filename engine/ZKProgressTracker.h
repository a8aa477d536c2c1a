// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKProgressData.h"

#include <QHash>
#include <QObject>

// Sums the byte counts of many items (the open queues, for the dock tile)
// into one pair and a fraction. Items are known by identity only
// and never dereferenced; whoever enters an item clears it. Used on the main
// thread.
class ZKProgressTracker : public QObject {
    Q_OBJECT
    Q_PROPERTY(quint64 progressBytes READ progressBytes NOTIFY progressBytesChanged)
    Q_PROPERTY(quint64 totalBytes READ totalBytes NOTIFY totalBytesChanged)
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(bool includeCompletedItems READ includeCompletedItems WRITE setIncludeCompletedItems)

public:
    explicit ZKProgressTracker(QObject *parent = nullptr);

    // With includeCompletedItems off, an item whose progress reaches its
    // total is cleared instead.
    void setItem(const QObject *item, quint64 progressBytes, quint64 totalBytes);
    void clearItem(const QObject *item);
    void recalculateProgress();

    bool includeCompletedItems() const { return m_includeCompletedItems; }
    void setIncludeCompletedItems(bool include) { m_includeCompletedItems = include; }

    const QHash<const QObject *, ZKProgressData> &items() const { return m_items; }
    quint64 progressBytes() const { return m_progressBytes; }
    quint64 totalBytes() const { return m_totalBytes; }
    // A fraction from 0.0, not a percentage.
    double progress() const { return m_progress; }

Q_SIGNALS:
    void progressBytesChanged();
    void totalBytesChanged();
    void progressChanged();

private:
    // Signals go out only once all three results agree again.
    void publish(quint64 oldProgressBytes, quint64 oldTotalBytes, double oldProgress);

    QHash<const QObject *, ZKProgressData> m_items;
    bool m_includeCompletedItems = true;
    quint64 m_progressBytes = 0;
    quint64 m_totalBytes = 0;
    double m_progress = 0.0;
};
