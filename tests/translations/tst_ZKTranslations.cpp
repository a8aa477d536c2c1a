// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"
#include "ZKByteCountFormatter.h"
#include "ZKDocumentController.h"
#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKQueueState.h"
#include "ZKQueueWindow.h"
#include "ZKTranslations.h"

#include <QApplication>
#include <QComboBox>
#include <QMenuBar>
#include <QProcess>
#include <QStandardPaths>
#include <QStyleOptionComboBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTranslator>

#include <optional>

namespace {

// Every entry of the window's menus, submenus included, in order.
QStringList menuTexts(QWidget *window) {
    QStringList texts;
    std::function<void(const QList<QAction *> &)> walk = [&](const QList<QAction *> &actions) {
        for (QAction *action : actions) {
            if (action->isSeparator()) {
                continue;
            }
            texts << action->text();
            if (action->menu()) {
                walk(action->menu()->actions());
            }
        }
    };
    walk(window->findChild<QMenuBar *>()->actions());
    return texts;
}

// The window as the application makes it, with the entries the application
// adds (the preferences among them), and the preferences' page names.
QStringList textsOfNewWindow() {
    ZKAppDelegate delegate;
    delegate.applicationWillFinishLaunching();
    delegate.applicationDidFinishLaunching();
    ZKQueueWindow *window = delegate.documentController().newDocument();
    QStringList texts = menuTexts(window);
    const auto *tabs = delegate.preferencesWindow().findChild<QTabWidget *>();
    for (int i = 0; i < tabs->count(); ++i) {
        texts << tabs->tabText(i);
    }
    texts << delegate.preferencesWindow().windowTitle();
    window->setDiscardChanges(true);
    window->close();
    return texts;
}

// Removes Ferrowick's translators while it lives.
class EnglishOnly {
public:
    EnglishOnly()
        : m_translators(QCoreApplication::instance()->findChildren<QTranslator *>()) {
        for (QTranslator *translator : m_translators) {
            QCoreApplication::removeTranslator(translator);
        }
    }
    ~EnglishOnly() {
        for (QTranslator *translator : m_translators) {
            QCoreApplication::installTranslator(translator);
        }
    }
    EnglishOnly(const EnglishOnly &) = delete;
    EnglishOnly &operator=(const EnglishOnly &) = delete;

private:
    QList<QTranslator *> m_translators;
};

// The combo boxes of the preferences whose current text does not fit them,
// page by page, as the window shows them.
QStringList clippedChoices() {
    ZKPreferencesWindow preferences;
    preferences.show();
    QStringList clipped;
    for (const QString &page : {QStringLiteral("General"), QStringLiteral("Defaults"),
                                QStringLiteral("Downloads"), QStringLiteral("Sounds")}) {
        preferences.showPage(page);
        QCoreApplication::processEvents();
        const auto lists =
            preferences.findChild<QTabWidget *>()->currentWidget()->findChildren<QComboBox *>();
        for (const QComboBox *list : lists) {
            QStyleOptionComboBox option;
            option.initFrom(list);
            const QSize text(list->fontMetrics().horizontalAdvance(list->currentText()),
                             list->fontMetrics().height());
            const int needed =
                list->style()->sizeFromContents(QStyle::CT_ComboBox, &option, text, list).width();
            if (list->width() < needed) {
                clipped << QStringLiteral("%1 (%2 of %3 pixels)")
                               .arg(list->currentText())
                               .arg(list->width())
                               .arg(needed);
            }
        }
    }
    return clipped;
}

// What a new queue window at its own size cannot show on its toolbar, from
// a queue that opens paused and is then started (Pause may be longer than
// Start).
QString toolBarOverflow() {
    auto document = std::make_unique<ZKFerrowickDocument>();
    document->setState(ZKQueueState::Paused);
    ZKQueueWindow window(std::move(document));
    window.show();
    window.document()->setState(ZKQueueState::Running);
    QCoreApplication::processEvents();
    const auto *bar = window.findChild<QToolBar *>();
    const auto *more = bar->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"));
    if (more && more->isVisible()) {
        return QStringLiteral("%1 pixels wanted in a window of %2")
            .arg(bar->sizeHint().width())
            .arg(window.width());
    }
    return {};
}

void setGermanEnvironment() {
    qputenv("LANG", "de_DE.UTF-8");
    for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"}) {
        qunsetenv(name);
    }
}

} // namespace

class TestZKTranslations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void menusReadGerman();
    void preferencesKeepTheirShortcut();
    void pluralsReadCorrectEnglish();
    void sizesReadGerman();
    void unreadTaskEntriesReadGerman();
    void cliSpeaksGerman();
    void textsFitTheirControls_data();
    void textsFitTheirControls();
};

