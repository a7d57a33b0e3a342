// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/BusySpinner.h"

#include <QPainter>
#include <QTimerEvent>
#include <algorithm>

namespace kestrin {
namespace {

constexpr int kStepsATurn = 24;
constexpr int kStepMilliseconds = 42;  // a turn a second
constexpr int kSixteenthsOfADegree = 16;
constexpr int kArcDegrees = 100;
constexpr double kTrackOpacity = 0.2;

}  // namespace

BusySpinner::BusySpinner(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
}

void BusySpinner::startAnimation() {
    m_isAnimating = true;
    updateTimer();
}

void BusySpinner::stopAnimation() {
    m_isAnimating = false;
    updateTimer();
}

void BusySpinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updateTimer();
}

void BusySpinner::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    updateTimer();
}

void BusySpinner::updateTimer() {
    const bool turns = m_isAnimating && isVisible();
    if (turns && !m_timer.isActive()) m_timer.start(kStepMilliseconds, this);
    if (!turns) m_timer.stop();
    update();
}

void BusySpinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_timer.timerId()) return QWidget::timerEvent(event);
    m_step = (m_step + 1) % kStepsATurn;
    update();
}

void BusySpinner::paintEvent(QPaintEvent*) {
    if (!m_isAnimating) return;
    QPainter painter(this);
    paintBusySpinner(painter, rect(), palette().color(foregroundRole()), m_step);
}

void paintBusySpinner(QPainter& painter, const QRect& place, const QColor& colour, int step) {
    const double side = std::min(place.width(), place.height());
    const double thickness = std::max(1.5, side / 8);
    QRectF circle(0, 0, side - thickness, side - thickness);
    circle.moveCenter(QRectF(place).center());

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setOpacity(kTrackOpacity);
    painter.setPen(QPen(colour, thickness));
    painter.drawEllipse(circle);
    painter.setOpacity(1);
    painter.setPen(QPen(colour, thickness, Qt::SolidLine, Qt::RoundCap));
    const int begin = 90 - step % kStepsATurn * 360 / kStepsATurn;
    painter.drawArc(circle, begin * kSixteenthsOfADegree, -kArcDegrees * kSixteenthsOfADegree);
    painter.restore();
}

}  // namespace kestrin
