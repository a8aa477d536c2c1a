// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskState.h"

#include "ZKEnumNames.h"

namespace {
const QStringList &names() {
    static const QStringList list{
        QStringLiteral("PendingPreparation"),  QStringLiteral("Preparing"),
        QStringLiteral("PendingProcessing"),   QStringLiteral("Processing"),
        QStringLiteral("PendingVerification"), QStringLiteral("Verifying"),
        QStringLiteral("PendingRemoval"),      QStringLiteral("Removing"),
        QStringLiteral("Completed"),           QStringLiteral("Failed"),
        QStringLiteral("Cancelling"),          QStringLiteral("Cancelled"),
        QStringLiteral("Suspended"),
    };
    return list;
}
} // namespace

QString ZKTaskState::convertToString(qint32 value) {
    return ZKEnumNames::convertToString(names(), value);
}

qint32 ZKTaskState::parse(const QString &text) {
    return ZKEnumNames::parse(names(), text);
}
