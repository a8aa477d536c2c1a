// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QStringList>
#include <QUrl>

#include <memory>
#include <mutex>

class QTcpServer;
class ZKListenerThread;
class QTcpSocket;

// A small FTP server on a loopback address that plays scripted replies and records
// every byte it receives, for checking the client's exact wire traffic. It
// runs its own event loop on a thread of its own, so that the blocking
// client can be driven from the test's thread.
//
// Names are flat: a file or folder is known by the name the client gives,
// whatever the working directory; only listings follow the working
// directory. Unless a reply is scripted, commands get
// plausible answers: SIZE of a known file gives its size, CWD succeeds for a
// known folder, RETR sends a known file from the REST offset, APPE appends,
// NLST sends the listing, ABOR answers like a server that was interrupted,
// EPSV is refused unless setExtendedPassive() turns it on.
class ZKScriptedFtpServer {
public:
    // Listens on host: 127.0.0.1 or ::1.
    explicit ZKScriptedFtpServer(const QByteArray &host = "127.0.0.1");
    ~ZKScriptedFtpServer();

    ZKScriptedFtpServer(const ZKScriptedFtpServer &) = delete;
    ZKScriptedFtpServer &operator=(const ZKScriptedFtpServer &) = delete;

    quint16 port() const;
    // ftp://HOST:PORT followed by path.
    QUrl url(const QString &path) const;

    // Raw bytes sent on connection; by default one "220" line.
    void setGreeting(const QByteArray &bytes);
    // When above 0, the greeting goes out one byte every that many
    // milliseconds.
    void setGreetingInterval(int milliseconds);
    // Raw bytes sent in answer to a command (its first word), for every
    // argument or for one argument only. Empty bytes: no answer at all.
    void setReply(const QByteArray &command, const QByteArray &bytes);
    void setReply(const QByteArray &command, const QByteArray &argument, const QByteArray &bytes);
    void setFile(const QByteArray &name, const QByteArray &content);
    void setDirectory(const QByteArray &name);
    // What MDTM answers for a file; a file without one gets the answer of
    // an unknown command.
    void setModificationDate(const QByteArray &name, const QDateTime &date);
    // What NLST sends in every folder without a listing of its own.
    void setListing(const QByteArray &listing);
    // What NLST sends in one folder: its path from the top without slashes
    // at either end ("top/sub"; "" is the top).
    void setListing(const QByteArray &folder, const QByteArray &listing);
    // The PASV reply with "%1" for the six numbers, "%2" and "%3" for the
    // two of the port alone (to announce another address than the one
    // listened on); by default "227 Entering Passive Mode (%1).\r\n".
    void setPassiveFormat(const QByteArray &format);
    // Whether EPSV opens a data listener on the server's own address (with
    // the reply "229 Entering Extended Passive Mode (|||PORT|)") or is
    // refused as an unknown command.
    void setExtendedPassive(bool on);
    // A RETR sends this many bytes, then both connections are dropped.
    void setDropAfter(qint64 bytes);

    // Everything received on the control connection, and its lines.
    QByteArray received() const;
    QStringList commands() const;
    QByteArray file(const QByteArray &name) const;
    bool hasFile(const QByteArray &name) const;
    bool hasDirectory(const QByteArray &name) const;

private:
    friend class ZKScriptedFtpSession;

    // A standard mutex, so that thread checkers see every lock.
    mutable std::recursive_mutex m_lock;
    QByteArray m_greeting;
    int m_greetingInterval = 0;
    QHash<QByteArray, QByteArray> m_replies;
    QHash<QByteArray, QByteArray> m_files;
    QHash<QByteArray, QDateTime> m_dates;
    QSet<QByteArray> m_directories;
    QByteArray m_listing;
    QHash<QByteArray, QByteArray> m_listings;
    QByteArray m_passiveFormat;
    bool m_extendedPassive = false;
    QByteArray m_host;
    qint64 m_dropAfter = -1;
    QByteArray m_received;
    QStringList m_commands;

    std::unique_ptr<ZKListenerThread> m_listener;
};
