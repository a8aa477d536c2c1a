// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListSerialization.h"

#include "ZKPropertyListErrors.h"
#include "ZKPropertyListObject.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

#include <plist/plist.h>

#include <QDateTime>
#include <QStringDecoder>
#include <QStringList>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <QtEndian>

namespace {

struct PlistDeleter {
    void operator()(void *node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPointer = std::unique_ptr<void, PlistDeleter>;

// Property-list dates count seconds from 2001-01-01 00:00:00 UTC.
constexpr qint64 referenceDateOffset = 978307200;

// Why a conversion failed, and where in the tree: each container on the way
// back up prepends its key or index.
struct Problem {
    ZKPropertyListErrors::Message message = ZKPropertyListErrors::MessageCount;
    QStringList arguments;
    QStringList path;
};

void note(Problem *problem, ZKPropertyListErrors::Message message,
          const QStringList &arguments = {}) {
    problem->message = message;
    problem->arguments = arguments;
}

void noteTooDeep(Problem *problem, ZKPropertyListErrors::Message message) {
    note(problem, message, {QString::number(ZKPropertyListSerialization::maximumNestingDepth)});
}

void setError(ZKError *error, const Problem &problem) {
    if (error) {
        *error = ZKPropertyListErrors::error(problem.message, problem.arguments, problem.path);
    }
}

void setError(ZKError *error, ZKPropertyListErrors::Message message,
              const QStringList &arguments = {}) {
    if (error) {
        *error = ZKPropertyListErrors::error(message, arguments);
    }
}

// ---------------------------------------------------------------------------
// Writing

plist_t newUnsignedNode(quint64 value) {
    if (value <= quint64(std::numeric_limits<qint64>::max())) {
        return plist_new_uint(value);
    }
    // libplist 2.2 writes a node made by plist_new_uint() as a signed number,
    // so 2^64 - 1 would come back as -1. Only a node it parsed itself
    // remembers that the value is unsigned.
    const QByteArray xml = "<plist><integer>" + QByteArray::number(value) + "</integer></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.constData(), uint32_t(xml.size()), &node);
    return node;
}

plist_t newStringNode(const QString &text, Problem *problem) {
    // libplist takes C strings: a NUL would silently cut the text short.
    if (text.contains(QChar(0))) {
        note(problem, ZKPropertyListErrors::NullInText);
        return nullptr;
    }
    return plist_new_string(text.toUtf8().constData());
}

plist_t newDateNode(const QDateTime &date, Problem *problem) {
    if (!date.isValid()) {
        note(problem, ZKPropertyListErrors::InvalidDate);
        return nullptr;
    }
    const qint64 msecs = date.toMSecsSinceEpoch();
    qint64 seconds = msecs / 1000;
    qint64 remainder = msecs % 1000;
    if (remainder < 0) {
        seconds -= 1;
        remainder += 1000;
    }
    const qint64 relative = seconds - referenceDateOffset;
    // The smallest value is what libplist gives for dates it cannot read, so
    // it is kept out of files.
    if (relative <= std::numeric_limits<int32_t>::min() ||
        relative > std::numeric_limits<int32_t>::max()) {
        note(problem, ZKPropertyListErrors::DateOutOfRange, {date.toUTC().toString(Qt::ISODate)});
        return nullptr;
    }
    return plist_new_date(int32_t(relative), int32_t(remainder * 1000));
}

plist_t nodeFromVariant(const QVariant &value, int depth, Problem *problem);

bool appendToDictionary(plist_t dictionary, const QString &key, const QVariant &value, int depth,
                        Problem *problem) {
    if (key.contains(QChar(0))) {
        note(problem, ZKPropertyListErrors::NullInKey);
        return false;
    }
    plist_t child = nodeFromVariant(value, depth, problem);
    if (!child) {
        problem->path.prepend(key);
        return false;
    }
    plist_dict_set_item(dictionary, key.toUtf8().constData(), child);
    return true;
}

plist_t dictionaryFromMap(const QVariantMap &map, int depth, Problem *problem) {
    PlistPointer dictionary(plist_new_dict());
    // The class name first, so that a saved file reads from the top down.
    const QString &typeKey = ZKPropertyListObject::typeKey;
    const auto type = map.constFind(typeKey);
    if (type != map.constEnd() &&
        !appendToDictionary(dictionary.get(), typeKey, type.value(), depth, problem)) {
        return nullptr;
    }
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        if (it.key() != typeKey &&
            !appendToDictionary(dictionary.get(), it.key(), it.value(), depth, problem)) {
            return nullptr;
        }
    }
    return dictionary.release();
}

plist_t arrayFromList(const QVariantList &list, int depth, Problem *problem) {
    PlistPointer array(plist_new_array());
    for (qsizetype index = 0; index < list.size(); ++index) {
        plist_t child = nodeFromVariant(list.at(index), depth, problem);
        if (!child) {
            problem->path.prepend(QString::number(index));
            return nullptr;
        }
        plist_array_append_item(array.get(), child);
    }
    return array.release();
}

plist_t nodeFromVariant(const QVariant &value, int depth, Problem *problem) {
    const int type = value.typeId();
    const bool isContainer = type == QMetaType::QVariantMap || type == QMetaType::QVariantList ||
                             type == QMetaType::QStringList;
    if (isContainer && depth >= ZKPropertyListSerialization::maximumNestingDepth) {
        noteTooDeep(problem, ZKPropertyListErrors::TooDeepToWrite);
        return nullptr;
    }
    switch (type) {
    case QMetaType::QVariantMap:
        return dictionaryFromMap(value.toMap(), depth + 1, problem);
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return arrayFromList(value.toList(), depth + 1, problem);
    case QMetaType::QString:
        return newStringNode(value.toString(), problem);
    case QMetaType::Bool:
        return plist_new_bool(value.toBool() ? 1 : 0);
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        // A negative value is written as such: libplist keeps the bits.
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return newUnsignedNode(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return plist_new_real(value.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QDateTime:
        return newDateNode(value.toDateTime(), problem);
    default:
        break;
    }
    const char *name = value.typeName();
    if (name) {
        note(problem, ZKPropertyListErrors::UnsavableType, {QString::fromLatin1(name)});
    } else {
        note(problem, ZKPropertyListErrors::UnsavableUnnamedType);
    }
    return nullptr;
}

PlistPointer rootFromVariant(const QVariant &plist, ZKError *error) {
    Problem problem;
    PlistPointer root(nodeFromVariant(plist, 0, &problem));
    if (!root) {
        setError(error, problem);
    }
    return root;
}

// ---------------------------------------------------------------------------
// Checks made before libplist sees the data. Its XML parser keeps its own
// stack, but freeing a tree and its binary parser recurse once per level, so
// a few hundred thousand nested arrays would overflow the stack.

// libplist writes the characters of a text as they are, control characters
// included, which XML does not allow; and it takes bytes that are not UTF-8.
// Neither carries markup, so the check reads them as blanks.
QString markupOf(QString text) {
    for (QChar &c : text) {
        const char16_t code = c.unicode();
        if ((code < 0x20 && code != u'\t' && code != u'\n' && code != u'\r') || code == 0xFFFE ||
            code == 0xFFFF) {
            c = QLatin1Char(' ');
        }
    }
    return text;
}

bool isContainerElement(QStringView name) {
    return name == u"array" || name == u"dict";
}

// Walks the elements of an XML property list: nesting depth, balance and
// truncation. Values are left to libplist. The data goes to the reader a
// piece at a time, so that a large file is not held twice more as text.
bool checkXml(const QByteArray &data, Problem *problem) {
    constexpr qsizetype pieceSize = 64 * 1024;
    QXmlStreamReader reader;
    QStringDecoder decoder(QStringDecoder::Utf8);
    qsizetype given = 0;
    qsizetype open = 0;
    int containers = 0;
    bool hasElements = false;
    while (true) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            hasElements = true;
            ++open;
            containers += isContainerElement(reader.name()) ? 1 : 0;
            // The plist element and a value element around the containers.
            if (containers > ZKPropertyListSerialization::maximumNestingDepth ||
                open > ZKPropertyListSerialization::maximumNestingDepth + 2) {
                noteTooDeep(problem, ZKPropertyListErrors::TooDeepToRead);
                return false;
            }
            continue;
        case QXmlStreamReader::EndElement:
            --open;
            containers -= isContainerElement(reader.name()) ? 1 : 0;
            continue;
        case QXmlStreamReader::EndDocument:
            return true;
        case QXmlStreamReader::Invalid:
            break;
        default:
            continue;
        }
        if (reader.error() != QXmlStreamReader::PrematureEndOfDocumentError) {
            // Without a single element the data is no XML property list at
            // all, which libplist would have said.
            note(problem, hasElements ? ZKPropertyListErrors::NotWellFormedXml
                                      : ZKPropertyListErrors::NotPropertyList);
            return false;
        }
        if (given == data.size()) {
            note(problem, ZKPropertyListErrors::Truncated);
            return false;
        }
        const qsizetype length = std::min(pieceSize, data.size() - given);
        reader.addData(markupOf(decoder(QByteArrayView(data).sliced(given, length))));
        given += length;
    }
}

// The widths of the numbers in a binary property list. Its writers use no
// others, and libplist reads three to seven bytes wrongly or not at all.
bool isNumberWidth(int length) {
    return length == 1 || length == 2 || length == 4 || length == 8;
}

// A number of one of those widths; the caller has checked the width and that
// the bytes are there.
quint64 readBigEndian(const uchar *at, int length) {
    switch (length) {
    case 1:
        return *at;
    case 2:
        return qFromBigEndian<quint16>(at);
    case 4:
        return qFromBigEndian<quint32>(at);
    default:
        Q_ASSERT(length == 8);
        return qFromBigEndian<quint64>(at);
    }
}

// Follows the object references of a binary property list without building
// anything: every reference in range, no container inside itself, nesting
// within the limit, and a tree of reasonable size once shared references are
// expanded (libplist copies an object for every reference to it).
class BinaryChecker {
public:
    explicit BinaryChecker(const QByteArray &data)
        : m_data(reinterpret_cast<const uchar *>(data.constData()))
        , m_size(quint64(data.size()))
        , m_expansionLimit(qMax<quint64>(quint64(1) << 20, m_size * 16)) {}

