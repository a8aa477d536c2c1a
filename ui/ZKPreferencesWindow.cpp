// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKPreferencesWindow.h"

#include "ZKDestinationPopUpButton.h"
#include "ZKNotificationManager.h"
#include "ZKPreferences.h"
#include "ZKPropertyListParser.h"
#include "ZKQueueState.h"
#include "ZKReaderFactory.h"
#include "ZKSymbolicLinkHandling.h"
#include "ZKUserDefaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTimeEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// The pages' names for showPage(), whatever language their tabs read in.
const QString kGeneral = QStringLiteral("General");
const QString kDefaults = QStringLiteral("Defaults");
const QString kDownloads = QStringLiteral("Downloads");
const QString kSounds = QStringLiteral("Sounds");

// The speed limit is stored in bytes per second and shown in kilobytes.
constexpr int kKilobyte = 1024;

// A delay in the largest whole unit. One of each unit has a text of its own,
// so that English reads right without its plural forms loaded.
QString durationLabel(int seconds) {
    if (seconds != 0 && seconds % 3600 == 0) {
        const int hours = seconds / 3600;
        return hours == 1 ? ZKPreferencesWindow::tr("1 hour")
                          : ZKPreferencesWindow::tr("%n hours", nullptr, hours);
    }
    if (seconds != 0 && seconds % 60 == 0) {
        const int minutes = seconds / 60;
        return minutes == 1 ? ZKPreferencesWindow::tr("1 minute")
                            : ZKPreferencesWindow::tr("%n minutes", nullptr, minutes);
    }
    return seconds == 1 ? ZKPreferencesWindow::tr("1 second")
                        : ZKPreferencesWindow::tr("%n seconds", nullptr, seconds);
}

QList<ZKPreferencesWindow::Choice> durationChoices(std::initializer_list<int> seconds) {
    QList<ZKPreferencesWindow::Choice> choices;
    for (const int each : seconds) {
        choices.append({durationLabel(each), each});
    }
    return choices;
}

QString otherLabel(int value) {
    return ZKPreferencesWindow::tr("Other (%1)").arg(value);
}

// The first-run time of day of a schedule key whose date is missing.
QTime defaultTime(const QString &key) {
    return key.startsWith(QLatin1String("start")) ? QTime(10, 0) : QTime(18, 0);
}

QWidget *page(QLayout *layout) {
    auto *widget = new QWidget;
    auto *outer = new QVBoxLayout(widget);
    outer->addLayout(layout);
    outer->addStretch(1);
    return widget;
}

QFormLayout *formLayout() {
    auto *form = new QFormLayout;
    // Fields keep their natural width, as in the desktop's own settings.
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    return form;
}

// A list of choices, filled whenever the settings are loaded. It is first
// measured empty, before any loading, and a combo box keeps that measure of
// its least width; in a language with longer words the window then squeezes
// it and cuts its text short. So its width follows its choices, and it never
// gets narrower than the longest of them.
QComboBox *choiceList(const QString &key, const QString &accessibleName) {
    auto *list = new QComboBox;
    list->setObjectName(key);
    list->setAccessibleName(accessibleName);
    list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    list->setSizePolicy(QSizePolicy::Fixed, list->sizePolicy().verticalPolicy());
    return list;
}

// Several check boxes under one label.
QWidget *column(const QList<QWidget *> &widgets) {
    auto *box = new QWidget;
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets) {
        layout->addWidget(widget);
    }
    return box;
}

} // namespace

