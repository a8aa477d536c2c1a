// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKInodeGeneration.h"

#include <linux/fs.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <mutex>

#include <QSet>

namespace {

std::mutex generationlessLock;
QSet<quint64> generationlessDevices; // with generationlessLock held

} // namespace

bool ZKInodeGeneration::isKnownGenerationless(quint64 device) {
    std::lock_guard locker(generationlessLock);
    return generationlessDevices.contains(device);
}

std::optional<quint32> ZKInodeGeneration::ofOpenFile(int fd, quint64 device) {
    if (isKnownGenerationless(device)) {
        return std::nullopt;
    }
    // The kernel writes an int or a long depending on the file system; a
    // long holds either.
    long value = 0;
    if (::ioctl(fd, FS_IOC_GETVERSION, &value) == 0) {
        return quint32(value);
    }
    if (errno == ENOTTY || errno == EOPNOTSUPP) {
        std::lock_guard locker(generationlessLock);
        generationlessDevices.insert(device);
    }
    return std::nullopt;
}
