// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskRegistry.h"

#include "ZKFerrowickDocument.h"
#include "ZKTaskState.h"

#include <QCoreApplication>
#include <QDir>
#include <QHash>

#include <typeinfo>

using S = ZKTaskState;

namespace {

template <typename Endpoint> QString endpointKey(const Endpoint &endpoint) {
    return QString::fromLatin1(typeid(endpoint).name()) + QLatin1Char(' ') +
           ZKTaskRegistry::standardizedUrl(endpoint.url()).toString(QUrl::FullyEncoded);
}

// Stands for the tasks' equality in a hash: endpoints equal by their own
// measure have one class and one address, and so one key.
QString transferKey(const ZKReader &source, const ZKWriter &destination) {
    return endpointKey(source) + QLatin1Char('\n') + endpointKey(destination);
}

QString itemName(const ZKReader &source) {
    const QString name = source.filename();
    if (!name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")) {
        return name;
    }
    const QUrl url = ZKTaskRegistry::standardizedUrl(source.url());
    if (!url.fileName().isEmpty()) {
        return url.fileName();
    }
    return url.isLocalFile() ? url.toLocalFile() : url.toDisplayString();
}

QString alreadyQueued(const ZKReader &source, const ZKFerrowickDocument &queue) {
    return QCoreApplication::translate("ZKTaskRegistry",
                                       "\u201c%1\u201d is already queued for this destination in "
                                       "\u201c%2\u201d.")
        .arg(itemName(source), queue.displayName());
}

QString givenTwice(const ZKReader &source) {
    return QCoreApplication::translate("ZKTaskRegistry",
                                       "\u201c%1\u201d is given more than once for this "
                                       "destination.")
        .arg(itemName(source));
}

// The last part of an item's standardized address, mostly found without
// making that address: standardizing changes the last part only where it is
// empty, "." or "..".
QString lastName(const QUrl &url) {
    const QString name = url.fileName();
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")) {
        return ZKTaskRegistry::standardizedUrl(url).fileName();
    }
    return name;
}

int defaultPort(const QString &scheme) {
    if (scheme == QLatin1String("http")) {
        return 80;
    }
    if (scheme == QLatin1String("https")) {
        return 443;
    }
    // Explicit TLS shares the plain port.
    if (scheme == QLatin1String("ftp") || scheme == QLatin1String("ftps")) {
        return 21;
    }
    return -1;
}

} // namespace

QSet<ZKFerrowickDocument *> &ZKTaskRegistry::openQueues() {
    static QSet<ZKFerrowickDocument *> queues;
    return queues;
}

bool ZKTaskRegistry::hasEnded(ZKTaskState state) {
    return state == S::Completed || state == S::Failed || state == S::Cancelled;
}

QUrl ZKTaskRegistry::standardizedUrl(const QUrl &url) {
    if (url.isLocalFile()) {
        return QUrl::fromLocalFile(QDir::cleanPath(url.toLocalFile()));
    }
    QUrl standardized = url.adjusted(QUrl::RemovePassword | QUrl::RemoveFragment |
                                     QUrl::NormalizePathSegments | QUrl::StripTrailingSlash);
    if (standardized.path().isEmpty()) {
        standardized.setPath(QStringLiteral("/"));
    }
    if (standardized.port() != -1 && standardized.port() == defaultPort(standardized.scheme())) {
        standardized.setPort(-1);
    }
    return standardized;
}

QStringList ZKTaskRegistry::refusals(const QList<Candidate> &candidates) {
    QStringList reasons(candidates.size());
    QList<QString> keys(candidates.size());
    auto keyOf = [&](qsizetype i) -> const QString & {
        if (keys[i].isEmpty()) {
            keys[i] = transferKey(*candidates[i].source, *candidates[i].destination);
        }
        return keys[i];
    };
    // The candidates still looked for, by the last part of their source's
    // address: a queue may hold 100,000 tasks, and one whose source ends
    // otherwise is passed over without its addresses being spelt out.
    struct Group {
        QList<qsizetype> members;
        QHash<QString, qsizetype> byKey;
        bool keyed = false;
    };
    QHash<QString, Group> groups;
    qsizetype remaining = 0;
    auto keyGroup = [&](Group &group) {
        if (group.keyed) {
            return;
        }
        group.keyed = true;
        for (const qsizetype i : std::as_const(group.members)) {
            if (group.byKey.contains(keyOf(i))) {
                reasons[i] = givenTwice(*candidates[i].source);
                --remaining;
            } else {
                group.byKey.insert(keyOf(i), i);
            }
        }
    };
    QSet<const ZKTask *> themselves;
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        const Candidate &candidate = candidates[i];
        if (!candidate.source || !candidate.destination ||
            (candidate.task && hasEnded(candidate.task->state()))) {
            continue;
        }
        if (candidate.task) {
            themselves.insert(candidate.task);
        }
        groups[lastName(candidate.source->url())].members.append(i);
        ++remaining;
    }
    for (Group &group : groups) {
        if (group.members.size() > 1) {
            keyGroup(group);
        }
    }
    for (const ZKFerrowickDocument *document : std::as_const(openQueues())) {
        for (const ZKTaskPtr &task : document->taskQueue().tasks()) {
            if (remaining == 0) {
                return reasons;
            }
            if (hasEnded(task->state()) || themselves.contains(task.get())) {
                continue;
            }
            const auto source = task->source();
            const auto destination = task->destination();
            if (!source || !destination) {
                continue;
            }
            const auto group = groups.find(lastName(source->url()));
            if (group == groups.end()) {
                continue;
            }
            keyGroup(*group);
            const auto found = group->byKey.constFind(transferKey(*source, *destination));
            if (found != group->byKey.cend()) {
                reasons[*found] = alreadyQueued(*candidates[*found].source, *document);
                group->byKey.erase(found);
                --remaining;
            }
        }
    }
    return reasons;
}

QStringList ZKTaskRegistry::refusalsForTasks(const QList<ZKTaskPtr> &tasks) {
    QList<Candidate> candidates;
    candidates.reserve(tasks.size());
    for (const ZKTaskPtr &task : tasks) {
        candidates.append(task ? Candidate{task->source(), task->destination(), task.get()}
                               : Candidate{});
    }
    return refusals(candidates);
}

QStringList ZKTaskRegistry::refusalsForSources(const QList<ZKReaderPtr> &sources,
                                               const ZKWriterPtr &destination) {
    QList<Candidate> candidates;
    candidates.reserve(sources.size());
    for (const ZKReaderPtr &source : sources) {
        candidates.append({source, destination, nullptr});
    }
    return refusals(candidates);
}
