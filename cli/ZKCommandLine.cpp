// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCommandLine.h"

#include "ZKByteCountFormatter.h"
#include "ZKCopyTask.h"
#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKProgressPrinter.h"
#include "ZKPropertyListParser.h"
#include "ZKQueueRunner.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKTaskRegistry.h"
#include "ZKTaskState.h"
#include "ZKTerminalPresenter.h"
#include "ZKTerminalSshPrompter.h"
#include "ZKTransferMode.h"
#include "ZKTrustedCertificates.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <termios.h>
#include <unistd.h>

namespace {

void printError(const QString &text) {
    std::fprintf(stderr, "ferrowick-cli: %s\n", text.toLocal8Bit().constData());
}

// Paths typed on a terminal are relative to the working folder; addresses
// (ftp://, http://) are taken as they are.
QString absolute(const QString &path) {
    if (path.contains(QStringLiteral("://")) || path.startsWith(QLatin1Char('~'))) {
        return path;
    }
    return QFileInfo(path).absoluteFilePath();
}

// An FTP address that names a user gets the password given on stdin; one
// without a user logs in anonymously. Without --password-stdin the password
// store is asked when the connection is made. Empty: no password applies.
QString userGettingPassword(const QString &path, const std::optional<QString> &password) {
    return password && ZKReaderFactory::isLoginPath(path) ? QUrl(path).userName(QUrl::FullyDecoded)
                                                          : QString();
}

ZKReaderPtr readerFor(const QString &path, const std::optional<QString> &password) {
    const QString user = userGettingPassword(path, password);
    return user.isEmpty() ? ZKReaderFactory::readerWithPath(path)
                          : ZKReaderFactory::readerWithPath(path, user, *password);
}

ZKWriterPtr destinationFor(const QString &text, const std::optional<QString> &password,
                           QString *reason) {
    const QString path = absolute(text);
    const QString user = userGettingPassword(path, password);
    ZKError error;
    const auto writer = user.isEmpty()
                            ? ZKReaderFactory::writerWithPath(path, &error)
                            : ZKReaderFactory::writerWithPath(path, user, password, &error);
    if (!writer) {
        *reason = error.localizedDescription();
    }
    return writer;
}

// The first line of stdin, without echo when someone types it.
std::optional<QString> readPassword() {
    const bool typed = ::isatty(STDIN_FILENO);
    termios saved{};
    if (typed && ::tcgetattr(STDIN_FILENO, &saved) == 0) {
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
        std::fputs("Password: ", stderr);
    }
    std::string line;
    const bool read = bool(std::getline(std::cin, line));
    if (typed) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::fputs("\n", stderr);
    }
    if (!read) {
        return std::nullopt;
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return QString::fromStdString(line);
}

// Entries of a saved queue that this version cannot read stay in the file as
// they are; the user hears about them rather than finding them gone.
void reportUnreadEntries(const QString &file,
                         const QList<ZKFerrowickDocument::UnreadTaskEntry> &entries,
                         const QString &fate) {
    if (entries.isEmpty()) {
        return;
    }
    printError(QCoreApplication::translate("ZKCommandLine",
                                           "%n task entries of \"%1\" cannot be read and are kept "
                                           "unread; %2",
                                           nullptr, int(entries.size()))
                   .arg(file, fate));
    for (const auto &entry : entries) {
        printError(QCoreApplication::translate("ZKCommandLine", "  entry %1: %2")
                       .arg(entry.index + 1)
                       .arg(entry.reason));
    }
}

// What a command shows of a location: a local path as a path.
QString shownUrl(const QUrl &url) {
    return url.isLocalFile() ? url.toLocalFile() : url.toDisplayString();
}

struct Runtime {
    std::unique_ptr<ZKTerminalPresenter> presenter;
    int retries = 0;
    std::optional<double> retryDelay;
};

bool liveOutput() {
    return ::isatty(STDOUT_FILENO) && qgetenv("TERM") != "dumb";
}

int runDocument(ZKFerrowickDocument &document, const QString &queueFile, const Runtime &runtime) {
    const bool live = liveOutput();
    ZKProgressPrinter printer(document, stdout, live);
    ZKQueueRunner runner(document, queueFile);
    runner.setRetries(runtime.retries, runtime.retryDelay, !live);
    printer.setAttempts([&runner](const ZKTask &task) { return runner.attemptOf(task); },
                        runner.maximumAttempts());
    QObject::connect(&runner, &ZKQueueRunner::attemptsCounted, &printer,
                     &ZKProgressPrinter::lookAgain);
    printer.start();
    const int status = runner.exec();
    printer.finish();
    return status;
}

void addCommonOptions(QCommandLineParser &parser) {
    parser.addOption({QStringLiteral("verbose"),
                      QCoreApplication::translate("ZKCommandLine", "Show diagnostic log lines.")});
    parser.addOption({QStringLiteral("on-conflict"),
                      QCoreApplication::translate(
                          "ZKCommandLine", "What to do when an item exists, or cannot be read or "
                                           "written: ask, skip, replace or cancel."),
                      QStringLiteral("policy"), QStringLiteral("ask")});
    parser.addOption(
        {QStringLiteral("retry"),
         QCoreApplication::translate("ZKCommandLine", "Try a failed task up to N more times."),
         QStringLiteral("n")});
    parser.addOption(
        {QStringLiteral("retry-delay"),
         QCoreApplication::translate("ZKCommandLine", "Wait this many seconds before each retry."),
         QStringLiteral("seconds")});
    parser.addOption({QStringLiteral("accept-new-host-key"),
                      QCoreApplication::translate(
                          "ZKCommandLine", "Trust and record the key of an SSH server that no "
                                           "known_hosts file holds yet.")});
}

bool applyCommonOptions(const QCommandLineParser &parser, Runtime &runtime) {
    if (parser.isSet(QStringLiteral("verbose"))) {
        QLoggingCategory::setFilterRules(QStringLiteral("ferrowick.*=true"));
    }
    ZKTerminalPresenter::Policy policy = ZKTerminalPresenter::Ask;
    if (!ZKTerminalPresenter::parsePolicy(parser.value(QStringLiteral("on-conflict")), &policy)) {
        printError(QStringLiteral("--on-conflict takes ask, skip, replace or cancel."));
        return false;
    }
    if (parser.isSet(QStringLiteral("retry"))) {
        bool ok = false;
        runtime.retries = parser.value(QStringLiteral("retry")).toInt(&ok);
        if (!ok || runtime.retries < 0 || runtime.retries > 1000) {
            printError(QStringLiteral("--retry takes a number of retries from 0 to 1000."));
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("retry-delay"))) {
        bool ok = false;
        const double seconds = parser.value(QStringLiteral("retry-delay")).toDouble(&ok);
        if (!ok || !std::isfinite(seconds) || seconds < 0 || seconds > 86400) {
            printError(QStringLiteral("--retry-delay takes seconds from 0 to 86400."));
            return false;
        }
        runtime.retryDelay = seconds;
    }
    // A changed key is refused whatever is given here.
    ZKSshPrompter::setAcceptsNewHostKeys(parser.isSet(QStringLiteral("accept-new-host-key")));
    static ZKTerminalSshPrompter sshPrompter;
    ZKSshPrompter::setShared(&sshPrompter);
    runtime.presenter = std::make_unique<ZKTerminalPresenter>(policy);
    ZKQuestionPresenter::setShared(runtime.presenter.get());
    return true;
}

} // namespace

