// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskRegistry.h"

#include "ZKFerrowickDocument.h"
#include "ZKTaskState.h"

#include <QCoreApplication>
#include <QDir>
#include <QHash>

#include <algorithm>
#include <typeinfo>
#include <unordered_map>
#include <vector>

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

size_t nameHash(const QString &name) {
    return qHash(name, size_t(0));
}

size_t sourceNameHash(const ZKTask &task) {
    const ZKReaderPtr source = task.source();
    return source ? nameHash(lastName(source->url())) : 0;
}

// The tasks of one open queue by the last part of their source's address,
// so that a check looks at the few tasks whose source ends alike instead of
// a queue of 100,000. It follows the queue as tasks join it and leave it,
// and as a task's source changes (the queue tells of any change a row
// shows). An entry only points the way, and is looked up in the queue before
// it counts: those of tasks that left, or of a name a task no longer has,
// are dropped in sweeps. Pairs in one sorted vector, since a table cost the
// queue two hash nodes a task.
class NameIndex {
public:
    static const NameIndex &of(const ZKTaskQueue &queue) {
        // Node-based: an index stays where it is while others come and go.
        static std::unordered_map<const ZKTaskQueue *, NameIndex> indexes;
        auto found = indexes.find(&queue);
        if (found == indexes.end()) {
            found = indexes.emplace(&queue, NameIndex()).first;
            QObject::connect(&queue, &QObject::destroyed, [key = &queue] { indexes.erase(key); });
            QObject::connect(&queue, &ZKTaskQueue::tasksInserted, &queue,
                             [&queue](const ZKIndexList &at) { indexes[&queue].join(queue, at); });
            QObject::connect(
                &queue, &ZKTaskQueue::tasksRemoved, &queue,
                [&queue](const ZKIndexList &at) { indexes[&queue].leave(queue, at.size()); });
            QObject::connect(&queue, &ZKTaskQueue::taskChanged, &queue,
                             [&queue](const ZKTaskPtr &task) { indexes[&queue].refile(*task); });
            found->second.rebuild(queue);
        } else if (NameIndex &index = found->second;
                   qsizetype(index.m_filed.size()) - index.m_gone != queue.count()) {
            // Out of step with the queue, as it should never be: start from
            // what the queue holds.
            index.rebuild(queue);
        }
        return found->second;
    }

    QList<const ZKTask *> tasksWithNameHash(size_t hash) const {
        QList<const ZKTask *> tasks;
        for (auto [at, end] = named(hash); at != end; ++at) {
            tasks.append(at->second);
        }
        return tasks;
    }
    bool isEmpty() const { return m_filed.empty(); }

private:
    using Filing = std::pair<size_t, const ZKTask *>;

    std::pair<std::vector<Filing>::const_iterator, std::vector<Filing>::const_iterator>
    named(size_t hash) const {
        const auto first =
            std::lower_bound(m_filed.cbegin(), m_filed.cend(), Filing{hash, nullptr});
        auto end = first;
        while (end != m_filed.cend() && end->first == hash) {
            ++end;
        }
        return {first, end};
    }

    void join(const ZKTaskQueue &queue, const ZKIndexList &at) {
        const QList<ZKTaskPtr> tasks = queue.tasks();
        const auto middle = qsizetype(m_filed.size());
        for (const qsizetype i : at) {
            if (i >= 0 && i < tasks.size()) {
                m_filed.emplace_back(sourceNameHash(*tasks.at(i)), tasks.at(i).get());
            }
        }
        std::sort(m_filed.begin() + middle, m_filed.end());
        std::inplace_merge(m_filed.begin(), m_filed.begin() + middle, m_filed.end());
    }

    void leave(const ZKTaskQueue &queue, qsizetype count) {
        m_gone += count;
        sweepIfStale(queue);
    }

    void refile(const ZKTask &task) {
        const size_t hash = sourceNameHash(task);
        auto [at, end] = named(hash);
        if (std::any_of(at, end,
                        [&task](const Filing &filing) { return filing.second == &task; })) {
            return;
        }
        // Filed under the name it had, which now points nowhere.
        m_filed.insert(end, Filing{hash, &task});
        ++m_gone;
    }

