// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVTableHeaderCntrl.h"

#include <QPainter>
#include <QPainterPath>
#include <QScopedValueRollback>
#include <algorithm>
#include <array>

#include "smartwindow/ContentListModel.h"

namespace kestrin {
namespace {

/// Widths in points.
struct ColumnRule {
    int least, most, first;
};

// In the order of the model's columns.
constexpr std::array<ColumnRule, ContentListModel::ColumnCount> kRules = {{
    {44, 44, 44},
    {260, 10000, 260},
    {60, 200, 92},
    {60, 1000, 108},
}};

const ColumnRule& ruleOf(int column) {
    return kRules.at(static_cast<std::size_t>(column));
}

}  // namespace

QVTableHeaderCntrl::QVTableHeaderCntrl(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
    setStretchLastSection(false);
    setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    setResizeContentsPrecision(0);  // of the rows on screen, not of a thousand
    connect(this, &QHeaderView::sectionResized, this,
            [this](int column, int, int width) { keepLimits(column, width); });
}

void QVTableHeaderCntrl::setModel(QAbstractItemModel* model) {
    QHeaderView::setModel(model);
    const QScopedValueRollback fitting(m_isFitting, true);
    for (int column = 0; column < count(); ++column) {
        const ColumnRule& rule = ruleOf(column);
        setSectionResizeMode(column, rule.least == rule.most ? Fixed : Interactive);
        resizeSection(column, rule.first);
    }
    fillWithName();
}

void QVTableHeaderCntrl::resizeEvent(QResizeEvent* event) {
    QHeaderView::resizeEvent(event);
    fillWithName();
}

/// Somebody pulled at the edge of a column.
void QVTableHeaderCntrl::keepLimits(int column, int width) {
    if (m_isFitting) return;
    const QScopedValueRollback fitting(m_isFitting, true);
    const ColumnRule& rule = ruleOf(column);
    const int allowed = std::clamp(width, rule.least, rule.most);
    if (allowed != width) resizeSection(column, allowed);
    m_room = std::max(0, this->width() - length());
}

void QVTableHeaderCntrl::fillWithName() {
    if (count() <= ContentListModel::Name) return;
    const QScopedValueRollback fitting(m_isFitting, true);
    const ColumnRule& rule = ruleOf(ContentListModel::Name);
    const int wanted = sectionSize(ContentListModel::Name) + width() - length() - m_room;
    resizeSection(ContentListModel::Name, std::clamp(wanted, rule.least, rule.most));
}

/// Styles leave less room beside a title than there is beside what stands below it.
void QVTableHeaderCntrl::initStyleOptionForIndex(QStyleOptionHeader* option, int column) const {
    QHeaderView::initStyleOptionForIndex(option, column);
    constexpr QChar kNoBreakSpace(QChar::Nbsp);
    option->text = kNoBreakSpace + option->text + kNoBreakSpace;
}

void QVTableHeaderCntrl::paintSection(QPainter* painter, const QRect& rect, int column) const {
    painter->save();
    QHeaderView::paintSection(painter, rect, column);
    painter->restore();
    if (column != ContentListModel::Check) return;
    // A tick as it stands in the boxes below.
    constexpr QRectF kTick(0, 0, 11, 9);
    QPainterPath tick(kTick.topLeft() + QPointF(0, 5));
    tick.lineTo(4, 9);
    tick.lineTo(11, 0);
    tick.translate(QRectF(rect).center() - kTick.center());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->strokePath(tick, QPen(palette().color(QPalette::ButtonText), 1.8, Qt::SolidLine,
                                   Qt::RoundCap, Qt::RoundJoin));
    painter->restore();
}

}  // namespace kestrin