QString ZKCommandLine::usage() {
    return QCoreApplication::translate(
        "ZKCommandLine",
        "Usage:\n"
        "  ferrowick-cli copy SOURCE... DESTINATION [options]\n"
        "  ferrowick-cli move SOURCE... DESTINATION [options]\n"
        "  ferrowick-cli run FILE.queue [options]\n"
        "  ferrowick-cli show FILE.queue\n"
        "  ferrowick-cli trust FINGERPRINT\n"
        "  ferrowick-cli demo\n"
        "  ferrowick-cli --version\n"
        "\n"
        "Options of copy and move:\n"
        "  --verify                 compare every copy with its source afterwards\n"
        "  --limit RATE             at most RATE bytes per second (500K, 10M, 1G)\n"
        "  --on-conflict POLICY     ask, skip, replace or cancel (default: ask)\n"
        "  --save FILE.queue        keep the queue in FILE.queue, to resume it with run\n"
        "  --password-stdin         read the password of ftp:// and sftp://USER@HOST/...\n"
        "                           addresses from the first line of stdin (otherwise\n"
        "                           the password store is asked; saved queues keep it\n"
        "                           there)\n"
        "  --retry N                try a failed task up to N more times, after the\n"
        "                           queue's automatic retry delay\n"
        "  --retry-delay SECONDS    wait SECONDS before each retry instead\n"
        "  --accept-new-host-key    trust and record the key of an SSH server met for the\n"
        "                           first time (a changed key is always refused)\n"
        "  --verbose                show diagnostic log lines\n"
        "\n"
        "Options of run:\n"
        "  --on-conflict POLICY     ask, skip, replace or cancel (default: ask)\n"
        "  --retry N                as for copy and move\n"
        "  --retry-delay SECONDS    as for copy and move\n"
        "  --accept-new-host-key    as for copy and move\n"
        "  --password-stdin         read the password of the queue's FTP accounts from\n"
        "                           the first line of stdin\n"
        "  --verbose                show diagnostic log lines\n"
        "Tasks saved as failed are tried once more; a removal of sources that was cut\n"
        "short is finished.\n"
        "\n"
        "trust takes the SHA-256 fingerprint that the refusal of an ftps:// or https://\n"
        "server names, and trusts that certificate from then on, whoever signed it.\n");
}

