// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QUrl>
#include <QVariantMap>

#include <mutex>
#include <optional>

// The version of a server's file that a copy began with: its size and date
// as first opened, kept in the reader's saved form too. An open that finds
// others (after a queue was reopened, or on a retry) marks the file changed
// until a copy starts over: what was copied before is a piece of another
// version. Noted by the worker that reads, saved by the main thread
// meanwhile, so every call takes a lock.
class ZKRemoteVersion {
public:
    ZKRemoteVersion() = default;
    ZKRemoteVersion(const ZKRemoteVersion &) = delete;
    ZKRemoteVersion &operator=(const ZKRemoteVersion &) = delete;

    // What an open found; an invalid date where the server tells none.
    void note(const QUrl &url, quint64 size, const QDateTime &modificationDate);
    bool hasChanged() const;
    void acceptCurrent();

    void read(const QVariantMap &propertyList);
    void write(QVariantMap &propertyList) const;

private:
    mutable std::mutex m_lock;
    std::optional<quint64> m_size;
    QDateTime m_date;
    bool m_changed = false;
};
