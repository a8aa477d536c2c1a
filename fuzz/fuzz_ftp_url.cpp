// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// An FTP address as a user types it or a saved queue holds it, on the first
// line, and a name as a server's listing gives it, on the rest; any bytes at
// all. The address is made as the endpoint factory makes it, and every
// address derived from it must still name the folders it names.

#include "FuzzCheck.h"
#include "ZKFtpUrl.h"
#include "ZKReaderFactory.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void checkComponents(const QStringList &components) {
    for (const QString &component : components) {
        CHECK(!component.isEmpty() && !component.contains(QLatin1Char('/')));
    }
}

void checkAddress(const QUrl &url, const QString &name) {
    const QStringList components = ZKFtpUrl::pathComponents(url);
    checkComponents(components);
    CHECK(ZKFtpUrl::isRoot(url) == components.isEmpty());
    CHECK(ZKFtpUrl::filename(url) == (components.isEmpty() ? QString() : components.last()));
    QStringList parent = components;
    if (!parent.isEmpty()) {
        parent.removeLast();
    }
    CHECK(ZKFtpUrl::parentPathComponents(url) == parent);

    // Saved without its password, and otherwise the same place.
    const QUrl withoutPassword = ZKFtpUrl::withoutPassword(url);
    CHECK(withoutPassword.password().isEmpty());
    CHECK(withoutPassword.userName() == url.userName() && withoutPassword.host() == url.host() &&
          withoutPassword.port() == url.port());
    CHECK(ZKFtpUrl::pathComponents(withoutPassword) == components);

    // The same folder, however it is written.
    const QUrl directory = ZKFtpUrl::makeDirectoryUrl(url);
    CHECK(ZKFtpUrl::pathComponents(directory) == components);
    CHECK(ZKFtpUrl::makeDirectoryUrl(directory) == directory);

    // A name is one component, whatever it holds but "/".
    if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
        return;
    }
    const QStringList named = components + QStringList{name};
    for (const bool isDirectory : {false, true}) {
        const QUrl child = ZKFtpUrl::childUrl(url, name, isDirectory);
        CHECK(ZKFtpUrl::pathComponents(child) == named);
        CHECK(ZKFtpUrl::filename(child) == name);
        CHECK(ZKFtpUrl::parentPathComponents(child) == components);
        CHECK(!isDirectory || child.path(QUrl::FullyDecoded).endsWith(QLatin1Char('/')));
    }
    const QUrl entry = ZKFtpUrl::entryUrl(url, components, name);
    CHECK(entry.password().isEmpty() && !entry.hasQuery() && !entry.hasFragment());
    CHECK(entry.host() == url.host() && entry.port() == url.port());
    CHECK(ZKFtpUrl::pathComponents(entry) == named);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const QString input = QString::fromUtf8(
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size)));
    const qsizetype newline = input.indexOf(QLatin1Char('\n'));
    const QString address = newline < 0 ? input : input.left(newline);
    const QString name = newline < 0 ? QString() : input.mid(newline + 1);

    if (ZKReaderFactory::isFtpPath(address)) {
        CHECK(ZKReaderFactory::isValidPath(address));
        CHECK(!ZKReaderFactory::isFilePath(address) && !ZKReaderFactory::isHttpPath(address));
    }
    // What the factory makes of a typed FTP address, and of anything else.
    checkAddress(QUrl(address), name);
    checkAddress(QUrl(address, QUrl::StrictMode), name);
    // A local path that went through the factory is clean and stays so.
    if (address.startsWith(QLatin1Char('/'))) {
        const QString path = ZKReaderFactory::standardizedPath(address);
        CHECK(path.startsWith(QLatin1Char('/')));
        CHECK(ZKReaderFactory::standardizedPath(path) == path);
    }
    return 0;
}
