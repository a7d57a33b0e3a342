// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase would take, printed instead of done. Changes nothing on disk, writes no log.
#pragma once

#include "inventory/QVItemToErase.h"

namespace kestrin {

struct Arguments;
class Console;

/// Prints the entries that would go, with their sums, and those that would stay because their
/// volume is read-only. Returns the exit status: 0, or 1 when something would stay.
int reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console);

}  // namespace kestrin
