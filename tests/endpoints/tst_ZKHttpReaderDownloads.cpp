// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Download tasks against real web servers started on 127.0.0.1: nginx, which
// answers a Range with 206, over HTTP and HTTPS, and Python's http.server,
// which ignores Range and answers 200.

#include "ZKCopyTask.h"
#include "ZKFaultRelay.h"
#include "ZKFileSystemWriter.h"
#include "ZKHttpReader.h"
#include "ZKHttpServers.h"
#include "ZKPreferences.h"
#include "ZKReaderFactory.h"
#include "ZKScriptedPresenter.h"
#include "ZKTaskQuestions.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTrustedCertificates.h"
#include "ZKUserDefaults.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QNetworkReply>
#include <QScopeGuard>
#include <QSslSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

using S = ZKTaskState;

using ZKTestSupport::errorText;
using ZKTestSupport::runTask;
using ZKTestSupport::stepTask;

static constexpr qsizetype dataSize = 6 * 1024 * 1024;

class TestZKHttpReaderDownloads : public QObject {
    Q_OBJECT

    ZKHttpServers m_servers;
    QTemporaryDir m_root;
    std::unique_ptr<QTemporaryDir> m_out;
    QByteArray m_data;

    // nginx answers a Range with 206, Python's server ignores it.
    static void servers() {
        QTest::addColumn<bool>("ranges");
        QTest::newRow("nginx") << true;
        QTest::newRow("python") << false;
    }
    QUrl url(bool ranges, const QString &path) {
        return ranges ? m_servers.nginxUrl(path) : m_servers.pythonUrl(path);
    }
    QString out(const QString &name) const { return QDir(m_out->path()).filePath(name); }
    QString unfinished(const QString &name) const {
        return ZKTestSupport::partialPath(m_out->path(), name);
    }
    std::shared_ptr<ZKCopyTask> makeTask(const QUrl &url) {
        return ZKCopyTask::create(
            ZKReaderFactory::readerWithUrl(url),
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(m_out->path())));
    }

    // The requests nginx logged for path since the log had `from` bytes,
    // leaving out the challenges that ask for a password.
    QList<QByteArray> requestsFor(const QString &path, qsizetype from) const {
        QList<QByteArray> found;
        const QByteArray start = "GET " + path.toUtf8() + ' ';
        const QList<QByteArray> lines = m_servers.nginxAccessLog().mid(from).split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(start) && !line.startsWith(start + "401 ")) {
                found << line;
            }
        }
        return found;
    }

    // Runs the copy step slowly and pauses it once the file at the
    // destination holds more than half of the data; answers its length.
    qint64 interruptHalfway(ZKCopyTask &task, const QString &copy) {
        if (stepTask(task) != S::PendingProcessing) {
            return -1;
        }
        task.setMaximumTransferRate(2 * 1024 * 1024);
        task.start();
        const bool halfway =
            QTest::qWaitFor([&] { return QFileInfo(copy).size() > dataSize / 2; }, 30000);
        task.pause();
        task.setMaximumTransferRate(0);
        if (!halfway || task.state() != S::PendingProcessing) {
            return -1;
        }
        return QFileInfo(copy).size();
    }

