// SPDX-License-Identifier: GPL-3.0-or-later
// What became of items that were handed to the helper, as the disk tells.
#pragma once

#include <vector>

#include "erase/HelperClient.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

/// For each of these whether it is still there. A few items of one volume are asked about at a
/// time, since many take long without anything being wrong. A volume that is silent for 5 s is not
/// asked again: its items are Unknown. Thread: any that may wait.
std::vector<ItemPresence> presencesOfAll(const std::vector<HelperItem>& items);

}  // namespace kestrin
