// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListSerialization.h"

#include "ZKPropertyListErrors.h"
#include "ZKPropertyListObject.h"

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include <plist/plist.h>

#include <QDateTime>
#include <QIODevice>
#include <QStringDecoder>
#include <QStringList>
#include <QTimeZone>
#include <QVarLengthArray>
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

// The data goes to the XML readers a piece at a time, so that a large file
// is not held twice more as text.
constexpr qsizetype pieceSize = 64 * 1024;

// Walks the elements of an XML property list: nesting depth, balance and
// truncation. Values are left to libplist.
class XmlChecker {
public:
    enum Verdict { NeedsMore, Passed, Failed };

    // The next piece of the data; an empty one when there is no more.
    Verdict feed(QByteArrayView piece, Problem *problem) {
        if (m_verdict != NeedsMore) {
            return m_verdict;
        }
        if (!piece.isEmpty()) {
            m_reader.addData(markupOf(m_decoder(piece)));
        }
        m_verdict = walk(piece.isEmpty(), problem);
        return m_verdict;
    }

private:
    Verdict walk(bool isAtEnd, Problem *problem) {
        while (true) {
            switch (m_reader.readNext()) {
            case QXmlStreamReader::StartElement:
                m_hasElements = true;
                ++m_open;
                m_containers += isContainerElement(m_reader.name()) ? 1 : 0;
                // The plist element and a value element around the containers.
                if (m_containers > ZKPropertyListSerialization::maximumNestingDepth ||
                    m_open > ZKPropertyListSerialization::maximumNestingDepth + 2) {
                    noteTooDeep(problem, ZKPropertyListErrors::TooDeepToRead);
                    return Failed;
                }
                continue;
            case QXmlStreamReader::EndElement:
                --m_open;
                m_containers -= isContainerElement(m_reader.name()) ? 1 : 0;
                continue;
            case QXmlStreamReader::EndDocument:
                return Passed;
            case QXmlStreamReader::Invalid:
                break;
            default:
                continue;
            }
            if (m_reader.error() != QXmlStreamReader::PrematureEndOfDocumentError) {
                // Without a single element the data is no XML property list
                // at all, which libplist would have said.
                note(problem, m_hasElements ? ZKPropertyListErrors::NotWellFormedXml
                                            : ZKPropertyListErrors::NotPropertyList);
                return Failed;
            }
            if (isAtEnd) {
                note(problem, ZKPropertyListErrors::Truncated);
                return Failed;
            }
            return NeedsMore;
        }
    }

    QXmlStreamReader m_reader;
    QStringDecoder m_decoder{QStringDecoder::Utf8};
    Verdict m_verdict = NeedsMore;
    qsizetype m_open = 0;
    int m_containers = 0;
    bool m_hasElements = false;
};

