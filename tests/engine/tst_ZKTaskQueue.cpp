// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKPasteboard.h"
#include "ZKPropertyListSerialization.h"
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

namespace {
// The figures a queue follows are set by the task itself as it runs.
ZKCopyTask &copyTask(const ZKTaskPtr &task) {
    return static_cast<ZKCopyTask &>(*task);
}
} // namespace

namespace {

class MemoryPasteboard : public ZKPasteboard {
public:
    void writeUrls(const QList<QUrl> &urls) override { m_urls = urls; }
    void addItems(const QList<ZKPasteboardItem> &items) override { m_items += items; }

    QList<QUrl> m_urls;
    QList<ZKPasteboardItem> m_items;
};

} // namespace

class TestZKTaskQueue : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void insertClampsIndexes();
    void selection_data();
    void selection();
    void summaryCountsRemovedCompletedTasks();
    void figures_data();
    void figures();
    void sortsByProperty();
    void copiesTasksToPasteboard();
    void indexedSignalsTellWhatChanged_data();
    void indexedSignalsTellWhatChanged();
    void followedAnswersMatchAWalk_data();
    void followedAnswersMatchAWalk();
    void removedTaskNoLongerCounts_data();
    void removedTaskNoLongerCounts();
    void taskInsertedTwiceIsThereOnce_data();
    void taskInsertedTwiceIsThereOnce();

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

static QStringList names(const ZKTaskQueue &queue) {
    QStringList list;
    for (const auto &task : queue.tasks()) {
        list << task->filename();
    }
    return list;
}

namespace {

using S = ZKTaskState;

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

// What the queue answers from what it follows, or what a walk over its tasks
// finds; the two must agree.
struct Answers {
    QString current;
    QString nextPreparation;
    QString next;
    bool allCompleted = true;
    qsizetype failed = 0;
    quint64 progress = 0;
    quint64 total = 0;
    quint64 remaining = 0;
    bool runningResumable = false;
    QString description;

    static Answers followed(const ZKTaskQueue &queue) {
        return {nameOf(queue.currentTask()),
                nameOf(queue.nextPreparationTask()),
                nameOf(queue.nextTask()),
                queue.allTasksCompleted(),
                queue.failedCount(),
                queue.progressBytes(),
                queue.totalBytes(),
                queue.remainingBytes(),
                queue.hasRunningResumableTask(),
                queue.description()};
    }

    // removedCompleted: the tasks taken out while completed since the last
    // flush, which the summary still counts.
    static Answers walked(const ZKTaskQueue &queue, qsizetype removedCompleted, double rate) {
        const auto tasks = queue.tasks();
        const auto first = [&](std::initializer_list<ZKTaskState> states) {
            const auto found =
                std::find_if(tasks.cbegin(), tasks.cend(),
                             [&](const ZKTaskPtr &task) { return isIn(task, states); });
            return found == tasks.cend() ? nameOf(nullptr) : nameOf(*found);
        };
        Answers answers;
        answers.current = first({S::Preparing, S::Processing, S::Verifying});
        answers.nextPreparation = first({S::PendingPreparation});
        answers.next = first({S::PendingProcessing, S::PendingVerification, S::PendingRemoval});
        qsizetype completed = removedCompleted;
        quint64 work = 0;
        bool moving = false;
        for (const auto &task : tasks) {
            answers.allCompleted =
                answers.allCompleted &&
                !isIn(task, {S::PendingPreparation, S::Preparing, S::PendingProcessing,
                             S::Processing, S::PendingVerification, S::Verifying, S::Cancelling});
            answers.failed += task->state() == S::Failed;
            completed += task->state() == S::Completed;
            // Waiting and running tasks with their bytes, ended ones whole.
            if (task->state() <= S::Verifying) {
                answers.progress += std::min(task->progressBytes(), task->totalBytes());
                answers.total += task->totalBytes();
            } else if (isIn(task, {S::Completed, S::Failed})) {
                answers.progress += task->totalBytes();
                answers.total += task->totalBytes();
            }
            if (task->state() <= S::PendingRemoval) {
                work += copyTask(task).remainingWorkBytes();
            }
            moving = moving || isIn(task, {S::Processing, S::Verifying});
            answers.runningResumable =
                answers.runningResumable ||
                (isIn(task, {S::Processing, S::Verifying, S::Removing}) && task->isResumable());
        }
        answers.remaining = work;
        answers.description =
            QStringLiteral("%1 of %2 complete").arg(completed).arg(tasks.size() + removedCompleted);
        if (answers.failed != 0) {
            answers.description += QStringLiteral(", %1 failed").arg(answers.failed);
        }
        if (moving && rate >= 0.1 && work != 0) {
            answers.description +=
                QStringLiteral(" - ") + ZKTimeFormatter::formatTime(double(work) / rate);
        }
        return answers;
    }

