// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Downloads one URL into a folder with the copy operation, as a task's copy
// step does, on a worker thread of its own, and prints what it measured as
// key=value pairs on one line for http-bench.sh.
//
//   ferrowick-http-bench URL DESTDIR

#include "ZKCopyOperation.h"
#include "ZKFileSystemWriter.h"
#include "ZKHttpReader.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTextStream>
#include <QThread>

#include <chrono>
#include <cstdio>

#include <sys/resource.h>

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() != 2) {
        std::fputs("usage: ferrowick-http-bench URL DESTDIR\n", stderr);
        return 2;
    }
    const auto source = ZKHttpReader::readerWithUrl(QUrl(args.at(0)));
    const auto destination = ZKFileSystemWriter::writerWithDirectory(
        QUrl::fromLocalFile(QFileInfo(args.at(1)).absoluteFilePath()));
    const auto operation = std::make_shared<ZKCopyOperation>(source, destination);
    // As a task runs it: at most one notification a second.
    operation->setMinimumTimeBetweenNotifications(1.0);

    const auto started = std::chrono::steady_clock::now();
    // The reader waits in the event loop of the thread that reads, as on a
    // task's worker.
    QThread *worker = QThread::create([operation] { operation->start(); });
    worker->start();
    worker->wait();
    delete worker;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    QTextStream out(stdout);
    out << "elapsed=" << QString::number(elapsed, 'f', 3) << " bytes=" << operation->bytesCopied()
        << " maxrss_kib=" << usage.ru_maxrss;
    if (operation->error()) {
        out << " error=\"" << operation->error()->localizedDescription() << "\"";
    }
    out << "\n";
    return operation->error() ? 1 : 0;
}
