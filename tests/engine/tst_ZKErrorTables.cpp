// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKEndpointErrors.h"
#include "ZKError.h"
#include "ZKFtpErrors.h"
#include "ZKOperationErrors.h"
#include "ZKPropertyListErrors.h"
#include "ZKQueueFileErrors.h"

#include <QCoreApplication>
#include <QTest>
#include <QTranslator>

#include <functional>

// Error texts are translated when the error is made, from the table of their
// domain, and filled with their arguments.
class TestZKErrorTables : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void argumentsFillTheirPlaceholders_data();
    void argumentsFillTheirPlaceholders();
    void errorsAreTranslatedWhenMade_data();
    void errorsAreTranslatedWhenMade();
};

// Answers for one context only, as a translation file loaded for the
// language the user chose would.
class MarkingTranslator : public QTranslator {
public:
    explicit MarkingTranslator(QByteArray context)
        : m_context(std::move(context)) {}

    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *,
                      int) const override {
        return m_context == context ? QStringLiteral("<%1>").arg(QString::fromUtf8(sourceText))
                                    : QString();
    }

private:
    QByteArray m_context;
};

void TestZKErrorTables::argumentsFillTheirPlaceholders_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    // A chain of arg() calls would fill the "%2" of the first path with the
    // second argument.
    QTest::newRow("placeholder in an argument")
        << "Unable to rename '%1' to '%2'." << QStringList{"a%2b", "c"}
        << "Unable to rename 'a%2b' to 'c'.";
    QTest::newRow("order of a translation")
        << "%2 <- %1" << QStringList{"first", "second"} << "second <- first";
    QTest::newRow("argument missing") << "%1 and %3" << QStringList{"a"} << "a and %3";
    QTest::newRow("percent sign") << "100% of %1" << QStringList{"x"} << "100% of x";
    QTest::newRow("two digits") << "%10, %1"
                                << QStringList{"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"}
                                << "ten, 1";
}

void TestZKErrorTables::argumentsFillTheirPlaceholders() {
    QFETCH(QString, text);
    QFETCH(QStringList, arguments);
    QFETCH(QString, expected);
    const QByteArray source = text.toUtf8();
    QCOMPARE(ZKError::translatedText("none", source.constData(), arguments), expected);
}

using Make = std::function<ZKError()>;

void TestZKErrorTables::errorsAreTranslatedWhenMade_data() {
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<Make>("make");
    QTest::addColumn<QString>("english");

    QTest::newRow("operations") << QByteArray("ZKOperationErrors") << Make([] {
        return ZKOperationErrors::error(ZKOperationErrors::UnableToOpen, {"a"});
    }) << "Unable to open 'a'.";
    QTest::newRow("endpoints") << QByteArray("ZKEndpointErrors") << Make([] {
        return ZKEndpointErrors::error(ZKEndpointErrors::InvalidUrl, {"u"});
    }) << "Invalid url: 'u'";
    QTest::newRow("ftp") << QByteArray("ZKFtpErrors")
                         << Make([] { return ZKFtpErrors::error(ZKFtpErrors::NoHost); })
                         << "No host specified.";
    QTest::newRow("property lists")
        << QByteArray("ZKPropertyListErrors") << Make([] {
               return ZKPropertyListErrors::error(ZKPropertyListErrors::NullInKey, {}, {"a", "0"});
           })
        << "A dictionary key contains a null character, which a property list cannot hold. "
           "(at 'a/0')";
    QTest::newRow("queue files") << QByteArray("ZKQueueFileErrors") << Make([] {
        return ZKQueueFileErrors::error(ZKQueueFileErrors::NeverSaved);
    }) << "The queue has never been saved.";
}

void TestZKErrorTables::errorsAreTranslatedWhenMade() {
    QFETCH(QByteArray, context);
    QFETCH(Make, make);
    QFETCH(QString, english);

    const ZKError before = make();
    QCOMPARE(before.localizedDescription(), english);

    MarkingTranslator translator(context);
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const ZKError translated = make();
    QCoreApplication::removeTranslator(&translator);
    const QString text = translated.localizedDescription();
    QVERIFY2(text.startsWith(u'<') && text.contains(u'>') && text != english, qUtf8Printable(text));
    QCOMPARE(translated.code(), before.code());
    QCOMPARE(translated.domain(), before.domain());
}

QTEST_GUILESS_MAIN(TestZKErrorTables)
#include "tst_ZKErrorTables.moc"
