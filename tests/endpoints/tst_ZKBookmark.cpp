// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKBookmark.h"
#include "ZKTestSupport.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using ZKTestSupport::writeFile;

namespace {

struct stat statusOf(const QString &path) {
    struct stat status {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

bool hasGeneration(const QString &path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    long value = 0;
    const bool has = fd >= 0 && ::ioctl(fd, FS_IOC_GETVERSION, &value) == 0;
    if (fd >= 0) {
        ::close(fd);
    }
    return has;
}

bool setModificationTime(const QString &path, const timespec &time) {
    const timespec times[2] = {{0, UTIME_OMIT}, time};
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

} // namespace

class tst_ZKBookmark : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsOnlyTheSameItem_data();
    void followsOnlyTheSameItem();
    void firstVersionNeverLeadsElsewhere();
    void reusedInodeIsNotFollowed();

private:
    QString path(const QString &name) const { return QDir(m_dir.path()).filePath(name); }

    QTemporaryDir m_dir;
};

void tst_ZKBookmark::followsOnlyTheSameItem_data() {
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("change"); // what happens to the item after its rename
    QTest::addColumn<bool>("follows");

    QTest::newRow("renamed file") << false << "" << true;
    QTest::newRow("renamed folder") << true << "" << true;
    // The same inode at another name, but not the file that was queued: what
    // a reused inode number looks like from here.
    QTest::newRow("file rewritten") << false << "rewrite" << false;
    QTest::newRow("file of the same size, later") << false << "touch" << false;
    QTest::newRow("folder given a new item") << true << "add" << false;
}

void tst_ZKBookmark::followsOnlyTheSameItem() {
    QFETCH(bool, folder);
    QFETCH(QString, change);
    QFETCH(bool, follows);

    const QString before = path(QStringLiteral("before-") + QTest::currentDataTag());
    const QString after = path(QStringLiteral("after-") + QTest::currentDataTag());
    QVERIFY(folder ? QDir().mkpath(before + QStringLiteral("/inner"))
                   : writeFile(before, "queued content"));
    const timespec queuedTime{1700000000, 123456789};
    QVERIFY(setModificationTime(before, queuedTime));
    const QByteArray bookmark = ZKBookmark::create(before);
    QVERIFY(!bookmark.isEmpty());
    const ino_t inode = statusOf(before).st_ino;
    QVERIFY(QFile::rename(before, after));
    if (change == QStringLiteral("rewrite")) {
        QVERIFY(writeFile(after, "notes"));
    } else if (change == QStringLiteral("touch")) {
        QVERIFY(setModificationTime(after, {queuedTime.tv_sec + 60, 0}));
    } else if (change == QStringLiteral("add")) {
        QVERIFY(writeFile(after + QStringLiteral("/new"), "new"));
    }
    QCOMPARE(statusOf(after).st_ino, inode);

    QString failure;
    const std::optional<QString> resolved = ZKBookmark::resolve(bookmark, &failure);
    if (follows) {
        QVERIFY2(resolved, qUtf8Printable(failure));
        QCOMPARE(*resolved, after);
    } else {
        QVERIFY2(!resolved, qUtf8Printable(resolved.value_or(QString())));
        QVERIFY2(failure.contains(QStringLiteral("no longer exists")), qUtf8Printable(failure));
    }
}

// Handles saved before the size and time were kept carry nothing that would
// tell a renamed file from a new one; they resolve only where they were made.
void tst_ZKBookmark::firstVersionNeverLeadsElsewhere() {
    const QString before = path(QStringLiteral("old-handle"));
    const QString after = path(QStringLiteral("old-handle-renamed"));
    QVERIFY(writeFile(before, "content"));
    const struct stat status = statusOf(before);
    QByteArray bookmark;
    QDataStream stream(&bookmark, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_0);
    stream << quint32(0x5a4b424d) << quint8(1) << quint64(status.st_dev) << quint64(status.st_ino)
           << QFile::encodeName(before);

    QString failure;
    const std::optional<QString> here = ZKBookmark::resolve(bookmark, &failure);
    QVERIFY2(here, qUtf8Printable(failure));
    QCOMPARE(*here, before);
    QVERIFY(QFile::rename(before, after));
    QVERIFY(!ZKBookmark::resolve(bookmark, &failure));
}

// A removed file's inode number goes to the next file made; size and time
// can match by chance or by copying, the generation cannot.
void tst_ZKBookmark::reusedInodeIsNotFollowed() {
    const QByteArray content = ZKTestSupport::randomBytes(4096, 11);
    for (int attempt = 0; attempt < 50; ++attempt) {
        const QString queued = path(QStringLiteral("queued-%1").arg(attempt));
        const QString other = path(QStringLiteral("other-%1").arg(attempt));
        QVERIFY(writeFile(queued, content));
        if (!hasGeneration(queued)) {
            QSKIP("This file system keeps no inode generation.");
        }
        const struct stat original = statusOf(queued);
        const QByteArray bookmark = ZKBookmark::create(queued);
        QVERIFY(QFile::remove(queued));
        QVERIFY(writeFile(other, ZKTestSupport::randomBytes(content.size(), 12)));
        QVERIFY(setModificationTime(other, original.st_mtim));
        if (statusOf(other).st_ino != original.st_ino) {
            continue;
        }
        QString failure;
        const std::optional<QString> resolved = ZKBookmark::resolve(bookmark, &failure);
        QVERIFY2(!resolved, qUtf8Printable(resolved.value_or(QString())));
        QVERIFY2(failure.contains(QStringLiteral("another file")), qUtf8Printable(failure));
        return;
    }
    QSKIP("The file system gave no inode number twice.");
}

QTEST_GUILESS_MAIN(tst_ZKBookmark)
#include "tst_ZKBookmark.moc"
