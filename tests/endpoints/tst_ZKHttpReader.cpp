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

namespace {

Response fileResponse(const QByteArray &body, const QByteArray &extraHeaders = {}) {
    Response response;
    response.servesRanges = true;
    response.body = body;
    response.head = extraHeaders;
    return response;
}

Response plainResponse(const QByteArray &head, const QByteArray &body) {
    Response response;
    response.head = head;
    response.body = body;
    return response;
}

QString errorText(const ZKReader &reader) {
    return reader.error() ? reader.error()->localizedDescription() : QStringLiteral("no error");
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

bool isResting(qint32 state) {
    return state == S::PendingPreparation || state == S::PendingProcessing ||
           state == S::PendingVerification || state == S::PendingRemoval || state >= S::Completed;
}

} // namespace

class TestZKHttpReader : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void rangeIsAskedForAtEveryOffset_data();
    void rangeIsAskedForAtEveryOffset();
    void canSeekFollowsTheStatus();
    void savedCanSeekHoldsUntilTheNextAnswer();
    void sizeIsTheWholeFile_data();
    void sizeIsTheWholeFile();
    void lastModified_data();
    void lastModified();
    void contentDisposition_data();
    void contentDisposition();
    void safeFilename_data();
    void safeFilename();
    void suggestedNameReplacesTheUrlName();
    void urlWithoutFileNameIsInvalid_data();
    void urlWithoutFileNameIsInvalid();
    void readBlockOfLengthSplitsAndKeepsTheRest();
    void readBlockOfMaximumLength();
    void silentServerTimesOutWaitingForResponse();
    void stalledBodyTimesOutWaitingForData();
    void shortSilenceIsNoTimeout();
    void droppedConnectionIsAFailure();
    void notFoundBodyIsData();
    void redirectsAreFollowedWithTheRange();
    void missingContentLength();
    void bodyLongerThanAnnounced();
    void refusedConnection();
    void savedForm();
    void factoryMakesHttpReaders();

    void escapingNameLandsInsideTheFolder_data();
    void escapingNameLandsInsideTheFolder();
    void droppedDownloadFailsAndKeepsThePartialFile();

private:
    std::shared_ptr<ZKHttpReader> reader(const QString &path) {
        auto made = ZKHttpReader::readerWithUrl(m_server.url(path));
        made->setTimeout(2);
        return made;
    }
    QList<qint32> runToEnd(ZKCopyTask &task);

    ZKScriptedHttpServer m_server;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestZKHttpReader::initTestCase() {
    ZKPreferences::initialiseUserDefaults();
    QVERIFY(m_server.start());
}

void TestZKHttpReader::init() {
    m_server.clearRequests();
    m_dir = std::make_unique<QTemporaryDir>();
    ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 5);
}

QList<qint32> TestZKHttpReader::runToEnd(ZKCopyTask &task) {
    QList<qint32> states;
    auto connection = connect(&task, &ZKTask::stateChanged, this, [&] { states << task.state(); });
    for (int i = 0; i < 6 && task.state() < S::Completed; ++i) {
        const qsizetype before = states.size();
        task.start();
        if (!QTest::qWaitFor([&] { return isResting(task.state()) && states.size() > before; },
                             20000)) {
            states << -1;
            break;
        }
    }
    disconnect(connection);
    return states;
}

void TestZKHttpReader::rangeIsAskedForAtEveryOffset_data() {
    QTest::addColumn<quint64>("offset");
    // bytes=0- too: the answer's status is what tells whether ranges work.
    QTest::newRow("start") << quint64(0);
    QTest::newRow("middle") << quint64(1000);
}

