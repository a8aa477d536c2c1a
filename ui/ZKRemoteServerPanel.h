// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKAddressPanel.h"
#include "ZKReader.h"
#include "ZKWriter.h"

#include <optional>

class QLineEdit;

// Asks for the address of a server one logs in to, FTP, FTPS or SFTP, the
// protocol read from the address, with the account's user name and password.
// An SFTP server is usually reached with the user's keys: the user name may
// come from the SSH configuration and the password is asked only if needed.
class ZKRemoteServerPanel : public ZKAddressPanel {
    Q_OBJECT

public:
    explicit ZKRemoteServerPanel(QWidget *parent = nullptr, ZKUserDefaults *defaults = nullptr);

    QStringList recentServers() const { return recentUrls(); }
    // A password in the address moves to the password field, so that it is
    // neither shown nor remembered among the recent addresses.
    void setUrl(const QUrl &url);
    QString username() const;
    void setUsername(const QString &username);
    // Null when none was typed, so that the one in the password store is
    // used; an empty password is not the same thing.
    QString password() const;
    void setPassword(const QString &password);
    // An endpoint's account; a password the password store keeps stays
    // there and is not shown.
    void setCredentials(const QString &username, const std::optional<QString> &password,
                        bool passwordStored);
    // The password as the endpoints take it: none for the store's.
    std::optional<QString> optionalPassword() const;

    // Endpoints for the address chosen, logging in with its account. A
    // password field left empty takes the password the store keeps for the
    // server and user, and saving such an endpoint leaves that password as
    // it is.
    ZKReaderPtr reader() const;
    ZKWriterPtr directoryWriter() const;

Q_SIGNALS:
    void recentServersChanged();

protected:
    bool isAcceptable(const QUrl &url) const override;
    QUrl urlFromText(const QString &text) const override;
    void recentAddressChosen(const QUrl &url) override;
    // With its user name, so that choosing it again fills in the account.
    QUrl recordedUrl(const QUrl &chosen) const override;

private:
    QLineEdit *m_username = nullptr;
    QLineEdit *m_password = nullptr;
    bool m_emptyPassword = false;
};
