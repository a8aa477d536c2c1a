// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpClient.h"

#include "ZKFtpConnectionPool.h"
#include "ZKFtpReply.h"
#include "ZKLogging.h"
#include "ZKReader.h"

#include <QRegularExpression>

#include <atomic>
#include <cerrno>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

const QString abortLine = QStringLiteral("ABOR\r\n");

// Numbers every parking of a connection, whichever client parks it.
std::atomic<quint64> lastParking{0};

// What an absent reply reads as inside a message.
const QString absentText = QStringLiteral("(null)");

bool isSafeParameter(const QString &parameter) {
    for (const QChar c : parameter) {
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n') || c == QChar(0)) {
            return false;
        }
    }
    return true;
}

quint64 leadingSize(QStringView text) {
    const qint64 value = ZKFtpReply::leadingInteger(text);
    return value < 0 ? 0 : quint64(value);
}

} // namespace

const QString ZKFtpClient::errorDomain = QStringLiteral("com.velmarind.ftp.ErrorDomain");

ZKFtpClient::ZKFtpClient() = default;

ZKFtpClient::~ZKFtpClient() {
    disconnect();
}

ZKOptionalError ZKFtpClient::error() const {
    std::lock_guard locker(m_errorLock);
    return m_error;
}

void ZKFtpClient::setError(const ZKOptionalError &error, bool refusal) {
    if (error && !refusal) {
        m_unreliable = true;
    }
    std::lock_guard locker(m_errorLock);
    m_error = error;
}

void ZKFtpClient::setClientError(ZKFtpErrors::Message message, const QStringList &arguments) {
    setError(ZKFtpErrors::error(message, arguments));
}

void ZKFtpClient::copySocketError(const ZKSocket &socket) {
    if (ZKOptionalError socketError = socket.error()) {
        setError(socketError);
    }
}

void ZKFtpClient::clearError() {
    setError(std::nullopt);
}

void ZKFtpClient::connectToHost(const QString &host, qint32 port, bool secure) {
    clearError();
    m_referenceCount = 0;
    m_currentPath.clear();
    m_controlResponses.clear();
    m_triesExtendedPassive = true;
    m_listsLong = true;
    m_cwdTakesPaths = true;
    m_unreliable = false;
    m_poolKey.clear();
    m_secure = secure;
    m_host = host;
    if (host.isEmpty()) {
        setClientError(ZKFtpErrors::NoHost);
        return;
    }
    disconnect();
    m_controlSocket = std::make_unique<ZKSocket>();
    m_controlSocket->connectToHost(host, port);
    if (m_controlSocket->error()) {
        copySocketError(*m_controlSocket);
        // Not kept: a client that never reached the server must not count
        // as connected, or a later open would try to reuse it.
        m_controlSocket.reset();
        return;
    }
    readControlResponse();
    retainConnection();
    if (secure && !error()) {
        command(QStringLiteral("AUTH"), QStringLiteral("TLS"));
        // Nothing more may cross in clear, least of all the password.
        if (!error() && !m_controlSocket->startTls(host)) {
            copySocketError(*m_controlSocket);
        }
        if (error()) {
            m_controlSocket->disconnect();
        }
    }
}

void ZKFtpClient::disconnect() {
    forgetListings();
    closeSockets();
}

void ZKFtpClient::closeSockets() {
    if (m_dataSocket) {
        m_dataSocket->disconnect();
        m_dataSocket.reset();
    }
    if (m_controlSocket) {
        m_controlSocket->disconnect();
        m_controlSocket.reset();
    }
}

void ZKFtpClient::retainConnection() {
    qCInfo(lcFtp) << "Retained connection";
    ++m_referenceCount;
}

void ZKFtpClient::releaseConnection() {
    if (m_referenceCount == 0) {
        setClientError(ZKFtpErrors::ReleasedTooOften);
        return;
    }
    qCInfo(lcFtp) << "Released connection";
    --m_referenceCount;
    if (m_referenceCount != 0) {
        return;
    }
    if (!m_poolKey.isEmpty() && !m_unreliable && isIdle()) {
        const QString key = m_poolKey;
        auto parked = std::make_unique<ZKFtpClient>();
        m_parking = ++lastParking;
        parked->moveConnectionFrom(*this);
        ZKFtpConnectionPool::park(key, std::move(parked));
        qCInfo(lcFtp) << "Parked connection";
        return;
    }
    disconnect();
    qCInfo(lcFtp) << "Disconnected";
}

bool ZKFtpClient::isConnected() const {
    return m_controlSocket != nullptr;
}

bool ZKFtpClient::isIdle() const {
    return m_controlSocket && !m_dataSocket && m_controlResponses.isEmpty() &&
           m_controlSocket->isIdle();
}

