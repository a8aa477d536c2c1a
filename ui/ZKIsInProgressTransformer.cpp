// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKIsInProgressTransformer.h"

#include "ZKTaskState.h"

QVariant ZKIsInProgressTransformer::transformedValue(const QVariant &value) const {
    switch (value.toInt()) {
    case ZKTaskState::Preparing:
    case ZKTaskState::Processing:
    case ZKTaskState::Verifying:
    case ZKTaskState::Cancelling:
        return true;
    default:
        return false;
    }
}
