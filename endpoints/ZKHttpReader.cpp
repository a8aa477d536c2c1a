// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKHttpReader.h"
#include "ZKPropertyListParser.h"
#include "ZKReaderFactory.h"

#include "ZKEndpointErrors.h"
#include "ZKHttpResponseKeeper.h"
#include "ZKIcuDate.h"
#include "ZKLogging.h"
#include "ZKPartialFile.h"
#include "ZKPreferenceKeys.h"
#include "ZKTrustedCertificates.h"
#include "ZKUserDefaults.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <QCryptographicHash>
#include <QEventLoop>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QThread>
#include <QTimer>

namespace {

const QString urlKey = QStringLiteral("Url");
const QString canSeekKey = QStringLiteral("CanSeek");
const QString entityTagKey = QStringLiteral("ETag");
const QString lastModifiedKey = QStringLiteral("LastModified");
const QString hasChangedKey = QStringLiteral("HasChanged");

// How much the network thread may read ahead of the reader: enough to keep
// the connection busy while a block is written, small enough that memory
// stays flat however large the download.
constexpr qint64 readAheadBytes = 4 * 1024 * 1024;
// The most taken out of the network buffer at once. The block is written
// right after it is taken, while it is still in the processor's cache;
// taking the whole read-ahead at once would copy megabytes through memory.
constexpr qint64 handOutBytes = 256 * 1024;
// The longest name most Linux file systems accept, in bytes.
constexpr qsizetype maximumFilenameBytes = 255;

// A manager of its own for every request, made on the thread that reads:
// its signals are delivered there, while the reader waits. A manager whose
// request was given up before its end is thrown away with it, because a
// request stopped while its read-ahead buffer was full keeps its
// connection slot busy, and a manager has only six per server.
QNetworkAccessManager *makeNetworkManager() {
    auto *manager = new QNetworkAccessManager;
    // Redirects are followed, except from HTTPS to plain HTTP, which would
    // hand the rest of a secure download to anyone on the way.
    manager->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    return manager;
}

// For answers that carry no reason phrase of their own, as every HTTP/2
// answer does.
struct ReasonPhrase {
    int status;
    const char *phrase;
};

constexpr ReasonPhrase standardReasonPhrases[] = {
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {423, "Locked"},
    {424, "Failed Dependency"},
    {425, "Too Early"},
    {426, "Upgrade Required"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Negotiates"},
    {507, "Insufficient Storage"},
    {508, "Loop Detected"},
    {511, "Network Authentication Required"},
};

QString standardReasonPhrase(int status) {
    for (const ReasonPhrase &entry : standardReasonPhrases) {
        if (entry.status == status) {
            return QString::fromLatin1(entry.phrase);
        }
    }
    return {};
}

// C0, DEL and C1 alike: a terminal takes "\x9b" for the start of an escape
// sequence just as it takes "\x1b[".
bool isControlCharacter(QChar c) {
    return c.category() == QChar::Other_Control;
}

// A weak tag only promises an equivalent file, not the same bytes, so it
// must not decide whether a range of the old one may be continued.
bool isStrongEntityTag(const QByteArray &tag) {
    return !tag.isEmpty() && !tag.startsWith("W/");
}

bool isFollowedRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// Digits only: no sign, no blanks, nothing that overflows.
std::optional<quint64> decimalNumber(const QByteArray &text) {
    if (text.isEmpty()) {
        return std::nullopt;
    }
    quint64 value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        const quint64 digit = quint64(c - '0');
        if (value > (std::numeric_limits<quint64>::max() - digit) / 10) {
            return std::nullopt;
        }
        value = value * 10 + digit;
    }
    return value;
}

// Splits "a; b=c; d="e;f"" at the semicolons that are not inside quotes.
QList<QByteArray> splitParameters(const QByteArray &value) {
    QList<QByteArray> parts;
    QByteArray current;
    bool quoted = false;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char c = value.at(i);
        if (quoted && c == '\\' && i + 1 < value.size()) {
            current += c;
            current += value.at(++i);
            continue;
        }
        if (c == '"') {
            quoted = !quoted;
        }
        if (c == ';' && !quoted) {
            parts.append(current.trimmed());
            current.clear();
        } else {
            current += c;
        }
    }
    parts.append(current.trimmed());
    return parts;
}

QByteArray unquote(const QByteArray &value) {
    if (value.size() < 2 || !value.startsWith('"') || !value.endsWith('"')) {
        return value;
    }
    QByteArray result;
    for (qsizetype i = 1; i + 1 < value.size(); ++i) {
        if (value.at(i) == '\\' && i + 2 < value.size()) {
            ++i;
        }
        result += value.at(i);
    }
    return result;
}

