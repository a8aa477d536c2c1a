// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTaskView.h"

#include "ZKElidedLabel.h"
#include "ZKFerrowickDocument.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKFtpReader.h"
#include "ZKFtpWriter.h"
#include "ZKHoverButton.h"
#include "ZKHoverImageView.h"
#include "ZKHttpPanel.h"
#include "ZKHttpReader.h"
#include "ZKImages.h"
#include "ZKOpenPanel.h"
#include "ZKProgressBarHueTransformer.h"
#include "ZKReaderFactory.h"
#include "ZKRemoteServerPanel.h"
#include "ZKSftpReader.h"
#include "ZKSftpWriter.h"
#include "ZKStoppableProgressIndicator.h"
#include "ZKTaskListModel.h"
#include "ZKTaskState.h"
#include "ZKTransferMode.h"
#include "ZKValueTransformer.h"

#include <QContextMenuEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPropertyAnimation>

#include <utility>

using S = ZKTaskState;

namespace {

constexpr int kBadgeSlots = 5;

QString lastPathComponent(const QUrl &url) {
    QString path = url.path();
    while (path.size() > 1 && path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    return QFileInfo(path).fileName();
}

QVariant transformed(const char *transformer, const QVariant &value) {
    const ZKValueTransformer *t =
        ZKValueTransformer::valueTransformerForName(QString::fromLatin1(transformer));
    return t ? t->transformedValue(value) : QVariant();
}

bool isMenuKey(const QKeyEvent *event) {
    return event->key() == Qt::Key_Menu ||
           (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
}

bool isPlainKey(const QKeyEvent *event, int key) {
    return event->key() == key && !(event->modifiers() & ~Qt::KeypadModifier);
}

} // namespace

ZKTaskView::ZKTaskView(QWidget *parent)
    : ZKListViewItem(parent)
    , m_actionToolTip(tr("Suspend"))
    , m_cancelToolTip(tr("Cancel")) {
    setAttribute(Qt::WA_Hover, false);

    m_iconLabel = new QLabel(this);
    m_iconLabel->setFixedSize(32, 32);
    m_taskLabel = new ZKElidedLabel(this);
    m_detailLabel = new ZKElidedLabel(this);
    QFont small = m_detailLabel->font();
    small.setPointSizeF(small.pointSizeF() * 0.88);
    m_detailLabel->setFont(small);
    m_progressIndicator = new ZKStoppableProgressIndicator(this);
    // The collapse animates the maximum height, so nothing may hold it up.
    m_progressIndicator->setMinimumHeight(0);
    m_progressIndicator->setMaximumHeight(m_defaultIndicatorHeight);
    m_progressIndicator->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_progressIndicator->setAccessibleName(tr("Progress"));

    m_actionButton = new ZKHoverButton(this);
    m_cancelButton = new ZKHoverButton(this);
    m_cancelButton->setIcon(ZKImages::named(QStringLiteral("ZKActionCancel")));
    for (ZKHoverButton *button : {m_actionButton, m_cancelButton}) {
        button->setDelegate(this);
        button->setIconSize(QSize(16, 16));
    }
    connect(m_actionButton, &QToolButton::clicked, this, &ZKTaskView::performTaskAction);
    connect(m_cancelButton, &QToolButton::clicked, this, &ZKTaskView::cancelTask);

    auto *badges = new QHBoxLayout;
    badges->setSpacing(3);
    badges->setContentsMargins(0, 0, 0, 0);
    for (int i = 0; i < kBadgeSlots; ++i) {
        auto *badge = new ZKHoverImageView(this);
        badge->setDelegate(this);
        badge->hide();
        badges->addWidget(badge);
        m_badgeViews << badge;
    }

    auto *detailLine = new QHBoxLayout;
    detailLine->setSpacing(6);
    detailLine->addWidget(m_detailLabel, 1);
    detailLine->addLayout(badges);

    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(10, 8, 8, 8);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(4);
    grid->addWidget(m_iconLabel, 0, 0, 3, 1, Qt::AlignVCenter);
    grid->addWidget(m_taskLabel, 0, 1);
    grid->addWidget(m_progressIndicator, 1, 1);
    grid->addLayout(detailLine, 2, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(2);
    buttons->addWidget(m_actionButton);
    buttons->addWidget(m_cancelButton);
    grid->addLayout(buttons, 0, 2, 3, 1, Qt::AlignVCenter);
    grid->setColumnStretch(1, 1);

    m_barAnimation = new QPropertyAnimation(m_progressIndicator, "maximumHeight", this);
    m_barAnimation->setDuration(200);
    connect(m_barAnimation, &QPropertyAnimation::finished, this, [this] {
        if (m_progressIndicator->maximumHeight() == 0) {
            m_progressIndicator->hide();
        }
    });

    buildMenu();
    refreshTask(false);
    resize(sizeHint());
}

ZKTaskView::~ZKTaskView() = default;

ZKListViewItem *ZKTaskView::copy() const {
    auto *row = new ZKTaskView;
    row->setOwner(owner());
    return row;
}

ZKTaskPtr ZKTaskView::task() const {
    return data(ZKTaskListModel::TaskRole).value<ZKTaskPtr>();
}

ZKFerrowickDocument *ZKTaskView::document() const {
    return qobject_cast<ZKFerrowickDocument *>(owner());
}

QLabel *ZKTaskView::taskLabel() const {
    return m_taskLabel;
}

QLabel *ZKTaskView::detailLabel() const {
    return m_detailLabel;
}

// ---- the row shown

void ZKTaskView::setRow(QAbstractItemModel *model, int row) {
    m_hoverView = nullptr;
    ZKListViewItem::setRow(model, row);
    // A row that is not shown is laid out when it appears: the list rebinds
    // rows on every scroll, and each would otherwise be laid out twice.
    if (m_isShown) {
        viewWillLayout();
    }
}

void ZKTaskView::rowDataChanged(const QList<int> &roles) {
    Q_UNUSED(roles);
    if (m_isShown) {
        refreshTask(true);
    }
}

void ZKTaskView::viewWillAppear() {
    m_isShown = true;
    viewWillLayout();
}

void ZKTaskView::viewDidDisappear() {
    m_isShown = false;
}

// ---- what the row shows

void ZKTaskView::viewWillLayout() {
    m_shownState.reset(); // a row shown anew does not animate what it had before
    m_barAnimation->stop();
    refreshTask(false);
}

ZKTaskState ZKTaskView::shownStateOfRow() const {
    const QVariant state = data(ZKTaskListModel::StateRole);
    return state.isValid() ? ZKTaskState(state.toInt()) : S::PendingPreparation;
}

void ZKTaskView::refreshTitle() {
    const QString title = data(ZKTaskListModel::TitleRole).toString();
    if (m_taskLabel->text() != title) {
        m_taskLabel->setText(title);
        m_taskLabel->setToolTip(title);
    }
    refreshAccessibleTexts();
    refreshButtonNames();
    // The kind of source shows as its icon; the task looks it up once.
    const ZKTaskPtr t = task();
    const QString icon = t ? t->icon() : QString();
    if (m_iconName != icon) {
        m_iconName = icon;
        const QIcon image = icon.isEmpty() ? QIcon() : ZKImages::endpointIcon(icon);
        m_iconLabel->setPixmap(image.isNull() ? QPixmap()
                                              : image.pixmap(QSize(32, 32), devicePixelRatioF()));
    }
}

void ZKTaskView::refreshProgress(ZKTaskState state) {
    if (row() < 0) {
        m_progressIndicator->setDoubleValue(0);
        return;
    }
    if (data(ZKTaskListModel::IndeterminateRole).toBool() && state == S::Preparing) {
        m_progressIndicator->setRange(0, 0);
    } else {
        m_progressIndicator->setRange(0, 10000);
        m_progressIndicator->setDoubleValue(data(ZKTaskListModel::FractionRole).toDouble());
    }
}

void ZKTaskView::refreshTask(bool animated) {
    const ZKTaskState state = shownStateOfRow();
    if (state != m_shownState) {
        switch (state) {
        case S::Suspended:
            m_actionToolTip = tr("Resume");
            break;
        case S::Failed:
            m_actionToolTip = tr("Retry");
            break;
        case S::Completed:
            m_actionToolTip = tr("Show in Folder");
            break;
        default:
            m_actionToolTip = tr("Suspend");
            break;
        }
        // A row shown again for another task must not keep "Close".
        m_cancelToolTip = state == S::Completed ? tr("Close") : tr("Cancel");
        setLabelsEnabled(state != S::Suspended);
        if (state == S::Completed && m_shownState && animated) {
            hideProgressBar(true);
        } else if (state == S::Completed) {
            hideProgressBar(false);
        } else {
            showProgressBar();
        }
        m_shownState = state;

        m_actionButton->setToolTip(m_actionToolTip);
        m_actionButton->setHoverText(m_actionToolTip);
        m_actionButton->setIcon(
            transformed("ZKTaskActionIconTransformer", qint32(state)).value<QIcon>());
        m_cancelButton->setToolTip(m_cancelToolTip);
        m_cancelButton->setHoverText(m_cancelToolTip);
        m_progressIndicator->setColor(ZKProgressBarHueTransformer::tintForState(state));
    }
    refreshTitle();
    refreshProgress(state);
    refreshBadges(state);
    refreshDetail();
}

void ZKTaskView::setLabelsEnabled(bool enabled) {
    m_labelsEnabled = enabled;
    const QColor color = transformed("ZKDisabledTextColorTransformer", enabled).value<QColor>();
    for (QLabel *label :
         {static_cast<QLabel *>(m_taskLabel), static_cast<QLabel *>(m_detailLabel)}) {
        // On the list's base colour the labels draw in the text role.
        QPalette p = label->palette();
        for (auto role : {QPalette::WindowText, QPalette::Text}) {
            p.setColor(role, color.isValid() ? color : palette().color(role));
        }
        label->setPalette(p);
    }
}

void ZKTaskView::refreshDetail() {
    if (m_hoverView && !m_hoverView->hoverText().isNull()) {
        m_detail = m_hoverView->hoverText();
    } else {
        m_detail = data(ZKTaskListModel::DetailRole).toString();
    }
    if (m_detailLabel->text() != m_detail) {
        m_detailLabel->setText(m_detail);
    }
    refreshAccessibleTexts();
}

void ZKTaskView::refreshButtonNames() {
    // Heard apart from the row, a button says which task it acts on.
    QString file = data(ZKTaskListModel::FilenameRole).toString();
    if (file.isEmpty()) {
        file = m_taskLabel->text();
    }
    for (auto [button, verb] :
         {std::pair{m_actionButton, m_actionToolTip}, std::pair{m_cancelButton, m_cancelToolTip}}) {
        const QString name =
            file.isEmpty()
                ? verb
                : tr("%1 “%2”", "a row's button: what it does, to which file").arg(verb, file);
        if (button->accessibleName() != name) {
            button->setAccessibleName(name);
        }
    }
    const QString barName =
        file.isEmpty() ? tr("Progress")
                       : tr("Progress of “%1”", "a row's progress bar, of which file").arg(file);
    if (m_progressIndicator->accessibleName() != barName) {
        m_progressIndicator->setAccessibleName(barName);
    }
}

void ZKTaskView::refreshAccessibleTexts() {
    if (accessibleName() != m_taskLabel->text()) {
        setAccessibleName(m_taskLabel->text());
    }
    if (accessibleDescription() != m_detailLabel->text()) {
        setAccessibleDescription(m_detailLabel->text());
    }
}

void ZKTaskView::refreshBadges(ZKTaskState state) {
    QStringList images;
    QStringList tips;
    if (row() >= 0) {
        auto add = [&](const char *image, const QString &tip) {
            images << QString::fromLatin1(image);
            tips << tip;
        };
        const auto urls = [this](int role) {
            return data(role).value<QList<QUrl>>();
        };
        if (state == S::Failed) {
            add("ZKFailed", tr("The transfer has failed."));
        }
        if (data(ZKTaskListModel::TransferModeRole).toInt() == ZKTransferMode::Move) {
            add("ZKRemoveOriginal", tr("The original file will be removed after copying."));
        }
        if (const QVariant resumable = data(ZKTaskListModel::IsResumableRole);
            resumable.isValid() && !resumable.toBool()) {
            add("ZKNoResume", tr("The server does not support resuming."));
        }
        if (const QList<QUrl> replaced = urls(ZKTaskListModel::ReplacedUrlsRole);
            !replaced.isEmpty()) {
            add("ZKReplacedFiles", descriptionOfUrls(replaced, tr("Replacing")));
        }
        if (const QList<QUrl> skipped = urls(ZKTaskListModel::SkippedUrlsRole);
            !skipped.isEmpty()) {
            add("ZKSkippedFiles", descriptionOfUrls(skipped, tr("Skipping")));
        }
        if (data(ZKTaskListModel::IsVerifiedOkRole).toBool()) {
            add("ZKVerified", tr("The transfer has been verified succesfully."));
        }
    }
    images = images.mid(0, kBadgeSlots);
    tips = tips.mid(0, kBadgeSlots);
    if (images == m_badgeImages && tips == m_badgeTips) {
        return;
    }
    m_badgeImages = images;
    m_badgeTips = tips;
    for (int i = 0; i < kBadgeSlots; ++i) {
        ZKHoverImageView *badge = m_badgeViews[i];
        const bool used = i < images.size();
        badge->setImage(used ? ZKImages::named(images[i]) : QIcon());
        badge->setHoverText(used ? tips[i] : QString());
        badge->setToolTip(used ? tips[i] : QString());
        badge->setAccessibleName(used ? tips[i] : QString());
        badge->setVisible(used);
    }
}

QList<QIcon> ZKTaskView::badges() const {
    QList<QIcon> images;
    for (ZKHoverImageView *badge : m_badgeViews) {
        if (!badge->isHidden()) {
            images << badge->image();
        }
    }
    return images;
}

QStringList ZKTaskView::badgeToolTips() const {
    QStringList tips;
    for (ZKHoverImageView *badge : m_badgeViews) {
        if (!badge->isHidden()) {
            tips << badge->hoverText();
        }
    }
    return tips;
}

bool ZKTaskView::isProgressBarShown() const {
    return !m_progressIndicator->isHidden() && m_progressIndicator->maximumHeight() > 0;
}

void ZKTaskView::showProgressBar() {
    m_barAnimation->stop();
    m_progressIndicator->setMaximumHeight(m_defaultIndicatorHeight);
    m_progressIndicator->show();
}

void ZKTaskView::hideProgressBar(bool animated) {
    if (m_progressIndicator->isHidden() || m_progressIndicator->maximumHeight() == 0) {
        return;
    }
    if (!animated) {
        m_barAnimation->stop();
        m_progressIndicator->setMaximumHeight(0);
        m_progressIndicator->hide();
        return;
    }
    m_barAnimation->setStartValue(m_progressIndicator->maximumHeight());
    m_barAnimation->setEndValue(0);
    m_barAnimation->start();
}

QString ZKTaskView::descriptionOfUrls(const QList<QUrl> &urls, const QString &prefix) {
    if (urls.isEmpty()) {
        return {};
    }
    QString text;
    qsizetype taken = 0;
    for (const QUrl &url : urls) {
        if (taken == 3) {
            break;
        }
        text += taken == 0 ? QStringLiteral("%1 %2").arg(prefix, lastPathComponent(url))
                           : QStringLiteral(", %1").arg(lastPathComponent(url));
        ++taken;
    }
    if (urls.size() >= 4) {
        text += tr(" and %n other files", "", int(urls.size() - 3));
    }
    return text + QLatin1Char('.');
}

QString ZKTaskView::truncatePath(const QString &path) {
    if (path.size() >= 100) {
        return QStringLiteral("%1...%2").arg(path.left(48), path.right(48));
    }
    return path;
}

// ---- hovering

void ZKTaskView::mouseEntered(ZKHoverView *view) {
    m_hoverView = view;
    refreshDetail();
}

void ZKTaskView::mouseExited(ZKHoverView *view) {
    if (m_hoverView == view) {
        m_hoverView = nullptr;
    }
    refreshDetail();
}

// ---- the menu

void ZKTaskView::buildMenu() {
    m_menu = new QMenu(this);
    auto add = [this](int tag, const QString &title, void (ZKTaskView::*slot)()) {
        QAction *action = m_menu->addAction(title);
        action->setData(tag);
        if (slot) {
            connect(action, &QAction::triggered, this, slot);
        }
        return action;
    };
    add(SourceTitle, tr("From: "), nullptr);
    add(RevealSource, tr("Show Source in Folder"), &ZKTaskView::revealSource);
    add(ChangeSource, tr("Change Source..."), &ZKTaskView::changeSource);
    m_menu->addSeparator();
    add(DestinationTitle, tr("To: "), nullptr);
    add(RevealDestination, tr("Show Destination in Folder"), &ZKTaskView::revealDestination);
    add(ChangeDestination, tr("Change Destination..."), &ZKTaskView::changeDestination);
    m_menu->addSeparator();
    add(Action, tr("Suspend"), &ZKTaskView::performTaskAction);
    add(Cancel, tr("Cancel"), &ZKTaskView::cancelTask);
    m_menu->addSeparator();
    add(MoveUp, tr("Move Up"), &ZKTaskView::moveTaskUp);
    add(MoveToTop, tr("Move to Top"), &ZKTaskView::moveTaskToTop);
    add(MoveDown, tr("Move Down"), &ZKTaskView::moveTaskDown);
    add(MoveToBottom, tr("Move to Bottom"), &ZKTaskView::moveTaskToBottom);
    m_menu->addSeparator();
    add(CopyMode, tr("Copy"), &ZKTaskView::setTransferModeCopy)->setCheckable(true);
    add(MoveMode, tr("Move"), &ZKTaskView::setTransferModeMove)->setCheckable(true);
    connect(m_menu, &QMenu::aboutToShow, this, &ZKTaskView::validateMenu);
}

QAction *ZKTaskView::menuItem(int tag) const {
    for (QAction *action : m_menu->actions()) {
        if (action->data().toInt() == tag) {
            return action;
        }
    }
    return nullptr;
}

void ZKTaskView::configureLocation(QAction *title, QAction *reveal, QAction *change,
                                   const QString &prefix, const ZKReaderPtr &endpoint,
                                   std::optional<ZKTaskState> state) {
    title->setEnabled(false);
    if (!endpoint) {
        title->setText(prefix);
        reveal->setEnabled(false);
        change->setEnabled(false);
        return;
    }
    if (endpoint->isLocal()) {
        const QString path = endpoint->url().toLocalFile();
        title->setText(QStringLiteral("%1 %2").arg(prefix, truncatePath(path)));
        reveal->setEnabled(QFileInfo::exists(path));
    } else {
        title->setText(QStringLiteral("%1 %2").arg(
            prefix, truncatePath(endpoint->url().toString(QUrl::RemovePassword))));
        reveal->setEnabled(false);
    }
    change->setEnabled(state != S::Completed && state != S::Cancelling && state != S::Cancelled);
}

void ZKTaskView::validateMenu() {
    const ZKTaskPtr t = task();
    ZKFerrowickDocument *d = document();
    const std::optional<ZKTaskState> state = t ? std::optional(shownStateOfRow()) : std::nullopt;
    configureLocation(menuItem(SourceTitle), menuItem(RevealSource), menuItem(ChangeSource),
                      tr("From: "), t ? t->source() : nullptr, state);
    const ZKWriterPtr destination = t ? t->destination() : nullptr;
    configureLocation(menuItem(DestinationTitle), menuItem(RevealDestination),
                      menuItem(ChangeDestination), tr("To: "),
                      destination ? destination->asReader() : nullptr, state);

    QAction *action = menuItem(Action);
    action->setText(state == S::Suspended ? tr("Resume")
                    : state == S::Failed  ? tr("Retry")
                                          : tr("Suspend"));
    action->setEnabled(t && state != S::Completed);
    QAction *cancel = menuItem(Cancel);
    cancel->setText(state == S::Completed ? tr("Close") : tr("Cancel"));
    cancel->setEnabled(bool(t));

    const qsizetype index = t && d ? d->indexOfTask(t) : -1;
    const qsizetype count = d ? d->countOfTasks() : 0;
    for (int tag : {MoveUp, MoveToTop}) {
        menuItem(tag)->setEnabled(index > 0);
    }
    for (int tag : {MoveDown, MoveToBottom}) {
        menuItem(tag)->setEnabled(index >= 0 && index < count - 1);
    }

    QAction *copyMode = menuItem(CopyMode);
    QAction *moveMode = menuItem(MoveMode);
    const ZKReaderPtr source = t ? t->source() : nullptr;
    if (!t) {
        copyMode->setEnabled(false);
        copyMode->setChecked(false);
        moveMode->setEnabled(false);
        moveMode->setChecked(false);
    } else if (source && source->canBeMoved()) {
        const bool move = t->transferMode() == ZKTransferMode::Move;
        copyMode->setChecked(!move);
        moveMode->setChecked(move);
        copyMode->setEnabled(state != S::Completed);
        moveMode->setEnabled(state != S::Completed);
    } else {
        // A download cannot take its original away.
        copyMode->setEnabled(true);
        copyMode->setChecked(true);
        moveMode->setEnabled(false);
        moveMode->setChecked(false);
    }
}

void ZKTaskView::contextMenuEvent(QContextMenuEvent *event) {
    validateMenu();
    m_menu->popup(event->globalPos());
    event->accept();
}

bool ZKTaskView::event(QEvent *event) {
    // The row's keys win over shortcuts of the window (Space starts and
    // stops the whole queue there).
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (isMenuKey(key) || isPlainKey(key, Qt::Key_Space) || isPlainKey(key, Qt::Key_Delete)) {
            event->accept();
            return true;
        }
    }
    return ZKListViewItem::event(event);
}

void ZKTaskView::keyPressEvent(QKeyEvent *event) {
    const ZKTaskPtr t = task();
    // Read only with a task: without one the keys do nothing.
    const ZKTaskState state = shownStateOfRow();
    if (isPlainKey(event, Qt::Key_Space)) {
        // What the action button does, where it suspends or resumes.
        const bool pausable = state != S::Completed && state != S::Failed &&
                              state != S::Cancelling && state != S::Cancelled;
        if (t && pausable) {
            performTaskAction();
        }
        event->accept();
        return;
    }
    if (isPlainKey(event, Qt::Key_Delete)) {
        ZKFerrowickDocument *d = document();
        const bool finished = state == S::Completed || state == S::Failed || state == S::Cancelled;
        if (t && d && finished && d->indexOfTask(t) >= 0) {
            d->clearItems({d->indexOfTask(t)});
        }
        event->accept();
        return;
    }
    // The buttons pass on what they do not use, so the menu opens from the
    // keyboard wherever the focus is within the row.
    if (!isMenuKey(event)) {
        ZKListViewItem::keyPressEvent(event);
        return;
    }
    QWidget *focused = focusWidget();
    const QPoint at = focused && isAncestorOf(focused)
                          ? focused->mapToGlobal(focused->rect().center())
                          : m_taskLabel->mapToGlobal(m_taskLabel->rect().bottomLeft());
    validateMenu();
    m_menu->popup(at);
    event->accept();
}

void ZKTaskView::paintEvent(QPaintEvent *event) {
    // A hairline between rows, under the focus frame.
    QPainter painter(this);
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(0.12);
    // Filled, not stroked: a translucent line is blended pixel by pixel, in
    // pieces handed to other threads, on every paint of every row.
    painter.fillRect(0, height() - 1, width(), 1, line);
    painter.end();
    ZKListViewItem::paintEvent(event);
}

void ZKTaskView::changeEvent(QEvent *event) {
    ZKListViewItem::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_labelsEnabled) {
        // The labels' colours come from the row's palette.
        setLabelsEnabled(*m_labelsEnabled);
    }
}

// ---- commands

void ZKTaskView::performTaskAction() {
    if (ZKFerrowickDocument *d = document()) {
        d->performTaskAction(task());
    }
}

void ZKTaskView::cancelTask() {
    if (ZKFerrowickDocument *d = document()) {
        d->cancelTask(task());
    }
}

void ZKTaskView::moveTaskUp() {
    if (ZKFerrowickDocument *d = document(); d && task()) {
        const qsizetype i = d->indexOfTask(task());
        d->moveTaskFromIndex(i, i - 1);
    }
}

void ZKTaskView::moveTaskDown() {
    if (ZKFerrowickDocument *d = document(); d && task()) {
        // The target counts the task in its old place.
        const qsizetype i = d->indexOfTask(task());
        d->moveTaskFromIndex(i, i + 2);
    }
}

void ZKTaskView::moveTaskToTop() {
    if (ZKFerrowickDocument *d = document(); d && task()) {
        d->moveTaskFromIndex(d->indexOfTask(task()), 0);
    }
}

void ZKTaskView::moveTaskToBottom() {
    if (ZKFerrowickDocument *d = document(); d && task()) {
        d->moveTaskFromIndex(d->indexOfTask(task()), d->countOfTasks());
    }
}

void ZKTaskView::revealSource() {
    if (const ZKTaskPtr t = task()) {
        t->revealSource();
    }
}

void ZKTaskView::revealDestination() {
    if (const ZKTaskPtr t = task()) {
        t->revealDestination();
    }
}

void ZKTaskView::setTransferModeCopy() {
    if (const ZKTaskPtr t = task()) {
        t->setTransferMode(ZKTransferMode::Copy);
    }
}

void ZKTaskView::setTransferModeMove() {
    if (const ZKTaskPtr t = task()) {
        t->setTransferMode(ZKTransferMode::Move);
    }
}

void ZKTaskView::changeSource() {
    const ZKTaskPtr t = task();
    const ZKReaderPtr source = t ? t->source() : nullptr;
    if (dynamic_cast<ZKFileSystemReader *>(source.get())) {
        changeFileSource();
    } else if (auto *ftp = dynamic_cast<ZKFtpReader *>(source.get())) {
        changeServerSource(ftp->url(), ftp->username(), ftp->password(), ftp->passwordStored());
    } else if (auto *sftp = dynamic_cast<ZKSftpReader *>(source.get())) {
        changeServerSource(sftp->url(), sftp->url().userName(), sftp->password(),
                           !sftp->password());
    } else if (dynamic_cast<ZKHttpReader *>(source.get())) {
        changeDownloadSource();
    }
}

void ZKTaskView::changeDestination() {
    const ZKTaskPtr t = task();
    const ZKWriterPtr destination = t ? t->destination() : nullptr;
    if (dynamic_cast<ZKFileSystemWriter *>(destination.get())) {
        changeFileDestination();
    } else if (auto *ftp = dynamic_cast<ZKFtpWriter *>(destination.get())) {
        changeServerDestination(ftp->url(), ftp->username(), ftp->password(),
                                ftp->passwordStored());
    } else if (auto *sftp = dynamic_cast<ZKSftpWriter *>(destination.get())) {
        changeServerDestination(sftp->url(), sftp->url().userName(), sftp->password(),
                                !sftp->password());
    }
}

std::function<void()>
ZKTaskView::forTask(std::function<void(ZKFerrowickDocument &, const ZKTaskPtr &)> apply) const {
    // A sheet's answer comes later: by then the row may show another task,
    // and the task or its queue may be gone.
    return [weak = std::weak_ptr<ZKTask>(task()), document = QPointer(document()), apply] {
        if (const ZKTaskPtr t = weak.lock(); t && document) {
            apply(*document, t);
        }
    };
}

void ZKTaskView::changeFileSource() {
    auto *panel = ZKOpenPanel::sourcePanel(window(), false, task()->source()->url());
    const auto apply = forTask([panel](ZKFerrowickDocument &d, const ZKTaskPtr &t) {
        t->pause();
        if (const auto reader = ZKFileSystemReader::readerWithUrl(panel->urls().value(0))) {
            d.changeSourceForTask(t, reader);
        }
    });
    panel->beginSheetModalForWindow(window(), [panel, apply](bool ok) {
        panel->deleteLater();
        if (ok && !panel->urls().isEmpty()) {
            apply();
        }
    });
}

void ZKTaskView::changeServerSource(const QUrl &url, const QString &username,
                                    const std::optional<QString> &password, bool passwordStored) {
    auto *panel = new ZKRemoteServerPanel(window());
    panel->setUrl(url);
    panel->setCredentials(username, password, passwordStored);
    const auto apply = forTask([panel](ZKFerrowickDocument &d, const ZKTaskPtr &t) {
        // An empty password field means the stored password.
        if (const ZKReaderPtr reader = panel->reader()) {
            d.changeSourceForTask(t, reader);
        }
    });
    panel->displaySheetForWindow(window(), [panel, apply](bool chosen) {
        panel->deleteLater();
        if (chosen) {
            apply();
        }
    });
}

void ZKTaskView::changeDownloadSource() {
    auto *panel = new ZKHttpPanel(window());
    panel->setUrl(task()->source()->url());
    const auto apply = forTask([panel](ZKFerrowickDocument &d, const ZKTaskPtr &t) {
        if (const auto reader = ZKReaderFactory::readerWithUrl(panel->url())) {
            d.changeSourceForTask(t, reader);
        }
    });
    panel->displaySheetForWindow(window(), [panel, apply](bool chosen) {
        panel->deleteLater();
        if (chosen) {
            apply();
        }
    });
}

void ZKTaskView::changeFileDestination() {
    auto *panel = ZKOpenPanel::folderPanel(window(), tr("Choose a folder to copy to."),
                                           task()->destination()->url());
    const auto apply = forTask([panel](ZKFerrowickDocument &d, const ZKTaskPtr &t) {
        d.changeDestinationForTask(t,
                                   ZKFileSystemWriter::writerWithDirectory(panel->urls().value(0)));
    });
    panel->beginSheetModalForWindow(window(), [panel, apply](bool ok) {
        panel->deleteLater();
        if (ok && !panel->urls().isEmpty()) {
            apply();
        }
    });
}

void ZKTaskView::changeServerDestination(const QUrl &url, const QString &username,
                                         const std::optional<QString> &password,
                                         bool passwordStored) {
    auto *panel = new ZKRemoteServerPanel(window());
    panel->setUrl(url);
    panel->setCredentials(username, password, passwordStored);
    const auto apply = forTask([panel](ZKFerrowickDocument &d, const ZKTaskPtr &t) {
        if (const ZKWriterPtr writer = panel->directoryWriter()) {
            d.changeDestinationForTask(t, writer);
        }
    });
    panel->displaySheetForWindow(window(), [panel, apply](bool chosen) {
        panel->deleteLater();
        if (chosen) {
            apply();
        }
    });
}
