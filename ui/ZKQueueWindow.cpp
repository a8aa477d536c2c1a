// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKQueueWindow.h"

#include "ZKClearMenuDelegate.h"
#include "ZKDelayPopupButton.h"
#include "ZKDestinationPopUpButton.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemWriter.h"
#include "ZKHelpLinks.h"
#include "ZKHttpPanel.h"
#include "ZKImages.h"
#include "ZKListView.h"
#include "ZKMessageBoxPresenter.h"
#include "ZKMimeDataPasteboard.h"
#include "ZKOpenPanel.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKRemoteServerPanel.h"
#include "ZKRetryMenuDelegate.h"
#include "ZKScheduleSheet.h"
#include "ZKSpeedLimitSheet.h"
#include "ZKTaskListModel.h"
#include "ZKTaskView.h"
#include "ZKTransferMode.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QList<ZKQueueWindow *> &openWindows() {
    static QList<ZKQueueWindow *> windows;
    return windows;
}

const char *const kQueueFilter = QT_TRANSLATE_NOOP("ZKQueueWindow", "Ferrowick queues (*.queue)");

} // namespace

ZKMessageBoxPresenter &ZKQueueWindow::presenter() {
    static ZKMessageBoxPresenter shared(
        [](const QObject *asker) -> QWidget * { return windowForAsker(asker); });
    return shared;
}

ZKQueueWindow *ZKQueueWindow::windowForAsker(const QObject *asker) {
    for (ZKQueueWindow *window : std::as_const(openWindows())) {
        ZKFerrowickDocument *document = window->document();
        if (!document || window->m_closing) {
            continue;
        }
        if (asker == document || document->taskQueue().taskWithAddress(asker)) {
            return window;
        }
    }
    return nullptr;
}

