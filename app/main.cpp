// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"
#include "ZKApplicationService.h"
#include "ZKDesktopSshPrompter.h"
#include "ZKDocumentController.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKProcessArguments.h"
#include "ZKQuestionPresenter.h"
#include "ZKQueueWindow.h"
#include "ZKTransferMode.h"
#include "ZKTranslations.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDBusConnection>
#include <QLoggingCategory>

#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

// With FERROWICK_REPORT_FIRST_PAINT set, the program prints when its first
// queue window has been painted (milliseconds since the epoch) and ends:
// how the window benchmark times a start as a user sees it.
class FirstPaintReport : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (!m_reported && event->type() == QEvent::Paint && watched->isWidgetType() &&
            qobject_cast<ZKQueueWindow *>(static_cast<QWidget *>(watched)->window())) {
            m_reported = true;
            // Once this paint has been drawn and handed to the display.
            QTimer::singleShot(0, this, [] {
                std::printf("first painted window at %lld\n", QDateTime::currentMSecsSinceEpoch());
                std::fflush(stdout);
                QApplication::exit(0);
            });
        }
        return false;
    }

private:
    bool m_reported = false;
};

} // namespace

int main(int argc, char **argv) {
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("ferrowick.*.debug=false"));
    QApplication::setOrganizationName(QStringLiteral("velmarind"));
    QApplication::setApplicationName(QStringLiteral("Ferrowick"));
    QApplication::setApplicationDisplayName(QStringLiteral("Ferrowick"));
    QApplication::setApplicationVersion(QStringLiteral(FERROWICK_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.velmarind.Ferrowick"));
    ZKTranslations::install();

    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate(
        "ferrowick", "Copies and moves files, folders, FTP and web addresses in a queue.\n"
                     "When Ferrowick is running already, the items go to its queue."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption serviceOption(
        QStringLiteral("service"),
        QCoreApplication::translate(
            "ferrowick", "Start without a window and wait for the desktop to ask for one "
                         "(used when the session bus starts Ferrowick)."));
    parser.addOption(serviceOption);
    const QCommandLineOption newQueueOption(
        QStringLiteral("new-queue"),
        QCoreApplication::translate(
            "ferrowick", "Open a new, empty queue, also in the Ferrowick that is running."));
    parser.addOption(newQueueOption);
    // What the file managers' "Copy with Ferrowick" and "Move with
    // Ferrowick" ask for, whatever the queue does with new items.
    const QCommandLineOption copyOption(
        QStringLiteral("copy"),
        QCoreApplication::translate(
            "ferrowick", "Copy the items given, even into a queue that moves new items."));
    parser.addOption(copyOption);
    const QCommandLineOption moveOption(
        QStringLiteral("move"),
        QCoreApplication::translate(
            "ferrowick", "Move the items given: each source is removed once its copy is whole. "
                         "Web addresses are copied."));
    parser.addOption(moveOption);
    parser.addPositionalArgument(
        QStringLiteral("items"),
        QCoreApplication::translate("ferrowick", "Queue files to open, or files, folders and "
                                                 "ftp, http or https addresses to copy."),
        QCoreApplication::translate("ferrowick", "[FILE.queue | ITEM...]"));
    parser.process(app);
    const QStringList items = parser.positionalArguments();
    std::optional<qint32> transferMode;
    if (parser.isSet(copyOption) && parser.isSet(moveOption)) {
        std::fprintf(stderr, "ferrowick: %s\n",
                     qUtf8Printable(QCoreApplication::translate(
                         "ferrowick", "--copy and --move exclude each other.")));
        return 1;
    }
    if (parser.isSet(copyOption) || parser.isSet(moveOption)) {
        if (items.isEmpty()) {
            std::fprintf(
                stderr, "ferrowick: %s\n",
                qUtf8Printable(
                    parser.isSet(moveOption)
                        ? QCoreApplication::translate("ferrowick", "--move needs the files or "
                                                                   "folders to move.")
                        : QCoreApplication::translate("ferrowick", "--copy needs the files or "
                                                                   "folders to copy.")));
            return 1;
        }
        transferMode = parser.isSet(moveOption) ? ZKTransferMode::Move : ZKTransferMode::Copy;
    }
    ZKProcessArguments::hidePasswords(argc, argv);
    if (qEnvironmentVariableIsSet("FERROWICK_REPORT_FIRST_PAINT")) {
        app.installEventFilter(new FirstPaintReport(&app));
    }

    ZKAppDelegate delegate;
    ZKApplicationService service(delegate, QDBusConnection::sessionBus());
    if (service.claim() == ZKApplicationService::Claim::Running) {
        QString error;
        const bool handedOver =
            parser.isSet(newQueueOption) && items.isEmpty()
                ? ZKApplicationService::activateActionOfRunningInstance(
                      QDBusConnection::sessionBus(), QStringLiteral("new-queue"), &error)
                : ZKApplicationService::forwardToRunningInstance(QDBusConnection::sessionBus(),
                                                                 items, &error, transferMode);
        if (handedOver) {
            return 0;
        }
        std::fprintf(stderr, "ferrowick: %s\n",
                     qUtf8Printable(QCoreApplication::translate(
                                        "ferrowick", "the running Ferrowick did not answer "
                                                     "(%1); starting another one.")
                                        .arg(error)));
    }
    delegate.applicationWillFinishLaunching();
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());
    static ZKDesktopSshPrompter sshPrompter;
    ZKSshPrompter::setShared(&sshPrompter);
    delegate.applicationDidFinishLaunching();

    ZKDocumentController &controller = delegate.documentController();
    if (!items.isEmpty()) {
        delegate.openArguments(items, transferMode);
    }
    // After the items, which must not go to a queue that merely came back.
    const int recovered = controller.reopenRecoveredDocuments();
    if (!items.isEmpty() && controller.documents().isEmpty()) {
        // Nothing given could be opened: the program ends with an error once
        // the user has read why.
        const QWidgetList shown = QApplication::topLevelWidgets();
        if (std::none_of(shown.begin(), shown.end(), [](QWidget *w) { return w->isVisible(); })) {
            return 1;
        }
        QApplication::setQuitOnLastWindowClosed(false);
        QObject::connect(&app, &QGuiApplication::lastWindowClosed, &app,
                         [] { QApplication::exit(1); });
        return app.exec();
    }
    if (items.isEmpty() && recovered == 0 && !parser.isSet(serviceOption)) {
        controller.newDocument();
    }
    return app.exec();
}
