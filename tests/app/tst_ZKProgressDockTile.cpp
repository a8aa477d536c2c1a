// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressDockTile.h"
#include "ZKSessionBus.h"
#include "ZKTestSupport.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QPalette>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>

namespace {

// The tile is drawn at this size; the bar then covers rows 197.12 to 217.6.
constexpr int side = 256;
constexpr int barMiddle = 207;

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x35, 0x35), QColor(0x2b, 0x2b, 0x2b));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0xae, 0xe9));
    return palette;
}

QString describe(const QColor &color) {
    return color.name(QColor::HexArgb);
}

} // namespace

class TestZKProgressDockTile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void storesOnlyChangesAboveThreshold_data();
    void storesOnlyChangesAboveThreshold();
    void coalescesRefreshes();
    void drawsBarOverIcon_data();
    void drawsBarOverIcon();
    void roundsRightEndOnlyWhenComplete_data();
    void roundsRightEndOnlyWhenComplete();
    void updatesLauncherEntry();

    void receiveUpdate(const QDBusMessage &message) { m_updates << message; }

private:
    ZKSessionBus m_bus;
    QList<QDBusMessage> m_updates;
};

void TestZKProgressDockTile::initTestCase() {
    // The tile talks to the session bus; it is the test's own.
    QVERIFY2(m_bus.start(), qUtf8Printable(m_bus.errorString()));
}

void TestZKProgressDockTile::cleanup() {
    QApplication::setPalette(QApplication::style()->standardPalette());
}

void TestZKProgressDockTile::storesOnlyChangesAboveThreshold_data() {
    QTest::addColumn<double>("progress");
    QTest::addColumn<bool>("stored");
    QTest::newRow("exactly the threshold") << 0.02 << false;
    QTest::newRow("just above it") << 0.0201 << true;
    QTest::newRow("below zero") << -0.5 << false;
    QTest::newRow("complete") << 1.0 << true;
}

void TestZKProgressDockTile::storesOnlyChangesAboveThreshold() {
    QFETCH(double, progress);
    QFETCH(bool, stored);
    ZKProgressDockTile tile;
    QSignalSpy redrawn(&tile, &ZKProgressDockTile::iconChanged);
    QVERIFY2(redrawn.wait(), "the tile was not drawn at creation");
    tile.setProgress(progress);
    QCOMPARE(tile.progress(), stored ? progress : 0.0);
    QCoreApplication::processEvents();
    QCOMPARE(redrawn.size(), stored ? 2 : 1);
}

void TestZKProgressDockTile::coalescesRefreshes() {
    ZKProgressDockTile tile;
    QSignalSpy redrawn(&tile, &ZKProgressDockTile::iconChanged);
    QVERIFY(redrawn.wait());
    tile.setShowProgress(true);
    tile.setProgress(0.5);
    tile.refresh();
    QCoreApplication::processEvents();
    QCOMPARE(redrawn.size(), 2);
    QCOMPARE(QApplication::windowIcon().pixmap(side).toImage(), tile.image(QSize(side, side)));
}

void TestZKProgressDockTile::drawsBarOverIcon_data() {
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << QApplication::style()->standardPalette();
    QTest::newRow("dark") << darkPalette();
}

void TestZKProgressDockTile::drawsBarOverIcon() {
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const QColor highlight = palette.color(QPalette::Highlight);
    const QColor control = palette.color(QPalette::Button);
    ZKProgressDockTile tile;
    tile.setProgress(0.4);
    const QImage plain = tile.image(QSize(side, side));
    tile.setShowProgress(true);
    const QImage tile04 = tile.image(QSize(side, side));

    // Inside the bar: done up to 0.4 of the width, the track after it.
    const struct {
        QPoint point;
        QColor expected;
    } inBar[] = {{{60, barMiddle}, highlight}, {{180, barMiddle}, control}};
    for (const auto &[point, expected] : inBar) {
        const QColor seen = tile04.pixelColor(point);
        QVERIFY2(seen == expected, qUtf8Printable(QStringLiteral("(%1, %2) is %3, not %4")
                                                      .arg(point.x())
                                                      .arg(point.y())
                                                      .arg(describe(seen), describe(expected))));
        QVERIFY2(plain.pixelColor(point) != expected,
                 "the icon alone has the bar's colour there, so the check proves nothing");
    }
    // Just above and below the bar, the icon as it is.
    for (const int x : {60, 180}) {
        for (const int y : {196, 218}) {
            QVERIFY2(tile04.pixelColor(x, y) == plain.pixelColor(x, y),
                     qUtf8Printable(QStringLiteral("the bar reaches row %1").arg(y)));
        }
    }
}

