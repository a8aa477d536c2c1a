// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
//
// Takes the pictures of docs/: real windows of the program on a real X
// display (run it under Xvfb through `make screenshots`), one set in a light
// and one in a dark palette. Usage: ferrowick-screenshots OUTPUT_DIR
#include "ZKCopyTask.h"
#include "ZKDesktopSshPrompter.h"
#include "ZKDestinationPopUpButton.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKHttpPanel.h"
#include "ZKListView.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKOpenPanel.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKProgressDockTile.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKReaderFactory.h"
#include "ZKRemoteServerPanel.h"
#include "ZKSchedulePanel.h"
#include "ZKScheduleSheet.h"
#include "ZKSpeedLimitPanel.h"
#include "ZKSpeedLimitSheet.h"
#include "ZKTaskState.h"
#include "ZKTransferMode.h"
#include "ZKTranslations.h"
#include "ZKUserDefaults.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>
#include <QPainter>
#include <QScreen>
#include <QStandardPaths>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTimer>
#include <QWindow>

#include <thread>

using S = ZKTaskState;

namespace {

void settle(int ms = 300) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

bool waitFor(const std::function<bool()> &condition, int ms = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > ms) {
            return false;
        }
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// What the display shows of a window and what lies over it (menus,
// pop-ups), as a user would see it.
bool shoot(QWidget *window, const QString &file, QRect area = {}) {
    settle();
    if (area.isNull()) {
        area = window->frameGeometry();
    }
    const QPixmap picture =
        window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    if (picture.isNull() || !picture.save(file)) {
        qCritical("Could not save %s", qPrintable(file));
        return false;
    }
    qInfo("%s", qPrintable(file));
    return true;
}

QPalette darkPalette() {
    QPalette p;
    const QColor window(0x2b, 0x2d, 0x30), base(0x1f, 0x20, 0x22), text(0xe8, 0xe8, 0xe8);
    const QColor disabled(0x80, 0x80, 0x80);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, window);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, disabled);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x35, 0x37, 0x3b));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::red);
    p.setColor(QPalette::Highlight, QColor(0x3d, 0x8b, 0xe0));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x5a, 0xa8, 0xf0));
    p.setColor(QPalette::Light, QColor(0x45, 0x47, 0x4b));
    p.setColor(QPalette::Midlight, QColor(0x3a, 0x3c, 0x40));
    p.setColor(QPalette::Mid, QColor(0x25, 0x26, 0x28));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1a));
    p.setColor(QPalette::Shadow, Qt::black);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, disabled);
    }
    return p;
}

bool write(const QString &path, qint64 size) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QByteArray block(64 * 1024, 'x');
    for (qint64 left = size; left > 0; left -= block.size()) {
        file.write(block.constData(), std::min<qint64>(left, block.size()));
    }
    return true;
}

