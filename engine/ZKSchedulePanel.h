// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKScheduleTimer.h"

#include <QObject>
#include <QVariantMap>

class ZKFerrowickDocument;

// The daily schedule of one queue: start and stop copying, switch the speed
// limit on and off. The desktop shows it in a sheet; this model is what the
// queue owns, saves and runs.
class ZKSchedulePanel : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool scheduleEnabled READ scheduleEnabled WRITE setScheduleEnabled NOTIFY
                   scheduleEnabledChanged)

public:
    // From the preferences.
    explicit ZKSchedulePanel(ZKFerrowickDocument *document = nullptr);
    ZKSchedulePanel(const QVariantMap &propertyList, ZKFerrowickDocument *document);

    QVariantMap asPropertyList() const;

    // The stored switch and at least one timer on.
    bool scheduleEnabled() const { return m_scheduleEnabled && anyEnabled(); }
    void setScheduleEnabled(bool enabled);
    bool anyEnabled() const;

    ZKScheduleTimer &startCopyingTimer() { return *m_startCopying; }
    ZKScheduleTimer &stopCopyingTimer() { return *m_stopCopying; }
    ZKScheduleTimer &startSpeedLimitTimer() { return *m_startSpeedLimit; }
    ZKScheduleTimer &stopSpeedLimitTimer() { return *m_stopSpeedLimit; }

    void startCopying();
    void stopCopying();
    void startSpeedLimit();
    void stopSpeedLimit();

Q_SIGNALS:
    void scheduleEnabledChanged();

private:
    void makeTimers(const QVariantMap &plist, bool fromPropertyList);

    ZKFerrowickDocument *m_document = nullptr;
    bool m_scheduleEnabled = false;
    ZKScheduleTimer *m_startCopying = nullptr;
    ZKScheduleTimer *m_stopCopying = nullptr;
    ZKScheduleTimer *m_startSpeedLimit = nullptr;
    ZKScheduleTimer *m_stopSpeedLimit = nullptr;
};
