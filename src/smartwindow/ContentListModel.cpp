// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ContentListModel.h"

#include <QBrush>
#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <array>
#include <utility>

#include "base/StringTable.h"
#include "format/DisplayName.h"
#include "format/QVDateUtilities.h"
#include "format/QVNumberUtilities.h"
#include "fsutil/QVFinderLabels.h"

namespace kestrin {
namespace {

constexpr std::array kKeys = {ColumnKey::kCheck, ColumnKey::kName, ColumnKey::kSize,
                              ColumnKey::kDateAdded};
static_assert(kKeys.size() == ContentListModel::ColumnCount);

constexpr std::uint16_t kSizeScale = 4;

/// Sizes end below each other, and their header with them.
constexpr Qt::Alignment kFigures = Qt::AlignTrailing | Qt::AlignVCenter;

QString originalFolder(const QVSmartWindowItem& item) {
    return item.originalFolder ? displayName(*item.originalFolder) : QString();
}

/// What is checked, and what is large, is wanted at the top.
Qt::SortOrder firstOrder(int column) {
    const bool isDescending = column == ContentListModel::Check || column == ContentListModel::Size;
    return isDescending ? Qt::DescendingOrder : Qt::AscendingOrder;
}

/// Where the entry was, or its name where that is not known.
QString originalPath(const QVSmartWindowItem& item) {
    if (!item.originalFolder) return displayName(item.name);
    const bool endsWithSlash = item.originalFolder->ends_with('/');
    return displayName(*item.originalFolder + (endsWithSlash ? "" : "/") + item.name);
}

QString labelName(int label) {
    return QVFinderLabels::sharedControl().labelNameWithKey(label);
}

bool changed(QVSmartWindowItem& item, MarkChange change) {
    const bool was = item.isMarked;
    const bool is = change == MarkChange::Toggle ? !was : change == MarkChange::Mark;
    item.isMarked = is;
    return is != was;
}

}  // namespace

ContentListModel::ContentListModel(const SmartWindowServices& services, QObject* parent)
    : QAbstractTableModel(parent),
      m_services(services),
      m_icons(services.files),
      m_labels([this] { columnChanged(Name, 0, rowCount() - 1); }) {}

std::string_view ContentListModel::keyOf(int column) {
    return kKeys.at(static_cast<std::size_t>(column));
}

int ContentListModel::columnOf(std::string_view key) {
    const auto found = std::ranges::find(kKeys, key);
    return found == kKeys.end() ? Name : static_cast<int>(found - kKeys.begin());
}

// --- Rows ---

void ContentListModel::setRows(SharedItemList rows) {
    // A list in a new order differs nearly everywhere from the former one. The view would make a
    // persistent index of every selected row to follow them; a reset costs nothing.
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

void ContentListModel::figuresChanged() {
    columnChanged(Size, 0, rowCount() - 1);
}

std::shared_ptr<QVSmartWindowItem> ContentListModel::itemAt(int row) const {
    const auto at = static_cast<std::size_t>(row);
    return row >= 0 && at < m_rows->size() ? (*m_rows)[at] : nullptr;
}

int ContentListModel::rowOf(const QVSmartWindowItem* item) const {
    const auto found = std::ranges::find(*m_rows, item, &std::shared_ptr<QVSmartWindowItem>::get);
    return found == m_rows->end() ? -1 : static_cast<int>(found - m_rows->begin());
}

// --- Marks ---

void ContentListModel::setMarksAreLocked(bool areLocked) {
    if (std::exchange(m_marksAreLocked, areLocked) != areLocked) marksChanged();
}

bool ContentListModel::changeMarks(const std::vector<int>& rows, MarkChange change) {
    if (m_marksAreLocked) return false;
    int first = rowCount();
    int last = -1;
    for (const int row : rows) {
        const auto item = itemAt(row);
        if (!item || !changed(*item, change)) continue;
        first = std::min(first, row);
        last = std::max(last, row);
    }
    columnChanged(Check, first, last);
    return last >= 0;
}

void ContentListModel::marksChanged() {
    columnChanged(Check, 0, rowCount() - 1);
}

void ContentListModel::columnChanged(int column, int first, int last) {
    if (first <= last) Q_EMIT dataChanged(index(first, column), index(last, column));
}

// --- QAbstractTableModel ---

int ContentListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows->size());
}

int ContentListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

