// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Drives one FTP download or upload through the copy operation for
// ftp-bench.sh and prints what it measured as key=value pairs on one line.
//
//   ferrowick-ftp-bench download FILE_URL DESTDIR USER PASSWORD [--limit BYTES_PER_SECOND]
//   ferrowick-ftp-bench upload SOURCE FOLDER_URL USER PASSWORD [--limit BYTES_PER_SECOND]
//
// seconds is the whole operation; transfer_seconds ends with the last block
// (the last progress notification), before the endpoints are closed.

#include "ZKCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKFtpReader.h"
#include "ZKFtpWriter.h"
#include "ZKNotificationCenter.h"
#include "ZKNotificationNames.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QUrl>

#include <atomic>
#include <cstdio>

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 6 || (arguments.at(1) != QLatin1String("download") &&
                                 arguments.at(1) != QLatin1String("upload"))) {
        std::fputs("usage: ferrowick-ftp-bench download FILE_URL DESTDIR USER PASSWORD "
                   "[--limit BYTES_PER_SECOND]\n"
                   "       ferrowick-ftp-bench upload SOURCE FOLDER_URL USER PASSWORD "
                   "[--limit BYTES_PER_SECOND]\n",
                   stderr);
        return 2;
    }
    const bool download = arguments.at(1) == QLatin1String("download");
    const QString user = arguments.at(4);
    const QString password = arguments.at(5);
    quint64 limit = 0;
    const qsizetype limitAt = arguments.indexOf(QStringLiteral("--limit"));
    if (limitAt > 0 && limitAt + 1 < arguments.size()) {
        limit = arguments.at(limitAt + 1).toULongLong();
    }

    ZKReaderPtr source;
    ZKWriterPtr destination;
    if (download) {
        source = ZKFtpReader::readerWithUrl(QUrl(arguments.at(2)), user, password);
        destination = ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(arguments.at(3)));
    } else {
        source = ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(arguments.at(2)));
        destination = ZKFtpWriter::writerWithDirectoryUrl(QUrl(arguments.at(3)), user, password);
    }

    ZKCopyOperation copy(source, destination);
    copy.setMaximumTransferRate(limit);
    copy.setMinimumTimeBetweenNotifications(0.5);
    QObject context;
    std::atomic<double> transferSeconds{0};
    std::atomic<quint64> written{0};
    ZKNotificationCenter::defaultCenter().addObserver(
        ZKNotificationNames::operationActivity, static_cast<const ZKOperation *>(&copy), &context,
        [&](const ZKNotification &note) {
            transferSeconds =
                note.userInfo.value(ZKNotificationNames::totalTimePassedKey).toDouble();
            written = note.userInfo.value(ZKNotificationNames::totalBytesKey).toULongLong();
        });
    QElapsedTimer timer;
    timer.start();
    copy.start();
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    if (copy.error()) {
        std::fprintf(stderr, "ferrowick-ftp-bench: %s\n",
                     qPrintable(copy.error()->localizedDescription()));
        return 1;
    }
    std::printf("seconds=%.3f transfer_seconds=%.3f bytes=%llu\n", seconds, transferSeconds.load(),
                static_cast<unsigned long long>(written.load()));
    return 0;
}