ZKQueueWindow::ZKQueueWindow(std::unique_ptr<ZKFerrowickDocument> document, QWidget *parent)
    : ZKKeyPressHandlerWindow(parent)
    , m_document(std::move(document)) {
    openWindows().append(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    setWindowIcon(ZKImages::named(QStringLiteral("ferrowick")));
    m_lastSourcePath = QDir::homePath();
    m_lastDestinationPath = QDir::homePath();

    m_listView = new ZKListView(this);
    m_listView->setAccessibleName(tr("Tasks"));
    m_listView->setOwner(m_document.get());
    m_listView->setDelegate(m_document.get());
    m_listView->setItemPrototype(new ZKTaskView);
    // Sorting resets the list; the rows slide to where their tasks went.
    m_listView->setIdentityRole(ZKTaskListModel::TaskRole);
    m_listView->setModel(&m_document->taskListModel());
    auto *central = new QWidget(this);
    auto *column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    buildNoticeBar();
    column->addWidget(m_noticeBar);
    column->addWidget(m_listView, 1);
    setCentralWidget(central);

    m_emptyHint = new QLabel(m_listView->viewport());
    m_emptyHint->setAlignment(Qt::AlignCenter);
    m_emptyHint->setWordWrap(true);
    m_emptyHint->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_emptyHint->setText(tr("<p style='font-size:large'>Drop files and folders here"
                            "</p><p>or choose Add to copy files, folders, FTP, SFTP and "
                            "web addresses</p>"));
    m_emptyHint->setForegroundRole(QPalette::PlaceholderText);
    m_listViewport = m_listView->viewport();
    m_listViewport->installEventFilter(this);

    buildActions();
    buildMenus();
    buildHelpMenu();
    buildToolBar();
    buildStatusBar();
    connectDocument();
    refreshEmptyHint();

    m_document->setDestinationChooser(
        [this](const std::function<void(const ZKWriterPtr &)> &answer) {
            chooseDestinationFolder(answer);
        });
    // What the queue did survives the window and the program.
    m_document->setSavesProgress(true);

    // Wide enough for the toolbar in the user's language, whose words may be
    // much longer than the English ones: none of its controls starts out
    // hidden behind the overflow arrow.
    const auto *bar = findChild<QToolBar *>(QStringLiteral("queueToolBar"));
    resize(qMax(720, bar->sizeHint().width()), 520);
    setMinimumSize(480, 260);
}

ZKQueueWindow::~ZKQueueWindow() {
    openWindows().removeAll(this);
    // The rows go before the task list they read.
    m_listViewport->removeEventFilter(this);
    m_listViewport = nullptr;
    delete m_listView;
    m_listView = nullptr;
    m_document.reset();
}

QAction *ZKQueueWindow::action(const QString &objectName) const {
    return m_actions.value(objectName);
}

// ---- building

void ZKQueueWindow::buildActions() {
    auto add = [this](const QString &name, const QString &text, const QKeySequence &shortcut,
                      auto slot) {
        auto *action = new QAction(text, this);
        action->setObjectName(name);
        if (!shortcut.isEmpty()) {
            action->setShortcut(shortcut);
        }
        // The buttons' pop-up menus show the keys too, as the menu bar does,
        // on desktops whose style would leave them out.
        action->setShortcutVisibleInContextMenu(true);
        connect(action, &QAction::triggered, this, slot);
        m_actions.insert(name, action);
        addAction(action);
        return action;
    };
    ZKFerrowickDocument *d = m_document.get();

    add("startStop", tr("Start"), QKeySequence(Qt::Key_Space), [this] { toggleStartStop(); });
    add("addFile", tr("Add Files and Folders..."), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A),
        [this] { addFile(); });
    add("addFtp", tr("Add Server Address..."), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F),
        [this] { addFtp(); });
    add("addDownload", tr("Add Web Address..."), QKeySequence(Qt::CTRL | Qt::Key_L),
        [this] { addDownload(); });
    add("paste", tr("Paste"), QKeySequence::Paste, [this] { paste(); });
    add("copy", tr("Copy Tasks"), QKeySequence::Copy, [this] { copyItems(); });
    add("copySources", tr("Copy Source Addresses"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C),
        [this] { copySources(); });
    add("save", tr("Save"), QKeySequence::Save, [this] { save(); });
    add("saveAs", tr("Save As..."), QKeySequence::SaveAs, [this] { saveAs(); });
    QAction *closeAction = add("close", tr("Close"), QKeySequence::Close, [this] { close(); });
    QAction *quitAction =
        add("quit", tr("Quit"), QKeySequence::Quit, [] { QApplication::closeAllWindows(); });
    quitAction->setMenuRole(QAction::QuitRole);
    // Ctrl+W and Ctrl+Q on every desktop, beside whatever its theme binds.
    for (const auto &[action, standard, key] :
         {std::tuple{closeAction, QKeySequence::Close, QKeySequence(Qt::CTRL | Qt::Key_W)},
          std::tuple{quitAction, QKeySequence::Quit, QKeySequence(Qt::CTRL | Qt::Key_Q)}}) {
        QList<QKeySequence> keys = QKeySequence::keyBindings(standard);
        if (!keys.contains(key)) {
            keys.prepend(key);
        }
        action->setShortcuts(keys);
    }

    add("retry", tr("Retry"), QKeySequence(Qt::CTRL | Qt::Key_R), [d] { d->restart(false); });
    add("retryFailed", tr("Retry Failed Tasks"), {}, [d] { d->retryFailedTasks(); });
    add("autoRetry", tr("Retry Automatically"), {}, [d] {
        d->toggleAutoRetryItems();
    })->setCheckable(true);
    add("clearCompleted", tr("Clear Completed"), QKeySequence(Qt::CTRL | Qt::Key_K),
        [d] { d->clearCompletedItems(false); });
    add("clearFailed", tr("Clear Failed"), {}, [d] { d->clearFailedItems(); });
    add("clearAll", tr("Clear All"), {}, [d] { d->clearAllItems(); });
    add("autoClear", tr("Clear Automatically"), {}, [d] {
        d->toggleAutoClearItems();
    })->setCheckable(true);
    add("suspendAll", tr("Suspend All"), {}, [d] { d->suspendAll(); });
    add("resumeAll", tr("Resume All"), {}, [d] { d->resumeAll(); });
    add("allCopy", tr("Copy All"), {}, [d] { d->setAllTransferModeCopy(); });
    add("allMove", tr("Move All"), {}, [d] { d->setAllTransferModeMove(); });
    add("changeAllDestination", tr("Change All Destinations..."), {},
        [this] { changeAllDestination(); });
    add("verify", tr("Verify Copies"), {}, [d](bool on) {
        d->setIsVerifyEnabled(on);
    })->setCheckable(true);

    // One of each per queue; they follow the queue's objects across loads.
    m_scheduleSheet = new ZKScheduleSheet(d, this);
    m_speedLimitSheet = new ZKSpeedLimitSheet(d, this);
    add("schedule", tr("Schedule..."), {},
        [this] { m_scheduleSheet->displaySheetForWindow(this); });
    add("speedLimit", tr("Speed Limit..."), {},
        [this] { m_speedLimitSheet->displaySheetForWindow(this); });

    auto *modes = new QActionGroup(this);
    for (const auto &[name, text, mode] :
         {std::tuple{"defaultCopy", QT_TR_NOOP("Copy New Items"), ZKTransferMode::Copy},
          std::tuple{"defaultMove", QT_TR_NOOP("Move New Items"), ZKTransferMode::Move}}) {
        QAction *action = add(name, tr(text), {}, [d, mode] { d->setDefaultTransferMode(mode); });
        action->setCheckable(true);
        modes->addAction(action);
    }

    for (const auto &[name, text, sort] :
         {std::tuple{"sortByFilename", QT_TR_NOOP("By Name"), &ZKFerrowickDocument::sortByFilename},
          std::tuple{"sortByDestination", QT_TR_NOOP("By Destination"),
                     &ZKFerrowickDocument::sortByDestination},
          std::tuple{"sortByFileSize", QT_TR_NOOP("By Size"), &ZKFerrowickDocument::sortByFileSize},
          std::tuple{"sortByPercentCompleted", QT_TR_NOOP("By Progress"),
                     &ZKFerrowickDocument::sortByPercentCompleted},
          std::tuple{"sortByPercentRemaining", QT_TR_NOOP("By Work Left"),
                     &ZKFerrowickDocument::sortByPercentRemaining},
          std::tuple{"sortByTimeRemaining", QT_TR_NOOP("By Time Left"),
                     &ZKFerrowickDocument::sortByTimeRemaining}}) {
        add(name, tr(text), {}, [d, sort] { (d->*sort)(); });
    }
}

