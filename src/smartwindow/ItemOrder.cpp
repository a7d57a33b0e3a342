// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/ItemOrder.h"

#include <algorithm>
#include <bit>
#include <compare>
#include <cstdint>
#include <limits>

#include "format/QVDateUtilities.h"
#include "smartwindow/ContentListModel.h"

namespace kestrin {
namespace {

/// What is compared of an entry. The figures are copies: an order whose values change while it is
/// made is none.
struct SortRow {
    std::uint64_t rank = 0;  ///< by the first level of the order; the smaller comes first
    std::uint64_t size = 0;
    const QVSmartWindowItem* item = nullptr;
    std::uint32_t index = 0;  ///< in the list as it was
    bool isMarked = false;
};

/// Numbers that compare like the dates. The bits of a double do, but for the sign.
std::uint64_t rankOfDate(double seconds) {
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    const auto bits = std::bit_cast<std::uint64_t>(seconds);
    return (bits & kSign) ? ~bits : bits | kSign;
}

/// The bytes of a sort key behind the first `skipped` ones, which all keys have in common, as far
/// as they go into a number.
std::uint64_t rankOfName(const std::string& key, std::size_t skipped) {
    std::uint64_t rank = 0;
    for (std::size_t at = 0; at < sizeof rank; ++at) {
        const std::size_t in = skipped + at;
        rank = rank << 8 | (in < key.size() ? static_cast<unsigned char>(key[in]) : 0);
    }
    return rank;
}

std::size_t commonLength(const ItemList& items) {
    if (items.empty()) return 0;
    const std::string& first = items.front()->nameKey;
    std::size_t length = first.size();
    for (const auto& item : items) {
        const std::string& key = item->nameKey;
        length = std::min(length, key.size());
        const auto end = first.begin() + static_cast<std::ptrdiff_t>(length);
        length = static_cast<std::size_t>(std::mismatch(first.begin(), end, key.begin()).first -
                                          first.begin());
    }
    return length;
}

class ItemOrder {
 public:
    explicit ItemOrder(const std::vector<SortDescriptor>& levels) {
        for (const SortDescriptor& level : levels)
            m_levels.push_back({ContentListModel::columnOf(level.key), level.ascending});
        m_levels.push_back({ContentListModel::Name, true});
    }

    std::vector<SortRow> rowsOf(const ItemList& items) const {
        const std::size_t skipped =
            m_levels.front().column == ContentListModel::Name ? commonLength(items) : 0;
        std::vector<SortRow> rows;
        rows.reserve(items.size());
        for (const auto& item : items) {
            SortRow row{.size = item->size,
                        .item = item.get(),
                        .index = static_cast<std::uint32_t>(rows.size()),
                        .isMarked = item->isMarked};
            row.rank = rankOf(row, skipped);
            rows.push_back(row);
        }
        return rows;
    }

    bool operator()(const SortRow& one, const SortRow& other) const {
        if (one.rank != other.rank) return one.rank < other.rank;
        for (const Level& level : m_levels) {
            const std::weak_ordering order = compare(level, one, other);
            if (order != 0) return order < 0;
        }
        return one.item->name < other.item->name;
    }

 private:
    struct Level {
        int column = ContentListModel::Name;
        bool ascending = true;
    };

    std::uint64_t rankOf(const SortRow& row, std::size_t skipped) const {
        const Level& level = m_levels.front();
        std::uint64_t rank = 0;
        switch (level.column) {
            case ContentListModel::Check:
                rank = row.isMarked ? 1 : 0;
                break;
            case ContentListModel::Size:
                rank = row.size;
                break;
            case ContentListModel::DateAdded:
                if (row.item->dateAdded == QVDateUtilities::wrongDate)
                    return std::numeric_limits<std::uint64_t>::max();
                rank = rankOfDate(row.item->dateAdded);
                break;
            default:
                rank = rankOfName(row.item->nameKey, skipped);
                break;
        }
        return level.ascending ? rank : ~rank;
    }

    static std::weak_ordering compare(const Level& level, const SortRow& one,
                                      const SortRow& other) {
        const SortRow& low = level.ascending ? one : other;
        const SortRow& high = level.ascending ? other : one;
        switch (level.column) {
            case ContentListModel::Check:
                return low.isMarked <=> high.isMarked;
            case ContentListModel::Size:
                return low.size <=> high.size;
            case ContentListModel::DateAdded:
                return compareDates(level, one.item->dateAdded, other.item->dateAdded);
            default:
                return low.item->nameKey <=> high.item->nameKey;
        }
    }

    static std::weak_ordering compareDates(const Level& level, double one, double other) {
        const bool isKnown = one != QVDateUtilities::wrongDate;
        const bool otherIsKnown = other != QVDateUtilities::wrongDate;
        if (isKnown != otherIsKnown) return otherIsKnown <=> isKnown;
        const std::weak_ordering order = rankOfDate(one) <=> rankOfDate(other);
        return level.ascending ? order : 0 <=> order;
    }

    std::vector<Level> m_levels;  ///< never empty
};

}  // namespace

bool sortItems(ItemList& items, const std::vector<SortDescriptor>& order) {
    const ItemOrder comesBefore(order);
    std::vector<SortRow> rows = comesBefore.rowsOf(items);
    // While a trash is listed, its list is in order but for what was added at the end.
    const auto added = std::is_sorted_until(rows.begin(), rows.end(), comesBefore);
    if (added == rows.end()) return false;
    std::sort(added, rows.end(), comesBefore);
    std::inplace_merge(rows.begin(), added, rows.end(), comesBefore);
    ItemList sorted;
    sorted.reserve(items.size());
    for (const SortRow& row : rows)
        sorted.push_back(std::move(items[row.index]));
    items = std::move(sorted);
    return true;
}

}  // namespace kestrin
