// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
//
// Renders one of the project's SVG drawings into the PNG sizes of the hicolor
// icon theme: HICOLOR/<size>x<size>/CONTEXT/NAME.png. Done at build time with
// Qt's own SVG renderer so that packaging needs no converter of its own.
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QStringList>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char **argv) {
    if (argc < 6) {
        std::fprintf(stderr, "Usage: %s SOURCE.svg HICOLOR-DIR CONTEXT NAME SIZE...\n", argv[0]);
        return 2;
    }
    const QString source = QString::fromLocal8Bit(argv[1]);
    const QDir hicolor(QString::fromLocal8Bit(argv[2]));
    const QString context = QString::fromLocal8Bit(argv[3]);
    const QString name = QString::fromLocal8Bit(argv[4]);

    QSvgRenderer renderer(source);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "%s: cannot read the drawing %s\n", argv[0], argv[1]);
        return 1;
    }
    for (int i = 5; i < argc; ++i) {
        bool ok = false;
        const int size = QString::fromLocal8Bit(argv[i]).toInt(&ok);
        if (!ok || size <= 0 || size > 4096) {
            std::fprintf(stderr, "%s: '%s' is not an icon size\n", argv[0], argv[i]);
            return 2;
        }
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        painter.end();

        const QString folder = QStringLiteral("%1x%1/%2").arg(size).arg(context);
        const QString path = hicolor.filePath(folder + QLatin1Char('/') + name + ".png");
        if (!hicolor.mkpath(folder) || !image.save(path, "PNG")) {
            std::fprintf(stderr, "%s: cannot write %s\n", argv[0], qPrintable(path));
            return 1;
        }
    }
    return 0;
}