// charset'language'percent-encoded, as in filename*=UTF-8''na%C3%AFve.txt
QString decodeExtendedValue(const QByteArray &value) {
    const qsizetype first = value.indexOf('\'');
    const qsizetype second = first < 0 ? -1 : value.indexOf('\'', first + 1);
    if (second < 0) {
        return {};
    }
    const QByteArray charset = value.left(first).toLower();
    const QByteArray bytes = QByteArray::fromPercentEncoding(value.mid(second + 1));
    if (charset == "utf-8") {
        return QString::fromUtf8(bytes);
    }
    if (charset == "iso-8859-1") {
        return QString::fromLatin1(bytes);
    }
    return {};
}

QString headerText(const QNetworkReply &reply) {
    QStringList fields;
    const auto pairs = reply.rawHeaderPairs();
    for (const auto &pair : pairs) {
        fields.append(QStringLiteral("%1: %2").arg(QString::fromLatin1(pair.first),
                                                   QString::fromLatin1(pair.second)));
    }
    return QStringLiteral("{") + fields.join(QStringLiteral(", ")) + QStringLiteral("}");
}

} // namespace

const QString ZKHttpReader::networkErrorDomain = QStringLiteral("QNetworkReply::NetworkError");

std::shared_ptr<ZKHttpReader> ZKHttpReader::readerWithUrl(const QUrl &url) {
    return std::make_shared<ZKHttpReader>(url);
}

ZKHttpReader::ZKHttpReader(const QUrl &url)
    : m_url(url.adjusted(QUrl::RemovePassword))
    , m_password(url.password(QUrl::FullyDecoded))
    , m_filename(safeFilename(url.fileName())) {}

ZKHttpReader::ZKHttpReader(const QVariantMap &propertyList)
    : ZKHttpReader(QUrl(propertyList.value(urlKey).toString())) {
    if (propertyList.contains(canSeekKey)) {
        m_canSeek = propertyList.value(canSeekKey).toBool();
    }
    m_entityTag = propertyList.value(entityTagKey).toString().toLatin1();
    m_lastModified = propertyList.value(lastModifiedKey).toString().toLatin1();
    m_changed = propertyList.value(hasChangedKey, false).toBool();
}

ZKHttpReader::~ZKHttpReader() {
    endRequest(false);
    discardKeptRequest();
}

QVariantMap ZKHttpReader::asPropertyList() const {
    QVariantMap propertyList{
        {typeKey, QStringLiteral("HttpReader")},
        {urlKey, m_url.toString(QUrl::FullyEncoded)},
        {canSeekKey, m_canSeek},
    };
    if (!m_entityTag.isEmpty()) {
        propertyList.insert(entityTagKey, QString::fromLatin1(m_entityTag));
    }
    if (!m_lastModified.isEmpty()) {
        propertyList.insert(lastModifiedKey, QString::fromLatin1(m_lastModified));
    }
    // Saved too: a queue saved after the change was seen and before the
    // copy started over must not continue the old piece when reopened.
    if (m_changed) {
        propertyList.insert(hasChangedKey, true);
    }
    return propertyList;
}

// ---- requesting

bool ZKHttpReader::open() {
    if (m_url.isEmpty() || !m_url.isValid() || m_url.path().isEmpty() ||
        m_url.fileName().isEmpty() || safeFilename(m_url.fileName()).isEmpty()) {
        setError(ZKEndpointErrors::error(ZKEndpointErrors::InvalidUrl, {m_url.toString()}));
        return false;
    }
    const std::optional<quint64> expected = std::exchange(m_openPosition, std::nullopt);
    if (continuesAt(expected.value_or(0))) {
        m_deferredStart.reset();
        if (bodyStart() != 0) {
            m_deferredStart = 0;
        }
        return true;
    }
    endRequest(false);
    if (!adoptKeptRequest(std::nullopt)) {
        // Before any answer the size is unknown, and a place past the end
        // is refused by the server, which sends the open back to the start.
        const quint64 from = expected ? *expected : (m_resumeHint < m_size ? m_resumeHint : 0);
        startRequest(from);
        const bool answered = waitForResponse();
        if (from != 0 && m_responseReceived &&
            (!answered || (m_statusCode != 200 && m_statusCode != 206))) {
            // No piece there (the file is shorter now, or the server
            // refused): the start of the file is what an open asks for.
            qCInfo(lcEndpoints) << "No piece from" << from << "of" << m_url.toString()
                                << "to go on with; asking from the start";
            m_resumeHint = 0;
            clearError();
            endRequest(false);
            startRequest(0);
            return waitForResponse();
        }
        if (!answered) {
            return false;
        }
    }
    if (bodyStart() != 0) {
        m_deferredStart = 0;
    }
    return true;
}

void ZKHttpReader::close() {
    endRequest(true);
}

