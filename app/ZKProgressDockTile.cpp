// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKProgressDockTile.h"

#include "ZKImages.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <QVariantMap>

#include <algorithm>
#include <cmath>

const QString ZKProgressDockTile::launcherEntryPath =
    QStringLiteral("/com/velmarind/Ferrowick/LauncherEntry");
const QString ZKProgressDockTile::launcherEntryInterface =
    QStringLiteral("com.canonical.Unity.LauncherEntry");
const QString ZKProgressDockTile::applicationUri =
    QStringLiteral("application://com.velmarind.Ferrowick.desktop");

namespace {

// How far a cubic Bezier's control points sit from the ends of a quarter
// circle, as a share of the radius, for the closest fit.
constexpr double quarterCircleControl = 0.551915024494;

// The sizes window managers and task bars ask for; each is drawn on its own
// so the bar stays sharp instead of being scaled from one large picture.
constexpr int iconSizes[] = {16, 22, 24, 32, 48, 64, 128, 256};

} // namespace

ZKProgressDockTile::ZKProgressDockTile(QObject *parent)
    : QObject(parent) {
    // The plain icon goes up at once, and any launcher progress a previous
    // run left behind is cleared.
    refresh();
}

void ZKProgressDockTile::setProgress(double progress) {
    progress = std::clamp(progress, 0.0, 1.0); // NaN stays NaN and is ignored below
    if (!(std::abs(progress - m_progress) > 0.02)) {
        return;
    }
    m_progress = progress;
    refresh();
}

void ZKProgressDockTile::setShowProgress(bool showProgress) {
    m_showProgress = showProgress;
    refresh();
}

void ZKProgressDockTile::refresh() {
    if (m_refreshPending.exchange(true)) {
        return;
    }
    QMetaObject::invokeMethod(this, &ZKProgressDockTile::redisplay, Qt::QueuedConnection);
}

void ZKProgressDockTile::redisplay() {
    m_refreshPending = false;
    QIcon icon;
    for (const int size : iconSizes) {
        icon.addPixmap(QPixmap::fromImage(image(QSize(size, size))));
    }
    // Every window without an icon of its own follows the application's.
    QApplication::setWindowIcon(icon);
    updateLauncherEntry();
    Q_EMIT iconChanged(icon);
}

void ZKProgressDockTile::updateLauncherEntry() {
    const LauncherState state{m_progress, m_showProgress};
    if (m_sent == state) {
        return;
    }
    // Without a session bus there is simply no launcher to tell.
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    QDBusMessage update = QDBusMessage::createSignal(launcherEntryPath, launcherEntryInterface,
                                                     QStringLiteral("Update"));
    update << applicationUri
           << QVariantMap{{QStringLiteral("progress"), state.progress},
                          {QStringLiteral("progress-visible"), state.visible}};
    if (bus.send(update)) {
        m_sent = state;
    }
}

QImage ZKProgressDockTile::image(const QSize &size) const {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, size);
    return image;
}

void ZKProgressDockTile::paint(QPainter &painter, const QSizeF &size) const {
    const int width = int(size.width());
    const int height = int(size.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(1.0);
    ZKImages::named(QStringLiteral("ferrowick")).paint(&painter, QRect(0, 0, width, height));
    if (m_showProgress) {
        const QRectF bar(0, 0.77 * height, width, 0.08 * height);
        painter.setPen(Qt::NoPen);
        drawTotal(painter, bar);
        drawProgress(painter, bar);
    }
    painter.restore();
}

void ZKProgressDockTile::drawTotal(QPainter &painter, const QRectF &bar) const {
    // The track takes the colour of the style's buttons: light on a light
    // desktop, dark on a dark one, and in both clearly apart from the blue
    // and green of the icon beneath and from the highlight drawn on it.
    painter.setBrush(QApplication::palette().color(QPalette::Active, QPalette::Button));
    painter.drawPath(capsule(bar, true, true));
}

void ZKProgressDockTile::drawProgress(QPainter &painter, const QRectF &bar) const {
    const double progress = m_progress;
    const double width = progress * bar.width();
    const double radius = bar.height() / 2;
    if (width <= 0) {
        return;
    }
    QRectF done = bar;
    done.setWidth(width);
    QPainterPath path;
    if (progress >= 1.0) {
        path = capsule(bar, true, true);
    } else if (width >= radius && width <= bar.width() - radius) {
        path = capsule(done, true, false);
    } else {
        // Too short for the whole rounded end, or so long its square end
        // would stick out of the track's rounded one: the track's outline
        // cut off at the progress keeps the filled part inside the track.
        QPainterPath cut;
        cut.addRect(done);
        path = capsule(bar, true, true).intersected(cut);
    }
    painter.setBrush(QApplication::palette().color(QPalette::Active, QPalette::Highlight));
    painter.drawPath(path);
}

QPainterPath ZKProgressDockTile::capsule(const QRectF &rect, bool roundLeft, bool roundRight) {
    const double r = rect.height() / 2;
    const double k = quarterCircleControl * r;
    const double left = rect.left();
    const double right = rect.right();
    const double top = rect.top();
    const double bottom = rect.bottom();
    QPainterPath path;
    path.moveTo(roundLeft ? left + r : left, top);
    if (roundRight) {
        path.lineTo(right - r, top);
        path.cubicTo(right - r + k, top, right, top + r - k, right, top + r);
        path.cubicTo(right, top + r + k, right - r + k, bottom, right - r, bottom);
    } else {
        path.lineTo(right, top);
        path.lineTo(right, bottom);
    }
    if (roundLeft) {
        path.lineTo(left + r, bottom);
        path.cubicTo(left + r - k, bottom, left, bottom - r + k, left, bottom - r);
        path.cubicTo(left, top + r - k, left + r - k, top, left + r, top);
    } else {
        path.lineTo(left, bottom);
    }
    path.closeSubpath();
    return path;
}
