// SPDX-License-Identifier: GPL-3.0-or-later
// The controller of the content list: shows the entries of the chosen trash, sorts and filters them
// in the background, keeps what is checked, and starts the erase of everything that is checked in
// any trash. Main thread.
#pragma once

#include <QObject>
#include <QRect>
#include <QString>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/NotificationCenter.h"
#include "inventory/QVSourceItem.h"
#include "inventory/TrashListing.h"
#include "smartwindow/CheckedItems.h"
#include "smartwindow/ContentListModel.h"
#include "smartwindow/ContentRows.h"
#include "smartwindow/ItemFilter.h"
#include "smartwindow/SmartWindowServices.h"

class QKeyEvent;
class QLabel;
class QMenu;
class QWidget;

namespace kestrin {

class PreviewCollectionView;
class QVContentTableView;
class QVItemPreviewCntrl;
struct PreviewServices;

/// What the controller moves in the window, all of which outlives it. Every function is given.
struct ListOutlets {
    QVContentTableView& tableView;
    QLabel& infoFld;  ///< tells what is selected
    const PreviewServices& previewServices;
    PreviewCollectionView& collectionPreview;  ///< shows what is selected
    QWidget& emptyPreviewView;                 ///< stands in its place while nothing is
    const QObject& splitView;                  ///< tells when it collapses the preview
    /// Shows the view of work in progress in the place of the table, or the table again.
    std::function<void(bool isShown)> showProgressView;
    /// 8: the window stays on top; 0: it is one among others.
    std::function<void(int level)> setWindowLevel;
    std::function<void()> closeWindow;
    /// The sources of the window as they are now, those that do not answer too.
    std::function<SourceItems()> sourceItems;
};

/// It may be destroyed at any moment: what it has begun in the background then comes to nothing.
class QVListCntrl : public QObject {
    Q_OBJECT

 public:
    /// Has the table show the model, and says "contentListDidLoad". The services must outlive it.
    QVListCntrl(const SmartWindowServices& services, ListOutlets outlets,
                QObject* parent = nullptr);
    ~QVListCntrl() override;

    // --- What is shown ---

    ContentListModel& model() { return m_model; }
    /// The shown source; nullptr when there is none.
    const std::shared_ptr<QVSourceItem>& sourceItem() const { return m_sourceItem; }
    /// Whether the rows of the shown source have still to come.
    bool isLoading() const { return m_isLoading; }
    /// Hides the entries of every source that the filter does not pass. Marks stay.
    void setFilter(const ItemFilter& filter);
    const ItemFilter& filter() const { return m_filter; }

    /// The selected entries, in row order.
    ItemList selectedItems() const;

    // --- The preview (QVListCntrl_preview.cpp) ---

    QVItemPreviewCntrl& previewCntrl() { return *m_previewCntrl; }
    /// The selected entries as previews show them, in row order.
    PreviewItemList selectedItemsForPreview() const;
    /// The entry of a row as previews show it; nullptr for a row that is not there.
    std::shared_ptr<QVPreviewItem> previewItem(int index) const;
    /// Hands the selection to the controller of the preview.
    void prepareToShowPreview();
    void setEmptyPreview();  ///< has the preview show nothing

    /// The place of an entry's icon on the screen, in points; empty when it is not to be seen.
    QRect rectOfItem(const QVSmartWindowItem& item) const;
    /// The visible part of the column of names on the screen, in points.
    QRect rectOfNameColumn() const;
    bool isItemVisible(const QVSmartWindowItem& item) const;
    /// The rows that can be seen, in part at least: the first one, and how many.
    std::pair<int, int> visibleItemsRange() const;

    // --- Marks ---

    /// Changes the marks of rows, as far as they may be changed, and tells the source list.
    void changeMarks(const std::vector<int>& rows, MarkChange change);
    /// Checks everything that is selected; unchecks it when all of it is checked already.
    void toggleMarksOfSelection();
    /// Has the source list sum up what is marked in the shown source.
    void writeMarkedInfo();
    /// What is checked in all sources that a request may hold.
    const CheckedFigures& checkedFigures() const { return m_checkedFigures; }
    /// To be called when sources came or went, or what they say of themselves changed.
    void sourcesDidChange();

    // --- The context menu (QVListCntrl_menu.cpp) ---

    /// Runs a command of the menu on entries of the shown source: 100 shows them in the file
    /// manager, 102 opens them, 103 copies the name and 104 the path of a single one; 105 inverts
    /// their marks, 106 unmarks and 107 marks them. Any other tag does nothing.
    void contextualMenuAction(int tag, const ItemList& items);
    /// Opens items anywhere with their default programs, and says why one was not opened.
    void launchPaths(const std::vector<std::string>& paths);

