// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKTaskQueue.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKTimeFormatter.h"

#include <QCoreApplication>
#include <QDir>
#include <QHash>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <functional>
#include <numeric>

using ZKTestSupport::writeFile;

class TestZKTaskQueue : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void figures_data();
    void figures();
    void indexedSignalsTellWhatChanged_data();
    void indexedSignalsTellWhatChanged();
    void followedAnswersMatchAWalk_data();
    void followedAnswersMatchAWalk();
    void taskInTwoQueuesCountsInBoth();

private:
    ZKTaskPtr makeTask(const QString &name, ZKTaskState state = ZKTaskState::PendingPreparation);
    ZKTaskPtr taskNamed(const QString &name);
    QString runSteps(const QString &initial, const QStringList &steps, ZKTaskQueue &queue);
    std::unique_ptr<QTemporaryDir> m_dir;
    QHash<QString, ZKTaskPtr> m_named;
};

void TestZKTaskQueue::init() {
    m_named.clear();
    m_dir = std::make_unique<QTemporaryDir>();
}

ZKTaskPtr TestZKTaskQueue::makeTask(const QString &name, ZKTaskState state) {
    const QString path = QDir(m_dir->path()).filePath(name);
    writeFile(path, "x");
    auto task = ZKCopyTask::create(ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path)),
                                   ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(
                                       QDir(m_dir->path()).filePath(QStringLiteral("out")))));
    task->setState(state);
    return task;
}

namespace {

using S = ZKTaskState;

// The figures a queue follows are set by the task itself as it runs.
ZKCopyTask &copyTask(const ZKTaskPtr &task) {
    return static_cast<ZKCopyTask &>(*task);
}

QStringList names(const ZKTaskQueue &queue) {
    QStringList list;
    for (const auto &task : queue.tasks()) {
        list << task->filename();
    }
    return list;
}

QString nameOf(const ZKTaskPtr &task) {
    return task ? task->filename() : QStringLiteral("none");
}

QString listed(const QStringList &list) {
    return QLatin1Char('[') + list.join(QLatin1Char(' ')) + QLatin1Char(']');
}

QString listed(const ZKIndexList &indexes) {
    QStringList list;
    for (const auto index : indexes) {
        list << QString::number(index);
    }
    return listed(list);
}

bool isIn(const ZKTaskPtr &task, std::initializer_list<ZKTaskState> states) {
    return std::find(states.begin(), states.end(), task->state()) != states.end();
}

// Rows kept beside a queue from its signals alone, as a view keeps them: if
// a signal says less or other than what happened, the rows drift from the
// queue.
class Mirror {
public:
    explicit Mirror(ZKTaskQueue &queue)
        : m_queue(queue)
        , m_rows(names(queue)) {
        QObject::connect(&queue, &ZKTaskQueue::tasksInserted, &m_context,
                         [this](const ZKIndexList &indexes) { inserted(indexes); });
        QObject::connect(&queue, &ZKTaskQueue::tasksRemoved, &m_context,
                         [this](const ZKIndexList &indexes) { removed(indexes); });
        QObject::connect(&queue, &ZKTaskQueue::taskMoved, &m_context,
                         [this](qsizetype from, qsizetype to) { moved(from, to); });
        QObject::connect(&queue, &ZKTaskQueue::tasksReordered, &m_context, [this] {
            announce(QStringLiteral("reordered"));
            ++m_rebuilds;
            m_rows = names(m_queue);
        });
        QObject::connect(&queue, &ZKTaskQueue::tasksChanged, &m_context,
                         [this] { m_unsettled.clear(); });
    }

    // Empty while the rows match the queue and every signal made sense.
    QString problem() const {
        if (!m_error.isEmpty()) {
            return m_error;
        }
        if (!m_unsettled.isEmpty()) {
            return QStringLiteral("no tasksChanged after %1").arg(m_unsettled);
        }
        if (m_rows != names(m_queue)) {
            return QStringLiteral("the signals make the rows %1 but the queue holds %2")
                .arg(listed(m_rows), listed(names(m_queue)));
        }
        return {};
    }

