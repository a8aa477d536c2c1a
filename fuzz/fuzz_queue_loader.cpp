// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A ".queue" file as it might arrive: any bytes, read as XML or binary
// property list, checked as a queue, and every saved object in it made
// again. Nothing is started: a loaded task would touch whatever paths the
// input names.

#include "ZKFerrowickDocument.h"
#include "ZKPropertyListParser.h"
#include "ZKPropertyListSerialization.h"
#include "ZKSchedulePanel.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTask.h"
#include "ZKWriter.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstdint>
#include <cstdlib>

namespace {

// A saved object must read back as what it was saved from.
template <class T> void remake(const QVariant &entry) {
    if (entry.typeId() != QMetaType::QVariantMap) {
        return;
    }
    const auto object = ZKPropertyListParser::parseObjectOfType<T>(entry.toMap());
    if (object && !ZKPropertyListParser::parseObjectOfType<T>(object->asPropertyList())) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) {
    QStandardPaths::setTestModeEnabled(true);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    static QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    ZKError error;
    const QVariant value = ZKPropertyListSerialization::propertyListFromData(bytes, &error);
    if (!value.isValid()) {
        if (error.localizedDescription().isEmpty()) {
            std::abort();
        }
        return 0;
    }
    if (value.typeId() != QMetaType::QVariantMap) {
        return 0;
    }
    const QVariantMap queue = value.toMap();
    QString reason;
    if (!ZKFerrowickDocument::validatePropertyList(queue, &reason)) {
        if (reason.isEmpty()) {
            std::abort();
        }
        return 0;
    }
    for (const QVariant &entry : queue.value(QStringLiteral("Tasks")).toList()) {
        remake<ZKTask>(entry);
    }
    remake<ZKWriter>(queue.value(QStringLiteral("DefaultDestination")));
    ZKSpeedLimitPanel speedLimit(queue.value(QStringLiteral("SpeedLimit")).toMap(), nullptr);
    ZKSchedulePanel schedule(queue.value(QStringLiteral("Schedule")).toMap(), nullptr);

    // Whatever was read must also be writable and readable again.
    const QByteArray written = ZKPropertyListSerialization::dataFromPropertyList(queue, &error);
    if (!written.isEmpty() &&
        !ZKPropertyListSerialization::propertyListFromData(written, &error).isValid()) {
        std::abort();
    }
    return 0;
}
