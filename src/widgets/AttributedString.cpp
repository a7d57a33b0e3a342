// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/AttributedString.h"

#include <QFontMetricsF>
#include <QPainter>

namespace kestrin {

void AttributedString::draw(QPainter& painter, const QRectF& place) const {
    painter.save();
    painter.setFont(font);
    painter.setPen(foregroundColor);
    const QString line = QFontMetricsF(font, painter.device())
                             .elidedText(string, paragraphStyle.truncMode, place.width());
    const Qt::Alignment alignment = paragraphStyle.alignment & Qt::AlignHorizontal_Mask;
    painter.drawText(place, int(alignment | Qt::AlignVCenter) | Qt::TextSingleLine, line);
    painter.restore();
}

}  // namespace kestrin
