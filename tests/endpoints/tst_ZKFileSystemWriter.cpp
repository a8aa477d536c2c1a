// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKPartialFile.h"
#include "ZKTestSupport.h"

#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using ZKTestSupport::errorText;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

// Exit code of `flock -n path true`: 0 when nobody holds the lock.
int tryLockFromAnotherProcess(const QString &path) {
    return QProcess::execute(QStringLiteral("flock"),
                             {QStringLiteral("-n"), path, QStringLiteral("true")});
}

mode_t permissions(const QString &path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// A group of the account other than its effective one, or -1 when it has none.
gid_t otherGroup() {
    if (::geteuid() == 0) {
        return ::getegid() == 65534 ? 65533 : 65534;
    }
    gid_t groups[64];
    const int count = ::getgroups(64, groups);
    for (int i = 0; i < count; ++i) {
        if (groups[i] != ::getegid()) {
            return groups[i];
        }
    }
    return gid_t(-1);
}

// A default ACL that gives new files rw------- whatever the umask says:
// user::rw-, group::---, other::--- in the kernel's own layout.
bool giveDefaultAcl(const QString &folder) {
    const quint32 header = 2;
    const struct {
        quint16 tag, permissions;
        quint32 id;
    } entries[] = {{0x01, 6, quint32(-1)}, {0x04, 0, quint32(-1)}, {0x20, 0, quint32(-1)}};
    QByteArray value(reinterpret_cast<const char *>(&header), sizeof header);
    value.append(reinterpret_cast<const char *>(entries), sizeof entries);
    return ::setxattr(QFile::encodeName(folder).constData(), "system.posix_acl_default",
                      value.constData(), size_t(value.size()), 0) == 0;
}

} // namespace

class tst_ZKFileSystemWriter : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString &relative) const { return m_dir.filePath(relative); }
    QUrl url(const QString &relative) const { return QUrl::fromLocalFile(path(relative)); }

