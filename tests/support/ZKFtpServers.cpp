// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFtpServers.h"

#include "ZKTestSupport.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>

#include <optional>

#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int passivePortCount = 20;

QString ftpdFolder() {
    const QString configured = qEnvironmentVariable("FERROWICK_FTPD_DIR");
    return configured.isEmpty() ? QStringLiteral("/var/cache/ferrowick/ftpd") : configured;
}

quint16 freePort(const QString &host) {
    QTcpServer probe;
    probe.listen(QHostAddress(host), 0);
    return probe.serverPort();
}

// A SHA-512 crypt(3) hash, as the daemons' password files hold them.
std::optional<QByteArray> cryptHash(const QString &password) {
    QProcess hasher;
    hasher.start(QStringLiteral("openssl"), {"passwd", "-6", "-stdin"});
    hasher.write(password.toUtf8() + '\n');
    hasher.waitForBytesWritten(5000);
    hasher.closeWriteChannel();
    if (!hasher.waitForFinished(10000) || hasher.exitCode() != 0) {
        return std::nullopt;
    }
    return hasher.readAllStandardOutput().trimmed();
}

} // namespace

ZKFtpServers::ZKFtpServers(Kind kind, const QString &host)
    : m_kind(kind)
    , m_host(host) {
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // A test that dies must not leave its daemon running.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

ZKFtpServers::~ZKFtpServers() {
    stop();
}

QString ZKFtpServers::name(Kind kind) {
    switch (kind) {
    case Vsftpd:
        return QStringLiteral("vsftpd");
    case PureFtpd:
        return QStringLiteral("pure-ftpd");
    case Proftpd:
        return QStringLiteral("proftpd");
    }
    return {};
}

QString ZKFtpServers::program(Kind kind) {
    QString path;
    switch (kind) {
    case Vsftpd:
        path = QStringLiteral("/usr/sbin/vsftpd");
        break;
    case PureFtpd:
        path = ftpdFolder() + QStringLiteral("/pure-ftpd/usr/sbin/pure-ftpd");
        break;
    case Proftpd:
        path = ftpdFolder() + QStringLiteral("/proftpd-core/usr/sbin/proftpd");
        break;
    }
    return QFileInfo(path).isExecutable() ? path : QString();
}

bool ZKFtpServers::fail(const QString &reason) {
    m_errorString = QStringLiteral("%1: %2").arg(name(m_kind), reason);
    stop();
    return false;
}

QUrl ZKFtpServers::url(const QString &path) const {
    QUrl url;
    url.setScheme(m_secure ? QStringLiteral("ftps") : QStringLiteral("ftp"));
    url.setUserName(m_username);
    url.setHost(m_host);
    url.setPort(m_port);
    url.setPath(path);
    return url;
}

QString ZKFtpServers::commandLogPath() const {
    return QDir(m_folder->path()).filePath(QStringLiteral("commands.log"));
}

std::optional<QStringList> ZKFtpServers::loggedCommands() const {
    if (m_kind == PureFtpd) {
        return std::nullopt;
    }
    QFile log(commandLogPath());
    if (!log.open(QIODevice::ReadOnly)) {
        return QStringList();
    }
    QStringList commands;
    for (const QByteArray &line : log.readAll().split('\n')) {
        // vsftpd: ... FTP command: Client "127.0.0.1", "SIZE f1"
        // proftpd: SIZE
        QByteArray command = line.trimmed();
        const qsizetype marker = line.indexOf("FTP command: ");
        if (m_kind == Vsftpd) {
            if (marker < 0) {
                continue;
            }
            command = line.mid(line.indexOf(", \"", marker) + 3);
        }
        command = QByteArray(command.split(' ').constFirst()).replace('"', "").toUpper();
        if (!command.isEmpty()) {
            commands.append(QString::fromLatin1(command));
        }
    }
    return commands;
}

void ZKFtpServers::handOver(const QString &path) const {
    if (m_uid < 0) {
        return;
    }
    const QByteArray top = QFile::encodeName(path);
    [[maybe_unused]] const int ignored = ::lchown(top.constData(), uid_t(m_uid), gid_t(m_gid));
    QDirIterator it(path, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QByteArray entry = QFile::encodeName(it.next());
        [[maybe_unused]] const int result = ::lchown(entry.constData(), uid_t(m_uid), gid_t(m_gid));
    }
}

bool ZKFtpServers::start() {
    stop();
    if (::geteuid() != 0) {
        return fail(QStringLiteral("the daemons are started as root only"));
    }
    if (program(m_kind).isEmpty()) {
        return fail(QStringLiteral("not installed (run scripts/install-deps.sh)"));
    }
    m_folder = std::make_unique<QTemporaryDir>();
    // The daemons' account must be able to reach its root.
    QFile::setPermissions(m_folder->path(), QFileDevice::Permissions(0x7755));
    m_root = QDir(m_folder->path()).filePath(QStringLiteral("root"));
    QDir().mkpath(m_root);
    m_port = freePort(m_host);
    if (m_port == 0) {
        return fail(QStringLiteral("cannot listen on %1 here").arg(m_host));
    }
    m_passivePort = freePort(m_host);
    if (m_secure && !makeCertificate()) {
        return false;
    }
    if (m_passivePort > 65535 - passivePortCount) {
        m_passivePort = quint16(m_passivePort - passivePortCount);
    }
    switch (m_kind) {
    case Vsftpd:
        return startVsftpd();
    case PureFtpd:
        return startPureFtpd();
    case Proftpd:
        return startProftpd();
    }
    return false;
}

bool ZKFtpServers::makeCertificate() {
    const QDir folder(m_folder->path());
    m_certificate = folder.filePath(QStringLiteral("server.crt"));
    m_key = folder.filePath(QStringLiteral("server.key"));
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"),
                  {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                   "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1,IP:::1",
                   "-keyout", m_key, "-out", m_certificate});
    if (!openssl.waitForFinished(20000) || openssl.exitCode() != 0) {
        return fail(QStringLiteral("openssl req failed: %1")
                        .arg(QString::fromLocal8Bit(openssl.readAll())));
    }
    openssl.start(QStringLiteral("openssl"),
                  {"x509", "-noout", "-fingerprint", "-sha256", "-in", m_certificate});
    if (!openssl.waitForFinished(20000) || openssl.exitCode() != 0) {
        return fail(QStringLiteral("openssl x509 failed"));
    }
    // "sha256 Fingerprint=AB:CD:..."
    m_fingerprint = QString::fromLatin1(openssl.readAll().trimmed()).section(QLatin1Char('='), 1);
    // The daemons that drop to the "ftp" account read the key after that.
    handOver(m_certificate);
    handOver(m_key);
    return true;
}