bool ZKFtpClient::adoptPooledConnection(const QString &key) {
    std::unique_ptr<ZKFtpClient> parked = ZKFtpConnectionPool::take(key);
    if (!parked) {
        return false;
    }
    // What this client listed on the very connection it parked, and gets
    // back unused by anyone else, is kept while recent: the copy of a tree
    // walks, through the same reader, the folders its analysis listed
    // moments before. Of any other connection's folders nothing is known.
    if (parked->m_parking != m_parking) {
        forgetListings();
    }
    m_madeEmpty.clear();
    for (const QString &folder : QStringList(m_listingOrder)) {
        if (Clock::now() - m_listings.value(folder).taken >= listingReuseLimit) {
            m_listings.remove(folder);
            m_listingOrder.removeOne(folder);
        }
    }
    closeSockets();
    moveConnectionFrom(*parked);
    clearError();
    // A server that restarted, or a router that forgot the connection, may
    // not have said so: one round trip to know, against the several of a
    // new login.
    command(QStringLiteral("NOOP"));
    if (error()) {
        qCInfo(lcFtp) << "A parked connection no longer answers; connecting anew";
        disconnect();
        clearError();
        return false;
    }
    m_referenceCount = 0;
    retainConnection();
    qCInfo(lcFtp) << "Reusing a parked connection";
    return true;
}

void ZKFtpClient::moveConnectionFrom(ZKFtpClient &other) {
    m_controlSocket = std::move(other.m_controlSocket);
    m_dataSocket.reset();
    m_controlResponses.clear();
    m_currentPath = std::exchange(other.m_currentPath, {});
    m_supportsRfc3659 = other.m_supportsRfc3659;
    m_listsWithMlsd = other.m_listsWithMlsd;
    m_listsLong = other.m_listsLong;
    m_triesExtendedPassive = other.m_triesExtendedPassive;
    m_canRename = other.m_canRename;
    m_cwdTakesPaths = other.m_cwdTakesPaths;
    m_secure = other.m_secure;
    m_host = other.m_host;
    m_poolKey = std::exchange(other.m_poolKey, {});
    m_unreliable = other.m_unreliable;
    m_parking = other.m_parking;
    // The listings stay where they are: see adoptPooledConnection().
    other.m_referenceCount = 0;
    other.closeSockets();
}

void ZKFtpClient::sendControlRequest(const QString &command, const QString &parameter) {
    sendControlRequests({{command, parameter}});
}

void ZKFtpClient::sendControlRequests(const QList<std::pair<QString, QString>> &requests) {
    m_prefetched.reset();
    m_keepsDuplicateReplies = requests.size() > 1;
    if (!m_controlSocket) {
        setClientError(ZKFtpErrors::SendWithoutConnection);
        return;
    }
    QString lines;
    for (const auto &[command, parameter] : requests) {
        if (!isSafeParameter(parameter)) {
            setClientError(ZKFtpErrors::UnsafeParameter, {command});
            return;
        }
        lines += parameter.isEmpty() ? QStringLiteral("%1\r\n").arg(command)
                                     : QStringLiteral("%1 %2\r\n").arg(command, parameter);
    }
    // One send: lines sent apart would each wait for the other's
    // acknowledgement on a link that delays small segments.
    m_controlSocket->sendString(lines);
    copySocketError(*m_controlSocket);
}

bool ZKFtpClient::isWithinTimeoutSince(Clock::time_point start, const QString &task) {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (seconds < double(ZKSocket::downloadTimeoutSeconds())) {
        return true;
    }
    setTimedOut(task);
    return false;
}

bool ZKFtpClient::waitForControlData(Clock::time_point start, const QString &task) {
    if (!isWithinTimeoutSince(start, task)) {
        return false;
    }
    // Bounded by what is left of the limit, not by a whole receive time-out:
    // a server that trickles what is no reply would otherwise hold us for
    // up to twice the limit.
    if (m_controlSocket && !m_controlSocket->waitUntilReadable(
                               start + std::chrono::seconds(ZKSocket::downloadTimeoutSeconds()))) {
        setTimedOut(task);
        return false;
    }
    return true;
}

void ZKFtpClient::setTimedOut(const QString &task) {
    qCInfo(lcFtp) << "Timed out while" << task;
    // A server that sends only what is no reply has not answered either.
    setClientError(ZKFtpErrors::NoAnswerFromServer,
                   {QString::number(ZKSocket::downloadTimeoutSeconds())});
}

