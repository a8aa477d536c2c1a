// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAnalyseCopyOperation.h"
#include "ZKCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKRemoveSourceOperation.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <numeric>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using ZKTestSupport::errorText;
using ZKTestSupport::markBegunFrom;
using ZKTestSupport::partialPath;
using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

std::shared_ptr<ZKCopyOperation> copier(const QString &source, const QString &folder,
                                        quint64 offset = 0) {
    return std::make_shared<ZKCopyOperation>(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source)),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)), offset);
}

ZKAnalyseCopyOperation analyser(const QString &source, const QString &folder) {
    return ZKAnalyseCopyOperation(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source)),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)));
}

// Bytes this process has read, by read() and by kernel copies alike.
quint64 bytesReadSoFar() {
    const QByteArray io = readFile("/proc/self/io");
    const qsizetype at = io.indexOf("rchar: ") + 7;
    return io.mid(at, io.indexOf('\n', at) - at).toULongLong();
}

// The "bytes" of every activity report of one operation.
struct Activity {
    QList<quint64> bytes;
    quint64 lastTotal = 0;
    explicit Activity(ZKFileOperation *operation) {
        operation->setActivityHandler([this](const ZKOperationActivity &report) {
            bytes.append(report.bytes);
            lastTotal = report.totalBytes;
        });
    }
};

} // namespace

class TestZKCopyOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void resumesFromTheLengthOfThePartialFile_data();
    void resumesFromTheLengthOfThePartialFile();
    void neverContinuesAFileThatDiffers_data();
    void neverContinuesAFileThatDiffers();
    void replacesAFileThatDiffersInTheMiddle();
    void cancelStopsWithinABlockAndKeepsThePartialFile();
    void sourceChangedDuringTheCopyIsCopiedAnew_data();
    void sourceChangedDuringTheCopyIsCopiedAnew();
    void holesStayHoles();
    void secondCopyOfAFolderCopiesNothing();
    void treeOfSmallFilesArrivesWhole_data();
    void treeOfSmallFilesArrivesWhole();
    void links_data();
    void links();
    void linksBackIntoTheTreeEnd();
    void limitHoldsAcrossFiles_data();
    void limitHoldsAcrossFiles();
    void diskFullEndsWithWriteErrorAndConsistentFile();
    void metadataFollowsTheContents();
    void linkInTheDestinationIsNeverWrittenThrough_data();
    void linkInTheDestinationIsNeverWrittenThrough();
    void uncopyableItemsAreLeftOut_data();
    void uncopyableItemsAreLeftOut();
    void deepTreeFitsTheDescriptorLimit();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString &name) const { return m_dir->filePath(name); }
};

void TestZKCopyOperation::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid() && QDir().mkpath(path("dest")));
}

void TestZKCopyOperation::resumesFromTheLengthOfThePartialFile_data() {
    QTest::addColumn<int>("size");
    QTest::addColumn<quint64>("offset");
    // Above 1 MiB left, the kernel copies the blocks between local files.
    QTest::newRow("kernel copy") << 3000000 << quint64(0);
    QTest::newRow("kernel copy, task counted the partial bytes") << 3000000 << quint64(1000000);
    QTest::newRow("block loop") << 1500000 << quint64(0);
}

void TestZKCopyOperation::resumesFromTheLengthOfThePartialFile() {
    QFETCH(int, size);
    QFETCH(quint64, offset);
    const QByteArray content = randomBytes(size, 1);
    const QString partial = partialPath(path("dest"), "big.bin");
    QVERIFY(writeFile(path("big.bin"), content));
    QVERIFY(writeFile(partial, content.left(1000000)) && markBegunFrom(partial, path("big.bin")));
    auto operation = copier(path("big.bin"), path("dest"), offset);
    Activity activity(operation.get());
    const quint64 readBefore = bytesReadSoFar();
    operation->start();
    const quint64 read = bytesReadSoFar() - readBefore;
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QVERIFY(readFile(path("dest/big.bin")) == content && !QFile::exists(partial));
    const quint64 remainder = quint64(size) - 1000000;
    QCOMPARE(std::accumulate(activity.bytes.cbegin(), activity.bytes.cend(), quint64(0)),
             remainder);
    QCOMPARE(activity.lastTotal, remainder);
    QCOMPARE(operation->bytesCopied(), quint64(size));
    QVERIFY2(read >= remainder && read < remainder + 50000, qPrintable(QString::number(read)));
}

