// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpPanel.h"

#include "ZKReaderFactory.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>

ZKFtpPanel::ZKFtpPanel(QWidget *parent, ZKUserDefaults *defaults)
    : ZKAddressPanel(QStringLiteral("recentFtp"), QStringLiteral("FTP Address"), defaults, parent) {
    addressBox()->lineEdit()->setPlaceholderText(QStringLiteral("ftp://server/folder/"));
    m_username = new QLineEdit(this);
    m_username->setAccessibleName(QStringLiteral("User name"));
    m_username->setPlaceholderText(QStringLiteral("anonymous"));
    form()->addRow(QStringLiteral("&User name:"), m_username);
    m_password = new QLineEdit(this);
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setAccessibleName(QStringLiteral("Password"));
    m_password->setPlaceholderText(QStringLiteral("from the password store"));
    form()->addRow(QStringLiteral("&Password:"), m_password);
    connect(m_password, &QLineEdit::textEdited, this, [this] { m_emptyPassword = false; });
}

QString ZKFtpPanel::username() const {
    const QString typed = m_username->text().trimmed();
    return typed.isEmpty() ? url().userName() : typed;
}

void ZKFtpPanel::setUsername(const QString &username) {
    m_username->setText(username);
}

QString ZKFtpPanel::password() const {
    if (m_password->text().isEmpty()) {
        return m_emptyPassword ? QStringLiteral("") : QString();
    }
    return m_password->text();
}

void ZKFtpPanel::setPassword(const QString &password) {
    // An account whose password is empty keeps it; a field left empty
    // otherwise means the password store's.
    m_emptyPassword = !password.isNull() && password.isEmpty();
    m_password->setText(password);
}

void ZKFtpPanel::setCredentials(const QString &username, const std::optional<QString> &password,
                                bool passwordStored) {
    setUsername(username);
    setPassword(passwordStored || !password ? QString() : *password);
}

std::optional<QString> ZKFtpPanel::optionalPassword() const {
    const QString typed = password();
    return typed.isNull() ? std::nullopt : std::optional<QString>(typed);
}

bool ZKFtpPanel::isAcceptable(const QUrl &url) const {
    return ZKReaderFactory::isFtpUrl(url) && !url.host().isEmpty();
}

QUrl ZKFtpPanel::urlFromText(const QString &text) const {
    if (text.isEmpty()) {
        return {};
    }
    QUrl url(text.contains(QStringLiteral("://")) ? text : QStringLiteral("ftp://") + text);
    // A password typed into the address belongs in the password field.
    url.setPassword({});
    return url;
}

void ZKFtpPanel::recentAddressChosen(const QUrl &url) {
    if (!url.userName().isEmpty()) {
        m_username->setText(url.userName());
    }
    m_password->clear();
}
