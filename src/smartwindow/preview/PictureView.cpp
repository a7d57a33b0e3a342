// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PictureView.h"

#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/desktop/ui/Appearance.h"
#include "viewer/ViewerProtocol.h"
#include "widgets/Colors.h"

namespace kestrin {
namespace {

constexpr double kLargestZoom = 16;
constexpr double kZoomOfAWheelStep = 1.25;
constexpr double kWheelStep = 120;     // eighths of a degree, as wheels count
constexpr double kTiny = 64;           // points: a picture up to this side is enlarged ...
constexpr double kTinyEnlarged = 128;  // ... by a whole number, up to this side
constexpr int kSquare = 8;             // points: a square of the ground behind what is transparent
constexpr float kEdge = 0.3F;          // of black in the edge of a page
constexpr int kShortestFrame =
    20;                           // milliseconds; what asks for less would only burn the processor
constexpr int kUsualFrame = 100;  // milliseconds, where a file names no delay

double longerSide(const QSizeF& size) {
    return std::max(size.width(), size.height());
}

}  // namespace

PictureView::PictureView(QWidget* parent) : QWidget(parent) {}

void PictureView::setPreview(std::shared_ptr<const Preview> preview) {
    m_zoom = 1;
    m_shift = {};
    m_frame = 0;
    unsetCursor();
    setSharperPreview(std::move(preview));
}

void PictureView::setSharperPreview(std::shared_ptr<const Preview> preview) {
    m_preview = std::move(preview);
    if (!m_preview || m_frame >= m_preview->frames.size()) m_frame = 0;
    waitForNextFrame();
    update();
}

bool PictureView::isAnimation() const {
    return m_preview && m_preview->frames.size() > 1;
}

void PictureView::setPlaying(bool isPlaying) {
    m_isPlaying = isPlaying;
    waitForNextFrame();
}

void PictureView::waitForNextFrame() {
    m_nextFrame.stop();
    if (!isAnimation() || !m_isPlaying || !isVisible()) return;
    const auto& delays = m_preview->frameDelays;
    const std::uint32_t told = m_frame < delays.size() ? delays[m_frame] : 0;
    const int delay =
        told == 0
            ? kUsualFrame
            : static_cast<int>(std::min<std::uint32_t>(told, std::numeric_limits<int>::max()));
    m_nextFrame.start(std::max(delay, kShortestFrame), this);
}

void PictureView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_nextFrame.timerId()) return QWidget::timerEvent(event);
    m_frame = (m_frame + 1) % m_preview->frames.size();
    waitForNextFrame();
    update();
}

void PictureView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    waitForNextFrame();
}

void PictureView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    waitForNextFrame();
}

// --- Geometry ---

/// In points; a pixel of the picture is one of the screen. The frames tell the proportions, since a
/// file may tell its size before it is turned.
QSizeF PictureView::naturalSize() const {
    const QSizeF frame = m_preview->frames.front().size();
    const QSizeF told(m_preview->facts.naturalWidth, m_preview->facts.naturalHeight);
    const double scale = longerSide(told) == 0 ? 1 : longerSide(told) / longerSide(frame);
    return frame * scale / devicePixelRatioF();
}

double PictureView::largestScale() const {
    // What comes with more pixels than it has is drawn, not photographed: it is sharp at any size.
    const double natural = longerSide(naturalSize());
    const double shown = longerSide(m_preview->frames.front().size()) / devicePixelRatioF();
    const bool isDrawn = shown > natural + 0.5;
    if (isDrawn || m_preview->facts.pageCount > 0) return std::numeric_limits<double>::infinity();
    return natural <= kTiny ? std::floor(kTinyEnlarged / natural) : 1;
}

QSizeF PictureView::fittedSize() const {
    const QSizeF natural = naturalSize();
    const double scale = std::min(width() / natural.width(), height() / natural.height());
    return natural * std::min(scale, largestScale());
}

QRectF PictureView::pictureRect() const {
    if (!m_preview || m_preview->frames.empty()) return {};
    QRectF place(QPointF(), fittedSize() * m_zoom);
    place.moveCenter(QRectF(rect()).center() + m_shift);
    // On whole pixels nothing is blurred that has the right size.
    const double ratio = devicePixelRatioF();
    const auto whole = [ratio](double points) { return std::round(points * ratio) / ratio; };
    return {whole(place.x()), whole(place.y()), std::max(whole(place.width()), 1 / ratio),
            std::max(whole(place.height()), 1 / ratio)};
}

