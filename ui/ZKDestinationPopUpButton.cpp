// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDestinationPopUpButton.h"

#include "ZKFileSystemWriter.h"
#include "ZKFtpWriter.h"
#include "ZKImages.h"
#include "ZKOpenPanel.h"
#include "ZKPropertyListParser.h"
#include "ZKRemoteServerPanel.h"
#include "ZKUserDefaults.h"

#include <QKeyEvent>
#include <QPixmap>
#include <QPointer>
#include <QStandardItemModel>
#include <QWheelEvent>

namespace {
const QString kRecentDestinations = QStringLiteral("RecentDestinations");
constexpr int kKindRole = Qt::UserRole + 1;
constexpr int kRecentRole = Qt::UserRole + 2;

// Indented items line up behind the icon column, also those without an
// icon, so that the heading and the current destination stand out.
QIcon blankIcon() {
    QPixmap blank(16, 16);
    blank.fill(Qt::transparent);
    return QIcon(blank);
}
} // namespace

ZKDestinationPopUpButton::ZKDestinationPopUpButton(QWidget *parent, ZKUserDefaults *defaults)
    : QComboBox(parent)
    , m_defaults(defaults ? defaults : &ZKUserDefaults::standard()) {
    setAccessibleName(tr("Destination"));
    createMenuItems();
    setToolTip(tr("Default Destination"));
    connect(this, &QComboBox::activated, this, &ZKDestinationPopUpButton::onActivated);
}

QString ZKDestinationPopUpButton::titleOf(const ZKWriterPtr &destination) {
    // A remote folder's path alone would not say on which server it is.
    return destination->isLocal() ? destination->description()
                                  : destination->url().toDisplayString(QUrl::RemovePassword);
}

void ZKDestinationPopUpButton::addEntry(const QString &title, const QIcon &icon, Kind kind,
                                        int tag) {
    addItem(icon.isNull() && kind != Heading ? blankIcon() : icon, title, tag);
    const int row = count() - 1;
    setItemData(row, kind, kKindRole);
    setItemData(row, title, Qt::AccessibleTextRole);
}

void ZKDestinationPopUpButton::createMenuItems() {
    const QSignalBlocker blocker(this);
    clear();
    m_recent = recentDestinations();
    if (m_destination) {
        addEntry(titleOf(m_destination), ZKImages::endpointIcon(m_destination->icon()), Current,
                 destinationTag);
    }
    addEntry(tr("Any Folder"), ZKImages::named(QStringLiteral("ZKAnyFolder")), AnyFolder,
             anyFolderTag);
    insertSeparator(count());
    addEntry(tr("Choose Folder..."), {}, ChooseFolder);
    addEntry(tr("Choose FTP..."), {}, ChooseFtp);
    insertSeparator(count());
    addEntry(tr("Recent Places"), {}, Heading);
    if (auto *model = qobject_cast<QStandardItemModel *>(this->model())) {
        model->item(count() - 1)->setEnabled(false);
    }
    for (qsizetype i = 0; i < m_recent.size(); ++i) {
        const ZKWriterPtr &recent = m_recent[i];
        addEntry(titleOf(recent), ZKImages::endpointIcon(recent->icon()), Recent);
        setItemData(count() - 1, int(i), kRecentRole);
    }
    insertSeparator(count());
    addEntry(tr("Clear Menu"), {}, ClearMenu);
    setCurrentIndex(findData(m_destination ? destinationTag : anyFolderTag));
}

void ZKDestinationPopUpButton::keyPressEvent(QKeyEvent *event) {
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End:
        showPopup();
        event->accept();
        return;
    default:
        break;
    }
    // Typing would pick the item whose title starts with it.
    if (!event->text().trimmed().isEmpty() &&
        !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) {
        event->ignore();
        return;
    }
    QComboBox::keyPressEvent(event);
}

void ZKDestinationPopUpButton::wheelEvent(QWheelEvent *event) {
    event->ignore();
}

