// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKKnownHosts.h"

#include "ZKSshConfig.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <libssh2.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <mutex>

namespace {

// The longest RSA keys make lines of a few kilobytes; anything far longer is
// not an entry, and reading it whole would only cost memory.
constexpr qint64 maximumLineLength = 64 * 1024;

QString tr(const char *text) {
    return QCoreApplication::translate("ZKKnownHosts", text);
}

void initializeLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { libssh2_init(0); });
}

struct KnownHostsDeleter {
    void operator()(LIBSSH2_KNOWNHOSTS *hosts) const { libssh2_knownhost_free(hosts); }
};
using KnownHostsPointer = std::unique_ptr<LIBSSH2_KNOWNHOSTS, KnownHostsDeleter>;

// The knownhost key bits and the name in the file of a host key type.
struct KeyType {
    int type;
    int mask;
    const char *fileName;
    const char *displayName;
};

constexpr KeyType keyTypes[] = {
    {LIBSSH2_HOSTKEY_TYPE_RSA, LIBSSH2_KNOWNHOST_KEY_SSHRSA, "ssh-rsa", "RSA"},
    {LIBSSH2_HOSTKEY_TYPE_DSS, LIBSSH2_KNOWNHOST_KEY_SSHDSS, "ssh-dss", "DSA"},
    {LIBSSH2_HOSTKEY_TYPE_ECDSA_256, LIBSSH2_KNOWNHOST_KEY_ECDSA_256, "ecdsa-sha2-nistp256",
     "ECDSA"},
    {LIBSSH2_HOSTKEY_TYPE_ECDSA_384, LIBSSH2_KNOWNHOST_KEY_ECDSA_384, "ecdsa-sha2-nistp384",
     "ECDSA"},
    {LIBSSH2_HOSTKEY_TYPE_ECDSA_521, LIBSSH2_KNOWNHOST_KEY_ECDSA_521, "ecdsa-sha2-nistp521",
     "ECDSA"},
    {LIBSSH2_HOSTKEY_TYPE_ED25519, LIBSSH2_KNOWNHOST_KEY_ED25519, "ssh-ed25519", "ED25519"},
};

const KeyType *findKeyType(int type) {
    for (const KeyType &keyType : keyTypes) {
        if (keyType.type == type)
            return &keyType;
    }
    return nullptr;
}

// What would break a line of the file, or read as a pattern or a marker.
bool isUsableHost(const QString &host) {
    if (host.isEmpty() || host.startsWith(u'@') || host.startsWith(u'|'))
        return false;
    for (const QChar c : host) {
        if (c.isSpace() || c.category() == QChar::Other_Control || c == u',' || c == u'*' ||
            c == u'?' || c == u'!' || c == u'[' || c == u']' || c == u'#')
            return false;
    }
    return true;
}

// The name an entry for host and port has: ssh lowercases names, keeps port
// 22 implicit and brackets any other port, an IPv6 address included.
QString entryName(QString host, quint16 port) {
    if (host.size() > 2 && host.startsWith(u'[') && host.endsWith(u']'))
        host = host.mid(1, host.size() - 2);
    host = host.toLower();
    if (!isUsableHost(host))
        return QString();
    return port == 22 ? host : QStringLiteral("[%1]:%2").arg(host).arg(port);
}

QByteArray firstField(const QByteArray &text, qsizetype *end) {
    qsizetype i = 0;
    while (i < text.size() && text[i] != ' ' && text[i] != '\t')
        ++i;
    *end = i;
    return text.left(i);
}

QByteArray skipBlanks(const QByteArray &text, qsizetype from) {
    while (from < text.size() && (text[from] == ' ' || text[from] == '\t'))
        ++from;
    return text.mid(from);
}

// Whether a plain entry's comma-separated patterns name the host: a
// matching negated pattern rules the entry out whatever else matches.
bool patternsMatch(const QString &name, const QString &patterns) {
    bool matched = false;
    for (const QString &pattern : patterns.split(u',')) {
        const bool negated = pattern.startsWith(u'!');
        const QStringView body = negated ? QStringView(pattern).mid(1) : QStringView(pattern);
        if (ZKSshConfig::matchesPattern(name, body, Qt::CaseInsensitive)) {
            if (negated)
                return false;
            matched = true;
        }
    }
    return matched;
}

