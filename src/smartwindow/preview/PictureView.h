// SPDX-License-Identifier: GPL-3.0-or-later
// A picture, a page or an animation. Main thread only.
#pragma once

#include <QBasicTimer>
#include <QPointF>
#include <QSize>
#include <QWidget>
#include <memory>

namespace kestrin {

struct Preview;

/// Fits a picture into its own size. It never enlarges pixels, but for tiny pictures, such as
/// icons, and while the user zooms. Ctrl and the wheel, or two fingers, zoom; a zoomed picture is
/// dragged or scrolled. An animation moves only while it can be seen.
class PictureView : public QWidget {
    Q_OBJECT

 public:
    explicit PictureView(QWidget* parent = nullptr);

    /// Shows the frames of `preview`, fitted, from the first one on; nullptr shows nothing and
    /// holds nothing.
    void setPreview(std::shared_ptr<const Preview> preview);
    /// Shows the same content with other pixels: zoom and place stay.
    void setSharperPreview(std::shared_ptr<const Preview> preview);

    bool isAnimation() const;
    bool isPlaying() const { return m_isPlaying; }
    /// An animation is played from where it is; a picture takes no notice.
    void setPlaying(bool isPlaying);

    /// 1 is fitted.
    double zoom() const { return m_zoom; }
    /// Zooms by `factor` around the point `fixed` of the view; as far as it goes.
    void zoomBy(double factor, const QPointF& fixed);
    void zoomToFit();
    /// Where the picture is, in points of the view.
    QRectF pictureRect() const;

    QSize minimumSizeHint() const override { return {0, 0}; }

 Q_SIGNALS:
    void zoomDidChange();

 protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

 private:
    QSizeF naturalSize() const;
    double largestScale() const;
    QSizeF fittedSize() const;
    void moveBy(const QPointF& distance);
    void keepInView();
    void paintSquares(QPainter& painter, const QRectF& place) const;
    void paintEdge(QPainter& painter, const QRectF& place) const;
    void waitForNextFrame();

    std::shared_ptr<const Preview> m_preview;
    double m_zoom = 1;
    QPointF m_shift;  ///< of the picture's centre from the view's, in points
    QPointF m_dragged;
    std::size_t m_frame = 0;
    bool m_isPlaying = false;
    QBasicTimer m_nextFrame;
};

}  // namespace kestrin