void TestZKCopyOperation::neverContinuesAFileThatDiffers_data() {
    QTest::addColumn<QString>("left"); // what an earlier copy left, and where
    // Its first and last 4 KiB match the source, the rest does not: only
    // where it came from can tell.
    QTest::newRow("unfinished file that does not say where it came from") << "unmarked";
    QTest::newRow("unfinished file of the version before") << "older";
    QTest::newRow("unfinished file of another source") << "other";
    QTest::newRow("start of the source under its real name") << "real";
}

// A resume never joins two versions: only an unfinished file that says it
// was begun from this very version of this source is continued.
void TestZKCopyOperation::neverContinuesAFileThatDiffers() {
    QFETCH(QString, left);
    QByteArray content = randomBytes(3000000, 2);
    QByteArray existing = content.left(1000000);
    existing[500000] = char(existing[500000] ^ 0x55);
    const QString partial = partialPath(path("dest"), "big.bin");
    QVERIFY(writeFile(path("big.bin"), content));
    QVERIFY(writeFile(left == "real" ? path("dest/big.bin") : partial, existing));
    if (left == "older") {
        QVERIFY(markBegunFrom(partial, path("big.bin")));
        content[500000] = char(content[500000] ^ 0x55);
        QVERIFY(writeFile(path("big.bin"), content)); // a new version: new date
    } else if (left == "other") {
        QVERIFY(writeFile(path("other.bin"), content) && markBegunFrom(partial, path("other.bin")));
    }
    auto operation = copier(path("big.bin"), path("dest"));
    operation->start();
    if (left == "real") {
        QCOMPARE(errorText(*operation),
                 QStringLiteral("A file named '%1' already exists.").arg(path("dest/big.bin")));
        QVERIFY(readFile(path("dest/big.bin")) == existing);
    } else {
        QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
        QVERIFY(readFile(path("dest/big.bin")) == content && !QFile::exists(partial));
    }
}

// Its first and last 4 KiB pass for a partial copy that only needs its end:
// nothing would be written. Other files chosen for replacement are the move
// property's.
void TestZKCopyOperation::replacesAFileThatDiffersInTheMiddle() {
    QByteArray existing = randomBytes(200000, 3);
    existing[100000] = char(~existing.at(100000));
    QVERIFY(writeFile(path("a.bin"), randomBytes(200000, 3)));
    QVERIFY(writeFile(path("dest/a.bin"), existing));
    QVERIFY(
        ZKTestSupport::setModified(path("dest/a.bin"), QDateTime::currentDateTime().addDays(-1)));
    auto operation = copier(path("a.bin"), path("dest"));
    operation->setReplacedUrls({QUrl::fromLocalFile(path("dest/a.bin"))});
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QVERIFY(readFile(path("dest/a.bin")) == randomBytes(200000, 3));
}

void TestZKCopyOperation::cancelStopsWithinABlockAndKeepsThePartialFile() {
    const QByteArray content = randomBytes(2000000, 5);
    QVERIFY(writeFile(path("slow.bin"), content));
    auto operation = copier(path("slow.bin"), path("dest"));
    operation->setMaximumTransferRate(20000);
    std::thread worker([operation] { operation->start(); });
    QTest::qWait(1500);
    const auto cancelled = ZKFileOperation::Clock::now();
    operation->cancel();
    worker.join();
    const double stopping = ZKFileOperation::secondsSince(cancelled);
    QVERIFY2(stopping < 2.5, qPrintable(QString::number(stopping)));
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    const QByteArray partial = readFile(partialPath(path("dest"), "slow.bin"));
    QVERIFY(!partial.isEmpty() && partial.size() < content.size() && content.startsWith(partial));
    QVERIFY(!QFile::exists(path("dest/slow.bin")));

    auto resumed = copier(path("slow.bin"), path("dest"));
    resumed->start();
    QVERIFY2(!resumed->error(), qPrintable(errorText(*resumed)));
    QVERIFY(readFile(path("dest/slow.bin")) == content);
}

