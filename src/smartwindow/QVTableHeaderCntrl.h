// SPDX-License-Identifier: GPL-3.0-or-later
// The header of the content list: its columns, their widths and the sort order. Main thread.
#pragma once

#include <QHeaderView>
#include <vector>

#include "inventory/QVSourceItem.h"

namespace kestrin {

/// A header whose columns keep within the limits of their widths. The name takes the room that
/// comes with a wider view, and gives it back. A click on a column sorts by it in its own first
/// direction, the next click in the other one; the former order decides among equals.
class QVTableHeaderCntrl : public QHeaderView {
    Q_OBJECT

 public:
    explicit QVTableHeaderCntrl(QWidget* parent = nullptr);

    /// The key and first direction of a column of ContentListModel.
    static SortDescriptor sortDescriptorPrototype(int column);

    /// The order that the header shows; the first descriptor counts most.
    const std::vector<SortDescriptor>& sortDescriptors() const { return m_sortDescriptors; }
    /// Shows an order and tells nobody.
    void setSortDescriptors(std::vector<SortDescriptor> descriptors);
    /// What a click on `column` does.
    void sortBy(int column);

    void setModel(QAbstractItemModel* model) override;

 Q_SIGNALS:
    /// The user chose another order.
    void sortDescriptorsDidChange();

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintSection(QPainter* painter, const QRect& rect, int column) const override;

 private:
    void keepLimits(int column, int width);
    void fillWithName();

    std::vector<SortDescriptor> m_sortDescriptors;
    int m_room = 0;  ///< points that the user left free behind the last column
    bool m_isFitting = false;
};

}  // namespace kestrin
