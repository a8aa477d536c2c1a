// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKError.h"

const QString ZKError::applicationDomain = QStringLiteral("com.velmarind.Ferrowick.ErrorDomain");

ZKError::ZKError(QString domain, qint64 code, QString localizedDescription)
    : m_domain(std::move(domain))
    , m_code(code)
    , m_localizedDescription(std::move(localizedDescription)) {}

ZKError ZKError::application(qint64 code, const QString &message) {
    return ZKError(applicationDomain, code, message);
}
