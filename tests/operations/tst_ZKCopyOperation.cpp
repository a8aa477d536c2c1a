// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

ZKReaderPtr readerAt(const QString &path) {
    return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
}

ZKWriterPtr folderAt(const QString &path) {
    return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path));
}

// The real file-system reader, counting the bytes it hands out.
class CountingReader : public ZKReader {
public:
    // local false hides the local file from the copy's kernel path, so that
    // every byte passes through the reader.
    CountingReader(ZKReaderPtr inner, bool local)
        : m_inner(std::move(inner))
        , m_local(local) {}
    quint64 bytesRead = 0;

    QVariantMap asPropertyList() const override { return m_inner->asPropertyList(); }
    bool open() override { return sync(m_inner->open()); }
    void close() override { m_inner->close(); }
    QByteArray readBlock() override { return count(m_inner->readBlock()); }
    QByteArray readBlockOfLength(quint64 n) override {
        return count(m_inner->readBlockOfLength(n));
    }
    QByteArray readBlockOfMaximumLength(quint64 n) override {
        return count(m_inner->readBlockOfMaximumLength(n));
    }
    bool seekToPosition(quint64 p) override { return sync(m_inner->seekToPosition(p)); }
    ZKEnumerationResult enumerateContentsOfDirectoryWithBlock(const ReaderBlock &b) override {
        return m_inner->enumerateContentsOfDirectoryWithBlock(b);
    }
    ZKEnumerationResult enumerateFileInfoWithBlock(const FileInfoBlock &b) override {
        return m_inner->enumerateFileInfoWithBlock(b);
    }
    ZKEnumerationResult enumerateContentsOfFileWithBlock(const DataBlock &b) override {
        return m_inner->enumerateContentsOfFileWithBlock(b);
    }
    std::optional<ZKFileInfo> fileInfoForChild(const QString &n) override {
        return m_inner->fileInfoForChild(n);
    }
    std::shared_ptr<ZKReader> childWithName(const QString &n) override {
        return m_inner->childWithName(n);
    }
    std::shared_ptr<ZKWriter> asWriter() override { return m_inner->asWriter(); }
    quint64 calculateDirectorySizeFollowingLinks(bool f, const NameBlock &b) override {
        return m_inner->calculateDirectorySizeFollowingLinks(f, b);
    }
    QUrl url() const override { return m_inner->url(); }
    QUrl urlForPasteboard() override { return m_inner->urlForPasteboard(); }
    QString filename() const override { return m_inner->filename(); }
    QString icon() const override { return m_inner->icon(); }
    bool exists() const override { return m_inner->exists(); }
    quint64 size() const override { return m_inner->size(); }
    QDateTime creationDate() const override { return m_inner->creationDate(); }
    QDateTime modificationDate() const override { return m_inner->modificationDate(); }
    quint16 permissions() const override { return m_inner->permissions(); }
    quint64 owner() const override { return m_inner->owner(); }
    quint64 group() const override { return m_inner->group(); }
    bool isExtensionHidden() const override { return m_inner->isExtensionHidden(); }
    bool isImmutable() const override { return m_inner->isImmutable(); }
    bool isDirectory() const override { return m_inner->isDirectory(); }
    bool isLink() const override { return m_inner->isLink(); }
    QString linkTarget() const override { return m_inner->linkTarget(); }
    bool isLocal() const override { return m_local; }
    bool canSeek() const override { return m_inner->canSeek(); }
    bool hasMoreData() const override { return m_inner->hasMoreData(); }

private:
    bool sync(bool ok) {
        if (m_inner->error()) {
            setError(*m_inner->error());
        }
        return ok;
    }
    QByteArray count(QByteArray data) {
        sync(true);
        bytesRead += quint64(data.size());
        return data;
    }
    ZKReaderPtr m_inner;
    bool m_local;
};

// Every activity notification of one operation.
struct Activity {
    QObject context;
    QList<QVariantMap> posts;
    explicit Activity(const ZKOperation *operation) {
        ZKNotificationCenter::defaultCenter().addObserver(
            ZKNotificationNames::operationActivity, operation, &context,
            [this](const ZKNotification &n) { posts.append(n.userInfo); });
    }
    quint64 sum() const {
        quint64 total = 0;
        for (const QVariantMap &post : posts) {
            total += post.value("bytes").toULongLong();
        }
        return total;
    }
    quint64 lastTotal() const {
        return posts.isEmpty() ? 0 : posts.last().value("totalBytes").toULongLong();
    }
};

QString errorText(const ZKFileOperation &operation) {
    return operation.error() ? operation.error()->localizedDescription() : QString();
}

} // namespace

class TestZKCopyOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void resumesFromTheLengthOfThePartialFile_data();
    void resumesFromTheLengthOfThePartialFile();
    void neverContinuesAFileThatDiffers_data();
    void neverContinuesAFileThatDiffers();
    void replacesAFileChosenForReplacement();
    void cancelStopsWithinABlockAndKeepsThePartialFile();
    void secondCopyOfAFolderCopiesNothing();
    void links_data();
    void links();
    void linksBackIntoTheTreeEnd();
    void emptyFileIsMadeWithoutNotification();
    void blocksFollowTheSpeedLimit();
    void diskFullEndsWithWriteErrorAndConsistentFile();
    void metadataFollowsTheContents();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString &name) const { return m_dir->filePath(name); }
};

void TestZKCopyOperation::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(QDir().mkpath(path("dest")));
}

void TestZKCopyOperation::resumesFromTheLengthOfThePartialFile_data() {
    QTest::addColumn<quint64>("offset");
    QTest::addColumn<bool>("local"); // the kernel copies the blocks
    QTest::newRow("fresh run") << quint64(0) << false;
    QTest::newRow("task counted the partial bytes") << quint64(1000000) << false;
    QTest::newRow("fresh run, kernel copy") << quint64(0) << true;
    QTest::newRow("task counted the partial bytes, kernel copy") << quint64(1000000) << true;
}

void TestZKCopyOperation::resumesFromTheLengthOfThePartialFile() {
    QFETCH(quint64, offset);
    QFETCH(bool, local);
    const QByteArray content = randomBytes(3000000, 1);
    QVERIFY(writeFile(path("big.bin"), content));
    QVERIFY(writeFile(path("dest/big.bin"), content.left(1000000)));
    auto source = std::make_shared<CountingReader>(readerAt(path("big.bin")), local);
    ZKCopyOperation operation(source, folderAt(path("dest")), offset);
    Activity activity(&operation);
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    QVERIFY(readFile(path("dest/big.bin")) == content);
    QCOMPARE(activity.sum(), quint64(2000000));
    QCOMPARE(activity.lastTotal(), quint64(2000000));
    QCOMPARE(operation.bytesCopied(), quint64(3000000));
    // The two 4 KiB probes of the partial-copy test, and the remainder unless
    // the kernel copied it.
    QCOMPARE(source->bytesRead, quint64((local ? 0 : 2000000) + 2 * 4096));
}

void TestZKCopyOperation::neverContinuesAFileThatDiffers_data() {
    QTest::addColumn<qsizetype>("flipped"); // -1: the copy is longer instead
    QTest::newRow("first 4 KiB differ") << qsizetype(100);
    QTest::newRow("last 4 KiB differ") << qsizetype(999000);
    QTest::newRow("longer than the source") << qsizetype(-1);
}

void TestZKCopyOperation::neverContinuesAFileThatDiffers() {
    QFETCH(qsizetype, flipped);
    const QByteArray content = randomBytes(3000000, 2);
    QByteArray existing = content.left(1000000);
    if (flipped < 0) {
        existing = content + "tail";
    } else {
        existing[flipped] = char(existing[flipped] ^ 0x55);
    }
    QVERIFY(writeFile(path("big.bin"), content));
    QVERIFY(writeFile(path("dest/big.bin"), existing));
    ZKCopyOperation operation(readerAt(path("big.bin")), folderAt(path("dest")));
    operation.start();
    QVERIFY(operation.error());
    QCOMPARE(operation.error()->code(), qint64(-1005));
    QCOMPARE(errorText(operation),
             QStringLiteral("A file named '%1' already exists.").arg(path("dest/big.bin")));
    QVERIFY(readFile(path("dest/big.bin")) == existing);
}

void TestZKCopyOperation::replacesAFileChosenForReplacement() {
    const QByteArray content = randomBytes(200000, 3);
    QVERIFY(writeFile(path("a.bin"), content));
    QVERIFY(writeFile(path("dest/a.bin"), randomBytes(300000, 4)));
    ZKCopyOperation operation(readerAt(path("a.bin")), folderAt(path("dest")));
    operation.setReplacedUrls({QUrl::fromLocalFile(path("dest/a.bin"))});
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    QVERIFY(readFile(path("dest/a.bin")) == content);
}