// One task in each state a row can show, with the badges of a move, of
// skipped and replaced files, and of a verified copy.
std::unique_ptr<ZKFerrowickDocument> queueInEveryState(const QString &root) {
    QDir dir(root);
    dir.mkpath(QStringLiteral("Downloads"));
    dir.mkpath(QStringLiteral("Holiday Photos/2026"));
    struct Item {
        const char *name;
        qint64 size;
        ZKTaskState state;
        double done;
    };
    const Item items[] = {
        {"Holiday Photos", 0, S::Completed, 1.0},
        {"Quarterly report.pdf", 2400000, S::Completed, 1.0},
        {"Debian 12 netinst.iso", 660000000, S::Processing, 0.42},
        {"Project archive.tar.gz", 98000000, S::Verifying, 0.7},
        {"Conference talk.mkv", 1400000000, S::Suspended, 0.18},
        {"Screenshots.zip", 45000000, S::Failed, 0.3},
        {"Music library", 0, S::Preparing, 0},
        {"Thesis draft.odt", 880000, S::Removing, 1.0},
        {"Old backups", 0, S::Cancelled, 0.1},
        {"Camera import", 0, S::PendingProcessing, 0},
        {"Family videos", 0, S::PendingPreparation, 0},
    };
    QList<ZKReaderPtr> readers;
    for (const Item &item : items) {
        const QString path = dir.filePath(QString::fromUtf8(item.name));
        if (item.state == S::Failed) {
            // Fails for real: its source is not there.
        } else if (item.size == 0) {
            dir.mkpath(path);
            for (int i = 0; i < 3; ++i) {
                write(QDir(path).filePath(QStringLiteral("file %1.jpg").arg(i)), 300000);
            }
        } else {
            write(path, std::min<qint64>(item.size, 4000000));
        }
        readers << ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
    }
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setState(ZKQueueState::Paused);
    const auto out = ZKFileSystemWriter::writerWithDirectory(
        QUrl::fromLocalFile(dir.filePath(QStringLiteral("Downloads"))));
    document->setDefaultDestination(out);
    const QList<ZKTaskPtr> tasks = document->addTasks(readers, out, 0);
    waitFor([&] {
        for (const auto &task : tasks) {
            if (task->state() <= S::Preparing) {
                return false;
            }
        }
        return true;
    });
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        const Item &item = items[i];
        const auto &task = tasks[i];
        const quint64 total = item.size ? quint64(item.size) : 900000;
        static_cast<ZKCopyTask &>(*task).setTotalBytes(total);
        static_cast<ZKCopyTask &>(*task).setProgressBytes(quint64(double(total) * item.done));
        task->setDataRate(item.state == S::Processing ? 48.0e6 : 0);
        static_cast<ZKCopyTask &>(*task).setTimeRemaining(item.state == S::Processing ? 8.0 : 0);
        if (task->state() != S::Failed) {
            task->setState(item.state);
        }
        static_cast<ZKCopyTask &>(*task).setPercentCompleted(item.done);
    }
    // The tasks work out their own figures once their state changed; these
    // stand in for work that did not really happen.
    settle(300);
    for (qsizetype i = 0; i < tasks.size(); ++i) {
        static_cast<ZKCopyTask &>(*tasks[i]).setPercentCompleted(items[i].done);
        tasks[i]->setProperty("shownDone", items[i].done);
    }
    static_cast<ZKCopyTask &>(*tasks[1]).setIsVerifiedOk(true);
    tasks[7]->setTransferMode(ZKTransferMode::Move);
    static_cast<ZKCopyTask &>(*tasks[5]).setSkippedUrls(
        {QUrl::fromLocalFile(root + "/a.tmp"), QUrl::fromLocalFile(root + "/b.tmp")});
    static_cast<ZKCopyTask &>(*tasks[2]).setReplacedUrls(
        {QUrl::fromLocalFile(root + "/netinst.iso")});
    document->setDataRate(48.0e6);
    return document;
}

} // namespace

