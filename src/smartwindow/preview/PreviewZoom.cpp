// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/PreviewZoom.h"

#include <QPainter>
#include <QStyle>
#include <utility>

namespace kestrin {
namespace {

// No window manager has a say: a frame around it, or an animation of its own, would spoil it.
constexpr Qt::WindowFlags kFlags = Qt::ToolTip | Qt::FramelessWindowHint |
                                   Qt::BypassWindowManagerHint | Qt::WindowTransparentForInput |
                                   Qt::WindowDoesNotAcceptFocus;

QRect between(const QRect& from, const QRect& to, double share) {
    const auto at = [share](int one, int other) { return one + qRound((other - one) * share); };
    return {at(from.x(), to.x()), at(from.y(), to.y()), at(from.width(), to.width()),
            at(from.height(), to.height())};
}

}  // namespace

PreviewZoom::PreviewZoom(Stand from, Stand to, int milliseconds)
    : QWidget(nullptr, kFlags), m_from(std::move(from)), m_to(std::move(to)) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setBackgroundRole(QPalette::Base);
    m_way.setStartValue(0.0);
    m_way.setEndValue(1.0);
    m_way.setDuration(milliseconds);
    m_way.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_way, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& share) { moveTo(share.toDouble()); });
    connect(&m_way, &QVariantAnimation::finished, this, &PreviewZoom::arrived);
    moveTo(0);
    show();
    m_way.start();
}

void PreviewZoom::moveTo(double share) {
    m_share = share;
    setGeometry(between(m_from.place, m_to.place, share));
    update();
}

void PreviewZoom::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const auto draw = [&](const QPixmap& picture, double opacity) {
        if (picture.isNull()) return;
        painter.setOpacity(opacity);
        QRect place({},
                    picture.deviceIndependentSize().scaled(size(), Qt::KeepAspectRatio).toSize());
        place.moveCenter(rect().center());
        painter.drawPixmap(place, picture);
    };
    draw(m_from.picture, 1 - m_share);
    draw(m_to.picture, m_share);
}

}  // namespace kestrin
