// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QVariantMap>

class ZKFerrowickDocument;

// The speed-limit settings of one queue. The desktop shows them in a sheet;
// this model is what the queue owns, saves and applies.
class ZKSpeedLimitPanel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(qint64 maximumTransferRate READ maximumTransferRate WRITE setMaximumTransferRate
                   NOTIFY maximumTransferRateChanged)

public:
    // From the preferences, without applying.
    explicit ZKSpeedLimitPanel(ZKFerrowickDocument *document = nullptr);
    ZKSpeedLimitPanel(const QVariantMap &propertyList, ZKFerrowickDocument *document);

    QVariantMap asPropertyList() const;

    bool enabled() const { return m_enabled; }
    // Applies at once.
    void setEnabled(bool enabled);
    qint64 maximumTransferRate() const { return m_maximumTransferRate; }
    // Only stores: the new rate reaches the queue when the sheet ends or the
    // switch is next set.
    void setMaximumTransferRate(qint64 bytesPerSecond);

    // 0 (unlimited) when disabled.
    quint64 value() const;
    void applyValue();

Q_SIGNALS:
    void enabledChanged();
    void maximumTransferRateChanged();

private:
    ZKFerrowickDocument *m_document = nullptr;
    bool m_enabled = false;
    qint64 m_maximumTransferRate = 0;
};
