// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVariant>

#include <atomic>
#include <memory>
#include <mutex>

class QSettings;

// The per-user preferences store. Values are read at the moment of use, from
// any thread; every write reaches the file before the call returns.
//
// The INI backend does not keep types: after the file is read again, a
// boolean or integer comes back from objectForKey() as text. The typed
// readers accept both forms, so use them rather than objectForKey() for
// scalars.
class ZKUserDefaults : public QObject {
    Q_OBJECT

public:
    // The user's store (organisation "velmarind", application "Ferrowick").
    static ZKUserDefaults &standard();

    // A store kept in the given INI file, for tools and tests.
    explicit ZKUserDefaults(const QString &fileName, QObject *parent = nullptr);
    ~ZKUserDefaults() override;

    // The file the values are kept in.
    QString fileName() const;
    // Counts up whenever a value may have changed (a write here, or a look
    // at what another process wrote), so that what is made of several values
    // can be kept until then.
    quint64 generation() const;

    // A null QVariant when the key has no value.
    QVariant objectForKey(const QString &key) const;
    bool hasObject(const QString &key) const;
    // false when absent; texts "true" and "yes" (any case) and non-zero
    // numbers read as true.
    bool boolForKey(const QString &key) const;
    // 0 when absent or not a number.
    qint64 integerForKey(const QString &key) const;
    // Empty when absent or not a scalar.
    QString stringForKey(const QString &key) const;
    // Invalid when absent or not a date.
    QDateTime dateForKey(const QString &key) const;

    // Setting a null QVariant removes the key.
    void setObject(const QString &key, const QVariant &value);
    void setBool(const QString &key, bool value);
    void setInteger(const QString &key, qint64 value);
    void setString(const QString &key, const QString &value);
    void setDate(const QString &key, const QDateTime &value);
    void removeObject(const QString &key);

    // Write the value only when the store has none for the key, so that a
    // first-run value never overrides the user's choice.
    void initialiseBool(bool value, const QString &key);
    void initialiseInt(qint64 value, const QString &key);
    void initialiseString(const QString &value, const QString &key);
    void initialiseDate(const QDateTime &value, const QString &key);

Q_SIGNALS:
    // Emitted after every write or removal, on the writing thread.
    void valueChanged(const QString &key);

private:
    ZKUserDefaults();

    // The open store, with m_mutex held. Opened once and kept: opening one
    // looks for half a dozen files, and values are read per item copied.
    QSettings &settings() const;
    void write(const QString &key, const QVariant &value);
    void initialise(const QString &key, const QVariant &value);
    // Must be called with m_mutex held.
    void store(QSettings &settings, const QString &key, const QVariant &value);

    QString m_fileName; // empty for the user's store
    // Guards the one QSettings, which is not thread-safe, and makes "write
    // when absent" atomic against other writers.
    mutable std::mutex m_mutex;
    mutable std::unique_ptr<QSettings> m_settings;
    // The configuration folder the open store belongs to (tests move it).
    mutable QByteArray m_configHome;
    // When the file was last compared with what another process wrote.
    mutable qint64 m_lastSync = 0;
    mutable std::atomic<quint64> m_generation{0};
};
