// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileOperation.h"
#include "ZKTestSupport.h"

#include <QTest>

namespace {

// The rules alone, without a walk of its own.
class ProbeOperation : public ZKFileOperation {
protected:
    void main() override {}
};

} // namespace

class TestZKFileOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void skipRules_data();
    void skipRules();
    void invalidPatternMatchesNothing();
};

void TestZKFileOperation::skipRules_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("copied");
    QTest::addColumn<bool>("removed");
    QTest::newRow("store file at top") << "/a/.DS_Store" << false << false;
    QTest::newRow("store file deep") << "/a/b/c/d/.DS_Store" << false << false;
    QTest::newRow("longer name") << "/a/.DS_Store2" << true << true;
    QTest::newRow("pattern with a group") << "/a/._.Trashes" << false << false;
    QTest::newRow("pattern that refers to its group") << "/a/xx" << false << false;
    QTest::newRow("skipped by the user: still removed") << "/a/chosen" << false << true;
    QTest::newRow("skipped by the user, other spelling") << "/a/./chosen/" << false << true;
    QTest::newRow("plain file") << "/a/report.txt" << true << true;
}

void TestZKFileOperation::skipRules() {
    QFETCH(QString, path);
    QFETCH(bool, copied);
    QFETCH(bool, removed);
    ProbeOperation operation;
    operation.setSkippedFilePatterns({"^\\.DS_Store$", "^\\.(_\\.)?Trashes$", "^(x)\\1$"});
    operation.setSkippedUrls({QUrl::fromLocalFile("/a/chosen")});
    QCOMPARE(operation.shouldCopyFile(QUrl::fromLocalFile(path)), copied);
    QCOMPARE(operation.shouldVerifyFile(QUrl::fromLocalFile(path)), copied);
    QCOMPARE(operation.shouldRemoveFile(QUrl::fromLocalFile(path)), removed);
    operation.setTemporaryFilePatterns({"^\\.DS_Store$"});
    // The temporary test takes a bare name, never a path.
    QCOMPARE(operation.isTemporaryFile(QUrl::fromLocalFile(path).fileName()),
             path.endsWith("/.DS_Store"));
    QVERIFY(!operation.isTemporaryFile("/a/.DS_Store"));
}

void TestZKFileOperation::invalidPatternMatchesNothing() {
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Error generating regular expression "
                                                          "from pattern '\\(unclosed'"));
    ProbeOperation operation;
    operation.setSkippedFilePatterns({"^a$", "(unclosed", "^b$"});
    QCOMPARE(operation.skippedFileRegexes().size(), 3);
    QVERIFY(!operation.shouldCopyFile(QUrl::fromLocalFile("/x/b")));
    QVERIFY(operation.shouldCopyFile(QUrl::fromLocalFile("/x/(unclosed")));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKFileOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKFileOperation.moc"
