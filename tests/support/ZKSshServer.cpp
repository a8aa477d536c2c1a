// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKSshServer.h"

#include "ZKTestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>

#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int startAttempts = 3;

quint16 freePort(const QString &host) {
    QTcpServer probe;
    if (!probe.listen(QHostAddress(host), 0)) {
        return 0;
    }
    return probe.serverPort();
}

// Every process below root, read from /proc before any of them ends.
QList<pid_t> descendants(pid_t root) {
    QMultiHash<pid_t, pid_t> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &entry : entries) {
        bool isPid = false;
        const pid_t pid = entry.toInt(&isPid);
        QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
        if (!isPid || !stat.open(QIODevice::ReadOnly)) {
            continue;
        }
        // "pid (name) state ppid ...": the name may hold spaces and brackets.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 1) {
            children.insert(pid_t(fields.at(1).toInt()), pid);
        }
    }
    QList<pid_t> found;
    QList<pid_t> pending{root};
    while (!pending.isEmpty()) {
        const QList<pid_t> below = children.values(pending.takeLast());
        found += below;
        pending += below;
    }
    return found;
}

QString userName() {
    const passwd *account = ::getpwuid(::geteuid());
    return account ? QString::fromLocal8Bit(account->pw_name) : QString();
}

} // namespace

