// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKError.h"
#include "ZKPropertyListObject.h"

#include <QSet>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <memory>

// Re-creates saved objects from their dictionaries. Every saveable class
// registers a factory under its name without the "ZK" prefix, from its own
// source file (ZKPropertyListRegistration), so this floor knows none of them;
// the "Type" entry of a dictionary picks the factory.
class ZKPropertyListParser {
public:
    using Factory = std::function<std::shared_ptr<ZKPropertyListObject>(const QVariantMap &)>;

    // The object the dictionary describes, or nullptr. The reason is written
    // to *error only when error is not nullptr. A factory that answers
    // nullptr is passed on as is.
    static std::shared_ptr<ZKPropertyListObject> parseObject(const QVariantMap &dict,
                                                             ZKError *error = nullptr);

    // Whether parseObject() finds a class that can re-create the dictionary,
    // without creating anything: loading an object may start work (a task
    // resumes its step), and a caller that only looks must not cause that.
    // The reason goes to *error as parseObject() would give it.
    static bool canParseObject(const QVariantMap &dict, ZKError *error = nullptr);

    // parseObject() for callers that expect one family of objects: nullptr
    // also when the object is of another class (then without an error).
    template <class T>
    static std::shared_ptr<T> parseObjectOfType(const QVariantMap &dict, ZKError *error = nullptr) {
        return std::dynamic_pointer_cast<T>(parseObject(dict, error));
    }

    // Texts that do not form a valid URL are left out.
    static QSet<QUrl> parseUrls(const QVariantList &texts);
    // The URLs' fully encoded absolute texts, sorted so that saving the same
    // set twice gives the same file.
    static QVariantList formatUrls(const QSet<QUrl> &urls);

    // Registers or replaces the factory of a type ("CopyTask", not
    // "ZKCopyTask"). A null factory names a class that exists but cannot be
    // re-created from a property list. Safe to call from any thread.
    static void registerClass(const QString &type, Factory factory);

private:
    ZKPropertyListParser() = delete;
};

// Registers a class while the program starts:
// static const ZKPropertyListRegistration registration{"CopyTask", factory};
struct ZKPropertyListRegistration {
    ZKPropertyListRegistration(const QString &type, ZKPropertyListParser::Factory factory) {
        ZKPropertyListParser::registerClass(type, std::move(factory));
    }
};