void ZKDestinationPopUpButton::setDestination(ZKWriterPtr destination) {
    m_destination = std::move(destination);
    createMenuItems();
    if (m_destination) {
        setToolTip(titleOf(m_destination));
        m_previousTag = destinationTag;
    } else {
        setToolTip(tr("Default Destination"));
        m_previousTag = anyFolderTag;
    }
}

void ZKDestinationPopUpButton::onActivated(int index) {
    switch (itemData(index, kKindRole).toInt()) {
    case AnyFolder:
        chooseAnyFolder();
        break;
    case Current:
        m_previousTag = destinationTag;
        break;
    case ChooseFolder:
        chooseFolder();
        break;
    case ChooseFtp:
        chooseFtp();
        break;
    case Recent:
        chooseDestination(m_recent.value(itemData(index, kRecentRole).toInt()));
        break;
    case ClearMenu:
        clearRecentDestinations();
        restorePreviousSelection();
        break;
    default:
        restorePreviousSelection();
        break;
    }
}

void ZKDestinationPopUpButton::chooseAnyFolder() {
    setDestination(nullptr);
    Q_EMIT destinationChanged(nullptr);
}

void ZKDestinationPopUpButton::takeChosen(const ZKWriterPtr &destination) {
    if (!destination) {
        restorePreviousSelection();
        return;
    }
    addRecentDestination(destination);
    setDestination(destination);
    Q_EMIT destinationChanged(destination);
}

void ZKDestinationPopUpButton::chooseFolder() {
    auto *panel = ZKOpenPanel::folderPanel(
        window(), tr("Destination"),
        m_destination && m_destination->isLocal() ? m_destination->url() : QUrl());
    // The sheet belongs to the window, which may outlive the button.
    panel->beginSheetModalForWindow(window(), [self = QPointer(this), panel](bool ok) {
        panel->deleteLater();
        if (!self) {
            return;
        }
        const QList<QUrl> urls = ok ? panel->urls() : QList<QUrl>{};
        self->takeChosen(urls.isEmpty() ? nullptr
                                        : ZKFileSystemWriter::writerWithDirectory(urls.first()));
    });
}

void ZKDestinationPopUpButton::chooseFtp() {
    auto *panel = new ZKRemoteServerPanel(window(), m_defaults);
    panel->displaySheetForWindow(window(), [self = QPointer(this), panel](bool chosen) {
        panel->deleteLater();
        if (!self) {
            return;
        }
        ZKWriterPtr writer;
        if (chosen) {
            // An empty password field means the stored password.
            writer = panel->directoryWriter();
        }
        self->takeChosen(writer);
    });
}

void ZKDestinationPopUpButton::chooseDestination(const ZKWriterPtr &recent) {
    takeChosen(recent);
}

void ZKDestinationPopUpButton::clearRecentDestinations() {
    m_defaults->setObject(kRecentDestinations, QVariantList{});
    createMenuItems();
}

QList<ZKWriterPtr> ZKDestinationPopUpButton::recentDestinations() const {
    QList<ZKWriterPtr> destinations;
    const QVariantList stored = m_defaults->objectForKey(kRecentDestinations).toList();
    for (const QVariant &entry : stored) {
        if (auto writer = ZKPropertyListParser::parseObjectOfType<ZKWriter>(entry.toMap())) {
            destinations << writer;
        }
    }
    return destinations;
}

void ZKDestinationPopUpButton::addRecentDestination(const ZKWriterPtr &destination) {
    const QVariant entry = destination->asPropertyList();
    QVariantList stored = m_defaults->objectForKey(kRecentDestinations).toList();
    stored.removeOne(entry);
    if (stored.size() >= recentLimit) {
        stored.removeLast();
    }
    stored.prepend(entry);
    m_defaults->setObject(kRecentDestinations, stored);
    createMenuItems();
}

void ZKDestinationPopUpButton::restorePreviousSelection() {
    const int index = findData(m_previousTag);
    setCurrentIndex(index >= 0 ? index : findData(anyFolderTag));
}
