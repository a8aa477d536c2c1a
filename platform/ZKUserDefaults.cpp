// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKUserDefaults.h"

#include "ZKLogging.h"

#include <QCoreApplication>
#include <QSettings>
#include <QThread>

namespace {

bool isScalar(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return true;
    default:
        return false;
    }
}

} // namespace

ZKUserDefaults &ZKUserDefaults::standard() {
    // Never destroyed: worker threads may still read while the application
    // shuts down.
    static ZKUserDefaults *instance = [] {
        auto *created = new ZKUserDefaults;
        if (QCoreApplication *application = QCoreApplication::instance()) {
            created->moveToThread(application->thread());
        }
        return created;
    }();
    return *instance;
}

ZKUserDefaults::ZKUserDefaults() = default;

ZKUserDefaults::ZKUserDefaults(const QString &fileName, QObject *parent)
    : QObject(parent)
    , m_fileName(fileName) {}

ZKUserDefaults::~ZKUserDefaults() = default;

QSettings &ZKUserDefaults::settings() const {
    const QByteArray configHome = qgetenv("XDG_CONFIG_HOME");
    if (m_settings && m_fileName.isEmpty() && configHome != m_configHome) {
        m_settings.reset();
    }
    if (!m_settings) {
        if (m_fileName.isEmpty()) {
            m_settings = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                                     QStringLiteral("velmarind"),
                                                     QStringLiteral("Ferrowick"));
            // Only the application's own file: no organisation-wide or system
            // values that "write when absent" would then never write.
            m_settings->setFallbacksEnabled(false);
        } else {
            m_settings = std::make_unique<QSettings>(m_fileName, QSettings::IniFormat);
        }
        m_configHome = configHome;
        m_lastSync = QDateTime::currentMSecsSinceEpoch();
        ++m_generation;
    }
    // Another process (the window beside the terminal front end) may have
    // changed a value; looking once a second costs one stat.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now - m_lastSync >= 1000) {
        m_settings->sync();
        m_lastSync = now;
        ++m_generation;
    }
    return *m_settings;
}

quint64 ZKUserDefaults::generation() const {
    // Through settings(): a second gone by is a look at the file too.
    std::lock_guard locker(m_mutex);
    settings();
    return m_generation.load();
}

QString ZKUserDefaults::fileName() const {
    std::lock_guard locker(m_mutex);
    return settings().fileName();
}

QVariant ZKUserDefaults::objectForKey(const QString &key) const {
    std::lock_guard locker(m_mutex);
    return settings().value(key);
}

bool ZKUserDefaults::hasObject(const QString &key) const {
    std::lock_guard locker(m_mutex);
    return settings().contains(key);
}

bool ZKUserDefaults::boolForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        const QString text = value.toString().trimmed();
        if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
            text.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0) {
            return true;
        }
        bool isNumber = false;
        const double number = text.toDouble(&isNumber);
        return isNumber && number != 0;
    }
    default:
        return isScalar(value) && value.toDouble() != 0;
    }
}

qint64 ZKUserDefaults::integerForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        const QString text = value.toString().trimmed();
        bool isNumber = false;
        const qint64 integer = text.toLongLong(&isNumber);
        if (isNumber) {
            return integer;
        }
        const double number = text.toDouble(&isNumber);
        return isNumber ? qint64(number) : 0;
    }
    default:
        return isScalar(value) ? value.toLongLong() : 0;
    }
}

QString ZKUserDefaults::stringForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    return isScalar(value) ? value.toString() : QString();
}

QDateTime ZKUserDefaults::dateForKey(const QString &key) const {
    const QVariant value = objectForKey(key);
    if (value.typeId() == QMetaType::QDateTime) {
        return value.toDateTime();
    }
    if (value.typeId() == QMetaType::QString) {
        return QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    }
    return {};
}

void ZKUserDefaults::store(QSettings &settings, const QString &key, const QVariant &value) {
    ++m_generation;
    if (value.isValid()) {
        settings.setValue(key, value);
    } else {
        settings.remove(key);
    }
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        qCWarning(lcEngine) << "Could not save the setting" << key << "to" << settings.fileName();
    }
}

void ZKUserDefaults::write(const QString &key, const QVariant &value) {
    {
        std::lock_guard locker(m_mutex);
        store(settings(), key, value);
    }
    // Outside the lock: an observer may read or write the store at once.
    Q_EMIT valueChanged(key);
}

void ZKUserDefaults::initialise(const QString &key, const QVariant &value) {
    {
        std::lock_guard locker(m_mutex);
        QSettings &store = settings();
        if (store.contains(key)) {
            return;
        }
        this->store(store, key, value);
    }
    Q_EMIT valueChanged(key);
}

void ZKUserDefaults::setObject(const QString &key, const QVariant &value) {
    write(key, value);
}

void ZKUserDefaults::setBool(const QString &key, bool value) {
    write(key, value);
}

void ZKUserDefaults::setInteger(const QString &key, qint64 value) {
    write(key, value);
}

void ZKUserDefaults::setString(const QString &key, const QString &value) {
    write(key, value);
}

void ZKUserDefaults::setDate(const QString &key, const QDateTime &value) {
    write(key, value);
}

void ZKUserDefaults::removeObject(const QString &key) {
    write(key, QVariant());
}

void ZKUserDefaults::initialiseBool(bool value, const QString &key) {
    initialise(key, value);
}

void ZKUserDefaults::initialiseInt(qint64 value, const QString &key) {
    initialise(key, value);
}

void ZKUserDefaults::initialiseString(const QString &value, const QString &key) {
    initialise(key, value);
}

void ZKUserDefaults::initialiseDate(const QDateTime &value, const QString &key) {
    initialise(key, value);
}