void PictureView::zoomBy(double factor, const QPointF& fixed) {
    if (!m_preview || m_preview->frames.empty()) return;
    const double before = std::exchange(m_zoom, std::clamp(m_zoom * factor, 1.0, kLargestZoom));
    if (m_zoom == before) return;
    const QPointF fromCentre = fixed - QRectF(rect()).center();
    m_shift = fromCentre - (fromCentre - m_shift) * (m_zoom / before);
    keepInView();
    if (m_zoom > 1) {
        setCursor(Qt::OpenHandCursor);
    } else {
        unsetCursor();
    }
    Q_EMIT zoomDidChange();
}

void PictureView::zoomToFit() {
    zoomBy(1 / kLargestZoom, QRectF(rect()).center());
}

void PictureView::moveBy(const QPointF& distance) {
    m_shift += distance;
    keepInView();
}

void PictureView::keepInView() {
    const QSizeF shown = m_preview && !m_preview->frames.empty() ? fittedSize() * m_zoom : QSizeF();
    const double furthestX = std::max(0.0, (shown.width() - width()) / 2);
    const double furthestY = std::max(0.0, (shown.height() - height()) / 2);
    m_shift = {std::clamp(m_shift.x(), -furthestX, furthestX),
               std::clamp(m_shift.y(), -furthestY, furthestY)};
    update();
}

void PictureView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    keepInView();
}

// --- Drawing ---

void PictureView::paintSquares(QPainter& painter, const QRectF& place) const {
    const bool isDark = isDarkAppearance(palette());
    const QColor light = isDark ? QColor(0x6A, 0x6A, 0x6A) : QColor(Qt::white);
    const QColor dark = isDark ? QColor(0x5C, 0x5C, 0x5C) : QColor(0xE4, 0xE4, 0xE4);
    QPixmap squares(2 * kSquare, 2 * kSquare);
    squares.fill(light);
    QPainter square(&squares);
    square.fillRect(0, 0, kSquare, kSquare, dark);
    square.fillRect(kSquare, kSquare, kSquare, kSquare, dark);
    square.end();
    painter.drawTiledPixmap(place, squares);
}

/// White paper has an edge on a white ground.
void PictureView::paintEdge(QPainter& painter, const QRectF& place) const {
    const double pixel = 1 / devicePixelRatioF();
    painter.setPen(QPen(blendedColor(Qt::white, Qt::black, kEdge), 0));
    painter.drawRect(place.adjusted(0, 0, -pixel, -pixel));
}

void PictureView::paintEvent(QPaintEvent*) {
    if (!m_preview || m_preview->frames.empty()) return;
    const QRectF place = pictureRect();
    const QImage& frame = m_preview->frames[m_frame];
    const bool isPage = m_preview->facts.pageCount > 0;
    QPainter painter(this);
    if (isPage) {
        painter.fillRect(place, Qt::white);
    } else {
        paintSquares(painter, place);
    }
    // The pixels of tiny pictures stay the squares that they are.
    const bool isTiny = longerSide(frame.size()) <= kTiny;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !isTiny);
    painter.drawImage(place, frame);
    if (isPage) paintEdge(painter, place);
}

// --- Pointer ---

bool PictureView::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        const auto& gesture = static_cast<QNativeGestureEvent&>(*event);
        if (gesture.gestureType() == Qt::ZoomNativeGesture) {
            zoomBy(1 + gesture.value(), gesture.position());
            return true;
        }
    }
    return QWidget::event(event);
}

void PictureView::wheelEvent(QWheelEvent* event) {
    const bool zooms = event->modifiers().testFlag(Qt::ControlModifier);
    if (!m_preview || (!zooms && m_zoom == 1)) return event->ignore();
    if (zooms) {
        zoomBy(std::pow(kZoomOfAWheelStep, event->angleDelta().y() / kWheelStep),
               event->position());
    } else {
        const QPoint pixels = event->pixelDelta();
        moveBy(pixels.isNull() ? event->angleDelta() / 2 : pixels);
    }
    event->accept();
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    if (m_zoom == 1 || event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    m_dragged = event->position();
    setCursor(Qt::ClosedHandCursor);
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    if (m_zoom == 1 || !event->buttons().testFlag(Qt::LeftButton))
        return QWidget::mouseMoveEvent(event);
    moveBy(event->position() - std::exchange(m_dragged, event->position()));
}

void PictureView::mouseReleaseEvent(QMouseEvent* event) {
    if (m_zoom > 1) setCursor(Qt::OpenHandCursor);
    QWidget::mouseReleaseEvent(event);
}

}  // namespace kestrin
