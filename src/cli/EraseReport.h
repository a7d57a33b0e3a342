// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase says at its end, as text or JSON, and its exit status.
#pragma once

#include <string_view>
#include <vector>

#include "cli/EraseSession.h"

namespace kestrin {

struct Arguments;
class Console;

/// Asks the disk whether each of `items` is really gone, and adds those that are still there and
/// that no entry of `result.stayed` accounts for. Another item that has taken the name of one does
/// not count. The result of an erase that did not run to its end is left as it is.
void addWhatIsStillThere(EraseResult& result, const ItemsToErase& items, const Console& console);

/// Prints the end of an erase. Returns the exit status: 0 when nothing stayed, 1 when something did
/// or the erase could not begin, 3 when it was declined or stopped.
int reportErase(const EraseResult& result, const Arguments& arguments, Console& console);

/// The same for a command that the user stopped before anything was touched.
int reportStop(const Arguments& arguments, Console& console);

/// Names what stayed, with the reasons, below a heading. `headingKey` is of a text with plural
/// forms that takes the number of entries. Only the first entries of a long list are named.
void nameStayed(const std::vector<StayedEntry>& stayed, std::string_view headingKey,
                Console& console);

/// The object that "empty" and "erase" print with --json.
void writeEraseJson(const EraseResult& result, bool isDryRun, Console& console);

}  // namespace kestrin
