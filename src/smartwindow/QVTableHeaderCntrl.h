// SPDX-License-Identifier: GPL-3.0-or-later
// The header of the content list: its columns and their widths. Main thread.
#pragma once

#include <QHeaderView>

namespace kestrin {

/// A header whose columns keep within the limits of their widths. The name takes the room that
/// comes with a wider view, and gives it back.
class QVTableHeaderCntrl : public QHeaderView {
    Q_OBJECT

 public:
    explicit QVTableHeaderCntrl(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;
    /// Keeps the header's own, empty one. It would ask of every row whether it is selected, at each
    /// painting, and shows nothing of the answer.
    void setSelectionModel(QItemSelectionModel*) override {}

 protected:
    void resizeEvent(QResizeEvent* event) override;
    void initStyleOptionForIndex(QStyleOptionHeader* option, int column) const override;
    void paintSection(QPainter* painter, const QRect& rect, int column) const override;

 private:
    void keepLimits(int column, int width);
    void fillWithName();

    int m_room = 0;  ///< points that the user left free behind the last column
    bool m_isFitting = false;
};

}  // namespace kestrin