void ZKQueueWindow::buildMenus() {
    QMenu *file = menuBar()->addMenu(tr("&File"));
    file->addActions({action("save"), action("saveAs")});
    file->addSeparator();
    file->addActions({action("close"), action("quit")});

    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    edit->addActions({action("copy"), action("copySources"), action("paste")});

    QMenu *queue = menuBar()->addMenu(tr("&Queue"));
    queue->addAction(action("startStop"));
    queue->addSeparator();
    queue->addActions({action("schedule"), action("speedLimit")});
    queue->addSeparator();
    queue->addActions({action("addFile"), action("addFtp"), action("addDownload")});
    queue->addSeparator();
    queue->addActions({action("retry"), action("retryFailed"), action("autoRetry")});
    queue->addSeparator();
    queue->addActions(
        {action("clearCompleted"), action("clearFailed"), action("clearAll"), action("autoClear")});
    queue->addSeparator();
    queue->addActions({action("suspendAll"), action("resumeAll")});
    queue->addSeparator();
    queue->addActions({action("allCopy"), action("allMove"), action("changeAllDestination")});
    queue->addSeparator();
    queue->addActions({action("defaultCopy"), action("defaultMove"), action("verify")});
    QMenu *sort = queue->addMenu(tr("Sort"));
    sort->addActions({action("sortByFilename"), action("sortByDestination"),
                      action("sortByFileSize"), action("sortByPercentCompleted"),
                      action("sortByPercentRemaining"), action("sortByTimeRemaining")});
    connect(queue, &QMenu::aboutToShow, this, [this] {
        action("autoRetry")->setChecked(m_document->autoRetryItems());
        action("autoClear")->setChecked(m_document->autoClearItems());
        action("verify")->setChecked(m_document->isVerifyEnabled());
        action(m_document->defaultTransferMode() == ZKTransferMode::Move ? "defaultMove"
                                                                         : "defaultCopy")
            ->setChecked(true);
    });
}

QMenu *ZKQueueWindow::fileMenu() const {
    return menuBar()->actions().isEmpty() ? nullptr : menuBar()->actions().first()->menu();
}

void ZKQueueWindow::buildHelpMenu() {
    QMenu *help = menuBar()->addMenu(tr("&Help"));
    QAction *manual = help->addAction(tr("Ferrowick Help"), this, [] { ZKHelpLinks::showHelp(); });
    manual->setShortcut(QKeySequence::HelpContents);
    manual->setShortcutVisibleInContextMenu(true);
    manual->setObjectName(QStringLiteral("showHelp"));
    m_actions.insert(manual->objectName(), manual);
    addAction(manual);
    QAction *feedback =
        help->addAction(tr("Send Feedback..."), this, [] { ZKHelpLinks::sendFeedback(); });
    feedback->setObjectName(QStringLiteral("sendFeedback"));
    m_actions.insert(feedback->objectName(), feedback);
    QAction *website =
        help->addAction(tr("Ferrowick Website"), this, [] { ZKHelpLinks::showWebsite(); });
    website->setObjectName(QStringLiteral("showWebsite"));
    m_actions.insert(website->objectName(), website);
}