    // How often a view had to read every row again.
    int rebuilds() const { return m_rebuilds; }

private:
    void announce(const QString &what) {
        if (!m_unsettled.isEmpty()) {
            fail(QStringLiteral("%1 came before tasksChanged for %2").arg(what, m_unsettled));
        }
        m_unsettled = what;
    }

    void fail(const QString &error) {
        if (m_error.isEmpty()) {
            m_error = error;
        }
    }

    bool ascending(const ZKIndexList &indexes, const QString &what) {
        if (std::adjacent_find(indexes.cbegin(), indexes.cend(), std::greater_equal<>()) !=
            indexes.cend()) {
            fail(QStringLiteral("%1 not ascending").arg(what));
            return false;
        }
        return true;
    }

    void inserted(const ZKIndexList &indexes) {
        const QString what = QStringLiteral("inserted %1").arg(listed(indexes));
        announce(what);
        if (!ascending(indexes, what)) {
            return;
        }
        for (const auto index : indexes) {
            const ZKTaskPtr task = m_queue.taskAtIndex(index);
            if (index < 0 || index > m_rows.size() || !task) {
                return fail(QStringLiteral("%1: %2 is no new row").arg(what).arg(index));
            }
            m_rows.insert(index, task->filename());
        }
    }

    void removed(const ZKIndexList &indexes) {
        const QString what = QStringLiteral("removed %1").arg(listed(indexes));
        announce(what);
        if (!ascending(indexes, what)) {
            return;
        }
        for (auto index = indexes.crbegin(); index != indexes.crend(); ++index) {
            if (*index < 0 || *index >= m_rows.size()) {
                return fail(QStringLiteral("%1: there is no row %2").arg(what).arg(*index));
            }
            m_rows.removeAt(*index);
        }
    }

    void moved(qsizetype from, qsizetype to) {
        const QString what = QStringLiteral("moved %1 to %2").arg(from).arg(to);
        announce(what);
        if (from < 0 || from >= m_rows.size() || to < 0 || to >= m_rows.size()) {
            return fail(QStringLiteral("%1: out of the rows").arg(what));
        }
        m_rows.move(from, to);
    }

