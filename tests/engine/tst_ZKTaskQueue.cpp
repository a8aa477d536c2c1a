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

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using ZKTestSupport::writeFile;

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
    void remainingBytesNeverNegative();
    void sortsByProperty();
    void copiesTasksToPasteboard();

private:
    ZKTaskPtr makeTask(const QString &name, qint32 state = ZKTaskState::PendingPreparation);
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestZKTaskQueue::init() {
    m_dir = std::make_unique<QTemporaryDir>();
}

ZKTaskPtr TestZKTaskQueue::makeTask(const QString &name, qint32 state) {
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
    QTest::addColumn<QList<qint32>>("states");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("nextPreparation");
    QTest::addColumn<int>("next");
    QTest::addColumn<bool>("allCompleted");

    using S = ZKTaskState;
    QTest::newRow("empty") << QList<qint32>{} << -1 << -1 << -1 << true;
    QTest::newRow("removing is not current, and counts as done")
        << QList<qint32>{S::Removing, S::Completed} << -1 << -1 << -1 << true;
    QTest::newRow("suspended only") << QList<qint32>{S::Suspended} << -1 << -1 << -1 << true;
    QTest::newRow("mixed") << QList<qint32>{S::Completed, S::PendingVerification, S::Processing,
                                            S::PendingPreparation}
                           << 2 << 3 << 1 << false;
    QTest::newRow("cancelling is not done")
        << QList<qint32>{S::Cancelling, S::PendingRemoval} << -1 << -1 << 1 << false;
}

void TestZKTaskQueue::selection() {
    QFETCH(QList<qint32>, states);
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

void TestZKTaskQueue::remainingBytesNeverNegative() {
    ZKTaskQueue queue;
    auto task = makeTask("a", ZKTaskState::Completed);
    task->setTotalBytes(10);
    task->setProgressBytes(25);
    queue.insertTask(task, 0);
    QCOMPARE(queue.remainingBytes(), quint64(0));
    QCOMPARE(queue.progressBytes(), quint64(25));
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

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKTaskQueue test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKTaskQueue.moc"
