// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ContentCell.h"

#include <QPainter>
#include <QStyle>
#include <algorithm>

#include "format/DisplayName.h"

namespace kestrin {
namespace {

constexpr float kFaint = 0.62F;      // readable still: more than four to one with its ground
constexpr int kRoomAboveText = 8;    // points above and below a line, together
constexpr int kRoomAboveIcon = 6;    // the same for the icon
constexpr qsizetype kLongest = 512;  // characters: more than any column shows

}  // namespace

QString ContentCell::text(const QStyleOptionViewItem&, const QModelIndex& index) const {
    return index.data(Qt::DisplayRole).toString();
}

void ContentCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const {
    paintGround(*painter, option);
    const QString line = text(option, index);
    const QVariant alignment = index.data(Qt::TextAlignmentRole);
    painter->setFont(option.font);
    painter->setPen(textColor(option, index.data(Qt::ForegroundRole).isValid()));
    drawLine(*painter, contentRect(option), line, Qt::ElideRight,
             alignment.isValid() ? Qt::Alignment(alignment.toInt()) : Qt::AlignLeading);
}

QSize ContentCell::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int height = std::max(option.fontMetrics.height() + kRoomAboveText,
                                option.decorationSize.height() + kRoomAboveIcon);
    return {option.fontMetrics.horizontalAdvance(text(option, index)) + 2 * kMargin, height};
}

void ContentCell::paintGround(QPainter& painter, const QStyleOptionViewItem& option) {
    const QStyle& style = *option.widget->style();
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &option, &painter, option.widget);
}

QColor ContentCell::textColor(const QStyleOptionViewItem& option, bool isFaint) {
    const auto group = !option.state.testFlag(QStyle::State_Enabled) ? QPalette::Disabled
                       : option.state.testFlag(QStyle::State_Active) ? QPalette::Active
                                                                     : QPalette::Inactive;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    QColor color =
        option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    if (isFaint) color.setAlphaF(kFaint);
    return color;
}

QRect ContentCell::contentRect(const QStyleOptionViewItem& option) {
    return option.rect.adjusted(kMargin, 0, -kMargin, 0);
}

void ContentCell::drawLine(QPainter& painter, const QRect& place, const QString& line,
                           Qt::TextElideMode mode, Qt::Alignment alignment) {
    const Qt::LayoutDirection direction = painter.layoutDirection();
    const Qt::Alignment side =
        QStyle::visualAlignment(direction, alignment & Qt::AlignHorizontal_Mask);
    // A hostile path of many thousand characters is not measured whole.
    const QString shown = painter.fontMetrics().elidedText(
        line.size() > kLongest ? titleName(line, kLongest) : line, mode, place.width());
    painter.setLayoutDirection(Qt::LayoutDirectionAuto);
    painter.drawText(place, int(side | Qt::AlignAbsolute | Qt::AlignVCenter) | Qt::TextSingleLine,
                     shown);
    painter.setLayoutDirection(direction);
}

}  // namespace kestrin
