// SPDX-License-Identifier: GPL-3.0-or-later
#include "widgets/MenuRow.h"

#include <QPainter>
#include <QPalette>
#include <QStyle>
#include <QStyleOptionMenuItem>
#include <QWidget>

namespace kestrin {

void paintMenuRow(QWidget& row, bool isHighlighted) {
    QPainter painter(&row);
    QStyleOptionMenuItem option;
    option.initFrom(&row);
    option.rect = row.rect();
    option.menuItemType = QStyleOptionMenuItem::Normal;
    option.checkType = QStyleOptionMenuItem::NotCheckable;
    option.menuRect = row.rect();
    option.font = row.font();
    option.state.setFlag(QStyle::State_Selected, isHighlighted);
    option.state.setFlag(QStyle::State_HasFocus, false);
    row.style()->drawControl(QStyle::CE_MenuItem, &option, &painter, row.parentWidget());
}

void colorMenuRow(const QWidget& row, std::initializer_list<QWidget*> parts, QWidget& dimmedPart,
                  bool isHighlighted) {
    constexpr float kDimmedOpacity = 0.65F;
    constexpr float kDisabledOpacity = 0.55F;  // some themes' own can hardly be read
    for (QWidget* const part : parts)
        part->setForegroundRole(isHighlighted ? QPalette::HighlightedText : QPalette::WindowText);
    // A fainter shade of the menu's own colour, since not every theme has a colour for dimmed text
    // that can be read there.
    QPalette dimmed = row.palette();
    QColor color = dimmed.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(kDimmedOpacity);
    dimmed.setColor(QPalette::Active, QPalette::WindowText, color);
    dimmed.setColor(QPalette::Inactive, QPalette::WindowText, color);
    color.setAlphaF(kDisabledOpacity);
    dimmed.setColor(QPalette::Disabled, QPalette::WindowText, color);
    dimmedPart.setPalette(dimmed);
}

}  // namespace kestrin
