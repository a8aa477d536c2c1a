// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAddressPanel.h"

#include "ZKUserDefaults.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

ZKAddressPanel::ZKAddressPanel(const QString &key, const QString &title, ZKUserDefaults *defaults,
                               QWidget *parent)
    : QDialog(parent)
    , m_key(key)
    , m_defaults(defaults ? defaults : &ZKUserDefaults::standard()) {
    setWindowTitle(title);
    m_recent = m_defaults->objectForKey(m_key).toStringList();

    auto *layout = new QVBoxLayout(this);
    m_form = new QFormLayout;
    m_form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    layout->addLayout(m_form);

    m_address = new QComboBox(this);
    m_address->setEditable(true);
    m_address->setInsertPolicy(QComboBox::NoInsert);
    m_address->setMinimumContentsLength(40);
    m_address->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_address->setAccessibleName(tr("Address"));
    m_form->addRow(tr("&Address:"), m_address);
    fillAddressBox();
    connect(m_address, &QComboBox::editTextChanged, this, &ZKAddressPanel::refreshButtons);
    connect(m_address, &QComboBox::activated, this, [this](int index) {
        if (index >= 0 && index < m_recent.size()) {
            recentAddressChosen(QUrl(m_recent[index]));
        }
    });

    m_buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_buttons->button(QDialogButtonBox::Ok)->setText(tr("Add"));
    QPushButton *clear = m_buttons->addButton(tr("Clear Recent"), QDialogButtonBox::ResetRole);
    clear->setToolTip(tr("Forget the addresses used before"));
    connect(clear, &QPushButton::clicked, this, &ZKAddressPanel::clearList);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &ZKAddressPanel::choose);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &ZKAddressPanel::cancel);
    layout->addWidget(m_buttons);

    connect(this, &QDialog::finished, this, [this](int result) {
        if (auto handler = std::exchange(m_completionHandler, {})) {
            handler(result == QDialog::Accepted);
        }
    });
}

QUrl ZKAddressPanel::url() const {
    return urlFromText(m_address->currentText().trimmed());
}

void ZKAddressPanel::setUrl(const QUrl &url) {
    m_address->setEditText(url.toString(QUrl::RemovePassword));
    refreshButtons();
}

void ZKAddressPanel::refreshButtons() {
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(isAcceptable(url()));
}

void ZKAddressPanel::displaySheetForWindow(QWidget *window,
                                           std::function<void(bool chosen)> completionHandler) {
    m_completionHandler = std::move(completionHandler);
    if (window && parentWidget() != window) {
        setParent(window, windowFlags());
    }
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    refreshButtons();
    m_address->setFocus();
    open();
}

void ZKAddressPanel::choose() {
    const QUrl chosen = url();
    if (!isAcceptable(chosen)) {
        return;
    }
    recordUrl(recordedUrl(chosen).toString());
    accept();
}

void ZKAddressPanel::cancel() {
    reject();
}

void ZKAddressPanel::recordUrl(const QString &url) {
    if (m_recent.size() >= recentLimit) {
        m_recent.removeLast();
    }
    // Twice: a list written by hand may hold it twice.
    for (int pass = 0; pass < 2; ++pass) {
        const qsizetype found = m_recent.indexOf(url);
        if (found >= 0) {
            m_recent.removeAt(found);
        }
    }
    m_recent.prepend(url);
    storeList();
}

void ZKAddressPanel::clearList() {
    m_recent.clear();
    storeList();
}

void ZKAddressPanel::storeList() {
    m_defaults->setObject(m_key, m_recent);
    const QString typed = m_address->currentText();
    fillAddressBox();
    m_address->setEditText(typed);
    Q_EMIT recentUrlsChanged();
}

void ZKAddressPanel::fillAddressBox() {
    const QSignalBlocker blocker(m_address);
    m_address->clear();
    for (const QString &recent : std::as_const(m_recent)) {
        m_address->addItem(QUrl(recent).toString(QUrl::RemovePassword));
    }
    m_address->setCurrentIndex(-1);
    m_address->setEditText({});
}
