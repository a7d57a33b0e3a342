// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/StayedPaths.h"

#include <algorithm>
#include <iterator>

namespace kestrin {
namespace {

std::size_t commonLength(std::string_view one, std::string_view other) {
    const auto ends = std::ranges::mismatch(one, other);
    return static_cast<std::size_t>(ends.in1 - one.begin());
}

}  // namespace

StayedPaths::StayedPaths(const std::vector<StayedEntry>& stayed) {
    m_paths.reserve(stayed.size());
    for (const StayedEntry& entry : stayed)
        m_paths.push_back(entry.url.path() + '/');
    std::ranges::sort(m_paths);
}

bool StayedPaths::has(std::string_view path) const {
    return std::ranges::binary_search(m_paths, std::string(path) + '/');
}

std::size_t StayedPaths::sharedLength(std::string_view path) const {
    const std::string folder = std::string(path) + '/';
    // Of sorted texts the neighbours have most in common with it.
    const auto next = std::ranges::lower_bound(m_paths, folder);
    std::size_t length = next != m_paths.end() ? commonLength(folder, *next) : 0;
    if (next != m_paths.begin()) length = std::max(length, commonLength(folder, *std::prev(next)));
    return length;
}

}  // namespace kestrin