    ZKTaskQueue &m_queue;
    QStringList m_rows;
    QString m_unsettled; // the last change not yet followed by tasksChanged
    QString m_error;
    int m_rebuilds = 0;
    QObject m_context;
};

// isBefore must agree with the list, as the state sets rely on that order;
// a task not in the queue is before nothing and nothing is before it.
QString orderProblem(const ZKTaskQueue &queue, const ZKTaskPtr &outside = nullptr) {
    const auto tasks = queue.tasks();
    for (qsizetype i = 0; i + 1 < tasks.size(); ++i) {
        if (!queue.isBefore(tasks[i], tasks[i + 1]) || queue.isBefore(tasks[i + 1], tasks[i])) {
            return QStringLiteral("isBefore disagrees with the order of %1 and %2 at %3")
                .arg(nameOf(tasks[i]), nameOf(tasks[i + 1]))
                .arg(i);
        }
    }
    if (outside && !tasks.isEmpty() &&
        (queue.isBefore(outside, tasks.first()) || queue.isBefore(tasks.last(), outside))) {
        return QStringLiteral("%1 is out of the queue but still ordered").arg(nameOf(outside));
    }
    return {};
}

// What the queue answers from what it follows, a "name value" line each.
QStringList followed(const ZKTaskQueue &queue) {
    return {QStringLiteral("currentTask ") + nameOf(queue.currentTask()),
            QStringLiteral("nextPreparationTask ") + nameOf(queue.nextPreparationTask()),
            QStringLiteral("nextTask ") + nameOf(queue.nextTask()),
            QStringLiteral("allTasksCompleted %1").arg(int(queue.allTasksCompleted())),
            QStringLiteral("failedCount %1").arg(queue.failedCount()),
            QStringLiteral("progressBytes %1").arg(queue.progressBytes()),
            QStringLiteral("totalBytes %1").arg(queue.totalBytes()),
            QStringLiteral("remainingBytes %1").arg(queue.remainingBytes()),
            QStringLiteral("hasRunningResumableTask %1").arg(int(queue.hasRunningResumableTask())),
            QStringLiteral("description ") + queue.description()};
}

// The same found by a walk over the queue's tasks. removedCompleted: the
// tasks taken out while completed since the last flush, which the summary
// still counts.
QStringList walked(const ZKTaskQueue &queue, qsizetype removedCompleted, double rate) {
    const auto tasks = queue.tasks();
    const auto first = [&](std::initializer_list<ZKTaskState> states) {
        const auto found = std::find_if(tasks.cbegin(), tasks.cend(),
                                        [&](const ZKTaskPtr &task) { return isIn(task, states); });
        return found == tasks.cend() ? nameOf(nullptr) : nameOf(*found);
    };
    bool allCompleted = true;
    bool moving = false;
    bool runningResumable = false;
    qsizetype failed = 0;
    qsizetype completed = removedCompleted;
    quint64 progress = 0;
    quint64 total = 0;
    quint64 work = 0;
    for (const auto &task : tasks) {
        allCompleted =
            allCompleted &&
            !isIn(task, {S::PendingPreparation, S::Preparing, S::PendingProcessing, S::Processing,
                         S::PendingVerification, S::Verifying, S::Cancelling});
        failed += task->state() == S::Failed;
        completed += task->state() == S::Completed;
        // Waiting and running tasks with their bytes, ended ones whole.
        if (task->state() <= S::Verifying) {
            progress += std::min(task->progressBytes(), task->totalBytes());
            total += task->totalBytes();
        } else if (isIn(task, {S::Completed, S::Failed})) {
            progress += task->totalBytes();
            total += task->totalBytes();
        }
        if (task->state() <= S::PendingRemoval) {
            work += copyTask(task).remainingWorkBytes();
        }
        moving = moving || isIn(task, {S::Processing, S::Verifying});
        runningResumable =
            runningResumable ||
            (isIn(task, {S::Processing, S::Verifying, S::Removing}) && task->isResumable());
    }
    QString description =
        QStringLiteral("%1 of %2 complete").arg(completed).arg(tasks.size() + removedCompleted);
    if (failed != 0) {
        description += QStringLiteral(", %1 failed").arg(failed);
    }
    if (moving && rate >= 0.1 && work != 0) {
        description += QStringLiteral(" - ") + ZKTimeFormatter::formatTime(double(work) / rate);
    }
    return {QStringLiteral("currentTask ") + first({S::Preparing, S::Processing, S::Verifying}),
            QStringLiteral("nextPreparationTask ") + first({S::PendingPreparation}),
            QStringLiteral("nextTask ") +
                first({S::PendingProcessing, S::PendingVerification, S::PendingRemoval}),
            QStringLiteral("allTasksCompleted %1").arg(int(allCompleted)),
            QStringLiteral("failedCount %1").arg(failed),
            QStringLiteral("progressBytes %1").arg(progress),
            QStringLiteral("totalBytes %1").arg(total),
            QStringLiteral("remainingBytes %1").arg(work),
            QStringLiteral("hasRunningResumableTask %1").arg(int(runningResumable)),
            QStringLiteral("description ") + description};
}

// Empty when the queue and the walk agree.
QString differences(const QStringList &answers, const QStringList &walk) {
    QStringList found;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        if (answers[i] != walk.value(i)) {
            found << QStringLiteral("%1, a walk finds %2").arg(answers[i], walk.value(i));
        }
    }
    return found.join(QStringLiteral("; "));
}

} // namespace

ZKTaskPtr TestZKTaskQueue::taskNamed(const QString &name) {
    ZKTaskPtr &task = m_named[name];
    if (!task) {
        task = makeTask(name);
    }
    return task;
}

