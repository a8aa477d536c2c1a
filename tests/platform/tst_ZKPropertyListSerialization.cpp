// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListSerialization.h"

#include <plist/plist.h>

#include <QBuffer>
#include <QDateTime>
#include <QStringDecoder>
#include <QTemporaryFile>
#include <QTest>
#include <QTimeZone>

#include <cstring>
#include <limits>

using S = ZKPropertyListSerialization;

namespace {

// Equal values of equal types, all the way down: 5 as int and 5 as qint64
// compare equal as QVariants, but readers of saved files rely on the type.
bool sameTyped(const QVariant &a, const QVariant &b) {
    if (a.typeId() != b.typeId()) {
        return false;
    }
    if (a.typeId() == QMetaType::Double) { // NaN and -0 too
        const double x = a.toDouble(), y = b.toDouble();
        return std::memcmp(&x, &y, sizeof x) == 0;
    }
    if (a.typeId() == QMetaType::QVariantList) {
        const QVariantList x = a.toList(), y = b.toList();
        return x.size() == y.size() && std::equal(x.begin(), x.end(), y.begin(), sameTyped);
    }
    if (a.typeId() == QMetaType::QVariantMap) {
        const QVariantMap x = a.toMap(), y = b.toMap();
        return x.keys() == y.keys() && std::equal(x.begin(), x.end(), y.begin(), sameTyped);
    }
    return a == b;
}

// Another writer's binary form of the same tree, made by libplist alone.
QByteArray binaryFromXml(const QByteArray &xml) {
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    if (!root) {
        return {};
    }
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    QByteArray binary(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return binary;
}

QByteArray bigEndian(quint64 value, int length) {
    QByteArray bytes;
    for (int shift = 8 * (length - 1); shift >= 0; shift -= 8) {
        bytes += char(value >> shift);
    }
    return bytes;
}

// A binary property list made by hand, for shapes no writer produces.
// Offsets and references are four bytes wide.
QByteArray binaryPlist(const QList<QByteArray> &objects) {
    QByteArray data("bplist00"), table;
    for (const QByteArray &object : objects) {
        table += bigEndian(quint64(data.size()), 4);
        data += object;
    }
    return data + table + QByteArray(6, '\0') + char(4) + char(4) +
           bigEndian(quint64(objects.size()), 8) + bigEndian(0, 8) +
           bigEndian(quint64(data.size()), 8);
}

// An array of `count` references to object `target`.
QByteArray arrayOf(int count, quint32 target) {
    return char(0xA0 | count) + bigEndian(target, 4).repeated(count);
}

// Arrays nested `depth` deep, each holding `width` references to the next.
QByteArray nestedBinary(int depth, int width = 1) {
    QList<QByteArray> objects;
    for (int i = 1; i < depth; ++i) {
        objects.append(arrayOf(width, quint32(i)));
    }
    return binaryPlist(objects << arrayOf(0, 0));
}

QByteArray nestedXml(int depth) {
    return "<plist version=\"1.0\">" + QByteArray("<array>").repeated(depth) +
           QByteArray("</array>").repeated(depth) + "</plist>";
}

QVariant nestedList(int depth) {
    QVariant value = QVariantList();
    for (int i = 1; i < depth; ++i) {
        value = QVariantList{value};
    }
    return value;
}

QDateTime utc(int year, int month, int day, int h, int m, int s, int ms = 0) {
    return QDateTime(QDate(year, month, day), QTime(h, m, s, ms), QTimeZone::utc());
}

} // namespace

class tst_ZKPropertyListSerialization : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void typeKeyIsWrittenFirst();
    void binaryKeepsMilliseconds();
    void readsOtherWritersXml_data();
    void readsOtherWritersXml();
    void refusesUnwritableValues_data();
    void refusesUnwritableValues();
    void refusesHostileData_data();
    void refusesHostileData();
    void truncationIsNeverSilent();
    void streamedWriteIsByteForByte_data();
    void streamedWriteIsByteForByte();
    void streamedReadMatchesWholeRead_data();
    void streamedReadMatchesWholeRead();
    void elementReadsAsLibplistReadsIt_data();
    void elementReadsAsLibplistReadsIt();
};