QString systemError(int code) {
    return QString::fromLocal8Bit(std::strerror(code));
}

// Creates the missing folders on the way to folder, readable by the owner
// only, as ssh keeps ~/.ssh.
bool makeFolder(const QString &folder, QString *error) {
    if (QFileInfo(folder).isDir())
        return true;
    const QString parent = QFileInfo(folder).path();
    if (parent != folder && !makeFolder(parent, error))
        return false;
    if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 && errno != EEXIST) {
        *error = QCoreApplication::translate("ZKKnownHosts", "Cannot create the folder %1: %2")
                     .arg(folder, systemError(errno));
        return false;
    }
    return true;
}

bool writeAll(int fd, const QByteArray &data) {
    qsizetype written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.constData() + written, size_t(data.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += n;
    }
    return true;
}

} // namespace

void ZKKnownHosts::SessionDeleter::operator()(LIBSSH2_SESSION *session) const {
    libssh2_session_free(session);
}

QString ZKKnownHosts::defaultUserFile() {
    return QDir::homePath() + QStringLiteral("/.ssh/known_hosts");
}

ZKKnownHosts::ZKKnownHosts(const QString &userFile, const QStringList &systemFiles)
    : m_userFile(userFile)
    , m_systemFiles(systemFiles) {
    initializeLibrary();
    m_session.reset(libssh2_session_init());
}

ZKKnownHosts::~ZKKnownHosts() = default;

ZKKnownHosts::Check ZKKnownHosts::check(const QString &host, quint16 port, const QByteArray &key,
                                        int type) const {
    const QString name = entryName(host, port);
    const KeyType *keyType = findKeyType(type);
    if (name.isEmpty() || !keyType || key.isEmpty())
        return {};
    const QByteArray nameBytes = name.toUtf8();
    const QByteArray fileName(keyType->fileName);
    const int typemask =
        LIBSSH2_KNOWNHOST_TYPE_PLAIN | LIBSSH2_KNOWNHOST_KEYENC_RAW | keyType->mask;

    QMutexLocker locker(&m_mutex);
    if (!m_session)
        return {};
    bool known = false;
    Check changed;
    Check revoked;
    for (const QString &path : QStringList{m_userFile} + m_systemFiles) {
        QFile file(path);
        // Only regular files: "/dev/null" knows nothing, and a pipe would block.
        if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
            continue;
        int number = 0;
        while (!file.atEnd()) {
            QByteArray line = file.readLine(maximumLineLength);
            ++number;
            if (line.size() >= maximumLineLength - 1 && !line.endsWith('\n')) {
                while (!file.atEnd() && !file.readLine(maximumLineLength).endsWith('\n')) {
                }
                continue;
            }
            line = line.trimmed();
            if (line.isEmpty() || line.startsWith('#'))
                continue;
            qsizetype end = 0;
            bool isRevoked = false;
            if (line.startsWith('@')) {
                const QByteArray marker = firstField(line, &end);
                // A certificate authority signs host keys; it is no host key.
                if (marker != "@revoked")
                    continue;
                isRevoked = true;
                line = skipBlanks(line, end);
            }
            QByteArray hosts = firstField(line, &end);
            QByteArray rest = skipBlanks(line, end);
            qsizetype typeEnd = 0;
            // Other key types could neither match nor conflict with this key.
            if (firstField(rest, &typeEnd) != fileName)
                continue;
            if (!hosts.startsWith('|')) {
                // The library compares plain names exactly; patterns and case
                // are settled here, and the entry handed over under the name.
                if (!patternsMatch(name, QString::fromUtf8(hosts)))
                    continue;
                hosts = nameBytes;
            }
            const QByteArray entry = hosts + ' ' + rest;
            KnownHostsPointer collection(libssh2_knownhost_init(m_session.get()));
            if (!collection || libssh2_knownhost_readline(collection.get(), entry.constData(),
                                                          size_t(entry.size()),
                                                          LIBSSH2_KNOWNHOST_FILE_OPENSSH) != 0)
                continue;
            const int result =
                libssh2_knownhost_check(collection.get(), nameBytes.constData(), key.constData(),
                                        size_t(key.size()), typemask, nullptr);
            if (result == LIBSSH2_KNOWNHOST_CHECK_MATCH && isRevoked) {
                if (revoked.line == 0)
                    revoked = {Result::Changed, path, number};
            } else if (result == LIBSSH2_KNOWNHOST_CHECK_MATCH) {
                known = true;
            } else if (result == LIBSSH2_KNOWNHOST_CHECK_MISMATCH && !isRevoked &&
                       changed.line == 0) {
                changed = {Result::Changed, path, number};
            }
        }
    }
    if (revoked.line != 0)
        return revoked;
    if (known)
        return {Result::Known, QString(), 0};
    return changed.line != 0 ? changed : Check{};
}