void TestZKCopyOperation::sourceChangedDuringTheCopyIsCopiedAnew_data() {
    QTest::addColumn<QString>("change");
    QTest::newRow("shrinks") << "shrink";
    QTest::newRow("grows") << "grow";
    QTest::newRow("rewritten in place, same length") << "rewrite";
}

// A copy that may join two versions of its source is never left to be
// resumed: the next attempt copies the source as it is then.
void TestZKCopyOperation::sourceChangedDuringTheCopyIsCopiedAnew() {
    QFETCH(QString, change);
    const QString source = path("changing.bin");
    QVERIFY(writeFile(source, randomBytes(2000000, 21)));
    auto operation = copier(source, path("dest"));
    operation->setMaximumTransferRate(1000000);
    std::thread worker([operation] { operation->start(); });
    const bool underway = QTest::qWaitFor(
        [&] { return QFileInfo(partialPath(path("dest"), "changing.bin")).size() >= 200000; },
        10000);
    QFile file(source);
    const bool changed =
        file.open(QIODevice::ReadWrite) &&
        (change == "shrink" ? file.resize(1000000)
         : change == "grow" ? file.seek(file.size()) && file.write(randomBytes(100000, 22)) > 0
                            : file.write(randomBytes(65536, 23)) == 65536);
    file.close();
    worker.join();
    QVERIFY(underway && changed);
    QVERIFY2(errorText(*operation)
                 .endsWith(QStringLiteral("it changed while it was copied. The "
                                          "copy was removed, to be made anew.")),
             qPrintable(errorText(*operation)));
    QVERIFY(!QFile::exists(path("dest/changing.bin")) &&
            !QFile::exists(partialPath(path("dest"), "changing.bin")));

    auto again = copier(source, path("dest"));
    again->start();
    QVERIFY2(!again->error(), qPrintable(errorText(*again)));
    QVERIFY(readFile(path("dest/changing.bin")) == readFile(source));
}

