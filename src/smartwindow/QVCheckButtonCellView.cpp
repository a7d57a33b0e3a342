// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVCheckButtonCellView.h"

#include <QStyle>
#include <QStyleOptionButton>

#include "widgets/Colors.h"

namespace kestrin {

void QVCheckButtonCellView::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    paintGround(*painter, option);
    const QStyle& style = *option.widget->style();
    const QSize box(style.pixelMetric(QStyle::PM_IndicatorWidth, nullptr, option.widget),
                    style.pixelMetric(QStyle::PM_IndicatorHeight, nullptr, option.widget));
    QStyleOptionButton check;
    check.rect = QStyle::alignedRect(option.direction, Qt::AlignCenter, box, option.rect);
    check.palette = checkBoxPalette(option.palette);
    check.state = option.state & (QStyle::State_Enabled | QStyle::State_Active);
    check.state |=
        index.data(Qt::CheckStateRole) == Qt::Checked ? QStyle::State_On : QStyle::State_Off;
    style.drawPrimitive(QStyle::PE_IndicatorCheckBox, &check, painter, option.widget);
}

}  // namespace kestrin
