// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKImages.h"
#include "ZKProgressBarHueTransformer.h"
#include "ZKSpeedLimitSliderTransformer.h"
#include "ZKTaskState.h"
#include "ZKTestSupport.h"
#include "ZKValueTransformer.h"

#include <QApplication>
#include <QIcon>
#include <QPalette>
#include <QTest>

#include <cmath>
#include <numbers>

using S = ZKTaskState;

class TestZKValueTransformers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foundByNameWithTheirKinds_data();
    void foundByNameWithTheirKinds();
    void sliderPositions_data();
    void sliderPositions();
    void barTintsByState_data();
    void barTintsByState();
    void labelColourFollowsThePalette();
    void actionImageFollowsTheState_data();
    void actionImageFollowsTheState();

private:
    static const ZKValueTransformer &named(const char *name) {
        const auto *transformer = ZKValueTransformer::valueTransformerForName(name);
        if (!transformer) {
            qFatal("no transformer named %s", name);
        }
        return *transformer;
    }
};

void TestZKValueTransformers::foundByNameWithTheirKinds_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("output");
    QTest::addColumn<bool>("reversible");

    QTest::newRow("bar hue") << "ZKProgressBarHueTransformer"
                             << QMetaType::fromType<ZKBarTint>().id() << false;
    QTest::newRow("slider") << "ZKSpeedLimitSliderTransformer" << int(QMetaType::Double) << true;
    QTest::newRow("label colour") << "ZKDisabledTextColorTransformer" << int(QMetaType::QColor)
                                  << false;
    QTest::newRow("action image") << "ZKTaskActionIconTransformer" << int(QMetaType::QIcon)
                                  << false;
}

void TestZKValueTransformers::foundByNameWithTheirKinds() {
    QFETCH(QString, name);
    QFETCH(int, output);
    QFETCH(bool, reversible);
    const auto *transformer = ZKValueTransformer::valueTransformerForName(name);
    QVERIFY2(transformer, qUtf8Printable(name));
    QCOMPARE(transformer->transformedValueClass().id(), output);
    QCOMPARE(transformer->allowsReverseTransformation(), reversible);
    QCOMPARE(ZKValueTransformer::valueTransformerForName(name), transformer);
    if (!reversible) {
        QVERIFY(!transformer->reverseTransformedValue(QVariant(1)).isValid());
    }
    QVERIFY(!ZKValueTransformer::valueTransformerForName(QStringLiteral("ZKNoSuchTransformer")));
}

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
    QTest::addColumn<qint32>("state");
    QTest::addColumn<double>("angle");
    QTest::addColumn<double>("saturation");
    QTest::addColumn<double>("brightness");

    using std::numbers::pi;
    for (const qint32 state : {S::Preparing, S::Processing, S::Removing, S::Completed}) {
        QTest::addRow("%s", qPrintable(S::convertToString(state))) << state << 0.0 << 1.0 << 0.0;
    }
    QTest::newRow("Verifying") << qint32(S::Verifying) << -pi / 3 - 0.25 << 1.0 << 0.0;
    QTest::newRow("Failed") << qint32(S::Failed) << 2 * pi / 3 + 0.05 << 1.0 << 0.0;
    QTest::newRow("Suspended") << qint32(S::Suspended) << 0.0 << 0.0 << 0.5;
    for (const qint32 state :
         {S::PendingPreparation, S::PendingProcessing, S::Cancelling, S::Cancelled}) {
        QTest::addRow("%s", qPrintable(S::convertToString(state))) << state << 0.0 << 0.0 << 0.0;
    }
}

void TestZKValueTransformers::barTintsByState() {
    QFETCH(qint32, state);
    QFETCH(double, angle);
    QFETCH(double, saturation);
    QFETCH(double, brightness);
    const QVariant value = named("ZKProgressBarHueTransformer").transformedValue(state);
    QVERIFY(value.canConvert<ZKBarTint>());
    const ZKBarTint tint = value.value<ZKBarTint>();
    // Exact: the parameters are carried as doubles, never through a colour.
    QCOMPARE(tint, (ZKBarTint{angle, saturation, brightness}));

    // On a saturated blue bar: the bar's own colour stays itself, a turned
    // hue moves away from blue, no saturation leaves grey, and brightness
    // lightens that grey.
    const QColor blue = QColor::fromRgbF(0.1f, 0.35f, 0.9f);
    const QColor bar = tint.appliedTo(blue);
    if (saturation == 0) {
        QCOMPARE(bar.red(), bar.green());
        QCOMPARE(bar.green(), bar.blue());
        QCOMPARE(bar.lightnessF() > 0.7, brightness == 0.5);
    } else if (angle == 0) {
        QVERIFY(std::abs(bar.hueF() - blue.hueF()) < 0.01);
    } else {
        QVERIFY(std::abs(bar.hueF() - blue.hueF()) > 0.1);
    }
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

void TestZKValueTransformers::actionImageFollowsTheState_data() {
    QTest::addColumn<qint32>("state");
    QTest::addColumn<QString>("image");

    for (qint32 state = S::PendingPreparation; state <= S::Suspended; ++state) {
        const char *image = state == S::Suspended   ? "ZKActionResume"
                            : state == S::Failed    ? "ZKActionRetry"
                            : state == S::Completed ? "ZKActionCompleted"
                                                    : "ZKActionSuspend";
        QTest::addRow("%s", qPrintable(S::convertToString(state))) << state << image;
    }
}

void TestZKValueTransformers::actionImageFollowsTheState() {
    QFETCH(qint32, state);
    QFETCH(QString, image);
    const QVariant value = named("ZKTaskActionIconTransformer").transformedValue(state);
    QVERIFY(value.canConvert<QIcon>());
    const QIcon icon = value.value<QIcon>();
    QVERIFY2(!icon.isNull(), qUtf8Printable(image));
    // The same drawing, not merely one that looks alike.
    QCOMPARE(icon.cacheKey(), ZKImages::named(image).cacheKey());
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QApplication app(argc, argv);
    TestZKValueTransformers test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ZKValueTransformers.moc"
