// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

// Keeps FTP passwords out of saved queues: one item in the user's password
// store (the Secret Service, through libsecret) per server host and user name
// for a protocol. The URL's port is not part of the key.
//
// Where no Secret Service answers, the password is kept in this process's
// memory for the session instead and a line is logged; it is never written
// to disk in clear. Failures are reported only as false or nullopt.
class ZKKeyChain {
public:
    ZKKeyChain() = delete;

    static const QString ftpProtocol; // "ftp"

    static bool storeFtpPassword(const QString &host, const QString &username,
                                 const std::optional<QString> &password);
    static std::optional<QString> retrieveFtpPassword(const QString &host, const QString &username);
    static bool deleteFtpPassword(const QString &host, const QString &username);

    // Always rewrites: an existing item is deleted first, even when it holds
    // the same text. Storing none changes nothing and succeeds: none is "the
    // password the store keeps", which an empty password is not.
    static bool storePassword(const QString &host, const QString &username,
                              const std::optional<QString> &password, const QString &protocol);
    static std::optional<QString> retrievePassword(const QString &host, const QString &username,
                                                   const QString &protocol);
    // True only when an item was found and deleted.
    static bool deletePassword(const QString &host, const QString &username,
                               const QString &protocol);
};