bool ZKFtpServers::launch(const QString &program, const QStringList &arguments) {
    m_process.start(program, arguments);
    if (!m_process.waitForStarted(5000)) {
        return fail(QStringLiteral("cannot start %1: %2").arg(program, m_process.errorString()));
    }
    // Ready once it greets.
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        if (m_process.state() != QProcess::Running) {
            return fail(QStringLiteral("stopped at once: %1")
                            .arg(QString::fromLocal8Bit(m_process.readAll())));
        }
        QTcpSocket probe;
        probe.connectToHost(QHostAddress(m_host), m_port);
        if (probe.waitForConnected(500) && probe.waitForReadyRead(2000) &&
            probe.readAll().startsWith("220")) {
            return true;
        }
        // Also lets QProcess notice an early exit.
        m_process.waitForFinished(100);
    }
    return fail(QStringLiteral("no greeting on port %1: %2")
                    .arg(m_port)
                    .arg(QString::fromLocal8Bit(m_process.readAll())));
}

bool ZKFtpServers::restart() {
    const QString program = m_process.program();
    const QStringList arguments = m_process.arguments();
    stop();
    return launch(program, arguments);
}

void ZKFtpServers::stop() {
    ZKTestSupport::stopProcess(m_process);
}

bool ZKFtpServers::startVsftpd() {
    // Anonymous and writable, running as the launching user: the simplest
    // setup that needs no system account.
    m_username = QStringLiteral("anonymous");
    m_password = QStringLiteral("guest");
    const QString empty = QDir(m_folder->path()).filePath(QStringLiteral("empty"));
    QDir().mkpath(empty);
    const QString config = QDir(m_folder->path()).filePath(QStringLiteral("vsftpd.conf"));
    // pasv_address is IPv4 only; over IPv6 EPSV names the port alone.
    const QString listening =
        isIpv6() ? QStringLiteral("listen=NO\nlisten_ipv6=YES\nlisten_address6=%1\n").arg(m_host)
                 : QStringLiteral("listen=YES\nlisten_address=%1\npasv_address=%1\n").arg(m_host);
    const QString text =
        listening +
        QStringLiteral("listen_port=%1\nbackground=NO\n"
                       "anonymous_enable=YES\nlocal_enable=NO\nwrite_enable=YES\n"
                       "anon_upload_enable=YES\nanon_mkdir_write_enable=YES\n"
                       "anon_other_write_enable=YES\nanon_world_readable_only=NO\n"
                       "anon_root=%2\nno_anon_password=YES\nanon_umask=022\n"
                       "allow_writeable_chroot=YES\nsecure_chroot_dir=%3\n"
                       "pasv_enable=YES\npasv_min_port=%4\npasv_max_port=%5\n"
                       "run_as_launching_user=YES\n"
                       "seccomp_sandbox=NO\nisolate=NO\nisolate_network=NO\n"
                       "xferlog_enable=YES\nxferlog_std_format=NO\nlog_ftp_protocol=YES\n"
                       "vsftpd_log_file=%6\nsyslog_enable=NO\ncheck_shell=NO\n"
                       "max_per_ip=0\nmax_clients=0\n")
            .arg(m_port)
            .arg(m_root, empty)
            .arg(m_passivePort)
            .arg(m_passivePort + passivePortCount - 1)
            .arg(commandLogPath());
    // Its default cipher list is one OpenSSL no longer offers.
    const QString tls = m_secure ? QStringLiteral("ssl_enable=YES\nallow_anon_ssl=YES\n"
                                                  "force_anon_logins_ssl=YES\n"
                                                  "force_anon_data_ssl=YES\nssl_ciphers=HIGH\n"
                                                  "rsa_cert_file=%1\nrsa_private_key_file=%2\n")
                                       .arg(m_certificate, m_key)
                                 : QString();
    if (!ZKTestSupport::writeFile(config, (text + tls).toUtf8())) {
        return fail(QStringLiteral("cannot write %1").arg(config));
    }
    return launch(program(Vsftpd), {config});
}