std::optional<QString> ZKFtpClient::readControlResponse() {
    const Clock::time_point start = Clock::now();
    while (m_controlResponses.isEmpty()) {
        if (!m_controlSocket) {
            setClientError(ZKFtpErrors::ReadWithoutConnection);
            break;
        }
        if (!waitForControlData(start, QStringLiteral("reading control response"))) {
            break;
        }
        const std::optional<QString> text = m_controlSocket->receiveString();
        if (m_controlSocket->error()) {
            copySocketError(*m_controlSocket);
            break;
        }
        // Bytes that are not UTF-8 carry no line that could be trusted.
        if (text) {
            for (const QString &line : ZKFtpReply::finalLines(*text)) {
                // Replies to lines sent together may well be alike
                // ("213 4096" twice): each is one to read.
                if (m_keepsDuplicateReplies || !m_controlResponses.contains(line)) {
                    m_controlResponses.append(line);
                }
            }
        }
    }
    if (m_controlResponses.isEmpty()) {
        return std::nullopt;
    }
    const QString line = m_controlResponses.takeFirst();
    if (const ZKOptionalError replyError = ZKFtpReply::errorOf(line)) {
        setError(replyError, true);
    }
    return line;
}

void ZKFtpClient::command(const QString &name, const QString &parameter) {
    sendControlRequest(name, parameter);
    if (!error()) {
        readControlResponse();
    }
}

void ZKFtpClient::loginWithUsername(const QString &username, const QString &password) {
    clearError();
    command(QStringLiteral("USER"), username);
    if (!error()) {
        command(QStringLiteral("PASS"), password);
    }
    if (m_secure && !error()) {
        command(QStringLiteral("PBSZ"), QStringLiteral("0"));
    }
    if (m_secure && !error()) {
        command(QStringLiteral("PROT"), QStringLiteral("P"));
    }
    if (!error()) {
        command(QStringLiteral("TYPE"), QStringLiteral("I"));
    }
    if (!error()) {
        askFeatures();
    }
}

// The feature lines come before the final line and are read here rather than
// by readControlResponse, which keeps final lines only.
void ZKFtpClient::askFeatures() {
    m_listsWithMlsd = false;
    sendControlRequest(QStringLiteral("FEAT"));
    QString text;
    const Clock::time_point start = Clock::now();
    while (!error() && m_controlSocket && m_controlResponses.isEmpty()) {
        if (!waitForControlData(start, QStringLiteral("reading the server's features"))) {
            return;
        }
        const std::optional<QByteArray> data = m_controlSocket->receiveData();
        if (m_controlSocket->error() || !data) {
            copySocketError(*m_controlSocket);
            return;
        }
        if (data->isEmpty()) {
            setClientError(ZKFtpErrors::ServerClosedConnection);
            return;
        }
        text += QString::fromUtf8(*data);
        const QStringList finals = ZKFtpReply::finalLines(text);
        if (finals.isEmpty()) {
            continue;
        }
        // A refusal (500, 502) only means no features beyond the old ones.
        m_listsWithMlsd =
            !ZKFtpReply::errorOf(finals.first()) && ZKFtpReply::announcesMachineListings(text);
        // Whatever came after the reply belongs to the next command.
        for (const QString &line : finals.mid(1)) {
            m_controlResponses.append(line);
        }
        return;
    }
}

void ZKFtpClient::beginPassiveConnection() {
    if (m_triesExtendedPassive && beginExtendedPassiveConnection()) {
        return;
    }
    sendControlRequest(QStringLiteral("PASV"));
    if (error()) {
        return;
    }
    const std::optional<QString> reply = readControlResponse();
    // A refusal is reported as a reply that cannot be used, with the server's
    // own text inside.
    if (!reply || error()) {
        setClientError(ZKFtpErrors::UnparsableResponse, {reply.value_or(absentText)});
        return;
    }
    QString announced;
    qint32 port = 0;
    if (!ZKFtpReply::parsePassiveReply(*reply, &announced, &port) || port == 0) {
        setClientError(ZKFtpErrors::UnparsablePassiveAddress, {*reply});
        return;
    }
    // The data goes where the control connection went, whatever address the
    // reply names: a server behind a translating router names one nobody
    // can reach, and a hostile one would send us to any machine it likes.
    const QString address = m_controlSocket->peerAddress();
    if (announced != address) {
        qCInfo(lcFtp) << "PASV named" << announced << "; connecting to" << address << "instead";
    }
    connectDataSocket(address, port);
}

// EPSV works over IPv6 as over IPv4 and names only a port, so the data goes
// to the address the control connection reached. A server that refuses it is
// asked with PASV for the rest of the connection.
bool ZKFtpClient::beginExtendedPassiveConnection() {
    sendControlRequest(QStringLiteral("EPSV"));
    if (error()) {
        return true;
    }
    const std::optional<QString> reply = readControlResponse();
    const ZKOptionalError refusal = error();
    if (reply && refusal && reply->startsWith(QLatin1Char('5'))) {
        qCInfo(lcFtp) << "EPSV refused; using PASV from now on";
        m_triesExtendedPassive = false;
        clearError();
        return false;
    }
    qint32 port = 0;
    if (!reply || refusal || !ZKFtpReply::parseExtendedPassiveReply(*reply, &port)) {
        setClientError(ZKFtpErrors::UnparsableResponse, {reply.value_or(absentText)});
        return true;
    }
    connectDataSocket(m_controlSocket->peerAddress(), port);
    return true;
}

