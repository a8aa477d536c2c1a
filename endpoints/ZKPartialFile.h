// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

// A file is written under a name of its own beside its place and takes its
// real name only once it is whole (and verified, where the task verifies).
// A file under its real name is therefore always complete or the user's own,
// and only a file under this name is ever continued.
//
// The file carries the identity of the source it was begun from (see
// ZKReader::identity) in a user extended attribute, so that any later run,
// from a saved queue or a new command, continues it only from that very
// version of that source.
class ZKPartialFile {
public:
    // Visible on purpose: the user can tell an unfinished file at a glance.
    static const QString suffix;
    // The extended attribute that holds the source's identity.
    static const char *const provenanceAttribute;

    // The name under which a file called name is written. A name too long
    // for the file system once the suffix is added is shortened first.
    static QString nameFor(const QString &name);
    static bool isPartialName(QStringView name);

    // The parts of an identity that outlive its source: where it came from
    // and how long it is. Empty and 0 when the identity cannot tell.
    static QUrl sourceOf(const QByteArray &identity);
    static quint64 sizeOf(const QByteArray &identity);
    // An identity made of the source's address, its size and whatever
    // tells its versions apart (empty validators are left out).
    static QByteArray identity(const QUrl &source, quint64 size, const QByteArrayList &validators);
    // The same from the address as QUrl::toEncoded writes it, without a
    // password.
    static QByteArray identity(QByteArray encodedSource, quint64 size,
                               const QByteArrayList &validators);

private:
    static constexpr int maximumNameLength = 255;
};
