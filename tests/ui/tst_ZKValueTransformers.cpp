// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressBarHueTransformer.h"
#include "ZKSpeedLimitSliderTransformer.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKValueTransformer.h"

#include <QApplication>
#include <QPalette>
#include <QTest>

#include <cmath>

using S = ZKTaskState;

class TestZKValueTransformers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sliderPositions_data();
    void sliderPositions();
    void barTintsByState_data();
    void barTintsByState();
    void labelColourFollowsThePalette();

private:
    static const ZKValueTransformer &named(const char *name) {
        const auto *transformer = ZKValueTransformer::valueTransformerForName(name);
        if (!transformer) {
            qFatal("no transformer named %s", name);
        }
        return *transformer;
    }
};

void TestZKValueTransformers::sliderPositions_data() {
    QTest::addColumn<double>("position");
    QTest::addColumn<qint64>("rate");
    QTest::addColumn<double>("back");

    QTest::newRow("the default, 1 KB/s") << 1.0 << qint64(1024) << 1.0;
    QTest::newRow("six kilobytes") << 1.5 << qint64(6144) << 1.5 + 1.0 / 18;
    QTest::newRow("bottom of the scale") << 0.0 << qint64(102) << (102 / 1.024 - 100) / 900;
    QTest::newRow("kilobytes' last") << 3.9999 << qint64(1024000) << 4.0;
    QTest::newRow("one megabyte") << 4.0 << qint64(1048576) << 4.0;
    QTest::newRow("a hundred megabytes") << 6.0 << qint64(104857600) << 6.0;
}

void TestZKValueTransformers::sliderPositions() {
    QFETCH(double, position);
    QFETCH(qint64, rate);
    QFETCH(double, back);
    const auto &slider = named("ZKSpeedLimitSliderTransformer");
    QCOMPARE(slider.reverseTransformedValue(position).toLongLong(), rate);
    const double found = slider.transformedValue(double(rate)).toDouble();
    QVERIFY2(
        std::abs(found - back) < 1e-9,
        qUtf8Printable(QStringLiteral("%1 B/s sits at %2, not %3").arg(rate).arg(found).arg(back)));
    QVERIFY(!std::isfinite(ZKSpeedLimitSliderTransformer::positionForRate(0)));
}

void TestZKValueTransformers::barTintsByState_data() {
    QTest::addColumn<ZKTaskState>("state");
    QTest::addColumn<QString>("look");

    for (const ZKTaskState state : {S::Preparing, S::Processing, S::Removing, S::Completed}) {
        QTest::addRow("%s", qPrintable(ZKTaskStates::convertToString(state))) << state << "own";
    }
    QTest::newRow("Verifying") << S::Verifying << "turned green";
    QTest::newRow("Failed") << S::Failed << "turned red";
    QTest::newRow("Suspended") << S::Suspended << "light grey";
    for (const ZKTaskState state :
         {S::PendingPreparation, S::PendingProcessing, S::Cancelling, S::Cancelled}) {
        QTest::addRow("%s", qPrintable(ZKTaskStates::convertToString(state))) << state << "grey";
    }
}

void TestZKValueTransformers::barTintsByState() {
    QFETCH(ZKTaskState, state);
    QFETCH(QString, look);
    const QVariant value = named("ZKProgressBarHueTransformer").transformedValue(qint32(state));
    QVERIFY(value.canConvert<ZKBarTint>());

    // On a saturated blue bar: the bar's own colour stays itself, a turned
    // hue moves away from blue (failures to red, checks to green), no
    // saturation leaves grey, and brightness lightens that grey.
    const QColor blue = QColor::fromRgbF(0.1f, 0.35f, 0.9f);
    const QColor bar = value.value<ZKBarTint>().appliedTo(blue);
    const bool grey = bar.red() == bar.green() && bar.green() == bar.blue();
    const double turn = std::abs(bar.hueF() - blue.hueF());
    const QString seen = grey          ? (bar.lightnessF() > 0.7 ? "light grey" : "grey")
                         : turn < 0.01 ? "own"
                         : bar.red() > std::max(bar.green(), bar.blue()) ? "turned red"
                         : bar.green() > std::max(bar.red(), bar.blue()) ? "turned green"
                                                                         : "turned elsewhere";
    QVERIFY2(seen == look, qUtf8Printable(QStringLiteral("%1 looks %2").arg(bar.name(), seen)));
}

void TestZKValueTransformers::labelColourFollowsThePalette() {
    const auto &colour = named("ZKDisabledTextColorTransformer");
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Active, QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::darkGray);
    QGuiApplication::setPalette(palette);
    QCOMPARE(colour.transformedValue(true).value<QColor>(), QColor(Qt::white));
    QCOMPARE(colour.transformedValue(false).value<QColor>(), QColor(Qt::darkGray));
    palette.setColor(QPalette::Active, QPalette::WindowText, Qt::black);
    QGuiApplication::setPalette(palette);
    QCOMPARE(colour.transformedValue(true).value<QColor>(), QColor(Qt::black));
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKValueTransformers test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKValueTransformers.moc"