void ZKQueueWindow::buildToolBar() {
    QToolBar *bar = addToolBar(tr("Queue"));
    bar->setObjectName(QStringLiteral("queueToolBar"));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);

    QAction *startStop = action("startStop");
    bar->addAction(startStop);
    // Start and Pause take turns on one button. As wide as the longer of
    // them, it neither shifts the buttons beside it nor outgrows the window
    // once the queue runs.
    if (auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(startStop))) {
        const QString shown = startStop->text();
        int width = 0;
        for (const QString &text : {tr("Start"), tr("Pause")}) {
            startStop->setText(text);
            width = qMax(width, button->sizeHint().width());
        }
        startStop->setText(shown);
        button->setMinimumWidth(width);
    }

    // A click runs the first command, a longer press shows the others.
    auto popup = [this, bar](const QString &text, const QString &image, QMenu *menu) {
        auto *button = new ZKDelayPopupButton(bar);
        button->setText(text);
        button->setIcon(ZKImages::named(image));
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setAutoRaise(true);
        button->setPopupMenu(menu);
        button->setAccessibleName(text);
        bar->addWidget(button);
        return button;
    };

    m_addMenu = new QMenu(this);
    m_addMenu->addActions({action("addFile"), action("addFtp"), action("addDownload")});
    m_addMenu->addSeparator();
    m_addMenu->addAction(action("paste"));
    m_addButton = popup(tr("Add"), QStringLiteral("ZKToolbarAdd"), m_addMenu);
    m_addButton->setToolTip(tr("Add files and folders (hold for more)"));
    connect(m_addButton, &ZKDelayPopupButton::clicked, this, [this] { addFile(); });

    m_retryMenu = new QMenu(this);
    QAction *autoRetry = m_retryMenu->addAction(tr("Retry Automatically"));
    autoRetry->setData(1001);
    autoRetry->setCheckable(true);
    connect(autoRetry, &QAction::triggered, m_document.get(),
            [d = m_document.get()] { d->toggleAutoRetryItems(); });
    m_retryMenu->addSeparator();
    m_retryMenu->addActions({action("retry"), action("retryFailed")});
    m_retryMenuDelegate = new ZKRetryMenuDelegate(this);
    m_retryMenuDelegate->setDocument(m_document.get());
    m_retryMenuDelegate->attachToMenu(m_retryMenu);
    m_retryButton = popup(tr("Retry"), QStringLiteral("ZKToolbarRetry"), m_retryMenu);
    connect(m_retryButton, &ZKDelayPopupButton::clicked, this,
            [this] { m_document->restart(true); });

    m_clearMenu = new QMenu(this);
    QAction *autoClear = m_clearMenu->addAction(tr("Clear Automatically"));
    autoClear->setData(1001);
    autoClear->setCheckable(true);
    connect(autoClear, &QAction::triggered, m_document.get(),
            [d = m_document.get()] { d->toggleAutoClearItems(); });
    m_clearMenu->addSeparator();
    m_clearMenu->addActions({action("clearCompleted"), action("clearFailed"), action("clearAll")});
    m_clearMenuDelegate = new ZKClearMenuDelegate(this);
    m_clearMenuDelegate->setDocument(m_document.get());
    m_clearMenuDelegate->attachToMenu(m_clearMenu);
    m_clearButton = popup(tr("Clear"), QStringLiteral("ZKToolbarClear"), m_clearMenu);
    connect(m_clearButton, &ZKDelayPopupButton::clicked, this,
            [this] { m_document->clearCompletedItems(true); });

    // Lit while the limit or the schedule is on; a click opens its sheet.
    auto indicator = [this, bar](QAction *opener, const QString &image, const QString &name) {
        auto *button = new QToolButton(bar);
        button->setIcon(ZKImages::named(image));
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
        button->setAutoRaise(true);
        button->setCheckable(true);
        button->setAccessibleName(name);
        button->setObjectName(opener->objectName() + QStringLiteral("Button"));
        connect(button, &QToolButton::clicked, opener, &QAction::trigger);
        bar->addWidget(button);
        return button;
    };
    auto follow = [](QToolButton *button, auto *sheet) {
        auto refresh = [button, sheet] {
            button->setChecked(sheet->isOn());
            button->setToolTip(sheet->summary());
            button->setAccessibleDescription(sheet->summary());
        };
        // A click checks the button on its own; the sheet decides.
        connect(button, &QToolButton::clicked, sheet, refresh);
        connect(sheet, &std::remove_pointer_t<decltype(sheet)>::summaryChanged, button, refresh);
        refresh();
    };
    m_scheduleButton =
        indicator(action("schedule"), QStringLiteral("ZKToolbarSchedule"), tr("Schedule"));
    follow(m_scheduleButton, m_scheduleSheet);
    m_speedLimitButton =
        indicator(action("speedLimit"), QStringLiteral("ZKToolbarSpeedLimit"), tr("Speed limit"));
    follow(m_speedLimitButton, m_speedLimitSheet);

    auto *spacer = new QWidget(bar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(spacer);

    m_modeBox = new QComboBox(bar);
    m_modeBox->addItem(tr("Copy"), ZKTransferMode::Copy);
    m_modeBox->addItem(tr("Move"), ZKTransferMode::Move);
    m_modeBox->setAccessibleName(tr("Transfer mode of new items"));
    m_modeBox->setToolTip(tr("Copy or move the items added from now on"));
    connect(m_modeBox, &QComboBox::activated, this, [this](int index) {
        m_document->setDefaultTransferMode(m_modeBox->itemData(index).toInt());
    });
    bar->addWidget(m_modeBox);

    auto *toLabel = new QLabel(tr(" to "), bar);
    bar->addWidget(toLabel);
    m_destinationButton = new ZKDestinationPopUpButton(bar);
    m_destinationButton->setAccessibleName(tr("Default destination"));
    m_destinationButton->setMinimumContentsLength(14);
    m_destinationButton->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    toLabel->setBuddy(m_destinationButton);
    bar->addWidget(m_destinationButton);

    m_verifyBox = new QCheckBox(tr("Verify"), bar);
    m_verifyBox->setToolTip(tr("Compare every copy with its original"));
    m_verifyBox->setAccessibleName(tr("Verify copies"));
    connect(m_verifyBox, &QCheckBox::toggled, this,
            [this](bool on) { m_document->setIsVerifyEnabled(on); });
    bar->addWidget(m_verifyBox);
}