quint64 ZKHttpReader::bodyStart() const {
    // A server that ignores the range sends the file from its first byte;
    // a refusal at the end has no body, and ends where it was asked.
    return m_statusCode == 200 ? 0 : m_position;
}

qint64 ZKHttpReader::handedOutLength() const {
    qint64 queued = 0;
    for (const QByteArray &block : m_dataBlocks) {
        queued += block.size();
    }
    return m_receivedLength - queued;
}

bool ZKHttpReader::continuesAt(quint64 position) const {
    return m_reply && m_requestActive && m_responseReceived && !m_failure &&
           (m_statusCode == 200 || m_statusCode == 206) && bodyStart() == position &&
           handedOutLength() == 0 && Clock::now() - m_headArrival < answerShelfLife;
}

bool ZKHttpReader::isKeepable() const {
    return m_manager && m_manager->thread() == QThread::currentThread() && continuesAt(bodyStart());
}

void ZKHttpReader::endRequest(bool keep) {
    // Where a copy cut off in the middle of the body will want to go on.
    if (m_responseReceived) {
        const qint64 handedOut = handedOutLength();
        if (handedOut > 0) {
            const quint64 end = bodyStart() + quint64(handedOut);
            m_resumeHint = m_statusCode == 206 && end < m_size ? end : 0;
        }
    }
    m_deferredStart.reset();
    for (const QMetaObject::Connection &connection : std::as_const(m_connections)) {
        QObject::disconnect(connection);
    }
    m_connections.clear();
    if (keep && isKeepable()) {
        keepRequest();
    } else if (QNetworkReply *reply = m_reply.data()) {
        // Nothing of the old request may reach this reader any more.
        QObject::disconnect(reply, nullptr, nullptr, nullptr);
    }
    if (QNetworkAccessManager *manager = m_manager) {
        const QPointer<QNetworkReply> reply = m_reply;
        m_manager = nullptr;
        auto discard = [manager, reply] {
            if (reply) {
                reply->abort();
            }
            delete manager;
        };
        if (manager->thread() == QThread::currentThread()) {
            discard();
        } else {
            // Made on another thread, so it must end there.
            QMetaObject::invokeMethod(manager, discard, Qt::QueuedConnection);
        }
    }
    m_reply.clear();
    m_dataBlocks.clear();
    m_requestActive = false;
    m_responseReceived = false;
    m_requestCompleted = false;
    m_failure.reset();
    m_certificateRefusal.clear();
    m_failureReported = false;
}

void ZKHttpReader::keepRequest() {
    discardKeptRequest();
    KeptRequest kept;
    kept.position = m_position;
    kept.status = m_statusCode;
    kept.askedIfRange = m_askedIfRange;
    kept.completed = m_requestCompleted;
    kept.announcedLength = m_announcedLength;
    kept.receivedLength = m_receivedLength;
    kept.dataBlocks = std::move(m_dataBlocks);
    kept.headArrival = m_headArrival;
    kept.entityTag = m_entityTag;
    kept.lastModified = m_lastModified;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(answerShelfLife -
                                                                   (Clock::now() - m_headArrival));
    kept.ticket = ZKHttpResponseKeeper::shared().keep({m_manager, m_reply}, left);
    m_kept = std::move(kept);
    m_manager = nullptr;
    m_reply.clear();
}

void ZKHttpReader::discardKeptRequest() {
    if (m_kept) {
        ZKHttpResponseKeeper::shared().discard(m_kept->ticket);
        m_kept.reset();
    }
}

bool ZKHttpReader::adoptKeptRequest(std::optional<quint64> position) {
    if (!m_kept) {
        return false;
    }
    KeptRequest kept = std::move(*m_kept);
    m_kept.reset();
    const quint64 start = kept.status == 200 ? 0 : kept.position;
    // Another request since would have let it go; the version is checked
    // all the same, as any continued download's is.
    if ((position && *position != start) || Clock::now() - kept.headArrival >= answerShelfLife ||
        kept.entityTag != m_entityTag || kept.lastModified != m_lastModified) {
        ZKHttpResponseKeeper::shared().discard(kept.ticket);
        return false;
    }
    std::optional<ZKHttpResponseKeeper::Response> taken =
        ZKHttpResponseKeeper::shared().take(kept.ticket);
    if (!taken) {
        return false;
    }
    QNetworkReply *reply = taken->reply.data();
    if (!reply || (reply->isFinished() && reply->error() != QNetworkReply::NoError)) {
        // Cut off while it waited: a fresh request does better.
        if (reply) {
            reply->abort();
        }
        delete taken->manager;
        return false;
    }
    qCInfo(lcEndpoints) << "Reading on with the answer from" << start << "of" << m_url.toString();
    m_manager = taken->manager;
    m_reply = reply;
    m_position = kept.position;
    m_statusCode = kept.status;
    m_askedIfRange = kept.askedIfRange;
    m_announcedLength = kept.announcedLength;
    m_receivedLength = kept.receivedLength;
    m_dataBlocks = std::move(kept.dataBlocks);
    m_headArrival = kept.headArrival;
    m_requestActive = true;
    m_responseReceived = true;
    m_requestCompleted = kept.completed;
    m_silenceStart.reset();
    connectReply(reply);
    if (!m_requestCompleted && reply->isFinished()) {
        // Its end came while nobody listened.
        requestFinished();
    }
    return true;
}

