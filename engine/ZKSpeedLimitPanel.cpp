// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSpeedLimitPanel.h"

#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKUserDefaults.h"

namespace {
const QString kEnabled = QStringLiteral("Enabled");
const QString kMaximumTransferRate = QStringLiteral("MaximumTransferRate");
} // namespace

ZKSpeedLimitPanel::ZKSpeedLimitPanel(ZKFerrowickDocument *document)
    : m_document(document) {
    auto &defaults = ZKUserDefaults::standard();
    m_enabled = defaults.boolForKey(ZKPreferences::speedLimitEnabled);
    m_maximumTransferRate = defaults.integerForKey(ZKPreferences::speedLimit);
}

ZKSpeedLimitPanel::ZKSpeedLimitPanel(const QVariantMap &plist, ZKFerrowickDocument *document)
    : m_document(document) {
    // The rate first: enabling hands the limit to the queue at once.
    setMaximumTransferRate(plist.value(kMaximumTransferRate).toLongLong());
    setEnabled(plist.value(kEnabled).toBool());
}

QVariantMap ZKSpeedLimitPanel::asPropertyList() const {
    return {{kEnabled, m_enabled}, {kMaximumTransferRate, m_maximumTransferRate}};
}

void ZKSpeedLimitPanel::setEnabled(bool enabled) {
    const bool changed = m_enabled != enabled;
    m_enabled = enabled;
    applyValue();
    if (changed) {
        Q_EMIT enabledChanged();
    }
}

void ZKSpeedLimitPanel::setMaximumTransferRate(qint64 bytesPerSecond) {
    if (m_maximumTransferRate != bytesPerSecond) {
        m_maximumTransferRate = bytesPerSecond;
        Q_EMIT maximumTransferRateChanged();
    }
}

quint64 ZKSpeedLimitPanel::value() const {
    return m_enabled && m_maximumTransferRate > 0 ? quint64(m_maximumTransferRate) : 0;
}

void ZKSpeedLimitPanel::applyValue() {
    if (m_document) {
        m_document->setMaximumTransferRate(value());
    }
}
