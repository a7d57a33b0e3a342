// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TrashSurvey.h"

#include <QEventLoop>
#include <cerrno>
#include <functional>
#include <string_view>
#include <utility>

#include "base/StringTable.h"
#include "cli/Console.h"
#include "format/DisplayName.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {

std::optional<std::vector<ListedVolume>> listVolumes(Console& console) {
    TrashListing listing;
    QEventLoop loop;
    listing.refresh([&] { loop.quit(); });
    loop.exec();
    if (listing.knowsTheMounts()) return listing.volumes();
    console.complain(console.text("cli_mounts_unknown"_key));
    return std::nullopt;
}

Result<std::vector<ScannedEntry>> entriesOfTrash(const FileUrl& trash,
                                                 std::optional<EntryKind> kind,
                                                 std::stop_token stop) {
    std::function<bool(const ScannedEntry&)> isWanted;
    if (kind) {
        isWanted = [wanted = *kind](const ScannedEntry& entry) {
            return entryKindOf(entry.name, entry.mode) == wanted;
        };
    }
    Result<std::vector<ScannedEntry>> entries = scanTree(trash, std::move(stop), isWanted);
    if (!entries && entries.error().systemError == ENOENT) return std::vector<ScannedEntry>();
    return entries;
}

EntrySums sumsOfEntry(const FileUrl& entry, std::stop_token stop) {
    const Result<ItemAttributes> attributes = itemAttributes(entry);
    EntrySums sums{.size = 0, .count = 1};
    if (!attributes) return sums;
    if (!attributes->isDirectory()) return {attributes->size, 1};
    if (attributes->isMountRoot) return sums;
    const Result<std::vector<ScannedEntry>> below = scanTree(entry, std::move(stop));
    if (!below) return sums;
    for (const ScannedEntry& inside : *below)
        sums += {inside.size, inside.count};
    return sums;
}

void sayThatNothingIsThere(std::optional<EntryKind> kind, Console& console) {
    if (!kind) return console.output().line(console.text("cli_trash_is_empty"_key));
    console.output().line(console.text("cli_none_of_kind"_key, {displayName(kindWord(*kind))}));
}

void complainOfTrash(Console& console, const FileUrl& trash, const HostError& error) {
    const std::string reason = error.localizedDescription();
    console.complain(
        console.text("cli_unreadable_trash"_key,
                     {displayName(trash.path()), displayName(std::string_view(reason))}));
}

bool complainOfVolume(Console& console, const ListedVolume& volume) {
    if (!volume.answers) {
        console.complain(console.text("cli_not_answering"_key, {nameAndPath(volume)}));
        return true;
    }
    if (!volume.problem) return false;
    const std::string reason = volume.problem->localizedDescription();
    console.complain(console.text("cli_unusable_trash"_key,
                                  {nameAndPath(volume), displayName(std::string_view(reason))}));
    return true;
}

QString nameAndPath(const ListedVolume& volume) {
    return displayName(volume.name) + QStringLiteral(" (") + displayName(volume.url.path()) + u')';
}

}  // namespace kestrin
