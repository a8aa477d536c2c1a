// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFileOperation.h"
#include "ZKTestSupport.h"

#include <algorithm>

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
    void quickRejectionAgreesWithTheExpressions_data();
    void quickRejectionAgreesWithTheExpressions();
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

// Names are told apart by their first character where the patterns allow;
// whatever the patterns, the answer must be that of the expressions.
void TestZKFileOperation::quickRejectionAgreesWithTheExpressions_data() {
    QTest::addColumn<QStringList>("patterns");
    QTest::addColumn<int>("options");
    QTest::addColumn<QString>("name");
    const int none = QRegularExpression::NoPatternOption;
    const QStringList usual{"^\\.DS_Store$", "^\\.(_\\.)?Trashes$", "^\\."};
    QTest::newRow("usual, plain name") << usual << none << "report.txt";
    QTest::newRow("usual, hidden name") << usual << none << ".hidden";
    QTest::newRow("usual, empty name") << usual << none << "";
    QTest::newRow("optional first") << QStringList{"^a?b"} << none << "b";
    QTest::newRow("repeated first") << QStringList{"^a*b"} << none << "b";
    QTest::newRow("counted first") << QStringList{"^a{0}b"} << none << "b";
    QTest::newRow("alternative") << QStringList{"^a|b"} << none << "xb";
    QTest::newRow("escaped letter") << QStringList{"^\\d"} << none << "1x";
    QTest::newRow("class") << QStringList{"^[ab]"} << none << "b";
    QTest::newRow("unanchored") << QStringList{"x$"} << none << "ax";
    QTest::newRow("option in the pattern") << QStringList{"^(?i)a"} << none << "A";
    QTest::newRow("case-insensitive")
        << QStringList{"^a"} << int(QRegularExpression::CaseInsensitiveOption) << "A";
    QTest::newRow("multiline") << QStringList{"^x"} << int(QRegularExpression::MultilineOption)
                               << "a\nx";
    QTest::newRow("extended") << QStringList{"^ a"}
                              << int(QRegularExpression::ExtendedPatternSyntaxOption) << "a";
    QTest::newRow("one of two leads") << QStringList{"^~", "^#"} << none << "#x";
    QTest::newRow("other lead") << QStringList{"^~", "^#"} << none << "x#";
    QTest::newRow("invalid beside valid") << QStringList{"^~", "(unclosed"} << none << "(unclosed";
}

void TestZKFileOperation::quickRejectionAgreesWithTheExpressions() {
    QFETCH(QStringList, patterns);
    QFETCH(int, options);
    QFETCH(QString, name);
    QList<QRegularExpression> regexes;
    bool expected = false;
    for (const QString &pattern : patterns) {
        regexes.append(
            QRegularExpression(pattern, QRegularExpression::PatternOptions::fromInt(options)));
        expected = expected || (regexes.back().isValid() && regexes.back().match(name).hasMatch());
    }
    ProbeOperation operation;
    operation.setSkippedFileRegexes(regexes);
    operation.setTemporaryFileRegexes(regexes);
    QCOMPARE(operation.shouldCopyFile(QUrl::fromLocalFile("/a/" + name)), !expected);
    QCOMPARE(operation.isTemporaryFile(name), expected);
    const bool allValid =
        std::all_of(regexes.cbegin(), regexes.cend(),
                    [](const QRegularExpression &regex) { return regex.isValid(); });
    if (options == QRegularExpression::NoPatternOption && allValid) {
        // The same lists as the settings give them, shared between steps.
        ProbeOperation fromPatterns;
        fromPatterns.setSkippedFilePatterns(patterns);
        QCOMPARE(fromPatterns.shouldCopyFile(QUrl::fromLocalFile("/a/" + name)), !expected);
    }
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKFileOperation test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKFileOperation.moc"
