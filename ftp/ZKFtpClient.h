// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKFtpErrors.h"
#include "ZKFtpItem.h"
#include "ZKSocket.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

// A thin synchronous FTP control client over one ZKSocket, with a passive
// data connection per transfer or listing. It knows AUTH, USER, PASS, PBSZ,
// PROT, TYPE, FEAT, EPSV, PASV, REST, RETR, APPE, ABOR, CWD, CDUP, MKD, RMD,
// DELE, RNFR, RNTO, MLSD, LIST, NLST, SIZE and NOOP, and no other command: uploads
// always append, and the working directory is tracked here rather than asked
// of the server.
//
// Every operation leaves its outcome in error(); the caller inspects it after
// each call. Endpoints that share one connection count their uses with
// retainConnection() and releaseConnection(); the last release disconnects,
// or, once a login gave the client a pool key, parks a connection that is
// still fit for use in ZKFtpConnectionPool for the next endpoint of the
// same server and account. A client is used by one thread at a time.
class ZKFtpClient {
public:
    static const QString errorDomain;

    ZKFtpClient();
    ~ZKFtpClient();

    ZKFtpClient(const ZKFtpClient &) = delete;
    ZKFtpClient &operator=(const ZKFtpClient &) = delete;

    // Reads the greeting and takes the first use of the connection, also when
    // the greeting was a refusal. With secure, AUTH TLS follows and the rest
    // of the conversation, and every data connection, is encrypted (explicit
    // TLS, RFC 4217); a server that refuses leaves the error.
    void connectToHost(const QString &host, qint32 port, bool secure = false);
    void disconnect();
    void retainConnection();
    void releaseConnection();
    bool isConnected() const;
    // Connected, without a transfer or a reply outstanding, and nothing
    // from the server waiting: fit to be lent to another endpoint.
    bool isIdle() const;
    // Set after a login: where the last release parks the connection.
    void setPoolKey(const QString &key) { m_poolKey = key; }
    // Takes over a connection parked under key that still answers NOOP, as
    // the first use; false when none is there.
    bool adoptPooledConnection(const QString &key);
    bool isSecure() const { return m_secure; }

    // USER, PASS, over TLS PBSZ 0 and PROT P, TYPE I, then FEAT to learn
    // whether folders can be listed with MLSD; a null password sends a bare
    // PASS.
    void loginWithUsername(const QString &username, const QString &password);

    // REST (only for a non-zero offset) and RETR over a new passive connection.
    void beginRetrieve(const QString &name, quint64 offset);
    // What one receive brings, up to 64 KiB; an empty result is the end of
    // the data.
    QByteArray retrieveBlock();
    QByteArray retrieveBlockOfMaximumLength(quint64 length);
    // Aborts with ABOR when data is still waiting (the download was stopped
    // early), else just closes the data connection and reads its reply.
    void endRetrieve();
    // Whether the download under way sends more: waits for its next byte or
    // its end, and takes nothing.
    bool retrieveGoesOn() const;

    void beginStore(const QString &name);
    void storeBlock(const QByteArray &data);
    // Ends the upload and reads its completion reply, whose refusal, or
    // absence, is left in error(). Nothing happens when no upload is open.
    void endStore();

    // Moves the server's working directory to the given components: with
    // one CWD of a relative path ("../b", "a/b") where that spares a round
    // trip, else, and wherever the server refuses such a path, with CDUP and
    // CWD one component at a time; "/" components are ignored.
    void changePath(const QStringList &components);
    void enterSubdirectory(const QString &name);
    void leaveSubdirectory();
    void createDirectory(const QString &name);
    void removeDirectory(const QString &name);
    void removeFile(const QString &name);
    // RNFR, then RNTO once the server has answered 350; paths are relative
    // to the working directory unless they begin with "/". What the server
    // does with an existing target is its own choice: some replace it, some
    // refuse. False, with error() set, when either step fails.
    bool renameItem(const QString &fromPath, const QString &toPath);
    // Whether the server renames at all; asked once a connection, with a
    // name that cannot exist, since no list of features names RNFR. A
    // server that does not know the command answers 500, 502 or 504.
    bool canRenameItems();