Qt::ItemFlags ContentListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    const bool tellsItsMark = index.column() == Check || index.column() == Name;
    if (tellsItsMark && !m_marksAreLocked) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant ContentListModel::data(const QModelIndex& index, int role) const {
    const auto item = index.isValid() ? itemAt(index.row()) : nullptr;
    if (!item) return {};
    switch (role) {
        case OriginalFolderRole:
            return originalFolder(*item);
        case IsHiddenRole:
            return item->isHidden;
        case LabelRole:
            return int(m_labels.labelOf(item));
        case Qt::ToolTipRole:
            return toolTip(*item, m_labels.labelOf(item));
        default:
            break;
    }
    switch (index.column()) {
        case Check:
            return checkData(*item, role);
        case Name:
            return nameData(*item, role);
        case Size:
            return sizeData(*item, role);
        default:
            return dateData(*item, role);
    }
}

QVariant ContentListModel::checkData(const QVSmartWindowItem& item, int role) const {
    if (role == Qt::CheckStateRole) return item.isMarked ? Qt::Checked : Qt::Unchecked;
    if (role == Qt::AccessibleTextRole) return displayName(item.name);
    return {};
}

QVariant ContentListModel::nameData(const QVSmartWindowItem& item, int role) const {
    if (role == Qt::DisplayRole) return displayName(item.name);
    if (role == Qt::DecorationRole) return m_icons.iconOf(item.name, item.mode);
    // For those who hear a row by its name; the cell draws no check box.
    if (role == Qt::CheckStateRole) return item.isMarked ? Qt::Checked : Qt::Unchecked;
    return role == Qt::AccessibleTextRole ? spokenName(item) : QVariant();
}

QString ContentListModel::spokenName(const QVSmartWindowItem& item) const {
    const StringTable& texts = m_services.texts;
    QString name = displayName(item.name);
    if (item.originalFolder)
        name =
            StringTable::filled(texts.text("name_from_folder"_key), {name, originalFolder(item)});
    if (item.label <= 0) return name;
    return StringTable::filled(texts.text("label_of_name"_key), {name, labelName(item.label)});
}

QString ContentListModel::toolTip(const QVSmartWindowItem& item, int label) const {
    const QString path = originalPath(item);
    if (label == 0) return path;
    return StringTable::filled(m_services.texts.text("label_tool_tip"_key),
                               {path, labelName(label)});
}

QVariant ContentListModel::sizeData(const QVSmartWindowItem& item, int role) const {
    if (role == Qt::TextAlignmentRole) return int(kFigures);
    if (!item.isMeasured) {
        if (role == Qt::DisplayRole) return m_services.texts.text("size_is_measured"_key);
        if (role == Qt::AccessibleTextRole)
            return m_services.texts.text("size_is_measured_spoken"_key);
        if (role == Qt::ForegroundRole) return QGuiApplication::palette().placeholderText();
    } else if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) {
        return m_services.numbers.sizeToFormatString(item.size, kSizeScale, true);
    }
    return {};
}

QVariant ContentListModel::dateData(const QVSmartWindowItem& item, int role) const {
    if (role == SecondsRole) return item.dateAdded;
    if (role != Qt::DisplayRole && role != Qt::AccessibleTextRole) return {};
    if (item.dateAdded == QVDateUtilities::wrongDate) return QStringLiteral("--");
    return m_services.dates.stringWithSeconds(item.dateAdded, DateStyle::Medium, true, true);
}

bool ContentListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const auto item = index.isValid() ? itemAt(index.row()) : nullptr;
    if (!item || role != Qt::CheckStateRole || index.column() != Check || m_marksAreLocked)
        return false;
    item->isMarked = value.toInt() == Qt::Checked;
    columnChanged(Check, index.row(), index.row());
    Q_EMIT itemWasChecked(item);
    return true;
}

QVariant ContentListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::InitialSortOrderRole) return firstOrder(section);
    if (role == Qt::TextAlignmentRole && section == Size) return int(kFigures);
    // The column of the check boxes shows a picture; its text is for who cannot see it.
    const bool isText = role == Qt::AccessibleTextRole ||
                        (section == Check ? role == Qt::ToolTipRole : role == Qt::DisplayRole);
    if (!isText) return {};
    constexpr std::array titles = {"check_col"_key, "name_col"_key, "size_col"_key,
                                   "date_added_col"_key};
    return m_services.texts.text(titles.at(static_cast<std::size_t>(section)));
}

void ContentListModel::sort(int column, Qt::SortOrder order) {
    if (column >= 0 && column < ColumnCount) Q_EMIT sortWasRequested(column, order);
}

}  // namespace kestrin
