// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKReader.h"
#include "ZKRemoteVersion.h"
#include "ZKSftpEndpoint.h"
#include "ZKSftpErrors.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

class ZKSftpFile;

// The reader of a file, folder or link on an SSH server, named by an "sftp"
// URL: sftp://[user@]host[:port]/path, where the path is absolute from the
// server's root, or under the login folder after "/~". Folders are listed
// with their entries' attributes in one request each; files are read with
// several requests in flight. Every reader of a server shares one
// connection (ZKSftpConnection).
//
// Errors are in the application domain with code -1000.
class ZKSftpReader : public ZKReader, public ZKSftpEndpoint {
public:
    // Construct through std::make_shared: children hand out shared pointers.
    explicit ZKSftpReader(const QUrl &url, const QString &username = QString(),
                          const std::optional<QString> &password = std::nullopt);
    // A child whose attributes its folder's listing gave.
    ZKSftpReader(const QUrl &url, const ZKSftpEndpoint &parent,
                 const std::optional<ZKSftpAttributes> &attributes);
    explicit ZKSftpReader(const QVariantMap &propertyList);
    ~ZKSftpReader() override;

    ZKSftpReader(const ZKSftpReader &) = delete;
    ZKSftpReader &operator=(const ZKSftpReader &) = delete;

    QVariantMap asPropertyList() const override;

    bool open() override;
    void close() override;

    QByteArray readBlock() override;
    QByteArray readBlockOfMaximumLength(quint64 length) override;
    bool seekToPosition(quint64 position) override;

    ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) override;
    ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &block) override;
    std::optional<ZKFileInfo> fileInfoForChild(const QString &name) override;
    std::shared_ptr<ZKReader> childWithName(const QString &name) override;
    std::shared_ptr<ZKWriter> asWriter() override;
    quint64 calculateDirectorySizeFollowingLinks(bool followLinks, const NameBlock &block) override;

    QUrl url() const override { return endpointUrl(); }
    QUrl urlForPasteboard() override { return endpointUrl(); }
    QString filename() const override { return m_filename; }
    QString icon() const override;
    bool exists() const override { return m_attributes.exists; }
    quint64 size() const override { return m_attributes.size; }
    QDateTime creationDate() const override { return {}; }
    QDateTime modificationDate() const override { return m_attributes.modificationDate; }
    quint16 permissions() const override { return quint16(m_attributes.permissions); }
    quint64 owner() const override { return 0; }
    quint64 group() const override { return 0; }
    bool isExtensionHidden() const override { return false; }
    bool isImmutable() const override { return false; }
    bool isDirectory() const override { return m_attributes.directory; }
    bool isLink() const override { return m_isLink; }
    QString linkTarget() const override { return m_linkTarget; }
    bool isLocal() const override { return false; }
    bool canBeMoved() const override { return true; }
    bool canSeek() const override { return true; }
    // False once the size the file had when opened has been read: a file
    // that grows meanwhile is not followed, one that ends early is an error.
    bool hasMoreData() const override;
    // The size and date of the file as first opened are kept, also in the
    // saved form; an open that finds others makes this true until a copy
    // starts over (acceptCurrentVersion).
    bool hasChanged() const override;
    void acceptCurrentVersion() override;
    // The address, size and date the server gave; empty without a date.
    QByteArray identity() const override;

private:
    void fail(ZKSftpErrors::Message message, const QStringList &arguments);
    std::shared_ptr<ZKSftpReader> makeChild(const QString &name,
                                            const std::optional<ZKSftpAttributes> &attributes);
    // The listing of path, refusing one with an entry that is not a plain
    // name; nullopt after setting error().
    std::optional<QList<ZKSftpEntry>> listFolder(const QByteArray &path, const QString &shown);
    ZKEnumerationResult walk(const QUrl &folder, const QByteArray &path, const FileInfoBlock &block,
                             int depth);
    quint64 sizeOf(const QByteArray &path, const QString &shown, const NameBlock &block, int depth,
                   bool *stopped);

    QString m_filename;
    ZKSftpAttributes m_attributes;
    bool m_isLink = false;
    QString m_linkTarget;
    bool m_listed = false;
    // What the last listing of this folder said of its entries, so that a
    // child taken right after (as a copy does each) needs no request of its
    // own to say what it is.
    QHash<QString, ZKSftpAttributes> m_listedChildren;

    std::unique_ptr<ZKSftpFile> m_file;
    quint64 m_position = 0;
    bool m_hasMoreData = false;
    // Read ahead of the caller in large requests, handed out in blocks.
    QByteArray m_buffer;
    qsizetype m_bufferOffset = 0;

    ZKRemoteVersion m_version;
};