    // Empty when they agree.
    QString differences(const Answers &walk) const {
        QStringList found;
        const auto compare = [&](const char *what, const auto &mine, const auto &theirs) {
            if (mine != theirs) {
                found << QStringLiteral("%1 is %2, a walk finds %3")
                             .arg(QLatin1String(what), QVariant::fromValue(mine).toString(),
                                  QVariant::fromValue(theirs).toString());
            }
        };
        compare("currentTask", current, walk.current);
        compare("nextPreparationTask", nextPreparation, walk.nextPreparation);
        compare("nextTask", next, walk.next);
        compare("allTasksCompleted", allCompleted, walk.allCompleted);
        compare("failedCount", failed, walk.failed);
        compare("progressBytes", progress, walk.progress);
        compare("totalBytes", total, walk.total);
        compare("remainingBytes", remaining, walk.remaining);
        compare("hasRunningResumableTask", runningResumable, walk.runningResumable);
        compare("description", description, walk.description);
        return found.join(QStringLiteral("; "));
    }
};

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

void TestZKTaskQueue::insertClampsIndexes() {
    ZKTaskQueue queue;
    queue.insertTask(makeTask("a"), 0);
    queue.insertTask(makeTask("b"), 99);
    queue.insertTask(makeTask("c"), 1);
    QCOMPARE(names(queue), (QStringList{"a", "c", "b"}));
    QVERIFY(!queue.taskAtIndex(3));
    QCOMPARE(queue.indexOfTask(makeTask("a")), -1); // identity, not equality

    queue.insertTasks({makeTask("d"), makeTask("e")}, {10, 11});
    QCOMPARE(names(queue), (QStringList{"a", "c", "b", "d", "e"}));
    queue.insertTasks({makeTask("x"), makeTask("y")}, {0, 2});
    QCOMPARE(names(queue), (QStringList{"x", "a", "y", "c", "b", "d", "e"}));
}

void TestZKTaskQueue::selection_data() {
    QTest::addColumn<QList<ZKTaskState>>("states");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("nextPreparation");
    QTest::addColumn<int>("next");
    QTest::addColumn<bool>("allCompleted");

    using S = ZKTaskState;
    QTest::newRow("empty") << QList<ZKTaskState>{} << -1 << -1 << -1 << true;
    QTest::newRow("removing is not current, and counts as done")
        << QList<ZKTaskState>{S::Removing, S::Completed} << -1 << -1 << -1 << true;
    QTest::newRow("suspended only") << QList<ZKTaskState>{S::Suspended} << -1 << -1 << -1 << true;
    QTest::newRow("mixed") << QList<ZKTaskState>{S::Completed, S::PendingVerification,
                                                 S::Processing, S::PendingPreparation}
                           << 2 << 3 << 1 << false;
    QTest::newRow("cancelling is not done")
        << QList<ZKTaskState>{S::Cancelling, S::PendingRemoval} << -1 << -1 << 1 << false;
}

void TestZKTaskQueue::selection() {
    QFETCH(QList<ZKTaskState>, states);
    QFETCH(int, current);
    QFETCH(int, nextPreparation);
    QFETCH(int, next);
    QFETCH(bool, allCompleted);

    ZKTaskQueue queue;
    for (qsizetype i = 0; i < states.size(); ++i) {
        queue.insertTask(makeTask(QString::number(i), states[i]), i);
    }
    QCOMPARE(queue.indexOfTask(queue.currentTask()), current);
    QCOMPARE(queue.indexOfTask(queue.nextPreparationTask()), nextPreparation);
    QCOMPARE(queue.indexOfTask(queue.nextTask()), next);
    QCOMPARE(queue.allTasksCompleted(), allCompleted);
}

void TestZKTaskQueue::summaryCountsRemovedCompletedTasks() {
    ZKTaskQueue queue;
    queue.insertTask(makeTask("a", ZKTaskState::Completed), 0);
    queue.insertTask(makeTask("b", ZKTaskState::Failed), 1);
    queue.insertTask(makeTask("c", ZKTaskState::Cancelled), 2);
    QCOMPARE(queue.description(), QStringLiteral("1 of 3 complete, 1 failed"));
    queue.removeTasksAtIndexes({0, 2});
    // The removed completed task still counts; the cancelled one does not.
    QCOMPARE(queue.description(), QStringLiteral("1 of 2 complete, 1 failed"));
    queue.flushRemovedTasks();
    QCOMPARE(queue.description(), QStringLiteral("0 of 1 complete, 1 failed"));
}

void TestZKTaskQueue::figures_data() {
    // Each task: "state progress total".
    QTest::addColumn<QStringList>("tasks");
    QTest::addColumn<qint32>("queueState");
    QTest::addColumn<double>("rate");
    QTest::addColumn<QString>("expected"); // done/total remaining rate time finished

    QTest::newRow("a file that changed while copied counts its total")
        << QStringList{"Completed 25 10"} << 0 << 0.0 << "10/10 0 0 0 finished";
    QTest::newRow("a paused task counts with its bytes")
        << QStringList{"PendingProcessing 3000000 10000000", "Completed 3000000 3000000"} << 1
        << 500.0 << "6000000/13000000 7000000 0 0 running";
    QTest::newRow("failed tasks count as done and leave nothing to move")
        << QStringList{"Failed 1 2", "Failed 0 100", "Completed 5 5"} << 0 << 300.0
        << "107/107 0 0 0 finished";
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
    QTest::newRow("suspended and removing tasks do not count")
        << QStringList{"Suspended 5 50", "Removing 50 50"} << 0 << 10.0 << "0/0 0 0 0 finished";
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

void TestZKTaskQueue::sortsByProperty() {
    ZKTaskQueue queue;
    for (const auto *name : {"b", "c", "a"}) {
        queue.insertTask(makeTask(QString::fromLatin1(name)), queue.count());
    }
    queue.sortWithDescriptor(QStringLiteral("filename"), true);
    QCOMPARE(names(queue), (QStringList{"a", "b", "c"}));
    queue.sortWithDescriptor(QStringLiteral("filename"), false);
    QCOMPARE(names(queue), (QStringList{"c", "b", "a"}));
}

void TestZKTaskQueue::copiesTasksToPasteboard() {
    ZKTaskQueue queue;
    queue.insertTask(makeTask("a"), 0);
    queue.insertTask(makeTask("b"), 1);
    MemoryPasteboard pasteboard;
    queue.copyUrlsToPasteboard(pasteboard);
    QCOMPARE(pasteboard.m_urls.size(), 2);
    QCOMPARE(pasteboard.m_urls[1].fileName(), QStringLiteral("b"));

    queue.copyTasks({1}, pasteboard);
    QCOMPARE(pasteboard.m_items.size(), 1);
    QCOMPARE(pasteboard.m_items[0].type, ZKTaskQueue::pasteboardType);
    const auto plist =
        ZKPropertyListSerialization::propertyListFromData(pasteboard.m_items[0].data).toMap();
    auto copy = ZKCopyTask::create(plist);
    QVERIFY(copy);
    QVERIFY(copy->isEqual(static_cast<ZKCopyTask &>(*queue.taskAtIndex(1))));
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
            Answers::followed(queue).differences(Answers::walked(queue, removedCompleted, rate))};
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

void TestZKTaskQueue::removedTaskNoLongerCounts_data() {
    QTest::addColumn<ZKTaskState>("state");
    QTest::addColumn<quint64>("total");
    QTest::addColumn<quint64>("progress");

    QTest::newRow("starts") << ZKTaskState(S::Processing) << quint64(100) << quint64(40);
    QTest::newRow("waits for preparation")
        << ZKTaskState(S::PendingPreparation) << quint64(0) << quint64(0);
    QTest::newRow("waits for a step")
        << ZKTaskState(S::PendingVerification) << quint64(100) << quint64(40);
    QTest::newRow("fails") << ZKTaskState(S::Failed) << quint64(100) << quint64(40);
    QTest::newRow("completes") << ZKTaskState(S::Completed) << quint64(100) << quint64(100);
    QTest::newRow("is suspended") << ZKTaskState(S::Suspended) << quint64(100) << quint64(40);
    QTest::newRow("grows") << ZKTaskState(S::PendingProcessing) << quint64(900000) << quint64(7);
}

void TestZKTaskQueue::removedTaskNoLongerCounts() {
    QFETCH(ZKTaskState, state);
    QFETCH(quint64, total);
    QFETCH(quint64, progress);

    constexpr double rate = 10;
    ZKTaskQueue queue;
    queue.setDataRate(rate);
    const auto a = makeTask("a", S::Completed);
    const auto b = makeTask("b", S::PendingProcessing);
    const auto c = makeTask("c", S::Cancelled);
    copyTask(a).setTotalBytes(10);
    copyTask(a).setProgressBytes(10);
    copyTask(b).setTotalBytes(50);
    copyTask(b).setProgressBytes(20);
    copyTask(c).setTotalBytes(30);
    queue.insertTasks({a, b, c}, {0, 1, 2});
    queue.removeTask(b);
    const Answers before = Answers::followed(queue);
    QString error = before.differences(Answers::walked(queue, 0, rate));
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));

