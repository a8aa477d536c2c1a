// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAppDelegate.h"
#include "ZKByteCountFormatter.h"
#include "ZKDocumentController.h"
#include "ZKPreferences.h"
#include "ZKPreferencesWindow.h"
#include "ZKQueueWindow.h"
#include "ZKTranslations.h"

#include <QApplication>
#include <QMenuBar>
#include <QProcess>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

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
    void cliSpeaksGerman();
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
