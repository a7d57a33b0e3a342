// SPDX-License-Identifier: GPL-3.0-or-later
// Prints what an erase would take, instead of erasing it. Changes nothing on disk and writes no
// log.
#pragma once

#include "base/Result.h"
#include "inventory/QVItemToErase.h"

namespace kestrin {

struct Arguments;
class Console;
class EraseSession;

/// The names of the entries directly inside a trash, without their sums, since a dry run counts as
/// it goes. A trash that is not there holds nothing. Errors: as visitFolder. Thread: any.
Result<ItemsToErase> namesInTrash(const FileUrl& trash);

/// Goes through `items` as an erase would, in one pass, and prints those that would go, with their
/// sums, and what would stay with its reason. What only the helper could erase counts as staying.
/// Returns the exit status: 0, 1 when something would stay, 3 when the user stopped it. Main
/// thread.
int reportDryRun(const ItemsToErase& items, const Arguments& arguments, Console& console,
                 EraseSession& session);

}  // namespace kestrin