private Q_SLOTS:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        QVERIFY(::chmod(QFile::encodeName(m_dir.path()).constData(), 0755) == 0);
    }

    // A partial file is continued at its end, a missing one is created.
    void appendsToWhatIsThere_data() {
        QTest::addColumn<QByteArray>("existing");
        QTest::newRow("partial file") << QByteArray(1000, 'a');
        QTest::newRow("missing file") << QByteArray();
    }

    void appendsToWhatIsThere() {
        QFETCH(QByteArray, existing);
        const QString file = path(QTest::currentDataTag());
        QVERIFY(existing.isEmpty() || writeFile(file, existing));
        auto writer = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QCOMPARE(writer->size(), quint64(existing.size()));
        QVERIFY(writer->appendBlock(QByteArray(70000, 'z')));
        writer->close();
        QCOMPARE(readFile(file), existing + QByteArray(70000, 'z'));
    }

    // A file of a copy is made under its partial name and renamed once
    // whole; both names must be the ones asked for, byte for byte.
    void fileMadeInsideTakesItsName_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("shortened");
        const QString euro(QChar(0x20AC));
        QTest::newRow("plain") << "report.txt" << false;
        QTest::newRow("url characters") << "a #?%41;b" << false;
        QTest::newRow("non-ASCII") << QStringLiteral("d\u00e9j\u00e0 \U0001F600") << false;
        QTest::newRow("partial name as long as can be") << euro.repeated(80) << false;
        QTest::newRow("partial name too long") << euro.repeated(81) << true;
    }

    void fileMadeInsideTakesItsName() {
        QFETCH(QString, name);
        QFETCH(bool, shortened);
        const QString root = path(QStringLiteral("inside/") + QTest::currentDataTag());
        auto folder = ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root));
        QVERIFY2(folder->open(), qPrintable(errorText(*folder)));
        const QString partName = ZKPartialFile::nameFor(name);
        QVERIFY(partName.endsWith(ZKPartialFile::suffix));
        QVERIFY(QFile::encodeName(partName).size() <= 255);
        QCOMPARE(partName != name + ZKPartialFile::suffix, shortened);

        const ZKWriterPtr file = folder->createFile(partName);
        QVERIFY(file);
        QCOMPARE(file->filename(), partName);
        QCOMPARE(file->url(), QUrl::fromLocalFile(root + '/' + partName));
        QVERIFY2(file->open(), qPrintable(errorText(*file)));
        QVERIFY(file->appendBlock("whole"));
        file->close();
        QVERIFY2(folder->renameItem(partName, name, false), qPrintable(errorText(*folder)));
        folder->close();
        QCOMPARE(readFile(root + '/' + name), QByteArray("whole"));
        QVERIFY(!QFileInfo::exists(root + '/' + partName));
    }

    void openFailures_data() {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<bool>("isDirectory");
        QTest::addColumn<QString>("message");
        QTest::addColumn<qint64>("code");
        QTest::newRow("empty") << QUrl() << false << "Invalid path: ''" << qint64(-1001);
        QTest::newRow("ftp") << QUrl("ftp://host/f") << false << "Invalid path: 'ftp://host/f'"
                             << qint64(-1001);
        const auto row = [this](const char *tag, const char *name, bool folder, const char *text,
                                qint64 code) {
            QTest::newRow(tag) << url(name) << folder << QString::fromLatin1(text).arg(path(name))
                               << code;
        };
        row("folder as file", "folder", false, "Unable to open '%1' as a file.", -1001);
        row("folder over file", "plain", true, "Unable to create the folder '%1': File exists.",
            EEXIST);
        row("no parent", "nowhere/f", false, "Unable to create '%1': No such file or directory.",
            -1001);
        row("dangling link", "dangling", false, "Unable to create '%1': File exists.", -1001);
    }

    void openFailures() {
        QFETCH(QUrl, url);
        QFETCH(bool, isDirectory);
        QVERIFY(QDir().mkpath(path("folder")) && writeFile(path("plain"), "x"));
        QFile::link("target-of-dangling", path("dangling"));
        ZKFileSystemWriter writer(url, isDirectory);
        QVERIFY(!writer.open());
        QTEST(errorText(writer), "message");
        QTEST(writer.error()->code(), "code");
        // A dangling link must not lead to creating its target.
        QVERIFY(!QFile::exists(path("target-of-dangling")));
    }

    // What a link in the destination points to may lie anywhere: an item
    // made in its place never goes through it, and replacing it removes the
    // link alone.
    void linkInPlaceIsNeverFollowed_data() {
        QTest::addColumn<bool>("isDirectory");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("message");
        const QString folder = QStringLiteral(
            "Unable to create the folder '%1': a symbolic link stands in its place.");
        const QString file =
            QStringLiteral("Unable to create '%1': a symbolic link stands in its place.");
        QTest::newRow("folder") << true << "outside" << folder;
        QTest::newRow("file") << false << "outside/a.txt" << file;
        QTest::newRow("dangling") << false << "outside/missing" << file;
        QTest::newRow("folder to a file") << true << "outside/a.txt" << folder;
    }

    void linkInPlaceIsNeverFollowed() {
        QFETCH(bool, isDirectory);
        QFETCH(QString, target);
        QFETCH(QString, message);
        const QString root = path(QStringLiteral("linked/%1").arg(QTest::currentDataTag()));
        const QString outside = root + "/outside";
        QVERIFY(QDir().mkpath(root + "/destination") && QDir().mkpath(outside));
        QVERIFY(writeFile(outside + "/a.txt", "keep"));
        const QString link = root + "/destination/x";
        QVERIFY(QFile::link(root + '/' + target, link));

        // The destination the user chose may itself lie behind a link.
        QVERIFY(QFile::link(root + "/destination", root + "/chosen"));
        auto folder =
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root + "/chosen"));
        QVERIFY2(folder->open(), qPrintable(errorText(*folder)));
        const ZKWriterPtr child =
            isDirectory ? folder->createDirectory("x") : folder->createFile("x");
        QVERIFY(child);
        const bool opened = child->open();
        if (opened && !isDirectory) {
            child->appendBlock("written through");
        }
        child->close();
        QVERIFY(!opened);
        QCOMPARE(errorText(*child), message.arg(root + "/chosen/x"));
        QCOMPARE(child->error()->code(), -1001);
        QCOMPARE(QDir(outside).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
                 QStringList{"a.txt"});
        QCOMPARE(readFile(outside + "/a.txt"), QByteArray("keep"));

        QVERIFY2(child->remove([] { return false; }), qPrintable(errorText(*child)));
        QVERIFY(!QFileInfo::exists(link) && !QFileInfo(link).isSymLink());
        QCOMPARE(readFile(outside + "/a.txt"), QByteArray("keep"));
        // Now the item can be made.
        QVERIFY2(child->open(), qPrintable(errorText(*child)));
        child->close();
        QVERIFY(QFileInfo(link).isDir() == isDirectory && !QFileInfo(link).isSymLink());
    }

    // Once a folder is open, what is made in it is made there, even when a
    // link has taken its name since.
    void folderReplacedByALinkIsNotWrittenThrough() {
        const QString root = path("swapped");
        QVERIFY(QDir().mkpath(root + "/destination") && QDir().mkpath(root + "/outside"));
        auto destination =
            ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root + "/destination"));
        QVERIFY2(destination->open(), qPrintable(errorText(*destination)));
        const ZKWriterPtr folder = destination->createDirectory("sub");
        QVERIFY2(folder->open(), qPrintable(errorText(*folder)));
        QVERIFY(QFile::rename(root + "/destination/sub", root + "/destination/moved"));
        QVERIFY(QFile::link(root + "/outside", root + "/destination/sub"));

        const ZKWriterPtr file = folder->createFile("f.part");
        QVERIFY2(file->open(), qPrintable(errorText(*file)));
        QVERIFY(file->appendBlock("made"));
        file->close();
        file->setModificationDate(QDateTime::fromMSecsSinceEpoch(1234567890000));
        QVERIFY2(folder->renameItem("f.part", "f", false), qPrintable(errorText(*folder)));
        QVERIFY(folder->createLink("l", "f"));
        const ZKWriterPtr inner = folder->createDirectory("inner");
        QVERIFY2(inner->open(), qPrintable(errorText(*inner)));
        inner->close();
        folder->close();
        destination->close();

        QVERIFY(QDir(root + "/outside").isEmpty());
        QCOMPARE(readFile(root + "/destination/moved/f"), QByteArray("made"));
        QCOMPARE(QFileInfo(root + "/destination/moved/f").lastModified().toMSecsSinceEpoch(),
                 1234567890000);
        QVERIFY(QFileInfo(root + "/destination/moved/l").isSymLink());
        QVERIFY(QFileInfo(root + "/destination/moved/inner").isDir());
    }

    void directoryWriterCreatesMissingFolders() {
        auto writer = ZKFileSystemWriter::writerWithDirectory(url("x/y/z"));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QVERIFY(QFileInfo(path("x/y/z")).isDir());
        auto file = writer->createFile("f");
        QVERIFY(file && !file->isDirectory());
        QVERIFY(!QFile::exists(path("x/y/z/f"))); // made when opened
    }

    // One writer per file, whether the other is in this process or another.
    void secondWriterIsRefusedAtOnce() {
        const QString file = path("contended");
        const QString busy =
            QStringLiteral("Unable to access '%1': another process is writing to the file.")
                .arg(file);
        auto first = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        auto second = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        QVERIFY2(first->open(), qPrintable(errorText(*first)));
        QVERIFY(!second->open());
        QCOMPARE(errorText(*second), busy);
        QCOMPARE(second->error()->code(), -1001);
        QCOMPARE(tryLockFromAnotherProcess(file), 1);
        second->close();
        first->close();
        QCOMPARE(tryLockFromAnotherProcess(file), 0);
        QVERIFY2(second->open(), qPrintable(errorText(*second)));
        second->close();

        QProcess holder;
        holder.start(QStringLiteral("flock"), {file, "-c", "echo locked; sleep 3"});
        QVERIFY(holder.waitForReadyRead(5000));
        QVERIFY(!first->open());
        QCOMPARE(errorText(*first), busy);
        holder.kill();
        holder.waitForFinished();
    }

    // A file-size limit behaves like a full disk: one short write, then a failure.
    void fullDiskFailsTheWrite() {
        auto writer = ZKFileSystemWriter::writerWithFile(url("limited"));
        struct rlimit saved {};
        QVERIFY(::getrlimit(RLIMIT_FSIZE, &saved) == 0);
        const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limited = saved;
        limited.rlim_cur = 4096;
        QVERIFY(::setrlimit(RLIMIT_FSIZE, &limited) == 0);
        QVERIFY(writer->open());
        const bool written = writer->appendBlock(QByteArray(65536, 'q'));
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);
        writer->close();
        QVERIFY(!written);
        QCOMPARE(
            errorText(*writer),
            QStringLiteral("Unable to write data to '%1': File too large.").arg(path("limited")));
        QCOMPARE(writer->error()->code(), -1006);
        QCOMPARE(QFileInfo(path("limited")).size(), 4096);
    }

    void createLinkIsRepeatable() {
        QVERIFY(QDir().mkpath(path("links")));
        auto folder = ZKFileSystemWriter::writerWithDirectory(url("links"));
        QVERIFY(folder->createLink("l", "../relative"));
        QCOMPARE(QFileInfo(path("links/l")).symLinkTarget(), path("relative"));
        QVERIFY(folder->createLink("l", "../relative"));
        QVERIFY(!folder->error());
        QVERIFY(!folder->createLink("l", "other"));
        QCOMPARE(folder->error()->code(), qint64(EEXIST));
    }

    void metadataSetters() {
        const QString file = path("meta");
        QVERIFY(writeFile(file, "m"));
        QVERIFY(::chmod(QFile::encodeName(file).constData(), 0640) == 0);
        auto writer = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        writer->setPermissions(0); // no permissions known: left alone
        QCOMPARE(permissions(file), mode_t(0640));
        writer->setPermissions(0604);
        QCOMPARE(permissions(file), mode_t(0604));
        const QDateTime date = QDateTime::fromMSecsSinceEpoch(1234567890123);
        writer->setModificationDate(date);
        auto reader = writer->asReader();
        QVERIFY(reader->open());
        QCOMPARE(reader->modificationDate(), date);

        // What the account may not do is passed over without an error.
        if (::geteuid() == 0 && ::seteuid(65534) == 0) {
            writer->setOwner(0);
            writer->setIsImmutable(true);
            QVERIFY(::seteuid(0) == 0);
        } else {
            ZKFileSystemWriter(url("missing"), false).setOwner(0);
        }
        QVERIFY2(!writer->error(), qPrintable(errorText(*writer)));
        writer->setIsImmutable(true);
        QVERIFY(reader->open());
        const bool immutable = reader->isImmutable();
        writer->setIsImmutable(false);
        QVERIFY(reader->open() && !reader->isImmutable());
        if (!immutable) {
            QSKIP("This file system or account cannot set the immutable flag");
        }
    }

    // A file made here is given a group and a mode by the kernel, and the
    // calls that would set the same are spared: whatever was spared, the
    // file must end with exactly the group and mode asked for.
    void attributesEndAsAsked_data() {
        QTest::addColumn<QString>("folderKind");  // own, other group, set-group-ID, default ACL
        QTest::addColumn<QByteArray>("existing"); // what stands there before: a file to replace
        QTest::addColumn<int>("mode");            // -1: what a new file is given
        QTest::addColumn<bool>("wantsOtherGroup");
        QTest::newRow("as made") << "own" << QByteArray() << -1 << false;
        QTest::newRow("wider than the umask allows") << "own" << QByteArray() << 0666 << false;
        QTest::newRow("narrower") << "own" << QByteArray() << 0600 << false;
        QTest::newRow("set-user-ID") << "own" << QByteArray() << 04755 << false;
        QTest::newRow("set-group-ID, other group") << "own" << QByteArray() << 02750 << true;
        QTest::newRow("sticky") << "own" << QByteArray() << 01644 << false;
        QTest::newRow("other group") << "own" << QByteArray() << -1 << true;
        QTest::newRow("folder of another group") << "other" << QByteArray() << -1 << false;
        QTest::newRow("folder of another group, its group")
            << "other" << QByteArray() << -1 << true;
        QTest::newRow("set-group-ID folder") << "setgid" << QByteArray() << -1 << false;
        QTest::newRow("set-group-ID folder, its group") << "setgid" << QByteArray() << -1 << true;
        QTest::newRow("default ACL") << "acl" << QByteArray() << -1 << false;
        QTest::newRow("replaced") << "own" << QByteArray("") << -1 << false;
        QTest::newRow("resumed") << "own" << QByteArray("begun") << -1 << false;
    }

    void attributesEndAsAsked() {
        QFETCH(QString, folderKind);
        QFETCH(QByteArray, existing);
        QFETCH(int, mode);
        QFETCH(bool, wantsOtherGroup);
        const gid_t other = otherGroup();
        if (other == gid_t(-1)) {
            QSKIP("This account belongs to no second group");
        }
        const QString folder = path(QStringLiteral("made/%1").arg(QTest::currentDataTag()));
        QVERIFY(QDir().mkpath(folder));
        const QByteArray encodedFolder = QFile::encodeName(folder);
        if (folderKind != "own") {
            QVERIFY(::chown(encodedFolder.constData(), uid_t(-1), other) == 0);
        }
        if (folderKind == "setgid") {
            QVERIFY(::chmod(encodedFolder.constData(), 02755) == 0);
        }
        if (folderKind == "acl" && !giveDefaultAcl(folder)) {
            QSKIP("This file system keeps no ACLs");
        }
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const mode_t wanted = mode < 0 ? (0666 & ~mask) : mode_t(mode);
        const gid_t group = wantsOtherGroup ? other : ::getegid();
        const QString file = folder + "/f";
        if (!existing.isNull()) {
            // What the kernel would give a new file must not be presumed.
            QVERIFY(writeFile(file, existing));
            QVERIFY(::chown(QFile::encodeName(file).constData(), uid_t(-1), other) == 0);
            QVERIFY(::chmod(QFile::encodeName(file).constData(), 0604) == 0);
        }

        auto parent = ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder));
        QVERIFY2(parent->open(), qPrintable(errorText(*parent)));
        const ZKWriterPtr writer = parent->createFile("f");
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QVERIFY(writer->appendBlock("new"));
        writer->setGroup(group);
        writer->setOwner(::geteuid());
        writer->setPermissions(quint16(wanted));
        writer->close();
        parent->close();

        struct stat status {};
        QVERIFY(::stat(QFile::encodeName(file).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 07777, wanted);
        QCOMPARE(status.st_gid, group);
        QCOMPARE(readFile(file), existing + "new");
    }

    void removal() {
        const QString root = path("doomed");
        QVERIFY(QDir().mkpath(root + "/a/b") && writeFile(root + "/a/b/f", "f"));
        QVERIFY(writeFile(path("keep"), "k") && QFile::link(path("keep"), root + "/a/link"));
        auto writer = ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root));
        QVERIFY(!writer->remove([] { return true; }));
        QVERIFY(QFile::exists(root + "/a/b/f"));
        QVERIFY(writer->removeFile("a"));
        QVERIFY(!QFile::exists(root + "/a"));
        QCOMPARE(readFile(path("keep")), QByteArray("k"));
        QVERIFY(!writer->removeFile("a"));
        QCOMPARE(writer->error()->code(), qint64(ENOENT));
        QVERIFY(writer->remove([] { return false; }));
        QVERIFY(!QFile::exists(root));
    }

    void savedFormAndEquality() {
        QVERIFY(writeFile(path("eq"), ""));
        ZKFileSystemWriter file(url("eq"), false);
        ZKFileSystemWriter folder(url("eq"), true);
        QVERIFY(!file.isEqual(folder));
        QVERIFY(file.hash() != folder.hash());
        const QVariantMap saved = folder.asPropertyList();
        QVERIFY(saved.value("IsDirectory").toBool() && saved.contains("Bookmark"));
        ZKFileSystemWriter restored(saved);
        QVERIFY(restored.isEqual(folder));
        QCOMPARE(restored.bookmark(), folder.bookmark());
    }
};

QTEST_GUILESS_MAIN(tst_ZKFileSystemWriter)
#include "tst_ZKFileSystemWriter.moc"