void ZKFtpClient::connectDataSocket(const QString &address, qint32 port) {
    m_dataSocket = std::make_unique<ZKSocket>();
    // Numeric, so that nothing is ever looked up for a data connection.
    m_dataSocket->connectToAddress(address, port);
    copySocketError(*m_dataSocket);
}

void ZKFtpClient::secureDataConnection() {
    if (!m_secure || error() || !m_dataSocket) {
        return;
    }
    // The server accepts the handshake only once it took the command; it
    // may insist on the control connection's session (vsftpd does).
    if (!m_dataSocket->startTls(m_host, m_controlSocket.get())) {
        copySocketError(*m_dataSocket);
        // Its refusal of the transfer is due on the control connection.
        endPassiveConnection();
    }
}

void ZKFtpClient::endPassiveConnection() {
    if (!m_dataSocket) {
        return;
    }
    m_dataSocket->disconnect();
    const ZKOptionalError remembered = error();
    // The completion reply (226, or 426 and the like) is consumed; its
    // verdict is not what decides, a later size check or verification is.
    readControlResponse();
    setError(remembered);
    // With its reply read, the transfer is over: a later close without a new
    // transfer has no reply to wait for.
    m_dataSocket.reset();
}

void ZKFtpClient::beginRetrieve(const QString &name, quint64 offset) {
    clearError();
    beginPassiveConnection();
    if (error()) {
        return;
    }
    if (offset != 0) {
        command(QStringLiteral("REST"), QString::number(offset));
        if (error()) {
            return;
        }
    }
    command(QStringLiteral("RETR"), name);
    secureDataConnection();
}

QByteArray ZKFtpClient::retrieveBlock() {
    // As much as one receive brings, up to a block of the copy: small
    // receives cost a system call for every few KiB of a download.
    return retrieveBlockOfMaximumLength(ZKReader::standardBlockSize);
}

QByteArray ZKFtpClient::retrieveBlockOfMaximumLength(quint64 length) {
    clearError();
    if (!m_dataSocket) {
        setError(ZKFtpErrors::error(ZKFtpErrors::SocketNotConnected));
        return {};
    }
    const std::optional<QByteArray> data = m_dataSocket->receiveDataOfMaximumLength(length);
    copySocketError(*m_dataSocket);
    return data.value_or(QByteArray());
}

bool ZKFtpClient::retrieveGoesOn() const {
    return m_dataSocket && m_dataSocket->waitForMoreData();
}

void ZKFtpClient::endRetrieve() {
    // Data still on its way, not merely data already here: a reader that
    // takes large blocks often empties the buffer of a transfer that goes on.
    if (!m_dataSocket || !m_dataSocket->waitForMoreData()) {
        endPassiveConnection();
        return;
    }
    // Stopped before the end: urgent ABOR, then the same text once more as
    // an ordinary line, which puts "ABOR" CR LF CR LF on the wire.
    const ZKOptionalError remembered = error();
    // What the server still says about the abort is guessed at, not known:
    // the conversation is not lent to another endpoint after it.
    m_unreliable = true;
    // Urgent data would cut into a TLS record: over TLS the line goes alone.
    if (m_controlSocket && !m_controlSocket->isEncrypted()) {
        m_controlSocket->sendOutOfBandString(abortLine);
    }
    sendControlRequest(abortLine);
    endPassiveConnection();
    readControlResponse();
    readControlResponse();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    // Whatever else the server says about the abort is only logged. Bounded
    // in time, so that a server that keeps talking cannot hold us here.
    const Clock::time_point start = Clock::now();
    const double limit = double(ZKSocket::downloadTimeoutSeconds());
    while (m_controlSocket && m_controlSocket->hasMoreData() &&
           std::chrono::duration<double>(Clock::now() - start).count() < limit) {
        const std::optional<QByteArray> data = m_controlSocket->receiveData();
        if (!data || data->isEmpty()) {
            break;
        }
        qCInfo(lcFtp).noquote() << QString::fromUtf8(*data);
    }
    m_controlResponses.clear();
    setError(remembered, true);
}

void ZKFtpClient::beginStore(const QString &name) {
    clearError();
    beginPassiveConnection();
    if (error()) {
        return;
    }
    noteChanged(name);
    command(QStringLiteral("APPE"), name);
    secureDataConnection();
}

void ZKFtpClient::storeBlock(const QByteArray &data) {
    clearError();
    if (!m_dataSocket) {
        setError(ZKFtpErrors::error(ZKFtpErrors::SocketNotConnected));
        return;
    }
    m_dataSocket->sendData(data);
    copySocketError(*m_dataSocket);
}