void tst_ZKPropertyListSerialization::roundTrip_data() {
    QTest::addColumn<QVariant>("written");
    QTest::addColumn<QVariant>("expected");

    const QString text = QStringLiteral("Ärger <&> \"quoted\" ]]> tab\t cr\r lf\n ☃ \x01");
    QByteArray allBytes;
    for (int i = 0; i < 256; ++i) {
        allBytes += char(i);
    }
    const qint64 int64Min = std::numeric_limits<qint64>::min();
    const qint64 int64Max = std::numeric_limits<qint64>::max();
    const quint64 uint64Max = std::numeric_limits<quint64>::max();

    QTest::newRow("text") << QVariant(text) << QVariant(text);
    QTest::newRow("empty text") << QVariant(QString()) << QVariant(QString(""));
    QTest::newRow("true") << QVariant(true) << QVariant(true);
    QTest::newRow("int") << QVariant(42) << QVariant(qint64(42));
    QTest::newRow("int64 min") << QVariant(int64Min) << QVariant(int64Min);
    QTest::newRow("int64 max") << QVariant(int64Max) << QVariant(int64Max);
    QTest::newRow("small unsigned") << QVariant(quint64(7)) << QVariant(qint64(7));
    QTest::newRow("2^63") << QVariant(quint64(int64Max) + 1) << QVariant(quint64(int64Max) + 1);
    QTest::newRow("2^64 - 1") << QVariant(uint64Max) << QVariant(uint64Max);
    QTest::newRow("real") << QVariant(0.1) << QVariant(0.1);
    QTest::newRow("infinity") << QVariant(qInf()) << QVariant(qInf());
    QTest::newRow("data") << QVariant(allBytes) << QVariant(allBytes);
    QTest::newRow("empty data") << QVariant(QByteArray()) << QVariant(QByteArray());
    QTest::newRow("date") << QVariant(utc(2024, 2, 29, 13, 14, 15))
                          << QVariant(utc(2024, 2, 29, 13, 14, 15));
    QTest::newRow("date before 2001")
        << QVariant(utc(1990, 7, 1, 0, 0, 1)) << QVariant(utc(1990, 7, 1, 0, 0, 1));
    const QDateTime local(QDate(2030, 12, 24), QTime(18, 30));
    QTest::newRow("local date") << QVariant(local) << QVariant(local.toUTC());
    QTest::newRow("string list") << QVariant(QStringList{"a", "b"})
                                 << QVariant(QVariantList{QString("a"), QString("b")});
    QTest::newRow("empty containers") << QVariant(QVariantMap{{"list", QVariantList()}})
                                      << QVariant(QVariantMap{{"list", QVariantList()}});
    const QVariantMap task{{"Type", "CopyTask"},
                           {"ProgressBytes", qint64(1) << 40},
                           {"SkippedUrls", QVariantList{QString("file:///a%20b")}},
                           {"Source", QVariantMap{{"Type", "FileSystemReader"}, {"Path", "/a"}}}};
    QTest::newRow("document") << QVariant(QVariantMap{{"Tasks", QVariantList{task}}})
                              << QVariant(QVariantMap{{"Tasks", QVariantList{task}}});
    QTest::newRow("deepest allowed")
        << nestedList(S::maximumNestingDepth) << nestedList(S::maximumNestingDepth);
}

void tst_ZKPropertyListSerialization::roundTrip() {
    QFETCH(QVariant, written);
    QFETCH(QVariant, expected);

    ZKError error;
    const QByteArray xml = S::dataFromPropertyList(written, &error);
    QVERIFY2(!xml.isEmpty(), qPrintable(error.localizedDescription()));
    QVERIFY(xml.startsWith("<?xml"));

    const QList<QByteArray> forms{xml, binaryFromXml(xml),
                                  S::binaryDataFromPropertyList(written, &error)};
    for (const QByteArray &data : forms) {
        const QVariant read = S::propertyListFromData(data, &error);
        QVERIFY2(read.isValid(), qPrintable(error.localizedDescription()));
        QVERIFY2(sameTyped(read, expected), qPrintable(QDebug::toString(read)));
    }
}

void tst_ZKPropertyListSerialization::typeKeyIsWrittenFirst() {
    const QVariantMap map{{"Alpha", 1}, {"Type", "CopyTask"}, {"Zulu", 2}};
    const QByteArray xml = S::dataFromPropertyList(map);
    const auto type = xml.indexOf("<key>Type</key>");
    QVERIFY(type > 0);
    QVERIFY(type < xml.indexOf("<key>Alpha</key>"));
    QVERIFY(xml.indexOf("<key>Alpha</key>") < xml.indexOf("<key>Zulu</key>"));
}

void tst_ZKPropertyListSerialization::binaryKeepsMilliseconds() {
    // XML dates hold whole seconds; the binary form is used for the
    // pasteboard and keeps more.
    const QDateTime date = utc(2020, 5, 17, 8, 9, 10, 250);
    const QVariant fromBinary = S::propertyListFromData(S::binaryDataFromPropertyList(date));
    QCOMPARE(fromBinary.toDateTime(), date);
    const QVariant fromXml = S::propertyListFromData(S::dataFromPropertyList(date));
    QCOMPARE(fromXml.toDateTime(), utc(2020, 5, 17, 8, 9, 10));
}

void tst_ZKPropertyListSerialization::readsOtherWritersXml_data() {
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("comment and CDATA")
        << QByteArray("<array><!-- </array> --><string><![CDATA[</array>]]></string></array>")
        << QVariant(QVariantList{QString("</array>")});
    QTest::newRow("empty elements")
        << QByteArray("<dict><key>a</key><array/><key>b</key><dict/></dict>")
        << QVariant(QVariantMap{{"a", QVariantList()}, {"b", QVariantMap()}});
    // Read as libplist reads it, although the XML check cannot decode it.
    QTest::newRow("text that is not UTF-8")
        << QByteArray("<string>caf\xE9</string>") << QVariant(QStringLiteral("caf\uFFFD"));
}

