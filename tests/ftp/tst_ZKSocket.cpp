// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSocket.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QTest>

#include <cerrno>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

// The reason of a failure for a QVERIFY2 message, which is built even when
// the check passes.
static QString describe(const ZKOptionalError &error) {
    return error ? error->localizedDescription() : QString();
}

namespace {

// A listener on 127.0.0.1: a connect completes from its backlog, so one
// thread can connect and then accept.
class Listener {
public:
    Listener() {
        m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
        ::listen(m_fd, 4);
        socklen_t length = sizeof address;
        ::getsockname(m_fd, reinterpret_cast<sockaddr *>(&address), &length);
        m_port = ntohs(address.sin_port);
    }
    ~Listener() {
        if (m_peer >= 0) {
            ::close(m_peer);
        }
        ::close(m_fd);
    }
    quint16 port() const { return m_port; }
    int accept() {
        m_peer = ::accept(m_fd, nullptr, nullptr);
        return m_peer;
    }
    void send(const QByteArray &data) {
        QCOMPARE(::send(m_peer, data.constData(), size_t(data.size()), 0), ssize_t(data.size()));
    }
    void closePeer() {
        ::close(m_peer);
        m_peer = -1;
    }

private:
    int m_fd = -1;
    int m_peer = -1;
    quint16 m_port = 0;
};

} // namespace

class TestZKSocket : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void unresolvableHost();
    void refusedConnectionStillCountsAsConnected();
    void closedStreamGivesEmptyThenNotConnected();
    void receivesEverythingUntilTheEnd();
    void stallKeepsWhatArrivedAndReportsIt();
    void peeksWithoutConsuming();
    void sendsWholeBuffersAndNothingForEmptyOnes();
    void sendingToAVanishedPeerIsAnError();
    void invalidUtf8IsNoString();
};

void TestZKSocket::initTestCase() {
    ZKTestSupport::isolateSettings();
    ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 1);
}

void TestZKSocket::unresolvableHost() {
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("no-such-host.invalid"), 21);
    QVERIFY(socket.error());
    QCOMPARE(socket.error()->domain(), ZKSocket::errorDomain);
    QCOMPARE(socket.error()->localizedDescription(),
             QStringLiteral("Unrecognised host name 'no-such-host.invalid'"));
    QVERIFY(!socket.isConnected());
}

void TestZKSocket::refusedConnectionStillCountsAsConnected() {
    quint16 port = 0;
    {
        Listener gone;
        port = gone.port();
    }
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    QVERIFY(socket.error());
    QCOMPARE(socket.error()->code(), qint64(ECONNREFUSED));
    // Deliberately left open: the next call reports the system's error.
    QVERIFY(socket.isConnected());
    QVERIFY(!socket.receiveData());
    QVERIFY(socket.error());
    QVERIFY(socket.error()->localizedDescription() != QStringLiteral("socket is not connected"));
}

void TestZKSocket::closedStreamGivesEmptyThenNotConnected() {
    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    QVERIFY2(!socket.error(), qPrintable(describe(socket.error())));
    QVERIFY(listener.accept() >= 0);
    listener.closePeer();
    const std::optional<QByteArray> first = socket.receiveData();
    QVERIFY(first && first->isEmpty());
    QVERIFY(!socket.error());
    QVERIFY(!socket.isConnected());
    QVERIFY(!socket.receiveData());
    QCOMPARE(socket.error()->localizedDescription(), QStringLiteral("socket is not connected"));
}

void TestZKSocket::receivesEverythingUntilTheEnd() {
    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    listener.accept();
    const QByteArray data = ZKTestSupport::randomBytes(10000, 3);
    listener.send(data);
    listener.closePeer();
    QCOMPARE(socket.receiveRemainingData(), std::optional<QByteArray>(data));
    QVERIFY(!socket.error());
}

void TestZKSocket::stallKeepsWhatArrivedAndReportsIt() {
    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    listener.accept();
    listener.send("partial");
    // The peer stays silent past the one-second time-out.
    QCOMPARE(socket.receiveRemainingData(), std::optional<QByteArray>("partial"));
    QVERIFY(socket.error());
    QCOMPARE(socket.error()->code(), qint64(EAGAIN));
}

void TestZKSocket::peeksWithoutConsuming() {
    ZKSocket idle;
    QVERIFY(!idle.hasMoreData());
    QVERIFY(!idle.error());

    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    listener.accept();
    QVERIFY(!socket.hasMoreData());
    listener.send("abc");
    QTRY_VERIFY(socket.hasMoreData());
    QCOMPARE(socket.receiveData(), std::optional<QByteArray>("abc"));
    QVERIFY(!socket.hasMoreData());
}

void TestZKSocket::sendsWholeBuffersAndNothingForEmptyOnes() {
    ZKSocket unconnected;
    unconnected.sendData(QByteArray());
    QCOMPARE(unconnected.error()->localizedDescription(),
             QStringLiteral("socket is not connected"));

    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    const int peer = listener.accept();
    socket.sendData(QByteArray());
    QVERIFY(!socket.error());
    // Larger than the socket buffers: sent in several calls.
    const QByteArray data = ZKTestSupport::randomBytes(256 * 1024, 4);
    QByteArray received;
    std::thread reader([&] {
        char buffer[65536];
        while (received.size() < data.size()) {
            const ssize_t count = ::recv(peer, buffer, sizeof buffer, 0);
            if (count <= 0) {
                break;
            }
            received.append(buffer, count);
        }
    });
    socket.sendData(data);
    reader.join();
    QVERIFY(!socket.error());
    QCOMPARE(received, data);
}

void TestZKSocket::sendingToAVanishedPeerIsAnError() {
    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    listener.accept();
    listener.closePeer();
    // Never SIGPIPE: the process lives on and the error says why.
    for (int i = 0; i < 50 && !socket.error(); ++i) {
        socket.sendData(QByteArray(65536, 'x'));
    }
    QVERIFY(socket.error());
    QCOMPARE(socket.error()->domain(), ZKSocket::errorDomain);
}

void TestZKSocket::invalidUtf8IsNoString() {
    Listener listener;
    ZKSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), listener.port());
    listener.accept();
    listener.send("\xff\xfe 220");
    QVERIFY(!socket.receiveString());
    QVERIFY(!socket.error());
}

QTEST_GUILESS_MAIN(TestZKSocket)
#include "tst_ZKSocket.moc"