void ZKQueueWindow::buildStatusBar() {
    // No accessible names: a screen reader then reads what the labels say,
    // and hears when it changes. The descriptions tell what they sum up.
    m_descriptionLabel = new QLabel(this);
    m_descriptionLabel->setAccessibleDescription(tr("Queue summary"));
    m_dataDescriptionLabel = new QLabel(this);
    m_dataDescriptionLabel->setAccessibleDescription(tr("Data summary"));
    statusBar()->addWidget(m_descriptionLabel, 1);
    statusBar()->addPermanentWidget(m_dataDescriptionLabel);
    statusBar()->setSizeGripEnabled(false);
}

void ZKQueueWindow::connectDocument() {
    ZKFerrowickDocument *d = m_document.get();
    connect(d, &ZKFerrowickDocument::stateChanged, this, &ZKQueueWindow::refreshState);
    connect(d, &ZKFerrowickDocument::descriptionChanged, this, &ZKQueueWindow::refreshTexts);
    connect(d, &ZKFerrowickDocument::dataDescriptionChanged, this, &ZKQueueWindow::refreshTexts);
    connect(d, &ZKFerrowickDocument::editedChanged, this, &ZKQueueWindow::refreshTitle);
    // What one drop or paste could not add is told once, not item by item.
    connect(d, &ZKFerrowickDocument::tasksRefused, this, [this](const QStringList &reasons) {
        constexpr qsizetype shown = 3;
        QStringList lines = reasons.mid(0, shown);
        if (reasons.size() > shown) {
            lines << tr("And %n more.", "", int(reasons.size() - shown));
        }
        showNotice(reasons.size() == 1 ? reasons.first()
                                       : tr("%n items were not added:", "", int(reasons.size())) +
                                             QLatin1Char('\n') + lines.join(QLatin1Char('\n')));
    });
    connect(d, &ZKFerrowickDocument::retryTooltipChanged, this,
            [this] { m_retryButton->setToolTip(m_document->retryTooltip()); });
    connect(d, &ZKFerrowickDocument::clearTooltipChanged, this,
            [this] { m_clearButton->setToolTip(m_document->clearTooltip()); });
    connect(d, &ZKFerrowickDocument::isVerifyEnabledChanged, this, [this] {
        const QSignalBlocker blocker(m_verifyBox);
        m_verifyBox->setChecked(m_document->isVerifyEnabled());
    });
    connect(d, &ZKFerrowickDocument::defaultTransferModeChanged, this, [this] {
        m_modeBox->setCurrentIndex(m_modeBox->findData(m_document->defaultTransferMode()));
    });
    connect(d, &ZKFerrowickDocument::defaultDestinationChanged, this, [this] {
        if (m_destinationButton->destination() != m_document->defaultDestination()) {
            m_destinationButton->setDestination(m_document->defaultDestination());
        }
    });
    connect(
        m_destinationButton, &ZKDestinationPopUpButton::destinationChanged, this,
        [this](const ZKWriterPtr &destination) { m_document->setDefaultDestination(destination); });

    // The rows show the document's task list, whose changes they follow.
    QAbstractItemModel *tasks = &d->taskListModel();
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved}) {
        connect(tasks, signal, this, &ZKQueueWindow::refreshEmptyHint);
    }
    connect(tasks, &QAbstractItemModel::modelReset, this, &ZKQueueWindow::refreshEmptyHint);

    m_verifyBox->setChecked(d->isVerifyEnabled());
    m_modeBox->setCurrentIndex(m_modeBox->findData(d->defaultTransferMode()));
    m_destinationButton->setDestination(d->defaultDestination());
    m_retryButton->setToolTip(d->retryTooltip());
    m_clearButton->setToolTip(d->clearTooltip());
    refreshState();
    refreshTexts();
    refreshTitle();
}