void TestZKTranslations::menusReadGerman() {
    // The same window in English (no translator) and in German: every entry
    // must have changed but the few that read the same in both languages.
    QStringList english;
    {
        const EnglishOnly englishOnly;
        english = textsOfNewWindow();
    }
    const QStringList german = textsOfNewWindow();
    QCOMPARE(german.size(), english.size());
    QVERIFY2(english.size() > 30, qUtf8Printable(english.join(u", ")));

    const QStringList sameInBoth{QStringLiteral("Ferrowick-Website"), QStringLiteral("Downloads")};
    QStringList untranslated;
    for (qsizetype i = 0; i < english.size(); ++i) {
        if (german.at(i) == english.at(i) && !sameInBoth.contains(german.at(i))) {
            untranslated << english.at(i);
        }
    }
    QVERIFY2(untranslated.isEmpty(), qUtf8Printable(untranslated.join(u", ")));
    for (const char *expected :
         {"&Datei", "&Bearbeiten", "&Warteschlange", "&Hilfe", "Speichern unter …",
          "Einstellungen …", "Einstellungen", "Allgemein"}) {
        QVERIFY2(german.contains(QString::fromUtf8(expected)),
                 qUtf8Printable(QStringLiteral("no \"%1\" in %2")
                                    .arg(QString::fromUtf8(expected), german.join(u", "))));
    }
}

void TestZKTranslations::preferencesKeepTheirShortcut() {
    ZKAppDelegate delegate;
    delegate.applicationWillFinishLaunching();
    delegate.applicationDidFinishLaunching();
    ZKQueueWindow *window = delegate.documentController().newDocument();
    const auto *preferences = window->findChild<QAction *>(QStringLiteral("showPreferences"));
    QVERIFY(preferences);
    QCOMPARE(preferences->text(), QStringLiteral("Einstellungen …"));
    QVERIFY2(preferences->shortcuts().contains(QKeySequence(Qt::CTRL | Qt::Key_Comma)),
             qUtf8Printable(QKeySequence::listToString(preferences->shortcuts())));
    window->setDiscardChanges(true);
    window->close();
}

void TestZKTranslations::pluralsReadCorrectEnglish() {
    // The English plural forms lie beneath every language, so a language
    // without a translation still counts "1 byte" right.
    const auto translators = QCoreApplication::instance()->findChildren<QTranslator *>();
    for (QTranslator *translator : translators) {
        QCoreApplication::removeTranslator(translator);
    }
    QTranslator english;
    const bool loaded = english.load(QLocale(QLocale::English), QStringLiteral("ferrowick"),
                                     QStringLiteral("_"), ZKTranslations::folders().constLast());
    QCoreApplication::installTranslator(&english);
    const QString one = ZKByteCountFormatter::formatFileSize(1);
    const QString two = ZKByteCountFormatter::formatFileSize(2);
    QCoreApplication::removeTranslator(&english);
    for (QTranslator *translator : translators) {
        QCoreApplication::installTranslator(translator);
    }
    QVERIFY(loaded);
    QCOMPARE(one, QStringLiteral("1 byte"));
    QCOMPARE(two, QStringLiteral("2 bytes"));
    QCOMPARE(ZKByteCountFormatter::formatFileSize(1), QStringLiteral("1 Byte"));
}

void TestZKTranslations::sizesReadGerman() {
    // The session's language alone sets the notation, as it does the texts.
    QCOMPARE(ZKByteCountFormatter::formatFileSize(1536), QStringLiteral("1,5 KB"));
    QCOMPARE(ZKByteCountFormatter::formatDataRate(1536), QStringLiteral("1,5 KB/s"));
}

void TestZKTranslations::unreadTaskEntriesReadGerman() {
    // Why an entry stays unread reaches the user beside the report of it.
    QCOMPARE(ZKFerrowickDocument::unreadableTaskEntryReason(QVariant(42)),
             QStringLiteral("Er ist kein Wörterbuch."));
}

void TestZKTranslations::cliSpeaksGerman() {
    QTemporaryDir dir;
    QProcess cli;
    cli.setProcessChannelMode(QProcess::MergedChannels);
    cli.start(QStringLiteral(FERROWICK_CLI),
              {QStringLiteral("copy"), QStringLiteral("/missing/file"), dir.filePath("x")});
    QVERIFY(cli.waitForFinished(60000));
    const QString output = QString::fromUtf8(cli.readAll());
    QCOMPARE(cli.exitCode(), 1);
    QVERIFY2(output.contains(QStringLiteral("Fehlgeschlagen")), qUtf8Printable(output));
}

void TestZKTranslations::textsFitTheirControls_data() {
    QTest::addColumn<bool>("german");
    QTest::newRow("English") << false;
    QTest::newRow("German") << true;
}

void TestZKTranslations::textsFitTheirControls() {
    // Longer words must not cut a choice short or push the toolbar's
    // controls behind its overflow arrow.
    QFETCH(bool, german);
    std::optional<EnglishOnly> englishOnly;
    if (!german) {
        englishOnly.emplace();
    }
    const QStringList clipped = clippedChoices();
    QVERIFY2(clipped.isEmpty(), qUtf8Printable(clipped.join(u", ")));
    const QString overflow = toolBarOverflow();
    QVERIFY2(overflow.isEmpty(), qUtf8Printable(overflow));
}

int main(int argc, char **argv) {
    // Before the application object reads the locale.
    setGermanEnvironment();
    QStandardPaths::setTestModeEnabled(true);
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("velmarind"));
    QApplication::setApplicationName(QStringLiteral("Ferrowick"));
    ZKTranslations::install();
    ZKPreferences::initialiseUserDefaults();
    TestZKTranslations test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKTranslations.moc"