ZKPreferencesWindow::ZKPreferencesWindow(QWidget *parent, ZKUserDefaults *defaults)
    : QDialog(parent)
    , m_defaults(defaults ? defaults : &ZKUserDefaults::standard())
    , m_soundPlayer(&ZKNotificationManager::playSound) {
    setWindowTitle(tr("Preferences"));
    setObjectName(QStringLiteral("ZKPreferencesWindow"));

    m_tabs = new QTabWidget(this);
    m_tabs->setAccessibleName(tr("Preferences pages"));
    const std::pair<QWidget *, QString> pages[] = {
        {createGeneralPage(), tr("General")},
        {createDefaultsPage(), tr("Defaults")},
        {createDownloadsPage(), tr("Downloads")},
        {createSoundsPage(), tr("Sounds")},
    };
    const QString names[] = {kGeneral, kDefaults, kDownloads, kSounds};
    for (int i = 0; i < 4; ++i) {
        pages[i].first->setObjectName(names[i]);
        m_tabs->addTab(pages[i].first, pages[i].second);
    }

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    // Return in a list or a field must not close the window.
    buttons->button(QDialogButtonBox::Close)->setAutoDefault(false);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *closeShortcut = new QShortcut(QKeySequence::Close, this);
    connect(closeShortcut, &QShortcut::activated, this, &QDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);

    // Another window (or another copy of the program) may change a value
    // while this one is open; a signal from another thread arrives queued.
    connect(m_defaults, &ZKUserDefaults::valueChanged, this, [this](const QString &key) {
        if (!m_writing) {
            load(key);
        }
    });
    windowDidLoad();
}

ZKPreferencesWindow::~ZKPreferencesWindow() = default;

QList<ZKPreferencesWindow::Choice> ZKPreferencesWindow::listRetryDelayTimes() {
    return durationChoices({15, 30, 60, 300, 600, 900, 1800, 3600});
}

QList<ZKPreferencesWindow::Choice> ZKPreferencesWindow::listTimeoutTimes() {
    return durationChoices({1, 2, 3, 5, 10, 15, 30, 60, 120, 300, 600});
}

void ZKPreferencesWindow::windowDidLoad() {
    generalSelected();
    loadAll();
}

void ZKPreferencesWindow::showEvent(QShowEvent *event) {
    // Another process may have written the file since; its writes send no
    // signal here.
    loadAll();
    QDialog::showEvent(event);
}

// ---- pages

QWidget *ZKPreferencesWindow::createGeneralPage() {
    auto *form = formLayout();
    form->addRow(tr("New queues &start:"),
                 bindChoices(
                     ZKPreferences::queueState, tr("New queues start"),
                     [] {
                         return QList<Choice>{{tr("Running"), ZKQueueState::Running},
                                              {tr("Paused"), ZKQueueState::Paused}};
                     },
                     otherLabel, ZKQueueState::Running));

    // Made in the order they are shown, which is the order Tab follows.
    auto *verify = bindCheckBox(ZKPreferences::verifyEnabled, tr("&Verify files after copying"));
    auto *clear = bindCheckBox(ZKPreferences::automaticClearEnabled, tr("&Clear completed tasks"));
    auto *retry =
        bindCheckBox(ZKPreferences::automaticRetryEnabled, tr("&Retry failed tasks after"));
    auto *delay =
        bindChoices(ZKPreferences::automaticRetryDelaySeconds, tr("Retry failed tasks after"),
                    &listRetryDelayTimes, durationLabel, 30);
    follow(retry, delay);
    auto *retryRow = new QWidget;
    auto *retryLayout = new QHBoxLayout(retryRow);
    retryLayout->setContentsMargins(0, 0, 0, 0);
    retryLayout->addWidget(retry);
    retryLayout->addWidget(delay);
    retryLayout->addStretch(1);
    form->addRow(tr("New queues:"), column({verify, clear, retryRow}));

    form->addRow(tr("Summary shows:"),
                 column({bindCheckBox(ZKPreferences::showDataRate, tr("Data r&ate")),
                         bindCheckBox(ZKPreferences::showDataSize, tr("Data si&ze"))}));
    return page(form);
}