bool ZKHttpReader::startDeferredRequest() {
    if (!m_deferredStart) {
        return true;
    }
    const quint64 position = *m_deferredStart;
    endRequest(false);
    startRequest(position);
    return waitForResponse();
}

bool ZKHttpReader::seekToPosition(quint64 position) {
    if (continuesAt(position)) {
        m_deferredStart.reset();
        return true;
    }
    endRequest(false);
    if (adoptKeptRequest(position)) {
        return true;
    }
    startRequest(position);
    return waitForResponse();
}

void ZKHttpReader::startRequest(quint64 position) {
    m_position = position;
    m_announcedLength = -1;
    m_receivedLength = 0;
    m_silenceStart.reset();
    // The password given with the address is used, and never kept with the
    // address: what is logged, shown or saved holds none.
    QUrl requested = m_url;
    if (!m_password.isEmpty()) {
        requested.setPassword(m_password, QUrl::DecodedMode);
    }
    QNetworkRequest request(requested);
    request.setRawHeader("Range", QByteArrayLiteral("bytes=") + QByteArray::number(position) + '-');
    const QByteArray version = ifRangeValue();
    m_askedIfRange = !version.isEmpty();
    if (m_askedIfRange) {
        request.setRawHeader("If-Range", version);
    }
    // A compressed answer would not match the ranges nor the length asked
    // for; the bytes must come as the server keeps them.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);

    m_manager = makeNetworkManager();
    QNetworkReply *reply = m_manager->get(request);
    reply->setReadBufferSize(readAheadBytes);
    m_reply = reply;
    m_requestActive = true;
    connectReply(reply);
}

void ZKHttpReader::connectReply(QNetworkReply *reply) {
    m_connections << QObject::connect(reply, &QNetworkReply::metaDataChanged, reply,
                                      [this] { responseHeadArrived(false); });
    m_connections << QObject::connect(reply, &QNetworkReply::readyRead, reply,
                                      [this] { dataArrived(); });
    m_connections << QObject::connect(reply, &QNetworkReply::finished, reply,
                                      [this] { requestFinished(); });
    m_connections << QObject::connect(
        reply, &QNetworkReply::redirected, reply, [this](const QUrl &target) {
            qCInfo(lcEndpoints) << "Following a redirect from" << m_url.toString() << "to"
                                << target.toDisplayString();
        });
    // A certificate the system does not vouch for passes only when the user
    // trusts it by its fingerprint.
    m_connections << QObject::connect(
        reply, &QNetworkReply::sslErrors, reply, [this, reply](const QList<QSslError> &errors) {
            const QString fingerprint = QString::fromLatin1(reply->sslConfiguration()
                                                                .peerCertificate()
                                                                .digest(QCryptographicHash::Sha256)
                                                                .toHex(':')
                                                                .toUpper());
            if (ZKTrustedCertificates::isTrusted(fingerprint)) {
                reply->ignoreSslErrors(errors);
                return;
            }
            QStringList reasons;
            for (const QSslError &error : errors) {
                reasons << error.errorString();
            }
            m_certificateRefusal = ZKTrustedCertificates::refusal(
                host(), reasons.join(QStringLiteral("; ")), fingerprint);
            qCWarning(lcEndpoints) << m_certificateRefusal;
        });
}

// ---- callbacks of the request

