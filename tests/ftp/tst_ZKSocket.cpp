// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSocket.h"
#include "ZKTestSupport.h"
#include "ZKTrustedCertificates.h"
#include "ZKUserDefaults.h"

#include <QTest>

#include <cerrno>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using ZKTestSupport::errorText;

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

    std::unique_ptr<Listener> m_listener;
    std::unique_ptr<ZKSocket> m_socket;

    // Connects the socket under test to the listener; returns the peer's end.
    int connectToPeer() {
        m_socket->connectToHost(QStringLiteral("127.0.0.1"), m_listener->port());
        return m_socket->error() ? -1 : m_listener->accept();
    }

private Q_SLOTS:
    void initTestCase() {
        ZKTestSupport::isolateSettings();
        ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 1);
    }

    void init() {
        m_listener = std::make_unique<Listener>();
        m_socket = std::make_unique<ZKSocket>();
    }

    void unresolvableHost() {
        m_socket->connectToHost(QStringLiteral("no-such-host.invalid"), 21);
        QVERIFY(m_socket->error());
        QCOMPARE(m_socket->error()->domain(), ZKSocket::errorDomain);
        QCOMPARE(m_socket->error()->localizedDescription(),
                 QStringLiteral("Unrecognised host name 'no-such-host.invalid'"));
        QVERIFY(!m_socket->isConnected());
    }

    void refusedConnectionStillCountsAsConnected() {
        const quint16 port = m_listener->port();
        m_listener.reset();
        m_socket->connectToHost(QStringLiteral("127.0.0.1"), port);
        QVERIFY(m_socket->error());
        QCOMPARE(m_socket->error()->code(), qint64(ECONNREFUSED));
        // Deliberately left open: the next call reports the system's error.
        QVERIFY(m_socket->isConnected());
        QVERIFY(!m_socket->receiveData() && m_socket->error());
        QVERIFY(m_socket->error()->localizedDescription() !=
                QStringLiteral("socket is not connected"));
    }

    // The end of the stream is no error; only reading past it is.
    void receivesEverythingUntilTheEnd() {
        QVERIFY(connectToPeer() >= 0);
        const QByteArray data = ZKTestSupport::randomBytes(10000, 3);
        m_listener->send(data);
        m_listener->closePeer();
        QCOMPARE(m_socket->receiveRemainingData(), std::optional<QByteArray>(data));
        QVERIFY2(!m_socket->error(), qPrintable(errorText(m_socket->error())));
        QVERIFY(!m_socket->isConnected());
        QVERIFY(!m_socket->receiveData());
        QCOMPARE(m_socket->error()->localizedDescription(),
                 QStringLiteral("socket is not connected"));
    }

    void stallKeepsWhatArrivedAndReportsIt() {
        QVERIFY(connectToPeer() >= 0);
        m_listener->send("partial");
        // The peer stays silent past the one-second time-out.
        QCOMPARE(m_socket->receiveRemainingData(), std::optional<QByteArray>("partial"));
        QVERIFY(m_socket->error());
        QCOMPARE(m_socket->error()->code(), qint64(ETIMEDOUT));
        QCOMPARE(m_socket->error()->localizedDescription(),
                 QStringLiteral("The server did not answer within the time limit (1 s)."));
    }

    void peeksWithoutConsuming() {
        QVERIFY(!m_socket->hasMoreData() && !m_socket->error());
        QVERIFY(connectToPeer() >= 0);
        QVERIFY(!m_socket->hasMoreData());
        m_listener->send("abc");
        QTRY_VERIFY(m_socket->hasMoreData());
        QCOMPARE(m_socket->receiveData(), std::optional<QByteArray>("abc"));
        QVERIFY(!m_socket->hasMoreData());
    }

    void sendsWholeBuffersAndNothingForEmptyOnes() {
        ZKSocket unconnected;
        unconnected.sendData(QByteArray());
        QCOMPARE(unconnected.error()->localizedDescription(),
                 QStringLiteral("socket is not connected"));

        const int peer = connectToPeer();
        m_socket->sendData(QByteArray());
        QVERIFY(!m_socket->error());
        // Larger than the socket buffers: sent in several calls.
        const QByteArray data = ZKTestSupport::randomBytes(256 * 1024, 4);
        QByteArray received;
        std::thread reader([&] {
            char buffer[65536];
            ssize_t count = 0;
            while (received.size() < data.size() &&
                   (count = ::recv(peer, buffer, sizeof buffer, 0)) > 0) {
                received.append(buffer, count);
            }
        });
        m_socket->sendData(data);
        reader.join();
        QVERIFY(!m_socket->error());
        QCOMPARE(received, data);
    }

    void sendingToAVanishedPeerIsAnError() {
        QVERIFY(connectToPeer() >= 0);
        m_listener->closePeer();
        // Never SIGPIPE: the process lives on and the error says why.
        for (int i = 0; i < 50 && !m_socket->error(); ++i) {
            m_socket->sendData(QByteArray(65536, 'x'));
        }
        QVERIFY(m_socket->error());
        QCOMPARE(m_socket->error()->domain(), ZKSocket::errorDomain);
    }

    void fingerprints_data() {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("normal"); // empty: refused
        const QString colons = QStringLiteral("AB:").repeated(31) + QStringLiteral("AB");
        QTest::newRow("colons") << colons << colons;
        QTest::newRow("lower case, bare") << QStringLiteral("ab").repeated(32) << colons;
        QTest::newRow("short") << QStringLiteral("AB").repeated(31) << QString();
        QTest::newRow("not hexadecimal") << QStringLiteral("ZZ").repeated(32) << QString();
        QTest::newRow("full-width digits") << QStringLiteral("１１").repeated(32) << QString();
    }

    // Only a well-formed fingerprint is kept, and it is found again however
    // it was written.
    void fingerprints() {
        QFETCH(QString, given);
        QFETCH(QString, normal);
        ZKUserDefaults::standard().setObject(QStringLiteral("trustedCertificates"), QVariant());
        QCOMPARE(ZKTrustedCertificates::normalizedFingerprint(given), normal);
        QCOMPARE(ZKTrustedCertificates::trust(given), !normal.isEmpty());
        QCOMPARE(ZKTrustedCertificates::isTrusted(normal.toLower().remove(':')), !normal.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestZKSocket)
#include "tst_ZKSocket.moc"
