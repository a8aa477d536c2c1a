// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <optional>

// An error is a value: what failed is told by the result of a call, and the
// caller reads the object's error() to learn why.
class ZKError {
public:
    ZKError() = default;
    ZKError(QString domain, qint64 code, QString localizedDescription);

    // The engine's and the endpoints' domain.
    static const QString applicationDomain;

    static ZKError application(qint64 code, const QString &message);

    // An error text in the user's language, from a template of one of the
    // domains' tables: translated when the error is made, so that a language
    // chosen at run time applies. The arguments fill %1, %2 ... in one pass:
    // a path that holds "%2" stays as it is.
    static QString translatedText(const char *context, const char *sourceText,
                                  const QStringList &arguments);
    // Whether a table of error messages lists each message of its enum once,
    // in the enum's order, so that it can be read by position: a message
    // added out of place would give another message's text.
    template <typename Entry, std::size_t N>
    static constexpr bool followsMessageOrder(const Entry (&entries)[N], std::size_t count) {
        for (std::size_t i = 0; i < N; ++i) {
            if (std::size_t(entries[i].message) != i) {
                return false;
            }
        }
        return N == count;
    }

    const QString &domain() const { return m_domain; }
    qint64 code() const { return m_code; }
    const QString &localizedDescription() const { return m_localizedDescription; }

    bool operator==(const ZKError &other) const = default;

private:
    QString m_domain;
    qint64 m_code = 0;
    QString m_localizedDescription;
};

using ZKOptionalError = std::optional<ZKError>;

// Error codes of the application domain.
namespace ZKErrorCode {
inline constexpr qint64 readFailed = -1000;
inline constexpr qint64 createFailed = -1001;
inline constexpr qint64 verificationFailed = -1004;
inline constexpr qint64 conflict = -1005;
inline constexpr qint64 writeFailed = -1006;
inline constexpr qint64 analysisRefused = -1007;
inline constexpr qint64 httpTimeout = -1008;
inline constexpr qint64 unknownClass = -1009;
inline constexpr qint64 noPropertyListSupport = -1010;
} // namespace ZKErrorCode