    // The working directory's entries. With MLSD (when the server announced
    // it) one listing tells names, types, sizes and dates; entries of
    // another type than file or folder are sized as below. Without it, NLST,
    // then SIZE of every name: a name whose SIZE fails is taken for a
    // directory. nullopt on failure.
    std::optional<QList<ZKFtpItem>> listItems();
    // The listing of the working directory that this connection took less
    // than listingReuseLimit ago, when this client has changed nothing there
    // since; else listItems(). A tree's copy walks the folders its analysis
    // has just listed: listing each again would cost two round trips more.
    std::optional<QList<ZKFtpItem>> listItemsReusingRecent();
    static constexpr std::chrono::seconds listingReuseLimit{15};
    bool listsWithMlsd() const { return m_listsWithMlsd; }
    // SIZE, or CWD and CDUP when that fails; nullopt (with CWD's error) when
    // neither works. With thenAsk, SIZE of thenAsk goes along in the same
    // round trip, its answer kept for a call of isFile(thenAsk) that comes
    // before any other command.
    std::optional<ZKFtpItem> itemWithName(const QString &name, const QString &thenAsk = {});
    // What the last listing of the working directory on this connection
    // told of name, kept up to date with what this client made, renamed and
    // removed there since. *listed is false when there is no such listing;
    // else nullopt means that the folder held no such entry.
    std::optional<ZKFtpItem> listedItem(const QString &name, bool *listed) const;
    // The same for the folder of the given components, wherever the working
    // directory is: no CWD just to look.
    std::optional<ZKFtpItem> listedItemIn(const QStringList &folder, const QString &name,
                                          bool *listed) const;
    void forgetListings();
    // SIZE of name: true for a file the server sizes, false when it refuses
    // (no such file, or a folder); nullopt when no answer came or the server
    // does not know SIZE.
    std::optional<bool> isFile(const QString &name);

    // "/a/b/c" gives "/a/b"; "/a" gives "/".
    static QString parentPath(const QString &path);

    // One command line, "COMMAND" or "COMMAND parameter", ended by CR LF. A
    // parameter holding CR, LF or NUL is refused (code 1): it would smuggle
    // a second command onto the control connection.
    void sendControlRequest(const QString &command, const QString &parameter = QString());
    // Several such lines in one send, their replies read afterwards in
    // order: one round trip for all of them. Nothing is sent when any
    // parameter is refused.
    void sendControlRequests(const QList<std::pair<QString, QString>> &requests);
    // The next final reply line, or nullopt. A 4xx or 5xx line is returned
    // and also sets error().
    std::optional<QString> readControlResponse();

    // True while fewer than "downloadTimeout" seconds have passed since
    // start; else sets the code 3 error saying that the server did not
    // answer in time, and logs what was being done.
    bool isWithinTimeoutSince(std::chrono::steady_clock::time_point start, const QString &task);