void ZKFtpClient::endStore() {
    clearError();
    if (!m_dataSocket) {
        return;
    }
    // The reply comes once the server has every byte: the wait for it
    // starts when the last byte has left, however slow the link.
    if (!m_dataSocket->waitUntilSent()) {
        copySocketError(*m_dataSocket);
        m_dataSocket.reset();
        return;
    }
    m_dataSocket->finishSending();
    m_dataSocket->disconnect();
    // Unlike a download's, an upload's completion reply is the only word on
    // whether the server kept every byte: a refusal (426, 451, 552), or no
    // reply within the time limit, stays as the error.
    readControlResponse();
    m_dataSocket.reset();
}

void ZKFtpClient::changePath(const QStringList &components) {
    clearError();
    QStringList target;
    for (const QString &component : components) {
        if (component != QLatin1String("/")) {
            target.append(component);
        }
    }
    qsizetype common = 0;
    while (common < m_currentPath.size() && common < target.size() &&
           m_currentPath.at(common) == target.at(common)) {
        ++common;
    }
    // A walk goes from a folder to its sibling: "CWD ../b" is one round trip
    // where CDUP and CWD are two. When the path is refused, the steps one at
    // a time tell which folder is missing, or, when they all succeed, that
    // this server takes no paths. Servers change folder as one step: a
    // refused path leaves the working directory where it was.
    const qsizetype steps = m_currentPath.size() - common + target.size() - common;
    bool pathRefused = false;
    if (steps > 1 && m_cwdTakesPaths) {
        QStringList path(m_currentPath.size() - common, QStringLiteral(".."));
        path.append(target.mid(common));
        command(QStringLiteral("CWD"), path.join(QLatin1Char('/')));
        if (!error()) {
            m_currentPath = target;
            return;
        }
        clearError();
        pathRefused = true;
    }
    for (qsizetype up = m_currentPath.size() - common; up > 0; --up) {
        leaveSubdirectory();
        if (error()) {
            return;
        }
    }
    for (qsizetype i = m_currentPath.size(); i < target.size(); ++i) {
        enterSubdirectory(target.at(i));
        if (error()) {
            return;
        }
    }
    if (pathRefused) {
        qCInfo(lcFtp) << "CWD refused a path that its steps reach; one step at a time from now on";
        m_cwdTakesPaths = false;
    }
}

void ZKFtpClient::enterSubdirectory(const QString &name) {
    clearError();
    command(QStringLiteral("CWD"), name);
    if (!error()) {
        m_currentPath.append(name);
    }
}

void ZKFtpClient::leaveSubdirectory() {
    clearError();
    command(QStringLiteral("CDUP"));
    if (!error() && !m_currentPath.isEmpty()) {
        m_currentPath.removeLast();
    }
}

void ZKFtpClient::createDirectory(const QString &name) {
    clearError();
    noteChanged(name);
    command(QStringLiteral("MKD"), name);
    if (!error()) {
        noteMadeFolder(name);
    }
}

void ZKFtpClient::removeDirectory(const QString &name) {
    clearError();
    noteChanged(name);
    command(QStringLiteral("RMD"), name);
}

void ZKFtpClient::removeFile(const QString &name) {
    clearError();
    noteChanged(name);
    command(QStringLiteral("DELE"), name);
}

bool ZKFtpClient::canRenameItems() {
    if (m_canRename) {
        return *m_canRename;
    }
    const QString probe = QStringLiteral(".ferrowick-rename-probe");
    // An error left by an earlier command must not leave the answer unread.
    clearError();
    sendControlRequest(QStringLiteral("RNFR"), probe);
    const std::optional<QString> reply = error() ? std::nullopt : readControlResponse();
    if (!reply) {
        return true; // the connection failed: the rename itself will say so
    }
    if (reply->startsWith(QLatin1String("350"))) {
        // Waiting for a target after all: give it one that goes nowhere.
        sendControlRequest(QStringLiteral("RNTO"), probe);
        if (!error()) {
            readControlResponse();
        }
    }
    const bool unknown = reply->startsWith(QLatin1String("500")) ||
                         reply->startsWith(QLatin1String("502")) ||
                         reply->startsWith(QLatin1String("504"));
    if (unknown) {
        qCInfo(lcFtp) << "The server cannot rename; files are written under their names";
    }
    m_canRename = !unknown;
    clearError();
    return *m_canRename;
}