// The account "tester" with the given password and the "ftp" account's
// ids, as a line of a password file up to its home (rest follows).
std::optional<QByteArray> ZKFtpServers::testerAccount(const QString &password) {
    const passwd *account = ::getpwnam("ftp");
    if (!account) {
        fail(QStringLiteral("there is no \"ftp\" account"));
        return std::nullopt;
    }
    m_uid = int(account->pw_uid);
    m_gid = int(account->pw_gid);
    m_username = QStringLiteral("tester");
    m_password = password;
    handOver(m_root);
    // pure-pw would hash with argon2 at a cost meant to slow down guessing,
    // which also makes every login slower than the tests' time-out. A
    // SHA-512 crypt hash is just as valid to both daemons.
    const std::optional<QByteArray> hash = cryptHash(m_password);
    if (!hash) {
        fail(QStringLiteral("openssl passwd failed"));
        return std::nullopt;
    }
    return m_username.toUtf8() + ':' + *hash + ':' + QByteArray::number(m_uid) + ':' +
           QByteArray::number(m_gid) + "::" + QFile::encodeName(m_root);
}

bool ZKFtpServers::startPureFtpd() {
    const std::optional<QByteArray> account = testerAccount(QStringLiteral("pure-secret"));
    const QDir folder(m_folder->path());
    const QString passwdFile = folder.filePath(QStringLiteral("pureftpd.passwd"));
    const QString database = folder.filePath(QStringLiteral("pureftpd.pdb"));
    if (!account) {
        return false;
    }
    if (!ZKTestSupport::writeFile(passwdFile, *account + "/./::::::::::::\n")) {
        return fail(QStringLiteral("cannot write %1").arg(passwdFile));
    }
    QProcess pw;
    pw.start(ftpdFolder() + QStringLiteral("/pure-ftpd/usr/bin/pure-pw"),
             {"mkdb", database, "-f", passwdFile});
    if (!pw.waitForFinished(10000) || pw.exitCode() != 0) {
        return fail(QStringLiteral("pure-pw failed: %1").arg(QString::fromLocal8Bit(pw.readAll())));
    }
    QStringList arguments{
        "-S", QStringLiteral("%1,%2").arg(m_host).arg(m_port),
        "-p", QStringLiteral("%1:%2").arg(m_passivePort).arg(m_passivePort + passivePortCount - 1),
        "-l", "puredb:" + database,
        "-A", "-E",
        "-H"};
    if (m_secure) {
        // 3: TLS for the login and for every data connection.
        arguments << "-Y"
                  << "3"
                  << "-2" << m_certificate + ',' + m_key;
    }
    return launch(program(PureFtpd), arguments);
}