bool checkXml(const QByteArray &data, Problem *problem) {
    XmlChecker checker;
    qsizetype given = 0;
    while (true) {
        const qsizetype length = std::min(pieceSize, data.size() - given);
        switch (checker.feed(QByteArrayView(data).sliced(given, length), problem)) {
        case XmlChecker::Passed:
            return true;
        case XmlChecker::Failed:
            return false;
        case XmlChecker::NeedsMore:
            break;
        }
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
        quint64 keys = 0;       // of a dictionary, whose keys come first
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
        quint64 count = 0;
        quint64 at = 0;
        if (!readCount(offset, &count, &at)) {
            return false;
        }
        const quint64 perEntry = kind == 0xD ? 2 : 1;
        const quint64 room = (m_objectsEnd - at) / quint64(m_referenceSize);
        if (count > room / perEntry) {
            return false;
        }
        container->references = at;
        container->count = count * perEntry;
        container->keys = kind == 0xD ? count : 0;
        return true;
    }

    // The count of entries or characters of the object at offset, and where
    // its contents start.
    bool readCount(quint64 offset, quint64 *count, quint64 *at) const {
        *count = m_data[offset] & 0x0F;
        *at = offset + 1;
        if (*count != 0x0F) {
            return true;
        }
        if (*at >= m_objectsEnd || (m_data[*at] >> 4) != 0x1 || (m_data[*at] & 0x0F) > 3) {
            return false;
        }
        const int length = 1 << (m_data[*at] & 0x0F);
        ++*at;
        if (m_objectsEnd - *at < quint64(length)) {
            return false;
        }
        *count = readBigEndian(m_data + *at, length);
        *at += quint64(length);
        return true;
    }

    // libplist aborts the program when it hands out a key that holds a NUL,
    // which only a key in UTF-16 can.
    bool isKeyReadable(quint64 object) const {
        quint64 offset = 0;
        quint64 count = 0;
        quint64 at = 0;
        if (!offsetOf(object, &offset) || (m_data[offset] >> 4) != 0x6) {
            return true;
        }
        if (!readCount(offset, &count, &at) || count > (m_objectsEnd - at) / 2) {
            return false;
        }
        for (quint64 i = at; i < at + 2 * count; i += 2) {
            if (m_data[i] == 0 && m_data[i + 1] == 0) {
                return false;
            }
        }
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
            const bool isKey = frame.next < frame.container.keys;
            ++frame.next;
            if (child >= m_objectCount) {
                note(problem, ZKPropertyListErrors::BinaryDamaged);
                return false;
            }
            Container container;
            if (!readObject(child, &isContainer, &container) || (isKey && !isKeyReadable(child))) {
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

// With stopKey, the problem stopProblem is met at that key instead of
// reading its value.
QVariant mapFromDictionary(plist_t node, int depth, Problem *problem,
                           const QString *stopKey = nullptr, const Problem *stopProblem = nullptr) {
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
        if (stopKey && keyText == *stopKey) {
            *problem = *stopProblem;
            break;
        }
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

// ---------------------------------------------------------------------------
// One element at a time

namespace {

// libplist's XML text of a tree; empty when it wrote none.
QByteArray xmlOf(plist_t root) {
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &bytes, &length);
    if (!bytes) {
        return {};
    }
    QByteArray text(bytes, qsizetype(length));
    plist_to_xml_free(bytes);
    return text;
}

// An element of the streamed array lies two containers deep, inside the top
// dictionary and the array: nested in two arrays, libplist indents it the
// same, so its text can be cut out of theirs.
constexpr QByteArrayView elementHead = "<plist version=\"1.0\">\n<array>\n\t<array>\n";
constexpr QByteArrayView elementTail = "\t</array>\n</array>\n</plist>\n";
// How the top dictionary ends when the array, its last entry, is empty.
constexpr QByteArrayView emptyArrayTail = "<array/>\n</dict>\n</plist>\n";
constexpr QByteArrayView arrayTail = "\t</array>\n</dict>\n</plist>\n";

QByteArray elementXml(const QVariant &value, Problem *problem) {
    PlistPointer root(nodeFromVariant(QVariantList{QVariantList{value}}, 0, problem));
    if (!root) {
        problem->path.remove(0, std::min<qsizetype>(2, problem->path.size())); // the two arrays
        return {};
    }
    const QByteArray text = xmlOf(static_cast<plist_t>(root.get()));
    const qsizetype start = text.indexOf(elementHead);
    if (start < 0 || !text.endsWith(elementTail)) {
        note(problem, ZKPropertyListErrors::NotWrittenAsXml);
        return {};
    }
    const qsizetype from = start + elementHead.size();
    return text.sliced(from, text.size() - from - elementTail.size());
}

bool writeAll(QIODevice *device, QByteArrayView bytes) {
    return device->write(bytes.data(), bytes.size()) == bytes.size();
}

} // namespace

bool ZKPropertyListSerialization::writeDictionaryWithArray(
    QIODevice *device, const QVariantMap &dictionary, const QString &arrayKey, qsizetype count,
    const std::function<QVariant(qsizetype)> &element, ZKError *error,
    const ElementWritten &written) {
    QVariantMap head = dictionary;
    head.insert(arrayKey, QVariantList());
    // The type is written first and the rest in key order: only an array
    // written last can follow the rest of the text.
    QString lastKey;
    for (auto it = head.constBegin(); it != head.constEnd(); ++it) {
        if (it.key() != ZKPropertyListObject::typeKey) {
            lastKey = it.key();
        }
    }
    Problem problem;
    QByteArray text;
    if (lastKey == arrayKey) {
        PlistPointer root(nodeFromVariant(head, 0, &problem));
        if (!root) {
            setError(error, problem);
            return false;
        }
        text = xmlOf(static_cast<plist_t>(root.get()));
    }
    if (!text.endsWith(emptyArrayTail)) {
        if (text.isEmpty() && lastKey == arrayKey) {
            setError(error, ZKPropertyListErrors::NotWrittenAsXml);
            return false;
        }
        // Not a shape this writer knows: the whole tree at once, and no
        // element has a text of its own.
        QVariantList list;
        for (qsizetype index = 0; index < count; ++index) {
            list.append(element(index));
        }
        head.insert(arrayKey, list);
        const QByteArray data = dataFromPropertyList(head, error);
        return !data.isEmpty() && writeAll(device, data);
    }
    if (count == 0) {
        return writeAll(device, text);
    }
    text.chop(emptyArrayTail.size());
    if (!writeAll(device, text + "<array>\n")) {
        return false;
    }
    for (qsizetype index = 0; index < count; ++index) {
        const QByteArray part = elementXml(element(index), &problem);
        if (part.isEmpty()) {
            problem.path.prepend(QString::number(index));
            problem.path.prepend(arrayKey);
            setError(error, problem);
            return false;
        }
        const qint64 offset = device->pos();
        if (!writeAll(device, part)) {
            return false;
        }
        if (written) {
            written(index, offset, part);
        }
    }
    return writeAll(device, arrayTail);
}

namespace {

// The code point a character reference names ("#65", "#x41"), when it is one
// of at most eight characters; upperX: whether "#X41" is hexadecimal too.
std::optional<uint> referenceCode(QByteArrayView name, bool upperX) {
    if (name.size() < 2 || name.size() > 8 || name[0] != '#') {
        return std::nullopt;
    }
    const bool isHex = name[1] == 'x' || (upperX && name[1] == 'X');
    const QByteArrayView digits = name.sliced(isHex ? 2 : 1);
    // toUInt() would also take signs and blanks.
    const auto isDigit = [&](char c) {
        return isHex ? std::isxdigit(uchar(c)) != 0 : std::isdigit(uchar(c)) != 0;
    };
    if (digits.isEmpty() || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return std::nullopt;
    }
    return digits.toUInt(nullptr, isHex ? 16 : 10);
}

// What repeats from one element to the next, kept: the keys, and the
// dictionaries within elements that are spelt alike with their values.
// Every task of a queue names the same destination, which is then read once
// and its value shared. Whatever reads as a dictionary at one depth reads
// the same at that depth again.
class DictionaryMemo {
public:
    // The value of a kept dictionary whose text starts at `at`, and its text's
    // length; a null value when none is kept.
    std::pair<QVariant, qsizetype> find(QByteArrayView at, int depth) {
        for (Kept &kept : m_kept) {
            if (kept.depth == depth && at.startsWith(kept.text)) {
                kept.used = ++m_clock;
                return {kept.value, kept.text.size()};
            }
        }
        return {};
    }

    // The key spelt by `spelling`, shared with the entries before: the keys
    // are few and repeat in every entry. False for a spelling with a
    // reference in it, which is left to the full reading of text.
    bool key(QByteArrayView spelling, QString *key) {
        if (spelling.contains('&') || spelling.contains('\0')) {
            return false;
        }
        const std::string_view name(spelling.data(), size_t(spelling.size()));
        if (const auto found = m_keys.find(name); found != m_keys.end()) {
            *key = found->second;
            return true;
        }
        *key = QString::fromUtf8(spelling);
        if (m_keys.size() < maximumKeyCount) {
            const std::string &kept = m_keySpellings.emplace_back(name);
            m_keys.emplace(kept, *key);
        }
        return true;
    }

    void keep(QByteArrayView text, int depth, const QVariant &value) {
        if (text.size() > maximumTextSize) {
            return;
        }
        // The one used least lately goes: a dictionary met in every element
        // stays while those that differ take turns in the others.
        Kept &kept =
            *std::min_element(std::begin(m_kept), std::end(m_kept),
                              [](const Kept &a, const Kept &b) { return a.used < b.used; });
        kept = {text.toByteArray(), value, depth, ++m_clock};
    }

private:
    static constexpr qsizetype maximumTextSize = 4096;
    struct Kept {
        QByteArray text;
        QVariant value;
        int depth = -1;
        quint64 used = 0;
    };
    Kept m_kept[4];
    quint64 m_clock = 0;
    static constexpr size_t maximumKeyCount = 256;
    std::deque<std::string> m_keySpellings; // stay where they are as more come
    std::unordered_map<std::string_view, QString> m_keys;
};

// Reads the text of one element straight to its value, without libplist's
// tree: the markup libplist writes and little more. Whatever it is not
// certain to read as libplist does it declines, and the element goes to
// libplist after all: comments, sections, attributes, empty numbers, numbers
// spelt otherwise (libplist reads "010" as octal and cuts "1e" short),
// references libplist takes loosely, a key twice or without its value, and
// every value libplist's reading would refuse, so that the errors stay
// libplist's.
class ElementReader {
public:
    explicit ElementReader(QByteArrayView text, DictionaryMemo *memo = nullptr)
        : m_at(text.data())
        , m_end(text.data() + text.size())
        , m_memo(memo) {}

    // The value variantFromNode() gives for libplist's tree of the element
    // two containers deep; an invalid QVariant when declined.
    QVariant read() {
        QVariant value;
        skipBlanks();
        if (!readValue(2, &value)) {
            return {};
        }
        skipBlanks();
        return m_at == m_end ? value : QVariant();
    }

private:
    // The blanks libplist skips between elements; anything else there is an
    // error to it.
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    qsizetype left() const { return m_end - m_at; }

    void skipBlanks() {
        while (m_at != m_end && isBlank(*m_at)) {
            ++m_at;
        }
    }

    bool take(QByteArrayView markup) {
        if (left() < markup.size() || std::memcmp(m_at, markup.data(), markup.size()) != 0) {
            return false;
        }
        m_at += markup.size();
        return true;
    }

    // A start tag without attributes: its name, and whether it is empty.
    bool readStartTag(QByteArrayView *name, bool *isEmpty) {
        if (m_at == m_end || *m_at != '<') {
            return false;
        }
        const char *start = m_at + 1;
        const char *i = start;
        while (i != m_end && *i >= 'a' && *i <= 'z') {
            ++i;
        }
        *name = QByteArrayView(start, i - start);
        m_at = i;
        *isEmpty = take("/>");
        return !name->isEmpty() && (*isEmpty || take(">"));
    }

    // The text up to the end tag of the element, which must follow at once:
    // text with markup in it is left to libplist.
    bool readContent(QByteArrayView name, QByteArrayView *content) {
        const auto *open = static_cast<const char *>(std::memchr(m_at, '<', left()));
        if (!open) {
            return false;
        }
        *content = QByteArrayView(m_at, open - m_at);
        m_at = open;
        return take("</") && take(name) && take(">");
    }

    bool readValue(int depth, QVariant *value) {
        // The element's own dictionary differs in every element; those
        // within it may not.
        const bool isRemembered = m_memo && depth > 2;
        const char *start = m_at;
        if (isRemembered) {
            if (auto [kept, size] = m_memo->find(QByteArrayView(m_at, m_end), depth);
                kept.isValid()) {
                *value = std::move(kept);
                m_at += size;
                return true;
            }
        }
        QByteArrayView name;
        bool isEmpty = false;
        if (!readStartTag(&name, &isEmpty)) {
            return false;
        }
        if (name == "dict" || name == "array") {
            if (depth >= ZKPropertyListSerialization::maximumNestingDepth) {
                return false;
            }
            const bool isDictionary = name == "dict";
            if (isEmpty) {
                *value = isDictionary ? QVariant(QVariantMap()) : QVariant(QVariantList());
                return true;
            }
            if (!isDictionary) {
                return readArray(depth + 1, value);
            }
            if (!readDictionary(depth + 1, value)) {
                return false;
            }
            if (isRemembered) {
                m_memo->keep(QByteArrayView(start, m_at), depth, *value);
            }
            return true;
        }
        if (name == "true" || name == "false") {
            *value = name == "true";
            return isEmpty;
        }
        if (isEmpty) {
            if (name != "string") {
                return false;
            }
            *value = QString::fromUtf8("", 0);
            return true;
        }
        QByteArrayView content;
        if (name == "string") {
            QString text;
            if (!readContent(name, &content) || !textOf(content, &text)) {
                return false;
            }
            *value = text;
            return true;
        }
        if (!readContent(name, &content)) {
            return false;
        }
        if (name == "integer") {
            return integerOf(content, value);
        }
        if (name == "real") {
            return realOf(content, value);
        }
        if (name == "date") {
            return dateOf(content, value);
        }
        if (name == "data") {
            return dataOf(content, value);
        }
        return false;
    }

    bool readDictionary(int depth, QVariant *value) {
        QVariantMap map;
        // Writers put the keys in order after the type: each new one most
        // likely goes just after the one before.
        QVariantMap::const_iterator next = map.cend();
        while (true) {
            skipBlanks();
            if (take("</dict>")) {
                *value = std::move(map);
                return true;
            }
            QByteArrayView content;
            QString key;
            QVariant child;
            if (!take("<key>") || !readContent("key", &content) ||
                !((m_memo && m_memo->key(content, &key)) || textOf(content, &key))) {
                return false;
            }
            skipBlanks();
            if (!readValue(depth, &child)) {
                return false;
            }
            const qsizetype before = map.size();
            next = std::next(map.insert(next, key, child));
            if (map.size() == before) {
                return false;
            }
        }
    }

    bool readArray(int depth, QVariant *value) {
        QVariantList list;
        while (true) {
            skipBlanks();
            if (take("</array>")) {
                *value = std::move(list);
                return true;
            }
            QVariant child;
            if (!readValue(depth, &child)) {
                return false;
            }
            list.append(std::move(child));
        }
    }

    // Text with the five entities and character references resolved to the
    // bytes libplist makes of them, then read as UTF-8 as libplist's text is.
    static bool textOf(QByteArrayView content, QString *text) {
        if (content.contains('\0')) {
            return false; // libplist's copy would end there
        }
        qsizetype amp = content.indexOf('&');
        if (amp < 0) {
            *text = QString::fromUtf8(content);
            return true;
        }
        QByteArray bytes;
        bytes.reserve(content.size());
        qsizetype from = 0;
        for (; amp >= 0; amp = content.indexOf('&', from)) {
            bytes.append(content.sliced(from, amp - from));
            const qsizetype semicolon = content.indexOf(';', amp);
            if (semicolon < 0 ||
                !appendReference(content.sliced(amp + 1, semicolon - amp - 1), &bytes)) {
                return false;
            }
            from = semicolon + 1;
        }
        bytes.append(content.sliced(from));
        *text = QString::fromUtf8(bytes);
        return true;
    }

    static bool appendReference(QByteArrayView name, QByteArray *bytes) {
        static constexpr std::pair<QByteArrayView, char> entities[] = {
            {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
        for (const auto &[entity, c] : entities) {
            if (name == entity) {
                bytes->append(c);
                return true;
            }
        }
        // libplist takes at most eight characters, and only a code point.
        const std::optional<uint> reference = referenceCode(name, true);
        const uint code = reference.value_or(0);
        if (code == 0 || code > 0x10FFFF) {
            return false;
        }
        // UTF-8 as libplist writes it, surrogates included.
        if (code < 0x80) {
            bytes->append(char(code));
        } else if (code < 0x800) {
            bytes->append(char(0xC0 | (code >> 6))).append(char(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            bytes->append(char(0xE0 | (code >> 12)))
                .append(char(0x80 | ((code >> 6) & 0x3F)))
                .append(char(0x80 | (code & 0x3F)));
        } else {
            bytes->append(char(0xF0 | (code >> 18)))
                .append(char(0x80 | ((code >> 12) & 0x3F)))
                .append(char(0x80 | ((code >> 6) & 0x3F)))
                .append(char(0x80 | (code & 0x3F)));
        }
        return true;
    }

    static QByteArrayView trimmed(QByteArrayView content) {
        while (!content.isEmpty() && isBlank(content.front())) {
            content = content.sliced(1);
        }
        while (!content.isEmpty() && isBlank(content.back())) {
            content.chop(1);
        }
        return content;
    }

    // Decimal digits alone: libplist reads the rest with strtoull() in any
    // base and saturates.
    static bool integerOf(QByteArrayView content, QVariant *value) {
        QByteArrayView digits = trimmed(content);
        const bool isNegative = digits.startsWith('-');
        digits = digits.sliced(isNegative ? 1 : 0);
        if (digits.isEmpty() || digits.size() > 20 || (digits.size() > 1 && digits[0] == '0')) {
            return false;
        }
        quint64 magnitude = 0;
        for (const char c : digits) {
            const auto digit = quint64(c - '0');
            if (c < '0' || c > '9' ||
                magnitude > (std::numeric_limits<quint64>::max() - digit) / 10) {
                return false;
            }
            magnitude = magnitude * 10 + digit;
        }
        constexpr auto signedMaximum = quint64(std::numeric_limits<qint64>::max());
        if (isNegative) {
            if (magnitude > signedMaximum + 1) {
                return false;
            }
            *value = qint64(0 - magnitude);
        } else if (magnitude <= signedMaximum) {
            *value = qint64(magnitude);
        } else {
            *value = magnitude;
        }
        return true;
    }

    // libplist reads a real with atof(), so whatever the text this gives the
    // same number, in the same locale.
    static bool realOf(QByteArrayView content, QVariant *value) {
        QVarLengthArray<char, 64> text(content.begin(), content.end());
        text.append('\0');
        *value = std::strtod(text.data(), nullptr);
        return true;
    }

    // Only the spelling libplist writes, within the readable range.
    static bool dateOf(QByteArrayView text, QVariant *value) {
        static constexpr char pattern[] = "dddd-dd-ddTdd:dd:ddZ";
        if (text.size() != qsizetype(sizeof pattern) - 1) {
            return false;
        }
        for (qsizetype i = 0; i < text.size(); ++i) {
            const bool isDigit = text[i] >= '0' && text[i] <= '9';
            if (pattern[i] == 'd' ? !isDigit : text[i] != pattern[i]) {
                return false;
            }
        }
        const auto number = [&](qsizetype at, qsizetype length) {
            return text.sliced(at, length).toInt();
        };
        const int year = number(0, 4), month = number(5, 2), day = number(8, 2);
        const int hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
        if (!QDate::isValid(year, month, day) || hour > 23 || minute > 59 || second > 59) {
            return false;
        }
        constexpr qint64 unixEpochDay = 2440588;
        const qint64 seconds = (QDate(year, month, day).toJulianDay() - unixEpochDay) * 86400 +
                               hour * 3600 + minute * 60 + second;
        const qint64 relative = seconds - referenceDateOffset;
        if (relative <= std::numeric_limits<int32_t>::min() ||
            relative > std::numeric_limits<int32_t>::max()) {
            return false;
        }
        *value = QDateTime::fromMSecsSinceEpoch(seconds * 1000, QTimeZone::utc());
        return true;
    }

    static int base64Digit(char c) {
        if (c >= 'A' && c <= 'Z') {
            return c - 'A';
        }
        if (c >= 'a' && c <= 'z') {
            return c - 'a' + 26;
        }
        if (c >= '0' && c <= '9') {
            return c - '0' + 52;
        }
        return c == '+' ? 62 : c == '/' ? 63 : -1;
    }

    // Lines of whole groups of four, padded only at the very end: libplist
    // reads a group cut by a line break or padding in the middle its own way.
    static bool dataOf(QByteArrayView content, QVariant *value) {
        const QByteArrayView text = trimmed(content);
        if (text.isEmpty()) {
            *value = QByteArray(); // libplist has no buffer for it
            return true;
        }
        QByteArray bytes;
        bytes.reserve(text.size() / 4 * 3);
        quint32 group = 0;
        int count = 0;
        int padding = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (isBlank(c)) {
                if (count != 0) {
                    return false;
                }
                continue;
            }
            int digit = 0;
            if (c == '=') {
                if (count < 2) {
                    return false;
                }
                ++padding;
            } else if (padding > 0 || (digit = base64Digit(c)) < 0) {
                return false;
            }
            group = (group << 6) | quint32(digit);
            if (++count < 4) {
                continue;
            }
            bytes.append(char(group >> 16));
            if (padding < 2) {
                bytes.append(char(group >> 8));
            }
            if (padding < 1) {
                bytes.append(char(group));
            }
            if (padding > 0 && i + 1 != text.size()) {
                return false;
            }
            group = 0;
            count = 0;
        }
        if (count != 0) {
            return false;
        }
        *value = bytes;
        return true;
    }

    const char *m_at;
    const char *const m_end;
    DictionaryMemo *const m_memo;
};

// libplist's tree of one element of a streamed array, which lies in the file
// as the text of one element. Null when libplist cannot read it.
// Whether the containers of an element's text open deeper than any value can
// be, counted as loosely as libplist reads: a tag that closes itself opens
// nothing. The exact limit, which counts the containers around the element,
// is left to the reading of the tree.
bool isNestedTooDeep(QByteArrayView text) {
    int depth = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '<') {
            continue;
        }
        const QByteArrayView tag = text.sliced(i + 1);
        if (tag.startsWith("/dict") || tag.startsWith("/array")) {
            --depth;
        } else if (tag.startsWith("dict") || tag.startsWith("array")) {
            const qsizetype end = tag.indexOf('>');
            const bool closesItself = end > 0 && tag[end - 1] == '/';
            if (!closesItself && ++depth > ZKPropertyListSerialization::maximumNestingDepth) {
                return true;
            }
        }
    }
    return false;
}

PlistPointer parseElement(QByteArrayView text, Problem *problem) {
    const QByteArray wrapped = "<plist version=\"1.0\">" + text.toByteArray() + "</plist>";
    // libplist reads and frees a tree by recursion, and an element read
    // again may no longer be the text the first pass checked.
    if (isNestedTooDeep(text)) {
        noteTooDeep(problem, ZKPropertyListErrors::TooDeepToRead);
        return PlistPointer(nullptr);
    }
    plist_t parsed = nullptr;
    plist_from_xml(wrapped.constData(), uint32_t(wrapped.size()), &parsed);
    return PlistPointer(parsed);
}

// An element of the streamed array as the whole tree would have given it:
// two containers deep, its place in the error path.
QVariant variantFromElement(QByteArrayView text, const QString &arrayKey, qsizetype index,
                            Problem *problem, bool *isReadable, DictionaryMemo *memo = nullptr) {
    *isReadable = true;
    if (QVariant value = ElementReader(text, memo).read(); value.isValid()) {
        return value;
    }
    Problem checked;
    const PlistPointer root = parseElement(text, &checked);
    *isReadable = bool(root);
    if (!root) {
        if (checked.message != ZKPropertyListErrors::MessageCount) {
            *problem = checked;
        } else {
            note(problem, ZKPropertyListErrors::NotPropertyList);
        }
        return {};
    }
    QVariant value = variantFromNode(static_cast<plist_t>(root.get()), 2, problem);
    if (!value.isValid()) {
        problem->path.prepend(QString::number(index));
        problem->path.prepend(arrayKey);
    }
    return value;
}

// Finds the elements of the array under arrayKey in the top dictionary of an
// XML property list, by their places in the data. Everything outside the
// elements is kept as the document's head, which libplist then reads with
// the array empty.
// It reads the bytes itself, the markup a writer of property lists makes and
// little more: ASCII names, at most the attributes of a plain start tag,
// comments, the five entities and character references. Whatever else it
// meets (another top, the key twice or spelt otherwise, sections, entities
// of a document type) makes it unfit, and the file is read whole instead.
// Bytes below 0x20 count as blanks, as the checker counts them.
class ElementLocator {
public:
    using Element = std::function<void(qint64 offset, QByteArrayView text)>;

    ElementLocator(const QString &arrayKey, Element element)
        : m_arrayKey(arrayKey.toUtf8())
        , m_rawKey("<key>" + m_arrayKey + "</key>")
        , m_element(std::move(element)) {}

    enum Verdict { NeedsMore, Done, Unfit };

    Verdict feed(QByteArrayView piece) {
        if (m_verdict != NeedsMore) {
            return m_verdict;
        }
        m_window.append(piece);
        m_verdict = walk(piece.isEmpty());
        return m_verdict;
    }

    // What lies outside the elements, once done.
    QByteArray takeHead() {
        m_head.append(m_window);
        m_window.clear();
        return std::move(m_head);
    }

private:
    enum Step { Advanced, Incomplete, Refused };
    enum Phase { Prolog, Content, Epilog };

    // No tag, comment or declaration of a property list is longer; a longer
    // one is left to the whole reading rather than searched for its end.
    static constexpr qsizetype maximumMarkupSize = 64 * 1024;

    static bool isBlank(char c) { return uchar(c) <= 0x20; }
    static bool isNameStart(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    }
    static bool isNameChar(char c) {
        return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    }
    static bool isContainer(QByteArrayView name) { return name == "array" || name == "dict"; }

    Verdict walk(bool isAtEnd) {
        while (true) {
            switch (m_phase == Prolog ? prolog() : content()) {
            case Advanced:
                continue;
            case Refused:
                return Unfit;
            case Incomplete:
                break;
            }
            if (!isAtEnd) {
                return NeedsMore;
            }
            const QByteArrayView rest = QByteArrayView(m_window).sliced(m_at);
            const bool isBlankRest = std::all_of(rest.begin(), rest.end(), isBlank);
            return m_phase == Epilog && m_hasTop && isBlankRest ? Done : Unfit;
        }
    }

    qsizetype size() const { return m_window.size(); }
    char at(qsizetype i) const { return m_window.at(i); }
    bool startsWith(qsizetype i, QByteArrayView text) const {
        return QByteArrayView(m_window).sliced(i).startsWith(text);
    }
    // Where text is found from i on, or -1 while the window has not got it.
    qsizetype find(QByteArrayView text, qsizetype from) const {
        return QByteArrayView(m_window).indexOf(text, from);
    }
    // A construct that has not ended yet: more data may end it.
    Step unended(qsizetype start) const {
        return size() - start > maximumMarkupSize ? Refused : Incomplete;
    }

    // Declarations and comments before the top element. Once it comes, what
    // went before is checked by Qt's reader: it is short, and a document type
    // is easier to get wrong than anything after it.
    Step prolog() {
        while (m_at < size() && isBlank(at(m_at))) {
            ++m_at;
        }
        if (m_at + 1 >= size()) {
            return Incomplete;
        }
        if (at(m_at) != '<') {
            return Refused;
        }
        const char next = at(m_at + 1);
        if (next == '?' || next == '!') {
            if (m_at + 4 > size()) {
                return Incomplete;
            }
            const QByteArrayView close = next == '?'                ? "?>"
                                         : startsWith(m_at, "<!--") ? "-->"
                                                                    : ">";
            const qsizetype end = find(close, m_at + 2);
            if (end < 0) {
                return unended(m_at);
            }
            m_at = end + close.size();
            return m_at > maximumMarkupSize ? Refused : Advanced;
        }
        if (!isNameStart(next)) {
            return Refused;
        }
        const QByteArrayView before = QByteArrayView(m_window).first(m_at);
        // An internal subset may declare entities and defaults.
        if (before.contains('[')) {
            return Refused;
        }
        QXmlStreamReader reader(markupOf(QString::fromLatin1(before)) + QStringLiteral("<a/>"));
        while (!reader.atEnd()) {
            reader.readNext();
        }
        if (reader.hasError()) {
            return Refused;
        }
        m_phase = Content;
        return Advanced;
    }

    Step content() {
        if (m_at == size()) {
            return Incomplete;
        }
        if (at(m_at) != '<') {
            const qsizetype open = m_window.indexOf('<', std::max(m_at, m_searched));
            if (open < 0) {
                m_searched = size();
                return Incomplete;
            }
            m_searched = 0;
            if (!isTextFine(QByteArrayView(m_window).sliced(m_at, open - m_at))) {
                return Refused;
            }
            m_at = open;
        }
        if (m_at + 4 > size()) {
            return unended(m_at);
        }
        const char next = at(m_at + 1);
        if (next == '/') {
            return endTag();
        }
        if (startsWith(m_at, "<!--")) {
            return comment();
        }
        if (m_phase == Epilog || !isNameStart(next)) {
            return Refused;
        }
        return startTag();
    }

    // Text between tags: the references XML knows without a document type,
    // and no "]]>"; blanks only outside the top element.
    bool isTextFine(QByteArrayView text) const {
        if (m_depth == 0) {
            return std::all_of(text.begin(), text.end(), isBlank);
        }
        // A search for a single byte first: it is far faster than one for
        // three, and the bracket is rare.
        if (text.contains(']') && text.contains("]]>")) {
            return false;
        }
        for (qsizetype amp = text.indexOf('&'); amp >= 0; amp = text.indexOf('&', amp + 1)) {
            const qsizetype semicolon = text.indexOf(';', amp);
            if (semicolon < 0 || !isReference(text.sliced(amp + 1, semicolon - amp - 1))) {
                return false;
            }
        }
        return true;
    }

    static bool isReference(QByteArrayView name) {
        if (name == "lt" || name == "gt" || name == "amp" || name == "quot" || name == "apos") {
            return true;
        }
        const std::optional<uint> reference = referenceCode(name, false);
        if (!reference) {
            return false;
        }
        const uint code = *reference;
        return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
               (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
    }

    Step comment() {
        const qsizetype end = find("-->", m_at + 4);
        if (end < 0) {
            return unended(m_at);
        }
        const QByteArrayView text = QByteArrayView(m_window).sliced(m_at + 4, end - m_at - 4);
        if (text.contains("--") || text.endsWith('-')) {
            return Refused;
        }
        m_at = end + 3;
        return Advanced;
    }

    // The name that starts at i, and where it ends; empty when the window
    // ends in it.
    QByteArrayView nameAt(qsizetype i, qsizetype *end) const {
        qsizetype j = i;
        while (j < size() && isNameChar(at(j))) {
            ++j;
        }
        *end = j;
        return j == size() ? QByteArrayView() : QByteArrayView(m_window).sliced(i, j - i);
    }

    Step skipBlanks(qsizetype *i) const {
        while (*i < size() && isBlank(at(*i))) {
            ++*i;
        }
        return *i < size() ? Advanced : unended(m_at);
    }

    Step startTag() {
        const qsizetype start = m_at;
        qsizetype i = 0;
        const QByteArrayView name = nameAt(start + 1, &i);
        if (name.isEmpty()) {
            return unended(start);
        }
        QVarLengthArray<QByteArrayView, 4> attributes;
        while (true) {
            const qsizetype beforeBlanks = i;
            if (skipBlanks(&i) != Advanced) {
                return unended(start);
            }
            if (at(i) == '>' || at(i) == '/') {
                break;
            }
            // An attribute, after a blank.
            qsizetype nameEnd = 0;
            const QByteArrayView attribute = nameAt(i, &nameEnd);
            if (nameEnd == size()) {
                return unended(start);
            }
            if (i == beforeBlanks || !isNameStart(at(i))) {
                return Refused;
            }
            if (std::find(attributes.begin(), attributes.end(), attribute) != attributes.end()) {
                return Refused;
            }
            attributes.append(attribute);
            i = nameEnd;
            if (skipBlanks(&i) != Advanced) {
                return unended(start);
            }
            if (at(i) != '=') {
                return Refused;
            }
            ++i;
            if (skipBlanks(&i) != Advanced) {
                return unended(start);
            }
            const char quote = at(i);
            if (quote != '"' && quote != '\'') {
                return Refused;
            }
            const qsizetype close = m_window.indexOf(quote, i + 1);
            if (close < 0) {
                return unended(start);
            }
            const QByteArrayView value = QByteArrayView(m_window).sliced(i + 1, close - i - 1);
            if (value.contains('<') || value.contains('&')) {
                return Refused;
            }
            i = close + 1;
        }
        const bool isEmpty = at(i) == '/';
        if (isEmpty && i + 1 == size()) {
            return unended(start);
        }
        if (isEmpty && at(i + 1) != '>') {
            return Refused;
        }
        const qsizetype end = i + (isEmpty ? 2 : 1);
        // Kept apart from the window, which may move below.
        m_openNames.append(name.data(), size_t(name.size()));
        m_openEnds.push_back(m_openNames.size());
        m_at = end;
        if (!startElement(openName(), m_windowStart + start, m_windowStart + end)) {
            return Refused;
        }
        if (isEmpty) {
            return endElement(m_windowStart + m_at) ? Advanced : Refused;
        }
        return Advanced;
    }

    Step endTag() {
        const qsizetype start = m_at;
        qsizetype i = 0;
        const QByteArrayView name = nameAt(start + 2, &i);
        if (name.isEmpty()) {
            return i == size() ? unended(start) : Refused;
        }
        if (m_openEnds.empty() || name != openName()) {
            return Refused;
        }
        if (skipBlanks(&i) != Advanced) {
            return unended(start);
        }
        if (at(i) != '>') {
            return Refused;
        }
        m_at = i + 1;
        return endElement(m_windowStart + m_at) ? Advanced : Refused;
    }

    bool startElement(QByteArrayView name, qint64 tokenStart, qint64 tokenEnd) {
        ++m_depth;
        // Nested deeper than the checker allows: it would refuse this.
        m_containers += isContainer(name) ? 1 : 0;
        if (m_containers > ZKPropertyListSerialization::maximumNestingDepth ||
            m_depth > ZKPropertyListSerialization::maximumNestingDepth + 2) {
            return false;
        }
        if (m_depth == 1) {
            return name == "plist";
        }
        if (m_depth == 2) {
            if (m_hasTop || name != "dict") {
                return false;
            }
            m_hasTop = true;
            return true;
        }
        if (m_depth == 3) {
            if (name == "key") {
                m_isInKey = true;
                m_keyStart = tokenStart;
                m_keyTextStart = tokenEnd;
                return true;
            }
            m_isInArray = m_followsArrayKey && name == "array";
            m_followsArrayKey = false;
            return true;
        }
        if (m_depth == 4 && m_isInArray) {
            m_head.append(QByteArrayView(m_window).first(tokenStart - m_windowStart));
            drop(tokenStart);
        }
        return true;
    }

    bool endElement(qint64 tokenEnd) {
        const bool wasContainer = isContainer(openName());
        m_openEnds.pop_back();
        m_openNames.resize(m_openEnds.empty() ? 0 : m_openEnds.back());
        const int depth = m_depth--;
        m_containers -= wasContainer ? 1 : 0;
        if (depth == 1) {
            m_phase = Epilog;
        } else if (depth == 3 && m_isInKey) {
            m_isInKey = false;
            m_followsArrayKey = false;
            const qsizetype textEnd = m_window.lastIndexOf('<', tokenEnd - m_windowStart - 1);
            const QByteArrayView text = QByteArrayView(m_window).sliced(
                m_keyTextStart - m_windowStart, textEnd - (m_keyTextStart - m_windowStart));
            // A key spelt with references or markup might read as the
            // array's key.
            if (text.contains('&') || text.contains('<')) {
                return false;
            }
            if (text == QByteArrayView(m_arrayKey)) {
                const QByteArrayView raw = QByteArrayView(m_window).sliced(
                    m_keyStart - m_windowStart, tokenEnd - m_keyStart);
                if (m_hasArrayKey || raw != QByteArrayView(m_rawKey)) {
                    return false;
                }
                m_hasArrayKey = true;
                m_followsArrayKey = true;
            }
        } else if (depth == 3) {
            m_isInArray = false;
        } else if (depth == 4 && m_isInArray) {
            m_element(m_windowStart, QByteArrayView(m_window).first(tokenEnd - m_windowStart));
            drop(tokenEnd);
        }
        return true;
    }

    // Forgets the bytes before the offset.
    void drop(qint64 offset) {
        const qsizetype count = offset - m_windowStart;
        m_window.remove(0, count);
        m_windowStart = offset;
        m_at -= count;
        m_searched = 0;
    }

    const QByteArray m_arrayKey;
    const QByteArray m_rawKey;
    const Element m_element;
    Verdict m_verdict = NeedsMore;
    Phase m_phase = Prolog;
    QByteArray m_window; // the bytes from m_windowStart on
    qint64 m_windowStart = 0;
    qsizetype m_at = 0;       // in the window: the first byte not yet read
    qsizetype m_searched = 0; // in the window: where the search for a tag goes on
    QByteArray m_head;
    // The name of the innermost open element.
    QByteArrayView openName() const {
        const size_t start = m_openEnds.size() > 1 ? m_openEnds[m_openEnds.size() - 2] : 0;
        return QByteArrayView(m_openNames.data() + start, qsizetype(m_openEnds.back() - start));
    }

    // The names of the open elements one after the other, and where each
    // ends: no allocation per tag.
    std::string m_openNames;
    std::vector<size_t> m_openEnds;
    int m_depth = 0;
    int m_containers = 0;
    bool m_hasTop = false;
    bool m_isInKey = false;
    qint64 m_keyStart = 0;
    qint64 m_keyTextStart = 0;
    bool m_hasArrayKey = false;
    bool m_followsArrayKey = false;
    bool m_isInArray = false;
};

// The top dictionary read from its head, with the first problem of the
// streamed elements put where the whole tree would have met it: at the
// array's key, among the others in the order of the file.
QVariant variantFromHead(plist_t root, const QString &arrayKey, const Problem &elementProblem,
                         bool hasElementProblem, Problem *problem) {
    if (plist_get_node_type(root) != PLIST_DICT) {
        return variantFromNode(root, 0, problem);
    }
    return mapFromDictionary(root, 1, problem, hasElementProblem ? &arrayKey : nullptr,
                             &elementProblem);
}

} // namespace

namespace {

// The texts of elements found on one thread and read on another. They go
// over in batches, so that a long file costs few wake-ups, and only a few
// batches wait at a time, so that a slow reader does not make the finder
// hold the whole file. Only bytes cross: memory is given back by the thread
// that took it.
class ElementChannel {
public:
    struct Batch {
        QByteArray texts;
        QList<qint64> offsets;
        QList<size_t> hashes;
        QList<qsizetype> ends; // in texts
    };

    void put(qint64 offset, QByteArrayView text) {
        m_filling.texts.append(text);
        m_filling.offsets.append(offset);
        m_filling.hashes.append(qHash(text));
        m_filling.ends.append(m_filling.texts.size());
        if (m_filling.offsets.size() >= batchSize) {
            pass();
        }
    }

    void close() {
        pass();
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        m_changed.notify_all();
    }

    // The next batch; false once the finder has closed and all are taken.
    bool take(Batch *batch) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return !m_ready.empty() || m_isClosed; });
        if (m_ready.empty()) {
            return false;
        }
        *batch = std::move(m_ready.front());
        m_ready.pop_front();
        m_changed.notify_all();
        return true;
    }

private:
    static constexpr qsizetype batchSize = 256;
    static constexpr size_t maximumWaiting = 4;

    void pass() {
        if (m_filling.offsets.isEmpty()) {
            return;
        }
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_ready.size() < maximumWaiting; });
        m_ready.push_back(std::move(m_filling));
        m_filling = {};
        m_changed.notify_all();
    }

    Batch m_filling; // the finder's alone
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Batch> m_ready;
    bool m_isClosed = false;
};

// What the finder made of a file: the streamed array's head, or the value
// read whole (null after an error).
struct Found {
    bool isStreamed = false;
    QByteArray head;
    QVariant whole;
};

Found findElements(QIODevice *file, const QString &arrayKey,
                   const std::function<void(qint64 offset, QByteArrayView text)> &found,
                   ZKError *error);

// Reads the elements the finder found, in their order, and the head once
// all are found.
class ElementReading {
public:
    ElementReading(const QString &arrayKey,
                   const std::function<void(qsizetype, const QVariant &)> &element,
                   ZKPropertyListSerialization::ElementPlaces *places)
        : m_arrayKey(arrayKey)
        , m_element(element)
        , m_places(places) {}

    void read(qint64 offset, QByteArrayView text, size_t hash) {
        const qsizetype index = m_places->offsets.size();
        m_places->offsets.append(offset);
        m_places->lengths.append(text.size());
        m_places->hashes.append(hash);
        // After the first problem the answer is known; the rest is only
        // walked for the checks of the text.
        if (m_hasProblem || !m_isEveryReadable) {
            return;
        }
        bool isReadable = false;
        const QVariant value =
            variantFromElement(text, m_arrayKey, index, &m_problem, &isReadable, &m_memo);
        m_isEveryReadable = isReadable;
        if (!value.isValid()) {
            m_hasProblem = isReadable;
            return;
        }
        m_element(index, value);
    }

    QVariant finish(const Found &found, ZKError *error) {
        if (!found.isStreamed) {
            *m_places = {};
            return found.whole;
        }
        plist_t parsed = nullptr;
        plist_from_xml(found.head.constData(), uint32_t(found.head.size()), &parsed);
        const PlistPointer root(parsed);
        if (!root || !m_isEveryReadable) {
            setError(error, ZKPropertyListErrors::NotPropertyList);
            return {};
        }
        Problem problem;
        QVariant result = variantFromHead(parsed, m_arrayKey, m_problem, m_hasProblem, &problem);
        if (!result.isValid()) {
            setError(error, problem);
            return {};
        }
        m_places->isStreamed = true;
        return result;
    }

private:
    const QString &m_arrayKey;
    const std::function<void(qsizetype, const QVariant &)> &m_element;
    ZKPropertyListSerialization::ElementPlaces *m_places;
    Problem m_problem;
    bool m_hasProblem = false;
    bool m_isEveryReadable = true;
    DictionaryMemo m_memo;
};

} // namespace