void TestZKCopyOperation::holesStayHoles() {
    // 48 MiB holding 64 KiB of data: at the start, in the middle, then a
    // hole to the end.
    const qint64 size = 48 << 20;
    const QByteArray head = randomBytes(32768, 20);
    const QByteArray middle = randomBytes(32768, 21);
    {
        QFile file(path("sparse.img"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write(head) == head.size() && file.seek(20 << 20) &&
                file.write(middle) == middle.size() && file.resize(size));
    }
    struct stat status {};
    QVERIFY(::stat(QFile::encodeName(path("sparse.img")).constData(), &status) == 0);
    if (status.st_blocks * 512 > 4 << 20) {
        QSKIP("the temporary folder's file system keeps no holes");
    }

    auto operation = copier(path("sparse.img"), path("dest"));
    Activity activity(operation.get());
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QVERIFY(readFile(path("dest/sparse.img")) == readFile(path("sparse.img")));
    QVERIFY(::stat(QFile::encodeName(path("dest/sparse.img")).constData(), &status) == 0);
    QCOMPARE(qint64(status.st_size), size);
    QVERIFY2(status.st_blocks * 512 < 4 << 20,
             qPrintable(QStringLiteral("the copy takes %1 bytes").arg(status.st_blocks * 512)));
    // Progress counts the file's size, holes included.
    QCOMPARE(std::accumulate(activity.bytes.begin(), activity.bytes.end(), quint64(0)),
             quint64(size));
}

void TestZKCopyOperation::secondCopyOfAFolderCopiesNothing() {
    QVERIFY(QDir().mkpath(path("tree/sub/deeper")));
    QVERIFY(writeFile(path("tree/a"), randomBytes(70000, 6)) && writeFile(path("tree/empty"), {}));
    QVERIFY(writeFile(path("tree/sub/deeper/c"), randomBytes(1, 8)));
    auto first = copier(path("tree"), path("dest"));
    first->setMinimumTimeBetweenNotifications(60); // only the one at the end
    Activity firstActivity(first.get());
    first->start();
    QVERIFY2(!first->error(), qPrintable(errorText(*first)));
    QVERIFY(readFile(path("dest/tree/sub/deeper/c")) == randomBytes(1, 8));
    QVERIFY(QFileInfo(path("dest/tree/empty")).isFile());
    // Files share the pace of notifications: a tree of small ones must not
    // wake the main thread for each.
    QCOMPARE(firstActivity.bytes, QList<quint64>{70001});
    QCOMPARE(first->bytesCopied(), quint64(70001));

    QVERIFY(QFile::setPermissions(path("dest/tree/a"), QFile::ReadOwner)); // no write is due
    auto second = copier(path("tree"), path("dest"));
    Activity activity(second.get());
    second->start();
    QVERIFY2(!second->error(), qPrintable(errorText(*second)));
    QVERIFY(activity.bytes.isEmpty());
    QCOMPARE(second->bytesCopied(), quint64(0));
}

void TestZKCopyOperation::treeOfSmallFilesArrivesWhole_data() {
    QTest::addColumn<bool>("partlyThere");
    QTest::addColumn<int>("cancelAfterFiles"); // 0: never
    QTest::newRow("fresh destination") << false << 0;
    QTest::newRow("some copied, one begun") << true << 0;
    QTest::newRow("cancelled on the way") << false << 60;
}

// Small files are copied on two threads; what arrives, what is counted and
// the folders' dates must be as if one thread had copied them in order.
void TestZKCopyOperation::treeOfSmallFilesArrivesWhole() {
    QFETCH(bool, partlyThere);
    QFETCH(int, cancelAfterFiles);
    const QDateTime old = QDateTime::fromSecsSinceEpoch(1200000000);
    QStringList files;
    quint64 total = 0;
    for (const QString folder : {"tree/a", "tree/b/c", "tree/b"}) {
        QVERIFY(QDir().mkpath(path(folder)));
        for (int i = 0; i < 120; ++i) {
            const QString name = QStringLiteral("%1/f%2").arg(folder).arg(i);
            const QByteArray content = randomBytes((i * 97) % 9000, quint32(files.size()));
            QVERIFY(writeFile(path(name), content));
            files.append(name);
            total += quint64(content.size());
        }
    }
    QVERIFY(writeFile(path("tree/b/large"), randomBytes(1500000, 3))); // stays on one thread
    files.append("tree/b/large");
    total += 1500000;
    const struct timespec times[2] = {{old.toSecsSinceEpoch(), 0}, {old.toSecsSinceEpoch(), 0}};
    for (const QString folder : {"tree/b/c", "tree/b", "tree/a", "tree"}) {
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(path(folder)).constData(), times, 0) == 0);
    }
    quint64 already = 0;
    if (partlyThere) {
        QVERIFY(QDir().mkpath(path("dest/tree/a")));
        for (int i = 0; i < 40; ++i) {
            const QString name = QStringLiteral("tree/a/f%1").arg(i);
            QVERIFY(QFile::copy(path(name), path("dest/" + name)));
            already += quint64(QFileInfo(path(name)).size());
        }
        const QString partial = partialPath(path("dest/tree/a"), "f41");
        QVERIFY(writeFile(partial, readFile(path("tree/a/f41")).left(100)) &&
                markBegunFrom(partial, path("tree/a/f41")));
    }

    auto operation = copier(path("tree"), path("dest"));
    quint64 filesDone = 0;
    quint64 reported = 0;
    operation->setActivityHandler([&](const ZKOperationActivity &report) {
        filesDone = report.filesDone;
        reported = report.totalBytes;
        if (cancelAfterFiles != 0 && report.filesDone >= quint64(cancelAfterFiles)) {
            operation->cancel();
        }
    });
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));

    // Whatever stands under a real name is whole; a partial file holds the
    // source's first bytes; both are counted.
    quint64 arrived = 0;
    quint64 partial = 0;
    int arrivedFiles = 0;
    for (const QString &name : std::as_const(files)) {
        const QByteArray source = readFile(path(name));
        const QFileInfo info(path("dest/" + name));
        const QString part = partialPath(info.absolutePath(), info.fileName());
        if (info.exists()) {
            QVERIFY2(readFile(info.filePath()) == source, qPrintable(name));
            arrived += quint64(source.size());
            ++arrivedFiles;
        } else if (QFile::exists(part)) {
            const QByteArray begun = readFile(part);
            QVERIFY2(source.startsWith(begun), qPrintable(name));
            partial += quint64(begun.size());
        }
    }
    // Files found whole are not this run's; a resumed one counts whole, yet
    // only its bytes written now are reported as moved.
    const quint64 resumed = partlyThere ? 100 : 0;
    QCOMPARE(operation->bytesCopied() + already, arrived + partial);
    QCOMPARE(reported + already + resumed, arrived + partial);
    if (cancelAfterFiles != 0) {
        QVERIFY2(arrivedFiles < files.size(), "the cancel came too late to be seen");
        return;
    }
    QCOMPARE(arrivedFiles, files.size());
    QCOMPARE(filesDone, quint64(files.size() - (partlyThere ? 40 : 0)));
    QCOMPARE(arrived, total);
    QVERIFY(!QFile::exists(partialPath(path("dest/tree/a"), "f41")));
    // A folder's date is set after its last file, on whichever thread it came.
    for (const QString folder : {"tree/b/c", "tree/b", "tree/a", "tree"}) {
        QVERIFY2(QFileInfo(path("dest/" + folder)).lastModified() == old, qPrintable(folder));
    }
}