void tst_ZKPropertyListSerialization::readsOtherWritersXml() {
    QFETCH(QByteArray, xml);
    QFETCH(QVariant, expected);

    const QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                "<plist version=\"1.0\">" +
                                xml + "</plist>\n";
    ZKError error;
    const QVariant read = S::propertyListFromData(document, &error);
    QVERIFY2(read.isValid(), qPrintable(error.localizedDescription()));
    QVERIFY2(sameTyped(read, expected), qPrintable(QDebug::toString(read)));
}

void tst_ZKPropertyListSerialization::refusesUnwritableValues_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    QTest::newRow("url") << QVariant(QUrl("file:///a")) << "value of type 'QUrl'";
    QTest::newRow("null") << QVariant() << "value of type 'none'";
    QTest::newRow("nested, with its place")
        << QVariant(QVariantMap{
               {"Tasks", QVariantList{QVariantMap{{"Source", QVariant::fromValue(QSize())}}}}})
        << "(at 'Tasks/0/Source')";
    QTest::newRow("NUL in text") << QVariant(QString("a") + QChar(0) + "b") << "null character";
    QTest::newRow("NUL in key") << QVariant(QVariantMap{{QString("a") + QChar(0), 1}})
                                << "null character";
    QTest::newRow("date after 2069") << QVariant(utc(2100, 1, 1, 0, 0, 0)) << "outside the range";
    QTest::newRow("invalid date") << QVariant(QDateTime()) << "invalid date";
    QTest::newRow("too deep") << nestedList(S::maximumNestingDepth + 1) << "256 levels deep";
}

void tst_ZKPropertyListSerialization::refusesUnwritableValues() {
    QFETCH(QVariant, value);
    QFETCH(QString, message);

    for (const bool binary : {false, true}) {
        ZKError error;
        const QByteArray data = binary ? S::binaryDataFromPropertyList(value, &error)
                                       : S::dataFromPropertyList(value, &error);
        QVERIFY(data.isEmpty());
        QCOMPARE(error.domain(), ZKError::applicationDomain);
        QCOMPARE(error.code(), S::unsupportedValueCode);
        QVERIFY2(error.localizedDescription().contains(message),
                 qPrintable(error.localizedDescription()));
    }
    QVERIFY(S::dataFromPropertyList(value).isEmpty()); // no error object asked for
}

void tst_ZKPropertyListSerialization::refusesHostileData_data() {
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("message");

    const QString notPlist = QStringLiteral("not a readable property list");
    const QString truncated = QStringLiteral("may be truncated");
    const QString damaged = QStringLiteral("binary property list is damaged");
    const QString tooDeep = QStringLiteral("256 levels deep");

    QTest::newRow("empty") << QByteArray() << "empty";
    QTest::newRow("plain text") << QByteArray("hello") << notPlist;
    QTest::newRow("no value") << QByteArray("<plist></plist>") << notPlist;
    QTest::newRow("unclosed dict") << QByteArray("<plist><dict><key>a</key>") << truncated;
    QTest::newRow("unclosed comment") << QByteArray("<plist><!-- </plist>") << truncated;
    QTest::newRow("crossed tags") << QByteArray("<plist><array></dict></plist>") << "well-formed";
    QTest::newRow("date after 2069")
        << QByteArray("<plist><date>2100-01-01T00:00:00Z</date></plist>")
        << "outside the readable range";
    QTest::newRow("xml 257 deep") << nestedXml(S::maximumNestingDepth + 1) << tooDeep;
    // Deep enough to overflow the stack when libplist frees the tree.
    QTest::newRow("xml 2 000 000 deep") << nestedXml(2000000) << tooDeep;
    QTest::newRow("random bytes") << QByteArray::fromHex("8f00ff13c0de7e57") << notPlist;
    QTest::newRow("binary header only") << QByteArray("bplist00") << damaged;
    QTest::newRow("binary garbage") << QByteArray("bplist00") + QByteArray(64, '\xff') << damaged;
    QByteArray badOffset = binaryPlist({arrayOf(0, 0)});
    badOffset[badOffset.size() - 32 - 1] = char(0xF0); // the object lies beyond the data
    QTest::newRow("binary offset out of range") << badOffset << damaged;
    // An empty array whose offset table is three bytes wide, a width no
    // writer uses.
    const QByteArray oddWidth = QByteArray("bplist00\xA0") + bigEndian(8, 3) + QByteArray(6, '\0') +
                                char(3) + char(1) + bigEndian(1, 8) + bigEndian(0, 8) +
                                bigEndian(9, 8);
    QTest::newRow("binary offset width 3") << oddWidth << damaged;
    QTest::newRow("binary reference out of range") << binaryPlist({arrayOf(1, 9)}) << damaged;
    // libplist would abort the program on this key.
    QTest::newRow("binary key with NUL")
        << binaryPlist({char(0xD1) + bigEndian(1, 4) + bigEndian(2, 4),
                        QByteArray::fromHex("6200610000"), QByteArray::fromHex("1001")})
        << damaged;
    QTest::newRow("binary UID") << binaryPlist({QByteArray::fromHex("8005")}) << "kind";
    QTest::newRow("binary cycle") << binaryPlist({arrayOf(1, 0)}) << "includes itself";
    QTest::newRow("binary 257 deep") << nestedBinary(S::maximumNestingDepth + 1) << tooDeep;
    QTest::newRow("binary 200 000 deep") << nestedBinary(200000) << tooDeep;
    // 60 levels of two references each would expand to 2^60 objects.
    QTest::newRow("binary expansion") << nestedBinary(60, 2) << "too often";
    QTest::newRow("huge") << QByteArray(S::maximumDataSize + 1, ' ')
                          << "more than the 268435456 bytes";
}