bool ZKFtpServers::startProftpd() {
    const std::optional<QByteArray> account = testerAccount(QStringLiteral("pro-secret"));
    const QDir folder(m_folder->path());
    const QString passwdFile = folder.filePath(QStringLiteral("proftpd.passwd"));
    if (!account) {
        return false;
    }
    if (!ZKTestSupport::writeFile(passwdFile, *account + ":/bin/false\n")) {
        return fail(QStringLiteral("cannot write %1").arg(passwdFile));
    }
    QFile::setPermissions(passwdFile, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const group *accountGroup = ::getgrgid(gid_t(m_gid));
    const QString groupName =
        accountGroup ? QString::fromLocal8Bit(accountGroup->gr_name) : QStringLiteral("nogroup");
    const QString config = folder.filePath(QStringLiteral("proftpd.conf"));
    const QString text =
        QStringLiteral("ServerType standalone\nDefaultServer on\nPort %1\nDefaultAddress %7\n"
                       "UseIPv6 %8\nUser ftp\nGroup %2\nPassivePorts %3 %4\n"
                       "PidFile %5/proftpd.pid\nScoreboardFile %5/proftpd.scoreboard\n"
                       "DelayTable none\nWtmpLog off\nTransferLog none\nRequireValidShell off\n"
                       "AllowStoreRestart on\nAllowRetrieveRestart on\nUseReverseDNS off\n"
                       "AuthOrder mod_auth_file.c\nAuthUserFile %6\n"
                       "DefaultRoot ~\nUmask 022\nMaxInstances 100\n"
                       "LogFormat commands \"%m\"\nExtendedLog %9 ALL commands\n"
                       "<Directory />\n  AllowOverwrite on\n</Directory>\n")
            .arg(m_port)
            .arg(groupName)
            .arg(m_passivePort)
            .arg(m_passivePort + passivePortCount - 1)
            .arg(m_folder->path(), passwdFile, m_host,
                 isIpv6() ? QStringLiteral("on") : QStringLiteral("off"))
            .arg(commandLogPath());
    // Debian ships its TLS module apart; the tests unpack it beside the
    // daemon. Data connections must reuse the login's TLS session.
    const QString tls =
        m_secure ? QStringLiteral("ModulePath %1\nLoadModule mod_tls.c\nTLSEngine on\n"
                                  "TLSRequired on\nTLSProtocol TLSv1.2 TLSv1.3\n"
                                  "TLSRSACertificateFile %2\nTLSRSACertificateKeyFile %3\n"
                                  "TLSLog none\n")
                       .arg(ftpdFolder() + QStringLiteral("/proftpd-mod-crypto/usr/lib/proftpd"),
                            m_certificate, m_key)
                 : QString();
    if (!ZKTestSupport::writeFile(config, (text + tls).toUtf8())) {
        return fail(QStringLiteral("cannot write %1").arg(config));
    }
    return launch(program(Proftpd), {"-n", "-c", config});
}
