// SPDX-License-Identifier: GPL-3.0-or-later
// What an erase says at its end of what it left. Thread: any.
#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "erase/AlertPanel.h"
#include "erase/EraseDecisions.h"
#include "erase/QVErrorDelegate.h"

namespace kestrin {

class QVNumberUtilities;
class StringTable;

/// One sentence that tells the user why the entry stayed. It may hold bytes unfit to be shown.
QString stayedReason(const StayedEntry& entry, const StringTable& texts);

/// A row for each entry, in their order: its name, why it stayed, what would help. All of it is fit
/// to be read, whatever the names hold. `texts` must outlive the list.
AlertDetails stayedDetails(std::vector<StayedEntry> stayed, const StringTable& texts);

/// The report of the end, with that list; none when nothing was busy, refused,
/// replaced or left unlocked.
std::optional<ErrorReport> endReport(EraseDecisions& decisions, const StringTable& texts,
                                     const QVNumberUtilities& numbers);

}  // namespace kestrin
