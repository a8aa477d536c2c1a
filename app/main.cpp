// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKError.h"
#include "ZKFerrowickDocument.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKPreferences.h"
#include "ZKQuestionPresenter.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QUrl>

namespace {

// A queue file opens as its own window; anything else is a source of the
// untitled queue: a path, a file:// URI from a file manager, or an ftp,
// http or https address.
QString sourceOf(const QString &argument) {
    const QUrl url(argument);
    return url.isLocalFile() ? url.toLocalFile() : argument;
}

bool isQueueFile(const QString &path) {
    return QFileInfo(path).suffix() == ZKFerrowickDocument::fileExtension;
}

} // namespace

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("ferrowick.*.debug=false"));
    QApplication::setOrganizationName(QStringLiteral("velmarind"));
    QApplication::setApplicationName(QStringLiteral("Ferrowick"));
    QApplication::setApplicationVersion(QStringLiteral(FERROWICK_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.velmarind.Ferrowick"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Copies and moves files, folders, FTP and web addresses in a queue."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("items"),
                                 QStringLiteral("Queue files to open, or files, folders and "
                                                "addresses to copy."),
                                 QStringLiteral("[FILE.queue | ITEM...]"));
    parser.process(app);

    ZKPreferences::initialiseUserDefaults();
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());

    QStringList sources;
    int windows = 0;
    for (const QString &argument : parser.positionalArguments()) {
        const QString path = sourceOf(argument);
        if (!isQueueFile(path)) {
            sources << path;
            continue;
        }
        auto document = std::make_unique<ZKFerrowickDocument>();
        ZKError error;
        if (!document->readFromFile(QFileInfo(path).absoluteFilePath(), &error)) {
            QMessageBox box(QMessageBox::Critical, QStringLiteral("Ferrowick"),
                            QStringLiteral("The queue \u201c%1\u201d could not be opened.")
                                .arg(QFileInfo(path).fileName()),
                            QMessageBox::Ok);
            box.setInformativeText(error.localizedDescription());
            box.exec();
            continue;
        }
        (new ZKQueueWindow(std::move(document)))->show();
        ++windows;
    }
    if (windows == 0 && !parser.positionalArguments().isEmpty() && sources.isEmpty()) {
        return 1; // nothing given could be opened
    }
    if (windows == 0 || !sources.isEmpty()) {
        auto *window = new ZKQueueWindow(std::make_unique<ZKFerrowickDocument>());
        window->show();
        if (!sources.isEmpty()) {
            window->document()->createTasksWithReaders(ZKReaderFactory::readersWithPaths(sources),
                                                       0);
        }
    }
    return app.exec();
}
