// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A TCP relay on 127.0.0.1 that holds every byte back for DELAY_MS each way,
// so that a server on this machine looks as far away as a real one; the
// benches time transfers through it. It prints the port it listens on, one
// line, and relays until it is killed.
//
//   ferrowick-relay SERVER_HOST SERVER_PORT DELAY_MS [ftp]
//
// With "ftp" the relayed connection is an FTP control connection: the
// server's passive replies (PASV, EPSV) are rewritten to name ports of the
// relay's own, so that every data connection takes the same delay.

#include "ZKFaultRelay.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QStringList>

#include <cstdio>

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    bool portOk = false;
    bool delayOk = false;
    const bool counted = arguments.size() == 4 || arguments.size() == 5;
    const quint16 port = counted ? arguments.at(2).toUShort(&portOk) : 0;
    const int delay = counted ? arguments.at(3).toInt(&delayOk) : 0;
    const QHostAddress host(arguments.value(1));
    const bool ftp = arguments.size() == 5 && arguments.at(4) == QLatin1String("ftp");
    // Loopback servers only: the relay is a bench's tool, not a proxy.
    if (!portOk || port == 0 || !delayOk || delay < 0 || !host.isLoopback() ||
        (arguments.size() == 5 && !ftp)) {
        std::fprintf(stderr, "usage: ferrowick-relay SERVER_HOST SERVER_PORT DELAY_MS [ftp]\n"
                             "  SERVER_HOST a loopback address, DELAY_MS one way, 0 or more;\n"
                             "  ftp relays the data connections an FTP server names too\n");
        return 2;
    }
    ZKFaultRelay relay(host.toString(), port,
                       ftp ? ZKFaultRelay::Protocol::Ftp : ZKFaultRelay::Protocol::Plain);
    relay.setDelay(delay);
    if (relay.port() == 0) {
        std::fprintf(stderr, "ferrowick-relay: cannot listen on 127.0.0.1\n");
        return 1;
    }
    std::printf("%u\n", unsigned(relay.port()));
    std::fflush(stdout);
    // The relay runs on a thread of its own; this loop only waits.
    return app.exec();
}
