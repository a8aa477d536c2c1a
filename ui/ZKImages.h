// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>

// The application's own named drawings ("ZKFailed", "ZKActionResume", ...),
// and the icons of endpoints, which come from the icon theme when one is
// installed and from the bundled drawings otherwise.
class ZKImages {
public:
    // An empty icon for a name that has no drawing.
    static QIcon named(const QString &name);
    // iconName: a freedesktop icon name, as the engine keeps it.
    static QIcon endpointIcon(const QString &iconName);

private:
    static QIcon lookUpEndpointIcon(const QString &iconName);
};