    bool check(Problem *problem) {
        if (!readTrailer()) {
            note(problem, ZKPropertyListErrors::BinaryDamaged);
            return false;
        }
        return walk(problem);
    }

private:
    struct Container {
        quint64 references = 0; // offset of the first reference
        quint64 count = 0;      // number of references, keys included
    };
    struct Frame {
        quint64 object;
        Container container;
        quint64 next;
        quint64 expanded;
    };
    struct Visit {
        bool finished;
        quint64 expanded;
    };

    bool readTrailer() {
        constexpr quint64 headerSize = 8;
        constexpr quint64 trailerSize = 32;
        if (m_size < headerSize + trailerSize) {
            return false;
        }
        const uchar *trailer = m_data + m_size - trailerSize;
        m_offsetSize = trailer[6];
        m_referenceSize = trailer[7];
        m_objectCount = readBigEndian(trailer + 8, 8);
        m_topObject = readBigEndian(trailer + 16, 8);
        m_tableOffset = readBigEndian(trailer + 24, 8);
        m_objectsEnd = m_size - trailerSize;
        if (!isNumberWidth(m_offsetSize) || !isNumberWidth(m_referenceSize)) {
            return false;
        }
        if (m_tableOffset < headerSize || m_tableOffset > m_objectsEnd) {
            return false;
        }
        const quint64 tableRoom = m_objectsEnd - m_tableOffset;
        return m_objectCount >= 1 && m_objectCount <= tableRoom / quint64(m_offsetSize) &&
               m_topObject < m_objectCount;
    }

