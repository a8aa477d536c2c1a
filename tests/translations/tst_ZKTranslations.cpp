// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKByteCountFormatter.h"
#include "ZKFerrowickDocument.h"
#include "ZKPreferences.h"
#include "ZKQueueWindow.h"
#include "ZKTranslations.h"

#include <QApplication>
#include <QMenuBar>
#include <QProcess>
#include <QStandardPaths>
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

QStringList menuTextsOfNewWindow() {
    ZKQueueWindow window(std::make_unique<ZKFerrowickDocument>());
    return menuTexts(&window);
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
    void pluralsReadCorrectEnglish();
    void cliSpeaksGerman();
};

void TestZKTranslations::menusReadGerman() {
    // The same window in English (no translator) and in German: every entry
    // must have changed but the few that read the same in both languages.
    const auto translators = QCoreApplication::instance()->findChildren<QTranslator *>();
    for (QTranslator *translator : translators) {
        QCoreApplication::removeTranslator(translator);
    }
    const QStringList english = menuTextsOfNewWindow();
    for (QTranslator *translator : translators) {
        QCoreApplication::installTranslator(translator);
    }
    const QStringList german = menuTextsOfNewWindow();
    QCOMPARE(german.size(), english.size());
    QVERIFY2(english.size() > 30, qUtf8Printable(english.join(u", ")));

    const QStringList sameInBoth{QStringLiteral("Ferrowick-Website")};
    QStringList untranslated;
    for (qsizetype i = 0; i < english.size(); ++i) {
        if (german.at(i) == english.at(i) && !sameInBoth.contains(german.at(i))) {
            untranslated << english.at(i);
        }
    }
    QVERIFY2(untranslated.isEmpty(), qUtf8Printable(untranslated.join(u", ")));
    for (const char *expected :
         {"&Datei", "&Bearbeiten", "&Warteschlange", "&Hilfe", "Speichern unter …"}) {
        QVERIFY2(german.contains(QString::fromUtf8(expected)),
                 qUtf8Printable(QStringLiteral("no \"%1\" in %2")
                                    .arg(QString::fromUtf8(expected), german.join(u", "))));
    }
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