ZKSshServer::ZKSshServer(const QString &host)
    : m_host(host) {
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // A test that dies must not leave its daemon running.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

ZKSshServer::~ZKSshServer() {
    stop();
}

bool ZKSshServer::generateKey(const QString &path, const QString &passphrase, QString *error) {
    QFile::remove(path);
    QFile::remove(path + QStringLiteral(".pub"));
    QProcess keygen;
    keygen.setProcessChannelMode(QProcess::MergedChannels);
    keygen.start(QStringLiteral("ssh-keygen"), {"-q", "-t", "ed25519", "-N", passphrase, "-C",
                                                QStringLiteral("ferrowick-test"), "-f", path});
    if (!keygen.waitForFinished(20000) || keygen.exitStatus() != QProcess::NormalExit ||
        keygen.exitCode() != 0) {
        if (error) {
            *error = QStringLiteral("ssh-keygen failed: %1%2")
                         .arg(keygen.errorString(), QString::fromLocal8Bit(keygen.readAll()));
        }
        return false;
    }
    return true;
}

QString ZKSshServer::knownHostsLine(const QString &host, quint16 port,
                                    const QString &publicKeyPath) {
    // "ssh-ed25519 AAAA... comment": the comment does not belong.
    const QList<QByteArray> words = ZKTestSupport::readFile(publicKeyPath).simplified().split(' ');
    if (words.size() < 2) {
        return {};
    }
    return QStringLiteral("[%1]:%2 %3 %4")
        .arg(host)
        .arg(port)
        .arg(QString::fromLatin1(words.at(0)), QString::fromLatin1(words.at(1)));
}

bool ZKSshServer::writeKnownHosts(const QString &home, const QString &line) {
    const QString folder = QDir(home).filePath(QStringLiteral(".ssh"));
    const QString path = QDir(folder).filePath(QStringLiteral("known_hosts"));
    // The client ignores files that others may write.
    return QDir().mkpath(folder) &&
           QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                             QFileDevice::ExeOwner) &&
           ZKTestSupport::writeFile(path, (line + QLatin1Char('\n')).toUtf8()) &&
           QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

QUrl ZKSshServer::sftpUrl(const QString &user, const QString &host, quint16 port,
                          const QString &folder, const QString &relative) {
    QUrl url;
    url.setScheme(QStringLiteral("sftp"));
    url.setUserName(user);
    url.setHost(host);
    url.setPort(port);
    QString tail = relative;
    while (tail.startsWith(QLatin1Char('/'))) {
        tail.remove(0, 1);
    }
    url.setPath(folder + QLatin1Char('/') + tail);
    return url;
}

QString ZKSshServer::filePath(const QString &name) const {
    return QDir(m_folder->path()).filePath(name);
}

QUrl ZKSshServer::url(const QString &relative) const {
    return sftpUrl(m_username, m_host, m_port, m_root, relative);
}

QString ZKSshServer::knownHostsLine() const {
    return knownHostsLine(m_host, m_port, filePath(QStringLiteral("host_ed25519.pub")));
}

QString ZKSshServer::hostKeyFingerprint() const {
    QProcess keygen;
    keygen.start(QStringLiteral("ssh-keygen"),
                 {"-l", "-E", "sha256", "-f", filePath(QStringLiteral("host_ed25519.pub"))});
    if (!keygen.waitForFinished(10000) || keygen.exitCode() != 0) {
        return {};
    }
    // "256 SHA256:... comment (ED25519)"
    const QList<QByteArray> words = keygen.readAllStandardOutput().simplified().split(' ');
    return words.size() > 1 ? QString::fromLatin1(words.at(1)) : QString();
}

bool ZKSshServer::writeClientFiles(const QString &home) const {
    return writeKnownHosts(home, knownHostsLine());
}

QByteArray ZKSshServer::log() const {
    return m_folder ? ZKTestSupport::readFile(filePath(QStringLiteral("sshd.log"))) : QByteArray();
}

bool ZKSshServer::fail(const QString &reason) {
    m_errorString = QStringLiteral("sshd: %1").arg(reason);
    const QByteArray logged = log();
    if (!logged.isEmpty()) {
        m_errorString += QStringLiteral("\n") + QString::fromLocal8Bit(logged.right(2000));
    }
    stop();
    return false;
}

bool ZKSshServer::makeHostKey() {
    QString error;
    if (!generateKey(filePath(QStringLiteral("host_ed25519")), QString(), &error)) {
        return fail(error);
    }
    return true;
}

bool ZKSshServer::makeKeys() {
    QString error;
    m_userKey = filePath(QStringLiteral("user_ed25519"));
    m_passphraseKey = filePath(QStringLiteral("user_passphrase_ed25519"));
    if (!makeHostKey()) {
        return false;
    }
    if (!generateKey(m_userKey, QString(), &error) ||
        !generateKey(m_passphraseKey, passphrase(), &error)) {
        return fail(error);
    }
    const QByteArray authorized = ZKTestSupport::readFile(m_userKey + QStringLiteral(".pub")) +
                                  ZKTestSupport::readFile(m_passphraseKey + QStringLiteral(".pub"));
    if (!ZKTestSupport::writeFile(filePath(QStringLiteral("authorized_keys")), authorized)) {
        return fail(QStringLiteral("cannot write authorized_keys"));
    }
    return true;
}

bool ZKSshServer::writeConfig() {
    const QString listen = m_host.contains(QLatin1Char(':'))
                               ? QStringLiteral("[%1]:%2").arg(m_host).arg(m_port)
                               : QStringLiteral("%1:%2").arg(m_host).arg(m_port);
    // Keys only, for the one account; tests open many connections at once,
    // which the default start-up limits would drop at random.
    const QString text =
        QStringLiteral("ListenAddress %1\nHostKey %2\nAuthorizedKeysFile %3\nPidFile %4\n"
                       "StrictModes no\nUsePAM no\nPasswordAuthentication no\n"
                       "KbdInteractiveAuthentication no\nPubkeyAuthentication yes\n"
                       "PermitRootLogin prohibit-password\nAllowUsers %5\n"
                       "Subsystem sftp internal-sftp\nLogLevel VERBOSE\nUseDNS no\n"
                       "PrintMotd no\nMaxStartups 100\nMaxSessions 32\nLoginGraceTime 30\n")
            .arg(listen, filePath(QStringLiteral("host_ed25519")),
                 filePath(QStringLiteral("authorized_keys")), filePath(QStringLiteral("sshd.pid")),
                 m_username);
    if (!ZKTestSupport::writeFile(filePath(QStringLiteral("sshd_config")), text.toUtf8())) {
        return fail(QStringLiteral("cannot write sshd_config"));
    }
    return true;
}

bool ZKSshServer::start() {
    stop();
    if (!QFileInfo(program()).isExecutable()) {
        return fail(QStringLiteral("%1 is not installed (openssh-server)").arg(program()));
    }
    m_username = userName();
    if (m_username.isEmpty()) {
        return fail(QStringLiteral("the current user has no account name"));
    }
    // As root the daemon insists on its privilege separation folder.
    if (::geteuid() == 0 && !QFileInfo::exists(QStringLiteral("/run/sshd"))) {
        if (!QDir().mkpath(QStringLiteral("/run/sshd")) ||
            !QFile::setPermissions(QStringLiteral("/run/sshd"), QFileDevice::Permissions(0x7755))) {
            return fail(QStringLiteral("cannot make /run/sshd"));
        }
    }
    m_folder = std::make_unique<QTemporaryDir>();
    if (!m_folder->isValid()) {
        return fail(QStringLiteral("no temporary folder: %1").arg(m_folder->errorString()));
    }
    m_root = filePath(QStringLiteral("root"));
    if (!QDir().mkpath(m_root)) {
        return fail(QStringLiteral("cannot make %1").arg(m_root));
    }
    if (!makeKeys()) {
        return false;
    }
    // Another process may take the free port before the daemon does.
    for (int attempt = 0; attempt < startAttempts; ++attempt) {
        m_port = freePort(m_host);
        if (m_port == 0) {
            return fail(QStringLiteral("cannot listen on %1 here").arg(m_host));
        }
        if (writeConfig() && launch()) {
            return true;
        }
    }
    return false;
}

bool ZKSshServer::launch() {
    m_errorString.clear();
    m_process.start(program(), {"-D", "-e", "-E", filePath(QStringLiteral("sshd.log")), "-f",
                                filePath(QStringLiteral("sshd_config"))});
    if (!m_process.waitForStarted(5000)) {
        return fail(QStringLiteral("cannot start: %1").arg(m_process.errorString()));
    }
    // Ready once it sends its version.
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        if (m_process.state() != QProcess::Running) {
            return fail(QStringLiteral("stopped at once: %1")
                            .arg(QString::fromLocal8Bit(m_process.readAll())));
        }
        QTcpSocket probe;
        probe.connectToHost(QHostAddress(m_host), m_port);
        if (probe.waitForConnected(500) && probe.waitForReadyRead(2000) &&
            probe.readAll().startsWith("SSH-")) {
            return true;
        }
        // Also lets QProcess notice an early exit.
        m_process.waitForFinished(100);
    }
    return fail(QStringLiteral("no greeting on port %1").arg(m_port));
}

void ZKSshServer::stop() {
    if (m_process.state() == QProcess::Running) {
        // Each session runs in processes of its own that outlive the
        // listening one; a stopped server must not keep serving them.
        for (const pid_t session : descendants(pid_t(m_process.processId()))) {
            ::kill(session, SIGKILL);
        }
    }
    ZKTestSupport::stopProcess(m_process);
}

bool ZKSshServer::restart() {
    if (!m_folder) {
        return start();
    }
    stop();
    return launch();
}

bool ZKSshServer::replaceHostKey() {
    if (!m_folder) {
        return fail(QStringLiteral("not started"));
    }
    stop();
    return makeHostKey() && launch();
}
