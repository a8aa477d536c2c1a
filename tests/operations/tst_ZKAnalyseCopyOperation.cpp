// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAnalyseCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/wait.h>
#include <unistd.h>

using ZKTestSupport::errorText;
using ZKTestSupport::randomBytes;
using ZKTestSupport::writeFile;

namespace {

ZKReaderPtr readerAt(const QString &path) {
    return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
}

ZKAnalyseCopyOperation analyser(const QString &source, const QString &folder) {
    return ZKAnalyseCopyOperation(
        readerAt(source), ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)));
}

QUrl url(const QString &path) {
    return QUrl::fromLocalFile(path);
}

} // namespace

class TestZKAnalyseCopyOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void partialCopyTest_data();
    void partialCopyTest();
    void singleFile_data();
    void singleFile();
    void copyIntoItself_data();
    void copyIntoItself();
    void folderAgainstEarlierRun_data();
    void folderAgainstEarlierRun();
    void unwritableItem();
    void unreadableItem();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString &name) const { return m_dir->filePath(name); }
};

void TestZKAnalyseCopyOperation::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(path("src/t")) && QDir().mkpath(path("dst/t")));
}

void TestZKAnalyseCopyOperation::partialCopyTest_data() {
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<QByteArray>("copy");
    QTest::addColumn<bool>("partial");
    const QByteArray big = randomBytes(3000000, 1);
    QTest::newRow("first 10 bytes") << big << big.left(10) << true;
    QTest::newRow("first million") << big << big.left(1000000) << true;
    QTest::newRow("complete") << big << big << true;
    QTest::newRow("longer than the source") << big.left(5000) << big.left(5001) << false;
    QTest::newRow("empty copy") << big << QByteArray() << false;
    // Changed first or last 4 KiB: through the copy operation's tests.
}

void TestZKAnalyseCopyOperation::partialCopyTest() {
    QFETCH(QByteArray, original);
    QFETCH(QByteArray, copy);
    QFETCH(bool, partial);
    QVERIFY(writeFile(path("original"), original) && writeFile(path("copy"), copy));
    const ZKReaderPtr source = readerAt(path("original"));
    const ZKReaderPtr existing = readerAt(path("copy"));
    QVERIFY(source->open() && existing->open());
    ZKOptionalError error;
    QCOMPARE(ZKAnalyseCopyOperation::isPartialCopyFrom(source, existing, nullptr, &error), partial);
    QCOMPARE(error.has_value(), !partial);
    if (error) {
        QCOMPARE(error->code(), qint64(-1005));
        QCOMPARE(error->localizedDescription(),
                 QStringLiteral("A file named '%1' already exists.").arg(path("copy")));
    }
}

void TestZKAnalyseCopyOperation::singleFile_data() {
    QTest::addColumn<QString>("existing"); // none, partial, other, twin, older twin, folder
    QTest::addColumn<int>("answer");       // -1: no handler
    QTest::addColumn<bool>("analysedBefore");
    QTest::addColumn<quint64>("already");
    QTest::addColumn<bool>("replaced");
    QTest::addColumn<QString>("expected"); // %1: the existing item's path
    QTest::newRow("nothing there") << "none" << -1 << false << quint64(0) << false << "";
    QTest::newRow("unfinished copy of this source")
        << "partial" << -1 << false << quint64(1000) << false << "";
    // Under its real name a file is the user's own or whole, never resumed.
    QTest::newRow("start of the source under its name")
        << "start" << -1 << false << quint64(0) << false << "A file named '%1' already exists.";
    QTest::newRow("other file, replaced") << "other" << 0 << false << quint64(0) << true << "";
    QTest::newRow("other file, skipped") << "other" << 1 << false << quint64(0) << false << "";
    QTest::newRow("other file, nobody asked")
        << "other" << -1 << false << quint64(0) << false << "A file named '%1' already exists.";
    // Same size and date prove nothing; saying it came from here does.
    QTest::newRow("same size and date")
        << "twin" << -1 << false << quint64(0) << false << "A file named '%1' already exists.";
    QTest::newRow("same size and date, replaced")
        << "twin" << 0 << false << quint64(0) << true << "";
    QTest::newRow("says it is this source's copy")
        << "marked twin" << -1 << false << quint64(50000) << false << "";
    // Same size, older: another file, never a finished copy.
    QTest::newRow("same size, older, replaced")
        << "older twin" << 0 << false << quint64(0) << true << "";
    QTest::newRow("same size, older, nobody asked") << "older twin" << -1 << false << quint64(0)
                                                    << false << "A file named '%1' already exists.";
    // Not there at the task's first analysis: its own copy, cut before the
    // date was set.
    QTest::newRow("same size, older, the task's own")
        << "older twin" << -1 << true << quint64(50000) << false << "";
    QTest::newRow("folder there") << "folder" << 0 << false << quint64(0) << false
                                  << "A folder already exists with the name 'f'.";
}