    b->setState(state);
    copyTask(b).setTotalBytes(total);
    copyTask(b).setProgressBytes(progress);
    b->setIsVerifyEnabled(true);
    error = Answers::followed(queue).differences(before);
    QVERIFY2(error.isEmpty(), qUtf8Printable(QStringLiteral("after b changed: ") + error));
    QCOMPARE(queue.indexOfTask(b), -1);
    error = orderProblem(queue, b);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));

    // Back in the queue, it counts as it is now, once.
    queue.insertTask(b, 1);
    queue.insertTask(b, 0);
    QCOMPARE(names(queue), (QStringList{"a", "b", "c"}));
    copyTask(b).setProgressBytes(progress / 2);
    error = Answers::followed(queue).differences(Answers::walked(queue, 0, rate));
    QVERIFY2(error.isEmpty(), qUtf8Printable(QStringLiteral("back in the queue: ") + error));
}

void TestZKTaskQueue::taskInsertedTwiceIsThereOnce_data() {
    QTest::addColumn<QStringList>("steps");

    QTest::newRow("twice in one call") << QStringList{"insert t@1 t@2 | a t b"};
    QTest::newRow("twice in one call past the end") << QStringList{"insert t@5 t@6 | a b t"};
    QTest::newRow("again elsewhere") << QStringList{"insert t@0 | t a b", "insert t@2 | t a b"};
    QTest::newRow("again past the end") << QStringList{"insert t@1 | a t b", "insert t@9 | a t b"};
    QTest::newRow("again beside a new one")
        << QStringList{"insert t@0 | t a b", "insert t@0 x@1 | t x a b"};
    QTest::newRow("again after it was taken out")
        << QStringList{"insert t@2 | a b t", "remove 2 | a b", "insert t@0 t@1 | t a b"};
}

void TestZKTaskQueue::taskInsertedTwiceIsThereOnce() {
    QFETCH(QStringList, steps);

    ZKTaskQueue queue;
    QString error = runSteps(QStringLiteral("a b"), steps, queue);
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    // Counted once in what the queue follows, too.
    const ZKTaskPtr t = taskNamed("t");
    copyTask(t).setTotalBytes(100);
    copyTask(t).setProgressBytes(30);
    t->setState(S::Failed);
    error = Answers::followed(queue).differences(Answers::walked(queue, 0, 0));
    QVERIFY2(error.isEmpty(), qUtf8Printable(error));
    QCOMPARE(queue.failedCount(), 1);
    QCOMPARE(queue.totalBytes(), quint64(100));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKTaskQueue test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskQueue.moc"
