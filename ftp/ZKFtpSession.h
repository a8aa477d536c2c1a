// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFtpClient.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

// The account an FTP reader or writer logs in with and the client it talks
// through. Both endpoints are one, so they log in, keep passwords and save
// their account alike.
//
// The password never goes into the saved form: saving puts it into the
// password store (ZKKeyChain) under the host and user name, and an endpoint
// loaded from a saved queue fetches it from there just before it connects.
class ZKFtpSession {
public:
    static const QString defaultUsername; // "anonymous"
    static const QString defaultPassword; // the product name

    const QString &username() const { return m_username; }
    const std::optional<QString> &password() const { return m_password; }
    // Sets both as given, an empty user name or an absent password too.
    void setCredentials(const QString &username, const std::optional<QString> &password);
    bool passwordStored() const { return m_passwordStored; }
    void setPasswordStored(bool stored) { m_passwordStored = stored; }
    bool supportsRfc3659() const { return m_supportsRfc3659; }
    void setSupportsRfc3659(bool supports) { m_supportsRfc3659 = supports; }
    const std::shared_ptr<ZKFtpClient> &ftp() const { return m_ftp; }

    // Logs in as other does: the same user name and password, also an empty
    // one or none, the same word on whether the password is in the store,
    // and the same use of RFC 3659. The client stays as it is.
    void useAccountOf(const ZKFtpSession &other);

protected:
    // On ftp, or on a client of its own when ftp is null.
    explicit ZKFtpSession(const QString &username = defaultUsername,
                          const std::optional<QString> &password = defaultPassword,
                          std::shared_ptr<ZKFtpClient> ftp = nullptr);
    ~ZKFtpSession() = default;

    // A user name in the URL is taken as the login name; its password, if
    // the URL carries one, is taken out of the URL. Without one the password
    // is fetched from the password store when connecting. Answers the URL
    // without its password.
    QUrl takeCredentialsFromUrl(const QUrl &url);
    // username and password replace the account only when username is not
    // empty; the password is then taken as given, even when it is nullopt,
    // and counts as not stored.
    void replaceAccount(const QString &username, const std::optional<QString> &password);

    // The address and the account of a saved form; the password is left to
    // the store.
    static QUrl savedUrl(const QVariantMap &propertyList);
    void readAccount(const QVariantMap &propertyList);
    // Stores the password first, unless it is stored already.
    void writeAccount(QVariantMap &propertyList, const QUrl &url) const;

    // Takes one more use of the client's connection when it has one, else
    // one that an earlier endpoint of the same server and account left
    // logged in (ZKFtpConnectionPool), else connects to the host of url and
    // logs in, with the stored password when none is given. Either way the endpoint holds a use of
    // the connection until releaseConnection(). Answers what failed, with the host written as
    // shownHost and with code, or nothing.
    ZKOptionalError logIn(const QUrl &url, const QString &shownHost, qint64 code);
    bool holdsConnection() const { return m_connected; }
    void releaseConnection();
    // The client's last error, for a message.
    QString clientDescription() const;

private:
    QString m_username;
    std::optional<QString> m_password;
    std::shared_ptr<ZKFtpClient> m_ftp;
    bool m_connected = false;
    // Set by saving, which is const.
    mutable bool m_passwordStored = false;
    bool m_supportsRfc3659 = true;
};