void TestZKAnalyseCopyOperation::singleFile() {
    QFETCH(QString, existing);
    QFETCH(int, answer);
    QFETCH(bool, analysedBefore);
    QFETCH(quint64, already);
    QFETCH(bool, replaced);
    QFETCH(QString, expected);
    const QByteArray content = randomBytes(50000, 2);
    QVERIFY(writeFile(path("src/f"), content));
    if (existing == "partial") {
        const QString partial = ZKTestSupport::partialPath(path("dst"), "f");
        QVERIFY(writeFile(partial, content.left(1000)) &&
                ZKTestSupport::markBegunFrom(partial, path("src/f")));
    } else if (existing == "start") {
        QVERIFY(writeFile(path("dst/f"), content.left(1000)));
    } else if (existing == "other") {
        QVERIFY(writeFile(path("dst/f"), "something else"));
    } else if (existing.endsWith("twin")) {
        QVERIFY(writeFile(path("dst/f"), randomBytes(50000, 3)));
        const QDateTime date = QFileInfo(path("src/f")).lastModified();
        QVERIFY(ZKTestSupport::setModified(path("dst/f"),
                                           existing == "older twin" ? date.addSecs(-60) : date));
        if (existing == "marked twin") {
            QVERIFY(ZKTestSupport::markBegunFrom(path("dst/f"), path("src/f")));
        }
    } else if (existing == "folder") {
        QVERIFY(QDir().mkdir(path("dst/f")));
    }
    auto operation = analyser(path("src/f"), path("dst"));
    operation.setPreExistingUrls({}, analysedBefore);
    QList<ZKFileInfo> asked;
    if (answer >= 0) {
        operation.setPreExistingDestinationHandler([&](const ZKFileInfo &info) {
            asked.append(info);
            return ZKFileResponse(answer);
        });
    }
    operation.start();
    QCOMPARE(errorText(operation), expected.arg(path("dst/f")));
    const bool skipped = answer == 1;
    QCOMPARE(operation.totalBytes(), skipped ? quint64(0) : quint64(content.size()));
    QCOMPARE(operation.skippedUrls().contains(url(path("src/f"))), skipped);
    QCOMPARE(operation.bytesAlreadyCopied(), already);
    QCOMPARE(operation.isPartialCopy(), already != 0);
    QCOMPARE(operation.replacedUrls().contains(url(path("dst/f"))), replaced);
    if (answer >= 0 && existing != "none" && existing != "partial") {
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked.first().url, url(path("dst/f")));
    }
    // Taken as done without being written by this task: compared in full
    // before a move may remove the source.
    QCOMPARE(operation.preExistingUrls().contains(url(path("dst/f"))),
             already != 0 && !analysedBefore && existing != "partial");
}

void TestZKAnalyseCopyOperation::copyIntoItself_data() {
    QTest::addColumn<QString>("destination");
    QTest::newRow("into a subfolder") << "src/t/sub";
    QTest::newRow("into itself") << "src/t";
    QTest::newRow("through a link") << "link/sub";
}

void TestZKAnalyseCopyOperation::copyIntoItself() {
    QFETCH(QString, destination);
    QVERIFY(QDir().mkpath(path("src/t/sub")) && writeFile(path("src/t/f"), "f"));
    QVERIFY(QFile::link(path("src/t"), path("link")));
    auto operation = analyser(path("src/t"), path(destination));
    operation.start();
    QCOMPARE(errorText(operation),
             QStringLiteral("Cannot copy the folder '%1' into '%2', which is inside it.")
                 .arg(path("src/t"), path(destination)));
    QVERIFY(!QFileInfo::exists(path("src/t/sub/t")));
}

