// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/KindErase.h"

#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

#include "base/StringTable.h"
#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/DryRun.h"
#include "cli/EraseReport.h"
#include "cli/EraseSession.h"
#include "cli/SmartErase.h"
#include "cli/TrashSurvey.h"
#include "cli/VolumeChoice.h"
#include "format/DisplayName.h"

namespace kestrin {

namespace {

struct Search {
    ChosenEntries chosen;
    std::vector<UnreadableTrash> unreadable;
    std::vector<FileUrl> doubtful;  ///< trashes with entries that may be of any kind
};

/// Adds what a trash holds of that kind.
void lookInto(const TrashLocation& location, EntryKind kind, const std::stop_token& stop,
              Search& search) {
    Result<std::vector<ScannedEntry>> entries = entriesOfTrash(location.trashURL, kind, stop);
    if (!entries) return search.unreadable.push_back({location.trashURL, entries.error()});
    // An entry that nobody could look at is listed as Other, and may be of any kind.
    if (std::erase_if(*entries, [](const ScannedEntry& entry) { return entry.mode == 0; }) != 0)
        search.doubtful.push_back(location.trashURL);
    if (entries->empty()) return;
    search.chosen.trashes.push_back(location);
    const auto trash = std::make_shared<const FileUrl>(location.trashURL);
    for (ScannedEntry& entry : *entries) {
        search.chosen.items.push_back({.trash = trash,
                                       .name = std::move(entry.name),
                                       .identity = entry.identity,
                                       .size = entry.size,
                                       .count = entry.count,
                                       .isDirectory = entry.isDirectory()});
    }
}

}  // namespace

int eraseKind(const Arguments& arguments, const ChosenTrashes& trashes, Console& console,
              EraseSession& session) {
    Search search{.chosen = {.leftOut = trashes.leftOut}};
    const bool wentOn = session.runInBackground([&](const std::stop_token& stop) {
        for (const TrashLocation& location : trashes.trashes)
            lookInto(location, *arguments.kind, stop, search);
    });
    if (!wentOn) return reportStop(arguments, console);
    auto& [chosen, unreadable, doubtful] = search;
    for (const auto& [trash, error] : unreadable)
        complainOfTrash(console, trash, error);
    for (const FileUrl& trash : doubtful)
        console.complain(console.text("cli_kind_not_known"_key, {displayName(trash.path())}));
    const bool isComplete = trashes.isComplete && unreadable.empty() && doubtful.empty();
    int status = 0;
    if (chosen.items.empty() && !arguments.json) {
        // Nobody knows what a trash holds that could not be read.
        if (isComplete && !arguments.quiet) sayThatNothingIsThere(arguments.kind, console);
    } else if (arguments.dryRun) {
        status = reportDryRun(chosen.items, arguments, console, session);
    } else if (chosen.items.empty()) {
        status = reportErase({}, arguments, console);
    } else {
        status = eraseChosen(std::move(chosen), arguments, console, session);
    }
    return status == 0 && !isComplete ? 1 : status;
}

}  // namespace kestrin
