// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKSftpEndpoint.h"
#include "ZKSftpErrors.h"
#include "ZKWriter.h"

#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <chrono>
#include <memory>
#include <optional>

class ZKSftpFile;

// The writer of a file or folder on an SSH server. A folder writer is the
// destination of a task and hands out writers for what is copied into it,
// all on the server's one shared connection. A file writer writes from the
// end of what the server holds, so an interrupted upload continues there;
// size() tells the copy where that is. Dates and modes are set where the
// server lets them be; links are made.
//
// Errors are in the application domain: -1006 for the upload itself, -1001
// for everything else.
class ZKSftpWriter : public ZKWriter, public ZKSftpEndpoint {
public:
    // A folder URL gets a "/" at its end.
    ZKSftpWriter(const QUrl &url, bool isDirectory, const QString &username = QString(),
                 const std::optional<QString> &password = std::nullopt);
    // One on the account and connection of parent.
    ZKSftpWriter(const QUrl &url, bool isDirectory, const ZKSftpEndpoint &parent);
    explicit ZKSftpWriter(const QVariantMap &propertyList);
    ~ZKSftpWriter() override;

    ZKSftpWriter(const ZKSftpWriter &) = delete;
    ZKSftpWriter &operator=(const ZKSftpWriter &) = delete;

    QVariantMap asPropertyList() const override;

    // A folder writer makes its folder (and those above it) when missing; a
    // file writer opens its file for writing at its end.
    bool open() override;
    // Waits for the server to take everything written.
    void close() override;
    bool appendBlock(const QByteArray &data) override;

    std::shared_ptr<ZKWriter> createDirectory(const QString &name) override;
    std::shared_ptr<ZKWriter> createFile(const QString &name) override;
    std::shared_ptr<ZKWriter> createLink(const QString &name, const QString &target) override;
    bool removeFile(const QString &name) override;
    // SFTP renames never replace: with replace, what holds the name is
    // removed first. The real name is then briefly free, never half a file.
    bool renameItem(const QString &from, const QString &to, bool replace) override;
    bool remove(const std::function<bool()> &isCancelled) override;
    std::shared_ptr<ZKReader> asReader() override;

    void setCreationDate(const QDateTime &) override {}
    void setModificationDate(const QDateTime &date) override;
    void setPermissions(quint16 permissions) override;
    // Only the server's administrator could give files away.
    void setOwner(quint64) override {}
    void setGroup(quint64) override {}
    void setIsExtensionHidden(bool) override {}
    void setIsImmutable(bool) override {}
    // The date and mode given are set in one request.
    void applyAttributes() override;
    bool takesAttributesWhileOpen() const override { return true; }

    QString filename() const override { return m_filename; }
    QString icon() const override;
    quint64 size() const override { return m_size; }
    QUrl url() const override { return endpointUrl(); }
    void setUrl(const QUrl &url) override;
    bool isDirectory() const override { return m_isDirectory; }
    bool isLocal() const override { return false; }
    bool canCreateLinks() const override { return true; }

private:
    void fail(ZKSftpErrors::Message message, const QStringList &arguments);
    bool connectForWriting();
    bool makeFolders();
    // Hands the pending bytes to the server: one request's answer's worth
    // while the window is short of its size, all of them with all.
    bool send(bool all);
    std::shared_ptr<ZKSftpWriter> makeChild(const QString &name, bool isDirectory);
    bool removeTree(const QByteArray &path, const std::function<bool()> &isCancelled, int depth);
    void measureWindow(std::chrono::steady_clock::time_point asked);

    QString m_filename;
    bool m_isDirectory = false;
    quint64 m_size = 0;
    std::unique_ptr<ZKSftpFile> m_file;
    std::optional<QDateTime> m_newModificationDate;
    std::optional<quint32> m_newPermissions;
    // What was given and not yet acknowledged, from m_acknowledged on; up to
    // m_handed it is in the library's hands (sent or being sent), the rest
    // waits for a whole request. m_window bytes are kept in flight, more
    // where the round trip is long.
    QByteArray m_pending;
    qsizetype m_acknowledged = 0;
    qsizetype m_handed = 0;
    qsizetype m_window = 0;
};
