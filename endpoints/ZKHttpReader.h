// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKReader.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

class QEventLoop;
class QNetworkAccessManager;
class QNetworkReply;

// The reader of one file downloaded over HTTP or HTTPS. Every request asks
// for a byte range from the wanted position on, so that a download can be
// continued; the status of the answer tells whether the server honoured it.
//
// The body arrives asynchronously on the thread that reads, and only while
// that thread waits inside this reader: each request's network manager is
// made on that thread and delivers its signals through a nested event loop.
// A reader is therefore used from one thread at a time and takes no locks;
// close it on the thread that read. An answer kept by close() waits on the
// keeper's thread, and comes to whichever thread opens the reader next.
class ZKHttpReader : public ZKReader {
public:
    // The network failures are kept in this domain, with the number of
    // QNetworkReply::NetworkError as the code and the client's text.
    static const QString networkErrorDomain;

    static std::shared_ptr<ZKHttpReader> readerWithUrl(const QUrl &url);

    // Construct through std::make_shared, as every reader.
    explicit ZKHttpReader(const QUrl &url);
    // "Url" gives the address; "CanSeek", when present, the last known answer;
    // "ETag" and "LastModified", when present, the version a download began
    // with.
    explicit ZKHttpReader(const QVariantMap &propertyList);
    ~ZKHttpReader() override;

    ZKHttpReader(const ZKHttpReader &) = delete;
    ZKHttpReader &operator=(const ZKHttpReader &) = delete;

    QVariantMap asPropertyList() const override;

    // Asks for the file from where an earlier request of this reader was
    // cut off in its body, if it was: the head tells all that an open must
    // know, and a copy that continues there reads the body of the same
    // answer. A read from elsewhere asks again first.
    bool open() override;
    // An answer whose body nobody has begun is kept a few seconds, so that
    // the next open or seek of this reader takes it instead of asking again
    // (ZKHttpResponseKeeper).
    void close() override;

    QByteArray readBlock() override;
    QByteArray readBlockOfLength(quint64 length) override;
    QByteArray readBlockOfMaximumLength(quint64 length) override;
    // Starts a fresh request for the bytes from position on and waits for
    // the head of the answer, unless an answer whose body nobody has begun
    // starts there and its head is only seconds old.
    bool seekToPosition(quint64 position) override;
    // The next open() asks from position on, once: an unfinished copy is
    // continued with the answer whose head the open looks at.
    bool takesOpenPosition() const override { return true; }
    void setOpenPosition(quint64 position) override { m_openPosition = position; }