void TestZKCopyOperation::links_data() {
    QTest::addColumn<qint32>("handling");
    QTest::addColumn<quint64>("total"); // what the analysis counts to copy
    QTest::newRow("copy the link") << qint32(ZKSymbolicLinkHandlingCopyLink) << quint64(5);
    QTest::newRow("follow it") << qint32(ZKSymbolicLinkHandlingFollow) << quint64(16);
    QTest::newRow("skip it") << qint32(ZKSymbolicLinkHandlingSkip) << quint64(5);
}

void TestZKCopyOperation::links() {
    QFETCH(qint32, handling);
    QFETCH(quint64, total);
    QVERIFY(QDir().mkpath(path("tree")) && QDir().mkpath(path("elsewhere/inner")));
    QVERIFY(writeFile(path("elsewhere/inner/x"), "target") &&
            writeFile(path("tree/file"), "plain"));
    QVERIFY(QFile::link("file", path("tree/toFile")));
    QVERIFY(QFile::link("../elsewhere/inner", path("tree/toFolder")));
    // Followed, a dangling link is an unreadable item; otherwise it is fine.
    QVERIFY(handling == ZKSymbolicLinkHandlingFollow ||
            QFile::link("nowhere", path("tree/dangling")));
    auto analyse = analyser(path("tree"), path("dest"));
    analyse.setSymbolicLinkHandling(handling);
    analyse.start();
    QVERIFY2(!analyse.error(), qPrintable(errorText(analyse)));
    QCOMPARE(analyse.totalBytes(), total);
    auto operation = copier(path("tree"), path("dest"));
    operation->setSymbolicLinkHandling(handling);
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));

    const QFileInfo toFile(path("dest/tree/toFile"));
    const auto toFolder =
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("dest/tree/toFolder")));
    toFolder->open();
    if (handling == ZKSymbolicLinkHandlingCopyLink) {
        // Stored as given: a relative link stays relative (and dangles here).
        QCOMPARE(toFolder->linkTarget(), QStringLiteral("../elsewhere/inner"));
        QCOMPARE(toFile.symLinkTarget(), path("dest/tree/file"));
        QVERIFY(QFileInfo(path("dest/tree/dangling")).isSymLink());
    } else if (handling == ZKSymbolicLinkHandlingFollow) {
        QVERIFY(!toFile.isSymLink() && readFile(toFile.filePath()) == "plain");
        QVERIFY(!toFolder->isLink() && readFile(path("dest/tree/toFolder/x")) == "target");
        // The target's contents belong under the link's name only.
        QVERIFY(!QFileInfo::exists(path("dest/tree/x")));
    } else {
        QVERIFY(!toFile.isSymLink() && !toFolder->exists() &&
                readFile(path("dest/tree/file")) == "plain");
    }
}

