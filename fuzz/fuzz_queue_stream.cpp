// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A ".queue" file read the way a long queue is read (its tasks found in the
// text one by one) must give what reading it whole gives: the same value, or
// the same error. Any bytes.

#include "FuzzCheck.h"
#include "ZKError.h"
#include "ZKPropertyListSerialization.h"

#include <QBuffer>
#include <QCoreApplication>

#include <cstdint>

namespace {

using S = ZKPropertyListSerialization;

// Values compared with their types: the binary form keeps them.
QByteArray typed(const QVariant &value) {
    ZKError error;
    return S::binaryDataFromPropertyList(value, &error);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    static QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
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
        return 0;
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
    return 0;
}