    // A download is a single file: no children, no walk, no writer.
    ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &block) override;
    ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &block) override;
    std::optional<ZKFileInfo> fileInfoForChild(const QString &name) override;
    std::shared_ptr<ZKReader> childWithName(const QString &name) override;
    std::shared_ptr<ZKWriter> asWriter() override;
    quint64 calculateDirectorySizeFollowingLinks(bool followLinks, const NameBlock &block) override;

    QUrl url() const override { return m_url; }
    QUrl urlForPasteboard() override { return m_url; }
    // The name the server suggests once it has answered, made safe to use
    // as one file name inside a folder; until then the URL's last component.
    QString filename() const override { return m_filename; }
    QString icon() const override;
    bool exists() const override { return m_exists; }
    // The length of the whole resource as the last answer gave it.
    quint64 size() const override { return m_size; }
    QDateTime creationDate() const override { return {}; }
    QDateTime modificationDate() const override { return m_modificationDate; }
    quint16 permissions() const override { return 0; }
    quint64 owner() const override { return 0; }
    quint64 group() const override { return 0; }
    bool isExtensionHidden() const override { return false; }
    bool isImmutable() const override { return false; }
    bool isDirectory() const override { return false; }
    bool isLink() const override { return false; }
    QString linkTarget() const override { return {}; }
    bool isLocal() const override { return false; }
    bool canSeek() const override { return m_canSeek; }
    void setCanSeek(bool canSeek) { m_canSeek = canSeek; }
    // Lets the event loop deliver what has arrived when nothing is queued.
    bool hasMoreData() const override;
    // Every request after the first names the version it saw ("If-Range"
    // with its "ETag", else its "Last-Modified"), so that a server whose
    // file was replaced answers with the whole new file instead of a piece
    // of it. Once an answer shows another version this stays true for the
    // reader and its saved form: whatever was copied before is of the old
    // one. The new version is taken as the one to ask for from then on.
    bool hasChanged() const override { return m_changed; }
    void acceptCurrentVersion() override { m_changed = false; }
    // The address, the length and the validator of the version last
    // answered; empty when the server gave no validator.
    QByteArray identity() const override;

    // Seconds of silence allowed while waiting; 0 or less: the user's
    // "downloadTimeout".
    double timeout() const { return m_timeout; }
    void setTimeout(double seconds) { m_timeout = seconds; }

    // The status of the last answer; 0 before one arrived.
    int statusCode() const { return m_statusCode; }

    size_t hash() const;

    // The name a response header "Content-Disposition" suggests, or an empty
    // text when it names none.
    static QString filenameFromContentDisposition(const QByteArray &value);
    // One plain file name that stays inside whatever folder it is put in:
    // path components, control characters and leading dots are dropped.
    // Empty when nothing usable is left.
    static QString safeFilename(const QString &name);
    // The date of a "Last-Modified" header; invalid unless it has the form
    // "Tue, 15 Nov 1994 08:12:31 GMT".
    static QDateTime dateFromHttpDate(const QByteArray &value);

    // A "Content-Range" header: "bytes 100-199/1000" or "bytes 100-199/*" of
    // a piece, "bytes */1000" in a refusal of a range. All parts are absent
    // when the header has another form, or names a piece that does not lie
    // inside its file: first <= last < total.
    struct ContentRange {
        // Both or neither.
        std::optional<quint64> first;
        std::optional<quint64> last;
        std::optional<quint64> total;
    };
    static ContentRange rangeFromContentRange(const QByteArray &value);
    // The body's length a "Content-Length" header announces; -1 when it
    // announces none.
    static qint64 lengthFromContentLength(const QByteArray &value);
    // The whole file's length as an answer below 400 tells it, asked for the
    // bytes from position on, with its range and the body's length (-1 when
    // unknown); none when the answer does not tell.
    static std::optional<quint64> sizeFromHead(int status, quint64 position,
                                               const ContentRange &range, qint64 length);
    // The reason phrase of an answer as shown in the task's row: the one the
    // server sent, but only as printable text of a sane length; else the
    // standard one of the status, if any.
    static QString reasonPhraseOf(const QByteArray &sent, int status);

    // How long an answer whose body nobody has begun may serve a later open
    // or seek, counted from its head. Past it, the server may have given up
    // on a connection nobody read from.
    static constexpr std::chrono::seconds answerShelfLife{5};

