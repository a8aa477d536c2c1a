// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Drives the copy and verify operations on local paths for copy-bench.sh and
// prints what it measured as key=value pairs on one line.
//
//   ferrowick-bench copy SOURCE DESTDIR [--limit BYTES_PER_SECOND] [--seconds N]
//   ferrowick-bench verify SOURCE DESTDIR
//   ferrowick-bench tree DIR COUNT SIZE
//   ferrowick-bench walk DIR

#include "ZKCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKVerifyFileOperation.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTextStream>

#include <chrono>
#include <cstdio>
#include <thread>

#include <sys/resource.h>

namespace {

int usage() {
    std::fputs("usage: ferrowick-bench copy SOURCE DESTDIR [--limit BYTES_PER_SECOND] "
               "[--seconds N]\n"
               "       ferrowick-bench verify SOURCE DESTDIR\n"
               "       ferrowick-bench tree DIR COUNT SIZE\n"
               "       ferrowick-bench walk DIR\n",
               stderr);
    return 2;
}

long peakResidentKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// COUNT files of SIZE random bytes, a hundred to a folder.
int makeTree(const QString &root, int count, int size) {
    QRandomGenerator random(42);
    QByteArray data(size, Qt::Uninitialized);
    for (int i = 0; i < count; ++i) {
        const QString folder = QStringLiteral("%1/d%2").arg(root).arg(i / 100, 3, 10, QChar('0'));
        if (i % 100 == 0 && !QDir().mkpath(folder)) {
            return 1;
        }
        random.fillRange(reinterpret_cast<quint32 *>(data.data()), size / 4);
        QFile file(QStringLiteral("%1/f%2").arg(folder).arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != size) {
            return 1;
        }
    }
    return 0;
}

// Every entry below DIR through the reader's walk, as the analysis sees them.
int walk(const QString &root) {
    const auto reader =
        ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(QFileInfo(root).absoluteFilePath()));
    if (!reader->open()) {
        return 1;
    }
    quint64 entries = 0;
    const auto started = std::chrono::steady_clock::now();
    reader->enumerateFileInfoWithBlock([&entries](const ZKFileInfo &) {
        ++entries;
        return ZKEnumerationResultContinue;
    });
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    reader->close();
    std::printf("elapsed=%.3f entries=%llu maxrss_kib=%ld\n", elapsed,
                static_cast<unsigned long long>(entries), peakResidentKiB());
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() == 4 && args.at(0) == "tree") {
        return makeTree(args.at(1), args.at(2).toInt(), args.at(3).toInt());
    }
    if (args.size() == 2 && args.at(0) == "walk") {
        return walk(args.at(1));
    }
    if (args.size() < 3 || (args.at(0) != "copy" && args.at(0) != "verify")) {
        return usage();
    }
    quint64 limit = 0;
    double seconds = 0;
    for (qsizetype i = 3; i + 1 < args.size(); i += 2) {
        if (args.at(i) == "--limit") {
            limit = args.at(i + 1).toULongLong();
        } else if (args.at(i) == "--seconds") {
            seconds = args.at(i + 1).toDouble();
        } else {
            return usage();
        }
    }

    const auto source = ZKFileSystemReader::readerWithUrl(
        QUrl::fromLocalFile(QFileInfo(args.at(1)).absoluteFilePath()));
    const auto destination = ZKFileSystemWriter::writerWithDirectory(
        QUrl::fromLocalFile(QFileInfo(args.at(2)).absoluteFilePath()));
    std::shared_ptr<ZKFileOperation> operation;
    if (args.at(0) == "copy") {
        operation = std::make_shared<ZKCopyOperation>(source, destination);
    } else {
        operation = std::make_shared<ZKVerifyFileOperation>(source, destination);
    }
    operation->setMaximumTransferRate(limit);
    // As a task runs it: at most one notification a second.
    operation->setMinimumTimeBetweenNotifications(1.0);

    // The rate as the operation reports it: bytes and time at its last
    // notification, which falls right after a paced block.
    quint64 reportedBytes = 0;
    double reportedSeconds = 0;
    int notifications = 0;
    operation->setActivityHandler([&](const ZKOperationActivity &report) {
        reportedBytes = report.totalBytes;
        reportedSeconds = report.totalTimePassed;
        ++notifications;
    });

    const auto started = std::chrono::steady_clock::now();
    std::thread worker([operation] { operation->start(); });
    if (seconds > 0) {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        operation->cancel();
    }
    worker.join();
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();

    QTextStream out(stdout);
    out << "elapsed=" << QString::number(elapsed, 'f', 3) << " bytes=" << reportedBytes
        << " notifications=" << notifications;
    if (reportedSeconds > 0) {
        out << " reported_rate="
            << QString::number(double(reportedBytes) / reportedSeconds, 'f', 1);
    }
    out << " maxrss_kib=" << peakResidentKiB();
    if (operation->error()) {
        out << " error=\"" << operation->error()->localizedDescription() << "\"";
    }
    out << "\n";
    return operation->error() ? 1 : 0;
}
