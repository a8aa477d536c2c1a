// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Measures the queue itself as it grows: a queue of N tasks, each copying a
// one-byte local file into one folder, is added, saved, loaded and run the
// way the terminal front end does it, for N = 1,000, 10,000 and 100,000.
// Each size runs in a child process of its own, since the peak memory of a
// process only grows and a size that hangs must not stop the others; a
// child still running after the time-out is killed and reported as such.
// cp copies the same files in the same run, as a point of reference.
// queue-bench.sh runs it once on tmpfs and once on disk.
//
//   ferrowick-queue-bench [--sizes 1000,10000,100000] [--timeout SECONDS] DIR
//   ferrowick-queue-bench one COUNT SOURCEDIR DESTDIR QUEUEFILE   (a child)

#include "ZKError.h"
#include "ZKFerrowickDocument.h"
#include "ZKPreferenceKeys.h"
#include "ZKPreferences.h"
#include "ZKQueueRunner.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKUserDefaults.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QProcess>
#include <QStorageInfo>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include <malloc.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The content of source file i: files differ, so a copy of the wrong file
// is caught as surely as a missing one.
char expectedByte(int i) {
    return char('a' + i % 26);
}

QString fileName(int i) {
    return QStringLiteral("f%1").arg(i, 6, 10, QLatin1Char('0'));
}

// A number from /proc/self/status ("VmRSS", "VmHWM" in KiB, "Threads"); -1
// when the line is missing.
long statusValue(const std::string &key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, key.size() + 1, key + ':') == 0) {
            return std::stol(line.substr(key.size() + 1));
        }
    }
    return -1;
}

// ---- the child: one size

// The peak before the last new start, so that the whole run's peak is still
// told.
long earlierPeak = 0;

// The most threads seen so far in this process, by the sampler in runOne().
std::atomic<long> largestThreadCount{0};

// Figures go out one phase at a time and at once, each with the threads and
// peak memory so far, so that a child killed at the time-out still tells
// how far it got and what it held on the way.
void report(const QString &pairs) {
    std::printf("%s threads=%ld peak_rss_kib=%ld\n", qPrintable(pairs), largestThreadCount.load(),
                std::max(earlierPeak, statusValue("VmHWM")));
    std::fflush(stdout);
}

// Starts a new peak at the present size (Linux 4.0 and later), so that the
// peak of one phase is not that of an earlier one; answers the present size
// in KiB. What the allocator kept of freed memory goes back first, or an
// earlier phase's garbage would hide the next one's peak.
long startNewPeak() {
    earlierPeak = std::max(earlierPeak, statusValue("VmHWM"));
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    return statusValue("VmRSS");
}

int fail(const QString &reason) {
    std::printf("error=%s\n", qPrintable(reason));
    std::fflush(stdout);
    return 1;
}

// Delivers the calls that have been posted to the main thread so far: the
// document hands part of its work over that way, and that work belongs to
// the step that caused it.
void deliverPostedCalls() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
}

