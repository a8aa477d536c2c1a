// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTestSupport.h"

#include "ZKCopyTask.h"
#include "ZKFileSystemReader.h"
#include "ZKPartialFile.h"
#include "ZKTaskState.h"

#include <sys/xattr.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace ZKTestSupport {

QString partialPath(const QString &folder, const QString &name) {
    return QDir(folder).filePath(ZKPartialFile::nameFor(name));
}

bool markBegunFrom(const QString &partial, const QString &source) {
    const auto reader = ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(source));
    const QByteArray identity = reader->open() ? reader->identity() : QByteArray();
    reader->close();
    return !identity.isEmpty() &&
           ::setxattr(QFile::encodeName(partial).constData(), ZKPartialFile::provenanceAttribute,
                      identity.constData(), size_t(identity.size()), 0) == 0;
}

QByteArray randomBytes(qsizetype length, quint32 seed) {
    QByteArray data(length, Qt::Uninitialized);
    QRandomGenerator generator(seed);
    for (qsizetype i = 0; i < length; ++i) {
        data[i] = char(generator.generate() & 0xff);
    }
    return data;
}

bool writeFile(const QString &path, const QByteArray &content) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(content) == content.size();
}

QByteArray readFile(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool setModified(const QString &path, const QDateTime &date) {
    QFile file(path);
    return file.open(QIODevice::ReadWrite) &&
           file.setFileTime(date, QFileDevice::FileModificationTime);
}

QByteArray laterVersion(const QByteArray &content, qint64 cut, qsizetype growth) {
    QByteArray later = content + randomBytes(growth, 32);
    for (qsizetype i = 65536; i < content.size(); i += 4096) {
        if (i < cut - 65536 || i > cut + 65536) {
            later[i] = char(~later.at(i));
        }
    }
    return later;
}

QString errorText(const ZKOptionalError &error) {
    return error ? error->localizedDescription() : QString();
}

bool isResting(ZKTaskState state) {
    return state == ZKTaskState::PendingPreparation || state == ZKTaskState::PendingProcessing ||
           state == ZKTaskState::PendingVerification || state == ZKTaskState::PendingRemoval ||
           state >= ZKTaskState::Completed;
}

ZKTaskState stepTask(ZKCopyTask &task, int milliseconds) {
    bool moved = false;
    const auto connection =
        QObject::connect(&task, &ZKTask::stateChanged, &task, [&moved] { moved = true; });
    task.start();
    const bool rested =
        QTest::qWaitFor([&] { return moved && isResting(task.state()); }, milliseconds);
    QObject::disconnect(connection);
    return rested ? task.state() : notAtRest;
}

ZKTaskState runTask(ZKCopyTask &task, int milliseconds, ZKTaskState stopAt) {
    ZKTaskState state = task.state();
    for (int i = 0;
         i < 6 && state != stopAt && state < ZKTaskState::Completed && state != notAtRest; ++i) {
        state = stepTask(task, milliseconds);
    }
    return state;
}

void stopProcess(QProcess &process) {
    if (process.state() != QProcess::NotRunning) {
        process.terminate();
        if (!process.waitForFinished(3000)) {
            process.kill();
            process.waitForFinished(3000);
        }
    }
}

bool runServing(const QString &program, const QStringList &arguments, QString *output,
                QString *error) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(5000)) {
        *error = program + QStringLiteral(" did not start");
        return false;
    }
    QDeadlineTimer deadline(10000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    if (process.state() != QProcess::NotRunning) {
        stopProcess(process);
        *error = program + QStringLiteral(" got no answer");
        return false;
    }
    *output = QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    *error = QString::fromUtf8(process.readAllStandardError()).trimmed();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

void isolateSettings() {
    static QTemporaryDir home;
    // Test mode keeps settings below the home folder, shared by every test
    // program running in parallel unless each has a home of its own.
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", QDir(home.path()).filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", QDir(home.path()).filePath(QStringLiteral("data")).toLocal8Bit());
    QStandardPaths::setTestModeEnabled(true);
}

} // namespace ZKTestSupport