// Fills the queue with the initial names, then runs each step, "operation |
// order afterwards", where the operation is "insert x@0 y@2", "remove 1 3",
// "move 0 4" or "sort asc|desc" (by name). Checks the order, isBefore and a
// mirror kept from the signals after each; returns the first problem.
QString TestZKTaskQueue::runSteps(const QString &initial, const QStringList &steps,
                                  ZKTaskQueue &queue) {
    QList<ZKTaskPtr> tasks;
    for (const auto &name : initial.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        tasks << taskNamed(name);
    }
    ZKIndexList indexes(tasks.size());
    std::iota(indexes.begin(), indexes.end(), 0);
    queue.insertTasks(tasks, indexes);
    Mirror mirror(queue);
    for (const auto &step : steps) {
        const QString operation = step.section(QLatin1Char('|'), 0, 0).trimmed();
        const QStringList words = operation.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QStringList expected =
            step.section(QLatin1Char('|'), 1).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        ZKIndexList numbers;
        for (const auto &word : words.mid(1)) {
            numbers << word.toLongLong();
        }
        const int rebuilds = mirror.rebuilds();
        if (words.value(0) == QStringLiteral("insert")) {
            QList<ZKTaskPtr> inserted;
            ZKIndexList at;
            for (const auto &word : words.mid(1)) {
                inserted << taskNamed(word.section(QLatin1Char('@'), 0, 0));
                at << word.section(QLatin1Char('@'), 1).toLongLong();
            }
            queue.insertTasks(inserted, at);
        } else if (words.value(0) == QStringLiteral("remove")) {
            queue.removeTasksAtIndexes(numbers);
        } else if (words.value(0) == QStringLiteral("move") && numbers.size() == 2) {
            queue.moveTask(numbers[0], numbers[1]);
        } else if (words.value(0) == QStringLiteral("sort")) {
            queue.sortWithDescriptor(QStringLiteral("filename"),
                                     words.value(1) != QStringLiteral("desc"));
        } else {
            return QStringLiteral("cannot read the step \"%1\"").arg(step);
        }
        QStringList problems{mirror.problem(), orderProblem(queue)};
        if (names(queue) != expected) {
            problems << QStringLiteral("the queue holds %1, not %2")
                            .arg(listed(names(queue)), listed(expected));
        }
        if (words.value(0) != QStringLiteral("sort") && mirror.rebuilds() != rebuilds) {
            problems << QStringLiteral("every row was to be read again");
        }
        problems.removeAll(QString());
        if (!problems.isEmpty()) {
            return QStringLiteral("after \"%1\": %2")
                .arg(operation, problems.join(QStringLiteral("; ")));
        }
    }
    return {};
}

// Which tasks count with which bytes is followedAnswersMatchAWalk; here the
// queue's state, its rate and the time left.
void TestZKTaskQueue::figures_data() {
    // Each task: "state progress total".
    QTest::addColumn<QStringList>("tasks");
    QTest::addColumn<qint32>("queueState");
    QTest::addColumn<double>("rate");
    QTest::addColumn<QString>("expected"); // done/total remaining rate time finished

    QTest::newRow("a paused task counts with its bytes")
        << QStringList{"PendingProcessing 3000000 10000000", "Completed 3000000 3000000"} << 1
        << 500.0 << "6000000/13000000 7000000 0 0 running";
    QTest::newRow("a running queue tells rate and time")
        << QStringList{"Processing 100 1100", "PendingPreparation 0 0"} << 0 << 100.0
        << "100/1100 1000 100 10 running";
    QTest::newRow("a paused queue has no time left")
        << QStringList{"Processing 100 1100"} << 1 << 100.0 << "100/1100 1000 100 0 running";
    QTest::newRow("an ended queue has no rate")
        << QStringList{"Completed 128 128", "Cancelled 0 300"} << 0 << 300.0
        << "128/128 0 0 0 finished";
    QTest::newRow("a verifying task moves bytes")
        << QStringList{"Verifying 40 100"} << 0 << 10.0 << "40/100 60 10 6 running";
}

