// SPDX-License-Identifier: GPL-3.0-or-later
// Which volumes the user named, and their trashes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "inventory/TrashListing.h"

namespace kestrin {

class Console;

/// The volumes that `operand` may mean, as indexes into `volumes`: by their path, also where the
/// operand leads to one through links; and, unless the operand is an absolute path, by their
/// display name. One index: found. None: unknown. Several: ambiguous.
std::vector<std::size_t> volumesMeantBy(const std::string& operand,
                                        const std::vector<ListedVolume>& volumes);

struct ChosenTrashes {
    std::vector<TrashLocation> trashes;
    std::size_t volumeCount = 0;  ///< volumes named, each counted once; 0 when none was named
    /// Volumes that do not answer and those with a trash that cannot be used; after a complaint for
    /// each.
    std::vector<LeftOutVolume> leftOut;
    bool isComplete = true;  ///< false: something is left out
};

/// The trashes of the volumes named, or those of all `volumes` when none is. A read-only volume
/// counts only when it is named. None after a complaint for each operand that is unknown or
/// ambiguous.
std::optional<ChosenTrashes> chooseTrashes(const std::vector<std::string>& operands,
                                           const std::vector<ListedVolume>& volumes,
                                           Console& console);

}  // namespace kestrin
