// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKOpenPanel.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QToolButton>

ZKOpenPanel::ZKOpenPanel(QWidget *parent)
    : QFileDialog(parent) {
    // The platform's own dialog cannot take files and folders in one
    // choice, and tests could not drive it.
    setOption(QFileDialog::DontUseNativeDialog);
    setAcceptMode(QFileDialog::AcceptOpen);
    applyMode();
    // The dialog names its button "Open" whenever a folder is selected;
    // where a folder is taken as the choice, the prompt is put back after
    // it, so that the button says what it does.
    if (auto *list = findChild<QListView *>(QStringLiteral("listView"));
        list && list->selectionModel()) {
        connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                &ZKOpenPanel::keepPrompt);
    }
    if (auto *name = findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))) {
        connect(name, &QLineEdit::textChanged, this, &ZKOpenPanel::keepPrompt);
    }
}

void ZKOpenPanel::keepPrompt() {
    if (m_prompt.isEmpty() || !m_canChooseFiles || !m_canChooseDirectories) {
        return;
    }
    if (auto *box = findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))) {
        if (QPushButton *button = box->button(QDialogButtonBox::Open)) {
            button->setText(m_prompt);
        }
    }
}

ZKOpenPanel *ZKOpenPanel::sourcePanel(QWidget *parent, bool multiple, const QUrl &startAt) {
    auto *panel = new ZKOpenPanel(parent);
    panel->setCanChooseFiles(true);
    panel->setCanChooseDirectories(true);
    panel->setCanCreateDirectories(false);
    panel->setAllowsMultipleSelection(multiple);
    panel->setMessage(tr("Choose files and folders to copy."));
    panel->setPrompt(tr("Add"));
    panel->setDirectoryUrl(startAt);
    return panel;
}

ZKOpenPanel *ZKOpenPanel::folderPanel(QWidget *parent, const QString &message,
                                      const QUrl &startAt) {
    auto *panel = new ZKOpenPanel(parent);
    panel->setCanChooseFiles(false);
    panel->setCanChooseDirectories(true);
    panel->setCanCreateDirectories(true);
    panel->setAllowsMultipleSelection(false);
    panel->setMessage(message);
    panel->setPrompt(tr("Select"));
    if (startAt.isValid()) {
        panel->setDirectoryUrl(startAt);
    }
    return panel;
}

void ZKOpenPanel::setCanChooseFiles(bool can) {
    m_canChooseFiles = can;
    applyMode();
}

void ZKOpenPanel::setCanChooseDirectories(bool can) {
    m_canChooseDirectories = can;
    applyMode();
}

void ZKOpenPanel::setCanCreateDirectories(bool can) {
    setOption(QFileDialog::ReadOnly, !can);
    // Read-only only disables it; a button that can never work is left out.
    if (auto *button = findChild<QToolButton *>(QStringLiteral("newFolderButton"))) {
        button->setVisible(can);
    }
}

void ZKOpenPanel::setAllowsMultipleSelection(bool allows) {
    m_allowsMultipleSelection = allows;
    applyMode();
}

void ZKOpenPanel::setMessage(const QString &message) {
    setWindowTitle(message);
}

void ZKOpenPanel::setPrompt(const QString &prompt) {
    m_prompt = prompt;
    setLabelText(QFileDialog::Accept, prompt);
}

void ZKOpenPanel::setDirectoryUrl(const QUrl &url) {
    // A remote place has no folder here to start in.
    if (!url.isLocalFile()) {
        return;
    }
    const QFileInfo info(url.toLocalFile());
    if (info.isDir()) {
        setDirectory(info.absoluteFilePath());
    } else if (info.exists()) {
        setDirectory(info.absolutePath());
        selectFile(info.fileName());
    } else if (QFileInfo(info.absolutePath()).isDir()) {
        setDirectory(info.absolutePath());
    }
}

void ZKOpenPanel::applyMode() {
    if (!m_canChooseFiles && m_canChooseDirectories) {
        setFileMode(QFileDialog::Directory);
        setOption(QFileDialog::ShowDirsOnly, true);
    } else {
        setOption(QFileDialog::ShowDirsOnly, false);
        setFileMode(m_allowsMultipleSelection ? QFileDialog::ExistingFiles
                                              : QFileDialog::ExistingFile);
    }
}

QList<QUrl> ZKOpenPanel::urls() const {
    return m_chosen.isEmpty() ? selectedUrls() : m_chosen;
}

void ZKOpenPanel::accept() {
    // A folder picked where files may be chosen too is the choice itself;
    // the dialog alone would open it.
    QList<QUrl> chosen;
    const QStringList selected = selectedFiles();
    for (const QString &path : selected) {
        const QFileInfo info(path);
        if ((info.isDir() && m_canChooseDirectories) || (info.isFile() && m_canChooseFiles)) {
            chosen << QUrl::fromLocalFile(info.absoluteFilePath());
        }
    }
    const bool hasFolder = std::any_of(chosen.cbegin(), chosen.cend(), [](const QUrl &url) {
        return QFileInfo(url.toLocalFile()).isDir();
    });
    if (m_canChooseFiles && m_canChooseDirectories && hasFolder &&
        (m_allowsMultipleSelection || chosen.size() == 1)) {
        m_chosen = chosen;
        QDialog::accept();
        return;
    }
    m_chosen.clear();
    QFileDialog::accept();
}

void ZKOpenPanel::beginSheetModalForWindow(QWidget *window,
                                           std::function<void(bool ok)> completionHandler) {
    if (window && parentWidget() != window) {
        setParent(window, windowFlags());
    }
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    m_chosen.clear();
    connect(
        this, &QDialog::finished, this,
        [this, handler = std::move(completionHandler)](int result) {
            if (handler) {
                handler(result == QDialog::Accepted);
            }
        },
        Qt::SingleShotConnection);
    open();
}
