// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

// What a request found about an item: lstat() or stat() in SFTP's terms.
struct ZKSftpAttributes {
    bool exists = false;
    bool directory = false;
    bool link = false;
    bool regular = false;
    quint64 size = 0;
    QDateTime modificationDate; // invalid where the server tells none
    quint32 permissions = 0;    // the mode bits without the type
};

struct ZKSftpEntry {
    QByteArray name; // as the server sent it
    ZKSftpAttributes attributes;
};

// Why a request failed, in words for the user; missing when the item is not
// there, which callers often treat as an answer rather than a failure.
struct ZKSftpFailure {
    QString text;
    bool missing = false;
};

class ZKSftpFile;

// One SSH connection with its SFTP channel to one server as one user, shared
// by every SFTP endpoint of the process that names the same server, port and
// user, so that the tasks of a queue log in once. The connection is made on
// first use: the user's ~/.ssh/config is applied, the server's key checked
// against known_hosts and the user authenticated the way ssh does (the agent,
// then the key files, then keyboard-interactive or password).
//
// The library's session serves one caller at a time: every request takes the
// connection's lock for as long as it runs. A request that loses the
// connection drops it; the next connect() makes a new one, and files opened
// on the old one fail from then on.
class ZKSftpConnection : public std::enable_shared_from_this<ZKSftpConnection> {
public:
    // The shared connection for the server, port and user the URL names.
    static std::shared_ptr<ZKSftpConnection> forUrl(const QUrl &url);

    ~ZKSftpConnection();
    ZKSftpConnection(const ZKSftpConnection &) = delete;
    ZKSftpConnection &operator=(const ZKSftpConnection &) = delete;

    // Connects and logs in unless the connection stands. password: the one
    // the endpoint was given, else the password store and then the user are
    // asked when the server wants one. code: the error code for a failure.
    ZKOptionalError connect(const std::optional<QString> &password, qint64 code);
    // The server as the user named it: "host" or "host:port".
    QString shownHost() const;

    // A path of the server as the URL names it: absolute, or relative to the
    // login folder after "/~".
    static QByteArray remotePath(const QUrl &url);

    std::optional<ZKSftpAttributes> attributes(const QByteArray &path, bool followLinks,
                                               ZKSftpFailure *failure);
    // Every entry but "." and ".." with its attributes as the listing gave
    // them (links not followed).
    std::optional<QList<ZKSftpEntry>> list(const QByteArray &path, ZKSftpFailure *failure);
    std::optional<QByteArray> linkTarget(const QByteArray &path, ZKSftpFailure *failure);
    bool makeDirectory(const QByteArray &path, ZKSftpFailure *failure);
    bool removeFile(const QByteArray &path, ZKSftpFailure *failure);
    bool removeDirectory(const QByteArray &path, ZKSftpFailure *failure);
    // Fails when to exists: SFTP's rename never replaces.
    bool rename(const QByteArray &from, const QByteArray &to, ZKSftpFailure *failure);
    bool makeLink(const QByteArray &path, const QByteArray &target, ZKSftpFailure *failure);
    bool setAttributes(const QByteArray &path, const std::optional<QDateTime> &modificationDate,
                       const std::optional<quint32> &permissions, ZKSftpFailure *failure);
    enum class Access { Read, Write, WriteNew };
    // A file opened for reading, or for writing without truncating it (made
    // when missing; with WriteNew only made, failing when it exists).
    std::unique_ptr<ZKSftpFile> openFile(const QByteArray &path, Access access,
                                         ZKSftpFailure *failure);

private:
    friend class ZKSftpFile;
    struct Session;
    struct Target;

    ZKSftpConnection(const QString &host, quint16 port, const QString &user);

    // The session to send a request on, under the lock; nullptr with the
    // failure set when there is none.
    Session *liveSession(ZKSftpFailure *failure);
    // Fills failure from the session's last error and drops a session that
    // lost its connection.
    void fail(const std::shared_ptr<Session> &session, ZKSftpFailure *failure);
    // Runs a request that answers 0 on success on the live session, under
    // the lock.
    bool run(ZKSftpFailure *failure, const std::function<int(Session &session)> &request);
    ZKOptionalError open(const Target &target, const std::optional<QString> &password, qint64 code);
    ZKOptionalError checkHostKey(Session &session, const Target &target, qint64 code);
    bool authenticate(Session &session, const Target &target,
                      const std::optional<QString> &password);
    bool authenticateWithKeyFile(Session &session, const Target &target, const QString &file);

    const QString m_host;
    const quint16 m_port;
    const QString m_user;
    std::mutex m_lock;
    std::shared_ptr<Session> m_session;
    std::chrono::steady_clock::time_point m_lastUse;
};

// A file open on a connection. Every call takes the connection's lock.
class ZKSftpFile {
public:
    ~ZKSftpFile();
    ZKSftpFile(const ZKSftpFile &) = delete;
    ZKSftpFile &operator=(const ZKSftpFile &) = delete;

    // Up to length bytes; 0 at the end of the file, -1 on failure.
    qint64 read(char *buffer, quint64 length, ZKSftpFailure *failure);
    // Sends what of data was not sent yet and answers how many bytes from
    // its start the server has acknowledged, at least one request's worth;
    // -1 on failure. The bytes sent but not acknowledged stay the caller's to
    // hand in again at the start of the next call: that is how several
    // requests stay in flight.
    qint64 write(const char *data, quint64 length, ZKSftpFailure *failure);
    void seek(quint64 position);
    // Sends a last piece of at most one request (with nothing else in
    // flight) and the new date and mode together, waits for both answers,
    // then closes the file: two round trips where there would be three. The
    // server takes them in order, so the date is set after the last byte.
    // The close goes alone: the library forgets the answers of requests
    // still open on a handle it closed, and a write's answer is what says
    // whether the bytes landed. A date or mode that cannot be set is passed
    // over; false when a byte or the close failed.
    bool finish(const char *data, quint64 length, const std::optional<QDateTime> &modificationDate,
                const std::optional<quint32> &permissions, ZKSftpFailure *failure);
    // Waits for the server to take what was written; false when it did not.
    bool close(ZKSftpFailure *failure);

private:
    friend class ZKSftpConnection;
    ZKSftpFile(std::shared_ptr<ZKSftpConnection> connection,
               std::shared_ptr<ZKSftpConnection::Session> session, void *handle);

    std::shared_ptr<ZKSftpConnection> m_connection;
    std::shared_ptr<ZKSftpConnection::Session> m_session;
    void *m_handle;
};
