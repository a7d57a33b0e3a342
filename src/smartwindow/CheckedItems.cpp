// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/CheckedItems.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestrin {
namespace {

/// 1 for a folder, which its count of entries leaves out.
std::uint64_t itself(const QVSmartWindowItem& item) {
    return item.isFolder() ? 1 : 0;
}

QVItemToErase itemToErase(const QVSmartWindowItem& item) {
    return {.trash = item.trash,
            .name = item.name,
            .identity = item.identity,
            .size = item.size,
            .count = item.actualCount + itself(item),
            .isDirectory = item.isFolder()};
}

SharedItemList checkedChildren(const QVSourceItem& source) {
    auto checked = std::make_shared<ItemList>();
    const std::lock_guard lock(source.lock);
    for (const auto& item : source.children)
        if (item->isMarked) checked->push_back(item);
    return checked;
}

}  // namespace

CheckedFigures& CheckedFigures::operator+=(const CheckedFigures& other) {
    count += other.count;
    size += other.size;
    hiddenCount += other.hiddenCount;
    return *this;
}

CheckedFigures CheckedSource::figures(const ItemFilter& filter) const {
    CheckedFigures figures{.count = items->size()};
    for (const auto& item : *items) {
        figures.size += item->size;
        if (!filter.passes(*item)) ++figures.hiddenCount;
    }
    return figures;
}

bool CheckedSource::isMeasured() const {
    return std::ranges::all_of(*items, [](const auto& item) { return item->isMeasured.load(); });
}

TrashFigures CheckedSource::totals() const {
    TrashFigures totals = lateTotals();
    for (const auto& item : *items)
        totals.count += itself(*item);
    return totals;
}

TrashFigures CheckedSource::lateTotals() const {
    TrashFigures totals;
    for (const auto& item : *items)
        totals += {.size = item->size, .count = item->actualCount};
    return totals;
}

std::vector<CheckedSource> checkedIn(const SourceItems& sources) {
    std::vector<CheckedSource> checked;
    for (const auto& source : sources) {
        SharedItemList items = checkedChildren(*source);
        if (!items->empty()) checked.push_back({source, std::move(items)});
    }
    return checked;
}

SharedItemsToErase itemsToErase(const std::vector<CheckedSource>& checked) {
    auto items = std::make_shared<ItemsToErase>();
    for (const CheckedSource& ofSource : checked)
        for (const auto& item : *ofSource.items)
            items->push_back(itemToErase(*item));
    return items;
}

}  // namespace kestrin