void ZKHttpReader::responseHeadArrived(bool isFinal) {
    QNetworkReply *reply = m_reply.data();
    if (!reply || m_responseReceived) {
        return;
    }
    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!statusAttribute.isValid()) {
        return;
    }
    const int status = statusAttribute.toInt();
    // The head of a redirect that is being followed says nothing about the
    // file; the answer at the end of the chain does.
    if (!isFinal && isFollowedRedirect(status) && reply->hasRawHeader("Location")) {
        return;
    }
    m_statusCode = status;
    if (status >= 400) {
        errorStatusArrived(*reply, status);
        return;
    }
    m_exists = true;

    QString suggested =
        safeFilename(filenameFromContentDisposition(reply->rawHeader("Content-Disposition")));
    if (suggested.isEmpty()) {
        suggested = safeFilename(reply->url().fileName());
    }
    if (!suggested.isEmpty()) {
        m_filename = suggested;
    }

    m_canSeek = status == 206;
    m_announcedLength = lengthFromContentLength(reply->rawHeader("Content-Length"));
    const QByteArray rangeText = status == 206 ? reply->rawHeader("Content-Range") : QByteArray();
    const ContentRange range = rangeFromContentRange(rangeText);
    if (!rangeText.isEmpty() && !range.first) {
        // A piece that says nothing readable of its place, or a place
        // outside its own file: where its bytes belong is anyone's guess.
        m_failure = ZKEndpointErrors::error(ZKEndpointErrors::InvalidRange, {host()});
        m_canSeek = false;
    } else if (range.first && *range.first != m_position) {
        m_failure = ZKEndpointErrors::error(
            ZKEndpointErrors::WrongRange,
            {host(), QString::number(*range.first), QString::number(m_position)});
        m_canSeek = false;
    }
    if (const std::optional<quint64> size =
            sizeFromHead(status, m_position, range, m_announcedLength)) {
        m_size = *size;
    }
    const QByteArray lastModified = reply->rawHeader("Last-Modified").trimmed();
    m_modificationDate = dateFromHttpDate(lastModified);
    noteVersion(status, reply->rawHeader("ETag").trimmed(), lastModified);
    qCInfo(lcEndpoints, "Header fields: %s", qUtf8Printable(headerText(*reply)));
    m_responseReceived = true;
    m_headArrival = Clock::now();
    if (m_failure) {
        // Bytes from the wrong place must never reach a file.
        endRequestAtHead(*reply);
    }
    somethingArrived();
}

void ZKHttpReader::errorStatusArrived(QNetworkReply &reply, int status) {
    qCInfo(lcEndpoints, "Header fields: %s", qUtf8Printable(headerText(reply)));
    const ContentRange range = rangeFromContentRange(reply.rawHeader("Content-Range"));
    if (status == 416 && m_position > 0 && range.total && *range.total == m_position) {
        // Asked for what follows the last byte: nothing is left to read, and
        // the server does serve ranges. A finished file resumed ends here.
        m_exists = true;
        m_canSeek = true;
        m_size = *range.total;
    } else {
        const QString phrase = reasonPhraseOf(
            reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toByteArray(), status);
        const QString answer = phrase.isEmpty() ? QString::number(status)
                                                : QStringLiteral("%1 %2").arg(status).arg(phrase);
        m_failure =
            ZKEndpointErrors::error(ZKEndpointErrors::ErrorStatus, {answer, m_url.fileName()});
        qCWarning(lcEndpoints) << "Download from" << m_url.toString()
                               << "failed:" << m_failure->localizedDescription();
    }
    m_responseReceived = true;
    m_headArrival = Clock::now();
    // An error page is never part of the file, whatever follows the head.
    endRequestAtHead(reply);
    somethingArrived();
}

void ZKHttpReader::endRequestAtHead(QNetworkReply &reply) {
    m_announcedLength = -1;
    m_requestCompleted = true;
    // Not aborted here, inside its own signal: the network library still
    // reports the status as an error of the reply once the body is in, and
    // an aborted reply takes that second error for an internal fault and
    // warns on the terminal. close() ends it with its manager, which takes
    // the reply and whatever it still had to say along.
    QObject::disconnect(&reply, nullptr, nullptr, nullptr);
    m_reply.clear();
}

QByteArray ZKHttpReader::ifRangeValue() const {
    if (isStrongEntityTag(m_entityTag)) {
        return m_entityTag;
    }
    return m_lastModified;
}

QByteArray ZKHttpReader::identity() const {
    if (m_entityTag.isEmpty() && m_lastModified.isEmpty()) {
        return {};
    }
    const QByteArray validator =
        !m_entityTag.isEmpty() ? "etag " + m_entityTag : "last-modified " + m_lastModified;
    return ZKPartialFile::identity(m_url, m_size, {validator});
}

void ZKHttpReader::noteVersion(int status, const QByteArray &entityTag,
                               const QByteArray &lastModified) {
    const bool known = !m_entityTag.isEmpty() || !m_lastModified.isEmpty();
    bool changed = false;
    if (known) {
        if (status == 200 && m_askedIfRange) {
            // The whole file instead of the range: the version named no
            // longer matches (or the server has no ranges; either way what
            // was copied before cannot be continued).
            changed = true;
        } else if (!m_entityTag.isEmpty() && !entityTag.isEmpty()) {
            changed = entityTag != m_entityTag;
        } else if (!m_lastModified.isEmpty() && !lastModified.isEmpty()) {
            changed = lastModified != m_lastModified;
        }
    }
    if (changed && !m_changed) {
        qCWarning(lcEndpoints) << "The file at" << m_url.toString()
                               << "is not the version a download began with";
        m_changed = true;
    }
    if ((!known || changed) && (!entityTag.isEmpty() || !lastModified.isEmpty())) {
        m_entityTag = entityTag;
        m_lastModified = lastModified;
    }
}

