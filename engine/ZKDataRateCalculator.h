// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QObject>

// One smoothed overall transfer rate from the stream of activity samples of
// all tasks. Used on the main thread.
class ZKDataRateCalculator : public QObject {
    Q_OBJECT
    Q_PROPERTY(double bytesPerSecond READ bytesPerSecond WRITE setBytesPerSecond NOTIFY
                   bytesPerSecondChanged)
    Q_PROPERTY(quint32 numberOfSamples READ numberOfSamples WRITE setNumberOfSamples)

public:
    explicit ZKDataRateCalculator(QObject *parent = nullptr);

    // Samples too small to measure (no bytes, under a millisecond, under one
    // byte per second) are ignored rather than dragging the average to zero.
    void addSampleOfBytes(quint64 bytes, double timePassed);
    // A step's report of activity. Reports come at uneven intervals (one at
    // the end of every file), and bytes pass in bursts under a speed limit:
    // the rate of a short report reads far above the real one. Reports are
    // gathered into samples of at least minimumSampleSpan seconds.
    void addActivity(quint64 bytes, double timePassed);
    static constexpr double minimumSampleSpan = 0.5;
    void reset();

    // The length of the averaging span. At least 1: a span of 0 would leave
    // nothing to average.
    quint32 numberOfSamples() const { return m_numberOfSamples; }
    void setNumberOfSamples(quint32 count);

    // Rates, oldest first.
    const QList<double> &samples() const { return m_samples; }

    double bytesPerSecond() const { return m_bytesPerSecond; }
    // Also used to restore a saved rate; anything that is not a finite,
    // non-negative rate is taken as 0 so that later samples can replace it.
    void setBytesPerSecond(double bytesPerSecond);

Q_SIGNALS:
    void bytesPerSecondChanged();

private:
    QList<double> m_samples;
    quint64 m_gatheredBytes = 0;
    double m_gatheredTime = 0;
    quint32 m_numberOfSamples = 10;
    double m_bytesPerSecond = 0.0;
};