void TestZKCopyOperation::linksBackIntoTheTreeEnd() {
    QVERIFY(QDir().mkpath(path("tree/a")) && writeFile(path("tree/a/f"), "f"));
    QVERIFY(QFile::link("..", path("tree/a/up")));
    auto followed = copier(path("tree"), path("dest"));
    followed->setSymbolicLinkHandling(ZKSymbolicLinkHandlingFollow);
    followed->start();
    QVERIFY2(!followed->error(), qPrintable(errorText(*followed)));
    QVERIFY(readFile(path("dest/tree/a/f")) == "f");

    // Copied into its own subfolder, the copy is not copied again.
    auto intoItself = copier(path("tree"), path("tree/a"));
    intoItself->start();
    QVERIFY2(!intoItself->error(), qPrintable(errorText(*intoItself)));
    QVERIFY(readFile(path("tree/a/tree/a/f")) == "f");
    QVERIFY(!QFileInfo::exists(path("tree/a/tree/a/tree/a")));
}

void TestZKCopyOperation::limitHoldsAcrossFiles_data() {
    QTest::addColumn<int>("operations");
    QTest::newRow("one folder of small files") << 1;
    QTest::newRow("small files in tasks one after another") << 4;
}

// Each file owes too little to be slept on its own; together they owe the
// whole limit.
void TestZKCopyOperation::limitHoldsAcrossFiles() {
    QFETCH(int, operations);
    const auto throttle = std::make_shared<ZKTransferThrottle>();
    const auto started = ZKFileOperation::Clock::now();
    for (int i = 0; i < operations; ++i) {
        const QString folder = path(QStringLiteral("small%1").arg(i));
        QVERIFY(QDir().mkpath(folder));
        for (int file = 0; file < 20 / operations; ++file) {
            QVERIFY(writeFile(folder + QStringLiteral("/f%1").arg(file), randomBytes(5000, 20)));
        }
        auto operation = copier(folder, path("dest"));
        operation->setThrottle(throttle);
        operation->setMaximumTransferRate(50000);
        operation->start();
        QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    }
    // 100,000 bytes at 50,000 B/s cannot take much less than 2 s.
    const double seconds = ZKFileOperation::secondsSince(started);
    QVERIFY2(seconds > 1.7, qPrintable(QString::number(seconds)));
}

void TestZKCopyOperation::diskFullEndsWithWriteErrorAndConsistentFile() {
    const QString small = path("small");
    QVERIFY(QDir().mkpath(small));
    if (QProcess::execute("mount", {"-t", "tmpfs", "-o", "size=1m", "tmpfs", small}) != 0) {
        QSKIP("Cannot mount a small tmpfs here (needs root and mount rights): the disk-full "
              "case is not exercised.");
    }
    auto unmount = qScopeGuard([&] { QProcess::execute("umount", {small}); });
    const QByteArray content = randomBytes(3000000, 10);
    QVERIFY(writeFile(path("big.bin"), content));
    auto operation = copier(path("big.bin"), small);
    operation->start();
    QCOMPARE(errorText(*operation),
             QStringLiteral("Unable to write data to '%1': %2.")
                 .arg(partialPath(small, "big.bin"), qt_error_string(ENOSPC)));
    QCOMPARE(operation->error()->code(), qint64(-1006));
    const QByteArray partial = readFile(partialPath(small, "big.bin"));
    QVERIFY(partial.size() > 0 && content.startsWith(partial) &&
            !QFile::exists(small + "/big.bin"));

    QCOMPARE(QProcess::execute("mount", {"-o", "remount,size=8m", small}), 0);
    auto resumed = copier(path("big.bin"), small);
    resumed->start();
    QVERIFY2(!resumed->error(), qPrintable(errorText(*resumed)));
    QVERIFY(readFile(small + "/big.bin") == content &&
            !QFile::exists(partialPath(small, "big.bin")));
}

