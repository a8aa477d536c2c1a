// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"

#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

QString errorText(const ZKWriter &writer) {
    return writer.error() ? writer.error()->localizedDescription() : QStringLiteral("(no error)");
}

QByteArray contents(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &data) {
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(data), data.size());
}

// Exit code of `flock -n path true`: 0 when nobody holds the lock.
int tryLockFromAnotherProcess(const QString &path) {
    return QProcess::execute(QStringLiteral("flock"),
                             {QStringLiteral("-n"), path, QStringLiteral("true")});
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

    void resumeAppendsAtTheEnd() {
        writeFile(path(QStringLiteral("partial")), QByteArray(1000, 'a'));
        auto writer = ZKFileSystemWriter::writerWithFile(url(QStringLiteral("partial")));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QCOMPARE(writer->size(), quint64(1000));
        QVERIFY(writer->appendBlock("tail"));
        writer->close();
        const QByteArray data = contents(path(QStringLiteral("partial")));
        QCOMPARE(data.size(), 1004);
        QCOMPARE(data.mid(1000), QByteArray("tail"));
    }

    void missingFileIsCreated() {
        auto writer = ZKFileSystemWriter::writerWithFile(url(QStringLiteral("new.txt")));
        QCOMPARE(writer->icon(), QStringLiteral("ZKMissingFolder"));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QCOMPARE(writer->size(), quint64(0));
        QVERIFY(writer->appendBlock(QByteArray(70000, 'z')));
        writer->close();
        QCOMPARE(contents(path(QStringLiteral("new.txt"))), QByteArray(70000, 'z'));
        QCOMPARE(writer->icon(), QStringLiteral("text-plain"));
    }

    void openFailures_data() {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<bool>("isDirectory");
        QTest::addColumn<QString>("message");
        QTest::addColumn<qint64>("code");
        QTest::newRow("empty") << QUrl() << false << QStringLiteral("Invalid path: ''")
                               << qint64(-1001);
        QTest::newRow("ftp") << QUrl(QStringLiteral("ftp://host/f")) << false
                             << QStringLiteral("Invalid path: 'ftp://host/f'") << qint64(-1001);
        QTest::newRow("folder as file")
            << url(QStringLiteral("folder")) << false
            << QStringLiteral("Unable to open '%1' as a file.").arg(path(QStringLiteral("folder")))
            << qint64(-1001);
        QTest::newRow("folder over file")
            << url(QStringLiteral("plain")) << true
            << QStringLiteral("Unable to create the folder '%1': File exists.")
                   .arg(path(QStringLiteral("plain")))
            << qint64(EEXIST);
        QTest::newRow("no parent")
            << url(QStringLiteral("nowhere/f")) << false
            << QStringLiteral("Unable to create '%1': No such file or directory.")
                   .arg(path(QStringLiteral("nowhere/f")))
            << qint64(-1001);
        QTest::newRow("dangling link") << url(QStringLiteral("dangling")) << false
                                       << QStringLiteral("Unable to create '%1': File exists.")
                                              .arg(path(QStringLiteral("dangling")))
                                       << qint64(-1001);
    }

    void openFailures() {
        QFETCH(QUrl, url);
        QFETCH(bool, isDirectory);
        QFETCH(QString, message);
        QFETCH(qint64, code);
        QVERIFY(QDir().mkpath(path(QStringLiteral("folder"))));
        writeFile(path(QStringLiteral("plain")), "x");
        QFile::link(QStringLiteral("target-of-dangling"), path(QStringLiteral("dangling")));
        ZKFileSystemWriter writer(url, isDirectory);
        QVERIFY(!writer.open());
        QCOMPARE(errorText(writer), message);
        QCOMPARE(writer.error()->code(), code);
        // A dangling link must not lead to creating its target.
        QVERIFY(!QFile::exists(path(QStringLiteral("target-of-dangling"))));
    }

    void directoryWriterCreatesMissingFolders() {
        auto writer = ZKFileSystemWriter::writerWithDirectory(url(QStringLiteral("x/y/z")));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QVERIFY(QFileInfo(path(QStringLiteral("x/y/z"))).isDir());
        QCOMPARE(writer->icon(), QStringLiteral("folder"));
        auto file = writer->createFile(QStringLiteral("f"));
        QVERIFY(file && !file->isDirectory());
        QVERIFY(!QFile::exists(path(QStringLiteral("x/y/z/f")))); // made when opened
    }

    void twoWritersInOneProcess() {
        const QUrl target = url(QStringLiteral("contended"));
        auto first = ZKFileSystemWriter::writerWithFile(target);
        auto second = ZKFileSystemWriter::writerWithFile(target);
        QVERIFY2(first->open(), qPrintable(errorText(*first)));
        QVERIFY(!second->open());
        QCOMPARE(errorText(*second),
                 QStringLiteral("Unable to access '%1': another process is writing to the file.")
                     .arg(target.toLocalFile()));
        QCOMPARE(second->error()->code(), -1001);
        second->close();
        first->close();
        QVERIFY2(second->open(), qPrintable(errorText(*second)));
    }

    void lockIsSeenByAnotherProcess() {
        const QString file = path(QStringLiteral("shared"));
        auto writer = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        QVERIFY2(writer->open(), qPrintable(errorText(*writer)));
        QCOMPARE(tryLockFromAnotherProcess(file), 1);
        writer->close();
        QCOMPARE(tryLockFromAnotherProcess(file), 0);
    }

    void lockHeldByAnotherProcessRefusesAtOnce() {
        const QString file = path(QStringLiteral("held"));
        writeFile(file, "");
        QProcess holder;
        holder.start(QStringLiteral("flock"),
                     {file, QStringLiteral("-c"), QStringLiteral("echo locked; sleep 3")});
        QVERIFY(holder.waitForReadyRead(5000));
        auto writer = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        QVERIFY(!writer->open());
        QCOMPARE(errorText(*writer),
                 QStringLiteral("Unable to access '%1': another process is writing to the file.")
                     .arg(file));
        writer->close();
        holder.kill();
        holder.waitForFinished();
    }

    void appendFailures() {
        auto writer = ZKFileSystemWriter::writerWithFile(url(QStringLiteral("limited")));
        QVERIFY(!writer->appendBlock("x"));
        QCOMPARE(errorText(*writer), QStringLiteral("Unable to write data to unopened file '%1'.")
                                         .arg(path(QStringLiteral("limited"))));
        QCOMPARE(writer->error()->code(), -1006);

        // A file-size limit behaves like a full disk: one short write, then a failure.
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
        QCOMPARE(errorText(*writer), QStringLiteral("Unable to write data to '%1': File too large.")
                                         .arg(path(QStringLiteral("limited"))));
        QCOMPARE(writer->error()->code(), -1006);
        QCOMPARE(QFileInfo(path(QStringLiteral("limited"))).size(), 4096);
    }

    void fileWriterCreatesNothingInside() {
        ZKFileSystemWriter writer(url(QStringLiteral("f")), false);
        const QString shown = path(QStringLiteral("f"));
        QVERIFY(!writer.createDirectory(QStringLiteral("a")));
        QCOMPARE(errorText(writer),
                 QStringLiteral("Cannot create a directory in '%1'.").arg(shown));
        QVERIFY(!writer.createFile(QStringLiteral("a")));
        QCOMPARE(errorText(writer), QStringLiteral("Cannot create a file in '%1'.").arg(shown));
        QVERIFY(!writer.createLink(QStringLiteral("a"), QStringLiteral("b")));
        QCOMPARE(errorText(writer),
                 QStringLiteral("Cannot create a symbolic link in '%1'.").arg(shown));
        QCOMPARE(writer.error()->code(), -1001);
    }

    void createLinkIsRepeatable() {
        QVERIFY(QDir().mkpath(path(QStringLiteral("links"))));
        auto folder = ZKFileSystemWriter::writerWithDirectory(url(QStringLiteral("links")));
        QVERIFY(folder->createLink(QStringLiteral("l"), QStringLiteral("../relative")));
        QCOMPARE(QFileInfo(path(QStringLiteral("links/l"))).symLinkTarget(),
                 QDir(m_dir.path()).filePath(QStringLiteral("relative")));
        QVERIFY(folder->createLink(QStringLiteral("l"), QStringLiteral("../relative")));
        QVERIFY(!folder->error());
        QVERIFY(!folder->createLink(QStringLiteral("l"), QStringLiteral("other")));
        QCOMPARE(folder->error()->code(), qint64(EEXIST));
    }

    void metadataSetters() {
        const QString file = path(QStringLiteral("meta"));
        writeFile(file, "m");
        QVERIFY(::chmod(QFile::encodeName(file).constData(), 0640) == 0);
        auto writer = ZKFileSystemWriter::writerWithFile(QUrl::fromLocalFile(file));
        writer->setPermissions(0);
        struct stat status {};
        QVERIFY(::stat(QFile::encodeName(file).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0640));
        writer->setPermissions(0604);
        QVERIFY(::stat(QFile::encodeName(file).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0604));

        const QDateTime date = QDateTime::fromMSecsSinceEpoch(1234567890123);
        writer->setModificationDate(date);
        writer->setCreationDate(date);
        writer->setIsExtensionHidden(true);
        auto reader = writer->asReader();
        QVERIFY(reader->open());
        QCOMPARE(reader->modificationDate(), date);
        QVERIFY(!writer->error());

        if (::geteuid() == 0 && ::seteuid(65534) == 0) {
            writer->setOwner(0); // not permitted for this account
            writer->setIsImmutable(true);
            QVERIFY(::seteuid(0) == 0);
        } else {
            ZKFileSystemWriter(url(QStringLiteral("missing")), false).setOwner(0);
        }
        QVERIFY2(!writer->error(), qPrintable(errorText(*writer)));

        writer->setIsImmutable(true);
        QVERIFY(reader->open());
        const bool immutable = reader->isImmutable();
        writer->setIsImmutable(false);
        QVERIFY(reader->open());
        QVERIFY(!reader->isImmutable());
        if (!immutable) {
            QSKIP("This file system or account cannot set the immutable flag");
        }
    }

    void removal() {
        const QString root = path(QStringLiteral("doomed"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/a/b")));
        writeFile(root + QStringLiteral("/a/b/f"), "f");
        writeFile(path(QStringLiteral("keep")), "k");
        QVERIFY(QFile::link(path(QStringLiteral("keep")), root + QStringLiteral("/a/link")));
        auto writer = ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root));

        QVERIFY(!writer->remove([] { return true; }));
        QVERIFY(QFile::exists(root + QStringLiteral("/a/b/f")));
        QVERIFY(writer->removeFile(QStringLiteral("a")));
        QVERIFY(!QFile::exists(root + QStringLiteral("/a")));
        QCOMPARE(contents(path(QStringLiteral("keep"))), QByteArray("k"));
        QVERIFY(!writer->removeFile(QStringLiteral("a")));
        QCOMPARE(writer->error()->code(), qint64(ENOENT));
        QVERIFY(writer->remove([] { return false; }));
        QVERIFY(!QFile::exists(root));
    }

    void savedFormAndEquality() {
        writeFile(path(QStringLiteral("eq")), "");
        ZKFileSystemWriter file(url(QStringLiteral("eq")), false);
        ZKFileSystemWriter folder(url(QStringLiteral("eq")), true);
        QVERIFY(!file.isEqual(folder));
        QVERIFY(file.hash() != folder.hash());
        const QVariantMap saved = folder.asPropertyList();
        QCOMPARE(saved.value(QStringLiteral("Type")).toString(),
                 QStringLiteral("FileSystemWriter"));
        QCOMPARE(saved.value(QStringLiteral("IsDirectory")).toBool(), true);
        QVERIFY(saved.contains(QStringLiteral("Bookmark")));
        ZKFileSystemWriter restored(saved);
        QVERIFY(restored.isEqual(folder));
        QCOMPARE(restored.bookmark(), folder.bookmark());
        QCOMPARE(restored.filename(), QStringLiteral("eq"));
    }
};

QTEST_GUILESS_MAIN(tst_ZKFileSystemWriter)
#include "tst_ZKFileSystemWriter.moc"
