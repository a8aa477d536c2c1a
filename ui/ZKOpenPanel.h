// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileDialog>
#include <QUrl>

#include <functional>

// The panel that picks what to copy or where to: files, folders or both in
// one choice (a folder picked among files is taken, not opened), shown over
// the window it serves.
class ZKOpenPanel : public QFileDialog {
    Q_OBJECT

public:
    explicit ZKOpenPanel(QWidget *parent = nullptr);
    // What to copy: files and folders, no new folders, prompt "Add".
    static ZKOpenPanel *sourcePanel(QWidget *parent, bool multiple, const QUrl &startAt);
    // A folder to copy to: new folders allowed, prompt "Select".
    static ZKOpenPanel *folderPanel(QWidget *parent, const QString &message, const QUrl &startAt);

    void setCanChooseFiles(bool can);
    void setCanChooseDirectories(bool can);
    void setCanCreateDirectories(bool can);
    void setAllowsMultipleSelection(bool allows);
    void setMessage(const QString &message);
    void setPrompt(const QString &prompt);
    // Where it starts: a folder, or a file's folder with the file selected.
    void setDirectoryUrl(const QUrl &url);
    // What was chosen.
    QList<QUrl> urls() const;

    void beginSheetModalForWindow(QWidget *window, std::function<void(bool ok)> completionHandler);

public Q_SLOTS:
    void accept() override;

private:
    void applyMode();
    void keepPrompt();

    bool m_canChooseFiles = true;
    bool m_canChooseDirectories = false;
    bool m_allowsMultipleSelection = false;
    QString m_prompt;
    QList<QUrl> m_chosen;
};
