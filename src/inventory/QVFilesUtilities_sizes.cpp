// SPDX-License-Identifier: GPL-3.0-or-later
#include <utility>

#include "fsutil/QVFilesUtilities.h"
#include "platform/items/FolderWalk.h"
#include "platform/items/ItemKinds.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

namespace {

bool isPackage(const WalkedEntry& folder) {
    const auto name = FileUrl::withoutScheme(std::string(folder.name));
    return isBundleExtension(name.pathExtension());
}

}  // namespace

SizePair QVFilesUtilities::iterateFolderForSize(const FileUrl& folder, std::uint64_t& itemsFound,
                                                std::stop_token stop) const {
    if (folder.isEmpty()) return {};
    const auto entries = scanTree(folder, std::move(stop));
    if (!entries) return {};
    std::uint64_t size = 0;
    for (const ScannedEntry& entry : *entries) {
        size += entry.size;
        itemsFound += entry.count;
    }
    return {size, size};
}

SizePair QVFilesUtilities::iterateFolderForSize(const FileUrl& folder,
                                                const SizeIterationDelegate* withDelegate,
                                                std::array<std::uint64_t, 2>& itemsFound,
                                                bool incrementCount, bool searchIsForEmptyFiles,
                                                bool /*searchIsForEmptyFolders*/) const {
    auto& [foldersFound, filesFound] = itemsFound;
    const auto isStopped = [&] {
        const auto answer = withDelegate ? withDelegate->wasStopped() : std::nullopt;
        return answer.value_or(!gatheringSizeIsWorking);
    };
    SizePair sums;
    if (folder.isEmpty() || isStopped()) return sums;

    const auto add = [&](const WalkedEntry& entry) {
        if (isStopped()) return false;
        const bool isFolder = entry.type == EntryType::Directory;
        if (incrementCount) ++(isFolder && !isPackage(entry) ? foldersFound : filesFound);
        sums.totalFileSize += entry.size;
        sums.fileSize += entry.size;
        if (searchIsForEmptyFiles && sums.totalFileSize != 0) return false;
        return !isStopped();
    };
    static_cast<void>(walkTree(folder, add));  // what cannot be read adds nothing
    return sums;
}

bool QVFilesUtilities::cantBeCalculated(std::string_view itemName) const {
    return itemName != "." && itemName != ".." && !itemName.starts_with(".DS_Store");
}

}  // namespace kestrin
