// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase would take, printed instead of done. Changes nothing on disk, writes no log.
#pragma once

#include "inventory/QVItemToErase.h"

namespace kestrin {

struct Arguments;
class Console;

/// Prints the entries that would go, with their sums.
void reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console);

}  // namespace kestrin