    const QStringList &currentPath() const { return m_currentPath; }
    quint32 referenceCount() const { return m_referenceCount; }
    ZKOptionalError error() const;
    bool supportsRfc3659() const { return m_supportsRfc3659; }
    void setSupportsRfc3659(bool supports) { m_supportsRfc3659 = supports; }

private:
    // isWithinTimeoutSince, then a wait for the control connection to bring
    // something, for no longer than the rest of the limit.
    bool waitForControlData(std::chrono::steady_clock::time_point start, const QString &task);
    void setTimedOut(const QString &task);
    // EPSV, then PASV once a server has refused EPSV. Either way the data
    // connection goes to the control connection's peer address; of a PASV
    // reply only the port is used.
    void beginPassiveConnection();
    // False (with error() clear) when the server refused EPSV.
    bool beginExtendedPassiveConnection();
    void askFeatures();
    // Over TLS, the handshake on the data connection, once the server has
    // taken the transfer command and waits for it.
    void secureDataConnection();
    // A passive connection, command, and everything the data connection
    // brings, as UTF-8 text. nullopt with error() set on failure, also when
    // the server refused the command (its reply is the error).
    std::optional<QString> receiveListing(const QString &command);
    // nullopt with error() clear when the server refused MLSD.
    std::optional<QList<ZKFtpItem>> listMachineItems();
    // LIST read as "ls -l" lines: nullopt with error() clear when the server
    // refused LIST or a line is not a plain file or folder, which NLST and
    // SIZE then tell instead.
    std::optional<QList<ZKFtpItem>> listLongItems();
    void noteListing(const QList<ZKFtpItem> &items);
    // A name this client changed in the working directory (made, written,
    // renamed, removed): the listing no longer tells what it is.
    void noteChanged(const QString &name);
    void noteMadeFolder(const QString &name);
    void moveConnectionFrom(ZKFtpClient &other);
    // disconnect() without forgetting the listings.
    void closeSockets();
    // SIZE of name: a file of that size, or a directory when refused;
    // nullopt when no answer came.
    std::optional<ZKFtpItem> sizedItem(const QString &name);
    void endPassiveConnection();
    void connectDataSocket(const QString &address, qint32 port);
    // One command and its reply.
    void command(const QString &name, const QString &parameter = QString());
    ZKFtpItem itemFromSizeReply(const QString &name, const QString &reply) const;

    // An error that is not a reply's own refusal leaves the conversation in
    // a state nobody can vouch for (a reply may still come): such a
    // connection is never lent out.
    void setError(const ZKOptionalError &error, bool refusal = false);
    void setClientError(ZKFtpErrors::Message message, const QStringList &arguments = {});
    void copySocketError(const ZKSocket &socket);
    void clearError();

    std::unique_ptr<ZKSocket> m_controlSocket;
    std::unique_ptr<ZKSocket> m_dataSocket;
    // Insertion-ordered; without duplicates, but while replies to several
    // lines sent at once are due.
    QStringList m_controlResponses;
    bool m_keepsDuplicateReplies = false;
    quint32 m_referenceCount = 0;
    QStringList m_currentPath;
    bool m_supportsRfc3659 = true;
    bool m_listsWithMlsd = false;
    bool m_listsLong = true;
    // Until a CWD of a path fails where the same steps one at a time succeed.
    bool m_cwdTakesPaths = true;
    bool m_unreliable = false;
    QString m_poolKey;
    // The last parking of the connection: the same number on the parked
    // connection and on the client that parked it tells it back unused.
    quint64 m_parking = 0;
    // The latest listings on this connection, by folder (its components
    // joined by "/"), the most recently used last: a copy goes back to a
    // folder's listing after each of its subfolders. They stay with this
    // client while the connection is parked, for when the same connection
    // comes back to it, and end with the connection.
    struct Listing {
        QList<ZKFtpItem> items; // in the server's order
        QHash<QString, qsizetype> positions;
        QSet<QString> changedNames;
        std::chrono::steady_clock::time_point taken;
    };
    QHash<QString, Listing> m_listings;
    mutable QStringList m_listingOrder;
    // Folders this client made and has not changed since: their first
    // listing is known to be empty without asking.
    QSet<QString> m_madeEmpty;
    // An answer to SIZE that came along with another, until the next command.
    struct Prefetched {
        QStringList path;
        QString name;
        std::optional<bool> isFile;
    };
    std::optional<Prefetched> m_prefetched;
    bool m_triesExtendedPassive = true;
    std::optional<bool> m_canRename;
    bool m_secure = false;
    QString m_host;
    mutable std::mutex m_errorLock;
    ZKOptionalError m_error;
};
