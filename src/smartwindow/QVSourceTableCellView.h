// SPDX-License-Identifier: GPL-3.0-or-later
// A row of the list of the trashes. Main thread.
#pragma once

#include <QElapsedTimer>
#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

namespace kestrin {

/// Paints a row of 90 points: the check box, the volume's icon, its name, the line below that, the
/// badge with what is checked, and a turning arc with its text while folders are being measured. A
/// click on the check box and Ctrl+Space set the model's check state. See SourceListModel for the
/// roles that it reads. It asks the view for the next picture of the arc only while it paints one,
/// so that a hidden window wakes nothing up.
class QVSourceTableCellView : public QStyledItemDelegate {
    Q_OBJECT

 public:
    /// `gatheringText` stands beside the arc.
    QVSourceTableCellView(const QString& gatheringText, QObject* parent = nullptr);

    /// Draws a frame around the row, whose menu is open, and none around any other. With an index
    /// that is not valid no row has one.
    void setRowWithMenu(const QModelIndex& row) { m_rowWithMenu = row; }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
    struct Layout;
    Layout layoutOf(const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void paintGround(QPainter& painter, const QStyleOptionViewItem& option,
                     const QModelIndex& index) const;
    void paintCheckBox(QPainter& painter, const QStyleOptionViewItem& option,
                       const QModelIndex& index, const QRect& place) const;
    void paintTexts(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                    const Layout& layout) const;
    void paintGathering(QPainter& painter, const QStyleOptionViewItem& option,
                        const Layout& layout) const;

    const QString m_gatheringText;
    QPersistentModelIndex m_rowWithMenu;
    QElapsedTimer m_clock;
    mutable bool m_nextPictureIsDue = false;
};

}  // namespace kestrin