QWidget *ZKPreferencesWindow::createDefaultsPage() {
    auto *form = formLayout();
    m_destinationPopup = new ZKDestinationPopUpButton(this, m_defaults);
    m_destinationPopup->setObjectName(ZKPreferences::defaultDestination);
    m_destinationPopup->setAccessibleName(tr("Default destination"));
    connect(m_destinationPopup, &ZKDestinationPopUpButton::destinationChanged, this,
            [this](const ZKWriterPtr &destination) { setDefaultDestination(destination); });
    addLoader(ZKPreferences::defaultDestination,
              [this] { m_destinationPopup->setDestination(defaultDestination()); });
    form->addRow(tr("Default &destination:"), m_destinationPopup);

    form->addRow(tr("Symbolic &links:"),
                 bindChoices(
                     ZKPreferences::symbolicLinkAction, tr("Symbolic links"),
                     [] {
                         return QList<Choice>{
                             {tr("Copy the link"), ZKSymbolicLinkHandlingCopyLink},
                             {tr("Copy what it points to"), ZKSymbolicLinkHandlingFollow},
                             {tr("Leave it out"), ZKSymbolicLinkHandlingSkip}};
                     },
                     otherLabel, ZKSymbolicLinkHandlingCopyLink));

    form->addRow(
        tr("Keep:"),
        column({bindCheckBox(ZKPreferences::copyCreationTime, tr("C&reation time")),
                bindCheckBox(ZKPreferences::copyModificationTime, tr("&Modification time")),
                bindCheckBox(ZKPreferences::copyPermissions, tr("&Permissions")),
                bindCheckBox(ZKPreferences::copyOwnership, tr("&Owner and group"))}));

    // Service files that other systems leave on shared and removable drives:
    // users rarely want them, and the names say what they are.
    form->addRow(
        tr("Also copy:"),
        column(
            {bindCheckBox(ZKPreferences::copyHiddenFiles,
                          tr("&Hidden files (names starting with a dot)")),
             bindCheckBox(ZKPreferences::copyDsStoreFiles, tr("Folder &view settings (.DS_Store)")),
             bindCheckBox(ZKPreferences::copyThumbsDbFiles, tr("&Thumbnail caches (.Thumbs.db)")),
             bindCheckBox(ZKPreferences::copyTrashes, tr("Tr&ash folders (.Trash, .Trashes)")),
             bindCheckBox(ZKPreferences::copySpotlightFolders,
                          tr("Search &index folders (.Spotlight-V100)")),
             bindCheckBox(ZKPreferences::copyTemporaryFiles,
                          tr("T&emporary items (.TemporaryItems)")),
             bindCheckBox(ZKPreferences::copyFileSystemInternalFiles,
                          tr("&File system logs (.fseventsd, .metadata)"))}));
    return page(form);
}

QWidget *ZKPreferencesWindow::createDownloadsPage() {
    auto *form = formLayout();
    form->addRow(tr("Network &time-out:"),
                 bindChoices(ZKPreferences::downloadTimeout, tr("Network time-out"),
                             &listTimeoutTimes, durationLabel, 5));

    // The speed limit and the schedule of a queue are set in its own window;
    // these are what a new queue starts with.
    auto *limitOn = bindCheckBox(ZKPreferences::speedLimitEnabled, tr("&Limit new queues to"));
    auto *limit = new QSpinBox;
    limit->setObjectName(ZKPreferences::speedLimit);
    limit->setAccessibleName(tr("Speed limit in kilobytes per second"));
    limit->setRange(1, 1024 * 1024);
    limit->setSuffix(tr(" KB/s"));
    limit->setGroupSeparatorShown(true);
    addLoader(ZKPreferences::speedLimit, [this, limit] {
        const qint64 bytes = m_defaults->hasObject(ZKPreferences::speedLimit)
                                 ? m_defaults->integerForKey(ZKPreferences::speedLimit)
                                 : kKilobyte;
        limit->setValue(
            int(std::clamp<qint64>((bytes + kKilobyte / 2) / kKilobyte, 1, 1024 * 1024)));
    });
    connect(limit, &QSpinBox::valueChanged, this, [this](int kilobytes) {
        if (!m_loading) {
            write([&] {
                m_defaults->setInteger(ZKPreferences::speedLimit, qint64(kilobytes) * kKilobyte);
            });
        }
    });
    follow(limitOn, limit);
    auto *limitRow = new QHBoxLayout;
    limitRow->addWidget(limitOn);
    limitRow->addWidget(limit);
    limitRow->addStretch(1);
    form->addRow(tr("Speed limit:"), limitRow);

    auto *scheduleOn =
        bindCheckBox(ZKPreferences::scheduleEnabled, tr("&Use a schedule in new queues"));
    form->addRow(tr("Schedule:"), scheduleOn);
    struct Timer {
        QString enabledKey;
        QString timeKey;
        QString text;
    };
    const Timer timers[] = {
        {ZKPreferences::startCopyEnabled, ZKPreferences::startCopyTime, tr("&Start copying at")},
        {ZKPreferences::stopCopyEnabled, ZKPreferences::stopCopyTime, tr("St&op copying at")},
        {ZKPreferences::startSpeedLimitEnabled, ZKPreferences::startSpeedLimitTime,
         tr("Tur&n the speed limit on at")},
        {ZKPreferences::stopSpeedLimitEnabled, ZKPreferences::stopSpeedLimitTime,
         tr("Turn the speed limit o&ff at")},
    };
    auto *grid = new QGridLayout;
    grid->setContentsMargins(0, 0, 0, 0);
    for (const Timer &timer : timers) {
        auto *on = bindCheckBox(timer.enabledKey, timer.text);
        auto *time = new QTimeEdit;
        time->setObjectName(timer.timeKey);
        time->setAccessibleName(QString(timer.text).remove(QLatin1Char('&')));
        time->setDisplayFormat(QStringLiteral("HH:mm"));
        addLoader(timer.timeKey, [this, time, key = timer.timeKey] {
            const QDateTime stored = m_defaults->dateForKey(key);
            time->setTime(stored.isValid() ? stored.toLocalTime().time() : defaultTime(key));
        });
        connect(time, &QTimeEdit::timeChanged, this, [this, key = timer.timeKey](QTime chosen) {
            if (m_loading) {
                return;
            }
            // Only the time of day counts; the date of the first run stays.
            const QDateTime stored = m_defaults->dateForKey(key);
            const QDate date =
                stored.isValid() ? stored.toLocalTime().date() : QDate::currentDate();
            write([&] { m_defaults->setDate(key, QDateTime(date, chosen)); });
        });
        follow(scheduleOn, on);
        follow(on, time, scheduleOn);
        const int row = grid->rowCount();
        grid->addWidget(on, row, 0);
        grid->addWidget(time, row, 1);
    }
    grid->setColumnStretch(2, 1);
    form->addRow(QString(), grid);
    return page(form);
}

