// SPDX-License-Identifier: GPL-3.0-or-later
#include "inventory/QVKestrinFileUtilities.h"

#include <string>
#include <utility>

#include "platform/items/TreeRemover.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

namespace {

FileUrl urlOfEntry(const std::string& folderPrefix, const std::string& name) {
    std::string path;
    path.reserve(folderPrefix.size() + name.size());
    path.append(folderPrefix).append(name);
    return FileUrl::fromPath(std::move(path));
}

}  // namespace

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
    const std::string prefix = folder.path() == "/" ? "/" : folder.path() + "/";
    ItemsToErase items;
    items.reserve(scanned->size());
    for (ScannedEntry& entry : *scanned) {
        QVItemToErase& item = items.emplace_back();
        item.url = urlOfEntry(prefix, entry.name);
        item.size = entry.size;
        item.count = entry.count;
        std::string().swap(entry.name);  // of a million names, one copy at a time
    }
    return items;
}

}  // namespace kestrin
