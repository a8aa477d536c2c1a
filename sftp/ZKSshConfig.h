// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

// What the user's client configuration says about one host, for the
// keywords an SFTP connection honours.
struct ZKSshHostConfig {
    // HostName with %h expanded; the alias itself when none.
    QString hostName;
    // Empty when unset.
    QString user;
    // 0 when unset.
    quint16 port = 0;
    // In the order obtained, "~" and %d %u %h %r %p %% (and %n %i %l %L)
    // expanded, absolute; a relative name is taken from the home folder,
    // where a terminal's ssh usually starts.
    QStringList identityFiles;
    bool identitiesOnly = false;
    // As written; "none" reads as empty.
    QString proxyJump;
    // The first path given, expanded like the identity files; "none" reads
    // as "/dev/null", which knows no host and keeps nothing written to it.
    // Empty when unset.
    QString userKnownHostsFile;
};

// The user's own client configuration (only that file and what it includes:
// the system-wide file is not read), resolved per host as ssh resolves it:
// the first value obtained wins, except for IdentityFile, which accumulates.
// Host blocks take "*", "?" and "!" patterns, matched case-sensitively
// against the name as given; "Match all" matches, other Match blocks never
// do. Include takes globs, relative to ~/.ssh, nested up to 16 deep, and
// applies under the block it sits in.
class ZKSshConfig {
public:
    // QDir::homePath() + "/.ssh/config".
    static QString defaultFile();

    // Reads the file and its includes now; a missing file is an empty
    // configuration.
    explicit ZKSshConfig(const QString &file = defaultFile());

    ZKSshHostConfig resolve(const QString &host) const;

    // The lines that could not be used, as "file:LINE: reason".
    QStringList warnings() const { return m_warnings; }

    // An ssh pattern: "*" matches any run of characters, "?" one.
    static bool matchesPattern(QStringView text, QStringView pattern,
                               Qt::CaseSensitivity sensitivity);

private:
    // The files flattened in reading order; includes are bracketed so that
    // resolving restores the including block's state after them.
    struct Item {
        enum class Kind { Host, MatchAll, MatchOther, Option, IncludeBegin, IncludeEnd };
        Kind kind = Kind::Option;
        // The lowercase keyword of an option.
        QString keyword;
        // The patterns of a Host line, the values of an option.
        QStringList arguments;
    };

    // Why the file could not be read; empty when it was.
    QString readFile(const QString &path, int depth);
    void readLine(const QString &path, int number, const QString &line, int depth);
    void include(const QString &path, int number, const QStringList &patterns, int depth);
    void warn(const QString &path, int number, const QString &reason);

    QVector<Item> m_items;
    QStringList m_warnings;
};