void TestZKHttpReader::rangeIsAskedForAtEveryOffset() {
    QFETCH(quint64, offset);
    const QByteArray content = ZKTestSupport::randomBytes(3000, 1);
    m_server.setResponse(QStringLiteral("/range.bin"), fileResponse(content));
    auto http = reader(QStringLiteral("/range.bin"));
    QVERIFY2(http->seekToPosition(offset), qUtf8Printable(errorText(*http)));
    QCOMPARE(readAll(*http), content.mid(qsizetype(offset)));
    QVERIFY(!http->error());
    QCOMPARE(m_server.rangesRequestedFor(QStringLiteral("/range.bin")),
             QByteArrayList{"bytes=" + QByteArray::number(offset) + '-'});
    http->close();
}

void TestZKHttpReader::canSeekFollowsTheStatus() {
    const QByteArray content = ZKTestSupport::randomBytes(3000, 2);
    m_server.setResponse(QStringLiteral("/ranged"), fileResponse(content));
    m_server.setResponse(
        QStringLiteral("/whole"),
        plainResponse("HTTP/1.1 200 OK\r\nContent-Length: 3000\r\nConnection: close", content));

    auto ranged = reader(QStringLiteral("/ranged"));
    QVERIFY2(ranged->seekToPosition(1000), qUtf8Printable(errorText(*ranged)));
    QVERIFY(ranged->canSeek());
    QCOMPARE(ranged->statusCode(), 206);

    // A server that ignores the range sends everything from byte 0.
    auto whole = reader(QStringLiteral("/whole"));
    QVERIFY2(whole->seekToPosition(1000), qUtf8Printable(errorText(*whole)));
    QVERIFY(!whole->canSeek());
    QCOMPARE(whole->statusCode(), 200);
    QCOMPARE(readAll(*whole), content);
}

void TestZKHttpReader::savedCanSeekHoldsUntilTheNextAnswer() {
    m_server.setResponse(QStringLiteral("/ranged"), fileResponse("0123456789"));
    const QVariantMap saved{{QStringLiteral("Type"), QStringLiteral("HttpReader")},
                            {QStringLiteral("Url"), m_server.url(QStringLiteral("/ranged"))},
                            {QStringLiteral("CanSeek"), false}};
    auto restored = std::make_shared<ZKHttpReader>(saved);
    QVERIFY(!restored->canSeek());
    QVERIFY(restored->open());
    QVERIFY(restored->canSeek());

    QVariantMap withoutKey = saved;
    withoutKey.remove(QStringLiteral("CanSeek"));
    QVERIFY(std::make_shared<ZKHttpReader>(withoutKey)->canSeek());
}

void TestZKHttpReader::sizeIsTheWholeFile_data() {
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<quint64>("offset");
    QTest::addColumn<quint64>("size");

    QTest::newRow("200 with length")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10") << quint64(0) << quint64(10);
    QTest::newRow("206 with total") << QByteArray("HTTP/1.1 206 Partial Content\r\nContent-Range: "
                                                  "bytes 4-9/10\r\nContent-Length: 6")
                                    << quint64(4) << quint64(10);
    QTest::newRow("206, total unknown")
        << QByteArray("HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 4-9/*\r\n"
                      "Content-Length: 6")
        << quint64(4) << quint64(10);
    QTest::newRow("no length") << QByteArray("HTTP/1.1 200 OK\r\nConnection: close") << quint64(0)
                               << quint64(0);
}

void TestZKHttpReader::sizeIsTheWholeFile() {
    QFETCH(QByteArray, head);
    QFETCH(quint64, offset);
    QFETCH(quint64, size);
    Response response = plainResponse(head, QByteArray("0123456789").mid(qsizetype(offset)));
    response.closeAfterBody = true;
    m_server.setResponse(QStringLiteral("/sized"), response);
    auto http = reader(QStringLiteral("/sized"));
    QVERIFY2(http->seekToPosition(offset), qUtf8Printable(errorText(*http)));
    QCOMPARE(http->size(), size);
    QVERIFY(http->exists());
}

