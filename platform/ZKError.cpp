// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKError.h"

#include <QCoreApplication>

const QString ZKError::applicationDomain = QStringLiteral("com.velmarind.Ferrowick.ErrorDomain");

ZKError::ZKError(QString domain, qint64 code, QString localizedDescription)
    : m_domain(std::move(domain))
    , m_code(code)
    , m_localizedDescription(std::move(localizedDescription)) {}

ZKError ZKError::application(qint64 code, const QString &message) {
    return ZKError(applicationDomain, code, message);
}

QString ZKError::translatedText(const char *context, const char *sourceText,
                                const QStringList &arguments) {
    const QString text = QCoreApplication::translate(context, sourceText);
    auto digitAt = [&text](qsizetype index) {
        return index < text.size() && text.at(index) >= u'0' && text.at(index) <= u'9'
                   ? text.at(index).unicode() - u'0'
                   : -1;
    };
    QString filled;
    filled.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == u'%' && digitAt(i + 1) > 0) {
            // Up to two digits, as QString::arg reads them.
            qsizetype number = digitAt(i + 1);
            qsizetype length = 1;
            if (digitAt(i + 2) >= 0 && number * 10 + digitAt(i + 2) <= arguments.size()) {
                number = number * 10 + digitAt(i + 2);
                length = 2;
            }
            if (number <= arguments.size()) {
                filled += arguments.at(number - 1);
                i += length;
                continue;
            }
        }
        filled += text.at(i);
    }
    return filled;
}
