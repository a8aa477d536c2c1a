// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

#include <QString>
#include <QStringList>

// How the FTP client reads the server's replies, kept free of sockets so that
// the rules can be tested and fuzzed on their own.
class ZKFtpReply {
public:
    ZKFtpReply() = delete;

    // The final lines of replies in one received buffer: split at every CR
    // and LF, kept when at least 4 characters long with a decimal digit first
    // and a space fourth. Continuation lines ("220-...") and text without a
    // code are dropped; a line split across two buffers is judged piece by
    // piece.
    static QStringList finalLines(const QString &text);

    // The error a final line stands for: none unless its first character is
    // "4" or "5". Lines shorter than 4 characters are invalid responses.
    static ZKOptionalError errorOf(const QString &line);

    // Host and port of a PASV reply: the group between the last "(" and the
    // ")" after it holds exactly six numbers separated by commas, each of
    // one to three decimal digits (blanks around them allowed) from 0 to
    // 255. False for anything else. The host is written as four plain
    // numbers with dots; it is only ever logged, since the data connection
    // goes to the address the control connection reached.
    static bool parsePassiveReply(const QString &reply, QString *host, qint32 *port);

    // The port of an EPSV reply (RFC 2428): "(", three times one delimiter
    // character, the port in decimal, the delimiter again, ")", as in
    // "229 Entering Extended Passive Mode (|||6446|)". False when there is no
    // such group or the port is not between 1 and 65535.
    static bool parseExtendedPassiveReply(const QString &reply, qint32 *port);

    // Whether a FEAT reply, all of its lines, announces machine listings:
    // a feature line (one that begins with a space) naming MLST, which
    // brings MLSD along (RFC 3659).
    static bool announcesMachineListings(const QString &reply);

    // The value of the "type" fact of an MLSD line, lower case; empty when
    // the line has none.
    static QString machineListingType(const QString &line);

    // The number at the front of text the way a lenient reader takes it:
    // leading blanks, an optional sign, then digits; 0 when there are none,
    // clamped on overflow.
    static qint64 leadingInteger(QStringView text);

    // The pieces between any two of the separator characters, empty ones
    // included: n separators give n + 1 pieces. Replies and listing lines are
    // cut at every CR and LF alike.
    static QStringList splitAtAny(const QString &text, QStringView separators);
};