void TestZKCopyOperation::cancelStopsWithinABlockAndKeepsThePartialFile() {
    const QByteArray content = randomBytes(2000000, 5);
    QVERIFY(writeFile(path("slow.bin"), content));
    auto operation =
        std::make_shared<ZKCopyOperation>(readerAt(path("slow.bin")), folderAt(path("dest")));
    operation->setMaximumTransferRate(20000);
    std::thread worker([operation] { operation->start(); });
    QTest::qWait(1500);
    const auto cancelled = ZKFileOperation::Clock::now();
    operation->cancel();
    worker.join();
    const double stopping = ZKFileOperation::secondsSince(cancelled);
    QVERIFY2(stopping < 2.5, qPrintable(QString::number(stopping)));
    QVERIFY2(!operation->error(), qPrintable(errorText(*operation)));
    const QByteArray partial = readFile(path("dest/slow.bin"));
    QVERIFY(!partial.isEmpty() && partial.size() < content.size());
    QVERIFY(content.startsWith(partial));

    ZKCopyOperation resumed(readerAt(path("slow.bin")), folderAt(path("dest")));
    resumed.start();
    QVERIFY2(!resumed.error(), qPrintable(errorText(resumed)));
    QVERIFY(readFile(path("dest/slow.bin")) == content);
}

void TestZKCopyOperation::secondCopyOfAFolderCopiesNothing() {
    QVERIFY(QDir().mkpath(path("tree/sub/deeper")));
    QVERIFY(writeFile(path("tree/a"), randomBytes(70000, 6)));
    QVERIFY(writeFile(path("tree/empty"), {}));
    QVERIFY(writeFile(path("tree/sub/b"), randomBytes(5000, 7)));
    QVERIFY(writeFile(path("tree/sub/deeper/c"), randomBytes(1, 8)));
    ZKCopyOperation first(readerAt(path("tree")), folderAt(path("dest")));
    first.start();
    QVERIFY2(!first.error(), qPrintable(errorText(first)));
    QVERIFY(readFile(path("dest/tree/sub/deeper/c")) == randomBytes(1, 8));

    QFile::setPermissions(path("dest/tree/a"), QFile::ReadOwner); // a write would now fail
    ZKCopyOperation second(readerAt(path("tree")), folderAt(path("dest")));
    Activity activity(&second);
    second.start();
    QVERIFY2(!second.error(), qPrintable(errorText(second)));
    QVERIFY(activity.posts.isEmpty());
    QCOMPARE(second.bytesCopied(), quint64(0));
}

void TestZKCopyOperation::links_data() {
    QTest::addColumn<qint32>("handling");
    QTest::newRow("copy the link") << qint32(ZKSymbolicLinkHandlingCopyLink);
    QTest::newRow("follow it") << qint32(ZKSymbolicLinkHandlingFollow);
    QTest::newRow("skip it") << qint32(ZKSymbolicLinkHandlingSkip);
}

void TestZKCopyOperation::links() {
    QFETCH(qint32, handling);
    QVERIFY(QDir().mkpath(path("tree")));
    QVERIFY(QDir().mkpath(path("elsewhere/inner")));
    QVERIFY(writeFile(path("elsewhere/inner/x"), "target contents"));
    QVERIFY(writeFile(path("tree/file"), "plain"));
    QVERIFY(QFile::link("file", path("tree/toFile")));
    QVERIFY(QFile::link("../elsewhere/inner", path("tree/toFolder")));
    // Followed, a dangling link is an unreadable item; otherwise it is fine.
    if (handling != ZKSymbolicLinkHandlingFollow) {
        QVERIFY(QFile::link("nowhere", path("tree/dangling")));
    }
    ZKCopyOperation operation(readerAt(path("tree")), folderAt(path("dest")));
    operation.setSymbolicLinkHandling(handling);
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));

    const QFileInfo toFile(path("dest/tree/toFile"));
    const QFileInfo toFolder(path("dest/tree/toFolder"));
    switch (handling) {
    case ZKSymbolicLinkHandlingCopyLink: {
        // Stored as given: a relative link stays relative (and dangles here).
        const ZKReaderPtr link = readerAt(path("dest/tree/toFolder"));
        link->open();
        QVERIFY(link->isLink());
        QCOMPARE(link->linkTarget(), QStringLiteral("../elsewhere/inner"));
        QCOMPARE(toFile.symLinkTarget(), path("dest/tree/file"));
        QVERIFY(QFileInfo(path("dest/tree/dangling")).isSymLink());
    } break;
    case ZKSymbolicLinkHandlingFollow:
        QVERIFY(!toFile.isSymLink() && readFile(toFile.filePath()) == "plain");
        QVERIFY(!toFolder.isSymLink());
        QVERIFY(readFile(path("dest/tree/toFolder/x")) == "target contents");
        // The target's contents belong under the link's name only.
        QVERIFY(!QFileInfo::exists(path("dest/tree/x")));
        break;
    default:
        QVERIFY(!toFile.exists() && !toFile.isSymLink() && !toFolder.isSymLink());
        QVERIFY(readFile(path("dest/tree/file")) == "plain");
    }
}