void TestZKCopyOperation::metadataFollowsTheContents() {
    QVERIFY(QDir().mkpath(path("tree/d")) && writeFile(path("tree/f"), "data"));
    const QDateTime old = QDateTime::fromSecsSinceEpoch(1000000000);
    QVERIFY(ZKTestSupport::setModified(path("tree/f"), old));
    QVERIFY(QFile::setPermissions(path("tree/f"), QFile::ReadOwner | QFile::ReadGroup));
    QVERIFY(QFile::setPermissions(path("tree/d"), QFile::ReadOwner | QFile::ExeOwner));
    // A change of owner or group clears these bits, so the mode must come after it.
    QVERIFY(writeFile(path("tree/setuid"), "#!/bin/sh\n"));
    QVERIFY(::chmod(QFile::encodeName(path("tree/setuid")).constData(), 06750) == 0);
    auto operation = copier(path("tree"), path("dest"));
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QCOMPARE(QFileInfo(path("dest/tree/f")).lastModified(), old);
    for (const QString name : {"tree/f", "tree/d", "tree/setuid"}) {
        struct stat source {};
        struct stat copy {};
        QVERIFY(::stat(QFile::encodeName(path(name)).constData(), &source) == 0);
        QVERIFY(::stat(QFile::encodeName(path("dest/" + name)).constData(), &copy) == 0);
        QCOMPARE(copy.st_mode & 07777, source.st_mode & 07777);
    }
}

void TestZKCopyOperation::linkInTheDestinationIsNeverWrittenThrough_data() {
    QTest::addColumn<QString>("link"); // where the link stands, under dest
    QTest::addColumn<bool>("replace");
    QTest::newRow("the folder itself, replaced") << "x" << true;
    QTest::newRow("the folder itself, not replaced") << "x" << false;
    QTest::newRow("a folder inside, replaced") << "x/sub" << true;
    QTest::newRow("a folder inside, not replaced") << "x/sub" << false;
    QTest::newRow("a file inside, replaced") << "x/sub/a.txt" << true;
}

// A link that stands where an item is to be made may lead anywhere: nothing
// is ever written through it, and replacing it removes the link alone.
void TestZKCopyOperation::linkInTheDestinationIsNeverWrittenThrough() {
    QFETCH(QString, link);
    QFETCH(bool, replace);
    QVERIFY(QDir().mkpath(path("x/sub")) && QDir().mkpath(path("outside/sub")));
    QVERIFY(writeFile(path("x/sub/a.txt"), "a") && writeFile(path("outside/keep"), "k"));
    QVERIFY(QDir().mkpath(QFileInfo(path("dest/" + link)).path()));
    QVERIFY(QFile::link(path(link.endsWith(".txt") ? "outside/keep" : "outside"),
                        path("dest/" + link)));
    const auto answer = [replace](const ZKFileInfo &) {
        return replace ? ZKFileResponseReplace : ZKFileResponseCancel;
    };
    auto analyse = analyser(path("x"), path("dest"));
    analyse.setPreExistingFileHandler(answer);
    analyse.setPreExistingDestinationHandler(answer);
    analyse.start();
    if (analyse.error()) {
        QVERIFY2(!replace, qPrintable(errorText(analyse)));
    } else {
        auto operation = copier(path("x"), path("dest"));
        operation->setReplacedUrls(analyse.replacedUrls());
        operation->start();
        QCOMPARE(errorText(*operation), QString());
        QVERIFY(replace);
        QVERIFY(!QFileInfo(path("dest/" + link)).isSymLink());
        QCOMPARE(readFile(path("dest/x/sub/a.txt")), QByteArray("a"));
    }
    QCOMPARE(QDir(path("outside")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"keep", "sub"}));
    QCOMPARE(readFile(path("outside/keep")), QByteArray("k"));
    QVERIFY(QDir(path("outside/sub")).isEmpty());
}

