// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/IconView.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <algorithm>
#include <array>

namespace kestrin {
namespace {

// Themes draw their icons for these sides, in points; anything between would be blurred.
constexpr std::array kSides{256, 128, 96, 64, 48, 32, 22, 16};
constexpr double kShareOfIcon = 0.6;  // of the shorter side
constexpr int kGap = 12;              // points between the icon and the line
constexpr int kMargin = 12;           // points beside the line
constexpr int kWidestLine = 420;      // points

}  // namespace

IconView::IconView(QWidget* parent) : QWidget(parent), m_reason(new QLabel(this)) {
    m_reason->setTextFormat(Qt::PlainText);
    m_reason->setWordWrap(true);
    m_reason->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_reason->hide();
}

void IconView::setIcon(const QIcon& icon) {
    m_icon = icon;
    setReason({});
    placeReason();
    update();
}

void IconView::setReason(const QString& reason) {
    if (reason == m_reason->text() && m_reason->isHidden() == reason.isEmpty()) return;
    m_reason->setText(reason);
    m_reason->setVisible(!reason.isEmpty());
    placeReason();
}

QString IconView::reason() const {
    return m_reason->text();
}

QRect IconView::iconPlace() const {
    const double room = std::min(width(), height()) * kShareOfIcon;
    const auto side = std::ranges::find_if(kSides, [room](int each) { return each <= room; });
    const int points = side == kSides.end() ? kSides.back() : *side;
    // Some themes have nothing that large; the line below follows what they have.
    QRect place(QPoint(), m_icon.actualSize({points, points}));
    place.moveCenter(rect().center());
    return place;
}

void IconView::placeReason() {
    const QRect icon = iconPlace();
    const int lineWidth = std::clamp(width() - 2 * kMargin, 0, kWidestLine);
    const int top = icon.bottom() + kGap;
    const int room = std::max(0, height() - top);
    const int lineHeight = std::min(room, m_reason->heightForWidth(lineWidth));
    m_reason->setGeometry((width() - lineWidth) / 2, top, lineWidth, lineHeight);
}

void IconView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    m_icon.paint(&painter, iconPlace());
}

void IconView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    placeReason();
}

void IconView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) placeReason();
}

}  // namespace kestrin