    bool offsetOf(quint64 object, quint64 *offset) const {
        *offset =
            readBigEndian(m_data + m_tableOffset + object * quint64(m_offsetSize), m_offsetSize);
        return *offset >= 8 && *offset < m_objectsEnd;
    }

    // Whether the object is an array, set or dictionary, and where its
    // references lie. False when the object cannot be read.
    bool readObject(quint64 object, bool *isContainer, Container *container) const {
        quint64 offset = 0;
        if (!offsetOf(object, &offset)) {
            return false;
        }
        const uchar marker = m_data[offset];
        const int kind = marker >> 4;
        *isContainer = kind == 0xA || kind == 0xC || kind == 0xD;
        if (!*isContainer) {
            return true;
        }
        quint64 count = marker & 0x0F;
        quint64 at = offset + 1;
        if (count == 0x0F) {
            if (at >= m_objectsEnd || (m_data[at] >> 4) != 0x1 || (m_data[at] & 0x0F) > 3) {
                return false;
            }
            const int length = 1 << (m_data[at] & 0x0F);
            ++at;
            if (m_objectsEnd - at < quint64(length)) {
                return false;
            }
            count = readBigEndian(m_data + at, length);
            at += quint64(length);
        }
        const quint64 perEntry = kind == 0xD ? 2 : 1;
        const quint64 room = (m_objectsEnd - at) / quint64(m_referenceSize);
        if (count > room / perEntry) {
            return false;
        }
        container->references = at;
        container->count = count * perEntry;
        return true;
    }