QVariant ZKPropertyListSerialization::propertyListFromFile(
    QIODevice *file, const QString &arrayKey,
    const std::function<void(qsizetype, const QVariant &)> &element, ElementPlaces *places,
    ZKError *error) {
    *places = {};
    ElementReading reading(arrayKey, element, places);
    // A long file's elements are found on a thread of its own while this one
    // reads those already found.
    constexpr qint64 aloneBelow = 4 * 1024 * 1024;
    if (file->size() < aloneBelow) {
        const Found found = findElements(
            file, arrayKey,
            [&](qint64 offset, QByteArrayView text) { reading.read(offset, text, qHash(text)); },
            error);
        return reading.finish(found, error);
    }
    ElementChannel channel;
    Found found;
    std::thread finder([&] {
        found = findElements(
            file, arrayKey, [&](qint64 offset, QByteArrayView text) { channel.put(offset, text); },
            error);
        channel.close();
    });
    ElementChannel::Batch batch;
    while (channel.take(&batch)) {
        for (qsizetype i = 0, start = 0; i < batch.offsets.size(); start = batch.ends[i++]) {
            reading.read(batch.offsets[i],
                         QByteArrayView(batch.texts).sliced(start, batch.ends[i] - start),
                         batch.hashes[i]);
        }
    }
    finder.join();
    return reading.finish(found, error);
}

