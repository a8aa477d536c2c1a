// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKBookmark.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKTestSupport.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

using ZKTestSupport::errorText;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

std::shared_ptr<ZKFileSystemReader> openedReader(const QString &path) {
    auto reader = ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
    reader->open();
    return reader;
}

// What a walk reports, with paths relative to root in the order reported.
struct Walk {
    QStringList paths;
    QList<ZKFileInfo> infos;
    ZKEnumerationResult result = ZKEnumerationResultContinue;
};

Walk walk(ZKReader &reader, const QString &root,
          const std::function<ZKEnumerationResult(const ZKFileInfo &)> &answer = {}) {
    Walk seen;
    seen.result = reader.enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
        seen.paths.append(QDir(root).relativeFilePath(info.url.toLocalFile()));
        seen.infos.append(info);
        return answer ? answer(info) : ZKEnumerationResultContinue;
    });
    return seen;
}

// Root reads everything; permission checks need an ordinary account.
struct AsUnprivilegedUser {
    const bool switched = ::geteuid() == 0 && ::seteuid(65534) == 0;
    ~AsUnprivilegedUser() { QVERIFY(!switched || ::seteuid(0) == 0); }
    bool usable() const { return switched || ::geteuid() != 0; }
};

// Makes an item of the given type at the raw path; 0 or the errno.
int makeItem(const QByteArray &raw, mode_t type) {
    int result = 0;
    if (type == S_IFREG) {
        const int fd = ::open(raw.constData(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        result = fd >= 0 && ::write(fd, "data", 4) == 4 ? 0 : -1;
        ::close(fd);
    } else if (type == S_IFDIR) {
        result = ::mkdir(raw.constData(), 0755);
        if (result == 0) {
            ::close(::open((raw + "/inner").constData(), O_CREAT | O_WRONLY, 0644));
        }
    } else if (type == S_IFLNK) {
        result = ::symlink("gone\xff", raw.constData());
    } else {
        result = ::mknod(raw.constData(), type | 0644, type == S_IFCHR ? makedev(1, 3) : 0);
    }
    return result == 0 ? 0 : errno;
}

// The temporary folder cannot remove what a QString cannot name.
struct RawItem {
    QByteArray path;
    ~RawItem() {
        ::unlink((path + "/inner").constData());
        if (::unlink(path.constData()) != 0) {
            ::rmdir(path.constData());
        }
    }
};

bool isRepresentableName(const QByteArray &raw) {
    return QFile::encodeName(QFile::decodeName(raw)) == raw;
}

const char *const rootOnly =
    "Running as root without a way to drop privileges: permissions are unchecked";

} // namespace

class tst_ZKFileSystemReader : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString &relative) const { return m_dir.filePath(relative); }

