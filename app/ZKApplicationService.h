// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <optional>

class ZKAppDelegate;

// One Ferrowick per desktop session: the first owns the bus name and
// serves the desktop and scripts; a later one hands its files over to it.
// The adaptors of both interfaces hang below it; it carries the call being
// answered, so that they can answer with an error.
class ZKApplicationService : public QObject, public QDBusContext {
    Q_OBJECT

public:
    static const QString serviceName; // "com.velmarind.Ferrowick"
    static const QString objectPath;  // "/com/velmarind/Ferrowick"
    // The entry of Open's platform data that says whether the items are to
    // be copied or moved ("copy" or "move"); without it the queue decides.
    static const QString transferModeKey; // "transfer-mode"

    ZKApplicationService(ZKAppDelegate &delegate, const QDBusConnection &bus,
                         QObject *parent = nullptr);
    ~ZKApplicationService() override;

    enum class Claim {
        Owned,   // this process serves the session
        Running, // another one does
        NoBus,   // nobody can: this process runs on its own
    };
    // Takes the name, or finds who has it.
    Claim claim();

    // Hands files, folders and addresses to the instance that owns the
    // name, or just brings it forward when there are none. The arguments
    // are made absolute first: the other process has another working folder.
    // A transfer mode (ZKTransferMode) goes with them when one is given.
    static bool forwardToRunningInstance(const QDBusConnection &bus, const QStringList &arguments,
                                         QString *error,
                                         std::optional<qint32> transferMode = std::nullopt);
    // The transfer mode Open's platform data asks for, if any; false when
    // it names none that exists.
    static bool readTransferMode(const QVariantMap &platformData,
                                 std::optional<qint32> *transferMode);
    // Asks the instance that owns the name for one of its actions
    // ("new-queue", "preferences", ...).
    static bool activateActionOfRunningInstance(const QDBusConnection &bus, const QString &action,
                                                QString *error);
    static QStringList urisForArguments(const QStringList &arguments);

private:
    QDBusConnection m_bus;
    bool m_owned = false;
};