private Q_SLOTS:
    void initTestCase() {
        ZKPreferences::initialiseUserDefaults();
        ZKUserDefaults::standard().setInteger(ZKPreferences::downloadTimeout, 5);
        m_data = ZKTestSupport::randomBytes(dataSize, 11);
        QVERIFY(ZKTestSupport::writeFile(QDir(m_root.path()).filePath(QStringLiteral("data.bin")),
                                         m_data));
        QVERIFY2(m_servers.startNginx(m_root.path()), qUtf8Printable(m_servers.errorString()));
        QVERIFY2(m_servers.startPythonServer(m_root.path()),
                 qUtf8Printable(m_servers.errorString()));
    }

    void init() { m_out = std::make_unique<QTemporaryDir>(); }
    void cleanupTestCase() { m_servers.stop(); }

    void downloadIsByteIdentical_data() { servers(); }

    void downloadIsByteIdentical() {
        QFETCH(bool, ranges);
        auto task = makeTask(url(ranges, QStringLiteral("/data.bin")));
        runTask(*task);
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(*task)));
        QCOMPARE(ZKTestSupport::readFile(out(QStringLiteral("data.bin"))), m_data);
        QCOMPARE(task->totalBytes(), quint64(dataSize));
        QCOMPARE(task->progressBytes(), quint64(dataSize));
        // What the row shows as resumable or not.
        QCOMPARE(task->isResumable(), ranges);
        if (ranges) {
            QVERIFY(m_servers.nginxAccessLog().contains("GET /data.bin 206 range=\"bytes=0-\""));
        }
    }

    void interruptedDownload_data() { servers(); }

    // Where the server serves ranges, only the rest is asked for, from where
    // the file ended. Where it does not, the file cannot be continued, so the
    // task writes its own unfinished file anew, without asking: it is nobody
    // else's, and a question would stop every automatic retry.
    void interruptedDownload() {
        QFETCH(bool, ranges);
        auto task = makeTask(url(ranges, QStringLiteral("/data.bin")));
        const qint64 partial = interruptHalfway(*task, unfinished(QStringLiteral("data.bin")));
        QVERIFY2(partial > 0 && partial < dataSize, qPrintable(QString::number(partial)));
        QCOMPARE(ZKTestSupport::readFile(unfinished(QStringLiteral("data.bin"))),
                 m_data.left(partial));
        // The row's resume badge.
        QCOMPARE(task->isResumable(), ranges);

        // Asked through a queue's line of questions, as a queued task is.
        ZKScriptedPresenter presenter;
        ZKQuestionPresenter::setShared(&presenter);
        const auto restore = qScopeGuard([] { ZKQuestionPresenter::setShared(nullptr); });
        const ZKTaskQuestions questions(nullptr);
        task->setQuestions(questions);
        task->reset();
        runTask(*task);
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(*task)));
        QVERIFY2(presenter.questions().isEmpty(), qUtf8Printable(presenter.messages().join('\n')));
        QCOMPARE(ZKTestSupport::readFile(out(QStringLiteral("data.bin"))), m_data);
        if (ranges) {
            const QByteArray resumed =
                "GET /data.bin 206 range=\"bytes=" + QByteArray::number(partial) +
                "-\" sent=" + QByteArray::number(dataSize - partial);
            QVERIFY2(m_servers.nginxAccessLog().contains(resumed),
                     m_servers.nginxAccessLog().constData());
        }
    }

    void oneRequestPerDownload_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<bool>("secure");
        QTest::addColumn<bool>("cut");
        QTest::newRow("plain") << "/one/plain.bin" << dataSize << false << false;
        // Whole before anyone reads it: the answer ends while it waits.
        QTest::newRow("small") << "/one/small.bin" << qsizetype(1000) << false << false;
        // Far more than what the sockets and the read-ahead hold.
        const qsizetype large = 48 * 1024 * 1024;
        QTest::newRow("large") << "/one/large.bin" << large << false << false;
        QTest::newRow("HTTPS") << "/one/secure.bin" << dataSize << true << false;
        // The first attempt is cut off; the next goes on from where it ended.
        // Large, so that the cut strikes while the copy reads: one that
        // strikes before, while the head is looked at, is mended by a fresh
        // request within the same attempt.
        QTest::newRow("resumed after a cut") << "/one/cut.bin" << large << false << true;
        QTest::newRow("password") << "/private/one.bin" << dataSize << false << false;
    }

    // The look at the file's head before the copy and the copy itself are
    // one request: the answer that told the size and name is the one whose
    // body is written.
    void oneRequestPerDownload() {
        QFETCH(QString, path);
        QFETCH(qsizetype, size);
        QFETCH(bool, secure);
        QFETCH(bool, cut);
        if (secure && !QSslSocket::supportsSsl()) {
            QSKIP("Qt has no TLS backend here");
        }
        const QString served = m_root.path() + path;
        QVERIFY(QDir().mkpath(QFileInfo(served).path()));
        const QByteArray content = ZKTestSupport::randomBytes(size, 31);
        QVERIFY(ZKTestSupport::writeFile(served, content));
        QUrl url = secure ? m_servers.nginxHttpsUrl(path) : m_servers.nginxUrl(path);
        if (path.startsWith(QLatin1String("/private/"))) {
            url.setUserName(ZKHttpServers::privateUser());
            url.setPassword(ZKHttpServers::privatePassword());
        }
        auto untrust = qScopeGuard([] {
            ZKUserDefaults::standard().setObject(QStringLiteral("trustedCertificates"), QVariant());
        });
        if (secure) {
            QVERIFY(ZKTrustedCertificates::trust(QString::fromLatin1(
                m_servers.certificate().digest(QCryptographicHash::Sha256).toHex(':').toUpper())));
        }
        ZKFaultRelay relay(QStringLiteral("127.0.0.1"), quint16(url.port()),
                           ZKFaultRelay::Protocol::Plain);
        if (cut) {
            relay.setFault(ZKFaultRelay::Fault::Cut, size - size / 4);
            url = relay.relayed(url);
        }
        const qsizetype logged = m_servers.nginxAccessLog().size();
        const QString name = QFileInfo(served).fileName();

        auto task = makeTask(url);
        runTask(*task);
        QStringList expected{QStringLiteral("range=\"bytes=0-\"")};
        if (cut) {
            QCOMPARE(task->state(), ZKTaskState(S::Failed));
            const qint64 partial = QFileInfo(unfinished(name)).size();
            QVERIFY2(partial > 0 && partial < size, qPrintable(QString::number(partial)));
            expected << QStringLiteral("range=\"bytes=%1-\"").arg(partial);
            task->reset();
            runTask(*task);
        }
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(*task)));
        QVERIFY(ZKTestSupport::readFile(out(name)) == content);
        // A request given up is logged once nginx notices; the one that
        // carried the file is logged before its last byte arrived.
        QTRY_VERIFY(requestsFor(path, logged).size() >= expected.size());
        const QList<QByteArray> requests = requestsFor(path, logged);
        const QString log = QString::fromUtf8(requests.join('\n'));
        QVERIFY2(requests.size() == expected.size(), qUtf8Printable(log));
        for (qsizetype i = 0; i < requests.size(); ++i) {
            QVERIFY2(requests.at(i).contains(expected.at(i).toUtf8()), qUtf8Printable(log));
        }
    }

    void oneRequestWhenGoingOn_data() {
        QTest::addColumn<QString>("stop");
        QTest::addColumn<QString>("then");
        QTest::newRow("fresh") << ""
                               << "";
        // As a queue saved while paused, or killed while copying, or a failed
        // one retried, is opened again.
        QTest::newRow("reopened") << "pause"
                                  << "PendingProcessing";
        QTest::newRow("reopened while copying") << "pause"
                                                << "Processing";
        QTest::newRow("reopened before analysis") << "pause"
                                                  << "PendingPreparation";
        // A new task for the same download, as a second command makes.
        QTest::newRow("resumed") << "pause"
                                 << "new task";
        QTest::newRow("retried") << "cut"
                                 << "same task";
        QTest::newRow("retried after reopening") << "cut"
                                                 << "PendingPreparation";
    }

    // A download that goes on from its unfinished file asks once, for the
    // rest: that answer tells the analysis the size and version too.
    void oneRequestWhenGoingOn() {
        QFETCH(QString, stop);
        QFETCH(QString, then);
        const QString path = QStringLiteral("/again/%1.bin").arg(QTest::currentDataTag());
        const QString served = m_root.path() + path;
        QVERIFY(QDir().mkpath(QFileInfo(served).path()));
        // Large enough that a cut strikes while the copy reads.
        const qsizetype size = stop == QLatin1String("cut") ? 24 * 1024 * 1024 : dataSize;
        const QByteArray content = ZKTestSupport::randomBytes(size, 41);
        QVERIFY(ZKTestSupport::writeFile(served, content));
        const QString name = QFileInfo(served).fileName();
        ZKFaultRelay relay(QStringLiteral("127.0.0.1"), quint16(m_servers.nginxUrl(path).port()),
                           ZKFaultRelay::Protocol::Plain);
        relay.setFault(ZKFaultRelay::Fault::Cut, size - size / 4);
        const QUrl url = stop == QLatin1String("cut") ? relay.relayed(m_servers.nginxUrl(path))
                                                      : m_servers.nginxUrl(path);
        qsizetype logged = m_servers.nginxAccessLog().size();

        auto task = makeTask(url);
        qint64 partial = 0;
        if (stop == QLatin1String("pause")) {
            partial = interruptHalfway(*task, unfinished(name));
        } else if (stop == QLatin1String("cut")) {
            QCOMPARE(runTask(*task), ZKTaskState(S::Failed));
            partial = QFileInfo(unfinished(name)).size();
        }
        if (!stop.isEmpty()) {
            QVERIFY2(partial > 0 && partial < size, qPrintable(QString::number(partial)));
            // The request given up is logged once nginx notices.
            QTRY_COMPARE(requestsFor(path, logged).size(), 1);
            logged = m_servers.nginxAccessLog().size();
        }
        if (then == QLatin1String("new task")) {
            task = makeTask(url);
        } else if (!then.isEmpty() && then != QLatin1String("same task")) {
            QVariantMap saved = task->asPropertyList();
            task.reset();
            saved.insert(QStringLiteral("State"), then);
            task = ZKCopyTask::create(saved);
            QVERIFY(task);
            task->resumeInterruptedStep(); // as its queue does
            QTRY_VERIFY_WITH_TIMEOUT(task->state() != S::Processing, 30000);
        }
        if (task->state() == S::Failed) {
            task->reset();
        }
        runTask(*task);
        QVERIFY2(task->state() == S::Completed, qUtf8Printable(errorText(*task)));
        QVERIFY(ZKTestSupport::readFile(out(name)) == content);

        QTRY_VERIFY(!requestsFor(path, logged).isEmpty());
        const QList<QByteArray> requests = requestsFor(path, logged);
        const QString log = QString::fromUtf8(requests.join('\n'));
        QVERIFY2(requests.size() == 1, qUtf8Printable(log));
        const QByteArray range = "range=\"bytes=" + QByteArray::number(partial) + "-\"";
        QVERIFY2(requests.first().contains(range), qUtf8Printable(log));
    }

    // The look at the head and the copy may run on different workers: the
    // answer goes from one thread to the other, and its data with it.
    void answerMovesToTheReadingThread() {
        const QString path = QStringLiteral("/data.bin");
        auto reader = ZKHttpReader::readerWithUrl(m_servers.nginxUrl(path));
        const qsizetype logged = m_servers.nginxAccessLog().size();
        bool opened = false;
        std::unique_ptr<QThread> worker(QThread::create([&] {
            opened = reader->open();
            reader->close();
        }));
        worker->start();
        QVERIFY(worker->wait(30000));
        QVERIFY2(opened, qUtf8Printable(errorText(reader->error())));
        QVERIFY(reader->open());
        QByteArray all;
        while (reader->hasMoreData()) {
            const QByteArray block = reader->readBlock();
            QVERIFY2(!block.isEmpty(), qUtf8Printable(errorText(reader->error())));
            all += block;
        }
        reader->close();
        QVERIFY(all == m_data);
        QCOMPARE(requestsFor(path, logged).size(), 1);
    }

    void untrustedCertificateFailsUntilTrusted() {
        if (!QSslSocket::supportsSsl()) {
            QSKIP("Qt has no TLS backend here");
        }
        const QUrl url = m_servers.nginxHttpsUrl(QStringLiteral("/data.bin"));
        auto refused = makeTask(url);
        runTask(*refused);
        QCOMPARE(refused->state(), ZKTaskState(S::Failed));
        QVERIFY(refused->error());
        QCOMPARE(refused->error()->domain(), ZKHttpReader::networkErrorDomain);
        QCOMPARE(refused->error()->code(), qint64(QNetworkReply::SslHandshakeFailedError));
        const QString fingerprint = QString::fromLatin1(
            m_servers.certificate().digest(QCryptographicHash::Sha256).toHex(':').toUpper());
        const QString text = refused->error()->localizedDescription();
        QVERIFY2(
            text.startsWith(QStringLiteral("The certificate of 127.0.0.1 is not trusted (")) &&
                text.endsWith(QStringLiteral("). Its SHA-256 fingerprint is %1.").arg(fingerprint)),
            qUtf8Printable(text));
        // The text the row shows.
        QTRY_COMPARE(refused->detail(), QStringLiteral("Failed: %1").arg(text));
        QVERIFY(!QFileInfo::exists(out(QStringLiteral("data.bin"))));

        // Trusted by the user, as "ferrowick-cli trust" does; the system's store
        // is left alone.
        QVERIFY(ZKTrustedCertificates::trust(fingerprint));
        auto untrust = qScopeGuard([] {
            ZKUserDefaults::standard().setObject(QStringLiteral("trustedCertificates"), QVariant());
        });
        auto trusted = makeTask(url);
        runTask(*trusted);
        QVERIFY2(trusted->state() == S::Completed, qUtf8Printable(errorText(*trusted)));
        QCOMPARE(ZKTestSupport::readFile(out(QStringLiteral("data.bin"))), m_data);
    }

    void manySeeksInARow_data() { servers(); }

    void manySeeksInARow() {
        // Each seek gives up a request whose read-ahead is full; none of them
        // may hold on to a connection that later requests wait for.
        QFETCH(bool, ranges);
        const QString path = QStringLiteral("/data.bin");
        auto reader = ZKHttpReader::readerWithUrl(url(ranges, path));
        for (qsizetype i = 0; i < 12; ++i) {
            const qsizetype position = i * 100000;
            QVERIFY2(reader->seekToPosition(quint64(position)),
                     qPrintable(QStringLiteral("seek %1: %2")
                                    .arg(i)
                                    .arg(reader->error() ? reader->error()->localizedDescription()
                                                         : QString())));
            QCOMPARE(reader->readBlockOfLength(4096), m_data.mid(ranges ? position : 0, 4096));
        }
        reader->close();
    }

    void missingFileFailsTheTask() {
        // Checked too: the check compares the copy with the source, which
        // would have been the same error page twice.
        auto task = makeTask(m_servers.nginxUrl(QStringLiteral("/missing.iso")));
        task->setIsVerifyEnabled(true);
        runTask(*task);
        QCOMPARE(task->state(), ZKTaskState(S::Failed));
        QVERIFY(task->error());
        QCOMPARE(task->error()->domain(), ZKError::applicationDomain);
        QCOMPARE(task->error()->code(), ZKErrorCode::readFailed);
        QCOMPARE(task->error()->localizedDescription(),
                 QStringLiteral("The server answered 404 Not Found for 'missing.iso'."));
        QCOMPARE(
            QDir(m_out->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
            QStringList());
    }

    void replacedFileIsDownloadedAnew_data() {
        QTest::addColumn<bool>("reopened");
        QTest::newRow("reopened queue") << true;
        // A new task knows no version: the piece it asks for first is one of
        // the new file.
        QTest::newRow("new task") << false;
    }

    // A download stopped in the middle and taken up again after the file was
    // replaced on the server by another of the same length, whose first bytes
    // and whose bytes just before the cut are those of the old one.
    void replacedFileIsDownloadedAnew() {
        QFETCH(bool, reopened);
        const QString path = QStringLiteral("/replaced-%1.bin").arg(reopened);
        const QString served = m_root.path() + path;
        const QString name = QFileInfo(served).fileName();
        const QByteArray before = ZKTestSupport::randomBytes(dataSize, 21);
        QVERIFY(ZKTestSupport::writeFile(served, before));
        const qsizetype start = m_servers.nginxAccessLog().size();
        auto task = makeTask(m_servers.nginxUrl(path));
        const qint64 partial = interruptHalfway(*task, unfinished(name));
        QVERIFY2(partial > 0 && partial < dataSize, qPrintable(QString::number(partial)));
        const QVariantMap saved = task->asPropertyList();
        task.reset();
        QTRY_COMPARE(requestsFor(path, start).size(), 1);

        const QByteArray after = ZKTestSupport::laterVersion(before, partial);
        QVERIFY(ZKTestSupport::writeFile(served, after));
        QVERIFY(ZKTestSupport::setModified(served, QDateTime::currentDateTimeUtc().addSecs(3600)));
        const qsizetype logged = m_servers.nginxAccessLog().size();

        auto again = reopened ? ZKCopyTask::create(saved) : makeTask(m_servers.nginxUrl(path));
        QVERIFY(again);
        runTask(*again);
        QVERIFY2(again->state() == S::Completed, qUtf8Printable(errorText(*again)));
        const QByteArray copied = ZKTestSupport::readFile(out(name));
        QVERIFY2(copied == after,
                 copied == before.left(partial) + after.mid(partial)
                     ? "the copy joins the old version's start to the new one's end"
                     : "the copy is neither version");
        if (reopened) {
            // The rest was asked for under the old version's name, and the
            // server answered with the whole new one, which the copy took.
            QTRY_VERIFY(!requestsFor(path, logged).isEmpty());
            const QList<QByteArray> requests = requestsFor(path, logged);
            const QByteArray log = requests.join('\n');
            QVERIFY2(
                requests.size() == 1 &&
                    log.contains(" 200 range=\"bytes=" + QByteArray::number(partial) + "-\"") &&
                    !log.contains("if_range=\"-\""),
                log.constData());
        }
    }
};

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKHttpReaderDownloads test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKHttpReaderDownloads.moc"
