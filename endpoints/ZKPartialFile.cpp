// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPartialFile.h"

#include <charconv>

#include <QFile>

const QString ZKPartialFile::suffix = QStringLiteral(".ferrowick.part");
const char *const ZKPartialFile::provenanceAttribute = "user.ferrowick.source";

QString ZKPartialFile::nameFor(const QString &name) {
    QString candidate = name + suffix;
    // No UTF-16 unit takes more than three bytes: most names are told short
    // enough without encoding them.
    if (candidate.size() * 3 <= maximumNameLength ||
        QFile::encodeName(candidate).size() <= maximumNameLength) {
        return candidate;
    }
    // Two long names that begin alike share the shortened name: the lock
    // and the identity kept with the file keep them apart.
    QString stem = name;
    const qsizetype room = maximumNameLength - QFile::encodeName(suffix).size();
    while (!stem.isEmpty() && QFile::encodeName(stem).size() > room) {
        stem.chop(stem.size() >= 2 && stem.at(stem.size() - 1).isLowSurrogate() ? 2 : 1);
    }
    return stem + suffix;
}

bool ZKPartialFile::isPartialName(QStringView name) {
    return name.size() > suffix.size() && name.endsWith(suffix);
}

QByteArray ZKPartialFile::identity(const QUrl &source, quint64 size,
                                   const QByteArrayList &validators) {
    // Never a password, even where the address carried one. Without any
    // user part there is none to take away, and the address stays as it is.
    return identity(source.userInfo().isEmpty() ? source.toEncoded()
                                                : source.adjusted(QUrl::RemovePassword).toEncoded(),
                    size, validators);
}

QByteArray ZKPartialFile::identity(QByteArray encodedSource, quint64 size,
                                   const QByteArrayList &validators) {
    QByteArray text = std::move(encodedSource);
    // Made for every file a copy begins: in one piece rather than joined.
    char number[24];
    const auto end = std::to_chars(number, number + sizeof number, size).ptr;
    qsizetype length = text.size() + 1 + (end - number);
    for (const QByteArray &validator : validators) {
        length += validator.isEmpty() ? 0 : 1 + validator.size();
    }
    text.reserve(length);
    text.append('\n').append(number, end - number);
    for (const QByteArray &validator : validators) {
        if (!validator.isEmpty()) {
            text.append('\n').append(validator);
        }
    }
    return text;
}

QUrl ZKPartialFile::sourceOf(const QByteArray &identity) {
    const qsizetype end = identity.indexOf('\n');
    return end > 0 ? QUrl::fromEncoded(identity.left(end)) : QUrl();
}

quint64 ZKPartialFile::sizeOf(const QByteArray &identity) {
    const QByteArrayList parts = identity.split('\n');
    bool ok = false;
    const quint64 size = parts.size() >= 2 ? parts.at(1).toULongLong(&ok) : 0;
    return ok ? size : 0;
}
