// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/preview/FolderPreview.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "format/NameSortKey.h"
#include "platform/items/FolderListing.h"

namespace kestrin {
namespace {

constexpr std::size_t kMostShown = 200;
constexpr std::size_t kMostSorted = 50'000;
constexpr std::size_t kMostCounted = 1'000'000;
constexpr std::size_t kPiece = 1000;

PreviewFault faultOf(const HostError& error) {
    switch (error.systemError) {
        case ENOENT:
        case ESTALE:
            return PreviewFault::Gone;
        case ENOTDIR:
        case ELOOP:
            return PreviewFault::NotAFile;
        default:
            return PreviewFault::Unreadable;
    }
}

/// The first names of those that are given in the user's order.
void keepFirst(std::vector<ListedName>& names) {
    std::vector<std::pair<std::string, std::size_t>> keys;
    keys.reserve(names.size());
    for (std::size_t at = 0; at < names.size(); ++at)
        keys.emplace_back(nameSortKey(names[at].name), at);
    const std::size_t kept = std::min(kMostShown, keys.size());
    std::ranges::partial_sort(keys, keys.begin() + static_cast<std::ptrdiff_t>(kept));
    std::vector<ListedName> first;
    for (std::size_t at = 0; at < kept; ++at)
        first.push_back(std::move(names[keys[at].second]));
    names = std::move(first);
}

/// Names of a folder and how many there are, both within bounds.
struct Names {
    std::vector<ListedName> first;
    std::size_t count = 0;
};

Names namesIn(FolderListing& listing) {
    Names names;
    while (names.count < kMostCounted) {
        std::vector<ListedName> piece = listing.next(kPiece);
        if (piece.empty()) break;
        names.count += piece.size();
        if (names.first.size() < kMostSorted)
            std::ranges::move(piece, std::back_inserter(names.first));
    }
    keepFirst(names.first);
    return names;
}

}  // namespace

Preview previewOfFolder(const FileUrl& folder, const ItemIdentity& identity) {
    const auto held = holdFolder(folder, identity);
    if (!held) return {.fault = faultOf(held.error())};
    FolderListing listing(held->get());
    Names names = namesIn(listing);
    if (names.count == 0) {
        const auto error = listing.error();
        return {.fault = error ? faultOf(*error) : PreviewFault::Empty};
    }
    Preview preview{.kind = PreviewKind::Entries};
    preview.facts.entryCount = names.count;
    preview.facts.isPartial = names.count >= kMostCounted || listing.error();
    for (ListedName& name : names.first) {
        auto entry = listing.examine(std::move(name));
        if (!entry) continue;  // it has gone meanwhile
        preview.entries.push_back(
            {std::move(entry->name), entry->size.value_or(0), S_ISDIR(entry->mode)});
    }
    return preview;
}

}  // namespace kestrin