// ---- rows

void ZKQueueWindow::refreshEmptyHint() {
    const bool empty = m_listView->count() == 0;
    m_emptyHint->setGeometry(m_listView->viewport()->rect().adjusted(24, 24, -24, -24));
    m_emptyHint->setVisible(empty);
}

// ---- texts and state

void ZKQueueWindow::refreshState() {
    const bool running = m_document->state() == ZKQueueState::Running;
    QAction *startStop = action("startStop");
    startStop->setText(running ? tr("Pause") : tr("Start"));
    startStop->setIcon(ZKImages::named(running ? QStringLiteral("ZKToolbarPause")
                                               : QStringLiteral("ZKToolbarStart")));
    startStop->setToolTip(running ? tr("Pause the queue (Space)") : tr("Start the queue (Space)"));
}

void ZKQueueWindow::refreshTexts() {
    m_descriptionLabel->setText(m_document->description());
    m_dataDescriptionLabel->setText(m_document->dataDescription());
}

void ZKQueueWindow::refreshTitle() {
    // The application's name follows, added by the platform.
    setWindowTitle(m_document->displayName() + QStringLiteral("[*]"));
    setWindowModified(m_document->isEdited());
}

// ---- commands

void ZKQueueWindow::toggleStartStop() {
    m_document->toggleStartStop();
}

void ZKQueueWindow::addReaders(const QList<ZKReaderPtr> &readers) {
    m_document->createTasksWithReaders(readers, m_document->countOfTasks());
}

void ZKQueueWindow::addFile() {
    auto *panel = ZKOpenPanel::sourcePanel(this, true, QUrl::fromLocalFile(m_lastSourcePath));
    panel->beginSheetModalForWindow(this, [this, panel](bool ok) {
        panel->deleteLater();
        if (!ok) {
            return;
        }
        const QList<QUrl> urls = panel->urls();
        if (!urls.isEmpty()) {
            m_lastSourcePath = QFileInfo(urls.first().toLocalFile()).absolutePath();
        }
        addReaders(ZKReaderFactory::readersWithUrls(urls));
    });
}

void ZKQueueWindow::addFtp() {
    auto *panel = new ZKRemoteServerPanel(this);
    panel->displaySheetForWindow(this, [this, panel](bool chosen) {
        panel->deleteLater();
        if (!chosen) {
            return;
        }
        if (const auto reader = panel->reader()) {
            addReaders({reader});
        }
    });
}

void ZKQueueWindow::addDownload() {
    auto *panel = new ZKHttpPanel(this);
    panel->displaySheetForWindow(this, [this, panel](bool chosen) {
        panel->deleteLater();
        if (!chosen) {
            return;
        }
        if (const auto reader = ZKReaderFactory::readerWithUrl(panel->url())) {
            addReaders({reader});
        }
    });
}

bool ZKQueueWindow::addSourcesFromMimeData(const QMimeData &data, qsizetype index) {
    const QList<QByteArray> tasks =
        ZKMimeDataPasteboard::itemsOfType(data, ZKTaskQueue::pasteboardType);
    const QList<QUrl> urls = data.hasUrls() ? data.urls() : QList<QUrl>{};
    if (!tasks.isEmpty() || !urls.isEmpty()) {
        m_document->paste(tasks, urls, index);
        return true;
    }
    // Text: one path or address a line.
    QList<ZKReaderPtr> readers;
    const QStringList lines = data.text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        const QString path = line.trimmed();
        if (ZKReaderFactory::isValidPath(path)) {
            if (const auto reader = ZKReaderFactory::readerWithPath(path)) {
                readers << reader;
            }
        }
    }
    if (readers.isEmpty()) {
        return false;
    }
    m_document->createTasksWithReaders(readers, index);
    return true;
}

void ZKQueueWindow::paste() {
    const QMimeData *data = QApplication::clipboard()->mimeData();
    if (!data || !addSourcesFromMimeData(*data, m_document->countOfTasks())) {
        statusBar()->showMessage(tr("The clipboard holds no files, folders or addresses to copy."),
                                 4000);
    }
}

void ZKQueueWindow::copyItems() {
    ZKMimeDataPasteboard pasteboard;
    ZKIndexList all;
    for (qsizetype i = 0; i < m_document->countOfTasks(); ++i) {
        all << i;
    }
    m_document->copyItems(all, pasteboard);
    m_document->copySources(pasteboard);
    QApplication::clipboard()->setMimeData(pasteboard.takeMimeData());
}

void ZKQueueWindow::copySources() {
    ZKMimeDataPasteboard pasteboard;
    m_document->copySources(pasteboard);
    QApplication::clipboard()->setMimeData(pasteboard.takeMimeData());
}