void TestZKTaskQueue::figures() {
    QFETCH(QStringList, tasks);
    QFETCH(qint32, queueState);
    QFETCH(double, rate);
    QFETCH(QString, expected);
    ZKTaskQueue queue;
    for (const QString &row : tasks) {
        const QStringList parts = row.split(QLatin1Char(' '));
        auto task =
            makeTask(QStringLiteral("t%1").arg(queue.count()), ZKTaskStates::parse(parts.at(0)));
        copyTask(task).setTotalBytes(parts.at(2).toULongLong());
        copyTask(task).setProgressBytes(parts.at(1).toULongLong());
        queue.insertTask(task, queue.count());
    }
    queue.setDataRate(rate);
    const ZKQueueFigures f = queue.figures(queueState);
    const QString found = QStringLiteral("%1/%2 %3 %4 %5 %6")
                              .arg(f.progressBytes)
                              .arg(f.totalBytes)
                              .arg(f.remainingBytes)
                              .arg(f.dataRate)
                              .arg(f.timeRemaining)
                              .arg(f.isFinished ? "finished" : "running");
    QVERIFY2(found == expected, qUtf8Printable(found));
}

void TestZKTaskQueue::indexedSignalsTellWhatChanged_data() {
    QTest::addColumn<QString>("initial");
    QTest::addColumn<QStringList>("steps");

    const QString abc = QStringLiteral("a b c");
    const QString af = QStringLiteral("a b c d e f");
    QTest::newRow("insert at the front") << abc << QStringList{"insert x@0 | x a b c"};
    QTest::newRow("insert in the middle") << abc << QStringList{"insert x@2 | a b x c"};
    QTest::newRow("insert at the end") << abc << QStringList{"insert x@3 | a b c x"};
    QTest::newRow("insert past the end") << abc << QStringList{"insert x@99 | a b c x"};
    QTest::newRow("insert before the front") << abc << QStringList{"insert x@-4 | x a b c"};
    QTest::newRow("insert into nothing") << QString() << QStringList{"insert x@0 y@1 | x y"};
    QTest::newRow("insert several scattered")
        << abc << QStringList{"insert x@0 y@2 z@5 | x a y b c z"};
    QTest::newRow("insert several together") << abc << QStringList{"insert x@1 y@2 | a x y b c"};
    QTest::newRow("insert several at the end") << abc << QStringList{"insert x@3 y@4 | a b c x y"};
    QTest::newRow("insert several past the end")
        << abc << QStringList{"insert x@7 y@8 | a b c x y"};
    QTest::newRow("insert in the middle and past the end")
        << abc << QStringList{"insert x@1 y@50 | a x b c y"};
    QTest::newRow("remove scattered") << af << QStringList{"remove 0 2 5 | b d e"};
    QTest::newRow("remove out of range ignored")
        << af << QStringList{"remove -1 1 6 99 | a c d e f", "remove 7 | a c d e f"};
    QTest::newRow("remove a repeated index") << af << QStringList{"remove 1 3 3 | a c e f"};
    QTest::newRow("remove all") << af << QStringList{"remove 0 1 2 3 4 5 |"};
    QTest::newRow("move forwards") << af << QStringList{"move 1 4 | a c d b e f"};
    QTest::newRow("move backwards") << af << QStringList{"move 4 1 | a e b c d f"};
    QTest::newRow("move to the front") << af << QStringList{"move 5 0 | f a b c d e"};
    QTest::newRow("move to the end") << af << QStringList{"move 0 6 | b c d e f a"};
    QTest::newRow("move past the end") << af << QStringList{"move 2 99 | a b d e f c"};
    QTest::newRow("move onto itself")
        << af << QStringList{"move 2 2 | a b c d e f", "move 2 3 | a b c d e f"};
    QTest::newRow("move from nowhere")
        << af << QStringList{"move 6 0 | a b c d e f", "move -1 2 | a b c d e f"};
    QTest::newRow("sort") << QStringLiteral("c a d b")
                          << QStringList{"sort asc | a b c d", "sort desc | d c b a"};
    // A task put between two others takes a key between theirs; once one
    // place has had its room halved away, the queue is renumbered.
    QStringList crowded;
    QStringList between;
    for (int i = 0; i < 24; ++i) {
        between.prepend(QStringLiteral("p%1").arg(i));
        crowded << QStringLiteral("insert p%1@1 | a %2 b").arg(i).arg(between.join(' '));
    }
    QTest::newRow("insert into one place until its room runs out")
        << QStringLiteral("a b") << crowded;
    // The same task given again is there once, where it was first put.
    const QString ab = QStringLiteral("a b");
    QTest::newRow("twice in one call") << ab << QStringList{"insert t@1 t@2 | a t b"};
    QTest::newRow("twice in one call past the end") << ab << QStringList{"insert t@5 t@6 | a b t"};
    QTest::newRow("again elsewhere")
        << ab << QStringList{"insert t@0 | t a b", "insert t@2 | t a b"};
    QTest::newRow("again past the end")
        << ab << QStringList{"insert t@1 | a t b", "insert t@9 | a t b"};
    QTest::newRow("again beside a new one")
        << ab << QStringList{"insert t@0 | t a b", "insert t@0 x@1 | t x a b"};
    QTest::newRow("again after it was taken out")
        << ab << QStringList{"insert t@2 | a b t", "remove 2 | a b", "insert t@0 t@1 | t a b"};
    QTest::newRow("one after another")
        << af << QStringList{"move 0 6 | b c d e f a",   "insert x@0 y@3 | x b c y d e f a",
                             "remove 0 4 7 | b c y e f", "move 4 0 | f b c y e",
                             "sort asc | b c e f y",     "insert z@2 | b c z e f y",
                             "remove 5 | b c z e f",     "move 1 3 | b z c e f"};
}

