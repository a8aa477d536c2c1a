// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKListenerThread.h"

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <future>

ZKListenerThread::ZKListenerThread(const QHostAddress &address, Accepted accepted) {
    std::promise<quint16> ready;
    std::future<quint16> port = ready.get_future();
    m_thread = std::thread([this, address, accepted = std::move(accepted), &ready] {
        QEventLoop loop;
        QTcpServer server;
        server.listen(address, 0);
        QObject::connect(&server, &QTcpServer::newConnection, &server, [&server, &accepted] {
            while (QTcpSocket *socket = server.nextPendingConnection()) {
                socket->setParent(&server);
                accepted(socket);
            }
        });
        QTimer stopCheck;
        QObject::connect(&stopCheck, &QTimer::timeout, &loop, [this, &loop] {
            if (m_stop) {
                loop.quit();
            }
        });
        stopCheck.start(20);
        ready.set_value(server.serverPort());
        loop.exec();
    });
    m_port = port.get();
}

ZKListenerThread::~ZKListenerThread() {
    m_stop = true;
    m_thread.join();
}
