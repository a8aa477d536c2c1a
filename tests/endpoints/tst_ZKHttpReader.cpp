// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The HTTP reader against a scripted server: the protocol details, the
// failures a real network produces, and the file names servers suggest.

#include "ZKCopyTask.h"
#include "ZKFileSystemWriter.h"
#include "ZKHttpReader.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKReaderFactory.h"
#include "ZKScriptedHttpServer.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using Response = ZKScriptedHttpServer::Response;
using S = ZKTaskState;

Q_DECLARE_METATYPE(ZKScriptedHttpServer::Response)

namespace {

Response fileResponse(const QByteArray &body, const QByteArray &extraHeaders = {}) {
    Response response;
    response.servesRanges = true;
    response.body = body;
    response.head = extraHeaders;
    return response;
}

// Sent as it stands, and the connection closed after it.
Response plainResponse(const QByteArray &head, const QByteArray &body) {
    Response response;
    response.head = head;
    response.body = body;
    response.closeAfterBody = true;
    return response;
}

// Everything the reader hands out until it says there is no more.
QByteArray readAll(ZKReader &reader) {
    QByteArray all;
    while (reader.hasMoreData()) {
        const QByteArray block = reader.readBlock();
        if (block.isEmpty()) {
            break;
        }
        all += block;
    }
    return all;
}

} // namespace

using ZKTestSupport::errorText;
using ZKTestSupport::runTask;

class TestZKHttpReader : public QObject {
    Q_OBJECT

    ZKScriptedHttpServer m_server;
    std::unique_ptr<QTemporaryDir> m_dir;

    std::shared_ptr<ZKHttpReader> reader(const QString &path) {
        auto made = ZKHttpReader::readerWithUrl(m_server.url(path));
        made->setTimeout(2);
        return made;
    }

    std::shared_ptr<ZKCopyTask> downloadTask(const QString &path, const QString &folder) {
        return ZKCopyTask::create(
            ZKReaderFactory::readerWithUrl(m_server.url(path)),
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)));
    }

