// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKWriter.h"

#include <QComboBox>

class ZKUserDefaults;

// Picks where new items go: any folder (asked for each time), a folder or
// FTP address chosen now, or one of the ten used last.
class ZKDestinationPopUpButton : public QComboBox {
    Q_OBJECT

public:
    static constexpr qsizetype recentLimit = 10;
    // Item tags (Qt::UserRole).
    static constexpr int anyFolderTag = 1;
    static constexpr int destinationTag = 2;

    explicit ZKDestinationPopUpButton(QWidget *parent = nullptr,
                                      ZKUserDefaults *defaults = nullptr);

    ZKWriterPtr destination() const { return m_destination; }
    // Shows it, without telling the bound object (which gave it).
    void setDestination(ZKWriterPtr destination);

    void chooseAnyFolder();
    void chooseFolder();
    void chooseFtp();
    void chooseDestination(const ZKWriterPtr &recent);
    void clearRecentDestinations();
    // Stored entries that no longer make an endpoint are left out, and kept
    // in the store until the list is next written.
    QList<ZKWriterPtr> recentDestinations() const;
    void addRecentDestination(const ZKWriterPtr &destination);
    void restorePreviousSelection();

Q_SIGNALS:
    // The user picked another destination; the bound object takes it.
    void destinationChanged(const ZKWriterPtr &destination);

protected:
    // The items are commands: stepping through them with the arrow keys or
    // the wheel would run each one passed, so the keys open the menu
    // instead and the wheel is left to the window.
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    enum Kind { AnyFolder = 1, Current, ChooseFolder, ChooseFtp, Heading, Recent, ClearMenu };
    void createMenuItems();
    void addEntry(const QString &title, const QIcon &icon, Kind kind, int tag = 0);
    void onActivated(int index);
    void takeChosen(const ZKWriterPtr &destination);
    static QString titleOf(const ZKWriterPtr &destination);

    ZKUserDefaults *m_defaults;
    ZKWriterPtr m_destination;
    QList<ZKWriterPtr> m_recent; // as the menu shows them
    int m_previousTag = anyFolderTag;
};
