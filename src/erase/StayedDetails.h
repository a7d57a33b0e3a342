// SPDX-License-Identifier: GPL-3.0-or-later
// The list of what an erase left, as the end report unfolds it. Pure functions, any thread.
#pragma once

#include <cstddef>
#include <vector>

#include "erase/AlertPanel.h"
#include "erase/EraseDecisions.h"

namespace kestrin {

class QVNumberUtilities;
class StringTable;

/// How many entries the list names; the others are counted in a last row.
inline constexpr std::size_t kMostDetails = 300;

/// A row for each entry, in their order: its name, its path, why it stayed, what would help. All of
/// it is fit to be read, whatever the names hold.
std::vector<AlertDetail> stayedDetails(const std::vector<StayedEntry>& stayed,
                                       const StringTable& texts, const QVNumberUtilities& numbers);

}  // namespace kestrin