void TestZKCopyOperation::uncopyableItemsAreLeftOut_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("note");
    QTest::newRow("a named pipe") << QByteArray("pipe")
                                  << "'%1/pipe' is not a regular file, folder or link.";
    QTest::newRow("a name that is not UTF-8")
        << QByteArray("bad\xff") << "The name of '%1/bad\\xFF' is not valid UTF-8.";
}

// One item that cannot be copied leaves the rest to be copied, is named to
// the user, and keeps a move from removing the folder that still holds it.
void TestZKCopyOperation::uncopyableItemsAreLeftOut() {
    QFETCH(QByteArray, name);
    QFETCH(QString, note);
    QVERIFY(QDir().mkpath(path("x")) && writeFile(path("x/a.txt"), "a"));
    const QByteArray item = QFile::encodeName(path("x")) + '/' + name;
    const int made = name == "pipe" ? ::mkfifo(item.constData(), 0600)
                                    : ::open(item.constData(), O_CREAT | O_WRONLY, 0600);
    QVERIFY(made >= 0);
    if (name != "pipe") {
        ::close(made);
    }
    auto analyse = analyser(path("x"), path("dest"));
    analyse.start();
    QVERIFY2(!analyse.error(), qPrintable(errorText(analyse)));
    QCOMPARE(analyse.notes(), QStringList{note.arg(path("x"))});
    auto operation = copier(path("x"), path("dest"));
    operation->setSkippedUrls(analyse.skippedUrls());
    operation->start();
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QCOMPARE(readFile(path("dest/x/a.txt")), QByteArray("a"));

    ZKRemoveSourceOperation remove(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path("x"))),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path("dest"))));
    remove.setSkippedUrls(analyse.skippedUrls());
    remove.start();
    // The rest goes; what could not be copied stays, with its folder.
    QVERIFY2(!remove.error(), qPrintable(errorText(remove)));
    QVERIFY(::access(item.constData(), F_OK) == 0);
    ::unlink(item.constData()); // a name the temporary folder's clean-up cannot spell
}

// The folders being walked and written are held open only as far as the
// process's descriptors allow; past that, a tree deeper than the limit is
// copied by full paths, and whole. Nothing stays open afterwards.
void TestZKCopyOperation::deepTreeFitsTheDescriptorLimit() {
    constexpr int depth = 120;
    QString below;
    for (int level = 0; level < depth; ++level) {
        below += "/d";
    }
    QVERIFY(QDir().mkpath(path("deep") + below) && writeFile(path("deep") + below + "/leaf", "l"));
    QVERIFY(writeFile(path("deep/top"), "top"));
    const auto openDescriptors = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    };
    const qsizetype before = openDescriptors();
    struct rlimit saved {};
    QVERIFY(::getrlimit(RLIMIT_NOFILE, &saved) == 0);
    // The walk itself keeps a listing open on every level; holding two
    // handles more on each would not fit.
    struct rlimit lowered = saved;
    lowered.rlim_cur = rlim_t(before + depth + 80);
    QVERIFY(::setrlimit(RLIMIT_NOFILE, &lowered) == 0);
    auto operation = copier(path("deep"), path("dest"));
    operation->start();
    ::setrlimit(RLIMIT_NOFILE, &saved);
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    QCOMPARE(readFile(path("dest/deep/top")), QByteArray("top"));
    QCOMPARE(readFile(path("dest/deep") + below + "/leaf"), QByteArray("l"));
    QCOMPARE(openDescriptors(), before);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKCopyOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKCopyOperation.moc"
