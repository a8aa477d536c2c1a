// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>

#include <atomic>
#include <optional>

class QPainter;
class QPainterPath;
class QRectF;

// The overall progress of all queues, shown as a bar drawn over the
// application icon. The drawing becomes the application's window icon, and
// the same figures go to the launcher entry on the session bus, which docks
// and task bars show with their own progress bar.
//
// The setters may be called from any thread; the tile is redrawn on the
// thread it lives on (the main thread), once for any number of changes
// that arrive before it gets there.
class ZKProgressDockTile : public QObject {
    Q_OBJECT
    Q_PROPERTY(double progress READ progress WRITE setProgress)
    Q_PROPERTY(bool showProgress READ showProgress WRITE setShowProgress)

public:
    static const QString launcherEntryPath;
    static const QString launcherEntryInterface;
    static const QString applicationUri;

    explicit ZKProgressDockTile(QObject *parent = nullptr);

    double progress() const { return m_progress; }
    // 0 to 1. Changes of 0.02 or less are not worth a new icon.
    void setProgress(double progress);
    bool showProgress() const { return m_showProgress; }
    void setShowProgress(bool showProgress);

    // Asks for the tile to be redrawn soon, on the tile's own thread.
    void refresh();

    // The tile as it stands, size in device pixels.
    QImage image(const QSize &size) const;
    void paint(QPainter &painter, const QSizeF &size) const;

Q_SIGNALS:
    // The new drawing, after it became the application's window icon. For
    // windows that keep an icon of their own.
    void iconChanged(const QIcon &icon);

private:
    void redisplay();
    void updateLauncherEntry();
    void drawTotal(QPainter &painter, const QRectF &bar) const;
    void drawProgress(QPainter &painter, const QRectF &bar) const;
    static QPainterPath capsule(const QRectF &rect, bool roundLeft, bool roundRight);

    std::atomic<double> m_progress = 0.0;
    std::atomic<bool> m_showProgress = false;
    std::atomic<bool> m_refreshPending = false;

    struct LauncherState {
        double progress;
        bool visible;
        bool operator==(const LauncherState &) const = default;
    };
    std::optional<LauncherState> m_sent;
};