void TestZKHttpReader::lastModified_data() {
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QDateTime>("date");
    QTest::newRow("RFC 1123") << QByteArray("Tue, 15 Nov 1994 08:12:31 GMT")
                              << QDateTime(QDate(1994, 11, 15), QTime(8, 12, 31), Qt::UTC);
    QTest::newRow("other form") << QByteArray("Tuesday, 15-Nov-94 08:12:31 GMT") << QDateTime();
    QTest::newRow("trailing text")
        << QByteArray("Tue, 15 Nov 1994 08:12:31 GMT garbage") << QDateTime();
    QTest::newRow("missing") << QByteArray() << QDateTime();
}

void TestZKHttpReader::lastModified() {
    QFETCH(QByteArray, header);
    QFETCH(QDateTime, date);
    QCOMPARE(ZKHttpReader::dateFromHttpDate(header), date);

    m_server.setResponse(
        QStringLiteral("/dated"),
        fileResponse("x", header.isEmpty() ? QByteArray() : "Last-Modified: " + header));
    auto http = reader(QStringLiteral("/dated"));
    QVERIFY(http->open());
    QCOMPARE(http->modificationDate(), date);
}

void TestZKHttpReader::contentDisposition_data() {
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QString>("name");
    QTest::newRow("quoted") << QByteArray("attachment; filename=\"report 2024.pdf\"")
                            << QStringLiteral("report 2024.pdf");
    QTest::newRow("token") << QByteArray("attachment; filename=plain.txt")
                           << QStringLiteral("plain.txt");
    QTest::newRow("escaped quote")
        << QByteArray(R"(attachment; filename="a\"b.txt")") << QStringLiteral("a\"b.txt");
    QTest::newRow("semicolon inside quotes")
        << QByteArray("attachment; filename=\"a;b.txt\"; size=3") << QStringLiteral("a;b.txt");
    // The extended form wins, wherever it stands.
    QTest::newRow("extended") << QByteArray("attachment; filename=\"fallback.txt\"; "
                                            "filename*=UTF-8''na%C3%AFve%20file.txt")
                              << QStringLiteral("na\u00efve file.txt");
    QTest::newRow("extended, latin-1")
        << QByteArray("attachment; filename*=iso-8859-1'en'%E9t%E9.txt")
        << QStringLiteral("\u00e9t\u00e9.txt");
    QTest::newRow("no name") << QByteArray("inline") << QString();
    QTest::newRow("empty") << QByteArray() << QString();
}

void TestZKHttpReader::contentDisposition() {
    QFETCH(QByteArray, header);
    QFETCH(QString, name);
    QCOMPARE(ZKHttpReader::filenameFromContentDisposition(header), name);
}

void TestZKHttpReader::safeFilename_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("safe");
    QTest::newRow("plain") << QStringLiteral("file.bin") << QStringLiteral("file.bin");
    QTest::newRow("climbing") << QStringLiteral("../../etc/passwd") << QStringLiteral("passwd");
    QTest::newRow("absolute") << QStringLiteral("/etc/passwd") << QStringLiteral("passwd");
    QTest::newRow("windows path") << QStringLiteral("C:\\Users\\x\\evil.exe")
                                  << QStringLiteral("evil.exe");
    QTest::newRow("parent only") << QStringLiteral("..") << QString();
    QTest::newRow("trailing slash") << QStringLiteral("dir/") << QString();
    QTest::newRow("hidden") << QStringLiteral(".bashrc") << QStringLiteral("bashrc");
    QTest::newRow("control characters")
        << QStringLiteral("a\nb\r\tc\u0000.txt") << QStringLiteral("abc.txt");
    QTest::newRow("too long") << QString(300, QLatin1Char('n')) + QStringLiteral(".tar.gz")
                              << QString(252, QLatin1Char('n')) + QStringLiteral(".gz");
}

void TestZKHttpReader::safeFilename() {
    QFETCH(QString, name);
    QFETCH(QString, safe);
    QCOMPARE(ZKHttpReader::safeFilename(name), safe);
}

