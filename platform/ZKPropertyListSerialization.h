// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"

#include <QByteArray>
#include <QList>
#include <QVariant>

#include <functional>

class QIODevice;

// Converts trees of QVariant values to and from property lists. Saved files
// are XML property lists; reading accepts XML and binary ones.
//
// Supported values: QVariantMap (dictionary), QVariantList and QStringList
// (array), QString, bool, the integer types (integer), double and float
// (real), QByteArray (data) and QDateTime (date). Dates are kept to the second
// in XML and may lie between 1932-12-13 and 2069-01-19 (UTC). Read integers
// come back as qint64, or as quint64 when they exceed the signed range; read
// dates come back in UTC.
//
// Input from files is treated as hostile: nesting deeper than
// maximumNestingDepth containers, data larger than maximumDataSize bytes,
// truncated or damaged data all give an error instead of a result.
class ZKPropertyListSerialization {
public:
    // Unreadable data is a loading refusal; a value that cannot be written is
    // a refusal of the class that asked for the save.
    static constexpr qint64 unreadableDataCode = -1009;
    static constexpr qint64 unsupportedValueCode = -1010;

    static constexpr int maximumNestingDepth = 256;
    static constexpr qsizetype maximumDataSize = qsizetype(256) * 1024 * 1024;

    // An XML property list; an empty QByteArray on failure, with the reason in
    // *error when given.
    static QByteArray dataFromPropertyList(const QVariant &plist, ZKError *error = nullptr);

    // The same as a binary property list, the compact form used between
    // queues of the running application.
    static QByteArray binaryDataFromPropertyList(const QVariant &plist, ZKError *error = nullptr);

    // A null QVariant on failure, with the reason in *error when given.
    static QVariant propertyListFromData(const QByteArray &data, ZKError *error = nullptr);

    // A long queue is mostly one array; these write and read it one element
    // at a time, so that neither its whole tree nor its whole text is held.

    // Writes what dataFromPropertyList() gives for the dictionary with a list
    // of count elements under arrayKey, byte for byte, asking element() for
    // each in turn. False when a value cannot be written, with the reason in
    // *error; false without touching *error when the device fails. written,
    // when given, learns where each element's text went in the device; it
    // is not called when the array is not the dictionary's last entry, which
    // is then written as one tree.
    using ElementWritten = std::function<void(qsizetype index, qint64 offset, QByteArrayView text)>;
    static bool writeDictionaryWithArray(QIODevice *device, const QVariantMap &dictionary,
                                         const QString &arrayKey, qsizetype count,
                                         const std::function<QVariant(qsizetype)> &element,
                                         ZKError *error = nullptr,
                                         const ElementWritten &written = {});

    // Where the elements of a streamed array lie in their file.
    struct ElementPlaces {
        bool isStreamed = false; // else the array came back whole
        QList<qint64> offsets;
        QList<qint64> lengths;
        QList<size_t> hashes; // qHash() of each element's text
    };
    // Reads a property list from an open file as propertyListFromData()
    // reads the file's data, with the same errors. When the file is an XML
    // dictionary with an array under arrayKey, that array comes back empty
    // and its elements go to element() one by one instead, with their places
    // in *places; the answer is decided only at the end, so element() must
    // not act on what it is given. A file of another shape comes back whole
    // with places->isStreamed false.
    static QVariant
    propertyListFromFile(QIODevice *file, const QString &arrayKey,
                         const std::function<void(qsizetype, const QVariant &)> &element,
                         ElementPlaces *places, ZKError *error = nullptr);
    // One element again from its text where propertyListFromFile() found it
    // (or writeDictionaryWithArray() wrote it); a null QVariant when it no
    // longer reads.
    static QVariant elementFromText(QByteArrayView text, ZKError *error = nullptr);

private:
    ZKPropertyListSerialization() = delete;
};