int main(int argc, char **argv) {
    QStandardPaths::setTestModeEnabled(true);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toLocal8Bit());
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("velmarind"));
    QApplication::setApplicationName(QStringLiteral("Ferrowick"));
    // In the language of the locale, as users see it (LANGUAGE=de for the
    // German pictures).
    ZKTranslations::install();
    if (argc != 2) {
        qCritical("usage: ferrowick-screenshots OUTPUT_DIR");
        return 2;
    }
    const QString output = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(output);
    ZKPreferences::initialiseUserDefaults();
    ZKUserDefaults::standard().setString(ZKPreferences::completionSound, QString());
    ZKUserDefaults::standard().setString(ZKPreferences::failureSound, QString());
    ZKUserDefaults::standard().setBool(ZKPreferences::showDataRate, true);
    ZKUserDefaults::standard().setBool(ZKPreferences::showDataSize, true);
    ZKQuestionPresenter::setShared(&ZKQueueWindow::presenter());
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QPalette light = QApplication::style()->standardPalette();

    bool ok = true;
    for (const auto &[name, palette] : {std::pair{QStringLiteral("light"), light},
                                        std::pair{QStringLiteral("dark"), darkPalette()}}) {
        QApplication::setPalette(palette);
        QTemporaryDir data;
        // What a new queue looks like before anything is dropped on it.
        auto *empty = new ZKQueueWindow(std::make_unique<ZKFerrowickDocument>());
        empty->resize(720, 420);
        empty->move(40, 40);
        empty->show();
        waitFor([&] { return empty->windowHandle() && empty->windowHandle()->isExposed(); });
        ok &= shoot(empty, QStringLiteral("%1/empty-window-%2.png").arg(output, name));
        empty->setDiscardChanges(true);
        empty->close();
        settle(200);

        // An untitled queue back after the program stopped unexpectedly.
        {
            for (const char *name : {"holiday.mov", "thesis.pdf"}) {
                QFile file(data.path() + QLatin1Char('/') + QLatin1String(name));
                file.open(QIODevice::WriteOnly);
                file.write(QByteArray(300000, 'x'));
            }
            QDir(data.path()).mkpath(QStringLiteral("Backup"));
            ZKFerrowickDocument lost;
            lost.setState(ZKQueueState::Paused);
            lost.addTasks(ZKReaderFactory::readersWithUrls(
                              {QUrl::fromLocalFile(data.path() + "/holiday.mov"),
                               QUrl::fromLocalFile(data.path() + "/thesis.pdf")}),
                          ZKFileSystemWriter::writerWithDirectory(
                              QUrl::fromLocalFile(data.path() + "/Backup")),
                          0);
            settle(300);
            QDir().mkpath(ZKDocumentController::recoveryFolder());
            lost.writeToFile(ZKDocumentController::recoveryFolder() + "/untitled-shot.queue");
        }
        ZKDocumentController controller;
        controller.reopenRecoveredDocuments();
        if (ZKQueueWindow *recovered = controller.windows().value(0)) {
            recovered->resize(720, 420);
            recovered->move(40, 40);
            waitFor([&] {
                return recovered->windowHandle() && recovered->windowHandle()->isExposed();
            });
            settle(600);
            ok &= shoot(recovered, QStringLiteral("%1/recovered-window-%2.png").arg(output, name));
            recovered->setDiscardChanges(true);
            recovered->close();
            settle(200);
        }

        auto *window = new ZKQueueWindow(queueInEveryState(data.path()));
        window->document()->setFileName(data.path() + "/Backup.queue");
        window->resize(900, 720);
        window->move(40, 40);
        window->show();
        waitFor([&] { return window->windowHandle() && window->windowHandle()->isExposed(); });
        settle(800);
        for (qsizetype i = 0; i < window->document()->countOfTasks(); ++i) {
            const auto task = window->document()->objectInTasksAtIndex(i);
            static_cast<ZKCopyTask &>(*task).setPercentCompleted(
                task->property("shownDone").toDouble());
            // Rows draw what the task announces: the staged fraction too.
            Q_EMIT task->progressChanged(task->progress());
        }
        ok &= shoot(window, QStringLiteral("%1/queue-window-%2.png").arg(output, name));

        window->addFtp();
        auto *server = window->findChild<ZKRemoteServerPanel *>();
        if (server) {
            server->setUrl(QUrl(QStringLiteral("sftp://files.example.org/~/backups/")));
            server->setUsername(QStringLiteral("anna"));
            ok &= shoot(server, QStringLiteral("%1/server-panel-%2.png").arg(output, name));
            server->cancel();
        }
        {
            // Asked by a worker, as a connection asks it.
            ZKDesktopSshPrompter prompter;
            std::thread asking([&prompter] {
                prompter.acceptNewHostKey(QStringLiteral("files.example.org"),
                                          QStringLiteral("ED25519"),
                                          QStringLiteral("SHA256:3q2+7wAmVvHxAGYVmkp1dBQ5PqGv8cK"
                                                         "kLxKJqX0nZbA"));
            });
            QMessageBox *box = nullptr;
            for (int i = 0; i < 200 && !box; ++i) {
                settle(20);
                for (QWidget *widget : QApplication::topLevelWidgets()) {
                    if (auto *shown = qobject_cast<QMessageBox *>(widget);
                        shown && shown->isVisible()) {
                        box = shown;
                    }
                }
            }
            if (box) {
                ok &=
                    shoot(window, QStringLiteral("%1/host-key-question-%2.png").arg(output, name));
            } else {
                ok = false;
            }
            ZKSshPrompter::refusePendingPrompts();
            asking.join();
            settle(50);
        }
        window->addDownload();
        auto *http = window->findChild<ZKHttpPanel *>();
        if (http) {
            http->setUrl(QUrl(QStringLiteral("https://downloads.example.org/image.iso")));
            ok &= shoot(http, QStringLiteral("%1/web-panel-%2.png").arg(output, name));
            http->cancel();
        }
        if (auto *destination = window->findChild<ZKDestinationPopUpButton *>()) {
            destination->showPopup();
            settle(500);
            QRect area = window->frameGeometry();
            for (QWidget *popup : QApplication::topLevelWidgets()) {
                if (popup->isVisible() && popup != window) {
                    area = area.united(popup->frameGeometry());
                }
            }
            ok &=
                shoot(window, QStringLiteral("%1/destination-menu-%2.png").arg(output, name), area);
            destination->hidePopup();
        }
        window->addFile();
        if (auto *open = window->findChild<ZKOpenPanel *>()) {
            waitFor([&] { return open->isVisible(); });
            ok &= shoot(open, QStringLiteral("%1/open-panel-%2.png").arg(output, name));
            open->reject();
        }
        settle();

        // The two sheets, with a limit and a schedule that do something.
        ZKSpeedLimitPanel &limit = window->document()->speedLimit();
        limit.setMaximumTransferRate(5 * 1024 * 1024);
        limit.setEnabled(true);
        window->speedLimitSheet()->displaySheetForWindow(window);
        waitFor([&] { return window->speedLimitSheet()->isVisible(); });
        ok &= shoot(window->speedLimitSheet(),
                    QStringLiteral("%1/speed-limit-sheet-%2.png").arg(output, name));
        window->speedLimitSheet()->reject();
        ZKSchedulePanel &schedule = window->document()->schedule();
        schedule.startCopyingTimer().setTime(QDateTime(QDate::currentDate(), QTime(22, 30)));
        schedule.startCopyingTimer().setEnabled(true);
        schedule.stopCopyingTimer().setTime(QDateTime(QDate::currentDate(), QTime(7, 0)));
        schedule.stopCopyingTimer().setEnabled(true);
        schedule.setScheduleEnabled(true);
        window->scheduleSheet()->displaySheetForWindow(window);
        waitFor([&] { return window->scheduleSheet()->isVisible(); });
        ok &= shoot(window->scheduleSheet(),
                    QStringLiteral("%1/schedule-sheet-%2.png").arg(output, name));
        window->scheduleSheet()->reject();
        settle();

        window->setDiscardChanges(true);
        window->close();
        settle(300);

        ZKPreferencesWindow preferences;
        preferences.move(60, 60);
        for (const QString &page : {QStringLiteral("General"), QStringLiteral("Defaults"),
                                    QStringLiteral("Downloads"), QStringLiteral("Sounds")}) {
            preferences.show();
            preferences.showPage(page);
            waitFor([&] {
                return preferences.windowHandle() && preferences.windowHandle()->isExposed();
            });
            ok &=
                shoot(&preferences,
                      QStringLiteral("%1/preferences-%2-%3.png").arg(output, page.toLower(), name));
        }
        preferences.close();
        settle(200);
    }

    // The application's icon: idle, and with the progress of the running
    // queues as docks and task bars show it.
    ZKProgressDockTile tile;
    tile.setProgress(0.4);
    tile.setShowProgress(true);
    QImage icons(QSize(3 * 128 + 4 * 16, 128 + 32), QImage::Format_ARGB32_Premultiplied);
    icons.fill(Qt::transparent);
    {
        QPainter painter(&icons);
        int x = 16;
        for (const double progress : {0.0, 0.4, 0.85}) {
            tile.setProgress(progress);
            tile.setShowProgress(progress > 0.0);
            painter.drawImage(QPoint(x, 16), tile.image(QSize(128, 128)));
            x += 128 + 16;
        }
    }
    const QString iconFile = QStringLiteral("%1/progress-icon.png").arg(output);
    ok &= icons.save(iconFile);
    qInfo("%s", qPrintable(iconFile));
    return ok ? 0 : 1;
}
