// SPDX-License-Identifier: GPL-3.0-or-later
// The cell with a date. Main thread.
#pragma once

#include "format/QVDateUtilities.h"
#include "smartwindow/ContentCell.h"

namespace kestrin {

/// Draws the date of ContentListModel::SecondsRole in a style that goes by the width of the cell,
/// and "--" for no date. Its tool tip is the longest style.
class QVDateCellView : public ContentCell {
    Q_OBJECT

 public:
    /// `dates` must outlive this.
    QVDateCellView(const QVDateUtilities& dates, QObject* parent);

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    struct Style {
        DateStyle date = DateStyle::Short;
        bool withTime = false;
        friend bool operator==(const Style&, const Style&) = default;
    };
    /// The style for a cell of `width` points.
    static Style styleForWidth(int width);

 protected:
    QString text(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 private:
    QString text(const QModelIndex& index, Style style) const;

    const QVDateUtilities& m_dates;
};

}  // namespace kestrin
