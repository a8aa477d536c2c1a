// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKRemoteServerPanel.h"

#include "ZKFtpReader.h"
#include "ZKFtpWriter.h"
#include "ZKReaderFactory.h"
#include "ZKSftpReader.h"
#include "ZKSftpWriter.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>

ZKRemoteServerPanel::ZKRemoteServerPanel(QWidget *parent, ZKUserDefaults *defaults)
    // The recent addresses keep the key of the days of FTP alone, so that
    // they stay the user's.
    : ZKAddressPanel(QStringLiteral("recentFtp"), tr("Server Address"), defaults, parent) {
    addressBox()->lineEdit()->setPlaceholderText(tr("ftp:// or sftp://server/folder/"));
    m_username = new QLineEdit(this);
    m_username->setAccessibleName(tr("User name"));
    m_username->setPlaceholderText(tr("anonymous, or from the SSH configuration"));
    form()->addRow(tr("&User name:"), m_username);
    m_password = new QLineEdit(this);
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setAccessibleName(tr("Password"));
    m_password->setPlaceholderText(tr("from the password store"));
    form()->addRow(tr("&Password:"), m_password);
    connect(m_password, &QLineEdit::textEdited, this, [this] { m_emptyPassword = false; });
    connect(this, &ZKAddressPanel::recentUrlsChanged, this,
            &ZKRemoteServerPanel::recentServersChanged);

    // The account fields come after the address, before the buttons.
    setTabOrder(addressBox(), m_username);
    setTabOrder(m_username, m_password);
    if (auto *buttons = findChild<QDialogButtonBox *>()) {
        QWidget *previous = m_password;
        const QList<QAbstractButton *> ordered = buttons->buttons();
        for (QAbstractButton *button : ordered) {
            setTabOrder(previous, button);
            previous = button;
        }
    }
}

void ZKRemoteServerPanel::setUrl(const QUrl &url) {
    if (!url.password().isEmpty()) {
        setPassword(url.password());
    }
    ZKAddressPanel::setUrl(url);
}

QString ZKRemoteServerPanel::username() const {
    const QString typed = m_username->text().trimmed();
    return typed.isEmpty() ? url().userName() : typed;
}

void ZKRemoteServerPanel::setUsername(const QString &username) {
    m_username->setText(username);
}

QString ZKRemoteServerPanel::password() const {
    if (!m_password->text().isEmpty()) {
        return m_password->text();
    }
    if (m_emptyPassword) {
        return QStringLiteral("");
    }
    // One typed into the address is not lost because the field was left empty.
    const QString typed = QUrl(addressBox()->currentText().trimmed()).password();
    return typed.isEmpty() ? QString() : typed;
}

void ZKRemoteServerPanel::setPassword(const QString &password) {
    // An account whose password is empty keeps it; a field left empty
    // otherwise means the password store's.
    m_emptyPassword = !password.isNull() && password.isEmpty();
    m_password->setText(password);
}

void ZKRemoteServerPanel::setCredentials(const QString &username,
                                         const std::optional<QString> &password,
                                         bool passwordStored) {
    setUsername(username);
    setPassword(passwordStored || !password ? QString() : *password);
}

std::optional<QString> ZKRemoteServerPanel::optionalPassword() const {
    const QString typed = password();
    return typed.isNull() ? std::nullopt : std::optional<QString>(typed);
}

namespace {

// An account given without a password logs in with the one the store keeps
// for it, and saving the endpoint leaves that one alone.
template <typename Endpoint>
std::shared_ptr<Endpoint> withAccount(std::shared_ptr<Endpoint> endpoint,
                                      const std::optional<QString> &password) {
    if (endpoint && !password) {
        endpoint->setPasswordStored(true);
    }
    return endpoint;
}

} // namespace

ZKReaderPtr ZKRemoteServerPanel::reader() const {
    const QUrl address = url();
    if (!isAcceptable(address)) {
        return nullptr;
    }
    const QString user = username();
    const std::optional<QString> typed = optionalPassword();
    if (ZKReaderFactory::isSftpPath(address.toString())) {
        return std::make_shared<ZKSftpReader>(address, user, typed);
    }
    return user.isEmpty() ? ZKFtpReader::readerWithUrl(address)
                          : withAccount(ZKFtpReader::readerWithUrl(address, user, typed), typed);
}

ZKWriterPtr ZKRemoteServerPanel::directoryWriter() const {
    const QUrl address = url();
    if (!isAcceptable(address)) {
        return nullptr;
    }
    const QString user = username();
    const std::optional<QString> typed = optionalPassword();
    if (ZKReaderFactory::isSftpPath(address.toString())) {
        return std::make_shared<ZKSftpWriter>(address, true, user, typed);
    }
    return user.isEmpty()
               ? ZKFtpWriter::writerWithDirectoryUrl(address)
               : withAccount(ZKFtpWriter::writerWithDirectoryUrl(address, user, typed), typed);
}

QUrl ZKRemoteServerPanel::recordedUrl(const QUrl &chosen) const {
    QUrl recorded = chosen;
    const QString user = username();
    if (!user.isEmpty()) {
        recorded.setUserName(user);
    }
    recorded.setPassword({});
    return recorded;
}

bool ZKRemoteServerPanel::isAcceptable(const QUrl &url) const {
    return ZKReaderFactory::isLoginPath(url.toString()) && !url.host().isEmpty();
}

QUrl ZKRemoteServerPanel::urlFromText(const QString &text) const {
    if (text.isEmpty()) {
        return {};
    }
    QUrl url(text.contains(QStringLiteral("://")) ? text : QStringLiteral("ftp://") + text);
    // A password typed into the address belongs in the password field.
    url.setPassword({});
    return url;
}

void ZKRemoteServerPanel::recentAddressChosen(const QUrl &url) {
    // The account of the address picked, not what was typed for another.
    m_username->setText(url.userName());
    setPassword(url.password().isEmpty() ? QString() : url.password());
}