void tst_ZKPropertyListSerialization::refusesHostileData() {
    QFETCH(QByteArray, data);
    QFETCH(QString, message);

    ZKError error;
    const QVariant read = S::propertyListFromData(data, &error);
    QVERIFY2(!read.isValid(), qPrintable(QDebug::toString(read)));
    QCOMPARE(error.domain(), ZKError::applicationDomain);
    QCOMPARE(error.code(), S::unreadableDataCode);
    QVERIFY2(error.localizedDescription().contains(message),
             qPrintable(error.localizedDescription()));
    QVERIFY(!S::propertyListFromData(data).isValid());
    // The same markup as a queue's element, read again from its place.
    const QByteArray head = "<plist version=\"1.0\">";
    if (data.startsWith(head) && data.endsWith("</plist>")) {
        const QByteArray element = data.sliced(head.size(), data.size() - head.size() - 8);
        QVERIFY(!S::elementFromText(element).isValid());
    }
}

void tst_ZKPropertyListSerialization::truncationIsNeverSilent() {
    const QVariantMap document{{"Type", "FerrowickDocument"},
                               {"Tasks", QVariantList{QVariantMap{{"Path", "/a"}, {"Size", 7}},
                                                      QVariantMap{{"Path", "/b"}}}}};
    const QByteArray xml = S::dataFromPropertyList(document);
    const QList<QByteArray> forms{xml, S::binaryDataFromPropertyList(document)};
    for (const QByteArray &data : forms) {
        const QVariant whole = S::propertyListFromData(data);
        QVERIFY(whole.isValid());
        for (qsizetype length = 0; length < data.size(); ++length) {
            ZKError error;
            const QVariant read = S::propertyListFromData(data.left(length), &error);
            QVERIFY2(
                !read.isValid() || read == whole,
                qPrintable(
                    QStringLiteral("cut at %1 gave %2").arg(length).arg(QDebug::toString(read))));
            QVERIFY(read.isValid() || !error.localizedDescription().isEmpty());
        }
    }
}

namespace {

// A saved queue's shape: settings, and tasks with every kind of value.
QVariantMap queueLike(const QVariantList &tasks) {
    return {{"Type", "FerrowickDocument"},
            {"State", "Paused"},
            {"DataRate", 1234.5},
            {"SpeedLimit", QVariantMap{{"MaximumTransferRate", 0}}},
            {"Tasks", tasks}};
}

QVariantMap taskLike(int i) {
    return {{"Type", "CopyTask"},
            {"Source", QVariantMap{{"Type", "FileSystemReader"},
                                   {"Path", QStringLiteral("/tmp/f%1 <&> \"é\" 日本").arg(i)},
                                   {"Bookmark", QByteArray(70 + i, char('a' + i % 26))}}},
            {"SkippedUrls", QVariantList{"file:///a%20b", "ftp://h/x"}},
            {"ReplacedUrls", QVariantList()},
            {"ProgressBytes", qint64(i) * 1000003},
            {"TotalBytes", std::numeric_limits<quint64>::max()},
            {"Offset", qint64(-5)},
            {"DataRate", 0.1 * i},
            {"IsVerifiedOk", i % 2 == 0},
            {"Saved", utc(2026, 11, 26, 12, 0, i % 60)},
            {"ErrorMessage", QStringLiteral("line one\n\tline two")},
            {"Empty", QVariantMap()}};
}

} // namespace

void tst_ZKPropertyListSerialization::streamedWriteIsByteForByte_data() {
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("message"); // of the whole tree's refusal, if any

    QVariantList three{taskLike(0), taskLike(1), taskLike(2)};
    QTest::newRow("no tasks") << queueLike({}) << QString();
    QTest::newRow("three tasks") << queueLike(three) << QString();
    QTest::newRow("other entries")
        << queueLike({"text", 7, QVariantList{QVariantList{}}, true}) << QString();
    QVariantMap afterTasks = queueLike(three);
    afterTasks.insert("Zebra", "written after the array");
    QTest::newRow("array not last") << afterTasks << QString();
    QTest::newRow("no type") << QVariantMap{{"Tasks", three}} << QString();
    QVariantList bad = three;
    bad[1] = QVariantMap{{"Type", "CopyTask"}, {"Source", QVariantMap{{"Url", QUrl("a:b")}}}};
    QTest::newRow("unwritable task") << queueLike(bad) << "Tasks/1/Source/Url";
    QVariantMap badSetting = queueLike(three);
    badSetting.insert("State", QVariant::fromValue(QUrl("a:b")));
    QTest::newRow("unwritable setting") << badSetting << "State";
    QTest::newRow("too deep in a task")
        << queueLike({taskLike(0), nestedList(S::maximumNestingDepth - 1)}) << "256 levels deep";
}

