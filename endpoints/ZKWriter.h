// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKPropertyListObject.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

class ZKReader;

// The destination side of a transfer: a folder, or a file or link inside it.
// A file writer appends at the end of what is already there, which is what
// makes resuming a partial copy work.
class ZKWriter : public ZKPropertyListObject, public std::enable_shared_from_this<ZKWriter> {
public:
    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool appendBlock(const QByteArray &data) = 0;

    virtual std::shared_ptr<ZKWriter> createDirectory(const QString &name) = 0;
    virtual std::shared_ptr<ZKWriter> createFile(const QString &name) = 0;
    virtual std::shared_ptr<ZKWriter> createLink(const QString &name, const QString &target) = 0;
    virtual bool removeFile(const QString &name) = 0;
    // Gives the item called from in this folder the name to. Without
    // replace, an item already called to is kept and the rename fails.
    virtual bool renameItem(const QString &from, const QString &to, bool replace) = 0;
    // Whether this folder's items can be renamed; where not, files are
    // written under their real names, as nothing else could give them those.
    virtual bool canRenameItems() { return true; }
    // Keeps the source's identity with the open file. False where the
    // destination cannot keep it; the copy goes on without.
    virtual bool setProvenance(const QByteArray &identity) {
        Q_UNUSED(identity);
        return false;
    }
    // isCancelled is asked before anything is removed.
    virtual bool remove(const std::function<bool()> &isCancelled) = 0;
    virtual std::shared_ptr<ZKReader> asReader() = 0;

    // Metadata is best effort: a setter that fails never fails the copy.
    // Invalid dates are skipped.
    virtual void setCreationDate(const QDateTime &date) = 0;
    virtual void setModificationDate(const QDateTime &date) = 0;
    virtual void setPermissions(quint16 permissions) = 0;
    virtual void setOwner(quint64 owner) = 0;
    virtual void setGroup(quint64 group) = 0;
    virtual void setIsExtensionHidden(bool hidden) = 0;
    virtual void setIsImmutable(bool immutable) = 0;
    // Called after the setters above: a writer that gathers their changes,
    // to make them in one request, makes them here.
    virtual void applyAttributes() {}
    // Whether a file takes its attributes before it is closed: a local one
    // through the descriptor it was written through, a remote one that sends
    // them along with its close. Others take them once closed.
    virtual bool takesAttributesWhileOpen() const { return isLocal(); }

    virtual QString filename() const = 0;
    virtual QString icon() const = 0;
    // Bytes already present in the file: where a resumed copy continues.
    virtual quint64 size() const = 0;
    virtual QUrl url() const = 0;
    virtual void setUrl(const QUrl &url) = 0;
    virtual bool isDirectory() const = 0;
    virtual bool isLocal() const = 0;
    virtual bool canCreateLinks() const = 0;

    const ZKOptionalError &error() const { return m_error; }

    virtual bool isEqual(const ZKWriter &other) const;
    QString description() const { return url().path(); }

protected:
    void setError(ZKError error) { m_error = std::move(error); }
    void clearError() { m_error.reset(); }

private:
    ZKOptionalError m_error;
};

using ZKWriterPtr = std::shared_ptr<ZKWriter>;