void TestZKCopyOperation::linksBackIntoTheTreeEnd() {
    QVERIFY(QDir().mkpath(path("tree/a")));
    QVERIFY(writeFile(path("tree/a/f"), "f"));
    QVERIFY(QFile::link("..", path("tree/a/up")));
    ZKCopyOperation followed(readerAt(path("tree")), folderAt(path("dest")));
    followed.setSymbolicLinkHandling(ZKSymbolicLinkHandlingFollow);
    followed.start();
    QVERIFY2(!followed.error(), qPrintable(errorText(followed)));
    QVERIFY(readFile(path("dest/tree/a/f")) == "f");

    // Copied into its own subfolder, the copy is not copied again.
    ZKCopyOperation intoItself(readerAt(path("tree")), folderAt(path("tree/a")));
    intoItself.start();
    QVERIFY2(!intoItself.error(), qPrintable(errorText(intoItself)));
    QVERIFY(readFile(path("tree/a/tree/a/f")) == "f");
    QVERIFY(!QFileInfo::exists(path("tree/a/tree/a/tree/a")));
}

void TestZKCopyOperation::emptyFileIsMadeWithoutNotification() {
    QVERIFY(writeFile(path("empty"), {}));
    ZKCopyOperation operation(readerAt(path("empty")), folderAt(path("dest")));
    Activity activity(&operation);
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    QVERIFY(QFileInfo(path("dest/empty")).isFile());
    QCOMPARE(QFileInfo(path("dest/empty")).size(), qint64(0));
    QVERIFY(activity.posts.isEmpty());
}

void TestZKCopyOperation::blocksFollowTheSpeedLimit() {
    QVERIFY(writeFile(path("limited"), randomBytes(100000, 9)));
    ZKCopyOperation operation(readerAt(path("limited")), folderAt(path("dest")));
    operation.setMaximumTransferRate(40000);
    Activity activity(&operation);
    const auto started = ZKFileOperation::Clock::now();
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    const QList<quint64> expected{40000, 40000, 20000};
    QCOMPARE(activity.posts.size(), expected.size());
    for (qsizetype i = 0; i < expected.size(); ++i) {
        QCOMPARE(activity.posts.at(i).value("bytes").toULongLong(), expected.at(i));
    }
    // 100,000 bytes at 40,000 B/s cannot take much less than 2 s.
    QVERIFY(ZKFileOperation::secondsSince(started) > 1.5);
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
    ZKCopyOperation operation(readerAt(path("big.bin")), folderAt(small));
    operation.start();
    QVERIFY(operation.error());
    QCOMPARE(operation.error()->code(), qint64(-1006));
    QCOMPARE(errorText(operation), QStringLiteral("Unable to write data to '%1': %2.")
                                       .arg(small + "/big.bin", qt_error_string(ENOSPC)));
    const QByteArray partial = readFile(small + "/big.bin");
    QVERIFY(partial.size() > 0 && content.startsWith(partial));

    QCOMPARE(QProcess::execute("mount", {"-o", "remount,size=8m", small}), 0);
    ZKCopyOperation resumed(readerAt(path("big.bin")), folderAt(small));
    resumed.start();
    QVERIFY2(!resumed.error(), qPrintable(errorText(resumed)));
    QVERIFY(readFile(small + "/big.bin") == content);
}

void TestZKCopyOperation::metadataFollowsTheContents() {
    QVERIFY(QDir().mkpath(path("tree")));
    QVERIFY(writeFile(path("tree/f"), "data"));
    const QDateTime old = QDateTime::fromSecsSinceEpoch(1000000000);
    QFile file(path("tree/f"));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(old, QFileDevice::FileModificationTime));
    file.close();
    QVERIFY(QFile::setPermissions(path("tree/f"),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
    QVERIFY(QDir(path("tree")).mkdir("d"));
    QFile folder(path("tree/d"));
    QVERIFY(QFile::setPermissions(path("tree/d"),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    ZKCopyOperation operation(readerAt(path("tree")), folderAt(path("dest")));
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    QCOMPARE(QFileInfo(path("dest/tree/f")).lastModified(), old);
    QCOMPARE(QFileInfo(path("dest/tree/f")).permissions() & 0x0fff,
             QFileInfo(path("tree/f")).permissions() & 0x0fff);
    QCOMPARE(QFileInfo(path("dest/tree/d")).permissions() & 0x0fff,
             QFileInfo(path("tree/d")).permissions() & 0x0fff);
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKCopyOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKCopyOperation.moc"
