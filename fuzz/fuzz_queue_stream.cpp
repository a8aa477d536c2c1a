// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A ".queue" file read the way a long queue is read (its tasks found in the
// text one by one, each read without libplist where that can be done) must
// give what reading it whole gives: the same value, or the same error. Any
// bytes, as a file and as the text of a task in a saved queue; and a task's
// text read on its own must give what libplist alone makes of it.

#include "FuzzCheck.h"
#include "ZKError.h"
#include "ZKPropertyListSerialization.h"

#include <plist/plist.h>

#include <QBuffer>
#include <QCoreApplication>

#include <algorithm>
#include <cstdint>

namespace {

using S = ZKPropertyListSerialization;

// Values compared with their types: the binary form keeps them.
QByteArray typed(const QVariant &value) {
    ZKError error;
    return S::binaryDataFromPropertyList(value, &error);
}

void checkStreamedRead(QByteArray bytes) {
    ZKError wholeError;
    const QVariant whole = S::propertyListFromData(bytes, &wholeError);

    QBuffer file(&bytes);
    CHECK(file.open(QIODevice::ReadOnly));
    QVariantList handed;
    S::ElementPlaces places;
    ZKError error;
    QVariant read = S::propertyListFromFile(
        &file, QStringLiteral("Tasks"),
        [&](qsizetype i, const QVariant &value) {
            CHECK(i == handed.size());
            handed.append(value);
        },
        &places, &error);
    CHECK(read.isValid() == whole.isValid());
    if (!whole.isValid()) {
        CHECK(error == wholeError);
        return;
    }
    if (places.isStreamed) {
        CHECK(places.offsets.size() == handed.size());
        for (qsizetype i = 0; i < handed.size(); ++i) {
            const QVariant again = S::elementFromText(
                QByteArrayView(bytes).sliced(places.offsets[i], places.lengths[i]));
            CHECK(typed(again) == typed(handed[i]));
        }
        QVariantMap map = read.toMap();
        if (map.value(QStringLiteral("Tasks")).typeId() == QMetaType::QVariantList) {
            CHECK(map.value(QStringLiteral("Tasks")).toList().isEmpty());
            map.insert(QStringLiteral("Tasks"), handed);
        }
        read = map;
    }
    CHECK(typed(read) == typed(whole));
}

// Whether libplist's binary form keeps every text of the value: text that
// was not UTF-8, or was cut at a NUL, may come back otherwise.
bool isKeptByBinary(const QVariant &value) {
    const auto isPlain = [](const QString &text) {
        return !text.contains(QChar(0)) && !text.contains(QChar::ReplacementCharacter);
    };
    switch (value.typeId()) {
    case QMetaType::QString:
        return isPlain(value.toString());
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        return std::all_of(list.begin(), list.end(), isKeptByBinary);
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it) {
            if (!isPlain(it.key()) || !isKeptByBinary(it.value())) {
                return false;
            }
        }
        return true;
    }
    default:
        return true;
    }
}

// libplist's own reading of a task's text two containers deep, with no check
// of the XML before it, through its binary form; null when the text does not
// read as one element there.
QVariant byLibplist(const QByteArray &element) {
    const QByteArray xml =
        "<plist version=\"1.0\"><array><array>" + element + "</array></array></plist>";
    plist_t root = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &root);
    if (!root) {
        return {};
    }
    char *binary = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &binary, &length);
    plist_free(root);
    const QByteArray data(binary, qsizetype(length));
    plist_to_bin_free(binary);
    const QVariantList outer = S::propertyListFromData(data).toList();
    const QVariantList inner = outer.value(0).toList();
    return outer.size() == 1 && inner.size() == 1 ? inner.first() : QVariant();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    static QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    checkStreamedRead(bytes);
    checkStreamedRead(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
        "\t<key>Type</key>\n\t<string>FerrowickDocument</string>\n"
        "\t<key>Tasks</key>\n\t<array>\n" +
        bytes + "\n\t</array>\n</dict>\n</plist>\n");

    const QVariant alone = S::elementFromText(bytes);
    const QVariant expected = byLibplist(bytes);
    if (expected.isValid() && isKeptByBinary(expected) && isKeptByBinary(alone)) {
        CHECK(typed(alone) == typed(expected));
    }
    return 0;
}
