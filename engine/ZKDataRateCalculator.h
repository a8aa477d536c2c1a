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
    quint32 m_numberOfSamples = 10;
    double m_bytesPerSecond = 0.0;
};
