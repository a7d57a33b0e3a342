// SPDX-License-Identifier: GPL-3.0-or-later
// The erase of chosen entries, which "erase" and "empty --kind" have in common.
#pragma once

#include <vector>

#include "inventory/QVItemToErase.h"
#include "inventory/TrashListing.h"

namespace kestrin {

struct Arguments;
class Console;
class EraseSession;

struct ChosenEntries {
    ItemsToErase items{};                  ///< with their sums
    std::vector<TrashLocation> trashes{};  ///< those that hold the entries
    /// Volumes that the user may take to be meant and that are not.
    std::vector<LeftOutVolume> leftOut{};
};

/// Asks, erases these entries and nothing else, and says what it came to. Returns the exit status.
/// Main thread.
int eraseChosen(ChosenEntries chosen, const Arguments& arguments, Console& console,
                EraseSession& session);

}  // namespace kestrin
