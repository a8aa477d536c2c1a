// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDataRateCalculator.h"

#include "ZKLogging.h"

#include <cmath>

ZKDataRateCalculator::ZKDataRateCalculator(QObject *parent)
    : QObject(parent) {
    m_samples.reserve(m_numberOfSamples);
}

void ZKDataRateCalculator::addSampleOfBytes(quint64 bytes, double timePassed) {
    // Written as negations so that a NaN time is ignored too.
    if (bytes == 0 || !(timePassed >= 0.001))
        return;
    const double rate = static_cast<double>(bytes) / timePassed;
    if (!(rate >= 1.0))
        return;

    m_samples.append(rate);
    while (m_samples.size() > qsizetype(m_numberOfSamples))
        m_samples.removeFirst();

    // The weight follows the span setting, not the current count, so a young
    // span leans on its oldest sample as much as a full one would.
    const double alpha = 2.0 / (double(m_numberOfSamples) + 1.0);
    double average = m_samples.first();
    for (const double sample : std::as_const(m_samples))
        average = average * (1.0 - alpha) + sample * alpha;

    // Changes of a byte per second or less would only wake every observer.
    if (m_bytesPerSecond == 0.0 || std::fabs(average - m_bytesPerSecond) > 1.0)
        setBytesPerSecond(average);
}

void ZKDataRateCalculator::addActivity(quint64 bytes, double timePassed) {
    if (!(timePassed >= 0)) {
        return;
    }
    m_gatheredBytes += bytes;
    m_gatheredTime += timePassed;
    if (m_gatheredTime >= minimumSampleSpan) {
        addSampleOfBytes(m_gatheredBytes, m_gatheredTime);
        m_gatheredBytes = 0;
        m_gatheredTime = 0;
    }
}

void ZKDataRateCalculator::reset() {
    m_samples.clear();
    m_gatheredBytes = 0;
    m_gatheredTime = 0;
    setBytesPerSecond(0.0);
}

void ZKDataRateCalculator::setNumberOfSamples(quint32 count) {
    m_numberOfSamples = qMax(count, 1u);
    while (m_samples.size() > qsizetype(m_numberOfSamples))
        m_samples.removeFirst();
}

void ZKDataRateCalculator::setBytesPerSecond(double bytesPerSecond) {
    if (!std::isfinite(bytesPerSecond) || bytesPerSecond < 0.0) {
        qCWarning(lcEngine) << "Ignored data rate" << bytesPerSecond;
        bytesPerSecond = 0.0;
    }
    if (bytesPerSecond == m_bytesPerSecond)
        return;
    m_bytesPerSecond = bytesPerSecond;
    Q_EMIT bytesPerSecondChanged();
}
