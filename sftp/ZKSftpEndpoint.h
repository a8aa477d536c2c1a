// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKSftpConnection.h"

#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

// What an SFTP reader and writer share: the address (never with a password),
// the password the user gave for it, and the connection to its server.
//
// The password never goes into the saved form: saving puts it into the
// password store under the host and user name, where the connection looks for
// it when the server asks for one.
class ZKSftpEndpoint {
public:
    static constexpr const char *scheme = "sftp";

    const QUrl &endpointUrl() const { return m_url; }
    const std::optional<QString> &password() const { return m_password; }
    // Sets the password for the URL's user; none means the store is asked.
    void setPassword(const std::optional<QString> &password);
    // Uses other's password, and its word on whether the store has it.
    void useAccountOf(const ZKSftpEndpoint &other);

    // The server's path of the URL (see ZKSftpConnection::remotePath).
    QByteArray path() const { return ZKSftpConnection::remotePath(m_url); }
    // The path of a child called name.
    QByteArray childPath(const QString &name) const;
    // The server as messages name it.
    QString shownHost() const;
    // The item's name: the last part of the path. The login folder and the
    // root have none of their own: copied, they become a folder named after
    // the server.
    static QString nameOf(const QUrl &url);

protected:
    // A password in the URL is taken out of it; username replaces the URL's
    // user when not empty, with password taken as given.
    ZKSftpEndpoint(const QUrl &url, const QString &username = QString(),
                   const std::optional<QString> &password = std::nullopt);
    ~ZKSftpEndpoint() = default;

    void setEndpointUrl(const QUrl &url);
    // The connection, made and logged in when it is not; what failed, with
    // code as its code, or nothing.
    ZKOptionalError connect(qint64 code);
    const std::shared_ptr<ZKSftpConnection> &connection();

    static QUrl savedUrl(const QVariantMap &propertyList);
    // Stores the password first, unless it is stored already.
    void writeAccount(QVariantMap &propertyList) const;

private:
    QUrl m_url;
    std::optional<QString> m_password;
    mutable bool m_passwordStored = true;
    std::shared_ptr<ZKSftpConnection> m_connection;
};