private Q_SLOTS:
    void initTestCase() {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        // The unprivileged account must be able to reach the test files.
        QVERIFY(::chmod(QFile::encodeName(m_dir.path()).constData(), 0755) == 0);
        QVERIFY(writeFile(path("secret"), "secret"));
        QVERIFY(::chmod(QFile::encodeName(path("secret")).constData(), 0) == 0);
        QVERIFY(::mkfifo(QFile::encodeName(path("fifo")).constData(), 0644) == 0);
        QVERIFY(QFile::link("nowhere", path("dangling")));
    }

    void openFailures_data() {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<QString>("message");
        QTest::newRow("empty") << QUrl() << "Invalid file path: ''";
        QTest::newRow("http") << QUrl("http://host/a") << "Invalid file path: 'http://host/a'";
        const auto row = [this](const char *name, const char *message) {
            QTest::newRow(name) << QUrl::fromLocalFile(path(name))
                                << QString::fromLatin1(message).arg(path(name));
        };
        row("missing", "Unable to determine the size of '%1': No such file or directory");
        row("secret", "Unable to open '%1': Permission denied.");
        // Opening a FIFO must not block waiting for a writer.
        row("fifo", "Unable to open '%1': it is not a regular file.");
        row("dangling", "Unable to open '%1': No such file or directory.");
    }

    void openFailures() {
        QFETCH(QUrl, url);
        AsUnprivilegedUser user;
        if (url.fileName() == QLatin1String("secret")) {
            if (!user.usable()) {
                QSKIP(rootOnly);
            }
        }
        ZKFileSystemReader reader(url);
        QVERIFY(!reader.open());
        QTEST(errorText(reader), "message");
        QCOMPARE(reader.error()->code(), -1000);
        QCOMPARE(reader.error()->domain(), QStringLiteral("com.velmarind.Ferrowick.ErrorDomain"));
        QVERIFY(!reader.hasMoreData());
    }

    void readsBlocksWholeFileAndFromAnOffset() {
        const QByteArray data = ZKTestSupport::randomBytes(3 * 65536 + 17, 1);
        QVERIFY(writeFile(path("blocks"), data));
        auto reader = openedReader(path("blocks"));
        QCOMPARE(reader->size(), quint64(data.size()));
        QCOMPARE(reader->readBlockOfMaximumLength(100), data.left(100));
        // At most one block of 64 KiB, whatever was asked for.
        QCOMPARE(reader->readBlockOfMaximumLength(1000000), data.mid(100, 65536));

        QByteArray copy;
        QVERIFY(reader->open());
        reader->enumerateContentsOfFileWithBlock([&](const QByteArray &block) {
            copy += block;
            return ZKEnumerationResultContinue;
        });
        QCOMPARE(copy, data);
        QVERIFY(!reader->hasMoreData());
        QVERIFY(reader->open() && reader->seekToPosition(1000));
        QCOMPARE(reader->readBlockOfLength(10), data.mid(1000, 10));
    }

    // A copy that followed a growing file would never reach its end; one of a
    // shrinking file must not end short without a word.
    void fileChangingWhileRead() {
        const QString file = path("changing");
        const QByteArray data = ZKTestSupport::randomBytes(100000, 2);
        QVERIFY(writeFile(file, data));
        auto reader = openedReader(file);
        QFile more(file);
        QVERIFY(more.open(QIODevice::Append));
        QByteArray copy;
        for (int i = 0; i < 100 && reader->hasMoreData(); ++i) {
            more.write(QByteArray(70000, 'x'));
            more.flush();
            copy += reader->readBlock();
        }
        QVERIFY(!reader->hasMoreData());
        QCOMPARE(copy, data);
        QCOMPARE(reader->readBlock(), QByteArray());
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));

        QVERIFY(reader->open());
        QCOMPARE(reader->readBlock().size(), 65536);
        QVERIFY(::truncate(QFile::encodeName(file).constData(), 70000) == 0);
        for (int i = 0; i < 100 && reader->hasMoreData() && !reader->error(); ++i) {
            reader->readBlock();
        }
        QVERIFY2(errorText(*reader).startsWith(
                     QStringLiteral("Unable to read from '%1': the file became shorter").arg(file)),
                 qPrintable(errorText(*reader)));
    }

    // The version a copy began from outlives the step that noted it, and
    // the identity a partial file keeps has the same text as ever.
    void begunVersionOutlivesItsStep_data() {
        QTest::addColumn<QByteArray>("rewrite"); // empty: the file stays as it is
        QTest::addColumn<bool>("sameTime");      // the rewrite keeps the old date
        QTest::addColumn<bool>("begun");
        QTest::newRow("unchanged") << QByteArray() << false << true;
        QTest::newRow("rewritten in place, same size and date")
            << QByteArray("12345") << true << true;
        QTest::newRow("rewritten, same size") << QByteArray("abcde") << false << false;
        QTest::newRow("grown") << QByteArray("abcdef") << true << false;
    }
    void begunVersionOutlivesItsStep() {
        QFETCH(QByteArray, rewrite);
        QFETCH(bool, sameTime);
        QFETCH(bool, begun);
        const QString file = path("version");
        QVERIFY(writeFile(file, "12345"));
        const QByteArray raw = QFile::encodeName(file);
        struct stat before {};
        QVERIFY(::stat(raw.constData(), &before) == 0);

        auto reader = openedReader(file);
        QVERIFY(!reader->isBegunVersion());
        const QByteArray expected = QUrl::fromLocalFile(file).toEncoded() + "\n5\ndev " +
                                    QByteArray::number(quint64(before.st_dev)) + "\nino " +
                                    QByteArray::number(quint64(before.st_ino)) + "\nmtime " +
                                    QByteArray::number(qint64(before.st_mtim.tv_sec)) + '.' +
                                    QByteArray::number(qint64(before.st_mtim.tv_nsec));
        const QByteArray identity = reader->identity();
        QVERIFY2(identity == expected || identity.startsWith(expected + "\ngen "),
                 identity.constData());
        reader->acceptCurrentVersion();
        QVERIFY(reader->isBegunVersion());
        reader->close();
        QCOMPARE(reader->identity(), QByteArray());
        QVERIFY(!reader->isBegunVersion());

        if (!rewrite.isEmpty()) {
            QThread::msleep(20); // a later date on file systems that keep coarse ones
            QVERIFY(writeFile(file, rewrite));
            if (sameTime) {
                const struct timespec times[2] = {before.st_atim, before.st_mtim};
                QVERIFY(::utimensat(AT_FDCWD, raw.constData(), times, 0) == 0);
            }
        }
        QVERIFY2(reader->open(), qPrintable(errorText(*reader)));
        QCOMPARE(reader->isBegunVersion(), begun);
        QCOMPARE(reader->identity() == identity, begun);
        // A source that cannot be opened any more is no version at all.
        reader->acceptCurrentVersion();
        reader->close();
        reader->acceptCurrentVersion();
        QVERIFY(reader->open());
        QVERIFY(!reader->isBegunVersion());
    }

    void walkIsPreOrderWithPruneAndStop() {
        const QString root = path("tree");
        for (const char *folder : {"/a/b", "/c", "/empty"}) {
            QVERIFY(QDir().mkpath(root + QLatin1String(folder)));
        }
        QVERIFY(writeFile(root + "/a/b/f", "12345") && writeFile(root + "/c/g", "1"));
        QVERIFY(writeFile(root + "/.hidden", ""));
        auto reader = openedReader(root);

        const QStringList all = walk(*reader, root).paths;
        QCOMPARE(all.size(), 7);
        for (const QString &item : all) {
            const qsizetype slash = item.lastIndexOf(QLatin1Char('/'));
            QVERIFY2(slash < 0 || all.indexOf(item.left(slash)) < all.indexOf(item),
                     qPrintable(item));
        }
        const QStringList pruned = walk(*reader, root, [](const ZKFileInfo &info) {
                                       return info.url.fileName() == QLatin1String("a")
                                                  ? ZKEnumerationResultSkip
                                                  : ZKEnumerationResultContinue;
                                   }).paths;
        QVERIFY(pruned.contains("a") && !pruned.contains("a/b"));
        QCOMPARE(pruned.size(), 5);
        const Walk stopped =
            walk(*reader, root, [](const ZKFileInfo &) { return ZKEnumerationResultStop; });
        QCOMPARE(stopped.paths.size(), 1);
        QCOMPARE(stopped.result, ZKEnumerationResultStop);
        const Walk empty = walk(*openedReader(root + "/empty"), root);
        QVERIFY(empty.paths.isEmpty());
        QCOMPARE(empty.result, ZKEnumerationResultContinue);
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(false, {}), quint64(6));
    }

    void unreadableFolderIsPassedOver() {
        const QString root = path("locked");
        QVERIFY(QDir().mkpath(root + "/closed"));
        QVERIFY(writeFile(root + "/closed/inside", "x") && writeFile(root + "/open", "y"));
        QVERIFY(::chmod(QFile::encodeName(root + "/closed").constData(), 0) == 0);
        AsUnprivilegedUser user;
        if (!user.usable()) {
            QSKIP(rootOnly);
        }
        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QCOMPARE(seen.infos.size(), 2);
        for (const ZKFileInfo &info : seen.infos) {
            QCOMPARE(info.readable, info.url.fileName() == QLatin1String("open"));
        }
    }

    // A walk may tell an owner's access by the mode alone; anyone else's,
    // and an owner the mode keeps out, are the kernel's to answer.
    void walkTellsWhoMayRead_data() {
        QTest::addColumn<bool>("ownedByReader");
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("readable");
        QTest::newRow("owner with read") << true << 0400 << true;
        QTest::newRow("owner without read") << true << 0244 << false;
        QTest::newRow("other user's private file") << false << 0600 << false;
        QTest::newRow("other user's shared file") << false << 0644 << true;
        QTest::newRow("owner of a folder without read") << true << 0300 << false;
    }

    void walkTellsWhoMayRead() {
        QFETCH(bool, ownedByReader);
        QFETCH(int, mode);
        QFETCH(bool, readable);
        if (::geteuid() != 0) {
            QSKIP("Giving a file to another user needs root");
        }
        const QString root = path(QStringLiteral("access/%1").arg(QTest::currentDataTag()));
        const QString item = root + "/item";
        const bool folder = QByteArray(QTest::currentDataTag()).contains("folder");
        QVERIFY(QDir().mkpath(folder ? item : root) && (folder || writeFile(item, "x")));
        const QByteArray raw = QFile::encodeName(item);
        QVERIFY(!ownedByReader || ::chown(raw.constData(), 65534, 65534) == 0);
        QVERIFY(::chmod(raw.constData(), mode_t(mode)) == 0);
        // Asked once as root first, so that nothing learnt for root may
        // answer for the other account.
        QVERIFY(walk(*openedReader(root), root).infos.at(0).readable);
        AsUnprivilegedUser user;
        QVERIFY(user.usable());
        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QCOMPARE(seen.infos.size(), 1);
        QCOMPARE(seen.infos.at(0).readable, readable);
    }

    // The address of every walked item is made the short way; it must be
    // the one the long way makes, or a copy would not find its own items.
    void urlOfPathIsTheLocalFileUrl_data() {
        QTest::addColumn<QString>("path");
        QTest::newRow("plain") << "/a/b.txt";
        QTest::newRow("root") << "/";
        QTest::newRow("url characters") << "/a b/#x?y;z=1&[v]@h:1";
        QTest::newRow("percent") << "/x/%41%zz";
        QTest::newRow("non-ASCII") << QStringLiteral("/d\u00e9j\u00e0/\u20ac\U0001F600");
        QTest::newRow("host") << "//server/share/f";
        QTest::newRow("doubled slash inside") << "/a//b/";
        QTest::newRow("relative") << "a/b";
        QTest::newRow("empty") << "";
    }

    void urlOfPathIsTheLocalFileUrl() {
        QFETCH(QString, path);
        const QUrl made = ZKFileSystemReader::urlOfPath(path);
        const QUrl expected = QUrl::fromLocalFile(path);
        QCOMPARE(made, expected);
        QCOMPARE(made.toEncoded(), expected.toEncoded());
        QCOMPARE(made.toLocalFile(), expected.toLocalFile());
    }

    // A file of a walked folder spells its address in its identity itself;
    // an earlier run's partial file is continued only if it reads the same.
    void childIdentityNamesItsAddress_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << "report.txt";
        QTest::newRow("url characters") << "a b#?%41[x]@:;=~\"<>\\^`{|}";
        QTest::newRow("control character") << "tab\there";
        QTest::newRow("non-ASCII") << QStringLiteral("d\u00e9j\u00e0");
    }

    void childIdentityNamesItsAddress() {
        QFETCH(QString, name);
        const QString root = path(QStringLiteral("identity/") + QTest::currentDataTag());
        QVERIFY(QDir().mkpath(root) && writeFile(root + '/' + name, "x"));
        auto folder = openedReader(root);
        const ZKReaderPtr child = folder->childWithName(name);
        QVERIFY2(child->open(), qPrintable(errorText(*child)));
        const QByteArray expected = QUrl::fromLocalFile(root + '/' + name).toEncoded() + "\n1\n";
        QVERIFY2(child->identity().startsWith(expected), child->identity().constData());
    }

    // Links are reported as links; one leading to an ancestor is not entered.
    void linksAreReportedNotFollowed() {
        const QString root = path("links");
        QVERIFY(QDir().mkpath(root + "/sub"));
        QVERIFY(QFile::link("..", root + "/sub/up") && QFile::link(root, root + "/sub/root"));
        QVERIFY(QFile::link("gone", root + "/sub/dangling"));
        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QCOMPARE(seen.paths.size(), 4);
        QCOMPARE(seen.paths.first(), QStringLiteral("sub"));
        for (const ZKFileInfo &info : seen.infos.mid(1)) {
            const bool dangling = info.url.fileName() == QLatin1String("dangling");
            QVERIFY(info.symbolicLink);
            QCOMPARE(info.directory, !dangling);
            QCOMPARE(info.size, quint64(0));
            if (dangling) {
                QCOMPARE(info.targetUrl.toLocalFile(), QDir(root).canonicalPath() + "/sub/gone");
            }
        }
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(true, {}), quint64(0));

        auto up = openedReader(root + "/sub/up");
        QVERIFY2(!up->error(), qPrintable(errorText(*up)));
        QVERIFY(up->isDirectory() && up->isLink());
        QCOMPARE(up->linkTarget(), QStringLiteral(".."));
        QCOMPARE(openedReader(root + "/sub/dangling")->linkTarget(), QStringLiteral("gone"));
    }

    // Neither link leads to its own ancestor; only the pair loops.
    void mutualLinkLoopTerminates() {
        const QString root = path("mutual");
        QVERIFY(QDir().mkpath(root + "/a") && QDir().mkpath(root + "/b"));
        QVERIFY(writeFile(root + "/a/fa", "aa") && writeFile(root + "/b/fb", "bbb"));
        QVERIFY(QFile::link("../b", root + "/a/x") && QFile::link("../a", root + "/b/y"));
        auto reader = openedReader(root);
        const QStringList seen = walk(*reader, root).paths;
        QVERIFY2(seen.size() < 20, qPrintable(seen.join(QLatin1Char(' '))));
        // a/x leads into b, whose files come before the link itself.
        QVERIFY(seen.indexOf("b/fb") < seen.indexOf("a/x"));
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(true, {}), quint64(2 + 3 + 3 + 2));
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(false, {}), quint64(5));
    }

    void nameWithNewlineAndUrlCharacters() {
        const QString root = path("newline");
        const QString name = QStringLiteral("two\nlines %41#?");
        QVERIFY(QDir().mkpath(root) && writeFile(root + '/' + name, "content"));
        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QCOMPARE(seen.paths, QStringList{name});
        QCOMPARE(openedReader(seen.infos[0].url.toLocalFile())->readBlock(), QByteArray("content"));
    }

    // One item that cannot be copied must not fail the walk of its folder; it
    // is reported with the reason, and a name that cannot be represented gets
    // an identity that names no other item.
    void uncopyableItemsAreReported_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("sibling");
        QTest::addColumn<QString>("reason");
        const QString special = QStringLiteral("'%1/%2' is not a regular file, folder or link.");
        const QString badName = QStringLiteral("The name of '%1/%2' is not valid UTF-8.");
        QTest::newRow("fifo") << QByteArray("fifo") << int(S_IFIFO) << QByteArray()
                              << special.arg("%1", "fifo");
        QTest::newRow("socket") << QByteArray("socket") << int(S_IFSOCK) << QByteArray()
                                << special.arg("%1", "socket");
        QTest::newRow("device") << QByteArray("device") << int(S_IFCHR) << QByteArray()
                                << special.arg("%1", "device");
        QTest::newRow("bad name") << QByteArray("bad\xff\xfe.txt") << int(S_IFREG) << QByteArray()
                                  << badName.arg("%1", "bad\\xFF\\xFE.txt");
        QTest::newRow("bad folder name") << QByteArray("caf\xc3") << int(S_IFDIR) << QByteArray()
                                         << badName.arg("%1", "caf\\xC3");
        // Its escaped text is the real name of its neighbour.
        QTest::newRow("bad name beside its text")
            << QByteArray("\xe9t\xe9\\") << int(S_IFREG) << QByteArray("\\xE9t\\xE9\\x5C")
            << badName.arg("%1", "\\xE9t\\xE9\\x5C");
        QTest::newRow("link to a bad name")
            << QByteArray("link") << int(S_IFLNK) << QByteArray()
            << QStringLiteral("The target of the link '%1/link' is not valid UTF-8.");
    }

    void uncopyableItemsAreReported() {
        QFETCH(QByteArray, name);
        QFETCH(int, type);
        QFETCH(QByteArray, sibling);
        QFETCH(QString, reason);
        const QString root = path(QStringLiteral("uncopyable/%1").arg(QTest::currentDataTag()));
        QVERIFY(QDir().mkpath(root) && writeFile(root + "/ok.txt", "ok"));
        const QByteArray raw = QFile::encodeName(root) + '/' + name;
        const RawItem cleanup{raw};
        const int made = makeItem(raw, mode_t(type));
        if (made == EPERM && type == S_IFCHR) {
            QSKIP("This account may not make device files");
        }
        QVERIFY2(made == 0, qPrintable(qt_error_string(made)));
        if (!sibling.isEmpty()) {
            QVERIFY(writeFile(root + '/' + QFile::decodeName(sibling), "sibling"));
        }
        reason = reason.arg(root);

        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        // Nothing from inside a folder with such a name.
        QCOMPARE(seen.infos.size(), sibling.isEmpty() ? 2 : 3);
        QList<ZKFileInfo> uncopyable;
        for (const ZKFileInfo &info : seen.infos) {
            if (!info.skipReason.isEmpty()) {
                uncopyable.append(info);
            }
        }
        QCOMPARE(uncopyable.size(), 1);
        const ZKFileInfo item = uncopyable.first();
        QCOMPARE(item.skipReason, reason);
        QVERIFY(!item.readable);
        QCOMPARE(item.url.adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash),
                 QUrl::fromLocalFile(root));
        // Its url leads to the item itself or to nothing at all.
        struct stat created {};
        struct stat named {};
        QVERIFY(::lstat(raw.constData(), &created) == 0);
        if (::lstat(QFile::encodeName(item.url.toLocalFile()).constData(), &named) == 0) {
            QCOMPARE(named.st_ino, created.st_ino);
        }
        if (isRepresentableName(name)) {
            const std::optional<ZKFileInfo> child =
                reader->fileInfoForChild(QFile::decodeName(name));
            QVERIFY(child);
            QCOMPARE(child->skipReason, type == S_IFLNK ? QString() : reason);
        }

        // The folder's children include it, under the same url, as an item
        // that exists, cannot be opened, and matches nothing at a destination:
        // a move must not remove the folder that still holds it.
        ZKReaderPtr handed;
        reader->enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &child) {
            if (child->url() == item.url) {
                handed = child;
            }
            return ZKEnumerationResultContinue;
        });
        if (type == S_IFLNK) {
            return; // a link can be compared as it is
        }
        QVERIFY(handed);
        QVERIFY(!handed->open());
        QVERIFY(handed->exists() && !handed->isDirectory());
        QCOMPARE(errorText(*handed), reason);
        const QString destination =
            path(QStringLiteral("uncopyable-copy/%1").arg(QTest::currentDataTag()));
        QVERIFY(QDir().mkpath(destination));
        QVERIFY(writeFile(destination + '/' + handed->filename(),
                          QByteArray(qsizetype(item.size), 'x')));
        const ZKReaderPtr copy = openedReader(destination)->childWithName(handed->filename());
        QVERIFY(copy->open() && copy->exists());
        QVERIFY(copy->size() != handed->size());
    }

    // Whether a file at the destination is a finished copy is told by its
    // size and date, as a walk saw them.
    void walkRecordsCarryTheModificationDate() {
        const QString root = path("dated");
        QVERIFY(QDir().mkpath(root) && writeFile(root + "/f", "12345"));
        QVERIFY(QFile::link("f", root + "/l"));
        struct timespec times[2]{};
        times[0].tv_nsec = UTIME_OMIT;
        times[1] = {1234567890, 123456789};
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(root + "/f").constData(), times, 0) == 0);
        times[1] = {1000000000, 0}; // the link's own date is not the one that counts
        QVERIFY(::utimensat(AT_FDCWD, QFile::encodeName(root + "/l").constData(), times,
                            AT_SYMLINK_NOFOLLOW) == 0);
        const QDateTime expected = QDateTime::fromMSecsSinceEpoch(1234567890123, Qt::UTC);
        QCOMPARE(openedReader(root + "/f")->modificationDate(), expected);

        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QCOMPARE(seen.paths.size(), 2);
        for (const ZKFileInfo &info : seen.infos) {
            QCOMPARE(info.modificationDate, expected);
            QCOMPARE(info.modificationDate.timeSpec(), Qt::UTC);
        }
        const std::optional<ZKFileInfo> child = reader->fileInfoForChild("f");
        QVERIFY(child);
        QCOMPARE(child->modificationDate, expected);
    }

    // A walk without the files' sizes and dates tells every item apart just
    // as the full one does.
    void walkWithoutFileStatusTellsItemsAlike() {
        const QString root = path("unstatted");
        QVERIFY(QDir().mkpath(root + "/sub") && writeFile(root + "/f", "12345"));
        QVERIFY(writeFile(root + "/sub/g", "1"));
        QVERIFY(QFile::link("f", root + "/to-file") && QFile::link("sub", root + "/to-folder"));
        QVERIFY(::mkfifo(QFile::encodeName(root + "/pipe").constData(), 0600) == 0);
        auto reader = openedReader(root);
        reader->setWalkAccessChecks(ZKReader::NoAccessCheck);
        const Walk full = walk(*reader, root);
        reader->setWalkReportsFileStatus(false);
        const Walk light = walk(*reader, root);
        QCOMPARE(light.paths, full.paths);
        QCOMPARE(full.paths.size(), 7); // the folder behind its link comes twice
        for (qsizetype i = 0; i < full.infos.size(); ++i) {
            const ZKFileInfo &a = full.infos.at(i);
            const ZKFileInfo &b = light.infos.at(i);
            QVERIFY2(a.directory == b.directory && a.symbolicLink == b.symbolicLink &&
                         a.skipReason == b.skipReason && a.targetUrl == b.targetUrl,
                     qPrintable(full.paths.at(i)));
            const bool plainFile = !a.directory && !a.symbolicLink && a.skipReason.isEmpty();
            QCOMPARE(b.size, plainFile ? quint64(0) : a.size);
            QCOMPARE(b.modificationDate.isValid(), !plainFile);
        }
    }

    // A link in a destination folder is an item of its own: what it points
    // to is never reported as lying inside the folder.
    void linkInADestinationIsNotEntered() {
        const QString root = path("destination");
        const QString elsewhere = path("elsewhere");
        QVERIFY(QDir().mkpath(root) && QDir().mkpath(elsewhere + "/x"));
        QVERIFY(writeFile(elsewhere + "/x/a.txt", "a"));
        QVERIFY(QFile::link(elsewhere + "/x", root + "/x"));
        auto reader = openedReader(root);
        const Walk seen = walk(*reader, root);
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        const qsizetype at = seen.paths.indexOf("x");
        QVERIFY(at >= 0);
        QVERIFY(seen.infos[at].symbolicLink);
        for (const QString &item : seen.paths) {
            QVERIFY2(!item.startsWith("x/"), qPrintable(item));
        }
        const std::optional<ZKFileInfo> child = reader->fileInfoForChild("x");
        QVERIFY(child && child->symbolicLink);
    }

    // Children are made without opening them; a link is not followed.
    void directoryContentsAndChildren() {
        const QString root = path("children");
        QVERIFY(QDir().mkpath(root + "/d") && writeFile(root + "/f.txt", "abc"));
        QVERIFY(QFile::link("f.txt", root + "/l"));
        auto reader = openedReader(root);
        QStringList names;
        bool anyOpened = false;
        reader->enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &child) {
            names.append(child->filename());
            anyOpened = anyOpened || child->exists();
            return ZKEnumerationResultContinue;
        });
        QVERIFY(!anyOpened);
        names.sort();
        QCOMPARE(names, QStringList({"d", "f.txt", "l"}));

        const std::optional<ZKFileInfo> file = reader->fileInfoForChild("f.txt");
        QVERIFY(file && file->size == 3 && !file->directory && !file->symbolicLink);
        const std::optional<ZKFileInfo> link = reader->fileInfoForChild("l");
        QVERIFY(link && link->symbolicLink && link->size == 0);
        QVERIFY(!reader->fileInfoForChild("none"));
    }

    // A folder being read that is replaced by a link meanwhile does not send
    // the reading of its items elsewhere, whether they were found by a walk,
    // a listing or by name, nor their removal after a move.
    void folderReplacedByALinkIsNotGoneThrough_data() {
        QTest::addColumn<QString>("how");
        QTest::newRow("walk") << "walk";
        QTest::newRow("listing") << "listing";
        QTest::newRow("by name") << "name";
        QTest::newRow("removed") << "removal";
    }

    void folderReplacedByALinkIsNotGoneThrough() {
        QFETCH(QString, how);
        const QString root = path(QStringLiteral("swapped/%1").arg(how));
        QVERIFY(QDir().mkpath(root + "/source") && QDir().mkpath(root + "/elsewhere"));
        QVERIFY(writeFile(root + "/source/a.txt", "original"));
        QVERIFY(writeFile(root + "/elsewhere/a.txt", "elsewhere"));
        auto reader = openedReader(root + "/source");
        QVERIFY(QFile::rename(root + "/source", root + "/moved"));
        QVERIFY(QFile::link(root + "/elsewhere", root + "/source"));

        QStringList names;
        ZKReaderPtr child;
        if (how == "walk") {
            reader->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
                names.append(info.url.fileName());
                return ZKEnumerationResultContinue;
            });
            child = reader->childWithName("a.txt");
        } else if (how == "listing") {
            reader->enumerateContentsOfDirectoryWithBlock([&](const ZKReaderPtr &item) {
                names.append(item->filename());
                child = item;
                return ZKEnumerationResultContinue;
            });
        } else {
            names.append("a.txt");
            child = reader->childWithName("a.txt");
        }
        QCOMPARE(names, QStringList{"a.txt"});
        if (how == "removal") {
            const ZKWriterPtr writer = child->asWriter();
            QVERIFY2(writer->remove([] { return false; }), qPrintable(errorText(*writer)));
            reader->close();
            QVERIFY(!QFile::exists(root + "/moved/a.txt"));
            QCOMPARE(readFile(root + "/elsewhere/a.txt"), QByteArray("elsewhere"));
            return;
        }
        QVERIFY2(child->open(), qPrintable(errorText(*child)));
        QCOMPARE(child->readBlock(), QByteArray("original"));
        child->close();
        reader->close();
    }

    // The saved form is all that survives a restart of the application.
    void savedFormFollowsARenamedSource() {
        const QString before = path("queued.bin");
        const QString after = path("renamed.bin");
        QVERIFY(writeFile(before, "payload"));
        const ZKFileSystemReader original(QUrl::fromLocalFile(before));
        const QVariantMap saved = original.asPropertyList();
        QVERIFY(ZKFileSystemReader(saved).isEqual(original));
        QVERIFY(QFile::rename(before, after));

        const auto reader = std::make_shared<ZKFileSystemReader>(saved);
        QVERIFY2(reader->open(), qPrintable(errorText(*reader)));
        QCOMPARE(reader->url(), QUrl::fromLocalFile(after));
        QCOMPARE(reader->filename(), QStringLiteral("renamed.bin"));
        QCOMPARE(reader->readBlock(), QByteArray("payload"));

        // A new file under the queued name is not the source, though it is
        // what opening that name finds first.
        reader->close();
        QVERIFY(writeFile(before, "impostor"));
        const auto again = std::make_shared<ZKFileSystemReader>(saved);
        QVERIFY2(again->open(), qPrintable(errorText(*again)));
        QCOMPARE(again->url(), QUrl::fromLocalFile(after));
        QCOMPARE(again->readBlock(), QByteArray("payload"));
        again->close();

        QString failure;
        QVERIFY(QFile::remove(after));
        QVERIFY(!ZKBookmark::resolve(reader->bookmark(), &failure) && !failure.isEmpty());
        QVERIFY(!ZKBookmark::resolve(QByteArray("garbage"), &failure));
        QVERIFY(
            !ZKFileSystemReader(QUrl::fromLocalFile(after)).asPropertyList().contains("Bookmark"));
    }
};

QTEST_GUILESS_MAIN(tst_ZKFileSystemReader)
#include "tst_ZKFileSystemReader.moc"
