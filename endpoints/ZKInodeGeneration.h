// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <optional>

// The generation number a file system gives an inode, which tells a file
// from a later one that got the same inode number.
class ZKInodeGeneration {
public:
    ZKInodeGeneration() = delete;

    // The generation of the open file fd, which lies on device. Nothing where
    // the file system keeps none (tmpfs among them): once one file of a device
    // said so, no file of that device is asked again, which would cost every
    // file of a copy a call to the kernel for nothing.
    static std::optional<quint32> ofOpenFile(int fd, quint64 device);
    // Whether a file of device said so already: then no file of it need be
    // opened to ask.
    static bool isKnownGenerationless(quint64 device);
};