    // --- Erasing (QVListCntrl_erase.cpp) ---

    /// Starts the erase of everything that is checked. Nothing happens while one is under way.
    void deleteBtnDidClick();
    /// True from the erase command to its end, however it ends. Meanwhile no mark changes in this
    /// list, and the window must not close.
    bool isErasing() const { return m_erase != nullptr; }
    /// The window closes: nothing is measured any more, and an erase makes do with the figures
    /// there are.
    void windowWillClose();
    /// The window is let go: another one may be there soon, and what is told is not meant for this
    /// list any more. An erase comes to its end.
    void stopListening() { m_observations.clear(); }

 Q_SIGNALS:
    void selectionDidChange();
    /// Other rows are shown, or none, or their figures changed.
    void rowsDidChange();
    void checkedFiguresDidChange();
    void isErasingDidChange(bool isErasing);

 private:
    struct Erase;
    struct Gathered;

    // Showing
    void observe();
    void showSelectedItems(const std::shared_ptr<QVSourceItem>& source);
    void observeSource();
    void keepTableState();
    void restoreTableState(const ContentRows& rows);
    void sortWasRequested(int column, Qt::SortOrder order);
    void updateItemsList();
    void sortIsDue();
    void makeRowsAnew();
    void takeRows(const ContentQuery& query, const std::optional<ContentRows>& rows,
                  std::chrono::steady_clock::time_point began);
    void showRows(const ContentRows& rows);
    void selectionChanged();
    void updateInfo();

    // The preview
    void makePreviewCntrl();
    void showStoredSelection();
    void splitViewDidCollapse();
    void splitViewDidUncollapse();
    bool passKeyToTable(const QKeyEvent& event);

    // Figures
    void updateCheckedFigures();
    void setCheckedFigures(const CheckedFigures& figures);
    SourceItems usableSources() const;
    bool isUsable(const QVSourceItem& source) const;

    // The context menu
    void setupContextualMenu();
    void setupSortMenu();
    void showContextualMenu(const QModelIndex& clicked, const QPoint& globalPosition);
    void closeContextualMenu();
    ItemList selectedItemsForMenu(const QModelIndex& clicked) const;
    void markMenuItemAction(const ItemList& items, MarkChange change);
    static void contextualMenuCopy(const ItemList& items, bool wantsPath);
    void revealInFinder(const ItemList& items);
    void launchInFinder(const ItemList& items);
    void tellWhatStayedClosed(const std::vector<std::string>& paths,
                              const std::vector<LaunchResult>& results);

    // Erasing
    void gatherChecked();
    void takeGathered(std::optional<Gathered> gathered);
    void tellThatNothingIsChecked(const std::vector<CheckedSource>& leftOut);
    void ask(const Gathered& gathered);
    void observeEngine();
    void waitingForResponse(const Notification& response);
    void withdrawQuestionIfAVolumeWent();
    void waitFor(const CheckedSource& checked);
    void updateCountAndSizeToDelete(const void* source);
    void giveUpWaiting(const std::function<bool(const CheckedSource&)>& isOver);
    void stopWorking(const Notification& end);
    void endErase();

    const SmartWindowServices& m_services;
    const ListOutlets m_outlets;
    ContentListModel m_model;
    std::unique_ptr<QVItemPreviewCntrl> m_previewCntrl;
    std::shared_ptr<QVSourceItem> m_sourceItem;
    ItemFilter m_filter;
    SharedItemList m_sorted;      ///< all entries of the shown source; nullptr at first
    std::uint64_t m_showing = 0;  ///< counts the sources that were shown
    bool m_isLoading = false;     ///< the rows of the shown source have still to come
    bool m_needsSort = false;
    bool m_isMakingRows = false;    ///< a worker is at it
    bool m_makesRowsAgain = false;  ///< it was asked for more meanwhile
    bool m_scrollsToSelection = false;
    QTimer m_sortTimer;
    std::chrono::steady_clock::time_point m_lastSort;
    std::chrono::milliseconds m_sortTime{0};  ///< that the last one took

    QMenu* m_menu = nullptr;  ///< belongs to the table
    ItemList m_menuItems;     ///< what it acts on

    CheckedFigures m_checkedFigures;
    bool m_isCounting = false;
    bool m_countsAgain = false;

    std::shared_ptr<Erase> m_erase;  ///< nullptr when nothing is erased
    std::uint64_t m_clickedTimes = 0;
    std::vector<Observation> m_observations;
    Observation m_updateObservation;
    Observation m_checkObservation;
};

}  // namespace kestrin
