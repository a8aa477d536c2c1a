// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListParser.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

class Probe : public ZKPropertyListObject {
public:
    explicit Probe(const QVariantMap &dict)
        : m_dict(dict) {}
    QVariantMap asPropertyList() const override { return m_dict; }

    QVariantMap m_dict;
    std::shared_ptr<ZKPropertyListObject> m_part;
};

class OtherProbe : public ZKPropertyListObject {
public:
    QVariantMap asPropertyList() const override { return {{"Type", "OtherProbe"}}; }
};

} // namespace

class tst_ZKPropertyListParser : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void recreatesRegisteredClass();
    void refuses_data();
    void refuses();
    void checksWithoutCreating();
    void registersFromManyThreads();
    void urlsRoundTrip();
};

void tst_ZKPropertyListParser::initTestCase() {
    ZKPropertyListParser::registerClass("Probe", [](const QVariantMap &dict) {
        auto probe = std::make_shared<Probe>(dict);
        if (dict.contains("Part")) {
            probe->m_part = ZKPropertyListParser::parseObject(dict.value("Part").toMap());
        }
        return probe;
    });
    ZKPropertyListParser::registerClass(
        "OtherProbe", [](const QVariantMap &) { return std::make_shared<OtherProbe>(); });
    ZKPropertyListParser::registerClass("Unloadable", nullptr);
}

void tst_ZKPropertyListParser::recreatesRegisteredClass() {
    const QVariantMap dict{{"Type", "Probe"}, {"Size", 5}};
    ZKError error;
    const auto object = ZKPropertyListParser::parseObject(dict, &error);
    QVERIFY2(object, qPrintable(error.localizedDescription()));
    QCOMPARE(object->asPropertyList(), dict);
    QVERIFY(ZKPropertyListParser::parseObjectOfType<Probe>(dict));
    // Of another family: nothing, and nothing to report.
    QVERIFY(!ZKPropertyListParser::parseObjectOfType<OtherProbe>(dict, &error));
    QVERIFY(ZKPropertyListParser::parseObjectOfType<OtherProbe>({{"Type", "OtherProbe"}}));

    // A factory may parse its parts, as a task does its endpoints.
    const QVariantMap whole{{"Type", "Probe"}, {"Part", QVariantMap{{"Type", "OtherProbe"}}}};
    const auto probe = ZKPropertyListParser::parseObjectOfType<Probe>(whole);
    QVERIFY(probe && std::dynamic_pointer_cast<OtherProbe>(probe->m_part));
}

void tst_ZKPropertyListParser::refuses_data() {
    QTest::addColumn<QVariantMap>("dict");
    QTest::addColumn<qint64>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("no type") << QVariantMap{{"Path", "/a"}} << qint64(-1009)
                             << "The property 'Type' was not found in the property list.";
    QTest::newRow("unknown class") << QVariantMap{{"Type", "Teleporter"}} << qint64(-1009)
                                   << "'Teleporter' is not recognised as a valid class name.";
    // The prefix belongs to the class name, never to the saved type.
    QTest::newRow("prefixed type") << QVariantMap{{"Type", "ZKProbe"}} << qint64(-1009)
                                   << "'ZKProbe' is not recognised as a valid class name.";
    QTest::newRow("no property-list support")
        << QVariantMap{{"Type", "Unloadable"}} << qint64(-1010)
        << "The 'Unloadable' class does not support initialisation from a property list.";
}

void tst_ZKPropertyListParser::refuses() {
    QFETCH(QVariantMap, dict);
    QFETCH(qint64, code);
    QFETCH(QString, message);

    ZKError error;
    QVERIFY(!ZKPropertyListParser::parseObject(dict, &error));
    QCOMPARE(error, ZKError(ZKError::applicationDomain, code, message));
    QVERIFY(!ZKPropertyListParser::parseObject(dict)); // no error object asked for
    ZKError checked;
    QVERIFY(!ZKPropertyListParser::canParseObject(dict, &checked));
    QCOMPARE(checked, error);
}

// Loading a task resumes its step; a caller that only looks at a saved queue
// must learn what would load without loading it.
void tst_ZKPropertyListParser::checksWithoutCreating() {
    int made = 0;
    ZKPropertyListParser::registerClass("Counted", [&made](const QVariantMap &dict) {
        ++made;
        return std::make_shared<Probe>(dict);
    });
    ZKError error;
    QVERIFY2(ZKPropertyListParser::canParseObject({{"Type", "Counted"}}, &error),
             qUtf8Printable(error.localizedDescription()));
    QCOMPARE(made, 0);
    QVERIFY(ZKPropertyListParser::parseObject({{"Type", "Counted"}}));
    QCOMPARE(made, 1);
}

void tst_ZKPropertyListParser::registersFromManyThreads() {
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &failures] {
            for (int i = 0; i < 200; ++i) {
                const QString type = QStringLiteral("Probe%1x%2").arg(t).arg(i);
                ZKPropertyListParser::registerClass(
                    type, [](const QVariantMap &dict) { return std::make_shared<Probe>(dict); });
                if (!ZKPropertyListParser::parseObject({{"Type", type}}) ||
                    !ZKPropertyListParser::parseObject({{"Type", "Probe"}})) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(failures.load(), 0);
}

void tst_ZKPropertyListParser::urlsRoundTrip() {
    QSet<QUrl> urls{
        QUrl::fromLocalFile("/home/ann/My Documents/report (final).pdf"),
        QUrl::fromLocalFile(QString::fromUtf8("/home/ann/Ünïcødé/日本語 ☃.txt")),
        QUrl::fromLocalFile("/tmp/100% #1?.txt"),
        QUrl("ftp://ann@example.org:2121/pub/a%20b/"),
        QUrl("https://example.org/get?file=a%26b&x=%C3%A9"),
    };
    for (int i = 0; i < 20; ++i) {
        urls.insert(QUrl::fromLocalFile(QStringLiteral("/data/%1").arg(i)));
    }
    const QVariantList texts = ZKPropertyListParser::formatUrls(urls);
    QCOMPARE(ZKPropertyListParser::parseUrls(texts), urls);

    // A set's order changes from run to run; the saved file must not.
    QStringList sorted;
    for (const QVariant &text : texts) {
        sorted.append(text.toString());
    }
    std::sort(sorted.begin(), sorted.end());
    QCOMPARE(QVariant(texts).toStringList(), sorted);
    QCOMPARE(ZKPropertyListParser::formatUrls({QUrl::fromLocalFile("/a b/é")}),
             QVariantList{QStringLiteral("file:///a%20b/%C3%A9")});

    // Texts that are no URL are left out, with a word in the log.
    const QRegularExpression warning(QStringLiteral("Ignoring a saved URL that is not valid"));
    QTest::ignoreMessage(QtWarningMsg, warning);
    QTest::ignoreMessage(QtWarningMsg, warning);
    QCOMPARE(ZKPropertyListParser::parseUrls(
                 {QString("file:///kept"), QString(), QString("http://[::1")}),
             QSet<QUrl>{QUrl("file:///kept")});
}

QTEST_GUILESS_MAIN(tst_ZKPropertyListParser)
#include "tst_ZKPropertyListParser.moc"
