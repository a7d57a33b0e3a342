// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVDateCellView.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>
#include <limits>

#include "smartwindow/ContentListModel.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

struct Step {
    int leastWidth;
    QVDateCellView::Style style;
};

// In the order of their widths. The time is what makes a text long, so it goes first, and comes
// back with the shortest way to write a day.
constexpr Step kSteps[] = {
    {250, {DateStyle::Full, true}},  {210, {DateStyle::Long, true}},
    {160, {DateStyle::Short, true}}, {100, {DateStyle::Medium, false}},
    {0, {DateStyle::Short, false}},
};

}  // namespace

QVDateCellView::QVDateCellView(const QVDateUtilities& dates, QObject* parent)
    : ContentCell(parent), m_dates(dates) {}

QVDateCellView::Style QVDateCellView::styleForWidth(int width) {
    for (const Step& step : kSteps)
        if (width >= step.leastWidth) return step.style;
    return {};
}

QString QVDateCellView::text(const QModelIndex& index, Style style) const {
    const double seconds = index.data(ContentListModel::SecondsRole).toDouble();
    if (seconds == 0) return QStringLiteral("--");
    return m_dates.stringWithSeconds(seconds, style.date, true, style.withTime);
}

QString QVDateCellView::text(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    return text(index, styleForWidth(option.rect.width()));
}

bool QVDateCellView::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                               const QStyleOptionViewItem&, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid()) return false;
    QToolTip::showText(event->globalPos(),
                       plainToolTip(text(index, styleForWidth(std::numeric_limits<int>::max()))),
                       view);
    return true;
}

}  // namespace kestrin
