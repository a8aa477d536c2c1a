// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKRemoveSourceOperation.h"
#include "ZKTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using ZKTestSupport::errorText;
using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

namespace {

ZKRemoveSourceOperation remover(const QString &source, const QString &folder) {
    return ZKRemoveSourceOperation(
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source)),
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(folder)));
}

} // namespace

class TestZKRemoveSourceOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void refusesAndKeepsEverything_data();
    void refusesAndKeepsEverything();
    void removesLinksAndPatternSkippedItemsButNothingOutside();
    void cancelledBeforeRemovalKeepsTheSource();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString &name) const { return m_dir->filePath(name); }
};

void TestZKRemoveSourceOperation::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(path("src/t/sub")) && QDir().mkpath(path("dst/t/sub")));
    for (const QString side : {"src", "dst"}) {
        QVERIFY(writeFile(path(side + "/t/sub/f"), randomBytes(100, 1)));
        QVERIFY(writeFile(path(side + "/t/g"), randomBytes(10, 2)));
    }
}

void TestZKRemoveSourceOperation::refusesAndKeepsEverything_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("expected"); // %1: the test folder
    QTest::newRow("onto itself")
        << "self"
        << "Cannot remove files because %1/src/t is both the source and destination.";
    QTest::newRow("onto itself through a link")
        << "selfByLink"
        << "Cannot remove files because %1/src/t is both the source and destination.";
    QTest::newRow("one byte short")
        << "short"
        << "Cannot remove files because %1/dst/t/sub/f is not the same size as %1/src/t/sub/f.";
    QTest::newRow("not copied") << "missing"
                                << "Cannot remove files because %1/src/t/sub/f was not copied.";
    QTest::newRow("skipped by the user")
        << "userSkipped"
        << "Cannot remove files because %1/src/t/sub/f was not copied.";
}

void TestZKRemoveSourceOperation::refusesAndKeepsEverything() {
    QFETCH(QString, change);
    QFETCH(QString, expected);
    QString folder = path("dst");
    if (change == "self") {
        folder = path("src");
    } else if (change == "selfByLink") {
        QVERIFY(QFile::link(path("src"), path("alias")));
        folder = path("alias");
    } else if (change == "short") {
        QVERIFY(writeFile(path("dst/t/sub/f"), randomBytes(99, 1)));
    } else if (change == "missing" || change == "userSkipped") {
        QVERIFY(QFile::remove(path("dst/t/sub/f")));
    }
    auto operation = remover(path("src/t"), folder);
    if (change == "userSkipped") {
        operation.setSkippedUrls({QUrl::fromLocalFile(path("src/t/sub/f"))});
    }
    operation.start();
    QCOMPARE(errorText(operation), expected.arg(m_dir->path()));
    QCOMPARE(operation.error()->code(), qint64(-1004));
    QVERIFY(readFile(path("src/t/sub/f")) == randomBytes(100, 1));
    QVERIFY(QFileInfo::exists(path("src/t/g")));
}

void TestZKRemoveSourceOperation::removesLinksAndPatternSkippedItemsButNothingOutside() {
    // The .DS_Store was never copied; the link was, but what it points to
    // lies outside the source.
    QVERIFY(writeFile(path("src/t/.DS_Store"), "view state"));
    QVERIFY(QDir().mkpath(path("outside")) && writeFile(path("outside/keep"), "precious"));
    for (const QString side : {"src", "dst"}) {
        QVERIFY(QFile::link(path("outside"), path(side + "/t/toOutside")));
    }
    auto operation = remover(path("src/t"), path("dst"));
    operation.setSkippedFilePatterns({"^\\.DS_Store$"});
    operation.start();
    QVERIFY2(!operation.error(), qPrintable(errorText(operation)));
    QVERIFY(!QFileInfo::exists(path("src/t")));
    QVERIFY(readFile(path("outside/keep")) == "precious");
    QVERIFY(readFile(path("dst/t/sub/f")) == randomBytes(100, 1));
}

void TestZKRemoveSourceOperation::cancelledBeforeRemovalKeepsTheSource() {
    auto operation = remover(path("src/t"), path("dst"));
    operation.cancel();
    operation.start();
    QVERIFY(!operation.error());
    QVERIFY(QFileInfo::exists(path("src/t/sub/f")));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKRemoveSourceOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKRemoveSourceOperation.moc"
