// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTrustedCertificates.h"

#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QStringList>

namespace {
const QString trustedCertificatesKey = QStringLiteral("trustedCertificates");
} // namespace

QString ZKTrustedCertificates::normalizedFingerprint(const QString &fingerprint) {
    QString digits = fingerprint.trimmed();
    digits.remove(QLatin1Char(':'));
    if (digits.size() != 64) {
        return {};
    }
    for (const QChar c : std::as_const(digits)) {
        if (c.unicode() > 127 || !isxdigit(c.toLatin1())) {
            return {};
        }
    }
    return QByteArray::fromHex(digits.toLatin1()).toHex(':').toUpper();
}

bool ZKTrustedCertificates::trust(const QString &fingerprint) {
    const QString normal = normalizedFingerprint(fingerprint);
    if (normal.isEmpty()) {
        return false;
    }
    ZKUserDefaults &defaults = ZKUserDefaults::standard();
    QStringList trusted = defaults.objectForKey(trustedCertificatesKey).toStringList();
    if (!trusted.contains(normal)) {
        trusted.append(normal);
        defaults.setObject(trustedCertificatesKey, trusted);
    }
    return true;
}

bool ZKTrustedCertificates::isTrusted(const QString &fingerprint) {
    const QString normal = normalizedFingerprint(fingerprint);
    if (normal.isEmpty()) {
        return false;
    }
    const QStringList trusted =
        ZKUserDefaults::standard().objectForKey(trustedCertificatesKey).toStringList();
    for (const QString &entry : trusted) {
        if (normalizedFingerprint(entry) == normal) {
            return true;
        }
    }
    return false;
}

QString ZKTrustedCertificates::refusal(const QString &host, const QString &reason,
                                       const QString &fingerprint) {
    return QCoreApplication::translate("ZKTrustedCertificates",
                                       "The certificate of %1 is not trusted (%2). Its SHA-256 "
                                       "fingerprint is %3.")
        .arg(host, reason, fingerprint);
}
