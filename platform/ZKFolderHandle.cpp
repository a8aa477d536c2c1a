// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKFolderHandle.h"

#include <algorithm>
#include <atomic>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

std::atomic<int> held{0};

// A quarter of the descriptors the process may open, and never so many that
// a deep tree could crowd out the files and connections of other tasks. Asked
// each time, once per folder: the limit may be changed while the process runs.
int budget() {
    constexpr int most = 256;
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return most;
    }
    return int(std::min<rlim_t>(limit.rlim_cur / 4, most));
}

} // namespace

ZKFolderHandle::Place::Place(const std::weak_ptr<ZKFolderHandle> &folder, const QByteArray &name,
                             const QByteArray &path)
    : m_held(isPlainName(name) ? folder.lock() : nullptr)
    , m_folder(m_held ? m_held->descriptor() : AT_FDCWD)
    , m_name(m_held ? name : path) {}

std::shared_ptr<ZKFolderHandle> ZKFolderHandle::adopt(int fd) {
    if (fd < 0) {
        return nullptr;
    }
    if (held.fetch_add(1) >= budget()) {
        held.fetch_sub(1);
        ::close(fd);
        return nullptr;
    }
    return std::shared_ptr<ZKFolderHandle>(new ZKFolderHandle(fd));
}

bool ZKFolderHandle::isPlainName(const QByteArray &name) {
    // Asked for every item of a copy, in one pass over the name.
    const qsizetype size = name.size();
    if (size == 0 || (name.at(0) == '.' && (size == 1 || (size == 2 && name.at(1) == '.')))) {
        return false;
    }
    return std::none_of(name.cbegin(), name.cend(), [](char c) { return c == '/' || c == '\0'; });
}

ZKFolderHandle::ZKFolderHandle(int fd)
    : m_fd(fd) {}

ZKFolderHandle::~ZKFolderHandle() {
    ::close(m_fd);
    held.fetch_sub(1);
}
