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
    if (!name.isEmpty()) {
        return name;
    }
    const QUrl url = source.url();
    return url.isLocalFile() ? url.toLocalFile() : url.toDisplayString(QUrl::RemovePassword);
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

bool ZKTaskRegistry::hasEnded(qint32 state) {
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
    // The transfers still looked for, each with its candidate.
    QHash<QString, qsizetype> wanted;
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
        const QString key = transferKey(*candidate.source, *candidate.destination);
        if (wanted.contains(key)) {
            reasons[i] = givenTwice(*candidate.source);
        } else {
            wanted.insert(key, i);
        }
    }
    // A walk over every task of every queue; only tasks at work have their
    // addresses spelt out.
    for (const ZKFerrowickDocument *document : std::as_const(openQueues())) {
        if (wanted.isEmpty()) {
            break;
        }
        for (const ZKTaskPtr &task : document->taskQueue().tasks()) {
            if (hasEnded(task->state()) || themselves.contains(task.get())) {
                continue;
            }
            const auto source = task->source();
            const auto destination = task->destination();
            if (!source || !destination) {
                continue;
            }
            const auto found = wanted.constFind(transferKey(*source, *destination));
            if (found == wanted.cend()) {
                continue;
            }
            reasons[*found] = alreadyQueued(*candidates[*found].source, *document);
            wanted.erase(found);
            if (wanted.isEmpty()) {
                break;
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
