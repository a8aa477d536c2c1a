// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// One entry of a remote directory. The FTP client makes items from NLST names
// and SIZE replies; itemWithString() also reads one line of a full listing in
// any of three styles: machine-readable facts (MLSD/MLST), Unix "ls -l" and
// DOS/Windows "DIR".
class ZKFtpItem {
public:
    enum Type : qint32 {
        Unknown = 0,
        File = 1,
        Directory = 2,
        SymbolicLink = 3,
    };

    ZKFtpItem() = default;
    // The parsed line, or nullopt when it matches none of the three styles.
    // The styles are tried machine-readable, Unix, Windows; the first whose
    // expression matches decides.
    static std::optional<ZKFtpItem> itemWithString(const QString &line);

    // A line of a Unix "ls -l" listing (LIST) naming a plain file or folder,
    // read strictly: the name is everything after the single space that
    // follows the time or year, runs of spaces and all; no date is taken,
    // since such lines give none in a known zone. nullopt for a link, a
    // device, or a line of any other form.
    static std::optional<ZKFtpItem> fileOrFolderOfLongListing(const QString &line);

    static bool isMachineReadableListing(const QString &line);
    static bool isUnixStyleListing(const QString &line);
    static bool isWindowsStyleListing(const QString &line);

    void parseMachineReadableListing(const QString &line);
    void parseUnixStyleListing(const QString &line);
    void parseWindowsStyleListing(const QString &line);

    // Invalid when the text does not have the style's exact form.
    static QDateTime parseMachineReadableDate(const QString &text);
    static QDateTime parseUnixStyleDate(const QString &text);
    static QDateTime parseWindowsStyleDate(const QString &text);
    static qint32 parseTypeCharacter(QChar character);
    static qint16 parsePosixPermissions(const QString &text);
    static QStringList filterEmptyStringsFromArray(const QStringList &strings);

    // A name that can stand as one entry of the folder that listed it: not
    // empty, not "." or "..", without "/", NUL, CR or LF. Anything else would
    // lead outside that folder or into another command.
    static bool isPlainName(const QString &name);

    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    quint64 size() const { return m_size; }
    void setSize(quint64 size) { m_size = size; }
    qint32 type() const { return m_type; }
    void setType(qint32 type) { m_type = type; }
    const QDateTime &modificationDate() const { return m_modificationDate; }
    void setModificationDate(const QDateTime &date) { m_modificationDate = date; }
    qint16 permissions() const { return m_permissions; }
    void setPermissions(qint16 permissions) { m_permissions = permissions; }

private:
    QString m_name;
    quint64 m_size = 0;
    qint32 m_type = File;
    QDateTime m_modificationDate;
    qint16 m_permissions = 0;
};
