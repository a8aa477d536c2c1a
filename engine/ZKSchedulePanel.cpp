// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSchedulePanel.h"

#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKQueueState.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKUserDefaults.h"

namespace {
const QString kScheduleEnabled = QStringLiteral("ScheduleEnabled");
const QString kStartCopying = QStringLiteral("StartCopying");
const QString kStopCopying = QStringLiteral("StopCopying");
const QString kStartSpeedLimit = QStringLiteral("StartSpeedLimit");
const QString kStopSpeedLimit = QStringLiteral("StopSpeedLimit");
} // namespace

ZKSchedulePanel::ZKSchedulePanel(ZKFerrowickDocument *document)
    : m_document(document) {
    m_scheduleEnabled = ZKUserDefaults::standard().boolForKey(ZKPreferences::scheduleEnabled);
    makeTimers({}, false);
}

ZKSchedulePanel::ZKSchedulePanel(const QVariantMap &plist, ZKFerrowickDocument *document)
    : m_document(document) {
    m_scheduleEnabled = plist.value(kScheduleEnabled).toBool();
    makeTimers(plist, true);
}

void ZKSchedulePanel::makeTimers(const QVariantMap &plist, bool fromPropertyList) {
    struct TimerSetup {
        ZKScheduleTimer **timer;
        QString key;
        QLatin1StringView enabledKey;
        QLatin1StringView timeKey;
        void (ZKSchedulePanel::*action)();
    };
    const TimerSetup setups[] = {
        {&m_startCopying, kStartCopying, ZKPreferences::startCopyEnabled,
         ZKPreferences::startCopyTime, &ZKSchedulePanel::startCopying},
        {&m_stopCopying, kStopCopying, ZKPreferences::stopCopyEnabled, ZKPreferences::stopCopyTime,
         &ZKSchedulePanel::stopCopying},
        {&m_startSpeedLimit, kStartSpeedLimit, ZKPreferences::startSpeedLimitEnabled,
         ZKPreferences::startSpeedLimitTime, &ZKSchedulePanel::startSpeedLimit},
        {&m_stopSpeedLimit, kStopSpeedLimit, ZKPreferences::stopSpeedLimitEnabled,
         ZKPreferences::stopSpeedLimitTime, &ZKSchedulePanel::stopSpeedLimit},
    };
    auto &defaults = ZKUserDefaults::standard();
    for (const auto &setup : setups) {
        auto action = [this, method = setup.action] {
            (this->*method)();
        };
        if (fromPropertyList) {
            *setup.timer = new ZKScheduleTimer(plist.value(setup.key).toMap(), action, this);
        } else {
            *setup.timer = new ZKScheduleTimer(action, this);
            (*setup.timer)->setEnabled(defaults.boolForKey(setup.enabledKey));
            (*setup.timer)->setTime(defaults.dateForKey(setup.timeKey));
        }
        // The switch in the window follows whether any timer is on.
        connect(*setup.timer, &ZKScheduleTimer::enabledChanged, this,
                &ZKSchedulePanel::scheduleEnabledChanged);
    }
}

QVariantMap ZKSchedulePanel::asPropertyList() const {
    return {
        {kScheduleEnabled, m_scheduleEnabled},
        {kStartCopying, m_startCopying->asPropertyList()},
        {kStopCopying, m_stopCopying->asPropertyList()},
        {kStartSpeedLimit, m_startSpeedLimit->asPropertyList()},
        {kStopSpeedLimit, m_stopSpeedLimit->asPropertyList()},
    };
}

void ZKSchedulePanel::setScheduleEnabled(bool enabled) {
    m_scheduleEnabled = enabled;
    Q_EMIT scheduleEnabledChanged();
}

bool ZKSchedulePanel::anyEnabled() const {
    return m_startCopying->enabled() || m_stopCopying->enabled() || m_startSpeedLimit->enabled() ||
           m_stopSpeedLimit->enabled();
}

void ZKSchedulePanel::startCopying() {
    if (m_scheduleEnabled && m_document) {
        m_document->setState(ZKQueueState::Running);
    }
}

void ZKSchedulePanel::stopCopying() {
    if (m_scheduleEnabled && m_document) {
        m_document->setState(ZKQueueState::Paused);
    }
}

void ZKSchedulePanel::startSpeedLimit() {
    if (m_scheduleEnabled && m_document) {
        m_document->speedLimit().setEnabled(true);
    }
}

void ZKSchedulePanel::stopSpeedLimit() {
    if (m_scheduleEnabled && m_document) {
        m_document->speedLimit().setEnabled(false);
    }
}
