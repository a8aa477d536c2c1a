// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpClient.h"
#include "ZKFtpReply.h"
#include "ZKScriptedFtpServer.h"
#include "ZKTestSupport.h"
#include "ZKUserDefaults.h"

#include <QElapsedTimer>
#include <QTest>

using ZKTestSupport::errorText;

// The client's wire traffic against a scripted server.
class TestZKFtpClient : public QObject {
    Q_OBJECT

    std::unique_ptr<ZKScriptedFtpServer> m_server;
    std::unique_ptr<ZKFtpClient> m_client;

    void connectAndLogIn() {
        m_client->connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
        m_client->loginWithUsername(QStringLiteral("ann"), QStringLiteral("pw"));
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
    }
    // After USER, PASS, TYPE and FEAT.
    QStringList commandsAfterLogin() const { return m_server->commands().mid(4); }

private Q_SLOTS:
    void initTestCase() {
        ZKTestSupport::isolateSettings();
        ZKUserDefaults::standard().setInteger(QStringLiteral("downloadTimeout"), 1);
    }

    void init() {
        m_server = std::make_unique<ZKScriptedFtpServer>();
        m_client = std::make_unique<ZKFtpClient>();
    }

    void cleanup() {
        m_client.reset();
        m_server.reset();
    }

    // Nothing of a multi-line greeting may be taken for the next reply, and a
    // reply of four characters is complete.
    void greetingAndShortReplyOnTheWire() {
        m_server->setGreeting("220-Welcome\r\n220-Rules\r\n220 Ready\r\n");
        m_server->setReply("PASS", "530 \r\n");
        m_client->connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
        m_client->loginWithUsername(QStringLiteral("ann"), QStringLiteral("pw"));
        QVERIFY(m_client->error());
        QCOMPARE(m_client->error()->code(), qint64(530));
        QCOMPARE(m_client->error()->localizedDescription(), QStringLiteral("Error code 530"));
        // TYPE is not sent after a failed PASS.
        QCOMPARE(m_server->received(), QByteArray("USER ann\r\nPASS pw\r\n"));
    }

