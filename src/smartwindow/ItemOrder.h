// SPDX-License-Identifier: GPL-3.0-or-later
// The order of the entries in a list. Thread: any.
#pragma once

#include <vector>

#include "inventory/QVSourceItem.h"

namespace kestrin {

/// Sorts entries of one trash by `order`, whose first level counts most; those it does not tell
/// apart by name, and in the end by the bytes of the name, so that there is one order only. An
/// unknown date comes after every known one in either direction. Marks and sizes may change
/// meanwhile: they count as they were when the entry was looked at. False when `items` were in
/// order already.
bool sortItems(ItemList& items, const std::vector<SortDescriptor>& order);

}  // namespace kestrin
