// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSftpEndpoint.h"

#include "ZKFtpUrl.h"
#include "ZKKeyChain.h"
#include "ZKReaderFactory.h"

namespace {

// Saved queues hold these; they must never change.
const QString urlKey = QStringLiteral("Url");
const QString passwordProtocol = QStringLiteral("sftp");

} // namespace

ZKSftpEndpoint::ZKSftpEndpoint(const QUrl &url, const QString &username,
                               const std::optional<QString> &password) {
    QUrl cleaned = url;
    if (!url.password().isEmpty()) {
        m_password = url.password(QUrl::FullyDecoded);
        m_passwordStored = false;
        cleaned.setPassword(QString());
    }
    if (!username.isEmpty()) {
        cleaned.setUserName(username);
        m_password = password;
        m_passwordStored = !password.has_value();
    }
    // Given for this run (typed on a terminal): used instead of the store,
    // and stored nowhere.
    if (!m_password && !cleaned.userName().isEmpty()) {
        if (const std::optional<QString> runPassword = ZKReaderFactory::runPassword()) {
            m_password = runPassword;
        }
    }
    m_url = cleaned;
}

void ZKSftpEndpoint::setEndpointUrl(const QUrl &url) {
    m_url = url;
    m_url.setPassword(QString());
}

void ZKSftpEndpoint::setPassword(const std::optional<QString> &password) {
    m_password = password;
    m_passwordStored = !password.has_value();
}

void ZKSftpEndpoint::useAccountOf(const ZKSftpEndpoint &other) {
    m_password = other.m_password;
    m_passwordStored = other.m_passwordStored;
    if (!m_connection) {
        m_connection = other.m_connection;
    }
}

QByteArray ZKSftpEndpoint::childPath(const QString &name) const {
    QByteArray parent = path();
    if (!parent.endsWith('/')) {
        parent += '/';
    }
    return parent + name.toUtf8();
}

QString ZKSftpEndpoint::shownHost() const {
    const QString host = m_url.host().contains(QLatin1Char(':'))
                             ? QLatin1Char('[') + m_url.host() + QLatin1Char(']')
                             : m_url.host();
    return m_url.port() > 0 && m_url.port() != 22
               ? host + QLatin1Char(':') + QString::number(m_url.port())
               : host;
}

const std::shared_ptr<ZKSftpConnection> &ZKSftpEndpoint::connection() {
    if (!m_connection) {
        m_connection = ZKSftpConnection::forUrl(m_url);
    }
    return m_connection;
}

ZKOptionalError ZKSftpEndpoint::connect(qint64 code) {
    return connection()->connect(m_password, code);
}

QUrl ZKSftpEndpoint::savedUrl(const QVariantMap &propertyList) {
    return QUrl(propertyList.value(urlKey).toString());
}

void ZKSftpEndpoint::writeAccount(QVariantMap &propertyList) const {
    if (!m_passwordStored && m_password && !m_url.userName().isEmpty()) {
        ZKKeyChain::storePassword(m_url.host(), m_url.userName(QUrl::FullyDecoded), m_password,
                                  passwordProtocol);
        m_passwordStored = true;
    }
    propertyList.insert(urlKey, m_url.toString());
}

QString ZKSftpEndpoint::nameOf(const QUrl &url) {
    const QStringList components = ZKFtpUrl::pathComponents(url);
    if (components.isEmpty() || components == QStringList{QStringLiteral("~")}) {
        return url.host();
    }
    return components.last();
}
