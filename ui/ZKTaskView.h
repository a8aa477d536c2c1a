// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKHoverDelegate.h"
#include "ZKListViewItem.h"
#include "ZKTaskQueue.h"

#include <QPointer>
#include <QUrl>

#include <functional>
#include <optional>

class QLabel;
class QMenu;
class QPropertyAnimation;
class ZKElidedLabel;
class ZKFerrowickDocument;
class ZKHoverButton;
class ZKHoverImageView;
class ZKHoverView;
class ZKStoppableProgressIndicator;

// One row of a queue window: the task's name, its progress and what it is
// doing, the badges of what is special about it, its two buttons and its
// menu. It shows what the task list model's roles hold for its row, and
// reads them again when the list passes on that they changed; the queue
// carries out every command on the task of the row. With the focus, Space
// suspends or resumes the task, Delete clears a finished one and the menu
// key opens the menu. A screen reader hears the row as its title, described
// by its detail line, and each button as what it does to which file.
class ZKTaskView : public ZKListViewItem, public ZKHoverDelegate {
    Q_OBJECT

public:
    // Menu tags (QAction::data()).
    enum Tag {
        SourceTitle = 1001,
        RevealSource = 1002,
        ChangeSource = 1003,
        DestinationTitle = 2001,
        RevealDestination = 2002,
        ChangeDestination = 2003,
        Action = 3001,
        Cancel = 3002,
        MoveUp = 4001,
        MoveToTop = 4002,
        MoveDown = 4003,
        MoveToBottom = 4004,
        CopyMode = 5001,
        MoveMode = 5002,
    };

    explicit ZKTaskView(QWidget *parent = nullptr);
    ~ZKTaskView() override;

    ZKListViewItem *copy() const override;
    void setRow(QAbstractItemModel *model, int row) override;
    void rowDataChanged(const QList<int> &roles) override;
    void viewWillAppear() override;
    void viewDidDisappear() override;

    // The task of the row, for the commands.
    ZKTaskPtr task() const;
    ZKFerrowickDocument *document() const;

    // What the row shows.
    QString detail() const { return m_detail; }
    QString actionToolTip() const { return m_actionToolTip; }
    QString cancelToolTip() const { return m_cancelToolTip; }
    // Up to five, in slot order.
    QList<QIcon> badges() const;
    QStringList badgeToolTips() const;
    bool isProgressBarShown() const;
    ZKStoppableProgressIndicator *progressIndicator() const { return m_progressIndicator; }
    QList<ZKHoverImageView *> badgeViews() const { return m_badgeViews; }
    ZKHoverButton *actionButton() const { return m_actionButton; }
    ZKHoverButton *cancelButton() const { return m_cancelButton; }
    QLabel *taskLabel() const;
    QLabel *detailLabel() const;

    QMenu *contextMenu() const { return m_menu; }
    QAction *menuItem(int tag) const;
    // Brings the menu's titles, enabling and checks up to date.
    void validateMenu();

    // The names of the first three, and how many more there are.
    static QString descriptionOfUrls(const QList<QUrl> &urls, const QString &prefix);
    static QString truncatePath(const QString &path);

    // ---- commands
    void performTaskAction();
    void cancelTask();
    void moveTaskUp();
    void moveTaskDown();
    void moveTaskToTop();
    void moveTaskToBottom();
    void revealSource();
    void revealDestination();
    void setTransferModeCopy();
    void setTransferModeMove();
    void changeSource();
    void changeDestination();

    // ---- hovering
    void mouseEntered(ZKHoverView *view) override;
    void mouseExited(ZKHoverView *view) override;

protected:
    bool event(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void buildMenu();
    void viewWillLayout();
    // Reads the row's roles; what did not change is left alone, so that a
    // tick of progress repaints the bar and the detail line only.
    void refreshTask(bool animated);
    ZKTaskState shownStateOfRow() const;
    void refreshDetail();
    void refreshBadges(ZKTaskState state);
    void refreshProgress(ZKTaskState state);
    void refreshTitle();
    void refreshButtonNames();
    // The accessible name and description follow the two labels; only a
    // change is told to a screen reader.
    void refreshAccessibleTexts();
    void setLabelsEnabled(bool enabled);
    void showProgressBar();
    void hideProgressBar(bool animated);
    void configureLocation(QAction *title, QAction *reveal, QAction *change, const QString &prefix,
                           const ZKReaderPtr &endpoint, std::optional<ZKTaskState> state);
    // Runs with the row's task and queue of now, if both are still there.
    std::function<void()>
    forTask(std::function<void(ZKFerrowickDocument &, const ZKTaskPtr &)> apply) const;
    void changeFileSource();
    // A server's address, with its account as the endpoint holds it.
    void changeServerSource(const QUrl &url, const QString &username,
                            const std::optional<QString> &password, bool passwordStored);
    void changeDownloadSource();
    void changeFileDestination();
    void changeServerDestination(const QUrl &url, const QString &username,
                                 const std::optional<QString> &password, bool passwordStored);

    bool m_isShown = false;
    int m_defaultIndicatorHeight = 6;
    ZKHoverView *m_hoverView = nullptr;
    QLabel *m_iconLabel = nullptr;
    ZKElidedLabel *m_taskLabel = nullptr;
    ZKElidedLabel *m_detailLabel = nullptr;
    ZKStoppableProgressIndicator *m_progressIndicator = nullptr;
    QPropertyAnimation *m_barAnimation = nullptr;
    QList<ZKHoverImageView *> m_badgeViews;
    ZKHoverButton *m_actionButton = nullptr;
    ZKHoverButton *m_cancelButton = nullptr;
    QString m_detail;
    QString m_actionToolTip;
    QString m_cancelToolTip;
    std::optional<ZKTaskState> m_shownState; // none: nothing shown yet
    // What the badges show: an image name and a tooltip each.
    QStringList m_badgeImages;
    QStringList m_badgeTips;
    std::optional<bool> m_labelsEnabled;
    std::optional<QString> m_iconName;
    QMenu *m_menu = nullptr;
};