void TestZKHttpReader::suggestedNameReplacesTheUrlName() {
    m_server.setResponse(
        QStringLiteral("/download.php"),
        fileResponse("x", "Content-Disposition: attachment; filename=\"real.zip\""));
    auto http = reader(QStringLiteral("/download.php"));
    QCOMPARE(http->filename(), QStringLiteral("download.php"));
    QVERIFY(http->open());
    QCOMPARE(http->filename(), QStringLiteral("real.zip"));
}

void TestZKHttpReader::urlWithoutFileNameIsInvalid_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << QStringLiteral("/files/");
    QTest::newRow("root") << QStringLiteral("/");
    QTest::newRow("parent") << QStringLiteral("/files/..");
}

void TestZKHttpReader::urlWithoutFileNameIsInvalid() {
    QFETCH(QString, path);
    const QUrl url = m_server.url(path);
    auto http = ZKHttpReader::readerWithUrl(url);
    QVERIFY(!http->open());
    QVERIFY(http->error());
    QCOMPARE(http->error()->code(), ZKErrorCode::readFailed);
    QCOMPARE(http->error()->localizedDescription(),
             QStringLiteral("Invalid url: '%1'").arg(url.toString()));
    QVERIFY(m_server.requests().isEmpty());
}

void TestZKHttpReader::readBlockOfLengthSplitsAndKeepsTheRest() {
    m_server.setResponse(QStringLiteral("/twelve"), fileResponse("0123456789ab"));
    auto http = reader(QStringLiteral("/twelve"));
    QVERIFY(http->open());
    QCOMPARE(http->readBlockOfLength(10), QByteArray("0123456789"));
    QVERIFY(http->hasMoreData());
    QCOMPARE(http->readBlockOfLength(10), QByteArray("ab"));
    QVERIFY(!http->hasMoreData());
    QCOMPARE(http->readBlockOfLength(10), QByteArray());
    QVERIFY(!http->error());
}

void TestZKHttpReader::readBlockOfMaximumLength() {
    const QByteArray content = ZKTestSupport::randomBytes(5000, 3);
    m_server.setResponse(QStringLiteral("/five"), fileResponse(content));
    auto http = reader(QStringLiteral("/five"));
    QVERIFY(http->open());
    QByteArray all;
    while (http->hasMoreData()) {
        const QByteArray block = http->readBlockOfMaximumLength(100);
        QVERIFY(!block.isEmpty());
        QVERIFY(block.size() <= 100);
        all += block;
    }
    QCOMPARE(all, content);
}

void TestZKHttpReader::silentServerTimesOutWaitingForResponse() {
    Response silent = fileResponse("late");
    silent.pauseAfter = ZKScriptedHttpServer::pauseBeforeHead;
    silent.pauseMilliseconds = 2500;
    m_server.setResponse(QStringLiteral("/silent"), silent);
    // The user's limit applies when the reader has none of its own.
    ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 1);
    auto http = ZKHttpReader::readerWithUrl(m_server.url(QStringLiteral("/silent")));
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!http->open());
    QVERIFY2(clock.elapsed() < 2400, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(clock.elapsed() >= 900);
    QVERIFY(http->error());
    QCOMPARE(http->error()->code(), ZKErrorCode::httpTimeout);
    QCOMPARE(http->error()->localizedDescription(),
             QStringLiteral("Timed out waiting for response from 127.0.0.1."));
}