// src/t holds: same (dest: same size, other bytes, older), twin (dest: same
// size and date), empty (dest: 0 bytes), diff (dest: longer, other bytes),
// part (dest: its first 1000 bytes), new, a pattern-skipped name and a
// temporary file.
void TestZKAnalyseCopyOperation::folderAgainstEarlierRun_data() {
    QTest::addColumn<int>("answer"); // -1: no handler
    QTest::addColumn<quint64>("total");
    QTest::addColumn<quint64>("already");
    QTest::addColumn<bool>("failed");
    QTest::newRow("replace") << 0 << quint64(8400) << quint64(1600) << false;
    QTest::newRow("skip") << 1 << quint64(5900) << quint64(1600) << false;
    QTest::newRow("cancel") << 2 << quint64(0) << quint64(0) << true;
    QTest::newRow("no handler") << -1 << quint64(0) << quint64(0) << true;
    QTest::newRow("unknown answer: left alone") << 7 << quint64(5900) << quint64(1600) << false;
}

void TestZKAnalyseCopyOperation::folderAgainstEarlierRun() {
    QFETCH(int, answer);
    QFETCH(quint64, total);
    QFETCH(quint64, already);
    QFETCH(bool, failed);
    QVERIFY(QDir().mkpath(path("src/t/sub")) && QDir().mkpath(path("dst/t/sub")));
    QVERIFY(writeFile(path("src/t/same"), randomBytes(500, 3)));
    QVERIFY(writeFile(path("dst/t/same"), randomBytes(500, 4)));
    const QDateTime date = QFileInfo(path("src/t/same")).lastModified();
    QVERIFY(ZKTestSupport::setModified(path("dst/t/same"), date.addDays(-1)));
    QVERIFY(writeFile(path("src/t/twin"), randomBytes(600, 10)));
    QVERIFY(writeFile(path("dst/t/twin"), randomBytes(600, 11)));
    QVERIFY(ZKTestSupport::setModified(path("dst/t/twin"),
                                       QFileInfo(path("src/t/twin")).lastModified()));
    QVERIFY(ZKTestSupport::markBegunFrom(path("dst/t/twin"), path("src/t/twin")));
    QVERIFY(writeFile(path("src/t/empty"), randomBytes(300, 5)));
    QVERIFY(writeFile(path("dst/t/empty"), {}));
    QVERIFY(writeFile(path("src/t/sub/diff"), randomBytes(2000, 6)));
    QVERIFY(writeFile(path("dst/t/sub/diff"), randomBytes(3000, 7)));
    QVERIFY(writeFile(path("src/t/part"), randomBytes(4000, 8)));
    const QString partial = ZKTestSupport::partialPath(path("dst/t"), "part");
    QVERIFY(writeFile(partial, randomBytes(4000, 8).left(1000)) &&
            ZKTestSupport::markBegunFrom(partial, path("src/t/part")));
    QVERIFY(writeFile(path("src/t/new"), randomBytes(1000, 9)));
    QVERIFY(writeFile(path("src/t/skipme"), "x") && writeFile(path("src/t/.DS_Store"), "y"));

    auto operation = analyser(path("src/t"), path("dst"));
    operation.setSkippedFilePatterns({"^skipme$", "^\\.DS_Store$"});
    operation.setTemporaryFilePatterns({"^\\.DS_Store$"});
    QSet<QUrl> asked;
    if (answer >= 0) {
        operation.setPreExistingFileHandler([&](const ZKFileInfo &info) {
            asked.insert(info.url);
            return ZKFileResponse(answer);
        });
    }
    operation.start();
    const QUrl diff = url(path("dst/t/sub/diff"));
    const QUrl same = url(path("dst/t/same"));
    if (failed) {
        QVERIFY2(errorText(operation) ==
                         QStringLiteral("A file named '%1' already exists.").arg(diff.path()) ||
                     errorText(operation) ==
                         QStringLiteral("A file named '%1' already exists.").arg(same.path()),
                 qPrintable(errorText(operation)));
        QCOMPARE(operation.error()->code(), qint64(-1005));
        return;
    }
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    // Finished copies, empty copies and partial copies are never asked about.
    QCOMPARE(asked, (QSet<QUrl>{diff, same}));
    QCOMPARE(operation.totalBytes(), total);
    QCOMPARE(operation.bytesAlreadyCopied(), already);
    QCOMPARE(operation.replacedUrls().contains(diff), answer == 0);
    QCOMPARE(operation.skippedUrls().contains(url(path("src/t/sub/diff"))), answer != 0);
    QCOMPARE(operation.skippedUrls().contains(url(path("src/t/same"))), answer != 0);
    QVERIFY(operation.skippedUrls().contains(url(path("src/t/skipme"))));
    QVERIFY(!operation.skippedUrls().contains(url(path("src/t/.DS_Store"))));
    QCOMPARE(operation.preExistingUrls(), (QSet<QUrl>{url(path("dst/t/twin")), url(partial)}));
}