int runOne(int count, const QString &sourceDir, const QString &destDir, const QString &queueFile) {
    ZKPreferences::initialiseUserDefaults();
    // The completion sound is no part of the queue's work, and a machine
    // without a sound card would only add its complaints to the time.
    ZKUserDefaults::standard().setString(ZKPreferenceKeys::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferenceKeys::failureSound, QString());

    // Sampled from a thread of its own because adding and loading keep the
    // main thread busy, so no timer would fire then; the sampler leaves
    // itself out of the count.
    std::jthread sampler([](std::stop_token stop) {
        while (!stop.stop_requested()) {
            const long threads = statusValue("Threads") - 1;
            largestThreadCount = std::max(largestThreadCount.load(), threads);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    });

    QStringList paths;
    for (int i = 0; i < count; ++i) {
        paths.append(QDir(sourceDir).filePath(fileName(i)));
    }

    {
        ZKFerrowickDocument document;
        // Paused, so that the time is that of adding and not of copying. (A
        // paused queue still analyses its next task in the background; the
        // one after waits for the event loop, which does not run here.)
        document.setState(ZKQueueState::Paused);
        document.waitForBackgroundWork();
        deliverPostedCalls();
        const long rssBefore = statusValue("VmRSS");

        const auto addStart = Clock::now();
        QList<ZKReaderPtr> readers = ZKReaderFactory::readersWithPaths(paths);
        ZKError error;
        const ZKWriterPtr destination = ZKReaderFactory::writerWithPath(destDir, &error);
        if (!destination) {
            return fail(QStringLiteral("no destination: ") + error.localizedDescription());
        }
        document.addTasks(readers, destination, 0);
        document.waitForBackgroundWork();
        deliverPostedCalls();
        const double addSeconds = secondsSince(addStart);
        readers.clear();
        if (document.countOfTasks() != count) {
            return fail(QStringLiteral("%1 tasks were added, not %2")
                            .arg(document.countOfTasks())
                            .arg(count));
        }
        const long rssAfter = statusValue("VmRSS");
        report(QStringLiteral("add=%1 bytes_per_task=%2")
                   .arg(addSeconds, 0, 'f', 3)
                   .arg((rssAfter - rssBefore) * 1024 / count));

        const long rssBeforeSave = startNewPeak();
        const auto saveStart = Clock::now();
        if (!document.writeToFile(queueFile, &error)) {
            return fail(error.localizedDescription());
        }
        const double saveSeconds = secondsSince(saveStart);
        const long savePeak = statusValue("VmHWM");
        report(QStringLiteral("save=%1 save_peak_kib=%2 save_extra_kib=%3")
                   .arg(saveSeconds, 0, 'f', 3)
                   .arg(savePeak)
                   .arg(savePeak - rssBeforeSave));
    } // closed before loading, so that two queues never count in the peak

    ZKFerrowickDocument document;
    // What the closed queue leaves to the allocator is reused, not returned,
    // so the peak of loading starts from the size after closing.
    const long rssBeforeLoad = startNewPeak();
    const auto loadStart = Clock::now();
    ZKError error;
    if (!document.readFromFile(queueFile, &error)) {
        return fail(error.localizedDescription());
    }
    document.waitForBackgroundWork();
    deliverPostedCalls();
    const double loadSeconds = secondsSince(loadStart);
    if (document.countOfTasks() != count || !document.unreadTaskEntries().isEmpty()) {
        return fail(
            QStringLiteral("%1 tasks were loaded, not %2").arg(document.countOfTasks()).arg(count));
    }
    const long loadPeak = statusValue("VmHWM");
    // What the loaded queue holds, next to what loading needed on the way.
    malloc_trim(0);
    const long heldAfterLoad = statusValue("VmRSS");
    report(QStringLiteral("load=%1 load_peak_kib=%2 load_extra_kib=%3 load_held_kib=%4")
               .arg(loadSeconds, 0, 'f', 3)
               .arg(loadPeak)
               .arg(loadPeak - rssBeforeLoad)
               .arg(heldAfterLoad - rssBeforeLoad));

    // A change of the overall rate: setDataRate() is what a new rate sample
    // ends in; the document then posts to the main thread the call that
    // hands the rate to the queue (and from it to the running tasks) and
    // announces its texts. The time is that of both, on the main thread,
    // with the whole queue loaded; the median of five changes, each to a new
    // rate, since an unchanged rate does nothing.
    QList<double> changeMilliseconds;
    for (int i = 1; i <= 5; ++i) {
        const double rate = 1000.0 * i;
        const auto changeStart = Clock::now();
        document.setDataRate(rate);
        deliverPostedCalls();
        changeMilliseconds.append(secondsSince(changeStart) * 1000);
        if (document.taskQueue().dataRate() != rate) {
            return fail(QStringLiteral("a change of the overall rate did not reach the queue"));
        }
    }
    std::sort(changeMilliseconds.begin(), changeMilliseconds.end());
    report(QStringLiteral("rate_change_ms=%1").arg(changeMilliseconds.at(2), 0, 'f', 3));

    // As the terminal front end runs a queue file, but without its saving
    // every second: saving is timed on its own above.
    ZKQueueRunner::takeUpSavedWork(document);
    ZKQueueRunner runner(document, QString());
    // The runner looks for the end ten times a second; the completion signal
    // ends the run as soon as it comes, so that short runs are not rounded.
    QObject::connect(&document, &ZKFerrowickDocument::queueCompleted, &runner, [&runner] {
        if (runner.isFinished()) {
            QCoreApplication::exit(runner.exitStatus());
        }
    });
    const auto runStart = Clock::now();
    document.setState(ZKQueueState::Running);
    const int status = runner.exec();
    const double runSeconds = secondsSince(runStart);
    sampler.request_stop();
    sampler.join();
    if (status != 0) {
        return fail(
            QStringLiteral("not every task completed (%1 failed)").arg(document.failedTaskCount()));
    }
    for (int i = 0; i < count; ++i) {
        QFile copy(QDir(destDir).filePath(fileName(i)));
        if (!copy.open(QIODevice::ReadOnly) || copy.readAll() != QByteArray(1, expectedByte(i))) {
            return fail(QStringLiteral("%1 is missing or wrong").arg(copy.fileName()));
        }
    }
    report(QStringLiteral("run=%1").arg(runSeconds, 0, 'f', 3));
    return 0;
}

// ---- the parent: all sizes

// The timed phases whose time per task should not grow with the queue.
const QStringList phases{QStringLiteral("add"), QStringLiteral("save"), QStringLiteral("load"),
                         QStringLiteral("run")};
// Every step of a child, in the order it takes them.
const QStringList steps{QStringLiteral("add"), QStringLiteral("save"), QStringLiteral("load"),
                        QStringLiteral("rate_change_ms"), QStringLiteral("run")};

struct SizeResult {
    int count = 0;
    QHash<QString, QString> values; // as the child reported them; the last one counts
    QString problem;                // why figures are missing
    QString stoppedIn;              // the step the child did not finish
    bool timedOut = false;
    std::optional<double> cpSeconds;
};

bool makeSourceFiles(const QString &dir, int count) {
    if (!QDir().mkpath(dir)) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        QFile file(QDir(dir).filePath(fileName(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(1, expectedByte(i))) != 1) {
            return false;
        }
    }
    return true;
}

// Runs a program and waits at most the time-out. Answers what went wrong,
// or an empty text.
QString runWithTimeout(QProcess &process, const QString &program, const QStringList &arguments,
                       int timeoutSeconds) {
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        return QStringLiteral("could not start %1: %2").arg(program, process.errorString());
    }
    if (!process.waitForFinished(timeoutSeconds * 1000)) {
        process.kill();
        process.waitForFinished();
        return QStringLiteral("timed out after %1 s").arg(timeoutSeconds);
    }
    if (process.exitStatus() == QProcess::CrashExit) {
        return QStringLiteral("crashed");
    }
    return process.exitCode() == 0 ? QString()
                                   : QStringLiteral("%1 exited with %2")
                                         .arg(QFileInfo(program).fileName())
                                         .arg(process.exitCode());
}

