// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/QVListCntrl.h"

#include <QItemSelectionModel>
#include <QLabel>
#include <algorithm>
#include <utility>

#include "base/StringTable.h"
#include "format/QVNumberUtilities.h"
#include "smartwindow/ListQueue.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVListCntrl_erase.h"
#include "smartwindow/QVTableHeaderCntrl.h"
#include "smartwindow/SmartWindowNotifications.h"
#include "smartwindow/preview/QVItemPreviewCntrl.h"

namespace kestrin {
namespace {

namespace Key = SmartWindowNotification;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Folders are measured by the thousand, and each of them is told. The pause between two sorts is
/// this, and for a long list as long as the sort before took: the list is read meanwhile.
constexpr auto kSortPause = 100ms;
constexpr std::uint16_t kSizeScale = 4;

/// Those of the entries that are still there.
SharedItemList itemsOf(const PreviewItemList& selection) {
    ItemList items;
    items.reserve(selection.size());
    for (const auto& selected : selection)
        if (auto item = selected->item()) items.push_back(std::move(item));
    return std::make_shared<const ItemList>(std::move(items));
}

std::vector<SortDescriptor> defaultOrder() {
    return {{std::string(ColumnKey::kName), true}};
}

}  // namespace

QVListCntrl::QVListCntrl(const SmartWindowServices& services, ListOutlets outlets, QObject* parent)
    : QObject(parent), m_services(services), m_outlets(std::move(outlets)), m_model(services) {
    m_outlets.showProgressView(true);
    m_outlets.infoFld.clear();
    QVContentTableView& table = m_outlets.tableView;
    table.setContentModel(m_model);
    table.setAccessibleName(m_services.texts.text("content_list"_key));
    m_sortTimer.setSingleShot(true);
    connect(&m_sortTimer, &QTimer::timeout, this, &QVListCntrl::sortIsDue);
    connect(&m_model, &ContentListModel::itemWasChecked, this, [this](const auto& item) {
        m_services.center.post(Key::kCheckBtnInListDidClick, this,
                               UserInfo().set(Key::kItem, item));
    });
    connect(table.selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &QVListCntrl::selectionChanged);
    connect(&m_model, &ContentListModel::sortWasRequested, this, &QVListCntrl::sortWasRequested);
    connect(&table, &QVContentTableView::checkToggled, this, &QVListCntrl::toggleMarksOfSelection);
    setupContextualMenu();
    makePreviewCntrl();
    observe();
    m_services.center.post(Key::kContentListDidLoad, &Key::kContentListDidLoad);
}

QVListCntrl::~QVListCntrl() {
    // Whoever would hear its signals may be half gone.
    giveUpWaiting([](const CheckedSource&) { return true; });
}

void QVListCntrl::observe() {
    m_observations.push_back(m_services.center.observe(
        Key::kShowSelectedItems,
        [this](const Notification& told) {
            showSelectedItems(told.userInfo.value<std::shared_ptr<QVSourceItem>>(Key::kSourceItem));
        },
        &Key::kShowSelectedItems));
    m_observations.push_back(m_services.center.observe(
        Key::kCheckBtnInListDidClick, [this](const Notification&) { writeMarkedInfo(); }, this));
}

// --- Showing a source ---

void QVListCntrl::showSelectedItems(const std::shared_ptr<QVSourceItem>& source) {
    if (source && source == m_sourceItem) return;
    keepTableState();
    closeContextualMenu();
    auto formerSource = std::exchange(m_sourceItem, source);
    auto formerItems = std::exchange(m_sorted, nullptr);
    auto formerRows = m_model.rows();
    ++m_showing;
    m_isLoading = source != nullptr;
    m_isMakingRows = m_makesRowsAgain = m_scrollsToSelection = false;
    m_updateObservation.reset();
    m_checkObservation.reset();
    m_model.setRows(std::make_shared<ItemList>());
    freeOnListQueue([formerSource = std::move(formerSource), formerItems = std::move(formerItems),
                     formerRows = std::move(formerRows)] {});
    updateInfo();
    showStoredSelection();
    m_outlets.showProgressView(false);
    if (source) {
        observeSource();
        if (source->sortDescriptors.empty()) source->sortDescriptors = defaultOrder();
        const SortDescriptor& first = source->sortDescriptors.front();
        m_outlets.tableView.headerCntrl().setSortIndicator(
            ContentListModel::columnOf(first.key),
            first.ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
        makeRowsAnew();
    }
    Q_EMIT selectionDidChange();
    Q_EMIT rowsDidChange();
}

void QVListCntrl::observeSource() {
    m_updateObservation = m_services.center.observe(
        Key::kUpdateItemsList, [this](const Notification&) { updateItemsList(); },
        m_sourceItem.get());
    m_checkObservation = m_services.center.observe(
        Key::kSourceCheckBtnDidClick,
        [this](const Notification&) {
            m_model.marksChanged();
            writeMarkedInfo();
        },
        m_sourceItem.get());
}

/// While its rows have still to come, the source keeps the selection that it had before.
void QVListCntrl::keepTableState() {
    if (m_sourceItem && !m_isLoading) m_sourceItem->selection = selectedItemsForPreview();
}

/// The table is ready for the keyboard where the user had selected something.
void QVListCntrl::restoreTableState(const ContentRows& rows) {
    m_model.setRows(rows.shown);
    std::vector<int> selected = rows.movedTo;
    std::erase(selected, -1);
    if (selected.empty()) return;
    std::ranges::sort(selected);
    QVContentTableView& table = m_outlets.tableView;
    const QModelIndex first = m_model.index(selected.front(), ContentListModel::Name);
    table.selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    selectRows(table, selected);
    table.scrollTo(first);
    table.setFocus();
}

// --- Sorting and filtering ---

/// The order that there was decides where the new one does not.
void QVListCntrl::sortWasRequested(int column, Qt::SortOrder order) {
    if (!m_sourceItem) return;
    auto& levels = m_sourceItem->sortDescriptors;
    const SortDescriptor first{std::string(ContentListModel::keyOf(column)),
                               order == Qt::AscendingOrder};
    if (first == levels.front()) return;
    std::erase_if(levels, [&](const SortDescriptor& level) { return level.key == first.key; });
    levels.insert(levels.begin(), first);
    m_scrollsToSelection = true;
    m_needsSort = true;
    makeRowsAnew();
}

void QVListCntrl::updateItemsList() {
    m_needsSort = true;
    if (m_sortTimer.isActive()) return;
    const auto passed = std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - m_lastSort);
    m_sortTimer.start(std::max(0ms, std::max(kSortPause, m_sortTime) - passed));
}

/// A worker that needs longer than the pause is not put to work again at once.
void QVListCntrl::sortIsDue() {
    if (m_isMakingRows) return m_sortTimer.start(kSortPause);
    makeRowsAnew();
}

void QVListCntrl::setFilter(const ItemFilter& filter) {
    if (filter == m_filter) return;
    m_filter = filter;
    makeRowsAnew();
    updateCheckedFigures();
}

/// One worker at a time is at it, so that no result overtakes another.
void QVListCntrl::makeRowsAnew() {
    if (!m_sourceItem) return;
    m_makesRowsAgain = m_isMakingRows;
    if (m_isMakingRows) return;
    m_isMakingRows = true;
    const ContentQuery query{
        .source = m_sourceItem,
        .order = m_sourceItem->sortDescriptors,
        .filter = m_filter,
        .needsSort = std::exchange(m_needsSort, false) || !m_sorted,
        .sorted = m_sorted,
        .tracked = m_isLoading ? itemsOf(m_sourceItem->selection) : m_model.rows()};
    workOnListQueue(
        *this, [query] { return makeRows(query); },
        [this, query, began = Clock::now(),
         showing = m_showing](const std::optional<ContentRows>& rows) {
            if (showing == m_showing) takeRows(query, rows, began);
        });
}

void QVListCntrl::takeRows(const ContentQuery& query, const std::optional<ContentRows>& rows,
                           Clock::time_point began) {
    m_isMakingRows = false;
    if (query.needsSort) {
        m_lastSort = Clock::now();
        m_sortTime = std::chrono::ceil<std::chrono::milliseconds>(m_lastSort - began);
    }
    if (!rows) m_needsSort |= query.needsSort;
    if (rows && query.order == m_sourceItem->sortDescriptors) {
        m_sorted = rows->sorted;
        if (query.filter == m_filter) showRows(*rows);
        if (query.needsSort) writeMarkedInfo();
    }
    if (m_makesRowsAgain) makeRowsAnew();
}

void QVListCntrl::showRows(const ContentRows& rows) {
    QVContentTableView& table = m_outlets.tableView;
    bool keepsSelection = true;
    if (std::exchange(m_isLoading, false)) {
        restoreTableState(rows);
        keepsSelection = false;
    } else {
        keepsSelection = swapRows(table, m_model, rows);
    }
    if (std::exchange(m_scrollsToSelection, false)) {
        const std::vector<int> selected = selectedRows(table);
        if (!selected.empty())
            table.scrollTo(m_model.index(selected.back(), ContentListModel::Name));
    }
    // What is selected may have grown, and stands in other rows.
    updateInfo();
    prepareToShowPreview();
    if (!keepsSelection) Q_EMIT selectionDidChange();
    Q_EMIT rowsDidChange();
}

// --- Selection ---

ItemList QVListCntrl::selectedItems() const {
    ItemList items;
    for (const int row : selectedRows(m_outlets.tableView))
        items.push_back(m_model.itemAt(row));
    return items;
}

void QVListCntrl::selectionChanged() {
    updateInfo();
    prepareToShowPreview();
    Q_EMIT selectionDidChange();
}

void QVListCntrl::updateInfo() {
    const ItemList items = selectedItems();
    std::uint64_t size = 0;
    for (const auto& item : items)
        size += item->size;
    const auto count = static_cast<double>(items.size());
    const QString info =
        StringTable::filled(m_services.texts.text("selected_info"_key),
                            {m_services.numbers.numberToFormatString(count),
                             m_services.numbers.sizeToFormatString(size, kSizeScale, true)});
    m_outlets.infoFld.setText(size == 0 ? QString() : info);
}

// --- Marks ---

void QVListCntrl::changeMarks(const std::vector<int>& rows, MarkChange change) {
    if (m_model.changeMarks(rows, change)) writeMarkedInfo();
}

void QVListCntrl::toggleMarksOfSelection() {
    const std::vector<int> rows = selectedRows(m_outlets.tableView);
    const bool areMarked =
        std::ranges::all_of(rows, [this](int row) { return m_model.itemAt(row)->isMarked.load(); });
    changeMarks(rows, areMarked ? MarkChange::Unmark : MarkChange::Mark);
}

void QVListCntrl::writeMarkedInfo() {
    if (!m_sourceItem) return;
    m_services.center.post(Key::kUpdateMarkedInfo, &Key::kUpdateMarkedInfo,
                           UserInfo().set(Key::kSourceItem, m_sourceItem));
    updateCheckedFigures();
}

void QVListCntrl::sourcesDidChange() {
    const SourceItems sources = m_outlets.sourceItems();
    if (m_sourceItem && std::ranges::find(sources, m_sourceItem) == sources.end())
        showSelectedItems(nullptr);
    withdrawQuestionIfAVolumeWent();
    giveUpWaiting([this](const CheckedSource& checked) { return !isUsable(*checked.source); });
    updateCheckedFigures();
}

SourceItems QVListCntrl::usableSources() const {
    SourceItems sources = m_outlets.sourceItems();
    std::erase_if(sources, [](const auto& source) { return !source->note.isEmpty(); });
    return sources;
}

bool QVListCntrl::isUsable(const QVSourceItem& source) const {
    const SourceItems usable = usableSources();
    return std::ranges::find(usable, &source, &std::shared_ptr<QVSourceItem>::get) != usable.end();
}

/// The sums of the sources will do, unless a filter may hide some of it.
void QVListCntrl::updateCheckedFigures() {
    m_countsAgain = m_isCounting;
    const SourceItems sources = usableSources();
    if (m_filter.isEmpty()) {
        CheckedFigures figures;
        for (const auto& source : sources)
            figures += {.count = source->markedCount, .size = source->markedSize};
        return setCheckedFigures(figures);
    }
    if (m_isCounting) return;
    m_isCounting = true;
    const auto count = [sources, filter = m_filter] {
        CheckedFigures figures;
        for (const CheckedSource& checked : checkedIn(sources))
            figures += checked.figures(filter);
        return figures;
    };
    workOnListQueue(*this, count, [this](const std::optional<CheckedFigures>& figures) {
        m_isCounting = false;
        if (m_countsAgain) return updateCheckedFigures();
        if (figures) setCheckedFigures(*figures);
    });
}

void QVListCntrl::setCheckedFigures(const CheckedFigures& figures) {
    if (std::exchange(m_checkedFigures, figures) != figures) Q_EMIT checkedFiguresDidChange();
}

}  // namespace kestrin
