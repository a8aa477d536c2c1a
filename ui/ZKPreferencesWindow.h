// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKWriter.h"

#include <QDialog>
#include <QHash>
#include <QList>
#include <QPair>

#include <functional>

class QCheckBox;
class QComboBox;
class QTabWidget;
class ZKDestinationPopUpButton;
class ZKUserDefaults;

// The application's preferences: what new queues start with, what is copied
// besides the data, the network time-out and the sounds. Every control shows
// the stored value and writes a change at once, so there is nothing to apply.
class ZKPreferencesWindow : public QDialog {
    Q_OBJECT

public:
    // A label and a number of seconds.
    using Choice = QPair<QString, int>;

    explicit ZKPreferencesWindow(QWidget *parent = nullptr, ZKUserDefaults *defaults = nullptr);
    ~ZKPreferencesWindow() override;

    // The delays a failed task may wait before it is retried.
    static QList<Choice> listRetryDelayTimes();
    // The network time-outs.
    static QList<Choice> listTimeoutTimes();

    // The default destination of new queues, kept in the store in its saved
    // form; nullptr for any folder.
    ZKWriterPtr defaultDestination() const;
    void setDefaultDestination(const ZKWriterPtr &destination);

    // "General", "Defaults", "Downloads" or "Sounds"; false for another name.
    bool showPage(const QString &name);
    QString currentPage() const;
    void generalSelected();
    void defaultsSelected();
    void downloadsSelected();
    void soundsSelected();

    // Plays a sound the user picks; tests listen here instead of the speakers.
    using SoundPlayer = std::function<void(const QString &name)>;
    void setSoundPlayer(SoundPlayer player);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void windowDidLoad();
    QWidget *createGeneralPage();
    QWidget *createDefaultsPage();
    QWidget *createDownloadsPage();
    QWidget *createSoundsPage();

    // Each binding fills its control from the store and writes the user's
    // changes back.
    QCheckBox *bindCheckBox(const QString &key, const QString &text);
    QComboBox *bindChoices(const QString &key, const QString &accessibleName,
                           std::function<QList<Choice>()> choices,
                           std::function<QString(int)> otherLabel, int firstRunValue);
    QComboBox *bindSound(const QString &key, const QString &accessibleName);
    // The control can be used only while the box (and the other box, if
    // any) is checked.
    void follow(QCheckBox *box, QWidget *control, QCheckBox *also = nullptr);
    void addLoader(const QString &key, std::function<void()> loader);
    void load(const QString &key);
    void loadAll();
    void write(const std::function<void()> &change);
    void soundSelected(QComboBox *list);

    ZKUserDefaults *m_defaults;
    QTabWidget *m_tabs = nullptr;
    ZKDestinationPopUpButton *m_destinationPopup = nullptr;
    QHash<QString, QList<std::function<void()>>> m_loaders;
    SoundPlayer m_soundPlayer;
    // While set, the store's change signal is our own write echoing back.
    bool m_writing = false;
    // While set, the controls are being filled from the store.
    bool m_loading = false;
};