private Q_SLOTS:
    void initTestCase() {
        ZKPreferences::initialiseUserDefaults();
        QVERIFY(m_server.start());
        const QByteArray content = ZKTestSupport::randomBytes(5000, 1);
        m_server.setResponse("/ranged.bin", fileResponse(content));
        m_server.setResponse("/final.bin", fileResponse(content));
        m_server.setResponse("/whole.bin",
                             plainResponse("HTTP/1.1 200 OK\r\nContent-Length: 5000", content));
        m_server.setResponse("/old/name.bin",
                             plainResponse("HTTP/1.1 302 Found\r\nLocation: /moved/new.bin\r\n"
                                           "Content-Length: 5",
                                           "moved"));
        m_server.setResponse("/moved/new.bin",
                             plainResponse("HTTP/1.1 301 Moved Permanently\r\n"
                                           "Location: /final.bin\r\nContent-Length: 0",
                                           {}));
        m_server.setResponse("/total.bin",
                             plainResponse("HTTP/1.1 206 Partial Content\r\nContent-Length: 6\r\n"
                                           "Content-Range: bytes 4-9/10",
                                           "456789"));
        m_server.setResponse("/some.bin",
                             plainResponse("HTTP/1.1 206 Partial Content\r\nContent-Length: 6\r\n"
                                           "Content-Range: bytes 4-9/*",
                                           "456789"));
        m_server.setResponse("/unannounced.bin",
                             plainResponse("HTTP/1.1 200 OK\r\nConnection: close",
                                           ZKTestSupport::randomBytes(70000, 8)));
        m_server.setResponse("/longer.bin", plainResponse("HTTP/1.1 200 OK\r\nContent-Length: 10",
                                                          "0123456789 and then some"));
        m_server.setResponse("/after", fileResponse("fine"));
    }

    void init() {
        m_server.clearRequests();
        m_dir = std::make_unique<QTemporaryDir>();
        ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 5);
    }

    // What the reader makes of the answers served in initTestCase(), asked
    // for from an offset; a file is named after where it really came from.
    void answers_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("served");
        QTest::addColumn<quint64>("offset");
        QTest::addColumn<int>("status");
        QTest::addColumn<quint64>("size");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char *tag, const char *path, quint64 offset, int status,
                            quint64 size, const QByteArray &expected,
                            const char *served = nullptr) {
            QTest::newRow(tag) << QString(path) << QString(served ? served : path) << offset
                               << status << size << expected;
        };
        const QByteArray content = ZKTestSupport::randomBytes(5000, 1);
        // bytes=0- is asked for too: the answer's status tells whether ranges work.
        row("ranges from the start", "/ranged.bin", 0, 206, 5000, content);
        row("ranges from the middle", "/ranged.bin", 1000, 206, 5000, content.mid(1000));
        // A finished file that is resumed: no bytes left is no error.
        row("ranges at the end", "/ranged.bin", 5000, 416, 5000, {});
        // A server that ignores the range sends everything from byte 0.
        row("range ignored", "/whole.bin", 1000, 200, 5000, content);
        row("redirected twice", "/old/name.bin", 1000, 206, 5000, content.mid(1000), "/final.bin");
        row("206 with total", "/total.bin", 4, 206, 10, "456789");
        row("206, total unknown", "/some.bin", 4, 206, 10, "456789");
        row("no length", "/unannounced.bin", 0, 200, 0, ZKTestSupport::randomBytes(70000, 8));
        // What follows the announced length is not part of the answer.
        row("longer than announced", "/longer.bin", 0, 200, 10, "0123456789");
    }

    void answers() {
        QFETCH(QString, path);
        QFETCH(QString, served);
        QFETCH(quint64, offset);
        QFETCH(int, status);
        auto http = reader(path);
        QVERIFY2(http->seekToPosition(offset), qUtf8Printable(errorText(http->error())));
        QVERIFY(http->exists());
        QCOMPARE(http->statusCode(), status);
        QCOMPARE(http->canSeek(), status != 200);
        QTEST(http->size(), "size");
        QCOMPARE(http->filename(), QUrl(served).fileName());
        QTEST(readAll(*http), "expected");
        QVERIFY2(!http->error(), qUtf8Printable(errorText(http->error())));
        // Qt sends a request again by itself when it notices the server's
        // close before the answer (a race on a slow machine), so the count
        // may be two; each must ask for the same range.
        const QByteArrayList ranges = m_server.rangesRequestedFor(served);
        QVERIFY(!ranges.isEmpty());
        for (const QByteArray &range : ranges) {
            QCOMPARE(range, "bytes=" + QByteArray::number(offset) + '-');
        }
        // Nothing left over spoils the next request.
        auto next = reader("/after");
        QVERIFY2(next->open(), qUtf8Printable(errorText(next->error())));
        QCOMPARE(readAll(*next), QByteArray("fine"));
    }

    // An error page is never taken for the file: the request fails and
    // nothing of the page is handed out.
    void errorStatusFails_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<quint64>("offset");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *tag, const char *path, const QByteArray &head,
                            quint64 offset, const char *message) {
            QTest::newRow(tag) << QString(path) << head << offset << QString(message);
        };
        row("the server's own phrase", "/secret.bin", "HTTP/1.1 403 Go Away", 0,
            "The server answered 403 Go Away for 'secret.bin'.");
        row("no phrase", "/busy.bin", "HTTP/1.1 503 ", 0,
            "The server answered 503 Service Unavailable for 'busy.bin'.");
        row("on resuming", "/broken.iso", "HTTP/1.1 500 Internal Server Error", 1000,
            "The server answered 500 Internal Server Error for 'broken.iso'.");
        // Named after the address asked for, not the one redirected to.
        row("after a redirect", "/old/name.iso", {}, 0,
            "The server answered 410 Gone for 'name.iso'.");
        row("range beyond the end", "/ranged.bin", {}, 6000,
            "The server answered 416 Range Not Satisfiable for 'ranged.bin'.");
    }

    void errorStatusFails() {
        QFETCH(QString, path);
        QFETCH(QByteArray, head);
        QFETCH(quint64, offset);
        if (path == QLatin1String("/old/name.iso")) {
            m_server.setResponse(path, plainResponse("HTTP/1.1 302 Found\r\nLocation: /gone.iso\r\n"
                                                     "Content-Length: 0",
                                                     {}));
            m_server.setResponse(
                "/gone.iso", plainResponse("HTTP/1.1 410 Gone\r\nContent-Length: 9", "gone page"));
        } else if (!head.isEmpty()) {
            m_server.setResponse(path, plainResponse(head + "\r\nContent-Length: 9", "the page"));
        }
        auto http = reader(path);
        QVERIFY(offset == 0 ? !http->open() : !http->seekToPosition(offset));
        QVERIFY(http->error());
        QCOMPARE(http->error()->domain(), ZKError::applicationDomain);
        QCOMPARE(http->error()->code(), ZKErrorCode::readFailed);
        QTEST(http->error()->localizedDescription(), "message");
        QVERIFY(!http->hasMoreData());
        QCOMPARE(http->readBlock(), QByteArray());
        QCOMPARE(http->readBlockOfLength(100), QByteArray());
    }

    void lastModified_data() {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<QDateTime>("date");
        QTest::newRow("RFC 1123") << QByteArray("Tue, 15 Nov 1994 08:12:31 GMT")
                                  << QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC);
        // Gregorian all the way back, as HTTP counts; not Julian before 1582.
        QTest::newRow("before 1582") << QByteArray("Wed, 01 Jan 1000 00:00:00 GMT")
                                     << QDateTime(QDate(1000, 1, 1), QTime(0, 0), Qt::UTC);
        QTest::newRow("other form") << QByteArray("Tuesday, 15-Nov-94 08:12:31 GMT") << QDateTime();
        QTest::newRow("trailing text")
            << QByteArray("Tue, 15 Nov 1994 08:12:31 GMT garbage") << QDateTime();
        QTest::newRow("missing") << QByteArray() << QDateTime();
    }

    void lastModified() {
        QFETCH(QByteArray, header);
        QFETCH(QDateTime, date);
        QCOMPARE(ZKHttpReader::dateFromHttpDate(header), date);
        m_server.setResponse(
            "/dated",
            fileResponse("x", header.isEmpty() ? QByteArray() : "Last-Modified: " + header));
        auto http = reader("/dated");
        QVERIFY(http->open());
        QCOMPARE(http->modificationDate(), date);
    }

    void contentDisposition_data() {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<QString>("name");
        QTest::newRow("quoted") << QByteArray("attachment; filename=\"report 2024.pdf\"")
                                << "report 2024.pdf";
        QTest::newRow("token") << QByteArray("attachment; filename=plain.txt") << "plain.txt";
        QTest::newRow("escaped quote")
            << QByteArray(R"(attachment; filename="a\"b.txt")") << "a\"b.txt";
        QTest::newRow("semicolon inside quotes")
            << QByteArray("attachment; filename=\"a;b.txt\"; size=3") << "a;b.txt";
        // The extended form wins, wherever it stands.
        QTest::newRow("extended") << QByteArray("attachment; filename=\"fallback.txt\"; "
                                                "filename*=UTF-8''na%C3%AFve%20file.txt")
                                  << QStringLiteral("na\u00efve file.txt");
        QTest::newRow("extended, latin-1")
            << QByteArray("attachment; filename*=iso-8859-1'en'%E9t%E9.txt")
            << QStringLiteral("\u00e9t\u00e9.txt");
        QTest::newRow("no name") << QByteArray("inline") << QString();
    }

    void contentDisposition() {
        QFETCH(QByteArray, header);
        QTEST(ZKHttpReader::filenameFromContentDisposition(header), "name");
    }

    // Climbing, absolute and dotted names are checked end to end further down.
    void safeFilename_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("safe");
        const auto row = [](const char *tag, const QString &name, const QString &safe) {
            QTest::newRow(tag) << name << safe;
        };
        row("windows path", "C:\\Users\\x\\evil.exe", "evil.exe");
        row("trailing slash", "dir/", "");
        row("hidden", ".bashrc", "bashrc");
        row("control characters", QStringLiteral("a\nb\r\tc\u0000.txt"), "abc.txt");
        // A terminal's escape in one character, as in "\x1b[".
        row("C1 control characters", QStringLiteral("a\u009b2Jb\u0085.txt"), "a2Jb.txt");
        row("too long", QString(300, QLatin1Char('n')) + ".tar.gz",
            QString(252, QLatin1Char('n')) + ".gz");
        row("too long, cut after a blank",
            QString(254, QLatin1Char('n')) + " " + QString(10, QLatin1Char('m')),
            QString(254, QLatin1Char('n')));
        row("hidden behind blanks", ". . .bashrc", "bashrc");
    }

    void safeFilename() {
        QFETCH(QString, name);
        QTEST(ZKHttpReader::safeFilename(name), "safe");
    }

    // -1 stands for a part that is absent.
    void contentRange_data() {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<qint64>("first");
        QTest::addColumn<qint64>("last");
        QTest::addColumn<qint64>("total");
        const auto row = [](const char *tag, const QByteArray &header, qint64 first, qint64 last,
                            qint64 total) {
            QTest::newRow(tag) << header << first << last << total;
        };
        row("piece", "bytes 100-199/1000", 100, 199, 1000);
        row("total unknown", "bytes 100-199/*", 100, 199, -1);
        row("last byte", "bytes 999-999/1000", 999, 999, 1000);
        row("refusal", "bytes */1000", -1, -1, 1000);
        row("unit in capitals", "Bytes 0-0/1", 0, 0, 1);
        row("other unit", "items 0-0/1", -1, -1, -1);
        row("missing", "", -1, -1, -1);
        // A piece outside its own file, or backwards, places its bytes nowhere.
        row("starts at the end", "bytes 1000-1000/1000", -1, -1, -1);
        row("ends past the end", "bytes 900-1000/1000", -1, -1, -1);
        row("backwards", "bytes 199-100/1000", -1, -1, -1);
        row("no last byte", "bytes 100-/1000", -1, -1, -1);
        row("no total", "bytes 100-199", -1, -1, -1);
        row("sign", "bytes +100-199/1000", -1, -1, -1);
        row("too large", "bytes 0-99999999999999999999/*", -1, -1, -1);
        row("nothing known", "bytes */*", -1, -1, -1);
    }

    void contentRange() {
        QFETCH(QByteArray, header);
        QFETCH(qint64, first);
        QFETCH(qint64, last);
        QFETCH(qint64, total);
        const ZKHttpReader::ContentRange range = ZKHttpReader::rangeFromContentRange(header);
        QCOMPARE(range.first ? qint64(*range.first) : -1, first);
        QCOMPARE(range.last ? qint64(*range.last) : -1, last);
        QCOMPARE(range.total ? qint64(*range.total) : -1, total);
    }

    // A piece of a file is never written where it does not belong.
    void misplacedPieceFails_data() {
        QTest::addColumn<QByteArray>("range");
        QTest::addColumn<QString>("message");
        QTest::newRow("from elsewhere")
            << QByteArray("bytes 0-5/10")
            << "The server at 127.0.0.1 sent bytes from 0 on when asked for bytes from 4 on.";
        QTest::newRow("past the end") << QByteArray("bytes 4-9/6")
                                      << "The server at 127.0.0.1 sent bytes of an invalid range.";
    }

    void misplacedPieceFails() {
        QFETCH(QByteArray, range);
        m_server.setResponse("/misplaced.bin",
                             plainResponse("HTTP/1.1 206 Partial Content\r\nContent-Length: 6\r\n"
                                           "Content-Range: " +
                                               range,
                                           "456789"));
        auto http = reader("/misplaced.bin");
        QVERIFY(!http->seekToPosition(4));
        QVERIFY(http->error());
        QCOMPARE(http->error()->code(), ZKErrorCode::readFailed);
        QTEST(http->error()->localizedDescription(), "message");
        QVERIFY(!http->canSeek());
        QVERIFY(!http->hasMoreData());
        QCOMPARE(http->readBlock(), QByteArray());
    }

    void contentLength_data() {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<qint64>("length");
        QTest::newRow("plain") << QByteArray("5000") << qint64(5000);
        QTest::newRow("blanks around") << QByteArray(" 42 ") << qint64(42);
        QTest::newRow("zero") << QByteArray("0") << qint64(0);
        QTest::newRow("negative") << QByteArray("-1") << qint64(-1);
        // Two headers arrive joined; they tell no single length.
        QTest::newRow("twice") << QByteArray("10, 10") << qint64(-1);
        QTest::newRow("text") << QByteArray("many") << qint64(-1);
        QTest::newRow("missing") << QByteArray() << qint64(-1);
    }

    void contentLength() {
        QFETCH(QByteArray, header);
        QTEST(ZKHttpReader::lengthFromContentLength(header), "length");
    }

    void reasonPhrase_data() {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("phrase");
        QTest::newRow("none, unknown status") << QByteArray() << 499 << "";
        QTest::newRow("blanks") << QByteArray("  Not   Found ") << 404 << "Not Found";
        QTest::newRow("control characters")
            << QByteArray("Bad\x1b[2J Gateway\x7f") << 502 << "Bad[2J Gateway";
        QTest::newRow("C1 control characters") << QByteArray("Bad\x9b"
                                                             "2J Gateway")
                                               << 502 << "Bad2J Gateway";
        QTest::newRow("too long") << QByteArray(300, 'x') << 500 << QString(100, QLatin1Char('x'));
        QTest::newRow("cut after a blank")
            << QByteArray(99, 'x') + " and more" << 500 << QString(99, QLatin1Char('x'));
    }

    void reasonPhrase() {
        QFETCH(QByteArray, sent);
        QFETCH(int, status);
        QTEST(ZKHttpReader::reasonPhraseOf(sent, status), "phrase");
    }

    void urlWithoutFileNameIsInvalid_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("folder") << "/files/";
        QTest::newRow("root") << "/";
        QTest::newRow("parent") << "/files/..";
    }

    void urlWithoutFileNameIsInvalid() {
        QFETCH(QString, path);
        const QUrl url = m_server.url(path);
        auto http = ZKHttpReader::readerWithUrl(url);
        QVERIFY(!http->open() && http->error());
        QCOMPARE(http->error()->code(), ZKErrorCode::readFailed);
        QCOMPARE(http->error()->localizedDescription(),
                 QStringLiteral("Invalid url: '%1'").arg(url.toString()));
        QVERIFY(m_server.requests().isEmpty());
    }

    void readBlockSizes() {
        const QByteArray content = ZKTestSupport::randomBytes(5000, 1);
        auto http = reader("/ranged.bin");
        QVERIFY(http->open());
        QCOMPARE(http->readBlockOfLength(10), content.left(10));
        QByteArray all = content.left(10);
        while (http->hasMoreData()) {
            const QByteArray block = http->readBlockOfMaximumLength(100);
            QVERIFY(!block.isEmpty() && block.size() <= 100);
            all += block;
        }
        QCOMPARE(all, content);
        // A length beyond the end gives what is left, then nothing.
        QVERIFY(http->seekToPosition(4990));
        QCOMPARE(http->readBlockOfLength(100), content.mid(4990));
        QVERIFY(!http->hasMoreData());
        QCOMPARE(http->readBlockOfLength(10), QByteArray());
        QVERIFY(!http->error());
    }

    void timeouts_data() {
        QTest::addColumn<qint64>("pauseAfter");
        QTest::addColumn<bool>("ownLimit");
        QTest::addColumn<QString>("message");
        // The user's limit applies when the reader has none of its own.
        QTest::newRow("silent server") << ZKScriptedHttpServer::pauseBeforeHead << false
                                       << "Timed out waiting for response from 127.0.0.1.";
        QTest::newRow("stalled body")
            << qint64(50000) << true << "Timed out waiting for data from 127.0.0.1.";
    }

    void timeouts() {
        QFETCH(qint64, pauseAfter);
        QFETCH(bool, ownLimit);
        const QByteArray content = ZKTestSupport::randomBytes(200000, 4);
        Response stalling = fileResponse(content);
        stalling.pauseAfter = pauseAfter;
        stalling.pauseMilliseconds = 2500;
        m_server.setResponse("/stall", stalling);
        auto http = ZKHttpReader::readerWithUrl(m_server.url("/stall"));
        if (ownLimit) {
            http->setTimeout(1);
        } else {
            ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 1);
        }
        QElapsedTimer clock;
        clock.start();
        const bool opened = http->open();
        QCOMPARE(opened, pauseAfter > 0);
        QCOMPARE(opened ? readAll(*http) : QByteArray(), content.left(qMax(pauseAfter, 0)));
        QVERIFY2(clock.elapsed() >= 900 && clock.elapsed() < 2400,
                 qPrintable(QString::number(clock.elapsed())));
        QVERIFY(http->error());
        QCOMPARE(http->error()->code(), ZKErrorCode::httpTimeout);
        QTEST(http->error()->localizedDescription(), "message");
    }

    void endlessHeadFailsTheDownloadInTime_data() {
        QTest::addColumn<int>("trickle");
        QTest::newRow("fast") << 20;
        // Each byte well within the limit: only a limit on the whole head
        // ends this one.
        QTest::newRow("slow") << 700;
    }

    // A head that never ends holds the download no longer than the limit
    // (2 s here), plus a margin for a loaded machine.
    void endlessHeadFailsTheDownloadInTime() {
        QFETCH(int, trickle);
        Response endless;
        endless.trickleMilliseconds = trickle;
        m_server.setResponse("/endless.bin", endless);
        ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 2);
        const auto task = downloadTask("/endless.bin", m_dir->path());
        QElapsedTimer clock;
        clock.start();
        runTask(*task);
        QVERIFY2(clock.elapsed() < 3500, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(task->state(), ZKTaskState(S::Failed));
        QCOMPARE(task->error()->localizedDescription(),
                 QStringLiteral("Timed out waiting for response from 127.0.0.1."));
        QCOMPARE(
            QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
            QStringList());
    }

    void shortSilenceIsNoTimeout() {
        // The limit is the longest silence, not the length of the download:
        // three pauses of 0.6 s in a row stay under a limit of 1 s each.
        const QByteArray content = ZKTestSupport::randomBytes(30000, 5);
        Response pausing = fileResponse(content);
        pausing.pauseAfter = 10000;
        pausing.pauseMilliseconds = 600;
        m_server.setResponse("/pausing", pausing);
        auto http = reader("/pausing");
        http->setTimeout(1);
        for (int round = 0; round < 3; ++round) {
            QVERIFY2(http->open(), qUtf8Printable(errorText(http->error())));
            QCOMPARE(readAll(*http), content);
            QVERIFY2(!http->error(), qUtf8Printable(errorText(http->error())));
        }
    }

    void refusedConnectionFailsAtOnce() {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        const quint16 port = probe.serverPort();
        probe.close();
        auto http = ZKHttpReader::readerWithUrl(
            QUrl(QStringLiteral("http://127.0.0.1:%1/file.bin").arg(port)));
        http->setTimeout(5);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!http->open());
        QVERIFY(clock.elapsed() < 4000);
        QVERIFY(http->error());
        QCOMPARE(http->error()->domain(), ZKHttpReader::networkErrorDomain);
        QCOMPARE(http->error()->code(), qint64(QNetworkReply::ConnectionRefusedError));
        QVERIFY(!http->hasMoreData());
    }

    void savedFormKeepsUrlAndCanSeek() {
        m_server.setResponse("/ranged", fileResponse("0123456789"));
        auto http = reader("/ranged");
        http->setCanSeek(false);
        const QVariantMap saved = http->asPropertyList();
        QCOMPARE(saved.value("CanSeek"), QVariant(false));
        ZKError error;
        const auto restored = ZKPropertyListParser::parseObjectOfType<ZKHttpReader>(saved, &error);
        QVERIFY2(restored, qUtf8Printable(error.localizedDescription()));
        QVERIFY(restored->isEqual(*http));
        // Holds until the next answer tells otherwise.
        QVERIFY(!restored->canSeek());
        QVERIFY(restored->open() && restored->canSeek());
        QVariantMap withoutKey = saved;
        withoutKey.remove("CanSeek");
        QVERIFY(ZKHttpReader(withoutKey).canSeek());

        const QUrl odd("https://127.0.0.1:8443/a%20b/file.iso?x=1");
        const QVariantMap oddSaved = ZKHttpReader(odd).asPropertyList();
        QCOMPARE(oddSaved.value("Url").toString(), odd.toString(QUrl::FullyEncoded));
        QCOMPARE(ZKHttpReader(oddSaved).filename(), QStringLiteral("file.iso"));
    }

    // Every request after the first names the version it saw, so that a
    // server never sends a piece of another one.
    void laterRequestsNameTheVersion_data() {
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<QByteArray>("ifRange");
        const QByteArray date = "Tue, 15 Nov 1994 08:12:31 GMT";
        QTest::newRow("tag") << QByteArray("ETag: \"v1\"") << QByteArray("\"v1\"");
        QTest::newRow("date") << "Last-Modified: " + date << date;
        QTest::newRow("tag before date")
            << "Last-Modified: " + date + "\r\nETag: \"v1\"" << QByteArray("\"v1\"");
        // A weak tag does not promise the same bytes.
        QTest::newRow("weak tag and date") << "ETag: W/\"v1\"\r\nLast-Modified: " + date << date;
        QTest::newRow("weak tag alone") << QByteArray("ETag: W/\"v1\"") << QByteArray();
        QTest::newRow("neither") << QByteArray() << QByteArray();
    }

    void laterRequestsNameTheVersion() {
        QFETCH(QByteArray, headers);
        QFETCH(QByteArray, ifRange);
        m_server.setResponse("/versioned.bin", fileResponse("0123456789", headers));
        // As a reader of a queue saved before anything was known.
        auto http = std::make_shared<ZKHttpReader>(QVariantMap{
            {"Type", "HttpReader"}, {"Url", m_server.url("/versioned.bin").toString()}});
        QVERIFY2(http->open(), qUtf8Printable(errorText(http->error())));
        QVERIFY(http->seekToPosition(4));
        QCOMPARE(readAll(*http), QByteArray("456789"));
        QVERIFY(http->open());
        QCOMPARE(readAll(*http), QByteArray("0123456789"));
        QVERIFY(!http->hasChanged());
        QCOMPARE(m_server.headersRequestedFor("/versioned.bin", "If-Range"),
                 QByteArrayList({{}, ifRange, ifRange}));
        QCOMPARE(m_server.rangesRequestedFor("/versioned.bin"),
                 QByteArrayList({"bytes=0-", "bytes=4-", "bytes=0-"}));
    }

    // A reader saved during a download and loaded again after the file was
    // replaced must notice, so that the piece of the old file is never
    // continued with the new one.
    void replacedFileIsNoticed_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<Response>("after");
        QTest::addColumn<bool>("changed");
        const QByteArray content = ZKTestSupport::randomBytes(5000, 1);
        const QByteArray replaced = ZKTestSupport::randomBytes(5000, 2);
        QTest::newRow("same tag") << QByteArray("ETag: \"v1\"")
                                  << fileResponse(content, "ETag: \"v1\"") << false;
        QTest::newRow("new tag") << QByteArray("ETag: \"v1\"")
                                 << fileResponse(replaced, "ETag: \"v2\"") << true;
        QTest::newRow("new date") << QByteArray("Last-Modified: Tue, 15 Nov 1994 08:12:31 GMT")
                                  << fileResponse(replaced,
                                                  "Last-Modified: Wed, 16 Nov 1994 08:12:31 GMT")
                                  << true;
        // A server that does not look at If-Range still names its version.
        QTest::newRow("If-Range ignored")
            << QByteArray("ETag: \"v1\"")
            << plainResponse("HTTP/1.1 206 Partial Content\r\nETag: \"v2\"\r\n"
                             "Content-Range: bytes 1000-4999/5000\r\nContent-Length: 4000",
                             replaced.mid(1000))
            << true;
    }

    void replacedFileIsNoticed() {
        QFETCH(QByteArray, before);
        QFETCH(Response, after);
        QFETCH(bool, changed);
        const QByteArray content = ZKTestSupport::randomBytes(5000, 1);
        m_server.setResponse("/replaced.bin", fileResponse(content, before));
        auto first = reader("/replaced.bin");
        QVERIFY(first->open());
        QCOMPARE(first->readBlockOfLength(1000), content.left(1000));
        first->close();
        const QVariantMap saved = first->asPropertyList();

        m_server.setResponse("/replaced.bin", after);
        auto loaded = ZKPropertyListParser::parseObjectOfType<ZKHttpReader>(saved);
        QVERIFY(loaded);
        QVERIFY2(loaded->seekToPosition(1000), qUtf8Printable(errorText(loaded->error())));
        QCOMPARE(loaded->hasChanged(), changed);
        if (!changed) {
            QCOMPARE(readAll(*loaded), content.mid(1000));
            QVERIFY(!loaded->asPropertyList().contains("HasChanged"));
            return;
        }
        if (after.servesRanges) {
            // A server that knows If-Range sends the new file whole.
            QCOMPARE(loaded->statusCode(), 200);
            QCOMPARE(readAll(*loaded), after.body);
        }
        // Saved as changed, and the new version is the one asked for next.
        const QVariantMap resaved = loaded->asPropertyList();
        QCOMPARE(resaved.value("HasChanged"), QVariant(true));
        QVERIFY(resaved != saved);
        auto reloaded = ZKPropertyListParser::parseObjectOfType<ZKHttpReader>(resaved);
        QVERIFY(reloaded && reloaded->hasChanged());
        if (after.servesRanges) {
            QVERIFY(reloaded->seekToPosition(10));
            QCOMPARE(reloaded->statusCode(), 206);
            QCOMPARE(readAll(*reloaded), after.body.mid(10));
            QVERIFY(reloaded->hasChanged());
        }
    }

    void suggestedNameLandsInsideTheFolder_data() {
        QTest::addColumn<QByteArray>("disposition");
        QTest::addColumn<QString>("landed");
        QTest::newRow("plain") << QByteArray("attachment; filename=\"real.zip\"") << "real.zip";
        QTest::newRow("climbing") << QByteArray("attachment; filename=\"../../etc/passwd\"")
                                  << "passwd";
        QTest::newRow("absolute") << QByteArray("attachment; filename=\"/etc/passwd\"") << "passwd";
        QTest::newRow("encoded climbing")
            << QByteArray("attachment; filename*=UTF-8''..%2F..%2F..%2Ftmp%2Fowned") << "owned";
        QTest::newRow("dots only") << QByteArray("attachment; filename=\"..\"") << "payload.bin";
        QTest::newRow("dots and blanks")
            << QByteArray("attachment; filename=\". ..\"") << "payload.bin";
    }

    void suggestedNameLandsInsideTheFolder() {
        QFETCH(QByteArray, disposition);
        QFETCH(QString, landed);
        const QByteArray content = ZKTestSupport::randomBytes(10000, 9);
        m_server.setResponse("/payload.bin",
                             fileResponse(content, "Content-Disposition: " + disposition));
        const QDir root(m_dir->path());
        QVERIFY(root.mkpath("a/b/out"));
        const QString out = root.filePath("a/b/out");
        auto task = downloadTask("/payload.bin", out);
        runTask(*task);
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(task->error())));
        QCOMPARE(QDir(out).entryList(QDir::Files | QDir::Hidden), QStringList{landed});
        QCOMPARE(ZKTestSupport::readFile(QDir(out).filePath(landed)), content);
        // The row names the file the server named, not the address.
        QCOMPARE(task->filename(), landed);
        // Nothing anywhere else.
        QDirIterator all(m_dir->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        int files = 0;
        for (; all.hasNext(); all.next()) {
            ++files;
        }
        QCOMPARE(files, 1);
    }

    void droppedDownloadFailsAndKeepsThePartialFile() {
        const QByteArray content = ZKTestSupport::randomBytes(400000, 10);
        // A validator: without one, nothing tells that the file is still the
        // version the partial file was begun from.
        const QByteArray tag = "ETag: \"v1\"";
        Response dropping = fileResponse(content, tag);
        dropping.dropAfter = 150000;
        m_server.setResponse("/broken.bin", dropping);
        auto task = downloadTask("/broken.bin", m_dir->path());
        const QString target = QDir(m_dir->path()).filePath("broken.bin");
        runTask(*task);
        QCOMPARE(task->state(), ZKTaskState(S::Failed));
        QVERIFY(task->error());
        QCOMPARE(task->error()->domain(), ZKHttpReader::networkErrorDomain);
        QCOMPARE(task->error()->code(), qint64(QNetworkReply::RemoteHostClosedError));
        QCOMPARE(ZKTestSupport::readFile(ZKTestSupport::partialPath(m_dir->path(), "broken.bin")),
                 content.left(150000));

        // The same task, retried against a server that now behaves, continues
        // the partial file from its length.
        m_server.setResponse("/broken.bin", fileResponse(content, tag));
        m_server.clearRequests();
        task->reset();
        runTask(*task);
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(task->error())));
        QCOMPARE(ZKTestSupport::readFile(target), content);
        const QByteArrayList ranges = m_server.rangesRequestedFor("/broken.bin");
        QVERIFY2(ranges.contains("bytes=150000-"), ranges.join(' ').constData());
    }
};

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKHttpReader test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKHttpReader.moc"
