// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskActionIconTransformer.h"

#include "ZKImages.h"
#include "ZKTaskState.h"

QVariant ZKTaskActionIconTransformer::transformedValue(const QVariant &value) const {
    std::call_once(m_loaded, [this] {
        m_resume = ZKImages::named(QStringLiteral("ZKActionResume"));
        m_retry = ZKImages::named(QStringLiteral("ZKActionRetry"));
        m_completed = ZKImages::named(QStringLiteral("ZKActionCompleted"));
        m_suspend = ZKImages::named(QStringLiteral("ZKActionSuspend"));
    });
    switch (ZKTaskState(value.toInt())) {
    case ZKTaskState::Suspended:
        return m_resume;
    case ZKTaskState::Failed:
        return m_retry;
    case ZKTaskState::Completed:
        return m_completed;
    default:
        return m_suspend;
    }
}
