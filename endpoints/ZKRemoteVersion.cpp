// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKRemoteVersion.h"

#include "ZKLogging.h"

namespace {

// Saved queues hold these; they must never change.
const QString sizeKey = QStringLiteral("Size");
const QString modificationDateKey = QStringLiteral("ModificationDate");
const QString hasChangedKey = QStringLiteral("HasChanged");

} // namespace

void ZKRemoteVersion::note(const QUrl &url, quint64 size, const QDateTime &modificationDate) {
    std::lock_guard locker(m_lock);
    if (!m_size) {
        m_size = size;
        m_date = modificationDate;
        return;
    }
    // Whole seconds: that is all a listing tells.
    const bool dateDiffers = m_date.isValid() && modificationDate.isValid() &&
                             m_date.toSecsSinceEpoch() != modificationDate.toSecsSinceEpoch();
    if ((*m_size != size || dateDiffers) && !m_changed) {
        qCWarning(lcEndpoints) << "The file at" << url.toString()
                               << "is not the version a copy began with";
        m_changed = true;
    }
    m_size = size;
    if (modificationDate.isValid()) {
        m_date = modificationDate;
    }
}

bool ZKRemoteVersion::hasChanged() const {
    std::lock_guard locker(m_lock);
    return m_changed;
}

void ZKRemoteVersion::acceptCurrent() {
    std::lock_guard locker(m_lock);
    m_changed = false;
}

void ZKRemoteVersion::read(const QVariantMap &propertyList) {
    std::lock_guard locker(m_lock);
    bool sizeRead = false;
    const quint64 size = propertyList.value(sizeKey).toULongLong(&sizeRead);
    if (sizeRead) {
        m_size = size;
    }
    m_date = propertyList.value(modificationDateKey).toDateTime();
    m_changed = propertyList.value(hasChangedKey, false).toBool();
}

void ZKRemoteVersion::write(QVariantMap &propertyList) const {
    std::lock_guard locker(m_lock);
    if (m_size) {
        propertyList.insert(sizeKey, qulonglong(*m_size));
    }
    if (m_date.isValid()) {
        propertyList.insert(modificationDateKey, m_date);
    }
    // Saved too: a queue saved after the change was seen and before the copy
    // started over must not continue the old piece when reopened.
    if (m_changed) {
        propertyList.insert(hasChangedKey, true);
    }
}
