// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVKestrinFileUtilities.h"

#include <utility>

#include "platform/items/TreeRemover.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

QVKestrinFileUtilities& QVKestrinFileUtilities::sharedControl() {
    static QVKestrinFileUtilities instance;
    return instance;
}

std::optional<TrashScan> QVKestrinFileUtilities::binItemsAndInfoWithURL(
    const FileUrl& folder, std::stop_token stop) const {
    if (folder.isEmpty()) return std::nullopt;
    TrashScan scan{std::make_shared<ItemsToErase>()};
    Result<ItemsToErase> items = itemsOfFolder(folder, std::move(stop));
    if (!items) return scan;
    for (const QVItemToErase& item : *items) {
        scan.size += item.size;
        scan.count += item.count;
    }
    scan.itemsToErase = std::make_shared<const ItemsToErase>(std::move(*items));
    return scan;
}

MaybeError QVKestrinFileUtilities::deleteItemWithURL(const FileUrl& item) const {
    return removeItem(item);
}

Result<ItemsToErase> itemsOfFolder(const FileUrl& folder, std::stop_token stop) {
    auto scanned = scanTree(folder, std::move(stop));
    if (!scanned) return scanned.error();
    const auto trash = std::make_shared<const FileUrl>(folder);
    ItemsToErase items;
    items.reserve(scanned->size());
    for (ScannedEntry& entry : *scanned) {
        items.push_back({.trash = trash,
                         .name = std::move(entry.name),
                         .identity = entry.identity,
                         .size = entry.size,
                         .count = entry.count});
    }
    return items;
}

}  // namespace kestrin
