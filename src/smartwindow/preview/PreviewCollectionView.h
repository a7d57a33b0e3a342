// SPDX-License-Identifier: GPL-3.0-or-later
// The scrolled collection of the cells that show selected entries. Main thread.
#pragma once

#include <QAbstractScrollArea>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace kestrin {

class QVPreview;
class QVPreviewItem;
struct PreviewServices;

/// Shows each entry of a list in a cell. It has cells only for what can be seen, so that a list may
/// hold a hundred thousand entries, and a cell stays with its entry for as long as it is seen.
/// Changes are laid out together, when the event loop is reached again.
///
/// As a grid it shows tiles, one of which is the current one; arrow keys and clicks choose it.
/// Otherwise the cells lie in a row along the scroll direction, and a single one fills the view.
class PreviewCollectionView : public QAbstractScrollArea {
    Q_OBJECT

 public:
    /// Where the entries come from. Both functions are given.
    struct DataSource {
        std::function<std::size_t()> numberOfItems;
        std::function<std::shared_ptr<QVPreviewItem>(std::size_t index)> itemAt;
    };
    /// The services must outlive it.
    PreviewCollectionView(const PreviewServices& services, bool isByGrid,
                          QWidget* parent = nullptr);
    ~PreviewCollectionView() override;

    bool isByGrid() const { return m_isByGrid; }

    // --- What it shows ---

    void setDataSource(DataSource dataSource);
    /// The whole list is another one: it is shown from its beginning.
    void reloadData();
    /// The list got entries, at these places of the list as it is now, in ascending order. A single
    /// new entry is scrolled to.
    void insertItems(const std::vector<std::size_t>& indexes);
    /// The list lost entries, those at these places of the list as it was, in ascending order.
    void deleteItems(const std::vector<std::size_t>& indexes);
    /// The sizes of the shown entries may have changed.
    void updateFigures();

    /// The cell of an entry; nullptr for one that is not in sight.
    QVPreview* cellAt(std::size_t index);

    // --- How it lies ---

    /// Which way the cells follow each other: down where the view is higher than wide, else to the
    /// side. A grid always grows downwards.
    Qt::Orientation scrollDirection() const { return m_scrollDirection; }
    /// The size of every cell, in points.
    QSize itemSize() const { return m_itemSize; }
    /// Shows `view` behind the cells. The collection owns it; nullptr takes it away.
    void setBackgroundView(QWidget* view);

    // --- The current tile of a grid ---

    /// None without entries, and where this is no grid.
    std::optional<std::size_t> currentIndex() const { return m_current; }
    /// Chooses the tile and scrolls to it.
    void setCurrentIndex(std::size_t index);

 Q_SIGNALS:
    void currentIndexDidChange();
    void itemActivated(std::size_t index);  ///< by Return or a double click

 protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    using Cells = std::map<std::size_t, QVPreview*>;
    /// Where an entry is after a change, or the one behind it when it has gone.
    struct Place {
        std::size_t index = 0;
        bool stays = false;
    };

    std::size_t count() const;
    bool isHorizontal() const { return m_scrollDirection == Qt::Horizontal; }
    QScrollBar& scrollBar() const;
    std::size_t columns() const;
    int step() const;
    int offsetOf(std::size_t index) const;
    QRect frameOf(std::size_t index) const;
    void updateScrollDirection();
    void updateItemsSize();
    void needsLayout();
    void layOut();
    int scrollValue() const;
    void layOutCells();
    void giveBack(std::size_t first, std::size_t last);
    QVPreview* cellFor(std::size_t index);
    void putAway();
    void moveCells(const std::function<Place(std::size_t)>& placeOf);
    std::optional<std::size_t> neighbour(int key) const;

    const PreviewServices& m_services;
    const bool m_isByGrid;
    DataSource m_dataSource;
    Qt::Orientation m_scrollDirection = Qt::Vertical;
    QSize m_itemSize;
    Cells m_cells;                     ///< by the index of what they show
    std::vector<QVPreview*> m_spares;  ///< show nothing
    QWidget* m_backgroundView = nullptr;
    std::size_t m_first = 0;  ///< the first entry in sight, which stays where it is
    int m_firstOffset = 0;    ///< how much of it is out of sight, in points
    std::optional<std::size_t> m_scrollsTo;
    std::optional<std::size_t> m_current;
    bool m_needsLayout = false;
    bool m_isLayingOut = false;
};

}  // namespace kestrin