void TestZKHttpReader::stalledBodyTimesOutWaitingForData() {
    const QByteArray content = ZKTestSupport::randomBytes(200000, 4);
    Response stalling = fileResponse(content);
    stalling.pauseAfter = 50000;
    stalling.pauseMilliseconds = 2500;
    m_server.setResponse(QStringLiteral("/stall"), stalling);
    auto http = reader(QStringLiteral("/stall"));
    http->setTimeout(1);
    QVERIFY(http->open());
    QByteArray received;
    QElapsedTimer clock;
    clock.start();
    while (http->hasMoreData()) {
        const QByteArray block = http->readBlock();
        if (block.isEmpty()) {
            break;
        }
        received += block;
    }
    QVERIFY2(clock.elapsed() < 2400, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(received, content.left(50000));
    QVERIFY(http->error());
    QCOMPARE(http->error()->code(), ZKErrorCode::httpTimeout);
    QCOMPARE(http->error()->localizedDescription(),
             QStringLiteral("Timed out waiting for data from 127.0.0.1."));
}

void TestZKHttpReader::shortSilenceIsNoTimeout() {
    // The limit is the longest silence, not the length of the download:
    // three pauses of 0.6 s in a row stay under a limit of 1 s each.
    const QByteArray content = ZKTestSupport::randomBytes(30000, 5);
    Response pausing = fileResponse(content);
    pausing.pauseAfter = 10000;
    pausing.pauseMilliseconds = 600;
    m_server.setResponse(QStringLiteral("/pausing"), pausing);
    auto http = reader(QStringLiteral("/pausing"));
    http->setTimeout(1);
    for (int round = 0; round < 3; ++round) {
        QVERIFY2(http->open(), qUtf8Printable(errorText(*http)));
        QCOMPARE(readAll(*http), content);
        QVERIFY2(!http->error(), qUtf8Printable(errorText(*http)));
    }
}

void TestZKHttpReader::droppedConnectionIsAFailure() {
    const QByteArray content = ZKTestSupport::randomBytes(100000, 6);
    Response dropping = fileResponse(content);
    dropping.dropAfter = 30000;
    m_server.setResponse(QStringLiteral("/drop"), dropping);
    auto http = reader(QStringLiteral("/drop"));
    QVERIFY(http->open());
    // What came before the break is delivered; then the break itself.
    QCOMPARE(readAll(*http), content.left(30000));
    QVERIFY(http->error());
    QCOMPARE(http->error()->domain(), ZKHttpReader::networkErrorDomain);
    QCOMPARE(http->error()->code(), qint64(QNetworkReply::RemoteHostClosedError));
    QVERIFY(!http->hasMoreData());
}

void TestZKHttpReader::notFoundBodyIsData() {
    m_server.setResponse(
        QStringLiteral("/missing.html"),
        plainResponse("HTTP/1.1 404 Not Found\r\nContent-Length: 14", "<h1>gone</h1>\n"));
    auto http = reader(QStringLiteral("/missing.html"));
    QVERIFY2(http->open(), qUtf8Printable(errorText(*http)));
    QVERIFY(http->exists());
    QCOMPARE(http->statusCode(), 404);
    QVERIFY(!http->canSeek());
    QCOMPARE(readAll(*http), QByteArray("<h1>gone</h1>\n"));
    QVERIFY2(!http->error(), qUtf8Printable(errorText(*http)));
}

void TestZKHttpReader::redirectsAreFollowedWithTheRange() {
    const QByteArray content = ZKTestSupport::randomBytes(5000, 7);
    m_server.setResponse(QStringLiteral("/old/name.bin"),
                         plainResponse("HTTP/1.1 302 Found\r\nLocation: /moved/new.bin\r\n"
                                       "Content-Length: 5",
                                       "moved"));
    m_server.setResponse(QStringLiteral("/moved/new.bin"),
                         plainResponse("HTTP/1.1 301 Moved Permanently\r\nLocation: /final.bin\r\n"
                                       "Content-Length: 0",
                                       {}));
    m_server.setResponse(QStringLiteral("/final.bin"), fileResponse(content));
    auto http = reader(QStringLiteral("/old/name.bin"));
    QVERIFY2(http->seekToPosition(1000), qUtf8Printable(errorText(*http)));
    QCOMPARE(http->statusCode(), 206);
    QVERIFY(http->canSeek());
    QCOMPARE(http->size(), quint64(5000));
    // Named after where the file really is.
    QCOMPARE(http->filename(), QStringLiteral("final.bin"));
    QCOMPARE(readAll(*http), content.mid(1000));
    QCOMPARE(m_server.rangesRequestedFor(QStringLiteral("/final.bin")),
             QByteArrayList{"bytes=1000-"});
}

void TestZKHttpReader::missingContentLength() {
    const QByteArray content = ZKTestSupport::randomBytes(70000, 8);
    Response unannounced = plainResponse("HTTP/1.1 200 OK\r\nConnection: close", content);
    unannounced.closeAfterBody = true;
    m_server.setResponse(QStringLiteral("/unannounced"), unannounced);
    auto http = reader(QStringLiteral("/unannounced"));
    QVERIFY(http->open());
    QCOMPARE(http->size(), quint64(0));
    QCOMPARE(readAll(*http), content);
    QVERIFY2(!http->error(), qUtf8Printable(errorText(*http)));
}

void TestZKHttpReader::bodyLongerThanAnnounced() {
    // What follows the announced length is not part of the answer.
    Response longer =
        plainResponse("HTTP/1.1 200 OK\r\nContent-Length: 10", "0123456789 and then some");
    longer.closeAfterBody = true;
    m_server.setResponse(QStringLiteral("/longer"), longer);
    auto http = reader(QStringLiteral("/longer"));
    QVERIFY(http->open());
    QCOMPARE(readAll(*http), QByteArray("0123456789"));
    QVERIFY2(!http->error(), qUtf8Printable(errorText(*http)));
    // Nothing left over spoils the next request.
    m_server.setResponse(QStringLiteral("/after"), fileResponse("fine"));
    auto next = reader(QStringLiteral("/after"));
    QVERIFY2(next->open(), qUtf8Printable(errorText(*next)));
    QCOMPARE(readAll(*next), QByteArray("fine"));
}

void TestZKHttpReader::refusedConnection() {
    // A port nobody listens on: the failure comes at once, not as a time-out.
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    const quint16 port = probe.serverPort();
    probe.close();
    auto http =
        ZKHttpReader::readerWithUrl(QUrl(QStringLiteral("http://127.0.0.1:%1/file.bin").arg(port)));
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

void TestZKHttpReader::savedForm() {
    const QUrl url(QStringLiteral("https://127.0.0.1:8443/a%20b/file.iso?x=1"));
    auto http = ZKHttpReader::readerWithUrl(url);
    http->setCanSeek(false);
    const QVariantMap saved = http->asPropertyList();
    QCOMPARE(saved.value(QStringLiteral("Type")).toString(), QStringLiteral("HttpReader"));
    QCOMPARE(saved.value(QStringLiteral("Url")).toString(), url.toString(QUrl::FullyEncoded));
    QCOMPARE(saved.value(QStringLiteral("CanSeek")), QVariant(false));

    ZKError error;
    const auto restored = ZKPropertyListParser::parseObjectOfType<ZKHttpReader>(saved, &error);
    QVERIFY2(restored, qUtf8Printable(error.localizedDescription()));
    QVERIFY(restored->isEqual(*http));
    QVERIFY(!restored->canSeek());
    QCOMPARE(restored->filename(), QStringLiteral("file.iso"));
}

void TestZKHttpReader::factoryMakesHttpReaders() {
    for (const QString &address :
         {QStringLiteral("http://127.0.0.1/a.bin"), QStringLiteral("https://127.0.0.1/a.bin")}) {
        const ZKReaderPtr made = ZKReaderFactory::readerWithPath(address);
        QVERIFY2(std::dynamic_pointer_cast<ZKHttpReader>(made), qUtf8Printable(address));
        QVERIFY(!made->isLocal());
        QVERIFY(!made->childWithName(QStringLiteral("x")));
        QVERIFY(!made->asWriter());
        QCOMPARE(made->enumerateFileInfoWithBlock(
                     [](const ZKFileInfo &) { return ZKEnumerationResultContinue; }),
                 ZKEnumerationResultStop);
    }
}

void TestZKHttpReader::escapingNameLandsInsideTheFolder_data() {
    QTest::addColumn<QByteArray>("disposition");
    QTest::addColumn<QString>("landed");
    QTest::newRow("climbing") << QByteArray("attachment; filename=\"../../etc/passwd\"")
                              << QStringLiteral("passwd");
    QTest::newRow("absolute") << QByteArray("attachment; filename=\"/etc/passwd\"")
                              << QStringLiteral("passwd");
    QTest::newRow("encoded climbing")
        << QByteArray("attachment; filename*=UTF-8''..%2F..%2F..%2Ftmp%2Fowned")
        << QStringLiteral("owned");
    QTest::newRow("dots only") << QByteArray("attachment; filename=\"..\"")
                               << QStringLiteral("payload.bin");
}

void TestZKHttpReader::escapingNameLandsInsideTheFolder() {
    QFETCH(QByteArray, disposition);
    QFETCH(QString, landed);
    const QByteArray content = ZKTestSupport::randomBytes(10000, 9);
    m_server.setResponse(QStringLiteral("/payload.bin"),
                         fileResponse(content, "Content-Disposition: " + disposition));
    const QDir root(m_dir->path());
    QVERIFY(root.mkpath(QStringLiteral("a/b/out")));
    const QString out = root.filePath(QStringLiteral("a/b/out"));
    auto task = ZKCopyTask::create(
        ZKReaderFactory::readerWithUrl(m_server.url(QStringLiteral("/payload.bin"))),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(out)));
    runToEnd(*task);
    QVERIFY2(task->state() == S::Completed,
             qUtf8Printable(task->error() ? task->error()->localizedDescription() : QString()));
    QCOMPARE(QDir(out).entryList(QDir::Files | QDir::Hidden), QStringList{landed});
    QCOMPARE(ZKTestSupport::readFile(QDir(out).filePath(landed)), content);
    // Nothing anywhere else.
    QDirIterator all(m_dir->path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    int files = 0;
    while (all.hasNext()) {
        all.next();
        ++files;
    }
    QCOMPARE(files, 1);
}

void TestZKHttpReader::droppedDownloadFailsAndKeepsThePartialFile() {
    const QByteArray content = ZKTestSupport::randomBytes(400000, 10);
    Response dropping = fileResponse(content);
    dropping.dropAfter = 150000;
    m_server.setResponse(QStringLiteral("/broken.bin"), dropping);
    auto task = ZKCopyTask::create(
        ZKReaderFactory::readerWithUrl(m_server.url(QStringLiteral("/broken.bin"))),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(m_dir->path())));
    runToEnd(*task);
    QCOMPARE(task->state(), qint32(S::Failed));
    QVERIFY(task->error());
    QCOMPARE(task->error()->domain(), ZKHttpReader::networkErrorDomain);
    const QByteArray partial =
        ZKTestSupport::readFile(QDir(m_dir->path()).filePath(QStringLiteral("broken.bin")));
    QCOMPARE(partial, content.left(150000));

    // The same task, retried against a server that now behaves, continues
    // the partial file from its length.
    m_server.setResponse(QStringLiteral("/broken.bin"), fileResponse(content));
    m_server.clearRequests();
    task->reset();
    runToEnd(*task);
    QVERIFY2(task->state() == S::Completed,
             qUtf8Printable(task->error() ? task->error()->localizedDescription() : QString()));
    QCOMPARE(ZKTestSupport::readFile(QDir(m_dir->path()).filePath(QStringLiteral("broken.bin"))),
             content);
    QVERIFY2(m_server.rangesRequestedFor(QStringLiteral("/broken.bin")).contains("bytes=150000-"),
             m_server.rangesRequestedFor(QStringLiteral("/broken.bin")).join(' ').constData());
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKHttpReader test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKHttpReader.moc"
