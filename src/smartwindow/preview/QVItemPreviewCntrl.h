// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps the list of the selected entries that the preview pane and the quick-look panel show. Main
// thread.
#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include "base/NotificationCenter.h"
#include "inventory/QVPreviewItem.h"

class QKeyEvent;
class QPixmap;
class QWidget;

namespace kestrin {

class PreviewCollectionView;
class PreviewPanel;
struct PreviewServices;

/// What the controller asks of the window around it. Every function is given.
struct ItemPreviewOutlets {
    /// Has the content list hand over its selection.
    std::function<void()> prepareToShowPreview;
    /// Gives a key to the table of the content list. False when that has no use for it.
    std::function<bool(QKeyEvent&)> passKeyToTable;
    /// The row of an entry on the screen, in points; an empty place when it is not to be seen.
    std::function<QRect(const QVSmartWindowItem&)> rectOfItem;
};

/// The list is changed by difference, so that the cell of an entry that stays selected stays, too.
/// While the panel is open it is fed with the same list, also when the pane is collapsed.
class QVItemPreviewCntrl : public QObject {
    Q_OBJECT

 public:
    /// `collectionView` gets this as its source, and shows nothing; `emptyPreviewView` stands in
    /// its place as long as nothing is selected. Both and the services must outlive this.
    QVItemPreviewCntrl(const PreviewServices& services, PreviewCollectionView& collectionView,
                       QWidget& emptyPreviewView, ItemPreviewOutlets outlets,
                       QObject* parent = nullptr);
    ~QVItemPreviewCntrl() override;

    /// What is shown, in the order of the rows.
    const PreviewItemList& shownItems() const { return m_shownItems; }

    /// Shows these entries instead, which are sorted by their index; none is an empty list. The
    /// collection follows when the event loop is reached again, and then the newest list alone
    /// counts. While the pane is collapsed and no panel is open, nothing happens.
    void showPreviewWithArray(PreviewItemList items);
    /// Whether anybody would see what showPreviewWithArray is handed.
    bool wantsItems() const { return !m_splitViewIsCollapsed || m_qlPanelIsVisible; }

    /// Whether the pane of the collection is folded away.
    void setSplitViewIsCollapsed(bool isCollapsed) { m_splitViewIsCollapsed = isCollapsed; }
    bool splitViewIsCollapsed() const { return m_splitViewIsCollapsed; }
    bool qlPanelIsVisible() const { return m_qlPanelIsVisible; }

    /// Becomes the source of the panel while that is open.
    void updateQLDelegate(PreviewPanel& panel);
    /// Gives a key that the panel has no use for to the collection of a grid, or to the table.
    /// False when they have none, either.
    bool previewPanelHandleEvent(QKeyEvent& event);
    /// The place on the screen that an item comes out of, in points; an empty one for none.
    QRect sourceFrameOnScreenForPreviewItem(const QVPreviewItem& item) const;
    /// The icon of the item as large as that place; null without a place.
    QPixmap transitionImageForPreviewItem(const QVPreviewItem& item) const;

    /// The largest width, in points, of the metadata that the item has for its kind.
    double widestText(const QVPreviewItem& item) const;
    /// Where the values of metadata begin, in points; a translation may move them.
    double xPositionEXIFField() const { return m_xPositionEXIFField; }
    double xPositionTAGField() const { return m_xPositionTAGField; }

    /// The place in a list of the item with the same entry, of the one with the same index, and of
    /// the one at a location; none when there is no such item.
    static std::optional<std::size_t> indexOfItemInArray(const PreviewItemList& items,
                                                         const QVPreviewItem& thatMatchWith);
    static std::optional<std::size_t> indexOfItemInArrayMatchingIndex(
        const PreviewItemList& items, const QVPreviewItem& thatMatchWith);
    static std::optional<std::size_t> indexOfItemInArray(const PreviewItemList& items,
                                                         const FileUrl& thatMatchToURL);

 private:
    void initialize();
    void showAppropriateView(bool isEmpty);
    void updateShownItems(PreviewItemList items);
    void updateCollectionViewItems(const PreviewItemList& items);
    void deleteItems(const std::vector<std::size_t>& indexes);
    void insertItems(PreviewItemList added);
    void quickLookWindowVisibilityWillChange(const Notification& change);
    void updateQuickLookPanelDelegate();
    void reloadPanel();

    const PreviewServices& m_services;
    PreviewCollectionView& m_collectionView;
    QWidget& m_emptyPreviewView;
    const ItemPreviewOutlets m_outlets;
    PreviewItemList m_shownItems;
    std::optional<PreviewItemList> m_pendingItems;  ///< to be shown when the event loop is reached
    bool m_splitViewIsCollapsed = false;
    bool m_qlPanelIsVisible = false;
    bool m_forceUpdate = true;  ///< the collection has to be told of the whole list
    QPointer<PreviewPanel> m_panel;
    double m_xPositionEXIFField = 0;
    double m_xPositionTAGField = 0;
    Observation m_visibilityObservation;
};

}  // namespace kestrin
