// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTerminalSshPrompter.h"

#include <QCoreApplication>

#include <cstdio>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// The terminal, opened for one question; closed when it goes.
class Terminal {
public:
    Terminal()
        : m_fd(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {}
    ~Terminal() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    bool isOpen() const { return m_fd >= 0; }

    void write(const QString &text) const {
        const QByteArray bytes = text.toLocal8Bit();
        qsizetype done = 0;
        while (done < bytes.size()) {
            const ssize_t count =
                ::write(m_fd, bytes.constData() + done, size_t(bytes.size() - done));
            if (count <= 0) {
                return;
            }
            done += count;
        }
    }

    // One line, without its end; nullopt at the end of input.
    std::optional<QString> readLine(bool echo) const {
        termios saved{};
        const bool quiet = !echo && ::tcgetattr(m_fd, &saved) == 0;
        if (quiet) {
            termios hidden = saved;
            hidden.c_lflag &= ~tcflag_t(ECHO);
            ::tcsetattr(m_fd, TCSAFLUSH, &hidden);
        }
        QByteArray line;
        bool ended = false;
        for (;;) {
            char c = 0;
            const ssize_t count = ::read(m_fd, &c, 1);
            if (count <= 0) {
                ended = line.isEmpty();
                break;
            }
            if (c == '\n') {
                break;
            }
            line.append(c);
        }
        if (quiet) {
            ::tcsetattr(m_fd, TCSAFLUSH, &saved);
            write(QStringLiteral("\n"));
        }
        if (ended) {
            return std::nullopt;
        }
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        return QString::fromLocal8Bit(line);
    }

private:
    int m_fd;
};

QString tr(const char *text) {
    return QCoreApplication::translate("ZKTerminalSshPrompter", text);
}

} // namespace

bool ZKTerminalSshPrompter::acceptNewHostKey(const QString &host, const QString &keyType,
                                             const QString &fingerprint) {
    std::lock_guard locker(m_lock);
    const Terminal terminal;
    if (!terminal.isOpen()) {
        return false;
    }
    terminal.write(tr("The authenticity of host '%1' can't be established.\n"
                      "%2 key fingerprint is %3.\n")
                       .arg(host, keyType, fingerprint));
    for (;;) {
        terminal.write(tr("Are you sure you want to continue connecting (yes/no)? "));
        const std::optional<QString> answer = terminal.readLine(true);
        if (!answer) {
            return false;
        }
        const QString word = answer->trimmed().toLower();
        if (word == QLatin1String("yes")) {
            return true;
        }
        if (word == QLatin1String("no")) {
            return false;
        }
        terminal.write(tr("Please type 'yes' or 'no'.\n"));
    }
}

std::optional<QString> ZKTerminalSshPrompter::askSecret(const QString &prompt, bool *remember) {
    std::lock_guard locker(m_lock);
    *remember = false;
    const Terminal terminal;
    if (!terminal.isOpen()) {
        return std::nullopt;
    }
    terminal.write(prompt + QLatin1Char(' '));
    return terminal.readLine(false);
}
