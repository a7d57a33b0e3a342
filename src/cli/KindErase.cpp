// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/KindErase.h"

#include <memory>
#include <stop_token>
#include <utility>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Console.h"
#include "cli/DryRun.h"
#include "cli/EraseReport.h"
#include "cli/EraseSession.h"
#include "cli/SmartErase.h"
#include "cli/TrashSurvey.h"
#include "cli/VolumeChoice.h"

namespace kestrin {

namespace {

/// Adds the entries of that kind in a trash. Returns why it cannot be read, if so.
MaybeError addEntries(const TrashLocation& location, EntryKind kind, const std::stop_token& stop,
                      ChosenEntries& chosen) {
    Result<std::vector<ScannedEntry>> entries = entriesOfTrash(location.trashURL, kind, stop);
    if (!entries) return entries.error();
    if (entries->empty()) return std::nullopt;
    chosen.trashes.push_back(location);
    const auto trash = std::make_shared<const FileUrl>(location.trashURL);
    for (ScannedEntry& entry : *entries) {
        chosen.items.push_back({.trash = trash,
                                .name = std::move(entry.name),
                                .identity = entry.identity,
                                .size = entry.size,
                                .count = entry.count,
                                .isDirectory = entry.isDirectory()});
    }
    return std::nullopt;
}

}  // namespace

int eraseKind(const Arguments& arguments, const ChosenTrashes& trashes, Console& console,
              EraseSession& session) {
    ChosenEntries chosen{.leftOut = trashes.leftOut};
    std::vector<UnreadableTrash> unreadable;
    const bool wentOn = session.runInBackground([&](const std::stop_token& stop) {
        for (const TrashLocation& location : trashes.trashes) {
            if (auto error = addEntries(location, *arguments.kind, stop, chosen))
                unreadable.push_back({location.trashURL, *std::move(error)});
        }
    });
    if (!wentOn) return reportStop(arguments, console);
    for (const auto& [trash, error] : unreadable)
        complainOfTrash(console, trash, error);
    const bool isComplete = trashes.isComplete && unreadable.empty();
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
