// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKTranslations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QStandardPaths>
#include <QTranslator>

namespace {

bool installFrom(const QStringList &folders, const QLocale &locale, const QString &name) {
    for (const QString &folder : folders) {
        auto *translator = new QTranslator(QCoreApplication::instance());
        if (translator->load(locale, name, QStringLiteral("_"), folder)) {
            QCoreApplication::installTranslator(translator);
            return true;
        }
        delete translator;
    }
    return false;
}

} // namespace

void ZKTranslations::install() {
    const QLocale locale;
    installFrom({QLibraryInfo::path(QLibraryInfo::TranslationsPath)}, locale,
                QStringLiteral("qtbase"));
    // The source texts are English but cannot tell "1 byte" from "2 bytes";
    // the English plural forms go in first, so that a language Ferrowick does
    // not speak yet reads correct English where its own file has no entry.
    const QStringList own = folders();
    installFrom(own, QLocale(QLocale::English), QStringLiteral("ferrowick"));
    installFrom(own, locale, QStringLiteral("ferrowick"));
}

QStringList ZKTranslations::folders() {
    QStringList folders =
        QStandardPaths::locateAll(QStandardPaths::AppDataLocation, QStringLiteral("translations"),
                                  QStandardPaths::LocateDirectory);
    folders << QDir::cleanPath(QCoreApplication::applicationDirPath() +
                               QStringLiteral("/../share/velmarind/Ferrowick/translations"));
#ifdef FERROWICK_TRANSLATIONS_DIR
    folders << QStringLiteral(FERROWICK_TRANSLATIONS_DIR);
#endif
    return folders;
}