void tst_ZKPropertyListSerialization::streamedWriteIsByteForByte() {
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, message);

    ZKError wholeError;
    const QByteArray whole = S::dataFromPropertyList(dictionary, &wholeError);
    const QVariantList tasks = dictionary.value("Tasks").toList();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    ZKError error;
    QList<QPair<qint64, QByteArray>> texts;
    const bool ok = S::writeDictionaryWithArray(
        &buffer, dictionary, "Tasks", tasks.size(), [&](qsizetype i) { return tasks[i]; }, &error,
        [&](qsizetype, qint64 offset, QByteArrayView text) {
            texts.append({offset, text.toByteArray()});
        });
    if (message.isEmpty()) {
        QVERIFY2(ok, qUtf8Printable(error.localizedDescription()));
        QCOMPARE(buffer.data(), whole);
        // Each element reads back from where it was written, when it was
        // written on its own.
        QVERIFY(texts.isEmpty() || texts.size() == tasks.size());
        const QVariantList read = S::propertyListFromData(whole).toMap().value("Tasks").toList();
        for (qsizetype i = 0; i < texts.size(); ++i) {
            QCOMPARE(buffer.data().mid(texts[i].first, texts[i].second.size()), texts[i].second);
            QVERIFY(sameTyped(S::elementFromText(texts[i].second), read[i]));
        }
        QCOMPARE(S::propertyListFromData(buffer.data()), QVariant(dictionary));
    } else {
        QVERIFY(!ok);
        QCOMPARE(error, wholeError);
        QVERIFY2(error.localizedDescription().contains(message),
                 qUtf8Printable(error.localizedDescription()));
    }
}

