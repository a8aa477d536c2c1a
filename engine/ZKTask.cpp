// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTask.h"

bool ZKTask::follow(Follower *follower) {
    Follower *none = nullptr;
    return m_follower.compare_exchange_strong(none, follower) || none == follower;
}

void ZKTask::unfollow(Follower *follower) {
    m_follower.compare_exchange_strong(follower, nullptr);
}

void ZKTask::announceStateChanged(ZKTaskState state) {
    if (Follower *follower = m_follower.load()) {
        follower->taskDidChange(*this);
    }
    Q_EMIT stateChanged(state);
}

void ZKTask::announceProgressChanged(const ZKTaskProgress &progress) {
    if (Follower *follower = m_follower.load()) {
        follower->taskDidChange(*this);
    }
    Q_EMIT progressChanged(progress);
}

void ZKTask::announceActivity(quint64 bytes, double seconds) {
    if (Follower *follower = m_follower.load()) {
        follower->taskDidMove(*this, bytes, seconds);
    }
    Q_EMIT activity(bytes, seconds);
}