bool ZKFtpClient::renameItem(const QString &fromPath, const QString &toPath) {
    clearError();
    noteChanged(fromPath);
    noteChanged(toPath);
    // RNTO goes along with RNFR, a round trip less for every file. A server
    // that refused RNFR has no name waiting for a target, so it refuses the
    // RNTO as well (503); this client never leaves one waiting.
    sendControlRequests({{QStringLiteral("RNFR"), fromPath}, {QStringLiteral("RNTO"), toPath}});
    const std::optional<QString> pending = error() ? std::nullopt : readControlResponse();
    if (!pending) {
        return false;
    }
    const ZKOptionalError refusal = error();
    clearError();
    // Read whatever the first reply said: it is due either way.
    const std::optional<QString> done = readControlResponse();
    if (!done) {
        return false;
    }
    if (refusal) {
        setError(refusal, true);
        return false;
    }
    // Only 350 made the RNTO count: after any other answer, even a
    // success, the server took it on its own.
    if (!pending->startsWith(QLatin1String("350"))) {
        setClientError(ZKFtpErrors::RenameNotAccepted, {fromPath, *pending});
        return false;
    }
    if (error()) {
        return false;
    }
    if (!done || !done->startsWith(QLatin1Char('2'))) {
        setClientError(ZKFtpErrors::RenameNotFinished,
                       {fromPath, toPath, done.value_or(absentText)});
        return false;
    }
    return true;
}

ZKFtpItem ZKFtpClient::itemFromSizeReply(const QString &name, const QString &reply) const {
    ZKFtpItem item;
    item.setName(name);
    item.setType(ZKFtpItem::File);
    item.setSize(leadingSize(QStringView(reply).mid(4)));
    return item;
}

std::optional<ZKFtpItem> ZKFtpClient::sizedItem(const QString &name) {
    clearError();
    sendControlRequest(QStringLiteral("SIZE"), name);
    const std::optional<QString> reply = error() ? std::nullopt : readControlResponse();
    if (!reply) {
        // No answer at all is a broken connection, not a directory.
        return std::nullopt;
    }
    if (error()) {
        // Refused: a directory, or a file the server will not size.
        clearError();
        ZKFtpItem item;
        item.setName(name);
        item.setType(ZKFtpItem::Directory);
        item.setSize(0);
        return item;
    }
    return itemFromSizeReply(name, *reply);
}

std::optional<QString> ZKFtpClient::receiveListing(const QString &command) {
    clearError();
    beginPassiveConnection();
    if (error()) {
        return std::nullopt;
    }
    sendControlRequest(command);
    const std::optional<QString> opening = error() ? std::nullopt : readControlResponse();
    if (!opening || error()) {
        // Refused before any data: the data connection carries nothing.
        m_dataSocket.reset();
        return std::nullopt;
    }
    secureDataConnection();
    if (error()) {
        return std::nullopt;
    }
    const std::optional<QByteArray> listing = m_dataSocket->receiveRemainingData();
    const bool received = !m_dataSocket->error();
    copySocketError(*m_dataSocket);
    if (opening->startsWith(QLatin1Char('2'))) {
        m_dataSocket.reset(); // the completion came first: no reply is due
    } else {
        endPassiveConnection();
    }
    if (!received || error() || !listing) {
        return std::nullopt;
    }
    std::optional<QString> text = ZKSocket::decodeUtf8(*listing);
    if (!text) {
        setClientError(ZKFtpErrors::ListingNotUtf8);
    }
    return text;
}

std::optional<QList<ZKFtpItem>> ZKFtpClient::listMachineItems() {
    const std::optional<QString> text = receiveListing(QStringLiteral("MLSD"));
    if (!text) {
        const ZKOptionalError refusal = error();
        const bool unknown =
            refusal && refusal->domain() == errorDomain &&
            (refusal->code() == 500 || refusal->code() == 502 || refusal->code() == 504);
        if (unknown) {
            qCInfo(lcFtp) << "MLSD refused; listing with NLST from now on";
            m_listsWithMlsd = false;
            clearError();
        }
        return std::nullopt;
    }
    QList<ZKFtpItem> items;
    for (const QString &line :
         text->split(QRegularExpression(QStringLiteral("[\\r\\n]+")), Qt::SkipEmptyParts)) {
        // The name is everything after the first space, whatever it holds.
        const qsizetype space = line.indexOf(QLatin1Char(' '));
        const QString name = space < 0 ? QString() : line.mid(space + 1);
        const QString type = ZKFtpReply::machineListingType(line);
        if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") ||
            type == QLatin1String("cdir") || type == QLatin1String("pdir")) {
            continue; // the listed folder itself and its parent
        }
        const std::optional<ZKFtpItem> parsed = ZKFtpItem::isMachineReadableListing(line)
                                                    ? ZKFtpItem::itemWithString(line)
                                                    : std::nullopt;
        if ((type == QLatin1String("file") || type == QLatin1String("dir")) && parsed &&
            parsed->name() == name) {
            items.append(*parsed);
            continue;
        }
        // A link, a type of the server's own, or facts this reader cannot
        // read: what SIZE says decides.
        std::optional<ZKFtpItem> sized = sizedItem(name);
        if (!sized) {
            return std::nullopt;
        }
        if (parsed) {
            sized->setModificationDate(parsed->modificationDate());
        }
        items.append(*sized);
    }
    clearError();
    return items;
}

