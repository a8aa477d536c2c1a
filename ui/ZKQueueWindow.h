// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKKeyPressHandlerWindow.h"
#include "ZKReader.h"
#include "ZKTaskQueue.h"

#include <QPointer>

#include <functional>
#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QLabel;
class QMenu;
class QMimeData;
class QToolButton;
class ZKClearMenuDelegate;
class ZKDelayPopupButton;
class ZKDestinationPopUpButton;
class ZKFerrowickDocument;
class ZKListView;
class ZKMessageBoxPresenter;
class ZKRetryMenuDelegate;
class ZKScheduleSheet;
class ZKSpeedLimitSheet;

// The window of one queue: its rows, the commands that add, start, pause,
// retry and clear, the default destination and mode, and the two summary
// lines. It owns its queue and runs it as long as it is open.
class ZKQueueWindow : public ZKKeyPressHandlerWindow {
    Q_OBJECT

public:
    explicit ZKQueueWindow(std::unique_ptr<ZKFerrowickDocument> document,
                           QWidget *parent = nullptr);
    ~ZKQueueWindow() override;

    ZKFerrowickDocument *document() const { return m_document.get(); }
    ZKListView *listView() const { return m_listView; }

    // The window that shows a question's asker: its queue or one of that
    // queue's tasks.
    static ZKQueueWindow *windowForAsker(const QObject *asker);
    // The presenter every queue window asks its questions through.
    static ZKMessageBoxPresenter &presenter();

    // ---- commands of the window's menus and toolbar
    void toggleStartStop();
    void addFile();
    void addFtp();
    void addDownload();
    void paste();
    void copyItems();
    void copySources();
    void changeAllDestination();
    // Saves into the queue's file, or asks for one first; done tells
    // whether the queue was saved. The questions never wait in a loop of
    // their own: done is called once they are answered.
    void save(std::function<void(bool saved)> done = {});
    void saveAs(std::function<void(bool saved)> done = {});
    bool saveToFile(const QString &path);
    // Asks first when there are changes to lose.
    void revertToSaved();
    // Closes without asking, stopping the queue's transfers; for whoever
    // asked the user already.
    void setDiscardChanges(bool discard) { m_discardChanges = discard; }
    // Closes the window once the user agreed: a queue with unsaved edits
    // asks to save them, a queue that is transferring asks to stop. Either
    // way its transfers have stopped before the window goes. done(true)
    // once it closed, done(false) when the user kept it open.
    void closeWhenAgreed(std::function<void(bool closed)> done);
    // A message over the rows, which stays until the user dismisses it.
    void showNotice(const QString &text);
    QWidget *noticeBar() const { return m_noticeBar; }
    QMenu *fileMenu() const;

    // Adds what a drop or the clipboard carries before row index: tasks,
    // files, folders and ftp, http and https addresses (as URLs, or as text
    // of one per line).
    bool addSourcesFromMimeData(const QMimeData &data, qsizetype index);

    QAction *action(const QString &objectName) const;

    // The queue's two sheets; the "schedule" and "speedLimit" actions open them.
    ZKScheduleSheet *scheduleSheet() const { return m_scheduleSheet; }
    ZKSpeedLimitSheet *speedLimitSheet() const { return m_speedLimitSheet; }

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void buildActions();
    void buildMenus();
    void buildHelpMenu();
    void buildToolBar();
    void buildStatusBar();
    void connectDocument();
    void refreshState();
    void refreshTexts();
    void refreshTitle();
    void refreshEmptyHint();
    void chooseDestinationFolder(const std::function<void(const ZKWriterPtr &)> &answer);
    void addReaders(const QList<ZKReaderPtr> &readers);
    void buildNoticeBar();
    void showError(const QString &message, const QString &detail);
    void revertNow();
    void askBeforeClosing();
    void answerCloseRequests(bool closed);

    std::unique_ptr<ZKFerrowickDocument> m_document;
    ZKListView *m_listView = nullptr;
    QWidget *m_listViewport = nullptr;
    QLabel *m_emptyHint = nullptr;
    QLabel *m_descriptionLabel = nullptr;
    QLabel *m_dataDescriptionLabel = nullptr;
    ZKDelayPopupButton *m_addButton = nullptr;
    ZKDelayPopupButton *m_retryButton = nullptr;
    ZKDelayPopupButton *m_clearButton = nullptr;
    ZKDestinationPopUpButton *m_destinationButton = nullptr;
    QCheckBox *m_verifyBox = nullptr;
    QComboBox *m_modeBox = nullptr;
    QMenu *m_addMenu = nullptr;
    QMenu *m_retryMenu = nullptr;
    QMenu *m_clearMenu = nullptr;
    ZKClearMenuDelegate *m_clearMenuDelegate = nullptr;
    ZKRetryMenuDelegate *m_retryMenuDelegate = nullptr;
    ZKScheduleSheet *m_scheduleSheet = nullptr;
    ZKSpeedLimitSheet *m_speedLimitSheet = nullptr;
    QToolButton *m_scheduleButton = nullptr;
    QToolButton *m_speedLimitButton = nullptr;
    QHash<QString, QAction *> m_actions;
    QString m_lastSourcePath;
    QString m_lastDestinationPath;
    QWidget *m_noticeBar = nullptr;
    QLabel *m_noticeLabel = nullptr;
    bool m_closing = false;
    bool m_discardChanges = false;
    // The user agreed to close, and the window closes without asking again.
    bool m_closeAgreed = false;
    // A close question (or the saving it led to) is waiting for the user.
    bool m_askingToClose = false;
    QList<std::function<void(bool)>> m_closeRequests;
};