bool ZKCommandLine::parseRate(const QString &text, quint64 *bytesPerSecond) {
    QString number = text.trimmed();
    quint64 unit = 1;
    if (!number.isEmpty()) {
        switch (number.back().toUpper().unicode()) {
        case 'K':
            unit = 1024;
            break;
        case 'M':
            unit = 1024 * 1024;
            break;
        case 'G':
            unit = 1024 * 1024 * 1024;
            break;
        default:
            break;
        }
        if (unit != 1) {
            number.chop(1);
        }
    }
    bool ok = false;
    const double value = number.toDouble(&ok);
    if (!ok || !std::isfinite(value) || value <= 0 || value * double(unit) > 1e15) {
        return false;
    }
    *bytesPerSecond = quint64(value * double(unit));
    return *bytesPerSecond > 0;
}

int ZKCommandLine::run(const QStringList &arguments) {
    ZKPreferences::initialiseUserDefaults();
    const QString command = arguments.value(1);
    const QStringList rest = arguments.mid(1);
    if (command == QStringLiteral("copy") || command == QStringLiteral("move")) {
        return transfer(rest, command == QStringLiteral("move"));
    }
    if (command == QStringLiteral("run")) {
        return runQueue(rest);
    }
    if (command == QStringLiteral("show")) {
        return show(rest);
    }
    if (command == QStringLiteral("demo")) {
        return demo(rest);
    }
    if (command == QStringLiteral("trust")) {
        return trust(rest);
    }
    if (command == QStringLiteral("--version")) {
        std::printf("ferrowick-cli %s\n", FERROWICK_VERSION);
        return allCompleted;
    }
    if (command == QStringLiteral("--help") || command == QStringLiteral("-h") ||
        command == QStringLiteral("help")) {
        std::fputs(usage().toLocal8Bit().constData(), stdout);
        return allCompleted;
    }
    std::fputs(usage().toLocal8Bit().constData(), stderr);
    return badUsage;
}

int ZKCommandLine::transfer(const QStringList &arguments, bool move) {
    QCommandLineParser parser;
    addCommonOptions(parser);
    parser.addOption({QStringLiteral("verify"),
                      QCoreApplication::translate("ZKCommandLine", "Verify every copy.")});
    parser.addOption({QStringLiteral("limit"),
                      QCoreApplication::translate("ZKCommandLine", "Speed limit."),
                      QStringLiteral("rate")});
    parser.addOption({QStringLiteral("save"),
                      QCoreApplication::translate("ZKCommandLine", "Queue file."),
                      QStringLiteral("file")});
    parser.addOption(
        {QStringLiteral("password-stdin"),
         QCoreApplication::translate("ZKCommandLine", "Read the FTP password from stdin.")});
    if (!parser.parse(arguments)) {
        printError(parser.errorText());
        return badUsage;
    }
    const QStringList paths = parser.positionalArguments();
    if (paths.size() < 2) {
        std::fputs(usage().toLocal8Bit().constData(), stderr);
        return badUsage;
    }
    Runtime runtime;
    if (!applyCommonOptions(parser, runtime)) {
        return badUsage;
    }
    quint64 limit = 0;
    if (parser.isSet(QStringLiteral("limit")) &&
        !parseRate(parser.value(QStringLiteral("limit")), &limit)) {
        printError(QStringLiteral("--limit takes a rate such as 500K, 10M or 1G."));
        return badUsage;
    }
    std::optional<QString> password;
    if (parser.isSet(QStringLiteral("password-stdin"))) {
        password = readPassword();
        if (!password) {
            printError(QStringLiteral("--password-stdin found no password on stdin."));
            return badUsage;
        }
    }
    QString reason;
    const auto destination = destinationFor(paths.last(), password, &reason);
    if (!destination) {
        printError(reason.isEmpty() ? QCoreApplication::translate("ZKCommandLine",
                                                                  "'%1' cannot be a destination.")
                                          .arg(paths.last())
                                    : reason);
        return badUsage;
    }
    QList<ZKReaderPtr> sources;
    for (const QString &path : paths.first(paths.size() - 1)) {
        auto reader = readerFor(absolute(path), password);
        if (!reader) {
            printError(QCoreApplication::translate(
                           "ZKCommandLine", "'%1' is neither a file, nor an FTP or web address.")
                           .arg(path));
            return badUsage;
        }
        sources.append(reader);
    }
    // One item named twice would be two tasks writing the same files at once.
    QStringList refused = ZKTaskRegistry::refusalsForSources(sources, destination);
    refused.removeAll(QString());
    if (!refused.isEmpty()) {
        for (const QString &reason : std::as_const(refused)) {
            printError(reason);
        }
        return badUsage;
    }

    ZKFerrowickDocument document;
    document.setState(ZKQueueState::Running);
    document.setIsVerifyEnabled(parser.isSet(QStringLiteral("verify")));
    document.setDefaultTransferMode(move ? ZKTransferMode::Move : ZKTransferMode::Copy);
    document.speedLimit().setMaximumTransferRate(qint64(limit));
    document.speedLimit().setEnabled(limit != 0);
    document.setDefaultDestination(destination);
    document.addTasks(sources, destination, 0);
    return runDocument(document, absolute(parser.value(QStringLiteral("save"))), runtime);
}

