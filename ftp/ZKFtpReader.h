// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFtpClient.h"
#include "ZKFtpErrors.h"
#include "ZKFtpItem.h"
#include "ZKFtpSession.h"
#include "ZKReader.h"
#include "ZKRemoteVersion.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

// The reader of a file or folder on an FTP server, named by an "ftp" URL. It
// connects and logs in when opened (or takes a connection an earlier task
// left logged in), walks folders with CWD and CDUP, lists them with MLSD, or
// LIST, or NLST and SIZE, asks the date of a file it opens on its own with
// MDTM (when the server is taken to speak RFC 3659) and downloads with RETR,
// resuming with REST. The readers of a folder's children share its client
// and take what they are from the folder's listing, so a whole tree is read
// over one control connection with no command per file beyond its transfer.
// The account and its password are kept as ZKFtpSession keeps them.
//
// Every error is in the application domain with code -1000.
class ZKFtpReader : public ZKReader, public ZKFtpSession {
public:
    // A user name in the URL is taken as the login name; its password, if
    // the URL carries one, is taken out of the URL. Without one the password
    // is fetched from the password store when the reader connects.
    static std::shared_ptr<ZKFtpReader> readerWithUrl(const QUrl &url);
    // username and password replace the defaults only when username is not
    // empty; the password is then taken as given, even when it is nullopt.
    static std::shared_ptr<ZKFtpReader> readerWithUrl(const QUrl &url, const QString &username,
                                                      const std::optional<QString> &password);

    // Construct through std::make_shared: children and childWithName() hand
    // out shared pointers.
    explicit ZKFtpReader(const QUrl &url);
    ZKFtpReader(const QUrl &url, const QString &username, const std::optional<QString> &password);
    // A child sharing ftp with its parent. With an item, the reader exists
    // with the item's kind and size, and opening it only takes a use of the
    // shared connection.
    ZKFtpReader(const QUrl &url, const QString &username, const std::optional<QString> &password,
                std::shared_ptr<ZKFtpClient> ftp, const std::optional<ZKFtpItem> &item);
    explicit ZKFtpReader(const QVariantMap &propertyList);
    ~ZKFtpReader() override;

    ZKFtpReader(const ZKFtpReader &) = delete;
    ZKFtpReader &operator=(const ZKFtpReader &) = delete;

    QVariantMap asPropertyList() const override;

    bool open() override;
    void close() override;

    // 4096 bytes, the block of the data connection.
    QByteArray readBlock() override;
    // At most one standard block of 65536 bytes.
    QByteArray readBlockOfMaximumLength(quint64 length) override;
    // A new RETR from the position (with REST when it is not 0); an
    // unfinished download is aborted first.
    bool seekToPosition(quint64 position) override;

    ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) override;
    ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &block) override;
    std::optional<ZKFileInfo> fileInfoForChild(const QString &name) override;
    std::shared_ptr<ZKReader> childWithName(const QString &name) override;
    std::shared_ptr<ZKWriter> asWriter() override;
    quint64 calculateDirectorySizeFollowingLinks(bool followLinks, const NameBlock &block) override;

    QUrl url() const override { return m_url; }
    QUrl urlForPasteboard() override { return m_url; }
    QString filename() const override { return m_filename; }
    QString icon() const override;
    bool exists() const override { return m_exists; }
    quint64 size() const override { return m_size; }
    QDateTime creationDate() const override { return {}; }
    QDateTime modificationDate() const override { return m_modificationDate; }
    quint16 permissions() const override { return quint16(m_permissions); }
    quint64 owner() const override { return 0; }
    quint64 group() const override { return 0; }
    bool isExtensionHidden() const override { return false; }
    bool isImmutable() const override { return false; }
    bool isDirectory() const override { return m_isDirectory; }
    bool isLink() const override { return false; }
    QString linkTarget() const override { return {}; }
    bool isLocal() const override { return false; }
    bool canSeek() const override { return true; }
    // False once a read returned nothing, and once the size found when the
    // reader was opened has been read: a file that grows on the server
    // meanwhile is not followed, and one that ends early is an error.
    bool hasMoreData() const override;
    // The size and date of a file as first opened are kept, also in the
    // saved form; an open that finds others (after a queue was reopened, or
    // on a retry) makes this true for good: what was copied before is a
    // piece of another version. The new size and date are kept from then on.
    bool hasChanged() const override;
    void acceptCurrentVersion() override;
    // The address, size and date the server gave; empty without a date.
    QByteArray identity() const override;

    // Whether a first block of the URL can be downloaded, over a connection
    // of its own.
    static bool isUrlValid(const QUrl &url, const QString &username = QString(),
                           const std::optional<QString> &password = std::nullopt);

    qint32 controlPort() const;
    QStringList parentPathComponents() const;
    bool initialisedProperties() const { return m_initialisedProperties; }
    quint64 blockSize() const { return m_blockSize; }

    size_t hash() const;

private:
    void setUrl(const QUrl &url);
    void applyItem(const ZKFtpItem &item);
    // MDTM of a file in the working directory: an invalid date when the
    // server tells none, nullopt when it did not answer at all.
    std::optional<QDateTime> remoteModificationDate(const QString &name);
    void fail(ZKFtpErrors::Message message, const QStringList &arguments = {});
    // The entry called name in folder, after failing with the reason the
    // user sees when the folder or the entry cannot be found.
    std::optional<ZKFtpItem> findItem(const QStringList &folder, const QString &name);
    QString host() const { return m_url.host(); }
    bool sizeIsKnown() const { return m_exists && !m_isDirectory; }
    std::shared_ptr<ZKFtpReader> makeChild(const QUrl &url, const std::optional<ZKFtpItem> &item);
    // Lists the working directory, or with reuseRecent takes the listing the
    // connection took of it moments ago (a copy walking what its analysis
    // walked); refuses a listing with a name that is not a plain entry name.
    // nullopt after setting error().
    std::optional<QList<ZKFtpItem>> listWorkingDirectory(bool reuseRecent);
    ZKEnumerationResult walkFileInfo(const FileInfoBlock &block, int depth);
    quint64 sizeOfWorkingDirectory(const NameBlock &block, int depth, bool *stopped);

    QUrl m_url;
    QString m_filename;
    bool m_retrieveStarted = false;
    bool m_hasMoreData = true;
    bool m_initialisedProperties = false;
    quint64 m_blockSize = 4096;
    quint64 m_position = 0;

    bool m_exists = false;
    quint64 m_size = 0;
    QDateTime m_modificationDate;
    qint16 m_permissions = 0;
    bool m_isDirectory = false;
    QByteArray m_existingData;

    ZKRemoteVersion m_version;
};
