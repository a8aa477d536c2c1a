// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKValueTransformer.h"

#include <QIcon>

#include <mutex>

// The image of a row's action button for a task state: what pressing it will
// do (resume, retry, reveal the result, or suspend).
class ZKTaskActionIconTransformer : public ZKValueTransformer {
public:
    QMetaType transformedValueClass() const override { return QMetaType::fromType<QIcon>(); }
    QVariant transformedValue(const QVariant &value) const override;

private:
    // Looked up on first use: the drawings need a running application.
    mutable std::once_flag m_loaded;
    mutable QIcon m_resume;
    mutable QIcon m_retry;
    mutable QIcon m_completed;
    mutable QIcon m_suspend;
};