int ZKCommandLine::runQueue(const QStringList &arguments) {
    QCommandLineParser parser;
    addCommonOptions(parser);
    parser.addOption(
        {QStringLiteral("password-stdin"),
         QCoreApplication::translate("ZKCommandLine",
                                     "Read the password of the queue's FTP accounts from stdin.")});
    if (!parser.parse(arguments) || parser.positionalArguments().size() != 1) {
        if (!parser.errorText().isEmpty()) {
            printError(parser.errorText());
        }
        std::fputs(usage().toLocal8Bit().constData(), stderr);
        return badUsage;
    }
    Runtime runtime;
    if (!applyCommonOptions(parser, runtime)) {
        return badUsage;
    }
    if (parser.isSet(QStringLiteral("password-stdin"))) {
        const std::optional<QString> password = readPassword();
        if (!password) {
            printError(QStringLiteral("--password-stdin found no password on stdin."));
            return badUsage;
        }
        ZKReaderFactory::setRunPassword(password);
    }
    const QString file = absolute(parser.positionalArguments().first());
    ZKFerrowickDocument document;
    ZKError error;
    if (!document.readFromFile(file, &error)) {
        printError(error.localizedDescription());
        return badUsage;
    }
    reportUnreadEntries(file, document.unreadTaskEntries(),
                        QCoreApplication::translate(
                            "ZKCommandLine", "saving the queue writes them back unchanged."));
    ZKQueueRunner::takeUpSavedWork(document);
    // Running a queue file means running it, whatever state it was saved in.
    document.setState(ZKQueueState::Running);
    const int status = runDocument(document, file, runtime);
    // Tasks that were not even read have not completed.
    return status == allCompleted && !document.unreadTaskEntries().isEmpty() ? someNotCompleted
                                                                             : status;
}

int ZKCommandLine::trust(const QStringList &arguments) {
    if (arguments.size() != 2) {
        std::fputs(usage().toLocal8Bit().constData(), stderr);
        return badUsage;
    }
    const QString fingerprint = ZKTrustedCertificates::normalizedFingerprint(arguments.at(1));
    if (fingerprint.isEmpty() || !ZKTrustedCertificates::trust(fingerprint)) {
        printError(QCoreApplication::translate(
                       "ZKCommandLine", "'%1' is not a SHA-256 fingerprint (64 hexadecimal digits, "
                                        "colons allowed).")
                       .arg(arguments.at(1)));
        return badUsage;
    }
    std::fputs(QCoreApplication::translate("ZKCommandLine", "Trusting the certificate %1.\n")
                   .arg(fingerprint)
                   .toLocal8Bit()
                   .constData(),
               stdout);
    return allCompleted;
}

