// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFtpClient.h"
#include "ZKFtpErrors.h"
#include "ZKFtpSession.h"
#include "ZKWriter.h"

#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

// The writer of a file or folder on an FTP server. A folder writer is the
// destination of a task and hands out writers for what is copied into it,
// all on one shared client. A file writer uploads with APPE, so an
// interrupted upload continues after the last byte the server holds; size()
// tells the copy where that is. Dates, modes and ownership cannot be set and
// links cannot be made.
//
// Errors are in the application domain: -1006 for the upload stream itself,
// -1001 for everything else. The account and its password are kept as
// ZKFtpSession keeps them.
class ZKFtpWriter : public ZKWriter, public ZKFtpSession {
public:
    static std::shared_ptr<ZKFtpWriter> writerWithUrl(const QUrl &url);
    static std::shared_ptr<ZKFtpWriter> writerWithUrl(const QUrl &url, const QString &username,
                                                      const std::optional<QString> &password);
    static std::shared_ptr<ZKFtpWriter> writerWithDirectoryUrl(const QUrl &url);
    static std::shared_ptr<ZKFtpWriter>
    writerWithDirectoryUrl(const QUrl &url, const QString &username,
                           const std::optional<QString> &password);

    // A folder URL gets a "/" at its end. A user name in the URL is taken as
    // the reader takes it.
    ZKFtpWriter(const QUrl &url, bool isDirectory);
    // username and password replace the defaults only when username is not
    // empty.
    ZKFtpWriter(const QUrl &url, bool isDirectory, const QString &username,
                const std::optional<QString> &password);
    // A child sharing ftp.
    ZKFtpWriter(const QUrl &url, bool isDirectory, std::shared_ptr<ZKFtpClient> ftp,
                const QString &username, const std::optional<QString> &password);
    explicit ZKFtpWriter(const QVariantMap &propertyList);
    ~ZKFtpWriter() override;

    ZKFtpWriter(const ZKFtpWriter &) = delete;
    ZKFtpWriter &operator=(const ZKFtpWriter &) = delete;

    QVariantMap asPropertyList() const override;

    // A folder writer makes its folder when it is missing; a file writer
    // starts an APPE upload.
    bool open() override;
    void close() override;
    bool appendBlock(const QByteArray &data) override;

    std::shared_ptr<ZKWriter> createDirectory(const QString &name) override;
    std::shared_ptr<ZKWriter> createFile(const QString &name) override;
    std::shared_ptr<ZKWriter> createLink(const QString &name, const QString &target) override;
    bool removeFile(const QString &name) override;
    bool renameItem(const QString &from, const QString &to, bool replace) override;
    bool canRenameItems() override;
    // Removes the target, a folder with everything in it. Works also on a
    // writer that was never opened: it then connects for the removal.
    bool remove(const std::function<bool()> &isCancelled) override;
    std::shared_ptr<ZKReader> asReader() override;

    // The server keeps its own dates, modes and owners: accepted, ignored.
    void setCreationDate(const QDateTime &) override {}
    void setModificationDate(const QDateTime &) override {}
    void setPermissions(quint16) override {}
    void setOwner(quint64) override {}
    void setGroup(quint64) override {}
    void setIsExtensionHidden(bool) override {}
    void setIsImmutable(bool) override {}

    // The root folder has no name of its own: it is shown as its server.
    QString filename() const override;
    QString icon() const override;
    quint64 size() const override { return m_size; }
    QUrl url() const override { return m_url; }
    void setUrl(const QUrl &url) override;
    bool isDirectory() const override { return m_isDirectory; }
    bool isLocal() const override { return false; }
    bool canCreateLinks() const override { return false; }

    // Equal when both are, or both are not, folders and the URLs are equal.
    bool isEqual(const ZKWriter &other) const override;
    size_t hash() const;

    static bool isDirectoryUrl(const QUrl &url);
    static QUrl makeDirectoryUrl(const QUrl &url);
    qint32 controlPort() const;
    QStringList parentPathComponents() const;

private:
    // Connects and logs in when the client is not connected yet, else takes
    // one more use of its connection.
    bool connect();
    void fail(ZKFtpErrors::Message message, const QStringList &arguments = {});
    bool enterFolder(ZKFtpErrors::Message refusal);
    void checkStoredFile();
    QString host() const { return m_url.host(); }
    std::shared_ptr<ZKFtpWriter> makeChild(const QString &name, bool isDirectory);
    std::shared_ptr<ZKWriter> createChild(const QString &name, bool isDirectory);
    bool removeContents(const std::function<bool()> &isCancelled);

    QUrl m_url;
    QString m_filename;
    bool m_isDirectory = false;
    bool m_uploading = false;
    quint64 m_size = 0;
    quint64 m_appended = 0;
};
