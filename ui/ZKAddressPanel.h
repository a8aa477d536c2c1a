// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QStringList>
#include <QUrl>

#include <functional>

class QComboBox;
class QDialogButtonBox;
class QFormLayout;
class ZKUserDefaults;

// A small sheet that asks for one address and remembers the latest ones
// under a preferences key, newest first: the common part of the FTP and the
// web address panels.
class ZKAddressPanel : public QDialog {
    Q_OBJECT

public:
    // The lists hold this many at most: one more than is kept after the
    // trimming before each insertion.
    static constexpr qsizetype recentLimit = 11;

    QUrl url() const;
    void setUrl(const QUrl &url);
    QStringList recentUrls() const { return m_recent; }

    void displaySheetForWindow(QWidget *window, std::function<void(bool chosen)> completionHandler);
    // Records the address and ends the sheet with true.
    void choose();
    // Ends the sheet with false; the list stays as it was.
    void cancel();
    void clearList();

Q_SIGNALS:
    void recentUrlsChanged();

protected:
    ZKAddressPanel(const QString &key, const QString &title, ZKUserDefaults *defaults,
                   QWidget *parent);
    QFormLayout *form() const { return m_form; }
    QComboBox *addressBox() const { return m_address; }
    // Whether the typed address can be taken.
    virtual bool isAcceptable(const QUrl &url) const = 0;
    // The address as typed, made into a URL of this panel's kind.
    virtual QUrl urlFromText(const QString &text) const = 0;
    // A recent address was picked from the list.
    virtual void recentAddressChosen(const QUrl &) {}
    // What the recent list keeps of the address chosen.
    virtual QUrl recordedUrl(const QUrl &chosen) const { return chosen; }
    void refreshButtons();

private:
    void recordUrl(const QString &url);
    void storeList();
    void fillAddressBox();

    QString m_key;
    ZKUserDefaults *m_defaults;
    QStringList m_recent;
    QFormLayout *m_form = nullptr;
    QComboBox *m_address = nullptr;
    QDialogButtonBox *m_buttons = nullptr;
    std::function<void(bool)> m_completionHandler;
};
