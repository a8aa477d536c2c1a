// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKKeyPressHandlerWindow.h"
#include "ZKReader.h"
#include "ZKTaskQueue.h"

#include <QPointer>

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
    bool save();
    bool saveAs();
    bool saveToFile(const QString &path);
    // Asks first when there are changes to lose.
    bool revertToSaved();
    // Closes without asking to save; for quitting after the user chose.
    void setDiscardChanges(bool discard) { m_discardChanges = discard; }
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
    void reloadRows();
    void syncRows();
    void refreshState();
    void refreshTexts();
    void refreshTitle();
    void refreshEmptyHint();
    void chooseDestinationFolder(const std::function<void(const ZKWriterPtr &)> &answer);
    void addReaders(const QList<ZKReaderPtr> &readers);

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
    bool m_closing = false;
    bool m_discardChanges = false;
};
