// SPDX-License-Identifier: GPL-3.0-or-later
// What the confirmation of a smart erase tells of the checked entries. Main thread.
#pragma once

#include <QString>
#include <vector>

#include "erase/AlertPanel.h"
#include "erase/EraseRequest.h"

namespace kestrin {

class QVNumberUtilities;
class StringTable;

/// The entries volume by volume, each volume below a heading that says how many there are: name,
/// original folder, size. All of it is fit to be read, whatever the names hold. `texts` and
/// `numbers` must outlive the list.
AlertDetails checkedDetails(std::vector<CheckedVolume> volumes, const StringTable& texts,
                            const QVNumberUtilities& numbers);

/// The sentence that says how many checked entries a filter hides; empty when it hides none.
QString hiddenSentence(std::uint64_t hiddenCount, const StringTable& texts,
                       const QVNumberUtilities& numbers);

}  // namespace kestrin