std::optional<QList<ZKFtpItem>> ZKFtpClient::listLongItems() {
    const std::optional<QString> text = receiveListing(QStringLiteral("LIST"));
    if (!text) {
        const ZKOptionalError refusal = error();
        if (refusal && refusal->domain() == errorDomain &&
            (refusal->code() == 500 || refusal->code() == 502 || refusal->code() == 504)) {
            qCInfo(lcFtp) << "LIST refused; listing with NLST from now on";
            m_listsLong = false;
            clearError();
        }
        return std::nullopt;
    }
    QList<ZKFtpItem> items;
    for (const QString &line :
         text->split(QRegularExpression(QStringLiteral("[\\r\\n]+")), Qt::SkipEmptyParts)) {
        if (line.startsWith(QLatin1String("total "))) {
            continue;
        }
        const std::optional<ZKFtpItem> item = ZKFtpItem::fileOrFolderOfLongListing(line);
        if (!item) {
            // A link, or a form this reader does not know: NLST and SIZE
            // say what every entry is.
            qCInfo(lcFtp) << "Listing" << m_currentPath << "with NLST: LIST gave" << line;
            return std::nullopt;
        }
        if (item->name() != QLatin1String(".") && item->name() != QLatin1String("..")) {
            items.append(*item);
        }
    }
    return items;
}

namespace {

// Enough for the folders a copy has entered and not yet left, and for what
// an analysis listed shortly before the copy, in all but the largest trees;
// older ones are asked about again. The entries bound the memory.
constexpr qsizetype maximumListings = 256;
constexpr qsizetype maximumListedEntries = 100000;

QString listingKey(const QStringList &path) {
    return path.join(QLatin1Char('/'));
}

} // namespace

void ZKFtpClient::noteListing(const QList<ZKFtpItem> &items) {
    const QString key = listingKey(m_currentPath);
    Listing &listing = m_listings[key];
    listing.items = items;
    listing.positions.clear();
    for (qsizetype i = 0; i < items.size(); ++i) {
        listing.positions.insert(items.at(i).name(), i);
    }
    listing.changedNames.clear();
    listing.taken = Clock::now();
    m_listingOrder.removeOne(key);
    m_listingOrder.append(key);
    qsizetype entries = 0;
    for (const Listing &kept : std::as_const(m_listings)) {
        entries += kept.items.size();
    }
    while (m_listingOrder.size() > 1 &&
           (m_listingOrder.size() > maximumListings || entries > maximumListedEntries)) {
        entries -= m_listings.take(m_listingOrder.takeFirst()).items.size();
    }
}

void ZKFtpClient::forgetListings() {
    m_listings.clear();
    m_listingOrder.clear();
    m_madeEmpty.clear();
}

void ZKFtpClient::noteMadeFolder(const QString &name) {
    if (name.contains(QLatin1Char('/'))) {
        return;
    }
    const auto listing = m_listings.find(listingKey(m_currentPath));
    if (listing != m_listings.end()) {
        ZKFtpItem folder;
        folder.setName(name);
        folder.setType(ZKFtpItem::Directory);
        folder.setSize(0);
        const auto position = listing->positions.constFind(name);
        if (position != listing->positions.cend()) {
            listing->items[*position] = folder;
        } else {
            listing->positions.insert(name, listing->items.size());
            listing->items.append(folder);
        }
        listing->changedNames.remove(name);
    }
    m_madeEmpty.insert(listingKey(m_currentPath + QStringList{name}));
}

void ZKFtpClient::noteChanged(const QString &name) {
    // A path may lead to any folder, this one included.
    if (name.contains(QLatin1Char('/'))) {
        forgetListings();
        return;
    }
    const QString key = listingKey(m_currentPath);
    m_madeEmpty.remove(key);
    const auto listing = m_listings.find(key);
    if (listing != m_listings.end()) {
        listing->changedNames.insert(name);
    }
}

std::optional<ZKFtpItem> ZKFtpClient::listedItem(const QString &name, bool *listed) const {
    return listedItemIn(m_currentPath, name, listed);
}

std::optional<ZKFtpItem> ZKFtpClient::listedItemIn(const QStringList &folder, const QString &name,
                                                   bool *listed) const {
    QStringList path = folder;
    path.removeAll(QStringLiteral("/"));
    const QString key = listingKey(path);
    const auto listing = m_listings.constFind(key);
    *listed = listing != m_listings.cend() && !listing->changedNames.contains(name);
    if (!*listed) {
        return std::nullopt;
    }
    m_listingOrder.removeOne(key);
    m_listingOrder.append(key);
    const auto found = listing->positions.constFind(name);
    return found == listing->positions.cend() ? std::nullopt
                                              : std::optional<ZKFtpItem>(listing->items.at(*found));
}