SizeResult measureSize(const QString &workDir, int count, int timeoutSeconds) {
    SizeResult result;
    result.count = count;
    const QString dir = QDir(workDir).filePath(QStringLiteral("n%1").arg(count));
    const QString source = dir + QStringLiteral("/source");
    const QString dest = dir + QStringLiteral("/dest");
    if (!makeSourceFiles(source, count)) {
        result.problem = QStringLiteral("could not make the source files in ") + source;
        QDir(dir).removeRecursively();
        return result;
    }
    ::sync(); // no step pays for the dirty pages of the one before

    QProcess child;
    // Settings of its own, so that the user's (verification, automatic
    // clearing...) neither change the figures nor are changed.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), dir + QStringLiteral("/config"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const QString problem = runWithTimeout(
        child, QCoreApplication::applicationFilePath(),
        {QStringLiteral("one"), QString::number(count), source, dest, dir + "/bench.queue"},
        timeoutSeconds);
    for (const QByteArray &line : child.readAllStandardOutput().split('\n')) {
        const QString text = QString::fromLocal8Bit(line);
        if (text.startsWith(QStringLiteral("error="))) {
            result.problem = text.mid(6);
            continue;
        }
        for (const QString &pair : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            result.values.insert(pair.section(QLatin1Char('='), 0, 0),
                                 pair.section(QLatin1Char('='), 1));
        }
    }
    if (!problem.isEmpty() || !result.problem.isEmpty()) {
        const auto unfinished = std::find_if(steps.begin(), steps.end(), [&](const QString &step) {
            return !result.values.contains(step);
        });
        result.stoppedIn = unfinished == steps.end() ? QStringLiteral("closing") : *unfinished;
        result.timedOut = problem.startsWith(QStringLiteral("timed out"));
        if (result.problem.isEmpty()) {
            result.problem = QStringLiteral("%1 in %2").arg(problem, result.stoppedIn);
        }
    }

    // cp of the same files into a fresh folder; find hands it as many names
    // at a time as fit, where "cp SOURCE/*" would hit the argument limit.
    QDir(dest).removeRecursively();
    const QString cpDest = dir + QStringLiteral("/cp");
    QDir().mkpath(cpDest);
    ::sync();
    QProcess cp;
    cp.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const auto cpStart = Clock::now();
    const QString cpProblem = runWithTimeout(
        cp, QStringLiteral("find"),
        {source, QStringLiteral("-maxdepth"), QStringLiteral("1"), QStringLiteral("-type"),
         QStringLiteral("f"), QStringLiteral("-exec"), QStringLiteral("cp"), QStringLiteral("-t"),
         cpDest, QStringLiteral("{}"), QStringLiteral("+")},
        timeoutSeconds);
    if (cpProblem.isEmpty()) {
        result.cpSeconds = secondsSince(cpStart);
    } else {
        std::fprintf(stderr, "cp of %d files: %s\n", count, qPrintable(cpProblem));
    }
    QDir(dir).removeRecursively();
    return result;
}