namespace {

Found findElements(QIODevice *file, const QString &arrayKey,
                   const std::function<void(qint64 offset, QByteArrayView text)> &found,
                   ZKError *error) {
    using Serialization = ZKPropertyListSerialization;
    const auto readWhole = [&] {
        if (!file->seek(0)) {
            setError(error, ZKPropertyListErrors::NotRead);
            return Found();
        }
        return Found{false, {}, Serialization::propertyListFromData(file->readAll(), error)};
    };
    const QByteArray start = file->peek(8);
    if (start.isEmpty() || plist_is_binary(start.constData(), uint32_t(start.size())) ||
        file->size() > Serialization::maximumDataSize) {
        return readWhole();
    }

    ElementLocator locator(arrayKey, found);
    // The checker reads as propertyListFromData() does. While the text is
    // ASCII alone both readers see the same characters and the locator is
    // unfit for whatever the checker would refuse, so the checker starts
    // (from the beginning) only once other bytes turn up.
    XmlChecker checker;
    bool isChecking = false;
    Problem problem;
    XmlChecker::Verdict checked = XmlChecker::NeedsMore;
    ElementLocator::Verdict located = ElementLocator::NeedsMore;
    qint64 given = 0;
    while (located != ElementLocator::Done || (isChecking && checked == XmlChecker::NeedsMore)) {
        const QByteArray piece = file->read(pieceSize);
        if (!isChecking &&
            std::any_of(piece.begin(), piece.end(), [](char c) { return uchar(c) >= 0x80; })) {
            isChecking = true;
            if (!file->seek(0)) {
                return readWhole();
            }
            for (qint64 caught = 0; caught < given && checked == XmlChecker::NeedsMore;) {
                const QByteArray earlier = file->read(std::min<qint64>(pieceSize, given - caught));
                if (earlier.isEmpty()) {
                    return readWhole();
                }
                caught += earlier.size();
                checked = checker.feed(earlier, &problem);
            }
            if (!file->seek(given + piece.size())) {
                return readWhole();
            }
        }
        given += piece.size();
        if (isChecking) {
            checked = checker.feed(piece, &problem);
            if (checked == XmlChecker::Failed) {
                setError(error, problem);
                return Found();
            }
        }
        located = locator.feed(piece);
        if (located == ElementLocator::Unfit) {
            return readWhole();
        }
    }

    return Found{true, locator.takeHead(), {}};
}

} // namespace

QVariant ZKPropertyListSerialization::elementFromText(QByteArrayView text, ZKError *error) {
    Problem problem;
    bool isReadable = false;
    QVariant value = variantFromElement(text, QString(), 0, &problem, &isReadable);
    if (!value.isValid()) {
        setError(error, problem);
    }
    return value;
}