    void replyLines_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("finalLines");
        QTest::addColumn<qint64>("code");
        QTest::addColumn<QString>("description");
        QTest::newRow("refusal") << "421 Service closing\r\n"
                                 << QStringList{"421 Service closing"} << qint64(421)
                                 << "Service closing";
        QTest::newRow("preliminary is success")
            << "150 Here\r\n"
            << QStringList{"150 Here"} << qint64(0) << QString();
        QTest::newRow("continuations dropped") << "230-Hello\r\n  text\r\n230 Done\r\n"
                                               << QStringList{"230 Done"} << qint64(0) << QString();
        QTest::newRow("bare LF and CR")
            << "200 a\n201 b\r" << QStringList{"200 a", "201 b"} << qint64(0) << QString();
        // Found by fuzzing: a NUL among the digits once gave code 5.
        const QString nul = QStringLiteral("5") + QChar(0) + QStringLiteral("e M");
        QTest::newRow("NUL among the digits") << nul << QStringList{nul} << qint64(500) << "M";
        QTest::newRow("no code") << "hello there\r\n" << QStringList() << qint64(0) << QString();
        QTest::newRow("Arabic-Indic digits are no code")
            << QStringLiteral("٢٢٠ x\r\n") << QStringList() << qint64(0) << QString();
    }

    void replyLines() {
        QFETCH(QString, text);
        QFETCH(QStringList, finalLines);
        QFETCH(qint64, code);
        QCOMPARE(ZKFtpReply::finalLines(text), finalLines);
        if (finalLines.isEmpty()) {
            return;
        }
        const ZKOptionalError error = ZKFtpReply::errorOf(finalLines.first());
        QCOMPARE(error ? error->code() : 0, code);
        if (error) {
            QCOMPARE(error->domain(), ZKFtpClient::errorDomain);
            QTEST(error->localizedDescription(), "description");
        }
    }

    // "%2,%3" stands for the port the data listener really has, on 127.0.0.1.
    void passiveReplies_data() {
        QTest::addColumn<QByteArray>("pasv");
        QTest::addColumn<QString>("error");
        QTest::newRow("parentheses") << QByteArray() << QString();
        // Nothing listens on 127.0.0.2: the listing arrives only if the client
        // goes to the control connection's address, as it must.
        QTest::newRow("address elsewhere")
            << QByteArray("227 Entering Passive Mode (127,0,0,2,%2,%3)\r\n") << QString();
        QTest::newRow("garbage")
            << QByteArray("227 (999,-1,abc,0,99999,1)\r\n")
            << "Unable to parse response '227 (999,-1,abc,0,99999,1)': a passive address is six "
               "numbers from 0 to 255 naming a port";
        QTest::newRow("refused") << QByteArray("425 Can't open data connection.\r\n")
                                 << "Unable to parse response '425 Can't open data connection.'";
        QTest::newRow("no reply") << QByteArray("") << "Unable to parse response '(null)'";
    }

    // "" for a reply that is refused.
    void passiveReplyNumbers_data() {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("host");
        QTest::addColumn<qint32>("port");
        const auto row = [](const char *tag, const char *reply, const char *host, qint32 port) {
            QTest::newRow(tag) << QString(reply) << QString(host) << port;
        };
        row("usual", "227 Entering Passive Mode (127,0,0,1,156,64).", "127.0.0.1", 40000);
        row("without text", "227 (127,0,0,2,0,21)", "127.0.0.2", 21);
        row("blanks around numbers", "227 ( 10, 0,0,9 ,4 ,1 )", "10.0.0.9", 1025);
        row("the last group", "227 Mode (ok) (127,0,0,1,0,0)", "127.0.0.1", 0);
        // Numbers are read strictly: a lenient reader would make an address,
        // or a name to look up, of anything.
        row("port out of range", "227 (127,0,0,1,300,1)", "", 0);
        row("garbage", "227 (999,-1,abc,0,99999,1)", "", 0);
        row("sign", "227 (+127,0,0,1,4,1)", "", 0);
        row("five numbers", "227 (127,0,0,1,4)", "", 0);
        row("seven numbers", "227 (127,0,0,1,4,1,1)", "", 0);
        row("empty number", "227 (127,,0,1,4,1)", "", 0);
        row("four digits", "227 (0127,0,0,1,4,1)", "", 0);
        row("without parentheses", "227 Entering Passive Mode 127,0,0,1,4,1", "", 0);
        // The reply's own text would be read as the first number.
        row("opening parenthesis only", "227 Entering Passive Mode (127,0,0,1,4,1", "", 0);
        row("closing parenthesis only", "227 Entering Passive Mode 127,0,0,1,4,1)", "", 0);
        // A dotted number would make another address of the four.
        row("dotted number", "227 Entering Passive Mode (127.0.0.1,0,0,0,4,1)", "", 0);
    }

    void passiveReplyNumbers() {
        QFETCH(QString, reply);
        QFETCH(QString, host);
        QFETCH(qint32, port);
        QString parsedHost;
        qint32 parsedPort = 0;
        QCOMPARE(ZKFtpReply::parsePassiveReply(reply, &parsedHost, &parsedPort), !host.isEmpty());
        QCOMPARE(parsedHost, host);
        QCOMPARE(parsedPort, port);
    }

    void passiveReplies() {
        QFETCH(QByteArray, pasv);
        QFETCH(QString, error);
        if (!pasv.isNull()) {
            m_server->setPassiveFormat(pasv);
        }
        m_server->setListing("one\r\ntwo\r\n");
        connectAndLogIn();
        const std::optional<QList<ZKFtpItem>> items = m_client->listItems();
        if (error.isEmpty()) {
            QVERIFY2(items, qPrintable(errorText(m_client->error())));
            QCOMPARE(items->size(), 2);
        } else {
            QVERIFY(!items);
            QCOMPARE(m_client->error()->code(), qint64(2));
            QCOMPARE(m_client->error()->localizedDescription(), error);
        }
    }

    void extendedPassiveReplies_data() {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<qint32>("port"); // 0: refused
        QTest::newRow("usual") << "229 Entering Extended Passive Mode (|||6446|)" << 6446;
        QTest::newRow("other delimiter") << "229 Extended (!!!21!)." << 21;
        QTest::newRow("highest port") << "229 (|||65535|)" << 65535;
        // The data must go where the control connection went, never to an
        // address of the server's choosing.
        QTest::newRow("address given") << "229 (|2|::1|6446|)" << 0;
        QTest::newRow("port zero") << "229 (|||0|)" << 0;
        QTest::newRow("port too high") << "229 (|||65536|)" << 0;
        QTest::newRow("huge port") << "229 (|||99999999999999999999|)" << 0;
        QTest::newRow("sign") << "229 (|||+21|)" << 0;
        QTest::newRow("mixed delimiters") << "229 (|!|21|)" << 0;
        QTest::newRow("digit delimiter") << "229 (111213121)" << 0;
        QTest::newRow("unclosed") << "229 (|||6446|" << 0;
        QTest::newRow("no parentheses") << "229 |||6446|" << 0;
    }

    void extendedPassiveReplies() {
        QFETCH(QString, reply);
        QFETCH(qint32, port);
        qint32 parsed = 0;
        QCOMPARE(ZKFtpReply::parseExtendedPassiveReply(reply, &parsed), port != 0);
        QCOMPARE(parsed, port);
    }

    void extendedPassiveOnTheWire_data() {
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<bool>("served");
        QTest::addColumn<QByteArray>("epsv"); // null: the server's own answer
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<QString>("error");
        // LIST, refused, is not asked again on that connection.
        const QStringList extended{"EPSV",   "LIST", "EPSV", "NLST",
                                   "SIZE a", "EPSV", "NLST", "SIZE a"};
        QTest::newRow("IPv4") << QByteArray("127.0.0.1") << true << QByteArray() << extended
                              << QString();
        QTest::newRow("IPv6") << QByteArray("::1") << true << QByteArray() << extended << QString();
        // Refused once, never asked again on that connection.
        QTest::newRow("refused") << QByteArray("127.0.0.1") << false << QByteArray()
                                 << QStringList{"EPSV",   "PASV", "LIST", "PASV",  "NLST",
                                                "SIZE a", "PASV", "NLST", "SIZE a"}
                                 << QString();
        QTest::newRow("not understood")
            << QByteArray("127.0.0.1") << true
            << QByteArray("229 Entering Extended Passive Mode (|||x|)\r\n") << QStringList{"EPSV"}
            << "Unable to parse response '229 Entering Extended Passive Mode (|||x|)'";
        // A temporary failure is no refusal: PASV would fail alike.
        QTest::newRow("temporary failure")
            << QByteArray("127.0.0.1") << true << QByteArray("425 Can't open data connection.\r\n")
            << QStringList{"EPSV"} << "Unable to parse response '425 Can't open data connection.'";
    }

    // Two listings on one connection, each over its own data connection.
    void extendedPassiveOnTheWire() {
        QFETCH(QByteArray, host);
        QFETCH(bool, served);
        QFETCH(QByteArray, epsv);
        QFETCH(QString, error);
        m_server = std::make_unique<ZKScriptedFtpServer>(host);
        if (m_server->port() == 0) {
            QSKIP(qPrintable(QStringLiteral("no loopback address %1 here").arg(host)));
        }
        m_server->setExtendedPassive(served);
        if (!epsv.isNull()) {
            m_server->setReply("EPSV", epsv);
        }
        m_server->setListing("a\r\n");
        m_server->setFile("a", "1");
        m_client->connectToHost(QString::fromLatin1(host), m_server->port());
        m_client->loginWithUsername(QStringLiteral("ann"), QStringLiteral("pw"));
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
        for (int round = 0; round < 2 && error.isEmpty(); ++round) {
            const std::optional<QList<ZKFtpItem>> items = m_client->listItems();
            QVERIFY2(items && items->size() == 1, qPrintable(errorText(m_client->error())));
        }
        if (!error.isEmpty()) {
            QVERIFY(!m_client->listItems());
            QCOMPARE(errorText(m_client->error()), error);
        }
        QTEST(commandsAfterLogin(), "sent");
    }

    void secureLoginNeverSendsThePasswordInClear_data() {
        QTest::addColumn<QByteArray>("authReply");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused") << QByteArray("504 Unknown AUTH type\r\n") << "Unknown AUTH type";
        // A server that agrees, then answers the handshake with plain text.
        QTest::newRow("no TLS after all")
            << QByteArray("234 Go ahead\r\n") << "The TLS handshake with 127.0.0.1 failed";
    }

    void secureLoginNeverSendsThePasswordInClear() {
        QFETCH(QByteArray, authReply);
        QFETCH(QString, error);
        m_server->setReply("AUTH", authReply);
        m_client->connectToHost(QStringLiteral("127.0.0.1"), m_server->port(), true);
        QVERIFY(m_client->error());
        QVERIFY2(errorText(m_client->error()).startsWith(error),
                 qPrintable(errorText(m_client->error())));
        m_client->loginWithUsername(QStringLiteral("ann"), QStringLiteral("secret"));
        QVERIFY(m_client->error());
        QVERIFY(m_server->received().startsWith("AUTH TLS\r\n"));
        QVERIFY2(!m_server->received().contains("secret"), m_server->received().constData());
    }

    void noRestWithoutAnOffset() {
        m_server->setFile("a.bin", QByteArray(10, 'a'));
        connectAndLogIn();
        m_client->beginRetrieve(QStringLiteral("a.bin"), 0);
        QVERIFY(!m_client->error());
        QCOMPARE(m_client->retrieveBlock(), QByteArray(10, 'a'));
        m_client->endRetrieve();
        QCOMPARE(commandsAfterLogin(), QStringList({"EPSV", "PASV", "RETR a.bin"}));
    }

    // A copy walks the folders its analysis has just listed: a recent
    // listing serves again, until this client changes the folder or the
    // connection is a new one.
    void recentListingIsReused() {
        m_server->setListing("a.bin\r\nb.bin\r\n");
        m_server->setFile("a.bin", "a");
        m_server->setFile("b.bin", "bb");
        const auto listings = [this] {
            return m_server->commands().count("NLST");
        };
        connectAndLogIn();
        QVERIFY(m_client->listItems());
        std::optional<QList<ZKFtpItem>> again = m_client->listItemsReusingRecent();
        QVERIFY2(again && again->size() == 2, qPrintable(errorText(m_client->error())));
        QCOMPARE(again->at(1).size(), quint64(2));
        QCOMPARE(listings(), 1);
        m_client->removeFile(QStringLiteral("a.bin"));
        QVERIFY(m_client->listItemsReusingRecent());
        QCOMPARE(listings(), 2);
        m_client->disconnect();
        connectAndLogIn();
        QVERIFY(m_client->listItemsReusingRecent());
        QCOMPARE(listings(), 3);
    }

    void changePathSendsOnlyTheDifference_data() {
        QTest::addColumn<QStringList>("from");
        QTest::addColumn<QStringList>("to");
        QTest::addColumn<QStringList>("sent");
        QTest::newRow("same") << QStringList{"a", "b"} << QStringList{"a", "b"} << QStringList();
        QTest::newRow("slashes dropped")
            << QStringList() << QStringList{"/", "x", "y"} << QStringList{"CWD x/y"};
        QTest::newRow("sideways") << QStringList{"a", "b", "c"} << QStringList{"a", "d"}
                                  << QStringList{"CWD ../../d"};
        QTest::newRow("to the top") << QStringList{"a"} << QStringList() << QStringList{"CDUP"};
        QTest::newRow("one down") << QStringList{"a"} << QStringList{"a", "b"}
                                  << QStringList{"CWD b"};
    }

    // One CWD of a path where it spares a command, on a server that takes
    // such paths (this one takes exactly those it was given).
    void changePathSendsOnlyTheDifference() {
        QFETCH(QStringList, from);
        QFETCH(QStringList, to);
        QFETCH(QStringList, sent);
        m_server->setDirectory(from.join('/').toUtf8());
        for (const QString &command : sent) {
            m_server->setDirectory(command.mid(4).toUtf8());
        }
        connectAndLogIn();
        m_client->changePath(from);
        const qsizetype before = m_server->commands().size();
        m_client->changePath(to);
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
        QCOMPARE(m_server->commands().mid(before), sent);
        to.removeAll(QStringLiteral("/"));
        QCOMPARE(m_client->currentPath(), to);
    }

    // A path refused where its steps succeed: the steps from then on.
    void changePathGoesStepByStepWhereRefused() {
        for (const char *name : {"a", "b", "c"}) {
            m_server->setDirectory(name);
        }
        connectAndLogIn();
        const qsizetype before = m_server->commands().size();
        m_client->changePath({"a", "b"});
        m_client->changePath({"a", "c"});
        QVERIFY2(!m_client->error(), qPrintable(errorText(m_client->error())));
        QCOMPARE(m_server->commands().mid(before),
                 QStringList({"CWD a/b", "CWD a", "CWD b", "CDUP", "CWD c"}));
        QCOMPARE(m_client->currentPath(), QStringList({"a", "c"}));
    }

    void machineListings_data() {
        QTest::addColumn<QByteArray>("features");
        QTest::addColumn<QByteArray>("mlsdReply"); // empty: the server lists
        QTest::addColumn<QStringList>("sent");
        const QByteArray announced = "211-Features:\r\n MDTM\r\n MLST type*;size*;modify*;\r\n"
                                     " SIZE\r\n211 End\r\n";
        // Only the link is sized: files and folders are told by the listing.
        QTest::newRow("announced")
            << announced << QByteArray() << QStringList({"EPSV", "PASV", "MLSD", "SIZE link"});
        QTest::newRow("announced, then refused")
            << announced << QByteArray("500 Unknown command\r\n")
            << QStringList({"EPSV", "PASV", "MLSD", "PASV", "LIST", "PASV", "NLST", "SIZE a.txt",
                            "SIZE sub", "SIZE link"});
        QTest::newRow("not announced")
            << QByteArray("211-Features:\r\n MDTM\r\n211 End\r\n") << QByteArray()
            << QStringList(
                   {"EPSV", "PASV", "LIST", "PASV", "NLST", "SIZE a.txt", "SIZE sub", "SIZE link"});
    }

    // One MLSD tells names, types, sizes and dates where the server offers it;
    // without it, every name costs a SIZE.
    void machineListings() {
        QFETCH(QByteArray, features);
        QFETCH(QByteArray, mlsdReply);
        QFETCH(QStringList, sent);
        m_server->setReply("FEAT", features);
        if (!mlsdReply.isEmpty()) {
            m_server->setReply("MLSD", mlsdReply);
        }
        const bool machine = sent.contains("MLSD") && mlsdReply.isEmpty();
        m_server->setListing(machine ? "type=cdir;modify=20240101000000; .\r\n"
                                       "type=pdir;modify=20240101000000; ..\r\n"
                                       "type=file;size=5;modify=20240102030405; a.txt\r\n"
                                       "type=dir;modify=20240101000000; sub\r\n"
                                       "type=OS.unix=slink:/x;modify=20240101000000; link\r\n"
                                     : ".\r\n..\r\na.txt\r\nsub\r\nlink\r\n");
        m_server->setFile("a.txt", "12345");
        m_server->setFile("link", "123");
        m_server->setDirectory("sub");
        connectAndLogIn();
        const std::optional<QList<ZKFtpItem>> items = m_client->listItems();
        QVERIFY2(items, qPrintable(errorText(m_client->error())));
        QCOMPARE(commandsAfterLogin(), sent);
        QCOMPARE(items->size(), 3);
        QCOMPARE(items->at(0).name(), QStringLiteral("a.txt"));
        QCOMPARE(items->at(0).size(), quint64(5));
        QCOMPARE(items->at(1).type(), qint32(ZKFtpItem::Directory));
        QCOMPARE(items->at(2).type(), qint32(ZKFtpItem::File));
        QCOMPARE(items->at(2).size(), quint64(3));
        if (machine) {
            QCOMPARE(items->at(0).modificationDate(),
                     QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5), Qt::UTC));
        }
    }

    void earlyStopSendsTheAbortSequence() {
        // Far more than the socket buffers hold, so data is still waiting.
        m_server->setFile("big.bin", QByteArray(32 * 1024 * 1024, 'b'));
        connectAndLogIn();
        m_client->beginRetrieve(QStringLiteral("big.bin"), 0);
        QVERIFY(!m_client->retrieveBlock().isEmpty());
        const QByteArray before = m_server->received();
        m_client->endRetrieve();
        QCOMPARE(m_server->received().mid(before.size()), QByteArray("ABOR\r\nABOR\r\n\r\n"));
        // The replies of the abort are all consumed: the next command gets its own.
        const std::optional<ZKFtpItem> item = m_client->itemWithName(QStringLiteral("big.bin"));
        QVERIFY(item);
        QCOMPARE(item->size(), quint64(32 * 1024 * 1024));
    }

    // Never silent for a whole second, never a reply: the limit is on the
    // reply, so the wait ends after one second, not after the receive that
    // began just before it.
    void tricklingGarbageTimesOutWithinTheLimit() {
        m_server->setGreeting("garbage without an end");
        m_server->setGreetingInterval(950);
        QElapsedTimer timer;
        timer.start();
        m_client->connectToHost(QStringLiteral("127.0.0.1"), m_server->port());
        QCOMPARE(errorText(m_client->error()),
                 QStringLiteral("The server did not answer within the time limit (1 s)."));
        QVERIFY2(timer.elapsed() < 1600, qPrintable(QString::number(timer.elapsed())));
    }

    void hostileReplies() {
        // A reply line far longer than one receive is judged piece by piece and
        // does not keep the real reply from being found.
        m_server->setReply("USER", QByteArray(100000, 'x') + "\r\n331 Go on\r\n");
        connectAndLogIn();

        ZKScriptedFtpServer garbled;
        garbled.setGreeting("\xff\xfe\xfd 220 \xc3\x28\r\n");
        ZKFtpClient client;
        client.connectToHost(QStringLiteral("127.0.0.1"), garbled.port());
        QVERIFY2(client.error(), "bytes that are not UTF-8 are no greeting");
    }

    void releasingTooOftenIsAnError() {
        connectAndLogIn();
        m_client->retainConnection();
        m_client->releaseConnection();
        QVERIFY(m_client->isConnected());
        m_client->releaseConnection();
        QVERIFY(!m_client->isConnected());
        m_client->releaseConnection();
        QCOMPARE(m_client->error()->localizedDescription(),
                 QStringLiteral("Released connection too many times."));
        m_client->sendControlRequest(QStringLiteral("CDUP"));
        QCOMPARE(m_client->error()->localizedDescription(),
                 QStringLiteral("Cannot send request: client is not connected."));
    }

    void lineBreaksCannotSmuggleCommands() {
        connectAndLogIn();
        m_client->removeFile(QStringLiteral("a\r\nDELE b"));
        QVERIFY(m_client->error());
        QCOMPARE(m_client->error()->code(), qint64(1));
        QVERIFY(!m_server->received().contains("DELE"));
    }

    void renameOnTheWire_data() {
        QTest::addColumn<QByteArray>("rnfr");
        QTest::addColumn<QByteArray>("rnto");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<QString>("error");
        const QStringList both{"RNFR a.part", "RNTO a.bin"};
        QTest::newRow("renamed") << QByteArray("350 Ready for RNTO\r\n")
                                 << QByteArray("250 Rename successful\r\n") << both << QString();
        // RNTO goes along with RNFR; after anything but 350 it stood alone
        // and the rename counts as refused, whatever the RNTO got.
        QTest::newRow("no such file")
            << QByteArray("550 a.part: No such file\r\n") << QByteArray("503 RNFR first\r\n")
            << both << "a.part: No such file";
        QTest::newRow("success without waiting")
            << QByteArray("250 Whatever\r\n") << QByteArray() << both
            << "The server did not accept renaming 'a.part': 250 Whatever";
        QTest::newRow("target refused")
            << QByteArray("350 Ready\r\n") << QByteArray("553 Not allowed\r\n") << both
            << "Not allowed";
        QTest::newRow("no answer") << QByteArray("350 Ready\r\n") << QByteArray("") << both
                                   << "The server did not answer within the time limit (1 s).";
    }

    void renameOnTheWire() {
        QFETCH(QByteArray, rnfr);
        QFETCH(QByteArray, rnto);
        QFETCH(QString, error);
        m_server->setReply("RNFR", rnfr);
        if (!rnto.isNull()) {
            m_server->setReply("RNTO", rnto);
        }
        connectAndLogIn();
        const bool renamed =
            m_client->renameItem(QStringLiteral("a.part"), QStringLiteral("a.bin"));
        QCOMPARE(renamed, error.isEmpty());
        QCOMPARE(errorText(m_client->error()), error);
        QTEST(commandsAfterLogin(), "sent");
    }

    void parentPath_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("parent");
        QTest::newRow("deep") << QString("/a/b/c") << "/a/b";
        QTest::newRow("top") << QString("/a") << "/";
        QTest::newRow("doubled slashes") << QString("//a//b/") << "/a";
    }

    void parentPath() {
        QFETCH(QString, path);
        QTEST(ZKFtpClient::parentPath(path), "parent");
    }
};

QTEST_GUILESS_MAIN(TestZKFtpClient)
#include "tst_ZKFtpClient.moc"