// "-" for a figure the child did not reach; "timeout" or "failed" for the
// step it was in when it stopped.
QString shown(const SizeResult &result, const QString &key) {
    if (result.values.contains(key)) {
        return result.values.value(key);
    }
    if (key == result.stoppedIn) {
        return result.timedOut ? QStringLiteral("timeout") : QStringLiteral("failed");
    }
    return QStringLiteral("-");
}

std::optional<double> number(const SizeResult &result, const QString &key) {
    bool ok = false;
    const double value = result.values.value(key).toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

// A size that stopped early gives some figures only as lower bounds, or
// none: they can show that an aim fails, never that it holds.
const char *verdict(bool fails, bool complete) {
    return fails ? "does not hold" : complete ? "holds" : "unknown, a size did not finish";
}

void printAims(const QList<SizeResult> &results) {
    const SizeResult &smallest = results.first();
    const SizeResult &largest = results.last();
    const auto finished = [](const SizeResult &result, const QString &key) {
        return number(result, key) && result.problem.isEmpty();
    };

    std::printf("\n");
    bool ratioFails = false;
    bool ratioKnown = results.size() > 1;
    QString ratios;
    for (const QString &phase : phases) {
        const auto small = number(smallest, phase);
        const auto large = number(largest, phase);
        QString ratio = shown(largest, phase);
        if (small && large && *small > 0) {
            const double value = (*large / largest.count) / (*small / smallest.count);
            ratio = QStringLiteral("%1x").arg(value, 0, 'f', 2);
            ratioFails = ratioFails || value > 1.3;
        } else {
            ratioKnown = false;
        }
        ratios += QStringLiteral("  %1 %2").arg(phase, ratio);
    }
    if (results.size() > 1) {
        std::printf("time per task at %d / at %d tasks:%s\n", largest.count, smallest.count,
                    qPrintable(ratios));
        std::printf("aim: that ratio within 1.3x for add, save, load and run: %s\n",
                    verdict(ratioFails, ratioKnown));
    } else {
        std::printf("aim: time per task within 1.3x across sizes: needs two sizes\n");
    }

    const auto largestOf = [&](const QString &key, double limit, const char *aim) {
        double top = 0;
        bool complete = true;
        for (const SizeResult &result : results) {
            top = std::max(top, number(result, key).value_or(0));
            complete = complete && finished(result, key);
        }
        std::printf("aim: %s: %s (largest %s)\n", aim, verdict(top > limit, complete),
                    qPrintable(QString::number(top)));
    };
    largestOf(QStringLiteral("threads"), 8, "at most 8 threads");
    largestOf(QStringLiteral("bytes_per_task"), 4095, "under 4 KiB (4096 B) per waiting task");

    const auto atLimit = std::find_if(results.begin(), results.end(),
                                      [](const SizeResult &r) { return r.count == 100000; });
    const QString change = QStringLiteral("rate_change_ms");
    if (atLimit == results.end()) {
        std::printf("aim: one overall-rate change under 1 ms at 100000 tasks: not measured "
                    "(%s ms at %d tasks)\n",
                    qPrintable(shown(largest, change)), largest.count);
    } else {
        const auto milliseconds = number(*atLimit, change);
        std::printf("aim: one overall-rate change under 1 ms at 100000 tasks: %s (%s ms)\n",
                    verdict(milliseconds && *milliseconds >= 1, bool(milliseconds)),
                    qPrintable(shown(*atLimit, change)));
    }

    QString reference;
    for (const SizeResult &result : results) {
        reference += result.cpSeconds ? QStringLiteral("  %1 files %2 s")
                                            .arg(result.count)
                                            .arg(*result.cpSeconds, 0, 'f', 3)
                                      : QStringLiteral("  %1 files failed").arg(result.count);
        const auto run = number(result, QStringLiteral("run"));
        if (run && result.cpSeconds && *result.cpSeconds > 0) {
            reference += QStringLiteral(" (run %1x)").arg(*run / *result.cpSeconds, 0, 'f', 1);
        }
    }
    std::printf("reference, cp of the same files:%s\n", qPrintable(reference));
}

int runAll(const QStringList &arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Times a queue of N one-byte copies."));
    parser.addOption({QStringLiteral("sizes"), QStringLiteral("Numbers of tasks, comma-separated."),
                      QStringLiteral("list"), QStringLiteral("1000,10000,100000")});
    parser.addOption({QStringLiteral("timeout"), QStringLiteral("Seconds allowed to each size."),
                      QStringLiteral("seconds"), QStringLiteral("600")});
    parser.addPositionalArgument(QStringLiteral("dir"), QStringLiteral("Work folder."));
    parser.addHelpOption();
    parser.process(arguments);

    QList<int> sizes;
    for (const QString &text : parser.value(QStringLiteral("sizes")).split(QLatin1Char(','))) {
        bool ok = false;
        const int size = text.trimmed().toInt(&ok);
        if (!ok || size < 1 || size > 1000000) {
            std::fprintf(stderr, "--sizes takes numbers of tasks from 1 to 1000000, such as "
                                 "1000,10000\n");
            return 2;
        }
        sizes.append(size);
    }
    std::sort(sizes.begin(), sizes.end());
    bool ok = false;
    const int timeout = parser.value(QStringLiteral("timeout")).toInt(&ok);
    if (!ok || timeout < 1 || timeout > 24 * 3600) {
        std::fprintf(stderr, "--timeout takes a number of seconds from 1 to 86400\n");
        return 2;
    }
    if (parser.positionalArguments().size() != 1) {
        parser.showHelp(2);
    }
    const QString workDir = QDir(parser.positionalArguments().first()).absolutePath();
    if (!QDir().mkpath(workDir)) {
        std::fprintf(stderr, "cannot make the work folder %s\n", qPrintable(workDir));
        return 2;
    }

    std::printf("queue of one-byte copies in %s (%s), time-out %d s a size\n", qPrintable(workDir),
                QStorageInfo(workDir).fileSystemType().constData(), timeout);
    // The peaks of saving and loading are those of the process while it did
    // that alone; "+" is how far they rose above the size before the step,
    // "held" what the loaded queue keeps of it.
    std::printf("%8s %8s %8s %8s %8s %10s %8s %9s %9s %9s %9s %9s %9s %9s\n", "tasks", "add s",
                "save s", "load s", "run s", "rate ms", "threads", "peak MiB", "B/task", "save MiB",
                "+save", "load MiB", "+load", "held MiB");
    std::fflush(stdout);
    QList<SizeResult> results;
    for (const int size : sizes) {
        const SizeResult result = measureSize(workDir, size, timeout);
        const auto peak = number(result, QStringLiteral("peak_rss_kib"));
        const auto mebibytes = [&](const char *key) {
            const auto kib = number(result, QString::fromLatin1(key));
            return kib ? QString::number(*kib / 1024, 'f', 1) : QStringLiteral("-");
        };
        std::printf("%8d %8s %8s %8s %8s %10s %8s %9s %9s %9s %9s %9s %9s %9s  %s\n", size,
                    qPrintable(shown(result, QStringLiteral("add"))),
                    qPrintable(shown(result, QStringLiteral("save"))),
                    qPrintable(shown(result, QStringLiteral("load"))),
                    qPrintable(shown(result, QStringLiteral("run"))),
                    qPrintable(shown(result, QStringLiteral("rate_change_ms"))),
                    qPrintable(shown(result, QStringLiteral("threads"))),
                    peak ? qPrintable(QString::number(*peak / 1024, 'f', 1)) : "-",
                    qPrintable(shown(result, QStringLiteral("bytes_per_task"))),
                    qPrintable(mebibytes("save_peak_kib")), qPrintable(mebibytes("save_extra_kib")),
                    qPrintable(mebibytes("load_peak_kib")), qPrintable(mebibytes("load_extra_kib")),
                    qPrintable(mebibytes("load_held_kib")), qPrintable(result.problem));
        std::fflush(stdout);
        results.append(result);
    }
    printAims(results);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.value(1) == QStringLiteral("one")) {
        bool ok = false;
        const int count = args.value(2).toInt(&ok);
        if (args.size() != 6 || !ok || count < 1) {
            std::fputs("usage: ferrowick-queue-bench one COUNT SOURCEDIR DESTDIR QUEUEFILE\n",
                       stderr);
            return 2;
        }
        return runOne(count, args.at(3), args.at(4), args.at(5));
    }
    return runAll(args);
}
