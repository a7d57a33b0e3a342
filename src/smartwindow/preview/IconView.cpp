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
    update();
}

QString IconView::reason() const {
    return m_reason->text();
}

int IconView::reasonWidth() const {
    return std::clamp(width() - 2 * kMargin, 0, kWidestLine);
}

int IconView::roomOfReason() const {
    return m_reason->isHidden() ? 0 : kGap + m_reason->heightForWidth(reasonWidth());
}

QRect IconView::iconPlace() const {
    const int room = roomOfReason();
    const double most =
        std::min<double>(std::min(width(), height()) * kShareOfIcon, height() - room);
    const auto side = std::ranges::find_if(kSides, [most](int each) { return each <= most; });
    const int points = side == kSides.end() ? kSides.back() : *side;
    // Some themes have nothing that large; the line below follows what they have.
    QRect place(QPoint(), m_icon.actualSize({points, points}));
    place.moveCenter(rect().center());
    if (place.bottom() + room >= height()) place.moveBottom(std::max(0, height() - room - 1));
    return place;
}

void IconView::placeReason() {
    const int top = iconPlace().bottom() + kGap;
    m_reason->setGeometry((width() - reasonWidth()) / 2, top, reasonWidth(),
                          m_reason->heightForWidth(reasonWidth()));
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
