// SPDX-License-Identifier: GPL-3.0-or-later
// Which volumes the user named, and their trashes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "inventory/TrashListing.h"

namespace kestrin {

class Console;

/// The volumes that `operand` may mean, as indexes into `volumes`. It may be the path of a volume,
/// lead to one through links, or, unless it is an absolute path, be a display name. One index means
/// that the volume was found, none that it is unknown, several that the operand is ambiguous.
std::vector<std::size_t> volumesMeantBy(const std::string& operand,
                                        const std::vector<ListedVolume>& volumes);

struct ChosenTrashes {
    std::vector<TrashLocation> trashes;
    std::size_t volumeCount = 0;  ///< volumes named, each counted once; 0 when none was named
    /// Volumes that do not answer and those with a trash that cannot be used. There was a complaint
    /// for each.
    std::vector<LeftOutVolume> leftOut;
    bool isComplete = true;  ///< false: something is left out
};

/// The trashes of the volumes that `operands` name, or of all `volumes` when there are no operands.
/// A read-only volume counts only when it is named. None after a complaint for each operand that is
/// unknown or ambiguous.
std::optional<ChosenTrashes> chooseTrashes(const std::vector<std::string>& operands,
                                           const std::vector<ListedVolume>& volumes,
                                           Console& console);

}  // namespace kestrin
