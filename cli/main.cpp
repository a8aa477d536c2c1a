// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKCommandLine.h"
#include "ZKProcessArguments.h"
#include "ZKTranslations.h"

#include <QCoreApplication>
#include <QLoggingCategory>

int main(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    // Diagnostic lines are for --verbose; the user sees the front end's own.
    QLoggingCategory::setFilterRules(QStringLiteral("ferrowick.*=false"));
    QCoreApplication::setOrganizationName(QStringLiteral("velmarind"));
    QCoreApplication::setApplicationName(QStringLiteral("Ferrowick"));
    ZKTranslations::install();
    const QStringList arguments = QCoreApplication::arguments();
    ZKProcessArguments::hidePasswords(argc, argv);
    return ZKCommandLine::run(arguments);
}