void ZKHttpReader::dataArrived() {
    QNetworkReply *reply = m_reply.data();
    if (!reply) {
        return;
    }
    if (!m_responseReceived) {
        responseHeadArrived(false);
        if (!m_responseReceived) {
            // Body of a redirect being followed.
            reply->readAll();
            return;
        }
    }
    takeFromReply();
    somethingArrived();
}

void ZKHttpReader::takeFromReply() const {
    QNetworkReply *reply = m_reply.data();
    if (!m_dataBlocks.empty() || !m_responseReceived || !reply) {
        return;
    }
    const qint64 available = reply->bytesAvailable();
    if (available > 0) {
        QByteArray block = reply->read(std::min(available, handOutBytes));
        m_receivedLength += block.size();
        m_dataBlocks.push_back(std::move(block));
    }
}

bool ZKHttpReader::nothingQueued() const {
    takeFromReply();
    return m_dataBlocks.empty();
}

void ZKHttpReader::requestFinished() {
    QNetworkReply *reply = m_reply.data();
    if (!reply) {
        return;
    }
    if (!m_responseReceived) {
        responseHeadArrived(true);
        if (m_requestCompleted) {
            // The head ended the request by itself.
            return;
        }
    }
    const QNetworkReply::NetworkError error = reply->error();
    const qint64 received = m_receivedLength + (m_responseReceived ? reply->bytesAvailable() : 0);
    if (error != QNetworkReply::NoError) {
        m_failure = ZKError(networkErrorDomain, qint64(error),
                            error == QNetworkReply::SslHandshakeFailedError &&
                                    !m_certificateRefusal.isEmpty()
                                ? m_certificateRefusal
                                : reply->errorString());
    } else if (m_announcedLength >= 0 && received < m_announcedLength && !m_failure) {
        // The client library takes a connection that closes early for the
        // end of the body; the file would then silently end short.
        m_failure = ZKEndpointErrors::error(
            ZKEndpointErrors::ConnectionClosedEarly,
            {host(), QString::number(received), QString::number(m_announcedLength)});
    }
    if (m_failure) {
        qCWarning(lcEndpoints) << "Download from" << m_url.toString()
                               << "failed:" << m_failure->localizedDescription();
    }
    m_requestCompleted = true;
    somethingArrived();
}

// ---- waiting

