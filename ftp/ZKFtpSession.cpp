// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpSession.h"

#include "ZKFtpConnectionPool.h"
#include "ZKFtpErrors.h"
#include "ZKFtpUrl.h"
#include "ZKKeyChain.h"

namespace {

// Saved queues of earlier versions hold these; they must never change.
const QString urlKey = QStringLiteral("Url");
const QString usernameKey = QStringLiteral("Username");
const QString supportsRfc3659Key = QStringLiteral("SupportsRfc3659");

} // namespace

const QString ZKFtpSession::defaultUsername = QStringLiteral("anonymous");
const QString ZKFtpSession::defaultPassword = QStringLiteral("Ferrowick");

ZKFtpSession::ZKFtpSession(const QString &username, const std::optional<QString> &password,
                           std::shared_ptr<ZKFtpClient> ftp)
    : m_username(username)
    , m_password(password)
    , m_ftp(ftp ? std::move(ftp) : std::make_shared<ZKFtpClient>()) {}

void ZKFtpSession::setCredentials(const QString &username, const std::optional<QString> &password) {
    m_username = username;
    m_password = password;
}

void ZKFtpSession::useAccountOf(const ZKFtpSession &other) {
    m_username = other.m_username;
    m_password = other.m_password;
    m_passwordStored = other.m_passwordStored;
    m_supportsRfc3659 = other.m_supportsRfc3659;
}

QUrl ZKFtpSession::takeCredentialsFromUrl(const QUrl &url) {
    if (!url.userName().isEmpty()) {
        m_username = url.userName(QUrl::FullyDecoded);
        if (!url.password().isEmpty()) {
            m_password = url.password(QUrl::FullyDecoded);
        } else {
            m_password.reset();
            m_passwordStored = true;
        }
    }
    return ZKFtpUrl::withoutPassword(url);
}

void ZKFtpSession::replaceAccount(const QString &username, const std::optional<QString> &password) {
    if (!username.isEmpty()) {
        m_username = username;
        m_password = password;
        m_passwordStored = false;
    }
}

QUrl ZKFtpSession::savedUrl(const QVariantMap &propertyList) {
    return QUrl(propertyList.value(urlKey).toString());
}

void ZKFtpSession::readAccount(const QVariantMap &propertyList) {
    m_username = propertyList.value(usernameKey).toString();
    m_password.reset();
    m_passwordStored = true;
    m_supportsRfc3659 = propertyList.value(supportsRfc3659Key, true).toBool();
}

void ZKFtpSession::writeAccount(QVariantMap &propertyList, const QUrl &url) const {
    if (!m_username.isEmpty() && !m_passwordStored) {
        ZKKeyChain::storeFtpPassword(url.host(), m_username, m_password);
        m_passwordStored = true;
    }
    propertyList.insert(urlKey, url.toString());
    propertyList.insert(usernameKey, m_username);
    propertyList.insert(supportsRfc3659Key, m_supportsRfc3659);
}

ZKOptionalError ZKFtpSession::logIn(const QUrl &url, const QString &shownHost, qint64 code) {
    m_connected = true;
    if (m_ftp->isConnected()) {
        m_ftp->retainConnection();
        return std::nullopt;
    }
    m_ftp->setSupportsRfc3659(m_supportsRfc3659);
    if (!m_password && m_passwordStored) {
        m_password = ZKKeyChain::retrieveFtpPassword(url.host(), m_username);
    }
    const bool secure = ZKFtpUrl::isSecure(url);
    const qint32 port = ZKFtpUrl::controlPort(url);
    const QString poolKey = ZKFtpConnectionPool::key(secure, url.host(), port, m_username,
                                                     m_password.value_or(QString()));
    // The task before, or another endpoint of this one, logged in already.
    if (m_ftp->adoptPooledConnection(poolKey)) {
        m_ftp->setSupportsRfc3659(m_supportsRfc3659);
        return std::nullopt;
    }
    m_ftp->connectToHost(url.host(), port, secure);
    if (m_ftp->error()) {
        return ZKFtpErrors::error(ZKFtpErrors::UnableToConnect, code,
                                  {shownHost, clientDescription()});
    }
    m_ftp->loginWithUsername(m_username, m_password.value_or(QString()));
    if (m_ftp->error()) {
        return ZKFtpErrors::error(ZKFtpErrors::UnableToLogIn, code,
                                  {shownHost, clientDescription()});
    }
    m_ftp->setPoolKey(poolKey);
    return std::nullopt;
}

void ZKFtpSession::releaseConnection() {
    if (m_connected) {
        m_ftp->releaseConnection();
        m_connected = false;
    }
}

QString ZKFtpSession::clientDescription() const {
    const ZKOptionalError clientError = m_ftp->error();
    return clientError ? clientError->localizedDescription()
                       : ZKFtpErrors::text(ZKFtpErrors::UnknownError);
}