void TestZKTaskQueue::indexedSignalsTellWhatChanged() {
    QFETCH(QString, initial);
    QFETCH(QStringList, steps);

    ZKTaskQueue queue;
    const QString error = runSteps(initial, steps, queue);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    // Whatever was inserted twice or taken out, each task in the queue counts
    // once, and the others not at all.
    for (const ZKTaskPtr &task : std::as_const(m_named)) {
        copyTask(task).setTotalBytes(100);
        task->setState(S::Failed);
    }
    QCOMPARE(queue.failedCount(), queue.count());
    QCOMPARE(queue.totalBytes(), quint64(100 * queue.count()));
    QCOMPARE(queue.indexOfTask(makeTask(QStringLiteral("a"))), -1); // identity, not equality
}

void TestZKTaskQueue::followedAnswersMatchAWalk_data() {
    QTest::addColumn<quint32>("seed");
    for (const quint32 seed : {1U, 17U, 404U, 2026U}) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void TestZKTaskQueue::followedAnswersMatchAWalk() {
    QFETCH(quint32, seed);

    QRandomGenerator random(seed);
    const auto below = [&](qsizetype n) {
        return qsizetype(random.bounded(quint32(n)));
    };
    constexpr double rate = 1000;
    ZKTaskQueue queue;
    queue.setDataRate(rate);
    Mirror mirror(queue);
    QList<ZKTaskPtr> made; // every task made, in the queue or taken out
    qsizetype removedCompleted = 0;

    for (int step = 0; step < 600; ++step) {
        const qsizetype size = queue.count();
        const qsizetype roll = below(100);
        const int rebuilds = mirror.rebuilds();
        QString done;
        ZKTaskPtr changed;
        if (roll < 20 || made.isEmpty()) {
            QList<ZKTaskPtr> tasks;
            ZKIndexList indexes;
            for (qsizetype n = 1 + below(3); n > 0; --n) {
                // Now and then one made before: in the queue (a repeat), or
                // taken out (back again).
                if (!made.isEmpty() && below(8) == 0) {
                    tasks << made[below(made.size())];
                } else {
                    made << makeTask(QStringLiteral("t%1").arg(made.size()),
                                     ZKTaskState(below(13)));
                    copyTask(made.last()).setTotalBytes(below(1 << 20));
                    tasks << made.last();
                }
                indexes << below(size + 4);
            }
            std::sort(indexes.begin(), indexes.end());
            indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
            done = QStringLiteral("insert at %1").arg(listed(indexes));
            queue.insertTasks(tasks, indexes);
        } else if (roll < 32) {
            ZKIndexList indexes;
            for (qsizetype n = 1 + below(3); n > 0; --n) {
                indexes << below(size + 2) - 1;
            }
            std::sort(indexes.begin(), indexes.end());
            indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
            for (const auto index : indexes) {
                const ZKTaskPtr task = queue.taskAtIndex(index);
                removedCompleted += task && task->state() == S::Completed;
            }
            done = QStringLiteral("remove %1").arg(listed(indexes));
            queue.removeTasksAtIndexes(indexes);
        } else if (roll < 44) {
            const qsizetype from = below(size + 1);
            const qsizetype to = below(size + 2);
            done = QStringLiteral("move %1 to %2").arg(from).arg(to);
            queue.moveTask(from, to);
        } else if (roll < 48) {
            static const QStringList keys{"state", "filename", "totalBytes"};
            const QString key = keys[below(keys.size())];
            const bool ascending = below(2) == 0;
            done = QStringLiteral("sort by %1 %2").arg(key, ascending ? "up" : "down");
            queue.sortWithDescriptor(key, ascending);
        } else if (roll < 49) {
            done = QStringLiteral("flush");
            queue.flushRemovedTasks();
            removedCompleted = 0;
        } else if (roll < 50) {
            for (const auto &task : queue.tasks()) {
                removedCompleted += task->state() == S::Completed;
            }
            done = QStringLiteral("remove all");
            queue.removeAll();
        } else {
            changed = made[below(made.size())];
            const qsizetype what = below(10);
            if (what < 5) {
                changed->setState(ZKTaskState(below(13)));
            } else if (what < 7) {
                copyTask(changed).setTotalBytes(below(1 << 20));
            } else if (what < 9) {
                copyTask(changed).setProgressBytes(below(1 << 20));
            } else {
                changed->setIsVerifyEnabled(!changed->isVerifyEnabled());
            }
            done = QStringLiteral("change %1 (%2) to state %3, %4 of %5 bytes")
                       .arg(nameOf(changed), queue.indexOfTask(changed) < 0 ? "out" : "in")
                       .arg(ZKTaskStates::convertToString(changed->state()))
                       .arg(changed->progressBytes())
                       .arg(changed->totalBytes());
        }
        QStringList problems{
            mirror.problem(),
            orderProblem(queue, queue.indexOfTask(changed) < 0 ? changed : nullptr),
            differences(followed(queue), walked(queue, removedCompleted, rate))};
        if (!done.startsWith(QStringLiteral("sort")) && mirror.rebuilds() != rebuilds) {
            problems << QStringLiteral("every row was to be read again");
        }
        problems.removeAll(QString());
        QVERIFY2(problems.isEmpty(), qUtf8Printable(QStringLiteral("step %1, %2, %3 tasks: %4")
                                                        .arg(step)
                                                        .arg(done)
                                                        .arg(queue.count())
                                                        .arg(problems.join("; "))));
    }
}

// A queue follows its tasks without connections while it is their only
// follower; a second queue must hear of them all the same, and so must
// either one once the other let them go.
void TestZKTaskQueue::taskInTwoQueuesCountsInBoth() {
    const ZKTaskPtr task = makeTask(QStringLiteral("shared"));
    ZKTaskQueue second;
    const auto changeAndCheck = [&](ZKTaskQueue &queue, quint64 total) {
        copyTask(task).setTotalBytes(total);
        task->setState(S::Failed);
        const bool followed = queue.totalBytes() == total && queue.failedCount() == 1;
        task->setState(S::PendingPreparation);
        return followed && queue.failedCount() == 0;
    };
    {
        ZKTaskQueue first;
        first.insertTask(task, 0);
        second.insertTask(task, 0);
        QVERIFY2(changeAndCheck(first, 10), "the first queue did not follow");
        QVERIFY2(changeAndCheck(second, 20), "the second queue did not follow");
        second.removeTask(task);
        QVERIFY2(changeAndCheck(first, 30), "the first queue stopped following");
        second.insertTask(task, 0);
    }
    QVERIFY2(changeAndCheck(second, 40), "the second queue stopped following");
    ZKTaskQueue third;
    third.insertTask(task, 0);
    second.removeAll();
    QVERIFY2(changeAndCheck(third, 50), "a queue that came later did not follow");
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKTaskQueue test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskQueue.moc"