bool ZKKnownHosts::add(const QString &host, quint16 port, const QByteArray &key, int type,
                       QString *error) const {
    const QString name = entryName(host, port);
    const KeyType *keyType = findKeyType(type);
    if (name.isEmpty()) {
        *error = tr("\"%1\" cannot be recorded as a host name.").arg(host);
        return false;
    }
    if (!keyType || key.isEmpty()) {
        *error = tr("Keys of this type cannot be recorded.");
        return false;
    }

    QByteArray line;
    {
        QMutexLocker locker(&m_mutex);
        KnownHostsPointer collection(m_session ? libssh2_knownhost_init(m_session.get()) : nullptr);
        libssh2_knownhost *entry = nullptr;
        const int typemask =
            LIBSSH2_KNOWNHOST_TYPE_PLAIN | LIBSSH2_KNOWNHOST_KEYENC_RAW | keyType->mask;
        QByteArray buffer(key.size() * 2 + name.size() * 4 + 256, '\0');
        size_t length = 0;
        if (!collection ||
            libssh2_knownhost_addc(collection.get(), name.toUtf8().constData(), nullptr,
                                   key.constData(), size_t(key.size()), nullptr, 0, typemask,
                                   &entry) != 0 ||
            libssh2_knownhost_writeline(collection.get(), entry, buffer.data(),
                                        size_t(buffer.size()), &length,
                                        LIBSSH2_KNOWNHOST_FILE_OPENSSH) != 0) {
            *error = tr("The key for %1 cannot be written as an entry.").arg(name);
            return false;
        }
        line = buffer.left(qsizetype(length));
    }
    if (!line.endsWith('\n'))
        line += '\n';

    if (!makeFolder(QFileInfo(m_userFile).absolutePath(), error))
        return false;
    const QByteArray path = QFile::encodeName(m_userFile);
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0) {
        *error = tr("Cannot open %1: %2").arg(m_userFile, systemError(errno));
        return false;
    }
    // A last line without its newline would otherwise run into ours.
    struct stat status {};
    char last = '\n';
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
        ::pread(fd, &last, 1, status.st_size - 1) == 1 && last != '\n')
        line.prepend('\n');
    const bool written = writeAll(fd, line);
    const int writeError = errno;
    if (::close(fd) != 0 || !written) {
        *error =
            tr("Cannot write to %1: %2").arg(m_userFile, systemError(written ? errno : writeError));
        return false;
    }
    return true;
}

QString ZKKnownHosts::fingerprint(const QByteArray &key) {
    const QByteArray digest = QCryptographicHash::hash(key, QCryptographicHash::Sha256);
    return QStringLiteral("SHA256:") +
           QString::fromLatin1(digest.toBase64(QByteArray::OmitTrailingEquals));
}

QString ZKKnownHosts::keyTypeName(int type) {
    const KeyType *keyType = findKeyType(type);
    return keyType ? QString::fromLatin1(keyType->displayName) : QStringLiteral("UNKNOWN");
}
