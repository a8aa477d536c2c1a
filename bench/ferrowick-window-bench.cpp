// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
//
// How the queue window holds up with a long queue: a paused queue of
// 10,000 tasks in mixed states is saved, then opened in a window. Prints each
// figure beside its aim: the time to the first painted window, the frame
// times of scrolling, of inserting tasks into the shown queue (100 at once,
// then 100 one at a time, each sliding in at the top of the rows in view) and
// of progress of the rows in view, memory per task, per row widget and what
// the window adds per task, and the main-thread time of one change of the
// overall rate. Usage:
//   ferrowick-window-bench [TASKS]   (default 10000)
#include "ZKCopyTask.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKListView.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKPreferences.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKTaskListModel.h"
#include "ZKTaskState.h"
#include "ZKTaskView.h"
#include "ZKUserDefaults.h"

#include <QAbstractAnimation>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <functional>

using S = ZKTaskState;

namespace {

// A frame has this long to be laid out and painted at 60 frames a second.
constexpr double frameAimMs = 16.0;
constexpr double firstPaintAimMs = 1500.0;

long statusKib(const char *key) {
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(key)) {
            return line.mid(qstrlen(key) + 1).trimmed().split(' ').first().toLong();
        }
    }
    return -1;
}

// Bytes the heap hands out now: unlike the resident size, it does not hide
// what a freed block's reuse would cost.
double heapBytes() {
    return double(mallinfo2().uordblks);
}

void drain() {
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    }
}

// Counts and times the list's paints.
class PaintClock : public QObject {
public:
    QList<double> frames; // ms
    bool painted = false;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Paint) {
            painted = true;
        }
        return QObject::eventFilter(watched, event);
    }
};

// Frame times against the frame budget: the 95th percentile is what the aim
// is about.
void printFrames(const char *what, QList<double> frames, double aim = frameAimMs) {
    if (frames.isEmpty()) {
        std::printf("%-34s no frames\n", what);
        return;
    }
    std::sort(frames.begin(), frames.end());
    const auto at = [&](double q) {
        return frames[qsizetype(q * double(frames.size() - 1))];
    };
    std::printf("%-34s frames=%lld median=%.2f ms p95=%.2f ms worst=%.2f ms   aim p95 < %.0f ms\n",
                what, qlonglong(frames.size()), at(0.5), at(0.95), frames.last(), aim);
}

// Runs the event loop and paints the list: one frame's work.
double frame(ZKQueueWindow *window, const std::function<void()> &work = {}) {
    QElapsedTimer clock;
    clock.start();
    if (work) {
        work();
    }
    QApplication::processEvents();
    // What the frame left to paint is painted now, as the next screen
    // refresh would: only what changed, not the whole list.
    QApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
    (void)window;
    return double(clock.nsecsElapsed()) / 1e6;
}

// Waits out the rest of a 60 Hz frame without running the event loop, so
// that all of the list's work falls into the timed frames.
void pace(double spentMs) {
    const auto rest = qint64((1000.0 / 60.0 - spentMs) * 1000.0);
    if (rest > 0) {
        QThread::usleep(quint64(rest));
    }
}

QList<ZKTaskPtr> makeTasks(const QString &root, int count, int offset) {
    const auto destination =
        ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(root + "/out"));
    const ZKTaskState states[] = {S::Completed, S::PendingProcessing, S::Suspended,
                                  S::Failed,    S::Cancelled,         S::PendingProcessing};
    QList<ZKTaskPtr> tasks;
    tasks.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("%1/in/file %2.bin").arg(root).arg(offset + i);
        auto task = ZKCopyTask::create(ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(name)),
                                       destination);
        task->setTotalBytes(quint64(1000 + i * 37));
        task->setProgressBytes(quint64((1000 + i * 37) * (i % 10)) / 10);
        task->setState(states[i % 6]);
        tasks << task;
    }
    return tasks;
}

} // namespace

