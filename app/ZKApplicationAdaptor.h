// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusAbstractAdaptor>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

class ZKAppDelegate;

// The desktop's way into a running application: what a launcher, a file
// manager or a second `ferrowick` asks of the first one.
class ZKApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ZKApplicationAdaptor(ZKAppDelegate &delegate, QObject *parent);

    // The names ActivateAction understands.
    static QStringList actionNames();

public Q_SLOTS:
    void Activate(const QVariantMap &platformData);
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &actionName, const QVariantList &parameter,
                        const QVariantMap &platformData);

private:
    // The call being answered lives with the object the adaptor serves.
    void sendErrorReply(const QString &name, const QString &message) const;

    ZKAppDelegate &m_delegate;
};
