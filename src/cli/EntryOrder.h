// SPDX-License-Identifier: GPL-3.0-or-later
// The order and the dates in which entries of trashes are shown. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "fsutil/EntryKind.h"
#include "platform/items/TreeScanner.h"

namespace kestrin {

struct ShownEntry {
    ScannedEntry entry;
    std::size_t trash = 0;  ///< index of the trash that holds it
    // The following are filled in to sort by them.
    std::optional<std::int64_t> deletionDate{};  ///< seconds since 1970 UTC
    EntryKind kind = EntryKind::Other;
};

/// Puts entries in order. Entries that are alike in it are ordered by their names.
void sortEntries(std::vector<ShownEntry>& entries, SortOrder order);

/// Seconds since 1970 UTC as local time, "2026-11-21T02:26:42" with 'T' as separator; empty for
/// none.
std::string localTimeText(const std::optional<std::int64_t>& seconds, char separator);

}  // namespace kestrin