private:
    using Clock = std::chrono::steady_clock;

    // A request whose head arrived and whose body nobody has begun, waiting
    // in the keeper: what this reader knew of it.
    struct KeptRequest {
        quint64 ticket = 0;
        quint64 position = 0;
        int status = 0;
        bool askedIfRange = false;
        bool completed = false;
        qint64 announcedLength = -1;
        qint64 receivedLength = 0;
        std::deque<QByteArray> dataBlocks;
        Clock::time_point headArrival;
        QByteArray entityTag;
        QByteArray lastModified;
    };

    // Lets go of the request in flight: kept when keep allows and nobody has
    // begun its body, else aborted.
    void endRequest(bool keep);
    bool isKeepable() const;
    void keepRequest();
    void discardKeptRequest();
    // Takes the kept request when its body begins at position (anywhere
    // when none is given) and it is still fresh; the kept request is gone
    // either way.
    bool adoptKeptRequest(std::optional<quint64> position);
    // Whether the request in flight serves the bytes from position on as it
    // stands.
    bool continuesAt(quint64 position) const;
    // Where the body of the answer begins in the file.
    quint64 bodyStart() const;
    qint64 handedOutLength() const;
    // An open answered from elsewhere: a read asks for the right place first.
    bool startDeferredRequest();
    void connectReply(QNetworkReply *reply);
    void startRequest(quint64 position);
    void responseHeadArrived(bool isFinal);
    // An answer of 400 or above: nothing of its body is data of the file.
    void errorStatusArrived(QNetworkReply &reply, int status);
    void noteVersion(int status, const QByteArray &entityTag, const QByteArray &lastModified);
    // The header value that names the version known, or empty.
    QByteArray ifRangeValue() const;
    // The request ends with the head: what follows it is not read, and the
    // reply is dropped with its manager when the reader closes.
    void endRequestAtHead(QNetworkReply &reply);
    void dataArrived();
    void requestFinished();
    bool waitForResponse();
    // Answers false at the end of the data too; then error() is untouched.
    bool waitForData();
    void reportFailure();
    // Moves the next block out of the network buffer when none is queued;
    // const because hasMoreData() needs it too.
    void takeFromReply() const;
    bool nothingQueued() const;
    // Runs the thread's event loop until something of this request happens
    // or the deadline passes. Answers false when the deadline had passed.
    bool runEventLoopOnce(Clock::time_point deadline) const;
    Clock::duration timeLimit() const;
    Clock::time_point silenceDeadline() const;
    void somethingArrived();
    QString host() const;

    QUrl m_url;
    QString m_password;
    QString m_filename;
    double m_timeout = 0;
    bool m_exists = false;
    quint64 m_size = 0;
    QDateTime m_modificationDate;
    bool m_canSeek = true;
    int m_statusCode = 0;
    // The version the download began with, as the server named it.
    QByteArray m_entityTag;
    QByteArray m_lastModified;
    bool m_changed = false;
    // Whether the request in flight carried "If-Range".
    bool m_askedIfRange = false;
    quint64 m_position = 0;

    // Filled by the request's signals, which arrive only while this reader
    // runs the thread's event loop.
    QNetworkAccessManager *m_manager = nullptr;
    QPointer<QNetworkReply> m_reply;
    // Blocks taken out of the network buffer and not yet handed out.
    mutable std::deque<QByteArray> m_dataBlocks;
    bool m_requestActive = false;
    bool m_responseReceived = false;
    bool m_requestCompleted = false;
    // A failure of the transfer waits behind the data that came before it,
    // and is handed to error() once that data is consumed.
    ZKOptionalError m_failure;
    // Why the server's certificate was refused, in the user's words.
    QString m_certificateRefusal;
    bool m_failureReported = false;
    // The body's length as announced (-1: not announced) and as received,
    // so that a connection closed early is never taken for the end.
    qint64 m_announcedLength = -1;
    mutable qint64 m_receivedLength = 0;
    // hasMoreData() is a query, yet it lets the loop deliver what arrived.
    mutable QEventLoop *m_waitingLoop = nullptr;
    mutable std::optional<Clock::time_point> m_silenceStart;
    // This reader's connections to the reply, and only those: the reply's
    // own to the network thread must stay while it is kept.
    QList<QMetaObject::Connection> m_connections;
    Clock::time_point m_headArrival;
    // Where the data handed out stopped when a request ended in the middle
    // of its body; 0 when none did.
    quint64 m_resumeHint = 0;
    // Where the next open() begins, as the caller expects; wins over the
    // hint above, which knows only what was handed out, not what was kept.
    std::optional<quint64> m_openPosition;
    // Set when open() took an answer from elsewhere than the first byte.
    std::optional<quint64> m_deferredStart;
    std::optional<KeptRequest> m_kept;
};