std::optional<bool> ZKFtpClient::isFile(const QString &name) {
    clearError();
    if (m_prefetched && m_prefetched->path == m_currentPath && m_prefetched->name == name) {
        const std::optional<bool> answer = m_prefetched->isFile;
        m_prefetched.reset();
        return answer;
    }
    sendControlRequest(QStringLiteral("SIZE"), name);
    const std::optional<QString> reply = error() ? std::nullopt : readControlResponse();
    if (!reply) {
        return std::nullopt;
    }
    const bool unknown = reply->startsWith(QLatin1String("500")) ||
                         reply->startsWith(QLatin1String("502")) ||
                         reply->startsWith(QLatin1String("504"));
    const bool sized = !error();
    clearError();
    if (unknown) {
        return std::nullopt;
    }
    return sized;
}

std::optional<QList<ZKFtpItem>> ZKFtpClient::listItemsReusingRecent() {
    const QString key = listingKey(m_currentPath);
    const auto listing = m_listings.constFind(key);
    if (listing != m_listings.cend() && listing->changedNames.isEmpty() &&
        Clock::now() - listing->taken < listingReuseLimit && !m_madeEmpty.contains(key)) {
        clearError();
        m_listingOrder.removeOne(key);
        m_listingOrder.append(key);
        return listing->items;
    }
    return listItems();
}

std::optional<QList<ZKFtpItem>> ZKFtpClient::listItems() {
    // Made by this client moments ago: a copy into a new folder lists it
    // first, to see what an earlier run left there.
    if (m_madeEmpty.remove(listingKey(m_currentPath))) {
        clearError();
        noteListing({});
        return QList<ZKFtpItem>();
    }
    if (m_listsWithMlsd) {
        std::optional<QList<ZKFtpItem>> items = listMachineItems();
        if (items) {
            noteListing(*items);
        }
        if (items || m_listsWithMlsd) {
            return items;
        }
    }
    if (m_listsLong) {
        std::optional<QList<ZKFtpItem>> items = listLongItems();
        if (items) {
            noteListing(*items);
            return items;
        }
        if (error()) {
            return std::nullopt;
        }
    }
    const std::optional<QString> listing = receiveListing(QStringLiteral("NLST"));
    if (!listing) {
        return std::nullopt;
    }

    QList<ZKFtpItem> items;
    QStringList names;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= listing->size(); ++i) {
        if (i == listing->size() || listing->at(i) == QLatin1Char('\r') ||
            listing->at(i) == QLatin1Char('\n')) {
            const QString name = listing->mid(start, i - start);
            if (!name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")) {
                names.append(name);
            }
            start = i + 1;
        }
    }
    for (const QString &name : std::as_const(names)) {
        const std::optional<ZKFtpItem> item = sizedItem(name);
        if (!item) {
            return std::nullopt;
        }
        items.append(*item);
    }
    clearError();
    noteListing(items);
    return items;
}

std::optional<ZKFtpItem> ZKFtpClient::itemWithName(const QString &name, const QString &thenAsk) {
    clearError();
    QList<std::pair<QString, QString>> requests{{QStringLiteral("SIZE"), name}};
    if (!thenAsk.isEmpty()) {
        requests.append({QStringLiteral("SIZE"), thenAsk});
    }
    sendControlRequests(requests);
    std::optional<QString> reply = error() ? std::nullopt : readControlResponse();
    if (reply && !thenAsk.isEmpty()) {
        const ZKOptionalError first = error();
        clearError();
        // Without it (the connection broke) the first answer still counts;
        // the next command finds out the rest.
        if (const std::optional<QString> second = readControlResponse()) {
            const bool unknown = second->startsWith(QLatin1String("500")) ||
                                 second->startsWith(QLatin1String("502")) ||
                                 second->startsWith(QLatin1String("504"));
            m_prefetched = Prefetched{m_currentPath, thenAsk,
                                      unknown ? std::nullopt : std::optional<bool>(!error())};
        }
        setError(first, true);
    }
    if (reply && !error()) {
        return itemFromSizeReply(name, *reply);
    }
    clearError();
    command(QStringLiteral("CWD"), name);
    if (error()) {
        return std::nullopt;
    }
    command(QStringLiteral("CDUP"));
    ZKFtpItem item;
    item.setName(name);
    item.setType(ZKFtpItem::Directory);
    item.setSize(0);
    return item;
}

QString ZKFtpClient::parentPath(const QString &path) {
    QStringList components;
    for (const QString &component : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        components.append(component);
    }
    if (!components.isEmpty()) {
        components.removeLast();
    }
    return QStringLiteral("/%1").arg(components.join(QLatin1Char('/')));
}
