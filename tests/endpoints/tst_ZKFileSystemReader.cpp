// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKBookmark.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString errorText(const ZKReader &reader) {
    return reader.error() ? reader.error()->localizedDescription() : QStringLiteral("(no error)");
}

void writeFile(const QString &path, const QByteArray &data) {
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(data), data.size());
}

QByteArray pattern(qsizetype size) {
    QByteArray data(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i) {
        data[i] = char(i * 7 % 251);
    }
    return data;
}

std::shared_ptr<ZKFileSystemReader> openedReader(const QString &path) {
    auto reader = ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
    reader->open();
    return reader;
}

// Paths relative to root, in the order the walk reported them.
QStringList walk(ZKReader &reader, const QString &root,
                 const std::function<ZKEnumerationResult(const ZKFileInfo &)> &answer = {},
                 ZKEnumerationResult *result = nullptr) {
    QStringList seen;
    const ZKEnumerationResult last = reader.enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
        seen.append(QDir(root).relativeFilePath(info.url.toLocalFile()));
        return answer ? answer(info) : ZKEnumerationResultContinue;
    });
    if (result) {
        *result = last;
    }
    return seen;
}

// Root reads everything; permission checks need an ordinary account.
class AsUnprivilegedUser {
public:
    AsUnprivilegedUser()
        : m_switched(::geteuid() == 0 && ::seteuid(65534) == 0) {}
    ~AsUnprivilegedUser() {
        if (m_switched) {
            QVERIFY(::seteuid(0) == 0);
        }
    }
    bool usable() const { return m_switched || ::geteuid() != 0; }

private:
    bool m_switched;
};

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
    }

    void openFailures_data() {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<QString>("message");
        QTest::newRow("empty") << QUrl() << QStringLiteral("Invalid file path: ''");
        QTest::newRow("http") << QUrl(QStringLiteral("http://host/a"))
                              << QStringLiteral("Invalid file path: 'http://host/a'");
        const QString missing = path(QStringLiteral("missing"));
        QTest::newRow("missing")
            << QUrl::fromLocalFile(missing)
            << QStringLiteral("Unable to determine the size of '%1': No such file or directory")
                   .arg(missing);
    }

    void openFailures() {
        QFETCH(QUrl, url);
        QFETCH(QString, message);
        ZKFileSystemReader reader(url);
        QVERIFY(!reader.open());
        QVERIFY(reader.error());
        QCOMPARE(reader.error()->localizedDescription(), message);
        QCOMPARE(reader.error()->code(), -1000);
        QCOMPARE(reader.error()->domain(), QStringLiteral("com.velmarind.Ferrowick.ErrorDomain"));
        QVERIFY(!reader.hasMoreData());
    }

    void readBlockOfMaximumLength_data() {
        QTest::addColumn<quint64>("request");
        QTest::addColumn<int>("expected");
        QTest::newRow("100") << quint64(100) << 100;
        QTest::newRow("65535") << quint64(65535) << 65535;
        QTest::newRow("65536") << quint64(65536) << 65536;
        QTest::newRow("1000000") << quint64(1000000) << 65536;
    }

    void readBlockOfMaximumLength() {
        QFETCH(quint64, request);
        QFETCH(int, expected);
        const QByteArray data = pattern(200000);
        writeFile(path(QStringLiteral("blocks")), data);
        auto reader = openedReader(path(QStringLiteral("blocks")));
        QCOMPARE(reader->size(), quint64(data.size()));
        QCOMPARE(reader->readBlockOfMaximumLength(request), data.left(expected));
    }

    void readWholeFileAndResume() {
        const QByteArray data = pattern(3 * 65536 + 17);
        writeFile(path(QStringLiteral("whole")), data);
        auto reader = openedReader(path(QStringLiteral("whole")));
        QByteArray copy;
        reader->enumerateContentsOfFileWithBlock([&](const QByteArray &block) {
            copy += block;
            return ZKEnumerationResultContinue;
        });
        QCOMPARE(copy, data);
        QVERIFY(!reader->hasMoreData());

        QVERIFY(reader->open());
        QVERIFY(reader->seekToPosition(1000));
        QCOMPARE(reader->readBlockOfLength(10), data.mid(1000, 10));
    }

    void fileWithoutReadPermission() {
        const QString file = path(QStringLiteral("secret"));
        writeFile(file, "secret");
        QVERIFY(::chmod(QFile::encodeName(file).constData(), 0) == 0);
        AsUnprivilegedUser user;
        if (!user.usable()) {
            QSKIP("Running as root without a way to drop privileges: permissions are not checked");
        }
        ZKFileSystemReader reader(QUrl::fromLocalFile(file));
        QVERIFY(!reader.open());
        QCOMPARE(errorText(reader),
                 QStringLiteral("Unable to open '%1': Permission denied.").arg(file));
        QCOMPARE(reader.error()->code(), -1000);
        QVERIFY(!reader.hasMoreData());
    }

    void fifoIsRefusedWithoutBlocking() {
        const QString fifo = path(QStringLiteral("fifo"));
        QVERIFY(::mkfifo(QFile::encodeName(fifo).constData(), 0644) == 0);
        ZKFileSystemReader reader(QUrl::fromLocalFile(fifo));
        QVERIFY(!reader.open());
        QCOMPARE(errorText(reader),
                 QStringLiteral("Unable to open '%1': it is not a regular file.").arg(fifo));
    }

    // A copy that followed a growing file would never reach its end.
    void fileGrowingWhileReadStopsAtOpenedSize() {
        const QString file = path(QStringLiteral("growing"));
        const QByteArray data = pattern(100000);
        writeFile(file, data);
        auto reader = openedReader(file);
        QFile more(file);
        QVERIFY(more.open(QIODevice::Append));
        more.write(pattern(300000));
        more.flush();
        QByteArray copy;
        for (int i = 0; i < 100 && reader->hasMoreData(); ++i) {
            copy += reader->readBlock();
            more.write("x");
            more.flush();
        }
        QVERIFY(!reader->hasMoreData());
        QCOMPARE(copy, data);
        QCOMPARE(reader->readBlock(), QByteArray());
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
    }

    void fileShrinkingWhileReadIsAnError() {
        const QString file = path(QStringLiteral("shrinking"));
        writeFile(file, pattern(200000));
        auto reader = openedReader(file);
        QVERIFY(reader->readBlock().size() == 65536);
        QVERIFY(::truncate(QFile::encodeName(file).constData(), 70000) == 0);
        int reads = 0;
        while (reader->hasMoreData() && !reader->error() && ++reads < 100) {
            reader->readBlock();
        }
        QVERIFY(reads < 100);
        QVERIFY2(errorText(*reader).startsWith(
                     QStringLiteral("Unable to read from '%1': the file became shorter").arg(file)),
                 qPrintable(errorText(*reader)));
    }

    void linkToFolderOpensAsDirectory() {
        QVERIFY(QDir().mkpath(path(QStringLiteral("linked/target"))));
        QVERIFY(QFile::link(QStringLiteral("target"), path(QStringLiteral("linked/link"))));
        auto reader = openedReader(path(QStringLiteral("linked/link")));
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QVERIFY(reader->isDirectory());
        QVERIFY(reader->isLink());
        QCOMPARE(reader->size(), quint64(0));
        QCOMPARE(reader->linkTarget(), QStringLiteral("target"));
        QCOMPARE(reader->icon(), QStringLiteral("folder"));
    }

    void danglingLink() {
        QVERIFY(QDir().mkpath(path(QStringLiteral("dangling"))));
        const QString link = path(QStringLiteral("dangling/link"));
        QVERIFY(QFile::link(QStringLiteral("nowhere"), link));
        auto reader = openedReader(link);
        QVERIFY(reader->isLink());
        QCOMPARE(reader->linkTarget(), QStringLiteral("nowhere"));
        QCOMPARE(errorText(*reader),
                 QStringLiteral("Unable to open '%1': No such file or directory.").arg(link));

        auto folder = openedReader(path(QStringLiteral("dangling")));
        QList<ZKFileInfo> infos;
        folder->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
            infos.append(info);
            return ZKEnumerationResultContinue;
        });
        QCOMPARE(infos.size(), 1);
        QVERIFY(infos[0].symbolicLink);
        QVERIFY(!infos[0].directory);
        QCOMPARE(infos[0].targetUrl.toLocalFile(),
                 QDir(m_dir.path()).canonicalPath() + QStringLiteral("/dangling/nowhere"));
    }

    void walkIsPreOrderWithPruneAndStop() {
        const QString root = path(QStringLiteral("tree"));
        for (const char *folder : {"a/b", "c", "empty"}) {
            QVERIFY(QDir().mkpath(root + QLatin1Char('/') + QLatin1String(folder)));
        }
        writeFile(root + QStringLiteral("/a/b/f"), "12345");
        writeFile(root + QStringLiteral("/c/g"), "1");
        writeFile(root + QStringLiteral("/.hidden"), "");
        auto reader = openedReader(root);

        const QStringList all = walk(*reader, root);
        QCOMPARE(all.size(), 7);
        for (const QString &item : all) {
            const qsizetype slash = item.lastIndexOf(QLatin1Char('/'));
            if (slash > 0) {
                QVERIFY2(all.indexOf(item.left(slash)) < all.indexOf(item), qPrintable(item));
            }
        }

        const QStringList pruned = walk(*reader, root, [](const ZKFileInfo &info) {
            return info.url.fileName() == QLatin1String("a") ? ZKEnumerationResultSkip
                                                             : ZKEnumerationResultContinue;
        });
        QVERIFY(pruned.contains(QStringLiteral("a")));
        QVERIFY(!pruned.contains(QStringLiteral("a/b")));
        QCOMPARE(pruned.size(), 5);

        ZKEnumerationResult result = ZKEnumerationResultContinue;
        const QStringList stopped = walk(
            *reader, root, [](const ZKFileInfo &) { return ZKEnumerationResultStop; }, &result);
        QCOMPARE(stopped.size(), 1);
        QCOMPARE(result, ZKEnumerationResultStop);

        auto empty = openedReader(root + QStringLiteral("/empty"));
        QVERIFY(walk(*empty, root, {}, &result).isEmpty());
        QCOMPARE(result, ZKEnumerationResultContinue);
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(false, {}), quint64(6));
    }

    void unreadableFolderIsPassedOver() {
        const QString root = path(QStringLiteral("locked"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/closed")));
        writeFile(root + QStringLiteral("/closed/inside"), "x");
        writeFile(root + QStringLiteral("/open"), "y");
        QVERIFY(::chmod(QFile::encodeName(root + QStringLiteral("/closed")).constData(), 0) == 0);
        AsUnprivilegedUser user;
        if (!user.usable()) {
            QSKIP("Running as root without a way to drop privileges: permissions are not checked");
        }
        auto reader = openedReader(root);
        QList<ZKFileInfo> infos;
        reader->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
            infos.append(info);
            return ZKEnumerationResultContinue;
        });
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QCOMPARE(infos.size(), 2);
        for (const ZKFileInfo &info : infos) {
            QCOMPARE(info.readable, info.url.fileName() == QLatin1String("open"));
        }
    }

    void linkToAncestorIsReportedOnce() {
        const QString root = path(QStringLiteral("ancestor"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/sub")));
        QVERIFY(QFile::link(QStringLiteral(".."), root + QStringLiteral("/sub/up")));
        QVERIFY(QFile::link(root, root + QStringLiteral("/sub/root")));
        auto reader = openedReader(root);
        QList<ZKFileInfo> infos;
        reader->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
            infos.append(info);
            return ZKEnumerationResultContinue;
        });
        QCOMPARE(infos.size(), 3);
        for (const ZKFileInfo &info : infos.mid(1)) {
            QVERIFY(info.symbolicLink);
            QVERIFY(info.directory);
            QCOMPARE(info.size, quint64(0));
        }
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(true, {}), quint64(0));
    }

    // Neither link leads to its own ancestor; only the pair loops.
    void mutualLinkLoopTerminates() {
        const QString root = path(QStringLiteral("mutual"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/a")));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/b")));
        writeFile(root + QStringLiteral("/a/fa"), "aa");
        writeFile(root + QStringLiteral("/b/fb"), "bbb");
        QVERIFY(QFile::link(QStringLiteral("../b"), root + QStringLiteral("/a/x")));
        QVERIFY(QFile::link(QStringLiteral("../a"), root + QStringLiteral("/b/y")));
        auto reader = openedReader(root);
        const QStringList seen = walk(*reader, root);
        QVERIFY2(seen.size() < 20, qPrintable(seen.join(QLatin1Char(' '))));
        // a/x leads into b, whose files come before the link itself.
        QVERIFY(seen.indexOf(QStringLiteral("b/fb")) < seen.indexOf(QStringLiteral("a/x")));
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(true, {}), quint64(2 + 3 + 3 + 2));
        QCOMPARE(reader->calculateDirectorySizeFollowingLinks(false, {}), quint64(5));
    }

    void nameWithNewlineAndUrlCharacters() {
        const QString root = path(QStringLiteral("newline"));
        QVERIFY(QDir().mkpath(root));
        const QString name = QStringLiteral("two\nlines %41#?");
        writeFile(root + QLatin1Char('/') + name, "content");
        auto reader = openedReader(root);
        QList<ZKFileInfo> infos;
        reader->enumerateFileInfoWithBlock([&](const ZKFileInfo &info) {
            infos.append(info);
            return ZKEnumerationResultContinue;
        });
        QVERIFY2(!reader->error(), qPrintable(errorText(*reader)));
        QCOMPARE(infos.size(), 1);
        QCOMPARE(infos[0].url.fileName(), name);
        auto child = openedReader(infos[0].url.toLocalFile());
        QCOMPARE(child->readBlock(), QByteArray("content"));
    }

    // A move must never leave such an item behind without a word.
    void nameNotValidUtf8StopsTheWalk() {
        const QString root = path(QStringLiteral("badname"));
        QVERIFY(QDir().mkpath(root));
        const QByteArray bad = QFile::encodeName(root) + "/bad\xff\xfe";
        const int fd = ::open(bad.constData(), O_CREAT | O_WRONLY, 0644);
        QVERIFY(fd >= 0);
        ::close(fd);
        auto reader = openedReader(root);
        int reported = 0;
        reader->enumerateFileInfoWithBlock([&](const ZKFileInfo &) {
            ++reported;
            return ZKEnumerationResultContinue;
        });
        ::unlink(bad.constData());
        QCOMPARE(reported, 0);
        QVERIFY(reader->error());
        QVERIFY2(errorText(*reader).startsWith(QStringLiteral("Unable to determine the size of '")),
                 qPrintable(errorText(*reader)));
        QVERIFY2(errorText(*reader).contains(QStringLiteral("not valid UTF-8")),
                 qPrintable(errorText(*reader)));
        QCOMPARE(reader->error()->code(), -1000);
    }

    void directoryContentsAndChildren() {
        const QString root = path(QStringLiteral("children"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/d")));
        writeFile(root + QStringLiteral("/f.txt"), "abc");
        QVERIFY(QFile::link(QStringLiteral("f.txt"), root + QStringLiteral("/l")));
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
        QCOMPARE(names,
                 QStringList({QStringLiteral("d"), QStringLiteral("f.txt"), QStringLiteral("l")}));
        QCOMPARE(reader->enumerateContentsOfDirectoryWithBlock(
                     [](const ZKReaderPtr &) { return ZKEnumerationResultStop; }),
                 ZKEnumerationResultStop);

        QCOMPARE(reader->childWithName(QString()), reader);
        QCOMPARE(reader->childWithName(QStringLiteral("f.txt"))->url(),
                 QUrl::fromLocalFile(root + QStringLiteral("/f.txt")));
        const std::optional<ZKFileInfo> file = reader->fileInfoForChild(QStringLiteral("f.txt"));
        QVERIFY(file && file->size == 3 && !file->directory && !file->symbolicLink);
        const std::optional<ZKFileInfo> link = reader->fileInfoForChild(QStringLiteral("l"));
        QVERIFY(link && link->symbolicLink && link->size == 0);
        QVERIFY(!reader->fileInfoForChild(QStringLiteral("none")));
        QCOMPARE(openedReader(root + QStringLiteral("/f.txt"))->icon(),
                 QStringLiteral("text-plain"));

        auto writer = reader->asWriter();
        QVERIFY(writer->isDirectory());
        QCOMPARE(std::static_pointer_cast<ZKFileSystemWriter>(writer)->bookmark(),
                 reader->bookmark());
    }

    void savedFormRoundTrip() {
        const QString file = path(QStringLiteral("saved"));
        writeFile(file, "1");
        ZKFileSystemReader reader(QUrl::fromLocalFile(file));
        const QVariantMap saved = reader.asPropertyList();
        QCOMPARE(saved.value(QStringLiteral("Type")).toString(),
                 QStringLiteral("FileSystemReader"));
        QCOMPARE(saved.value(QStringLiteral("Path")).toString(), file);
        QVERIFY(!saved.value(QStringLiteral("Bookmark")).toByteArray().isEmpty());
        const auto restored = std::make_shared<ZKFileSystemReader>(saved);
        QVERIFY(restored->isEqual(reader));
        QCOMPARE(restored->bookmark(), reader.bookmark());

        ZKFileSystemReader missing(QUrl::fromLocalFile(path(QStringLiteral("not-there"))));
        QVERIFY(!missing.asPropertyList().contains(QStringLiteral("Bookmark")));
    }

    // The saved form is all that survives a restart of the application.
    void renamedSourceIsFoundThroughItsBookmark() {
        const QString before = path(QStringLiteral("queued.bin"));
        const QString after = path(QStringLiteral("renamed.bin"));
        writeFile(before, "payload");
        const QVariantMap saved = ZKFileSystemReader(QUrl::fromLocalFile(before)).asPropertyList();
        QVERIFY(QFile::rename(before, after));

        const auto reader = std::make_shared<ZKFileSystemReader>(saved);
        QVERIFY2(reader->open(), qPrintable(errorText(*reader)));
        QCOMPARE(reader->url(), QUrl::fromLocalFile(after));
        QCOMPARE(reader->filename(), QStringLiteral("renamed.bin"));
        QCOMPARE(reader->readBlock(), QByteArray("payload"));
        QCOMPARE(reader->urlForPasteboard(), QUrl::fromLocalFile(after));

        QString failure;
        QVERIFY(QFile::remove(after));
        QVERIFY(!ZKBookmark::resolve(reader->bookmark(), &failure));
        QVERIFY(!failure.isEmpty());
        QVERIFY(!ZKBookmark::resolve(QByteArray("garbage"), &failure));
    }
};

QTEST_GUILESS_MAIN(tst_ZKFileSystemReader)
#include "tst_ZKFileSystemReader.moc"