    bool walk(Problem *problem) {
        bool isContainer = false;
        Container top;
        if (!readObject(m_topObject, &isContainer, &top)) {
            note(problem, ZKPropertyListErrors::BinaryDamaged);
            return false;
        }
        if (!isContainer) {
            return true;
        }
        std::unordered_map<quint64, Visit> visits;
        std::vector<Frame> stack;
        stack.push_back({m_topObject, top, 0, 1});
        visits[m_topObject] = {false, 0};
        while (!stack.empty()) {
            Frame &frame = stack.back();
            if (frame.next == frame.container.count) {
                const Frame done = frame;
                visits[done.object] = {true, done.expanded};
                stack.pop_back();
                if (!stack.empty()) {
                    stack.back().expanded += done.expanded;
                    if (stack.back().expanded > m_expansionLimit) {
                        note(problem, ZKPropertyListErrors::TooManyReferences);
                        return false;
                    }
                }
                continue;
            }
            const quint64 child = readBigEndian(m_data + frame.container.references +
                                                    frame.next * quint64(m_referenceSize),
                                                m_referenceSize);
            ++frame.next;
            if (child >= m_objectCount) {
                note(problem, ZKPropertyListErrors::BinaryDamaged);
                return false;
            }
            Container container;
            if (!readObject(child, &isContainer, &container)) {
                note(problem, ZKPropertyListErrors::BinaryDamaged);
                return false;
            }
            if (!isContainer) {
                frame.expanded += 1;
            } else if (const auto visit = visits.find(child); visit != visits.end()) {
                if (!visit->second.finished) {
                    note(problem, ZKPropertyListErrors::ContainerIncludesItself);
                    return false;
                }
                frame.expanded += visit->second.expanded;
            } else {
                if (stack.size() >= size_t(ZKPropertyListSerialization::maximumNestingDepth)) {
                    noteTooDeep(problem, ZKPropertyListErrors::TooDeepToRead);
                    return false;
                }
                visits[child] = {false, 0};
                stack.push_back({child, container, 0, 1});
                continue;
            }
            if (frame.expanded > m_expansionLimit) {
                note(problem, ZKPropertyListErrors::TooManyReferences);
                return false;
            }
        }
        return true;
    }

    const uchar *m_data;
    quint64 m_size;
    quint64 m_expansionLimit;
    int m_offsetSize = 0;
    int m_referenceSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_topObject = 0;
    quint64 m_tableOffset = 0;
    quint64 m_objectsEnd = 0;
};

// ---------------------------------------------------------------------------
// Reading

QVariant variantFromNode(plist_t node, int depth, Problem *problem);

QVariant integerFromNode(plist_t node) {
    uint64_t raw = 0;
    plist_get_uint_val(node, &raw);
    if (raw <= uint64_t(std::numeric_limits<qint64>::max())) {
        return QVariant(qint64(raw));
    }
    // With the top bit set the value is either negative or an unsigned one
    // above 2^63 - 1. libplist knows which but tells only through a
    // comparison: a node made from the raw bits is the signed kind.
    PlistPointer probe(plist_new_uint(raw));
    if (plist_compare_node_value(node, static_cast<plist_t>(probe.get()))) {
        return QVariant(qint64(raw));
    }
    return QVariant(quint64(raw));
}

QVariant dateFromNode(plist_t node, Problem *problem) {
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    // libplist answers the smallest value for dates it could not represent.
    if (seconds == std::numeric_limits<int32_t>::min()) {
        note(problem, ZKPropertyListErrors::DateUnreadable);
        return {};
    }
    const qint64 msecs =
        (qint64(seconds) + referenceDateOffset) * 1000 + qint64(microseconds) / 1000;
    return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc());
}

QVariant mapFromDictionary(plist_t node, int depth, Problem *problem) {
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    if (!iterator) {
        note(problem, ZKPropertyListErrors::NotRead);
        return {};
    }
    QVariant result;
    while (true) {
        char *key = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, iterator, &key, &child);
        if (!key) {
            result = map;
            break;
        }
        const QString keyText = QString::fromUtf8(key);
        std::free(key);
        const QVariant value = variantFromNode(child, depth, problem);
        if (!value.isValid()) {
            problem->path.prepend(keyText);
            break;
        }
        map.insert(keyText, value);
    }
    std::free(iterator);
    return result;
}