void TestZKProgressDockTile::roundsRightEndOnlyWhenComplete_data() {
    QTest::addColumn<double>("progress");
    QTest::addColumn<bool>("round");
    QTest::newRow("half") << 0.5 << false;
    QTest::newRow("complete") << 1.0 << true;
}

void TestZKProgressDockTile::roundsRightEndOnlyWhenComplete() {
    QFETCH(double, progress);
    QFETCH(bool, round);
    const QColor highlight = QApplication::palette().color(QPalette::Highlight);
    ZKProgressDockTile tile;
    tile.setProgress(progress);
    const QImage plain = tile.image(QSize(side, side));
    tile.setShowProgress(true);
    const QImage drawn = tile.image(QSize(side, side));

    // The first row wholly inside the bar, at the last column of the done part.
    const QPoint topRight(int(progress * side) - 1, 198);
    const QColor corner = drawn.pixelColor(topRight);
    if (round) {
        QVERIFY2(corner == plain.pixelColor(topRight),
                 qUtf8Printable(QStringLiteral("the corner is %1").arg(describe(corner))));
        QCOMPARE(drawn.pixelColor(topRight.x() - 5, barMiddle), highlight);
    } else {
        QVERIFY2(corner == highlight,
                 qUtf8Printable(QStringLiteral("the corner is %1").arg(describe(corner))));
    }
    // The left end is always round.
    QCOMPARE(drawn.pixelColor(0, 198), plain.pixelColor(0, 198));
}

void TestZKProgressDockTile::updatesLauncherEntry() {
    QDBusConnection listener =
        QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("launcher listener"));
    QVERIFY2(listener.isConnected(), qUtf8Printable(listener.lastError().message()));
    QVERIFY(listener.connect(QString(), ZKProgressDockTile::launcherEntryPath,
                             ZKProgressDockTile::launcherEntryInterface, QStringLiteral("Update"),
                             this, SLOT(receiveUpdate(QDBusMessage))));
    // A call answered means the bus has the match rule asked for before it.
    QVERIFY(listener.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus")));

    const auto properties = [](const QDBusMessage &message) {
        return qdbus_cast<QVariantMap>(message.arguments().value(1).value<QDBusArgument>());
    };
    ZKProgressDockTile tile;
    QTRY_COMPARE(m_updates.size(), 1);
    tile.setShowProgress(true);
    tile.setProgress(0.4);
    QTRY_COMPARE(m_updates.size(), 2);
    const QDBusMessage update = m_updates[1];
    QCOMPARE(update.signature(), QStringLiteral("sa{sv}"));
    QCOMPARE(update.arguments().value(0).toString(),
             QStringLiteral("application://com.velmarind.Ferrowick.desktop"));
    QCOMPARE(properties(update), (QVariantMap{{QStringLiteral("progress"), 0.4},
                                              {QStringLiteral("progress-visible"), true}}));

    // Nothing new to tell, nothing sent: the next signal is the next change.
    tile.setShowProgress(true);
    QCoreApplication::processEvents();
    tile.setShowProgress(false);
    QTRY_COMPARE(m_updates.size(), 3);
    QCOMPARE(properties(m_updates[2]).value(QStringLiteral("progress-visible")), QVariant(false));
    QDBusConnection::disconnectFromBus(QStringLiteral("launcher listener"));
}

int main(int argc, char **argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKProgressDockTile test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKProgressDockTile.moc"