void ZKQueueWindow::chooseDestinationFolder(
    const std::function<void(const ZKWriterPtr &)> &answer) {
    auto *panel = ZKOpenPanel::folderPanel(this, tr("Choose a folder to copy to."),
                                           QUrl::fromLocalFile(m_lastDestinationPath));
    panel->beginSheetModalForWindow(this, [this, panel, answer](bool ok) {
        panel->deleteLater();
        const QList<QUrl> urls = ok ? panel->urls() : QList<QUrl>{};
        if (urls.isEmpty()) {
            answer(nullptr);
            return;
        }
        m_lastDestinationPath = urls.first().toLocalFile();
        answer(ZKFileSystemWriter::writerWithDirectory(urls.first()));
    });
}

void ZKQueueWindow::changeAllDestination() {
    chooseDestinationFolder([this](const ZKWriterPtr &destination) {
        if (destination) {
            m_document->changeAllDestination(destination);
        }
    });
}

void ZKQueueWindow::save(std::function<void(bool saved)> done) {
    if (m_document->fileName().isEmpty()) {
        saveAs(std::move(done));
        return;
    }
    const bool saved = saveToFile(m_document->fileName());
    if (done) {
        done(saved);
    }
}

bool ZKQueueWindow::saveToFile(const QString &path) {
    ZKError error;
    if (!m_document->saveToFile(path, &error)) {
        showError(tr("The queue \u201c%1\u201d could not be saved.").arg(m_document->displayName()),
                  error.localizedDescription());
        return false;
    }
    refreshTitle();
    return true;
}

void ZKQueueWindow::saveAs(std::function<void(bool saved)> done) {
    const QString folder = m_document->fileName().isEmpty()
                               ? m_lastSourcePath
                               : QFileInfo(m_document->fileName()).absolutePath();
    auto *dialog = new QFileDialog(this, tr("Save Queue"), folder, tr(kQueueFilter));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(ZKFerrowickDocument::fileExtension);
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->selectFile(m_document->displayName() + QStringLiteral(".queue"));
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QDialog::finished, this, [this, dialog, done](int result) {
        const QStringList files = dialog->selectedFiles();
        const bool saved =
            result == QDialog::Accepted && !files.isEmpty() && saveToFile(files.first());
        if (done) {
            done(saved);
        }
    });
    dialog->open();
}

void ZKQueueWindow::showError(const QString &message, const QString &detail) {
    auto *box =
        new QMessageBox(QMessageBox::Critical, tr("Ferrowick"), message, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText(detail);
    box->setWindowModality(Qt::WindowModal);
    box->open();
}

void ZKQueueWindow::revertToSaved() {
    if (m_document->fileName().isEmpty()) {
        return;
    }
    if (!m_document->isEdited()) {
        revertNow();
        return;
    }
    auto *box = new QMessageBox(
        QMessageBox::Warning, tr("Ferrowick"),
        tr("Revert to the saved queue \u201c%1\u201d?").arg(m_document->displayName()),
        QMessageBox::Cancel, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText(tr("The changes made since it was last saved will be lost."));
    QPushButton *revert = box->addButton(tr("Revert"), QMessageBox::DestructiveRole);
    box->setDefaultButton(QMessageBox::Cancel);
    box->setWindowModality(Qt::WindowModal);
    connect(box, &QMessageBox::finished, this, [this, box, revert] {
        if (box->clickedButton() == revert) {
            revertNow();
        }
    });
    box->open();
}

void ZKQueueWindow::revertNow() {
    ZKError error;
    if (!m_document->revertToSaved(&error)) {
        showError(
            tr("The queue \u201c%1\u201d could not be reverted.").arg(m_document->displayName()),
            error.localizedDescription());
    }
}

// ---- the notice over the rows

void ZKQueueWindow::buildNoticeBar() {
    auto *bar = new QFrame(this);
    bar->setObjectName(QStringLiteral("noticeBar"));
    bar->setAccessibleName(tr("Notice"));
    bar->setFrameShape(QFrame::StyledPanel);
    // The colours of a tooltip: a note apart from the rows, in any theme.
    bar->setAutoFillBackground(true);
    bar->setBackgroundRole(QPalette::ToolTipBase);
    bar->setForegroundRole(QPalette::ToolTipText);
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(10, 6, 6, 6);
    auto *icon = new QLabel(bar);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    icon->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxInformation, nullptr, this).pixmap(side, side));
    row->addWidget(icon);
    m_noticeLabel = new QLabel(bar);
    m_noticeLabel->setWordWrap(true);
    m_noticeLabel->setForegroundRole(QPalette::ToolTipText);
    m_noticeLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    row->addWidget(m_noticeLabel, 1);
    auto *dismiss = new QPushButton(tr("Dismiss"), bar);
    dismiss->setObjectName(QStringLiteral("dismissNotice"));
    connect(dismiss, &QPushButton::clicked, bar, &QWidget::hide);
    row->addWidget(dismiss);
    bar->hide();
    m_noticeBar = bar;
}