QWidget *ZKPreferencesWindow::createSoundsPage() {
    auto *form = formLayout();
    form->addRow(tr("When a queue &completes:"),
                 bindSound(ZKPreferences::completionSound, tr("Completion sound")));
    form->addRow(tr("When a queue has &failures:"),
                 bindSound(ZKPreferences::failureSound, tr("Failure sound")));
    return page(form);
}

// ---- bindings

void ZKPreferencesWindow::addLoader(const QString &key, std::function<void()> loader) {
    m_loaders[key] << std::move(loader);
}

void ZKPreferencesWindow::load(const QString &key) {
    const auto loaders = m_loaders.value(key);
    m_loading = true;
    for (const auto &loader : loaders) {
        loader();
    }
    m_loading = false;
}

void ZKPreferencesWindow::loadAll() {
    const QStringList keys = m_loaders.keys();
    for (const QString &key : keys) {
        load(key);
    }
}

void ZKPreferencesWindow::write(const std::function<void()> &change) {
    m_writing = true;
    change();
    m_writing = false;
}

void ZKPreferencesWindow::follow(QCheckBox *box, QWidget *control, QCheckBox *also) {
    auto update = [box, control, also] {
        control->setEnabled(box->isChecked() && (!also || also->isChecked()));
    };
    connect(box, &QCheckBox::toggled, control, update);
    if (also) {
        connect(also, &QCheckBox::toggled, control, update);
    }
    update();
}

QCheckBox *ZKPreferencesWindow::bindCheckBox(const QString &key, const QString &text) {
    auto *box = new QCheckBox(text);
    box->setObjectName(key);
    box->setAccessibleName(QString(text).remove(QLatin1Char('&')));
    addLoader(key, [this, box, key] { box->setChecked(m_defaults->boolForKey(key)); });
    connect(box, &QCheckBox::toggled, this, [this, key](bool checked) {
        if (!m_loading) {
            write([&] { m_defaults->setBool(key, checked); });
        }
    });
    return box;
}