ZKHttpReader::Clock::duration ZKHttpReader::timeLimit() const {
    double seconds = m_timeout;
    if (seconds <= 0) {
        const qint64 preference =
            ZKUserDefaults::standard().integerForKey(ZKPreferenceKeys::downloadTimeout);
        seconds = double(preference > 0 ? preference : ZKPreferenceKeys::defaultDownloadTimeout);
    }
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

// A silence begins when a wait finds nothing to hand out and ends when
// anything arrives. hasMoreData() and the read after it wait within the same
// silence, so the limit is the longest silence of the server, whichever of
// the two notices it.
ZKHttpReader::Clock::time_point ZKHttpReader::silenceDeadline() const {
    if (!m_silenceStart) {
        m_silenceStart = Clock::now();
    }
    return *m_silenceStart + timeLimit();
}

void ZKHttpReader::somethingArrived() {
    m_silenceStart.reset();
    if (m_waitingLoop) {
        m_waitingLoop->quit();
    }
}

bool ZKHttpReader::runEventLoopOnce(Clock::time_point until) const {
    const auto remaining = until - Clock::now();
    if (remaining <= Clock::duration::zero()) {
        return false;
    }
    const qint64 milliseconds =
        std::max<qint64>(1, std::chrono::ceil<std::chrono::milliseconds>(remaining).count());
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(std::chrono::milliseconds(milliseconds));
    m_waitingLoop = &loop;
    loop.exec();
    m_waitingLoop = nullptr;
    return true;
}

void ZKHttpReader::reportFailure() {
    if (m_failure && !m_failureReported) {
        m_failureReported = true;
        setError(*m_failure);
    }
}

bool ZKHttpReader::waitForResponse() {
    const Clock::time_point until = Clock::now() + timeLimit();
    while (!m_responseReceived) {
        if (m_requestCompleted) {
            reportFailure();
            return false;
        }
        if (!runEventLoopOnce(until)) {
            if (m_responseReceived) {
                break;
            }
            setError(ZKEndpointErrors::error(ZKEndpointErrors::ResponseTimedOut, {host()}));
            return false;
        }
    }
    // A head that already ended the request in failure (an answer for
    // another range) leaves nothing to read.
    if (m_failure && m_requestCompleted && nothingQueued()) {
        reportFailure();
        return false;
    }
    return true;
}

bool ZKHttpReader::waitForData() {
    const Clock::time_point until = silenceDeadline();
    while (nothingQueued()) {
        if (m_requestCompleted) {
            reportFailure();
            return false;
        }
        if (!m_requestActive) {
            return false;
        }
        if (!runEventLoopOnce(until) && nothingQueued() && !m_requestCompleted) {
            setError(ZKEndpointErrors::error(ZKEndpointErrors::DataTimedOut, {host()}));
            return false;
        }
    }
    return true;
}

QString ZKHttpReader::host() const {
    return m_url.host();
}

// ---- reading

bool ZKHttpReader::hasMoreData() const {
    if (m_deferredStart) {
        // Opened from a piece further on, which a file has only when it
        // holds bytes before it too; the read asks for them.
        return true;
    }
    if (!nothingQueued()) {
        return true;
    }
    if (!m_requestActive) {
        return false;
    }
    // A failure is more data to come in a way: the next read reports it,
    // so that a broken transfer never looks like a finished one.
    if (m_failure && !m_failureReported) {
        return true;
    }
    if (!m_requestCompleted) {
        runEventLoopOnce(silenceDeadline());
        if (!m_requestCompleted) {
            return true;
        }
    }
    return !nothingQueued() || (m_failure && !m_failureReported);
}

QByteArray ZKHttpReader::readBlock() {
    if (!startDeferredRequest() || !hasMoreData()) {
        return {};
    }
    if (nothingQueued() && !waitForData()) {
        return {};
    }
    QByteArray block = std::move(m_dataBlocks.front());
    m_dataBlocks.pop_front();
    return block;
}

QByteArray ZKHttpReader::readBlockOfMaximumLength(quint64 length) {
    if (length == 0 || !startDeferredRequest() || !hasMoreData()) {
        return {};
    }
    if (nothingQueued() && !waitForData()) {
        return {};
    }
    if (quint64(m_dataBlocks.front().size()) <= length) {
        return readBlock();
    }
    return readBlockOfLength(length);
}

QByteArray ZKHttpReader::readBlockOfLength(quint64 length) {
    const qsizetype wanted = qsizetype(std::min<quint64>(length, quint64(INT32_MAX)));
    QByteArray result;
    if (!startDeferredRequest()) {
        return result;
    }
    while (result.size() < wanted && hasMoreData()) {
        if (nothingQueued() && !waitForData()) {
            if (!m_requestCompleted || m_failure) {
                // Nothing gathered is lost: it goes back for a later read.
                if (!result.isEmpty()) {
                    m_dataBlocks.push_front(std::move(result));
                }
                return {};
            }
            break;
        }
        QByteArray &block = m_dataBlocks.front();
        const qsizetype needed = wanted - result.size();
        if (block.size() > needed) {
            result += block.first(needed);
            block = block.sliced(needed);
        } else {
            if (result.isEmpty()) {
                result = std::move(block);
            } else {
                result += block;
            }
            m_dataBlocks.pop_front();
        }
    }
    return result;
}

// ---- a download has no children

ZKEnumerationResult ZKHttpReader::enumerateContentsOfDirectoryWithBlock(const ReaderBlock &) {
    return ZKEnumerationResultContinue;
}

ZKEnumerationResult ZKHttpReader::enumerateFileInfoWithBlock(const FileInfoBlock &) {
    return ZKEnumerationResultStop;
}

std::optional<ZKFileInfo> ZKHttpReader::fileInfoForChild(const QString &) {
    return std::nullopt;
}

std::shared_ptr<ZKReader> ZKHttpReader::childWithName(const QString &) {
    return nullptr;
}

std::shared_ptr<ZKWriter> ZKHttpReader::asWriter() {
    return nullptr;
}

quint64 ZKHttpReader::calculateDirectorySizeFollowingLinks(bool, const NameBlock &) {
    return 0;
}

// ---- attributes

QString ZKHttpReader::icon() const {
    QMimeDatabase database;
    if (QFileInfo(m_filename).suffix().isEmpty()) {
        return database.mimeTypeForName(QStringLiteral("text/html")).iconName();
    }
    return database.mimeTypeForFile(m_filename, QMimeDatabase::MatchExtension).iconName();
}

size_t ZKHttpReader::hash() const {
    return qHash(m_url);
}

QString ZKHttpReader::filenameFromContentDisposition(const QByteArray &value) {
    QString plain;
    QString extended;
    const QList<QByteArray> parameters = splitParameters(value);
    // The first part is the disposition type.
    for (qsizetype i = 1; i < parameters.size(); ++i) {
        const QByteArray &parameter = parameters.at(i);
        const qsizetype equals = parameter.indexOf('=');
        if (equals <= 0) {
            continue;
        }
        const QByteArray name = parameter.left(equals).trimmed().toLower();
        const QByteArray text = parameter.mid(equals + 1).trimmed();
        if (name == "filename*" && extended.isEmpty()) {
            extended = decodeExtendedValue(unquote(text));
        } else if (name == "filename" && plain.isEmpty()) {
            plain = QString::fromUtf8(unquote(text));
        }
    }
    return extended.isEmpty() ? plain : extended;
}

QString ZKHttpReader::safeFilename(const QString &name) {
    // Only the last component: a server does not choose the folder.
    QString result = name;
    const qsizetype separator =
        std::max(result.lastIndexOf(QLatin1Char('/')), result.lastIndexOf(QLatin1Char('\\')));
    if (separator >= 0) {
        result = result.mid(separator + 1);
    }
    result.removeIf(isControlCharacter);
    result = result.trimmed();
    // No "." or "..", and no hidden file that the user would not see. Blanks
    // among the leading dots go with them: ". .." would be ".." otherwise.
    qsizetype start = 0;
    while (start < result.size() &&
           (result.at(start) == QLatin1Char('.') || result.at(start).isSpace())) {
        ++start;
    }
    result = result.mid(start);
    if (result.toUtf8().size() > maximumFilenameBytes) {
        // Shortened before the extension, which tells what the file is.
        const qsizetype dot = result.lastIndexOf(QLatin1Char('.'));
        const QString extension =
            dot > 0 && result.size() - dot <= 16 ? result.mid(dot) : QString();
        QString stem = result.left(result.size() - extension.size());
        while (!stem.isEmpty() && (stem + extension).toUtf8().size() > maximumFilenameBytes) {
            stem.chop(1);
            if (!stem.isEmpty() && stem.back().isHighSurrogate()) {
                stem.chop(1);
            }
        }
        // The cut may leave a blank at the end.
        result = (stem + extension).trimmed();
    }
    return result;
}

QDateTime ZKHttpReader::dateFromHttpDate(const QByteArray &value) {
    return ZKIcuDate::parse(QString::fromUtf8(value.trimmed()), "EEE',' dd MMM yyyy HH':'mm':'ss z",
                            "en_US", "GMT", ZKIcuDate::Strict);
}

ZKHttpReader::ContentRange ZKHttpReader::rangeFromContentRange(const QByteArray &value) {
    const QByteArray text = value.trimmed();
    if (!text.toLower().startsWith("bytes ")) {
        return {};
    }
    const QByteArray rest = text.mid(6);
    const qsizetype slash = rest.indexOf('/');
    if (slash < 0) {
        return {};
    }
    const QByteArray piece = rest.left(slash).trimmed();
    const QByteArray length = rest.mid(slash + 1).trimmed();
    ContentRange range;
    if (length != "*") {
        range.total = decimalNumber(length);
        if (!range.total) {
            return {};
        }
    }
    if (piece == "*") {
        return range.total ? range : ContentRange();
    }
    const qsizetype dash = piece.indexOf('-');
    if (dash < 0) {
        return {};
    }
    const std::optional<quint64> first = decimalNumber(piece.left(dash).trimmed());
    const std::optional<quint64> last = decimalNumber(piece.mid(dash + 1).trimmed());
    if (!first || !last || *first > *last || (range.total && *last >= *range.total)) {
        return {};
    }
    range.first = first;
    range.last = last;
    return range;
}

qint64 ZKHttpReader::lengthFromContentLength(const QByteArray &value) {
    // Read as the network library reads it, which frames the body by it.
    bool ok = false;
    const qint64 length = value.trimmed().toLongLong(&ok);
    return ok && length >= 0 ? length : -1;
}

std::optional<quint64> ZKHttpReader::sizeFromHead(int status, quint64 position,
                                                  const ContentRange &range, qint64 length) {
    // A piece's size is the whole file's, not the remainder's: it is what a
    // partial copy is compared with and what progress is measured against.
    if (status == 206 && range.total) {
        return range.total;
    }
    if (length < 0) {
        return std::nullopt;
    }
    return status == 206 ? position + quint64(length) : quint64(length);
}

QString ZKHttpReader::reasonPhraseOf(const QByteArray &sent, int status) {
    QString phrase = QString::fromLatin1(sent);
    phrase.removeIf(isControlCharacter);
    // Trimmed again: the cut may fall right after a blank.
    phrase = phrase.simplified().left(100).trimmed();
    return phrase.isEmpty() ? standardReasonPhrase(status) : phrase;
}

namespace {

const ZKEndpointRegistration family{{
    {QStringLiteral("http"), QStringLiteral("https")},
    [](const QUrl &url, const QString &, const std::optional<QString> &) -> ZKReaderPtr {
        return ZKHttpReader::readerWithUrl(url);
    },
    {},
}};

const ZKPropertyListRegistration savedForm{QStringLiteral("HttpReader"),
                                           [](const QVariantMap &dict) {
                                               return std::make_shared<ZKHttpReader>(dict);
                                           }};

} // namespace