void tst_ZKPropertyListSerialization::streamedReadMatchesWholeRead_data() {
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("isStreamed");

    const QByteArray saved =
        S::dataFromPropertyList(queueLike({taskLike(0), taskLike(1), taskLike(2)}));
    const qsizetype firstTask = saved.indexOf("\t\t<dict>");
    const auto replaced = [&](const QByteArray &from, const QByteArray &to) {
        QByteArray data = saved;
        return data.replace(from, to);
    };
    QTest::newRow("saved queue") << saved << true;
    QTest::newRow("no tasks") << S::dataFromPropertyList(queueLike({})) << true;
    QTest::newRow("on one line") << replaced("\n", "").replace("\t", "") << true;
    QTest::newRow("comments between tasks")
        << replaced("\t\t</dict>\n", "\t\t</dict><!-- é -->\n") << true;
    QTest::newRow("text between tasks") << replaced("\t\t</dict>\n", "\t\t</dict>x\n") << true;
    QTest::newRow("tasks key twice")
        << replaced("<key>DataRate</key>", "<key>Tasks</key><array/><key>DataRate</key>") << false;
    QTest::newRow("tasks key spelt with a reference")
        << replaced("<key>Tasks</key>", "<key>T&#97;sks</key>") << false;
    QTest::newRow("tasks not an array")
        << S::dataFromPropertyList(queueLike({})).replace("<array/>", "<string>none</string>")
        << true;
    QTest::newRow("unreadable integer in a task")
        << replaced("<integer>1000003</integer>", "<integer>x</integer>") << true;
    QTest::newRow("unknown element in a task") << replaced("<true/>", "<maybe/>") << true;
    QTest::newRow("date out of range in a task")
        << replaced("2026-11-26T12:00:01Z", "2100-01-01T00:00:00Z") << true;
    QTest::newRow("date out of range before the tasks and in one")
        << replaced("<key>DataRate</key>", "<key>A</key><date>2100-01-01T00:00:00Z</date>"
                                           "<key>DataRate</key>")
               .replace("2026-11-26T12:00:01Z", "2100-01-01T00:00:00Z")
        << true;
    QTest::newRow("date out of range after the tasks and in one")
        << replaced("</array>\n</dict>\n</plist>",
                    "</array><key>Z</key><date>2100-01-01T00:00:00Z</date></dict></plist>")
               .replace("2026-11-26T12:00:01Z", "2100-01-01T00:00:00Z")
        << true;
    QTest::newRow("truncated in a task") << saved.left(firstTask + 200) << true;
    QTest::newRow("truncated after the tasks") << saved.chopped(10) << true;
    QTest::newRow("crossed tags in a task") << replaced("<array/>", "<array></dict>") << true;
    QTest::newRow("task nested too deep")
        << replaced("<dict/>",
                    QByteArray("<array>").repeated(300) + QByteArray("</array>").repeated(300))
        << true;
    // Markup a writer seldom makes: read as it is, or the file read whole.
    QTest::newRow("references in a task")
        << replaced("/tmp/f1", "/tmp/&lt;a&gt; &amp; &#233;&#x41;") << true;
    QTest::newRow("reference to no character") << replaced("/tmp/f1", "/tmp/&#0;") << true;
    QTest::newRow("undeclared entity") << replaced("/tmp/f1", "/tmp/&nbsp;") << true;
    QTest::newRow("bare ampersand") << replaced("/tmp/f1", "/tmp/a & b") << true;
    QTest::newRow("section end in text") << replaced("/tmp/f1", "/tmp/a]]>") << true;
    QTest::newRow("character data section") << replaced("/tmp/f1", "<![CDATA[/tmp/<a>]]>") << false;
    QTest::newRow("processing instruction in a task")
        << replaced("<true/>", "<?x y?><true/>") << false;
    QTest::newRow("double hyphen in a comment")
        << replaced("\t\t</dict>\n", "\t\t</dict><!-- a -- b -->\n") << true;
    QTest::newRow("attributes in a task")
        << replaced("<true/>", "<true a=\"1 > 0\" b='x'/>") << true;
    QTest::newRow("attribute twice") << replaced("<true/>", "<true a=\"1\" a=\"2\"/>") << true;
    QTest::newRow("attributes without a blank between")
        << replaced("<true/>", "<true a=\"1\"b=\"2\"/>") << true;
    QTest::newRow("name with a prefix") << replaced("<true/>", "<x:true/>") << false;
    QTest::newRow("blanks in end tags") << replaced("</dict>", "</dict \n>") << true;
    QTest::newRow("entity declared in the document type")
        << replaced("<plist", "<!DOCTYPE plist [<!ENTITY a \"/tmp\">]>\n<plist")
               .replace("/tmp/f1", "&a;/f1")
        << false;
    QTest::newRow("control characters in a task") << replaced("/tmp/f1", "/tmp/\x01\x1f") << true;
    QTest::newRow("array at the top") << S::dataFromPropertyList(QVariantList{1, 2}) << false;
    QTest::newRow("binary") << S::binaryDataFromPropertyList(queueLike({taskLike(0)})) << false;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("plain text") << QByteArray("hello") << false;
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + saved << false;

    // Tasks naming one destination, which is read once and shared, and
    // destinations alike but for one late value, or deeper in one task.
    const QVariantMap destination{{"Type", "FileSystemWriter"},
                                  {"Path", "/tmp/out"},
                                  {"Bookmark", QByteArray(90, 'b')},
                                  {"Options", QVariantMap{{"A", 1}, {"Z", "z"}}}};
    QVariantList sharing;
    for (int i = 0; i < 8; ++i) {
        QVariantMap task = taskLike(i);
        QVariantMap writer = destination;
        if (i == 5) {
            writer.insert("Options", QVariantMap{{"A", 1}, {"Z", "y"}});
        } else if (i == 7) {
            writer.insert("Zone", "last");
        }
        task.insert("Destination", writer);
        task.insert("Deeper", QVariantMap{{"Destination", i == 6 ? QVariant(destination) : i}});
        sharing.append(task);
    }
    QTest::newRow("tasks sharing a destination")
        << S::dataFromPropertyList(queueLike(sharing)) << true;

    // Text of ASCII alone, long enough to be read in several pieces, and
    // other bytes only far into it.
    QVariantList many;
    for (int i = 0; i < 200; ++i) {
        QVariantMap task = taskLike(i);
        task.insert("Source", QVariantMap{{"Path", QStringLiteral("/tmp/f%1").arg(i)}});
        many.append(task);
    }
    const QByteArray ascii = S::dataFromPropertyList(queueLike(many));
    const qsizetype late = ascii.indexOf("/tmp/f150");
    QTest::newRow("ascii") << ascii << true;
    QTest::newRow("ascii, crossed tags late")
        << QByteArray(ascii).replace(ascii.size() - 30, 9, "</dict>") << true;
    QTest::newRow("ascii, truncated") << ascii.chopped(30) << true;
    QTest::newRow("ascii, nested too deep late")
        << QByteArray(ascii).replace(
               late, 9,
               "/tmp/x</string><key>D</key>" + QByteArray("<array>").repeated(300) +
                   QByteArray("</array>").repeated(300) + "<key>E</key><string>")
        << true;
    QTest::newRow("other bytes late")
        << QByteArray(ascii).replace(late, 9, "/tmp/\xC3\xA9") << true;
    QTest::newRow("other bytes late, then crossed tags")
        << QByteArray(ascii)
               .replace(late, 9, "/tmp/\xC3\xA9")
               .replace(ascii.size() - 30, 9, "</dict>")
        << true;
    QTest::newRow("other bytes late, nested too deep before")
        << QByteArray(ascii)
               .replace(late, 9, "/tmp/\xC3\xA9")
               .replace(ascii.indexOf("/tmp/f20<"), 8,
                        "/tmp/x</string><key>D</key>" + QByteArray("<array>").repeated(300) +
                            QByteArray("</array>").repeated(300) + "<key>E</key><string>")
        << true;

    // Long enough for its elements to be read on a thread of their own: the
    // same answer, the same errors, nothing lost between the threads.
    QVariantList lots;
    for (int i = 0; i < 12000; ++i) {
        lots.append(many[i % many.size()]);
    }
    const QByteArray large = S::dataFromPropertyList(queueLike(lots));
    QVERIFY(large.size() > 8 * 1024 * 1024);
    const qsizetype last = large.lastIndexOf("/tmp/f150");
    QTest::newRow("long") << large << true;
    QTest::newRow("long, unreadable integer late")
        << QByteArray(large).replace(large.lastIndexOf("<integer>"), 9, "<integer>x") << true;
    QTest::newRow("long, other bytes late, then crossed tags")
        << QByteArray(large)
               .replace(last, 9, "/tmp/\xC3\xA9")
               .replace(large.size() - 30, 9, "</dict>")
        << true;
}