void ZKQueueWindow::showNotice(const QString &text) {
    m_noticeLabel->setText(text);
    m_noticeBar->setAccessibleDescription(text);
    m_noticeBar->show();
}

// ---- window events

void ZKQueueWindow::closeWhenAgreed(std::function<void(bool closed)> done) {
    m_closeRequests.append(std::move(done));
    // Answered as the window closes or the user keeps it: now, or once a
    // question is answered.
    close();
}

void ZKQueueWindow::answerCloseRequests(bool closed) {
    const QList<std::function<void(bool)>> requests = std::exchange(m_closeRequests, {});
    for (const auto &request : requests) {
        if (request) {
            request(closed);
        }
    }
}

void ZKQueueWindow::closeEvent(QCloseEvent *event) {
    if (m_askingToClose) {
        event->ignore(); // the question already asked answers this too
        return;
    }
    // A question of the queue stays up meanwhile: a window that is kept
    // after all has it still to answer.
    if (!m_closeAgreed && !m_discardChanges &&
        (m_document->isEdited() || m_document->hasRunningTask())) {
        event->ignore();
        askBeforeClosing();
        return;
    }
    // No question is shown here any more: one that a task asks while its
    // step winds down is answered as cancelled.
    m_closing = true;
    // Not a byte is written once the window has gone. The steps stop before
    // their questions are taken back, so that their tasks rest where they
    // were instead of failing on a Cancel nobody gave.
    m_document->stopAllTasks();
    presenter().dismissQuestions(this);
    event->accept();
    answerCloseRequests(true);
}

void ZKQueueWindow::askBeforeClosing() {
    m_askingToClose = true;
    const QString name = m_document->displayName();
    const bool untitled = m_document->fileName().isEmpty();
    auto *box = new QMessageBox(QMessageBox::Warning, tr("Ferrowick"), QString(),
                                QMessageBox::NoButton, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    QAbstractButton *stop = nullptr;
    if (m_document->isEdited()) {
        box->setText(tr("Save the changes to the queue \u201c%1\u201d before closing?").arg(name));
        box->setInformativeText(
            untitled ? tr("Its tasks and their progress are lost if you don't save them.")
                     : tr("The changes since it was last saved are lost if you don't save them; "
                          "the progress of its tasks is kept."));
        box->setStandardButtons(QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
        box->button(QMessageBox::Discard)->setText(tr("Do&n't Save"));
        box->setDefaultButton(QMessageBox::Save);
    } else {
        box->setText(tr("\u201c%1\u201d is still transferring. Stop it and close?").arg(name));
        if (!untitled) {
            box->setInformativeText(tr("Its progress is kept: the transfers go on from there "
                                       "when the queue is opened again."));
        }
        stop = box->addButton(tr("Stop"), QMessageBox::DestructiveRole);
        box->addButton(QMessageBox::Cancel);
        box->setDefaultButton(qobject_cast<QPushButton *>(stop));
    }
    box->setEscapeButton(QMessageBox::Cancel);
    connect(box, &QMessageBox::finished, this, [this, box, stop] {
        QAbstractButton *clicked = box->clickedButton();
        const auto closeNow = [this] {
            m_askingToClose = false;
            m_closeAgreed = true;
            close();
        };
        const auto keepOpen = [this] {
            m_askingToClose = false;
            answerCloseRequests(false);
        };
        if (clicked && clicked == stop) {
            closeNow();
        } else if (clicked && clicked == box->button(QMessageBox::Discard)) {
            closeNow();
        } else if (clicked && clicked == box->button(QMessageBox::Save)) {
            // Closed once saved; a save that fails or is cancelled keeps
            // the window and its transfers as they were.
            save([closeNow, keepOpen](bool saved) { saved ? closeNow() : keepOpen(); });
        } else {
            keepOpen();
        }
    });
    box->open();
}

bool ZKQueueWindow::eventFilter(QObject *watched, QEvent *event) {
    // Compared, never called: the list may be half torn down here.
    if (watched == m_listViewport && event->type() == QEvent::Resize) {
        refreshEmptyHint();
    }
    return ZKKeyPressHandlerWindow::eventFilter(watched, event);
}

void ZKQueueWindow::dragEnterEvent(QDragEnterEvent *event) {
    if (event->mimeData()->hasUrls() || event->mimeData()->hasFormat(ZKTaskQueue::pasteboardType)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void ZKQueueWindow::dropEvent(QDropEvent *event) {
    // Beside the list (on the toolbar or the summary): at the end.
    if (m_document->dropItemsAtIndex(m_document->countOfTasks(), *event->mimeData())) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}
