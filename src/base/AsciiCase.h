// SPDX-License-Identifier: GPL-3.0-or-later
// Upper case made lower in names and tables, which are bytes. Unlike tolower() this knows no
// locale, so that an answer is the same on every machine. What is no ASCII letter stays as it is.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kestrin {

constexpr char smallLetter(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

inline std::string smallLetters(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), smallLetter);
    return small;
}

}  // namespace kestrin
