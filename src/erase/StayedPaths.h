// SPDX-License-Identifier: GPL-3.0-or-later
// The places of what stayed, to be asked what lies around them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "erase/EraseDecisions.h"

namespace kestrin {

/// The paths of entries that stayed. Thread: any; it does not change.
class StayedPaths {
 public:
    explicit StayedPaths(const std::vector<StayedEntry>& stayed);

    /// Whether the entry at `path` stayed itself.
    bool has(std::string_view path) const;
    /// Whether the entry at `path` stayed, or something in it.
    bool hasAtOrBelow(std::string_view path) const { return sharedLength(path) > path.size(); }

    /// Returns with how many bytes in common `path` and one of the paths begin, at most, each with
    /// a "/" at its end.
    std::size_t sharedLength(std::string_view path) const;

 private:
    std::vector<std::string> m_paths;  ///< sorted, each with a "/" at its end
};

}  // namespace kestrin
