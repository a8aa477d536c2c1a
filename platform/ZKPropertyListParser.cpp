// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPropertyListParser.h"

#include "ZKLogging.h"
#include "ZKPropertyListErrors.h"

#include <QHash>

#include <algorithm>
#include <mutex>
#include <shared_mutex>

namespace {

struct Registry {
    // A standard lock rather than QReadWriteLock: ThreadSanitizer sees it.
    std::shared_mutex lock;
    QHash<QString, ZKPropertyListParser::Factory> factories;
};

Registry &registry() {
    // Never destroyed: classes register from static initialisers, and
    // objects may be re-created while other statics go away.
    static Registry *instance = new Registry;
    return *instance;
}

void fail(ZKError *error, ZKPropertyListErrors::Message message,
          const QStringList &arguments = {}) {
    if (error) {
        *error = ZKPropertyListErrors::error(message, arguments);
    }
}

// The factory of the dictionary's class; empty, with the reason, when there
// is none that can re-create it.
ZKPropertyListParser::Factory factoryFor(const QVariantMap &dict, ZKError *error) {
    const auto type = dict.constFind(ZKPropertyListObject::typeKey);
    if (type == dict.constEnd()) {
        fail(error, ZKPropertyListErrors::TypeNotFound);
        return {};
    }
    const QString typeName = type.value().toString();
    ZKPropertyListParser::Factory factory;
    bool isKnown = false;
    {
        Registry &classes = registry();
        std::shared_lock locker(classes.lock);
        const auto found = classes.factories.constFind(typeName);
        if (found != classes.factories.constEnd()) {
            isKnown = true;
            factory = found.value();
        }
    }
    if (!isKnown) {
        fail(error, ZKPropertyListErrors::UnknownClass, {typeName});
        return {};
    }
    if (!factory) {
        fail(error, ZKPropertyListErrors::NoPropertyListSupport, {typeName});
    }
    return factory;
}

} // namespace

std::shared_ptr<ZKPropertyListObject> ZKPropertyListParser::parseObject(const QVariantMap &dict,
                                                                        ZKError *error) {
    const Factory factory = factoryFor(dict, error);
    // Called outside the lock: factories re-create their own parts (a task
    // its endpoints) through this parser.
    return factory ? factory(dict) : nullptr;
}

bool ZKPropertyListParser::canParseObject(const QVariantMap &dict, ZKError *error) {
    return bool(factoryFor(dict, error));
}

QSet<QUrl> ZKPropertyListParser::parseUrls(const QVariantList &texts) {
    QSet<QUrl> urls;
    // An empty set holds no storage; reserving nothing would still make some,
    // and a loaded queue has two such sets in each of its tasks.
    if (!texts.isEmpty()) {
        urls.reserve(texts.size());
    }
    for (const QVariant &text : texts) {
        const QUrl url(text.toString());
        if (!url.isValid() || url.isEmpty()) {
            qCWarning(lcEngine) << "Ignoring a saved URL that is not valid:" << text;
            continue;
        }
        urls.insert(url);
    }
    return urls;
}

QVariantList ZKPropertyListParser::formatUrls(const QSet<QUrl> &urls) {
    QStringList texts;
    texts.reserve(urls.size());
    for (const QUrl &url : urls) {
        texts.append(url.toString(QUrl::FullyEncoded));
    }
    std::sort(texts.begin(), texts.end());
    QVariantList result;
    result.reserve(texts.size());
    for (const QString &text : std::as_const(texts)) {
        result.append(text);
    }
    return result;
}

void ZKPropertyListParser::registerClass(const QString &type, Factory factory) {
    Registry &classes = registry();
    std::unique_lock locker(classes.lock);
    classes.factories.insert(type, std::move(factory));
}