QComboBox *ZKPreferencesWindow::bindChoices(const QString &key, const QString &accessibleName,
                                            std::function<QList<Choice>()> choices,
                                            std::function<QString(int)> otherLabel,
                                            int firstRunValue) {
    auto *list = choiceList(key, accessibleName);
    addLoader(key, [this, list, key, choices, otherLabel, firstRunValue] {
        const int stored =
            m_defaults->hasObject(key) ? int(m_defaults->integerForKey(key)) : firstRunValue;
        list->clear();
        for (const Choice &choice : choices()) {
            list->addItem(choice.first, choice.second);
        }
        int index = list->findData(stored);
        if (index < 0) {
            // Shown as it is rather than changed behind the user's back.
            index = 0;
            while (index < list->count() && list->itemData(index).toInt() < stored) {
                ++index;
            }
            list->insertItem(index, otherLabel(stored), stored);
        }
        list->setCurrentIndex(index);
    });
    connect(list, &QComboBox::currentIndexChanged, this, [this, list, key](int index) {
        if (!m_loading && index >= 0) {
            write([&] { m_defaults->setInteger(key, list->itemData(index).toInt()); });
        }
    });
    return list;
}

QComboBox *ZKPreferencesWindow::bindSound(const QString &key, const QString &accessibleName) {
    auto *list = choiceList(key, accessibleName);
    addLoader(key, [this, list, key] {
        const QString stored = m_defaults->stringForKey(key);
        const QStringList names = ZKNotificationManager::soundNames();
        list->clear();
        list->addItem(tr("None"), QString());
        for (const QString &name : names) {
            list->addItem(name, name);
        }
        if (!stored.isEmpty() && !names.contains(stored)) {
            // A sound that has gone stays chosen until the user picks
            // another, shown for what it is and not offered again.
            list->addItem(tr("%1 (not found)").arg(stored), stored);
            auto *model = qobject_cast<QStandardItemModel *>(list->model());
            if (QStandardItem *item = model ? model->item(list->count() - 1) : nullptr) {
                item->setEnabled(false);
            }
        }
        list->setCurrentIndex(qMax(0, list->findData(stored)));
    });
    // Picking the same sound again plays it again, so that it can be heard
    // before it is kept.
    connect(list, &QComboBox::activated, this, [this, list, key](int index) {
        write([&] { m_defaults->setString(key, list->itemData(index).toString()); });
        soundSelected(list);
    });
    return list;
}

void ZKPreferencesWindow::soundSelected(QComboBox *list) {
    if (!list->currentData().toString().isEmpty() && m_soundPlayer) {
        m_soundPlayer(list->currentData().toString());
    }
}

void ZKPreferencesWindow::setSoundPlayer(SoundPlayer player) {
    m_soundPlayer = std::move(player);
}

// ---- destination

ZKWriterPtr ZKPreferencesWindow::defaultDestination() const {
    const QVariant saved = m_defaults->objectForKey(ZKPreferences::defaultDestination);
    if (saved.canConvert<QVariantMap>() && !saved.toMap().isEmpty()) {
        return ZKPropertyListParser::parseObjectOfType<ZKWriter>(saved.toMap());
    }
    // A plain path, as a hand-edited settings file may hold; queues read it
    // the same way.
    if (const QString path = saved.toString(); !path.isEmpty()) {
        if (const auto reader = ZKReaderFactory::readerWithPath(path)) {
            return reader->asWriter();
        }
    }
    return nullptr;
}

void ZKPreferencesWindow::setDefaultDestination(const ZKWriterPtr &destination) {
    write([&] {
        if (destination) {
            m_defaults->setObject(ZKPreferences::defaultDestination, destination->asPropertyList());
        } else {
            m_defaults->removeObject(ZKPreferences::defaultDestination);
        }
    });
    if (m_destinationPopup->destination() != destination) {
        m_destinationPopup->setDestination(destination);
    }
}

// ---- pages

bool ZKPreferencesWindow::showPage(const QString &name) {
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (m_tabs->widget(i)->objectName() == name) {
            m_tabs->setCurrentIndex(i);
            return true;
        }
    }
    return false;
}

QString ZKPreferencesWindow::currentPage() const {
    return m_tabs->currentWidget()->objectName();
}

void ZKPreferencesWindow::generalSelected() {
    showPage(kGeneral);
}

void ZKPreferencesWindow::defaultsSelected() {
    showPage(kDefaults);
}

void ZKPreferencesWindow::downloadsSelected() {
    showPage(kDownloads);
}

void ZKPreferencesWindow::soundsSelected() {
    showPage(kSounds);
}
