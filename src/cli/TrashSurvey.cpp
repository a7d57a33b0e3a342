// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TrashSurvey.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "format/DisplayName.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {

namespace {

bool isAbsent(const HostError& error) {
    return error.systemError == ENOENT;
}

}  // namespace

Result<std::vector<ScannedEntry>> entriesOfTrash(const FileUrl& trash, std::stop_token stop) {
    Result<std::vector<ScannedEntry>> entries = scanTree(trash, std::move(stop));
    if (!entries && isAbsent(entries.error())) return std::vector<ScannedEntry>();
    return entries;
}

EntrySums& EntrySums::operator+=(const EntrySums& other) {
    size += other.size;
    count += other.count;
    return *this;
}

EntrySums sumsOf(const std::vector<ScannedEntry>& entries) {
    EntrySums sums;
    for (const ScannedEntry& entry : entries)
        sums += {entry.size, entry.count};
    return sums;
}

EntrySums sumsOfEntry(const FileUrl& entry, std::stop_token stop) {
    const Result<ItemAttributes> attributes = itemAttributes(entry);
    EntrySums sums{.size = 0, .count = 1};
    if (!attributes) return sums;
    if (!attributes->isDirectory()) return {attributes->size, 1};
    if (attributes->isMountRoot) return sums;
    const Result<std::vector<ScannedEntry>> below = scanTree(entry, std::move(stop));
    if (below) sums += sumsOf(*below);
    return sums;
}

void complainOfTrash(Console& console, const FileUrl& trash, const HostError& error) {
    const std::string reason = error.localizedDescription();
    console.complain(
        console.text("cli_unreadable_trash"_key,
                     {displayName(trash.path()), displayName(std::string_view(reason))}));
}

bool complainOfFailures(Console& console, const std::vector<TrashFailure>& failures) {
    for (const TrashFailure& failure : failures) {
        const std::string reason = failure.error.localizedDescription();
        console.complain(console.text(
            "cli_unusable_trash"_key,
            {displayName(failure.volume.path()), displayName(std::string_view(reason))}));
    }
    return failures.empty();
}

}  // namespace kestrin