void tst_ZKPropertyListSerialization::streamedReadMatchesWholeRead() {
    QFETCH(QByteArray, data);
    QFETCH(bool, isStreamed);

    ZKError wholeError;
    const QVariant whole = S::propertyListFromData(data, &wholeError);
    QTemporaryFile file;
    QVERIFY(file.open());
    QCOMPARE(file.write(data), data.size());
    QVERIFY(file.seek(0));
    QVariantList handed;
    S::ElementPlaces places;
    ZKError error;
    QVariant read = S::propertyListFromFile(
        &file, "Tasks",
        [&](qsizetype i, const QVariant &value) {
            QCOMPARE(i, handed.size());
            handed.append(value);
        },
        &places, &error);
    QCOMPARE(error, wholeError);
    if (!whole.isValid()) {
        QVERIFY(!read.isValid());
        return;
    }
    QVERIFY2(read.isValid(), qUtf8Printable(error.localizedDescription()));
    QCOMPARE(places.isStreamed, isStreamed);
    if (places.isStreamed) {
        QCOMPARE(places.offsets.size(), handed.size());
        for (qsizetype i = 0; i < handed.size(); ++i) {
            ZKError again;
            QVERIFY(file.seek(places.offsets[i]));
            const QByteArray text = file.read(places.lengths[i]);
            QCOMPARE(places.hashes.value(i), qHash(text));
            const QVariant element = S::elementFromText(text, &again);
            QVERIFY2(sameTyped(element, handed[i]), qUtf8Printable(again.localizedDescription()));
        }
        QVariantMap map = read.toMap();
        if (map.value("Tasks").typeId() == QMetaType::QVariantList) {
            QCOMPARE(map.value("Tasks"), QVariant(QVariantList()));
            map.insert("Tasks", handed);
        }
        read = map;
    }
    QVERIFY(sameTyped(read, whole));
}

void tst_ZKPropertyListSerialization::elementReadsAsLibplistReadsIt_data() {
    QTest::addColumn<QByteArray>("element");

    const auto nested = [](int depth) {
        return QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth);
    };
    const QList<std::pair<const char *, QByteArray>> rows{
        // Text, with what libplist and other writers make of it.
        {"entities", "<string>a &lt;b&gt; &amp;lt; &quot;&apos;</string>"},
        {"character references", "<string>&#233;&#x41;&#X1F600;&#38;lt;&#0000065;</string>"},
        {"reference to a surrogate", "<string>&#xD800;x</string>"},
        {"reference of nine characters", "<string>&#00000065;</string>"},
        {"reference to nothing", "<string>&#0;</string>"},
        {"reference with a blank", "<string>&# 65;</string>"},
        {"reference without semicolon", "<string>&#65</string>"},
        {"entity name run on", "<string>&ampx;</string>"},
        {"ampersand at the end", "<string>a&</string>"},
        {"bare ampersand", "<string>a & b;</string>"},
        {"blanks kept in text", "<string>\r\n\t x \n</string>"},
        {"control characters", "<string>a\x01\x1f</string>"},
        {"NUL", QByteArray("<string>a\0b</string>", 20)},
        {"not UTF-8", "<string>caf\xE9 \xC3</string>"},
        {"non-ASCII", "<dict><key>\xE6\x97\xA5\xE6\x9C\xAC</key><string>\xC3\xA9</string></dict>"},
        {"raw greater-than", "<string>a>b</string>"},
        {"empty texts", "<array><string/><string></string><dict><key></key><true/></dict></array>"},
        {"comment in text", "<string>a<!-- c -->b</string>"},
        {"character data", "<string><![CDATA[<x>]]>y</string>"},
        {"blanks around elements",
         "<dict>\r\n\t <key>k</key>\n <array>\n\t<true/> <false/>\r\n</array>\n</dict>"},
        {"blank in a tag", "<dict ><key>a</key><true/></dict >"},
        {"attribute", "<array><true a=\"1\"/></array>"},
        {"text in a container", "<array>x<true/></array>"},
        {"control character in a container", "<array>\x01<true/></array>"},
        // Numbers.
        {"integers", "<array><integer>0</integer><integer>-0</integer><integer> 42 </integer>"
                     "<integer>9223372036854775807</integer><integer>9223372036854775808</integer>"
                     "<integer>18446744073709551615</integer>"
                     "<integer>-9223372036854775808</integer></array>"},
        {"integer beyond 64 bits", "<integer>18446744073709551616</integer>"},
        {"integer below the signed range", "<integer>-9223372036854775809</integer>"},
        {"octal integer", "<integer>010</integer>"},
        {"hexadecimal integer", "<integer>0x10</integer>"},
        {"integer with plus", "<integer>+5</integer>"},
        {"integer with two minus", "<integer>--5</integer>"},
        {"integer and text", "<integer>5x</integer>"},
        {"no integer", "<array><integer></integer><integer/><integer>x</integer></array>"},
        {"reals", "<array><real>1e300</real><real>-0</real><real>0.1</real><real> 2.5 </real>"
                  "<real>+infinity</real><real>-infinity</real><real>1e400</real></array>"},
        {"real not a number", "<real>nan</real>"},
        {"real spelt otherwise", "<array><real>0x1p3</real><real>1,5</real><real>1e</real>"
                                 "<real>inf</real><real>x</real><real></real><real/></array>"},
        {"booleans", "<array><true/><false/></array>"},
        {"booleans with end tags", "<array><true></true><true>x</true></array>"},
        // Containers.
        {"empty containers", "<array><dict/><array/><dict></dict><array></array></array>"},
        {"deepest allowed", nested(ZKPropertyListSerialization::maximumNestingDepth - 2)},
        {"one too deep", nested(ZKPropertyListSerialization::maximumNestingDepth - 1)},
        {"far too deep", nested(1000)},
        {"key twice", "<dict><key>a</key><true/><key>a</key><false/><key>b</key><true/></dict>"},
        {"key without value", "<dict><key>a</key></dict>"},
        {"key as value", "<dict><key>a</key><key>b</key></dict>"},
        {"value without key", "<dict><true/></dict>"},
        {"empty key tag", "<dict><key/><true/></dict>"},
        {"key outside a dictionary", "<array><key>a</key></array>"},
        // Dates, at the edges of the range.
        {"dates", "<array><date>2026-11-26T12:00:01Z</date><date>1932-12-13T20:45:53Z</date>"
                  "<date>2069-01-19T03:14:07Z</date><date>2000-02-29T23:59:59Z</date></array>"},
        {"date before the range", "<date>1932-12-13T20:45:52Z</date>"},
        {"date after the range", "<date>2069-01-19T03:14:08Z</date>"},
        {"date February 31", "<date>2026-02-31T12:00:01Z</date>"},
        {"date second 60", "<date>2026-11-26T12:00:60Z</date>"},
        {"date with blanks", "<date> 2026-11-26T12:00:01Z\n</date>"},
        {"date without zone", "<date>2026-11-26T12:00:01</date>"},
        {"no date", "<array><date/><date>x</date></array>"},
        // Data.
        {"data in lines", "<data>\n\t\t\tAAECAwQFBgcICQoLDA0ODxAR\n\t\t\tEhMUFQ==\n\t\t</data>"},
        {"data one byte", "<data>/w==</data>"},
        {"data empty", "<array><data>\n\t\t</data><data></data></array>"},
        {"data empty tag", "<data/>"},
        {"data padded twice", "<data>AA==\nAA==</data>"},
        {"data group across lines", "<data>AAA\nA</data>"},
        {"data unpadded", "<data>AAECAw</data>"},
        {"data padding inside", "<data>AB=C</data>"},
        {"data other characters", "<data>AA!A AAEC&#65;</data>"},
        // Damaged.
        {"crossed tags", "<array><true/></dict>"},
        {"truncated", "<array><true/>"},
        {"truncated text", "<string>abc"},
        {"end tag misspelt", "<string>a</strin>"},
        {"unknown element", "<maybe/>"},
        {"plist inside", "<array><plist><true/></plist></array>"},
        {"more after the element", "<true/><false/>"},
        {"nothing", ""},
    };
    for (const auto &[name, element] : rows) {
        QTest::newRow(name) << element;
    }
}