QVariant listFromArray(plist_t node, int depth, Problem *problem) {
    QVariantList list;
    const uint32_t count = plist_array_get_size(node);
    list.reserve(count);
    for (uint32_t index = 0; index < count; ++index) {
        const QVariant value = variantFromNode(plist_array_get_item(node, index), depth, problem);
        if (!value.isValid()) {
            problem->path.prepend(QString::number(index));
            return {};
        }
        list.append(value);
    }
    return list;
}

QVariant variantFromNode(plist_t node, int depth, Problem *problem) {
    const plist_type type = node ? plist_get_node_type(node) : PLIST_NONE;
    if ((type == PLIST_DICT || type == PLIST_ARRAY) &&
        depth >= ZKPropertyListSerialization::maximumNestingDepth) {
        noteTooDeep(problem, ZKPropertyListErrors::TooDeepToRead);
        return {};
    }
    switch (type) {
    case PLIST_DICT:
        return mapFromDictionary(node, depth + 1, problem);
    case PLIST_ARRAY:
        return listFromArray(node, depth + 1, problem);
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return QVariant(value != 0);
    }
    case PLIST_UINT:
        return integerFromNode(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return QVariant(value);
    }
    case PLIST_STRING: {
        uint64_t length = 0;
        const char *text = plist_get_string_ptr(node, &length);
        return QVariant(QString::fromUtf8(text, qsizetype(length)));
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char *bytes = plist_get_data_ptr(node, &length);
        return QVariant(QByteArray(bytes, qsizetype(length)));
    }
    case PLIST_DATE:
        return dateFromNode(node, problem);
    case PLIST_KEY:
    case PLIST_UID:
    case PLIST_NONE:
        break;
    }
    note(problem, ZKPropertyListErrors::UnreadableKind);
    return {};
}

} // namespace

namespace {

// Writes the tree in one of the two forms libplist knows; both hand back a
// buffer of their own that must be freed by the matching function.
QByteArray writePropertyList(const QVariant &plist, ZKError *error,
                             void (*write)(plist_t, char **, uint32_t *), void (*release)(char *),
                             ZKPropertyListErrors::Message failure) {
    PlistPointer root = rootFromVariant(plist, error);
    if (!root) {
        return {};
    }
    char *bytes = nullptr;
    uint32_t length = 0;
    write(static_cast<plist_t>(root.get()), &bytes, &length);
    // A long queue's tree is as large as its text: let it go before the copy.
    root.reset();
    if (!bytes) {
        setError(error, failure);
        return {};
    }
    QByteArray data(bytes, qsizetype(length));
    release(bytes);
    return data;
}

} // namespace

QByteArray ZKPropertyListSerialization::dataFromPropertyList(const QVariant &plist,
                                                             ZKError *error) {
    return writePropertyList(plist, error, plist_to_xml, plist_to_xml_free,
                             ZKPropertyListErrors::NotWrittenAsXml);
}

QByteArray ZKPropertyListSerialization::binaryDataFromPropertyList(const QVariant &plist,
                                                                   ZKError *error) {
    return writePropertyList(plist, error, plist_to_bin, plist_to_bin_free,
                             ZKPropertyListErrors::NotWrittenAsBinary);
}

QVariant ZKPropertyListSerialization::propertyListFromData(const QByteArray &data, ZKError *error) {
    if (data.isEmpty()) {
        setError(error, ZKPropertyListErrors::DataEmpty);
        return {};
    }
    if (data.size() > maximumDataSize) {
        setError(error, ZKPropertyListErrors::DataTooLarge,
                 {QString::number(data.size()), QString::number(maximumDataSize)});
        return {};
    }
    const auto length = uint32_t(data.size());
    const bool isBinary = plist_is_binary(data.constData(), length) != 0;
    Problem problem;
    const bool isSafe = isBinary ? BinaryChecker(data).check(&problem) : checkXml(data, &problem);
    if (!isSafe) {
        setError(error, problem);
        return {};
    }
    plist_t parsed = nullptr;
    if (isBinary) {
        plist_from_bin(data.constData(), length, &parsed);
    } else {
        plist_from_xml(data.constData(), length, &parsed);
    }
    const PlistPointer root(parsed);
    if (!root) {
        setError(error, isBinary ? ZKPropertyListErrors::BinaryDamaged
                                 : ZKPropertyListErrors::NotPropertyList);
        return {};
    }
    QVariant result = variantFromNode(parsed, 0, &problem);
    if (!result.isValid()) {
        setError(error, problem);
    }
    return result;
}
