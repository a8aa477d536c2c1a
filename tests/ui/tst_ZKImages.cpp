// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKImages.h"
#include "ZKTestSupport.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QImage>
#include <QPalette>
#include <QPixmap>
#include <QTest>

class TestZKImages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void drawingsRender_data();
    void drawingsRender();
    void symbolicDrawingsTakeTheTextColour_data();
    void symbolicDrawingsTakeTheTextColour();
    void colouredDrawingsKeepTheirColours();
    void endpointsAlwaysHaveAnIcon_data();
    void endpointsAlwaysHaveAnIcon();

private:
    static void usePalette(const QColor &text, const QColor &disabledText) {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Active, QPalette::WindowText, text);
        palette.setColor(QPalette::Disabled, QPalette::WindowText, disabledText);
        QGuiApplication::setPalette(palette);
    }

    // The colour of the drawing's most opaque pixel, and whether any pixel
    // is drawn at all.
    static QColor strongestPixel(const QImage &image) {
        QColor strongest(0, 0, 0, 0);
        const QImage plain = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x) {
                const QColor pixel = plain.pixelColor(x, y);
                if (pixel.alpha() > strongest.alpha()) {
                    strongest = pixel;
                }
            }
        }
        return strongest;
    }

    QPalette m_original;
};

void TestZKImages::initTestCase() {
    m_original = QGuiApplication::palette();
    // No icon theme: every endpoint icon must come from the bundled drawings.
    QIcon::setThemeName(QStringLiteral("zk-no-such-theme"));
}

void TestZKImages::cleanup() {
    QGuiApplication::setPalette(m_original);
}

void TestZKImages::drawingsRender_data() {
    QTest::addColumn<QString>("name");
    // Every drawing bundled, so that one added later is checked too.
    (void)ZKImages::named(QString());
    const QStringList files = QDir(QStringLiteral(":/images")).entryList({QStringLiteral("*.svg")});
    QVERIFY(files.size() > 20);
    for (const QString &file : files) {
        QTest::newRow(qPrintable(file)) << file.chopped(4);
    }
}

void TestZKImages::drawingsRender() {
    QFETCH(QString, name);
    const QIcon icon = ZKImages::named(name);
    QVERIFY2(!icon.isNull(), qUtf8Printable(name + QStringLiteral(" has no drawing")));
    for (const qreal ratio : {1.0, 2.0}) {
        for (const int size : {16, 24, 32}) {
            const QPixmap pixmap = icon.pixmap(QSize(size, size), ratio);
            // Drawn at the screen's own resolution, not scaled up afterwards.
            QCOMPARE(pixmap.size(), QSize(size, size) * ratio);
            QVERIFY2(strongestPixel(pixmap.toImage()).alpha() == 255,
                     qUtf8Printable(QStringLiteral("%1 at %2 px x%3 draws nothing solid")
                                        .arg(name)
                                        .arg(size)
                                        .arg(ratio)));
        }
    }
    QVERIFY(ZKImages::named(QStringLiteral("ZKNoSuchDrawing")).isNull());
}

void TestZKImages::symbolicDrawingsTakeTheTextColour_data() {
    QTest::addColumn<QString>("name");
    for (const char *name : {"ZKActionResume", "ZKActionRetry", "ZKActionCancel", "ZKToolbarStart",
                             "ZKToolbarDestination"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void TestZKImages::symbolicDrawingsTakeTheTextColour() {
    QFETCH(QString, name);
    const QIcon icon = ZKImages::named(name);
    // The same icon object follows a palette switch: views keep their icons.
    for (const auto &[text, disabled] : {std::pair{QColor(20, 20, 20), QColor(150, 150, 150)},
                                         std::pair{QColor(240, 240, 240), QColor(90, 90, 90)}}) {
        usePalette(text, disabled);
        QCOMPARE(strongestPixel(icon.pixmap(32).toImage()).rgb(), text.rgb());
        QCOMPARE(strongestPixel(icon.pixmap(32, QIcon::Disabled).toImage()).rgb(), disabled.rgb());
    }
}

void TestZKImages::colouredDrawingsKeepTheirColours() {
    const QIcon failed = ZKImages::named(QStringLiteral("ZKFailed"));
    usePalette(Qt::black, Qt::gray);
    const QImage onLight = failed.pixmap(32).toImage();
    usePalette(Qt::white, Qt::gray);
    QCOMPARE(failed.pixmap(32).toImage(), onLight);
    const QColor centre = onLight.pixelColor(8, 16);
    QVERIFY2(centre.red() > 2 * centre.green(), qUtf8Printable(centre.name()));
}

void TestZKImages::endpointsAlwaysHaveAnIcon_data() {
    QTest::addColumn<QString>("iconName");
    QTest::addColumn<QString>("drawing");

    QTest::newRow("folder") << "folder"
                            << "fallback-folder";
    QTest::newRow("script") << "text-x-python"
                            << "fallback-text-x-generic";
    QTest::newRow("picture") << "image-png"
                             << "fallback-image-x-generic";
    QTest::newRow("archive") << "application-zip"
                             << "fallback-package-x-generic";
    QTest::newRow("disc image") << "application-x-cd-image"
                                << "fallback-package-x-generic";
    QTest::newRow("program") << "application-x-executable"
                             << "fallback-application-x-executable";
    QTest::newRow("unknown type") << "application-x-zk-unheard-of"
                                  << "fallback-text-x-generic";
    QTest::newRow("no dash") << "nonsense"
                             << "fallback-text-x-generic";
    QTest::newRow("empty") << ""
                           << "fallback-text-x-generic";
}

void TestZKImages::endpointsAlwaysHaveAnIcon() {
    QFETCH(QString, iconName);
    QFETCH(QString, drawing);
    const QIcon icon = ZKImages::endpointIcon(iconName);
    QVERIFY2(!icon.isNull(), qUtf8Printable(iconName));
    QVERIFY(strongestPixel(icon.pixmap(16).toImage()).alpha() > 0);
    // The fallback theme may still know a name; only then may the icon differ.
    if (!QIcon::hasThemeIcon(iconName) && !QIcon::hasThemeIcon(drawing.mid(9))) {
        QCOMPARE(icon.cacheKey(), ZKImages::named(drawing).cacheKey());
    }
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKImages test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKImages.moc"