int main(int argc, char **argv) {
    QStandardPaths::setTestModeEnabled(true);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toLocal8Bit());
    qputenv("QT_LOGGING_RULES", "ferrowick.*=false");
    QApplication app(argc, argv);
    const int count = argc > 1 ? std::max(100, atoi(argv[1])) : 10000;
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setInteger(ZKPreferences::queueState, ZKQueueState::Paused);
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());
    QTemporaryDir data;
    QDir(data.path()).mkpath(QStringLiteral("out"));
    const QString file = data.path() + "/bench.queue";
    std::printf("window benchmark: %d tasks, platform %s\n", count,
                qPrintable(QApplication::platformName()));

    // Memory of the tasks alone, and the saved queue.
    {
        drain();
        const double before = heapBytes();
        ZKFerrowickDocument document;
        document.setState(ZKQueueState::Paused);
        const auto tasks = makeTasks(data.path(), count, 0);
        ZKIndexList indexes;
        for (int i = 0; i < count; ++i) {
            indexes << i;
        }
        document.insertTasks(tasks, indexes);
        drain();
        std::printf("%-34s %.0f bytes   (the queue's, before any window)\n", "memory per task",
                    (heapBytes() - before) / count);
        ZKError error;
        if (!document.writeToFile(file, &error)) {
            std::printf("could not save: %s\n", qPrintable(error.localizedDescription()));
            return 1;
        }
    }
    drain();

    // Opening: read the file, build the window, first paint.
    QElapsedTimer clock;
    clock.start();
    auto document = std::make_unique<ZKFerrowickDocument>();
    ZKError error;
    if (!document->readFromFile(file, &error)) {
        std::printf("could not load: %s\n", qPrintable(error.localizedDescription()));
        return 1;
    }
    const double loaded = double(clock.nsecsElapsed()) / 1e6;
    const double beforeWindow = heapBytes();
    auto *window = new ZKQueueWindow(std::move(document));
    PaintClock paints;
    window->listView()->viewport()->installEventFilter(&paints);
    window->resize(800, 600);
    window->show();
    while (!paints.painted && clock.elapsed() < 30000) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double painted = double(clock.nsecsElapsed()) / 1e6;
    std::printf("%-34s %.0f ms (reading the file %.0f ms, the window %.0f ms)   aim < %.0f ms\n",
                "first painted window", painted, loaded, painted - loaded, firstPaintAimMs);
    drain();
    const double afterWindow = heapBytes();
    const qsizetype rows = window->listView()->findChildren<ZKTaskView *>().size();
    std::printf("%-34s %lld for %d tasks   aim: a screenful and one spare\n", "row widgets",
                qlonglong(rows), count);
    std::printf("%-34s %.1f MiB, %.0f bytes a task   aim <= 64 bytes a task\n", "the window adds",
                (afterWindow - beforeWindow) / 1024 / 1024, (afterWindow - beforeWindow) / count);

    // Scrolling three rows a frame, each frame laid out and painted before
    // the next: stretches of 500 frames from the top, a third, two thirds
    // and near the end, so that a long list takes no longer than a short one.
    ZKListView *list = window->listView();
    QScrollBar *bar = list->verticalScrollBar();
    QList<double> frames;
    const int step = std::max(1, bar->singleStep() * 3);
    const int stretch = 500;
    for (int part = 0; part < 4; ++part) {
        int value = std::max(
            0, std::min(int(qint64(bar->maximum()) * part / 3), bar->maximum() - stretch * step));
        for (int i = 0; i < stretch && value <= bar->maximum(); ++i, value += step) {
            frames << frame(window, [&] { bar->setValue(value); });
        }
    }
    printFrames("scrolling, 3 rows a frame", frames);

    // The scroll bar dragged from top to bottom: every frame shows rows it
    // did not show before.
    frames.clear();
    for (int i = 0; i <= 200; ++i) {
        frames << frame(window, [&] { bar->setValue(int(qint64(bar->maximum()) * i / 200)); });
    }
    printFrames("scroll bar dragged to the end", frames);

    // Tasks added to the shown queue at the top of the rows in view: 100 at
    // once, then 100 one a frame; the frames go on until the slides end.
    const auto insertion = [&](const char *what, int batches, int perBatch) {
        bar->setValue(0);
        drain();
        QList<double> inserting;
        QList<double> all;
        int added = 0;
        // Half a second of frames at least, for what follows an insertion; a
        // slide that never ends is cut off after ten seconds.
        while ((added < batches * perBatch || list->isAnimating() || all.size() < 30) &&
               all.size() < 600) {
            const bool adding = added < batches * perBatch;
            const double spent = frame(window, [&] {
                if (adding) {
                    ZKIndexList indexes;
                    for (int i = 0; i < perBatch; ++i) {
                        indexes << i;
                    }
                    window->document()->insertTasks(makeTasks(data.path(), perBatch, count + added),
                                                    indexes);
                    added += perBatch;
                }
            });
            if (adding) {
                inserting << spent;
            }
            all << spent;
            pace(spent);
        }
        printFrames(qPrintable(QStringLiteral("%1: inserting").arg(what)), inserting);
        printFrames(qPrintable(QStringLiteral("%1: every frame").arg(what)), all);
    };
    insertion("100 tasks at once", 1, 100);
    insertion("100 tasks one a frame", 100, 1);

    // The rows in view follow their tasks: each tick moves every task in
    // view on, as running transfers do, and the list is painted.
    {
        bar->setValue(0);
        drain();
        frames.clear();
        const ZKListView::RowRange shown = list->calculateVisibleRows();
        // Every row in view changes: each frame paints the rows in view
        // whole.
        for (int tick = 1; tick <= 50; ++tick) {
            frames << frame(window, [&] {
                for (qsizetype i = shown.first; i < shown.first + shown.length; ++i) {
                    const auto task = std::static_pointer_cast<ZKCopyTask>(
                        window->document()->objectInTasksAtIndex(i));
                    task->setProgressBytes(task->totalBytes() * quint64(tick) / 50);
                    task->refresh();
                }
                QApplication::processEvents();
                list->viewport()->repaint();
            });
        }
        printFrames("progress of the rows in view", frames);
    }

    // One row more costs what a row costs.
    {
        drain();
        const double before = heapBytes();
        QList<ZKListViewItem *> copies;
        auto *prototype = new ZKTaskView;
        for (int i = 0; i < 200; ++i) {
            auto *row = prototype->copy();
            row->setRow(&window->document()->taskListModel(), i);
            row->setParent(window);
            row->show();
            copies << row;
        }
        drain();
        std::printf("%-34s %.1f KiB   aim <= 64 KiB\n", "memory per row widget",
                    (heapBytes() - before) / 200 / 1024);
        qDeleteAll(copies);
        delete prototype;
    }

    // One change of the overall rate, as the queue hears of it.
    {
        drain();
        QList<double> times;
        for (int i = 0; i < 20; ++i) {
            QElapsedTimer change;
            change.start();
            window->document()->setDataRate(1000000.0 + i * 1000);
            QApplication::processEvents();
            times << double(change.nsecsElapsed()) / 1e6;
        }
        printFrames("overall-rate change (main thread)", times);
    }
    std::printf("%-34s %.1f MiB\n", "peak memory", double(statusKib("VmHWM:")) / 1024);

    window->document()->setFileName({});
    window->document()->clearAllItems();
    // Nobody is there to answer whether to save it: the window goes without
    // asking, and its queue with it.
    QPointer<ZKQueueWindow> closing = window;
    window->setDiscardChanges(true);
    window->close();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    drain();
    if (closing) {
        std::printf("the window did not close\n");
        return 1;
    }
    return 0;
}