int ZKCommandLine::show(const QStringList &arguments) {
    if (arguments.size() != 2) {
        std::fputs(usage().toLocal8Bit().constData(), stderr);
        return badUsage;
    }
    // Loading a queue re-enters interrupted steps; showing one must change
    // nothing, so it reads the saved dictionaries and makes no task.
    const QString file = absolute(arguments.at(1));
    // Each entry becomes its line as it is read, so a long queue is never
    // held whole; the lines are printed once the whole file has passed.
    QStringList lines;
    QList<ZKFerrowickDocument::UnreadTaskEntry> unread;
    const auto entryLine = [&](qsizetype i, const QVariant &entry) {
        const QString reason = ZKFerrowickDocument::unreadableTaskEntryReason(entry);
        if (!reason.isEmpty()) {
            unread.append({i, entry, reason});
            return;
        }
        const QVariantMap task = entry.toMap();
        // The endpoints alone are made (a task would resume its step); a
        // local source resolves its bookmark as run would, so the path shown
        // is the one run acts on.
        const auto source = ZKPropertyListParser::parseObjectOfType<ZKReader>(
            task.value(QStringLiteral("Source")).toMap());
        const auto destination = ZKPropertyListParser::parseObjectOfType<ZKWriter>(
            task.value(QStringLiteral("Destination")).toMap());
        if (source) {
            source->acquireBookmark();
        }
        const QString state = ZKTaskStates::convertToString(
            ZKTaskStates::parse(task.value(QStringLiteral("State")).toString()));
        const quint64 progress = task.value(QStringLiteral("ProgressBytes")).toULongLong();
        const quint64 total = task.value(QStringLiteral("TotalBytes")).toULongLong();
        // The state and the mode are shown by their saved names.
        QString line =
            QStringLiteral("  %1 %2 %3 -> %4  %5")
                .arg(state.leftJustified(20),
                     task.value(QStringLiteral("TransferMode")).toString().leftJustified(5),
                     shownUrl(source->url()), shownUrl(destination->url()),
                     QCoreApplication::translate("ZKCommandLine", "%1 of %2",
                                                 "bytes copied of a task's total")
                         .arg(ZKByteCountFormatter::formatFileSize(progress),
                              ZKByteCountFormatter::formatFileSize(total)));
        const QString message = task.value(QStringLiteral("ErrorMessage")).toString();
        if (!message.isEmpty()) {
            line += QStringLiteral("  (%1)").arg(message);
        }
        lines.append(line);
    };
    QVariantMap plist;
    ZKError error;
    if (!ZKFerrowickDocument::readPropertyListFromFile(file, &plist, &error, entryLine)) {
        printError(error.localizedDescription());
        return badUsage;
    }
    std::printf("%s (%s)\n", qPrintable(QFileInfo(file).completeBaseName()),
                qPrintable(ZKQueueState::convertToString(
                    ZKQueueState::parse(plist.value(QStringLiteral("State")).toString()))));
    for (const QString &line : std::as_const(lines)) {
        std::printf("%s\n", line.toLocal8Bit().constData());
    }
    std::fflush(stdout);
    reportUnreadEntries(file, unread,
                        QCoreApplication::translate("ZKCommandLine", "the file is left as it is."));
    return allCompleted;
}

int ZKCommandLine::demo(const QStringList &) {
    QTemporaryDir dir;
    if (!dir.isValid()) {
        printError(QCoreApplication::translate("ZKCommandLine",
                                               "No temporary folder for the demonstration."));
        return someNotCompleted;
    }
    const QString sample = QDir(dir.path()).filePath(QStringLiteral("Sample photos"));
    QDir().mkpath(sample + QStringLiteral("/Holiday"));
    QRandomGenerator random(2026);
    const QStringList names{QStringLiteral("Holiday/beach.raw"),
                            QStringLiteral("Holiday/hills.raw"), QStringLiteral("portrait.raw"),
                            QStringLiteral("notes.txt")};
    for (const QString &name : names) {
        QFile file(QDir(sample).filePath(name));
        if (!file.open(QIODevice::WriteOnly)) {
            printError(file.errorString());
            return someNotCompleted;
        }
        QByteArray block(1 << 20, Qt::Uninitialized);
        for (int mb = 0; mb < 6; ++mb) {
            random.fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
            file.write(block);
        }
    }
    std::printf("%s\n\n", qPrintable(QCoreApplication::translate(
                              "ZKCommandLine", "Copying a generated sample folder with "
                                               "verification, limited to 8 MB/s so the "
                                               "progress can be followed.")));
    QStringList arguments{QStringLiteral("copy"),
                          sample,
                          QDir(dir.path()).filePath(QStringLiteral("Copy")),
                          QStringLiteral("--verify"),
                          QStringLiteral("--limit"),
                          QStringLiteral("8M")};
    const int status = transfer(arguments, false);
    std::printf("\n%s\n  ferrowick-cli copy SOURCE... DESTINATION --verify\n",
                qPrintable(QCoreApplication::translate("ZKCommandLine",
                                                       "Done. Try it on your own files:")));
    return status;
}