void TestZKAnalyseCopyOperation::unwritableItem() {
    QVERIFY(writeFile(path("src/t/f"), randomBytes(2000, 10)));
    QVERIFY(writeFile(path("dst/t/f"), randomBytes(3000, 11)));
    // Even root may not write an immutable file.
    if (QProcess::execute("chattr", {"+i", path("dst/t/f")}) != 0) {
        QSKIP("chattr +i is not available here: the unwritable case is not exercised.");
    }
    auto clear = qScopeGuard([&] { QProcess::execute("chattr", {"-i", path("dst/t/f")}); });
    for (const bool skip : {true, false}) {
        auto operation = analyser(path("src/t"), path("dst"));
        operation.setPreExistingFileHandler(
            [](const ZKFileInfo &) { return ZKFileResponseReplace; });
        QList<QUrl> asked;
        operation.setUnwritableFileHandler([&](const ZKFileInfo &info) {
            asked.append(info.url);
            return skip ? ZKFileResponseSkip : ZKFileResponseReplace;
        });
        operation.start();
        QCOMPARE(asked, QList<QUrl>{url(path("src/t/f"))});
        if (skip) {
            QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
            QCOMPARE(operation.totalBytes(), quint64(0));
            QVERIFY(operation.skippedUrls().contains(url(path("src/t/f"))));
        } else {
            QCOMPARE(errorText(operation),
                     QStringLiteral("Unable to write '%1'.").arg(path("dst/t/f")));
            QCOMPARE(operation.error()->code(), qint64(-1007));
        }
    }
}

void TestZKAnalyseCopyOperation::unreadableItem() {
    QVERIFY(writeFile(path("src/t/secret"), "s") && writeFile(path("src/t/open"), "o"));
    QVERIFY(QFile::setPermissions(path("src/t/secret"), {}));
    if (geteuid() == 0) {
        // Root reads every file: the analysis runs as an unprivileged user.
        QVERIFY(QProcess::execute("chmod", {"-R", "a+rwX", m_dir->path()}) == 0);
        QVERIFY(QFile::setPermissions(path("src/t/secret"), {}));
    }
    for (const bool skip : {true, false}) {
        const pid_t child = fork();
        if (child == 0) {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
                _exit(3);
            }
            auto operation = analyser(path("src/t"), path("dst"));
            if (skip) {
                operation.setUnreadableFileHandler(
                    [](const ZKFileInfo &) { return ZKFileResponseSkip; });
            }
            operation.start();
            const bool ok =
                skip ? !operation.error() &&
                           operation.skippedUrls() == QSet<QUrl>{url(path("src/t/secret"))} &&
                           operation.totalBytes() == 1
                     : errorText(operation) ==
                               QStringLiteral("Unable to read '%1'.").arg(path("src/t/secret")) &&
                           operation.error()->code() == -1007;
            _exit(ok ? 0 : 1);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY2(WIFEXITED(status) && WEXITSTATUS(status) == 0,
                 qPrintable(QStringLiteral("skip=%1 status=%2").arg(skip).arg(status)));
    }
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKAnalyseCopyOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKAnalyseCopyOperation.moc"
