// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The head of an answer as a web server might send it, in any bytes at all:
// a status line, split as the network library splits it, then header fields
// up to the first empty line. Every field the HTTP reader looks at is read
// as the reader reads it, for requests of the bytes from a few positions on.

#include "FuzzCheck.h"
#include "ZKHttpReader.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QHash>
#include <QLocale>
#include <QNetworkRequest>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

struct Head {
    int status = 200;
    QByteArray phrase;
    // By lower-case name; a repeated field arrives joined, as the network
    // library joins it.
    QHash<QByteArray, QByteArray> fields;
};

Head headOf(const QByteArray &bytes) {
    Head head;
    QByteArrayList lines = bytes.split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
    }
    // "HTTP/1.1 206 Partial Content": the code is whatever stands between
    // the first two spaces, the phrase all after.
    const QByteArray &statusLine = lines.constFirst();
    if (statusLine.startsWith("HTTP/") && statusLine.size() >= 11 && statusLine.at(6) == '.' &&
        statusLine.at(8) == ' ') {
        const qsizetype space = statusLine.indexOf(' ', 9);
        bool ok = false;
        const int status = statusLine.mid(9, space < 0 ? -1 : space - 9).toInt(&ok);
        if (ok) {
            head.status = status;
        }
        head.phrase = space < 0 ? QByteArray() : statusLine.mid(space + 1);
    }
    for (qsizetype i = 1; i < lines.size() && !lines.at(i).isEmpty(); ++i) {
        const QByteArray &line = lines.at(i);
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            continue;
        }
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        QByteArray &field = head.fields[name];
        field = field.isNull() ? value : field + ", " + value;
    }
    return head;
}

void checkPhrase(const QByteArray &sent, int status) {
    const QString phrase = ZKHttpReader::reasonPhraseOf(sent, status);
    CHECK(phrase.size() <= 100 && phrase == phrase.trimmed());
    for (const QChar c : phrase) {
        CHECK(c.category() != QChar::Other_Control);
    }
}

// What may become a file's name inside the folder it is downloaded to.
void checkFilename(const QString &suggested) {
    const QString name = ZKHttpReader::safeFilename(suggested);
    if (name.isEmpty()) {
        return;
    }
    CHECK(!name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\')));
    CHECK(!name.startsWith(QLatin1Char('.')));
    CHECK(name == name.trimmed());
    CHECK(name.toUtf8().size() <= 255);
    for (const QChar c : name) {
        CHECK(c.category() != QChar::Other_Control);
    }
    CHECK(ZKHttpReader::safeFilename(name) == name);
}

void checkRange(const QByteArray &value) {
    const ZKHttpReader::ContentRange range = ZKHttpReader::rangeFromContentRange(value);
    CHECK(range.first.has_value() == range.last.has_value());
    if (!range.first) {
        return;
    }
    // A piece lies inside its file, and reads the same when written the
    // usual way.
    CHECK(*range.first <= *range.last);
    CHECK(!range.total || *range.last < *range.total);
    const QByteArray usual = "bytes " + QByteArray::number(*range.first) + '-' +
                             QByteArray::number(*range.last) + '/' +
                             (range.total ? QByteArray::number(*range.total) : "*");
    const ZKHttpReader::ContentRange again = ZKHttpReader::rangeFromContentRange(usual);
    CHECK(again.first == range.first && again.last == range.last && again.total == range.total);
}

// The body's length is read as the network library reads it.
qint64 checkLength(const QByteArray &value) {
    const qint64 length = ZKHttpReader::lengthFromContentLength(value);
    QNetworkRequest request;
    request.setRawHeader("Content-Length", value);
    const QVariant cooked = request.header(QNetworkRequest::ContentLengthHeader);
    bool ok = false;
    const qint64 expected = cooked.isValid() ? cooked.toLongLong(&ok) : -1;
    CHECK(length == (ok && expected >= 0 ? expected : -1));
    return length;
}

void checkSize(const Head &head, qint64 length, quint64 position) {
    const ZKHttpReader::ContentRange range =
        ZKHttpReader::rangeFromContentRange(head.fields.value("content-range"));
    const std::optional<quint64> size =
        ZKHttpReader::sizeFromHead(head.status, position, range, length);
    if (head.status == 206 && range.total) {
        CHECK(size == range.total);
        // A piece from where it was asked for leaves something to read.
        if (range.first == position) {
            CHECK(*size > position);
        }
    } else if (length < 0) {
        CHECK(!size);
    } else if (head.status != 206) {
        CHECK(size == quint64(length));
    }
}

// A date is in UTC and reads the same from its usual form.
void checkDate(const QByteArray &value) {
    const QDateTime date = ZKHttpReader::dateFromHttpDate(value);
    if (!date.isValid()) {
        return;
    }
    CHECK(date.timeSpec() == Qt::UTC);
    const QString usual = QLocale::c().toString(date, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'");
    CHECK(ZKHttpReader::dateFromHttpDate(usual.toLatin1()) == date);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const Head head = headOf(bytes);
    checkPhrase(head.phrase, head.status);

    const QByteArray disposition = head.fields.value("content-disposition");
    checkFilename(ZKHttpReader::filenameFromContentDisposition(disposition));
    // Without a suggestion, the name comes from the address the file was
    // finally fetched from.
    checkFilename(QUrl(QString::fromUtf8(head.fields.value("location"))).fileName());

    const QByteArray contentRange = head.fields.value("content-range");
    checkRange(contentRange);
    const qint64 length = checkLength(head.fields.value("content-length"));
    const ZKHttpReader::ContentRange range = ZKHttpReader::rangeFromContentRange(contentRange);
    for (const quint64 position :
         {quint64(0), quint64(1), range.first.value_or(0), range.total.value_or(0)}) {
        checkSize(head, length, position);
    }
    checkDate(head.fields.value("last-modified"));
    return 0;
}
