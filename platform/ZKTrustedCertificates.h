// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// Certificates the user trusts whatever signed them, by their SHA-256
// fingerprint, kept in the "trustedCertificates" preference: what a secure
// FTP or web server that the system does not vouch for needs.
class ZKTrustedCertificates {
public:
    // A fingerprint is 64 hexadecimal digits, with or without colons between
    // pairs; trust() answers false for anything else.
    static bool trust(const QString &fingerprint);
    static bool isTrusted(const QString &fingerprint);
    // "AB:CD:..." from any accepted spelling; empty when it is none.
    static QString normalizedFingerprint(const QString &fingerprint);
    // The words of a refusal, naming what the user needs to trust the
    // certificate after all.
    static QString refusal(const QString &host, const QString &reason, const QString &fingerprint);
};