    void sweepIfStale(const ZKTaskQueue &queue) {
        if (m_gone > 64 && m_gone > qsizetype(m_filed.size()) / 2) {
            rebuild(queue);
        }
    }

    void rebuild(const ZKTaskQueue &queue) {
        const QList<ZKTaskPtr> tasks = queue.tasks();
        m_filed.clear();
        m_filed.shrink_to_fit();
        m_filed.reserve(size_t(tasks.size()));
        m_gone = 0;
        for (const ZKTaskPtr &task : tasks) {
            m_filed.emplace_back(sourceNameHash(*task), task.get());
        }
        std::sort(m_filed.begin(), m_filed.end());
    }

    std::vector<Filing> m_filed; // ascending
    // Of the filed entries, how many are of a task that left or was filed
    // again under another name.
    qsizetype m_gone = 0;
};

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
    // The candidates still looked for, by the hash of the last part of their
    // source's address: only the tasks whose source ends alike are looked at,
    // and their addresses spelt out. Sorted runs rather than a table of
    // groups, which cost a hundred thousand allocations on opening a long
    // queue.
    struct Member {
        size_t hash;
        qsizetype index;
        auto operator<=>(const Member &) const = default;
    };
    std::vector<Member> members;
    members.reserve(size_t(candidates.size()));
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
        members.push_back({nameHash(lastName(candidate.source->url())), i});
    }
    std::sort(members.begin(), members.end());
    struct Group {
        size_t hash;
        qsizetype begin;
        qsizetype end;
        QHash<QString, qsizetype> byKey;
        bool keyed = false;
    };
    std::vector<Group> groups;
    for (qsizetype at = 0; at < qsizetype(members.size());) {
        qsizetype end = at + 1;
        while (end < qsizetype(members.size()) && members[end].hash == members[at].hash) {
            ++end;
        }
        groups.push_back({members[at].hash, at, end, {}, false});
        at = end;
    }
    qsizetype remaining = qsizetype(members.size());
    auto keyGroup = [&](Group &group) {
        if (group.keyed) {
            return;
        }
        group.keyed = true;
        // In the candidates' order: the later of two alike is refused.
        for (qsizetype m = group.begin; m < group.end; ++m) {
            const qsizetype i = members[m].index;
            if (group.byKey.contains(keyOf(i))) {
                reasons[i] = givenTwice(*candidates[i].source);
                --remaining;
            } else {
                group.byKey.insert(keyOf(i), i);
            }
        }
    };
    for (Group &group : groups) {
        if (group.end - group.begin > 1) {
            keyGroup(group);
        }
    }
    for (const ZKFerrowickDocument *document : std::as_const(openQueues())) {
        const ZKTaskQueue &queue = document->taskQueue();
        const NameIndex &index = NameIndex::of(queue);
        if (index.isEmpty()) {
            continue;
        }
        for (Group &group : groups) {
            if (remaining == 0) {
                return reasons;
            }
            for (const ZKTask *address : index.tasksWithNameHash(group.hash)) {
                // The index only points the way: what counts is the task as
                // the queue holds it now.
                const ZKTaskPtr task = queue.taskWithAddress(address);
                if (!task || hasEnded(task->state()) || themselves.contains(task.get())) {
                    continue;
                }
                const auto source = task->source();
                const auto destination = task->destination();
                if (!source || !destination) {
                    continue;
                }
                keyGroup(group);
                const auto found = group.byKey.constFind(transferKey(*source, *destination));
                if (found != group.byKey.cend()) {
                    reasons[*found] = alreadyQueued(*candidates[*found].source, *document);
                    group.byKey.erase(found);
                    --remaining;
                }
            }
        }
    }
    return reasons;
}

QStringList ZKTaskRegistry::refusalsForTasks(const QList<ZKTaskPtr> &tasks) {
    QList<Candidate> candidates;
    candidates.reserve(tasks.size());
    for (const ZKTaskPtr &task : tasks) {
        // An ended task is never refused: its endpoints are not even taken.
        candidates.append(task && !hasEnded(task->state())
                              ? Candidate{task->source(), task->destination(), task.get()}
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
