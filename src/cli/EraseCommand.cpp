// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/EraseCommand.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/DryRun.h"
#include "cli/EraseReport.h"
#include "cli/EraseSession.h"
#include "cli/Paths.h"
#include "cli/SmartErase.h"
#include "cli/TrashSurvey.h"
#include "format/DisplayName.h"
#include "platform/disks/Volumes.h"
#include "platform/trash/TrashFolders.h"

namespace kestrin {

namespace {

/// The entry of a trash that an operand names; none after a complaint.
std::optional<QVItemToErase> entryNamed(const std::string& operand, Console& console) {
    const std::optional<FileUrl> location = locationOfOperand(operand);
    if (!location) {
        console.complain(console.text("cli_bad_location"_key, {displayName(operand)}));
        return std::nullopt;
    }
    const Result<TrashEntry> entry = trashFolderOfEntry(*location);
    if (!entry) {
        const std::string reason = entry.error().localizedDescription();
        console.complain(displayName(std::string_view(reason)));
        return std::nullopt;
    }
    return QVItemToErase{.trash = std::make_shared<const FileUrl>(entry->files),
                         .name = std::string(location->lastPathComponent()),
                         .identity = entry->identity};
}

/// The entries that the operands name, each once. None after a complaint for each operand that is
/// refused.
std::optional<ItemsToErase> entriesNamed(const std::vector<std::string>& operands,
                                         Console& console) {
    ItemsToErase entries;
    std::set<FileUrl> known;
    bool allAccepted = true;
    for (const std::string& operand : operands) {
        std::optional<QVItemToErase> entry = entryNamed(operand, console);
        if (!entry) {
            allAccepted = false;
        } else if (known.insert(entry->url()).second) {
            entries.push_back(*std::move(entry));
        }
    }
    if (!allAccepted) return std::nullopt;
    return entries;
}

ItemsToErase counted(ItemsToErase entries, const std::stop_token& stop) {
    for (QVItemToErase& entry : entries) {
        const EntrySums sums = sumsOfEntry(entry.url(), stop);
        entry.size = sums.size;
        entry.count = sums.count;
    }
    return entries;
}

/// The trashes of the entries, each with its volume.
std::vector<TrashLocation> trashesOf(const ItemsToErase& entries) {
    std::map<FileUrl, TrashLocation> trashes;
    for (const QVItemToErase& entry : entries) {
        if (trashes.contains(*entry.trash)) continue;
        const FileUrl volume = volumeOfItem(*entry.trash).value_or(*entry.trash);
        trashes[*entry.trash] = {
            .trashURL = *entry.trash, .volumeURL = volume, .mountId = mountIdAt(volume)};
    }
    std::vector<TrashLocation> found;
    for (auto& [url, trash] : trashes)
        found.push_back(std::move(trash));
    return found;
}

int eraseEntries(const ItemsToErase& entries, const Arguments& arguments, Console& console,
                 EraseSession& session) {
    if (arguments.dryRun) return reportDryRun(entries, arguments, console, session);
    ChosenEntries chosen;
    const bool wentOn = session.runInBackground([&](const std::stop_token& stop) {
        chosen = {.items = counted(entries, stop), .trashes = trashesOf(entries)};
    });
    if (!wentOn) return reportStop(arguments, console);
    return eraseChosen(std::move(chosen), arguments, console, session);
}

}  // namespace

int runErase(const Arguments& arguments, Console& console, const SessionMaker& makeSession) {
    const auto entries = entriesNamed(arguments.operands, console);
    if (!entries || !mayBegin(arguments, console)) return kStatusUsageError;
    return eraseEntries(*entries, arguments, console, makeSession());
}

}  // namespace kestrin
