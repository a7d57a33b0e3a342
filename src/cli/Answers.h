// SPDX-License-Identifier: GPL-3.0-or-later
// What an answer line means. The letters are the same in every language, so that scripts can
// answer.
#pragma once

#include <optional>
#include <string_view>

namespace kestrin {

/// "y" or "yes" in any case; anything else is no.
bool isYes(std::string_view line);

/// An answer to the question what to do with a refused entry.
struct RefusedAnswer {
    bool erases = false;
    bool holdsForAll = false;
    friend bool operator==(const RefusedAnswer&, const RefusedAnswer&) = default;
};

/// Reads "s" or "skip", "e" or "erase", each with or without "all" behind it. Case and blanks do
/// not matter. None for anything else.
std::optional<RefusedAnswer> refusedAnswer(std::string_view line);

}  // namespace kestrin
