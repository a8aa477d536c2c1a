// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKTestSupport.h"
#include "ZKVerifyFileOperation.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using ZKTestSupport::errorText;
using ZKTestSupport::randomBytes;
using ZKTestSupport::writeFile;

namespace {

std::shared_ptr<ZKVerifyFileOperation> verifier(const QString &source, const QString &folder,
                                                quint64 offset = 0) {
    return std::make_shared<ZKVerifyFileOperation>(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source)),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)), offset);
}

} // namespace

class TestZKVerifyFileOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void reportsEachDifference_data();
    void reportsEachDifference();
    void skippedItemIsNotLookedFor();
    void resumesAfterTheOffset();
    void offsetCountsAcrossFiles();
    void cancelInTheMiddleIsNoFailure();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString &name) const { return m_dir->filePath(name); }
};

void TestZKVerifyFileOperation::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(path("src/t/sub")) && QDir().mkpath(path("dst/t/sub")));
}

// Each row prepares the pair of trees src/t and dst/t, then verifies t.
void TestZKVerifyFileOperation::reportsEachDifference_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("expected"); // %1: the folder of the test
    QTest::newRow("identical") << ""
                               << "";
    QTest::newRow("contents differ") << "flip"
                                     << "Verification failed: file contents differ.";
    QTest::newRow("sizes differ") << "grow"
                                  << "Verification failed: files are different sizes.";
    QTest::newRow("empty source, longer copy") << "emptySource"
                                               << "";
    QTest::newRow("file against folder")
        << "folder"
        << "Verification failed: cannot compare a file to a directory.";
    QTest::newRow("copy missing")
        << "remove"
        << "Verification failed: Unable to determine the size of '%1/dst/t/sub/f': No such file "
           "or directory";
    QTest::newRow("link points elsewhere")
        << "retarget"
        << "Verification failed: Symbolic link '%1/dst/t/l' is expected to point to 'sub/f' but "
           "points to 'sub'.";
    QTest::newRow("link missing") << "unlink"
                                  << "Verification failed: '%1/dst/t/l' could not be found.";
    QTest::newRow("link replaced by a file")
        << "linkToFile"
        << "Verification failed: cannot compare a link with a file.";
}

void TestZKVerifyFileOperation::reportsEachDifference() {
    QFETCH(QString, change);
    QFETCH(QString, expected);
    const QByteArray content = randomBytes(200000, 1);
    for (const QString side : {"src", "dst"}) {
        QVERIFY(writeFile(path(side + "/t/sub/f"), content));
        QVERIFY(QFile::link("sub/f", path(side + "/t/l")));
    }
    const QString copy = path("dst/t/sub/f");
    if (change == "flip") {
        QByteArray changed = content;
        changed[150000] = char(changed[150000] ^ 1);
        QVERIFY(writeFile(copy, changed));
    } else if (change == "grow") {
        QVERIFY(writeFile(copy, content + "x"));
    } else if (change == "emptySource") {
        QVERIFY(writeFile(path("src/t/sub/f"), {}) && writeFile(copy, "12345"));
    } else if (change == "folder") {
        QVERIFY(QFile::remove(copy) && QDir().mkdir(copy));
    } else if (change == "remove") {
        QVERIFY(QFile::remove(copy));
    } else if (change == "retarget") {
        QVERIFY(QFile::remove(path("dst/t/l")) && QFile::link("sub", path("dst/t/l")));
    } else if (change == "unlink") {
        QVERIFY(QFile::remove(path("dst/t/l")));
    } else if (change == "linkToFile") {
        QVERIFY(QFile::remove(path("dst/t/l")) && writeFile(path("dst/t/l"), content));
    }
    auto operation = verifier(path("src/t"), path("dst"));
    operation->start();
    QCOMPARE(errorText(*operation), expected.arg(m_dir->path()));
    if (operation->error()) {
        QCOMPARE(operation->error()->code(), qint64(-1004));
    }
}

void TestZKVerifyFileOperation::skippedItemIsNotLookedFor() {
    QVERIFY(writeFile(path("src/t/.DS_Store"), "x"));
    QVERIFY(writeFile(path("src/t/chosen"), "y"));
    auto operation = verifier(path("src/t"), path("dst"));
    operation->setSkippedFilePatterns({"^\\.DS_Store$"});
    operation->setSkippedUrls({QUrl::fromLocalFile(path("src/t/chosen"))});
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
}

void TestZKVerifyFileOperation::resumesAfterTheOffset() {
    const QByteArray content = randomBytes(300000, 2);
    QByteArray copy = content;
    copy[1000] = char(copy[1000] ^ 1); // before the offset: compared by the earlier run
    QVERIFY(writeFile(path("src/f"), content) && writeFile(path("dst/f"), copy));
    auto resumed = verifier(path("src/f"), path("dst"), 100000);
    resumed->start();
    QVERIFY2(!resumed->error(), qPrintable(errorText(*resumed)));
    QCOMPARE(resumed->bytesVerified(), quint64(300000));

    copy[250000] = char(copy[250000] ^ 1); // after it: found
    QVERIFY(writeFile(path("dst/f"), copy));
    auto again = verifier(path("src/f"), path("dst"), 100000);
    again->start();
    QCOMPARE(errorText(*again), QStringLiteral("Verification failed: file contents differ."));

    // At the end, nothing is left to compare or to announce.
    auto atEnd = verifier(path("src/f"), path("dst"), 300000);
    int posts = 0;
    atEnd->setActivityHandler([&posts](const ZKOperationActivity &) { ++posts; });
    atEnd->start();
    QVERIFY2(!atEnd->error(), qPrintable(errorText(*atEnd)));
    QCOMPARE(atEnd->bytesVerified(), quint64(300000));
    QCOMPARE(posts, 0);
}

void TestZKVerifyFileOperation::offsetCountsAcrossFiles() {
    // The offset of a folder is what the earlier run compared in walk order:
    // a file after it is compared in full, whatever its size.
    QVERIFY(writeFile(path("src/t/sub/a"), "aaaa") && writeFile(path("dst/t/sub/a"), "aaaa"));
    QVERIFY(writeFile(path("src/t/sub/b"), "bbbb") && writeFile(path("dst/t/sub/b"), "bbXb"));
    auto operation = verifier(path("src/t"), path("dst"), 4);
    operation->start();
    const bool bFirst =
        QDir(path("src/t/sub")).entryList(QDir::Files, QDir::Unsorted).first() == "b";
    // Whichever file the walk meets second is compared in full.
    QCOMPARE(errorText(*operation),
             bFirst ? QString() : QStringLiteral("Verification failed: file contents differ."));
}

void TestZKVerifyFileOperation::cancelInTheMiddleIsNoFailure() {
    const QByteArray content = randomBytes(2000000, 3);
    QVERIFY(writeFile(path("src/f"), content) && writeFile(path("dst/f"), content));
    auto operation = verifier(path("src/f"), path("dst"));
    operation->setMaximumTransferRate(500000);
    std::thread worker([operation] { operation->start(); });
    QTest::qWait(600);
    operation->cancel();
    worker.join();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QVERIFY(operation->bytesVerified() > 0 && operation->bytesVerified() < 2000000);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKVerifyFileOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKVerifyFileOperation.moc"
