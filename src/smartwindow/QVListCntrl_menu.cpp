// SPDX-License-Identifier: GPL-3.0-or-later
// The context menu of the content list.
#include <QAction>
#include <QActionGroup>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/StringTable.h"
#include "erase/QVErrorDelegate.h"
#include "format/DisplayName.h"
#include "format/QVNumberUtilities.h"
#include "smartwindow/QVContentTableView.h"
#include "smartwindow/QVListCntrl.h"
#include "smartwindow/QVTableHeaderCntrl.h"

namespace kestrin {
namespace {

/// Opening starts a program an item.
constexpr std::size_t kMostToOpen = 20;

/// Tags, which tests and other parts of the window know the commands by.
enum Tag { Reveal = 100, Open = 102, CopyName = 103, CopyPath = 104, Toggle, Unmark, Mark };

/// Texts of the table "Errors".
std::string_view reasonOf(LaunchResult result) {
    switch (result) {
        case LaunchResult::Opened:
            return {};
        case LaunchResult::Refused:
            return "open_refused"_errorKey;
        case LaunchResult::Unreadable:
            return "open_unreadable"_errorKey;
        case LaunchResult::NoOpener:
            return "open_no_opener"_errorKey;
        case LaunchResult::Silent:
            return "open_silent"_errorKey;
    }
    return {};
}

std::size_t markedIn(const ItemList& items) {
    return static_cast<std::size_t>(
        std::ranges::count_if(items, [](const auto& item) { return item->isMarked.load(); }));
}

}  // namespace

void QVListCntrl::setupContextualMenu() {
    QVContentTableView& table = m_outlets.tableView;
    m_menu = new QMenu(&table);
    m_menu->setObjectName(QStringLiteral("list_contextual_menu"));
    const auto add = [this](std::string_view title, Tag tag) {
        m_menu->addAction(m_services.texts.text(title))->setData(int(tag));
    };
    add("menu_open"_key, Open);
    add("menu_reveal"_key, Reveal);
    m_menu->addSeparator();
    add("menu_copy_name"_key, CopyName);
    add("menu_copy_path"_key, CopyPath);
    m_menu->addSeparator();
    add("menu_mark"_key, Mark);
    add("menu_unmark"_key, Unmark);
    add("menu_toggle"_key, Toggle);
    m_menu->addSeparator();
    setupSortMenu();
    connect(m_menu, &QMenu::triggered, this, [this](const QAction* action) {
        contextualMenuAction(action->data().toInt(), std::exchange(m_menuItems, {}));
    });
    connect(m_menu, &QMenu::aboutToHide, &table, &QVContentTableView::endTargets);
    connect(&table, &QVContentTableView::contextMenuRequested, this,
            &QVListCntrl::showContextualMenu);
    connect(&table, &QVContentTableView::copyRequested, this,
            [this] { contextualMenuAction(CopyName, selectedItems()); });
}

/// For those who do not reach the header with a mouse. Choosing a column does what a click on its
/// header does.
void QVListCntrl::setupSortMenu() {
    auto* const columns = new QActionGroup(m_menu);
    QMenu* const menu = m_menu->addMenu(m_services.texts.text("menu_sort"_key));
    QHeaderView& header = m_outlets.tableView.headerCntrl();
    for (int column = 0; column < ContentListModel::ColumnCount; ++column) {
        const auto told = [this, column](int role) {
            return m_model.headerData(column, Qt::Horizontal, role);
        };
        QAction* const action = menu->addAction(told(Qt::AccessibleTextRole).toString());
        action->setCheckable(true);
        columns->addAction(action);
        connect(menu, &QMenu::aboutToShow, action, [action, column, &header] {
            action->setChecked(header.sortIndicatorSection() == column);
        });
        connect(action, &QAction::triggered, &header, [column, told, &header] {
            const bool isTurned = header.sortIndicatorSection() == column;
            const auto order = Qt::SortOrder(told(Qt::InitialSortOrderRole).toInt());
            const bool wasAscending = header.sortIndicatorOrder() == Qt::AscendingOrder;
            header.setSortIndicator(column, !isTurned      ? order
                                            : wasAscending ? Qt::DescendingOrder
                                                           : Qt::AscendingOrder);
        });
    }
}

void QVListCntrl::showContextualMenu(const QModelIndex& clicked, const QPoint& globalPosition) {
    m_menuItems = selectedItemsForMenu(clicked);
    const std::size_t marked = markedIn(m_menuItems);
    const bool mayMark = !m_model.marksAreLocked();
    for (QAction* action : m_menu->actions()) {
        const int tag = action->data().toInt();
        if (tag == CopyName || tag == CopyPath) action->setEnabled(m_menuItems.size() == 1);
        if (tag == Toggle) action->setVisible(marked > 0 && marked < m_menuItems.size());
        if (tag == Unmark) action->setVisible(marked > 0);
        if (tag == Mark) action->setVisible(marked < m_menuItems.size());
        if (tag >= Toggle) action->setEnabled(mayMark);
    }
    m_outlets.tableView.beginTargets(clicked);
    m_menu->popup(globalPosition);
}

void QVListCntrl::closeContextualMenu() {
    m_menuItems.clear();
    m_menu->close();
}

/// The selected rows and the clicked one, in the order of the rows. They are kept as entries, since
/// the rows may change their places while the menu is open.
ItemList QVListCntrl::selectedItemsForMenu(const QModelIndex& clicked) const {
    std::vector<int> rows = selectedRows(m_outlets.tableView);
    const auto place = std::ranges::lower_bound(rows, clicked.row());
    if (clicked.isValid() && (place == rows.end() || *place != clicked.row()))
        rows.insert(place, clicked.row());
    ItemList items;
    for (const int row : rows)
        items.push_back(m_model.itemAt(row));
    return items;
}

void QVListCntrl::contextualMenuAction(int tag, const ItemList& items) {
    switch (tag) {
        case Reveal:
            return revealInFinder(items);
        case Open:
            return launchInFinder(items);
        case CopyName:
        case CopyPath:
            return contextualMenuCopy(items, tag == CopyPath);
        case Toggle:
            return markMenuItemAction(items, MarkChange::Toggle);
        case Unmark:
            return markMenuItemAction(items, MarkChange::Unmark);
        case Mark:
            return markMenuItemAction(items, MarkChange::Mark);
        default:
            return;
    }
}

/// What is not shown any more keeps its mark: nobody sees it change.
void QVListCntrl::markMenuItemAction(const ItemList& items, MarkChange change) {
    std::unordered_set<const QVSmartWindowItem*> wanted;
    for (const auto& item : items)
        wanted.insert(item.get());
    std::vector<int> rows;
    const ItemList& shown = *m_model.rows();
    for (std::size_t row = 0; row < shown.size(); ++row)
        if (wanted.contains(shown[row].get())) rows.push_back(static_cast<int>(row));
    changeMarks(rows, change);
}

/// The text cannot act in a terminal that it is pasted into; the location has the exact bytes.
void QVListCntrl::contextualMenuCopy(const ItemList& items, bool wantsPath) {
    if (items.size() != 1) return;
    const QVSmartWindowItem& item = *items.front();
    auto* const data = new QMimeData;
    data->setData(QStringLiteral("text/uri-list"),
                  QByteArray::fromStdString(item.url().toString() + "\r\n"));
    data->setText(displayName(wantsPath ? item.path() : item.name));
    QGuiApplication::clipboard()->setMimeData(data);
}

void QVListCntrl::revealInFinder(const ItemList& items) {
    std::vector<FileUrl> urls;
    for (const auto& item : items)
        urls.push_back(item->url());
    if (!urls.empty()) m_services.reveal(urls);
}

void QVListCntrl::launchInFinder(const ItemList& items) {
    if (items.empty()) return;
    if (items.size() > kMostToOpen) {
        const auto most = static_cast<double>(kMostToOpen);
        return m_services.presenter.showErrorWithDict(
            {.error = std::string("open_too_many"_errorKey),
             .messKey = std::string("open_too_many_mess"_errorKey),
             .names = {},
             .mess_names = QStringList{m_services.numbers.numberToFormatString(most)},
             .window = m_outlets.tableView.window()});
    }
    std::vector<std::string> paths;
    for (const auto& item : items)
        paths.push_back(item->path());
    launchPaths(paths);
}

void QVListCntrl::launchPaths(const std::vector<std::string>& paths) {
    m_services.open(paths, [self = QPointer(this), paths](const auto& results) {
        if (self) self->tellWhatStayedClosed(paths, results);
    });
}

/// One report for all of them, with the reason that they share.
void QVListCntrl::tellWhatStayedClosed(const std::vector<std::string>& paths,
                                       const std::vector<LaunchResult>& results) {
    const auto isClosed = [](LaunchResult result) { return result != LaunchResult::Opened; };
    const auto first = std::ranges::find_if(results, isClosed);
    const auto count = std::ranges::count_if(results, isClosed);
    if (count == 0) return;
    const bool areAlike = std::ranges::all_of(
        results, [&](LaunchResult result) { return !isClosed(result) || result == *first; });
    const std::string_view reason = areAlike ? reasonOf(*first) : "open_several_reasons"_errorKey;
    const auto& path = paths.at(static_cast<std::size_t>(first - results.begin()));
    const QString name = count == 1
                             ? displayName(FileUrl::fromPath(path).lastPathComponent())
                             : m_services.numbers.numberToFormatString(static_cast<double>(count));
    m_services.presenter.showErrorForWindow(
        m_outlets.tableView.window(),
        count == 1 ? "not_opened"_errorKey : "not_opened_plur"_errorKey, reason, {name});
}

}  // namespace kestrin
