// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKImages.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QMimeDatabase>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <memory>

// The drawings are compiled into this static library, whose resource
// registration the linker leaves out unless something calls it.
static void registerDrawings() {
    Q_INIT_RESOURCE(images);
}

namespace {

// Renders one drawing at whatever size and pixel ratio is asked, so it stays
// crisp on any screen. Symbolic drawings are black shapes that take the text
// colour of the palette in force when they are painted, so they follow a
// switch between light and dark without being made again.
class ZKDrawingEngine : public QIconEngine {
public:
    ZKDrawingEngine(QString name, std::shared_ptr<QSvgRenderer> renderer, bool symbolic)
        : m_name(std::move(name))
        , m_renderer(std::move(renderer))
        , m_symbolic(symbolic) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override {
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QPixmap pixmap = rendered((QSizeF(rect.size()) * ratio).toSize(), mode);
        pixmap.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect, pixmap);
    }

    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }

    // The size is in device pixels; QIcon sets the pixel ratio afterwards.
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override {
        return rendered(size, mode);
    }

    QString key() const override { return QStringLiteral("ZKDrawingEngine"); }
    QIconEngine *clone() const override { return new ZKDrawingEngine(*this); }
    bool isNull() override { return false; }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {QSize(16, 16), QSize(24, 24), QSize(32, 32), QSize(48, 48), QSize(64, 64)};
    }

private:
    QPixmap rendered(const QSize &pixels, QIcon::Mode mode) const {
        if (pixels.isEmpty()) {
            return {};
        }
        const QColor tint = m_symbolic ? tintFor(mode) : QColor();
        const QString key = QStringLiteral("ZKImages/%1/%2x%3/%4/%5")
                                .arg(m_name)
                                .arg(pixels.width())
                                .arg(pixels.height())
                                .arg(tint.isValid() ? tint.rgba() : 0u)
                                .arg(int(mode));
        QPixmap pixmap;
        if (!QPixmapCache::find(key, &pixmap)) {
            pixmap = QPixmap::fromImage(render(pixels, mode, tint));
            QPixmapCache::insert(key, pixmap);
        }
        return pixmap;
    }

    static QColor tintFor(QIcon::Mode mode) {
        const QPalette palette = QGuiApplication::palette();
        switch (mode) {
        case QIcon::Disabled:
            return palette.color(QPalette::Disabled, QPalette::WindowText);
        case QIcon::Selected:
            return palette.color(QPalette::Active, QPalette::HighlightedText);
        default:
            return palette.color(QPalette::Active, QPalette::WindowText);
        }
    }

    QImage render(const QSize &pixels, QIcon::Mode mode, const QColor &tint) const {
        QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        // Coloured drawings have no disabled colour of their own: they fade.
        if (!tint.isValid() && mode == QIcon::Disabled) {
            painter.setOpacity(0.4);
        }
        m_renderer->render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
        if (tint.isValid()) {
            painter.setOpacity(1.0);
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(image.rect(), tint);
        }
        return image;
    }

    QString m_name;
    std::shared_ptr<QSvgRenderer> m_renderer;
    bool m_symbolic;
};

bool isSymbolic(const QString &name) {
    return name.startsWith(QLatin1String("ZKAction")) ||
           name.startsWith(QLatin1String("ZKToolbar"));
}

QIcon loadDrawing(const QString &name) {
    QFile file(QStringLiteral(":/images/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    auto renderer = std::make_shared<QSvgRenderer>(file.readAll());
    if (!renderer->isValid()) {
        qWarning("The drawing %s cannot be read", qPrintable(name));
        return {};
    }
    return QIcon(new ZKDrawingEngine(name, std::move(renderer), isSymbolic(name)));
}

// For a freedesktop icon name the theme and the bundled drawings may lack,
// the broader names that stand for it, most fitting first.
QStringList broaderIconNames(const QString &iconName) {
    QStringList names;
    // A MIME type's icon name is its name with the slash turned into a dash.
    const qsizetype dash = iconName.indexOf(QLatin1Char('-'));
    const QMimeType type =
        dash < 0 ? QMimeType()
                 : QMimeDatabase().mimeTypeForName(QString(iconName).replace(dash, 1, u'/'));
    if (type.isValid()) {
        names << type.genericIconName();
        for (const QString &parent : type.allAncestors()) {
            names << QMimeDatabase().mimeTypeForName(parent).genericIconName();
        }
    }
    const QString media = iconName.section(QLatin1Char('-'), 0, 0);
    if (media == QLatin1String("inode")) {
        names << QStringLiteral("folder");
    } else if (media == QLatin1String("image") || media == QLatin1String("audio") ||
               media == QLatin1String("video")) {
        names << media + QStringLiteral("-x-generic");
    } else if (iconName.contains(QLatin1String("archive")) ||
               iconName.contains(QLatin1String("compressed")) ||
               iconName.contains(QLatin1String("iso")) ||
               iconName.contains(QLatin1String("image"))) {
        names << QStringLiteral("package-x-generic");
    } else if (iconName.contains(QLatin1String("executable")) ||
               iconName.contains(QLatin1String("sharedlib"))) {
        names << QStringLiteral("application-x-executable");
    }
    names << QStringLiteral("text-x-generic");
    names.removeDuplicates();
    names.removeAll(QString());
    return names;
}

} // namespace

QIcon ZKImages::named(const QString &name) {
    // Shared by every row and thread that asks; each drawing is read once.
    static QMutex mutex;
    static QHash<QString, QIcon> cache;
    const QMutexLocker locker(&mutex);
    static const bool registered = (registerDrawings(), true);
    Q_UNUSED(registered);
    auto found = cache.constFind(name);
    if (found == cache.constEnd()) {
        found = cache.insert(name, loadDrawing(name));
    }
    return *found;
}

QIcon ZKImages::endpointIcon(const QString &iconName) {
    // Looking a name up in the icon theme reads the theme's folders; rows
    // ask for the same few names again and again while scrolling.
    static QHash<QString, QIcon> cache;
    const QString key = QIcon::themeName() + QLatin1Char('/') + iconName;
    if (const auto found = cache.constFind(key); found != cache.constEnd()) {
        return *found;
    }
    const QIcon icon = lookUpEndpointIcon(iconName);
    cache.insert(key, icon);
    return icon;
}

QIcon ZKImages::lookUpEndpointIcon(const QString &iconName) {
    if (!iconName.isEmpty() && QIcon::hasThemeIcon(iconName)) {
        return QIcon::fromTheme(iconName);
    }
    QIcon own = iconName.isEmpty() ? QIcon() : named(QStringLiteral("fallback-") + iconName);
    if (!own.isNull()) {
        return own;
    }
    for (const QString &broader : broaderIconNames(iconName)) {
        if (QIcon::hasThemeIcon(broader)) {
            return QIcon::fromTheme(broader);
        }
        own = named(QStringLiteral("fallback-") + broader);
        if (!own.isNull()) {
            return own;
        }
    }
    return named(QStringLiteral("fallback-text-x-generic"));
}
