// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/QVWorkingProgressView.h"

#include <QPaintEvent>
#include <QPainter>

#include "platform/desktop/ui/Appearance.h"
#include "widgets/BusySpinner.h"

namespace kestrin {
namespace {

constexpr float kDarkGrey = 0.08F;
constexpr float kLightGrey = 0.99F;

}  // namespace

QVWorkingProgressView::QVWorkingProgressView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void QVWorkingProgressView::setSpinner(BusySpinner* spinner) {
    m_spinner = spinner;
    if (m_spinner && isVisible()) m_spinner->startAnimation();
}

void QVWorkingProgressView::paintEvent(QPaintEvent* event) {
    const float grey = isDarkAppearance(palette()) ? kDarkGrey : kLightGrey;
    QPainter(this).fillRect(event->rect(), QColor::fromRgbF(grey, grey, grey));
}

void QVWorkingProgressView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (m_spinner) m_spinner->startAnimation();
}

void QVWorkingProgressView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (m_spinner) m_spinner->stopAnimation();
}

}  // namespace kestrin