// libplist's own reading of an element, with no check of the XML before it,
// is held to: through the binary form, two containers deep as in a queue.
void tst_ZKPropertyListSerialization::elementReadsAsLibplistReadsIt() {
    QFETCH(QByteArray, element);

    const QByteArray head = "<plist version=\"1.0\"><dict><key>Tasks</key><array>";
    const QByteArray tail = "</array></dict></plist>";
    const QVariantList byLibplist =
        S::propertyListFromData(binaryFromXml(head + element + tail)).toMap()["Tasks"].toList();
    ZKError error;
    const QVariant read = S::elementFromText(element, &error);
    // The binary form keeps text only when it is UTF-8.
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(element);
    if (byLibplist.size() == 1 && !decoder.hasError() && !text.contains(QChar(0)) &&
        !element.contains("&#xD")) {
        QVERIFY2(sameTyped(read, byLibplist.first()),
                 qUtf8Printable(QDebug::toString(read) + error.localizedDescription()));
    }

    // In a saved queue, read one task at a time and whole.
    QByteArray queue = S::dataFromPropertyList(queueLike({}));
    queue.replace("<array/>", "<array>" + element + "</array>");
    ZKError wholeError;
    const QVariant whole = S::propertyListFromData(queue, &wholeError);
    QBuffer file(&queue);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVariantList handed;
    S::ElementPlaces places;
    ZKError streamedError;
    QVariant streamed = S::propertyListFromFile(
        &file, "Tasks", [&](qsizetype, const QVariant &value) { handed.append(value); }, &places,
        &streamedError);
    QCOMPARE(streamedError, wholeError);
    if (places.isStreamed) {
        QVariantMap map = streamed.toMap();
        map.insert("Tasks", handed);
        streamed = map;
    }
    QVERIFY2(sameTyped(streamed, whole), qUtf8Printable(QDebug::toString(streamed)));
}

QTEST_GUILESS_MAIN(tst_ZKPropertyListSerialization)
#include "tst_ZKPropertyListSerialization.moc"
